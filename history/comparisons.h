// The comparisons that the history window starts: the changes of a commit or between two, in a list of
// files, and one file in the editor. Window thread. What fails is told in an error box over the window,
// during which the window may go.
#pragma once

#include "changes/messages.h"
#include "git/git.h"

#include <git2.h>
#include <windows.h>

#include <optional>
#include <string>

namespace revlane {

// Where a comparison is started. A copy of the repository: a box or the editor may stand in between,
// and the window may go meanwhile.
struct ComparisonPlace {
    HWND dialog;
    HWND frame;
    git::Repository repository;
};

// Lists the files that a commit changed against its first parent.
void show_commit_changes(const ComparisonPlace& place, const git_oid& commit);

// Lists the files that differ between two commits, the newer one first.
void show_changes_between(const ComparisonPlace& place, const RevisionPair& commits);

// Compares a file of the commit (repository-relative path) with its version in the first parent, in the
// editor; nothing: the selection does not fit.
void compare_file(const ComparisonPlace& place, const git_oid& commit,
                  const std::optional<std::wstring>& path);

}  // namespace revlane
