// A row of one of the panel's lists as Revlane draws it: selection, margins and focus are the same in
// all of them. Window thread.
#pragma once

#include "win32/handle.h"

#include <windows.h>
#include <commctrl.h>

#include <string>
#include <string_view>

namespace revlane {

class DrawnRow {
public:
    // At both ends of a row, at 96 DPI.
    static constexpr int MARGIN = 8;

    // A row that a list view, in report mode, is about to draw (CDDS_ITEMPREPAINT); `dpi` is the
    // list's. Fills the background. The answer to the list is CDRF_SKIPDEFAULT then.
    DrawnRow(const NMCUSTOMDRAW& draw, int dpi);
    // Draws the focus, if the row has it.
    ~DrawnRow();
    DrawnRow(const DrawnRow&) = delete;
    DrawnRow& operator=(const DrawnRow&) = delete;

    [[nodiscard]] HDC dc() const noexcept { return dc_; }
    // Of what is read first, and of what matters less.
    [[nodiscard]] COLORREF text_color() const noexcept { return text_; }
    [[nodiscard]] COLORREF dimmed_color() const noexcept { return dimmed_; }
    // On the colour of a selection no other colours can be read.
    [[nodiscard]] bool has_selection_color() const noexcept { return has_selection_color_; }

    // In the font that the dc has, which is the list's at first.
    [[nodiscard]] int width_of(std::wstring_view text) const;
    // Room that is left, in pixels.
    [[nodiscard]] int room() const noexcept { return static_cast<int>(area_.right - area_.left); }
    // Draw at one end of the room and take what they need of it. What does not fit ends in an
    // ellipsis; the left one leaves `kept` pixels free.
    void draw_left(const std::wstring& text, COLORREF color, int kept = 0);
    void draw_right(const std::wstring& text, COLORREF color);

private:
    HWND list_;
    HDC dc_;
    win32::SelectedObject font_;
    RECT row_{};
    RECT area_{};
    COLORREF background_ = 0;
    COLORREF text_ = 0;
    COLORREF dimmed_ = 0;
    bool has_selection_color_ = false;
    bool shows_focus_ = false;
};

}  // namespace revlane
