#include "editor/docked_bar.h"

#include <windowsx.h>

#include <algorithm>
#include <utility>

namespace quorrel {

namespace {

// Lengths at 96 DPI.
constexpr int CAPTION_HEIGHT = 26;
constexpr int CAPTION_MARGIN = 8;
constexpr int CLOSE_MARGIN = 9;
constexpr int SPLITTER_WIDTH = 5;
constexpr int SMALLEST_WIDTH = 160;
constexpr int LARGEST_WIDTH = 900;

bool contains(const RECT& area, POINT point)
{
    return PtInRect(&area, point) != FALSE;
}

}  // namespace

DockedBar::DockedBar(HWND frame, std::uint32_t id, HWND dialog, std::wstring title, int width,
                     Events events)
    : dialog_(dialog), id_(id), title_(std::move(title)),
      width_(std::clamp(width, SMALLEST_WIDTH, LARGEST_WIDTH)), events_(std::move(events))
{
    constexpr wchar_t CLASS[] = L"QuorrelDockedBar";
    register_class(CLASS, win32::window_proc<DockedBar>, GetSysColorBrush(COLOR_3DFACE), IDC_ARROW);
    window_ = create_child(CLASS, WS_CLIPSIBLINGS, frame, this);
    on_dpi();
    adopt_dialog();
}

DockedBar::~DockedBar()
{
    events_ = {};
    if (window_ != nullptr)
        DestroyWindow(window_);
}

void DockedBar::adopt_dialog()
{
    // A dialog made as a window of its own becomes a child, as SetParent wants it before the move.
    constexpr LONG_PTR OWN_WINDOW = WS_POPUP | WS_CAPTION | WS_THICKFRAME | WS_SYSMENU;
    LONG_PTR style = GetWindowLongPtrW(dialog_, GWL_STYLE);
    if ((style & OWN_WINDOW) != 0 || (style & WS_CHILD) == 0)
        SetWindowLongPtrW(dialog_, GWL_STYLE, (style & ~OWN_WINDOW) | WS_CHILD);
    SetParent(dialog_, window_);
    ShowWindow(dialog_, SW_SHOWNA);
}

void DockedBar::show() const
{
    ShowWindow(window_, SW_SHOWNA);
}

RECT DockedBar::caption() const
{
    RECT area{};
    GetClientRect(window_, &area);
    area.right -= scaled(SPLITTER_WIDTH, dpi_);
    area.bottom = scaled(CAPTION_HEIGHT, dpi_);
    return area;
}

RECT DockedBar::close_button() const
{
    RECT area = caption();
    area.left = area.right - (area.bottom - area.top);
    return area;
}

RECT DockedBar::splitter() const
{
    RECT area{};
    GetClientRect(window_, &area);
    area.left = area.right - scaled(SPLITTER_WIDTH, dpi_);
    return area;
}

win32::Handled DockedBar::handle(const win32::Message& message)
{
    const POINT point{GET_X_LPARAM(message.lparam), GET_Y_LPARAM(message.lparam)};
    switch (message.id) {
    case WM_SIZE:
        on_size();
        return 0;
    case WM_DPICHANGED_AFTERPARENT:
        on_dpi();
        return 0;
    case WM_PAINT:
        on_paint();
        return 0;
    case WM_SETFOCUS:
        SetFocus(dialog_);
        return 0;
    case WM_SETCURSOR: {
        POINT at{};
        GetCursorPos(&at);
        ScreenToClient(window_, &at);
        if (reinterpret_cast<HWND>(message.wparam) != window_ || !contains(splitter(), at))
            return std::nullopt;
        SetCursor(LoadCursorW(nullptr, IDC_SIZEWE));
        return TRUE;
    }
    case WM_MOUSEMOVE:
        on_mouse_move(point);
        return 0;
    case WM_MOUSELEAVE:
        set_hot(false);
        return 0;
    case WM_LBUTTONDOWN:
        on_button_down(point);
        return 0;
    case WM_LBUTTONUP:
        on_button_up(point);
        return 0;
    case WM_CAPTURECHANGED:
        sizing_ = false;
        close_pressed_ = false;
        return 0;
    case WM_PARENTNOTIFY:
        // A dialog that ends by itself leaves no empty bar behind.
        if (LOWORD(message.wparam) == WM_DESTROY && events_.close &&
            reinterpret_cast<HWND>(message.lparam) == dialog_)
            events_.close();
        return 0;
    case WM_NCDESTROY:
        window_ = nullptr;
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

void DockedBar::on_dpi()
{
    dpi_ = GetDpiForWindow(window_);
    font_ = interface_font(dpi_);
    InvalidateRect(window_, nullptr, TRUE);
}

void DockedBar::on_size()
{
    if (dialog_ == nullptr || window_ == nullptr)
        return;
    RECT area{};
    GetClientRect(window_, &area);
    const int top = scaled(CAPTION_HEIGHT, dpi_);
    MoveWindow(dialog_, 0, top, splitter().left, std::max(0, static_cast<int>(area.bottom) - top),
               TRUE);
    InvalidateRect(window_, nullptr, TRUE);
}

void DockedBar::on_paint()
{
    PAINTSTRUCT paint{};
    const HDC dc = BeginPaint(window_, &paint);
    const RECT area = caption();
    {
        const win32::SelectedObject font(dc, font_.get());
        SetBkMode(dc, TRANSPARENT);
        SetTextColor(dc, GetSysColor(COLOR_BTNTEXT));
        RECT text = area;
        text.left += scaled(CAPTION_MARGIN, dpi_);
        text.right = close_button().left;
        DrawTextW(dc, title_.c_str(), -1, &text,
                  DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS | DT_NOPREFIX);
    }

    RECT button = close_button();
    if (close_hot_)
        FillRect(dc, &button, GetSysColorBrush(COLOR_3DLIGHT));
    InflateRect(&button, -scaled(CLOSE_MARGIN, dpi_), -scaled(CLOSE_MARGIN, dpi_));
    const win32::PenHandle pen(
        CreatePen(PS_SOLID, std::max(1, scaled(1, dpi_)), GetSysColor(COLOR_BTNTEXT)));
    const win32::SelectedObject selected(dc, pen.get());
    MoveToEx(dc, button.left, button.top, nullptr);
    LineTo(dc, button.right, button.bottom);
    MoveToEx(dc, button.left, button.bottom - 1, nullptr);
    LineTo(dc, button.right, button.top - 1);

    // A fine line parts the bar from the documents.
    RECT edge = splitter();
    edge.left = edge.right - 1;
    FillRect(dc, &edge, GetSysColorBrush(COLOR_3DSHADOW));
    EndPaint(window_, &paint);
}

void DockedBar::on_mouse_move(POINT point)
{
    if (sizing_) {
        const int width = MulDiv(point.x, USER_DEFAULT_SCREEN_DPI, static_cast<int>(dpi_));
        width_ = std::clamp(width, SMALLEST_WIDTH, LARGEST_WIDTH);
        events_.resize();
        return;
    }
    set_hot(contains(close_button(), point));
    if (close_hot_) {
        TRACKMOUSEEVENT track{sizeof track, TME_LEAVE, window_, 0};
        TrackMouseEvent(&track);
    }
}

void DockedBar::on_button_down(POINT point)
{
    sizing_ = contains(splitter(), point);
    close_pressed_ = contains(close_button(), point);
    if (sizing_ || close_pressed_)
        SetCapture(window_);
    else
        SetFocus(dialog_);
}

void DockedBar::on_button_up(POINT point) const
{
    const bool close = close_pressed_ && contains(close_button(), point);
    ReleaseCapture();
    if (close)
        events_.close();
}

void DockedBar::set_hot(bool hot)
{
    if (std::exchange(close_hot_, hot) == hot)
        return;
    const RECT button = close_button();
    InvalidateRect(window_, &button, TRUE);
}

}  // namespace quorrel
