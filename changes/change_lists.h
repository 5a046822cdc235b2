// The panel's two lists of changed files: the working tree against the index, and the index against
// HEAD. Each binds a list-view control of the panel's dialog. They are members of the panel and live
// as long as it; everything runs on the window thread but the working-tree diff.
#pragma once

#include "changes/changes_list_base.h"
#include "changes/row_text.h"
#include "git/git.h"
#include "win32/task_slot.h"
#include "win32/work_pool.h"

#include <windows.h>

#include <memory>

namespace revlane {

// The working tree against the index, untracked files included. Its diff runs on a pool of its own,
// so that it never waits behind a fetch.
class ChangesList final : public ChangesListBase {
public:
    // `pool` has one thread and outlives the list.
    explicit ChangesList(win32::WorkPool& pool);
    // The same as cancel().
    ~ChangesList() override;
    ChangesList(const ChangesList&) = delete;
    ChangesList& operator=(const ChangesList&) = delete;

    // The repository to show from now on (null: none); it belongs to the panel and outlives its use.
    // Ends the work for the former one: no answer for it arrives any more.
    void set_repository(const git::Repository* repository);

    void on_context_menu() override;
    void on_default_action() override;
    // Queues the diff, in place of one that has not started yet. The owner gets WM_REVLANE_CHANGES
    // (a ChangesResult, to be handed to update_changes) and, always and last, WM_REVLANE_TASK_DONE.
    void refresh() override;

    // Gives `repository`, another handle of the repository that is shown, the index that the last
    // diff has read, so that the window thread need not read it again.
    void hand_over_index(git_repository* repository);

    // Whether a diff waits or runs.
    [[nodiscard]] bool is_busy() const noexcept;
    // Ends the diff that runs and drops the one that waits; no answer is posted after this. To be
    // called when the owner's window goes, before it drains WM_REVLANE_CHANGES.
    void cancel();

private:
    struct Work;

    static void find_changes(HWND owner, Work& work, git::Repository repository);

    win32::TaskSlot slot_;
    std::shared_ptr<Work> work_;  // of the diffs for the present repository
};

// The index against HEAD.
class StagedList final : public ChangesListBase {
public:
    // The repository to show from now on (null: none); it belongs to the panel and outlives its use.
    void set_repository(const git::Repository* repository);

    void on_context_menu() override;
    void on_default_action() override;
    // An error is shown in an error box, the first one until a refresh has succeeded: the list may be
    // gone when it returns.
    void refresh() override;

private:
    bool error_shown_ = false;
};

}  // namespace revlane
