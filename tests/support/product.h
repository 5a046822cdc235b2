// Where tests find what is delivered.
#pragma once

#include <filesystem>

namespace support {

// The folder of the sources that holds dist/: the nearest one above the test program. Throws when
// there is none.
std::filesystem::path product_root();

}  // namespace support
