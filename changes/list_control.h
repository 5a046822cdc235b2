// What the list views of Revlane need beyond what Windows brings along. Window thread.
#pragma once

#include "win32/window.h"

#include <windows.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace revlane {

// Keeps a control from painting, and from moving its scroll bars, for as long as it lives.
class RedrawPause {
public:
    explicit RedrawPause(HWND control);
    ~RedrawPause();
    RedrawPause(const RedrawPause&) = delete;
    RedrawPause& operator=(const RedrawPause&) = delete;

private:
    HWND control_;
    bool was_visible_;
};

// The selected rows, in row order.
std::vector<std::size_t> selected_rows(HWND list);
std::optional<std::size_t> focused_row(HWND list);
// Adds to the row's state. A row for which the control has no place is no fault.
void add_row_state(HWND list, std::size_t row, UINT state);
// No row is selected or has the focus afterwards.
void clear_row_states(HWND list);

// No row is selected afterwards, if only a few are now. Wine's list view goes through all rows that
// there are when all are to lose the selection at once, unless none has it.
void deselect_few(HWND list);
// To be called with each message that is about to reach the list: where a key or a click is going to
// select another row and no other, the selection is off already when the list takes it off.
void deselect_ahead(const win32::Message& message);

// Scrolls until the row is the first one on view. Not while painting pauses: the control scrolls by
// what it has laid out.
void scroll_to_top(HWND list, std::size_t row);

// Where a context menu opens that the keyboard asked for: below a selected row, best the focused one,
// as far as it is on view; else below the focused one.
POINT keyboard_menu_place(HWND list);

// The answer to a WM_GETDLGCODE that a subclass of the list sees: the list's own, and the Return key,
// which dialogs otherwise keep for themselves.
LRESULT dialog_code_with_return(const win32::Message& message);

}  // namespace revlane
