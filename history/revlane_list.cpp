#include "history/revlane_list.h"

#include "changes/command_task.h"
#include "changes/get_dpi.h"
#include "changes/list_control.h"
#include "changes/messages.h"
#include "changes/new_branch_dialog.h"
#include "changes/texts.h"
#include "git/commands.h"
#include "git/references.h"
#include "history/history_layout.h"
#include "history/revision_walk.h"
#include "plugin/host/editor.h"
#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "win32/clipboard.h"
#include "win32/error_box.h"
#include "win32/handle.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <fmt/xchar.h>
#include <gsl/narrow>
#include <windowsx.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <limits>
#include <string_view>
#include <utility>

namespace revlane {

namespace {

// With a commit-graph a hundred thousand commits are counted in less. Details that come so much later are
// not missed.
constexpr std::chrono::milliseconds EXPECTED_COUNT{50};

// Of the list to itself: draws the rows that a search has found.
constexpr UINT WM_COMMITS_DRAW = WM_APP + 120;

// The columns in the order of the control.
enum Column : int { COLUMN_SUMMARY, COLUMN_AUTHOR, COLUMN_DATE, COLUMN_ID };
constexpr std::array<UINT, 4> COLUMN_TITLES{IDS_COLUMN_SUMMARY, IDS_COLUMN_AUTHOR, IDS_COLUMN_DATE,
                                            IDS_COLUMN_ID};

// A command takes no more; one more tells that there are more.
constexpr std::size_t MOST_COMMITS = 2;

const std::wstring& column_text(const git::CommitRow& row, int column)
{
    switch (column) {
    case COLUMN_SUMMARY:
        return row.summary;
    case COLUMN_AUTHOR:
        return row.author;
    case COLUMN_DATE:
        return row.date;
    default:
        return row.id_text;
    }
}

int text_width(HWND list, const wchar_t* text)
{
    return static_cast<int>(
        SendMessageW(list, LVM_GETSTRINGWIDTHW, 0, reinterpret_cast<LPARAM>(text)));
}

// What a command task needs, copied for it.
struct ListTask {
    HWND host;
    std::filesystem::path workdir;
    std::shared_ptr<git::Git> git;
    std::shared_ptr<Cancellation> arrival;

    [[nodiscard]] git::CommandContext context() const { return {workdir, *git}; }

