// Paths in the forms that Windows' file functions want. Pure functions.
#pragma once

#include <filesystem>

namespace win32 {

// Without "." and "..", with backslashes only.
std::filesystem::path normal_path(const std::filesystem::path& path);

// The path in a form that Windows' file functions take at any length: an absolute path that is too
// long for them gets the prefix that lifts the limit, any other comes back as it is.
std::filesystem::path long_path(const std::filesystem::path& path);

}  // namespace win32
