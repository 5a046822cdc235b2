#include "win32/long_path.h"

#include <windows.h>

#include <string>

namespace win32 {

std::filesystem::path long_path(const std::filesystem::path& path)
{
    if (path.native().size() < MAX_PATH || !path.is_absolute())
        return path;
    // Behind the prefix Windows takes every character as it stands.
    const std::wstring text = path.lexically_normal().make_preferred().native();
    if (text.starts_with(LR"(\\?\)"))
        return path;
    if (text.starts_with(LR"(\\)"))
        return LR"(\\?\UNC)" + text.substr(1);
    return LR"(\\?\)" + text;
}

}  // namespace win32
