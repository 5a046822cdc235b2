#include "history/commit_count.h"

#include "changes/messages.h"
#include "history/revision_walk.h"

#include <cstdint>
#include <utility>

namespace revlane {

namespace {

git::Result<std::vector<git_oid>> count(const std::filesystem::path& repository,
                                        const git_oid& start, const Cancellation& cancel)
{
    const git::LibraryScope library;
    const git::Result<git::Repository> opened = git::open_repository(repository);
    if (!opened)
        return tl::unexpected(opened.error());
    return walk_all(opened->handle.get(), start, [&cancel] { return cancel.is_cancelled(); });
}

}  // namespace

void CommitCount::start(HWND list, const std::filesystem::path& repository, const git_oid& start)
{
    cancel();
    list_ = list;
    started_ = std::chrono::steady_clock::now();
    cancel_ = std::make_shared<Cancellation>();
    counted_ = std::make_shared<std::vector<git_oid>>();
    slot_.submit([list, repository, start, counted = counted_, cancel = cancel_] {
        git::Result<std::vector<git_oid>> walked = count(repository, start, *cancel);
        // The list looks at the ids only once the count has arrived.
        if (walked)
            *counted = std::move(*walked);
        cancel->post(list, WM_REVLANE_COUNT,
                     std::make_unique<CountResult>(
                         walked ? CountResult(static_cast<std::uint32_t>(counted->size()))
                                : CountResult(tl::unexpected(std::move(walked.error())))));
    });
}

void CommitCount::cancel()
{
    slot_.cancel();
    if (cancel_ == nullptr)
        return;
    cancel_->cancel();
    cancel_.reset();
    counted_.reset();
    // An answer that came in meanwhile is about another list.
    win32::drain_owned<CountResult>(list_, WM_REVLANE_COUNT);
}

std::shared_ptr<std::vector<git_oid>> CommitCount::finish()
{
    cancel_.reset();
    return std::exchange(counted_, nullptr);
}

}  // namespace revlane
