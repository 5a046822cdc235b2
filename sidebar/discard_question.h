// The question before changes are thrown away.
#pragma once

#include "git/file_change.h"

#include <windows.h>

#include <string>
#include <vector>

namespace revlane {

// What the question says about these changes; they are not empty.
struct DiscardTexts {
    std::wstring question;
    std::wstring loss;
};
DiscardTexts discard_texts(const std::vector<git::FileChange>& changes);

// Asks whether the changes shall be lost; "Cancel" is the default. Pumps messages: any window may be
// gone when it returns. Window thread.
bool ask_to_discard(HWND owner, const std::vector<git::FileChange>& changes);

}  // namespace revlane
