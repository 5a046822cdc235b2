// A tooltip of one control of a dialog. Window thread.
#pragma once

#include "win32/handle.h"

#include <windows.h>

#include <string>

namespace revlane {

class Tooltip {
public:
    // The tooltip goes with the dialog or with this object, whichever comes first. An empty text
    // shows nothing.
    void attach(HWND dialog, HWND control, const std::wstring& text);
    void set_text(const std::wstring& text);
    // Shows the text over a disabled control too, which gets no mouse messages of its own. To be
    // called again when the control has moved.
    void cover_disabled();

    [[nodiscard]] HWND window() const noexcept { return window_.get(); }

private:
    using Window = win32::UniqueHandle<HWND, ::DestroyWindow>;

    HWND dialog_ = nullptr;
    HWND control_ = nullptr;
    std::wstring text_;
    bool covers_disabled_ = false;
    Window window_;
};

}  // namespace revlane
