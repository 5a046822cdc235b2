// The drop-down of all branches, in the panel and in the history window: it shows the current branch,
// and picking another one switches the working tree to it. Window thread; a member of its window.
#pragma once

#include "git/git.h"
#include "git/references.h"
#include "win32/window.h"
#include "win32/work_pool.h"

#include <windows.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace revlane {

class BranchesDropdown {
public:
    // Switches run on `pool` (one thread, outlives the drop-down) through `git`.
    BranchesDropdown(win32::WorkPool& pool, std::shared_ptr<git::Git> git);
    ~BranchesDropdown();
    BranchesDropdown(const BranchesDropdown&) = delete;
    BranchesDropdown& operator=(const BranchesDropdown&) = delete;

    // Binds the combo box `combo` (CBS_DROPDOWNLIST) of the dialog `owner`, which receives the results
    // of a switch as WM_REVLANE_COMMAND_RESULT.
    void attach(HWND owner, HWND combo);
    // Takes the control's messages from now on. Apart from attaching, since each message on the way
    // to its font and its place takes longer then.
    void begin();

    // The repository to show from now on (null: none); it belongs to the owner and outlives its use.
    // Empties the drop-down.
    void set_repository(const git::Repository* repository);
    // The same repository, opened anew: the items stay until they are filled.
    void renew_repository(const git::Repository* repository) noexcept { repo_ = repository; }

    // Replaces the items by the references' display names (the handles are copied) and selects
    // `current` (may be null), found by its full name. Unchanged items stay untouched, and while the
    // list is open it waits until it closes. `unborn` names a branch without commits that HEAD is on;
    // it is shown as the first item.
    void fill(const git::BranchList& references, const git_reference* current,
              const std::optional<std::wstring>& unborn = std::nullopt);

    // Selects the item of a reference (its full name) without switching. False when there is none.
    bool select(std::string_view full_name);

    // The owner hands the combo box's WM_COMMAND to it; `code` is the notification. Whether an item was
    // picked.
    bool on_command(UINT code);

    // The user has picked the selected item: the working tree is switched to it, unless it is the
    // current branch already.
    void on_branch_change();

    [[nodiscard]] const git::BranchList& references() const noexcept { return references_; }
    // Whether a switch that was queued here waits or runs.
    [[nodiscard]] bool is_switching() const noexcept;

private:
    struct Contents {
        std::shared_ptr<git_repository> repository;  // that the references belong to
        git::BranchList references;
        std::string current;  // full name; empty: none
        std::optional<std::wstring> unborn;
    };

    void show(Contents contents);
    void select_current();
    [[nodiscard]] bool is_open() const;
    void fit_list();
    void on_typed(wchar_t letter);
    win32::Handled on_combo_message(const win32::Message& message);

    win32::WorkPool& pool_;
    std::shared_ptr<git::Git> git_;
    HWND owner_ = nullptr;
    HWND combo_ = nullptr;
    const git::Repository* repo_ = nullptr;
    std::shared_ptr<git_repository> owner_of_references_;
    git::BranchList references_;
    std::vector<std::wstring> names_;  // as shown, one an item
    std::string current_;
    std::optional<std::wstring> unborn_;
    std::optional<Contents> waiting_;  // came while the list was open
    bool was_picked_ = false;          // the list closes since an item was picked
    bool is_list_fitted_ = false;      // the list is as wide as the names
    std::wstring typed_;
    std::chrono::steady_clock::time_point last_typed_{};
    std::shared_ptr<std::atomic<int>> switches_;  // that wait or run
    std::optional<win32::Subclass> subclass_;
};

}  // namespace revlane
