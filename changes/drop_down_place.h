// Where a drop-down list stands in its row. Window thread.
#pragma once

#include <windows.h>

namespace revlane {

// The place of the drop-down list `combo` in `row`: in its middle, since the control is as high as its
// font makes it, whatever it is told. An empty row stays empty.
RECT drop_down_place(HWND combo, const RECT& row);

}  // namespace revlane
