// Which references point at which commit, for the details of a commit.
#pragma once

#include "git/error.h"
#include "git/references.h"

#include <git2.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace revlane {

// From commit id to the short names (UTF-8) of what points at it: local branches first, then
// remote-tracking branches, then tags, each kind in the order libgit2 lists it.
using ReferenceMap = std::map<git_oid, std::vector<std::string>, git::OidLess>;

// Reads all references of the repository, on its thread. References that lead to no commit are left
// out. `is_cancelled` (may be empty) is asked at each; once it says true, those so far are returned.
git::Result<ReferenceMap> read_reference_map(git_repository* repository,
                                             const std::function<bool()>& is_cancelled = {});

}  // namespace revlane
