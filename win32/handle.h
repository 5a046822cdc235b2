// Owning handles of Windows: each closes what it holds when it goes out of scope.
// A handle belongs to the thread or the object that made it; nothing here is shared.
#pragma once

#include <windows.h>

#include <utility>

namespace win32 {

// Owns one handle of type T; `close` ends it, and both `T{}` and `invalid` mean "holds nothing".
// Movable, not copyable.
template <typename T, auto close, T (*invalid)() = nullptr>
class UniqueHandle {
public:
    UniqueHandle() noexcept = default;
    explicit UniqueHandle(T handle) noexcept : handle_(handle == none() ? T{} : handle) {}
    UniqueHandle(UniqueHandle&& other) noexcept : handle_(std::exchange(other.handle_, T{})) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept
    {
        if (this != &other)
            reset(std::exchange(other.handle_, T{}));
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    ~UniqueHandle() { reset(); }

    // Closes what is held and holds `handle` from now on.
    void reset(T handle = T{}) noexcept
    {
        const T old = std::exchange(handle_, handle == none() ? T{} : handle);
        if (old != T{})
            close(old);
    }
    // Gives the handle away: the caller closes it.
    [[nodiscard]] T release() noexcept { return std::exchange(handle_, T{}); }
    [[nodiscard]] T get() const noexcept { return handle_; }
    // For calls that fill a handle in: closes what is held and returns the place for the new one.
    [[nodiscard]] T* put() noexcept
    {
        reset();
        return &handle_;
    }
    explicit operator bool() const noexcept { return handle_ != T{}; }

private:
    static T none() noexcept
    {
        if constexpr (invalid != nullptr)
            return invalid();
        else
            return T{};
    }

    T handle_{};
};

inline HANDLE invalid_file_handle() noexcept
{
    return INVALID_HANDLE_VALUE;  // NOLINT: the cast is in the macro of Windows
}

// Files, pipe ends and folders: CreateFileW answers INVALID_HANDLE_VALUE when it fails.
using FileHandle = UniqueHandle<HANDLE, ::CloseHandle, invalid_file_handle>;
// Processes, threads, events: null when there is none.
using KernelHandle = UniqueHandle<HANDLE, ::CloseHandle>;
// A search begun with FindFirstFileW.
using FindHandle = UniqueHandle<HANDLE, ::FindClose, invalid_file_handle>;
using LibraryHandle = UniqueHandle<HMODULE, ::FreeLibrary>;
using MenuHandle = UniqueHandle<HMENU, ::DestroyMenu>;
using FontHandle = UniqueHandle<HFONT, ::DeleteObject>;
using BrushHandle = UniqueHandle<HBRUSH, ::DeleteObject>;
using PenHandle = UniqueHandle<HPEN, ::DeleteObject>;
using IconHandle = UniqueHandle<HICON, ::DestroyIcon>;

// A device context of a window (null: the screen), released at the end of the scope.
class WindowDc {
public:
    explicit WindowDc(HWND window) noexcept : window_(window), dc_(GetDC(window)) {}
    ~WindowDc()
    {
        if (dc_ != nullptr)
            ReleaseDC(window_, dc_);
    }
    WindowDc(const WindowDc&) = delete;
    WindowDc& operator=(const WindowDc&) = delete;
    // Null when Windows had none to give.
    [[nodiscard]] HDC get() const noexcept { return dc_; }

private:
    HWND window_;
    HDC dc_;
};

// Selects an object into a device context and puts the former one back at the end of the scope.
class SelectedObject {
public:
    SelectedObject(HDC dc, HGDIOBJ object) noexcept : dc_(dc), former_(SelectObject(dc, object)) {}
    ~SelectedObject() { SelectObject(dc_, former_); }
    SelectedObject(const SelectedObject&) = delete;
    SelectedObject& operator=(const SelectedObject&) = delete;

private:
    HDC dc_;
    HGDIOBJ former_;
};

// The font that a control was given; Windows' own when it has none. Nobody has to free it.
inline HGDIOBJ control_font(HWND control) noexcept
{
    auto* const font = reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0));
    return font != nullptr ? font : GetStockObject(DEFAULT_GUI_FONT);
}

}  // namespace win32
