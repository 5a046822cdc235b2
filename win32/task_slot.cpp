#include "win32/task_slot.h"

#include <cstdint>
#include <mutex>
#include <utility>

namespace win32 {

struct TaskSlot::State {
    std::mutex lock;
    std::function<void()> waiting;  // empty when nothing waits
    std::uint64_t number = 0;       // of the task that was submitted last
    int running = 0;
};

TaskSlot::TaskSlot(WorkPool& pool) : pool_(pool), state_(std::make_shared<State>()) {}

TaskSlot::~TaskSlot()
{
    cancel();
}

void TaskSlot::submit(std::function<void()> task)
{
    std::function<void()> dropped;
    std::uint64_t number = 0;
    {
        const std::lock_guard guard(state_->lock);
        dropped = std::exchange(state_->waiting, std::move(task));
        number = ++state_->number;
    }
    // Behind all that waits in the pool, never in the place of the dropped task: whoever submits to
    // two slots counts on the order.
    pool_.detach_task([state = state_, number] {
        std::function<void()> next;
        {
            const std::lock_guard guard(state->lock);
            if (number != state->number)
                return;
            next = std::exchange(state->waiting, nullptr);
            if (!next)
                return;
            ++state->running;
        }
        try {
            next();
        } catch (...) {  // NOLINT(bugprone-empty-catch): a task reports its failures itself
        }
        // What the task captured goes before the slot counts as idle.
        next = nullptr;
        const std::lock_guard guard(state->lock);
        --state->running;
    });
}

void TaskSlot::cancel() noexcept
{
    std::function<void()> dropped;
    const std::lock_guard guard(state_->lock);
    dropped = std::exchange(state_->waiting, nullptr);
}

bool TaskSlot::busy() const noexcept
{
    const std::lock_guard guard(state_->lock);
    return state_->running > 0 || static_cast<bool>(state_->waiting);
}

}  // namespace win32
