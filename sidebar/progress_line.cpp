#include "sidebar/progress_line.h"

#include "changes/colors.h"

#include <algorithm>
#include <cstdint>

namespace revlane {

namespace {

constexpr UINT_PTR TIMER_STEP = 1;
constexpr UINT STEP_MS = 30;
// From one edge of the panel to the other.
constexpr std::uint64_t PASS_MS = 1600;
constexpr int TRACK_PERCENT = 12;

}  // namespace

void ProgressLine::attach(HWND control)
{
    control_ = control;
    subclass_.emplace(control_,
                      [this](const win32::Message& message) { return on_message(message); });
}

void ProgressLine::place(const RECT& area)
{
    area_ = area;
    // Most of the time it is hidden, and then it is moved as it appears. Its own style, since it is
    // placed too while drawing pauses and while the editor hides the panel.
    if ((GetWindowLongPtrW(control_, GWL_STYLE) & WS_VISIBLE) != 0)
        move(0);
}

void ProgressLine::move(UINT flags) const
{
    SetWindowPos(control_, HWND_TOP, area_.left, area_.top, area_.right - area_.left,
                 area_.bottom - area_.top, SWP_NOACTIVATE | flags);
}

void ProgressLine::show(bool shown) const
{
    if ((IsWindowVisible(control_) != FALSE) == shown)
        return;
    if (shown) {
        SetTimer(control_, TIMER_STEP, STEP_MS, nullptr);
        move(SWP_SHOWWINDOW);
    } else {
        KillTimer(control_, TIMER_STEP);
        ShowWindow(control_, SW_HIDE);
    }
}

win32::Handled ProgressLine::on_message(const win32::Message& message) const
{
    switch (message.id) {
    case WM_TIMER:
        InvalidateRect(control_, nullptr, FALSE);
        return 0;
    case WM_ERASEBKGND:
        return 1;
    case WM_PAINT:
        paint();
        return 0;
    default:
        return std::nullopt;
    }
}

void ProgressLine::paint() const
{
    PAINTSTRUCT paint{};
    const HDC dc = BeginPaint(control_, &paint);
    if (dc == nullptr)
        return;
    RECT track{};
    GetClientRect(control_, &track);
    const COLORREF color = GetSysColor(COLOR_HIGHLIGHT);
    const LONG length = track.right / 4;
    // The place follows from the time, so that a late step makes no difference.
    const auto way = static_cast<std::uint64_t>(track.right) + static_cast<std::uint64_t>(length);
    const LONG left = static_cast<LONG>(way * (GetTickCount64() % PASS_MS) / PASS_MS) - length;
    const RECT moving{std::max(left, 0L), 0, std::min(left + length, track.right), track.bottom};
    const RECT before{0, 0, moving.left, track.bottom};
    const RECT after{moving.right, 0, track.right, track.bottom};
    const COLORREF faint = mix_colors(GetSysColor(COLOR_BTNFACE), color, TRACK_PERCENT);
    fill_rectangle(dc, before, faint);
    fill_rectangle(dc, moving, color);
    fill_rectangle(dc, after, faint);
    EndPaint(control_, &paint);
}

}  // namespace revlane
