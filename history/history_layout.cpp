#include "history/history_layout.h"

#include "changes/get_dpi.h"

#include <algorithm>

namespace revlane {

namespace {

// At 96 DPI.
constexpr int MARGIN = 8;
constexpr int GAP = 6;
constexpr int SPLITTER_HEIGHT = 6;
constexpr int CONTROL_HEIGHT = 24;
constexpr int BRANCH_WIDTH = 200;
constexpr int LEAST_BRANCH_WIDTH = 80;
constexpr int LEAST_PANE_HEIGHT = 72;
constexpr int LEAST_SUMMARY_WIDTH = 250;
constexpr int AUTHOR_WIDTH = 110;
constexpr int COLUMN_PADDING = 15;

constexpr int WHOLE = 1000;  // thousandths

RECT rect(int left, int top, int width, int height)
{
    return {left, top, left + std::max(width, 0), top + std::max(height, 0)};
}

// The height of the list for a splitter position, within what both panes need at least.
int list_height(int room, int position, int least)
{
    const int wanted = room * std::clamp(position, 0, WHOLE) / WHOLE;
    const int greatest = std::max(room - least, 0);
    return std::clamp(wanted, std::min(least, greatest), greatest);
}

}  // namespace

HistoryLayout lay_out_history(const HistoryLayoutInput& input)
{
    const auto px = [dpi = input.dpi](int value) { return scale(value, dpi); };
    const int margin = px(MARGIN);
    const int gap = px(GAP);
    const int left = margin;
    const int right = std::max(static_cast<int>(input.client.cx) - margin, left);
    const int width = right - left;
    const int control = std::max(px(CONTROL_HEIGHT), input.line_height + px(GAP));
    int y = margin;

    HistoryLayout layout{};
    layout.title = rect(left, y, width, input.line_height);
    y += input.line_height + gap;

    // The tool row: the drop-down takes what the buttons leave of it, up to its own width.
    const int filter = std::min(input.filter_text + input.button_padding, width);
    const int clear = input.has_filter ? input.clear_text + input.button_padding : 0;
    const int buttons = filter + gap + (input.has_filter ? clear + gap : 0);
    const int branch =
        std::clamp(width - buttons, std::min(px(LEAST_BRANCH_WIDTH), width), px(BRANCH_WIDTH));
    int x = left;
    const auto place = [&](int wanted) {
        const RECT placed = rect(x, y, std::min(wanted, right - x), control);
        x = std::min(static_cast<int>(placed.right) + gap, right);
        return placed;
    };
    layout.branch = place(branch);
    layout.filter = place(filter);
    layout.clear_filter = place(clear);
    layout.state = rect(x, y + (control - input.line_height) / 2, right - x, input.line_height);
    y += control + gap;

    const int bottom = std::max(static_cast<int>(input.client.cy) - margin, y);
    // Where the eye looks first.
    const int above = (bottom - y) / 3;
    layout.empty = rect(left, y + above, width, bottom - y - above);

    const int splitter = std::min(px(SPLITTER_HEIGHT), bottom - y);
    const int room = bottom - y - splitter;
    const int list = list_height(room, input.splitter, px(LEAST_PANE_HEIGHT));
    layout.list = rect(left, y, width, list);
    y += list;
    layout.splitter = rect(left, y, width, splitter);
    y += splitter;

    // Below: details to the left, the files and their button to the right.
    const int half = (width - gap) / 2;
    layout.details = rect(left, y, half, bottom - y);
    const int files_left = left + half + gap;
    const int compare = std::min(control, bottom - y);
    layout.compare =
        rect(files_left, bottom - compare,
             std::min(input.compare_text + input.button_padding, right - files_left), compare);
    layout.files = rect(files_left, y, right - files_left, bottom - compare - gap - y);
    return layout;
}

CommitColumns fit_commit_columns(int room, int dpi, int date_text, int id_text)
{
    const int padding = scale(COLUMN_PADDING, dpi);
    CommitColumns columns{};
    columns.author = scale(AUTHOR_WIDTH, dpi);
    columns.date = padding + date_text;
    columns.id = padding + id_text;
    columns.summary = std::max(room - (columns.date + columns.author + columns.id),
                               scale(LEAST_SUMMARY_WIDTH, dpi));
    return columns;
}

int splitter_position(const HistoryLayout& layout, int y)
{
    const int top = layout.list.top;
    const int room = layout.details.bottom - top - (layout.splitter.bottom - layout.splitter.top);
    return room <= 0 ? WHOLE / 2 : std::clamp((y - top) * WHOLE / room, 0, WHOLE);
}

}  // namespace revlane
