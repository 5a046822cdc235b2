// The panel's choice of the repository that it shows.
#include "changes/texts.h"
#include "plugin/host/editor.h"
#include "plugin/host/settings.h"
#include "resources/ids.h"
#include "sidebar/changes_sidebar.h"
#include "sidebar/repository_choice.h"
#include "win32/posted.h"

#include <utility>

namespace revlane {

const git::Repository* ChangesSidebar::repository() const
{
    return repository_ ? &*repository_ : nullptr;
}

void ChangesSidebar::choose_initial_repository()
{
    if (repository_)
        return;
    last_document_ = host::active_document_path(host_);
    auto found = find_repository(last_document_);
    if (found && *found) {
        show_repository(std::move(**found));
        return;
    }
    // A repository that cannot be opened is reported; then the user's own choice is as good.
    if (!found)
        show_error_later(git::to_wide(found.error()));
    const std::optional<std::wstring> path =
        host::read_string(host_, host::SETTING_REPOSITORY_PATH);
    if (!path || path->empty())
        return;
    auto opened = open_working_tree(*path);
    if (opened)
        show_repository(std::move(*opened));
    else
        show_error_later(git::to_wide(opened.error()));
}

void ChangesSidebar::on_check_document()
{
    std::wstring document = host::active_document_path(host_);
    const bool is_same = document == last_document_;
    last_document_ = std::move(document);
    // The same document again leads nowhere else, and must not undo the user's choice of a folder.
    if (!(repository_ && is_same)) {
        auto found = find_repository(last_document_);
        // Said once: the editor reports its document again and again.
        if (!found && !is_same)
            show_error_later(git::to_wide(found.error()));
        else if (found && *found &&
                 !(repository_ && is_same_folder((*found)->path, repository_->path)))
            show_repository(std::move(**found));
    }
    refresh();
}

void ChangesSidebar::on_open_repository(const std::wstring& path)
{
    auto found = find_repository(path);
    if (!found)
        show_error_later(git::to_wide(found.error()));
    else if (*found && !(repository_ && is_same_folder((*found)->path, repository_->path)))
        show_repository(std::move(**found));
}

void ChangesSidebar::show_repository(git::Repository repository)
{
    forget_repository();
    repository_ = std::move(repository);
    changes_.set_repository(&*repository_);
    staged_.set_repository(&*repository_);
    branch_.set_repository(&*repository_);
    branches_.set_repository(&*repository_);
    fetch_context_->set_repository(repository_->path);
    watcher_.run(dialog_, repository_->path);
    look_again_later();
    host::send_request(host_, WM_REVLANE_OPEN_REPOSITORY,
                       std::make_unique<std::wstring>(repository_->path.wstring()));
    view_.show_repository();
    refresh();
}

void ChangesSidebar::show_no_repository(const std::wstring& text)
{
    forget_repository();
    fetch_context_->set_repository(std::nullopt);
    watcher_.stop();
    view_.show_no_repository(text);
}

// What is still on its way about the repository shown so far is dropped when it arrives.
void ChangesSidebar::forget_repository()
{
    ++repository_number_;
    if (repository_) {
        changes_.set_repository(nullptr);
        staged_.set_repository(nullptr);
        branch_.set_repository(nullptr);
        branches_.set_repository(nullptr);
    }
    // In another repository it is another command.
    last_command_ = {};
    win32::drain_owned<ChangesResult>(dialog_, WM_REVLANE_CHANGES);
    repository_.reset();
    state_.reset();
    stamps_.reset();
    has_changes_ = false;
    changes_are_stale_ = false;
    refresh_error_shown_ = false;
    KillTimer(dialog_, TIMER_LOOK_AGAIN);
    view_.show_state(std::nullopt);
    show_counts();
}

}  // namespace revlane
