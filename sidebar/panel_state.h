// What the panel shows of HEAD and its upstream. Read on a background thread, posted to the panel.
#pragma once

#include "changes/branches_list.h"
#include "git/references.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace revlane {

struct PanelState {
    enum class Head {
        Missing,   // HEAD cannot be read
        Unborn,    // a branch without a commit
        Detached,  // at a commit
        Branch,
    };

    Head head = Head::Missing;
    std::wstring head_name;                  // as it is shown; empty when HEAD is missing
    std::optional<std::wstring> upstream;    // its short name
    std::optional<git::AheadBehind> counts;  // against the upstream
    bool has_remote = false;
    TrackingMap tracking;  // of all local branches
    // Which repository this is about, as the panel numbered it when it asked.
    std::uint64_t repository_number = 0;
};

// Opens the repository at a working tree and reads it. A repository that cannot be opened any more
// gives a state without HEAD. `is_cancelled` is asked between the branches: once it says true, what
// is still to be counted is left out.
PanelState read_panel_state(const std::filesystem::path& workdir,
                            const std::function<bool()>& is_cancelled);

// What the pull and push buttons show of a state.
struct RemoteButtons {
    bool can_pull = false;
    bool can_push = false;
    bool publishes = false;      // pushing makes the upstream
    std::size_t pull_count = 0;  // 0: no number is shown
    std::size_t push_count = 0;
};

RemoteButtons remote_buttons(const PanelState& state);

}  // namespace revlane
