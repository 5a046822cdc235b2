#include "git/git.h"

#include "git/handles.h"
#include "win32/long_path.h"
#include "win32/process_tree.h"
#include "win32/text.h"

#include <utility>

namespace git {

namespace {

// How much of the packs is held in memory, and in what pieces. By itself libgit2 maps a pack whole, and
// a walk through the history then holds all of it. But it reads near where it read last: a few pieces
// serve it as well. (A single one would not: a delta and its base would take turns in it.)
constexpr std::size_t PACK_PIECE = std::size_t{2} * 1024 * 1024;
constexpr std::size_t MOST_OF_PACKS = 8 * PACK_PIECE;

}  // namespace

Git::~Git()
{
    shutdown();
}

void Git::shutdown() noexcept
{
    const std::lock_guard guard(lock_);
    shut_down_ = true;
    end_registered();
}

void Git::cancel() noexcept
{
    const std::lock_guard guard(lock_);
    end_registered();
}

// The sets are left as they are: the threads that own the handles take them out as they unwind.
void Git::end_registered() noexcept
{
    ++cancellations_;
    for (const HANDLE pipe : reading_pipes_)
        CancelIoEx(pipe, nullptr);
    for (const auto& [process, job] : running_processes_)
        win32::end_process_tree(process, job);
}

bool Git::is_shut_down() const noexcept
{
    const std::lock_guard guard(lock_);
    return shut_down_;
}

Git::Run::Run(Git& git) noexcept : git_(git)
{
    const std::lock_guard guard(git_.lock_);
    cancellations_at_start_ = git_.cancellations_;
}

bool Git::Run::was_ended() const noexcept
{
    const std::lock_guard guard(git_.lock_);
    return was_ended_locked();
}

bool Git::Run::was_ended_locked() const noexcept
{
    return git_.shut_down_ || git_.cancellations_ != cancellations_at_start_;
}

Git::ReadScope::ReadScope(const Run& run, HANDLE pipe) : git_(run.git_), pipe_(pipe)
{
    const std::lock_guard guard(git_.lock_);
    if (run.was_ended_locked())
        return;
    git_.reading_pipes_.insert(pipe_);
    registered_ = true;
}

Git::ReadScope::~ReadScope()
{
    if (!registered_)
        return;
    const std::lock_guard guard(git_.lock_);
    git_.reading_pipes_.erase(pipe_);
}

Git::RunScope::RunScope(const Run& run, HANDLE process, HANDLE job)
    : git_(run.git_), process_(process)
{
    const std::lock_guard guard(git_.lock_);
    if (run.was_ended_locked())
        win32::end_process_tree(process_, job);
    else
        git_.running_processes_.emplace(process_, job);
}

Git::RunScope::~RunScope()
{
    const std::lock_guard guard(git_.lock_);
    git_.running_processes_.erase(process_);
}

void begin_library() noexcept
{
    git_libgit2_init();
    // A walk reads each commit once: kept, a hundred thousand of them are memory that is filled for
    // nothing and given back one by one.
    static const int set =
        git_libgit2_opts(GIT_OPT_ENABLE_STRICT_HASH_VERIFICATION, 0) +
        git_libgit2_opts(GIT_OPT_SET_CACHE_OBJECT_LIMIT, GIT_OBJECT_COMMIT, std::size_t{0}) +
        git_libgit2_opts(GIT_OPT_SET_MWINDOW_SIZE, PACK_PIECE) +
        git_libgit2_opts(GIT_OPT_SET_MWINDOW_MAPPED_LIMIT, MOST_OF_PACKS);
    static_cast<void>(set);
}

void git_repository_deleter(git_repository* repository) noexcept
{
    git_repository_free(repository);
}

Result<std::optional<std::filesystem::path>> discover_repository(std::string_view path)
{
    if (path.empty())
        return std::nullopt;
    constexpr int across_file_systems = 0;
    Buffer found;
    const int code = git_repository_discover(found.get(), std::string(path).c_str(),
                                             across_file_systems, nullptr);
    if (code == GIT_ENOTFOUND)
        return std::nullopt;
    if (code != 0)
        return tl::unexpected(error_from_libgit2());
    return normalize_repository_path(win32::to_wide(found.text()));
}

Result<Repository> open_repository(std::filesystem::path path)
{
    git_repository* opened = nullptr;
    if (git_repository_open(&opened, win32::to_utf8(path.native()).c_str()) != 0)
        return tl::unexpected(error_from_libgit2());
    return Repository{{opened, git_repository_deleter}, std::move(path)};
}

std::filesystem::path normalize_repository_path(std::filesystem::path path)
{
    path = win32::normal_path(path);
    if (!path.has_filename())
        path = path.parent_path();
    if (path.filename() == L".git")
        path = path.parent_path();
    return path;
}

}  // namespace git
