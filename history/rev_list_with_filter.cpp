#include "history/rev_list_with_filter.h"

#include <algorithm>
#include <utility>

namespace revlane {

namespace {

// Appends the row of one commit. False when the commit cannot be read.
bool append_row(git_repository* repository, const git_oid& id, std::vector<git::CommitRow>& rows)
{
    git_commit* commit = nullptr;
    if (git_commit_lookup(&commit, repository, &id) != 0)
        return false;
    const git::Commit owned(commit);
    rows.push_back(git::commit_row(commit));
    return true;
}

}  // namespace

void RevListWithFilter::set_walk(std::shared_ptr<git_repository> repository, git::Revwalk walk,
                                 const git_oid& start)
{
    clear_walk();
    walk_repository_ = std::move(repository);
    walk_ = std::move(walk);
    start_ = start;
}

void RevListWithFilter::clear_walk()
{
    walk_rows_.clear();
    walk_.reset();
    walk_repository_.reset();
    walk_ended_ = false;
}

void RevListWithFilter::set_filter(std::shared_ptr<git_repository> repository,
                                   std::vector<git_oid> ids)
{
    filter_rows_.clear();
    filter_ids_ = std::move(ids);
    filter_repository_ = std::move(repository);
    has_filter_ = true;
}

void RevListWithFilter::clear_filter()
{
    filter_rows_.clear();
    filter_ids_.clear();
    filter_repository_.reset();
    has_filter_ = false;
}

bool RevListWithFilter::shows_filtered(std::span<const git_oid> ids) const noexcept
{
    return has_filter_ && std::equal(ids.begin(), ids.end(), filter_ids_.begin(), filter_ids_.end(),
                                     [](const git_oid& left, const git_oid& right) {
                                         return git_oid_equal(&left, &right) != 0;
                                     });
}

std::size_t RevListWithFilter::size() const noexcept
{
    return has_filter_ ? filter_ids_.size() : walk_rows_.size();
}

const git::CommitRow* RevListWithFilter::row(std::size_t index)
{
    std::vector<git::CommitRow>& rows = has_filter_ ? filter_rows_ : walk_rows_;
    while (rows.size() <= index) {
        if (!(has_filter_ ? build_next_filtered() : build_next_walked()))
            return nullptr;
    }
    return &rows[index];
}

std::size_t RevListWithFilter::find(const git_oid& id, std::size_t limit)
{
    for (std::size_t index = 0; index < limit; ++index) {
        // The ids of a filter are known without their rows.
        if (has_filter_) {
            if (index >= filter_ids_.size())
                return limit;
            if (git_oid_equal(&filter_ids_[index], &id))
                return index;
            continue;
        }
        const git::CommitRow* found = row(index);
        if (found == nullptr)
            return limit;
        if (git_oid_equal(&found->id, &id))
            return index;
    }
    return limit;
}

bool RevListWithFilter::build_ahead(std::size_t limit, std::chrono::steady_clock::duration budget)
{
    if (has_filter_)
        return false;
    const auto deadline = std::chrono::steady_clock::now() + budget;
    while (walk_rows_.size() < limit) {
        if (!build_next_walked())
            return false;
        if (std::chrono::steady_clock::now() >= deadline)
            return walk_rows_.size() < limit;
    }
    return false;
}

bool RevListWithFilter::build_next_walked()
{
    if (walk_ == nullptr || walk_ended_)
        return false;
    git_oid id{};
    if (git_revwalk_next(&id, walk_.get()) != 0 ||
        !append_row(git_revwalk_repository(walk_.get()), id, walk_rows_)) {
        // A walk that has ended would begin anew with the next step.
        walk_ended_ = true;
        return false;
    }
    return true;
}

bool RevListWithFilter::build_next_filtered()
{
    const std::size_t next = filter_rows_.size();
    return next < filter_ids_.size() &&
           append_row(filter_repository_.get(), filter_ids_[next], filter_rows_);
}

}  // namespace revlane
