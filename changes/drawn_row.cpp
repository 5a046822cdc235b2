#include "changes/drawn_row.h"

#include "changes/colors.h"
#include "changes/get_dpi.h"

#include <algorithm>

namespace revlane {

namespace {

constexpr int DIMMED_PERCENT = 62;
constexpr int DIMMED_ON_SELECTION_PERCENT = 80;
// Of the text's colour in the background of a selection in a list without the focus.
constexpr int SELECTION_PERCENT = 12;
constexpr UINT TEXT_FORMAT = DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS;

}  // namespace

DrawnRow::DrawnRow(const NMCUSTOMDRAW& draw, int dpi)
    : list_(draw.hdr.hwndFrom), dc_(draw.hdc), font_(draw.hdc, win32::control_font(list_))
{
    row_.left = LVIR_BOUNDS;
    SendMessageW(list_, LVM_GETITEMRECT, draw.dwItemSpec, reinterpret_cast<LPARAM>(&row_));
    area_ = row_;
    InflateRect(&area_, -scale(MARGIN, dpi), 0);

    // The state in the record counts every row as selected when the control always shows its
    // selection.
    const auto state = static_cast<UINT>(
        SendMessageW(list_, LVM_GETITEMSTATE, draw.dwItemSpec, LVIS_SELECTED | LVIS_FOCUSED));
    const bool has_focus = GetFocus() == list_;
    const bool is_selected = (state & LVIS_SELECTED) != 0;
    const COLORREF window = GetSysColor(COLOR_WINDOW);
    text_ = GetSysColor(COLOR_WINDOWTEXT);
    has_selection_color_ = is_selected && has_focus;
    if (has_selection_color_) {
        background_ = GetSysColor(COLOR_HIGHLIGHT);
        text_ = GetSysColor(COLOR_HIGHLIGHTTEXT);
        dimmed_ = mix_colors(background_, text_, DIMMED_ON_SELECTION_PERCENT);
    } else {
        background_ = is_selected ? mix_colors(window, text_, SELECTION_PERCENT) : window;
        dimmed_ = mix_colors(background_, text_, DIMMED_PERCENT);
    }
    shows_focus_ = (state & LVIS_FOCUSED) != 0 && has_focus &&
                   (SendMessageW(list_, WM_QUERYUISTATE, 0, 0) & UISF_HIDEFOCUS) == 0;
    fill_rectangle(dc_, row_, background_);
    SetBkMode(dc_, TRANSPARENT);
}

DrawnRow::~DrawnRow()
{
    if (!shows_focus_)
        return;
    SetTextColor(dc_, text_);
    SetBkColor(dc_, background_);
    DrawFocusRect(dc_, &row_);
}

int DrawnRow::width_of(std::wstring_view text) const
{
    SIZE size{};
    GetTextExtentPoint32W(dc_, text.data(), static_cast<int>(text.size()), &size);
    return static_cast<int>(size.cx);
}

void DrawnRow::draw_left(const std::wstring& text, COLORREF color, int kept)
{
    RECT place = area_;
    place.right = std::max(place.left, place.right - kept);
    SetTextColor(dc_, color);
    DrawTextW(dc_, text.data(), static_cast<int>(text.size()), &place, DT_LEFT | TEXT_FORMAT);
    area_.left = std::min(place.right, place.left + width_of(text));
}

void DrawnRow::draw_right(const std::wstring& text, COLORREF color)
{
    SetTextColor(dc_, color);
    DrawTextW(dc_, text.data(), static_cast<int>(text.size()), &area_, DT_RIGHT | TEXT_FORMAT);
    area_.right = std::max(area_.left, area_.right - width_of(text));
}

}  // namespace revlane
