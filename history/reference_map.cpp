#include "history/reference_map.h"

#include <iterator>
#include <utility>

namespace revlane {

namespace {

git::Result<void> add_branches(git_repository* repository, git_branch_t kind,
                               const std::function<bool()>& is_cancelled, ReferenceMap& map)
{
    git_branch_iterator* iterator = nullptr;
    if (git_branch_iterator_new(&iterator, repository, kind) != 0)
        return tl::unexpected(git::error_from_libgit2());
    const git::BranchIterator owned(iterator);
    while (!(is_cancelled && is_cancelled())) {
        git_reference* branch = nullptr;
        git_branch_t found{};
        const int code = git_branch_next(&branch, &found, iterator);
        if (code == GIT_ITEROVER)
            return {};
        if (code != 0)
            return tl::unexpected(git::error_from_libgit2());
        const git::Reference reference(branch);
        if (const git::Result<git_oid> target = git::reference_target(branch))
            map[*target].push_back(git::reference_display_name(branch));
    }
    return {};
}

}  // namespace

git::Result<ReferenceMap> read_reference_map(git_repository* repository,
                                             const std::function<bool()>& is_cancelled)
{
    ReferenceMap map;
    for (const git_branch_t kind : {GIT_BRANCH_LOCAL, GIT_BRANCH_REMOTE}) {
        if (git::Result<void> added = add_branches(repository, kind, is_cancelled, map); !added)
            return tl::unexpected(std::move(added.error()));
    }
    git::Result<git::TagMap> tags = git::tag_map(repository, is_cancelled);
    if (!tags)
        return tl::unexpected(std::move(tags.error()));
    for (auto& [commit, names] : *tags) {
        std::vector<std::string>& all = map[commit];
        all.insert(all.end(), std::make_move_iterator(names.begin()),
                   std::make_move_iterator(names.end()));
    }
    return map;
}

}  // namespace revlane
