// The question before something is lost.
#pragma once

#include <windows.h>

#include <string>

namespace revlane {

// What the buttons are called in the answer.
inline constexpr int CONFIRMED = 1;
inline constexpr int NOT_CONFIRMED = 2;

struct Question {
    UINT title;                 // string resources: of the box,
    UINT confirm;               // and of the button that confirms
    std::wstring text;          // what is asked, or what more there is to say below the heading
    std::wstring heading = {};  // empty: none
};

// Asks with two buttons, the one that confirms and "Cancel"; the latter is the default, so that Enter
// loses nothing. Returns the pressed button, NOT_CONFIRMED when the question was closed otherwise.
// Pumps messages: any window may be gone when it returns. Window thread.
int ask_to_confirm(HWND owner, const Question& question);

}  // namespace revlane
