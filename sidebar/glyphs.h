// The small symbols of the panel, drawn as outlines with smooth edges at any size. Window thread.
#pragma once

#include <windows.h>

#include <cstdint>

namespace revlane {

enum class Glyph : std::uint8_t { Folder, Menu, History, ChevronDown, ChevronRight };

// As long as one lives, draw_glyph draws.
class GlyphScope {
public:
    GlyphScope();
    ~GlyphScope();
    GlyphScope(const GlyphScope&) = delete;
    GlyphScope& operator=(const GlyphScope&) = delete;

private:
    ULONG_PTR token_ = 0;
};

// Draws the symbol in a square of `size` pixels whose left upper corner is `origin`.
void draw_glyph(HDC dc, Glyph glyph, POINT origin, int size, COLORREF color);

}  // namespace revlane
