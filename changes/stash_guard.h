// What a branch switch asks libgit2 about its stash before it drops it, so that no work is lost.
#pragma once

#include "git/error.h"

#include <git2.h>

#include <optional>

namespace revlane {

// The newest stash; nothing when there is none.
std::optional<git_oid> top_of_stash(git_repository* repository);

// Whether a stash is still kept, at the top or below.
bool is_kept(git_repository* repository, const git_oid& stash);

// Stages again what was staged when the stash was made, wherever HEAD has the same version of the
// file as the commit that the stash was made on; applying a stash leaves the changes of such files in
// the working tree only. False when something staged could not be put back and is not what the file
// holds either: then the stash is the only place that still has it.
git::Result<bool> restore_staged(git_repository* repository, const git_oid& stash);

}  // namespace revlane
