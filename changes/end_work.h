// How an owner of thread pools ends all work of them as it goes.
#pragma once

#include "git/git.h"
#include "win32/work_pool.h"

#include <chrono>
#include <initializer_list>

namespace revlane {

// Drops what waits in the pools, shuts `git` down and waits until the tasks that still run have
// returned; nothing that was queued runs any more. A read that begins just after a shutdown is not
// ended by it, hence the shutdown is repeated until the pools are idle. Called by the owner of the
// pools on its own thread, in its destructor; tasks end within milliseconds once git is shut down.
inline void end_work(git::Git& git, std::initializer_list<win32::WorkPool*> pools)
{
    constexpr auto interval = std::chrono::milliseconds(5);
    for (win32::WorkPool* pool : pools)
        pool->purge();
    for (win32::WorkPool* pool : pools) {
        do
            git.shutdown();
        while (!pool->wait_for(interval));
    }
}

}  // namespace revlane
