#include "sidebar/commit_box.h"

#include "win32/handle.h"

#include <utility>

namespace revlane {

namespace {

// What WM_CHAR carries for Ctrl+Enter, Ctrl+A and Ctrl+Backspace.
constexpr WPARAM CHARACTER_CTRL_ENTER = L'\n';
constexpr WPARAM CHARACTER_CTRL_A = 1;

bool is_control_down()
{
    return GetKeyState(VK_CONTROL) < 0 && GetKeyState(VK_MENU) >= 0;
}

// Keys of the dialog's, which a multi-line edit control would take: Tab leaves it, and Escape hands
// the focus back to the editor.
bool is_dialog_key(LPARAM lparam)
{
    const auto* message = reinterpret_cast<const MSG*>(lparam);
    return message != nullptr && message->message == WM_KEYDOWN &&
           (message->wParam == VK_TAB || message->wParam == VK_ESCAPE);
}

}  // namespace

void CommitBox::attach(HWND edit, std::wstring placeholder, std::function<void()> commit)
{
    edit_ = edit;
    placeholder_ = std::move(placeholder);
    commit_ = std::move(commit);
    // 0: as much text as the control can hold.
    SendMessageW(edit_, EM_SETLIMITTEXT, 0, 0);
}

void CommitBox::begin()
{
    fit_scroll_bar();
    subclass_.emplace(edit_, [this](const win32::Message& message) { return on_message(message); });
}

std::wstring CommitBox::text() const
{
    return win32::window_text(edit_);
}

void CommitBox::clear_if(const std::wstring& committed)
{
    if (text() == committed)
        SetWindowTextW(edit_, L"");
}

void CommitBox::fit_scroll_bar() const
{
    const win32::WindowDc dc(edit_);
    if (dc.get() == nullptr)
        return;
    const win32::SelectedObject selected(dc.get(), win32::control_font(edit_));
    TEXTMETRICW metrics{};
    GetTextMetricsW(dc.get(), &metrics);
    RECT text{};
    SendMessageW(edit_, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&text));
    const LRESULT lines = SendMessageW(edit_, EM_GETLINECOUNT, 0, 0);
    const bool is_shown = (GetWindowLongPtrW(edit_, GWL_STYLE) & WS_VSCROLL) != 0;
    const bool is_needed = lines * metrics.tmHeight > text.bottom - text.top;
    if (is_needed != is_shown)
        ShowScrollBar(edit_, SB_VERT, is_needed ? TRUE : FALSE);
}

win32::Handled CommitBox::on_message(const win32::Message& message)
{
    switch (message.id) {
    case WM_GETDLGCODE:
        return is_dialog_key(message.lparam) ? win32::Handled(DLGC_WANTCHARS | DLGC_HASSETSEL)
                                             : std::nullopt;
    case WM_KEYDOWN:
        if (message.wparam == VK_RETURN && is_control_down()) {
            commit_();
            return 0;
        }
        if (message.wparam == 'A' && is_control_down()) {
            SendMessageW(edit_, EM_SETSEL, 0, -1);
            return 0;
        }
        return std::nullopt;
    case WM_CHAR:
        if (message.wparam == CHARACTER_CTRL_A ||
            (message.wparam == CHARACTER_CTRL_ENTER && is_control_down()))
            return 0;
        return std::nullopt;
    case WM_SIZE: {
        const LRESULT result =
            DefSubclassProc(message.window, message.id, message.wparam, message.lparam);
        fit_scroll_bar();
        return result;
    }
    case WM_PAINT: {
        const LRESULT result =
            DefSubclassProc(message.window, message.id, message.wparam, message.lparam);
        if (GetWindowTextLengthW(edit_) == 0)
            paint_placeholder();
        return result;
    }
    default:
        return std::nullopt;
    }
}

void CommitBox::paint_placeholder() const
{
    const win32::WindowDc dc(edit_);
    if (dc.get() == nullptr)
        return;
    const win32::SelectedObject selected(dc.get(), win32::control_font(edit_));
    RECT text{};
    SendMessageW(edit_, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&text));
    HideCaret(edit_);
    SetTextColor(dc.get(), GetSysColor(COLOR_GRAYTEXT));
    SetBkMode(dc.get(), TRANSPARENT);
    DrawTextW(dc.get(), placeholder_.data(), static_cast<int>(placeholder_.size()), &text,
              DT_LEFT | DT_TOP | DT_WORDBREAK | DT_NOPREFIX);
    ShowCaret(edit_);
}

}  // namespace revlane
