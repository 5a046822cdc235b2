// The messages that Revlane's own windows and background tasks post to each other. A payload is a
// heap record in wParam (posted with win32::post_owned, taken with win32::take_owned), lParam is 0.
// A missing payload is tolerated by every receiver.
#pragma once

#include "git/error.h"
#include "git/file_change.h"
#include "git/runner.h"

#include <git2/oid.h>
#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace revlane {

// Frame to a panel: refresh it. No payload.
inline constexpr UINT WM_REVLANE_REFRESH = WM_APP;
// To the history window: select a commit (git_oid), show HEAD (none), show one file's history
// (std::wstring, a repository-relative path).
inline constexpr UINT WM_REVLANE_SELECT_COMMIT = WM_APP + 1;
inline constexpr UINT WM_REVLANE_SHOW_HEAD = WM_APP + 2;
inline constexpr UINT WM_REVLANE_SHOW_FILE_HISTORY = WM_APP + 3;
// ChangesList task to the sidebar: ChangesResult, never one for a repository that the list showed
// before; it goes to ChangesList::update_changes.
inline constexpr UINT WM_REVLANE_CHANGES = WM_APP + 8;
// To the sidebar and the history window: show the repository at this path (std::wstring).
inline constexpr UINT WM_REVLANE_OPEN_REPOSITORY = WM_APP + 9;
// Directory watcher to the sidebar. No payload.
inline constexpr UINT WM_REVLANE_FILES_CHANGED = WM_APP + 10;
// Count task to the commit list: CountResult.
inline constexpr UINT WM_REVLANE_COUNT = WM_APP + 11;
// Commit list to the history window: git_oid; Selection; RevisionPair.
inline constexpr UINT WM_REVLANE_OPEN_COMMIT = WM_APP + 12;
inline constexpr UINT WM_REVLANE_SELECTION = WM_APP + 13;
inline constexpr UINT WM_REVLANE_COMPARE_REVISIONS = WM_APP + 14;
// Branch and commit commands: refresh everything. No payload.
inline constexpr UINT WM_REVLANE_REFRESH_ALL = WM_APP + 15;
// Every git command task, to the window that logs the result: git::CommandResult.
inline constexpr UINT WM_REVLANE_COMMAND_RESULT = WM_APP + 16;
// Filter task to the commit list: FilterResult.
inline constexpr UINT WM_REVLANE_FILTERED = WM_APP + 17;
// A revision name to show: std::string, UTF-8.
inline constexpr UINT WM_REVLANE_SET_REVISION = WM_APP + 18;
// Frame to the sidebar: another document may be active. No payload.
inline constexpr UINT WM_REVLANE_CHECK_DOCUMENT = WM_APP + 19;
// Frame to the sidebar: run the status command. No payload.
inline constexpr UINT WM_REVLANE_STATUS = WM_APP + 20;
// Request to the frame, never posted to a window: open the history window (std::wstring, the
// working-tree path).
inline constexpr UINT REQUEST_SHOW_HISTORY = WM_APP + 21;
// ChangesList task and auto-fetcher to the sidebar, when they end. No payload.
inline constexpr UINT WM_REVLANE_TASK_DONE = WM_APP + 22;
// The sidebar to itself: what HEAD and its upstream are (the record is the sidebar's).
inline constexpr UINT WM_REVLANE_PANEL_STATE = WM_APP + 23;
// Frame to the sidebar: the same as WM_REVLANE_FILES_CHANGED. No payload.
inline constexpr UINT WM_REVLANE_EXTERNAL_REFRESH = WM_APP + 24;
// Frame to the history window: reload references and commits. No payload.
inline constexpr UINT WM_REVLANE_RELOAD_REFERENCES = WM_APP + 25;
// Frame to the history window: come to the front, and do not end after all. No payload.
inline constexpr UINT WM_REVLANE_COME_TO_FRONT = WM_APP + 26;
// A switch of branches that was ended, to the window that it reports to: the user's changes are in a
// stash (std::wstring, what he is to be told). The history window passes it on.
inline constexpr UINT WM_REVLANE_STASH_KEPT = WM_APP + 27;

using ChangesResult = git::Result<std::vector<git::FileChange>>;
using CountResult = git::Result<std::uint32_t>;
using FilterResult = git::Result<std::vector<git_oid>>;

struct Selection {
    git_oid id;
    bool has_value;  // exactly one commit is selected, and it is `id`
};

struct RevisionPair {
    git_oid first;
    git_oid second;
};

}  // namespace revlane
