#include "sidebar/fonts.h"

#include "changes/get_dpi.h"

namespace revlane {

namespace {

RECT measure(HWND window, HFONT font, std::wstring_view text, int width, UINT flags)
{
    RECT bounds{0, 0, width, 0};
    const win32::WindowDc dc(window);
    if (dc.get() == nullptr)
        return bounds;
    const win32::SelectedObject selected(dc.get(), font);
    DrawTextW(dc.get(), text.data(), static_cast<int>(text.size()), &bounds, DT_CALCRECT | flags);
    return bounds;
}

}  // namespace

PanelFonts make_panel_fonts(int dpi)
{
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    LOGFONTW font = metrics.lfMessageFont;
    // Windows tells the size at the DPI of the whole session.
    font.lfHeight = MulDiv(font.lfHeight, dpi, screen_dpi());

    PanelFonts fonts;
    fonts.text.reset(CreateFontIndirectW(&font));
    font.lfWeight = FW_SEMIBOLD;
    fonts.heading.reset(CreateFontIndirectW(&font));

    const win32::WindowDc dc(nullptr);
    if (dc.get() != nullptr) {
        const win32::SelectedObject selected(dc.get(), fonts.text.get());
        TEXTMETRICW text{};
        GetTextMetricsW(dc.get(), &text);
        fonts.line_height = static_cast<int>(text.tmHeight);
    }
    return fonts;
}

int text_width(HWND window, HFONT font, std::wstring_view text)
{
    const RECT bounds = measure(window, font, text, 0, DT_SINGLELINE);
    return static_cast<int>(bounds.right - bounds.left);
}

int wrapped_text_height(HWND window, HFONT font, std::wstring_view text, int width)
{
    const RECT bounds = measure(window, font, text, width, DT_WORDBREAK | DT_NOPREFIX);
    return static_cast<int>(bounds.bottom - bounds.top);
}

}  // namespace revlane
