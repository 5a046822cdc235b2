#include "sidebar/tooltip.h"

#include <commctrl.h>

namespace revlane {

namespace {

// Longer texts are wrapped at this many pixels.
constexpr LPARAM MAX_WIDTH = 400;

TTTOOLINFOW over_control(HWND control, std::wstring& text)
{
    TTTOOLINFOW tool{};
    tool.cbSize = sizeof tool;
    tool.uFlags = TTF_IDISHWND;
    tool.hwnd = GetParent(control);
    tool.uId = reinterpret_cast<UINT_PTR>(control);
    tool.lpszText = text.data();
    return tool;
}

// The place in the dialog where the control lies, whichever window the pointer is over.
TTTOOLINFOW over_place(HWND control, std::wstring& text)
{
    TTTOOLINFOW tool{};
    tool.cbSize = sizeof tool;
    tool.hwnd = GetParent(control);
    tool.uId = static_cast<UINT_PTR>(GetDlgCtrlID(control));
    tool.lpszText = text.data();
    return tool;
}

}  // namespace

TooltipWindow make_tooltip_window(HWND dialog)
{
    TooltipWindow window(CreateWindowExW(0, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_NOPREFIX, 0, 0,
                                         0, 0, dialog, nullptr, nullptr, nullptr));
    SendMessageW(window.get(), TTM_SETMAXTIPWIDTH, 0, MAX_WIDTH);
    return window;
}

void relay_to_tooltips(HWND window, const win32::Message& message)
{
    MSG relayed{};
    relayed.hwnd = message.window;
    relayed.message = message.id;
    relayed.wParam = message.wparam;
    relayed.lParam = message.lparam;
    SendMessageW(window, TTM_RELAYEVENT, 0, reinterpret_cast<LPARAM>(&relayed));
}

void Tooltip::attach(HWND window, HWND control)
{
    window_ = window;
    control_ = control;
    covers_disabled_ = false;
    TTTOOLINFOW tool = over_control(control_, text_);
    tool.uFlags |= TTF_SUBCLASS;
    SendMessageW(window_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

void Tooltip::set_text(const std::wstring& text)
{
    if (text_ == text)
        return;
    text_ = text;
    if (window_ == nullptr)
        return;
    TTTOOLINFOW tool = over_control(control_, text_);
    SendMessageW(window_, TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
    if (covers_disabled_) {
        tool = over_place(control_, text_);
        SendMessageW(window_, TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
    }
}

void Tooltip::cover_disabled()
{
    if (window_ == nullptr)
        return;
    TTTOOLINFOW tool = over_place(control_, text_);
    GetWindowRect(control_, &tool.rect);
    MapWindowPoints(nullptr, tool.hwnd, reinterpret_cast<POINT*>(&tool.rect), 2);
    SendMessageW(window_, covers_disabled_ ? TTM_NEWTOOLRECTW : TTM_ADDTOOLW, 0,
                 reinterpret_cast<LPARAM>(&tool));
    covers_disabled_ = true;
}

}  // namespace revlane
