#include "git/diffs.h"

#include "git/folder_listings.h"
#include "git/objects.h"
#include "git/references.h"
#include "win32/text.h"

#include <git2/sys/repository.h>

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace git {

namespace {

ChangeStatus change_status(git_delta_t status) noexcept
{
    switch (status) {
    case GIT_DELTA_ADDED:
        return ChangeStatus::Added;
    case GIT_DELTA_DELETED:
        return ChangeStatus::Deleted;
    case GIT_DELTA_RENAMED:
        return ChangeStatus::Renamed;
    case GIT_DELTA_UNTRACKED:
        return ChangeStatus::Untracked;
    case GIT_DELTA_CONFLICTED:
        return ChangeStatus::Conflicted;
    default:
        return ChangeStatus::Modified;
    }
}

FileChange file_change(const git_diff_delta& delta)
{
    const std::string_view old_path = delta.old_file.path;
    const std::string_view new_path = delta.new_file.path;
    FileChange change;
    change.new_path = win32::to_wide(new_path);
    change.old_path = old_path == new_path ? change.new_path : win32::to_wide(old_path);
    change.old_id = optional_oid(delta.old_file.id);
    change.new_id = optional_oid(delta.new_file.id);
    change.status = change_status(delta.status);
    return change;
}

std::vector<FileChange> file_changes(const git_diff* diff)
{
    const std::size_t count = git_diff_num_deltas(diff);
    std::vector<FileChange> changes;
    changes.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        changes.push_back(file_change(*git_diff_get_delta(diff, i)));
    return changes;
}

Result<Diff> diff_with_renames(git_tree* old_tree, git_tree* new_tree)
{
    git_diff* made = nullptr;
    if (git_diff_tree_to_tree(&made, git_tree_owner(new_tree), old_tree, new_tree, nullptr) != 0)
        return tl::unexpected(error_from_libgit2());
    Diff diff(made);
    if (git_diff_find_similar(diff.get(), nullptr) != 0)
        return tl::unexpected(error_from_libgit2());
    return diff;
}

// Null on an unborn branch: nothing is committed yet.
Result<Tree> head_tree(git_repository* repository)
{
    git_reference* found = nullptr;
    const int code = git_repository_head(&found, repository);
    if (code == GIT_EUNBORNBRANCH)
        return Tree();
    if (code != 0)
        return tl::unexpected(error_from_libgit2());
    const Reference head(found);
    return reference_target(head.get())
        .and_then([&](const git_oid& id) { return lookup_commit(repository, id); })
        .and_then([](const Commit& commit) { return commit_tree(commit.get()); });
}

struct Cancellation {
    const std::function<bool()>& is_cancelled;
    bool cancelled = false;
};

// Called by libgit2 before each item that it looks at.
int on_progress(const git_diff*, const char*, const char*, void* payload) noexcept
{
    auto& cancellation = *static_cast<Cancellation*>(payload);
    cancellation.cancelled = cancellation.is_cancelled();
    return cancellation.cancelled ? GIT_EUSER : GIT_OK;
}

// Below this many folders the threads would take longer to start than they save.
constexpr std::size_t MANY_FOLDERS = 64;

// Lists the folders of the working tree ahead of the diff. Null: there are few, or the index cannot be
// read, which the diff reports.
std::unique_ptr<FolderListings> list_ahead(git_repository* repository)
{
    git_index* found = nullptr;
    if (git_repository_index(&found, repository) != 0)
        return nullptr;
    const Index index(found);
    const char* workdir = git_repository_workdir(repository);
    if (workdir == nullptr || git_index_entrycount(index.get()) < MANY_FOLDERS)
        return nullptr;
    std::vector<std::string> folders = folders_of(index.get());
    if (folders.size() < MANY_FOLDERS)
        return nullptr;
    return std::make_unique<FolderListings>(workdir, std::move(folders));
}

int collect_submodule(git_submodule* submodule, const char*, void* payload) noexcept
{
    // No exception may pass through libgit2.
    try {
        static_cast<std::vector<std::wstring>*>(payload)->push_back(
            win32::to_wide(git_submodule_path(submodule)));
    } catch (const std::bad_alloc&) {
        return GIT_ERROR;
    }
    return 0;
}

Result<void> change_index(git_repository* repository, std::wstring_view path,
                          int (*change)(git_index*, const char*))
{
    git_index* found = nullptr;
    if (git_repository_index(&found, repository) != 0)
        return tl::unexpected(error_from_libgit2());
    const Index index(found);
    // What another program has staged since the repository was opened must not be written over.
    constexpr int only_if_changed = 0;
    if (git_index_read(index.get(), only_if_changed) != 0 ||
        change(index.get(), win32::to_utf8(path).c_str()) != 0 ||
        git_index_write(index.get()) != 0) {
        Error error = error_from_libgit2();
        // The repository keeps this index: a change that could not be written must not show in it.
        constexpr int always = 1;
        git_index_read(index.get(), always);
        return tl::unexpected(std::move(error));
    }
    return {};
}

}  // namespace

Result<std::vector<FileChange>> diff_trees(git_tree* old_tree, git_tree* new_tree)
{
    return diff_with_renames(old_tree, new_tree).map([](const Diff& diff) {
        return file_changes(diff.get());
    });
}

Result<std::optional<FileChange>> diff_trees_for_path(git_tree* old_tree, git_tree* new_tree,
                                                      std::wstring_view path)
{
    const Result<Diff> diff = diff_with_renames(old_tree, new_tree);
    if (!diff)
        return tl::unexpected(diff.error());
    // Compared here and not by a pathspec of libgit2: even without wildcards that drops a leading
    // "#" and spaces at the end, takes "*" for everything and a folder for all that is in it.
    const std::string wanted = win32::to_utf8(path);
    const std::size_t count = git_diff_num_deltas(diff->get());
    for (std::size_t i = 0; i < count; ++i) {
        const git_diff_delta& delta = *git_diff_get_delta(diff->get(), i);
        if (delta.new_file.path == wanted || delta.old_file.path == wanted)
            return file_change(delta);
    }
    return std::nullopt;
}

Result<std::vector<FileChange>> diff_head_to_index(git_repository* repository)
{
    const Result<Tree> tree = head_tree(repository);
    if (!tree)
        return tl::unexpected(tree.error());
    git_diff* made = nullptr;
    if (git_diff_tree_to_index(&made, repository, tree->get(), nullptr, nullptr) != 0)
        return tl::unexpected(error_from_libgit2());
    return file_changes(Diff(made).get());
}

Result<std::vector<FileChange>> diff_index_to_workdir(git_repository* repository,
                                                      const std::function<bool()>& is_cancelled)
{
    git_diff_options options = GIT_DIFF_OPTIONS_INIT;
    options.flags = GIT_DIFF_INCLUDE_UNTRACKED | GIT_DIFF_RECURSE_UNTRACKED_DIRS;
    Cancellation cancellation{is_cancelled};
    if (is_cancelled) {
        options.progress_cb = on_progress;
        options.payload = &cancellation;
    }
    const std::unique_ptr<FolderListings> listings = list_ahead(repository);
    if (listings)
        options.directory_lister = &listings->lister();
    git_diff* made = nullptr;
    if (git_diff_index_to_workdir(&made, repository, nullptr, &options) != 0) {
        // libgit2 records nothing of its own for this.
        if (cancellation.cancelled)
            return tl::unexpected(Error::own("cancelled"));
        return tl::unexpected(error_from_libgit2());
    }
    return file_changes(Diff(made).get());
}

Index take_index(git_repository* repository)
{
    git_index* found = nullptr;
    if (git_repository_index(&found, repository) != 0)
        return nullptr;
    Index index(found);
    git_repository_set_index(repository, nullptr);
    return index;
}

void give_index(git_repository* repository, const Index& index)
{
    check_libgit2(git_repository_set_index(repository, index.get()));
}

Result<void> stage_path(git_repository* repository, std::wstring_view path)
{
    return change_index(repository, path, git_index_add_bypath);
}

Result<void> unstage_path(git_repository* repository, std::wstring_view path)
{
    return change_index(repository, path, git_index_remove_bypath);
}

Result<std::vector<std::wstring>> list_submodules(git_repository* repository)
{
    std::vector<std::wstring> paths;
    if (git_submodule_foreach(repository, collect_submodule, &paths) != 0)
        return tl::unexpected(error_from_libgit2());
    return paths;
}

}  // namespace git
