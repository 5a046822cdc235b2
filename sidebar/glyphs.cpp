#include "sidebar/glyphs.h"

#include <objidl.h>

#include <algorithm>
#include <array>

// The header of GDI+ takes these two from the global namespace, as macros of Windows that are not
// defined here.
namespace Gdiplus {
// NOLINTBEGIN(misc-unused-using-decls): what the header uses of them is not counted.
using std::max;
using std::min;
// NOLINTEND(misc-unused-using-decls)
}  // namespace Gdiplus
#include <gdiplus.h>

namespace revlane {

namespace {

// All symbols are drawn on a square of 16 units, with lines of 1.25 units.
constexpr float GRID = 16.0F;
constexpr float LINE = 1.25F;

using Gdiplus::PointF;

void draw_folder(Gdiplus::Graphics& graphics, const Gdiplus::Pen& pen)
{
    Gdiplus::GraphicsPath path;
    const std::array<PointF, 8> outline{
        PointF{1.5F, 12.5F},  PointF{1.5F, 3.5F},   PointF{6.0F, 3.5F},  PointF{7.75F, 5.25F},
        PointF{14.5F, 5.25F}, PointF{14.5F, 13.5F}, PointF{2.5F, 13.5F}, PointF{1.5F, 12.5F}};
    path.AddLines(outline.data(), static_cast<INT>(outline.size()));
    path.CloseFigure();
    graphics.DrawPath(&pen, &path);
    graphics.DrawLine(&pen, PointF{1.5F, 7.75F}, PointF{14.5F, 7.75F});
}

void draw_menu(Gdiplus::Graphics& graphics, const Gdiplus::Pen& pen)
{
    for (const float y : {4.5F, 8.0F, 11.5F})
        graphics.DrawLine(&pen, PointF{2.5F, y}, PointF{13.5F, y});
}

void draw_history(Gdiplus::Graphics& graphics, const Gdiplus::Pen& pen)
{
    graphics.DrawEllipse(&pen, 2.0F, 2.0F, 12.0F, 12.0F);
    graphics.DrawLine(&pen, PointF{8.0F, 4.5F}, PointF{8.0F, 8.25F});
    graphics.DrawLine(&pen, PointF{8.0F, 8.25F}, PointF{10.75F, 9.75F});
}

void draw_chevron(Gdiplus::Graphics& graphics, const Gdiplus::Pen& pen, bool down)
{
    const std::array<PointF, 3> pointing_down{PointF{4.0F, 6.0F}, PointF{8.0F, 10.0F},
                                              PointF{12.0F, 6.0F}};
    const std::array<PointF, 3> pointing_right{PointF{6.0F, 4.0F}, PointF{10.0F, 8.0F},
                                               PointF{6.0F, 12.0F}};
    const auto& points = down ? pointing_down : pointing_right;
    graphics.DrawLines(&pen, points.data(), static_cast<INT>(points.size()));
}

}  // namespace

GlyphScope::GlyphScope()
{
    const Gdiplus::GdiplusStartupInput input;
    Gdiplus::GdiplusStartup(&token_, &input, nullptr);
}

GlyphScope::~GlyphScope()
{
    if (token_ != 0)
        Gdiplus::GdiplusShutdown(token_);
}

void draw_glyph(HDC dc, Glyph glyph, POINT origin, int size, COLORREF color)
{
    Gdiplus::Graphics graphics(dc);
    graphics.SetSmoothingMode(Gdiplus::SmoothingModeAntiAlias);
    graphics.SetPixelOffsetMode(Gdiplus::PixelOffsetModeHalf);
    graphics.TranslateTransform(static_cast<float>(origin.x), static_cast<float>(origin.y));
    graphics.ScaleTransform(static_cast<float>(size) / GRID, static_cast<float>(size) / GRID);
    Gdiplus::Pen pen(Gdiplus::Color(GetRValue(color), GetGValue(color), GetBValue(color)), LINE);
    pen.SetLineCap(Gdiplus::LineCapRound, Gdiplus::LineCapRound, Gdiplus::DashCapRound);
    pen.SetLineJoin(Gdiplus::LineJoinRound);
    switch (glyph) {
    case Glyph::Folder:
        draw_folder(graphics, pen);
        break;
    case Glyph::Menu:
        draw_menu(graphics, pen);
        break;
    case Glyph::History:
        draw_history(graphics, pen);
        break;
    case Glyph::ChevronDown:
        draw_chevron(graphics, pen, true);
        break;
    case Glyph::ChevronRight:
        draw_chevron(graphics, pen, false);
        break;
    }
}

}  // namespace revlane
