#include "editor/report.h"

#include "editor/text_file.h"
#include "win32/text.h"
#include "win32/window.h"

#include <fmt/xchar.h>
#include <commctrl.h>

#include <array>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

constexpr ULONGLONG UNCHANGED_MILLISECONDS = 1000;
// A list that is still empty after this time has nothing to show.
constexpr ULONGLONG FILLED_MILLISECONDS = 10000;

constexpr std::size_t LONGEST_ITEM = 1024;

std::wstring class_of(HWND window)
{
    std::array<wchar_t, 64> name{};
    GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return name.data();
}

std::wstring describe_list(HWND list)
{
    const auto rows = list_rows(list);
    std::wstring text = fmt::format(L"list, rows: {}\n", rows.size());
    for (const auto& row : rows) {
        std::wstring line = L"   ";
        for (const std::wstring& cell : row)
            line += L' ' + cell + L'\t';
        line.resize(line.find_last_not_of(L" \t") + 1);
        text += line + L'\n';
    }
    return text;
}

std::wstring describe_button(HWND button)
{
    const LONG_PTR type = GetWindowLongPtrW(button, GWL_STYLE) & BS_TYPEMASK;
    if (type == BS_GROUPBOX)
        return fmt::format(L"group \"{}\"\n", win32::window_text(button));
    return fmt::format(L"button \"{}\"{}{}\n", win32::window_text(button),
                       SendMessageW(button, BM_GETCHECK, 0, 0) == BST_CHECKED ? L" checked" : L"",
                       IsWindowEnabled(button) ? L"" : L" disabled");
}

std::wstring describe_control(HWND control)
{
    const std::wstring name = class_of(control);
    if (name == WC_LISTVIEWW)
        return describe_list(control);
    if (name == WC_BUTTONW)
        return describe_button(control);
    if (name == WC_COMBOBOXW || name == WC_COMBOBOXEXW)
        return fmt::format(L"combo \"{}\"\n", win32::window_text(control));
    if (name == WC_EDITW)
        return fmt::format(L"edit \"{}\"\n", win32::window_text(control));
    const std::wstring text = win32::window_text(control);
    return text.empty() ? text : fmt::format(L"text \"{}\"\n", text);
}

// Calls `visit` for the visible children of a window; a dialog among them stands for its own.
template <typename Visit>
void for_each_control(HWND parent, const Visit& visit)
{
    for (HWND child = GetWindow(parent, GW_CHILD); child != nullptr;
         child = GetWindow(child, GW_HWNDNEXT)) {
        if (!IsWindowVisible(child))
            continue;
        if (class_of(child) == L"#32770")
            for_each_control(child, visit);
        else
            visit(child);
    }
}

bool is_filled(HWND dialog)
{
    bool filled = true;
    for_each_control(dialog, [&filled](HWND control) {
        if (class_of(control) == WC_LISTVIEWW && ListView_GetItemCount(control) == 0)
            filled = false;
    });
    return filled;
}

}  // namespace

std::vector<std::vector<std::wstring>> list_rows(HWND list)
{
    const HWND header = ListView_GetHeader(list);
    const int columns = header != nullptr ? Header_GetItemCount(header) : 1;
    const int count = ListView_GetItemCount(list);
    std::vector<std::vector<std::wstring>> rows(static_cast<std::size_t>(count));
    for (int row = 0; row < count; ++row) {
        for (int column = 0; column < columns; ++column) {
            std::array<wchar_t, LONGEST_ITEM> text{};
            LVITEMW item{};
            item.iSubItem = column;
            item.pszText = text.data();
            item.cchTextMax = static_cast<int>(text.size());
            SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row),
                         reinterpret_cast<LPARAM>(&item));
            // The list may answer with a text of its own instead of filling the buffer.
            rows[static_cast<std::size_t>(row)].emplace_back(item.pszText);
        }
    }
    return rows;
}

std::wstring describe_panel(HWND dialog)
{
    std::wstring text;
    for_each_control(dialog, [&text](HWND control) { text += describe_control(control); });
    return text;
}

PanelReport::PanelReport(std::filesystem::path file) : file_(std::move(file)) {}

bool PanelReport::look_at(HWND dialog, const std::wstring& title)
{
    if (dialog == nullptr) {
        opened_at_ = 0;
        return false;
    }
    const ULONGLONG now = GetTickCount64();
    if (opened_at_ == 0)
        opened_at_ = now;
    std::wstring text = title + L'\n' + describe_panel(dialog);
    if (text != seen_) {
        seen_ = std::move(text);
        changed_at_ = now;
    }
    if (seen_ == written_ || now - changed_at_ < UNCHANGED_MILLISECONDS ||
        (!is_filled(dialog) && now - opened_at_ < FILLED_MILLISECONDS))
        return false;
    written_ = seen_;
    return write_file(file_, win32::to_utf8(written_)) == ERROR_SUCCESS;
}

}  // namespace quorrel
