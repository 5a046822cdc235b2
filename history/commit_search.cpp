#include "history/commit_search.h"

#include "changes/messages.h"
#include "git/commands.h"
#include "git/handles.h"
#include "git/runner.h"
#include "history/file_walk.h"

#include <algorithm>
#include <utility>

namespace revlane {

namespace {

// The commits that changed a file, each once. On a background thread.
FilterResult read_file_history(const std::filesystem::path& workdir, git::Git& git,
                               const git_oid& start, const std::wstring& path,
                               const Cancellation& cancel)
{
    const git::LibraryScope library;
    if (!git::is_git_available()) {
        const git::Result<git::Repository> repository = git::open_repository(workdir);
        if (!repository)
            return tl::unexpected(repository.error());
        return walk_file_history(repository->handle.get(), start, path,
                                 [&cancel] { return cancel.is_cancelled(); });
    }
    FilterResult found = git::file_history({workdir, git}, start, path);
    // Git names a merge once for each parent that the file differs from.
    if (found)
        found->erase(std::unique(found->begin(), found->end(),
                                 [](const git_oid& left, const git_oid& right) {
                                     return git_oid_equal(&left, &right) != 0;
                                 }),
                     found->end());
    return found;
}

}  // namespace

CommitSearch::CommitSearch(win32::WorkPool& pool, std::shared_ptr<git::Git> git)
    : git_(std::move(git)), slot_(pool)
{
}

void CommitSearch::by_log(HWND list, const std::filesystem::path& workdir,
                          const std::wstring& revision, const Filter::State& state)
{
    begin();
    slot_.submit([list, git = git_, workdir, state, revision, cancel = cancel_] {
        const git::CommandContext context{workdir, *git};
        FilterResult result = state.kind == Filter::Kind::Message
                                  ? git::commits_by_message(context, state.text, revision)
                                  : git::commits_by_author(context, state.text, revision);
        cancel->post(list, WM_REVLANE_FILTERED, std::make_unique<FilterResult>(std::move(result)));
    });
}

void CommitSearch::by_file(HWND list, const std::filesystem::path& workdir, const git_oid& start,
                           const std::wstring& path)
{
    begin();
    slot_.submit([list, git = git_, workdir, start, path, cancel = cancel_] {
        FilterResult result = read_file_history(workdir, *git, start, path, *cancel);
        cancel->post(list, WM_REVLANE_FILTERED, std::make_unique<FilterResult>(std::move(result)));
    });
}

void CommitSearch::begin()
{
    cancel();
    cancel_ = std::make_shared<Cancellation>();
    is_running_ = true;
}

void CommitSearch::cancel()
{
    slot_.cancel();
    is_running_ = false;
    if (cancel_ == nullptr)
        return;
    cancel_->cancel();
    cancel_.reset();
    // A search through a long history may still run: the next one would wait behind it.
    git_->cancel();
}

}  // namespace revlane
