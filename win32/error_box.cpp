#include "win32/error_box.h"

#include "win32/text.h"

#include <commctrl.h>

#include <exception>

namespace win32 {

void show_error(HWND owner, const std::wstring& text)
{
    TASKDIALOGCONFIG config{};
    config.cbSize = sizeof config;
    config.hwndParent = owner;
    config.dwFlags = TDF_ALLOW_DIALOG_CANCELLATION;
    config.dwCommonButtons = TDCBF_CLOSE_BUTTON;
    config.pszWindowTitle = L"Error";
    config.pszMainIcon = TD_ERROR_ICON;
    config.pszContent = text.c_str();
    TaskDialogIndirect(&config, nullptr, nullptr, nullptr);
}

void show_current_exception(HWND owner) noexcept
{
    try {
        try {
            throw;
        } catch (const std::exception& failure) {
            show_error(owner, to_wide(failure.what()));
        } catch (...) {
            show_error(owner, L"unknown error");
        }
    } catch (...) {
        // Showing the text failed for want of memory: there is nothing left to show it with.
        MessageBeep(MB_ICONERROR);
    }
}

}  // namespace win32
