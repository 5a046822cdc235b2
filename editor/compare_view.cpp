#include "editor/compare_view.h"

#include <fmt/xchar.h>
#include <windowsx.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

// The colours are the view's own and light, so the text on them is dark whatever the system's are.
constexpr COLORREF TEXT = RGB(0x1f, 0x24, 0x28);
constexpr COLORREF PAPER = RGB(0xff, 0xff, 0xff);
constexpr COLORREF GUTTER = RGB(0xf5, 0xf6, 0xf7);
constexpr COLORREF GUTTER_TEXT = RGB(0x8c, 0x95, 0x9f);
constexpr COLORREF NO_LINE = RGB(0xf0, 0xf1, 0xf3);
constexpr COLORREF REMOVED = RGB(0xfd, 0xe8, 0xe6);
constexpr COLORREF REMOVED_PART = RGB(0xf7, 0xc6, 0xc1);
constexpr COLORREF ADDED = RGB(0xe3, 0xf5, 0xe6);
constexpr COLORREF ADDED_PART = RGB(0xb5, 0xe3, 0xbd);
constexpr COLORREF TITLE = RGB(0xe9, 0xec, 0xef);
constexpr COLORREF RULE = RGB(0xd0, 0xd5, 0xda);

constexpr std::size_t LEFT = 0;
constexpr std::size_t RIGHT = 1;
constexpr int TAB_COLUMNS = 4;
constexpr int WHEEL_LINES = 3;
// Equal rows shown above a difference that was gone to.
constexpr int CONTEXT = 2;
// Lengths at 96 DPI.
constexpr int TITLE_PADDING = 5;
constexpr int TEXT_PADDING = 6;
// No screen shows more of one line; a longer one would only be slow to draw.
constexpr std::size_t LONGEST_DRAWN = 2000;

void fill(HDC dc, const RECT& area, COLORREF colour)
{
    SetBkColor(dc, colour);
    ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &area, L"", 0, nullptr);
}

void draw_text(HDC dc, int x, int y, const RECT& clip, std::wstring_view text)
{
    ExtTextOutW(dc, x, y, ETO_CLIPPED, &clip, text.data(), static_cast<UINT>(text.size()), nullptr);
}

int text_width(HDC dc, std::wstring_view text)
{
    SIZE size{};
    GetTextExtentPoint32W(dc, text.data(), static_cast<int>(text.size()), &size);
    return size.cx;
}

std::vector<std::wstring> lines_for_display(const std::wstring& text)
{
    std::vector<std::wstring> lines = split_lines(text);
    for (std::wstring& line : lines) {
        for (std::size_t tab = line.find(L'\t'); tab != std::wstring::npos;
             tab = line.find(L'\t', tab))
            line.replace(tab, 1, TAB_COLUMNS - tab % TAB_COLUMNS, L' ');
    }
    return lines;
}

}  // namespace

CompareView::CompareView(HWND parent, HFONT text_font, HFONT title_font)
{
    constexpr wchar_t CLASS[] = L"QuorrelCompareView";
    register_class(CLASS, win32::window_proc<CompareView>, nullptr, IDC_ARROW);
    window_ = create_child(CLASS, WS_VSCROLL | WS_HSCROLL | WS_TABSTOP, parent, this);
    set_fonts(text_font, title_font);
}

CompareView::~CompareView()
{
    if (window_ != nullptr)
        DestroyWindow(window_);
}

void CompareView::set_texts(const std::wstring& left, const std::wstring& right)
{
    // The comparison sees the lines as they are; only the display has no tabs.
    rows_ = diff_lines(split_lines(left), split_lines(right));
    sides_[LEFT].lines = lines_for_display(left);
    sides_[RIGHT].lines = lines_for_display(right);
    std::size_t longest = 0;
    for (const Side& side : sides_) {
        for (const std::wstring& line : side.lines)
            longest = std::max(longest, line.size());
    }
    longest_line_ = static_cast<int>(std::min(longest, LONGEST_DRAWN));
    scroll_to(top_, column_);
}

void CompareView::set_titles(std::wstring left, std::wstring right)
{
    sides_[LEFT].title = std::move(left);
    sides_[RIGHT].title = std::move(right);
    InvalidateRect(window_, nullptr, FALSE);
}

void CompareView::set_fonts(HFONT text_font, HFONT title_font)
{
    text_font_ = text_font;
    title_font_ = title_font;
    dpi_ = GetDpiForWindow(window_);
    row_height_ = std::max(1, line_height(window_, text_font));
    title_text_height_ = line_height(window_, title_font);
    const win32::WindowDc dc(window_);
    const win32::SelectedObject selected(dc.get(), text_font);
    column_width_ = std::max(1, text_width(dc.get(), L"0"));
    scroll_to(top_, column_);
}

