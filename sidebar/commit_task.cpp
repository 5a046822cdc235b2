#include "sidebar/commit_task.h"

#include "git/diffs.h"
#include "git/handles.h"
#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "win32/posted.h"
#include "win32/text.h"

#include <memory>
#include <optional>
#include <vector>

namespace revlane {

namespace {

// What the command has around its message, generously.
constexpr std::size_t COMMAND_LENGTH = 64;

git::CommandResult failed(const git::Error& error)
{
    return {L"commit", git::to_utf8(error), false};
}

// The changes of the working tree, untracked files included. Ends with the run.
git::Result<std::vector<git::FileChange>> find_changes(const CommandRun& run,
                                                       git_repository* repository)
{
    return git::diff_index_to_workdir(repository, [&run] { return run.was_ended(); });
}

git::Result<std::vector<std::wstring>> changed_paths(const CommandRun& run)
{
    const git::LibraryScope library;
    const auto repository = git::open_repository(run.context.workdir);
    if (!repository)
        return tl::unexpected(repository.error());
    const auto changes = find_changes(run, repository->handle.get());
    if (!changes)
        return tl::unexpected(changes.error());
    std::vector<std::wstring> paths;
    paths.reserve(changes->size());
    for (const git::FileChange& change : *changes)
        paths.push_back(change.new_path);
    return paths;
}

// The id of the text that says why there is nothing to commit, or nothing when there is something.
// A merge that was resolved may be committed without any change.
git::Result<std::optional<UINT>> find_objection(const CommandRun& run)
{
    const git::LibraryScope library;
    const auto repository = git::open_repository(run.context.workdir);
    if (!repository)
        return tl::unexpected(repository.error());
    git_repository* opened = repository->handle.get();
    if (git_repository_state(opened) != GIT_REPOSITORY_STATE_NONE)
        return std::nullopt;
    const auto staged = git::diff_head_to_index(opened);
    if (!staged)
        return tl::unexpected(staged.error());
    if (!staged->empty())
        return std::nullopt;
    const auto changes = find_changes(run, opened);
    if (!changes)
        return tl::unexpected(changes.error());
    return changes->empty() ? IDS_NOTHING_TO_COMMIT : IDS_NOTHING_STAGED;
}

git::Result<bool> is_anything_staged(const std::filesystem::path& workdir)
{
    const git::LibraryScope library;
    const auto repository = git::open_repository(workdir);
    if (!repository)
        return tl::unexpected(repository.error());
    return git::diff_head_to_index(repository->handle.get())
        .map([](const std::vector<git::FileChange>& staged) { return !staged.empty(); });
}

// Returns whether the commit may go on.
bool stage_everything(const CommandRun& run)
{
    const auto paths = changed_paths(run);
    if (!paths)
        return run.report(failed(paths.error()));
    // Staging would not know that it was ended before.
    if (run.was_ended())
        return run.report(failed(git::run_was_ended()));
    return paths->empty() || run.report(git::stage_paths(run.context, *paths));
}

}  // namespace

std::size_t max_message_length() noexcept
{
    return git::MAX_ARGUMENTS_LENGTH - COMMAND_LENGTH;
}

bool is_too_long(const std::wstring& message)
{
    return git::quote_argument(message).size() > max_message_length();
}

void commit_changes(const CommandRun& run, const std::wstring& message, CommitScope scope,
                    UINT committed, UINT refused)
{
    if (scope == CommitScope::StagedElseEverything) {
        const auto staged = is_anything_staged(run.context.workdir);
        if (!staged) {
            run.report(failed(staged.error()));
            return;
        }
        scope = *staged ? CommitScope::Staged : CommitScope::Everything;
    }
    if (scope == CommitScope::Everything && !stage_everything(run))
        return;
    const auto objection = find_objection(run);
    if (!objection) {
        run.report(failed(objection.error()));
        return;
    }
    if (*objection) {
        win32::post_owned(run.owner(), refused,
                          std::make_unique<std::wstring>(host::load_text(**objection)));
        return;
    }
    if (run.was_ended() || !run.report(git::commit_staged(run.context, message)))
        return;
    win32::post_owned(run.owner(), committed, std::make_unique<std::wstring>(message));
}

}  // namespace revlane
