#include "tests/support/product.h"

#include <windows.h>

#include <array>
#include <stdexcept>

namespace support {

std::filesystem::path product_root()
{
    std::array<wchar_t, MAX_PATH> program{};
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    std::filesystem::path folder = program.data();
    while (folder.has_relative_path()) {
        folder = folder.parent_path();
        if (std::filesystem::is_directory(folder / L"dist" / L"mui"))
            return folder;
    }
    throw std::runtime_error("dist/ is not built");
}

}  // namespace support
