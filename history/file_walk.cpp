#include "history/file_walk.h"

#include "git/diffs.h"
#include "git/handles.h"
#include "git/objects.h"
#include "history/revision_walk.h"
#include "win32/text.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace revlane {

namespace {

// The id of what stands at `path` in a tree; nothing when there is nothing.
std::optional<git_oid> id_at(const git_tree* tree, const std::string& path)
{
    git_tree_entry* found = nullptr;
    if (git_tree_entry_bypath(&found, tree, path.c_str()) != 0)
        return std::nullopt;
    const git::TreeEntry entry(found);
    return *git_tree_entry_id(found);
}

bool same(const std::optional<git_oid>& left, const std::optional<git_oid>& right)
{
    if (!left || !right)
        return !left && !right;
    return git_oid_equal(&*left, &*right) != 0;
}

// What one commit did to the file.
struct Step {
    bool changed = false;
    std::optional<std::string> former_path;  // the file came from there
};

git::Result<Step> step_at(const git_commit* commit, const std::string& path)
{
    const git::Result<git::Tree> tree = git::commit_tree(commit);
    if (!tree)
        return tl::unexpected(tree.error());
    const std::optional<git_oid> now = id_at(tree->get(), path);
    const unsigned parents = git_commit_parentcount(commit);
    if (parents == 0)
        return Step{now.has_value(), std::nullopt};
    // A merge that took the file from one of its parents as it was did nothing to it.
    for (unsigned i = 0; i < parents; ++i) {
        const git::Result<git::Tree> before = git::parent_tree(commit, i);
        if (!before)
            return tl::unexpected(before.error());
        if (same(now, id_at(before->get(), path)))
            return Step{};
    }
    Step step{true, std::nullopt};
    const git::Result<git::Tree> before = git::parent_tree(commit, 0);
    if (!before)
        return tl::unexpected(before.error());
    if (now && !id_at(before->get(), path)) {
        const git::Result<std::vector<git::FileChange>> changes =
            git::diff_trees(before->get(), tree->get());
        if (!changes)
            return tl::unexpected(changes.error());
        const std::wstring wide = win32::to_wide(path);
        const auto renamed =
            std::find_if(changes->begin(), changes->end(), [&wide](const git::FileChange& change) {
                return change.status == git::ChangeStatus::Renamed && change.new_path == wide;
            });
        if (renamed != changes->end())
            step.former_path = win32::to_utf8(renamed->old_path);
    }
    return step;
}

}  // namespace

git::Result<std::vector<git_oid>> walk_file_history(git_repository* repository,
                                                    const git_oid& start, std::wstring_view path,
                                                    const std::function<bool()>& is_cancelled)
{
    const git::Result<git::Revwalk> walk = start_walk(repository, start);
    if (!walk)
        return tl::unexpected(walk.error());
    std::string current = win32::to_utf8(path);
    std::vector<git_oid> found;
    git_oid id{};
    while (!(is_cancelled && is_cancelled()) && git_revwalk_next(&id, walk->get()) == 0) {
        const git::Result<git::Commit> commit = git::lookup_commit(repository, id);
        if (!commit)
            return tl::unexpected(commit.error());
        git::Result<Step> step = step_at(commit->get(), current);
        if (!step)
            return tl::unexpected(std::move(step.error()));
        if (!step->changed)
            continue;
        found.push_back(id);
        if (step->former_path)
            current = std::move(*step->former_path);
    }
    return found;
}

}  // namespace revlane
