// The editor with the panel and the history window, set up for pictures and photographed.
#pragma once

#include "tests/support/editor_driver.h"
#include "tests/support/temp_repository.h"

#include <windows.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace support {

// What all pictures of one run have in common.
struct Album {
    std::filesystem::path folder;
    std::string language;  // its number
};

// How an editor is set up.
struct StageSetup {
    SIZE frame{1180, 760};  // at 96 DPI
    int bar_width = 340;    // at 96 DPI
};

// An editor with the panel open. Every wait throws std::runtime_error when its time is over.
class Stage {
public:
    Stage(const Album& album, const std::filesystem::path& document, const StageSetup& setup = {});

    EditorDriver& driver() { return driver_; }
    [[nodiscard]] HWND frame() const { return driver_.window(); }
    [[nodiscard]] HWND panel() const { return driver_.panel(); }
    [[nodiscard]] HWND control(int id) const { return GetDlgItem(panel(), id); }

    void wait(const std::function<bool()>& condition, const char* what);
    // Until a list of a dialog has that many rows.
    void wait_rows(HWND dialog, int list, int count);
    // Opens the history window and waits until it has rows; null when it must stay empty.
    HWND open_history(int least_rows);

    // Saves a window, with everything that lies over it.
    void save(std::string_view name, HWND window);
    // Does something that shows a menu or a dialog box that keeps its owner waiting, saves it
    // together with `behind` (null: alone) and takes it away again.
    void save_popup(std::string_view name, HWND behind, const std::function<void()>& open);
    // The context menu of a control, opened as by the menu key.
    void save_context_menu(std::string_view name, HWND behind, HWND control);

private:
    Album album_;
    EditorDriver driver_;
};

// The size at the screen's DPI of a length at 96 DPI.
int at_screen_dpi(int length);

}  // namespace support
