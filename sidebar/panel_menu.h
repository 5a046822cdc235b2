// The menu of the panel's menu button.
#pragma once

#include <windows.h>

namespace revlane {

struct PanelMenuState {
    bool has_repository = false;
    bool has_remote = false;
    bool is_busy = false;  // a command runs that can be cancelled
    bool auto_fetch = false;
};

// Shows the menu below `button`; the chosen command arrives at `owner` as WM_COMMAND. Pumps messages:
// any window may be gone when it returns. Window thread.
void show_panel_menu(HWND owner, HWND button, const PanelMenuState& state);

}  // namespace revlane
