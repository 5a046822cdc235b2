#include "history/commit_changes.h"

#include "git/diffs.h"
#include "git/handles.h"
#include "git/objects.h"

#include <optional>
#include <utility>

namespace revlane {

namespace {

git::Result<git::Tree> tree_of(git_repository* repository, const git_oid& id)
{
    git::Result<git::Commit> commit = git::lookup_commit(repository, id);
    if (!commit)
        return tl::unexpected(std::move(commit.error()));
    return git::commit_tree(commit->get());
}

// The trees on both sides of a commit; the old one is null for a commit without a parent.
struct CommitTrees {
    git::Tree old_tree;
    git::Tree new_tree;
};

git::Result<CommitTrees> trees_of_commit(git_repository* repository, const git_oid& id)
{
    git::Result<git::Commit> commit = git::lookup_commit(repository, id);
    if (!commit)
        return tl::unexpected(std::move(commit.error()));
    git::Result<git::Tree> new_tree = git::commit_tree(commit->get());
    if (!new_tree)
        return tl::unexpected(std::move(new_tree.error()));
    if (git_commit_parentcount(commit->get()) == 0)
        return CommitTrees{nullptr, std::move(*new_tree)};
    git::Result<git::Tree> old_tree = tree_of(repository, *git_commit_parent_id(commit->get(), 0));
    if (!old_tree)
        return tl::unexpected(std::move(old_tree.error()));
    return CommitTrees{std::move(*old_tree), std::move(*new_tree)};
}

}  // namespace

git::Result<std::vector<git::FileChange>> changes_of_commit(git_repository* repository,
                                                            const git_oid& commit)
{
    git::Result<CommitTrees> trees = trees_of_commit(repository, commit);
    if (!trees)
        return tl::unexpected(std::move(trees.error()));
    return git::diff_trees(trees->old_tree.get(), trees->new_tree.get());
}

git::Result<std::vector<git::FileChange>>
changes_between(git_repository* repository, const git_oid& old_commit, const git_oid& new_commit)
{
    git::Result<git::Tree> old_tree = tree_of(repository, old_commit);
    if (!old_tree)
        return tl::unexpected(std::move(old_tree.error()));
    git::Result<git::Tree> new_tree = tree_of(repository, new_commit);
    if (!new_tree)
        return tl::unexpected(std::move(new_tree.error()));
    return git::diff_trees(old_tree->get(), new_tree->get());
}

git::Result<git::FileChange> change_of_file(git_repository* repository, const git_oid& commit,
                                            std::wstring_view path)
{
    git::Result<CommitTrees> trees = trees_of_commit(repository, commit);
    if (!trees)
        return tl::unexpected(std::move(trees.error()));
    git::Result<std::optional<git::FileChange>> change =
        git::diff_trees_for_path(trees->old_tree.get(), trees->new_tree.get(), path);
    if (!change)
        return tl::unexpected(std::move(change.error()));
    if (!*change)
        return tl::unexpected(git::Error::own("file is not in diff tree"));
    // A rename without a change, or a change of the file's mode alone.
    const git::FileChange& found = **change;
    if (found.old_id && found.new_id && git_oid_equal(&*found.old_id, &*found.new_id))
        return tl::unexpected(git::Error::own("Files are identical"));
    return std::move(**change);
}

}  // namespace revlane
