// The panel's list of all branches: what each stands at, and what can be done with it. Window thread;
// a member of its window.
#pragma once

#include "git/git.h"
#include "git/references.h"
#include "win32/handle.h"
#include "win32/thread_pool.h"
#include "win32/window.h"

#include <windows.h>

#include <commctrl.h>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace revlane {

// From the full name of a local branch to where it stands against its upstream.
using TrackingMap = std::map<std::string, git::AheadBehind, std::less<>>;

// Reads the tracking of every local branch that has an upstream; `is_cancelled` (may be empty) is
// asked before each. On the thread of the repository; counting takes a walk where the two have
// parted.
TrackingMap read_tracking(git_repository* repository, const std::function<bool()>& is_cancelled = {});

// The control is an owner-data list view in report style without a header (LVS_REPORT |
// LVS_OWNERDATA | LVS_NOCOLUMNHEADER | LVS_SHOWSELALWAYS).
class BranchesList {
public:
    // Commands run on `pool` (one thread, outlives the list) through `git`. `frame` is the editor's
    // frame window.
    BranchesList(HWND frame, BS::thread_pool<>& pool, std::shared_ptr<git::Git> git);
    ~BranchesList();
    BranchesList(const BranchesList&) = delete;
    BranchesList& operator=(const BranchesList&) = delete;

    // Binds the control `list` of the dialog `owner`, which receives results of commands as
    // WM_REVLANE_COMMAND_RESULT and requests to refresh as WM_REVLANE_REFRESH_ALL. `empty_text` is
    // shown in the middle of a list that was filled and has no rows.
    void attach(HWND owner, HWND list, std::wstring empty_text);

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

    [[nodiscard]] const git::BranchList& references() const noexcept { return references_; }
    [[nodiscard]] std::vector<std::size_t> selected_rows() const;
    // Disables the items of the context menu that do not fit the present selection.
    void prepare_menu(HMENU menu) const;

    // The dialog hands every WM_NOTIFY and WM_CONTEXTMENU to it. Nothing: it is not for this list.
    // The panel may be gone when a value is returned.
    win32::Handled on_owner_message(const win32::Message& message);

    void on_select();
    void on_checkout();
    void on_create_branch();
    void on_delete_branch();
    void on_delete_remote();
    void on_compare();

private:
    win32::Handled on_list_message(const win32::Message& message);
    win32::Handled on_command(UINT id);
    win32::Handled on_notify(NMHDR& header);
    void on_context_menu(std::optional<POINT> where);
    void on_set_revision(WPARAM wparam);
    void show_text_of(NMLVDISPINFOW& info) const;
    [[nodiscard]] LRESULT draw(NMLVCUSTOMDRAW& draw);
    [[nodiscard]] int find_by_text(const NMLVFINDITEMW& find) const;

    [[nodiscard]] const git_reference* selected_reference() const;
    [[nodiscard]] std::optional<std::size_t> row_of(std::string_view full_name) const;
    [[nodiscard]] std::wstring tracking_text(std::size_t row) const;
    void set_shown_branch(const git_reference* reference);
    void keep_shown_branch();
    void measure_tracking();
    void fit_columns();
    void make_fonts();
    [[nodiscard]] POINT keyboard_menu_place() const;
    // Runs `task` on the pool with copies of what a command needs.
    using Task = std::function<void(HWND owner, const std::filesystem::path& workdir, git::Git& git)>;
    void submit(Task task);

    HWND frame_;
    BS::thread_pool<>& pool_;
    std::shared_ptr<git::Git> git_;
    HWND owner_ = nullptr;
    HWND list_ = nullptr;
    const git::Repository* repo_ = nullptr;
    git::BranchList references_;        // one a row
    std::vector<std::wstring> names_;   // as shown, one a row
    std::string current_;               // full name; empty: none
    TrackingMap tracking_;
    int tracking_width_ = 0;  // pixels of the widest text of tracking_
    git::Reference shown_branch_;
    std::wstring empty_text_;
    bool is_filled_ = false;
    win32::FontHandle bold_font_;  // of the current branch
    std::optional<win32::Subclass> subclass_;
};

}  // namespace revlane
