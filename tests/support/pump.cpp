#include "tests/support/pump.h"

namespace support {

namespace {

// Conditions that no message announces (a thread that ends, a file that appears) are asked this
// often.
constexpr DWORD polling_interval_ms = 10;

// Dispatches one waiting message. A request to quit stays in the queue for whoever it is meant for.
bool dispatch_one(const Dispatch& dispatch)
{
    MSG message{};
    if (!PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        return false;
    if (message.message == WM_QUIT) {
        PostQuitMessage(static_cast<int>(message.wParam));
        return false;
    }
    dispatch(message);
    return true;
}

}  // namespace

void dispatch_plainly(MSG& message)
{
    TranslateMessage(&message);
    DispatchMessageW(&message);
}

bool pump_until(const std::function<bool()>& condition, std::chrono::milliseconds deadline,
                const Dispatch& dispatch)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        if (!dispatch_one(dispatch))
            MsgWaitForMultipleObjectsEx(0, nullptr, polling_interval_ms, QS_ALLINPUT,
                                        MWMO_INPUTAVAILABLE);
    }
    return true;
}

void pump_waiting(const Dispatch& dispatch)
{
    while (dispatch_one(dispatch)) {
    }
}

}  // namespace support
