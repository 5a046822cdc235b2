#include "changes/empty_text.h"

#include "win32/handle.h"

#include <commctrl.h>

namespace revlane {

LRESULT paint_with_empty_text(const win32::Message& message, const std::wstring& text)
{
    const LRESULT result =
        DefSubclassProc(message.window, message.id, message.wparam, message.lparam);
    auto* const list = message.window;
    const win32::WindowDc dc(list);
    if (dc.get() == nullptr)
        return result;
    const win32::SelectedObject selected(dc.get(), win32::control_font(list));
    RECT client{};
    GetClientRect(list, &client);
    SetTextColor(dc.get(), GetSysColor(COLOR_GRAYTEXT));
    // Opaque, since the part of the control that was not to be painted still shows the text.
    SetBkMode(dc.get(), OPAQUE);
    SetBkColor(dc.get(), static_cast<COLORREF>(SendMessageW(list, LVM_GETBKCOLOR, 0, 0)));
    DrawTextW(dc.get(), text.data(), static_cast<int>(text.size()), &client,
              DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS | DT_NOPREFIX);
    return result;
}

}  // namespace revlane
