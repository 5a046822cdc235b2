#include "tests/support/list_view.h"

#include <commctrl.h>

#include <array>
#include <cstddef>

namespace support {

std::wstring cell(HWND list, int row, int column)
{
    // Longer than any text that a test puts into a row.
    std::array<wchar_t, 1000> buffer{};
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = buffer.data();
    item.cchTextMax = static_cast<int>(buffer.size());
    SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
    // The control may answer with a text of its own.
    return item.pszText;
}

std::vector<std::wstring> column(HWND list, int index)
{
    const int count = ListView_GetItemCount(list);
    std::vector<std::wstring> texts;
    texts.reserve(static_cast<std::size_t>(count));
    for (int row = 0; row < count; ++row)
        texts.push_back(cell(list, row, index));
    return texts;
}

std::vector<int> rows_with(HWND list, UINT state)
{
    std::vector<int> rows;
    for (int row = ListView_GetNextItem(list, -1, state); row >= 0;
         row = ListView_GetNextItem(list, row, state))
        rows.push_back(row);
    return rows;
}

void set_state(HWND list, int row, UINT state, UINT mask)
{
    LVITEMW item{};
    item.state = state;
    item.stateMask = mask;
    SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

void select_only(HWND list, const std::vector<int>& rows)
{
    set_state(list, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
    for (const int row : rows)
        set_state(list, row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
}

}  // namespace support
