// The panel's list of all branches: where each stands, and what can be done with it. Window thread; a
// member of its window.
#pragma once

#include "changes/tracking.h"
#include "git/git.h"
#include "git/references.h"
#include "win32/handle.h"
#include "win32/window.h"
#include "win32/work_pool.h"

#include <windows.h>
#include <commctrl.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace revlane {

// The control is an owner-data list view in report style without a header (LVS_REPORT |
// LVS_OWNERDATA | LVS_NOCOLUMNHEADER | LVS_SHOWSELALWAYS), so that thousands of branches are shown at
// once. The current branch stands out in bold and says so, remote-tracking branches are grey.
class BranchesList {
public:
    // Commands run on `pool` (one thread, outlives the list) through `git`. `frame` is the editor's
    // frame window.
    BranchesList(HWND frame, win32::WorkPool& pool, std::shared_ptr<git::Git> git);
    ~BranchesList();
    BranchesList(const BranchesList&) = delete;
    BranchesList& operator=(const BranchesList&) = delete;

    // Binds the control `list` of the dialog `owner`, which receives results of commands as
    // WM_REVLANE_COMMAND_RESULT and requests to refresh as WM_REVLANE_REFRESH_ALL. `empty_text` is
    // shown in the middle of a list that was filled and has no rows. The control gets its columns with
    // its first rows, so that making and moving it costs little.
    void attach(HWND owner, HWND list, std::wstring empty_text);
    // The control has its font and its place: takes its messages from now on.
    void begin();

    // The repository to show from now on (null: none); it belongs to the owner and outlives its use.
    // Empties the list and forgets the shown branch.
    void set_repository(const git::Repository* repository);

    // Replaces the rows by these references; `current` (may be null) is marked. Rows that look the
    // same stay untouched, and otherwise selection, focus and the top row are kept by full name. The
    // shown branch stays as long as it exists.
    void fill(git::BranchList references, const git_reference* current);
    // What stands behind the names of the branches.
    void set_tracking(TrackingMap tracking);

    // The branch whose commits the commit history shows; null: none was chosen.
    [[nodiscard]] const git_reference* shown_branch() const noexcept { return shown_branch_.get(); }
    // Its short name, UTF-8.
    [[nodiscard]] std::optional<std::string> shown_branch_name() const;
    // Whether it was chosen since the choice was taken last, be it the same one once more.
    [[nodiscard]] bool has_choice() const noexcept { return was_chosen_; }
    bool take_choice() noexcept { return std::exchange(was_chosen_, false); }

    // Row i shows the element i.
    [[nodiscard]] const git::BranchList& references() const noexcept { return references_; }

    // The dialog hands every WM_NOTIFY and WM_CONTEXTMENU to it. Nothing: it is not for this list.
    // The panel may be gone when a value is returned.
    win32::Handled on_owner_message(const win32::Message& message);

    // The commands of the context menu, which arrive at the control as WM_COMMAND. Each does nothing
    // while the menu would not offer it. Those that ask a question pump messages: the list may be
    // gone when they return.
    void on_select();
    void on_checkout();
    void on_create_branch();
    void on_delete_branch();
    void on_delete_remote();
    void on_compare();
    void on_refresh();

private:
    struct View;

    // branches_list.cpp: the control.
    win32::Handled on_list_message(const win32::Message& message);
    win32::Handled on_command(UINT id);
    win32::Handled on_notify(NMHDR& header);
    void on_context_menu(bool by_keyboard);
    void on_set_revision(std::string_view name);
    void disable_items(HMENU menu) const;
    void answer_text(NMLVDISPINFOW& info) const;
    [[nodiscard]] LRESULT find_row(const NMLVFINDITEMW& find) const;
    [[nodiscard]] LRESULT draw(const NMCUSTOMDRAW& draw) const;
    [[nodiscard]] std::wstring note(std::size_t row) const;
    [[nodiscard]] bool is_current(std::size_t row) const;
    void measure();
    [[nodiscard]] int widest_note() const;
    void insert_columns();
    void fit_columns();
    [[nodiscard]] View view() const;
    void restore_rows(const View& view, const git::BranchList& former);
    void restore_top(const View& view, const git::BranchList& former);
    [[nodiscard]] std::optional<std::size_t> row_of(std::string_view full_name) const;

    // branches_commands.cpp: what the user starts.
    // Null unless exactly one row is selected.
    [[nodiscard]] git_reference* selected() const;
    // Says so to the owner.
    void set_shown_branch(git_reference* branch);
    void keep_shown_branch();

    HWND frame_;
    win32::WorkPool& pool_;
    std::shared_ptr<git::Git> git_;
    std::shared_ptr<const char> life_;  // expires with the list, for those who waited for an answer
    HWND owner_ = nullptr;
    HWND list_ = nullptr;  // null once the control is gone
    const git::Repository* repo_ = nullptr;
    git::BranchList references_;
    std::vector<std::wstring> names_;  // as shown, one a row
    std::string current_;              // full name; empty: none
    TrackingMap tracking_;
    git::Reference shown_branch_;
    bool was_chosen_ = false;
    std::wstring empty_text_;
    std::wstring current_mark_;
    bool has_columns_ = false;
    bool is_filled_ = false;       // since the repository was chosen
    int note_width_ = 0;           // of the widest note
    win32::FontHandle bold_font_;  // of the current branch
    std::optional<win32::Subclass> subclass_;
};

}  // namespace revlane
