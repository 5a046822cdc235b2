#include "history/window_placement.h"

#include "changes/get_dpi.h"
#include "plugin/host/settings.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace revlane {

namespace {

// Settings of the plug-in's section, all numbers. Screen coordinates may be negative and are stored
// in two's complement.
constexpr wchar_t SETTING_LEFT[] = L"HistoryLeft";
constexpr wchar_t SETTING_TOP[] = L"HistoryTop";
constexpr wchar_t SETTING_WIDTH[] = L"HistoryWidth";
constexpr wchar_t SETTING_HEIGHT[] = L"HistoryHeight";
constexpr wchar_t SETTING_MAXIMIZED[] = L"HistoryMaximized";
constexpr wchar_t SETTING_SPLITTER[] = L"HistorySplitter";

constexpr int DEFAULT_SPLITTER = 600;
// At 96 DPI.
constexpr SIZE DEFAULT_SIZE{900, 640};

std::optional<int> read(HWND frame, const wchar_t* name)
{
    const std::optional<std::uint32_t> value = host::find_number(frame, name);
    return value ? std::optional(static_cast<int>(*value)) : std::nullopt;
}

void write(HWND frame, const wchar_t* name, int value)
{
    host::write_number(frame, name, static_cast<std::uint32_t>(value));
}

RECT default_window(HWND frame)
{
    const int dpi = get_dpi(frame);
    const int width = scale(DEFAULT_SIZE.cx, dpi);
    const int height = scale(DEFAULT_SIZE.cy, dpi);
    RECT around{};
    GetWindowRect(frame, &around);
    const int left = (around.left + around.right - width) / 2;
    const int top = (around.top + around.bottom - height) / 2;
    return {left, top, left + width, top + height};
}

// The screen that the window was on may be gone, or smaller now.
RECT onto_a_screen(const RECT& window)
{
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    if (!GetMonitorInfoW(MonitorFromRect(&window, MONITOR_DEFAULTTONEAREST), &monitor))
        return window;
    const RECT& work = monitor.rcWork;
    const LONG width = std::min(window.right - window.left, work.right - work.left);
    const LONG height = std::min(window.bottom - window.top, work.bottom - work.top);
    const LONG left = std::clamp(window.left, work.left, work.right - width);
    const LONG top = std::clamp(window.top, work.top, work.bottom - height);
    return {left, top, left + width, top + height};
}

}  // namespace

HistoryPlacement read_history_placement(HWND frame)
{
    HistoryPlacement placement{};
    const std::optional<int> left = read(frame, SETTING_LEFT);
    const std::optional<int> top = read(frame, SETTING_TOP);
    const std::optional<int> width = read(frame, SETTING_WIDTH);
    const std::optional<int> height = read(frame, SETTING_HEIGHT);
    if (left && top && width && height && *width > 0 && *height > 0)
        placement.window = {*left, *top, *left + *width, *top + *height};
    else
        placement.window = default_window(frame);
    placement.window = onto_a_screen(placement.window);
    placement.is_maximized = read(frame, SETTING_MAXIMIZED).value_or(0) != 0;
    placement.splitter = read(frame, SETTING_SPLITTER).value_or(DEFAULT_SPLITTER);
    return placement;
}

void write_history_placement(HWND frame, HWND window, int splitter)
{
    WINDOWPLACEMENT placement{};
    placement.length = sizeof placement;
    if (!GetWindowPlacement(window, &placement))
        return;
    // Windows counts this position from the work area, which matters only where a bar stands at the
    // left or the top of the screen; reading it back moves the window onto the screen again.
    const RECT& normal = placement.rcNormalPosition;
    write(frame, SETTING_LEFT, normal.left);
    write(frame, SETTING_TOP, normal.top);
    write(frame, SETTING_WIDTH, normal.right - normal.left);
    write(frame, SETTING_HEIGHT, normal.bottom - normal.top);
    write(frame, SETTING_MAXIMIZED, IsZoomed(window) ? 1 : 0);
    write(frame, SETTING_SPLITTER, splitter);
}

}  // namespace revlane
