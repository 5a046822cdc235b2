// A flat button of the panel with a symbol, and with its text too where it is wide enough.
// Window thread.
#pragma once

#include "sidebar/glyphs.h"
#include "win32/window.h"

#include <windows.h>

#include <optional>

namespace revlane {

class IconButton {
public:
    // `button` draws itself through WM_DRAWITEM.
    void attach(HWND button, Glyph glyph);
    // Follows the pointer from now on.
    void begin();

    void draw(const DRAWITEMSTRUCT& item, HFONT font, int dpi) const;
    // The width that symbol and text need.
    [[nodiscard]] int width_with_text(HFONT font, int dpi) const;

    [[nodiscard]] HWND window() const noexcept { return button_; }

private:
    win32::Handled on_message(const win32::Message& message);
    void set_hot(bool hot);

    HWND button_ = nullptr;
    Glyph glyph_ = Glyph::Folder;
    bool is_hot_ = false;
    std::optional<win32::Subclass> subclass_;
};

}  // namespace revlane
