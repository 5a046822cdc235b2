#include "win32/text.h"

#include <gsl/narrow>
#include <windows.h>

namespace win32 {

std::wstring to_wide(std::string_view utf8)
{
    if (utf8.empty())
        return {};
    const int bytes = gsl::narrow<int>(utf8.size());
    const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
    std::wstring wide(gsl::narrow<std::size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, wide.data(), units);
    return wide;
}

std::string to_utf8(std::wstring_view wide)
{
    if (wide.empty())
        return {};
    const int units = gsl::narrow<int>(wide.size());
    const int bytes =
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
    std::string utf8(gsl::narrow<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, utf8.data(), bytes, nullptr, nullptr);
    return utf8;
}

std::wstring with_crlf(std::wstring_view text)
{
    std::wstring result;
    result.reserve(text.size() + text.size() / 32);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != L'\r' && text[i] != L'\n') {
            result += text[i];
            continue;
        }
        if (text[i] == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n')
            ++i;
        result += L"\r\n";
    }
    return result;
}

}  // namespace win32
