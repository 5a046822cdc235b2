#include "plugin/host/frame_lock.h"

#include <windows.h>

namespace host {

namespace {

// Begun before and ended after DllMain runs: the run-time library does both.
class CriticalSection {
public:
    CriticalSection() noexcept { InitializeCriticalSection(&section_); }
    ~CriticalSection() { DeleteCriticalSection(&section_); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void enter() noexcept { EnterCriticalSection(&section_); }
    void leave() noexcept { LeaveCriticalSection(&section_); }

private:
    CRITICAL_SECTION section_{};
};

CriticalSection frame_lock;

}  // namespace

FrameLock::FrameLock() noexcept
{
    frame_lock.enter();
}

FrameLock::~FrameLock()
{
    frame_lock.leave();
}

}  // namespace host
