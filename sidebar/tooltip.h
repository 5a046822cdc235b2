// The tooltips of a dialog: one window that all of its controls share, and the text for each of them.
// Window thread.
#pragma once

#include "win32/handle.h"
#include "win32/window.h"

#include <windows.h>

#include <string>

namespace revlane {

// Ends with its dialog or with its owner, whichever comes first.
using TooltipWindow = win32::UniqueHandle<HWND, ::DestroyWindow>;

TooltipWindow make_tooltip_window(HWND dialog);

// Tells the tooltip window of a mouse message to its dialog, where the pointer may be over a disabled
// control. The tooltip window would find out by itself if it took a subclass of the dialog; that is
// left out since the common controls look properties of the dialog up for it with each message, also
// with each row of a list that is filled.
void relay_to_tooltips(HWND window, const win32::Message& message);

// What the tooltip window shows over one control.
class Tooltip {
public:
    // From now on `window` shows the text over `control`, as long as it lives. A text may have been
    // set before; an empty one shows nothing.
    void attach(HWND window, HWND control);
    void set_text(const std::wstring& text);
    // Shows the text over a disabled control too, whose mouse messages go to the dialog: see
    // relay_to_tooltips. To be called when it is attached and again when the control has moved.
    void cover_disabled();

private:
    HWND window_ = nullptr;
    HWND control_ = nullptr;
    std::wstring text_;
    bool covers_disabled_ = false;
};

}  // namespace revlane
