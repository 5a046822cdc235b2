#include "changes/branches_dropdown.h"

#include "changes/branch_switch.h"
#include "changes/command_task.h"
#include "win32/text.h"

#include <algorithm>
#include <utility>

namespace revlane {

namespace {

// Keys that change the selection of a closed combo box at once.
bool selects_at_once(WPARAM key)
{
    switch (key) {
    case VK_UP:
    case VK_DOWN:
    case VK_PRIOR:
    case VK_NEXT:
    case VK_HOME:
    case VK_END:
        return true;
    default:
        return false;
    }
}

// Counts a task for as long as it exists: until it has run, or was dropped.
class Counted {
public:
    explicit Counted(std::shared_ptr<std::atomic<int>> count) : count_(std::move(count))
    {
        ++*count_;
    }
    ~Counted() { --*count_; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

private:
    std::shared_ptr<std::atomic<int>> count_;
};

}  // namespace

BranchesDropdown::BranchesDropdown(BS::thread_pool<>& pool, std::shared_ptr<git::Git> git)
    : pool_(pool), git_(std::move(git)), switches_(std::make_shared<std::atomic<int>>(0))
{
}

BranchesDropdown::~BranchesDropdown() = default;

void BranchesDropdown::attach(HWND owner, HWND combo)
{
    owner_ = owner;
    combo_ = combo;
    subclass_.emplace(combo,
                      [this](const win32::Message& message) { return on_combo_message(message); });
}

void BranchesDropdown::set_repository(const git::Repository* repository)
{
    waiting_.reset();
    show({});
    repo_ = repository;
}

void BranchesDropdown::fill(git::BranchList references, const git_reference* current,
                            const std::optional<std::wstring>& unborn)
{
    Contents contents{std::move(references),
                      current != nullptr ? git_reference_name(current) : std::string(), unborn};
    // Items that change under the pointer would be picked by mistake.
    if (SendMessageW(combo_, CB_GETDROPPEDSTATE, 0, 0) != FALSE)
        waiting_ = std::move(contents);
    else
        show(std::move(contents));
}

void BranchesDropdown::show(Contents contents)
{
    std::vector<std::wstring> names;
    names.reserve(contents.references.size() + 1);
    if (contents.unborn)
        names.push_back(*contents.unborn);
    for (const git::Reference& reference : contents.references)
        names.push_back(win32::to_wide(git::reference_display_name(reference.get())));
    references_ = std::move(contents.references);
    current_ = std::move(contents.current);
    unborn_ = std::move(contents.unborn);
    if (names != names_) {
        names_ = std::move(names);
        SendMessageW(combo_, WM_SETREDRAW, FALSE, 0);
        SendMessageW(combo_, CB_RESETCONTENT, 0, 0);
        std::size_t bytes = 0;
        for (const std::wstring& name : names_)
            bytes += (name.size() + 1) * sizeof(wchar_t);
        SendMessageW(combo_, CB_INITSTORAGE, names_.size(), static_cast<LPARAM>(bytes));
        for (const std::wstring& name : names_)
            SendMessageW(combo_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name.c_str()));
        SendMessageW(combo_, WM_SETREDRAW, TRUE, 0);
        InvalidateRect(combo_, nullptr, TRUE);
    }
    select_current();
}

void BranchesDropdown::select_current()
{
    if (unborn_) {
        SendMessageW(combo_, CB_SETCURSEL, 0, 0);
        return;
    }
    if (!select(current_))
        SendMessageW(combo_, CB_SETCURSEL, static_cast<WPARAM>(-1), 0);
}

bool BranchesDropdown::select(std::string_view full_name)
{
    const auto found =
        std::find_if(references_.begin(), references_.end(), [&](const git::Reference& reference) {
            return git_reference_name(reference.get()) == full_name;
        });
    if (found == references_.end())
        return false;
    const std::ptrdiff_t index = found - references_.begin() + (unborn_ ? 1 : 0);
    // Setting what is selected already would still draw the control anew.
    if (SendMessageW(combo_, CB_GETCURSEL, 0, 0) != index)
        SendMessageW(combo_, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
    return true;
}

void BranchesDropdown::on_command(UINT code)
{
    switch (code) {
    case CBN_SELENDOK:
        was_picked_ = true;
        break;
    case CBN_SELENDCANCEL:
        was_picked_ = false;
        break;
    case CBN_CLOSEUP:
        // The pick counts for the items that were on view.
        if (std::exchange(was_picked_, false))
            on_branch_change();
        else
            select_current();
        if (std::optional<Contents> contents = std::exchange(waiting_, std::nullopt))
            show(std::move(*contents));
        break;
    default:
        break;
    }
}

void BranchesDropdown::on_branch_change()
{
    const LRESULT selected = SendMessageW(combo_, CB_GETCURSEL, 0, 0) - (unborn_ ? 1 : 0);
    if (repo_ == nullptr || selected < 0 || selected >= std::ssize(references_))
        return;
    const git_reference* chosen = references_[static_cast<std::size_t>(selected)].get();
    git_reference* found = nullptr;
    if (git_repository_head(&found, repo_->handle.get()) == 0) {
        const git::Reference head(found);
        if (std::string_view(git_reference_name(found)) == git_reference_name(chosen))
            return;
    }
    // The entry of a detached HEAD is no branch that one could switch to.
    if (!git_reference_is_branch(chosen) && !git_reference_is_remote(chosen)) {
        select_current();
        return;
    }
    submit_command(pool_, owner_, repo_->path, git_,
                   [count = std::make_shared<Counted>(switches_),
                    branch = std::string(git_reference_shorthand(chosen)),
                    is_remote = git_reference_is_remote(chosen) !=
                                0](HWND owner, const git::CommandContext& context) {
                       switch_branch_at(owner, context, branch, is_remote);
                   });
}

bool BranchesDropdown::is_switching() const noexcept
{
    return *switches_ > 0;
}

win32::Handled BranchesDropdown::on_combo_message(const win32::Message& message)
{
    const bool is_open = SendMessageW(combo_, CB_GETDROPPEDSTATE, 0, 0) != FALSE;
    switch (message.id) {
    case WM_KEYDOWN:
        if (is_open || !selects_at_once(message.wparam))
            return std::nullopt;
        SendMessageW(combo_, CB_SHOWDROPDOWN, TRUE, 0);
        return 0;
    case WM_CHAR:
        // A letter selects in the open list, where it is only looked at.
        if (!is_open && message.wparam > L' ')
            SendMessageW(combo_, CB_SHOWDROPDOWN, TRUE, 0);
        return std::nullopt;
    case WM_MOUSEWHEEL:
        // Turning the wheel over the closed control would switch branches in passing.
        return is_open ? std::nullopt : win32::Handled(0);
    default:
        return std::nullopt;
    }
}

}  // namespace revlane
