// The controls of the history window: where they stand, which of them are shown, and the splitter
// between the list and what is below it. Window thread; the controls belong to the dialog.
#pragma once

#include "history/history_layout.h"
#include "win32/control_placement.h"
#include "win32/dialog_controls.h"
#include "win32/window.h"

#include <windows.h>

namespace revlane {

class HistoryView {
public:
    // What the window has to show.
    struct Contents {
        bool has_repository;
        bool has_commits;
        bool has_search;  // a filter, or the history of one file
    };

    // Once, as the dialog begins; `splitter` as in HistoryLayoutInput.
    void attach(HWND dialog, int splitter);

    [[nodiscard]] HWND item(int id) const noexcept { return controls_.find(id); }
    [[nodiscard]] int splitter() const noexcept { return splitter_; }

    void lay_out(const Contents& contents);
    // A button or a movement of the mouse: drags the splitter. Nothing: it has to do with something
    // else.
    win32::Handled on_mouse(const win32::Message& message);
    [[nodiscard]] bool is_pointer_on_splitter() const;
    // Answers WM_GETMINMAXINFO.
    void limit_size(MINMAXINFO& info) const;

private:
    [[nodiscard]] bool is_on_splitter(POINT client) const;

    HWND dialog_ = nullptr;
    win32::DialogControls controls_;
    win32::ControlPlacement placement_;
    Contents contents_{};
    HistoryLayout layout_{};
    int splitter_ = 0;
};

}  // namespace revlane
