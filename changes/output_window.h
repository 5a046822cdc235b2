// The window that shows the git output log: a modeless dialog with a read-only text in a fixed-pitch
// font. Window thread.
#pragma once

#include "win32/handle.h"
#include "win32/window.h"

#include <windows.h>

#include <memory>
#include <string>

namespace revlane {

// Owned by the panel whose log it shows. The dialog lives from show() until the user closes it, its
// owner window goes, or this object goes; it can be shown again after that.
class OutputWindow {
public:
    OutputWindow() = default;
    ~OutputWindow();
    OutputWindow(const OutputWindow&) = delete;
    OutputWindow& operator=(const OutputWindow&) = delete;

    // Opens the dialog, owned by the top-level window of `owner`, or raises the one that is open,
    // and shows `text` with its end in view. Does nothing when there is no dialog template.
    void show(HWND owner, std::wstring text);

    // Null while the dialog is closed.
    [[nodiscard]] HWND window() const noexcept { return window_; }

    // For the dialog procedure.
    win32::Handled handle(const win32::Message& message);

private:
    LRESULT on_init(HWND dialog);
    void on_destroyed();
    win32::Handled on_edit_message(const win32::Message& message);
    void set_text();
    void set_font(int dpi);
    void fit_edit();
    [[nodiscard]] HWND edit() const;

    HWND window_ = nullptr;
    std::wstring text_;  // what the edit control shall show, until it shows it
    win32::FontHandle font_;
    std::unique_ptr<win32::Subclass> edit_subclass_;
};

}  // namespace revlane
