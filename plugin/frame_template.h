// The frame layer: one object of the plug-in for each frame window of the editor, and the way from
// the editor's calls to it. Everything runs on the editor's window thread.
#pragma once

#include "plugin/frame_queries.h"
#include "plugin/host/frame_lock.h"
#include "plugin/host/localized.h"
#include "plugin/host/messages.h"

#include <windows.h>

#include <memory>
#include <unordered_map>
#include <utility>

namespace revlane {

// `Derived` is the plug-in's frame class. It is made with the frame window's handle and has
//   void on_event(HWND window, UINT event, LPARAM argument);
//   LRESULT on_query(UINT query, WPARAM wparam, LPARAM lparam);
//   bool is_bar_open() const;
//   void close_panel();       the panel goes, without a word to the editor
//   void end_windows();       the other windows go
//   bool has_windows() const; work of the plug-in's windows may be under way
template <typename Derived>
class CQTLFrame {
public:
    CQTLFrame() = default;
    CQTLFrame(const CQTLFrame&) = delete;
    CQTLFrame& operator=(const CQTLFrame&) = delete;

    // The user has chosen the plug-in's command; `window` is the window that the editor names.
    virtual void OnCommand(HWND window) { static_cast<Derived*>(this)->OnCommand(window); }
    virtual LRESULT on_user_message(WPARAM, LPARAM) { return 0; }
    virtual ~CQTLFrame() = default;

    // The frame that `window` belongs to; null when the editor has announced none.
    static Derived* find(HWND window) { return find_key(GetAncestor(window, GA_ROOTOWNER)); }

    static void dispatch_event(HWND window, UINT flags, LPARAM argument);
    static LRESULT dispatch_query(HWND window, UINT query, WPARAM wparam, LPARAM lparam);
    // The process lets go of the library: frames are freed without being closed.
    static void forget_all() noexcept;

private:
    using Map = std::unordered_map<HWND, std::unique_ptr<Derived>>;

    static Derived* find_key(HWND key);
    static void create(HWND key, HWND window, UINT flags, LPARAM argument);
    static void close(HWND key, HWND window, UINT flags, LPARAM argument);
    static void unload();
    static void forward(HWND key, HWND window, UINT flags, LPARAM argument);

    // Both are used under the frame lock only. The map exists from the loaded event on.
    static inline std::unique_ptr<Map> frames_;
    static inline LPARAM loaded_argument_ = 0;
};

template <typename Derived>
Derived* CQTLFrame<Derived>::find_key(HWND key)
{
    const host::FrameLock lock;
    if (frames_ == nullptr)
        return nullptr;
    const auto found = frames_->find(key);
    return found != frames_->end() ? found->second.get() : nullptr;
}

template <typename Derived>
void CQTLFrame<Derived>::dispatch_event(HWND window, UINT flags, LPARAM argument)
{
    HWND key = nullptr;
    if (flags != host::EVENT_UNLOADING) {
        if (!IsWindow(window))
            return;
        key = GetParent(window);
        if (key == nullptr)
            return;
    }
    if ((flags & host::EVENT_LOADED) != 0) {
        const host::FrameLock lock;
        loaded_argument_ = argument;
        if (frames_ == nullptr)
            frames_ = std::make_unique<Map>();
        return;
    }
    {
        const host::FrameLock lock;
        if (frames_ == nullptr)
            return;
    }
    if ((flags & host::EVENT_FRAME_CREATED) != 0)
        create(key, window, flags, argument);
    else if ((flags & host::EVENT_FRAME_CLOSED) != 0)
        close(key, window, flags, argument);
    else if ((flags & host::EVENT_UNLOADING) != 0)
        unload();
    else
        forward(key, window, flags, argument);
}

template <typename Derived>
void CQTLFrame<Derived>::create(HWND key, HWND window, UINT flags, LPARAM argument)
{
    const host::FrameLock lock;
    frames_->try_emplace(key, std::make_unique<Derived>(key));
    if (host::localized_module() == nullptr)
        host::use_localized_module(host::load_localized_module(key));
    // A message box about a missing library has pumped messages: the frame may be closed by now.
    if (Derived* frame = find_key(key))
        frame->on_event(window, flags, argument);
}

template <typename Derived>
void CQTLFrame<Derived>::close(HWND key, HWND window, UINT flags, LPARAM argument)
{
    // Windows wait for their work as they go, and work that loads a text takes the lock.
    if (Derived* frame = find_key(key))
        frame->end_windows();
    std::unique_ptr<Derived> closed;
    {
        const host::FrameLock lock;
        const auto found = frames_->find(key);
        if (found == frames_->end())
            return;
        found->second->on_event(window, flags, argument);
        closed = std::move(found->second);
        frames_->erase(found);
        if (frames_->empty())
            host::free_localized_modules();
    }
    if (closed->is_bar_open())
        closed->close_panel();
}

template <typename Derived>
void CQTLFrame<Derived>::unload()
{
    // As in close. The map is changed by this thread only.
    for (const auto& [key, frame] : *frames_)
        frame->end_windows();
    std::unique_ptr<Map> frames;
    {
        const host::FrameLock lock;
        for (const auto& [key, frame] : *frames_)
            frame->on_event(nullptr, host::EVENT_FRAME_CLOSED, 0);
        frames = std::exchange(frames_, nullptr);
        loaded_argument_ = 0;
        host::free_localized_modules();
    }
}

template <typename Derived>
void CQTLFrame<Derived>::forward(HWND key, HWND window, UINT flags, LPARAM argument)
{
    if (find_key(key) == nullptr)
        return;
    if ((flags & host::EVENT_LANGUAGE_CHANGED) != 0 && (argument & 1) != 0) {
        const host::FrameLock lock;
        if (host::localized_module() != nullptr)
            host::use_localized_module(host::load_localized_module(key));
    }
    // As in create: loading may have pumped messages.
    if (Derived* frame = find_key(key))
        frame->on_event(window, flags, argument);
}

template <typename Derived>
LRESULT CQTLFrame<Derived>::dispatch_query(HWND window, UINT query, WPARAM wparam, LPARAM lparam)
{
    const HWND key = GetAncestor(window, GA_ROOTOWNER);
    if (const std::optional<LRESULT> answer = answer_without_frame(key, query, wparam, lparam))
        return *answer;
    if (query < host::QUERY_FIRST || query > host::QUERY_LAST)
        return 0;
    Derived* frame = find_key(key);
    // Whoever sends a request hands its payload over, even when there is no frame to take it.
    if (query == host::QUERY_REQUEST)
        return Derived::on_request(frame, wparam, lparam);
    return frame != nullptr ? frame->on_query(query, wparam, lparam) : 0;
}

template <typename Derived>
void CQTLFrame<Derived>::forget_all() noexcept
{
    std::unique_ptr<Map> frames;
    {
        const host::FrameLock lock;
        frames = std::exchange(frames_, nullptr);
    }
    if (frames == nullptr)
        return;
    // Windows holds its loader lock now, so no thread may be waited for: a frame with work of its own
    // is left to the end of the process.
    for (auto& [key, frame] : *frames)
        if (frame->has_windows())
            (void)frame.release();
}

}  // namespace revlane
