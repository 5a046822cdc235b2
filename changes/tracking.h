// Where the local branches stand against their upstreams.
#pragma once

#include "git/references.h"

#include <git2.h>

#include <functional>
#include <map>
#include <string>

namespace revlane {

// From the full name of a local branch to where it stands against its upstream.
using TrackingMap = std::map<std::string, git::AheadBehind, std::less<>>;

// Reads the tracking of every local branch that has an upstream. Counting walks the history where the
// two have parted, so this runs on a background thread (that of the repository) where there may be
// many branches; `is_cancelled` (may be empty) is asked before each, and what is still to be counted
// then is left out.
TrackingMap read_tracking(git_repository* repository,
                          const std::function<bool()>& is_cancelled = {});

}  // namespace revlane
