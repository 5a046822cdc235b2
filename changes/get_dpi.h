// The DPI that a window is shown at, and sizes that follow it. Window thread.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>

namespace revlane {

// The DPI that sizes are given at.
inline constexpr int DEFAULT_DPI = 96;

// The DPI of a window: what Windows says, else what the editor's frame around it says, else the
// screen's.
int get_dpi(HWND window);

// The three ways of get_dpi, in their order; nothing when a way has no answer.
std::optional<int> window_dpi(HWND window);
std::optional<int> frame_dpi(HWND window);
int screen_dpi();

// A size that is given at 96 DPI, at `dpi`; truncated.
constexpr int scale(int value, int dpi) noexcept
{
    return static_cast<int>(std::int64_t{value} * dpi / DEFAULT_DPI);
}

}  // namespace revlane
