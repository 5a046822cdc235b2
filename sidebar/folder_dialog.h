// The shell's dialog for choosing a folder.
#pragma once

#include "git/error.h"

#include <windows.h>

#include <filesystem>
#include <optional>

namespace revlane {

// Lets the user choose a folder, beginning at `start` (may be empty); nothing when he does not. Pumps
// messages: any window may be gone when it returns. Window thread.
git::Result<std::optional<std::filesystem::path>> choose_folder(HWND owner,
                                                                const std::filesystem::path& start);

}  // namespace revlane
