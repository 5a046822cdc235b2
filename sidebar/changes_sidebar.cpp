#include "sidebar/changes_sidebar.h"

#include "changes/end_work.h"
#include "changes/list_control.h"
#include "plugin/host/editor.h"
#include "plugin/host/localized.h"
#include "plugin/host/settings.h"
#include "resources/ids.h"
#include "sidebar/change_rows.h"
#include "win32/posted.h"

#include <commctrl.h>

#include <utility>

namespace revlane {

namespace {

constexpr UINT BUSY_INTERVAL_MS = 100;
// A command that ends sooner shows no progress: the bar would only flash.
constexpr auto PROGRESS_DELAY = std::chrono::milliseconds(250);
// An automatic fetch stays unseen unless it takes this long: then git may be waiting for an answer
// that nobody can give it.
constexpr auto FETCH_PROGRESS_DELAY = std::chrono::seconds(3);
constexpr UINT STAMPS_INTERVAL_MS = 2000;

}  // namespace

ChangesSidebar::ChangesSidebar(HWND host)
    : host_(host), life_(std::make_shared<const char>()), git_(std::make_shared<git::Git>()),
      changes_(reading_pool_), branch_(pool_, git_), branches_(host, pool_, git_),
      commands_(pool_, git_), state_slot_(reading_pool_), stamps_slot_(reading_pool_),
      is_ending_(std::make_shared<std::atomic<bool>>(false)),
      fetch_context_(std::make_shared<AutoFetcher::Context>()),
      fetcher_(std::make_shared<git::Git>(), fetch_context_)
{
}

ChangesSidebar::~ChangesSidebar()
{
    end_all_work();
    if (dialog_ != nullptr)
        DestroyWindow(dialog_);
}

// Nothing that was queued runs any more, and nothing is posted after this.
void ChangesSidebar::end_all_work() noexcept
{
    watcher_.stop();
    fetcher_.stop();
    fetcher_.cancel();
    changes_.cancel();
    *is_ending_ = true;
    end_work(*git_, {&pool_, &reading_pool_});
    drain_messages();
}

void ChangesSidebar::drain_messages() noexcept
{
    win32::drain_owned<ChangesResult>(dialog_, WM_REVLANE_CHANGES);
    win32::drain_owned<std::wstring>(dialog_, WM_REVLANE_OPEN_REPOSITORY);
    win32::drain_owned<git::CommandResult>(dialog_, WM_REVLANE_COMMAND_RESULT);
    // No box of the panel's can stand any more.
    if (MSG kept{}; win32::take_waiting(dialog_, WM_REVLANE_STASH_KEPT, kept))
        if (const auto told = win32::take_owned<std::wstring>(kept.wParam))
            host::set_status_text(host_, *told);
    win32::drain_owned<std::wstring>(dialog_, WM_REVLANE_STASH_KEPT);
    win32::drain_owned<PanelState>(dialog_, WM_REVLANE_PANEL_STATE);
    win32::drain_owned<std::wstring>(dialog_, WM_PANEL_COMMITTED);
    win32::drain_owned<std::wstring>(dialog_, WM_PANEL_REFUSED);
    win32::drain_owned<StampsRead>(dialog_, WM_PANEL_STAMPS);
}

win32::Handled ChangesSidebar::handle(const win32::Message& message)
{
    return message.id >= WM_APP ? on_posted_message(message) : on_dialog_message(message);
}

win32::Handled ChangesSidebar::on_dialog_message(const win32::Message& message)
{
    switch (message.id) {
    case WM_INITDIALOG:
        return on_init(message.window);
    case WM_COMMAND:
        return on_command(LOWORD(message.wparam), HIWORD(message.wparam));
    case WM_NOTIFY:
    case WM_CONTEXTMENU:
        return on_list_message(message);
    case WM_DRAWITEM:
        return view_.draw_item(*reinterpret_cast<const DRAWITEMSTRUCT*>(message.lparam))
                   ? win32::Handled(TRUE)
                   : std::nullopt;
    case WM_SIZE:
        view_.lay_out();
        return 0;
    case WM_DPICHANGED:
    case WM_DPICHANGED_AFTERPARENT:
    case WM_SETTINGCHANGE:
    case WM_THEMECHANGED:
        view_.renew_fonts();
        SendDlgItemMessageW(dialog_, IDC_BRANCHES_LIST, WM_DPICHANGED, 0, 0);
        return 0;
    case WM_SETCURSOR:
        return on_set_cursor(message);
    case WM_LBUTTONDOWN:
    case WM_MOUSEMOVE:
    case WM_LBUTTONUP:
    case WM_CAPTURECHANGED:
        return view_.on_mouse(message);
    case WM_TIMER:
        on_timer(message.wparam);
        return 0;
    case WM_CLOSE:
        // The editor closes bars. An edit control would close its dialog on Escape.
        return 0;
    case WM_DESTROY:
        end_all_work();
        return 0;
    case WM_NCDESTROY:
        view_.detach();
        dialog_ = nullptr;
        return 0;
    default:
        return std::nullopt;
    }
}

win32::Handled ChangesSidebar::on_posted_message(const win32::Message& message)
{
    switch (message.id) {
    case WM_REVLANE_REFRESH:
        refresh();
        return 0;
    case WM_REVLANE_REFRESH_ALL:
        on_refresh_all();
        return 0;
    case WM_REVLANE_FILES_CHANGED:
    case WM_REVLANE_EXTERNAL_REFRESH:
        on_files_changed();
        return 0;
    case WM_REVLANE_CHECK_DOCUMENT:
        on_check_document();
        return 0;
    case WM_REVLANE_OPEN_REPOSITORY:
        if (const auto path = win32::take_owned<std::wstring>(message.wparam))
            on_open_repository(*path);
        return 0;
    case WM_REVLANE_CHANGES:
        if (auto result = win32::take_owned<ChangesResult>(message.wparam))
            on_changes(*result);
        return 0;
    case WM_REVLANE_COMMAND_RESULT:
        if (const auto result = win32::take_owned<git::CommandResult>(message.wparam))
            on_command_result(*result);
        return 0;
    case WM_REVLANE_STASH_KEPT:
        if (auto told = win32::take_owned<std::wstring>(message.wparam))
            show_error_later(std::move(*told));
        return 0;
    case WM_REVLANE_STATUS:
        on_status();
        return 0;
    case WM_REVLANE_TASK_DONE:
        read_state();
        return 0;
    case WM_REVLANE_PANEL_STATE:
        if (auto state = win32::take_owned<PanelState>(message.wparam))
            on_state(std::move(*state));
        return 0;
    case WM_PANEL_SHOW_ERRORS:
        errors_.show_waiting(dialog_);
        return 0;
    case WM_PANEL_SHOW:
        on_show();
        return 0;
    case WM_PANEL_TIPS:
        view_.attach_tips();
        return 0;
    case WM_PANEL_REFRESH:
        if (refresh_waits_)
            on_refresh();
        return 0;
    case WM_PANEL_COMMITTED:
        if (const auto committed = win32::take_owned<std::wstring>(message.wparam))
            commit_box_.clear_if(*committed);
        return 0;
    case WM_PANEL_REFUSED:
        if (auto reason = win32::take_owned<std::wstring>(message.wparam))
            show_error_later(std::move(*reason));
        return 0;
    case WM_PANEL_CANCELLED:
        is_cancelling_ = false;
        return 0;
    case WM_PANEL_STAMPS:
        if (const auto read = win32::take_owned<StampsRead>(message.wparam))
            on_stamps(*read);
        return 0;
    default:
        return std::nullopt;
    }
}

win32::Handled ChangesSidebar::on_list_message(const win32::Message& message)
{
    if (message.id == WM_NOTIFY) {
        const auto& header = *reinterpret_cast<const NMHDR*>(message.lparam);
        if (header.code == NM_CUSTOMDRAW) {
            const auto& draw = *reinterpret_cast<const NMLVCUSTOMDRAW*>(message.lparam);
            if (header.idFrom == IDC_CHANGES_LIST)
                return draw_change_row(draw, changes_.changes(), view_.dpi());
            if (header.idFrom == IDC_STAGED_LIST)
                return draw_change_row(draw, staged_.changes(), view_.dpi());
        }
    }
    // A menu or a command may end the panel, so nothing is touched after a list has taken part.
    if (const win32::Handled handled = changes_.on_owner_message(message))
        return handled;
    if (const win32::Handled handled = staged_.on_owner_message(message))
        return handled;
    return branches_.on_owner_message(message);
}

LRESULT ChangesSidebar::on_init(HWND dialog)
{
    dialog_ = dialog;
    changes_.attach(dialog, GetDlgItem(dialog, IDC_CHANGES_LIST),
                    host::load_text(IDS_CHANGES_EMPTY));
    staged_.attach(dialog, GetDlgItem(dialog, IDC_STAGED_LIST), host::load_text(IDS_STAGED_EMPTY));
    branch_.attach(dialog, GetDlgItem(dialog, IDC_BRANCH));
    branches_.attach(dialog, GetDlgItem(dialog, IDC_BRANCHES_LIST),
                     host::load_text(IDS_BRANCHES_EMPTY));
    view_.attach(dialog, host_);
    commit_box_.attach(GetDlgItem(dialog, IDC_COMMIT_MESSAGE),
                       host::load_text(IDS_COMMIT_PLACEHOLDER), [this] { on_commit_key(); });
    auto_fetch_ = host::read_number(host_, host::SETTING_AUTO_FETCH) != 0;
    // When the editor has docked the dialog, it has its size.
    PostMessageW(dialog_, WM_PANEL_SHOW, 0, 0);
    choose_initial_repository();
    if (!repository_)
        show_no_repository({});
    // At once: the files are compared while the editor makes room for the panel.
    else if (refresh_waits_)
        on_refresh();
    // Not before it knows the repository: it fetches at once, and then only after some minutes.
    if (auto_fetch_)
        fetcher_.run(dialog_);
    else
        fetcher_.stop();
    SetTimer(dialog_, TIMER_STAMPS, STAMPS_INTERVAL_MS, nullptr);
    // The focus stays with the text of the editor.
    return FALSE;
}

void ChangesSidebar::on_show()
{
    {
        // Nothing is drawn but all of it, at the end.
        const RedrawPause pause(dialog_);
        view_.show();
        changes_.begin();
        staged_.begin();
        branch_.begin();
        branches_.begin();
        commit_box_.begin();
    }
    // Behind the rows, which may be here already: nobody points at a control that soon.
    PostMessageW(dialog_, WM_PANEL_TIPS, 0, 0);
}

void ChangesSidebar::show_error_later(std::wstring text)
{
    errors_.add(dialog_, WM_PANEL_SHOW_ERRORS, std::move(text));
}

win32::Handled ChangesSidebar::on_set_cursor(const win32::Message& message)
{
    // Without a window it is posted by whoever has just queued a task.
    if (message.wparam == 0) {
        watch_busy();
        update_cursor();
        return TRUE;
    }
    if (const win32::Handled handled = view_.on_mouse(message))
        return handled;
    if (LOWORD(message.lparam) != HTCLIENT || !(commands_.is_busy() || changes_.is_busy()))
        return std::nullopt;
    SetCursor(LoadCursorW(nullptr, IDC_APPSTARTING));
    return TRUE;
}

// Windows asks for a cursor only when the pointer moves.
void ChangesSidebar::update_cursor() const
{
    POINT point{};
    GetCursorPos(&point);
    const HWND below = WindowFromPoint(point);
    if (below == dialog_ || IsChild(dialog_, below))
        SendMessageW(below, WM_SETCURSOR, reinterpret_cast<WPARAM>(below),
                     MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
}

bool ChangesSidebar::is_fetching_long() const
{
    const auto since = fetch_context_->fetching_since();
    return since && AutoFetcher::Clock::now() - *since >= FETCH_PROGRESS_DELAY;
}

// Whether something runs that the user can cancel.
bool ChangesSidebar::is_busy() const
{
    return commands_.is_busy() || is_fetching_long();
}

void ChangesSidebar::watch_busy()
{
    if (busy_since_ || !is_busy())
        return;
    busy_since_ = std::chrono::steady_clock::now();
    SetTimer(dialog_, TIMER_BUSY, BUSY_INTERVAL_MS, nullptr);
}

void ChangesSidebar::on_timer(UINT_PTR timer)
{
    switch (timer) {
    case TIMER_BUSY:
        on_busy_timer();
        break;
    case TIMER_LOOK_AGAIN:
        // A second look that waits behind the first would begin before the first one's rows are shown,
        // and slow that down. The timer comes again.
        if (changes_.is_busy())
            break;
        KillTimer(dialog_, TIMER_LOOK_AGAIN);
        refresh();
        break;
    case TIMER_STAMPS:
        check_stamps();
        watch_busy();
        break;
    default:
        break;
    }
}

void ChangesSidebar::on_busy_timer()
{
    if (is_busy()) {
        view_.show_progress(busy_since_ &&
                            std::chrono::steady_clock::now() - *busy_since_ >= PROGRESS_DELAY);
        return;
    }
    KillTimer(dialog_, TIMER_BUSY);
    busy_since_.reset();
    last_command_ = {};
    view_.show_progress(false);
    update_cursor();
}

}  // namespace revlane
