// The list of the files that differ between two versions of the tree, from which one file after the
// other is compared in the editor.
#pragma once

#include "git/file_change.h"
#include "git/git.h"

#include <windows.h>

#include <string>
#include <vector>

namespace revlane {

struct FilePickerRequest {
    HWND frame;                  // the editor's frame window, which owns the dialog
    git::Repository repository;  // where the versions are read from
    std::wstring title;
    std::vector<git::FileChange> changes;
};

// Opens the modeless dialog 129. It stays open for the next file until it is closed, or until the
// frame closes. Null when the dialog cannot be made. Window thread.
HWND open_file_picker(const FilePickerRequest& request);

}  // namespace revlane
