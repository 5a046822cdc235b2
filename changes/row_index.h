// The rows of a list that was filled anew: where a row of before stands now.
#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <type_traits>
#include <unordered_map>

namespace revlane {

// `key_of` gives the text that tells a row from all others, as a view into the row; the rows must
// outlive the index. The first of several rows with one text counts.
template <typename List, auto key_of>
class RowIndex {
public:
    using Row = typename List::value_type;

    explicit RowIndex(const List& list)
    {
        rows_.reserve(list.size());
        for (std::size_t row = 0; row < list.size(); ++row)
            rows_.emplace(key_of(list[row]), row);
    }

    [[nodiscard]] std::optional<std::size_t> find(const Row& row) const
    {
        const auto found = rows_.find(key_of(row));
        return found != rows_.end() ? std::optional(found->second) : std::nullopt;
    }

    // The present row of `row` of the former list, or of the nearest after it that is left, or else
    // of the nearest before it.
    [[nodiscard]] std::optional<std::size_t> find_nearest(const List& former, std::size_t row) const
    {
        for (std::size_t i = row; i < former.size(); ++i)
            if (const auto found = find(former[i]))
                return found;
        for (std::size_t i = std::min(row, former.size()); i > 0; --i)
            if (const auto found = find(former[i - 1]))
                return found;
        return std::nullopt;
    }

private:
    std::unordered_map<std::invoke_result_t<decltype(key_of), const Row&>, std::size_t> rows_;
};

}  // namespace revlane
