#include "git/references.h"

#include <array>
#include <utility>

namespace git {

namespace {

constexpr std::string_view detached_head_name = "HEAD";
// Only the remote of this name has its HEAD left out: it repeats a branch that is listed anyway. The
// HEAD of a remote that somebody has named says which branch they chose there.
constexpr std::string_view left_out_branch = "origin/HEAD";
constexpr std::string_view tag_prefix = "refs/tags/";
constexpr std::size_t short_id_length = 7;

using IdText = std::array<char, GIT_OID_SHA1_HEXSIZE>;

IdText format_oid(const git_oid& id)
{
    IdText text;
    check_libgit2(git_oid_fmt(text.data(), &id));
    return text;
}

// Adds a tag, given by its full name and the id that it refers to.
Result<void> collect_tag(git_repository* repository, std::string_view full_name, const git_oid& id,
                         TagMap& tags)
{
    git_oid commit = id;
    git_tag* found = nullptr;
    const int code = git_tag_lookup(&found, repository, &id);
    if (code == 0) {
        const Tag tag(found);
        commit = *git_tag_target_id(tag.get());
    } else if (code != GIT_ENOTFOUND) {
        // Not found means that the object is no tag object: a lightweight tag, on `id` itself.
        return tl::unexpected(error_from_libgit2());
    }
    tags[commit].emplace_back(full_name.substr(tag_prefix.size()));
    return {};
}

// The commit that a tag marks. Nothing when it marks something else: a list of commits has no row
// for that, and would end at it.
std::optional<git_oid> tagged_commit(const git_object* object) noexcept
{
    switch (git_object_type(object)) {
    case GIT_OBJECT_TAG: {
        const auto* tag = reinterpret_cast<const git_tag*>(object);
        if (git_tag_target_type(tag) != GIT_OBJECT_COMMIT)
            return std::nullopt;
        return *git_tag_target_id(tag);
    }
    case GIT_OBJECT_COMMIT:
        // A lightweight tag refers to the commit directly. It counts as it does in tag_map, so that
        // a name which is shown beside a commit is also found.
        return *git_object_id(object);
    default:
        return std::nullopt;
    }
}

}  // namespace

std::string reference_display_name(const git_reference* reference)
{
    if (git_reference_name(reference) != detached_head_name)
        return git_reference_shorthand(reference);
    const Result<git_oid> target = reference_target(reference);
    if (!target)
        return std::string(detached_head_name);
    return {format_oid(*target).data(), short_id_length};
}

Result<git_oid> reference_target(const git_reference* reference)
{
    git_reference* found = nullptr;
    if (git_reference_resolve(&found, reference) != 0)
        return tl::unexpected(Error::own("could not resolve object"));
    const Reference resolved(found);
    const git_oid* target = git_reference_target(resolved.get());
    if (target == nullptr)
        return tl::unexpected(Error::own("oid is null"));
    return *target;
}

Result<AheadBehind> ahead_behind(const git_reference* local, const git_reference* upstream)
{
    const Result<git_oid> local_target = reference_target(local);
    if (!local_target)
        return tl::unexpected(local_target.error());
    const Result<git_oid> upstream_target = reference_target(upstream);
    if (!upstream_target)
        return tl::unexpected(upstream_target.error());
    AheadBehind counts;
    if (git_graph_ahead_behind(&counts.ahead, &counts.behind, git_reference_owner(local),
                               &*local_target, &*upstream_target) != 0)
        return tl::unexpected(error_from_libgit2());
    return counts;
}

Result<std::optional<std::string>> remote_name_of(const git_reference* reference)
{
    if (git_reference_is_remote(reference) == 0)
        return std::nullopt;
    Buffer name;
    const int code = git_branch_remote_name(name.get(), git_reference_owner(reference),
                                            git_reference_name(reference));
    if (code == GIT_ENOTFOUND)
        return std::nullopt;
    if (code != 0)
        return tl::unexpected(error_from_libgit2());
    return name.text();
}

std::string unborn_branch(git_repository* repository)
{
    git_reference* found = nullptr;
    if (git_reference_lookup(&found, repository, "HEAD") != 0)
        return {};
    const Reference head(found);
    const char* target = git_reference_symbolic_target(head.get());
    if (target == nullptr)
        return {};
    constexpr std::string_view prefix = "refs/heads/";
    std::string_view name(target);
    if (name.starts_with(prefix))
        name.remove_prefix(prefix.size());
    return std::string(name);
}

Result<BranchList> list_branches(git_repository* repository)
{
    BranchList branches;
    // A failure to tell counts as not detached: the branches can be listed all the same.
    if (git_repository_head_detached(repository) == 1) {
        git_reference* head = nullptr;
        if (git_repository_head(&head, repository) != 0)
            return tl::unexpected(error_from_libgit2());
        branches.emplace_back(head);
    }

    git_branch_iterator* created = nullptr;
    check_libgit2(git_branch_iterator_new(&created, repository, GIT_BRANCH_ALL));
    const BranchIterator iterator(created);
    for (;;) {
        git_reference* next = nullptr;
        git_branch_t type = GIT_BRANCH_ALL;
        const int code = git_branch_next(&next, &type, iterator.get());
        if (code == GIT_ITEROVER)
            return branches;
        if (code != 0)
            return tl::unexpected(error_from_libgit2());
        Reference branch(next);
        if (git_reference_shorthand(branch.get()) != left_out_branch)
            branches.push_back(std::move(branch));
    }
}

Result<std::vector<git_oid>> tag_targets_matching(git_repository* repository, std::string_view text)
{
    std::string pattern = "*";
    pattern.append(text) += '*';
    StringArray names;
    if (git_tag_list_match(names.get(), pattern.c_str(), repository) != 0)
        return tl::unexpected(error_from_libgit2());

    std::vector<git_oid> targets;
    std::string full_name(tag_prefix);
    for (const char* name : names) {
        full_name.replace(tag_prefix.size(), std::string::npos, name);
        git_object* found = nullptr;
        if (git_revparse_single(&found, repository, full_name.c_str()) != 0)
            return tl::unexpected(error_from_libgit2());
        const Object object(found);
        if (const std::optional<git_oid> target = tagged_commit(object.get()))
            targets.push_back(*target);
    }
    return targets;
}

// Not by git_tag_foreach: that looks each tag up by its name again, one file after the other, although
// the references were read to find the names.
Result<TagMap> tag_map(git_repository* repository, const std::function<bool()>& is_cancelled)
{
    git_reference_iterator* created = nullptr;
    if (git_reference_iterator_glob_new(&created, repository, "refs/tags/*") != 0)
        return tl::unexpected(error_from_libgit2());
    const ReferenceIterator iterator(created);
    TagMap tags;
    while (!(is_cancelled && is_cancelled())) {
        git_reference* next = nullptr;
        const int code = git_reference_next(&next, iterator.get());
        if (code == GIT_ITEROVER)
            return tags;
        if (code != 0)
            return tl::unexpected(error_from_libgit2());
        const Reference tag(next);
        // A tag that refers to another reference has no id of its own.
        const git_oid* own = git_reference_target(next);
        const Result<git_oid> target =
            own != nullptr ? Result<git_oid>(*own) : reference_target(next);
        if (!target)
            return tl::unexpected(target.error());
        Result<void> collected = collect_tag(repository, git_reference_name(next), *target, tags);
        if (!collected)
            return tl::unexpected(std::move(collected.error()));
    }
    return tags;
}

std::optional<git_oid> optional_oid(const git_oid& id) noexcept
{
    if (git_oid_is_zero(&id) != 0)
        return std::nullopt;
    return id;
}

std::wstring oid_to_text(const git_oid& id)
{
    const IdText text = format_oid(id);
    return {text.begin(), text.end()};
}

std::wstring short_oid_text(const git_oid& id)
{
    return oid_to_text(id).substr(0, short_id_length);
}

}  // namespace git
