#include "editor/line_diff.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace quorrel {

namespace {

// Equal lines have equal numbers, so that the search compares numbers only.
using Numbers = std::vector<std::size_t>;
using Matches = std::vector<std::pair<std::size_t, std::size_t>>;

// With more edits than this the search is given up: its memory grows with the square (16 MB here).
constexpr std::int32_t MOST_EDITS = 2000;

Numbers number_lines(const std::vector<std::wstring>& lines,
                     std::unordered_map<std::wstring_view, std::size_t>& known)
{
    Numbers numbers;
    numbers.reserve(lines.size());
    for (const std::wstring& line : lines)
        numbers.push_back(known.try_emplace(line, known.size()).first->second);
    return numbers;
}

// The greedy search for a shortest edit script. Diagonal k holds the points (x, x - k); after each
// further edit `reached` is the furthest x on each diagonal.
class EditSearch {
public:
    EditSearch(std::span<const std::size_t> left, std::span<const std::size_t> right)
        : left_(left), right_(right), width_(static_cast<std::int32_t>(left.size())),
          height_(static_cast<std::int32_t>(right.size()))
    {
    }

    // The pairs of equal lines in order; none when the texts differ too much.
    Matches run()
    {
        const std::int32_t most = std::min(MOST_EDITS, width_ + height_);
        for (std::int32_t edits = 0; edits <= most; ++edits) {
            if (advance(edits))
                return trace_back(edits);
        }
        return {};
    }

private:
    // Where a diagonal, from -edits to edits, stands in its round.
    static std::size_t slot(std::int32_t edits, std::int32_t diagonal)
    {
        const std::int32_t place = diagonal + edits;
        return static_cast<std::size_t>(place);
    }

    [[nodiscard]] std::int32_t reached(std::int32_t edits, std::int32_t diagonal) const
    {
        return rounds_[static_cast<std::size_t>(edits)][slot(edits, diagonal)];
    }

    // The diagonal from which `diagonal` is reached by the edit number `edits`.
    [[nodiscard]] std::int32_t origin(std::int32_t edits, std::int32_t diagonal) const
    {
        const bool down = diagonal == -edits ||
                          (diagonal != edits &&
                           reached(edits - 1, diagonal - 1) < reached(edits - 1, diagonal + 1));
        return down ? diagonal + 1 : diagonal - 1;
    }

    // One more edit on every diagonal; true when the end of both texts is reached.
    bool advance(std::int32_t edits)
    {
        rounds_.emplace_back(static_cast<std::size_t>(2 * edits + 1));
        for (std::int32_t diagonal = -edits; diagonal <= edits; diagonal += 2) {
            std::int32_t x = 0;
            if (edits > 0) {
                const std::int32_t from = origin(edits, diagonal);
                x = reached(edits - 1, from) + (from < diagonal ? 1 : 0);
            }
            while (x < width_ && x - diagonal < height_ && equal(x, x - diagonal))
                ++x;
            rounds_.back()[slot(edits, diagonal)] = x;
            if (x >= width_ && x - diagonal >= height_)
                return true;
        }
        return false;
    }

    [[nodiscard]] bool equal(std::int32_t x, std::int32_t y) const
    {
        return left_[static_cast<std::size_t>(x)] == right_[static_cast<std::size_t>(y)];
    }

    [[nodiscard]] Matches trace_back(std::int32_t edits) const
    {
        Matches matches;
        std::int32_t x = width_;
        std::int32_t y = height_;
        for (; edits >= 0; --edits) {
            const std::int32_t from = edits > 0 ? origin(edits, x - y) : 0;
            const std::int32_t begin_x = edits > 0 ? reached(edits - 1, from) : 0;
            const std::int32_t begin_y = begin_x - from;
            while (x > begin_x && y > begin_y) {
                --x;
                --y;
                matches.emplace_back(x, y);
            }
            x = begin_x;
            y = begin_y;
        }
        std::reverse(matches.begin(), matches.end());
        return matches;
    }

    std::span<const std::size_t> left_;
    std::span<const std::size_t> right_;
    std::int32_t width_;
    std::int32_t height_;
    std::vector<std::vector<std::int32_t>> rounds_;
};

// Rows for what lies between two matches: lines beside each other as changed, the rest alone.
void append_gap(std::vector<DiffRow>& rows, std::size_t left, std::size_t left_end,
                std::size_t right, std::size_t right_end)
{
    while (left < left_end && right < right_end)
        rows.push_back({DiffRow::Kind::changed, left++, right++});
    while (left < left_end)
        rows.push_back({DiffRow::Kind::removed, left++, DiffRow::no_line});
    while (right < right_end)
        rows.push_back({DiffRow::Kind::added, DiffRow::no_line, right++});
}

}  // namespace

std::vector<DiffRow> diff_lines(const std::vector<std::wstring>& left,
                                const std::vector<std::wstring>& right)
{
    std::unordered_map<std::wstring_view, std::size_t> known;
    const Numbers a = number_lines(left, known);
    const Numbers b = number_lines(right, known);

    // What is equal at both ends needs no search.
    std::size_t begin = 0;
    while (begin < a.size() && begin < b.size() && a[begin] == b[begin])
        ++begin;
    std::size_t tail = 0;
    while (tail < a.size() - begin && tail < b.size() - begin &&
           a[a.size() - 1 - tail] == b[b.size() - 1 - tail])
        ++tail;

    std::vector<DiffRow> rows;
    for (std::size_t line = 0; line < begin; ++line)
        rows.push_back({DiffRow::Kind::same, line, line});
    std::size_t next_left = begin;
    std::size_t next_right = begin;
    const std::span<const std::size_t> middle_a(a.data() + begin, a.size() - begin - tail);
    const std::span<const std::size_t> middle_b(b.data() + begin, b.size() - begin - tail);
    for (const auto& [x, y] : EditSearch(middle_a, middle_b).run()) {
        append_gap(rows, next_left, begin + x, next_right, begin + y);
        rows.push_back({DiffRow::Kind::same, begin + x, begin + y});
        next_left = begin + x + 1;
        next_right = begin + y + 1;
    }
    append_gap(rows, next_left, a.size() - tail, next_right, b.size() - tail);
    for (std::size_t line = tail; line > 0; --line)
        rows.push_back({DiffRow::Kind::same, a.size() - line, b.size() - line});
    return rows;
}

std::vector<std::wstring> split_lines(const std::wstring& text)
{
    std::vector<std::wstring> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find_first_of(L"\r\n", begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + (text.compare(end, 2, L"\r\n") == 0 ? 2 : 1);
    }
    return lines;
}

}  // namespace quorrel
