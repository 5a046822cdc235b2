#include "sidebar/status_run.h"

#include "git/commands.h"
#include "resources/ids.h"
#include "sidebar/texts.h"
#include "win32/text.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace revlane {

namespace {

// Shuts a runner context down at the deadline unless it goes out of scope before.
class Deadline {
public:
    Deadline(git::Git& git, std::chrono::milliseconds time)
        : thread_([this, &git, time](const std::stop_token& stop) {
              std::unique_lock lock(mutex_);
              if (wake_.wait_for(lock, stop, time, [] { return false; }) || stop.stop_requested())
                  return;
              git.shutdown();
          })
    {
    }

private:
    std::mutex mutex_;
    std::condition_variable_any wake_;
    std::jthread thread_;
};

}  // namespace

git::CommandResult run_status(const std::filesystem::path& workdir,
                              std::chrono::milliseconds deadline)
{
    git::Git git;
    git::CommandResult result;
    {
        const Deadline guard(git, deadline);
        result = git::status(git::CommandContext{workdir, git});
    }
    if (git.is_shut_down()) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(deadline).count();
        result.output = win32::to_utf8(text_with(IDS_STATUS_TOO_SLOW, seconds));
        result.ok = false;
    }
    return result;
}

}  // namespace revlane
