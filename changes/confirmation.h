// The question before something is deleted.
#pragma once

#include <windows.h>

#include <string>

namespace revlane {

// What the buttons are called in the answer.
inline constexpr int CONFIRMED = 1;
inline constexpr int NOT_CONFIRMED = 2;

// String resources.
struct ConfirmationTexts {
    UINT title;
    UINT confirm;  // of the button
};

// Asks with two buttons, the one that confirms and "Cancel"; the latter is the default, so that Enter
// does not delete. Returns the pressed button, NOT_CONFIRMED when the question was closed otherwise.
// Pumps messages: any window may be gone when it returns. Window thread.
int ask_to_confirm(HWND owner, const ConfirmationTexts& texts, const std::wstring& question);

}  // namespace revlane