CompareView::Layout CompareView::layout() const
{
    Layout at{};
    GetClientRect(window_, &at.client);
    at.title_height = title_text_height_ + 2 * scaled(TITLE_PADDING, dpi_);
    const std::size_t most_lines = std::max(sides_[LEFT].lines.size(), sides_[RIGHT].lines.size());
    const auto digits = static_cast<int>(std::to_wstring(most_lines).size());
    at.gutter = digits * column_width_ + 2 * scaled(TEXT_PADDING, dpi_);
    at.side_width = at.client.right / 2;
    const int text_width = at.side_width - at.gutter - scaled(TEXT_PADDING, dpi_);
    at.visible_rows =
        std::max(1, (static_cast<int>(at.client.bottom) - at.title_height) / row_height_);
    at.visible_columns = std::max(1, text_width / column_width_);
    return at;
}

win32::Handled CompareView::handle(const win32::Message& message)
{
    switch (message.id) {
    case WM_SIZE:
        scroll_to(top_, column_);
        return 0;
    case WM_ERASEBKGND:
        return TRUE;
    case WM_PAINT:
        on_paint();
        return 0;
    case WM_VSCROLL:
        on_scroll(SB_VERT, LOWORD(message.wparam));
        return 0;
    case WM_HSCROLL:
        on_scroll(SB_HORZ, LOWORD(message.wparam));
        return 0;
    case WM_MOUSEWHEEL:
        on_wheel(GET_WHEEL_DELTA_WPARAM(message.wparam));
        return 0;
    case WM_LBUTTONDOWN:
        SetFocus(window_);
        return 0;
    case WM_KEYDOWN:
        return on_key(message.wparam) ? win32::Handled(0) : std::nullopt;
    case WM_NCDESTROY:
        window_ = nullptr;
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

void CompareView::update_scroll_bars()
{
    const Layout at = layout();
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
    info.nMax = std::max(0, static_cast<int>(rows_.size()) - 1);
    info.nPage = static_cast<UINT>(at.visible_rows);
    info.nPos = top_;
    SetScrollInfo(window_, SB_VERT, &info, TRUE);
    info.nMax = std::max(0, longest_line_ - 1);
    info.nPage = static_cast<UINT>(at.visible_columns);
    info.nPos = column_;
    SetScrollInfo(window_, SB_HORZ, &info, TRUE);
}

void CompareView::scroll_to(int row, int column)
{
    if (window_ == nullptr)
        return;
    const Layout at = layout();
    top_ = std::clamp(row, 0, std::max(0, static_cast<int>(rows_.size()) - at.visible_rows));
    column_ = std::clamp(column, 0, std::max(0, longest_line_ - at.visible_columns));
    update_scroll_bars();
    InvalidateRect(window_, nullptr, FALSE);
}

void CompareView::on_scroll(int bar, int code)
{
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_ALL;
    GetScrollInfo(window_, bar, &info);
    const int page = static_cast<int>(info.nPage);
    const int line = bar == SB_VERT ? 1 : TAB_COLUMNS;
    int position = info.nPos;
    // The codes of the horizontal bar have the same numbers.
    switch (code) {
    case SB_LINEUP:
        position -= line;
        break;
    case SB_LINEDOWN:
        position += line;
        break;
    case SB_PAGEUP:
        position -= page;
        break;
    case SB_PAGEDOWN:
        position += page;
        break;
    case SB_TOP:
        position = info.nMin;
        break;
    case SB_BOTTOM:
        position = info.nMax;
        break;
    case SB_THUMBTRACK:
        position = info.nTrackPos;
        break;
    default:
        return;
    }
    scroll_to(bar == SB_VERT ? position : top_, bar == SB_HORZ ? position : column_);
}

void CompareView::on_wheel(int delta)
{
    wheel_rest_ += delta * WHEEL_LINES;
    scroll_to(top_ - wheel_rest_ / WHEEL_DELTA, column_);
    wheel_rest_ %= WHEEL_DELTA;
}

bool CompareView::on_key(WPARAM key)
{
    struct Scroll {
        WPARAM key;
        int bar;
        int code;
    };
    constexpr std::array<Scroll, 8> SCROLLS{{{VK_UP, SB_VERT, SB_LINEUP},
                                             {VK_DOWN, SB_VERT, SB_LINEDOWN},
                                             {VK_PRIOR, SB_VERT, SB_PAGEUP},
                                             {VK_NEXT, SB_VERT, SB_PAGEDOWN},
                                             {VK_HOME, SB_VERT, SB_TOP},
                                             {VK_END, SB_VERT, SB_BOTTOM},
                                             {VK_LEFT, SB_HORZ, SB_LINEUP},
                                             {VK_RIGHT, SB_HORZ, SB_LINEDOWN}}};
    if (key == VK_F8) {
        const int direction = GetKeyState(VK_SHIFT) < 0 ? -1 : 1;
        if (!go_to_difference(top_ + CONTEXT + direction, direction))
            MessageBeep(MB_OK);
        return true;
    }
    const auto* const scroll = std::find_if(SCROLLS.begin(), SCROLLS.end(),
                                            [key](const Scroll& each) { return each.key == key; });
    if (scroll == SCROLLS.end())
        return false;
    on_scroll(scroll->bar, scroll->code);
    return true;
}

bool CompareView::go_to_difference(int from, int direction)
{
    const auto differs = [this](int row) {
        return rows_[static_cast<std::size_t>(row)].kind != DiffRow::Kind::same;
    };
    const int count = static_cast<int>(rows_.size());
    // A difference begins where the row before it is equal.
    for (int row = from; row >= 0 && row < count; row += direction) {
        if (differs(row) && (row == 0 || !differs(row - 1))) {
            scroll_to(row - CONTEXT, column_);
            return true;
        }
    }
    return false;
}

void CompareView::on_paint()
{
    PAINTSTRUCT paint{};
    const HDC dc = BeginPaint(window_, &paint);
    const Layout at = layout();
    // Drawn in memory first, so that scrolling does not flicker.
    const win32::UniqueHandle<HBITMAP, ::DeleteObject> bitmap(
        CreateCompatibleBitmap(dc, std::max(1L, at.client.right), std::max(1L, at.client.bottom)));
    {
        const MemoryDc memory(bitmap.get());
        draw(memory.get(), at);
        BitBlt(dc, 0, 0, at.client.right, at.client.bottom, memory.get(), 0, 0, SRCCOPY);
    }
    EndPaint(window_, &paint);
}

void CompareView::draw(HDC dc, const Layout& at) const
{
    fill(dc, at.client, PAPER);
    draw_side(dc, at, LEFT);
    draw_side(dc, at, RIGHT);
    const RECT middle{at.side_width, 0, at.side_width + 1, at.client.bottom};
    fill(dc, middle, RULE);
}

void CompareView::draw_side(HDC dc, const Layout& at, std::size_t side) const
{
    const int left = side == LEFT ? 0 : at.side_width;
    const int right = side == LEFT ? at.side_width : static_cast<int>(at.client.right);
    RECT title{left, 0, right, at.title_height};
    fill(dc, title, TITLE);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, TEXT);
    {
        const win32::SelectedObject font(dc, title_font_);
        InflateRect(&title, -scaled(TEXT_PADDING, dpi_), 0);
        // A long path keeps its end: the name and the label behind it.
        DrawTextW(dc, sides_[side].title.c_str(), -1, &title,
                  DT_SINGLELINE | DT_VCENTER | DT_PATH_ELLIPSIS | DT_NOPREFIX);
    }

    const win32::SelectedObject font(dc, text_font_);
    int y = at.title_height;
    for (auto row = static_cast<std::size_t>(top_); row < rows_.size() && y < at.client.bottom;
         ++row, y += row_height_)
        draw_line(dc, at, side, rows_[row], RECT{left, y, right, y + row_height_});
    const RECT below{left, y, left + at.gutter, at.client.bottom};
    fill(dc, below, GUTTER);
}

void CompareView::draw_line(HDC dc, const Layout& at, std::size_t side, const DiffRow& row,
                            RECT area) const
{
    RECT gutter = area;
    gutter.right = gutter.left + at.gutter;
    fill(dc, gutter, GUTTER);
    area.left = gutter.right;

    const std::size_t index = side == LEFT ? row.left : row.right;
    if (index == DiffRow::no_line) {
        fill(dc, area, NO_LINE);
        return;
    }
    const bool same = row.kind == DiffRow::Kind::same;
    fill(dc, area, same ? PAPER : side == LEFT ? REMOVED : ADDED);

    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, GUTTER_TEXT);
    const std::wstring number = std::to_wstring(index + 1);
    draw_text(dc, gutter.right - scaled(TEXT_PADDING, dpi_) - text_width(dc, number), area.top,
              gutter, number);

    area.left += scaled(TEXT_PADDING, dpi_);
    if (row.kind == DiffRow::Kind::changed)
        mark_change(dc, side, row, area);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, TEXT);
    draw_text(dc, area.left - column_ * column_width_, area.top, area,
              std::wstring_view(sides_[side].lines[index]).substr(0, LONGEST_DRAWN));
}

