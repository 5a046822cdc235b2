// What this process holds at a moment: for tests of whether something was left behind.
#pragma once

namespace support {

struct ProcessState {
    unsigned long threads = 0;
    unsigned long handles = 0;        // of the kernel
    unsigned long git_processes = 0;  // that this process has started and that still run
    unsigned long windows = 0;        // of this thread, at the top level
};

ProcessState process_state();

}  // namespace support
