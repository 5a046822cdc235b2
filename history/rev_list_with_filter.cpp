#include "history/rev_list_with_filter.h"

#include <algorithm>
#include <utility>

namespace revlane {

namespace {

bool same(const git_oid& left, const git_oid& right)
{
    return git_oid_equal(&left, &right) != 0;
}

}  // namespace

const git::CommitRow* RevListWithFilter::Source::build(git_repository* repository,
                                                       std::size_t index)
{
    if (const auto built = rows.find(index); built != rows.end())
        return &built->second;
    git_commit* commit = nullptr;
    if (git_commit_lookup(&commit, repository, &ids[index]) != 0)
        return nullptr;
    const git::Commit owned(commit);
    return &rows.emplace(index, git::commit_row(commit)).first->second;
}

void RevListWithFilter::set_walk(std::shared_ptr<git_repository> repository, git::Revwalk walk,
                                 const git_oid& start)
{
    clear_walk();
    walk_repository_ = std::move(repository);
    walk_ = std::move(walk);
    start_ = start;
}

void RevListWithFilter::set_walked(std::vector<git_oid> ids)
{
    const std::vector<git_oid>& here = walked_.ids;
    if (walk_ == nullptr || ids.size() < here.size() ||
        !std::equal(here.begin(), here.end(), ids.begin(), same))
        return;
    walked_.ids = std::move(ids);
    walk_ended_ = true;
}

void RevListWithFilter::clear_walk()
{
    walked_ = {};
    walk_.reset();
    walk_repository_.reset();
    walk_ended_ = false;
}

void RevListWithFilter::set_filter(std::shared_ptr<git_repository> repository,
                                   std::vector<git_oid> ids)
{
    filtered_ = {std::move(ids), {}};
    filter_repository_ = std::move(repository);
    has_filter_ = true;
}

void RevListWithFilter::clear_filter()
{
    filtered_ = {};
    filter_repository_.reset();
    has_filter_ = false;
}

bool RevListWithFilter::shows_filtered(std::span<const git_oid> ids) const noexcept
{
    return has_filter_ &&
           std::equal(ids.begin(), ids.end(), filtered_.ids.begin(), filtered_.ids.end(), same);
}

const std::vector<git_oid>& RevListWithFilter::ids() const noexcept
{
    return has_filter_ ? filtered_.ids : walked_.ids;
}

std::size_t RevListWithFilter::size() const noexcept
{
    return ids().size();
}

const git::CommitRow* RevListWithFilter::row(std::size_t index)
{
    if (has_filter_)
        return index < filtered_.ids.size() ? filtered_.build(filter_repository_.get(), index)
                                            : nullptr;
    while (walked_.ids.size() <= index) {
        if (!walk_on())
            return nullptr;
    }
    return walked_.build(walk_repository_.get(), index);
}

std::size_t RevListWithFilter::find(const git_oid& id, std::size_t limit)
{
    for (std::size_t index = 0; index < limit; ++index) {
        if (index >= ids().size() && (has_filter_ || !walk_on()))
            return limit;
        if (same(ids()[index], id))
            return index;
    }
    return limit;
}

// One step of the walk, and the row of where it leads.
bool RevListWithFilter::walk_on()
{
    if (walk_ == nullptr || walk_ended_)
        return false;
    git_oid id{};
    if (git_revwalk_next(&id, walk_.get()) == 0) {
        walked_.ids.push_back(id);
        if (walked_.build(git_revwalk_repository(walk_.get()), walked_.ids.size() - 1) != nullptr)
            return true;
        walked_.ids.pop_back();
    }
    // A walk that has ended would begin anew with the next step.
    walk_ended_ = true;
    return false;
}

}  // namespace revlane
