// References, branches, tags and remotes of an open repository, read through libgit2 on the thread
// that opened it.
#pragma once

#include "git/error.h"
#include "git/handles.h"

#include <git2.h>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace git {

using BranchList = std::vector<Reference>;

struct AheadBehind {
    std::size_t ahead = 0;
    std::size_t behind = 0;
};

// Orders ids by their bytes, for maps.
struct OidLess {
    bool operator()(const git_oid& left, const git_oid& right) const noexcept
    {
        return git_oid_cmp(&left, &right) < 0;
    }
};
// From commit id to the short names of the tags on it, in the order libgit2 finds them.
using TagMap = std::map<git_oid, std::vector<std::string>, OidLess>;

// The name that a user sees, UTF-8: the shorthand, or the first 7 digits of a detached HEAD.
std::string reference_display_name(const git_reference* reference);
// The id that the reference finally points at.
Result<git_oid> reference_target(const git_reference* reference);
Result<AheadBehind> ahead_behind(const git_reference* local, const git_reference* upstream);
// The remote of a remote-tracking branch; nothing for any other reference.
Result<std::optional<std::string>> remote_name_of(const git_reference* reference);
// The short name of the branch that HEAD is on and that has no commit yet: the first commit creates
// it. Empty when HEAD names no branch.
std::string unborn_branch(git_repository* repository);
// A detached HEAD first, then every branch but "origin/HEAD" in libgit2's order.
Result<BranchList> list_branches(git_repository* repository);
// The commits of the tags whose name matches "*{text}*", once for each tag. A tag on anything else is
// left out.
Result<std::vector<git_oid>> tag_targets_matching(git_repository* repository,
                                                  std::string_view text);
// `is_cancelled` (may be empty) is asked at each tag; once it says true, those so far are returned.
Result<TagMap> tag_map(git_repository* repository, const std::function<bool()>& is_cancelled = {});

// The id of all zeros means "none".
std::optional<git_oid> optional_oid(const git_oid& id) noexcept;
// 40 lower-case hexadecimal digits.
std::wstring oid_to_text(const git_oid& id);
// The first 7 of them, for people.
std::wstring short_oid_text(const git_oid& id);

}  // namespace git
