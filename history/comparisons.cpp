#include "history/comparisons.h"

#include "changes/compare.h"
#include "changes/file_picker.h"
#include "changes/texts.h"
#include "git/objects.h"
#include "git/references.h"
#include "history/commit_changes.h"
#include "resources/ids.h"
#include "win32/error_box.h"

#include <vector>

namespace revlane {

namespace {

void show_error(HWND owner, const git::Error& error)
{
    win32::show_error(owner, git::to_wide(error));
}

void show_changes(const ComparisonPlace& place,
                  const git::Result<std::vector<git::FileChange>>& changes,
                  const std::wstring& title)
{
    if (changes)
        open_file_picker({place.frame, place.repository, title, *changes});
    else
        show_error(place.dialog, changes.error());
}

}  // namespace

void show_commit_changes(const ComparisonPlace& place, const git_oid& commit)
{
    git_repository* repository = place.repository.handle.get();
    const git::Result<git::Commit> found = git::lookup_commit(repository, commit);
    if (!found) {
        show_error(place.dialog, found.error());
        return;
    }
    show_changes(place, changes_of_commit(repository, commit),
                 text_with(IDS_COMMIT_CHANGES_TITLE, git::short_oid_text(commit),
                           git::commit_row(found->get()).summary));
}

void show_changes_between(const ComparisonPlace& place, const RevisionPair& commits)
{
    // The list has the newer commit first; a comparison shows the older one at the left.
    show_changes(place,
                 changes_between(place.repository.handle.get(), commits.second, commits.first),
                 text_with(IDS_COMPARE_COMMITS_TITLE, git::short_oid_text(commits.second),
                           git::short_oid_text(commits.first)));
}

void compare_file(const ComparisonPlace& place, const git_oid& commit,
                  const std::optional<std::wstring>& path)
{
    if (!path) {
        show_error(place.dialog, git::Error::own("selection count is invalid"));
        return;
    }
    const git::Result<git::FileChange> change =
        change_of_file(place.repository.handle.get(), commit, *path);
    if (!change) {
        show_error(place.dialog, change.error());
        return;
    }
    const git::LibraryScope library;
    if (const auto compared = compare_versions(place.frame, place.repository, *change, false);
        !compared)
        show_error(place.frame, compared.error());
}

}  // namespace revlane
