#include "history/history_view.h"

#include "changes/drop_down_place.h"
#include "changes/get_dpi.h"
#include "resources/ids.h"
#include "win32/handle.h"

#include <windowsx.h>

#include <array>
#include <optional>
#include <string>

namespace revlane {

namespace {

// At 96 DPI.
constexpr int SPLITTER_REACH = 4;
constexpr int BUTTON_PADDING = 24;
constexpr SIZE LEAST_SIZE{420, 360};

int text_width(HDC dc, HWND control)
{
    const std::wstring text = win32::window_text(control);
    SIZE size{};
    GetTextExtentPoint32W(dc, text.data(), static_cast<int>(text.size()), &size);
    return size.cx;
}

}  // namespace

void HistoryView::attach(HWND dialog, int splitter)
{
    dialog_ = dialog;
    splitter_ = splitter;
    controls_.collect(dialog);
}

void HistoryView::lay_out(const Contents& contents)
{
    contents_ = contents;
    RECT client{};
    GetClientRect(dialog_, &client);
    const int dpi = get_dpi(dialog_);
    {
        const win32::WindowDc dc(dialog_);
        const win32::SelectedObject selected(dc.get(), win32::control_font(dialog_));
        TEXTMETRICW metrics{};
        GetTextMetricsW(dc.get(), &metrics);
        layout_ =
            lay_out_history({.client = {client.right, client.bottom},
                             .dpi = dpi,
                             .line_height = metrics.tmHeight,
                             .button_padding = scale(BUTTON_PADDING, dpi),
                             .filter_text = text_width(dc.get(), item(IDC_FILTER)),
                             .clear_text = text_width(dc.get(), item(IDC_CLEAR_FILTER)),
                             .compare_text = text_width(dc.get(), item(IDC_COMPARE_WITH_PARENT)),
                             .has_filter = contents.has_search,
                             .splitter = splitter_});
    }
    const bool has_commits = contents.has_commits;
    using Part = win32::ControlPlacement::Part;
    const std::array parts{
        Part{item(IDC_HISTORY_TITLE), layout_.title, true},
        Part{item(IDC_HISTORY_BRANCH), drop_down_place(item(IDC_HISTORY_BRANCH), layout_.branch),
             contents.has_repository},
        Part{item(IDC_FILTER), layout_.filter, has_commits},
        Part{item(IDC_CLEAR_FILTER), layout_.clear_filter, has_commits && contents.has_search},
        Part{item(IDC_HISTORY_STATE), layout_.state, has_commits},
        Part{item(IDC_COMMIT_LIST), layout_.list, has_commits},
        Part{item(IDC_COMMIT_DETAILS), layout_.details, has_commits},
        Part{item(IDC_FILES_TREE), layout_.files, has_commits},
        Part{item(IDC_COMPARE_WITH_PARENT), layout_.compare, has_commits},
        Part{item(IDC_HISTORY_EMPTY), layout_.empty, !has_commits}};
    placement_.apply(parts);
}

win32::Handled HistoryView::on_mouse(const win32::Message& message)
{
    const POINT point{GET_X_LPARAM(message.lparam), GET_Y_LPARAM(message.lparam)};
    const bool is_dragging = GetCapture() == dialog_;
    if (message.id == WM_LBUTTONDOWN && is_on_splitter(point)) {
        SetCapture(dialog_);
        return 0;
    }
    if (message.id == WM_MOUSEMOVE && is_dragging) {
        splitter_ = splitter_position(layout_, static_cast<int>(point.y));
        lay_out(contents_);
        return 0;
    }
    if (message.id == WM_LBUTTONUP && is_dragging) {
        ReleaseCapture();
        return 0;
    }
    return std::nullopt;
}

bool HistoryView::is_pointer_on_splitter() const
{
    POINT point{};
    GetCursorPos(&point);
    ScreenToClient(dialog_, &point);
    return is_on_splitter(point);
}

bool HistoryView::is_on_splitter(POINT client) const
{
    if (!IsWindowVisible(item(IDC_COMMIT_LIST)))
        return false;
    RECT area = layout_.splitter;
    InflateRect(&area, 0, scale(SPLITTER_REACH, get_dpi(dialog_)));
    return PtInRect(&area, client) != FALSE;
}

void HistoryView::limit_size(MINMAXINFO& info) const
{
    const int dpi = get_dpi(dialog_);
    info.ptMinTrackSize = {scale(LEAST_SIZE.cx, dpi), scale(LEAST_SIZE.cy, dpi)};
}

}  // namespace revlane
