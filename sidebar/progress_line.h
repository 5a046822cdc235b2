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
    void show(bool shown) const;

private:
    win32::Handled on_message(const win32::Message& message) const;
    void paint() const;

    HWND control_ = nullptr;
    std::optional<win32::Subclass> subclass_;
};

}  // namespace revlane
