// What differs between two branches.
#pragma once

#include "git/git.h"

#include <git2.h>
#include <windows.h>

namespace revlane {

// Opens the list of the files that differ between the commits of two branches, from which one after
// the other is compared in the editor. A failure is shown in an error box owned by `owner`: it pumps
// messages, so any window may be gone when this returns. Window thread, that of the repository.
void compare_branches(HWND owner, HWND frame, const git::Repository& repository,
                      const git_reference* old_branch, const git_reference* new_branch);

}  // namespace revlane
