// The line of text in the middle of a list without rows.
#pragma once

#include "win32/window.h"

#include <windows.h>

#include <string>

namespace revlane {

// Lets a list view answer a WM_PAINT that a subclass of it sees, and draws `text` in grey over its
// client area. Window thread.
LRESULT paint_with_empty_text(const win32::Message& message, const std::wstring& text);

}  // namespace revlane
