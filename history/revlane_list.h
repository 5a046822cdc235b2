// The commit list of the history window: an owner-data list view over RevListWithFilter.
// Window thread. The host window owns it, forwards the list view's notifications to it and receives
// its posted messages; it ends with the host window.
#pragma once

#include "changes/cancellation.h"
#include "changes/messages.h"
#include "git/git.h"
#include "history/commit_count.h"
#include "history/commit_search.h"
#include "history/filter.h"
#include "history/rev_list_with_filter.h"
#include "history/revision_walk.h"
#include "win32/posted.h"
#include "win32/task_slot.h"
#include "win32/window.h"
#include "win32/work_pool.h"

#include <git2.h>
#include <windows.h>
#include <commctrl.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace revlane {

class RevlaneList {
public:
    // What the list's tasks run on: one thread for each kind of work, so that a filter never waits
    // behind a count or a checkout. Owned by the host window.
    struct Pools {
        win32::WorkPool& count;
        win32::WorkPool& filter;
        win32::WorkPool& command;
    };

    // `commands` runs checkouts and branch creations, `filters` runs the searches: a search that
    // nobody waits for any more is ended through it. Both are shut down by the host window.
    RevlaneList(HWND frame, std::shared_ptr<git::Git> commands, std::shared_ptr<git::Git> filters,
                Pools pools);
    // Binds to the list view of the host window. Once, at WM_INITDIALOG.
    void init(HWND host);

    // The repository whose commits are listed; nothing: the list is empty. Takes effect with the next
    // refresh; a filter in force is dropped.
    void set_repository(std::optional<git::Repository> repository);
    // The same repository, opened anew: rows and filter stay.
    void renew_repository(std::optional<git::Repository> repository);
    // The commit that the unfiltered list begins with; nothing: it is empty (an unborn branch).
    void set_start(std::optional<git_oid> start);
    // What the commits from the start on begin with, where somebody has read it from the repository
    // already: the next refresh does not. Of the same repository and start.
    void set_first_page(std::optional<git::Result<FirstPage>> page);

    // Fills the list anew from the start commit, or from the ids of the filter in force.
    void refresh();
    // Draws what is to be drawn at once: before the details of the selected commit are read, for which
    // the host has been asked already. A refresh does so by itself, but not while the host is hidden.
    void draw() const;
    // Applies a filter to what `revision` (a reference name) reaches; an empty text clears it.
    void filter(const std::wstring& revision, const Filter::State& state);
    // Back to the unfiltered list; a search that runs is ended.
    void clear_filter();
    // Counts the whole walk in the background; an error when the repository cannot be opened for it.
    void count_revisions();

    // Lists the commits from the start on that changed one file (repository-relative), found in the
    // background: by git, which follows it over renames, or by libgit2 where there is no git.
    void show_file_history(const std::wstring& path);

    // Selects and focuses the row of a commit, and no other, and scrolls it into view. While the rows
    // are still being counted, a commit beyond them is selected once they are there. One that is not
    // listed is told in an error box: the host may be gone then.
    void select_commit(const git_oid& id);

    // Tells the host which commit is selected, or that it is not one alone.
    void post_selection();

    // A notification of the list view.
    LRESULT on_notify(NMHDR& header);

    // Greys the items of the context menu that do not fit the present selection.
    void prepare_menu(HMENU menu) const;

    [[nodiscard]] HWND window() const noexcept { return list_; }
    [[nodiscard]] const std::optional<git_oid>& start() const noexcept { return start_; }
    // The rows that the list view has now; the true number of commits once the count has arrived.
    [[nodiscard]] int item_count() const noexcept;
    // Whether the true number of commits is about to be shown, or may come any moment: with a
    // commit-graph it does so soon, and the counting itself is done sooner while nothing else is.
    [[nodiscard]] bool expects_count() const noexcept;
    // Whether the number of rows is still the quick count, with more to come.
    [[nodiscard]] bool is_counting() const noexcept;
    // Whether the answer of a search is still to come.
    [[nodiscard]] bool is_filtering() const noexcept { return search_.is_running(); }
    [[nodiscard]] bool has_filter() const noexcept { return model_->has_filter(); }
    // Whether the filter in force is the one that was asked for last: not before its search has
    // ended, and not when that has failed.
    [[nodiscard]] bool is_filter_current() const noexcept { return is_filter_current_; }
    // Whether the search that was asked for last has failed.
    [[nodiscard]] bool has_search_failed() const noexcept { return has_search_failed_; }
    [[nodiscard]] UINT selected_count() const noexcept;
    // Whether a search, a checkout or a branch creation runs or waits.
    [[nodiscard]] bool is_busy() const noexcept;
    // Whether a checkout or a branch creation does.
    [[nodiscard]] bool is_changing_repository() const noexcept { return command_slot_.busy(); }
    // The commit of the only selected row; nothing when another number is selected.
    [[nodiscard]] std::optional<git_oid> selected_commit() const;

private:
    win32::Handled handle(const win32::Message& message);
    // The commits that a command is about, in the order of the list.
    using Commits = std::vector<git_oid>;

    win32::Handled on_command(UINT id, const Commits& commits);
    void on_count(WPARAM wparam);
    void on_filtered(WPARAM wparam);
    void on_cache_hint(const NMLVCACHEHINT& hint);
    void on_display_info(NMLVDISPINFOW& info);
    void on_key_down(WORD key);
    void on_context_menu(std::optional<POINT> where);

    void open_commit(const Commits& commits);
    void compare_commits(const Commits& commits);
    void copy_ids();
    void copy_rows();
    void on_checkout(const Commits& commits);
    void on_create_branch(const Commits& commits);

    // Fills the list with its first rows.
    git::Result<void> fill();
    void filter_by_id(const std::wstring& text);
    void post_filtered(FilterResult result);
    void show_failed_search(const git::Error& error);
    void end_search();
    void cancel_count();
    void insert_columns();
    void fit_columns();
    void select_rows(const std::vector<std::size_t>& rows);
    [[nodiscard]] std::vector<const git::CommitRow*> built_selection() const;
    [[nodiscard]] Commits first_selected() const;

    HWND list_ = nullptr;
    HWND host_ = nullptr;
    HWND frame_;
    std::shared_ptr<git::Git> commands_;
    std::optional<git::Repository> repository_;
    std::shared_ptr<RevListWithFilter> model_;
    std::optional<git_oid> start_;
    std::optional<git::Result<FirstPage>> first_page_;  // belongs to the repository
    std::optional<git_oid> wanted_;                     // to be selected once the count has arrived
    bool is_filter_current_ = false;
    bool has_search_failed_ = false;
    CommitCount count_;
    CommitSearch search_;
    win32::TaskSlot command_slot_;
    std::uint64_t fill_number_ = 0;  // one more whenever other rows come
    std::shared_ptr<Cancellation> arrival_ = std::make_shared<Cancellation>();
    std::unique_ptr<win32::Subclass> subclass_;
};

}  // namespace revlane
