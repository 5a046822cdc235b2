// The commit history window: the commit list, the details and files of the selected commit, the
// branch drop-down and the filter. A modeless dialog owned by the editor's frame window. The object
// is made as the dialog begins and ends itself with the dialog (WM_NCDESTROY); everything runs on
// the window thread but what it queues on its pools.
#pragma once

#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>

namespace revlane {

// What the window shows first.
struct HistoryRequest {
    HWND frame;                           // the editor's frame window, owner of the dialog
    std::filesystem::path repository;     // the working tree
    std::optional<std::string> revision;  // name of the branch to show; nothing: HEAD
};

// Opens the window and shows it where it stood last. Null when the dialog cannot be made. The frame
// destroys it as it closes, with its other modeless dialogs; the user may close it before. F5 and
// Ctrl+F work wherever the focus is in it.
HWND open_history_window(const HistoryRequest& request);

}  // namespace revlane
