// What the user looks for in the history.
#pragma once

#include "history/filter.h"

#include <string>

namespace revlane {

// The commits that a filter finds, or those that changed a file.
struct HistorySearch {
    Filter::State filter;
    std::wstring file_path;  // empty: no file; otherwise the filter has no text

    [[nodiscard]] bool is_empty() const noexcept
    {
        return filter.text.empty() && file_path.empty();
    }
    // Whether it may find something else although the history starts where it did.
    [[nodiscard]] bool may_find_more() const noexcept
    {
        return !filter.text.empty() &&
               (filter.kind == Filter::Kind::Tag || filter.kind == Filter::Kind::CommitId);
    }
    // The kind of filter stays, to be offered again.
    void clear() noexcept
    {
        filter.text.clear();
        file_path.clear();
    }
};

}  // namespace revlane
