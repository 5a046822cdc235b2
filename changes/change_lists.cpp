#include "changes/change_lists.h"

#include "changes/cancellation.h"
#include "changes/messages.h"
#include "git/diffs.h"
#include "git/handles.h"
#include "resources/ids.h"
#include "win32/error_box.h"
#include "win32/posted.h"

#include <gsl/util>
#include <windows.h>

#include <mutex>
#include <utility>
#include <vector>

namespace revlane {

// What the list and the tasks of its diffs share.
struct ChangesList::Work {
    Cancellation cancellation;
    std::mutex lock;
    git::Index index;  // that the last diff has read; under the lock
};

// The task of refresh, on a thread of the pool. `repository` is a handle of its own.
void ChangesList::find_changes(HWND owner, Work& work, git::Repository repository)
{
    const git::LibraryScope library;
    // Freed before the count of the library is given back.
    const git::Repository opened = std::move(repository);
    const auto done = gsl::finally([owner] {
        if (owner != nullptr)
            PostMessageW(owner, WM_REVLANE_TASK_DONE, 0, 0);
    });
    auto result = std::make_unique<ChangesResult>(git::diff_index_to_workdir(
        opened.handle.get(), [&work] { return work.cancellation.is_cancelled(); }));
    if (*result) {
        const std::lock_guard guard(work.lock);
        work.index = git::take_index(opened.handle.get());
    }
    work.cancellation.post(owner, WM_REVLANE_CHANGES, std::move(result));
}

ChangesList::ChangesList(win32::WorkPool& pool) : slot_(pool) {}

ChangesList::~ChangesList()
{
    cancel();
}

void ChangesList::set_repository(const git::Repository* repository)
{
    cancel();
    // An answer that waits in the queue is for the former repository.
    win32::drain_owned<ChangesResult>(owner_, WM_REVLANE_CHANGES);
    change_repository(repository);
}

void ChangesList::on_context_menu()
{
    if (repo_ == nullptr)
        return;
    const auto rows = selected();
    std::vector<UINT> disabled;
    if (rows.empty()) {
        disabled = {ID_COPY_PATHS, ID_COMPARE, ID_OPEN_FILE,
                    ID_STAGE,      ID_DISCARD, ID_UPDATE_SUBMODULE};
    } else if (!hold_submodule(rows)) {
        disabled = {ID_UPDATE_SUBMODULE};
    } else {
        // The files of a submodule are not this repository's to discard.
        disabled = {ID_DISCARD};
        if (rows.size() > 1)
            disabled.push_back(ID_UPDATE_SUBMODULE);
    }
    if (rows.size() != 1)
        disabled.push_back(ID_FILE_HISTORY);
    show_menu(IDM_CHANGES_LIST, ID_COMPARE, disabled);
}

void ChangesList::on_default_action()
{
    SendMessageW(owner_, WM_COMMAND, ID_COMPARE, 0);
}

void ChangesList::refresh()
{
    if (repo_ == nullptr) {
        set_changes({});
        return;
    }
    // The task runs on another thread, hence a handle of its own.
    auto opened = git::open_repository(repo_->path);
    if (!opened)
        return;
    if (!work_)
        work_ = std::make_shared<Work>();
    slot_.submit([owner = owner_, work = work_, repository = std::move(*opened)]() mutable {
        find_changes(owner, *work, std::move(repository));
    });
    // The busy cursor shows at once.
    if (owner_ != nullptr)
        PostMessageW(owner_, WM_SETCURSOR, 0, 0);
}

void ChangesList::hand_over_index(git_repository* repository)
{
    if (!work_)
        return;
    const git::Index index = [this] {
        const std::lock_guard guard(work_->lock);
        return std::exchange(work_->index, nullptr);
    }();
    if (index != nullptr)
        git::give_index(repository, index);
}

bool ChangesList::is_busy() const noexcept
{
    return slot_.busy();
}

void ChangesList::cancel()
{
    slot_.cancel();
    if (const auto work = std::exchange(work_, nullptr))
        work->cancellation.cancel();
}

void StagedList::set_repository(const git::Repository* repository)
{
    error_shown_ = false;
    change_repository(repository);
}

void StagedList::on_context_menu()
{
    if (repo_ == nullptr)
        return;
    const auto rows = selected();
    std::vector<UINT> disabled;
    if (rows.empty())
        disabled = {ID_STAGED_COPY_PATHS, ID_STAGED_COMPARE, ID_STAGED_OPEN_FILE, ID_UNSTAGE};
    if (rows.size() != 1 || !hold_submodule(rows))
        disabled.push_back(ID_STAGED_UPDATE_SUBMODULE);
    if (rows.size() != 1)
        disabled.push_back(ID_STAGED_FILE_HISTORY);
    show_menu(IDM_STAGED_LIST, ID_STAGED_COMPARE, disabled);
}

void StagedList::on_default_action()
{
    SendMessageW(owner_, WM_COMMAND, ID_STAGED_COMPARE, 0);
}

void StagedList::refresh()
{
    if (repo_ == nullptr)
        return;
    auto found = git::diff_head_to_index(repo_->handle.get());
    if (found) {
        error_shown_ = false;
        update_changes(std::move(*found));
        return;
    }
    if (!std::exchange(error_shown_, true))
        win32::show_error(list_, git::to_wide(found.error()));
}

}  // namespace revlane
