#include "sidebar/panel_menu.h"

#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "win32/handle.h"

namespace revlane {

namespace {

void enable(HMENU menu, UINT command, bool enabled)
{
    const UINT state = enabled ? UINT{MF_ENABLED} : UINT{MF_GRAYED};
    EnableMenuItem(menu, command, MF_BYCOMMAND | state);
}

void check(HMENU menu, UINT command, bool checked)
{
    MENUITEMINFOW item{};
    item.cbSize = sizeof item;
    item.fMask = MIIM_STATE;
    GetMenuItemInfoW(menu, command, FALSE, &item);
    item.fState = (item.fState & ~static_cast<UINT>(MFS_CHECKED)) |
                  static_cast<UINT>(checked ? MFS_CHECKED : MFS_UNCHECKED);
    SetMenuItemInfoW(menu, command, FALSE, &item);
}

}  // namespace

void show_panel_menu(HWND owner, HWND button, const PanelMenuState& state)
{
    const win32::MenuHandle loaded(LoadMenuW(host::resource_module(), MAKEINTRESOURCEW(IDM_PANEL)));
    const HMENU menu = GetSubMenu(loaded.get(), 0);
    if (menu == nullptr)
        return;
    enable(menu, ID_FETCH, state.has_repository && state.has_remote);
    enable(menu, ID_STATUS, state.has_repository);
    enable(menu, ID_OPEN_FOLDER, state.has_repository);
    enable(menu, ID_OPEN_REMOTE, state.has_repository && state.has_remote);
    enable(menu, ID_CANCEL_COMMAND, state.is_busy);
    check(menu, ID_AUTO_FETCH, state.auto_fetch);

    TPMPARAMS around{};
    around.cbSize = sizeof around;
    GetWindowRect(button, &around.rcExclude);
    TrackPopupMenuEx(menu, TPM_LEFTALIGN | TPM_TOPALIGN | TPM_VERTICAL | TPM_RIGHTBUTTON,
                     around.rcExclude.left, around.rcExclude.bottom, owner, &around);
}

}  // namespace revlane
