#include "sidebar/sidebar_layout.h"

#include "changes/get_dpi.h"

#include <algorithm>
#include <cstdint>

namespace revlane {

namespace {

// Sizes at 96 DPI, on a grid of four pixels.
constexpr int MARGIN = 8;
constexpr int GAP = 4;
constexpr int WIDE_GAP = 8;
constexpr int BUTTON_HEIGHT = 28;
constexpr int HEADING_HEIGHT = 28;
constexpr int SPLITTER_HEIGHT = 4;
constexpr int PROGRESS_HEIGHT = 3;
constexpr int MESSAGE_PADDING = 8;  // border and inner margins of the commit box
constexpr int ROW_PADDING = 6;
// The commit box grows with a tall panel.
constexpr int MESSAGE_LINES = 3;
constexpr int MESSAGE_LINES_TALL = 5;
constexpr int TALL_PANEL = 720;
constexpr int MIN_ROWS = 2;
constexpr int ALL_SHARES = 1000;

// Hands out bands from the top of an area to its bottom; what does not fit any more is cut.
class Column {
public:
    Column(RECT area, int dpi) : area_(area), dpi_(dpi) {}

    // `height` in pixels.
    RECT take(int height)
    {
        const LONG bottom = std::min<LONG>(area_.bottom, area_.top + std::max(height, 0));
        RECT band{area_.left, area_.top, area_.right, bottom};
        area_.top = bottom;
        if (band.bottom <= band.top || band.right <= band.left)
            return RECT{};
        return band;
    }
    // Sizes at 96 DPI.
    RECT take_scaled(int height) { return take(scale(height, dpi_)); }
    void skip(int height) { (void)take_scaled(height); }
    [[nodiscard]] int height() const { return static_cast<int>(area_.bottom - area_.top); }
    [[nodiscard]] RECT rest() const { return area_; }

private:
    RECT area_;
    int dpi_;
};

RECT inset(RECT band, int left, int right)
{
    band.left += left;
    band.right -= right;
    return band.right > band.left ? band : RECT{};
}

RECT cut_left(RECT& row, int width, int gap)
{
    RECT part = row;
    part.right = std::min(row.right, row.left + width);
    row.left = std::min(row.right, part.right + gap);
    return part.right > part.left ? part : RECT{};
}

RECT cut_right(RECT& row, int width, int gap)
{
    RECT part = row;
    part.left = std::max(row.left, row.right - width);
    row.right = std::max(row.left, part.left - gap);
    return part.right > part.left ? part : RECT{};
}

void lay_out_top_row(SidebarLayout& layout, const LayoutInput& input, RECT row)
{
    const int side = scale(BUTTON_HEIGHT, input.dpi);
    const int gap = scale(GAP, input.dpi);
    layout.choose_folder = cut_left(row, side, gap);
    layout.history = cut_right(row, side, gap);
    layout.panel_menu = cut_right(row, side, gap);
    layout.branch = row.right > row.left ? row : RECT{};
}

// Two buttons that fill a row, as equal as their texts allow.
void share_row(RECT row, int gap, int first_width, int second_width, RECT& first, RECT& second)
{
    const int width = static_cast<int>(row.right - row.left) - gap;
    const int most = std::max(width - second_width, 0);
    first = cut_left(row, std::clamp(width / 2, std::min(first_width, most), most), gap);
    second = row;
}

// The four buttons in one row where they fit, else in two, else a long text gets a row of its own.
void lay_out_buttons(SidebarLayout& layout, const LayoutInput& input, Column& column)
{
    const int margin = scale(MARGIN, input.dpi);
    const int gap = scale(GAP, input.dpi);
    const int width = static_cast<int>(input.client.cx) - 2 * margin;
    const ButtonWidths& need = input.buttons;
    const auto next_row = [&] { return inset(column.take_scaled(BUTTON_HEIGHT), margin, margin); };

    const int commit_pair = need.commit + gap + need.stage_all_and_commit;
    const int remote_pair = need.pull + gap + need.push;
    if (commit_pair + scale(WIDE_GAP, input.dpi) + remote_pair <= width) {
        RECT row = next_row();
        layout.commit = cut_left(row, need.commit, gap);
        layout.stage_all_and_commit = cut_left(row, need.stage_all_and_commit, gap);
        layout.push = cut_right(row, need.push, gap);
        layout.pull = cut_right(row, need.pull, gap);
        return;
    }
    if (commit_pair <= width) {
        share_row(next_row(), gap, need.commit, need.stage_all_and_commit, layout.commit,
                  layout.stage_all_and_commit);
    } else {
        layout.commit = next_row();
        column.skip(GAP);
        layout.stage_all_and_commit = next_row();
    }
    column.skip(GAP);
    if (remote_pair <= width) {
        share_row(next_row(), gap, need.pull, need.push, layout.pull, layout.push);
    } else {
        layout.pull = next_row();
        column.skip(GAP);
        layout.push = next_row();
    }
}

struct ListHeights {
    int all = 0;  // that the lists share
    int staged = 0;
    int changes = 0;
    int branches = 0;
};

int share_of(int all, int thousandths)
{
    return static_cast<int>(std::int64_t{all} * std::clamp(thousandths, 0, ALL_SHARES) /
                            ALL_SHARES);
}

ListHeights share_lists(const LayoutInput& input, int height)
{
    const int splitter = scale(SPLITTER_HEIGHT, input.dpi);
    const int headings = 3 * scale(HEADING_HEIGHT, input.dpi);
    const int lists = input.branches_folded ? 2 : 3;
    ListHeights heights;
    heights.all = std::max(height - headings - (lists - 1) * splitter, 0);
    const int least =
        std::min(MIN_ROWS * list_row_height(input.dpi, input.line_height), heights.all / lists);
    const int others = heights.all - least;
    if (!input.branches_folded)
        heights.branches = std::clamp(share_of(heights.all, input.shares.branches), least,
                                      std::max(others - least, least));
    heights.staged = std::clamp(share_of(heights.all, input.shares.staged), least,
                                std::max(others - heights.branches, least));
    heights.changes = heights.all - heights.staged - heights.branches;
    return heights;
}

void lay_out_lists(SidebarLayout& layout, const LayoutInput& input, Column& column)
{
    const ListHeights heights = share_lists(input, column.height());
    layout.staged_heading = column.take_scaled(HEADING_HEIGHT);
    layout.staged_list = column.take(heights.staged);
    layout.changes_splitter = column.take_scaled(SPLITTER_HEIGHT);
    layout.changes_heading = column.take_scaled(HEADING_HEIGHT);
    layout.changes_list = column.take(heights.changes);
    if (!input.branches_folded)
        layout.branches_splitter = column.take_scaled(SPLITTER_HEIGHT);
    layout.branches_heading = column.take_scaled(HEADING_HEIGHT);
    if (!input.branches_folded)
        layout.branches_list = column.take(heights.branches);
}

void lay_out_empty(SidebarLayout& layout, const LayoutInput& input, Column& column)
{
    const int margin = scale(MARGIN, input.dpi);
    column.skip(2 * WIDE_GAP);
    layout.empty_text = inset(column.take(input.empty_text_height), empty_text_margin(input.dpi),
                              empty_text_margin(input.dpi));
    column.skip(2 * WIDE_GAP);
    RECT row = inset(column.take_scaled(BUTTON_HEIGHT), margin, margin);
    const int width = static_cast<int>(row.right - row.left);
    const int spare = std::max(width - input.buttons.choose_folder, 0) / 2;
    layout.choose_folder = inset(row, spare, spare);
}

}  // namespace

int empty_text_margin(int dpi)
{
    return scale(2 * MARGIN, dpi);
}

int list_row_height(int dpi, int line_height)
{
    return line_height + scale(ROW_PADDING, dpi);
}

SidebarLayout lay_out_sidebar(const LayoutInput& input)
{
    SidebarLayout layout;
    const RECT client{0, 0, input.client.cx, input.client.cy};
    layout.progress = Column(client, input.dpi).take_scaled(PROGRESS_HEIGHT);

    Column column(client, input.dpi);
    const int margin = scale(MARGIN, input.dpi);
    column.skip(MARGIN);
    if (!input.has_repository) {
        lay_out_empty(layout, input, column);
        return layout;
    }
    lay_out_top_row(layout, input, inset(column.take_scaled(BUTTON_HEIGHT), margin, margin));
    column.skip(WIDE_GAP);
    const int lines =
        input.client.cy >= scale(TALL_PANEL, input.dpi) ? MESSAGE_LINES_TALL : MESSAGE_LINES;
    layout.message = inset(
        column.take(lines * input.line_height + scale(MESSAGE_PADDING, input.dpi)), margin, margin);
    column.skip(WIDE_GAP);
    lay_out_buttons(layout, input, column);
    column.skip(WIDE_GAP);
    lay_out_lists(layout, input, column);
    return layout;
}

std::optional<Splitter> splitter_at(const SidebarLayout& layout, POINT point)
{
    const auto hits = [&](RECT band) {
        if (IsRectEmpty(&band))
            return false;
        // The band alone is too thin for a hand. Below it begins a heading, where nothing else is
        // dragged.
        const LONG height = band.bottom - band.top;
        InflateRect(&band, 0, height);
        return PtInRect(&band, point) != FALSE;
    };
    if (hits(layout.changes_splitter))
        return Splitter::Changes;
    if (hits(layout.branches_splitter))
        return Splitter::Branches;
    return std::nullopt;
}

ListShares drag_splitter(const LayoutInput& input, Splitter splitter, int y)
{
    const SidebarLayout layout = lay_out_sidebar(input);
    // Squeezed lists have no room to share.
    if (IsRectEmpty(&layout.staged_list) || IsRectEmpty(&layout.changes_list))
        return input.shares;
    const int staged = static_cast<int>(layout.staged_list.bottom - layout.staged_list.top);
    const int changes = static_cast<int>(layout.changes_list.bottom - layout.changes_list.top);
    const int branches = static_cast<int>(layout.branches_list.bottom - layout.branches_list.top);
    const int all = staged + changes + branches;
    const int least = std::min(MIN_ROWS * list_row_height(input.dpi, input.line_height), all / 3);
    // Rounded up, so that the height comes out again where it was.
    const auto thousandths = [all](int height) { return (height * ALL_SHARES + all - 1) / all; };

    ListShares shares = input.shares;
    if (splitter == Splitter::Changes) {
        const int wanted = y - static_cast<int>(layout.staged_list.top);
        const int most = std::max(staged + changes - least, least);
        shares.staged = thousandths(std::clamp(wanted, least, most));
    } else {
        const int moved = static_cast<int>(layout.branches_splitter.top) - y;
        const int most = std::max(branches + changes - least, least);
        shares.branches = thousandths(std::clamp(branches + moved, least, most));
    }
    return shares;
}

}  // namespace revlane
