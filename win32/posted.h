// Posted messages that own their payload: the one place where an owned pointer becomes a message
// parameter and where it is taken back.
#pragma once

#include <windows.h>

#include <memory>

namespace win32 {

// Posts `message` to `window` with the payload as wParam and 0 as lParam. From a posted message on,
// the window owns the payload (it calls take_owned); when the window is null or posting fails, the
// payload is freed here. Any thread. Returns whether the message was posted.
template <typename T>
bool post_owned(HWND window, UINT message, std::unique_ptr<T> payload) noexcept
{
    // Posting to a null window reaches the thread's own queue and "succeeds": nobody would free it.
    if (window == nullptr ||
        !PostMessageW(window, message, reinterpret_cast<WPARAM>(payload.get()), 0))
        return false;
    (void)payload.release();
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the message carries it now.
    return true;
}

// Takes over the payload of a message that was posted by post_owned with the same T. May be null:
// a message without a payload is tolerated by every receiver.
template <typename T>
[[nodiscard]] std::unique_ptr<T> take_owned(WPARAM wparam) noexcept
{
    return std::unique_ptr<T>(reinterpret_cast<T*>(wparam));
}

// Takes the next such message from the queue, if one waits for a window of this thread.
inline bool take_waiting(HWND window, UINT message, MSG& taken) noexcept
{
    // A null window would mean every message of the thread.
    if (window == nullptr ||
        !PeekMessageW(&taken, window, message, message, PM_REMOVE | PM_NOYIELD))
        return false;
    if (taken.message == message)
        return true;
    // WM_QUIT comes whatever is asked for, when nothing else waits. The editor's loop ends by it.
    PostQuitMessage(static_cast<int>(taken.wParam));
    return false;
}

// Drops the messages of this kind, which carry no payload, that still wait in the queue of `window`.
inline void drop_waiting(HWND window, UINT message) noexcept
{
    MSG dropped{};
    while (take_waiting(window, message, dropped)) {
    }
}

// Frees the payloads of `message` that still wait in the queue of `window`. Called on the thread of
// the window as it is destroyed (WM_NCDESTROY), when no task posts to it any more.
template <typename T>
void drain_owned(HWND window, UINT message) noexcept
{
    MSG waiting{};
    while (take_waiting(window, message, waiting))
        (void)take_owned<T>(waiting.wParam);
}

// Whether such a message waits for a window of this thread.
inline bool is_waiting(HWND window, UINT message) noexcept
{
    MSG waiting{};
    return window != nullptr &&
           PeekMessageW(&waiting, window, message, message, PM_NOREMOVE | PM_NOYIELD) &&
           waiting.message == message;
}

}  // namespace win32
