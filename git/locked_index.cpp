#include "git/locked_index.h"

#include "win32/long_path.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <git2/sys/repository.h>
#include <windows.h>

#include <utility>

namespace git {

namespace {

constexpr std::wstring_view COPY_SUFFIX = L".revlane";
// Somebody who reads the index keeps it from being replaced for that moment: the number of tries and
// the pause between two of them.
constexpr int REPLACE_TRIES = 50;
constexpr DWORD REPLACE_PAUSE_MS = 10;

std::filesystem::path with_suffix(const std::filesystem::path& path, std::wstring_view suffix)
{
    return win32::long_path(path.native() + std::wstring(suffix));
}

Result<std::filesystem::path> index_path(git_repository* repository)
{
    Buffer name;
    if (git_repository_item_path(name.get(), repository, GIT_REPOSITORY_ITEM_INDEX) != 0)
        return tl::unexpected(error_from_libgit2());
    return std::filesystem::path(win32::to_wide(name.text()));
}

std::filesystem::path lock_of(const std::filesystem::path& index)
{
    return with_suffix(index, L".lock");
}

Error is_locked(std::filesystem::path lock)
{
    return Error::own(
        fmt::format("The index is locked: another git is at work, or one has crashed and left "
                    "this file behind: {}",
                    win32::to_utf8(lock.make_preferred().native())));
}

Result<win32::FileHandle> take_lock(const std::filesystem::path& path)
{
    win32::FileHandle lock(CreateFileW(path.c_str(), GENERIC_WRITE | DELETE,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                       nullptr, CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    if (lock)
        return lock;
    if (GetLastError() == ERROR_FILE_EXISTS)
        return tl::unexpected(is_locked(path));
    return tl::unexpected(error_from_last_windows_error());
}

bool replace(const std::filesystem::path& from, const std::filesystem::path& to) noexcept
{
    for (int tries = 1;; ++tries) {
        if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING))
            return true;
        const bool is_in_use =
            GetLastError() == ERROR_ACCESS_DENIED || GetLastError() == ERROR_SHARING_VIOLATION;
        if (!is_in_use || tries == REPLACE_TRIES)
            return false;
        Sleep(REPLACE_PAUSE_MS);
    }
}

}  // namespace

std::optional<Error> find_index_lock(git_repository* repository)
{
    const Result<std::filesystem::path> path = index_path(repository);
    if (!path || GetFileAttributesW(lock_of(*path).c_str()) == INVALID_FILE_ATTRIBUTES)
        return std::nullopt;
    return is_locked(lock_of(*path));
}

LockedIndex::LockedIndex(git_repository* repository, const std::filesystem::path& path,
                         win32::FileHandle lock)
    : repository_(repository), path_(win32::long_path(path)), copy_(with_suffix(path, COPY_SUFFIX)),
      lock_(std::move(lock))
{
}

LockedIndex::~LockedIndex()
{
    git_repository_set_index(repository_, nullptr);
    // Without the lock a copy is that of another change.
    if (lock_)
        remove_copy();
}

Result<std::unique_ptr<LockedIndex>> LockedIndex::open(git_repository* repository)
{
    const Result<std::filesystem::path> path = index_path(repository);
    if (!path)
        return tl::unexpected(path.error());
    Result<win32::FileHandle> lock = take_lock(lock_of(*path));
    if (!lock)
        return tl::unexpected(std::move(lock).error());
    std::unique_ptr<LockedIndex> opened(new LockedIndex(repository, *path, std::move(*lock)));

    // The lock is ours, so what lies there was left by an editor that has crashed.
    opened->remove_copy();
    // The copy keeps the time of the original, by which libgit2 tells which files may have changed
    // after they were staged. A new repository has no index yet.
    if (!CopyFileW(opened->path_.c_str(), opened->copy_.c_str(), FALSE) &&
        GetLastError() != ERROR_FILE_NOT_FOUND)
        return tl::unexpected(error_from_last_windows_error());
    git_index* index = nullptr;
    const std::string copy = win32::to_utf8(path->native() + std::wstring(COPY_SUFFIX));
    if (git_index_open(&index, copy.c_str()) != 0)
        return tl::unexpected(error_from_libgit2());
    opened->index_.reset(index);
    // Only the index that a repository opens by itself knows from its configuration what the file
    // system can do. Another one would drop modes that files of Windows do not have, and would keep
    // two spellings of a folder apart.
    if (git_repository_set_index(repository, index) != 0 ||
        git_index_set_caps(index, GIT_INDEX_CAPABILITY_FROM_OWNER) != 0)
        return tl::unexpected(error_from_libgit2());
    return opened;
}

Result<void> LockedIndex::write()
{
    if (git_index_write(index_.get()) != 0)
        return tl::unexpected(error_from_libgit2());
    if (!replace(copy_, path_))
        return tl::unexpected(error_from_last_windows_error());
    lock_.reset();
    return {};
}

void LockedIndex::remove_copy()
{
    DeleteFileW(copy_.c_str());
    // The lock under which libgit2 writes the copy.
    DeleteFileW(lock_of(copy_).c_str());
}

}  // namespace git
