// The texts of a changed file in a list. Any thread.
#pragma once

#include "git/file_change.h"

#include <string>

namespace revlane {

// What a row shows after the path: empty for a modified file, else the status in parentheses after a
// space. Throws std::runtime_error "invalid status" for a value that is no ChangeStatus.
std::wstring status_label(git::ChangeStatus status);

// The new path and the status label.
std::wstring row_text(const git::FileChange& change);

}  // namespace revlane
