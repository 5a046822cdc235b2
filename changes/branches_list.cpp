// The control: rows, texts, selection and messages. What the commands do is in branches_commands.cpp.
#include "changes/branches_list.h"

#include "changes/drawn_row.h"
#include "changes/empty_text.h"
#include "changes/get_dpi.h"
#include "changes/list_control.h"
#include "changes/messages.h"
#include "changes/name_search.h"
#include "changes/row_index.h"
#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "win32/posted.h"
#include "win32/text.h"

#include <fmt/xchar.h>
#include <windowsx.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace revlane {

namespace {

enum Column : int { COLUMN_NAME, COLUMN_NOTE };

// Before a note and behind it.
constexpr int NOTE_PADDING = 2 * DrawnRow::MARGIN;

// As git itself writes it, with a true minus sign. Not every font has arrows.
constexpr wchar_t AHEAD_MARK = L'+';
constexpr wchar_t BEHIND_MARK = L'\u2212';
constexpr wchar_t LEVEL_MARK = L'=';  // neither ahead nor behind

bool same_tracking(const TrackingMap& left, const TrackingMap& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const auto& a, const auto& b) {
                          return a.first == b.first && a.second.ahead == b.second.ahead &&
                                 a.second.behind == b.second.behind;
                      });
}

std::wstring tracking_text(const git::AheadBehind& counts)
{
    if (counts.ahead == 0 && counts.behind == 0)
        return {LEVEL_MARK};
    std::wstring text;
    if (counts.ahead > 0)
        text = fmt::format(L"{}{}", AHEAD_MARK, counts.ahead);
    if (counts.behind > 0)
        text += fmt::format(L"{}{}{}", text.empty() ? L"" : L" ", BEHIND_MARK, counts.behind);
    return text;
}

std::string_view name_of(const git::Reference& reference)
{
    return git_reference_name(reference.get());
}

using RowsByName = RowIndex<git::BranchList, name_of>;

}  // namespace

// What the user has before him: rows by their number.
struct BranchesList::View {
    std::vector<std::size_t> selected;
    std::optional<std::size_t> focused;
    std::size_t top;
};

BranchesList::BranchesList(HWND frame, win32::WorkPool& pool, std::shared_ptr<git::Git> git)
    : frame_(frame), pool_(pool), git_(std::move(git)), life_(std::make_shared<const char>())
{
}

BranchesList::~BranchesList() = default;

void BranchesList::attach(HWND owner, HWND list, std::wstring empty_text)
{
    owner_ = owner;
    list_ = list;
    empty_text_ = std::move(empty_text);
    current_mark_ = host::load_text(IDS_CURRENT_BRANCH);
}

void BranchesList::begin()
{
    measure();
    subclass_.emplace(list_,
                      [this](const win32::Message& message) { return on_list_message(message); });
}

void BranchesList::set_repository(const git::Repository* repository)
{
    shown_branch_.reset();
    was_chosen_ = false;
    tracking_.clear();
    fill({}, nullptr);
    is_filled_ = false;
    repo_ = repository;
}

void BranchesList::fill(git::BranchList references, const git_reference* current)
{
    // All texts first: one that cannot be made must not leave the control half filled.
    std::vector<std::wstring> names;
    names.reserve(references.size());
    for (const git::Reference& reference : references)
        names.push_back(win32::to_wide(git::reference_display_name(reference.get())));
    std::string current_name = current != nullptr ? git_reference_name(current) : "";

    const bool looks_the_same =
        is_filled_ && names == names_ && current_name == current_ &&
        std::equal(references.begin(), references.end(), references_.begin(), references_.end(),
                   [](const git::Reference& a, const git::Reference& b) {
                       return std::string_view(git_reference_name(a.get())) ==
                              git_reference_name(b.get());
                   });
    const View shown = view();
    // Even where the rows look the same, the commits may be others.
    const git::BranchList former = std::exchange(references_, std::move(references));
    keep_shown_branch();
    if (looks_the_same)
        return;
    names_ = std::move(names);
    current_ = std::move(current_name);
    is_filled_ = true;
    if (references_.empty() && former.empty()) {
        // It may say so from now on. Of no window at all the whole screen would be drawn anew.
        if (list_ != nullptr)
            InvalidateRect(list_, nullptr, TRUE);
        return;
    }
    note_width_ = widest_note();
    {
        const RedrawPause pause(list_);
        // Put on again before the control is drawn, when it may change its size.
        const win32::Subclass::Pause unwatched(subclass_);
        if (!std::exchange(has_columns_, true))
            insert_columns();
        clear_row_states(list_);
        SendMessageW(list_, LVM_SETITEMCOUNT, references_.size(), LVSICF_NOSCROLL);
        fit_columns();
        restore_rows(shown, former);
    }
    restore_top(shown, former);
}

