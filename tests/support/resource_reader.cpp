#include "tests/support/resource_reader.h"

#include "tests/support/product.h"
#include "win32/handle.h"
#include "win32/window.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <regex>

namespace support {

namespace {

// More than any text of a menu or a control.
constexpr int TEXT_CAPACITY = 512;

std::wstring class_name(HWND window)
{
    std::array<wchar_t, TEXT_CAPACITY> name{};
    GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return name.data();
}

SIZE measure(HWND control, const std::wstring& text, LONG width, bool wraps)
{
    const win32::WindowDc dc(control);
    const win32::SelectedObject selected(
        dc.get(), reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0)));
    RECT box{0, 0, width, 0};
    DrawTextW(dc.get(), text.c_str(), -1, &box,
              DT_CALCRECT | (wraps ? UINT{DT_WORDBREAK} : UINT{DT_SINGLELINE}));
    return {box.right, box.bottom};
}

Control read_control(HWND window)
{
    Control control{};
    control.id = GetDlgCtrlID(window);
    control.class_name = class_name(window);
    control.style = static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE));
    control.extended_style = static_cast<DWORD>(GetWindowLongPtrW(window, GWL_EXSTYLE));
    control.text = win32::window_text(window);
    RECT client{};
    GetClientRect(window, &client);
    control.size = {client.right, client.bottom};
    const DWORD type = control.style & SS_TYPEMASK;
    const bool wraps = control.class_name == L"Static" && (type == SS_LEFT || type == SS_CENTER) &&
                       (control.style & SS_CENTERIMAGE) == 0;
    control.text_size = measure(window, control.text, client.right, wraps);
    return control;
}

// The template of a dialog with another size of its font.
std::vector<WORD> read_template(HMODULE library, int id, WORD points)
{
    const HRSRC found = FindResourceW(library, MAKEINTRESOURCEW(id), RT_DIALOG);
    const HGLOBAL loaded = found != nullptr ? LoadResource(library, found) : nullptr;
    if (loaded == nullptr) {
        ADD_FAILURE() << "there is no dialog " << id;
        return {};
    }
    const auto* words = static_cast<const WORD*>(LockResource(loaded));
    std::vector<WORD> dialog(words, words + SizeofResource(library, found) / sizeof(WORD));
    // Version, signature, help id, two styles, number of controls, and the rectangle stand before the
    // menu, the class and the title, each of which is a text or the word 0xFFFF with a number.
    constexpr std::size_t HEADER = 13;
    constexpr WORD NUMBER = 0xFFFF;
    std::size_t at = HEADER;
    for (int field = 0; field < 3; ++field) {
        if (dialog[at] == NUMBER)
            at += 2;
        else
            at =
                static_cast<std::size_t>(std::find(dialog.begin() + static_cast<std::ptrdiff_t>(at),
                                                   dialog.end(), WORD{0}) -
                                         dialog.begin()) +
                1;
    }
    EXPECT_EQ(dialog[at], DIALOG_POINTS);
    dialog[at] = points;
    return dialog;
}

INT_PTR CALLBACK do_nothing(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

}  // namespace

std::map<std::string, int> resource_ids()
{
    std::ifstream file(product_root() / L"resources" / L"ids.h");
    EXPECT_TRUE(file) << "resources/ids.h cannot be read";
    std::map<std::string, int> ids;
    const std::regex definition(R"(#define (ID\w*) (\d+).*)");
    std::smatch parts;
    for (std::string line; std::getline(file, line);)
        if (std::regex_search(line, parts, definition))
            ids[parts[1]] = std::stoi(parts[2]);
    return ids;
}

Dialog read_dialog(HMODULE library, int id, WORD points)
{
    const std::vector<WORD> data = read_template(library, id, points);
    if (data.empty())
        return {};
    // Some of the dialogs are children of another window.
    const HWND parent = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                        nullptr, nullptr);
    Dialog dialog{};
    const HWND window = CreateDialogIndirectParamW(
        library, reinterpret_cast<const DLGTEMPLATE*>(data.data()), parent, do_nothing, 0);
    EXPECT_NE(window, nullptr) << "dialog " << id << ": " << GetLastError();
    if (window != nullptr) {
        dialog.style = static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE));
        dialog.caption = win32::window_text(window);
        for (HWND child = GetWindow(window, GW_CHILD); child != nullptr;
             child = GetWindow(child, GW_HWNDNEXT))
            dialog.controls.push_back(read_control(child));
        DestroyWindow(window);
    }
    DestroyWindow(parent);
    return dialog;
}

std::vector<MenuItem> read_menu(HMODULE library, int id)
{
    const win32::MenuHandle menu(LoadMenuW(library, MAKEINTRESOURCEW(id)));
    const HMENU shown = GetSubMenu(menu.get(), 0);
    std::vector<MenuItem> items;
    for (int i = 0; i < GetMenuItemCount(shown); ++i) {
        std::array<wchar_t, TEXT_CAPACITY> text{};
        GetMenuStringW(shown, static_cast<UINT>(i), text.data(), TEXT_CAPACITY, MF_BYPOSITION);
        items.push_back({GetMenuItemID(shown, i), text.data()});
    }
    return items;
}

std::wstring read_text(HMODULE library, int id)
{
    const wchar_t* text = nullptr;
    const int length =
        LoadStringW(library, static_cast<UINT>(id), reinterpret_cast<wchar_t*>(&text), 0);
    return length > 0 ? std::wstring(text, static_cast<std::size_t>(length)) : std::wstring();
}

wchar_t access_key(const std::wstring& text)
{
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != L'&')
            continue;
        if (text[i + 1] != L'&') {
            wchar_t key = text[i + 1];
            CharLowerBuffW(&key, 1);
            return key;
        }
        ++i;
    }
    return 0;
}

}  // namespace support
