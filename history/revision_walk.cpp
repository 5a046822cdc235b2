#include "history/revision_walk.h"

#include <utility>

namespace revlane {

git::Result<git::Revwalk> start_walk(git_repository* repository, const git_oid& start)
{
    git_revwalk* walk = nullptr;
    if (git_revwalk_new(&walk, repository) != 0)
        return tl::unexpected(git::error_from_libgit2());
    git::Revwalk owned(walk);
    if (git_revwalk_push(walk, &start) != 0)
        return tl::unexpected(git::error_from_libgit2());
    return owned;
}

git::Result<std::uint32_t> count_walk(git_repository* repository, const git_oid& start,
                                      std::uint32_t limit)
{
    const git::Result<git::Revwalk> walk = start_walk(repository, start);
    if (!walk)
        return tl::unexpected(walk.error());
    std::uint32_t count = 0;
    git_oid id{};
    while (count < limit && git_revwalk_next(&id, walk->get()) == 0)
        ++count;
    return count;
}

git::Result<FirstPage> read_first_page(git_repository* repository, const git_oid& start,
                                       std::uint32_t limit)
{
    git::Result<git::Revwalk> walk = start_walk(repository, start);
    if (!walk)
        return tl::unexpected(std::move(walk.error()));
    const git::Result<std::uint32_t> count = count_walk(repository, start, limit);
    if (!count)
        return tl::unexpected(count.error());
    return FirstPage{std::move(*walk), *count};
}

git::Result<std::vector<git_oid>> walk_all(git_repository* repository, const git_oid& start,
                                           const std::function<bool()>& is_cancelled)
{
    const git::Result<git::Revwalk> walk = start_walk(repository, start);
    if (!walk)
        return tl::unexpected(walk.error());
    std::vector<git_oid> ids;
    git_oid id{};
    while (!(is_cancelled && is_cancelled()) && git_revwalk_next(&id, walk->get()) == 0)
        ids.push_back(id);
    return ids;
}

}  // namespace revlane
