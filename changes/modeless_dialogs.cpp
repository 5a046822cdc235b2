#include "changes/modeless_dialogs.h"

#include <algorithm>
#include <vector>

namespace revlane {

namespace {

struct ModelessDialog {
    HWND dialog;
    HWND frame;
    KeyHook hook;
};

std::vector<ModelessDialog>& dialogs()
{
    static std::vector<ModelessDialog> open;
    return open;
}

}  // namespace

void add_modeless_dialog(HWND dialog, HWND frame, KeyHook hook)
{
    dialogs().push_back({dialog, frame, hook});
}

void remove_modeless_dialog(HWND dialog) noexcept
{
    std::erase_if(dialogs(),
                  [dialog](const ModelessDialog& open) { return open.dialog == dialog; });
}

bool translate_modeless_message(MSG& message)
{
    const HWND focus = GetFocus();
    if (focus == nullptr)
        return false;
    const auto found =
        std::find_if(dialogs().begin(), dialogs().end(), [focus](const ModelessDialog& open) {
            return open.dialog == focus || IsChild(open.dialog, focus);
        });
    if (found == dialogs().end())
        return false;
    // A copy: handling the message may close this dialog or another.
    const ModelessDialog open = *found;
    return (open.hook != nullptr && open.hook(open.dialog, message)) ||
           IsDialogMessageW(open.dialog, &message) != FALSE;
}

void close_modeless_dialogs(HWND frame)
{
    while (true) {
        const auto found =
            std::find_if(dialogs().begin(), dialogs().end(),
                         [frame](const ModelessDialog& open) { return open.frame == frame; });
        if (found == dialogs().end())
            return;
        const HWND dialog = found->dialog;
        DestroyWindow(dialog);
        // Gone already where the dialog has told so; one that could not be destroyed is let go of.
        remove_modeless_dialog(dialog);
    }
}

}  // namespace revlane
