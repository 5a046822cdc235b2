#include "editor/documents.h"

#include "plugin/host/messages.h"

#include <fmt/xchar.h>
#include <commdlg.h>
#include <windowsx.h>

#include <algorithm>
#include <array>
#include <utility>

namespace quorrel {

namespace {

bool same_file(const std::filesystem::path& left, const std::filesystem::path& right)
{
    return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_EQUAL;
}

// The user's choice of a file; empty when there was none.
std::filesystem::path choose_file(HWND owner, BOOL(WINAPI* dialog)(OPENFILENAMEW*), DWORD flags)
{
    constexpr std::size_t LONGEST_PATH = 32768;
    std::wstring file(LONGEST_PATH, L'\0');
    OPENFILENAMEW options{};
    options.lStructSize = sizeof options;
    options.hwndOwner = owner;
    options.lpstrFilter = L"All files\0*.*\0";
    options.lpstrFile = file.data();
    options.nMaxFile = static_cast<DWORD>(file.size());
    options.Flags = flags | OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    return dialog(&options) ? std::filesystem::path(file.c_str()) : std::filesystem::path();
}

// A label that leaves room for others: of a long one the end is kept, which tells files apart.
std::wstring shortened(const std::wstring& label)
{
    constexpr std::size_t LONGEST = 40;
    return label.size() <= LONGEST ? label : L'\u2026' + label.substr(label.size() - LONGEST + 1);
}

}  // namespace

std::filesystem::path full_path(const std::filesystem::path& path)
{
    std::error_code failed;
    std::filesystem::path full = std::filesystem::absolute(path, failed).lexically_normal();
    return failed ? path : full.make_preferred();
}

template <typename Predicate>
std::size_t Documents::find_if(const Predicate& predicate) const
{
    const auto found = std::find_if(tabs_.begin(), tabs_.end(), predicate);
    return found != tabs_.end() ? static_cast<std::size_t>(found - tabs_.begin()) : none;
}

HWND Documents::Tab::window() const
{
    return document ? document->window() : comparison->window();
}

std::wstring Documents::Tab::label() const
{
    if (comparison)
        return L"Compare " + right.filename().wstring();
    return (document->modified() ? L"*" : L"") + shortened(document->title());
}

Documents::Documents(HWND frame, bool tabs_shown, Events events)
    : events_(std::move(events)), tabs_shown_(tabs_shown)
{
    constexpr wchar_t CLASS[] = L"QuorrelView";
    register_class(CLASS, win32::window_proc<Documents>, GetSysColorBrush(COLOR_APPWORKSPACE),
                   IDC_ARROW);
    view_ = create_child(CLASS, WS_VISIBLE | WS_CLIPSIBLINGS, frame, this);
    tab_bar_ = create_child(WC_TABCONTROLW, TCS_FOCUSNEVER | TCS_TOOLTIPS, view_, nullptr);
    middle_click_ = std::make_unique<win32::Subclass>(
        tab_bar_, [this](const win32::Message& message) -> win32::Handled {
            if (message.id != WM_MBUTTONUP)
                return std::nullopt;
            TCHITTESTINFO hit{};
            hit.pt = {GET_X_LPARAM(message.lparam), GET_Y_LPARAM(message.lparam)};
            const int index = TabCtrl_HitTest(tab_bar_, &hit);
            if (index >= 0) {
                activate(static_cast<std::size_t>(index));
                close_active();
            }
            return 0;
        });
    on_dpi();
}

Documents::~Documents()
{
    events_ = {};
    tabs_.clear();
    if (view_ != nullptr)
        DestroyWindow(view_);
}

Document* Documents::active_document() const
{
    return active_ != none ? tabs_[active_].document.get() : nullptr;
}

CompareView* Documents::active_comparison() const
{
    return active_ != none ? tabs_[active_].comparison.get() : nullptr;
}

std::filesystem::path Documents::active_path() const
{
    if (active_ == none)
        return {};
    const Tab& tab = tabs_[active_];
    return tab.document ? tab.document->path() : tab.right;
}

std::wstring Documents::active_title() const
{
    return active_ != none ? tabs_[active_].label() : std::wstring();
}

std::vector<std::wstring> Documents::labels() const
{
    std::vector<std::wstring> labels;
    for (const Tab& tab : tabs_)
        labels.push_back(tab.label());
    return labels;
}

void Documents::open_new()
{
    Tab tab;
    tab.document = std::make_unique<Document>(view_, document_font_.get(), L"", false);
    add(std::move(tab));
}

bool Documents::open(const std::filesystem::path& file, bool temporary)
{
    const std::filesystem::path path = full_path(file);
    if (const std::size_t index = find(path); index != none) {
        // A temporary file may have been written anew under the same name.
        if (temporary && !tabs_[index].document->modified())
            tabs_[index].document->reload();
        activate(index);
        return true;
    }
    auto document = std::make_unique<Document>(view_, document_font_.get(), path, temporary);
    if (const DWORD error = document->load()) {
        show_message(GetParent(view_), fmt::format(L"{} cannot be opened.\n\n{}", path.wstring(),
                                                   windows_error(error)));
        return false;
    }
    Tab tab;
    tab.document = std::move(document);
    add(std::move(tab));
    return true;
}

void Documents::ask_and_open()
{
    const auto file = choose_file(GetParent(view_), GetOpenFileNameW, OFN_FILEMUSTEXIST);
    if (!file.empty() && view_ != nullptr)
        open(file, false);
}

bool Documents::save()
{
    Document* document = active_document();
    if (document == nullptr || document->read_only())
        return false;
    if (document->path().empty())
        return save_as();
    if (document->changed_on_disk() &&
        show_message(GetParent(view_),
                     document->title() + L" has been changed by another program.\n\nOverwrite it?",
                     MB_ICONWARNING | MB_YESNO | MB_DEFBUTTON2) != IDYES)
        return false;
    return view_ != nullptr && save_to(*document, document->path());
}

bool Documents::save_as()
{
    Document* document = active_document();
    if (document == nullptr || document->read_only())
        return false;
    const auto file = choose_file(GetParent(view_), GetSaveFileNameW, OFN_OVERWRITEPROMPT);
    if (file.empty() || view_ == nullptr || !save_to(*document, full_path(file)))
        return false;
    events_.activated();
    return true;
}

bool Documents::save_to(Document& document, const std::filesystem::path& file)
{
    if (const DWORD error = document.save(file)) {
        show_message(GetParent(view_), fmt::format(L"{} cannot be saved.\n\n{}", file.wstring(),
                                                   windows_error(error)));
        return false;
    }
    update_label(active_);
    events_.saved();
    return true;
}

bool Documents::may_close(const Document& document)
{
    if (!document.modified() || document.read_only())
        return true;
    const int answer =
        show_message(GetParent(view_), L"Save the changes to " + document.title() + L"?",
                     MB_ICONQUESTION | MB_YESNOCANCEL);
    return view_ != nullptr && (answer == IDNO || (answer == IDYES && save()));
}

bool Documents::may_close()
{
    for (std::size_t index = 0; index < tabs_.size(); ++index) {
        const Document* document = tabs_[index].document.get();
        if (document == nullptr || !document->modified())
            continue;
        // The user sees what the question is about.
        activate(index);
        if (!may_close(*document))
            return false;
    }
    return true;
}

void Documents::close_active()
{
    const Document* document = active_document();
    if (active_ != none && (document == nullptr || may_close(*document)))
        remove(active_);
}

void Documents::set_title(const std::wstring& title)
{
    if (Document* document = active_document()) {
        document->set_title(title);
        update_label(active_);
    }
}

std::uint32_t Documents::compare(const std::filesystem::path& left,
                                 const std::filesystem::path& right)
{
    const std::filesystem::path left_path = full_path(left);
    const std::filesystem::path right_path = full_path(right);
    if (find(left_path) == none)
        return host::COMPARE_NO_DOCUMENT_1;
    if (find(right_path) == none)
        return host::COMPARE_NO_DOCUMENT_2;
    if (!tabs_shown_)
        return host::COMPARE_NO_TABS;
    if (same_file(left_path, right_path))
        return host::COMPARE_FAILED;

    const std::size_t shown = find_if([&](const Tab& tab) {
        return tab.comparison && same_file(tab.left, left_path) && same_file(tab.right, right_path);
    });
    if (shown != none) {
        activate(shown);
        return 0;
    }
    Tab tab;
    tab.comparison =
        std::make_unique<CompareView>(view_, document_font_.get(), interface_font_.get());
    tab.left = left_path;
    tab.right = right_path;
    add(std::move(tab));
    active_comparison()->go_to_difference(0, 1);
    return 0;
}

void Documents::step(int step)
{
    const int count = static_cast<int>(tabs_.size());
    if (count > 0)
        activate(static_cast<std::size_t>((static_cast<int>(active_) + step + count) % count));
}

void Documents::focus() const
{
    SetFocus(active_ != none ? tabs_[active_].window() : view_);
}

void Documents::check_disk() const
{
    Document* document = active_document();
    if (document != nullptr && !document->modified() && document->changed_on_disk())
        document->reload();
}

void Documents::show_tabs(bool shown)
{
    tabs_shown_ = shown;
    on_size();
}

std::size_t Documents::find(const std::filesystem::path& file) const
{
    return find_if(
        [&file](const Tab& tab) { return tab.document && same_file(tab.document->path(), file); });
}

void Documents::add(Tab tab)
{
    const std::size_t index = tabs_.size();
    tabs_.push_back(std::move(tab));
    std::wstring label = tabs_.back().label();
    TCITEMW item{};
    item.mask = TCIF_TEXT;
    item.pszText = label.data();
    TabCtrl_InsertItem(tab_bar_, static_cast<int>(index), &item);
    activate(index);
}

void Documents::remove(std::size_t index)
{
    const bool focused = IsChild(view_, GetFocus()) != FALSE;
    TabCtrl_DeleteItem(tab_bar_, static_cast<int>(index));
    tabs_.erase(tabs_.begin() + static_cast<std::ptrdiff_t>(index));
    active_ = none;
    if (tabs_.empty()) {
        on_size();
        events_.activated();
    } else {
        activate(std::min(index, tabs_.size() - 1));
    }
    if (focused)
        focus();
}

void Documents::activate(std::size_t index)
{
    const bool focused = IsChild(view_, GetFocus()) != FALSE;
    const HWND former = active_ != none ? tabs_[active_].window() : nullptr;
    const bool other = index != active_;
    active_ = index;
    Tab& tab = tabs_[index];
    if (tab.comparison)
        refresh_comparison(tab);
    TabCtrl_SetCurSel(tab_bar_, static_cast<int>(index));
    on_size();
    ShowWindow(tab.window(), SW_SHOWNA);
    if (former != nullptr && former != tab.window())
        ShowWindow(former, SW_HIDE);
    if (focused || GetFocus() == view_)
        focus();
    check_disk();
    if (other)
        events_.activated();
}

void Documents::refresh_comparison(Tab& tab) const
{
    const std::size_t left = find(tab.left);
    const std::size_t right = find(tab.right);
    // What was compared stays on view when one of the documents has been closed.
    if (left == none || right == none)
        return;
    tab.comparison->set_titles(tabs_[left].document->title(), tabs_[right].document->title());
    tab.comparison->set_texts(tabs_[left].document->text(), tabs_[right].document->text());
}

void Documents::update_label(std::size_t index)
{
    std::wstring label = tabs_[index].label();
    std::array<wchar_t, 64> shown{};
    TCITEMW item{};
    item.mask = TCIF_TEXT;
    item.pszText = shown.data();
    item.cchTextMax = static_cast<int>(shown.size());
    TabCtrl_GetItem(tab_bar_, static_cast<int>(index), &item);
    if (label == item.pszText)
        return;
    item.pszText = label.data();
    TabCtrl_SetItem(tab_bar_, static_cast<int>(index), &item);
}

win32::Handled Documents::handle(const win32::Message& message)
{
    switch (message.id) {
    case WM_SIZE:
        on_size();
        return 0;
    case WM_SETFOCUS:
        if (active_ != none)
            focus();
        return 0;
    case WM_DPICHANGED_AFTERPARENT:
        on_dpi();
        return 0;
    case WM_COMMAND:
        if (HIWORD(message.wparam) == EN_CHANGE && active_document() != nullptr)
            update_label(active_);
        return 0;
    case WM_NOTIFY:
        return on_notify(*reinterpret_cast<NMHDR*>(message.lparam));
    case WM_NCDESTROY:
        view_ = nullptr;
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

win32::Handled Documents::on_notify(NMHDR& header)
{
    if (header.hwndFrom == tab_bar_ && header.code == TCN_SELCHANGE) {
        activate(static_cast<std::size_t>(TabCtrl_GetCurSel(tab_bar_)));
        focus();
        return 0;
    }
    if (header.code == TTN_GETDISPINFOW && header.idFrom < tabs_.size()) {
        // The text has to live as long as it is shown, and only one is at a time.
        tip_ = tabs_[header.idFrom].document ? tabs_[header.idFrom].document->path().wstring()
                                             : tabs_[header.idFrom].label();
        reinterpret_cast<NMTTDISPINFOW&>(header).lpszText = tip_.data();
        return 0;
    }
    return std::nullopt;
}

void Documents::on_dpi()
{
    const UINT dpi = GetDpiForWindow(view_);
    win32::FontHandle interface_font = quorrel::interface_font(dpi);
    win32::FontHandle document_font = quorrel::document_font(dpi);
    SendMessageW(tab_bar_, WM_SETFONT, reinterpret_cast<WPARAM>(interface_font.get()), TRUE);
    TabCtrl_SetPadding(tab_bar_, scaled(10, dpi), scaled(5, dpi));
    for (const Tab& tab : tabs_) {
        if (tab.document)
            tab.document->set_font(document_font.get());
        else
            tab.comparison->set_fonts(document_font.get(), interface_font.get());
    }
    // The former fonts end only now that nothing uses them any more.
    interface_font_ = std::move(interface_font);
    document_font_ = std::move(document_font);
    on_size();
}

void Documents::place_document(HWND document, const RECT& area)
{
    // An edit control draws its scroll bars whenever it computes them anew. Not drawing meanwhile, it
    // draws them once, when its turn comes.
    const bool is_visible = (GetWindowLongPtrW(document, GWL_STYLE) & WS_VISIBLE) != 0;
    if (is_visible)
        SendMessageW(document, WM_SETREDRAW, FALSE, 0);
    MoveWindow(document, area.left, area.top, area.right - area.left,
               std::max(0L, area.bottom - area.top), FALSE);
    if (!is_visible)
        return;
    SendMessageW(document, WM_SETREDRAW, TRUE, 0);
    RedrawWindow(document, nullptr, nullptr,
                 RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

void Documents::on_size()
{
    RECT area{};
    GetClientRect(view_, &area);
    const bool shown = tabs_shown_ && !tabs_.empty();
    ShowWindow(tab_bar_, shown ? SW_SHOWNA : SW_HIDE);
    if (shown) {
        RECT page = area;
        SendMessageW(tab_bar_, TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&page));
        const RECT bar{0, 0, area.right, page.top};
        MoveWindow(tab_bar_, bar.left, bar.top, bar.right, bar.bottom, TRUE);
        area.top = bar.bottom;
    }
    if (active_ != none)
        place_document(tabs_[active_].window(), area);
}

}  // namespace quorrel
