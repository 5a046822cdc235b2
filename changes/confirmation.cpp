#include "changes/confirmation.h"

#include "plugin/host/localized.h"
#include "resources/ids.h"

#include <commctrl.h>

#include <array>

namespace revlane {

int ask_to_confirm(HWND owner, const ConfirmationTexts& texts, const std::wstring& question)
{
    const std::wstring title = host::load_text(texts.title);
    const std::wstring confirm = host::load_text(texts.confirm);
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
    config.pszContent = question.c_str();
    config.cButtons = static_cast<UINT>(buttons.size());
    config.pButtons = buttons.data();
    config.nDefaultButton = NOT_CONFIRMED;
    int pressed = NOT_CONFIRMED;
    if (FAILED(TaskDialogIndirect(&config, &pressed, nullptr, nullptr)))
        return NOT_CONFIRMED;
    return pressed == CONFIRMED ? CONFIRMED : NOT_CONFIRMED;
}

}  // namespace revlane
