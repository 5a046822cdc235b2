// Brings the controls of a dialog to where a layout wants them. Window thread; lives with the dialog.
#pragma once

#include <windows.h>

#include <span>
#include <vector>

namespace win32 {

class ControlPlacement {
public:
    struct Part {
        HWND control;
        RECT area;  // client coordinates of the dialog
        bool is_shown;
    };

    // Moves, shows and hides the controls, all in one go. Those that this brought to the same place
    // before are left alone: each that is moved is drawn anew, even if it stays where it is. Nobody
    // else moves them.
    void apply(std::span<const Part> parts);

private:
    std::vector<Part> placed_;
};

}  // namespace win32
