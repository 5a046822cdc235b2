// The icon of the plug-in's own windows. The thread of the window.
#pragma once

#include <windows.h>

namespace revlane {

// Gives a window with a caption the plug-in's icon in place of Windows' own. Windows keeps the
// icons, and shares them between windows.
void set_window_icon(HWND window);

}  // namespace revlane
