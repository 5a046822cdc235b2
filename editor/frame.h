// A frame window of the editor.
#pragma once

#include "editor/docked_bar.h"
#include "editor/documents.h"
#include "editor/editor.h"
#include "editor/report.h"
#include "editor/toolbar.h"
#include "win32/window.h"

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

// Owns the window with its menu, toolbar, documents, docked bars and status bar. The Editor owns the
// frame and ends it by close_frame. Window thread.
class Frame {
public:
    explicit Frame(Editor& editor);
    ~Frame();
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    // Null once the frame is closed.
    [[nodiscard]] HWND window() const noexcept { return window_; }
    // The window that plug-ins are given for this frame.
    [[nodiscard]] HWND view() const noexcept { return documents_->view(); }
    [[nodiscard]] HACCEL accelerators() const noexcept { return accelerators_; }
    [[nodiscard]] Editor& editor() const noexcept { return editor_; }
    [[nodiscard]] Documents& documents() const noexcept { return *documents_; }
    [[nodiscard]] const std::vector<std::unique_ptr<DockedBar>>& bars() const noexcept
    {
        return bars_;
    }
    // What the left part of the status bar shows.
    [[nodiscard]] std::wstring status() const;
    void set_status(const std::wstring& text);

    // Docks a dialog; the id of its bar.
    std::uint32_t dock(HWND dialog, std::wstring title);
    // Takes the bar away and tells the plug-in, with the word whether it should be opened again at
    // the next start: yes when it goes because its frame does, no when it was closed by itself.
    void close_bar(std::uint32_t id, bool open_again);
    void close_bars();
    // Takes the window off the screen ahead of its end, so that nothing is drawn again as its parts go.
    void leave_screen();
    // Ends the window. The Editor has closed everything in it.
    void end_window();

    // Runs a command of the editor; false when there is none of that number.
    bool execute(WPARAM command);
    // Tells the plug-in an event of this frame.
    void announce(UINT event, LPARAM argument = 0);
    // Takes name and image of the plug-in over.
    void show_plugin();
    // Brings caption, status bar and plug-in button up to date, when no message waits.
    void update();

    win32::Handled handle(const win32::Message& message);

private:
    void place_window();
    void on_dpi();
    void on_size();
    // Bars and documents, below the toolbar and above the status bar.
    void place_parts();
    void on_timer(UINT_PTR timer);
    void on_menu(HMENU menu);
    void fill_languages(HMENU menu) const;
    void on_activate(bool active);
    void write_report();
    void set_part(int part, const std::wstring& text);

    Editor& editor_;
    HWND window_ = nullptr;
    HWND status_bar_ = nullptr;
    HACCEL accelerators_ = nullptr;
    std::optional<Toolbar> toolbar_;
    win32::FontHandle status_font_;
    std::unique_ptr<Documents> documents_;
    std::vector<std::unique_ptr<DockedBar>> bars_;
    // Closed, but perhaps with functions of theirs still running; they end with the frame.
    std::vector<std::unique_ptr<DockedBar>> closed_bars_;
    std::uint32_t next_bar_ = 1;
    HWND focus_ = nullptr;  // while another program is active
    std::optional<PanelReport> report_;
};

}  // namespace quorrel
