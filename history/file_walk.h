// The history of one file without the git command line: a walk that compares the file in each commit
// with its parents, and follows it over renames.
#pragma once

#include "git/error.h"

#include <git2.h>

#include <functional>
#include <string_view>
#include <vector>

namespace revlane {

// The commits from `start` back that changed the file at `path` (repository-relative), newest first.
// `is_cancelled` (may be empty) is asked at each commit; once it says true, what was found so far is
// returned. On the thread of the repository.
git::Result<std::vector<git_oid>> walk_file_history(git_repository* repository,
                                                    const git_oid& start, std::wstring_view path,
                                                    const std::function<bool()>& is_cancelled = {});

}  // namespace revlane
