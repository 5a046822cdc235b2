#include "history/history_window.h"

#include "changes/branches_dropdown.h"
#include "changes/end_work.h"
#include "changes/messages.h"
#include "changes/modeless_dialogs.h"
#include "changes/texts.h"
#include "changes/window_icon.h"
#include "git/objects.h"
#include "history/commit_view.h"
#include "history/comparisons.h"
#include "history/filter_dialog.h"
#include "history/history_search.h"
#include "history/history_source.h"
#include "history/history_texts.h"
#include "history/history_view.h"
#include "history/reference_reading.h"
#include "history/revlane_list.h"
#include "history/window_placement.h"
#include "plugin/host/editor.h"
#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "win32/error_box.h"
#include "win32/handle.h"
#include "win32/text.h"
#include "win32/window.h"
#include "win32/work_pool.h"

#include <commctrl.h>

#include <exception>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace revlane {

namespace {

// Of the window to itself, one after the other as it opens.
constexpr UINT WM_HISTORY_FILL = WM_APP + 100;
constexpr UINT WM_HISTORY_PLACE = WM_APP + 101;
constexpr UINT WM_HISTORY_SHOW = WM_APP + 102;
constexpr UINT WM_HISTORY_DRAW = WM_APP + 103;
// The Return key was pressed in the tree of files.
constexpr UINT WM_HISTORY_TREE_RETURN = WM_APP + 104;

// Asks again and again whether the work that the state line speaks of has ended.
constexpr UINT_PTR STATE_TIMER = 1;
constexpr UINT STATE_INTERVAL = 200;  // milliseconds

// Looks whether what has waited for the number of commits need not wait any longer.
constexpr UINT_PTR COUNT_TIMER = 2;
constexpr UINT COUNT_INTERVAL = 30;  // milliseconds

// Looks whether what keeps a hidden window from its end has ended.
constexpr UINT_PTR END_TIMER = 3;
constexpr UINT END_INTERVAL = 100;  // milliseconds

// Takes the keys of the window, wherever the focus is in it, and the Return key of the tree, which a
// dialog would keep for itself: the tree view never sees it.
bool handle_key(HWND dialog, MSG& message)
{
    if (message.message != WM_KEYDOWN)
        return false;
    if (message.wParam == VK_F5) {
        PostMessageW(dialog, WM_REVLANE_REFRESH_ALL, 0, 0);
        return true;
    }
    if (message.wParam == 'F' && GetKeyState(VK_CONTROL) < 0) {
        PostMessageW(dialog, WM_COMMAND, IDC_FILTER, 0);
        return true;
    }
    if (message.wParam == VK_RETURN && message.hwnd == GetDlgItem(dialog, IDC_FILES_TREE)) {
        PostMessageW(dialog, WM_HISTORY_TREE_RETURN, 0, 0);
        return true;
    }
    return false;
}

// Whether a row is selected no longer.
bool has_lost_selection(const NMHDR& header)
{
    if (header.code != LVN_ITEMCHANGED)
        return false;
    const auto& change = reinterpret_cast<const NMLISTVIEW&>(header);
    return (change.uOldState & ~change.uNewState & LVIS_SELECTED) != 0;
}

// What the window is made with.
struct Opening {
    HWND frame;
    const std::filesystem::path& repository;
    std::future<HistoryBeginning>& beginning;
};

class HistoryWindow {
public:
    explicit HistoryWindow(const Opening& opening);
    ~HistoryWindow();
    HistoryWindow(const HistoryWindow&) = delete;
    HistoryWindow& operator=(const HistoryWindow&) = delete;

    win32::Handled handle(const win32::Message& message);

private:
    void end_all_work();
    void tell_kept(std::unique_ptr<std::wstring> told);
    void close();
    void come_to_front();
    [[nodiscard]] bool is_changing_repository() const;

