#include "changes/changes_list_base.h"

#include "changes/empty_text.h"
#include "changes/list_control.h"
#include "changes/row_index.h"
#include "changes/row_text.h"
#include "git/diffs.h"
#include "plugin/host/localized.h"
#include "win32/clipboard.h"
#include "win32/handle.h"

#include <windows.h>
#include <windowsx.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace revlane {

namespace {

using Rows = std::vector<git::FileChange>;

// The characters that WM_CHAR carries for Ctrl+A and Ctrl+C.
constexpr WPARAM CHARACTER_CTRL_A = 1;
constexpr WPARAM CHARACTER_CTRL_C = 3;

// Whether a user would see no difference.
bool look_the_same(const Rows& left, const Rows& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const git::FileChange& a, const git::FileChange& b) {
                          return a.status == b.status && a.new_path == b.new_path;
                      });
}

std::wstring_view path_of(const git::FileChange& change)
{
    return change.new_path;
}

using RowsByPath = RowIndex<Rows, path_of>;

void disable(HMENU menu, UINT command)
{
    EnableMenuItem(menu, command, MF_BYCOMMAND | MF_DISABLED);
}

}  // namespace

// What the user has before him: rows by their number.
struct ChangesListBase::View {
    std::vector<std::size_t> selected;
    std::optional<std::size_t> focused;
    std::size_t top = 0;
};

void ChangesListBase::attach(HWND owner, HWND list, std::wstring empty_text)
{
    owner_ = owner;
    list_ = list;
    empty_text_ = std::move(empty_text);
}

void ChangesListBase::begin()
{
    fit_column();
    subclass_.emplace(list_,
                      [this](const win32::Message& message) { return on_list_message(message); });
}

void ChangesListBase::change_repository(const git::Repository* repository)
{
    repo_ = repository;
    set_changes({});
    is_filled_ = false;
}

void ChangesListBase::set_changes(Rows changes)
{
    // All texts first: one that cannot be made must not leave the control half filled.
    std::vector<std::wstring> texts;
    texts.reserve(changes.size());
    std::transform(changes.begin(), changes.end(), std::back_inserter(texts), row_text);
    const bool stays_empty = changes_.empty() && changes.empty();
    changes_ = std::move(changes);
    is_filled_ = true;
    if (stays_empty) {
        // It may say so from now on. Of no window at all the whole screen would be drawn anew.
        if (list_ != nullptr)
            InvalidateRect(list_, nullptr, TRUE);
        return;
    }

    const RedrawPause pause(list_);
    // Put on again before the control is drawn, when it may change its size.
    const win32::Subclass::Pause unwatched(subclass_);
    SendMessageW(list_, LVM_DELETEALLITEMS, 0, 0);
    if (!std::exchange(has_column_, true))
        insert_column();
    SendMessageW(list_, LVM_SETITEMCOUNT, texts.size(), 0);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        LVITEMW item{};
        item.mask = LVIF_TEXT;
        item.iItem = static_cast<int>(i);
        item.pszText = texts[i].data();
        SendMessageW(list_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    }
}

void ChangesListBase::update_changes(Rows changes)
{
    if (is_filled_ && look_the_same(changes_, changes)) {
        // The ids may differ none the less.
        changes_ = std::move(changes);
        return;
    }
    if (changes_.empty()) {
        set_changes(std::move(changes));
        return;
    }
    const View shown = view();
    const Rows former = changes_;
    set_changes(std::move(changes));
    restore(shown, former);
}

std::vector<const git::FileChange*> ChangesListBase::selected() const
{
    std::vector<const git::FileChange*> rows;
    for (const std::size_t row : view().selected)
        rows.push_back(&changes_[row]);
    return rows;
}

void ChangesListBase::copy_selected() const
{
    std::wstring text;
    for (const git::FileChange* change : selected()) {
        text += change->new_path;
        text += L'\n';
    }
    if (!text.empty())
        win32::set_clipboard_text(list_, text);
}

