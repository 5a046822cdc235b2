// Watches the window thread while it does what a user has asked for.
#pragma once

#include "tests/support/editor_driver.h"

#include <windows.h>

#include <chrono>
#include <functional>

namespace bench {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// What one request has led to.
struct Observation {
    Milliseconds time{};          // from the request until the condition held
    Milliseconds longest_stop{};  // the longest time for which the window answered nothing
    std::size_t memory = 0;       // the most that the process held meanwhile, in bytes
};

// Memory of this process that lies in the machine's own.
std::size_t memory_in_use();

class Watch {
public:
    explicit Watch(support::EditorDriver& driver) : driver_(driver) {}

    // Makes the request and dispatches messages until the condition holds, which is asked after
    // each message. Throws std::runtime_error when it takes minutes.
    Observation observe(const std::function<void()>& request,
                        const std::function<bool()>& condition);
    // The same from a request that was made at `start`.
    Observation observe_from(Clock::time_point start, const std::function<bool()>& condition);
    // The same, until a message with this number has been dispatched.
    Observation observe_message(const std::function<void()>& request, UINT message);
    // Lets everything end that the last request has led to.
    void settle();

private:
    // Dispatches one message if there is one. Whether there was.
    bool step();
    void sample_memory();

    support::EditorDriver& driver_;
    Observation observed_;
    Clock::time_point sampled_;
    UINT last_message_ = WM_NULL;
};

}  // namespace bench
