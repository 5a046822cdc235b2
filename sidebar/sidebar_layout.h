// Where everything in the panel lies: a pure function of its size and state. Any thread.
#pragma once

#include <windows.h>

#include <optional>

namespace revlane {

// How the lists share their height, in thousandths of it; the working-tree changes get the rest.
struct ListShares {
    int staged = 300;
    int branches = 300;
    friend bool operator==(const ListShares&, const ListShares&) = default;
};

// The widths that the buttons need for their texts, in pixels.
struct ButtonWidths {
    int commit = 0;
    int stage_all_and_commit = 0;
    int pull = 0;
    int push = 0;
    int choose_folder = 0;  // with its text, as it is shown without a repository
};

struct LayoutInput {
    SIZE client{};        // pixels
    int dpi = 96;         // of the panel's window
    int line_height = 0;  // of the panel's font, in pixels
    ButtonWidths buttons;
    int empty_text_height = 0;  // of the text without a repository, wrapped, in pixels
    bool has_repository = false;
    bool branches_folded = false;
    ListShares shares;
};

// All in client pixels of the panel. An empty rectangle: there is no room, or the part is not shown.
// No two rectangles overlap but for `progress`, which lies above everything at the top edge.
struct SidebarLayout {
    RECT progress{};
    RECT choose_folder{};
    RECT branch{};
    RECT panel_menu{};
    RECT history{};
    RECT message{};
    RECT commit{};
    RECT stage_all_and_commit{};
    RECT pull{};
    RECT push{};
    RECT staged_heading{};
    RECT staged_list{};
    RECT changes_splitter{};  // between the staged list and the heading of the changes
    RECT changes_heading{};
    RECT changes_list{};
    RECT branches_splitter{};
    RECT branches_heading{};
    RECT branches_list{};
    RECT empty_text{};
};

SidebarLayout lay_out_sidebar(const LayoutInput& input);

enum class Splitter { Changes, Branches };

// The splitter at a point, if any. A splitter is a little easier to hit than it looks.
std::optional<Splitter> splitter_at(const SidebarLayout& layout, POINT point);

// How the lists share their height once the upper edge of a splitter was dragged to `y`. Neither
// neighbour gets smaller than two rows where there is room for them.
ListShares drag_splitter(const LayoutInput& input, Splitter splitter, int y);

// What stays free at either side of the text without a repository.
int empty_text_margin(int dpi);

// The height of a row of the lists.
int list_row_height(int dpi, int line_height);

}  // namespace revlane
