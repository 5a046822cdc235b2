// Ends one piece of background work from outside, without its answer arriving later.
#pragma once

#include "win32/posted.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

namespace revlane {

// Shared by the window that asked and the task that works. The answer is posted under the lock and
// only while nobody has cancelled, so after cancel() nothing more is posted: what waits in the
// window's queue then is all there is.
class Cancellation {
public:
    // Any thread.
    void cancel()
    {
        const std::lock_guard guard(lock_);
        cancelled_ = true;
    }
    // Any thread; cheap enough for every step of a walk.
    [[nodiscard]] bool is_cancelled() const noexcept { return cancelled_; }

    // The task's last act: posts its answer unless it was cancelled. Frees it otherwise.
    template <typename T>
    void post(HWND window, UINT message, std::unique_ptr<T> answer)
    {
        const std::lock_guard guard(lock_);
        if (!cancelled_)
            win32::post_owned(window, message, std::move(answer));
    }

private:
    std::mutex lock_;
    std::atomic<bool> cancelled_ = false;
};

}  // namespace revlane
