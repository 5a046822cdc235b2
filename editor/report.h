// What a docked panel shows, as text: for programs that look at the editor.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

namespace quorrel {

// The rows of a list view as it shows them, one text a column.
std::vector<std::vector<std::wstring>> list_rows(HWND list);

// The visible controls of a dialog in their tab order, one line each: texts, buttons with their
// state, what a combo box has selected, list views with their rows.
std::wstring describe_panel(HWND dialog);

// Writes the description of a panel to a file as UTF-8 once the panel has been filled and has not
// changed for a second, and again whenever it has changed since. Window thread.
class PanelReport {
public:
    explicit PanelReport(std::filesystem::path file);

    // Looks at the panel (null: there is none now). True when the file was written. To be called a
    // few times a second.
    bool look_at(HWND dialog, const std::wstring& title);

private:
    std::filesystem::path file_;
    std::wstring seen_;
    std::wstring written_;
    ULONGLONG opened_at_ = 0;
    ULONGLONG changed_at_ = 0;
};

}  // namespace quorrel
