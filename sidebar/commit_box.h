// The commit message's edit box. Window thread.
#pragma once

#include "win32/window.h"

#include <windows.h>

#include <functional>
#include <optional>
#include <string>

namespace revlane {

class CommitBox {
public:
    // Binds `edit`, a multi-line edit control. Ctrl+Enter calls `commit`; `placeholder` is painted
    // while the box is empty.
    void attach(HWND edit, std::wstring placeholder, std::function<void()> commit);
    // The control has its font and its place: takes its messages from now on, as long as this object
    // lives.
    void begin();

    [[nodiscard]] std::wstring text() const;
    // Empties the box if its text is still `committed`.
    void clear_if(const std::wstring& committed);
    // Shows the scroll bar while there is more text than room. To be called when the text or the
    // size has changed.
    void fit_scroll_bar() const;

private:
    win32::Handled on_message(const win32::Message& message);
    void paint_placeholder() const;

    HWND edit_ = nullptr;
    std::wstring placeholder_;
    std::function<void()> commit_;
    std::optional<win32::Subclass> subclass_;
};

}  // namespace revlane
