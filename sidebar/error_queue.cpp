#include "sidebar/error_queue.h"

#include "win32/error_box.h"

#include <algorithm>
#include <utility>

namespace revlane {

ErrorQueue::ErrorQueue() : state_(std::make_shared<State>()) {}

void ErrorQueue::add(HWND window, UINT message, std::wstring text)
{
    std::deque<std::wstring>& waiting = state_->waiting;
    if (std::find(waiting.begin(), waiting.end(), text) != waiting.end())
        return;
    waiting.push_back(std::move(text));
    PostMessageW(window, message, 0, 0);
}

void ErrorQueue::show_waiting(HWND window)
{
    // Shared, so that what follows a box does not depend on this object.
    const std::shared_ptr<State> state = state_;
    if (state->is_showing)
        return;
    state->is_showing = true;
    while (!state->waiting.empty() && IsWindow(window)) {
        const std::wstring text = std::move(state->waiting.front());
        state->waiting.pop_front();
        win32::show_error(window, text);
    }
    state->is_showing = false;
}

}  // namespace revlane
