// A thread pool of one thread, which is made when there is first something for it to do: most windows
// come and go without needing all of theirs.
#pragma once

#include "win32/thread_pool.h"

#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <utility>

namespace win32 {

// All members but the destructor may be called from any thread. The destructor waits for everything
// that was submitted.
class WorkPool {
public:
    // Runs `task` behind all that waits. It must not throw.
    template <typename Task>
    void detach_task(Task&& task)
    {
        started().detach_task(std::forward<Task>(task));
    }
    // Drops every task that has not started yet.
    void purge()
    {
        if (BS::thread_pool<>* const pool = existing())
            pool->purge();
    }
    // Waits until nothing waits or runs any more; whether that was so within `duration`.
    template <typename Rep, typename Period>
    bool wait_for(const std::chrono::duration<Rep, Period>& duration)
    {
        BS::thread_pool<>* const pool = existing();
        return pool == nullptr || pool->wait_for(duration);
    }
    void wait()
    {
        if (BS::thread_pool<>* const pool = existing())
            pool->wait();
    }
    // Tasks that wait or run.
    [[nodiscard]] std::size_t get_tasks_total() const
    {
        const BS::thread_pool<>* const pool = existing();
        return pool != nullptr ? pool->get_tasks_total() : 0;
    }
    [[nodiscard]] std::size_t get_tasks_queued() const
    {
        const BS::thread_pool<>* const pool = existing();
        return pool != nullptr ? pool->get_tasks_queued() : 0;
    }

private:
    BS::thread_pool<>& started()
    {
        const std::lock_guard guard(lock_);
        return pool_ ? *pool_ : pool_.emplace(1);
    }
    // Once made, the pool stays where it is until the end.
    BS::thread_pool<>* existing()
    {
        const std::lock_guard guard(lock_);
        return pool_ ? &*pool_ : nullptr;
    }
    [[nodiscard]] const BS::thread_pool<>* existing() const
    {
        const std::lock_guard guard(lock_);
        return pool_ ? &*pool_ : nullptr;
    }

    mutable std::mutex lock_;
    std::optional<BS::thread_pool<>> pool_;
};

}  // namespace win32
