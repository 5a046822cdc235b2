// What the user starts from the panel's buttons and menus.
#include "changes/compare.h"
#include "changes/texts.h"
#include "git/commands.h"
#include "plugin/host/editor.h"
#include "plugin/host/settings.h"
#include "resources/ids.h"
#include "sidebar/changes_sidebar.h"
#include "sidebar/command_report.h"
#include "sidebar/discard_question.h"
#include "sidebar/folder_dialog.h"
#include "sidebar/panel_menu.h"
#include "sidebar/remote_address.h"
#include "sidebar/repository_choice.h"
#include "sidebar/status_run.h"
#include "win32/text.h"

#include <shellapi.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace revlane {

namespace {

constexpr wchar_t HELP_PAGE[] = L"howto/plugin/plugin_revlane.html";

// The selection outlives the rows: what pumps messages may replace them.
std::vector<git::FileChange> copy_of_selection(const ChangesListBase& list)
{
    std::vector<git::FileChange> copies;
    for (const git::FileChange* change : list.selected())
        copies.push_back(*change);
    return copies;
}

std::vector<std::wstring> paths_of(const std::vector<git::FileChange>& changes)
{
    std::vector<std::wstring> paths;
    paths.reserve(changes.size());
    for (const git::FileChange& change : changes)
        paths.push_back(change.new_path);
    return paths;
}

std::vector<std::wstring> selected_paths(const ChangesListBase& list)
{
    return paths_of(copy_of_selection(list));
}

}  // namespace

win32::Handled ChangesSidebar::on_command(UINT id, UINT code)
{
    if (id == IDC_BRANCH) {
        branch_.on_command(code);
        return 0;
    }
    if (id == IDC_COMMIT_MESSAGE && code == EN_CHANGE) {
        commit_box_.fit_scroll_bar();
        return 0;
    }
    // Menus and buttons only; what else the controls notify is not a command.
    if (code != BN_CLICKED && code != 1)
        return std::nullopt;
    if (const win32::Handled handled = on_list_command(id))
        return handled;
    return on_panel_command(id);
}

win32::Handled ChangesSidebar::on_list_command(UINT id)
{
    switch (id) {
    case ID_STAGE:
        on_stage();
        return 0;
    case ID_UNSTAGE:
        on_unstage();
        return 0;
    case ID_DISCARD:
        on_discard();
        return 0;
    case ID_UPDATE_SUBMODULE:
        on_update_submodule(changes_, id);
        return 0;
    case ID_STAGED_UPDATE_SUBMODULE:
        on_update_submodule(staged_, id);
        return 0;
    case ID_COPY_PATHS:
        changes_.copy_selected();
        return 0;
    case ID_STAGED_COPY_PATHS:
        staged_.copy_selected();
        return 0;
    case ID_SELECT_ALL:
        changes_.select_all();
        return 0;
    case ID_STAGED_SELECT_ALL:
        staged_.select_all();
        return 0;
    case ID_COMPARE:
        on_compare();
        return 0;
    case ID_STAGED_COMPARE:
        on_compare_staged();
        return 0;
    case ID_OPEN_FILE:
        on_open_files(changes_);
        return 0;
    case ID_STAGED_OPEN_FILE:
        on_open_files(staged_);
        return 0;
    case ID_FILE_HISTORY:
        on_file_history(changes_);
        return 0;
    case ID_STAGED_FILE_HISTORY:
        on_file_history(staged_);
        return 0;
    default:
        return std::nullopt;
    }
}

win32::Handled ChangesSidebar::on_panel_command(UINT id)
{
    switch (id) {
    case ID_FETCH:
        on_fetch();
        return 0;
    case ID_STATUS:
        on_status();
        return 0;
    case ID_SHOW_OUTPUT:
        on_show_output();
        return 0;
    case ID_HELP_PAGE:
        host::show_help(host_, HELP_PAGE);
        return 0;
    case ID_OPEN_FOLDER:
        on_open_folder();
        return 0;
    case ID_AUTO_FETCH:
        on_toggle_auto_fetch();
        return 0;
    case ID_OPEN_REMOTE:
        on_open_remote();
        return 0;
    case ID_CANCEL_COMMAND:
        on_cancel();
        return 0;
    case IDC_CHOOSE_FOLDER:
        on_choose_folder();
        return 0;
    case IDC_PANEL_MENU:
        on_show_menu();
        return 0;
    case IDC_SHOW_HISTORY:
        on_show_history();
        return 0;
    case IDC_COMMIT:
        on_commit_staged();
        return 0;
    case IDC_STAGE_ALL_AND_COMMIT:
        on_stage_all_and_commit();
        return 0;
    case IDC_PULL:
        on_pull();
        return 0;
    case IDC_PUSH:
        on_push();
        return 0;
    case IDC_BRANCHES_HEADING:
        view_.toggle_branches();
        return 0;
    default:
        return std::nullopt;
    }
}

