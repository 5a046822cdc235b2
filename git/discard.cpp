#include "git/command_table.h"
#include "git/commands.h"
#include "git/handles.h"
#include "win32/long_path.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <fmt/xchar.h>

#include <cstdint>
#include <optional>
#include <utility>

namespace git {

namespace {

// What git says of a path that it does not track, unless it speaks the user's language, and what it
// ends with in any. Other failures have another code.
constexpr std::string_view NOT_TRACKED = "did not match any file";
constexpr std::uint32_t NOT_TRACKED_CODE = 1;

Result<bool> is_tracked(git_repository* repository, const std::string& path)
{
    git_index* opened = nullptr;
    if (git_repository_index(&opened, repository) != 0)
        return tl::unexpected(error_from_libgit2());
    const Index index(opened);
    const int code = git_index_find(nullptr, index.get(), path.c_str());
    if (code != 0 && code != GIT_ENOTFOUND)
        return tl::unexpected(error_from_libgit2());
    return code == 0;
}

// Whether git was asked for a tracked path and has given an answer.
bool is_answered(const CommandResult& found)
{
    return found.ok || found.exit_code == NOT_TRACKED_CODE ||
           found.output.find(NOT_TRACKED) != std::string::npos;
}

// A path for libgit2's pathspecs, in which "!" and "#" at the beginning are special, unlike in git's.
Result<Pathspec> compile_pathspec(const std::string& path)
{
    std::string text = path.starts_with('!') || path.starts_with('#') ? '\\' + path : path;
    char* strings[] = {text.data()};
    const git_strarray array{strings, 1};
    git_pathspec* compiled = nullptr;
    if (git_pathspec_new(&compiled, &array) != 0)
        return tl::unexpected(error_from_libgit2());
    return Pathspec(compiled);
}

// Another tracked and changed file that the path, read as a pathspec, names as well.
Result<std::optional<std::string>> other_changed_file(git_repository* repository,
                                                      const std::string& path)
{
    Result<Pathspec> pathspec = compile_pathspec(path);
    if (!pathspec)
        return tl::unexpected(std::move(pathspec).error());
    git_diff* made = nullptr;
    if (git_diff_index_to_workdir(&made, repository, nullptr, nullptr) != 0)
        return tl::unexpected(error_from_libgit2());
    const Diff diff(made);
    for (std::size_t i = 0; i < git_diff_num_deltas(diff.get()); ++i) {
        const char* changed = git_diff_get_delta(diff.get(), i)->old_file.path;
        if (path != changed &&
            git_pathspec_matches_path(pathspec->get(), GIT_PATHSPEC_USE_CASE, changed) == 1)
            return changed;
    }
    return std::nullopt;
}

// Why the file must not be checked out by its path, if so.
std::optional<std::string> checkout_refusal(git_repository* repository, std::wstring_view path)
{
    // Without special characters a tracked path names itself only.
    if (!is_special_pathspec(path))
        return std::nullopt;
    const std::string utf8 = win32::to_utf8(path);
    if (path.starts_with(L':'))
        return fmt::format(
            "Nothing was discarded, since git would not read this path as a name: {}", utf8);
    const Result<std::optional<std::string>> other = other_changed_file(repository, utf8);
    if (!other)
        return to_utf8(other.error());
    if (!*other)
        return std::nullopt;
    return fmt::format(
        "Nothing was discarded, since git would read {} as a pattern and discard the "
        "changes of {} as well.",
        utf8, **other);
}

// The error code of Windows, ERROR_SUCCESS when the file is gone.
DWORD remove_path(const std::filesystem::path& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return GetLastError();
    // A folder stands here for an untracked repository: only an empty one goes.
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return RemoveDirectoryW(path.c_str()) ? ERROR_SUCCESS : GetLastError();
    const bool is_read_only = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (is_read_only)
        SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
    if (DeleteFileW(path.c_str()))
        return ERROR_SUCCESS;
    const DWORD failure = GetLastError();
    if (is_read_only)
        SetFileAttributesW(path.c_str(), attributes);
    return failure;
}

CommandResult remove_untracked(const std::filesystem::path& workdir, std::wstring_view path)
{
    const DWORD code = remove_path(win32::long_path(workdir / path));
    return {fmt::format(L"remove {}", path), win32::to_utf8(windows_error_text(code)),
            code == ERROR_SUCCESS};
}

}  // namespace

CommandResult discard_changes(const CommandContext& context, std::wstring_view path)
{
    const Git::Run whole(context.git);
    CommandResult found = run_command(context, table::FIND_TRACKED, {path});
    if (!is_answered(found))
        return found;
    if (whole.was_ended())
        return {std::move(found.command), to_utf8(run_was_ended()), false};

    // The path stood unquoted in that command line, so git may have looked for other files.
    const LibraryScope library;
    const Result<Repository> repository = open_repository(context.workdir);
    if (!repository)
        return {std::move(found.command), to_utf8(repository.error()), false};
    const Result<bool> tracked = is_tracked(repository->handle.get(), win32::to_utf8(path));
    if (!tracked)
        return {std::move(found.command), to_utf8(tracked.error()), false};
    if (!*tracked)
        return remove_untracked(context.workdir, path);
    if (std::optional<std::string> refusal = checkout_refusal(repository->handle.get(), path))
        return {fill(table::CHECKOUT_FILE, {path}).arguments, std::move(*refusal), false};
    return run_command(context, table::CHECKOUT_FILE, {path});
}

}  // namespace git
