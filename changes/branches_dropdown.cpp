#include "changes/branches_dropdown.h"

#include "changes/branch_switch.h"
#include "changes/command_task.h"
#include "changes/get_dpi.h"
#include "changes/list_control.h"
#include "changes/name_search.h"
#include "win32/handle.h"
#include "win32/text.h"

#include <algorithm>
#include <utility>

namespace revlane {

namespace {

// Around the names in the list, at 96 DPI.
constexpr int LIST_PADDING = 12;

// After a pause typing begins anew, as it does in a list view.
constexpr std::chrono::seconds TYPING_PAUSE{1};

// Keys that change the selection of a closed combo box at once.
bool selects_at_once(WPARAM key)
{
    switch (key) {
    case VK_UP:
    case VK_DOWN:
    case VK_LEFT:
    case VK_RIGHT:
    case VK_PRIOR:
    case VK_NEXT:
    case VK_HOME:
    case VK_END:
        return true;
    default:
        return false;
    }
}

git::BranchList copy_of(const git::BranchList& references)
{
    git::BranchList copies;
    copies.reserve(references.size());
    for (const git::Reference& reference : references) {
        git_reference* copy = nullptr;
        git::check_libgit2(git_reference_dup(&copy, reference.get()));
        copies.emplace_back(copy);
    }
    return copies;
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

BranchesDropdown::BranchesDropdown(win32::WorkPool& pool, std::shared_ptr<git::Git> git)
    : pool_(pool), git_(std::move(git)), switches_(std::make_shared<std::atomic<int>>(0))
{
}

BranchesDropdown::~BranchesDropdown() = default;

void BranchesDropdown::attach(HWND owner, HWND combo)
{
    owner_ = owner;
    combo_ = combo;
}

void BranchesDropdown::begin()
{
    subclass_.emplace(combo_,
                      [this](const win32::Message& message) { return on_combo_message(message); });
}

void BranchesDropdown::set_repository(const git::Repository* repository)
{
    waiting_.reset();
    show({});
    repo_ = repository;
}

void BranchesDropdown::fill(const git::BranchList& references, const git_reference* current,
                            const std::optional<std::wstring>& unborn)
{
    Contents contents{repo_ != nullptr ? repo_->handle : nullptr, copy_of(references),
                      current != nullptr ? git_reference_name(current) : std::string(), unborn};
    // Items that change under the pointer would be picked by mistake.
    if (is_open())
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
    owner_of_references_ = std::move(contents.repository);
    current_ = std::move(contents.current);
    unborn_ = std::move(contents.unborn);
    if (names != names_) {
        names_ = std::move(names);
        is_list_fitted_ = false;
        const RedrawPause pause(combo_);
        const win32::Subclass::Pause unwatched(subclass_);
        SendMessageW(combo_, CB_RESETCONTENT, 0, 0);
        std::size_t bytes = 0;
        for (const std::wstring& name : names_)
            bytes += (name.size() + 1) * sizeof(wchar_t);
        SendMessageW(combo_, CB_INITSTORAGE, names_.size(), static_cast<LPARAM>(bytes));
        // Past the tooltips' subclass too, which has no say in it: it looks a property of the window up
        // for every message, which for thousands of items takes most of a second under Wine.
        auto* const control = reinterpret_cast<WNDPROC>(GetClassLongPtrW(combo_, GCLP_WNDPROC));
        for (const std::wstring& name : names_)
            CallWindowProcW(control, combo_, CB_ADDSTRING, 0,
                            reinterpret_cast<LPARAM>(name.c_str()));
    }
    select_current();
}

void BranchesDropdown::select_current()
{
    if (select(current_))
        return;
    constexpr auto none = static_cast<WPARAM>(-1);
    SendMessageW(combo_, CB_SETCURSEL, unborn_ ? 0 : none, 0);
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

// Makes the list as wide as the longest name, since the control itself is narrow.
void BranchesDropdown::fit_list()
{
    if (std::exchange(is_list_fitted_, true))
        return;
    const win32::WindowDc dc(combo_);
    if (dc.get() == nullptr)
        return;
    const win32::SelectedObject selected(dc.get(), win32::control_font(combo_));
    LONG width = 0;
    for (const std::wstring& name : names_) {
        SIZE size{};
        GetTextExtentPoint32W(dc.get(), name.c_str(), static_cast<int>(name.size()), &size);
        width = std::max(width, size.cx);
    }
    width += GetSystemMetrics(SM_CXVSCROLL) + scale(LIST_PADDING, get_dpi(combo_));
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    if (GetMonitorInfoW(MonitorFromWindow(combo_, MONITOR_DEFAULTTONEAREST), &monitor))
        width = std::min(width, monitor.rcWork.right - monitor.rcWork.left);
    // Never narrower than the control: Windows sees to that.
    SendMessageW(combo_, CB_SETDROPPEDWIDTH, static_cast<WPARAM>(width), 0);
}

bool BranchesDropdown::on_command(UINT code)
{
    bool is_picked = false;
    switch (code) {
    case CBN_DROPDOWN:
        fit_list();
        break;
    case CBN_SELENDOK:
        was_picked_ = true;
        break;
    case CBN_SELENDCANCEL:
        was_picked_ = false;
        break;
    case CBN_CLOSEUP:
        // The pick counts for the items that were on view.
        is_picked = std::exchange(was_picked_, false);
        if (is_picked)
            on_branch_change();
        else
            select_current();
        if (std::optional<Contents> contents = std::exchange(waiting_, std::nullopt))
            show(std::move(*contents));
        break;
    default:
        break;
    }
    return is_picked;
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

// Letters that follow each other soon make one name.
void BranchesDropdown::on_typed(wchar_t letter)
{
    const auto now = std::chrono::steady_clock::now();
    if (now - last_typed_ > TYPING_PAUSE)
        typed_.clear();
    last_typed_ = now;
    typed_ += letter;
    // The first letter again and again leads from name to name.
    const std::size_t start =
        static_cast<std::size_t>(std::max<LRESULT>(SendMessageW(combo_, CB_GETCURSEL, 0, 0), 0)) +
        (typed_.size() == 1 ? 1 : 0);
    if (const auto found = find_name(names_, typed_, start))
        SendMessageW(combo_, CB_SETCURSEL, *found, 0);
}

bool BranchesDropdown::is_open() const
{
    return SendMessageW(combo_, CB_GETDROPPEDSTATE, 0, 0) != FALSE;
}

win32::Handled BranchesDropdown::on_combo_message(const win32::Message& message)
{
    switch (message.id) {
    case WM_SETFONT:
        is_list_fitted_ = false;
        return std::nullopt;
    case WM_KEYDOWN:
        if (!selects_at_once(message.wparam) || is_open())
            return std::nullopt;
        SendMessageW(combo_, CB_SHOWDROPDOWN, TRUE, 0);
        return 0;
    case WM_CHAR:
        if (message.wparam < L' ')
            return std::nullopt;
        // Left to itself the control would pick what a letter finds.
        SendMessageW(combo_, CB_SHOWDROPDOWN, TRUE, 0);
        on_typed(static_cast<wchar_t>(message.wparam));
        return 0;
    case WM_MOUSEWHEEL:
        // Turning the wheel over the closed control would switch branches in passing.
        return is_open() ? std::nullopt : win32::Handled(0);
    default:
        return std::nullopt;
    }
}

}  // namespace revlane
