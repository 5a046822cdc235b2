// Watches the working tree that the panel shows and tells the panel's window when files change.
// Owns one background thread; its only contact with the panel is a posted message.
#pragma once

#include "win32/handle.h"
#include "win32/work_pool.h"

#include <windows.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace revlane {

// The file name of the first record in a buffer of ReadDirectoryChangesW, relative to the watched
// directory. Empty when the buffer holds none (Windows leaves it alone when more changed than fits).
std::wstring first_changed_name(std::span<const std::byte> buffer);

// Whether a name relative to the working tree lies inside the repository's own directory.
bool is_inside_git_directory(std::wstring_view name) noexcept;

// Lets at most one report through in 500 ms, counted from its making and from each report. What
// comes sooner is dropped, not deferred.
class ReportThrottle {
public:
    using Clock = std::chrono::steady_clock;

    explicit ReportThrottle(Clock::time_point now) noexcept : last_report_(now) {}

    [[nodiscard]] bool drops(Clock::time_point now) const noexcept;
    void reported(Clock::time_point now) noexcept { last_report_ = now; }

private:
    Clock::time_point last_report_;
};

class DirectoryWatcher {
public:
    DirectoryWatcher();
    // Ends the watch and joins the thread.
    ~DirectoryWatcher();
    DirectoryWatcher(const DirectoryWatcher&) = delete;
    DirectoryWatcher& operator=(const DirectoryWatcher&) = delete;

    // Watches `directory` from now on, in place of the one watched before, and posts
    // WM_REVLANE_FILES_CHANGED to `window` (null: only the debug output is written). Returns at once.
    // A directory that cannot be watched is not reported. Window thread.
    void run(HWND window, std::filesystem::path directory);

    // Ends the watch without starting another. Returns at once.
    void stop() noexcept;

private:
    // Shared by the watcher and the loop, so that the event is never closed under a wait.
    using StopEvent = std::shared_ptr<win32::KernelHandle>;

    static void watch(HWND window, const std::filesystem::path& directory, const StopEvent& stop);

    StopEvent stop_;
    win32::WorkPool pool_;
};

}  // namespace revlane