// `paths` are the files that the command is about, if it is about some.
void ChangesSidebar::submit(UINT id, CommandQueue::Command command, std::vector<std::wstring> paths)
{
    if (!repository_)
        return;
    // A second click on the same button means the first one. On other files it is another command,
    // which waits for its turn.
    LastCommand chosen{id, std::move(paths)};
    if (commands_.is_busy() && last_command_ == chosen)
        return;
    last_command_ = std::move(chosen);
    commands_.submit(dialog_, repository_->path, std::move(command));
}

void ChangesSidebar::submit_plain(UINT id,
                                  git::CommandResult (*command)(const git::CommandContext&))
{
    submit(id, [command](const CommandRun& run) { run.report(command(run.context)); });
}

void ChangesSidebar::on_fetch()
{
    submit_plain(ID_FETCH, git::fetch);
}

void ChangesSidebar::on_pull()
{
    submit_plain(IDC_PULL, git::pull);
}

void ChangesSidebar::on_push()
{
    submit_plain(IDC_PUSH, git::push);
}

void ChangesSidebar::on_commit_staged()
{
    commit(IDC_COMMIT, CommitScope::Staged);
}

void ChangesSidebar::on_stage_all_and_commit()
{
    commit(IDC_STAGE_ALL_AND_COMMIT, CommitScope::Everything);
}

// Ctrl+Enter in the commit box. Whether an empty list means that nothing is staged is known when all that
// was chosen before has been done: its rows may still be on their way.
void ChangesSidebar::on_commit_key()
{
    if (staged_.changes().empty())
        commit(IDC_STAGE_ALL_AND_COMMIT, CommitScope::StagedElseEverything);
    else
        on_commit_staged();
}

void ChangesSidebar::commit(UINT id, CommitScope scope)
{
    if (!repository_)
        return;
    std::wstring message = commit_box_.text();
    if (const std::size_t most = max_message_length(); is_too_long(message)) {
        show_error_later(text_with(IDS_MESSAGE_TOO_LONG, message.size(), most));
        return;
    }
    submit(id, [message = std::move(message), scope](const CommandRun& run) {
        commit_changes(run, message, scope, WM_PANEL_COMMITTED, WM_PANEL_REFUSED);
    });
}

void ChangesSidebar::on_stage()
{
    const std::vector<std::wstring> paths = selected_paths(changes_);
    if (paths.empty())
        return;
    submit(
        ID_STAGE,
        [paths](const CommandRun& run) { run.report(git::stage_paths(run.context, paths)); },
        paths);
}

void ChangesSidebar::on_unstage()
{
    std::vector<std::wstring> paths = selected_paths(staged_);
    if (paths.empty())
        return;
    std::transform(paths.begin(), paths.end(), paths.begin(),
                   [](const std::wstring& path) { return git::pathspec_argument(path); });
    submit(
        ID_UNSTAGE,
        [paths](const CommandRun& run) { run.report(git::unstage(run.context, paths)); }, paths);
}

void ChangesSidebar::on_discard()
{
    const std::vector<git::FileChange> changes = copy_of_selection(changes_);
    if (!repository_ || changes.empty())
        return;
    const Life life = life_;
    const std::uint64_t asked_for = repository_number_;
    if (!ask_to_discard(dialog_, changes) || life.expired() || dialog_ == nullptr ||
        asked_for != repository_number_)
        return;
    const std::vector<std::wstring> paths = paths_of(changes);
    submit(
        ID_DISCARD,
        [paths](const CommandRun& run) {
            for (const std::wstring& path : paths)
                if (run.was_ended() || !run.report(git::discard_changes(run.context, path)))
                    return;
        },
        paths);
}

void ChangesSidebar::on_update_submodule(const ChangesListBase& list, UINT id)
{
    const std::vector<std::wstring> paths = selected_paths(list);
    if (paths.size() != 1)
        return;
    submit(
        id,
        [path = paths.front()](const CommandRun& run) {
            run.report(git::update_submodule(run.context, path));
        },
        paths);
}

// Opens each of the selected files in the editor, as far as the first failure. The editor pumps
// messages while it opens documents, so nothing of the panel is relied on in between.
void ChangesSidebar::open_each(const ChangesListBase& list, const OpenFile& open)
{
    if (!repository_)
        return;
    const git::Repository repository = *repository_;
    const Life life = life_;
    for (const git::FileChange& change : copy_of_selection(list)) {
        // An untracked repository has a slash at its end, which a file cannot have.
        const bool is_listed_folder = change.new_path.ends_with(L'/');
        const git::Result<void> opened =
            is_listed_folder ? git::Result<void>() : open(repository, change);
        if (life.expired() || dialog_ == nullptr)
            return;
        if (opened && !is_listed_folder)
            continue;
        // Git lists a submodule like a file, but it has no contents of its own.
        if (is_folder(working_tree_file(repository, change.new_path)))
            show_error_later(text_with(IDS_OWN_REPOSITORY, change.new_path));
        else if (!opened)
            show_error_later(git::to_wide(opened.error()));
        return;
    }
}

