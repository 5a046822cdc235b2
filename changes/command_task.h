// Git commands that the user starts from a control, on the pool of its window.
#pragma once

#include "git/commands.h"
#include "git/git.h"
#include "git/runner.h"
#include "win32/work_pool.h"

#include <windows.h>

#include <filesystem>
#include <functional>
#include <memory>

namespace revlane {

// Posts WM_REVLANE_COMMAND_RESULT to `owner` (null: nobody is told). Returns whether the command
// succeeded. Any thread.
bool post_result(HWND owner, git::CommandResult result);

// On the thread of the pool; holds no window object.
using CommandTask = std::function<void(HWND owner, const git::CommandContext& context)>;

// Queues `task` with what it works with, and has `owner` look at its cursor at once. A task that
// fails in a way of its own is reported as a failed result.
void submit_command(win32::WorkPool& pool, HWND owner, std::filesystem::path workdir,
                    std::shared_ptr<git::Git> git, CommandTask task);

}  // namespace revlane
