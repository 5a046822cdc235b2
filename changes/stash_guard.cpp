#include "changes/stash_guard.h"

#include "git/handles.h"
#include "git/objects.h"

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

// The trees of a switch: what the stash was made on, what was staged then, and what HEAD has now.
struct Trees {
    git::Tree base;
    git::Tree staged;
    git::Tree head;
};

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
    git::Result<git::Tree> head = head_tree(repository);
    if (!head)
        return tl::unexpected(std::move(head.error()));
    return Trees{std::move(*base), std::move(*staged), std::move(*head)};
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

    git_index* opened = nullptr;
    if (git_repository_index(&opened, repository) != 0)
        return tl::unexpected(git::error_from_libgit2());
    const git::Index index(opened);
    // The commands of the switch have written it since the repository was opened.
    if (git_index_read(opened, 1) != 0)
        return tl::unexpected(git::error_from_libgit2());
    bool is_all_kept = true;
    for (std::size_t i = 0; i < count; ++i) {
        const git_diff_delta* delta = git_diff_get_delta(found, i);
        const char* path = delta->new_file.path;
        const std::optional<Version> staged = version_at(trees->staged.get(), path);
        if (same(version_at(trees->base.get(), path), version_at(trees->head.get(), path))) {
            if (git::Result<void> put = put_into_index(opened, path, staged); !put)
                return tl::unexpected(std::move(put.error()));
        } else if (!file_holds(repository, path, staged)) {
            is_all_kept = false;
        }
    }
    if (git_index_write(opened) != 0)
        return tl::unexpected(git::error_from_libgit2());
    return is_all_kept;
}

}  // namespace revlane
