#include "win32/process_tree.h"

namespace win32 {

KernelHandle make_job(HANDLE process) noexcept
{
    KernelHandle job(CreateJobObjectW(nullptr, nullptr));
    if (job && !AssignProcessToJobObject(job.get(), process))
        job.reset();
    return job;
}

void end_process_tree(HANDLE process, HANDLE job) noexcept
{
    const bool is_running = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    if (is_running && job != nullptr)
        TerminateJobObject(job, 0);
    TerminateProcess(process, 0);
}

}  // namespace win32