    LRESULT on_init(HWND dialog);
    void on_fill();
    void on_place();
    void on_show();
    win32::Handled on_posted_message(const win32::Message& message);
    win32::Handled on_notify(NMHDR& header);
    win32::Handled on_command(UINT id, UINT code);
    win32::Handled on_set_cursor() const;
    void on_selection(std::unique_ptr<Selection> selection);
    void show_commit(const git::Commit& commit);
    void on_references(ReferenceMap references);
    void wait_for_count();
    void carry_on();
    void on_command_result(std::unique_ptr<git::CommandResult> result);
    void on_branch_picked();
    void on_filter();
    void on_clear_filter();
    void on_tree_menu(POINT place);

    void open_repository(const std::filesystem::path& path);
    void show_no_repository();
    void reload();
    void on_reload();
    void fill_branches();
    void set_revision(std::string name);
    void show_start(bool anew, bool again = false);
    void show_file_history(const std::wstring& path);
    void search(bool fill_first = false);
    void compare_tree_file();
    [[nodiscard]] ComparisonPlace comparison_place() const;

    void lay_out();
    void update_state();
    [[nodiscard]] std::wstring empty_text() const;
    [[nodiscard]] HWND item(int id) const noexcept { return view_.item(id); }

    const git::LibraryScope library_;  // before everything that holds something of libgit2
    HWND dialog_ = nullptr;
    HWND frame_;
    std::future<HistoryBeginning> beginning_;  // is read while the window is made
    std::unique_ptr<HistorySource> source_;    // never null
    std::shared_ptr<git::Git> commands_ = std::make_shared<git::Git>();
    std::shared_ptr<git::Git> filters_ = std::make_shared<git::Git>();
    win32::WorkPool count_pool_;
    win32::WorkPool filter_pool_;
    win32::WorkPool command_pool_;
    win32::WorkPool references_pool_;
    HistoryView view_;
    BranchesDropdown branches_;
    RevlaneList list_;
    CommitView commit_;
    ReferenceReading references_{references_pool_};
    bool references_are_old_ = true;
    // What waits for the number of commits, which is shown in less time.
    std::unique_ptr<Selection> waiting_selection_;
    bool reload_waits_ = false;
    HistorySearch search_;  // what was asked for last
    // Whose commits the list shows; only as long as it has a filter.
    HistorySearch search_in_force_;
    RECT place_{};  // on the screen, as the window opens
    bool opens_maximized_ = false;
    bool is_shown_ = false;
    bool was_called_back_ = false;  // while it waited for the end of the last switch
};

HistoryWindow::HistoryWindow(const Opening& opening)
    : frame_(opening.frame), beginning_(std::move(opening.beginning)),
      source_(std::make_unique<HistorySource>(opening.repository, std::string())),
      branches_(command_pool_, commands_),
      list_(opening.frame, commands_, filters_, {count_pool_, filter_pool_, command_pool_})
{
}

HistoryWindow::~HistoryWindow()
{
    end_all_work();
}

// Nothing is posted after this.
void HistoryWindow::end_all_work()
{
    references_.cancel();
    filters_->shutdown();
    end_work(*commands_, {&count_pool_, &filter_pool_, &command_pool_, &references_pool_});
    if (MSG kept{}; win32::take_waiting(dialog_, WM_REVLANE_STASH_KEPT, kept))
        tell_kept(win32::take_owned<std::wstring>(kept.wParam));
    win32::drain_owned<std::wstring>(dialog_, WM_REVLANE_STASH_KEPT);
    win32::drain_owned<git::CommandResult>(dialog_, WM_REVLANE_COMMAND_RESULT);
    win32::drain_owned<Selection>(dialog_, WM_REVLANE_SELECTION);
    win32::drain_owned<git_oid>(dialog_, WM_REVLANE_SELECT_COMMIT);
    win32::drain_owned<git_oid>(dialog_, WM_REVLANE_OPEN_COMMIT);
    win32::drain_owned<RevisionPair>(dialog_, WM_REVLANE_COMPARE_REVISIONS);
    win32::drain_owned<std::string>(dialog_, WM_REVLANE_SET_REVISION);
    win32::drain_owned<std::wstring>(dialog_, WM_REVLANE_SHOW_FILE_HISTORY);
    win32::drain_owned<std::wstring>(dialog_, WM_REVLANE_OPEN_REPOSITORY);
}

void HistoryWindow::tell_kept(std::unique_ptr<std::wstring> told)
{
    if (told != nullptr)
        host::send_request(frame_, WM_REVLANE_STASH_KEPT, std::move(told));
}

// The user closes the window. A switch of branches that has begun comes to its end first, unseen:
// ended halfway it would leave his changes in a stash. Whoever calls the window back and closes it
// again wants to end it: git may hang.
void HistoryWindow::close()
{
    if (!is_changing_repository() || was_called_back_) {
        DestroyWindow(dialog_);
        return;
    }
    ShowWindow(dialog_, SW_HIDE);
    SetTimer(dialog_, END_TIMER, END_INTERVAL, nullptr);
}

void HistoryWindow::come_to_front()
{
    if (!is_shown_)
        return;
    if (KillTimer(dialog_, END_TIMER))
        was_called_back_ = is_changing_repository();
    ShowWindow(dialog_, IsIconic(dialog_) ? SW_RESTORE : SW_SHOW);
    SetForegroundWindow(dialog_);
}

bool HistoryWindow::is_changing_repository() const
{
    return branches_.is_switching() || list_.is_changing_repository();
}

win32::Handled HistoryWindow::handle(const win32::Message& message)
{
    switch (message.id) {
    case WM_INITDIALOG:
        return on_init(message.window);
    case WM_SIZE:
        lay_out();
        update_state();
        carry_on();
        return 0;
    case WM_GETMINMAXINFO:
        view_.limit_size(*reinterpret_cast<MINMAXINFO*>(message.lparam));
        return 0;
    case WM_TIMER:
        if (message.wparam == STATE_TIMER)
            update_state();
        else if (message.wparam == COUNT_TIMER)
            carry_on();
        else if (message.wparam == END_TIMER && !is_changing_repository())
            // Behind the last results.
            PostMessageW(dialog_, WM_CLOSE, 0, 0);
        else
            return std::nullopt;
        return 0;
    case WM_NOTIFY:
        return on_notify(*reinterpret_cast<NMHDR*>(message.lparam));
    case WM_COMMAND:
        return on_command(LOWORD(message.wparam), HIWORD(message.wparam));
    case WM_CONTEXTMENU:
        // From the keyboard only: the mouse arrives as NM_RCLICK.
        if (reinterpret_cast<HWND>(message.wparam) != item(IDC_FILES_TREE) || message.lparam != -1)
            return std::nullopt;
        on_tree_menu(commit_.files().keyboard_menu_place());
        return 0;
    case WM_SETCURSOR:
        return on_set_cursor();
    case WM_LBUTTONDOWN:
    case WM_MOUSEMOVE:
    case WM_LBUTTONUP:
        return view_.on_mouse(message);
    case WM_CLOSE:
        close();
        return 0;
    case WM_DESTROY:
        // Before it is shown it does not lie where the user wants it.
        if (is_shown_)
            write_history_placement(frame_, dialog_, view_.splitter());
        return std::nullopt;
    case WM_NCDESTROY:
        remove_modeless_dialog(dialog_);
        end_all_work();
        dialog_ = nullptr;
        return std::nullopt;
    default:
        return on_posted_message(message);
    }
}

win32::Handled HistoryWindow::on_posted_message(const win32::Message& message)
{
    switch (message.id) {
    case WM_REVLANE_SELECT_COMMIT:
        if (const auto id = win32::take_owned<git_oid>(message.wparam)) {
            PostMessageW(dialog_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(list_.window()), TRUE);
            list_.select_commit(*id);
        }
        return 0;
    case WM_REVLANE_SHOW_HEAD:
        set_revision("HEAD");
        return 0;
    case WM_REVLANE_SHOW_FILE_HISTORY:
        if (const auto path = win32::take_owned<std::wstring>(message.wparam))
            show_file_history(*path);
        return 0;
    case WM_REVLANE_OPEN_REPOSITORY:
        if (const auto path = win32::take_owned<std::wstring>(message.wparam))
            open_repository(*path);
        return 0;
    case WM_REVLANE_COME_TO_FRONT:
        come_to_front();
        return 0;
    case WM_REVLANE_OPEN_COMMIT:
        if (const auto id = win32::take_owned<git_oid>(message.wparam); id && source_->repository())
            show_commit_changes(comparison_place(), *id);
        return 0;
    case WM_REVLANE_SELECTION:
        if (auto selection = win32::take_owned<Selection>(message.wparam))
            on_selection(std::move(selection));
        return 0;
    case WM_REVLANE_COMPARE_REVISIONS:
        if (const auto commits = win32::take_owned<RevisionPair>(message.wparam);
            commits && source_->repository())
            show_changes_between(comparison_place(), *commits);
        return 0;
    case WM_REVLANE_REFRESH_ALL: {
        const HWND frame = frame_;
        reload();
        host::send_request(frame, WM_REVLANE_EXTERNAL_REFRESH);
        return 0;
    }
    case WM_REVLANE_COMMAND_RESULT:
        on_command_result(win32::take_owned<git::CommandResult>(message.wparam));
        return 0;
    case WM_REVLANE_STASH_KEPT:
        tell_kept(win32::take_owned<std::wstring>(message.wparam));
        return 0;
    case WM_REVLANE_SET_REVISION:
        if (const auto name = win32::take_owned<std::string>(message.wparam))
            set_revision(*name);
        return 0;
    case WM_REVLANE_RELOAD_REFERENCES:
        on_reload();
        return 0;
    case WM_HISTORY_REFERENCES:
        if (auto references = win32::take_owned<ReferenceMap>(message.wparam))
            on_references(std::move(*references));
        return 0;
    case WM_HISTORY_FILL:
        on_fill();
        return 0;
    case WM_HISTORY_PLACE:
        on_place();
        return 0;
    case WM_HISTORY_SHOW:
        on_show();
        return 0;
    case WM_HISTORY_DRAW:
        list_.draw();
        return 0;
    case WM_HISTORY_TREE_RETURN:
        if (commit_.files().selected_file())
            compare_tree_file();
        else
            commit_.files().toggle_folder();
        return 0;
    default:
        return std::nullopt;
    }
}

LRESULT HistoryWindow::on_init(HWND dialog)
{
    dialog_ = dialog;
    add_modeless_dialog(dialog, frame_, handle_key);
    const HistoryPlacement placement = read_history_placement(frame_);
    view_.attach(dialog, placement.splitter);
    commit_.init(item(IDC_COMMIT_DETAILS), item(IDC_FILES_TREE));
    branches_.attach(dialog, item(IDC_HISTORY_BRANCH));
    place_ = placement.window;
    opens_maximized_ = placement.is_maximized;
    // Making the window, filling, placing, showing and drawing it take long enough for a message each.
    // All ahead of what follows from filling the list, so that the commits are drawn before their
    // details are read.
    for (const UINT step : {WM_HISTORY_FILL, WM_HISTORY_PLACE, WM_HISTORY_SHOW, WM_HISTORY_DRAW})
        PostMessageW(dialog, step, 0, 0);
    return FALSE;
}

void HistoryWindow::on_fill()
{
    HistoryBeginning beginning;
    std::exception_ptr failure;
    try {
        beginning = beginning_.get();
        source_ = std::move(beginning.source);
    } catch (...) {
        // Told once the list can do its work: the user may try again.
        failure = std::current_exception();
    }
    // The commits before all else: they are counted while the rest is placed and drawn. An error box
    // may stand, during which the window may go.
    list_.set_repository(source_->repository());
    list_.set_start(source_->start());
    list_.set_first_page(std::move(beginning.page));
    list_.init(dialog_);
    if (failure)
        std::rethrow_exception(failure);
}

void HistoryWindow::on_place()
{
    // First what the controls are to show, so that they are laid out once.
    if (source_->repository())
        fill_branches();
    SetWindowPos(dialog_, nullptr, place_.left, place_.top, place_.right - place_.left,
                 place_.bottom - place_.top, SWP_NOZORDER | SWP_NOACTIVATE);
    branches_.begin();
    lay_out();
    update_state();
}

void HistoryWindow::on_show()
{
    is_shown_ = true;
    set_window_icon(dialog_);
    ShowWindow(dialog_, opens_maximized_ ? SW_SHOWMAXIMIZED : SW_SHOW);
    SetFocus(list_.window());
}

void HistoryWindow::open_repository(const std::filesystem::path& path)
{
    if (path != source_->path()) {
        source_->turn_to(path);
        search_ = {};
    } else if (source_->repository()) {
        // Behind what waits: the branch that is to be shown may have been chosen with it, and its
        // commits are to be seen first.
        PostMessageW(dialog_, WM_REVLANE_RELOAD_REFERENCES, 0, 0);
        return;
    }
    show_no_repository();
    reload();
}

// Everything but the list, which is told by itself.
void HistoryWindow::show_no_repository()
{
    branches_.set_repository(nullptr);
    waiting_selection_.reset();
    references_.cancel();
    references_are_old_ = true;
    commit_.set_references({});
    commit_.clear();
}

// Opens the repository anew, and reads what does not depend on the commits that are shown.
void HistoryWindow::reload()
{
    const bool had_repository = source_->repository().has_value();
    references_are_old_ = true;
    if (source_->read())
        fill_branches();
    else
        show_no_repository();
    show_start(!had_repository || !source_->repository());
}

// Requests that wait are carried out as one.
void HistoryWindow::on_reload()
{
    win32::drop_waiting(dialog_, WM_REVLANE_RELOAD_REFERENCES);
    reload_waits_ = list_.expects_count();
    if (reload_waits_)
        wait_for_count();
    else
        reload();
}

// What was read is shown in the drop-down.
void HistoryWindow::fill_branches()
{
    branches_.renew_repository(&*source_->repository());
    if (source_->branches())
        branches_.fill(*source_->branches(), source_->current(), source_->unborn_branch());
}

void HistoryWindow::set_revision(std::string name)
{
    source_->show(std::move(name));
    if (source_->repository())
        fill_branches();
    show_start(false, true);
}

// Shows the commits of the current reference. The list stays as it is when that has not moved, unless
// it is to be filled `anew`; what was searched for is then searched for again only if `again`.
void HistoryWindow::show_start(bool anew, bool again)
{
    const std::optional<git_oid> start = source_->start();
    const std::optional<git_oid>& shown = list_.start();
    const bool has_search_failed = list_.has_search_failed();
    const bool had_filter = list_.has_filter();
    const bool has_moved =
        start.has_value() != shown.has_value() || (start && !git_oid_equal(&*start, &*shown));
    if (anew)
        list_.set_repository(source_->repository());
    else
        list_.renew_repository(source_->repository());
    list_.set_start(start);
    if (commit_.commit()) {
        // The references at the commit may have changed. One that is gone stays on view.
        if (const auto commit =
                git::lookup_commit(source_->repository()->handle.get(), *commit_.commit()))
            show_commit(*commit);
    }
    // The list may show an error box, during which the window may go.
    const HWND dialog = dialog_;
    const bool is_to_be_filled = anew || has_moved;
    const bool is_to_be_searched = is_to_be_filled || again || search_.may_find_more();
    // What has failed would fail again, and say so in a box that nobody has asked for.
    if (is_to_be_searched && has_search_failed)
        search_ = had_filter ? search_in_force_ : HistorySearch{};
    if (start && !search_.is_empty() && is_to_be_searched)
        search(is_to_be_filled && !list_.has_filter());
    else if (is_to_be_filled)
        list_.refresh();
    if (!IsWindow(dialog))
        return;
    lay_out();
    update_state();
}

// Searches for what the user has asked for, after the list was filled without it if `fill_first`.
void HistoryWindow::search(bool fill_first)
{
    const HWND dialog = dialog_;
    if (fill_first) {
        list_.refresh();
        if (!IsWindow(dialog))
            return;
    }
    if (!search_.file_path.empty())
        list_.show_file_history(search_.file_path);
    else
        list_.filter(source_->revision_argument(), search_.filter);
    if (!IsWindow(dialog))
        return;
    lay_out();
    update_state();
}

void HistoryWindow::show_file_history(const std::wstring& path)
{
    if (!source_->repository() || source_->current() == nullptr)
        return;
    search_.clear();
    search_.file_path = path;
    search();
}

win32::Handled HistoryWindow::on_notify(NMHDR& header)
{
    if (header.idFrom == IDC_COMMIT_LIST) {
        // A menu may stand in between, and the window may go meanwhile; not so with these two.
        const bool is_selection =
            header.code == LVN_ITEMCHANGED || header.code == LVN_ODSTATECHANGED;
        const LRESULT result = list_.on_notify(header);
        if (is_selection) {
            const bool has_one = list_.selected_count() == 1;
            EnableWindow(item(IDC_COMPARE_WITH_PARENT), has_one);
            // The list tells of rows that become selected. Of several the user has left one.
            if (has_one && has_lost_selection(header))
                list_.post_selection();
        }
        return result;
    }
    if (header.idFrom != IDC_FILES_TREE)
        return std::nullopt;
    switch (header.code) {
    case TVN_ITEMEXPANDINGW:
        commit_.files().on_expanding(*reinterpret_cast<const NMTREEVIEWW*>(&header));
        return 0;
    case NM_RCLICK:
        commit_.files().select_at_cursor();
        {
            POINT place{};
            GetCursorPos(&place);
            on_tree_menu(place);
        }
        return 1;
    case NM_DBLCLK:
        // On a folder it opens and closes, as everywhere.
        if (!commit_.files().selected_file())
            return 0;
        compare_tree_file();
        return 1;
    default:
        return std::nullopt;
    }
}

win32::Handled HistoryWindow::on_command(UINT id, UINT code)
{
    switch (id) {
    case IDC_FILTER:
        on_filter();
        return 0;
    case IDC_CLEAR_FILTER:
        on_clear_filter();
        return 0;
    case IDC_COMPARE_WITH_PARENT:
        if (const std::optional<git_oid> commit = list_.selected_commit();
            commit && source_->repository())
            show_commit_changes(comparison_place(), *commit);
        return 0;
    case IDC_HISTORY_BRANCH:
        if (branches_.on_command(code))
            on_branch_picked();
        return 0;
    case ID_COMPARE_TREE_FILE:
        compare_tree_file();
        return 0;
    case ID_TREE_FILE_HISTORY:
        if (const std::optional<std::wstring> path = commit_.files().selected_file())
            show_file_history(*path);
        return 0;
    case IDCANCEL:
        close();
        return 0;
    default:
        return std::nullopt;
    }
}

// The user turns to the branch that is checked out, or will be when the switch has ended.
void HistoryWindow::on_branch_picked()
{
    source_->follow_head();
    was_called_back_ = false;
    if (!branches_.is_switching())
        PostMessageW(dialog_, WM_REVLANE_SHOW_HEAD, 0, 0);
}

void HistoryWindow::on_filter()
{
    if (source_->current() == nullptr)
        return;
    const HWND dialog = dialog_;
    Filter::State wanted = search_.filter;
    // The window may have gone while its dialog stood, and the reference too.
    if (!ask_filter(dialog, wanted) || !IsWindow(dialog) || source_->current() == nullptr)
        return;
    search_ = {std::move(wanted), {}};
    search();
}

void HistoryWindow::on_clear_filter()
{
    search_.clear();
    lay_out();
    list_.clear_filter();
    const HWND dialog = dialog_;
    // The button that had the focus may be gone.
    SetFocus(list_.window());
    list_.refresh();
    if (IsWindow(dialog))
        update_state();
}

void HistoryWindow::on_tree_menu(POINT place)
{
    const win32::MenuHandle menu(
        LoadMenuW(host::resource_module(), MAKEINTRESOURCEW(IDM_FILES_TREE)));
    const HMENU items = GetSubMenu(menu.get(), 0);
    SetMenuDefaultItem(items, ID_COMPARE_TREE_FILE, FALSE);
    if (!commit_.files().has_selection())
        EnableMenuItem(items, ID_COMPARE_TREE_FILE, MF_GRAYED);
    // Another commit may be shown while the menu stands, and the window may go.
    const std::optional<git_oid> commit = commit_.commit();
    const std::optional<std::wstring> file = commit_.files().selected_file();
    const std::filesystem::path repository = source_->path();
    if (!file)
        EnableMenuItem(items, ID_TREE_FILE_HISTORY, MF_GRAYED);
    const HWND dialog = dialog_;
    const BOOL chosen =
        TrackPopupMenuEx(items, TPM_RIGHTBUTTON | TPM_RETURNCMD, place.x, place.y, dialog, nullptr);
    if (!IsWindow(dialog) || !source_->repository() || source_->path() != repository)
        return;
    if (chosen == ID_COMPARE_TREE_FILE && commit)
        compare_file(comparison_place(), *commit, file);
    else if (chosen == ID_TREE_FILE_HISTORY && file)
        show_file_history(*file);
}

void HistoryWindow::on_selection(std::unique_ptr<Selection> selection)
{
    EnableWindow(item(IDC_COMPARE_WITH_PARENT), list_.selected_count() == 1);
    waiting_selection_.reset();
    // What is to be shown is said by the last of those that wait.
    if (win32::is_waiting(dialog_, WM_REVLANE_SELECTION))
        return;
    if (list_.expects_count()) {
        waiting_selection_ = std::move(selection);
        wait_for_count();
        return;
    }
    if (!selection->has_value || !source_->repository()) {
        commit_.clear();
        return;
    }
    const git::Result<git::Commit> commit =
        git::lookup_commit(source_->repository()->handle.get(), selection->id);
    if (commit) {
        show_commit(*commit);
        return;
    }
    commit_.clear();
    win32::show_error(dialog_, git::to_wide(commit.error()));
}

// The references are read when the first commit is shown: the list is drawn by then.
void HistoryWindow::show_commit(const git::Commit& commit)
{
    commit_.show(*source_->repository(), commit);
    if (std::exchange(references_are_old_, false))
        references_.start(dialog_, source_->path());
}

void HistoryWindow::on_references(ReferenceMap references)
{
    commit_.set_references(std::move(references));
    if (!commit_.commit() || !source_->repository())
        return;
    if (const auto commit =
            git::lookup_commit(source_->repository()->handle.get(), *commit_.commit()))
        show_commit(*commit);
}

void HistoryWindow::wait_for_count()
{
    SetTimer(dialog_, COUNT_TIMER, COUNT_INTERVAL, nullptr);
}

// Asks for what has waited, once the number of commits has come or lets wait for it.
void HistoryWindow::carry_on()
{
    const bool waits = reload_waits_ || waiting_selection_ != nullptr;
    if (waits && list_.expects_count())
        return;
    // Also when nothing waits any more: what did may have been done or dropped meanwhile.
    KillTimer(dialog_, COUNT_TIMER);
    if (std::exchange(reload_waits_, false))
        PostMessageW(dialog_, WM_REVLANE_RELOAD_REFERENCES, 0, 0);
    if (waiting_selection_ != nullptr)
        win32::post_owned(dialog_, WM_REVLANE_SELECTION, std::move(waiting_selection_));
}

void HistoryWindow::compare_tree_file()
{
    if (source_->repository() && commit_.commit())
        compare_file(comparison_place(), *commit_.commit(), commit_.files().selected_file());
}

ComparisonPlace HistoryWindow::comparison_place() const
{
    return {dialog_, frame_, *source_->repository()};
}

void HistoryWindow::on_command_result(std::unique_ptr<git::CommandResult> result)
{
    if (result == nullptr)
        return;
    PostMessageW(dialog_, WM_REVLANE_REFRESH_ALL, 0, 0);
    host::send_request(frame_, WM_REVLANE_COMMAND_RESULT, std::move(result));
}

win32::Handled HistoryWindow::on_set_cursor() const
{
    const wchar_t* cursor = nullptr;
    if (view_.is_pointer_on_splitter())
        cursor = IDC_SIZENS;
    else if (branches_.is_switching())
        cursor = IDC_APPSTARTING;
    if (cursor == nullptr)
        return std::nullopt;
    SetCursor(LoadCursorW(nullptr, cursor));
    return TRUE;
}

void HistoryWindow::lay_out()
{
    view_.lay_out({.has_repository = source_->repository().has_value(),
                   .has_commits = source_->current() != nullptr,
                   .has_search = !search_.is_empty()});
}

void HistoryWindow::update_state()
{
    if (list_.has_filter() && list_.is_filter_current())
        search_in_force_ = search_;
    const std::wstring name = source_->path().filename().native();
    win32::show_window_text(dialog_, text_with(IDS_HISTORY_TITLE, name));
    win32::show_window_text(item(IDC_HISTORY_TITLE),
                            heading_text(source_->path(), source_->branch_name()));
    win32::show_window_text(
        item(IDC_HISTORY_STATE),
        state_text({.count = list_.item_count(),
                    .is_searching = list_.is_filtering(),
                    .is_counting = list_.is_counting(),
                    .has_filter = list_.has_filter()},
                   list_.has_filter() ? search_text(search_in_force_) : std::wstring()));
    win32::show_window_text(item(IDC_HISTORY_EMPTY), empty_text());
    if (list_.is_filtering() || list_.is_counting())
        SetTimer(dialog_, STATE_TIMER, STATE_INTERVAL, nullptr);
    else
        KillTimer(dialog_, STATE_TIMER);
}

std::wstring HistoryWindow::empty_text() const
{
    if (!source_->repository())
        return text_with(IDS_REPOSITORY_GONE, source_->path().native());
    if (source_->head_failure())
        return git::to_wide(*source_->head_failure());
    return text_with(IDS_HISTORY_UNBORN, source_->unborn_branch().value_or(L""));
}

}  // namespace

HWND open_history_window(const HistoryRequest& request)
{
    // Until the window has a scope of its own. What is read outlives the thread that reads it.
    const git::LibraryScope library;
    std::future<HistoryBeginning> beginning =
        std::async(read_beginning, request.repository, request.revision.value_or(""));
    const Opening opening{request.frame, request.repository, beginning};
    return CreateDialogParamW(host::resource_module(), MAKEINTRESOURCEW(IDD_HISTORY), request.frame,
                              win32::owning_dialog_proc<HistoryWindow, Opening>,
                              reinterpret_cast<LPARAM>(&opening));
}

}  // namespace revlane
