// Reads which references point at which commit in the background: with thousands of tags it takes
// longer than a window may keep its user waiting. Window thread; the history window owns it.
#pragma once

#include "changes/cancellation.h"
#include "win32/task_slot.h"
#include "win32/work_pool.h"

#include <windows.h>

#include <filesystem>
#include <memory>

namespace revlane {

// To the window, with a ReferenceMap that it owns (wParam); behind its messages to itself.
constexpr UINT WM_HISTORY_REFERENCES = WM_APP + 110;

class ReferenceReading {
public:
    explicit ReferenceReading(win32::WorkPool& pool) : slot_(pool) {}
    ~ReferenceReading() { cancel(); }
    ReferenceReading(const ReferenceReading&) = delete;
    ReferenceReading& operator=(const ReferenceReading&) = delete;

    // Reads the references of the working tree's repository, which it opens for itself, and posts
    // WM_HISTORY_REFERENCES to `window`; an empty map when they cannot be read. One that runs is
    // cancelled.
    void start(HWND window, const std::filesystem::path& repository);
    // Ends it, and frees an answer that has been posted meanwhile.
    void cancel();

private:
    HWND window_ = nullptr;
    std::shared_ptr<Cancellation> cancel_;  // of the last reading, null after a cancel
    win32::TaskSlot slot_;
};

}  // namespace revlane
