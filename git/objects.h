// Commits, trees and blobs of an open repository, read through libgit2 on the thread that opened it.
#pragma once

#include "git/error.h"
#include "git/handles.h"

#include <git2.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace git {

struct NamedEntry {
    std::string name;  // UTF-8, without a folder
    git_oid id;
    git_object_t kind;  // blob, tree, or commit for a submodule
};

// The texts of one commit as the views show them.
struct CommitRow {
    git_oid id;
    std::wstring summary;
    std::wstring author;
    std::wstring date;     // empty when the time cannot be converted
    std::wstring id_text;  // 40 digits
};

Result<Commit> lookup_commit(git_repository* repository, const git_oid& id);
Result<Blob> lookup_blob(git_repository* repository, const git_oid& id);
// "not a blob" when a folder or submodule stands at the path.
Result<Blob> blob_at_path(const git_tree* tree, std::wstring_view path);
Result<Tree> commit_tree(const git_commit* commit);
// Of the parent with this number, from 0.
Result<Tree> parent_tree(const git_commit* commit, unsigned index);
// Borrowed from the blob.
std::span<const std::byte> blob_bytes(const git_blob* blob);
std::vector<NamedEntry> tree_entries(const git_tree* tree);
std::vector<git_oid> commit_parents(const git_commit* commit);
CommitRow commit_row(git_commit* commit);
// The commit time as time_text gives it; empty for one before 1601, since a commit may hold any
// number and its other texts are to be seen.
std::wstring commit_date_text(const git_commit* commit);

// Seconds since 1970 as the local date and time in the user's locale: short date, a space, time
// without seconds. Throws gsl::narrowing_error for a time before 1601; empty when Windows cannot
// convert it.
std::wstring time_text(git_time_t seconds);

}  // namespace git
