#include "git/objects.h"

#include "git/references.h"
#include "win32/text.h"

#include <gsl/narrow>
#include <windows.h>

#include <array>
#include <limits>

namespace git {

namespace {

// Windows counts from 1601, git from 1970.
constexpr git_time_t seconds_from_1601_to_1970 = 11'644'473'600;
// A FILETIME counts in units of 100 nanoseconds.
constexpr std::uint64_t file_time_units_per_second = 10'000'000;
// Far more than any locale needs for a date or a time.
constexpr int time_text_capacity = 1000;

template <typename Owner, git_object_t kind>
Result<Owner> lookup(git_repository* repository, const git_oid& id)
{
    git_object* object = nullptr;
    if (git_object_lookup(&object, repository, &id, kind) != 0)
        return tl::unexpected(error_from_libgit2());
    if (object == nullptr)
        return tl::unexpected(Error::own("oid does not exist in repo"));
    return Owner(reinterpret_cast<typename Owner::pointer>(object));
}

}  // namespace

Result<Commit> lookup_commit(git_repository* repository, const git_oid& id)
{
    return lookup<Commit, GIT_OBJECT_COMMIT>(repository, id);
}

Result<Blob> lookup_blob(git_repository* repository, const git_oid& id)
{
    return lookup<Blob, GIT_OBJECT_BLOB>(repository, id);
}

Result<Blob> blob_at_path(const git_tree* tree, std::wstring_view path)
{
    git_tree_entry* found = nullptr;
    if (git_tree_entry_bypath(&found, tree, win32::to_utf8(path).c_str()) != 0)
        return tl::unexpected(error_from_libgit2());
    const TreeEntry entry(found);
    // The object of a submodule lies in another repository: there is none to ask for its kind.
    if (git_tree_entry_type(entry.get()) == GIT_OBJECT_COMMIT)
        return tl::unexpected(Error::own("not a blob"));
    git_object* converted = nullptr;
    if (git_tree_entry_to_object(&converted, git_tree_owner(tree), entry.get()) != 0)
        return tl::unexpected(error_from_libgit2());
    Object object(converted);
    if (git_object_type(object.get()) != GIT_OBJECT_BLOB)
        return tl::unexpected(Error::own("not a blob"));
    return Blob(reinterpret_cast<git_blob*>(object.release()));
}

Result<Tree> commit_tree(const git_commit* commit)
{
    git_tree* tree = nullptr;
    if (git_commit_tree(&tree, commit) != 0)
        return tl::unexpected(error_from_libgit2());
    return Tree(tree);
}

Result<Tree> parent_tree(const git_commit* commit, unsigned index)
{
    git_commit* found = nullptr;
    if (git_commit_parent(&found, commit, index) != 0)
        return tl::unexpected(error_from_libgit2());
    const Commit parent(found);
    return commit_tree(found);
}

std::span<const std::byte> blob_bytes(const git_blob* blob)
{
    return {static_cast<const std::byte*>(git_blob_rawcontent(blob)),
            gsl::narrow<std::size_t>(git_blob_rawsize(blob))};
}

std::vector<NamedEntry> tree_entries(const git_tree* tree)
{
    const std::size_t count = git_tree_entrycount(tree);
    std::vector<NamedEntry> entries;
    entries.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const git_tree_entry* entry = git_tree_entry_byindex(tree, i);
        entries.push_back(
            {git_tree_entry_name(entry), *git_tree_entry_id(entry), git_tree_entry_type(entry)});
    }
    return entries;
}

std::vector<git_oid> commit_parents(const git_commit* commit)
{
    const unsigned count = git_commit_parentcount(commit);
    std::vector<git_oid> parents;
    parents.reserve(count);
    for (unsigned i = 0; i < count; ++i)
        parents.push_back(*git_commit_parent_id(commit, i));
    return parents;
}

CommitRow commit_row(git_commit* commit)
{
    const git_oid& id = *git_commit_id(commit);
    const char* summary = git_commit_summary(commit);
    return {
        .id = id,
        .summary = summary != nullptr ? win32::to_wide(summary) : std::wstring(),
        .author = win32::to_wide(git_commit_author(commit)->name),
        .date = commit_date_text(commit),
        .id_text = oid_to_text(id),
    };
}

std::wstring commit_date_text(const git_commit* commit)
{
    try {
        return time_text(git_commit_time(commit));
    } catch (const gsl::narrowing_error&) {
        return {};
    }
}

std::wstring time_text(git_time_t seconds)
{
    // A commit may hold any number; those past the end of Windows' time have no text.
    if (seconds > std::numeric_limits<git_time_t>::max() - seconds_from_1601_to_1970)
        return {};
    const auto since_1601 = gsl::narrow<std::uint64_t>(seconds + seconds_from_1601_to_1970);
    if (since_1601 > std::numeric_limits<std::uint64_t>::max() / file_time_units_per_second)
        return {};

    const ULARGE_INTEGER units{.QuadPart = since_1601 * file_time_units_per_second};
    const FILETIME file_time{units.LowPart, units.HighPart};
    SYSTEMTIME universal{};
    SYSTEMTIME local{};
    std::array<wchar_t, time_text_capacity> date;
    std::array<wchar_t, time_text_capacity> time;
    if (!FileTimeToSystemTime(&file_time, &universal) ||
        !SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local) ||
        GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &local, nullptr, date.data(),
                        time_text_capacity, nullptr) == 0 ||
        GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, TIME_NOSECONDS, &local, nullptr, time.data(),
                        time_text_capacity) == 0)
        return {};
    return std::wstring(date.data()) + L' ' + time.data();
}

}  // namespace git
