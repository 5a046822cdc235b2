// An empty dialog in the place of the panel, for the tests of one of its controls.
#pragma once

#include "win32/window.h"

#include <windows.h>
#include <commctrl.h>

#include <array>
#include <stdexcept>

namespace support {

// Its messages, WM_INITDIALOG first, go to `object`, which destroys it.
template <typename T>
void make_owner_dialog(T& object)
{
    struct {
        DLGTEMPLATE dialog;
        std::array<WORD, 3> menu_class_title;
    } form{{WS_POPUP, 0, 0, 0, 0, 200, 150}, {}};
    const HWND dialog =
        CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &form.dialog, nullptr,
                                   win32::dialog_proc<T>, reinterpret_cast<LPARAM>(&object));
    if (dialog == nullptr)
        throw std::runtime_error("no dialog can be made: is there a screen?");
    // Without focus: Wine waits for two seconds as a window goes that has been active.
    ShowWindow(dialog, SW_SHOWNA);
}

// A list view of one column, as the panel has them.
inline HWND add_list_view(HWND dialog, DWORD more_style, int top)
{
    return CreateWindowExW(0, WC_LISTVIEWW, L"",
                           WS_CHILD | WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_NOCOLUMNHEADER |
                               LVS_SHOWSELALWAYS | more_style,
                           0, top, 300, 200, dialog, nullptr, nullptr, nullptr);
}

}  // namespace support
