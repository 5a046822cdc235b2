#include "win32/long_path.h"

#include <windows.h>

#include <string>
#include <string_view>

namespace win32 {

namespace {

constexpr std::wstring_view NETWORK_PREFIX = LR"(\\)";
constexpr std::wstring_view ANY_LENGTH_PREFIX = LR"(\\?\)";

// "\\server\share\...", in which either separator may stand.
bool is_network_path(const std::filesystem::path& path) noexcept
{
    constexpr std::wstring_view separators = LR"(\/)";
    return path.native().find_first_not_of(separators) == NETWORK_PREFIX.size();
}

}  // namespace

std::filesystem::path normal_path(const std::filesystem::path& path)
{
    std::filesystem::path normal = path.lexically_normal().make_preferred();
    // Not every standard library knows a server's name when it sees one and leaves it the two
    // separators.
    if (is_network_path(path) && !normal.native().starts_with(NETWORK_PREFIX))
        normal = L'\\' + normal.native();
    return normal;
}

std::filesystem::path long_path(const std::filesystem::path& path)
{
    const bool is_network = is_network_path(path);
    if (path.native().size() < MAX_PATH || path.native().starts_with(ANY_LENGTH_PREFIX) ||
        (!path.is_absolute() && !is_network))
        return path;
    // Behind the prefix Windows takes every character as it stands.
    const std::wstring text = normal_path(path).native();
    if (is_network)
        return LR"(\\?\UNC)" + text.substr(1);
    return std::wstring(ANY_LENGTH_PREFIX) + text;
}

}  // namespace win32
