// One changed file, as the diffs find it and the change lists show it.
#pragma once

#include <git2/oid.h>

#include <cstdint>
#include <optional>
#include <string>

namespace git {

// Every status of libgit2 that is not named here counts as Modified.
enum class ChangeStatus : std::uint32_t {
    Modified = 0,
    Added = 1,
    Deleted = 2,
    Renamed = 3,
    Untracked = 4,
    Conflicted = 5,
};

struct FileChange {
    std::wstring old_path;          // repository-relative, with forward slashes
    std::wstring new_path;          // differs from old_path only for a rename
    std::optional<git_oid> old_id;  // the blob of that side, if it has one
    std::optional<git_oid> new_id;
    ChangeStatus status = ChangeStatus::Modified;

    friend bool operator==(const FileChange& left, const FileChange& right) noexcept;
};

}  // namespace git
