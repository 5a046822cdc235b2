// Finding a branch by what is typed. Pure functions.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace revlane {

// The first name from `start` on, and around the end, that begins with `typed`; without one, the
// first that has a part after a slash that does: a branch is known by what its maker called it more
// than by the folder or the remote that it is in. Without regard to case.
std::optional<std::size_t> find_name(const std::vector<std::wstring>& names,
                                     std::wstring_view typed, std::size_t start);

}  // namespace revlane
