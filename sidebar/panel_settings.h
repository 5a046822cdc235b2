// How the user has arranged the panel, kept in the plug-in's settings. Window thread.
#pragma once

#include "sidebar/sidebar_layout.h"

#include <windows.h>

namespace revlane {

// Further settings of the plug-in, all numbers: the shares of the lists in thousandths, and whether
// the branches are folded (1) or not (0).
inline constexpr wchar_t SETTING_STAGED_HEIGHT[] = L"StagedHeight";
inline constexpr wchar_t SETTING_BRANCHES_HEIGHT[] = L"BranchesHeight";
inline constexpr wchar_t SETTING_BRANCHES_FOLDED[] = L"BranchesFolded";

struct PanelArrangement {
    ListShares shares;
    bool branches_folded = false;
};

// What is not set is as it is at first.
PanelArrangement read_arrangement(HWND frame);
void write_arrangement(HWND frame, const PanelArrangement& arrangement);

}  // namespace revlane
