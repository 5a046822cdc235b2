// The dialog that asks for the name of a new branch.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace revlane {

// The name, one that git accepts; nothing when the dialog was cancelled. Pumps messages: any window
// may be gone when it returns. Window thread.
std::optional<std::wstring> ask_branch_name(HWND owner);

}  // namespace revlane
