// Reading list views, and selecting in them, by messages.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace support {

std::wstring cell(HWND list, int row, int column);
// The texts of one column, row by row.
std::vector<std::wstring> column(HWND list, int index);
// The rows that have a state (LVNI_SELECTED, LVNI_FOCUSED).
std::vector<int> rows_with(HWND list, UINT state);
// The states of one row, or of all with -1.
void set_state(HWND list, int row, UINT state, UINT mask);
// Selects these rows and no other; the last one has the focus.
void select_only(HWND list, const std::vector<int>& rows);

}  // namespace support
