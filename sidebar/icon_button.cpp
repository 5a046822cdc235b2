#include "sidebar/icon_button.h"

#include "changes/colors.h"
#include "changes/get_dpi.h"
#include "sidebar/fonts.h"
#include "win32/handle.h"

#include <algorithm>

namespace revlane {

namespace {

// Sizes at 96 DPI.
constexpr int GLYPH_SIZE = 16;
constexpr int GLYPH_GAP = 6;
constexpr int TEXT_MARGIN = 12;
constexpr int FOCUS_INSET = 2;
// How much of the text's colour lies on the button.
constexpr int HOT_PERCENT = 10;
constexpr int PRESSED_PERCENT = 20;
constexpr int FRAME_PERCENT = 35;

}  // namespace

void IconButton::attach(HWND button, Glyph glyph)
{
    button_ = button;
    glyph_ = glyph;
}

void IconButton::begin()
{
    subclass_.emplace(button_,
                      [this](const win32::Message& message) { return on_message(message); });
}

win32::Handled IconButton::on_message(const win32::Message& message)
{
    if (message.id == WM_MOUSEMOVE && !is_hot_) {
        TRACKMOUSEEVENT track{sizeof track, TME_LEAVE, button_, 0};
        TrackMouseEvent(&track);
        set_hot(true);
    } else if (message.id == WM_MOUSELEAVE || message.id == WM_ENABLE) {
        set_hot(false);
    }
    return std::nullopt;
}

void IconButton::set_hot(bool hot)
{
    if (is_hot_ == hot)
        return;
    is_hot_ = hot;
    InvalidateRect(button_, nullptr, FALSE);
}

int IconButton::width_with_text(HFONT font, int dpi) const
{
    return scale(2 * TEXT_MARGIN + GLYPH_SIZE + GLYPH_GAP, dpi) +
           text_width(button_, font, win32::window_text(button_));
}

void IconButton::draw(const DRAWITEMSTRUCT& item, HFONT font, int dpi) const
{
    const COLORREF face = GetSysColor(COLOR_BTNFACE);
    const bool is_enabled = (item.itemState & ODS_DISABLED) == 0;
    const COLORREF ink = GetSysColor(is_enabled ? COLOR_BTNTEXT : COLOR_GRAYTEXT);
    RECT area = item.rcItem;
    const int width = static_cast<int>(area.right - area.left);
    const int height = static_cast<int>(area.bottom - area.top);
    const bool has_text = width > 2 * height;

    const bool is_pressed = (item.itemState & ODS_SELECTED) != 0;
    const int percent = is_pressed ? PRESSED_PERCENT : is_hot_ && is_enabled ? HOT_PERCENT : 0;
    if (percent > 0 || has_text) {
        fill_rectangle(item.hDC, area, mix_colors(face, ink, FRAME_PERCENT));
        InflateRect(&area, -1, -1);
    }
    fill_rectangle(item.hDC, area, mix_colors(face, ink, percent));

    const int size = scale(GLYPH_SIZE, dpi);
    POINT origin{item.rcItem.left + (width - size) / 2, item.rcItem.top + (height - size) / 2};
    if (has_text) {
        const int content = width_with_text(font, dpi) - scale(2 * TEXT_MARGIN, dpi);
        origin.x = item.rcItem.left + std::max((width - content) / 2, 0);
        const win32::SelectedObject selected(item.hDC, font);
        RECT text{origin.x + size + scale(GLYPH_GAP, dpi), area.top, area.right, area.bottom};
        SetBkMode(item.hDC, TRANSPARENT);
        SetTextColor(item.hDC, ink);
        const std::wstring caption = win32::window_text(button_);
        const UINT prefix = (item.itemState & ODS_NOACCEL) != 0 ? DT_HIDEPREFIX : 0U;
        DrawTextW(item.hDC, caption.data(), static_cast<int>(caption.size()), &text,
                  DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS | prefix);
    }
    draw_glyph(item.hDC, glyph_, origin, size, ink);

    const bool shows_focus =
        (item.itemState & ODS_FOCUS) != 0 && (item.itemState & ODS_NOFOCUSRECT) == 0;
    if (shows_focus) {
        RECT focus = item.rcItem;
        InflateRect(&focus, -FOCUS_INSET, -FOCUS_INSET);
        SetTextColor(item.hDC, GetSysColor(COLOR_BTNTEXT));
        SetBkColor(item.hDC, face);
        DrawFocusRect(item.hDC, &focus);
    }
}

}  // namespace revlane
