// Doing something with a window that appears while a modal loop keeps the test's thread: the call
// that shows a dialog, a box or a menu returns only once it is answered.
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>

namespace support {

bool has_class(HWND window, const wchar_t* name);
// A visible dialog that keeps its owner waiting.
bool is_modal_dialog(HWND window);
// The same, or a visible dialog without an owner.
bool is_box(HWND window);
// The window of this thread that has a control with this number, and that is visible unless it
// `may_be_hidden`; null if there is none.
HWND window_with(int control, bool may_be_hidden = false);
// Caption and texts of a dialog, line by line.
std::wstring texts_of(HWND dialog);
// Presses a button of a message box or of a task dialog.
void press_button(HWND box, int button);

enum class Windows { Next, All };

// Looks at the top windows of this thread from a timer for as long as it lives, and acts on the first
// that is wanted, or on all.
class WindowWatch {
public:
    WindowWatch(std::function<bool(HWND)> is_wanted, std::function<void(HWND)> act,
                Windows which = Windows::Next);
    ~WindowWatch();
    WindowWatch(const WindowWatch&) = delete;
    WindowWatch& operator=(const WindowWatch&) = delete;

    [[nodiscard]] bool has_acted() const noexcept { return has_acted_; }

private:
    static void CALLBACK look(HWND window, UINT message, UINT_PTR timer, DWORD time);
    bool acts_on(HWND window);

    std::function<bool(HWND)> is_wanted_;
    std::function<void(HWND)> act_;
    Windows which_;
    bool has_acted_ = false;
    UINT_PTR timer_;
};

// Does something in the next dialog. A test fails when none is shown.
class InNextDialog {
public:
    explicit InNextDialog(std::function<void(HWND)> act);
    ~InNextDialog();
    InNextDialog(const InNextDialog&) = delete;
    InNextDialog& operator=(const InNextDialog&) = delete;

private:
    WindowWatch watch_;
};

// Answers the next message box or task dialog, or all of them, with a button.
class BoxAnswer {
public:
    explicit BoxAnswer(int button, Windows which = Windows::Next);

    // Caption and texts of the last box, line by line; nothing when none has been shown.
    [[nodiscard]] const std::optional<std::wstring>& text() const noexcept { return text_; }

private:
    std::optional<std::wstring> text_;
    WindowWatch watch_;
};

}  // namespace support
