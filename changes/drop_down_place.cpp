#include "changes/drop_down_place.h"

#include <algorithm>

namespace revlane {

RECT drop_down_place(HWND combo, const RECT& row)
{
    // Above and below the text field together, at every DPI. The window's own height is of no use: it
    // follows the font only when the control is moved.
    constexpr int FRAME = 6;
    constexpr auto TEXT_FIELD = static_cast<WPARAM>(-1);
    RECT place = row;
    if (IsRectEmpty(&row))
        return place;
    const int height =
        static_cast<int>(SendMessageW(combo, CB_GETITEMHEIGHT, TEXT_FIELD, 0)) + FRAME;
    place.top += std::max(static_cast<int>(row.bottom - row.top) - height, 0) / 2;
    return place;
}

}  // namespace revlane
