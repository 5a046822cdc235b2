// Comparison of two texts line by line. Pure functions; any thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quorrel {

// One row of two texts side by side.
struct DiffRow {
    enum class Kind { same, changed, removed, added };

    static constexpr std::size_t no_line = static_cast<std::size_t>(-1);

    Kind kind = Kind::same;
    std::size_t left = no_line;   // index of the line; no_line in an added row
    std::size_t right = no_line;  // index of the line; no_line in a removed row

    friend bool operator==(const DiffRow&, const DiffRow&) = default;
};

// The rows of `left` beside `right`: every line of both occurs once and in order, and as many lines
// as possible stand beside an equal one. Lines that were replaced stand beside each other as
// changed. Texts that differ in thousands of lines are not searched for their best fit.
std::vector<DiffRow> diff_lines(const std::vector<std::wstring>& left,
                                const std::vector<std::wstring>& right);

// The lines of a text, whatever its line ends are. The line end at the end of a text begins no line.
std::vector<std::wstring> split_lines(const std::wstring& text);

}  // namespace quorrel
