#include "changes/output_window.h"

#include "changes/get_dpi.h"
#include "changes/window_icon.h"
#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "win32/placement.h"

#include <gsl/narrow>

#include <utility>

namespace revlane {

namespace {

// At 96 DPI.
constexpr int FONT_HEIGHT = 15;

bool is_control_down()
{
    return GetKeyState(VK_CONTROL) < 0;
}

}  // namespace

OutputWindow::~OutputWindow()
{
    if (window_ != nullptr)
        DestroyWindow(window_);
}

void OutputWindow::show(HWND owner, std::wstring text)
{
    text_ = std::move(text);
    if (window_ != nullptr) {
        set_text();
        if (IsIconic(window_))
            ShowWindow(window_, SW_RESTORE);
        SetForegroundWindow(window_);
        return;
    }
    if (CreateDialogParamW(host::resource_module(), MAKEINTRESOURCEW(IDD_OUTPUT), owner,
                           win32::dialog_proc<OutputWindow>, reinterpret_cast<LPARAM>(this)))
        ShowWindow(window_, SW_SHOW);
}

win32::Handled OutputWindow::handle(const win32::Message& message)
{
    switch (message.id) {
    case WM_INITDIALOG:
        return on_init(message.window);
    case WM_SIZE:
        fit_edit();
        return 0;
    case WM_DPICHANGED: {
        set_font(LOWORD(message.wparam));
        const RECT& wanted = *reinterpret_cast<const RECT*>(message.lparam);
        SetWindowPos(window_, nullptr, wanted.left, wanted.top, wanted.right - wanted.left,
                     wanted.bottom - wanted.top, SWP_NOZORDER | SWP_NOACTIVATE);
        return 0;
    }
    case WM_COMMAND:
        if (LOWORD(message.wparam) != IDCANCEL)
            return std::nullopt;
        [[fallthrough]];
    case WM_CLOSE:
        EndDialog(message.window, 0);
        DestroyWindow(message.window);
        return 0;
    case WM_NCDESTROY:
        on_destroyed();
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

LRESULT OutputWindow::on_init(HWND dialog)
{
    window_ = dialog;
    edit_subclass_ = std::make_unique<win32::Subclass>(
        edit(), [this](const win32::Message& message) { return on_edit_message(message); });
    // 0 is the greatest length that the control can hold; a long log exceeds its usual one.
    SendMessageW(edit(), EM_SETLIMITTEXT, 0, 0);
    set_font(get_dpi(dialog));
    fit_edit();
    set_text();
    set_window_icon(dialog);
    win32::center_over(dialog, GetWindow(dialog, GW_OWNER));
    SetFocus(edit());
    // The focus is set already.
    return FALSE;
}

void OutputWindow::on_destroyed()
{
    edit_subclass_.reset();
    font_.reset();
    window_ = nullptr;
    text_.clear();
}

win32::Handled OutputWindow::on_edit_message(const win32::Message& message)
{
    if (message.id != WM_KEYDOWN)
        return std::nullopt;
    if (message.wparam == 'A' && is_control_down()) {
        SendMessageW(message.window, EM_SETSEL, 0, GetWindowTextLengthW(message.window));
        return 0;
    }
    // The editor's message loop knows nothing of this dialog, so Escape closes it from here. Posted,
    // since the control is still at work on the key.
    if (message.wparam == VK_ESCAPE) {
        PostMessageW(window_, WM_CLOSE, 0, 0);
        return 0;
    }
    return std::nullopt;
}

void OutputWindow::set_text()
{
    SetWindowTextW(edit(), text_.c_str());
    // The control has its own copy, and the text may be long.
    text_ = {};
    const int length = GetWindowTextLengthW(edit());
    SendMessageW(edit(), EM_SETSEL, static_cast<WPARAM>(length), length);
    SendMessageW(edit(), EM_SCROLLCARET, 0, 0);
}

void OutputWindow::set_font(int dpi)
{
    // A negative DPI is a fault of ours, found here.
    const int height = scale(FONT_HEIGHT, gsl::narrow<int>(gsl::narrow<unsigned>(dpi)));
    win32::FontHandle font(CreateFontW(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE,
                                       DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                                       DEFAULT_QUALITY, DEFAULT_PITCH | FF_DONTCARE, L"Consolas"));
    SendMessageW(edit(), WM_SETFONT, reinterpret_cast<WPARAM>(font.get()), TRUE);
    font_ = std::move(font);
}

void OutputWindow::fit_edit()
{
    RECT client{};
    GetClientRect(window_, &client);
    MoveWindow(edit(), 0, 0, client.right, client.bottom, TRUE);
}

HWND OutputWindow::edit() const
{
    return GetDlgItem(window_, IDC_OUTPUT_TEXT);
}

}  // namespace revlane
