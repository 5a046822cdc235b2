// The error box: how every failure that a user must see is shown.
#pragma once

#include <windows.h>

#include <string>

namespace win32 {

// Shows `text` in a modal task dialog titled "Error" with an error icon and a Close button, owned by
// `owner` (may be null). Runs on the window thread and pumps messages until it is closed: a caller
// must expect that any window, its own too, is gone when it returns.
void show_error(HWND owner, const std::wstring& text);

// Shows the message of the exception that is being handled, for the boundary where an exception
// would otherwise leave a window procedure. Call inside a catch block. Never throws.
void show_current_exception(HWND owner) noexcept;

}  // namespace win32
