// The thin line at the panel's upper edge that moves while a command runs. Window thread.
#pragma once

#include "win32/window.h"

#include <windows.h>

#include <optional>

namespace revlane {

class ProgressLine {
public:
    // Paints `control`, a progress bar, whose own border would leave nothing of so thin a line.
    void attach(HWND control);
    // Where it is shown, in client coordinates of its dialog.
    void place(const RECT& area);
    void show(bool shown) const;

private:
    win32::Handled on_message(const win32::Message& message) const;
    void paint() const;
    void move(UINT flags) const;

    HWND control_ = nullptr;
    RECT area_{};
    std::optional<win32::Subclass> subclass_;
};

}  // namespace revlane
