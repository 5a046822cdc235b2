// What the panel's two lists of changed files have in common. Window thread.
#pragma once

#include "git/file_change.h"
#include "git/git.h"
#include "win32/window.h"

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace revlane {

// Rows, selection, keys and the way the control is filled.
//
// The control is in report style without a header (LVS_REPORT | LVS_NOCOLUMNHEADER) and keeps its
// selection shown (LVS_SHOWSELALWAYS). Ctrl+A, Ctrl+C and the width of its one column are the list's
// own affair; the rest of what the user does comes through the dialog, see on_owner_message.
class ChangesListBase {
public:
    ChangesListBase(const ChangesListBase&) = delete;
    ChangesListBase& operator=(const ChangesListBase&) = delete;

    // Shows the context menu: at the cursor, or at the selected row when the keyboard asked for it.
    // The chosen command arrives at the owner as WM_COMMAND; pumps messages, so the list may be gone
    // when it returns.
    virtual void on_context_menu() = 0;
    // What a double-click or Enter on a row does: sends the list's default command to the owner.
    virtual void on_default_action() = 0;
    // Reads the changes anew. Keeps selection, focus and scroll position.
    virtual void refresh() = 0;
    // Last, so that the slots keep their order.
    virtual ~ChangesListBase() = default;

    // Binds the control `list` of the dialog `owner`. `empty_text` is shown in the middle of a list
    // that was filled and has no rows. The control gets its column with its first rows, so that making
    // and moving it costs little.
    void attach(HWND owner, HWND list, std::wstring empty_text);
    // The control has its font and its place: takes its messages from now on.
    void begin();

    // Replaces the rows and fills the control anew. Without selection afterwards.
    void set_changes(std::vector<git::FileChange> changes);
    // The same for an answer that may bring nothing new: rows that look the same stay untouched, and
    // otherwise selection, focus and the top row are restored by path. When the focused or the top
    // row is gone, the next one that is left takes its place.
    void update_changes(std::vector<git::FileChange> changes);

    // Row i shows the element i.
    [[nodiscard]] const std::vector<git::FileChange>& changes() const noexcept { return changes_; }
    // The selected rows, in row order. Valid until the rows are replaced: copy them before anything
    // that pumps messages, which a box, a menu and a call of the editor do.
    [[nodiscard]] std::vector<const git::FileChange*> selected() const;

    // Puts the selected paths on the clipboard, each followed by a line feed. Leaves the clipboard
    // alone while nothing is selected.
    void copy_selected() const;
    void select_all();
    // Makes the column as wide as the control. Happens by itself when the control changes its size.
    void fit_column();

    // The dialog hands every WM_NOTIFY and WM_CONTEXTMENU to both lists. Nothing: it is not for this
    // list or has its default handling. The panel may be gone when a value is returned.
    win32::Handled on_owner_message(const win32::Message& message);

protected:
    ChangesListBase() = default;

    // Null: no repository is open. Empties the list, which shows nothing until it is filled anew.
    void change_repository(const git::Repository* repository);

    // Whether one of the rows is a submodule of the repository.
    [[nodiscard]] bool hold_submodule(const std::vector<const git::FileChange*>& rows) const;
    // Shows the first submenu of a menu resource with these of its commands disabled. Nothing of the
    // list may be touched after it.
    void show_menu(UINT menu, UINT default_command, const std::vector<UINT>& disabled);

    HWND owner_ = nullptr;
    HWND list_ = nullptr;  // null once the control is gone
    const git::Repository* repo_ = nullptr;
    std::vector<git::FileChange> changes_;

private:
    struct View;

    win32::Handled on_list_message(const win32::Message& message);
    bool on_key(WPARAM key);
    [[nodiscard]] bool asks_for_default_action(const NMHDR& header) const;
    void insert_column();
    [[nodiscard]] View view() const;
    void restore(const View& view, const std::vector<git::FileChange>& former);

    std::wstring empty_text_;
    bool has_column_ = false;
    bool is_filled_ = false;  // since the repository was chosen
    std::optional<POINT> menu_position_;
    std::optional<win32::Subclass> subclass_;
};

}  // namespace revlane
