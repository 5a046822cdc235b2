// Reading a context menu that a test leads to.
#pragma once

#include "win32/window.h"

#include <windows.h>

#include <functional>
#include <set>
#include <vector>

namespace support {

struct ShownMenu {
    std::vector<UINT> commands;
    std::set<UINT> enabled;
    std::set<UINT> disabled;
    UINT default_command = 0;
    RECT place{};  // on the screen
};

// Sees the menus of their owner and closes each as soon as it stands. The owner must not see messages
// through another Subclass of the same number.
class MenuReader {
public:
    explicit MenuReader(HWND owner) : owner_(owner) {}

    // The menu that `open` leads to before it returns; without commands when there was none.
    ShownMenu read(const std::function<void()>& open)
    {
        menu_ = {};
        // Only for as long as this: a subclass makes every message of the owner many times as dear.
        const win32::Subclass watch(
            owner_, [this](const win32::Message& message) { return look(message); }, SUBCLASS_ID);
        open();
        return menu_;
    }

private:
    static constexpr UINT_PTR SUBCLASS_ID = 7;

    win32::Handled look(const win32::Message& message)
    {
        if (message.id == WM_ENTERIDLE) {
            GetWindowRect(reinterpret_cast<HWND>(message.lparam), &menu_.place);
            EndMenu();
        }
        if (message.id != WM_INITMENUPOPUP)
            return std::nullopt;
        auto* const popup = reinterpret_cast<HMENU>(message.wparam);
        menu_.default_command = GetMenuDefaultItem(popup, FALSE, GMDI_USEDISABLED);
        for (int i = 0; i < GetMenuItemCount(popup); ++i) {
            const UINT id = GetMenuItemID(popup, i);
            if (id == 0)
                continue;
            menu_.commands.push_back(id);
            const UINT state = GetMenuState(popup, id, MF_BYCOMMAND);
            ((state & (MF_DISABLED | MF_GRAYED)) == 0 ? menu_.enabled : menu_.disabled).insert(id);
        }
        return std::nullopt;
    }

    HWND owner_;
    ShownMenu menu_;
};

}  // namespace support
