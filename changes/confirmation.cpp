#include "changes/confirmation.h"

#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "win32/placement.h"

#include <commctrl.h>

#include <array>

namespace revlane {

namespace {

HRESULT CALLBACK on_notification(HWND box, UINT code, WPARAM, LPARAM, LONG_PTR owner)
{
    if (code == TDN_CREATED)
        win32::center_over(box, reinterpret_cast<HWND>(owner));
    return S_OK;
}

}  // namespace

int ask_to_confirm(HWND owner, const Question& question)
{
    const std::wstring title = host::load_text(question.title);
    const std::wstring confirm = host::load_text(question.confirm);
    const std::wstring cancel = host::load_text(IDS_CANCEL);
    const std::array<TASKDIALOG_BUTTON, 2> buttons{
        TASKDIALOG_BUTTON{CONFIRMED, confirm.c_str()},
        TASKDIALOG_BUTTON{NOT_CONFIRMED, cancel.c_str()}};
    TASKDIALOGCONFIG config{};
    config.cbSize = sizeof config;
    config.hwndParent = owner;
    config.hInstance = host::resource_module();
    config.dwFlags = TDF_ALLOW_DIALOG_CANCELLATION;
    config.pszWindowTitle = title.c_str();
    config.pszMainIcon = TD_WARNING_ICON;
    config.pszMainInstruction = question.heading.empty() ? nullptr : question.heading.c_str();
    config.pszContent = question.text.c_str();
    config.cButtons = static_cast<UINT>(buttons.size());
    config.pButtons = buttons.data();
    config.nDefaultButton = NOT_CONFIRMED;
    config.pfCallback = on_notification;
    config.lpCallbackData = reinterpret_cast<LONG_PTR>(owner);
    int pressed = NOT_CONFIRMED;
    if (FAILED(TaskDialogIndirect(&config, &pressed, nullptr, nullptr)))
        return NOT_CONFIRMED;
    return pressed == CONFIRMED ? CONFIRMED : NOT_CONFIRMED;
}

}  // namespace revlane
