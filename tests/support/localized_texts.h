// The English texts, menus and dialogs for tests that run without the plug-in.
#pragma once

#include "plugin/host/frame_lock.h"
#include "plugin/host/localized.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <filesystem>

namespace support {

// Uses the localized library of the product for its lifetime. It lies in dist/ of a folder above the
// test program's. A test fails when it is not there.
class LocalizedTexts {
public:
    LocalizedTexts()
    {
        std::array<wchar_t, MAX_PATH> program{};
        GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
        std::filesystem::path folder = program.data();
        HMODULE library = nullptr;
        while (library == nullptr && folder.has_relative_path()) {
            folder = folder.parent_path();
            library =
                LoadLibraryExW((folder / L"dist/mui/1033/Revlane_loc.dll").make_preferred().c_str(),
                               nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
        }
        EXPECT_NE(library, nullptr) << "dist/mui/1033/Revlane_loc.dll is not built";
        const host::FrameLock lock;
        host::use_localized_module(library);
    }
    ~LocalizedTexts()
    {
        const host::FrameLock lock;
        host::free_localized_modules();
    }
    LocalizedTexts(const LocalizedTexts&) = delete;
    LocalizedTexts& operator=(const LocalizedTexts&) = delete;
};

}  // namespace support
