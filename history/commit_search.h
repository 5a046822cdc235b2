// Searches for commits in the background, by running git. Window thread; the list owns it.
#pragma once

#include "changes/cancellation.h"
#include "git/git.h"
#include "history/filter.h"
#include "win32/task_slot.h"
#include "win32/work_pool.h"

#include <git2.h>
#include <windows.h>

#include <filesystem>
#include <memory>
#include <string>

namespace revlane {

// Each search posts WM_REVLANE_FILTERED with a FilterResult to `list`, unless it was cancelled or
// another has begun meanwhile.
class CommitSearch {
public:
    // A search that nobody waits for any more is ended through `git`.
    CommitSearch(win32::WorkPool& pool, std::shared_ptr<git::Git> git);
    ~CommitSearch() { cancel(); }
    CommitSearch(const CommitSearch&) = delete;
    CommitSearch& operator=(const CommitSearch&) = delete;

    // By message or author, among what `revision` (a reference name) reaches.
    void by_log(HWND list, const std::filesystem::path& workdir, const std::wstring& revision,
                const Filter::State& state);
    // The commits from `start` on that changed one file (repository-relative), each once: by git, which
    // follows it over renames, or by libgit2 where there is no git.
    void by_file(HWND list, const std::filesystem::path& workdir, const git_oid& start,
                 const std::wstring& path);
    void cancel();
    // To be called when an answer has come.
    void finish() noexcept { is_running_ = false; }

    // Whether an answer is still to come.
    [[nodiscard]] bool is_running() const noexcept { return is_running_; }
    // Whether the thread still works, be it for nobody.
    [[nodiscard]] bool is_busy() const noexcept { return slot_.busy(); }

private:
    void begin();

    std::shared_ptr<git::Git> git_;
    bool is_running_ = false;
    std::shared_ptr<Cancellation> cancel_;  // of the last search that was queued
    win32::TaskSlot slot_;
};

}  // namespace revlane
