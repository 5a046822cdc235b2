#include "changes/branch_switch.h"

#include "changes/command_task.h"
#include "changes/messages.h"
#include "changes/stash_guard.h"
#include "changes/texts.h"
#include "git/handles.h"
#include "git/locked_index.h"
#include "git/references.h"
#include "resources/ids.h"
#include "win32/posted.h"
#include "win32/text.h"

#include <fmt/xchar.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace revlane {

namespace {

// Git finds a stash by a regular expression. What means something in one and may stand in the name of a
// branch is any character there: the time in the message tells it from others.
std::wstring as_pattern(std::wstring message)
{
    constexpr std::wstring_view SPECIAL = L"()+$|{}";
    std::replace_if(
        message.begin(), message.end(),
        [SPECIAL](wchar_t letter) { return SPECIAL.find(letter) != std::wstring_view::npos; },
        L'.');
    return message;
}

// One switch under way: runs its steps and reports each of them.
class Switch {
public:
    Switch(HWND owner, const git::Repository& repository, const git::CommandContext& context)
        : owner_(owner), repository_(repository.handle.get()), context_(context),
          whole_(context.git)
    {
    }

    void run(const std::string& branch, bool is_remote)
    {
        const std::string local = is_remote ? local_branch_name(branch) : branch;
        const bool is_unborn = git_repository_head_unborn(repository_) == 1;
        // The branch that HEAD waits for is made by its checkout. If it came into being beneath HEAD, all
        // its files would seem to be deleted.
        const bool is_awaited = is_unborn && local == git::unborn_branch(repository_);
        const std::wstring target = win32::to_wide(local);
        if (is_remote && !is_awaited &&
            !report(git::create_branch(context_, target, win32::to_wide(branch))))
            return;
        // A stash is made on a commit. Without one git checks out only what overwrites nothing.
        if (is_unborn)
            report(git::checkout_branch(context_, target));
        else
            switch_to(target);
    }

private:
    void switch_to(const std::wstring& branch)
    {
        if (!stash(branch) || !report(git::checkout_branch(context_, branch)))
            return;
        if (!is_listed_) {
            // Usually there was nothing to put into a stash.
            if (stash_)
                say(L"stash list", IDS_STASH_NOT_FOUND);
            return;
        }
        if (report(git::apply_stash(context_, as_pattern(message_))))
            drop();
    }

    // Puts the work into a stash and reads the list of stashes, which shows whether there was any.
    bool stash(const std::wstring& branch)
    {
        SYSTEMTIME now{};
        GetLocalTime(&now);
        message_ = stash_message(now, branch);
        const std::optional<git_oid> before = top_of_stash(repository_);
        git::CommandResult pushed = git::push_stash(context_, message_);
        // Even a push that was ended may have made its stash.
        const std::optional<git_oid> after = top_of_stash(repository_);
        if (after && (!before || !git_oid_equal(&*before, &*after)))
            stash_ = after;
        // Git says nothing of a lock here.
        if (!pushed.ok && pushed.output.empty())
            if (const auto lock = git::find_index_lock(repository_))
                pushed.output = git::to_utf8(*lock);
        if (!report(std::move(pushed)))
            return false;
        git::StashList list = git::list_stashes(context_);
        const std::string message = win32::to_utf8(message_);
        is_listed_ = std::any_of(
            list.subjects.begin(), list.subjects.end(),
            [&message](const std::string& subject) { return subject.ends_with(message); });
        return report(std::move(list.result));
    }

    // Drops the stash once all that is in it is in the working tree and the index.
    void drop()
    {
        if (stash_) {
            const git::Result<bool> restored = restore_staged(repository_, *stash_);
            if (!restored || !*restored) {
                say(L"stash drop", IDS_STAGED_NOT_RESTORED,
                    restored ? std::string() : "\n" + git::to_utf8(restored.error()));
                return;
            }
        }
        // Last: whatever is on top when git is asked is what goes.
        const std::optional<git_oid> top = top_of_stash(repository_);
        if (!stash_ || !top || !git_oid_equal(&*top, &*stash_))
            say(L"stash drop", IDS_STASH_NOT_ON_TOP);
        else
            report(git::drop_stash(context_));
    }

    // Posts a result. A switch that was ended goes no further, even when the command was done.
    bool report(git::CommandResult result)
    {
        if (result.ok && whole_.was_ended()) {
            result.ok = false;
            result.output += win32::to_utf8(host::load_text(IDS_CANCELLED));
        }
        if (!result.ok && stash_ && is_kept(repository_, *stash_)) {
            result.output += "\n" + win32::to_utf8(kept_text());
            tell_of_stash_when_ended();
        }
        return post_result(owner_, std::move(result));
    }

    // What was ended shows no failure.
    void tell_of_stash_when_ended()
    {
        if (whole_.was_ended())
            win32::post_owned(owner_, WM_REVLANE_STASH_KEPT,
                              std::make_unique<std::wstring>(kept_text()));
    }

    [[nodiscard]] std::wstring kept_text() const { return text_with(IDS_STASH_KEPT, message_); }

    // Says something about the stash that no command of git says.
    void say(const wchar_t* step, UINT text, const std::string& reason = {})
    {
        if (stash_ && is_kept(repository_, *stash_))
            tell_of_stash_when_ended();
        post_result(owner_, {step, win32::to_utf8(text_with(text, message_)) + reason, false});
    }

    HWND owner_;
    git_repository* repository_;
    const git::CommandContext& context_;
    git::Git::Run whole_;
    std::wstring message_;
    std::optional<git_oid> stash_;  // what the push has made
    bool is_listed_ = false;
};

}  // namespace

std::wstring stash_message(const SYSTEMTIME& local_time, std::wstring_view branch)
{
    return fmt::format(L"revlane-{:04d}-{:02d}-{:02d}-{:02d}{:02d}{:02d}{:04d}-{}",
                       local_time.wYear, local_time.wMonth, local_time.wDay, local_time.wHour,
                       local_time.wMinute, local_time.wSecond, local_time.wMilliseconds, branch);
}

std::string local_branch_name(std::string_view remote_branch)
{
    const std::size_t slash = remote_branch.find('/');
    return std::string(slash == std::string_view::npos ? remote_branch
                                                       : remote_branch.substr(slash + 1));
}

void switch_branch(HWND owner, const git::Repository& repository,
                   const git::CommandContext& context, const std::string& branch, bool is_remote)
{
    Switch(owner, repository, context).run(branch, is_remote);
}

void switch_branch_at(HWND owner, const git::CommandContext& context, const std::string& branch,
                      bool is_remote)
{
    const git::LibraryScope library;
    const git::Result<git::Repository> repository = git::open_repository(context.workdir);
    if (repository)
        switch_branch(owner, *repository, context, branch, is_remote);
    else
        post_result(owner, {L"checkout " + win32::to_wide(branch), git::to_utf8(repository.error()),
                            false});
}

}  // namespace revlane
