// Texts of the localized library with values put in.
#pragma once

#include "plugin/host/localized.h"

#include <fmt/xchar.h>

#include <string>

namespace revlane {

// The text `id` with `values` in its places "{}". Any thread.
template <typename... Values>
std::wstring text_with(UINT id, const Values&... values)
{
    return fmt::format(fmt::runtime(host::load_text(id)), values...);
}

}  // namespace revlane
