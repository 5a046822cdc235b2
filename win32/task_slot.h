// One place for background work of one kind on a thread pool that several kinds share.
#pragma once

#include "win32/work_pool.h"

#include <functional>
#include <memory>

namespace win32 {

// Holds at most one waiting task of its kind: submitting drops what still waits, a task that runs
// already is not interrupted. All members may be called from any thread; the tasks run on the pool.
// The slot may be destroyed while a task of it runs: the task's state is shared, and what still
// waits is dropped. A task receives copies and never holds a window object.
class TaskSlot {
public:
    explicit TaskSlot(WorkPool& pool);
    ~TaskSlot();
    TaskSlot(const TaskSlot&) = delete;
    TaskSlot& operator=(const TaskSlot&) = delete;

    // Queues `task` behind all that waits in the pool and drops one of this slot that has not started
    // yet. An exception that leaves the task is dropped: a task reports its failures itself.
    void submit(std::function<void()> task);
    // Drops the task that has not started yet, if any.
    void cancel() noexcept;
    // Whether a task waits or runs.
    [[nodiscard]] bool busy() const noexcept;

private:
    struct State;

    WorkPool& pool_;
    std::shared_ptr<State> state_;
};

}  // namespace win32
