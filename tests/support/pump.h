// Waiting for something that window messages bring about.
#pragma once

#include <windows.h>

#include <chrono>
#include <functional>

namespace support {

// Long enough for a slow machine under load: a test that passes never waits as long.
inline constexpr std::chrono::milliseconds pump_deadline = std::chrono::seconds(20);

// The longest stop of the window thread that passes. A user notices 100 ms, but the tests run on machines
// that are busy with other things too: whoever waits for git here waits for minutes, and an algorithm of
// the wrong kind takes many seconds.
inline constexpr std::chrono::milliseconds stop_limit = std::chrono::seconds(2);

// What is done with each message.
using Dispatch = std::function<void(MSG&)>;
// Translates a key and sends the message to its window.
void dispatch_plainly(MSG& message);

// Dispatches the messages of this thread until the condition holds, which is asked before the first
// message and after each, and returns whether it held before the deadline.
bool pump_until(const std::function<bool()>& condition,
                std::chrono::milliseconds deadline = pump_deadline,
                const Dispatch& dispatch = dispatch_plainly);

// Dispatches the messages that wait in this thread's queue now, and those that they lead to.
void pump_waiting(const Dispatch& dispatch = dispatch_plainly);

}  // namespace support
