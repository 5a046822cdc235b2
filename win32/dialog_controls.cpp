#include "win32/dialog_controls.h"

#include <algorithm>

namespace win32 {

void DialogControls::collect(HWND dialog)
{
    struct Search {
        HWND dialog;
        std::vector<std::pair<int, HWND>> found;
    } search{dialog, {}};
    EnumChildWindows(
        dialog,
        [](HWND window, LPARAM parameter) -> BOOL {
            auto& target = *reinterpret_cast<Search*>(parameter);
            // The parts of a control are reported as well.
            if (GetParent(window) == target.dialog)
                target.found.emplace_back(GetDlgCtrlID(window), window);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&search));
    all_ = std::move(search.found);
}

HWND DialogControls::find(int id) const noexcept
{
    const auto found = std::find_if(all_.begin(), all_.end(),
                                    [id](const auto& control) { return control.first == id; });
    return found != all_.end() ? found->second : nullptr;
}

}  // namespace win32
