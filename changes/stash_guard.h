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
// file as the commit that the stash was made on. Of other files applying the stash has merged the
// changes into the working tree only, where they stay. False when the stash is the only place that
// still has something that was staged: the file was edited further before it went into the stash, and
// is something else now, or its staged mode is one that files do not have. Fails, and changes nothing,
// while another git holds the lock of the index.
git::Result<bool> restore_staged(git_repository* repository, const git_oid& stash);

}  // namespace revlane
