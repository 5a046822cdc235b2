// The panel in the stand-in editor: driven by messages, read by messages, and compared with what git
// says.
#pragma once

#include "tests/support/editor_driver.h"
#include "tests/support/temp_repository.h"

#include <windows.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace support {

using Texts = std::vector<std::wstring>;

// An editor with a file of the repository open and the panel docked.
class Panel {
public:
    // The repository outlives the panel. `settings` is the text of the settings file; without a
    // `document` some file is opened.
    explicit Panel(const TempRepository& repository, std::string_view settings = {},
                   std::string_view document = {});

    EditorDriver& driver() { return driver_; }
    void open(const std::filesystem::path& file);
    [[nodiscard]] HWND dialog() const { return dialog_; }
    [[nodiscard]] HWND control(int id) const { return GetDlgItem(dialog_, id); }

    // The first column of a list.
    [[nodiscard]] Texts rows(int list) const;
    [[nodiscard]] Texts sorted_rows(int list) const;
    // The rows that the lists must have, sorted, as git sees the repository. Renames are not looked
    // for.
    std::map<int, Texts> rows_by_git();
    // Waits until the lists show these rows in any order, and returns whether they did.
    bool shows(const std::map<int, Texts>& wanted, std::chrono::milliseconds deadline);
    // Waits until both lists show what git says.
    bool agrees_with_git();
    bool wait(const std::function<bool()>& condition) { return driver_.wait(condition); }
    bool wait_rows(int list, std::size_t count);
    // Without the mark of the access key.
    bool wait_text(int id, const std::wstring& text);
    // Selects rows by their texts, in a list that shows them.
    void select(int list, const Texts& texts);
    [[nodiscard]] Texts selected(int list) const;
    void choose(int command) { support::choose(dialog_, command); }
    void click(int id) { support::click(dialog_, id); }
    void set_message(const std::wstring& text);
    [[nodiscard]] std::wstring message() const;
    // Does something and waits for the box that it leads to; what the box said.
    std::wstring box_after(const std::function<void()>& action, int button = IDCLOSE);

private:
    const TempRepository& repository_;
    EditorDriver driver_;
    HWND dialog_ = nullptr;
    bool renames_are_off_ = false;
};

}  // namespace support
