#include "tests/bench/watch.h"

#include <psapi.h>

#include <algorithm>
#include <stdexcept>

namespace bench {

namespace {

using namespace std::chrono_literals;

constexpr auto LONGEST_WAIT = 2min;
// What no message announces is looked for this often; nearly everything is announced by one. Looking more
// often keeps Wine's server and a processor busy, which the git under way then waits for.
constexpr DWORD POLLING_INTERVAL_MS = 20;
constexpr auto SAMPLING_INTERVAL = 10ms;
// The panel looks at the files once more 700 ms after it has seen a change.
constexpr auto SETTLING_TIME = 1s;

}  // namespace

std::size_t memory_in_use()
{
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.WorkingSetSize;
}

Observation Watch::observe(const std::function<void()>& request,
                           const std::function<bool()>& condition)
{
    driver_.pump();
    const Clock::time_point start = Clock::now();
    request();
    // A request that is carried out at once has already stopped the thread.
    const Milliseconds request_time = Clock::now() - start;
    Observation observed = observe_from(start, condition);
    observed.longest_stop = std::max(observed.longest_stop, request_time);
    return observed;
}

Observation Watch::observe_from(Clock::time_point start, const std::function<bool()>& condition)
{
    observed_ = {};
    while (!condition()) {
        if (Clock::now() - start > LONGEST_WAIT)
            throw std::runtime_error("a request was not answered for minutes");
        if (!step())
            MsgWaitForMultipleObjectsEx(0, nullptr, POLLING_INTERVAL_MS, QS_ALLINPUT,
                                        MWMO_INPUTAVAILABLE);
        sample_memory();
    }
    observed_.time = Clock::now() - start;
    return observed_;
}

Observation Watch::observe_message(const std::function<void()>& request, UINT message)
{
    last_message_ = WM_NULL;
    return observe(request, [this, message] { return last_message_ == message; });
}

void Watch::settle()
{
    const Clock::time_point end = Clock::now() + SETTLING_TIME;
    while (Clock::now() < end) {
        if (!step())
            MsgWaitForMultipleObjectsEx(0, nullptr, POLLING_INTERVAL_MS, QS_ALLINPUT,
                                        MWMO_INPUTAVAILABLE);
    }
}

bool Watch::step()
{
    // Messages that other threads send are answered while the thread looks for posted ones.
    const Clock::time_point start = Clock::now();
    MSG message{};
    const bool found = PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;
    if (found) {
        driver_.editor().dispatch(message);
        last_message_ = message.message;
    }
    observed_.longest_stop = std::max<Milliseconds>(observed_.longest_stop, Clock::now() - start);
    return found;
}

void Watch::sample_memory()
{
    const Clock::time_point now = Clock::now();
    if (now - sampled_ < SAMPLING_INTERVAL)
        return;
    sampled_ = now;
    observed_.memory = std::max(observed_.memory, memory_in_use());
}

}  // namespace bench
