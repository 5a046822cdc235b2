// Walks over the commits that one commit reaches, in libgit2's default order.
#pragma once

#include "git/error.h"
#include "git/handles.h"

#include <git2.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace revlane {

// A walk that begins with `start`. On the thread of the repository, which must outlive it.
git::Result<git::Revwalk> start_walk(git_repository* repository, const git_oid& start);

// How many commits `start` reaches, itself included, but at most `limit`.
git::Result<std::uint32_t> count_walk(git_repository* repository, const git_oid& start,
                                      std::uint32_t limit);

// A list shows at once with at most so many rows; the true number of commits is counted meanwhile.
inline constexpr std::uint32_t QUICK_COUNT = 200;

// What a list of commits begins with.
struct FirstPage {
    git::Revwalk walk;        // over all commits; no step of it is done
    std::uint32_t count = 0;  // of the first of them
};
git::Result<FirstPage> read_first_page(git_repository* repository, const git_oid& start,
                                       std::uint32_t limit = QUICK_COUNT);

// All commits that `start` reaches, itself first. `is_cancelled` (may be empty) is asked at each step;
// once it says true, those so far are returned.
git::Result<std::vector<git_oid>> walk_all(git_repository* repository, const git_oid& start,
                                           const std::function<bool()>& is_cancelled = {});

}  // namespace revlane
