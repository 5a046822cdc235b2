#include "sidebar/change_rows.h"

#include "changes/change_lists.h"
#include "changes/get_dpi.h"
#include "sidebar/colors.h"
#include "win32/handle.h"

#include <algorithm>

namespace revlane {

namespace {

constexpr int MARGIN = 8;  // at 96 DPI
constexpr int DIMMED_PERCENT = 62;

struct RowColors {
    COLORREF background;
    COLORREF text;
    COLORREF folder;
    COLORREF label;
};

COLORREF label_color(git::ChangeStatus status, bool on_dark)
{
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

RowColors row_colors(HWND list, bool selected, git::ChangeStatus status)
{
    const COLORREF window = GetSysColor(COLOR_WINDOW);
    const COLORREF text = GetSysColor(COLOR_WINDOWTEXT);
    if (selected && GetFocus() == list) {
        const COLORREF on_selection = GetSysColor(COLOR_HIGHLIGHTTEXT);
        const COLORREF selection = GetSysColor(COLOR_HIGHLIGHT);
        return {selection, on_selection, mix_colors(selection, on_selection, 80), on_selection};
    }
    const COLORREF background = selected ? mix_colors(window, text, 12) : window;
    return {background, text, mix_colors(background, text, DIMMED_PERCENT),
            label_color(status, is_dark(window))};
}

int width_of(HDC dc, std::wstring_view text)
{
    SIZE size{};
    GetTextExtentPoint32W(dc, text.data(), static_cast<int>(text.size()), &size);
    return static_cast<int>(size.cx);
}

// Draws at the left of `area` and moves its left edge behind the text.
void draw_text(HDC dc, const std::wstring& text, RECT& area, COLORREF color)
{
    SetTextColor(dc, color);
    DrawTextW(dc, text.data(), static_cast<int>(text.size()), &area,
              DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
    area.left = std::min(area.right, area.left + width_of(dc, text));
}

void draw_row(HDC dc, HWND list, RECT row, const git::FileChange& change, bool selected,
              bool focused, int dpi)
{
    const RowColors colors = row_colors(list, selected, change.status);
    fill_rectangle(dc, row, colors.background);
    const win32::SelectedObject with_font(dc, win32::control_font(list));
    SetBkMode(dc, TRANSPARENT);

    RECT area = row;
    area.left += scale(MARGIN, dpi);
    area.right -= scale(MARGIN, dpi);
    const PathParts path = split_path(change.new_path);
    const std::wstring label = status_label(change.status);
    const int label_width = width_of(dc, label);
    const int room =
        static_cast<int>(area.right - area.left) - width_of(dc, path.name) - label_width;
    const std::wstring folder =
        fit_folder(path.folder, room, [dc](std::wstring_view text) { return width_of(dc, text); });
    draw_text(dc, folder, area, colors.folder);
    RECT name = area;
    name.right = std::max(name.left, area.right - label_width);
    draw_text(dc, path.name, name, colors.text);
    area.left = name.left;
    draw_text(dc, label, area, colors.label);

    const bool shows_focus = focused && GetFocus() == list &&
                             (SendMessageW(list, WM_QUERYUISTATE, 0, 0) & UISF_HIDEFOCUS) == 0;
    if (shows_focus) {
        SetTextColor(dc, colors.text);
        SetBkColor(dc, colors.background);
        DrawFocusRect(dc, &row);
    }
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
    const HWND list = custom.hdr.hwndFrom;
    RECT row{};
    row.left = LVIR_BOUNDS;
    SendMessageW(list, LVM_GETITEMRECT, custom.dwItemSpec, reinterpret_cast<LPARAM>(&row));
    // The state in the record counts every row as selected when the control always shows its
    // selection.
    const auto state = static_cast<UINT>(
        SendMessageW(list, LVM_GETITEMSTATE, custom.dwItemSpec, LVIS_SELECTED | LVIS_FOCUSED));
    draw_row(custom.hdc, list, row, changes[custom.dwItemSpec], (state & LVIS_SELECTED) != 0,
             (state & LVIS_FOCUSED) != 0, dpi);
    return CDRF_SKIPDEFAULT;
}

}  // namespace revlane
