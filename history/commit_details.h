// The text about one commit, as the history window shows it.
#pragma once

#include "git/handles.h"
#include "history/reference_map.h"

#include <string>

namespace revlane {

// The full message, the id, the author and the date, each from a line of its own, and the names of
// the references at the commit on one line under `heading`, when there are any. A date that cannot
// be shown is empty.
std::wstring commit_details_text(const git_commit* commit, const ReferenceMap& references,
                                 const std::wstring& heading);

}  // namespace revlane
