#include "plugin/my_frame.h"

#include "changes/compare.h"
#include "changes/messages.h"
#include "changes/modeless_dialogs.h"
#include "git/handles.h"
#include "history/history_window.h"
#include "plugin/host/editor.h"
#include "plugin/host/settings.h"
#include "resources/ids.h"
#include "win32/error_box.h"
#include "win32/posted.h"
#include "win32/text.h"

#include <git2.h>

#include <optional>
#include <string>
#include <utility>

namespace revlane {

namespace {

// Timers of the bars' windows, which belong to the editor's dialogs too: the numbers are the frame
// layer's.
constexpr UINT_PTR TIMER_SECOND_BAR = 1;
constexpr UINT_PTR TIMER_PANEL = 2;
// Events that come closer together than this are one refresh.
constexpr UINT REFRESH_DELAY_MS = 10;

void CALLBACK refresh_now(HWND window, UINT, UINT_PTR timer, DWORD) noexcept
{
    KillTimer(window, timer);
    PostMessageW(window, WM_REVLANE_REFRESH, 0, 0);
}

// Whether `bar` holds the focus and takes the message. A key may close the bar or the whole frame:
// nothing of them may be touched afterwards.
bool takes_key(HWND bar, HWND focus, MSG& message)
{
    return IsChild(bar, focus) && IsDialogMessageW(bar, &message);
}

}  // namespace

void MyCFrame::OnCommand(HWND window)
{
    if (bar_open_)
        close_bars();
    else
        open_bar(window);
}

void MyCFrame::close_bars()
{
    // The panel lives on until the editor reports its bar closed, which may happen in here.
    const HWND window = window_;
    const SecondBar second = second_bar_;
    host::close_bar(window, bar_id_);
    if (second.open)
        host::close_bar(window, second.id);
}

void MyCFrame::open_bar(HWND window)
{
    const HWND parent = GetParent(window);
    sidebar_ = std::make_unique<ChangesSidebar>(parent);
    bar_open_ = true;
    bar_id_ = 0;
    const HWND dialog = CreateDialogParamW(host::resource_module(), MAKEINTRESOURCEW(IDD_SIDEBAR),
                                           window, win32::dialog_proc<ChangesSidebar>,
                                           reinterpret_cast<LPARAM>(sidebar_.get()));
    if (dialog == nullptr) {
        // Without a localized library there is no dialog, and so no bar. The missing library has
        // been reported when it was looked for.
        close_panel();
        return;
    }
    const std::wstring title = host::load_text(IDS_NAME);
    ShowWindow(dialog, SW_SHOW);
    const std::uint32_t bar = host::open_bar(parent, dialog, title);
    // The editor may have closed the frame as it made room for the bar.
    if (find(parent) == this)
        bar_id_ = bar;
}

void MyCFrame::close_panel()
{
    bar_open_ = false;
    // First out of reach, then gone: what the panel sends as it ends finds no panel any more.
    const std::unique_ptr<ChangesSidebar> closed = std::move(sidebar_);
}

void MyCFrame::end_windows()
{
    close_modeless_dialogs(window_);
}

HWND MyCFrame::panel() const noexcept
{
    return bar_open_ && sidebar_ != nullptr ? sidebar_->window() : nullptr;
}

void MyCFrame::on_event(HWND window, UINT event, LPARAM argument)
{
    // The editor may report several things at once; the frame takes part in none of those.
    switch (event) {
    case host::EVENT_FRAME_CREATED:
        on_created(window);
        break;
    case host::EVENT_FRAME_CLOSED:
        on_closed();
        break;
    case host::EVENT_DOC_CHECK:
        if (const HWND bar = panel())
            PostMessageW(bar, WM_REVLANE_CHECK_DOCUMENT, 0, 0);
        break;
    case host::EVENT_REFRESH:
    case host::EVENT_REFRESH_2:
        post_to_bars(WM_REVLANE_REFRESH);
        break;
    case host::EVENT_REFRESH_DEFERRED:
        start_refresh_timers();
        break;
    case host::EVENT_CUSTOM_BAR_CLOSED:
        if (argument != 0)
            on_bar_closed(*reinterpret_cast<const host::CustomBarClosed*>(argument));
        break;
    default:
        break;
    }
}

void MyCFrame::on_created(HWND window)
{
    git_ = std::make_shared<git::Git>();
    if (!std::exchange(holds_library_, true))
        git::begin_library();
    if (!bar_open_ && host::read_number(window_, host::SETTING_OPEN_STARTUP) != 0)
        OnCommand(window);
}

void MyCFrame::on_closed()
{
    if (std::exchange(holds_library_, false))
        git_libgit2_shutdown();
    remove_temp_directory();
    if (git_ != nullptr)
        git_->shutdown();
}

void MyCFrame::on_bar_closed(const host::CustomBarClosed& report)
{
    const std::uint32_t open_at_start = report.flags & 1U;
    if (bar_open_ && report.bar_id == bar_id_) {
        close_panel();
        host::write_number(window_, host::SETTING_OPEN_STARTUP, open_at_start);
    } else if (second_bar_.open && report.bar_id == second_bar_.id) {
        second_bar_.window = nullptr;
        second_bar_.open = false;
    }
}

void MyCFrame::post_to_bars(UINT message) const
{
    if (second_bar_.open)
        PostMessageW(second_bar_.window, message, 0, 0);
    if (const HWND bar = panel())
        PostMessageW(bar, message, 0, 0);
}

void MyCFrame::start_refresh_timers() const
{
    if (second_bar_.open)
        SetTimer(second_bar_.window, TIMER_SECOND_BAR, REFRESH_DELAY_MS, refresh_now);
    if (const HWND bar = panel())
        SetTimer(bar, TIMER_PANEL, REFRESH_DELAY_MS, refresh_now);
}

LRESULT MyCFrame::on_query(UINT query, WPARAM wparam, LPARAM lparam)
{
    switch (query) {
    case host::QUERY_PRE_TRANSLATE:
        return lparam != 0 ? route_key(*reinterpret_cast<MSG*>(lparam)) : 0;
    case host::QUERY_USER_MESSAGE:
        return on_user_message(wparam, lparam);
    default:
        return 0;
    }
}

LRESULT MyCFrame::route_key(MSG& message) const
{
    const HWND focus = GetFocus();
    if (focus == nullptr)
        return 0;
    const HWND window = window_;
    const HWND second = second_bar_.open ? second_bar_.window : nullptr;
    const bool is_escape = message.message == WM_KEYDOWN && message.wParam == VK_ESCAPE;
    const HWND bar = panel();
    if ((bar == nullptr || !takes_key(bar, focus, message)) &&
        (second == nullptr || !takes_key(second, focus, message)))
        return translate_modeless_message(message) ? 1 : 0;
    if (is_escape)
        host::execute_command(window, host::COMMAND_FOCUS_DOCUMENT);
    return 1;
}

HWND MyCFrame::history() const noexcept
{
    return history_ != nullptr && IsWindow(history_) ? history_ : nullptr;
}

void MyCFrame::show_history(const std::filesystem::path& repository)
{
    const std::optional<std::string> branch =
        sidebar_ != nullptr ? sidebar_->take_branch_to_show() : std::nullopt;
    const HWND open = history();
    if (open == nullptr) {
        history_ = open_history_window({window_, repository, branch});
        return;
    }
    win32::post_owned(open, WM_REVLANE_OPEN_REPOSITORY,
                      std::make_unique<std::wstring>(repository.wstring()));
    if (branch)
        win32::post_owned(open, WM_REVLANE_SET_REVISION, std::make_unique<std::string>(*branch));
    PostMessageW(open, WM_REVLANE_COME_TO_FRONT, 0, 0);
}

LRESULT MyCFrame::on_request(MyCFrame* frame, WPARAM request, LPARAM payload)
{
    switch (request) {
    case WM_REVLANE_OPEN_REPOSITORY: {
        const auto path = win32::take_owned<std::wstring>(static_cast<WPARAM>(payload));
        if (frame == nullptr || path == nullptr)
            break;
        if (frame->second_bar_.open)
            win32::post_owned(frame->second_bar_.window, WM_REVLANE_OPEN_REPOSITORY,
                              std::make_unique<std::wstring>(*path));
        win32::post_owned(frame->history(), WM_REVLANE_OPEN_REPOSITORY,
                          std::make_unique<std::wstring>(*path));
        break;
    }
    case WM_REVLANE_COMMAND_RESULT: {
        const auto result = win32::take_owned<git::CommandResult>(static_cast<WPARAM>(payload));
        if (frame == nullptr || result == nullptr)
            break;
        if (const HWND bar = frame->panel())
            win32::post_owned(bar, WM_REVLANE_COMMAND_RESULT,
                              std::make_unique<git::CommandResult>(*result));
        else if (!result->ok)
            win32::show_error(frame->window_, win32::to_wide(result->output));
        break;
    }
    case WM_REVLANE_STASH_KEPT: {
        auto told = win32::take_owned<std::wstring>(static_cast<WPARAM>(payload));
        if (frame == nullptr || told == nullptr)
            break;
        if (const HWND bar = frame->panel())
            win32::post_owned(bar, WM_REVLANE_STASH_KEPT, std::move(told));
        else
            host::set_status_text(frame->window_, *told);
        break;
    }
    case REQUEST_SHOW_HISTORY: {
        const auto path = win32::take_owned<std::wstring>(static_cast<WPARAM>(payload));
        if (frame != nullptr && path != nullptr)
            frame->show_history(*path);
        break;
    }
    case WM_REVLANE_SHOW_FILE_HISTORY: {
        auto path = win32::take_owned<std::wstring>(static_cast<WPARAM>(payload));
        if (frame != nullptr && path != nullptr)
            win32::post_owned(frame->history(), WM_REVLANE_SHOW_FILE_HISTORY, std::move(path));
        break;
    }
    case WM_REVLANE_EXTERNAL_REFRESH:
        if (const HWND bar = frame != nullptr ? frame->panel() : nullptr)
            PostMessageW(bar, WM_REVLANE_EXTERNAL_REFRESH, 0, 0);
        break;
    case WM_REVLANE_RELOAD_REFERENCES:
        if (frame == nullptr)
            break;
        if (frame->second_bar_.open)
            PostMessageW(frame->second_bar_.window, WM_REVLANE_RELOAD_REFERENCES, 0, 0);
        if (const HWND history = frame->history())
            PostMessageW(history, WM_REVLANE_RELOAD_REFERENCES, 0, 0);
        break;
    default:
        break;
    }
    return 0;
}

}  // namespace revlane
