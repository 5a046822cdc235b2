// Error boxes of the panel, one at a time and never from within other work. Window thread.
#pragma once

#include <windows.h>

#include <deque>
#include <memory>
#include <string>

namespace revlane {

class ErrorQueue {
public:
    ErrorQueue();

    // Shows the text once the messages that wait have been handled: `window` gets `message`, whose
    // handler calls show_waiting. A text that waits already is not shown twice.
    void add(HWND window, UINT message, std::wstring text);
    // Shows what waits, one box after the other. Pumps messages: the panel, and with it this object,
    // may be gone when it returns.
    void show_waiting(HWND window);

private:
    struct State {
        std::deque<std::wstring> waiting;
        bool is_showing = false;
    };

    std::shared_ptr<State> state_;
};

}  // namespace revlane
