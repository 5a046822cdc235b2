#include "changes/tracking.h"

#include "git/handles.h"

namespace revlane {

TrackingMap read_tracking(git_repository* repository, const std::function<bool()>& is_cancelled)
{
    TrackingMap tracking;
    git_branch_iterator* created = nullptr;
    if (git_branch_iterator_new(&created, repository, GIT_BRANCH_LOCAL) != 0)
        return tracking;
    const git::BranchIterator iterator(created);
    git_reference* next = nullptr;
    git_branch_t type{};
    while ((!is_cancelled || !is_cancelled()) &&
           git_branch_next(&next, &type, iterator.get()) == 0) {
        const git::Reference branch(next);
        git_reference* found = nullptr;
        if (git_branch_upstream(&found, branch.get()) != 0)
            continue;
        const git::Reference upstream(found);
        if (const auto counts = git::ahead_behind(branch.get(), upstream.get()))
            tracking.emplace(git_reference_name(branch.get()), *counts);
    }
    return tracking;
}

}  // namespace revlane
