// The model behind the commit list: what stands in row i. Rows are built only when somebody asks for
// them. Window thread; the repository must outlive the sources.
#pragma once

#include "git/handles.h"
#include "git/objects.h"

#include <git2.h>

#include <cstddef>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

namespace revlane {

// Two sources of rows: a walk from a start commit, and the ids that a filter found. When a filter is
// in force it is shown; without one the walk; without either there are no rows.
class RevListWithFilter {
public:
    // Replaces the unfiltered source: no row of `walk` is built yet. `repository` keeps the walk's
    // repository alive.
    void set_walk(std::shared_ptr<git_repository> repository, git::Revwalk walk,
                  const git_oid& start);
    // Tells which commits the whole walk leads to, in its order: somebody else has walked it. From
    // then on a row costs no step of the walk, however far down it stands. Ids that differ from what
    // was walked here are not used.
    void set_walked(std::vector<git_oid> ids);
    // Drops the unfiltered source.
    void clear_walk();
    // Puts a filter in force: the commits `ids` of `repository`, in that order.
    void set_filter(std::shared_ptr<git_repository> repository, std::vector<git_oid> ids);
    void clear_filter();

    [[nodiscard]] bool has_walk() const noexcept { return walk_ != nullptr; }
    [[nodiscard]] bool has_filter() const noexcept { return has_filter_; }
    // Whether a filter is in force that found exactly these commits in this order.
    [[nodiscard]] bool shows_filtered(std::span<const git_oid> ids) const noexcept;
    // The commit that the walk began with.
    [[nodiscard]] const git_oid& start() const noexcept { return start_; }

    // How many rows the active source can show: the ids of the filter, or the rows of the walk whose
    // commits are known so far.
    [[nodiscard]] std::size_t size() const noexcept;

    // Row `index`, built now if need be, after all before it that the walk has not reached yet; null
    // beyond the end or when it cannot be read. Valid until the source changes.
    const git::CommitRow* row(std::size_t index);

    // The index of a commit among the rows of the active source, looking at no more than `limit`
    // rows; the limit when it is not there.
    std::size_t find(const git_oid& id, std::size_t limit);

private:
    // One source: its commits in order, and the rows of those that somebody asked for. A row stays
    // where it is when another is built.
    struct Source {
        std::vector<git_oid> ids;
        std::unordered_map<std::size_t, git::CommitRow> rows;

        // Null when the commit cannot be read.
        const git::CommitRow* build(git_repository* repository, std::size_t index);
    };

    [[nodiscard]] const std::vector<git_oid>& ids() const noexcept;
    bool walk_on();

    // Declared before what is read from it.
    std::shared_ptr<git_repository> walk_repository_;
    git::Revwalk walk_;
    git_oid start_{};
    bool walk_ended_ = false;
    Source walked_;

    std::shared_ptr<git_repository> filter_repository_;
    Source filtered_;
    bool has_filter_ = false;
};

}  // namespace revlane
