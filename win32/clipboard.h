// Putting text on the clipboard.
#pragma once

#include <windows.h>

#include <string_view>

namespace win32 {

// Replaces the clipboard's contents by `text` (CF_UNICODETEXT). `owner` is the window that opens the
// clipboard. Returns false, and leaves the clipboard alone, when memory or the clipboard cannot be
// had. Window thread.
bool set_clipboard_text(HWND owner, std::wstring_view text) noexcept;

}  // namespace win32
