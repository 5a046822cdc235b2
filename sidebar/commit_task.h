// Committing, as one task of the panel's queue.
#pragma once

#include "sidebar/command_queue.h"

#include <windows.h>

#include <cstddef>
#include <string>

namespace revlane {

// What is committed: with the last one everything when nothing is staged.
enum class CommitScope { Staged, Everything, StagedElseEverything };

// The greatest length that git can be handed; one character may count as several.
std::size_t max_message_length() noexcept;
bool is_too_long(const std::wstring& message);

// Where everything is committed, stages every change of the working tree first. What is staged is read
// as the task runs, behind what was chosen before. Posts the results to the panel, then `committed` with the message (std::wstring) when the commit was made, or `refused` with a
// text (std::wstring) when there is nothing to commit. On the thread of the pool.
void commit_changes(const CommandRun& run, const std::wstring& message, CommitScope scope,
                    UINT committed, UINT refused);

}  // namespace revlane
