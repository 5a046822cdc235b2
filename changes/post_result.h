// How a task hands the result of a git command to the window that logs it.
#pragma once

#include "changes/messages.h"
#include "win32/posted.h"

#include <memory>
#include <utility>

namespace revlane {

// Posts WM_REVLANE_COMMAND_RESULT to `owner` (null: nobody is told). Returns whether the command
// succeeded. Any thread.
inline bool post_result(HWND owner, git::CommandResult result)
{
    const bool ok = result.ok;
    win32::post_owned(owner, WM_REVLANE_COMMAND_RESULT,
                      std::make_unique<git::CommandResult>(std::move(result)));
    return ok;
}

}  // namespace revlane
