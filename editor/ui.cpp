#include "editor/ui.h"

#include <fmt/xchar.h>

#include <array>

namespace quorrel {

win32::FontHandle interface_font(UINT dpi)
{
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    if (!SystemParametersInfoForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, dpi))
        return win32::FontHandle();
    return win32::FontHandle(CreateFontIndirectW(&metrics.lfMessageFont));
}

win32::FontHandle document_font(UINT dpi)
{
    constexpr int POINTS = 10;
    constexpr int POINTS_PER_INCH = 72;
    const int height = -MulDiv(POINTS, static_cast<int>(dpi), POINTS_PER_INCH);
    // Where Consolas is missing, pitch and family lead to another fixed-pitch font.
    return win32::FontHandle(CreateFontW(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE,
                                         DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                                         CLEARTYPE_QUALITY, FIXED_PITCH | FF_MODERN, L"Consolas"));
}

int line_height(HWND window, HFONT font)
{
    const win32::WindowDc dc(window);
    const win32::SelectedObject selected(dc.get(), font);
    TEXTMETRICW metrics{};
    GetTextMetricsW(dc.get(), &metrics);
    return metrics.tmHeight + metrics.tmExternalLeading;
}

void register_class(const wchar_t* name, WNDPROC procedure, HBRUSH background,
                    const wchar_t* cursor, HICON icon)
{
    WNDCLASSEXW description{};
    description.cbSize = sizeof description;
    description.style = CS_DBLCLKS;
    description.lpfnWndProc = procedure;
    description.hInstance = program();
    description.hIcon = icon;
    description.hCursor = LoadCursorW(nullptr, cursor);
    description.hbrBackground = background;
    description.lpszClassName = name;
    // The second editor of a process finds the class there, with the same procedure.
    RegisterClassExW(&description);
}

HWND create_child(const wchar_t* class_name, DWORD style, HWND parent, void* object)
{
    return CreateWindowExW(0, class_name, nullptr, WS_CHILD | WS_CLIPCHILDREN | style, 0, 0, 0, 0,
                           parent, nullptr, program(), object);
}

HINSTANCE program() noexcept
{
    return GetModuleHandleW(nullptr);
}

int show_message(HWND owner, const std::wstring& text, UINT type)
{
    return MessageBoxW(owner, text.c_str(), L"Quorrel", type);
}

std::wstring windows_error(DWORD code)
{
    std::array<wchar_t, 512> text{};
    DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                       text.data(), static_cast<DWORD>(text.size()), nullptr);
    while (length > 0 && (text[length - 1] == L'\n' || text[length - 1] == L'\r'))
        --length;
    if (length == 0)
        return fmt::format(L"Error {}.", code);
    return std::wstring(text.data(), length);
}

}  // namespace quorrel
