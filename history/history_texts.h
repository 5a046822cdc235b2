// What the history window says about itself: its heading, the line above the list and the line in
// place of it. Texts of the localized library, made from what the window knows. Any thread.
#pragma once

#include "history/history_search.h"

#include <filesystem>
#include <string>

namespace revlane {

// How the list of commits stands.
struct ListState {
    int count;          // rows that the list has
    bool is_searching;  // the answer of a search is still to come
    bool is_counting;   // more rows are still to come
    bool has_filter;    // the rows are what a search has found
};

// Repository and branch; `branch` may be empty.
std::wstring heading_text(const std::filesystem::path& repository, const std::wstring& branch);

// What a search looks for, for people. It must not be empty.
std::wstring search_text(const HistorySearch& search);

// How many commits are listed and what is going on; `in_force` is what the filter in force looks for.
std::wstring state_text(const ListState& list, const std::wstring& in_force);

}  // namespace revlane
