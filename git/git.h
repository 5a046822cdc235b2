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

    // Registers a blocking read on `pipe` for its lifetime. Made by the reading thread right before
    // the read and destroyed right after it.
    class ReadScope;
    // Registers a running process for its lifetime and tells afterwards whether it was ended by
    // shutdown() or cancel(): such a run is never ok, whatever its exit code says.
    class RunScope;

private:
    mutable std::mutex lock_;
    std::unordered_set<HANDLE> reading_pipes_;
    std::unordered_set<HANDLE> running_processes_;
    bool shut_down_ = false;
    std::uint64_t cancellations_ = 0;  // advanced by cancel() and shutdown()
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