void BranchesList::set_tracking(TrackingMap tracking)
{
    if (same_tracking(tracking, tracking_))
        return;
    tracking_ = std::move(tracking);
    note_width_ = widest_note();
    // Of no window at all the whole screen would be drawn anew.
    if (list_ == nullptr)
        return;
    fit_columns();
    InvalidateRect(list_, nullptr, TRUE);
}

std::optional<std::string> BranchesList::shown_branch_name() const
{
    if (!shown_branch_)
        return std::nullopt;
    return git_reference_shorthand(shown_branch_.get());
}

win32::Handled BranchesList::on_owner_message(const win32::Message& message)
{
    if (list_ == nullptr)
        return std::nullopt;
    if (message.id == WM_NOTIFY) {
        auto& header = *reinterpret_cast<NMHDR*>(message.lparam);
        return header.hwndFrom == list_ ? on_notify(header) : std::nullopt;
    }
    if (message.id == WM_CONTEXTMENU && reinterpret_cast<HWND>(message.wparam) == list_) {
        const bool by_keyboard =
            GET_X_LPARAM(message.lparam) == -1 && GET_Y_LPARAM(message.lparam) == -1;
        on_context_menu(by_keyboard);
        return 0;
    }
    return std::nullopt;
}

win32::Handled BranchesList::on_notify(NMHDR& header)
{
    switch (header.code) {
    case LVN_GETDISPINFOW:
        answer_text(reinterpret_cast<NMLVDISPINFOW&>(header));
        return 0;
    case LVN_ODFINDITEMW:
        return find_row(reinterpret_cast<const NMLVFINDITEMW&>(header));
    case NM_CUSTOMDRAW:
        return draw(reinterpret_cast<const NMLVCUSTOMDRAW&>(header).nmcd);
    case NM_DBLCLK:
        if (reinterpret_cast<const NMITEMACTIVATE&>(header).iItem >= 0)
            on_select();
        return 0;
    case NM_RETURN:
        on_select();
        return 0;
    default:
        return std::nullopt;
    }
}

