#include "sidebar/command_queue.h"

#include "changes/messages.h"
#include "win32/posted.h"

#include <exception>
#include <utility>

namespace revlane {

bool CommandRun::report(git::CommandResult result) const
{
    const bool ok = result.ok;
    win32::post_owned(owner_, WM_REVLANE_COMMAND_RESULT,
                      std::make_unique<git::CommandResult>(std::move(result)));
    return ok;
}

CommandQueue::CommandQueue(win32::WorkPool& pool, std::shared_ptr<git::Git> git)
    : pool_(pool), git_(std::move(git))
{
}

void CommandQueue::submit(HWND owner, const std::filesystem::path& workdir, Command command)
{
    PostMessageW(owner, WM_SETCURSOR, 0, 0);
    pool_.detach_task([owner, workdir, git = git_, command = std::move(command)] {
        const CommandRun run(owner, workdir, *git);
        try {
            if (!run.was_ended())
                command(run);
        } catch (const std::exception& failure) {
            // A programming error or a lack of memory: the user must see that nothing came of it.
            run.report(git::CommandResult{{}, failure.what(), false});
        }
    });
}

bool CommandQueue::is_busy() const
{
    return pool_.get_tasks_total() > 0;
}

void CommandQueue::cancel()
{
    pool_.purge();
    git_->cancel();
}

}  // namespace revlane
