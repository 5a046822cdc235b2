#include "git/commands.h"

#include "git/command_table.h"
#include "git/handles.h"
#include "git/references.h"

#include <algorithm>
#include <utility>

namespace git {

namespace {

// Runs a command that prints one full hash a line.
Result<std::vector<git_oid>> list_commits(const CommandContext& context,
                                          const CommandTemplate& command,
                                          std::initializer_list<std::wstring_view> values)
{
    const FilledCommand filled = fill(command, values);
    if (!filled.refusal.empty())
        return tl::unexpected(Error::own(filled.refusal));
    const Git::Run run(context.git);
    if (run.was_ended())
        return tl::unexpected(run_was_ended());
    Result<RunningGit> running = start_git(filled.arguments, context.workdir);
    if (!running)
        return tl::unexpected(std::move(running).error());
    // Only the reads are registered: ending them ends this function, and the process goes with it.
    Result<std::vector<git_oid>> ids = read_object_ids(*running, run);
    if (!ids)
        return ids;
    if (exit_code(*running) != 0) {
        Result<std::string> report = read_all(*running, Stream::Error, run);
        if (!report)
            return tl::unexpected(std::move(report).error());
        return tl::unexpected(Error::own(std::move(*report)));
    }
    if (run.was_ended())
        return tl::unexpected(run_was_ended());
    return ids;
}

std::vector<std::string> split_lines(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// Nothing when the commit is there.
std::optional<Error> missing_commit(const std::filesystem::path& workdir, const git_oid& id)
{
    const LibraryScope library;
    const Result<Repository> repository = open_repository(workdir);
    if (!repository)
        return repository.error();
    git_commit* found = nullptr;
    const int code = git_commit_lookup(&found, repository->handle.get(), &id);
    const Commit commit(found);
    if (code == GIT_ENOTFOUND)
        return Error::own("oid does not exist in repo");
    if (code != 0)
        return error_from_libgit2();
    return std::nullopt;
}

// Whether a path in the form in which it is given reaches git as one word: what stands in double
// quotes may be escaped, anything else must be the word itself.
bool is_one_word(std::wstring_view path)
{
    const std::optional<std::vector<std::wstring>> words = split_arguments(path);
    const bool in_quotes = path.size() >= 2 && path.starts_with(L'"') && path.ends_with(L'"');
    return words && words->size() == 1 && (in_quotes || words->front() == path);
}

// The command lines that take all paths, each no longer than Windows takes.
std::vector<std::wstring> unstage_runs(const std::vector<std::wstring>& paths)
{
    std::vector<std::wstring> runs;
    for (const std::wstring& path : paths) {
        const std::wstring part = fill(table::UNSTAGE_PATH, {path}).arguments;
        if (runs.empty() || runs.back().size() + part.size() > MAX_ARGUMENTS_LENGTH)
            runs.emplace_back(table::UNSTAGE.text());
        runs.back() += part;
    }
    return runs;
}

}  // namespace

CommandResult commit_staged(const CommandContext& context, std::wstring_view message)
{
    std::wstring text(message);
    // A backslash at the end would escape the closing quote; git strips the line feed again.
    if (text.ends_with(L'\\'))
        text += L'\n';
    return run_command(context, table::COMMIT, {text});
}

CommandResult unstage(const CommandContext& context, const std::vector<std::wstring>& paths)
{
    CommandResult result{std::wstring(table::UNSTAGE.text()), {}, true};
    for (const std::wstring& path : paths)
        result.command += fill(table::UNSTAGE_PATH, {path}).arguments;
    for (const std::wstring& path : paths)
        if (!is_one_word(path))
            return {std::move(result.command), not_carried(path), false};

    const Git::Run whole(context.git);
    for (std::wstring& arguments : unstage_runs(paths)) {
        if (whole.was_ended())
            return {std::move(result.command), to_utf8(run_was_ended()), false};
        const CommandResult part =
            run_git(std::move(arguments), context.workdir, table::UNSTAGE.stream(), context.git);
        result.output += part.output;
        result.ok = part.ok;
        if (!result.ok)
            break;
    }
    return result;
}

std::wstring pathspec_argument(std::wstring_view path)
{
    const bool is_safe =
        !is_special_pathspec(path) && path.find_first_of(L" \t\"") == std::wstring_view::npos;
    if (is_safe && !path.empty())
        return std::wstring(path);
    return L'"' + quote_argument(literal_pathspec(path)) + L'"';
}

CommandResult checkout_branch(const CommandContext& context, std::wstring_view branch)
{
    return run_command(context, table::CHECKOUT, {branch});
}

CommandResult create_branch(const CommandContext& context, std::wstring_view name,
                            std::wstring_view start_point)
{
    return run_command(context, table::CREATE_BRANCH, {name, start_point});
}

CommandResult delete_branch(const CommandContext& context, std::wstring_view branch)
{
    return run_command(context, table::DELETE_BRANCH, {branch});
}

CommandResult delete_remote_tracking_branch(const CommandContext& context, std::wstring_view branch)
{
    return run_command(context, table::DELETE_TRACKING, {branch});
}

CommandResult delete_branch_on_remote(const CommandContext& context, std::wstring_view remote,
                                      std::wstring_view branch)
{
    return run_command(context, table::DELETE_ON_REMOTE, {L"", remote, branch});
}

CommandResult update_submodule(const CommandContext& context, std::wstring_view path)
{
    return run_command(context, table::SUBMODULE_UPDATE, {path});
}

CommandResult fetch(const CommandContext& context)
{
    return run_command(context, table::FETCH);
}

CommandResult pull(const CommandContext& context)
{
    return run_command(context, table::PULL);
}

CommandResult push(const CommandContext& context)
{
    return run_command(context, table::PUSH);
}

CommandResult status(const CommandContext& context)
{
    return run_command(context, table::STATUS);
}

StashList list_stashes(const CommandContext& context)
{
    StashList list{run_command(context, table::STASH_LIST), {}};
    if (list.result.ok)
        list.subjects = split_lines(list.result.output);
    return list;
}

CommandResult push_stash(const CommandContext& context, std::wstring_view message)
{
    return run_command(context, table::STASH_PUSH, {message});
}

CommandResult apply_stash(const CommandContext& context, std::wstring_view message)
{
    return run_command(context, table::STASH_APPLY, {message});
}

CommandResult drop_stash(const CommandContext& context)
{
    return run_command(context, table::STASH_DROP);
}

CommandResult add_path(const CommandContext& context, std::wstring_view path)
{
    return run_command(context, table::ADD, {literal_pathspec(path)});
}

Result<std::vector<git_oid>> file_history(const CommandContext& context, const git_oid& start,
                                          std::wstring_view path)
{
    if (const std::optional<Error> missing = missing_commit(context.workdir, start))
        return tl::unexpected(*missing);
    return list_commits(context, table::FILE_HISTORY, {oid_to_text(start), path});
}

Result<std::vector<git_oid>> commits_by_message(const CommandContext& context,
                                                std::wstring_view text, std::wstring_view revision)
{
    return list_commits(context, table::LOG_BY_MESSAGE, {text, revision});
}

Result<std::vector<git_oid>> commits_by_author(const CommandContext& context,
                                               std::wstring_view text, std::wstring_view revision)
{
    return list_commits(context, table::LOG_BY_AUTHOR, {text, revision});
}

}  // namespace git
