// A process together with all that it starts, so that both end at once.
#pragma once

#include "win32/handle.h"

namespace win32 {

// Puts a process that has just been started into a job of its own, which holds the process, what it
// starts from now on and nothing else. Closing the job ends nobody. Null when Windows has none to
// give, or when the process is in one already that does not allow it.
KernelHandle make_job(HANDLE process) noexcept;

// Ends a process that still runs, and with it all that it has started, with exit code 0. What a
// process that has ended by itself has left behind was meant to stay, and does. Without a job (null)
// only the process itself is ended.
void end_process_tree(HANDLE process, HANDLE job) noexcept;

}  // namespace win32
