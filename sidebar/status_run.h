// The status command, which the panel runs on the window thread while the user waits for it.
#pragma once

#include "git/runner.h"

#include <chrono>
#include <filesystem>

namespace revlane {

inline constexpr std::chrono::seconds STATUS_DEADLINE{10};

// Blocks until git has ended, or until the deadline, at which git is ended and the result says so.
// Has a runner context of its own, so that it ends nothing else.
git::CommandResult run_status(const std::filesystem::path& workdir,
                              std::chrono::milliseconds deadline = STATUS_DEADLINE);

}  // namespace revlane