void CompareView::mark_change(HDC dc, std::size_t side, const DiffRow& row, const RECT& text) const
{
    const std::wstring_view own =
        std::wstring_view(sides_[side].lines[side == LEFT ? row.left : row.right])
            .substr(0, LONGEST_DRAWN);
    const std::wstring_view other =
        std::wstring_view(sides_[1 - side].lines[side == LEFT ? row.right : row.left])
            .substr(0, LONGEST_DRAWN);
    const auto head = static_cast<std::size_t>(
        std::mismatch(own.begin(), own.end(), other.begin(), other.end()).first - own.begin());
    std::size_t tail = 0;
    while (tail < std::min(own.size(), other.size()) - head &&
           own[own.size() - 1 - tail] == other[other.size() - 1 - tail])
        ++tail;
    // Lines that share nothing are coloured as a whole already.
    if (head + tail == 0)
        return;
    const int begin = static_cast<int>(text.left) - column_ * column_width_;
    RECT part = text;
    part.left = std::max(text.left, static_cast<LONG>(begin + text_width(dc, own.substr(0, head))));
    part.right = std::min(
        text.right, static_cast<LONG>(begin + text_width(dc, own.substr(0, own.size() - tail))));
    if (part.left < part.right)
        fill(dc, part, side == LEFT ? REMOVED_PART : ADDED_PART);
}

}  // namespace quorrel
