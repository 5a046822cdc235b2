// Where the history window stood last, kept in the editor's settings store. Window thread.
#pragma once

#include <windows.h>

namespace revlane {

struct HistoryPlacement {
    RECT window;  // screen coordinates of the restored window
    bool is_maximized;
    int splitter;  // thousandths, see HistoryLayoutInput
};

// The stored placement, moved onto a screen that exists; the default, centred over the frame, when
// nothing is stored.
HistoryPlacement read_history_placement(HWND frame);

void write_history_placement(HWND frame, HWND window, int splitter);

}  // namespace revlane
