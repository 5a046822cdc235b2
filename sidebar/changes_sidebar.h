// The docked panel: the hub between the controls of its dialog, the repository that it shows and the
// work in the background. Made before its dialog and destroyed when the editor reports the bar
// closed, or with the frame. All members on the window thread.
#pragma once

#include "changes/branches_dropdown.h"
#include "changes/branches_list.h"
#include "changes/change_lists.h"
#include "changes/git_output_log.h"
#include "changes/messages.h"
#include "changes/output_window.h"
#include "git/git.h"
#include "git/handles.h"
#include "sidebar/auto_fetcher.h"
#include "sidebar/command_queue.h"
#include "sidebar/commit_box.h"
#include "sidebar/commit_task.h"
#include "sidebar/directory_watcher.h"
#include "sidebar/error_queue.h"
#include "sidebar/glyphs.h"
#include "sidebar/panel_state.h"
#include "sidebar/panel_view.h"
#include "sidebar/reference_stamps.h"
#include "win32/task_slot.h"
#include "win32/window.h"
#include "win32/work_pool.h"

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace revlane {

class ChangesSidebar {
public:
    // `host` is the editor's frame window. The dialog is made afterwards, with win32::dialog_proc and
    // this object as its parameter.
    explicit ChangesSidebar(HWND host);
    // Ends all work and the dialog, if it still exists.
    ~ChangesSidebar();
    ChangesSidebar(const ChangesSidebar&) = delete;
    ChangesSidebar& operator=(const ChangesSidebar&) = delete;

    // The dialog; null before it is made and after it is gone.
    [[nodiscard]] HWND window() const noexcept { return dialog_; }
    // The branch that was just chosen for the history, once; nothing: the history is to stay as it is,
    // or to begin with HEAD.
    std::optional<std::string> take_branch_to_show()
    {
        return branches_.take_choice() ? branches_.shown_branch_name() : std::nullopt;
    }

    // For the dialog procedure.
    win32::Handled handle(const win32::Message& message);

private:
    // Messages of the panel to itself.
    enum : UINT {
        WM_PANEL_SHOW_ERRORS = WM_APP + 100,
        WM_PANEL_REFRESH,
        WM_PANEL_COMMITTED,  // std::wstring, the message of the commit
        WM_PANEL_REFUSED,    // std::wstring, why a command was not run
        WM_PANEL_STAMPS,     // StampsRead
        WM_PANEL_CANCELLED,  // what was cancelled has ended
        WM_PANEL_SHOW,
        WM_PANEL_TIPS,
    };
    // Timers. The frame uses 1 and 2 on this window.
    enum : UINT_PTR { TIMER_BUSY = 10, TIMER_LOOK_AGAIN, TIMER_STAMPS };

    struct StampsRead {
        ReferenceStamps stamps;
        std::uint64_t repository_number;
        bool begins_refresh;  // read before everything else was read anew
    };

    // What was chosen last, while it waits or runs.
    struct LastCommand {
        UINT id = 0;
        std::vector<std::wstring> paths;

        friend bool operator==(const LastCommand&, const LastCommand&) = default;
    };

    // Told whether the panel still lives after something that pumped messages.
    using Life = std::weak_ptr<const char>;

    // changes_sidebar.cpp: the dialog and its messages.
    win32::Handled on_dialog_message(const win32::Message& message);
    win32::Handled on_posted_message(const win32::Message& message);
    win32::Handled on_list_message(const win32::Message& message);
    LRESULT on_init(HWND dialog);
    void on_show();
    win32::Handled on_set_cursor(const win32::Message& message);
    void on_timer(UINT_PTR timer);
    void end_all_work() noexcept;
    void drain_messages() noexcept;
    void show_error_later(std::wstring text);
    void update_cursor() const;
    [[nodiscard]] bool is_fetching_long() const;
    [[nodiscard]] bool is_busy() const;
    void watch_busy();
    void on_busy_timer();

    // sidebar_repository.cpp: which repository is shown.
    void choose_initial_repository();
    void on_check_document();
    void on_open_repository(const std::wstring& path);
    void show_repository(git::Repository repository);
    void show_no_repository(const std::wstring& text);
    void forget_repository();
    [[nodiscard]] const git::Repository* repository() const;

    // sidebar_refresh.cpp: keeping what is shown true.
    void refresh();
    void on_refresh();
    void on_files_changed();
    void look_again_later();
    void on_refresh_all();
    void on_changes(const ChangesResult& result);
    void refresh_rest();
    void fill_branches();
    void read_state();
    void on_state(PanelState state);
    void check_stamps();
    void read_stamps(bool begins_refresh);
    void on_stamps(const StampsRead& read);
    void show_counts();
    void tell_references_changed();

    // sidebar_commands.cpp: what the user starts.
    win32::Handled on_command(UINT id, UINT code);
    win32::Handled on_list_command(UINT id);
    win32::Handled on_panel_command(UINT id);
    void submit(UINT id, CommandQueue::Command command, std::vector<std::wstring> paths = {});
    void submit_plain(UINT id, git::CommandResult (*command)(const git::CommandContext&));
    void on_fetch();
    void on_pull();
    void on_push();
    void on_commit_staged();
    void on_stage_all_and_commit();
    void on_commit_key();
    void commit(UINT id, CommitScope scope);
    void on_stage();
    void on_unstage();
    void on_discard();
    void on_update_submodule(const ChangesListBase& list, UINT id);
    using OpenFile =
        std::function<git::Result<void>(const git::Repository&, const git::FileChange&)>;
    void open_each(const ChangesListBase& list, const OpenFile& open);
    void on_compare();
    void on_compare_staged();
    void on_open_files(const ChangesListBase& list);
    void on_status();
    void on_show_output();
    void on_cancel();
    void on_toggle_auto_fetch();
    void on_open_folder();
    void on_open_remote();
    void on_choose_folder();
    void on_show_menu();
    void on_show_history();
    void on_file_history(const ChangesListBase& list);
    void on_command_result(const git::CommandResult& result);
    void log_result(const git::CommandResult& result);

    HWND dialog_ = nullptr;
    HWND host_;
    std::shared_ptr<const char> life_;
    const git::LibraryScope library_;
    const GlyphScope glyphs_;

    std::shared_ptr<git::Git> git_;
    std::optional<git::Repository> repository_;
    std::uint64_t repository_number_ =
        0;                        // of the repository shown; answers for another are dropped
    std::wstring last_document_;  // for which a repository was looked for

    win32::WorkPool pool_;          // commands
    win32::WorkPool reading_pool_;  // what is read again and again, beside a long command
    ChangesList changes_;
    StagedList staged_;
    BranchesDropdown branch_;
    BranchesList branches_;
    PanelView view_;
    CommitBox commit_box_;
    ErrorQueue errors_;
    GitOutputLog log_;
    OutputWindow output_;

    CommandQueue commands_;
    LastCommand last_command_;
    bool is_cancelling_ = false;  // what was cancelled may still report
    std::optional<std::chrono::steady_clock::time_point> busy_since_;

    win32::TaskSlot state_slot_;
    win32::TaskSlot stamps_slot_;
    std::shared_ptr<std::atomic<bool>> is_ending_;  // the panel goes: what is counted is not wanted
    std::optional<PanelState> state_;
    std::optional<ReferenceStamps> stamps_;  // of the last refresh's beginning
    bool refresh_waits_ = false;
    bool has_changes_ = false;  // the list of changes was filled since the repository is shown
    bool changes_are_stale_ = false;  // the last refresh of the list has failed or goes on
    bool refresh_error_shown_ = false;

    DirectoryWatcher watcher_;
    std::shared_ptr<AutoFetcher::Context> fetch_context_;
    AutoFetcher fetcher_;
    bool auto_fetch_ = false;
};

}  // namespace revlane