void ChangesListBase::select_all()
{
    const RedrawPause pause(list_);
    const win32::Subclass::Pause unwatched(subclass_);
    const auto count = static_cast<int>(SendMessageW(list_, LVM_GETITEMCOUNT, 0, 0));
    for (int row = 0; row < count; ++row) {
        LVITEMW item{};
        item.mask = LVIF_STATE;
        item.iItem = row;
        item.state = LVIS_SELECTED;
        item.stateMask = LVIS_SELECTED;
        SendMessageW(list_, LVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    }
}

void ChangesListBase::insert_column()
{
    // Paths that the column cuts off unfold under the pointer.
    constexpr DWORD styles = LVS_EX_DOUBLEBUFFER | LVS_EX_FULLROWSELECT | LVS_EX_LABELTIP;
    SendMessageW(list_, LVM_SETEXTENDEDLISTVIEWSTYLE, styles, styles);
    RECT client{};
    GetClientRect(list_, &client);
    LVCOLUMNW column{};
    column.mask = LVCF_WIDTH;
    column.cx = static_cast<int>(client.right);
    SendMessageW(list_, LVM_INSERTCOLUMNW, 0, reinterpret_cast<LPARAM>(&column));
}

void ChangesListBase::fit_column()
{
    if (!has_column_)
        return;
    RECT client{};
    GetClientRect(list_, &client);
    SendMessageW(list_, LVM_SETCOLUMNWIDTH, 0, client.right);
}

win32::Handled ChangesListBase::on_owner_message(const win32::Message& message)
{
    if (list_ == nullptr)
        return std::nullopt;
    if (message.id == WM_NOTIFY) {
        const auto& header = *reinterpret_cast<const NMHDR*>(message.lparam);
        if (header.hwndFrom != list_ || !asks_for_default_action(header))
            return std::nullopt;
        on_default_action();
        return 0;
    }
    if (message.id == WM_CONTEXTMENU && reinterpret_cast<HWND>(message.wparam) == list_) {
        const bool by_keyboard =
            GET_X_LPARAM(message.lparam) == -1 && GET_Y_LPARAM(message.lparam) == -1;
        menu_position_ = by_keyboard ? std::optional(keyboard_menu_place(list_)) : std::nullopt;
        on_context_menu();
        return 0;
    }
    return std::nullopt;
}

bool ChangesListBase::hold_submodule(const std::vector<const git::FileChange*>& rows) const
{
    if (rows.empty())
        return false;
    const auto paths = git::list_submodules(repo_->handle.get());
    if (!paths)
        return false;
    const std::unordered_set<std::wstring_view> submodules(paths->begin(), paths->end());
    return std::any_of(rows.begin(), rows.end(), [&](const git::FileChange* change) {
        return submodules.contains(change->new_path);
    });
}

void ChangesListBase::show_menu(UINT menu, UINT default_command, const std::vector<UINT>& disabled)
{
    const win32::MenuHandle loaded(LoadMenuW(host::resource_module(), MAKEINTRESOURCEW(menu)));
    const HMENU popup = GetSubMenu(loaded.get(), 0);
    if (popup == nullptr)
        return;
    SetMenuDefaultItem(popup, default_command, FALSE);
    for (const UINT command : disabled)
        disable(popup, command);
    POINT position{};
    GetCursorPos(&position);
    position = std::exchange(menu_position_, std::nullopt).value_or(position);
    TrackPopupMenuEx(popup, TPM_RIGHTBUTTON, position.x, position.y, owner_, nullptr);
}

win32::Handled ChangesListBase::on_list_message(const win32::Message& message)
{
    switch (message.id) {
    case WM_SIZE:
        // Before the control lays itself out, so that no horizontal scroll bar shows up for it.
        fit_column();
        if (changes_.empty())
            InvalidateRect(list_, nullptr, TRUE);
        return std::nullopt;
    case WM_GETDLGCODE:
        return dialog_code_with_return(message);
    case WM_KEYDOWN:
        return on_key(message.wparam) ? win32::Handled(0) : std::nullopt;
    case WM_CHAR:
        // Otherwise the control would look for a row that begins with it, and beep.
        if (message.wparam == CHARACTER_CTRL_A || message.wparam == CHARACTER_CTRL_C)
            return 0;
        return std::nullopt;
    case WM_PAINT:
        if (!is_filled_ || !changes_.empty())
            return std::nullopt;
        return paint_with_empty_text(message, empty_text_);
    case WM_NCDESTROY:
        list_ = nullptr;
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

bool ChangesListBase::on_key(WPARAM key)
{
    if (GetKeyState(VK_CONTROL) >= 0 || GetKeyState(VK_MENU) < 0)
        return false;
    switch (key) {
    case 'A':
        select_all();
        return true;
    case 'C':
        copy_selected();
        return true;
    default:
        return false;
    }
}

ChangesListBase::View ChangesListBase::view() const
{
    View shown;
    // While the control is emptied it may still have rows that the vector has no longer.
    const auto is_gone = [this](std::size_t row) { return row >= changes_.size(); };
    {
        const win32::Subclass::Pause unwatched(subclass_);
        shown.selected = selected_rows(list_);
    }
    std::erase_if(shown.selected, is_gone);
    shown.focused = focused_row(list_);
    if (shown.focused && is_gone(*shown.focused))
        shown.focused.reset();
    shown.top = static_cast<std::size_t>(SendMessageW(list_, LVM_GETTOPINDEX, 0, 0));
    return shown;
}

void ChangesListBase::restore(const View& view, const Rows& former)
{
    const RowsByPath rows(changes_);
    if (!view.selected.empty()) {
        const RedrawPause pause(list_);
        const win32::Subclass::Pause unwatched(subclass_);
        for (const std::size_t selected : view.selected)
            if (const auto row = rows.find(former[selected]))
                add_row_state(list_, *row, LVIS_SELECTED);
    }
    const auto focused = view.focused ? rows.find_nearest(former, *view.focused) : std::nullopt;
    if (focused) {
        add_row_state(list_, *focused, LVIS_FOCUSED);
        SendMessageW(list_, LVM_SETSELECTIONMARK, 0, static_cast<LPARAM>(*focused));
    }
    // Not while painting pauses: the control scrolls by what it has laid out.
    if (const auto row = rows.find_nearest(former, view.top))
        scroll_to_top(list_, *row);
}

bool ChangesListBase::asks_for_default_action(const NMHDR& header) const
{
    switch (header.code) {
    case NM_DBLCLK:
        return reinterpret_cast<const NMITEMACTIVATE&>(header).iItem >= 0;
    case NM_RETURN:
        return SendMessageW(list_, LVM_GETSELECTEDCOUNT, 0, 0) > 0;
    default:
        return false;
    }
}

}  // namespace revlane
