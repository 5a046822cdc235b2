#include "sidebar/auto_fetcher.h"

#include "changes/end_work.h"
#include "changes/messages.h"
#include "git/commands.h"

#include <utility>

namespace revlane {

namespace {

// `now` plus the interval, or the clock's greatest value where that would overflow.
AutoFetcher::Clock::time_point next_deadline(AutoFetcher::Clock::time_point now)
{
    constexpr auto last = AutoFetcher::Clock::time_point::max();
    return now > last - AutoFetcher::INTERVAL ? last : now + AutoFetcher::INTERVAL;
}

}  // namespace

AutoFetcher::Context::Context(std::function<Clock::time_point()> now) : now_(std::move(now)) {}

void AutoFetcher::Context::set_repository(std::optional<std::filesystem::path> path)
{
    const std::lock_guard guard(mutex_);
    path_ = std::move(path);
}

std::optional<AutoFetcher::Clock::time_point> AutoFetcher::Context::fetching_since() const
{
    const std::lock_guard guard(mutex_);
    return fetching_since_;
}

void AutoFetcher::Context::clock_changed()
{
    // Taking the mutex once makes sure that the loop either waits already or has not looked yet.
    {
        const std::lock_guard guard(mutex_);
    }
    wake_.notify_all();
}

AutoFetcher::AutoFetcher(std::shared_ptr<git::Git> registry, std::shared_ptr<Context> context)
    : registry_(std::move(registry)), context_(std::move(context))
{
}

AutoFetcher::~AutoFetcher()
{
    stop();
    end_work(*registry_, {&pool_});
}

void AutoFetcher::run(HWND window)
{
    stop();
    pool_.purge();
    std::uint64_t generation = 0;
    {
        const std::lock_guard guard(context_->mutex_);
        generation = ++context_->generation_;
    }
    pool_.detach_task([window, registry = registry_, context = context_, generation] {
        loop(window, *registry, *context, generation);
    });
}

void AutoFetcher::stop()
{
    {
        const std::lock_guard guard(context_->mutex_);
        context_->stop_ = true;
        ++context_->generation_;
    }
    context_->wake_.notify_all();
}

void AutoFetcher::cancel() noexcept
{
    registry_->cancel();
}

void AutoFetcher::loop(HWND window, git::Git& registry, Context& context, std::uint64_t generation)
{
    std::unique_lock lock(context.mutex_);
    // A stop between submitting this task and its start stays in force.
    if (context.generation_ != generation)
        return;
    context.stop_ = false;
    while (true) {
        const std::optional<std::filesystem::path> path = context.path_;
        if (path) {
            context.fetching_since_ = context.now_();
            lock.unlock();
            (void)git::fetch(git::CommandContext{*path, registry});
            lock.lock();
            context.fetching_since_.reset();
        }
        // Set before the window is told: the interval begins with the answer.
        const Clock::time_point deadline = next_deadline(context.now_());
        if (path && window != nullptr)
            PostMessageW(window, WM_REVLANE_TASK_DONE, 0, 0);
        for (auto now = context.now_(); !context.stop_ && now < deadline; now = context.now_())
            context.wake_.wait_for(lock, deadline - now);
        if (context.stop_)
            return;
    }
}

}  // namespace revlane
