// The one process-wide lock of the plug-in frame. It guards the map of frames and the handle of the
// localized library, which background threads read whenever they load a text.
#pragma once

namespace host {

// Holds the frame lock for its lifetime. The lock is recursive, since events and queries of the
// editor re-enter. It is never held while a resource is loaded, except as a frame is created and as
// the language changes.
class FrameLock {
public:
    FrameLock() noexcept;
    ~FrameLock();
    FrameLock(const FrameLock&) = delete;
    FrameLock& operator=(const FrameLock&) = delete;
};

}  // namespace host
