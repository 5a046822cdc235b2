// The tooltips of a dialog: one window that all of its controls share, and the text for each of them.
// Window thread.
#pragma once

#include "win32/handle.h"

#include <windows.h>

#include <string>

namespace revlane {

// Ends with its dialog or with its owner, whichever comes first.
using TooltipWindow = win32::UniqueHandle<HWND, ::DestroyWindow>;

TooltipWindow make_tooltip_window(HWND dialog);

// What the tooltip window shows over one control.
class Tooltip {
public:
    // `window` shows it as long as it lives. An empty text shows nothing.
    void attach(HWND window, HWND control, const std::wstring& text);
    void set_text(const std::wstring& text);
    // Shows the text over a disabled control too, which gets no mouse messages of its own. To be
    // called again when the control has moved.
    void cover_disabled();

private:
    HWND window_ = nullptr;
    HWND control_ = nullptr;
    std::wstring text_;
    bool covers_disabled_ = false;
};

}  // namespace revlane
