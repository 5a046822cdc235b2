#include "sidebar/change_rows.h"

#include "changes/change_lists.h"
#include "changes/colors.h"
#include "changes/drawn_row.h"

namespace revlane {

namespace {

COLORREF label_color(git::ChangeStatus status)
{
    const bool on_dark = is_dark(GetSysColor(COLOR_WINDOW));
    switch (status) {
    case git::ChangeStatus::Added:
    case git::ChangeStatus::Untracked:
        return on_dark ? RGB(126, 211, 133) : RGB(22, 120, 52);
    case git::ChangeStatus::Deleted:
        return on_dark ? RGB(255, 138, 128) : RGB(183, 28, 28);
    case git::ChangeStatus::Renamed:
        return on_dark ? RGB(130, 177, 255) : RGB(21, 84, 173);
    case git::ChangeStatus::Conflicted:
        return on_dark ? RGB(255, 183, 77) : RGB(176, 74, 0);
    case git::ChangeStatus::Modified:
        break;
    }
    return GetSysColor(COLOR_WINDOWTEXT);
}

}  // namespace

PathParts split_path(std::wstring_view path)
{
    // A submodule's folder may come with a slash at its end.
    const std::size_t slash = path.substr(0, path.empty() ? 0 : path.size() - 1).rfind(L'/');
    const std::size_t name = slash == std::wstring_view::npos ? 0 : slash + 1;
    return {std::wstring(path.substr(0, name)), std::wstring(path.substr(name))};
}

std::wstring fit_folder(const std::wstring& folder, int width,
                        const std::function<int(std::wstring_view)>& measure)
{
    if (folder.empty() || measure(folder) <= width)
        return folder;
    const std::wstring ellipsis = L"\u2026/";
    for (std::size_t slash = folder.find(L'/'); slash != std::wstring::npos;
         slash = folder.find(L'/', slash + 1)) {
        std::wstring shortened = ellipsis + folder.substr(slash + 1);
        if (measure(shortened) <= width)
            return shortened;
    }
    return {};
}

LRESULT draw_change_row(const NMLVCUSTOMDRAW& draw, const std::vector<git::FileChange>& changes,
                        int dpi)
{
    const NMCUSTOMDRAW& custom = draw.nmcd;
    if (custom.dwDrawStage == CDDS_PREPAINT)
        return CDRF_NOTIFYITEMDRAW;
    if (custom.dwDrawStage != CDDS_ITEMPREPAINT || custom.dwItemSpec >= changes.size())
        return CDRF_DODEFAULT;
    DrawnRow row(custom, dpi);
    const git::FileChange& change = changes[custom.dwItemSpec];
    const PathParts path = split_path(change.new_path);
    const std::wstring label = status_label(change.status);
    const int label_width = row.width_of(label);
    const std::wstring folder =
        fit_folder(path.folder, row.room() - row.width_of(path.name) - label_width,
                   [&row](std::wstring_view text) { return row.width_of(text); });
    row.draw_left(folder, row.dimmed_color());
    row.draw_left(path.name, row.text_color(), label_width);
    row.draw_left(label, row.has_selection_color() ? row.text_color() : label_color(change.status));
    return CDRF_SKIPDEFAULT;
}

}  // namespace revlane
