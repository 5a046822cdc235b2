// The runner context that ends running git processes, and finding and opening repositories.
#pragma once

#include "git/error.h"

#include <git2.h>
#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace git {

// Keeps track of the git processes that run and of the pipes that are read, so that all of them can
// be ended at once. Made with std::make_shared by its owner (a frame, a panel, the auto-fetcher) and
// shared with the tasks that run git. All members may be called from any thread; the lock is never
// held during a read or a wait.
class Git {
public:
    Git() = default;
    // The same as shutdown().
    ~Git();
    Git(const Git&) = delete;
    Git& operator=(const Git&) = delete;

    // Ends everything that runs now, and for good: a later run starts nothing, and one that
    // registers afterwards is ended at once.
    void shutdown() noexcept;
    // Ends everything that runs now; later runs go on as usual.
    void cancel() noexcept;
    [[nodiscard]] bool is_shut_down() const noexcept;

    class Run;
    class ReadScope;
    class RunScope;

private:
    void end_registered() noexcept;

    mutable std::mutex lock_;
    std::unordered_set<HANDLE> reading_pipes_;
    std::unordered_map<HANDLE, HANDLE> running_processes_;  // with the job of each, or null
    bool shut_down_ = false;
    std::uint64_t cancellations_ = 0;  // advanced by cancel() and shutdown()
};

// One run from its first step on. A run that shutdown() or cancel() has ended is never ok, whatever
// the exit code of its process says: a killed git ends with 0. Must not outlive the Git.
class Git::Run {
public:
    explicit Run(Git& git) noexcept;

    // True from the shutdown() or cancel() on that came after the run began, and from the beginning
    // when the Git was shut down before.
    [[nodiscard]] bool was_ended() const noexcept;

private:
    friend class ReadScope;
    friend class RunScope;

    // With the lock of the Git held.
    [[nodiscard]] bool was_ended_locked() const noexcept;

    Git& git_;
    std::uint64_t cancellations_at_start_;
};

// Registers a blocking read on `pipe` for its lifetime. Made by the reading thread right before the
// read and destroyed right after it.
class Git::ReadScope {
public:
    ReadScope(const Run& run, HANDLE pipe);
    ~ReadScope();
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;

    // False when the run was ended before: nothing is registered and nothing may be read.
    [[nodiscard]] bool may_read() const noexcept { return registered_; }

private:
    Git& git_;
    HANDLE pipe_;
    bool registered_ = false;
};

// Registers a running process for its lifetime, and terminates it at once when the run was ended
// before. With its job (win32/process_tree.h) all that it has started is terminated too. Must be
// destroyed before the handles are closed.
class Git::RunScope {
public:
    RunScope(const Run& run, HANDLE process, HANDLE job);
    ~RunScope();
    RunScope(const RunScope&) = delete;
    RunScope& operator=(const RunScope&) = delete;

private:
    Git& git_;
    HANDLE process_;
};

// What opening yields.
struct Repository {
    std::shared_ptr<git_repository> handle;  // freed with the last copy; used on one thread
    std::filesystem::path path;              // the working tree it was opened from
};

// The deleter of Repository::handle.
void git_repository_deleter(git_repository* repository) noexcept;

// Finds the repository that holds a document or folder (`path`, UTF-8; may be empty). The value is
// the working-tree folder, normalised; nothing when there is no repository, which is no failure.
Result<std::optional<std::filesystem::path>> discover_repository(std::string_view path);

Result<Repository> open_repository(std::filesystem::path path);

// From a git directory as libgit2 names it to the working tree: separators become backslashes, a
// trailing separator and a last component ".git" are dropped.
std::filesystem::path normalize_repository_path(std::filesystem::path path);

}  // namespace git
