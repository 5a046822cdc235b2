#include "changes/command_task.h"

#include "changes/messages.h"
#include "win32/posted.h"

#include <exception>
#include <utility>

namespace revlane {

bool post_result(HWND owner, git::CommandResult result)
{
    const bool ok = result.ok;
    win32::post_owned(owner, WM_REVLANE_COMMAND_RESULT,
                      std::make_unique<git::CommandResult>(std::move(result)));
    return ok;
}

void submit_command(win32::WorkPool& pool, HWND owner, std::filesystem::path workdir,
                    std::shared_ptr<git::Git> git, CommandTask task)
{
    PostMessageW(owner, WM_SETCURSOR, 0, 0);
    pool.detach_task(
        [owner, workdir = std::move(workdir), git = std::move(git), task = std::move(task)] {
            try {
                task(owner, git::CommandContext{workdir, *git});
            } catch (const std::exception& failure) {
                // A programming error or a lack of memory: the user must see that nothing came of it.
                post_result(owner, {{}, failure.what(), false});
            }
        });
}

}  // namespace revlane