win32::Handled BranchesList::on_list_message(const win32::Message& message)
{
    switch (message.id) {
    case WM_COMMAND:
        return on_command(LOWORD(message.wparam));
    case WM_REVLANE_SET_REVISION:
        if (const auto name = win32::take_owned<std::string>(message.wparam))
            on_set_revision(*name);
        return 0;
    case WM_DPICHANGED:
    case WM_SETFONT: {
        const LRESULT result =
            DefSubclassProc(message.window, message.id, message.wparam, message.lparam);
        measure();
        return result;
    }
    case WM_SIZE:
        // Before the control lays itself out, so that no horizontal scroll bar shows up for it.
        fit_columns();
        if (references_.empty())
            InvalidateRect(list_, nullptr, TRUE);
        return std::nullopt;
    case WM_GETDLGCODE:
        return dialog_code_with_return(message);
    case WM_KEYDOWN:
        if (message.wparam != VK_F5)
            return std::nullopt;
        on_refresh();
        return 0;
    case WM_PAINT:
        if (!is_filled_ || !references_.empty())
            return std::nullopt;
        return paint_with_empty_text(message, empty_text_);
    case WM_NCDESTROY:
        win32::drain_owned<std::string>(list_, WM_REVLANE_SET_REVISION);
        list_ = nullptr;
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

win32::Handled BranchesList::on_command(UINT id)
{
    switch (id) {
    case ID_SHOW_BRANCH:
        on_select();
        return 0;
    case ID_BRANCH_CHECKOUT:
        on_checkout();
        return 0;
    case ID_BRANCH_CREATE:
        on_create_branch();
        return 0;
    case ID_BRANCH_DELETE:
        on_delete_branch();
        return 0;
    case ID_BRANCH_DELETE_REMOTE:
        on_delete_remote();
        return 0;
    case ID_BRANCHES_COMPARE:
        on_compare();
        return 0;
    case ID_BRANCHES_REFRESH:
        on_refresh();
        return 0;
    default:
        return std::nullopt;
    }
}

void BranchesList::on_context_menu(bool by_keyboard)
{
    const win32::MenuHandle menu(
        LoadMenuW(host::resource_module(), MAKEINTRESOURCEW(IDM_BRANCHES_LIST)));
    const HMENU popup = GetSubMenu(menu.get(), 0);
    if (popup == nullptr)
        return;
    SetMenuDefaultItem(popup, ID_SHOW_BRANCH, FALSE);
    disable_items(popup);
    POINT place{};
    if (by_keyboard)
        place = keyboard_menu_place(list_);
    else
        GetCursorPos(&place);
    // The chosen command arrives at the control. Nothing of the list is touched after this.
    TrackPopupMenuEx(popup, TPM_RIGHTBUTTON, place.x, place.y, list_, nullptr);
}

void BranchesList::disable_items(HMENU menu) const
{
    const auto disable = [menu](std::initializer_list<UINT> commands) {
        for (const UINT command : commands)
            EnableMenuItem(menu, command, MF_BYCOMMAND | MF_DISABLED | MF_GRAYED);
    };
    const std::size_t count = selected_rows(list_).size();
    if (count != 1)
        disable({ID_SHOW_BRANCH, ID_BRANCH_CHECKOUT, ID_BRANCH_CREATE, ID_BRANCH_DELETE,
                 ID_BRANCH_DELETE_REMOTE});
    if (count != 2)
        disable({ID_BRANCHES_COMPARE});
    const git_reference* branch = selected();
    if (branch != nullptr && git_reference_is_remote(branch) == 0)
        disable({ID_BRANCH_DELETE_REMOTE});
}

void BranchesList::answer_text(NMLVDISPINFOW& info) const
{
    LVITEMW& item = info.item;
    if ((item.mask & LVIF_TEXT) == 0 || item.cchTextMax <= 0)
        return;
    const auto row = static_cast<std::size_t>(item.iItem);
    // The control may ask for a row that it has no more as it is emptied.
    std::wstring text;
    if (row < references_.size())
        text = item.iSubItem == COLUMN_NAME ? names_[row] : note(row);
    text.resize(std::min(text.size(), static_cast<std::size_t>(item.cchTextMax) - 1));
    std::copy_n(text.c_str(), text.size() + 1, item.pszText);
}

LRESULT BranchesList::find_row(const NMLVFINDITEMW& find) const
{
    constexpr LRESULT not_found = -1;
    if ((find.lvfi.flags & (LVFI_STRING | LVFI_PARTIAL)) == 0 || find.lvfi.psz == nullptr)
        return not_found;
    const auto row =
        find_name(names_, find.lvfi.psz, static_cast<std::size_t>(std::max(find.iStart, 0)));
    return row ? static_cast<LRESULT>(*row) : not_found;
}

LRESULT BranchesList::draw(const NMCUSTOMDRAW& draw) const
{
    if (draw.dwDrawStage == CDDS_PREPAINT)
        return CDRF_NOTIFYITEMDRAW;
    const std::size_t index = draw.dwItemSpec;
    if (draw.dwDrawStage != CDDS_ITEMPREPAINT || index >= references_.size())
        return CDRF_DODEFAULT;
    const int dpi = get_dpi(list_);
    DrawnRow row(draw, dpi);
    {
        const win32::SelectedObject font(row.dc(), is_current(index) ? bold_font_.get()
                                                                     : win32::control_font(list_));
        const bool is_remote = git_reference_is_remote(references_[index].get()) != 0;
        const auto note_column =
            static_cast<int>(SendMessageW(list_, LVM_GETCOLUMNWIDTH, COLUMN_NOTE, 0));
        row.draw_left(names_[index], is_remote ? row.dimmed_color() : row.text_color(),
                      std::max(0, note_column - scale(DrawnRow::MARGIN, dpi)));
    }
    row.draw_right(note(index), row.dimmed_color());
    return CDRF_SKIPDEFAULT;
}

std::wstring BranchesList::note(std::size_t row) const
{
    const auto tracking = tracking_.find(git_reference_name(references_[row].get()));
    std::wstring text = is_current(row) ? current_mark_ : std::wstring();
    if (tracking != tracking_.end())
        text += (text.empty() ? L"" : L" ") + tracking_text(tracking->second);
    return text;
}

bool BranchesList::is_current(std::size_t row) const
{
    return current_ == git_reference_name(references_[row].get());
}

// Follows the font and the DPI of the control.
void BranchesList::measure()
{
    LOGFONTW look{};
    GetObjectW(win32::control_font(list_), sizeof look, &look);
    look.lfWeight = FW_BOLD;
    bold_font_.reset(CreateFontIndirectW(&look));
    note_width_ = widest_note();
    fit_columns();
    InvalidateRect(list_, nullptr, TRUE);
}

int BranchesList::widest_note() const
{
    // Of thousands of branches most have the same few notes.
    std::unordered_set<std::wstring> notes;
    for (std::size_t row = 0; row < references_.size(); ++row)
        notes.insert(note(row));
    LRESULT width = 0;
    for (const std::wstring& text : notes)
        if (!text.empty())
            width = std::max(width, SendMessageW(list_, LVM_GETSTRINGWIDTHW, 0,
                                                 reinterpret_cast<LPARAM>(text.c_str())));
    return static_cast<int>(width);
}

void BranchesList::insert_columns()
{
    // Names that the column cuts off unfold under the pointer.
    constexpr DWORD styles = LVS_EX_DOUBLEBUFFER | LVS_EX_FULLROWSELECT | LVS_EX_LABELTIP;
    SendMessageW(list_, LVM_SETEXTENDEDLISTVIEWSTYLE, styles, styles);
    for (const int index : {COLUMN_NAME, COLUMN_NOTE}) {
        LVCOLUMNW column{};
        column.mask = LVCF_FMT;
        column.fmt = index == COLUMN_NOTE ? LVCFMT_RIGHT : LVCFMT_LEFT;
        SendMessageW(list_, LVM_INSERTCOLUMNW, static_cast<WPARAM>(index),
                     reinterpret_cast<LPARAM>(&column));
    }
}

void BranchesList::fit_columns()
{
    if (!has_columns_)
        return;
    RECT client{};
    GetClientRect(list_, &client);
    const int padding = note_width_ > 0 ? scale(NOTE_PADDING, get_dpi(list_)) : 0;
    // The names keep at least half of the width.
    const int note = std::min(note_width_ + padding, static_cast<int>(client.right) / 2);
    SendMessageW(list_, LVM_SETCOLUMNWIDTH, COLUMN_NAME, client.right - note);
    SendMessageW(list_, LVM_SETCOLUMNWIDTH, COLUMN_NOTE, note);
}

BranchesList::View BranchesList::view() const
{
    return {selected_rows(list_), focused_row(list_),
            static_cast<std::size_t>(SendMessageW(list_, LVM_GETTOPINDEX, 0, 0))};
}

void BranchesList::restore_rows(const View& view, const git::BranchList& former)
{
    const RowsByName rows(references_);
    for (const std::size_t selected : view.selected)
        if (const auto row = rows.find(former[selected]))
            add_row_state(list_, *row, LVIS_SELECTED);
    // A list that is new to the user begins at the current branch.
    const auto focused = view.focused ? rows.find_nearest(former, *view.focused) : row_of(current_);
    if (focused) {
        add_row_state(list_, *focused, LVIS_FOCUSED);
        SendMessageW(list_, LVM_SETSELECTIONMARK, 0, static_cast<LPARAM>(*focused));
    }
}

void BranchesList::restore_top(const View& view, const git::BranchList& former)
{
    if (former.empty()) {
        if (const auto row = row_of(current_))
            SendMessageW(list_, LVM_ENSUREVISIBLE, *row, FALSE);
    } else if (const auto row = RowsByName(references_).find_nearest(former, view.top)) {
        scroll_to_top(list_, *row);
    }
}

std::optional<std::size_t> BranchesList::row_of(std::string_view full_name) const
{
    const auto found = std::find_if(references_.begin(), references_.end(),
                                    [full_name](const git::Reference& reference) {
                                        return full_name == git_reference_name(reference.get());
                                    });
    if (found == references_.end())
        return std::nullopt;
    return static_cast<std::size_t>(found - references_.begin());
}

void BranchesList::on_set_revision(std::string_view name)
{
    // A local and a remote-tracking branch may share a name: the local one comes first.
    const auto is_named = [name](const git::Reference& reference) {
        return name == git_reference_name(reference.get()) ||
               name == git_reference_shorthand(reference.get());
    };
    const auto found = std::find_if(references_.begin(), references_.end(), is_named);
    if (found != references_.end())
        set_shown_branch(found->get());
}

}  // namespace revlane
