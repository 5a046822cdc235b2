#include "sidebar/panel_settings.h"

#include "plugin/host/settings.h"

#include <cstdint>

namespace revlane {

namespace {

int read_share(HWND frame, const wchar_t* name, int otherwise)
{
    constexpr std::uint32_t all = 1000;
    const std::optional<std::uint32_t> share = host::find_number(frame, name);
    return share && *share <= all ? static_cast<int>(*share) : otherwise;
}

}  // namespace

PanelArrangement read_arrangement(HWND frame)
{
    PanelArrangement arrangement;
    arrangement.shares.staged = read_share(frame, SETTING_STAGED_HEIGHT, arrangement.shares.staged);
    arrangement.shares.branches =
        read_share(frame, SETTING_BRANCHES_HEIGHT, arrangement.shares.branches);
    arrangement.branches_folded = host::read_number(frame, SETTING_BRANCHES_FOLDED) != 0;
    return arrangement;
}

void write_arrangement(HWND frame, const PanelArrangement& arrangement)
{
    host::write_number(frame, SETTING_STAGED_HEIGHT,
                       static_cast<std::uint32_t>(arrangement.shares.staged));
    host::write_number(frame, SETTING_BRANCHES_HEIGHT,
                       static_cast<std::uint32_t>(arrangement.shares.branches));
    host::write_number(frame, SETTING_BRANCHES_FOLDED, arrangement.branches_folded ? 1 : 0);
}

}  // namespace revlane
