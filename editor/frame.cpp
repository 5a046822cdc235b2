#include "editor/frame.h"

#include "editor/plugin_messages.h"
#include "editor/resources/ids.h"
#include "plugin/host/messages.h"

#include <fmt/xchar.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace quorrel {

namespace {

// Names of the editor's settings.
constexpr wchar_t TABS_SETTING[] = L"Tabs";
constexpr wchar_t BAR_WIDTH_SETTING[] = L"BarWidth";
constexpr wchar_t WINDOW_WIDTH_SETTING[] = L"WindowWidth";
constexpr wchar_t WINDOW_HEIGHT_SETTING[] = L"WindowHeight";

// Lengths at 96 DPI.
constexpr std::uint32_t BAR_WIDTH = 340;
constexpr std::uint32_t WINDOW_WIDTH = 1060;
constexpr std::uint32_t WINDOW_HEIGHT = 720;
constexpr int POSITION_WIDTH = 130;
constexpr int STATE_WIDTH = 190;
// The documents keep this much beside the bars.
constexpr int SMALLEST_VIEW = 120;

constexpr UINT_PTR DISK_TIMER = 1;
constexpr UINT DISK_MILLISECONDS = 1000;
constexpr UINT_PTR REPORT_TIMER = 2;
constexpr UINT REPORT_MILLISECONDS = 200;

// wParam: id of a bar that the user has closed. Posted, since the bar itself reports it.
constexpr UINT WM_CLOSE_BAR = WM_APP;

enum StatusPart { MESSAGE_PART, POSITION_PART, STATE_PART };

int height_of(HWND window)
{
    RECT area{};
    GetWindowRect(window, &area);
    return area.bottom - area.top;
}

}  // namespace

Frame::Frame(Editor& editor) : editor_(editor)
{
    const HICON icon = LoadIconW(program(), MAKEINTRESOURCEW(IDI_EDITOR));
    register_class(host::FRAME_CLASS, win32::window_proc<Frame>, GetSysColorBrush(COLOR_3DFACE),
                   IDC_ARROW, icon);
    CreateWindowExW(0, host::FRAME_CLASS, L"Quorrel", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                    CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr,
                    LoadMenuW(program(), MAKEINTRESOURCEW(IDR_EDITOR_FRAME)), program(), this);
    accelerators_ = LoadAcceleratorsW(program(), MAKEINTRESOURCEW(IDR_EDITOR_FRAME));
    toolbar_.emplace(window_);
    status_bar_ = create_child(STATUSCLASSNAMEW, WS_VISIBLE | SBARS_SIZEGRIP, window_, nullptr);
    documents_ = std::make_unique<Documents>(
        window_, editor_.settings().number(EDITOR_SECTION, TABS_SETTING, 1) != 0,
        Documents::Events{[this] { announce(host::EVENT_DOC_CHECK); },
                          [this] {
                              announce(host::EVENT_DOC_CHECK);
                              announce(host::EVENT_REFRESH_DEFERRED);
                          }});
    on_dpi();
    place_window();
    SetTimer(window_, DISK_TIMER, DISK_MILLISECONDS, nullptr);
    const bool first = editor_.frames().empty();
    if (first && !editor_.options().report.empty()) {
        report_.emplace(editor_.options().report);
        SetTimer(window_, REPORT_TIMER, REPORT_MILLISECONDS, nullptr);
    }
    ShowWindow(window_, SW_SHOWNORMAL);
}

Frame::~Frame()
{
    if (window_ != nullptr)
        DestroyWindow(window_);
}

void Frame::place_window()
{
    const auto& size = editor_.options().size;
    if (size && editor_.frames().empty()) {
        RECT desk{};
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &desk, 0);
        SetWindowPos(window_, nullptr, desk.left, desk.top, size->cx, size->cy, SWP_NOZORDER);
        return;
    }
    const SettingsFile& settings = editor_.settings();
    const UINT dpi = GetDpiForWindow(window_);
    const auto length = [&](const wchar_t* name, std::uint32_t fallback) {
        constexpr std::uint32_t SMALLEST = 300;
        constexpr std::uint32_t LARGEST = 8000;
        const std::uint32_t stored = settings.number(EDITOR_SECTION, name, fallback);
        return scaled(static_cast<int>(std::clamp(stored, SMALLEST, LARGEST)), dpi);
    };
    SetWindowPos(window_, nullptr, 0, 0, length(WINDOW_WIDTH_SETTING, WINDOW_WIDTH),
                 length(WINDOW_HEIGHT_SETTING, WINDOW_HEIGHT), SWP_NOZORDER | SWP_NOMOVE);
}

