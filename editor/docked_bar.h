// A plug-in's dialog docked at the left side of a frame.
#pragma once

#include "editor/ui.h"
#include "win32/window.h"

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>

namespace quorrel {

// The bar's window: a caption with the title and a close button, the dialog below it, and at the
// right edge a splitter. It belongs to the frame window; the dialog becomes its child and stays the
// plug-in's. Ending the object destroys the window and with it a dialog that still exists.
class DockedBar {
public:
    struct Events {
        // The user closes the bar, or its dialog is gone. Called by the bar: it must not end in it.
        std::function<void()> close;
        std::function<void()> resize;  // the width has changed
    };

    // `width` in pixels at 96 DPI. Hidden and without a size, so that it is placed before it is shown.
    DockedBar(HWND frame, std::uint32_t id, HWND dialog, std::wstring title, int width,
              Events events);
    ~DockedBar();
    DockedBar(const DockedBar&) = delete;
    DockedBar& operator=(const DockedBar&) = delete;

    [[nodiscard]] std::uint32_t id() const noexcept { return id_; }
    [[nodiscard]] HWND window() const noexcept { return window_; }
    [[nodiscard]] HWND dialog() const noexcept { return dialog_; }
    [[nodiscard]] const std::wstring& title() const noexcept { return title_; }
    // Pixels at 96 DPI.
    [[nodiscard]] int width() const noexcept { return width_; }
    // Where the close button lies in the window.
    [[nodiscard]] RECT close_button() const;

    void show() const;
    win32::Handled handle(const win32::Message& message);

private:
    [[nodiscard]] RECT caption() const;
    [[nodiscard]] RECT splitter() const;
    void adopt_dialog();
    void on_dpi();
    void on_size();
    void on_paint();
    void on_mouse_move(POINT point);
    void on_button_down(POINT point);
    void on_button_up(POINT point) const;
    void set_hot(bool hot);

    HWND window_ = nullptr;
    HWND dialog_;
    std::uint32_t id_;
    std::wstring title_;
    int width_;
    Events events_;
    UINT dpi_ = USER_DEFAULT_SCREEN_DPI;
    win32::FontHandle font_;
    bool close_hot_ = false;
    bool close_pressed_ = false;
    bool sizing_ = false;
};

}  // namespace quorrel
