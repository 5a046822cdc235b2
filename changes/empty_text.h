// The line of text in the middle of a list without rows.
#pragma once

#include <windows.h>

#include <string>

namespace revlane {

// Draws `text` in grey over the client area of a list view, after the control has painted itself.
// Window thread.
void paint_empty_text(HWND list, const std::wstring& text);

}  // namespace revlane