std::wstring Frame::status() const
{
    const auto length =
        static_cast<std::size_t>(LOWORD(SendMessageW(status_bar_, SB_GETTEXTLENGTHW, 0, 0)));
    std::wstring text(length + 1, L'\0');
    SendMessageW(status_bar_, SB_GETTEXTW, 0, reinterpret_cast<LPARAM>(text.data()));
    text.resize(length);
    return text;
}

void Frame::set_status(const std::wstring& text)
{
    set_part(MESSAGE_PART, text);
}

void Frame::set_part(int part, const std::wstring& text)
{
    SendMessageW(status_bar_, SB_SETTEXTW, static_cast<WPARAM>(part),
                 reinterpret_cast<LPARAM>(text.c_str()));
}

std::uint32_t Frame::dock(HWND dialog, std::wstring title)
{
    const std::uint32_t id = next_bar_++;
    const auto width =
        static_cast<int>(editor_.settings().number(EDITOR_SECTION, BAR_WIDTH_SETTING, BAR_WIDTH));
    bars_.push_back(std::make_unique<DockedBar>(
        window_, id, dialog, std::move(title), width,
        DockedBar::Events{[this, id] { PostMessageW(window_, WM_CLOSE_BAR, id, 0); },
                          [this] { place_parts(); }}));
    place_parts();
    bars_.back()->show();
    return id;
}

void Frame::close_bar(std::uint32_t id, bool open_again)
{
    const auto found =
        std::find_if(bars_.begin(), bars_.end(), [id](const auto& bar) { return bar->id() == id; });
    if (found == bars_.end())
        return;
    const HWND bar = (*found)->window();
    editor_.settings().set(EDITOR_SECTION, BAR_WIDTH_SETTING,
                           static_cast<std::uint32_t>((*found)->width()));
    closed_bars_.push_back(std::move(*found));
    bars_.erase(found);
    if (IsChild(bar, GetFocus()))
        documents_->focus();
    ShowWindow(bar, SW_HIDE);
    place_parts();
    const host::CustomBarClosed closed{id, 0, open_again ? 1U : 0U};
    announce(host::EVENT_CUSTOM_BAR_CLOSED, reinterpret_cast<LPARAM>(&closed));
}

void Frame::close_bars()
{
    while (!bars_.empty())
        close_bar(bars_.back()->id(), true);
}

void Frame::leave_screen()
{
    ShowWindow(window_, SW_HIDE);
}

void Frame::end_window()
{
    WINDOWPLACEMENT placement{};
    placement.length = sizeof placement;
    GetWindowPlacement(window_, &placement);
    const RECT& area = placement.rcNormalPosition;
    const auto store = [this](const wchar_t* name, LONG length) {
        const int dpi = static_cast<int>(GetDpiForWindow(window_));
        editor_.settings().set(
            EDITOR_SECTION, name,
            static_cast<std::uint32_t>(MulDiv(length, USER_DEFAULT_SCREEN_DPI, dpi)));
    };
    store(WINDOW_WIDTH_SETTING, area.right - area.left);
    store(WINDOW_HEIGHT_SETTING, area.bottom - area.top);
    DestroyWindow(window_);
}

bool Frame::execute(WPARAM command)
{
    switch (command) {
    case QUORREL_FILE_NEW:
        documents_->open_new();
        break;
    case QUORREL_FILE_OPEN:
        documents_->ask_and_open();
        break;
    case QUORREL_FILE_SAVE:
        documents_->save();
        break;
    case QUORREL_FILE_SAVE_AS:
        documents_->save_as();
        break;
    case QUORREL_NEW_WINDOW:
        editor_.open_frame().documents().open_new();
        break;
    case QUORREL_CLOSE_TAB:
        documents_->close_active();
        break;
    case QUORREL_EXIT:
        editor_.close_all();
        break;
    case QUORREL_UNDO:
        SendMessageW(GetFocus(), WM_UNDO, 0, 0);
        break;
    case QUORREL_CUT:
        SendMessageW(GetFocus(), WM_CUT, 0, 0);
        break;
    case QUORREL_COPY:
        SendMessageW(GetFocus(), WM_COPY, 0, 0);
        break;
    case QUORREL_PASTE:
        SendMessageW(GetFocus(), WM_PASTE, 0, 0);
        break;
    case QUORREL_SELECT_ALL:
        SendMessageW(GetFocus(), EM_SETSEL, 0, -1);
        break;
    case QUORREL_NEXT_TAB:
        documents_->step(1);
        break;
    case QUORREL_PREVIOUS_TAB:
        documents_->step(-1);
        break;
    case QUORREL_REFRESH:
        announce(host::EVENT_REFRESH);
        break;
    case QUORREL_SHOW_TABS:
        documents_->show_tabs(!documents_->tabs_shown());
        editor_.settings().set(EDITOR_SECTION, TABS_SETTING, documents_->tabs_shown() ? 1U : 0U);
        break;
    case QUORREL_FOCUS_TEXT:
        documents_->focus();
        break;
    case QUORREL_PLUGIN_COMMAND:
        if (editor_.plugin() != nullptr)
            editor_.plugin()->run_command(view());
        break;
    case QUORREL_PLUGIN_RESET:
        if (editor_.plugin() != nullptr)
            editor_.plugin()->query(view(), host::QUERY_RESET_SETTINGS, 0, 0);
        break;
    default: {
        const auto languages = editor_.languages();
        const WPARAM index = command - QUORREL_FIRST_LANGUAGE;
        if (command < QUORREL_FIRST_LANGUAGE || index >= languages.size())
            return false;
        editor_.set_language(languages[index]);
    }
    }
    return true;
}

