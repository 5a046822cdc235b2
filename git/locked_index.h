// A change of the index that loses nothing of what another git stages meanwhile.
#pragma once

#include "git/error.h"
#include "git/handles.h"
#include "win32/handle.h"

#include <git2.h>

#include <filesystem>
#include <memory>
#include <optional>

namespace git {

// What to tell the user while another git holds the lock of the index, or has left it behind; nothing
// when there is none.
std::optional<Error> find_index_lock(git_repository* repository);

// Holds git's own lock, the file "index.lock", from before the index is read until it has been
// replaced, as git itself does; libgit2 takes it for the writing only. Hence the changes are made to
// a copy of the file, which then takes the place of the original. The lock goes with its handle, even
// if the editor crashes. Used on the thread of the repository, which must outlive it.
class LockedIndex {
public:
    // Fails at once while another git holds the lock. Until the end the copy is the index of the
    // repository: what else asks its handle sees the changes, written or not.
    static Result<std::unique_ptr<LockedIndex>> open(git_repository* repository);
    // What was not written is dropped. The repository reads its index anew when it is next asked.
    ~LockedIndex();
    LockedIndex(const LockedIndex&) = delete;
    LockedIndex& operator=(const LockedIndex&) = delete;

    [[nodiscard]] git_index* get() const noexcept { return index_.get(); }
    // Writes the changes and ends the lock.
    Result<void> write();

private:
    LockedIndex(git_repository* repository, const std::filesystem::path& path,
                win32::FileHandle lock);
    void remove_copy();

    git_repository* repository_;
    std::filesystem::path path_;
    std::filesystem::path copy_;
    win32::FileHandle lock_;
    Index index_;
};

}  // namespace git
