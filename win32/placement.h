// Where a window goes on the screen. The thread of the window.
#pragma once

#include <windows.h>

namespace win32 {

// Puts a dialog into the middle of the top-level window that `over` is or lies in, as far as the
// monitor's work area leaves room. Dialogs of a narrow panel would else lie half beside the window
// that they belong to.
void center_over(HWND dialog, HWND over);

}  // namespace win32
