#include "sidebar/captions.h"

#include <fmt/xchar.h>

#include <algorithm>
#include <string_view>

namespace revlane {

namespace {

// The length of "(&L)".
constexpr std::size_t KEY_LENGTH = 4;

// Where the key stands that is given behind the text; npos when there is none.
std::size_t find_key_behind(std::wstring_view text)
{
    const std::size_t at = text.rfind(L"(&");
    const bool is_key = at != std::wstring_view::npos && text.size() >= at + KEY_LENGTH &&
                        text[at + KEY_LENGTH - 1] == L')';
    return is_key ? at : std::wstring_view::npos;
}

}  // namespace

std::wstring without_access_key(std::wstring text)
{
    const std::size_t key = find_key_behind(text);
    if (key != std::wstring::npos)
        text.erase(key, KEY_LENGTH);
    std::erase(text, L'&');
    return text;
}

std::wstring with_count(std::wstring text, std::size_t count)
{
    if (count > 0)
        text.insert(std::min(find_key_behind(text), text.size()), fmt::format(L" ({})", count));
    return text;
}

}  // namespace revlane
