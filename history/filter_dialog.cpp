#include "history/filter_dialog.h"

#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "win32/placement.h"
#include "win32/window.h"

namespace revlane {

namespace {

// What the dialog ends with.
constexpr INT_PTR ENDED_BY_OK = 0;
constexpr INT_PTR ENDED_OTHERWISE = 1;

class FilterDialog {
public:
    explicit FilterDialog(Filter::State& state) : state_(state) {}

    win32::Handled handle(const win32::Message& message)
    {
        switch (message.id) {
        case WM_INITDIALOG:
            return on_init(message.window);
        case WM_COMMAND:
            if (LOWORD(message.wparam) == IDOK)
                store(message.window);
            else if (LOWORD(message.wparam) == IDCANCEL)
                EndDialog(message.window, ENDED_OTHERWISE);
            else
                return std::nullopt;
            return 0;
        default:
            return std::nullopt;
        }
    }

private:
    LRESULT on_init(HWND dialog) const
    {
        win32::center_over(dialog, GetWindow(dialog, GW_OWNER));
        const HWND text = GetDlgItem(dialog, IDC_FILTER_TEXT);
        SetWindowTextW(text, state_.text.c_str());
        const int kind = IDC_FILTER_MESSAGE + static_cast<int>(state_.kind);
        CheckRadioButton(dialog, IDC_FILTER_MESSAGE, IDC_FILTER_TAG, kind);
        SetFocus(text);
        SendMessageW(text, EM_SETSEL, 0, -1);
        // The focus is set already.
        return FALSE;
    }

    void store(HWND dialog)
    {
        state_.text = win32::window_text(GetDlgItem(dialog, IDC_FILTER_TEXT));
        state_.kind = Filter::Kind::Tag;
        for (const Filter::Kind kind :
             {Filter::Kind::Message, Filter::Kind::Author, Filter::Kind::CommitId}) {
            const int button = IDC_FILTER_MESSAGE + static_cast<int>(kind);
            if (SendDlgItemMessageW(dialog, button, BM_GETCHECK, 0, 0) == BST_CHECKED)
                state_.kind = kind;
        }
        EndDialog(dialog, ENDED_BY_OK);
    }

    Filter::State& state_;
};

}  // namespace

bool ask_filter(HWND owner, Filter::State& state)
{
    FilterDialog dialog(state);
    return DialogBoxParamW(host::resource_module(), MAKEINTRESOURCEW(IDD_FILTER), owner,
                           win32::dialog_proc<FilterDialog>,
                           reinterpret_cast<LPARAM>(&dialog)) == ENDED_BY_OK;
}

}  // namespace revlane
