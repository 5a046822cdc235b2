// The panel's fonts, as the user chose them for messages, at the size of a DPI. Window thread.
#pragma once

#include "win32/handle.h"

#include <windows.h>

#include <string_view>

namespace revlane {

struct PanelFonts {
    win32::FontHandle text;
    win32::FontHandle heading;  // the same, heavier
    int line_height = 0;        // of both, in pixels
};

PanelFonts make_panel_fonts(int dpi);

// Width of one line in pixels; "&" marks an access key.
int text_width(HWND window, HFONT font, std::wstring_view text);
// Height of a text that is wrapped to `width`.
int wrapped_text_height(HWND window, HFONT font, std::wstring_view text, int width);

}  // namespace revlane
