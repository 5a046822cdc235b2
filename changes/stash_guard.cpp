#include "changes/stash_guard.h"

#include "git/handles.h"
#include "git/locked_index.h"
#include "git/objects.h"

#include <memory>
#include <string>
#include <utility>

namespace revlane {

namespace {

// What a tree holds at a path.
struct Version {
    git_oid id;
    git_filemode_t mode;
};

std::optional<Version> version_at(const git_tree* tree, const char* path)
{
    git_tree_entry* found = nullptr;
    if (git_tree_entry_bypath(&found, tree, path) != 0)
        return std::nullopt;
    const git::TreeEntry entry(found);
    // A folder has come where a file was.
    if (git_tree_entry_type(found) == GIT_OBJECT_TREE)
        return std::nullopt;
    return Version{*git_tree_entry_id(found), git_tree_entry_filemode(found)};
}

bool same(const std::optional<Version>& left, const std::optional<Version>& right)
{
    if (!left || !right)
        return !left && !right;
    return git_oid_equal(&left->id, &right->id) != 0 && left->mode == right->mode;
}

git::Result<git::Tree> head_tree(git_repository* repository)
{
    git_object* found = nullptr;
    if (git_revparse_single(&found, repository, "HEAD^{tree}") != 0)
        return tl::unexpected(git::error_from_libgit2());
    return git::Tree(reinterpret_cast<git_tree*>(found));
}

// Whether both are there and of the same mode, or neither is.
bool same_mode(const std::optional<Version>& left, const std::optional<Version>& right)
{
    return left && right ? left->mode == right->mode : !left && !right;
}

// Whether the file of the working tree is what was staged.
bool file_holds(git_repository* repository, const char* path, const std::optional<Version>& staged)
{
    git_oid id{};
    const std::string full = std::string(git_repository_workdir(repository)) + path;
    const bool exists =
        git_repository_hashfile(&id, repository, full.c_str(), GIT_OBJECT_BLOB, path) == 0;
    if (!staged)
        return !exists;
    return exists && git_oid_equal(&id, &staged->id) != 0;
}

git::Result<void> put_into_index(git_index* index, const char* path,
                                 const std::optional<Version>& staged)
{
    int code = 0;
    if (staged) {
        git_index_entry entry{};
        entry.path = path;
        entry.id = staged->id;
        entry.mode = staged->mode;
        code = git_index_add(index, &entry);
    } else {
        code = git_index_remove_bypath(index, path);
        // The stash may have brought the removal into the index already.
        if (code == GIT_ENOTFOUND)
            code = 0;
    }
    if (code != 0)
        return tl::unexpected(git::error_from_libgit2());
    return {};
}

// The trees of a switch: what the stash was made on, what was staged then, what the files were then,
// and what HEAD has now.
struct Trees {
    git::Tree base;
    git::Tree staged;
    git::Tree files;
    git::Tree head;
};

// Whether the working tree has what was staged at a path, now that the stash has been applied. A mode
// that HEAD does not have is nowhere but in the index: files of Windows have none.
bool is_in_working_tree(git_repository* repository, const Trees& trees, const char* path,
                        const std::optional<Version>& staged)
{
    return same_mode(staged, version_at(trees.head.get(), path)) &&
           (same(staged, version_at(trees.files.get(), path)) ||
            file_holds(repository, path, staged));
}

git::Result<Trees> read_trees(git_repository* repository, const git_oid& stash)
{
    git::Result<git::Commit> commit = git::lookup_commit(repository, stash);
    if (!commit)
        return tl::unexpected(std::move(commit.error()));
    // A stash is a merge of the commit it was made on and a commit of the index.
    git::Result<git::Tree> base = git::parent_tree(commit->get(), 0);
    if (!base)
        return tl::unexpected(std::move(base.error()));
    git::Result<git::Tree> staged = git::parent_tree(commit->get(), 1);
    if (!staged)
        return tl::unexpected(std::move(staged.error()));
    git::Result<git::Tree> files = git::commit_tree(commit->get());
    if (!files)
        return tl::unexpected(std::move(files.error()));
    git::Result<git::Tree> head = head_tree(repository);
    if (!head)
        return tl::unexpected(std::move(head.error()));
    return Trees{std::move(*base), std::move(*staged), std::move(*files), std::move(*head)};
}

}  // namespace

std::optional<git_oid> top_of_stash(git_repository* repository)
{
    git_oid id{};
    if (git_reference_name_to_id(&id, repository, "refs/stash") != 0)
        return std::nullopt;
    return id;
}

bool is_kept(git_repository* repository, const git_oid& stash)
{
    const auto is_this = [](std::size_t, const char*, const git_oid* id, void* wanted) {
        return git_oid_equal(id, static_cast<const git_oid*>(wanted));
    };
    git_oid wanted = stash;
    return git_stash_foreach(repository, is_this, &wanted) == 1;
}

git::Result<bool> restore_staged(git_repository* repository, const git_oid& stash)
{
    const git::Result<Trees> trees = read_trees(repository, stash);
    if (!trees)
        return tl::unexpected(trees.error());
    git_diff* found = nullptr;
    if (git_diff_tree_to_tree(&found, repository, trees->base.get(), trees->staged.get(),
                              nullptr) != 0)
        return tl::unexpected(git::error_from_libgit2());
    const git::Diff diff(found);
    const std::size_t count = git_diff_num_deltas(found);
    if (count == 0)
        return true;

    const git::Result<std::unique_ptr<git::LockedIndex>> index = git::LockedIndex::open(repository);
    if (!index)
        return tl::unexpected(index.error());
    bool is_all_kept = true;
    for (std::size_t i = 0; i < count; ++i) {
        const git_diff_delta* delta = git_diff_get_delta(found, i);
        const char* path = delta->new_file.path;
        const std::optional<Version> staged = version_at(trees->staged.get(), path);
        if (same(version_at(trees->base.get(), path), version_at(trees->head.get(), path))) {
            if (git::Result<void> put = put_into_index((*index)->get(), path, staged); !put)
                return tl::unexpected(std::move(put.error()));
        } else if (!is_in_working_tree(repository, *trees, path, staged)) {
            is_all_kept = false;
        }
    }
    return (*index)->write().map([&] { return is_all_kept; });
}

}  // namespace revlane
