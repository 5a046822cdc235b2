#include "sidebar/status_run.h"

#include "changes/texts.h"
#include "git/commands.h"
#include "resources/ids.h"
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
        : thread_([this, &git, time] {
              std::unique_lock lock(mutex_);
              if (!wake_.wait_for(lock, time, [this] { return is_over_; }))
                  git.shutdown();
          })
    {
    }
    ~Deadline()
    {
        {
            const std::lock_guard guard(mutex_);
            is_over_ = true;
        }
        wake_.notify_all();
        thread_.join();
    }
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;

private:
    std::mutex mutex_;
    std::condition_variable wake_;
    bool is_over_ = false;
    std::thread thread_;  // last: it uses the others at once
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