void ChangesSidebar::on_compare()
{
    open_each(changes_,
              [host = host_](const git::Repository& repository, const git::FileChange& change) {
                  return compare_with_working_tree(host, repository, change, BASE_INDEX);
              });
}

void ChangesSidebar::on_compare_staged()
{
    open_each(staged_,
              [host = host_](const git::Repository& repository, const git::FileChange& change) {
                  return compare_versions(host, repository, change, true);
              });
}

void ChangesSidebar::on_open_files(const ChangesListBase& list)
{
    open_each(list,
              [host = host_](const git::Repository& repository, const git::FileChange& change) {
                  return open_working_tree_file(host, repository, change.new_path);
              });
}

void ChangesSidebar::on_status()
{
    if (!repository_)
        return;
    SetCursor(LoadCursorW(nullptr, IDC_WAIT));
    const git::CommandResult result = run_status(repository_->path);
    update_cursor();
    log_result(result);
    if (result.ok)
        on_show_output();
    else
        show_error_later(failure_text(result));
}

void ChangesSidebar::on_show_output()
{
    output_.show(dialog_, log_.text());
}

void ChangesSidebar::on_cancel()
{
    if (!is_busy())
        return;
    // Looks out for the end of what is cancelled.
    watch_busy();
    is_cancelling_ = true;
    commands_.cancel(dialog_, WM_PANEL_CANCELLED);
    // Chosen again, it is another command.
    last_command_ = {};
    if (is_fetching_long())
        fetcher_.cancel();
    host::set_status_text(host_, host::load_text(IDS_CANCELLED));
}

void ChangesSidebar::on_toggle_auto_fetch()
{
    auto_fetch_ = !auto_fetch_;
    host::write_number(host_, host::SETTING_AUTO_FETCH, auto_fetch_ ? 1 : 0);
    if (auto_fetch_)
        fetcher_.run(dialog_);
    else
        fetcher_.stop();
}

void ChangesSidebar::on_open_folder()
{
    if (repository_)
        ShellExecuteW(dialog_, L"explore", repository_->path.c_str(), nullptr, nullptr,
                      SW_SHOWNORMAL);
}

void ChangesSidebar::on_open_remote()
{
    if (!repository_)
        return;
    const auto url = remote_url(repository_->handle.get());
    if (!url) {
        show_error_later(git::to_wide(url.error()));
        return;
    }
    if (!*url) {
        show_error_later(host::load_text(IDS_NO_REMOTE));
        return;
    }
    if (const std::optional<std::wstring> address = web_address(**url))
        ShellExecuteW(dialog_, L"open", address->c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    else
        show_error_later(text_with(IDS_NO_WEB_ADDRESS, win32::to_wide(**url)));
}

void ChangesSidebar::on_choose_folder()
{
    const Life life = life_;
    const auto chosen =
        choose_folder(dialog_, repository_ ? repository_->path : std::filesystem::path());
    if (life.expired() || dialog_ == nullptr)
        return;
    std::wstring failure;
    if (!chosen) {
        failure = git::to_wide(chosen.error());
    } else if (*chosen) {
        auto found = find_repository((*chosen)->wstring());
        if (found && *found)
            show_repository(std::move(**found));
        else
            failure = found ? text_with(IDS_NO_REPOSITORY_IN, (*chosen)->wstring())
                            : git::to_wide(found.error());
    }
    if (!failure.empty())
        show_error_later(fmt::format(L"{}\r\n{}", host::load_text(IDS_CANNOT_OPEN), failure));
}

void ChangesSidebar::on_show_menu()
{
    PanelMenuState menu;
    menu.has_repository = repository_.has_value();
    menu.has_remote = state_ && state_->has_remote;
    menu.is_busy = is_busy();
    menu.auto_fetch = auto_fetch_;
    show_panel_menu(dialog_, GetDlgItem(dialog_, IDC_PANEL_MENU), menu);
}

void ChangesSidebar::on_show_history()
{
    if (repository_)
        host::send_request(host_, REQUEST_SHOW_HISTORY,
                           std::make_unique<std::wstring>(repository_->path.wstring()));
}

void ChangesSidebar::on_file_history(const ChangesListBase& list)
{
    const std::vector<std::wstring> paths = selected_paths(list);
    if (!repository_ || paths.size() != 1)
        return;
    const HWND host = host_;
    on_show_history();
    host::send_request(host, WM_REVLANE_SHOW_FILE_HISTORY,
                       std::make_unique<std::wstring>(paths.front()));
}

void ChangesSidebar::log_result(const git::CommandResult& result)
{
    append_git_output(log_, result.command, result.output);
    host::set_status_text(host_, status_line(result));
}

void ChangesSidebar::on_command_result(const git::CommandResult& result)
{
    log_result(result);
    if (is_cancelling_ && !result.ok)
        host::set_status_text(host_, host::load_text(IDS_CANCELLED));
    else if (!result.ok)
        show_error_later(failure_text(result));
    refresh();
    tell_references_changed();
}

}  // namespace revlane
