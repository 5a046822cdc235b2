// Which files a commit changed, and what changed between two commits. On the thread of the
// repository.
#pragma once

#include "git/error.h"
#include "git/file_change.h"

#include <git2.h>

#include <string_view>
#include <vector>

namespace revlane {

// Against the first parent; every file of a commit without one is added.
git::Result<std::vector<git::FileChange>> changes_of_commit(git_repository* repository,
                                                            const git_oid& commit);

// From `old_commit` to `new_commit`.
git::Result<std::vector<git::FileChange>>
changes_between(git_repository* repository, const git_oid& old_commit, const git_oid& new_commit);

// What the commit did to one file (repository-relative path), against the first parent. A file that
// it did not touch, and one whose contents stayed the same, are failures with a text of their own.
git::Result<git::FileChange> change_of_file(git_repository* repository, const git_oid& commit,
                                            std::wstring_view path);

}  // namespace revlane
