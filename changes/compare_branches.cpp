#include "changes/compare_branches.h"

#include "changes/file_picker.h"
#include "changes/texts.h"
#include "git/diffs.h"
#include "git/references.h"
#include "resources/ids.h"
#include "win32/error_box.h"
#include "win32/text.h"

#include <utility>

namespace revlane {

namespace {

// Shows that the window is busy; the next move of the mouse brings the usual cursor back.
class WaitCursor {
public:
    WaitCursor() : former_(SetCursor(LoadCursorW(nullptr, IDC_WAIT))) {}
    ~WaitCursor() { SetCursor(former_); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;

private:
    HCURSOR former_;
};

git::Result<git::Tree> tree_of(const git_reference* branch)
{
    git_object* found = nullptr;
    if (git_reference_peel(&found, branch, GIT_OBJECT_TREE) != 0)
        return tl::unexpected(git::error_from_libgit2());
    return git::Tree(reinterpret_cast<git_tree*>(found));
}

git::Result<std::vector<git::FileChange>> changes_between(const git_reference* old_branch,
                                                          const git_reference* new_branch)
{
    git::Result<git::Tree> old_tree = tree_of(old_branch);
    if (!old_tree)
        return tl::unexpected(std::move(old_tree.error()));
    git::Result<git::Tree> new_tree = tree_of(new_branch);
    if (!new_tree)
        return tl::unexpected(std::move(new_tree.error()));
    return git::diff_trees(old_tree->get(), new_tree->get());
}

}  // namespace

void compare_branches(HWND owner, HWND frame, const git::Repository& repository,
                      const git_reference* old_branch, const git_reference* new_branch)
{
    auto changes = [&] {
        const WaitCursor busy;
        return changes_between(old_branch, new_branch);
    }();
    if (!changes) {
        win32::show_error(owner, git::to_wide(changes.error()));
        return;
    }
    const auto name = [](const git_reference* branch) {
        return win32::to_wide(git::reference_display_name(branch));
    };
    open_file_picker({frame, repository,
                      text_with(IDS_COMPARE_BRANCHES_TITLE, name(old_branch), name(new_branch)),
                      std::move(*changes)});
}

}  // namespace revlane
