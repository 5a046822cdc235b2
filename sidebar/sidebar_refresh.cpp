// How the panel keeps what it shows true.
#include "changes/texts.h"
#include "git/references.h"
#include "plugin/host/editor.h"
#include "resources/ids.h"
#include "sidebar/changes_sidebar.h"
#include "sidebar/repository_choice.h"
#include "win32/posted.h"
#include "win32/text.h"

#include <utility>

namespace revlane {

namespace {

// The watcher drops what changes within half a second of its start and of each report; this is a
// little more.
constexpr UINT LOOK_AGAIN_MS = 700;

}  // namespace

// Requests that come before the next one is carried out are one.
void ChangesSidebar::refresh()
{
    if (repository_ && !refresh_waits_)
        refresh_waits_ = PostMessageW(dialog_, WM_PANEL_REFRESH, 0, 0) != FALSE;
}

void ChangesSidebar::on_refresh()
{
    refresh_waits_ = false;
    if (!repository_)
        return;
    if (!is_still_there(*repository_)) {
        show_no_repository(text_with(IDS_REPOSITORY_GONE, repository_->path.wstring()));
        return;
    }
    // First, so that whatever changes from here on is seen as a change. The rest follows when the
    // list's answer arrives.
    read_stamps(true);
    // Until the answer is here, which never comes when the repository cannot be opened at this moment.
    changes_are_stale_ = true;
    changes_.refresh();
}

void ChangesSidebar::on_refresh_all()
{
    // The branches list has no other way to say that another branch is to be shown.
    if (branches_.has_choice())
        on_show_history();
    refresh();
    tell_references_changed();
}

void ChangesSidebar::on_files_changed()
{
    refresh();
    look_again_later();
}

void ChangesSidebar::look_again_later()
{
    if (repository_)
        SetTimer(dialog_, TIMER_LOOK_AGAIN, LOOK_AGAIN_MS, nullptr);
}

void ChangesSidebar::on_changes(const ChangesResult& result)
{
    if (!repository_)
        return;
    // It may succeed the next time, and nothing has to change for that.
    changes_are_stale_ = !result;
    if (result) {
        refresh_error_shown_ = false;
        has_changes_ = true;
        changes_.update_changes(*result);
    } else if (!std::exchange(refresh_error_shown_, true)) {
        show_error_later(git::to_wide(result.error()));
    }
    refresh_rest();
}

// All but the list of changes.
void ChangesSidebar::refresh_rest()
{
    const Life life = life_;
    const std::uint64_t shown = repository_number_;
    changes_.hand_over_index(repository_->handle.get());
    // An error box may stand, during which the repository may be found gone.
    staged_.refresh();
    if (life.expired() || dialog_ == nullptr || shown != repository_number_)
        return;
    fill_branches();
    show_counts();
}

void ChangesSidebar::fill_branches()
{
    git_repository* opened = repository_->handle.get();
    git_reference* found = nullptr;
    std::optional<std::wstring> unborn;
    if (git_repository_head(&found, opened) == GIT_EUNBORNBRANCH)
        unborn = win32::to_wide(git::unborn_branch(opened));
    const git::Reference head(found);
    auto references = git::list_branches(opened);
    if (!references) {
        if (!std::exchange(refresh_error_shown_, true))
            show_error_later(git::to_wide(references.error()));
        return;
    }
    branch_.fill(*references, head.get(), unborn);
    branches_.fill(std::move(*references), head.get());
}

void ChangesSidebar::show_counts()
{
    if (has_changes_)
        view_.show_counts(staged_.changes().size(), changes_.changes().size(),
                          branches_.references().size());
    else
        view_.show_counts(std::nullopt, std::nullopt, std::nullopt);
}

void ChangesSidebar::read_state()
{
    if (!repository_)
        return;
    state_slot_.submit([window = dialog_, path = repository_->path, number = repository_number_,
                        ending = is_ending_] {
        auto state = std::make_unique<PanelState>(
            read_panel_state(path, [&ending] { return ending->load(); }));
        state->repository_number = number;
        win32::post_owned(window, WM_REVLANE_PANEL_STATE, std::move(state));
    });
}

void ChangesSidebar::on_state(PanelState state)
{
    if (!repository_ || state.repository_number != repository_number_)
        return;
    state_ = std::move(state);
    branches_.set_tracking(state_->tracking);
    view_.show_state(state_);
    update_cursor();
}

// Looks whether another program has changed HEAD, the index or a reference, which the watcher does
// not report. A refresh that failed, or that was never answered, is tried again.
void ChangesSidebar::check_stamps()
{
    const bool is_worth_it = repository_ && stamps_ && IsWindowVisible(dialog_) &&
                             !commands_.is_busy() && !changes_.is_busy();
    if (!is_worth_it)
        return;
    if (changes_are_stale_)
        refresh();
    else
        read_stamps(false);
}

void ChangesSidebar::read_stamps(bool begins_refresh)
{
    stamps_slot_.submit([window = dialog_, number = repository_number_, begins_refresh,
                         folders = reference_folders(repository_->handle.get())] {
        win32::post_owned(window, WM_PANEL_STAMPS,
                          std::make_unique<StampsRead>(
                              StampsRead{read_reference_stamps(folders), number, begins_refresh}));
    });
}

void ChangesSidebar::on_stamps(const StampsRead& read)
{
    if (read.repository_number != repository_number_)
        return;
    const bool has_changed = stamps_ && read.stamps != *stamps_;
    stamps_ = read.stamps;
    if (!has_changed)
        return;
    if (!read.begins_refresh)
        refresh();
    tell_references_changed();
}

void ChangesSidebar::tell_references_changed()
{
    host::send_request(host_, WM_REVLANE_RELOAD_REFERENCES);
}

}  // namespace revlane
