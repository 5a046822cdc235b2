// Colours that Revlane makes of the user's own. Pure but for what GetSysColor tells.
#pragma once

#include <windows.h>

namespace revlane {

// `percent` of `over` on `under`.
constexpr COLORREF mix_colors(COLORREF under, COLORREF over, int percent) noexcept
{
    const auto channel = [=](int shift) {
        const int from = static_cast<int>((under >> shift) & 0xFFU);
        const int to = static_cast<int>((over >> shift) & 0xFFU);
        return static_cast<COLORREF>(from + (to - from) * percent / 100) << shift;
    };
    return channel(0) | channel(8) | channel(16);
}

// Whether light text is read best on it.
constexpr bool is_dark(COLORREF color) noexcept
{
    // The weights of the channels in what an eye takes for brightness, in thousandths.
    const unsigned brightness =
        (color & 0xFFU) * 299U + ((color >> 8U) & 0xFFU) * 587U + ((color >> 16U) & 0xFFU) * 114U;
    return brightness < 128U * 1000U;
}

// Fills a rectangle without a brush of its own.
inline void fill_rectangle(HDC dc, const RECT& area, COLORREF color) noexcept
{
    const COLORREF former = SetBkColor(dc, color);
    ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &area, nullptr, 0, nullptr);
    SetBkColor(dc, former);
}

}  // namespace revlane
