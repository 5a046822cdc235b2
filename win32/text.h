// Conversion between the UTF-8 of git and libgit2 and the UTF-16 of Windows.
// Pure functions; any thread.
#pragma once

#include <string>
#include <string_view>

namespace win32 {

// UTF-8 to UTF-16 (code page 65001, flags 0): a sequence that is not UTF-8 becomes U+FFFD, so the
// conversion never fails.
std::wstring to_wide(std::string_view utf8);

// UTF-16 to UTF-8 (code page 65001, flags 0); an unpaired surrogate becomes U+FFFD.
std::string to_utf8(std::wstring_view wide);

// Every line end (CR LF, LF, or a CR alone) becomes CR LF, as edit controls want it.
std::wstring with_crlf(std::wstring_view text);

}  // namespace win32
