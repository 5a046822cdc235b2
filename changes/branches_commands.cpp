// What the user does with the branches of the list.
#include "changes/branch_switch.h"
#include "changes/branches_list.h"
#include "changes/command_task.h"
#include "changes/compare_branches.h"
#include "changes/confirmation.h"
#include "changes/list_control.h"
#include "changes/messages.h"
#include "changes/new_branch_dialog.h"
#include "changes/texts.h"
#include "git/handles.h"
#include "resources/ids.h"
#include "win32/error_box.h"
#include "win32/text.h"

#include <utility>

namespace revlane {

namespace {

// A branch as a command names it, copied for a task.
struct BranchName {
    std::string name;  // short
    bool is_remote;

    explicit BranchName(const git_reference* branch)
        : name(git_reference_shorthand(branch)), is_remote(git_reference_is_remote(branch) != 0)
    {
    }

    [[nodiscard]] std::wstring wide() const { return win32::to_wide(name); }
};

// A detached HEAD is listed among the branches, but is none.
bool is_branch(const git_reference* reference)
{
    return git_reference_is_branch(reference) != 0 || git_reference_is_remote(reference) != 0;
}

// A branch of a remote, and what the remote calls it.
struct RemoteBranch {
    std::wstring remote;
    std::wstring branch;
};

git::Result<RemoteBranch> on_its_remote(const git_reference* branch)
{
    const auto remote = git::remote_name_of(branch);
    if (!remote)
        return tl::unexpected(remote.error());
    const std::string_view name = git_reference_shorthand(branch);
    // Of a remote that is not configured any more git itself says what is wrong.
    const std::size_t slash = *remote ? (*remote)->size() : name.find('/');
    return RemoteBranch{win32::to_wide(name.substr(0, slash)),
                        win32::to_wide(name.substr(slash + 1))};
}

}  // namespace

git_reference* BranchesList::selected() const
{
    const std::vector<std::size_t> rows = selected_rows(list_);
    return rows.size() == 1 ? references_[rows.front()].get() : nullptr;
}

void BranchesList::set_shown_branch(git_reference* branch)
{
    git_reference* copy = nullptr;
    if (git_reference_dup(&copy, branch) != 0)
        return;
    shown_branch_.reset(copy);
    was_chosen_ = true;
    PostMessageW(owner_, WM_REVLANE_REFRESH_ALL, 0, 0);
}

// After the references were read anew: the branch may be gone, or at another commit.
void BranchesList::keep_shown_branch()
{
    if (!shown_branch_)
        return;
    git_reference* copy = nullptr;
    if (const auto row = row_of(git_reference_name(shown_branch_.get())))
        git_reference_dup(&copy, references_[*row].get());
    shown_branch_.reset(copy);
}

void BranchesList::on_select()
{
    if (git_reference* branch = selected())
        set_shown_branch(branch);
}

void BranchesList::on_checkout()
{
    git_reference* branch = selected();
    if (repo_ == nullptr || branch == nullptr || !is_branch(branch))
        return;
    git_object* found = nullptr;
    if (git_reference_peel(&found, branch, GIT_OBJECT_COMMIT) != 0) {
        win32::show_error(list_, git::to_wide(git::error_from_libgit2()));
        return;
    }
    const git::Object commit(found);
    submit_command(pool_, owner_, repo_->path, git_,
                   [chosen = BranchName(branch)](HWND owner, const git::CommandContext& context) {
                       switch_branch_at(owner, context, chosen.name, chosen.is_remote);
                   });
}

void BranchesList::on_create_branch()
{
    const git_reference* branch = selected();
    if (repo_ == nullptr || branch == nullptr)
        return;
    // Copies: another repository may be shown once the question is answered.
    const std::wstring start = BranchName(branch).wide();
    const std::filesystem::path workdir = repo_->path;
    const std::weak_ptr<const char> life = life_;
    const std::optional<std::wstring> name = ask_branch_name(list_);
    if (!name || life.expired())
        return;
    submit_command(pool_, owner_, workdir, git_,
                   [name = *name, start](HWND owner, const git::CommandContext& context) {
                       if (post_result(owner, git::create_branch(context, name, start)))
                           post_result(owner, git::checkout_branch(context, name));
                   });
}

void BranchesList::on_delete_branch()
{
    const git_reference* branch = selected();
    if (repo_ == nullptr || branch == nullptr)
        return;
    if (!is_branch(branch)) {
        win32::show_error(list_, host::load_text(IDS_DETACHED_HEAD_STAYS));
        return;
    }
    const BranchName chosen(branch);
    const std::filesystem::path workdir = repo_->path;
    const std::weak_ptr<const char> life = life_;
    const int answer =
        ask_to_confirm(list_, {IDS_DELETE_TITLE, IDS_DELETE,
                               text_with(IDS_DELETE_BRANCH_QUESTION, chosen.wide())});
    if (answer != CONFIRMED || life.expired())
        return;
    if (shown_branch_ && chosen.name == git_reference_shorthand(shown_branch_.get()))
        shown_branch_.reset();
    submit_command(pool_, owner_, workdir, git_,
                   [chosen](HWND owner, const git::CommandContext& context) {
                       const auto run = chosen.is_remote ? git::delete_remote_tracking_branch
                                                         : git::delete_branch;
                       post_result(owner, run(context, chosen.wide()));
                   });
}

void BranchesList::on_delete_remote()
{
    const git_reference* branch = selected();
    if (repo_ == nullptr || branch == nullptr || git_reference_is_remote(branch) == 0)
        return;
    const git::Result<RemoteBranch> chosen = on_its_remote(branch);
    if (!chosen) {
        win32::show_error(list_, git::to_wide(chosen.error()));
        return;
    }
    const std::filesystem::path workdir = repo_->path;
    const std::weak_ptr<const char> life = life_;
    const int answer = ask_to_confirm(
        list_, {IDS_DELETE_ON_REMOTE_TITLE, IDS_DELETE,
                text_with(IDS_DELETE_REMOTE_QUESTION, chosen->branch, chosen->remote)});
    if (answer != CONFIRMED || life.expired())
        return;
    submit_command(
        pool_, owner_, workdir, git_,
        [chosen = *chosen](HWND owner, const git::CommandContext& context) {
            post_result(owner, git::delete_branch_on_remote(context, chosen.remote, chosen.branch));
        });
}

void BranchesList::on_compare()
{
    const std::vector<std::size_t> rows = selected_rows(list_);
    if (repo_ != nullptr && rows.size() == 2)
        compare_branches(list_, frame_, *repo_, references_[rows.front()].get(),
                         references_[rows.back()].get());
}

void BranchesList::on_refresh()
{
    PostMessageW(owner_, WM_REVLANE_REFRESH_ALL, 0, 0);
}

}  // namespace revlane
