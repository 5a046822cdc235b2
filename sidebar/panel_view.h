// The panel's controls: their fonts, places, texts and looks. Knows nothing of git but what it is
// told to show. Window thread.
#pragma once

#include "sidebar/fonts.h"
#include "sidebar/icon_button.h"
#include "sidebar/panel_settings.h"
#include "sidebar/panel_state.h"
#include "sidebar/progress_line.h"
#include "sidebar/sidebar_layout.h"
#include "sidebar/tooltip.h"
#include "win32/control_placement.h"
#include "win32/dialog_controls.h"
#include "win32/handle.h"
#include "win32/window.h"

#include <windows.h>
#include <commctrl.h>

#include <cstddef>
#include <optional>
#include <string>

namespace revlane {

class PanelView {
public:
    // Takes over the controls of the panel's dialog, which its template leaves hidden. `frame` is the
    // editor's frame window, in whose settings the arrangement is kept.
    void attach(HWND dialog, HWND frame);
    // Shows the controls, each with its font and at its place. Until then nothing is placed: the editor
    // sizes a new dialog more than once, and moving all of the controls each time is what takes longest.
    void show();
    // Gives the controls their tooltips, once they are shown.
    void attach_tips();
    // The dialog goes; nothing of it is touched any more.
    void detach();

    // Places everything for the dialog's present size and DPI, once it is shown.
    void lay_out();
    // Fonts and sizes anew, after the DPI or the user's settings have changed.
    void renew_fonts();

    void show_repository();
    // Hides what needs a repository and shows `text` instead (empty: the text of the template).
    void show_no_repository(const std::wstring& text);
    // What pull and push show; nothing: the state is not known yet.
    void show_state(const std::optional<PanelState>& state);
    // Nothing: the list is not filled yet.
    void show_counts(std::optional<std::size_t> staged, std::optional<std::size_t> changes,
                     std::optional<std::size_t> branches);
    void show_progress(bool shown);

    void toggle_branches();
    [[nodiscard]] int dpi() const noexcept { return dpi_; }

    // WM_DRAWITEM of the buttons and headings; false for a control that is not the view's.
    bool draw_item(const DRAWITEMSTRUCT& item) const;
    // The messages by which a splitter is dragged, and WM_SETCURSOR over one.
    win32::Handled on_mouse(const win32::Message& message);

private:
    using ImageList = win32::UniqueHandle<HIMAGELIST, ::ImageList_Destroy>;

    struct Drag {
        Splitter splitter;
        int grip;  // from the splitter's upper edge to the pointer
    };

    [[nodiscard]] HWND control(int id) const { return controls_.find(id); }
    [[nodiscard]] LayoutInput layout_input() const;
    [[nodiscard]] int button_width(int id) const;
    void set_text(int id, const std::wstring& text) const;
    void enable(int id, bool enabled) const;
    void set_count(std::optional<std::size_t>& shown, std::optional<std::size_t> count, int id);
    void set_row_heights();
    bool begin_drag(POINT point);
    void drag(POINT point);
    void end_drag();

    HWND dialog_ = nullptr;
    HWND frame_ = nullptr;
    win32::DialogControls controls_;
    win32::ControlPlacement placement_;
    int dpi_ = 96;
    PanelFonts fonts_;
    ImageList row_height_;
    ImageList branch_row_height_;
    ProgressLine progress_;
    IconButton choose_folder_;
    IconButton panel_menu_;
    IconButton history_;
    TooltipWindow tips_;
    Tooltip choose_folder_tip_;
    Tooltip panel_menu_tip_;
    Tooltip history_tip_;
    Tooltip branch_tip_;
    Tooltip pull_tip_;
    Tooltip push_tip_;
    std::wstring pull_text_;  // as the template has them
    std::wstring push_text_;
    std::wstring empty_text_;
    bool is_shown_ = false;
    bool has_repository_ = false;
    PanelArrangement arrangement_;
    std::optional<std::size_t> staged_count_;
    std::optional<std::size_t> changes_count_;
    std::optional<std::size_t> branches_count_;
    SidebarLayout layout_;
    std::optional<Drag> drag_;
};

}  // namespace revlane
