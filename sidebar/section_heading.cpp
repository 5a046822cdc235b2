#include "sidebar/section_heading.h"

#include "changes/colors.h"
#include "changes/get_dpi.h"
#include "sidebar/glyphs.h"
#include "win32/handle.h"
#include "win32/window.h"

#include <algorithm>
#include <string>

namespace revlane {

namespace {

// Sizes at 96 DPI.
constexpr int MARGIN = 8;
constexpr int COUNT_GAP = 8;
constexpr int CHEVRON_SIZE = 16;
constexpr int FOCUS_INSET = 2;

void draw_part(HDC dc, HFONT font, const std::wstring& text, RECT& area, COLORREF color, UINT flags)
{
    const win32::SelectedObject selected(dc, font);
    SetTextColor(dc, color);
    flags |= DT_LEFT | DT_VCENTER | DT_SINGLELINE;
    DrawTextW(dc, text.data(), static_cast<int>(text.size()), &area, flags | DT_END_ELLIPSIS);
    RECT drawn = area;
    DrawTextW(dc, text.data(), static_cast<int>(text.size()), &drawn, flags | DT_CALCRECT);
    area.left = std::min(drawn.right, area.right);
}

}  // namespace

void draw_heading(const DRAWITEMSTRUCT& item, const HeadingLook& look, const PanelFonts& fonts,
                  int dpi)
{
    const COLORREF face = GetSysColor(COLOR_BTNFACE);
    const COLORREF ink = GetSysColor(COLOR_BTNTEXT);
    fill_rectangle(item.hDC, item.rcItem, face);
    SetBkMode(item.hDC, TRANSPARENT);

    RECT area = item.rcItem;
    area.left += scale(MARGIN, dpi);
    area.right -= scale(MARGIN, dpi);
    if (look.is_folded) {
        const int size = scale(CHEVRON_SIZE, dpi);
        const POINT origin{area.right - size, (area.top + area.bottom - size) / 2};
        draw_glyph(item.hDC, *look.is_folded ? Glyph::ChevronRight : Glyph::ChevronDown, origin,
                   size, ink);
        area.right = origin.x - scale(COUNT_GAP, dpi);
    }
    const UINT prefix = (item.itemState & ODS_NOACCEL) != 0 ? DT_HIDEPREFIX : 0U;
    draw_part(item.hDC, fonts.heading.get(), win32::window_text(item.hwndItem), area, ink, prefix);
    if (look.count) {
        area.left += scale(COUNT_GAP, dpi);
        draw_part(item.hDC, fonts.text.get(), std::to_wstring(*look.count), area,
                  mix_colors(face, ink, 60), DT_NOPREFIX);
    }
    const bool shows_focus =
        (item.itemState & ODS_FOCUS) != 0 && (item.itemState & ODS_NOFOCUSRECT) == 0;
    if (shows_focus) {
        RECT focus = item.rcItem;
        InflateRect(&focus, -FOCUS_INSET, -FOCUS_INSET);
        SetTextColor(item.hDC, ink);
        SetBkColor(item.hDC, face);
        DrawFocusRect(item.hDC, &focus);
    }
}

}  // namespace revlane
