#include "win32/control_placement.h"

#include <algorithm>
#include <iterator>

namespace win32 {

void ControlPlacement::apply(std::span<const Part> parts)
{
    std::vector<Part> moved;
    std::copy_if(parts.begin(), parts.end(), std::back_inserter(moved), [this](const Part& part) {
        // Where a hidden control lies is no matter until it is shown.
        if (!part.is_shown && (GetWindowLongPtrW(part.control, GWL_STYLE) & WS_VISIBLE) == 0)
            return false;
        return std::none_of(placed_.begin(), placed_.end(), [&part](const Part& placed) {
            return placed.control == part.control && placed.is_shown == part.is_shown &&
                   EqualRect(&placed.area, &part.area);
        });
    });
    if (moved.empty())
        return;
    placed_.assign(parts.begin(), parts.end());
    HDWP moves = BeginDeferWindowPos(static_cast<int>(moved.size()));
    for (const Part& part : moved) {
        const RECT& area = part.area;
        moves = DeferWindowPos(moves, part.control, nullptr, area.left, area.top,
                               area.right - area.left, area.bottom - area.top,
                               SWP_NOZORDER | SWP_NOACTIVATE |
                                   (part.is_shown ? SWP_SHOWWINDOW : SWP_HIDEWINDOW));
    }
    EndDeferWindowPos(moves);
}

}  // namespace win32
