// Switching to another branch with uncommitted work: the work goes into a stash, the branch is
// checked out, and the same stash is applied and dropped. On a background thread; the only contact
// with a window is a posted message.
#pragma once

#include "git/commands.h"
#include "git/git.h"

#include <windows.h>

#include <string>
#include <string_view>

namespace revlane {

// The message by which the stash of one switch is found again: date, time and branch. `branch` is
// the local branch.
std::wstring stash_message(const SYSTEMTIME& local_time, std::wstring_view branch);

// The local branch for a remote-tracking one: what follows the first slash of its short name, or the
// whole name without one.
std::string local_branch_name(std::string_view remote_branch);

// Switches to `branch` (a short name; of a remote-tracking branch when `is_remote`, for which a local
// branch is made first). Each command's result is posted to `owner` (may be null) as
// WM_REVLANE_COMMAND_RESULT. A step that fails ends the switch; from the stash on, its result says
// under which name the work is kept. `repository` is the task's own.
void switch_branch(HWND owner, const git::Repository& repository,
                   const git::CommandContext& context, const std::string& branch, bool is_remote);

// What a task of the branch controls does: opens the repository of `context` and switches in it. A
// repository that cannot be opened is posted as a failed result.
void switch_branch_at(HWND owner, const git::CommandContext& context, const std::string& branch,
                      bool is_remote);

}  // namespace revlane
