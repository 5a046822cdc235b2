// Where everything in the history window stands: a pure function, so that it can be tested without a
// window.
#pragma once

#include <windows.h>

namespace revlane {

struct HistoryLayout {
    RECT title;         // repository and branch
    RECT branch;        // the drop-down; its height is the closed control's
    RECT filter;        // the filter button
    RECT clear_filter;  // only shown while a filter is in force
    RECT state;         // how many commits, which filter, what runs
    RECT list;
    RECT splitter;  // the gap that can be dragged
    RECT details;
    RECT files;
    RECT compare;  // the button that compares the selected commit with its parent
    RECT empty;    // the one line of text in place of the list and what is below it
};

struct HistoryLayoutInput {
    SIZE client;         // pixels
    int dpi;             // of the window
    int line_height;     // pixels of one line of the window's font
    int button_padding;  // pixels around the widest button text, left and right together
    int filter_text;     // pixels of the filter button's text
    int clear_text;      // pixels of the clear button's text
    int compare_text;    // pixels of the compare button's text
    bool has_filter;
    int splitter;  // distance of the splitter from the top of the list in thousandths of the room
                   // that list, splitter and lower area share
};

// No rectangle overlaps another or leaves the client area; the list and the lower area keep a least
// height as long as the window has one to give.
HistoryLayout lay_out_history(const HistoryLayoutInput& input);

// The widths of the commit list's columns, in pixels.
struct CommitColumns {
    int summary;
    int author;
    int date;
    int id;
};

// The summary takes what the others leave of `room` (pixels), but never less than people can read;
// the list scrolls sideways then. `date_text` and `id_text` are the pixels of the widest date and of
// the digits of an id that are to be seen.
CommitColumns fit_commit_columns(int room, int dpi, int date_text, int id_text);

// The splitter position (thousandths) for a drag to `y` (client pixels).
int splitter_position(const HistoryLayout& layout, int y);

}  // namespace revlane
