// The question before something is deleted.
#pragma once

#include <windows.h>

#include <string>

namespace revlane {

// What the buttons are called in the answer.
inline constexpr int CONFIRMED = 1;
inline constexpr int NOT_CONFIRMED = 2;

// Asks with two buttons, `confirm_text` (a string resource) and "Cancel"; the latter is the default,
// so that Enter does not delete. Returns the pressed button, NOT_CONFIRMED when the question was
// closed otherwise. Pumps messages: any window may be gone when it returns. Window thread.
int ask_to_confirm(HWND owner, const std::wstring& question, UINT confirm_text);

}  // namespace revlane
