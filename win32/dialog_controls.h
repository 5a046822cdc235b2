// The controls of a dialog by their ids, looked up once: GetDlgItem searches all of them each time,
// and under Wine it asks another process. Window thread.
#pragma once

#include <windows.h>

#include <utility>
#include <vector>

namespace win32 {

class DialogControls {
public:
    // To be called when the dialog's controls are made. They live as long as the dialog.
    void collect(HWND dialog);
    // Null when there is none of that id.
    [[nodiscard]] HWND find(int id) const noexcept;
    [[nodiscard]] const std::vector<std::pair<int, HWND>>& all() const noexcept { return all_; }

private:
    std::vector<std::pair<int, HWND>> all_;
};

}  // namespace win32