    // Posts the result to the host; whether the command succeeded.
    bool report(git::CommandResult result) const { return post_result(host, std::move(result)); }
    // Tells the host that HEAD is at `revision` now, unless it has turned to another repository.
    void arrived_at(std::string revision) const
    {
        PostMessageW(host, WM_REVLANE_REFRESH_ALL, 0, 0);
        arrival->post(host, WM_REVLANE_SET_REVISION,
                      std::make_unique<std::string>(std::move(revision)));
    }
};

}  // namespace

RevlaneList::RevlaneList(HWND frame, std::shared_ptr<git::Git> commands,
                         std::shared_ptr<git::Git> filters, Pools pools)
    : frame_(frame), commands_(std::move(commands)), model_(std::make_shared<RevListWithFilter>()),
      count_(pools.count), search_(pools.filter, std::move(filters)), command_slot_(pools.command)
{
}

void RevlaneList::init(HWND host)
{
    host_ = host;
    list_ = GetDlgItem(host, IDC_COMMIT_LIST);
    subclass_ = std::make_unique<win32::Subclass>(
        list_, [this](const win32::Message& message) { return handle(message); });
    {
        const RedrawPause pause(list_);
        // Put on again before the control is drawn, when it may change its size.
        const win32::Subclass::Pause unwatched(*subclass_);
        ListView_SetExtendedListViewStyle(list_, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
        insert_columns();
    }
    // The host may go while an error box stands.
    const HWND list = list_;
    refresh();
    PostMessageW(list, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(list), TRUE);
}

void RevlaneList::insert_columns()
{
    for (std::size_t i = 0; i < COLUMN_TITLES.size(); ++i) {
        std::wstring title = host::load_text(COLUMN_TITLES[i]);
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT;
        column.pszText = title.data();
        SendMessageW(list_, LVM_INSERTCOLUMNW, i, reinterpret_cast<LPARAM>(&column));
    }
    fit_columns();
}

void RevlaneList::set_repository(std::optional<git::Repository> repository)
{
    cancel_count();
    clear_filter();
    first_page_.reset();
    model_->clear_walk();
    std::exchange(arrival_, std::make_shared<Cancellation>())->cancel();
    repository_ = std::move(repository);
}

void RevlaneList::renew_repository(std::optional<git::Repository> repository)
{
    first_page_.reset();
    repository_ = std::move(repository);
}

void RevlaneList::set_start(std::optional<git_oid> start)
{
    start_ = start;
    first_page_.reset();
}

void RevlaneList::set_first_page(std::optional<git::Result<FirstPage>> page)
{
    first_page_ = std::move(page);
}

void RevlaneList::refresh()
{
    cancel_count();
    // What a search has found is drawn by a message of its own, ahead of the one that asks for details:
    // no count waits for it.
    const bool is_drawn_later = model_->has_filter();
    if (is_drawn_later)
        PostMessageW(list_, WM_COMMITS_DRAW, 0, 0);
    const git::Result<void> filled = [this] {
        const RedrawPause pause(list_);
        // Put on again before the control is drawn, when it may change its size.
        const win32::Subclass::Pause unwatched(*subclass_);
        SendMessageW(list_, LVM_DELETEALLITEMS, 0, 0);
        return fill();
    }();
    if (!is_drawn_later)
        draw();
    // Only now: the walk of the count and the drawing would hold each other up.
    if (filled && !model_->has_filter() && model_->has_walk())
        count_revisions();
    // Last, since anything may be gone once the box is closed.
    if (!filled)
        win32::show_error(list_, git::to_wide(filled.error()));
}

void RevlaneList::draw() const
{
    UpdateWindow(list_);
}

git::Result<void> RevlaneList::fill()
{
    ++fill_number_;
    if (!repository_)
        return {};
    git_repository* repository = repository_->handle.get();
    model_->clear_walk();
    std::optional<git::Result<FirstPage>> page = std::exchange(first_page_, std::nullopt);
    if (start_) {
        // The rows of a filter are counted already.
        if (!page)
            page = read_first_page(repository, *start_, model_->has_filter() ? 0 : QUICK_COUNT);
        if (!*page)
            return tl::unexpected(std::move(page->error()));
        model_->set_walk(repository_->handle, std::move((*page)->walk), *start_);
    }
    std::size_t count = model_->size();
    if (!model_->has_filter() && start_)
        count = (*page)->count;
    SendMessageW(list_, LVM_SETITEMCOUNT, count, 0);
    if (count > 0)
        select_rows({0});
    else
        post_selection();
    return {};
}

void RevlaneList::count_revisions()
{
    cancel_count();
    if (repository_ && start_)
        count_.start(list_, repository_->path, *start_);
}

void RevlaneList::cancel_count()
{
    wanted_.reset();
    count_.cancel();
}

void RevlaneList::on_count(WPARAM wparam)
{
    const auto result = win32::take_owned<CountResult>(wparam);
    const auto counted = count_.finish();
    if (result == nullptr || counted == nullptr)
        return;
    PostMessageW(host_, WM_SIZE, 0, 0);
    if (!*result) {
        wanted_.reset();
        win32::show_error(list_, git::to_wide(result->error()));
        return;
    }
    model_->set_walked(std::move(*counted));
    const std::vector<std::size_t> selected = selected_rows(list_);
    const auto top = static_cast<std::size_t>(ListView_GetTopIndex(list_));
    {
        const RedrawPause pause(list_);
        SendMessageW(list_, LVM_DELETEALLITEMS, 0, 0);
        SendMessageW(list_, LVM_SETITEMCOUNT, **result, 0);
        select_rows(selected);
    }
    if (**result > 0)
        scroll_to_top(list_, std::min<std::size_t>(top, **result - 1));
    if (wanted_)
        select_commit(*std::exchange(wanted_, std::nullopt));
}

bool RevlaneList::is_counting() const noexcept
{
    return count_.is_running() && item_count() >= static_cast<int>(QUICK_COUNT);
}

bool RevlaneList::expects_count() const noexcept
{
    return win32::is_waiting(list_, WM_REVLANE_COUNT) ||
           (is_counting() && count_.is_running_for_less_than(EXPECTED_COUNT));
}

void RevlaneList::filter(const std::wstring& revision, const Filter::State& state)
{
    if (state.text.empty()) {
        clear_filter();
        refresh();
        return;
    }
    end_search();
    if (!repository_)
        return;
    switch (state.kind) {
    case Filter::Kind::CommitId:
        filter_by_id(state.text);
        break;
    case Filter::Kind::Tag:
        post_filtered(
            git::tag_targets_matching(repository_->handle.get(), win32::to_utf8(state.text)));
        break;
    case Filter::Kind::Message:
    case Filter::Kind::Author:
        search_.by_log(list_, repository_->path, revision, state);
        PostMessageW(list_, WM_SETCURSOR, 0, 0);
        break;
    }
}

void RevlaneList::filter_by_id(const std::wstring& text)
{
    const std::string digits = win32::to_utf8(text);
    git_oid prefix{};
    if (git_oid_fromstrp(&prefix, digits.c_str()) != 0) {
        post_filtered(std::vector<git_oid>{});
        return;
    }
    git_commit* found = nullptr;
    const int code =
        git_commit_lookup_prefix(&found, repository_->handle.get(), &prefix, digits.size());
    const git::Commit commit(found);
    if (code == 0)
        post_filtered(std::vector<git_oid>{*git_commit_id(found)});
    else if (code == GIT_ENOTFOUND || code == GIT_EAMBIGUOUS)
        post_filtered(std::vector<git_oid>{});
    else
        show_failed_search(git::error_from_libgit2());
}

void RevlaneList::show_file_history(const std::wstring& path)
{
    end_search();
    if (!repository_ || !start_)
        return;
    search_.by_file(list_, repository_->path, *start_, path);
    PostMessageW(list_, WM_SETCURSOR, 0, 0);
}

void RevlaneList::post_filtered(FilterResult result)
{
    win32::post_owned(list_, WM_REVLANE_FILTERED,
                      std::make_unique<FilterResult>(std::move(result)));
}

void RevlaneList::clear_filter()
{
    end_search();
    // What has been posted meanwhile would put the filter in force again.
    win32::drain_owned<FilterResult>(list_, WM_REVLANE_FILTERED);
    model_->clear_filter();
}

// Nothing is known of the next one yet.
void RevlaneList::end_search()
{
    search_.cancel();
    is_filter_current_ = false;
    has_search_failed_ = false;
}

// The list may be gone afterwards.
void RevlaneList::show_failed_search(const git::Error& error)
{
    has_search_failed_ = true;
    win32::show_error(list_, git::to_wide(error));
}

void RevlaneList::on_filtered(WPARAM wparam)
{
    const auto result = win32::take_owned<FilterResult>(wparam);
    PostMessageW(list_, WM_SETCURSOR, 0, 0);
    search_.finish();
    if (result == nullptr || !repository_)
        return;
    // The host says that the search has ended, and how.
    PostMessageW(host_, WM_SIZE, 0, 0);
    if (!*result) {
        show_failed_search(result->error());
        return;
    }
    is_filter_current_ = true;
    has_search_failed_ = false;
    // A search that was run again and found the same leaves the selection alone.
    if (model_->shows_filtered(**result))
        return;
    model_->set_filter(repository_->handle, std::move(**result));
    refresh();
}

void RevlaneList::select_commit(const git_oid& id)
{
    wanted_.reset();
    deselect_few(list_);
    ListView_SetItemState(list_, -1, 0, LVIS_SELECTED);
    const auto count = static_cast<std::size_t>(item_count());
    const std::size_t index = model_->find(id, count);
    if (index < count) {
        select_rows({index});
        ListView_EnsureVisible(list_, static_cast<int>(index), FALSE);
    } else if (is_counting()) {
        wanted_ = id;
    } else {
        win32::show_error(list_, text_with(IDS_COMMIT_NOT_LISTED, git::short_oid_text(id)));
    }
}

UINT RevlaneList::selected_count() const noexcept
{
    return ListView_GetSelectedCount(list_);
}

int RevlaneList::item_count() const noexcept
{
    return ListView_GetItemCount(list_);
}

bool RevlaneList::is_busy() const noexcept
{
    return search_.is_busy() || command_slot_.busy();
}

std::vector<const git::CommitRow*> RevlaneList::built_selection() const
{
    std::vector<const git::CommitRow*> rows;
    for (const std::size_t index : selected_rows(list_)) {
        if (const git::CommitRow* row = model_->row(index))
            rows.push_back(row);
    }
    return rows;
}

RevlaneList::Commits RevlaneList::first_selected() const
{
    Commits commits;
    for (const std::size_t index : selected_rows(list_)) {
        if (const git::CommitRow* row = model_->row(index))
            commits.push_back(row->id);
        if (commits.size() > MOST_COMMITS)
            break;
    }
    return commits;
}

std::optional<git_oid> RevlaneList::selected_commit() const
{
    if (selected_count() != 1)
        return std::nullopt;
    const std::vector<const git::CommitRow*> rows = built_selection();
    return rows.empty() ? std::nullopt : std::optional(rows.front()->id);
}

void RevlaneList::select_rows(const std::vector<std::size_t>& rows)
{
    LVITEMW item{};
    item.state = std::numeric_limits<UINT>::max();
    item.stateMask = LVIS_FOCUSED | LVIS_SELECTED;
    for (const std::size_t row : rows)
        SendMessageW(list_, LVM_SETITEMSTATE, row, reinterpret_cast<LPARAM>(&item));
}

LRESULT RevlaneList::on_notify(NMHDR& header)
{
    switch (header.code) {
    case LVN_GETDISPINFOW:
        on_display_info(reinterpret_cast<NMLVDISPINFOW&>(header));
        break;
    case LVN_ODCACHEHINT:
        on_cache_hint(*reinterpret_cast<const NMLVCACHEHINT*>(&header));
        break;
    case LVN_ITEMACTIVATE:
        open_commit(first_selected());
        break;
    case LVN_ITEMCHANGED:
        if ((reinterpret_cast<const NMLISTVIEW*>(&header)->uNewState & LVIS_SELECTED) != 0)
            post_selection();
        break;
    case LVN_ODSTATECHANGED:
        // A range of rows changes without LVN_ITEMCHANGED.
        post_selection();
        break;
    case LVN_ODFINDITEMW:
        // A letter was typed. Looking for it would read every commit there is.
        return -1;
    case LVN_KEYDOWN:
        on_key_down(reinterpret_cast<const NMLVKEYDOWN*>(&header)->wVKey);
        break;
    case NM_RCLICK:
        on_context_menu(std::nullopt);
        break;
    default:
        break;
    }
    return 0;
}

void RevlaneList::on_cache_hint(const NMLVCACHEHINT& hint)
{
    for (int row = std::max(hint.iFrom, 0); row <= hint.iTo; ++row)
        (void)model_->row(static_cast<std::size_t>(row));
}

void RevlaneList::on_display_info(NMLVDISPINFOW& info)
{
    if ((info.item.mask & LVIF_TEXT) == 0 || info.item.iItem < 0 ||
        info.item.iSubItem < COLUMN_SUMMARY || info.item.iSubItem > COLUMN_ID)
        return;
    if (const git::CommitRow* row = model_->row(static_cast<std::size_t>(info.item.iItem)))
        // The list view only reads it.
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
        info.item.pszText = const_cast<wchar_t*>(column_text(*row, info.item.iSubItem).c_str());
}

void RevlaneList::on_key_down(WORD key)
{
    if (GetKeyState(VK_CONTROL) >= 0)
        return;
    if (key == 'C')
        copy_rows();
    else if (key == 'F')
        PostMessageW(host_, WM_COMMAND, IDC_FILTER, 0);
}

win32::Handled RevlaneList::handle(const win32::Message& message)
{
    deselect_ahead(message);
    switch (message.id) {
    case WM_SIZE:
    case WM_DPICHANGED:
        fit_columns();
        return 0;
    case WM_SETCURSOR:
        if (!is_busy())
            return std::nullopt;
        SetCursor(LoadCursorW(nullptr, IDC_APPSTARTING));
        return 1;
    case WM_GETDLGCODE:
        // Return opens the commit; without this the dialog would take the key.
        return dialog_code_with_return(message);
    case WM_CONTEXTMENU:
        // From the keyboard only: the mouse arrives as NM_RCLICK.
        if (message.lparam != -1)
            return std::nullopt;
        on_context_menu(keyboard_menu_place(list_));
        return 0;
    case WM_COMMAND:
        return on_command(LOWORD(message.wparam), first_selected());
    case WM_REVLANE_COUNT:
        on_count(message.wparam);
        return 0;
    case WM_REVLANE_FILTERED:
        on_filtered(message.wparam);
        return 0;
    case WM_COMMITS_DRAW:
        draw();
        return 0;
    case WM_NCDESTROY:
        cancel_count();
        clear_filter();
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

win32::Handled RevlaneList::on_command(UINT id, const Commits& commits)
{
    switch (id) {
    case ID_OPEN_COMMIT:
        open_commit(commits);
        return 0;
    case ID_COPY_COMMIT_IDS:
        copy_ids();
        return 0;
    case ID_COPY_COMMITS:
        copy_rows();
        return 0;
    case ID_COMPARE_COMMITS:
        compare_commits(commits);
        return 0;
    case ID_COMMITS_REFRESH:
        PostMessageW(host_, WM_REVLANE_REFRESH_ALL, 0, 0);
        return 0;
    case ID_COMMIT_CHECKOUT:
        on_checkout(commits);
        return 0;
    case ID_COMMIT_CREATE_BRANCH:
        on_create_branch(commits);
        return 0;
    default:
        return std::nullopt;
    }
}

void RevlaneList::prepare_menu(HMENU menu) const
{
    const UINT selected = selected_count();
    const auto grey_unless = [menu](int id, bool enabled) {
        if (!enabled)
            EnableMenuItem(menu, static_cast<UINT>(id), MF_BYCOMMAND | MF_GRAYED);
    };
    SetMenuDefaultItem(menu, ID_OPEN_COMMIT, FALSE);
    for (const int id : {ID_OPEN_COMMIT, ID_COMMIT_CHECKOUT, ID_COMMIT_CREATE_BRANCH})
        grey_unless(id, selected == 1);
    for (const int id : {ID_COPY_COMMIT_IDS, ID_COPY_COMMITS})
        grey_unless(id, selected >= 1);
    grey_unless(ID_COMPARE_COMMITS, selected == 2);
}

void RevlaneList::on_context_menu(std::optional<POINT> where)
{
    POINT place{};
    if (where)
        place = *where;
    else
        GetCursorPos(&place);
    const win32::MenuHandle menu(
        LoadMenuW(host::resource_module(), MAKEINTRESOURCEW(IDM_COMMIT_LIST)));
    const HMENU items = GetSubMenu(menu.get(), 0);
    prepare_menu(items);
    // Other rows may take their place while the menu stands, and the window may go.
    const Commits commits = first_selected();
    const HWND list = list_;
    const auto arrival = arrival_;
    const std::uint64_t filled = fill_number_;
    const BOOL chosen =
        TrackPopupMenuEx(items, TPM_RIGHTBUTTON | TPM_RETURNCMD, place.x, place.y, list, nullptr);
    if (chosen == 0 || !IsWindow(list))
        return;
    // Of the rows that were to be copied not even the ids are kept: there may be a hundred thousand.
    const bool is_copying = chosen == ID_COPY_COMMIT_IDS || chosen == ID_COPY_COMMITS;
    if (arrival == arrival_ && !(is_copying && filled != fill_number_))
        on_command(static_cast<UINT>(chosen), commits);
}

void RevlaneList::post_selection()
{
    auto selection = std::make_unique<Selection>();
    if (selected_count() == 1) {
        const std::optional<git_oid> id = selected_commit();
        if (!id)
            return;
        *selection = {*id, true};
    }
    win32::post_owned(host_, WM_REVLANE_SELECTION, std::move(selection));
}

void RevlaneList::open_commit(const Commits& commits)
{
    if (!commits.empty())
        win32::post_owned(host_, WM_REVLANE_OPEN_COMMIT,
                          std::make_unique<git_oid>(commits.front()));
}

void RevlaneList::compare_commits(const Commits& commits)
{
    if (commits.size() == 2)
        win32::post_owned(host_, WM_REVLANE_COMPARE_REVISIONS,
                          std::make_unique<RevisionPair>(RevisionPair{commits[0], commits[1]}));
}

void RevlaneList::copy_rows()
{
    std::wstring text;
    for (const git::CommitRow* row : built_selection())
        text +=
            fmt::format(L"{}\t{}\t{}\t{}\r\n", row->summary, row->author, row->date, row->id_text);
    win32::set_clipboard_text(list_, text);
    host::set_status_text(frame_, host::load_text(IDS_ROWS_COPIED));
}

void RevlaneList::copy_ids()
{
    constexpr std::wstring_view line_end = L"\r\n";
    std::wstring text;
    for (const git::CommitRow* row : built_selection())
        text.append(row->id_text).append(line_end);
    // A single id is pasted into a line of its user's own.
    if (selected_count() == 1 && text.ends_with(line_end))
        text.resize(text.size() - line_end.size());
    win32::set_clipboard_text(list_, text);
    host::set_status_text(frame_, host::load_text(IDS_IDS_COPIED));
}

void RevlaneList::on_checkout(const Commits& commits)
{
    if (commits.empty() || !repository_)
        return;
    command_slot_.submit([task = ListTask{host_, repository_->path, commands_, arrival_},
                          commit = git::oid_to_text(commits.front())] {
        if (task.report(git::checkout_branch(task.context(), commit)))
            task.arrived_at("HEAD");
    });
    PostMessageW(list_, WM_SETCURSOR, 0, 0);
}

void RevlaneList::on_create_branch(const Commits& commits)
{
    if (commits.empty() || !repository_)
        return;
    const ListTask task{host_, repository_->path, commands_, arrival_};
    const std::wstring commit = git::oid_to_text(commits.front());
    const HWND list = list_;
    const std::optional<std::wstring> name = ask_branch_name(list);
    // The window may have gone while the question stood.
    if (!name || !IsWindow(list))
        return;
    command_slot_.submit([task, commit, name = *name] {
        if (task.report(git::create_branch(task.context(), name, commit)) &&
            task.report(git::checkout_branch(task.context(), name)))
            task.arrived_at(win32::to_utf8(name));
    });
    PostMessageW(list_, WM_SETCURSOR, 0, 0);
}

void RevlaneList::fit_columns()
{
    const int dpi = gsl::narrow<int>(gsl::narrow<unsigned>(get_dpi(list_)));
    RECT bounds{};
    GetWindowRect(list_, &bounds);
    const int available = bounds.right - bounds.left - 2 * GetSystemMetrics(SM_CXEDGE) -
                          GetSystemMetrics(SM_CXVSCROLL);
    const CommitColumns columns = fit_commit_columns(
        available, dpi, text_width(list_, L"00/00/00 00:00:00 AM"), text_width(list_, L"0000000"));
    // One that has its width would lay the list out anew.
    const auto fit = [this](Column column, int width) {
        if (ListView_GetColumnWidth(list_, column) != width)
            ListView_SetColumnWidth(list_, column, width);
    };
    fit(COLUMN_AUTHOR, columns.author);
    fit(COLUMN_DATE, columns.date);
    fit(COLUMN_ID, columns.id);
    fit(COLUMN_SUMMARY, columns.summary);
}

}  // namespace revlane
