#include "sidebar/panel_view.h"

#include "changes/drop_down_place.h"
#include "changes/get_dpi.h"
#include "changes/list_control.h"
#include "changes/texts.h"
#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "sidebar/captions.h"
#include "sidebar/section_heading.h"

#include <windowsx.h>

#include <algorithm>
#include <array>
#include <utility>

namespace revlane {

namespace {

// Sizes at 96 DPI.
constexpr int BUTTON_PADDING = 10;  // between a button's text and its edge
constexpr int MIN_BUTTON_WIDTH = 64;

constexpr int BRANCH_INDENT = 4;

}  // namespace

void PanelView::attach(HWND dialog, HWND frame)
{
    dialog_ = dialog;
    controls_.collect(dialog);
    frame_ = frame;
    arrangement_ = read_arrangement(frame);
    pull_text_ = win32::window_text(control(IDC_PULL));
    push_text_ = win32::window_text(control(IDC_PUSH));
    empty_text_ = win32::window_text(control(IDC_EMPTY_TEXT));

    progress_.attach(control(IDC_PROGRESS));
    choose_folder_.attach(control(IDC_CHOOSE_FOLDER), Glyph::Folder);
    panel_menu_.attach(control(IDC_PANEL_MENU), Glyph::Menu);
    history_.attach(control(IDC_SHOW_HISTORY), Glyph::History);
    for (const int id : {IDC_STAGED_HEADING, IDC_CHANGES_HEADING}) {
        const HWND heading = control(id);
        const LONG_PTR style = GetWindowLongPtrW(heading, GWL_STYLE);
        SetWindowLongPtrW(heading, GWL_STYLE, (style & ~LONG_PTR{SS_TYPEMASK}) | SS_OWNERDRAW);
    }
    SendMessageW(control(IDC_BRANCHES_HEADING), BM_SETSTYLE, BS_OWNERDRAW, FALSE);
}

void PanelView::show()
{
    is_shown_ = true;
    renew_fonts();
    for (IconButton* button : {&choose_folder_, &panel_menu_, &history_})
        button->begin();
}

void PanelView::attach_tips()
{
    tips_ = make_tooltip_window(dialog_);
    for (const auto& [tip, id] : {std::pair{&choose_folder_tip_, IDC_CHOOSE_FOLDER},
                                  {&panel_menu_tip_, IDC_PANEL_MENU},
                                  {&history_tip_, IDC_SHOW_HISTORY}}) {
        tip->set_text(without_access_key(win32::window_text(control(id))));
        tip->attach(tips_.get(), control(id));
    }
    branch_tip_.set_text(host::load_text(IDS_BRANCH_TIP));
    branch_tip_.attach(tips_.get(), control(IDC_BRANCH));
    for (const auto& [tip, id] : {std::pair{&pull_tip_, IDC_PULL}, {&push_tip_, IDC_PUSH}}) {
        tip->attach(tips_.get(), control(id));
        tip->cover_disabled();
    }
}

void PanelView::detach()
{
    // Until the dialog is made anew nothing is placed.
    is_shown_ = false;
    placement_ = {};
    drag_.reset();
    dialog_ = nullptr;
}

void PanelView::renew_fonts()
{
    dpi_ = get_dpi(dialog_);
    PanelFonts renewed = make_panel_fonts(dpi_);
    const auto font = reinterpret_cast<WPARAM>(renewed.text.get());
    for (const auto& [id, control] : controls_.all())
        SendMessageW(control, WM_SETFONT, font, FALSE);
    // Not before no control uses them any more.
    fonts_ = std::move(renewed);
    set_row_heights();
    lay_out();
    RedrawWindow(dialog_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

void PanelView::set_row_heights()
{
    // A list takes the height of its rows from the images before their texts, though there are none.
    // In the list of branches their width brings the texts in line with the headings; the rows of
    // the other lists are drawn by the panel.
    const int height = list_row_height(dpi_, fonts_.line_height);
    const auto images = [height](int width) {
        return ImageList(ImageList_Create(width, height, ILC_COLOR, 0, 0));
    };
    const auto give = [this](int list, const ImageList& given) {
        SendMessageW(control(list), LVM_SETIMAGELIST, LVSIL_SMALL,
                     reinterpret_cast<LPARAM>(given.get()));
    };
    ImageList narrow = images(1);
    ImageList indented = images(scale(BRANCH_INDENT, dpi_));
    give(IDC_STAGED_LIST, narrow);
    give(IDC_CHANGES_LIST, narrow);
    give(IDC_BRANCHES_LIST, indented);
    // Not before no list uses the former ones any more.
    row_height_ = std::move(narrow);
    branch_row_height_ = std::move(indented);
}

int PanelView::button_width(int id) const
{
    const int text = text_width(dialog_, fonts_.text.get(), win32::window_text(control(id)));
    return std::max(text + scale(2 * BUTTON_PADDING, dpi_), scale(MIN_BUTTON_WIDTH, dpi_));
}

LayoutInput PanelView::layout_input() const
{
    RECT client{};
    GetClientRect(dialog_, &client);
    LayoutInput input;
    input.client = {client.right, client.bottom};
    input.dpi = dpi_;
    input.line_height = fonts_.line_height;
    input.buttons = {button_width(IDC_COMMIT), button_width(IDC_STAGE_ALL_AND_COMMIT),
                     button_width(IDC_PULL), button_width(IDC_PUSH),
                     choose_folder_.width_with_text(fonts_.text.get(), dpi_)};
    input.empty_text_height =
        wrapped_text_height(dialog_, fonts_.text.get(), win32::window_text(control(IDC_EMPTY_TEXT)),
                            std::max<int>(client.right - 2 * empty_text_margin(dpi_), 0));
    input.has_repository = has_repository_;
    input.branches_folded = arrangement_.branches_folded;
    input.shares = arrangement_.shares;
    return input;
}

void PanelView::lay_out()
{
    if (!is_shown_)
        return;
    if (get_dpi(dialog_) != dpi_) {
        renew_fonts();
        return;
    }
    layout_ = lay_out_sidebar(layout_input());
    // A control that is not shown takes part in nothing, the tab order included.
    const auto part = [this](int id, const RECT& area) {
        return win32::ControlPlacement::Part{control(id), area, IsRectEmpty(&area) == FALSE};
    };
    placement_.apply(std::array{
        part(IDC_CHOOSE_FOLDER, layout_.choose_folder),
        part(IDC_BRANCH, drop_down_place(control(IDC_BRANCH), layout_.branch)),
        part(IDC_PANEL_MENU, layout_.panel_menu), part(IDC_SHOW_HISTORY, layout_.history),
        part(IDC_COMMIT_MESSAGE, layout_.message), part(IDC_COMMIT, layout_.commit),
        part(IDC_STAGE_ALL_AND_COMMIT, layout_.stage_all_and_commit), part(IDC_PULL, layout_.pull),
        part(IDC_PUSH, layout_.push), part(IDC_STAGED_HEADING, layout_.staged_heading),
        part(IDC_STAGED_LIST, layout_.staged_list),
        part(IDC_CHANGES_HEADING, layout_.changes_heading),
        part(IDC_CHANGES_LIST, layout_.changes_list),
        part(IDC_BRANCHES_HEADING, layout_.branches_heading),
        part(IDC_BRANCHES_LIST, layout_.branches_list), part(IDC_EMPTY_TEXT, layout_.empty_text)});
    progress_.place(layout_.progress);
    pull_tip_.cover_disabled();
    push_tip_.cover_disabled();
}

void PanelView::show_repository()
{
    if (!std::exchange(has_repository_, true))
        lay_out();
}

void PanelView::show_no_repository(const std::wstring& text)
{
    has_repository_ = false;
    set_text(IDC_EMPTY_TEXT, text.empty() ? empty_text_ : text);
    lay_out();
}

void PanelView::set_text(int id, const std::wstring& text) const
{
    const HWND window = control(id);
    if (win32::window_text(window) != text)
        SetWindowTextW(window, text.c_str());
}

void PanelView::enable(int id, bool enabled) const
{
    const HWND window = control(id);
    if ((IsWindowEnabled(window) != FALSE) == enabled)
        return;
    // A disabled control would keep the focus and swallow every key.
    if (!enabled && GetFocus() == window)
        SetFocus(control(IDC_COMMIT_MESSAGE));
    EnableWindow(window, enabled ? TRUE : FALSE);
}

void PanelView::show_state(const std::optional<PanelState>& state)
{
    const RemoteButtons buttons = state ? remote_buttons(*state) : RemoteButtons{};
    set_text(IDC_PULL, with_count(pull_text_, buttons.pull_count));
    set_text(IDC_PUSH, buttons.publishes ? host::load_text(IDS_PUBLISH)
                                         : with_count(push_text_, buttons.push_count));
    enable(IDC_PULL, buttons.can_pull);
    enable(IDC_PUSH, buttons.can_push);

    std::wstring pull_tip;
    std::wstring push_tip;
    if (state && state->upstream) {
        pull_tip = text_with(IDS_PULL_TIP, *state->upstream);
        push_tip = text_with(IDS_PUSH_TIP, *state->upstream);
    } else if (state) {
        pull_tip = host::load_text(IDS_NO_UPSTREAM_TIP);
        push_tip = !state->has_remote  ? host::load_text(IDS_NO_REMOTE)
                   : buttons.publishes ? text_with(IDS_PUBLISH_TIP, state->head_name)
                                       : std::wstring();
    }
    pull_tip_.set_text(pull_tip);
    push_tip_.set_text(push_tip);
    // The texts may have become wider.
    lay_out();
}

void PanelView::set_count(std::optional<std::size_t>& shown, std::optional<std::size_t> count,
                          int id)
{
    if (std::exchange(shown, count) != count)
        InvalidateRect(control(id), nullptr, FALSE);
}

void PanelView::show_counts(std::optional<std::size_t> staged, std::optional<std::size_t> changes,
                            std::optional<std::size_t> branches)
{
    set_count(staged_count_, staged, IDC_STAGED_HEADING);
    set_count(changes_count_, changes, IDC_CHANGES_HEADING);
    set_count(branches_count_, branches, IDC_BRANCHES_HEADING);
}

void PanelView::show_progress(bool shown)
{
    progress_.show(shown);
}

void PanelView::toggle_branches()
{
    arrangement_.branches_folded = !arrangement_.branches_folded;
    if (arrangement_.branches_folded && GetFocus() == control(IDC_BRANCHES_LIST))
        SetFocus(control(IDC_BRANCHES_HEADING));
    write_arrangement(frame_, arrangement_);
    lay_out();
    InvalidateRect(control(IDC_BRANCHES_HEADING), nullptr, FALSE);
}

bool PanelView::draw_item(const DRAWITEMSTRUCT& item) const
{
    switch (static_cast<int>(item.CtlID)) {
    case IDC_CHOOSE_FOLDER:
        choose_folder_.draw(item, fonts_.text.get(), dpi_);
        return true;
    case IDC_PANEL_MENU:
        panel_menu_.draw(item, fonts_.text.get(), dpi_);
        return true;
    case IDC_SHOW_HISTORY:
        history_.draw(item, fonts_.text.get(), dpi_);
        return true;
    case IDC_STAGED_HEADING:
        draw_heading(item, {staged_count_, std::nullopt}, fonts_, dpi_);
        return true;
    case IDC_CHANGES_HEADING:
        draw_heading(item, {changes_count_, std::nullopt}, fonts_, dpi_);
        return true;
    case IDC_BRANCHES_HEADING:
        draw_heading(item, {branches_count_, arrangement_.branches_folded}, fonts_, dpi_);
        return true;
    default:
        return false;
    }
}

win32::Handled PanelView::on_mouse(const win32::Message& message)
{
    const POINT point{GET_X_LPARAM(message.lparam), GET_Y_LPARAM(message.lparam)};
    if (message.id >= WM_MOUSEFIRST && message.id <= WM_MOUSELAST)
        relay_to_tooltips(tips_.get(), message);
    switch (message.id) {
    case WM_SETCURSOR: {
        POINT cursor{};
        GetCursorPos(&cursor);
        ScreenToClient(dialog_, &cursor);
        const bool is_own =
            reinterpret_cast<HWND>(message.wparam) == dialog_ && LOWORD(message.lparam) == HTCLIENT;
        if (!is_own || !splitter_at(layout_, cursor))
            return std::nullopt;
        SetCursor(LoadCursorW(nullptr, IDC_SIZENS));
        return TRUE;
    }
    case WM_LBUTTONDOWN:
        return begin_drag(point) ? win32::Handled(0) : std::nullopt;
    case WM_MOUSEMOVE:
        if (!drag_)
            return std::nullopt;
        drag(point);
        return 0;
    case WM_LBUTTONUP:
        if (!drag_)
            return std::nullopt;
        ReleaseCapture();
        return 0;
    case WM_CAPTURECHANGED:
        end_drag();
        return 0;
    default:
        return std::nullopt;
    }
}

bool PanelView::begin_drag(POINT point)
{
    const std::optional<Splitter> splitter = splitter_at(layout_, point);
    if (!splitter)
        return false;
    const RECT& band =
        *splitter == Splitter::Changes ? layout_.changes_splitter : layout_.branches_splitter;
    drag_ = Drag{*splitter, static_cast<int>(point.y - band.top)};
    SetCapture(dialog_);
    return true;
}

void PanelView::drag(POINT point)
{
    const LayoutInput input = layout_input();
    arrangement_.shares =
        drag_splitter(input, drag_->splitter, static_cast<int>(point.y) - drag_->grip);
    if (arrangement_.shares != input.shares)
        lay_out();
}

void PanelView::end_drag()
{
    if (!drag_)
        return;
    drag_.reset();
    write_arrangement(frame_, arrangement_);
}

}  // namespace revlane