void Frame::announce(UINT event, LPARAM argument)
{
    if (editor_.plugin() != nullptr)
        editor_.plugin()->announce(view(), event, argument);
}

void Frame::show_plugin()
{
    if (editor_.plugin() != nullptr)
        toolbar_->show_plugin(*editor_.plugin(), view());
}

void Frame::update()
{
    closed_bars_.clear();
    const std::wstring title = documents_->active_title();
    const std::wstring caption = title.empty() ? L"Quorrel" : title + L" - Quorrel";
    if (win32::window_text(window_) != caption)
        SetWindowTextW(window_, caption.c_str());
    const Document* document = documents_->active_document();
    set_part(POSITION_PART, document != nullptr ? document->position() : L"");
    set_part(STATE_PART, document != nullptr ? document->state() : L"");
    if (editor_.plugin() != nullptr)
        toolbar_->set_plugin_status(editor_.plugin()->status(view()));
}

win32::Handled Frame::handle(const win32::Message& message)
{
    if (message.id == WM_NCCREATE)
        window_ = message.window;
    // Until everything in it stands and once it has ended, the window is one like any other.
    if (!documents_ || documents_->view() == nullptr) {
        if (message.id == WM_NCDESTROY)
            window_ = nullptr;
        return std::nullopt;
    }
    if (const win32::Handled answer = answer_plugin_message(*this, message))
        return answer;
    switch (message.id) {
    case WM_SIZE:
        on_size();
        return 0;
    case WM_DPICHANGED: {
        const RECT& area = *reinterpret_cast<const RECT*>(message.lparam);
        SetWindowPos(window_, nullptr, area.left, area.top, area.right - area.left,
                     area.bottom - area.top, SWP_NOZORDER | SWP_NOACTIVATE);
        on_dpi();
        return 0;
    }
    case WM_COMMAND:
        // Notifications of controls carry the control, commands of menus and shortcuts none; the
        // toolbar sends commands as a menu does.
        if (message.lparam == 0 || HIWORD(message.wparam) == 0)
            execute(LOWORD(message.wparam));
        return 0;
    case WM_INITMENUPOPUP:
        on_menu(reinterpret_cast<HMENU>(message.wparam));
        return 0;
    case WM_MEASUREITEM:
        toolbar_->measure_menu_image(*reinterpret_cast<MEASUREITEMSTRUCT*>(message.lparam));
        return TRUE;
    case WM_DRAWITEM:
        toolbar_->draw_menu_image(*reinterpret_cast<const DRAWITEMSTRUCT*>(message.lparam));
        return TRUE;
    case WM_TIMER:
        on_timer(message.wparam);
        return 0;
    case WM_ACTIVATE:
        on_activate(LOWORD(message.wparam) != WA_INACTIVE);
        return 0;
    case WM_ACTIVATEAPP:
        // Whatever another program has done meanwhile is to be seen.
        if (message.wparam != FALSE)
            announce(host::EVENT_REFRESH);
        return std::nullopt;
    case WM_SETFOCUS:
        documents_->focus();
        return 0;
    case WM_CLOSE_BAR:
        close_bar(static_cast<std::uint32_t>(message.wparam), false);
        return 0;
    case WM_CLOSE:
        if (documents_->may_close())
            editor_.close_frame(*this);
        return 0;
    case WM_QUERYENDSESSION:
        return documents_->may_close() ? TRUE : FALSE;
    default:
        return std::nullopt;
    }
}

