#include "changes/list_control.h"

#include <commctrl.h>
#include <windowsx.h>

#include <algorithm>

namespace revlane {

namespace {

// So many rows are deselected one by one in less time than Wine takes for a list of a thousand rows.
constexpr int FEW_ROWS = 20;

int next_row(HWND list, int row, UINT state)
{
    // No window at all would answer every question with row 0.
    if (list == nullptr)
        return -1;
    return static_cast<int>(
        SendMessageW(list, LVM_GETNEXTITEM, static_cast<WPARAM>(row), MAKELPARAM(state, 0)));
}

void set_row_state(HWND list, int row, UINT state, UINT mask)
{
    LVITEMW item{};
    item.state = state;
    item.stateMask = mask;
    SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

RECT row_bounds(HWND list, int row)
{
    RECT bounds{};
    bounds.left = LVIR_BOUNDS;
    SendMessageW(list, LVM_GETITEMRECT, static_cast<WPARAM>(row),
                 reinterpret_cast<LPARAM>(&bounds));
    return bounds;
}

bool has_state(HWND list, int row, UINT state)
{
    return (SendMessageW(list, LVM_GETITEMSTATE, static_cast<WPARAM>(row), state) & state) != 0;
}

// Whether a key moves the selection to another row. At the end of the list it leaves all as it is.
bool moves_selection(HWND list, WPARAM key)
{
    if (GetKeyState(VK_SHIFT) < 0 || GetKeyState(VK_CONTROL) < 0)
        return false;
    const int focused = next_row(list, -1, LVNI_FOCUSED);
    switch (key) {
    case VK_UP:
    case VK_PRIOR:
    case VK_HOME:
        return focused > 0;
    case VK_DOWN:
    case VK_NEXT:
    case VK_END:
        return focused >= 0 && focused + 1 < SendMessageW(list, LVM_GETITEMCOUNT, 0, 0);
    default:
        return false;
    }
}

// Whether a click selects the row that it meets. One that is selected already keeps the others.
bool selects_row(const win32::Message& click)
{
    if ((click.wparam & (MK_SHIFT | MK_CONTROL)) != 0)
        return false;
    LVHITTESTINFO hit{};
    hit.pt = {GET_X_LPARAM(click.lparam), GET_Y_LPARAM(click.lparam)};
    const auto row = static_cast<int>(
        SendMessageW(click.window, LVM_SUBITEMHITTEST, 0, reinterpret_cast<LPARAM>(&hit)));
    return row >= 0 && (hit.flags & LVHT_ONITEM) != 0 &&
           !has_state(click.window, row, LVIS_SELECTED);
}

}  // namespace

RedrawPause::RedrawPause(HWND control)
    : control_(control), was_visible_((GetWindowLongPtrW(control, GWL_STYLE) & WS_VISIBLE) != 0)
{
    SendMessageW(control_, WM_SETREDRAW, FALSE, 0);
    // What Windows does where a control has no way of its own: the control counts as hidden. Wine's list
    // view would draw its scroll bars when the pause ends, and again with all the rest.
    if (was_visible_)
        DefWindowProcW(control_, WM_SETREDRAW, FALSE, 0);
}

RedrawPause::~RedrawPause()
{
    // Of no window at all the whole screen would be drawn anew.
    if (control_ == nullptr)
        return;
    SendMessageW(control_, WM_SETREDRAW, TRUE, 0);
    if (was_visible_)
        DefWindowProcW(control_, WM_SETREDRAW, TRUE, 0);
    RedrawWindow(control_, nullptr, nullptr,
                 RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_FRAME);
}

std::vector<std::size_t> selected_rows(HWND list)
{
    std::vector<std::size_t> rows;
    for (int row = next_row(list, -1, LVNI_SELECTED); row >= 0;
         row = next_row(list, row, LVNI_SELECTED))
        rows.push_back(static_cast<std::size_t>(row));
    return rows;
}

std::optional<std::size_t> focused_row(HWND list)
{
    const int row = next_row(list, -1, LVNI_FOCUSED);
    return row >= 0 ? std::optional(static_cast<std::size_t>(row)) : std::nullopt;
}

void add_row_state(HWND list, std::size_t row, UINT state)
{
    set_row_state(list, static_cast<int>(row), state, state);
}

void clear_row_states(HWND list)
{
    constexpr int all_rows = -1;
    set_row_state(list, all_rows, 0, LVIS_SELECTED | LVIS_FOCUSED);
}

void deselect_few(HWND list)
{
    if (SendMessageW(list, LVM_GETSELECTEDCOUNT, 0, 0) > FEW_ROWS)
        return;
    for (const std::size_t row : selected_rows(list))
        set_row_state(list, static_cast<int>(row), 0, LVIS_SELECTED);
}

void deselect_ahead(const win32::Message& message)
{
    switch (message.id) {
    case WM_KEYDOWN:
        if (moves_selection(message.window, message.wparam))
            deselect_few(message.window);
        break;
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
        if (selects_row(message))
            deselect_few(message.window);
        break;
    default:
        break;
    }
}

void scroll_to_top(HWND list, std::size_t row)
{
    const auto top = static_cast<int>(SendMessageW(list, LVM_GETTOPINDEX, 0, 0));
    const auto wanted = static_cast<int>(row);
    if (wanted != top)
        SendMessageW(list, LVM_SCROLL, 0, row_bounds(list, wanted).top - row_bounds(list, top).top);
}

POINT keyboard_menu_place(HWND list)
{
    POINT place{};
    int row = -1;
    for (const UINT state :
         {UINT{LVNI_SELECTED} | UINT{LVNI_FOCUSED}, UINT{LVNI_SELECTED}, UINT{LVNI_FOCUSED}})
        if (row < 0)
            row = next_row(list, -1, state);
    if (row >= 0) {
        RECT client{};
        GetClientRect(list, &client);
        place.y = std::clamp(row_bounds(list, row).bottom, client.top, client.bottom);
    }
    ClientToScreen(list, &place);
    return place;
}

LRESULT dialog_code_with_return(const win32::Message& message)
{
    const LRESULT code =
        DefSubclassProc(message.window, message.id, message.wparam, message.lparam);
    const auto* key = reinterpret_cast<const MSG*>(message.lparam);
    const bool is_return = key != nullptr && key->message == WM_KEYDOWN && key->wParam == VK_RETURN;
    return is_return ? code | DLGC_WANTMESSAGE : code;
}

}  // namespace revlane
