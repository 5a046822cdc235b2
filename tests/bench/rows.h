// The rows of the table, in groups that share their preparation. Each group makes its rows and returns
// what has to be done once for each run.
#pragma once

#include "tests/bench/table.h"
#include "tests/bench/watch.h"

#include <filesystem>
#include <functional>
#include <string>

namespace bench {

// What the rows have in common. The panel shows the small repository between two measurements.
struct Stage {
    support::EditorDriver& driver;
    Watch& watch;
    Table& table;
    std::filesystem::path repositories;

    [[nodiscard]] std::filesystem::path repository(const wchar_t* name) const
    {
        return repositories / name;
    }
    // Activates the document of a repository, which is how the panel comes to show it.
    void activate(const std::filesystem::path& repository) const;
    // Back to the small repository, once everything has ended.
    void rest() const;
    [[nodiscard]] HWND control(int id) const { return GetDlgItem(driver.panel(), id); }
    [[nodiscard]] int rows(int list) const;
};

// To be called once, before the panel is made: notes from then on when a list view has been filled.
void watch_list_views();

using Run = std::function<void()>;

Run panel_opening(const Stage& stage);
Run changed_files(const Stage& stage);
Run stale_index(const Stage& stage);
Run ahead_and_behind(const Stage& stage, const wchar_t* repository, const std::string& name);
Run branches(const Stage& stage);
Run staging(const Stage& stage);
Run history(const Stage& stage, const wchar_t* repository, const std::string& name,
            double count_goal);

}  // namespace bench
