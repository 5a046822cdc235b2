// What the windows of the editor share: sizes, fonts, window classes, message boxes.
#pragma once

#include "win32/handle.h"

#include <windows.h>

#include <string>

namespace quorrel {

// A length given at 96 DPI, for a window of `dpi`.
constexpr int scaled(int length, UINT dpi) noexcept
{
    return length * static_cast<int>(dpi) / USER_DEFAULT_SCREEN_DPI;
}

// The font of menus and messages, as the user chose it, for a window of `dpi`.
win32::FontHandle interface_font(UINT dpi);
// The fixed-pitch font of documents.
win32::FontHandle document_font(UINT dpi);

// Height of a line of text in `font`.
int line_height(HWND window, HFONT font);

// A device context in memory that draws on a bitmap, which must outlive it.
class MemoryDc {
public:
    explicit MemoryDc(HBITMAP bitmap)
        : dc_(CreateCompatibleDC(nullptr)), former_(SelectObject(dc_, bitmap))
    {
    }
    ~MemoryDc()
    {
        SelectObject(dc_, former_);
        DeleteDC(dc_);
    }
    MemoryDc(const MemoryDc&) = delete;
    MemoryDc& operator=(const MemoryDc&) = delete;
    [[nodiscard]] HDC get() const noexcept { return dc_; }

private:
    HDC dc_;
    HGDIOBJ former_;
};

// Registers a window class of this program unless it is registered already.
void register_class(const wchar_t* name, WNDPROC procedure, HBRUSH background,
                    const wchar_t* cursor, HICON icon = nullptr);

// Creates a child window of a class of this program whose procedure is win32::window_proc.
HWND create_child(const wchar_t* class_name, DWORD style, HWND parent, void* object);

// The program's module: its resources are the editor's.
HINSTANCE program() noexcept;

// A message box of the editor; the result of MessageBoxW.
int show_message(HWND owner, const std::wstring& text, UINT type = MB_ICONERROR);

// The system's text for an error code, without a line end.
std::wstring windows_error(DWORD code);

}  // namespace quorrel
