// The time stamps by which the panel sees that another program has changed HEAD, the index or a
// reference. Any thread; no libgit2 but in reference_folders.
#pragma once

#include <git2.h>

#include <array>
#include <cstdint>
#include <filesystem>

namespace revlane {

// Where git keeps these files. In a linked worktree HEAD and the index are its own, the references
// are those of the repository.
struct ReferenceFolders {
    std::filesystem::path own;     // HEAD, index, FETCH_HEAD
    std::filesystem::path common;  // packed-refs, refs
};

ReferenceFolders reference_folders(git_repository* repository);

// One number a watched place, made of its time and size; 0 for a missing one.
struct ReferenceStamps {
    std::array<std::uint64_t, 5> places{};
    friend bool operator==(const ReferenceStamps&, const ReferenceStamps&) = default;
};

// Costs one look at each file and at each folder below refs: git replaces a reference by renaming,
// which shows in the time of its folder.
ReferenceStamps read_reference_stamps(const ReferenceFolders& folders);

}  // namespace revlane
