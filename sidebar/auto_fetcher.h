// Fetches the panel's repository in the background, at once and then every three minutes. Owns one
// background thread; its only contact with the panel is a posted message.
#pragma once

#include "git/git.h"
#include "win32/work_pool.h"

#include <windows.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace revlane {

class AutoFetcher {
public:
    using Clock = std::chrono::steady_clock;

    // From the end of one fetch to the start of the next.
    static constexpr std::chrono::seconds INTERVAL{180};

    // Shared by the panel and the running loop. All members may be called from any thread.
    class Context {
    public:
        // `now` stands in for the steady clock, so that a test need not wait for minutes.
        explicit Context(std::function<Clock::time_point()> now = Clock::now);

        // The working tree that is fetched from now on; nothing: fetching pauses.
        void set_repository(std::optional<std::filesystem::path> path);
        // Since when a fetch has been running; nothing while none runs.
        [[nodiscard]] std::optional<Clock::time_point> fetching_since() const;
        // Makes a waiting loop look at the clock again, after a test has moved it.
        void clock_changed();

    private:
        friend class AutoFetcher;

        mutable std::mutex mutex_;
        std::condition_variable wake_;
        std::optional<std::filesystem::path> path_;
        bool stop_ = false;
        // Advanced by each run and stop: a task that starts late knows whether it is still wanted.
        std::uint64_t generation_ = 0;
        std::optional<Clock::time_point> fetching_since_;
        std::function<Clock::time_point()> now_;
    };

    // `registry` is the fetcher's own: destroying the fetcher shuts it down.
    AutoFetcher(std::shared_ptr<git::Git> registry, std::shared_ptr<Context> context);
    // Ends a fetch in progress and joins the thread.
    ~AutoFetcher();
    AutoFetcher(const AutoFetcher&) = delete;
    AutoFetcher& operator=(const AutoFetcher&) = delete;

    // Starts the loop anew; WM_REVLANE_TASK_DONE is posted to `window` (may be null) after each
    // fetch, failed or not. Returns at once.
    void run(HWND window);
    // Ends the loop at its next wait; a fetch in progress finishes. Returns at once.
    void stop();
    // Ends a fetch in progress; the loop goes on.
    void cancel() noexcept;

private:
    static void loop(HWND window, git::Git& registry, Context& context, std::uint64_t generation);

    std::shared_ptr<git::Git> registry_;
    std::shared_ptr<Context> context_;
    win32::WorkPool pool_;
};

}  // namespace revlane
