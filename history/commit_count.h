// Counts all commits of the list in the background. Window thread; the list owns it.
#pragma once

#include "changes/cancellation.h"
#include "git/git.h"
#include "win32/task_slot.h"
#include "win32/work_pool.h"

#include <git2.h>
#include <windows.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <vector>

namespace revlane {

class CommitCount {
public:
    explicit CommitCount(win32::WorkPool& pool) : slot_(pool) {}
    ~CommitCount() { cancel(); }
    CommitCount(const CommitCount&) = delete;
    CommitCount& operator=(const CommitCount&) = delete;

    // Walks everything that `start` reaches, in the repository of a working tree that it opens for
    // itself, and posts WM_REVLANE_COUNT with a CountResult to `list`. One that runs is cancelled.
    void start(HWND list, const std::filesystem::path& repository, const git_oid& start);
    // Ends it, and frees an answer that has been posted meanwhile.
    void cancel();
    // To be called when the answer has come: the commits that were counted, in the order of the walk.
    // Null when the answer is of no use any more.
    std::shared_ptr<std::vector<git_oid>> finish();

    [[nodiscard]] bool is_running() const noexcept { return cancel_ != nullptr; }
    // Whether one runs that was started no longer ago than that.
    [[nodiscard]] bool is_running_for_less_than(std::chrono::milliseconds time) const noexcept
    {
        return is_running() && std::chrono::steady_clock::now() - started_ < time;
    }

private:
    HWND list_ = nullptr;
    std::chrono::steady_clock::time_point started_;
    std::shared_ptr<std::vector<git_oid>> counted_;  // by the count under way, else null
    std::shared_ptr<Cancellation> cancel_;           // of the count under way, null when none is
    win32::TaskSlot slot_;
};

}  // namespace revlane
