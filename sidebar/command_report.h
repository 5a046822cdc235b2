// What the user gets to read of a git command's result. Pure functions.
#pragma once

#include "git/runner.h"

#include <string>

namespace revlane {

// For the error box: the output, or which command it was where git said nothing. Of a long output only its
// end, since git tells the reason last.
std::wstring failure_text(const git::CommandResult& result);

// For the editor's status bar.
std::wstring status_line(const git::CommandResult& result);

}  // namespace revlane
