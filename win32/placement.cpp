#include "win32/placement.h"

#include <algorithm>

namespace win32 {

namespace {

// The beginning of `length` in the middle of [first, last), within [low, high).
LONG middle(LONG length, LONG first, LONG last, LONG low, LONG high)
{
    const LONG wanted = first + (last - first - length) / 2;
    return std::max(std::min(wanted, high - length), low);
}

}  // namespace

void center_over(HWND dialog, HWND over)
{
    const HWND frame = GetAncestor(over, GA_ROOT);
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    RECT place{};
    RECT own{};
    if (frame == nullptr || IsIconic(frame) || !GetWindowRect(frame, &place) ||
        !GetWindowRect(dialog, &own) ||
        !GetMonitorInfoW(MonitorFromWindow(frame, MONITOR_DEFAULTTONEAREST), &monitor))
        return;
    const RECT& work = monitor.rcWork;
    SetWindowPos(dialog, nullptr,
                 middle(own.right - own.left, place.left, place.right, work.left, work.right),
                 middle(own.bottom - own.top, place.top, place.bottom, work.top, work.bottom), 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace win32
