// The git commands that the user starts from the panel, one at a time, in the order given.
#pragma once

#include "changes/command_task.h"
#include "git/commands.h"
#include "git/git.h"
#include "win32/work_pool.h"

#include <windows.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <utility>

namespace revlane {

// What a running command works with. On the thread of the pool; holds no window object.
class CommandRun {
public:
    CommandRun(HWND owner, const git::CommandContext& given)
        : context(given), owner_(owner), whole_(given.git)
    {
    }

    // Where git runs.
    const git::CommandContext& context;

    // Whether the user or the end of the panel stopped the command; its next step must not run.
    [[nodiscard]] bool was_ended() const noexcept { return whole_.was_ended(); }
    [[nodiscard]] HWND owner() const noexcept { return owner_; }
    // Posts WM_REVLANE_COMMAND_RESULT to the panel. Returns whether the result is ok.
    bool report(git::CommandResult result) const { return post_result(owner_, std::move(result)); }

private:
    HWND owner_;
    git::Git::Run whole_;
};

// Window thread. Shares its pool with the commands of the branch controls, which count as commands
// of the user too.
class CommandQueue {
public:
    using Command = std::function<void(const CommandRun&)>;

    CommandQueue(win32::WorkPool& pool, std::shared_ptr<git::Git> git);

    // `owner` receives the results and at once a WM_SETCURSOR without parameters.
    void submit(HWND owner, const std::filesystem::path& workdir, Command command);
    // Whether a command waits or runs.
    [[nodiscard]] bool is_busy() const;
    // Drops the commands that wait and ends the one that runs. `owner` receives `ended` behind all that it
    // still reports, and before what is queued from now on.
    void cancel(HWND owner, UINT ended);

private:
    win32::WorkPool& pool_;
    std::shared_ptr<git::Git> git_;
};

}  // namespace revlane
