#include "sidebar/tooltip.h"

#include <commctrl.h>

namespace revlane {

namespace {

// Longer texts are wrapped at this many pixels.
constexpr LPARAM MAX_WIDTH = 400;

}  // namespace

void Tooltip::attach(HWND dialog, HWND control, const std::wstring& text)
{
    dialog_ = dialog;
    control_ = control;
    text_ = text;
    window_.reset(CreateWindowExW(0, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_NOPREFIX, 0, 0, 0, 0,
                                  dialog, nullptr, nullptr, nullptr));
    SendMessageW(window_.get(), TTM_SETMAXTIPWIDTH, 0, MAX_WIDTH);
    TTTOOLINFOW tool{};
    tool.cbSize = sizeof tool;
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = dialog;
    tool.uId = reinterpret_cast<UINT_PTR>(control);
    tool.lpszText = text_.data();
    SendMessageW(window_.get(), TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

void Tooltip::set_text(const std::wstring& text)
{
    if (text_ == text)
        return;
    text_ = text;
    TTTOOLINFOW tool{};
    tool.cbSize = sizeof tool;
    tool.hwnd = dialog_;
    tool.lpszText = text_.data();
    tool.uFlags = TTF_IDISHWND;
    tool.uId = reinterpret_cast<UINT_PTR>(control_);
    SendMessageW(window_.get(), TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
    if (covers_disabled_) {
        tool.uFlags = 0;
        tool.uId = 0;
        SendMessageW(window_.get(), TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
    }
}

void Tooltip::cover_disabled()
{
    TTTOOLINFOW tool{};
    tool.cbSize = sizeof tool;
    tool.uFlags = TTF_SUBCLASS;
    tool.hwnd = dialog_;
    tool.lpszText = text_.data();
    GetWindowRect(control_, &tool.rect);
    MapWindowPoints(nullptr, dialog_, reinterpret_cast<POINT*>(&tool.rect), 2);
    SendMessageW(window_.get(), covers_disabled_ ? TTM_NEWTOOLRECTW : TTM_ADDTOOLW, 0,
                 reinterpret_cast<LPARAM>(&tool));
    covers_disabled_ = true;
}

}  // namespace revlane
