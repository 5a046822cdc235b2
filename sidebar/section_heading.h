// The heading above a list of the panel: its text, how many rows the list has, and for a list that
// folds a chevron. Window thread.
#pragma once

#include "sidebar/fonts.h"

#include <windows.h>

#include <cstddef>
#include <optional>

namespace revlane {

struct HeadingLook {
    std::optional<std::size_t> count;  // nothing: the list is not filled yet
    std::optional<bool> is_folded;     // nothing: the list does not fold
};

// Draws the heading control of a WM_DRAWITEM; its window text is the heading.
void draw_heading(const DRAWITEMSTRUCT& item, const HeadingLook& look, const PanelFonts& fonts,
                  int dpi);

}  // namespace revlane
