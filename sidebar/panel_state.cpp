#include "sidebar/panel_state.h"

#include "git/git.h"
#include "git/handles.h"
#include "win32/text.h"

namespace revlane {

namespace {

bool has_remotes(git_repository* repository)
{
    git::StringArray names;
    return git_remote_list(names.get(), repository) == 0 && names.begin() != names.end();
}

void read_upstream(PanelState& state, const git_reference* head)
{
    git_reference* found = nullptr;
    if (git_branch_upstream(&found, head) != 0)
        return;
    const git::Reference upstream(found);
    state.upstream = win32::to_wide(git_reference_shorthand(upstream.get()));
    // Counting walks as far as the two have parted: once is enough.
    const auto counted = state.tracking.find(git_reference_name(head));
    if (counted != state.tracking.end())
        state.counts = counted->second;
    else if (const auto counts = git::ahead_behind(head, upstream.get()))
        state.counts = *counts;
}

void read_head(PanelState& state, git_repository* repository)
{
    git_reference* found = nullptr;
    const int code = git_repository_head(&found, repository);
    if (code == GIT_EUNBORNBRANCH) {
        state.head = PanelState::Head::Unborn;
        state.head_name = win32::to_wide(git::unborn_branch(repository));
        return;
    }
    if (code != 0)
        return;
    const git::Reference head(found);
    state.head_name = win32::to_wide(git::reference_display_name(head.get()));
    if (git_repository_head_detached(repository) == 1) {
        state.head = PanelState::Head::Detached;
        return;
    }
    state.head = PanelState::Head::Branch;
    read_upstream(state, head.get());
}

}  // namespace

PanelState read_panel_state(const std::filesystem::path& workdir,
                            const std::function<bool()>& is_cancelled)
{
    PanelState state;
    const git::LibraryScope library;
    const auto repository = git::open_repository(workdir);
    if (!repository)
        return state;
    git_repository* opened = repository->handle.get();
    state.has_remote = has_remotes(opened);
    state.tracking = read_tracking(opened, is_cancelled);
    // Nobody waits for the answer any more, and the panel waits for this task as it closes.
    if (!is_cancelled || !is_cancelled())
        read_head(state, opened);
    return state;
}

RemoteButtons remote_buttons(const PanelState& state)
{
    RemoteButtons buttons;
    const bool on_branch = state.head == PanelState::Head::Branch;
    buttons.can_pull = on_branch && state.upstream.has_value();
    buttons.can_push = on_branch && state.has_remote;
    buttons.publishes = on_branch && !state.upstream;
    if (state.counts) {
        buttons.pull_count = state.counts->behind;
        buttons.push_count = state.counts->ahead;
    }
    return buttons;
}

}  // namespace revlane
