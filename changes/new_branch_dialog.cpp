#include "changes/new_branch_dialog.h"

#include "git/handles.h"
#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "win32/placement.h"
#include "win32/text.h"
#include "win32/window.h"

#include <git2.h>

namespace revlane {

namespace {

class NewBranchDialog {
public:
    win32::Handled handle(const win32::Message& message)
    {
        switch (message.id) {
        case WM_INITDIALOG:
            enable_ok(message.window);
            win32::center_over(message.window, GetWindow(message.window, GW_OWNER));
            return TRUE;
        case WM_COMMAND:
            return on_command(message.window, LOWORD(message.wparam), HIWORD(message.wparam));
        default:
            return std::nullopt;
        }
    }

    [[nodiscard]] const std::wstring& name() const noexcept { return name_; }

private:
    win32::Handled on_command(HWND dialog, UINT id, UINT code)
    {
        if (id == IDC_BRANCH_NAME && code == EN_CHANGE) {
            enable_ok(dialog);
            return 0;
        }
        if (id != IDOK && id != IDCANCEL)
            return std::nullopt;
        name_ = win32::window_text(GetDlgItem(dialog, IDC_BRANCH_NAME));
        // Enter arrives as OK even while the button is disabled.
        if (id == IDCANCEL || is_valid(name_))
            EndDialog(dialog, id);
        return 0;
    }

    static bool is_valid(const std::wstring& name)
    {
        int valid = 0;
        return git_branch_name_is_valid(&valid, win32::to_utf8(name).c_str()) == 0 && valid != 0;
    }

    static void enable_ok(HWND dialog)
    {
        const std::wstring name = win32::window_text(GetDlgItem(dialog, IDC_BRANCH_NAME));
        EnableWindow(GetDlgItem(dialog, IDOK), is_valid(name));
    }

    const git::LibraryScope library_;
    std::wstring name_;
};

}  // namespace

std::optional<std::wstring> ask_branch_name(HWND owner)
{
    NewBranchDialog dialog;
    const INT_PTR answer =
        DialogBoxParamW(host::resource_module(), MAKEINTRESOURCEW(IDD_NEW_BRANCH), owner,
                        win32::dialog_proc<NewBranchDialog>, reinterpret_cast<LPARAM>(&dialog));
    return answer == IDOK ? std::optional(dialog.name()) : std::nullopt;
}

}  // namespace revlane
