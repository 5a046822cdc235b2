// Two texts side by side with the differing lines coloured.
#pragma once

#include "editor/line_diff.h"
#include "editor/ui.h"
#include "win32/window.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace quorrel {

// A child window that shows copies of two texts row by row, so that both sides scroll together.
// F8 and Shift+F8 go to the next and the previous difference. Ending the object destroys the window.
class CompareView {
public:
    CompareView(HWND parent, HFONT text_font, HFONT title_font);
    ~CompareView();
    CompareView(const CompareView&) = delete;
    CompareView& operator=(const CompareView&) = delete;

    [[nodiscard]] HWND window() const noexcept { return window_; }
    [[nodiscard]] const std::vector<DiffRow>& rows() const noexcept { return rows_; }

    void set_texts(const std::wstring& left, const std::wstring& right);
    void set_titles(std::wstring left, std::wstring right);
    // Shows the first difference from row `from` on in a direction, 1 or -1; false when there is none.
    bool go_to_difference(int from, int direction);
    // The fonts stay their owner's.
    void set_fonts(HFONT text_font, HFONT title_font);

    win32::Handled handle(const win32::Message& message);

private:
    struct Side {
        std::wstring title;
        std::vector<std::wstring> lines;
    };
    // Where things lie, from the client size and the fonts.
    struct Layout {
        RECT client;
        int title_height;
        int gutter;        // width of the line numbers
        int side_width;    // of one side, its gutter included
        int visible_rows;  // that are wholly visible
        int visible_columns;
    };

    [[nodiscard]] Layout layout() const;
    void update_scroll_bars();
    void on_scroll(int bar, int code);
    void on_wheel(int delta);
    bool on_key(WPARAM key);
    void scroll_to(int row, int column);
    void on_paint();
    void draw(HDC dc, const Layout& at) const;
    void draw_side(HDC dc, const Layout& at, std::size_t side) const;
    void draw_line(HDC dc, const Layout& at, std::size_t side, const DiffRow& row, RECT area) const;
    void mark_change(HDC dc, std::size_t side, const DiffRow& row, const RECT& text) const;

    HWND window_ = nullptr;
    HFONT text_font_ = nullptr;
    HFONT title_font_ = nullptr;
    UINT dpi_ = USER_DEFAULT_SCREEN_DPI;
    int row_height_ = 1;
    int column_width_ = 1;
    int title_text_height_ = 1;
    std::array<Side, 2> sides_;
    std::vector<DiffRow> rows_;
    int longest_line_ = 0;
    int top_ = 0;     // first row shown
    int column_ = 0;  // first column shown
    int wheel_rest_ = 0;
};

}  // namespace quorrel
