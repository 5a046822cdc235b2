#include "changes/window_icon.h"

#include "plugin/host/localized.h"
#include "resources/ids.h"

namespace revlane {

void set_window_icon(HWND window)
{
    const auto load = [](int width, int height) {
        return LoadImageW(host::own_module(), MAKEINTRESOURCEW(IDI_REVLANE), IMAGE_ICON,
                          GetSystemMetrics(width), GetSystemMetrics(height), LR_SHARED);
    };
    SendMessageW(window, WM_SETICON, ICON_BIG,
                 reinterpret_cast<LPARAM>(load(SM_CXICON, SM_CYICON)));
    SendMessageW(window, WM_SETICON, ICON_SMALL,
                 reinterpret_cast<LPARAM>(load(SM_CXSMICON, SM_CYSMICON)));
}

}  // namespace revlane
