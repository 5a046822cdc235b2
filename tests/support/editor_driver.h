// Drives the stand-in editor in the test's own process: opens documents, issues the plug-in's
// command, finds its panel and reads and presses its controls by messages.
#pragma once

#include "editor/editor.h"
#include "editor/frame.h"
#include "editor/report.h"
#include "tests/support/pump.h"
#include "tests/support/temp_repository.h"

#include <windows.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace support {

// The plug-in as it is delivered, and the fake one.
std::filesystem::path delivered_plugin();
std::filesystem::path fake_plugin();

// An editor with settings of its own in a temporary folder. Everything is on the test's thread.
class EditorDriver {
public:
    // `settings` is the text of the settings file; `change` may change the options further.
    explicit EditorDriver(const std::filesystem::path& plugin, std::string_view settings = {},
                          const std::function<void(quorrel::Options&)>& change = {});
    // Closes the editor if the test has not, and waits for nothing.
    ~EditorDriver();
    EditorDriver(const EditorDriver&) = delete;
    EditorDriver& operator=(const EditorDriver&) = delete;

    quorrel::Editor& editor() { return *editor_; }
    // The first frame.
    [[nodiscard]] quorrel::Frame& frame() const { return *editor_->frames().front(); }
    [[nodiscard]] HWND window() const { return frame().window(); }
    [[nodiscard]] const std::filesystem::path& folder() const { return folder_.path(); }
    // The text of the settings file.
    [[nodiscard]] std::string settings() const;

    [[nodiscard]] bool open(const std::filesystem::path& file) const
    {
        return frame().documents().open(file, false);
    }
    // Chooses the plug-in's command in the menu.
    void issue_command();
    // Issues it unless the panel is open; the panel's dialog, null when none was docked.
    HWND open_panel();
    // The dialog that is docked in the first frame; null when there is none.
    [[nodiscard]] HWND panel() const;
    // Presses the close button of the panel's bar.
    void press_close_button();
    // Presses a key in a window, as if the user did.
    void press_key(HWND window, WPARAM key);
    // Closes every frame as the user does and ends the editor with it.
    void close();

    // Dispatches messages as the editor does, until the condition holds or the deadline is over.
    bool wait(const std::function<bool()>& condition,
              std::chrono::milliseconds deadline = pump_deadline);
    // Dispatches what waits.
    void pump();
    // How long one message has kept the window thread at most since the last call, or since the
    // start. A box that was open counts.
    std::chrono::milliseconds take_longest_dispatch();

private:
    [[nodiscard]] Dispatch dispatch();

    TempFolder folder_;
    std::optional<quorrel::Editor> editor_;
    std::chrono::steady_clock::duration longest_dispatch_{};
};

// The text of a control of a dialog.
std::wstring control_text(HWND dialog, int id);
void set_control_text(HWND dialog, int id, const std::wstring& text);
bool is_control_enabled(HWND dialog, int id);
// Presses a button; what it leads to comes with the messages that wait.
void click(HWND dialog, int id);
// Chooses a command of a menu, in the same way.
void choose(HWND window, int command);
std::vector<std::vector<std::wstring>> rows_of(HWND dialog, int list);
// Selects the rows with these indices and no other; the last one has the focus.
void select_rows(HWND dialog, int list, const std::vector<int>& rows);

}  // namespace support