void Frame::on_dpi()
{
    win32::FontHandle font = interface_font(GetDpiForWindow(window_));
    SendMessageW(status_bar_, WM_SETFONT, reinterpret_cast<WPARAM>(font.get()), TRUE);
    status_font_ = std::move(font);
    toolbar_->on_dpi();
    show_plugin();
    on_size();
}

void Frame::on_size()
{
    RECT area{};
    GetClientRect(window_, &area);
    SendMessageW(toolbar_->window(), TB_AUTOSIZE, 0, 0);
    SendMessageW(status_bar_, WM_SIZE, 0, 0);
    const UINT dpi = GetDpiForWindow(window_);
    const int width = area.right;
    const std::array<int, 3> parts{width - scaled(POSITION_WIDTH + STATE_WIDTH, dpi),
                                   width - scaled(STATE_WIDTH, dpi), -1};
    SendMessageW(status_bar_, SB_SETPARTS, parts.size(), reinterpret_cast<LPARAM>(parts.data()));
    place_parts();
}

void Frame::place_parts()
{
    RECT area{};
    GetClientRect(window_, &area);
    const UINT dpi = GetDpiForWindow(window_);
    const int width = area.right;
    const int top = height_of(toolbar_->window());
    const int height = std::max(0, static_cast<int>(area.bottom) - top - height_of(status_bar_));
    int left = 0;
    for (const auto& bar : bars_) {
        const int rest = std::max(0, width - left - scaled(SMALLEST_VIEW, dpi));
        const int bar_width = std::min(scaled(bar->width(), dpi), rest);
        MoveWindow(bar->window(), left, top, bar_width, height, TRUE);
        left += bar_width;
    }
    MoveWindow(view(), left, top, std::max(0, width - left), height, TRUE);
}

void Frame::on_timer(UINT_PTR timer)
{
    if (timer == DISK_TIMER)
        documents_->check_disk();
    else if (timer == REPORT_TIMER)
        write_report();
}

void Frame::write_report()
{
    const DockedBar* bar = bars_.empty() ? nullptr : bars_.front().get();
    const bool written = bar != nullptr ? report_->look_at(bar->dialog(), bar->title())
                                        : report_->look_at(nullptr, L"");
    if (written && editor_.options().close_after_report)
        PostMessageW(window_, WM_CLOSE, 0, 0);
}

void Frame::on_menu(HMENU menu)
{
    CheckMenuItem(menu, QUORREL_SHOW_TABS, documents_->tabs_shown() ? MF_CHECKED : MF_UNCHECKED);
    const UINT first = GetMenuItemID(menu, 0);
    if (first == QUORREL_NO_LANGUAGE || first == QUORREL_FIRST_LANGUAGE)
        fill_languages(menu);
    const PluginLibrary* plugin = editor_.plugin();
    if (first != QUORREL_PLUGIN_COMMAND || plugin == nullptr)
        return;
    const PluginLibrary::Status status = plugin->status(view());
    std::wstring name = plugin->name(view());
    MENUITEMINFOW item{};
    item.cbSize = sizeof item;
    item.fMask = MIIM_STRING | MIIM_STATE | MIIM_BITMAP;
    item.fState = (status.enabled ? MFS_ENABLED : MFS_GRAYED) | (status.checked ? MFS_CHECKED : 0U);
    item.dwTypeData = name.data();
    item.hbmpItem = toolbar_->has_plugin_image() ? HBMMENU_CALLBACK : nullptr;
    SetMenuItemInfoW(menu, QUORREL_PLUGIN_COMMAND, FALSE, &item);
}

void Frame::fill_languages(HMENU menu) const
{
    const auto languages = editor_.languages();
    if (languages.empty())
        return;
    while (RemoveMenu(menu, 0, MF_BYPOSITION))
        ;
    const std::wstring current = editor_.language_folder().filename().wstring();
    UINT command = QUORREL_FIRST_LANGUAGE;
    for (const std::uint32_t language : languages) {
        std::array<wchar_t, 80> name{};
        if (GetLocaleInfoW(language, LOCALE_SNATIVELANGNAME, name.data(),
                           static_cast<int>(name.size())) == 0)
            fmt::format_to_n(name.data(), name.size() - 1, L"{}", language);
        const bool checked = std::to_wstring(language) == current;
        AppendMenuW(menu, MF_STRING | (checked ? MF_CHECKED : 0U), command++, name.data());
    }
}

void Frame::on_activate(bool active)
{
    if (!active)
        focus_ = IsChild(window_, GetFocus()) ? GetFocus() : nullptr;
    else if (IsChild(window_, focus_))
        SetFocus(focus_);
    else
        documents_->focus();
}

}  // namespace quorrel
