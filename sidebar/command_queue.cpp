#include "sidebar/command_queue.h"

#include <utility>

namespace revlane {

CommandQueue::CommandQueue(win32::WorkPool& pool, std::shared_ptr<git::Git> git)
    : pool_(pool), git_(std::move(git))
{
}

void CommandQueue::submit(HWND owner, const std::filesystem::path& workdir, Command command)
{
    submit_command(pool_, owner, workdir, git_,
                   [command = std::move(command)](HWND panel, const git::CommandContext& context) {
                       const CommandRun run(panel, context);
                       if (!run.was_ended())
                           command(run);
                   });
}

bool CommandQueue::is_busy() const
{
    return pool_.get_tasks_total() > 0;
}

void CommandQueue::cancel(HWND owner, UINT ended)
{
    pool_.purge();
    git_->cancel();
    pool_.detach_task([owner, ended] { PostMessageW(owner, ended, 0, 0); });
}

}  // namespace revlane
