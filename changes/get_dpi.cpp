#include "changes/get_dpi.h"

#include "plugin/host/messages.h"
#include "win32/handle.h"

#include <array>
#include <cwchar>

namespace revlane {

namespace {

bool is_windows_10_or_later()
{
    OSVERSIONINFOEXW wanted{};
    wanted.dwOSVersionInfoSize = sizeof wanted;
    wanted.dwMajorVersion = 10;
    constexpr std::array<DWORD, 3> fields{VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR};
    DWORD compared = 0;
    DWORDLONG conditions = 0;
    for (const DWORD field : fields) {
        compared |= field;
        conditions = VerSetConditionMask(conditions, field, VER_GREATER_EQUAL);
    }
    return VerifyVersionInfoW(&wanted, compared, conditions) != FALSE;
}

// Loads a library of Windows without a message box when it is missing.
win32::LibraryHandle load_system_library(const wchar_t* name)
{
    const UINT former = SetErrorMode(SEM_NOOPENFILEERRORBOX);
    win32::LibraryHandle library(LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
    SetErrorMode(former);
    return library;
}

HWND window_around(HWND window)
{
    const HWND parent = GetParent(window);
    return parent != nullptr ? parent : GetWindow(window, GW_OWNER);
}

}  // namespace

std::optional<int> window_dpi(HWND window)
{
    if (!is_windows_10_or_later())
        return std::nullopt;
    const win32::LibraryHandle library = load_system_library(L"User32.dll");
    if (!library)
        return std::nullopt;
    using Function = UINT(WINAPI*)(HWND);
    const auto function =
        reinterpret_cast<Function>(GetProcAddress(library.get(), "GetDpiForWindow"));
    const UINT dpi = function != nullptr ? function(window) : 0;
    return dpi != 0 ? std::optional(static_cast<int>(dpi)) : std::nullopt;
}

std::optional<int> frame_dpi(HWND window)
{
    for (; IsWindow(window); window = window_around(window)) {
        // A longer name is cut off and so differs from the frame's.
        std::array<wchar_t, 30> name{};
        if (GetClassNameW(window, name.data(), static_cast<int>(name.size())) == 0)
            return std::nullopt;
        if (std::wcscmp(name.data(), host::FRAME_CLASS) != 0)
            continue;
        const auto dpi = static_cast<int>(SendMessageW(window, host::QM_INFO, host::INFO_DPI, 0));
        // An editor that does not know the question answers 0.
        return dpi != 0 ? std::optional(dpi) : std::nullopt;
    }
    return std::nullopt;
}

int screen_dpi()
{
    const win32::WindowDc screen(nullptr);
    const int dpi = screen.get() != nullptr ? GetDeviceCaps(screen.get(), LOGPIXELSY) : 0;
    return dpi != 0 ? dpi : DEFAULT_DPI;
}

int get_dpi(HWND window)
{
    if (const auto dpi = window_dpi(window))
        return *dpi;
    if (const auto dpi = frame_dpi(window))
        return *dpi;
    return screen_dpi();
}

}  // namespace revlane
