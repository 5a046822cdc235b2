// The scenes that pictures are taken of.
#pragma once

#include "tests/shots/stage.h"

#include <functional>
#include <string_view>
#include <vector>

namespace support {

struct Scene {
    std::string_view name;
    std::function<void(const Album&)> take;  // throws when it cannot be set up
};

const std::vector<Scene>& scenes();

}  // namespace support
