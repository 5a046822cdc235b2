#include "resources/ids.h"
#include "tests/bench/peer.h"
#include "tests/bench/rows.h"
#include "tests/support/list_view.h"
#include "tests/support/temp_repository.h"
#include "tests/support/window_watch.h"
#include "win32/text.h"

#include <commctrl.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

namespace {

// The list shows at once with so many rows.
constexpr int FIRST_ROWS = 200;
constexpr wchar_t SEARCHED_TEXT[] = L"Mend the rare case";
// The branch that is not checked out, as the branches list names it, and the digits of its commit in
// the last column.
constexpr char OTHER_BRANCH[] = "origin/main";
constexpr int ID_COLUMN = 3;
constexpr std::size_t ID_DIGITS = 40;
// The times of one search differ by a quarter from those of the next.
constexpr int SEARCHES_IN_A_RUN = 3;
constexpr wchar_t SEARCH[] = L"log --pretty=%H --grep=\"Mend the rare case\" HEAD";

// The list is filled before its window is shown.
HWND commit_list()
{
    return GetDlgItem(support::window_with(IDC_COMMIT_LIST, true), IDC_COMMIT_LIST);
}

int commit_rows()
{
    const HWND list = commit_list();
    return list != nullptr ? ListView_GetItemCount(list) : 0;
}

bool has_text(HWND list, int row)
{
    return !support::cell(list, row, 0).empty();
}

// Whether the rows in sight are there and drawn.
bool shows_rows()
{
    const HWND list = commit_list();
    return has_text(list, ListView_GetTopIndex(list) + ListView_GetCountPerPage(list) - 1) &&
           !GetUpdateRect(list, nullptr, FALSE);
}

bool shows_last_row()
{
    const HWND list = commit_list();
    const int last = ListView_GetItemCount(list) - 1;
    const int below = ListView_GetTopIndex(list) + ListView_GetCountPerPage(list);
    return below >= last && has_text(list, last) && !GetUpdateRect(list, nullptr, FALSE);
}

bool is_filter_dialog(HWND window)
{
    return IsWindowVisible(window) && GetDlgItem(window, IDC_FILTER_TEXT) != nullptr;
}

int count_commits(const std::filesystem::path& folder, const char* branch)
{
    return std::atoi(support::run_git(folder, {"rev-list", "--count", branch}).output.c_str());
}

// The row of the other branch in the branches list, once that is filled.
std::optional<int> branch_row(const Stage& stage)
{
    const std::vector<std::wstring> names = support::column(stage.control(IDC_BRANCHES_LIST), 0);
    const auto found = std::find(names.begin(), names.end(), win32::to_wide(OTHER_BRANCH));
    return found != names.end() ? std::optional(static_cast<int>(found - names.begin()))
                                : std::nullopt;
}

// Searches by way of the filter dialog; the time at which that is answered.
Clock::time_point search_messages(const Stage& stage)
{
    Clock::time_point answered{};
    // The dialog keeps the thread in its own loop.
    const support::WindowWatch answer(is_filter_dialog, [&answered](HWND dialog) {
        SetDlgItemTextW(dialog, IDC_FILTER_TEXT, SEARCHED_TEXT);
        CheckRadioButton(dialog, IDC_FILTER_MESSAGE, IDC_FILTER_TAG, IDC_FILTER_MESSAGE);
        answered = Clock::now();
        SendMessageW(dialog, WM_COMMAND, IDOK, 0);
    });
    support::choose(support::window_with(IDC_COMMIT_LIST), IDC_FILTER);
    stage.watch.observe_from(Clock::now(), [&] { return answer.has_acted(); });
    return answered;
}

int count_lines(const std::string& text)
{
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

Run history(const Stage& stage, const wchar_t* repository, const std::string& name,
            double count_goal)
{
    Table& table = stage.table;
    Row& opened = table.add("first page, window opened, " + name, "git log -200", 0.25);
    Row& drawn = table.add("the same until it is drawn, " + name, "git log -200", std::nullopt);
    Row& first =
        table.add("first page, another branch in the open window, " + name, "git log -200", 0.25);
    Row& count = table.add("full count, another branch in the open window, " + name,
                           "git rev-list --count", count_goal);
    Row& last = table.add("scrolling to the last row, " + name, "git log", 1.0);
    Row& filter = table.add("message filter, first row and all, " + name,
                            "git log --pretty=%H --grep=TEXT, its answer read", 1.05);
    Row& filter_drawn = table.add("the same until it is drawn, " + name,
                                  "git log --pretty=%H --grep=TEXT, its answer read", std::nullopt);
    const std::filesystem::path folder = stage.repository(repository);
    refresh_index(folder);
    const int commits = count_commits(folder, "HEAD");
    const int others = count_commits(folder, OTHER_BRANCH);
    const std::wstring other = win32::to_wide(
        support::run_git(folder, {"rev-parse", OTHER_BRANCH}).output.substr(0, ID_DIGITS));
    const int found = count_lines(
        support::run_git(folder, {"log", "--pretty=%H", "--grep=Mend the rare case"}).output);
    if (commits <= FIRST_ROWS || others <= FIRST_ROWS || others == commits || found == 0)
        throw std::runtime_error("the history is not as it was made");
    return [stage, &opened, &drawn, &first, &count, &last, &filter, &filter_drawn, folder, commits,
            others, other, found] {
        stage.activate(folder);
        stage.watch.settle();
        const Clock::time_point clicked = Clock::now();
        opened.revlane.push_back(
            stage.watch.observe([&] { support::click(stage.driver.panel(), IDC_SHOW_HISTORY); },
                                [] { return commit_rows() >= FIRST_ROWS; }));
        drawn.revlane.push_back(stage.watch.observe_from(
            clicked, [] { return IsWindowVisible(commit_list()) && shows_rows(); }));
        stage.watch.observe_from(Clock::now(), [&] { return commit_rows() == commits; });
        stage.watch.settle();
        last.revlane.push_back(stage.watch.observe(
            [] { PostMessageW(commit_list(), WM_KEYDOWN, VK_END, 0); }, shows_last_row));

        // Both in the same state of the machine, and after a rest: git is faster by some milliseconds right
        // after what the other rows have it do for seconds, and its console ends after it.
        for (int i = 0; i < SEARCHES_IN_A_RUN; ++i) {
            const Clock::time_point answered = search_messages(stage);
            // Found once: looking for the window keeps Wine's server from answering git.
            const HWND list = commit_list();
            filter.revlane.push_back(stage.watch.observe_from(
                answered, [&] { return ListView_GetItemCount(list) == found; }));
            filter_drawn.revlane.push_back(stage.watch.observe_from(answered, shows_rows));
            support::choose(support::window_with(IDC_COMMIT_LIST), IDC_CLEAR_FILTER);
            stage.watch.observe_from(Clock::now(), [&] { return commit_rows() == commits; });
            stage.watch.settle();
            // Revlane's answer is what git prints as well.
            std::string answer;
            filter.git.push_back(time_git(folder, SEARCH, answer));
            filter_drawn.git.push_back(filter.git.back());
            if (count_lines(answer) != found)
                throw std::runtime_error("git has found something else");
            stage.watch.settle();
        }

        stage.watch.observe_from(Clock::now(), [&] { return branch_row(stage).has_value(); });
        support::select_only(stage.control(IDC_BRANCHES_LIST), {*branch_row(stage)});
        const Clock::time_point chosen = Clock::now();
        first.revlane.push_back(stage.watch.observe(
            [&] { support::choose(stage.control(IDC_BRANCHES_LIST), ID_SHOW_BRANCH); },
            [&] { return support::cell(commit_list(), 0, ID_COLUMN) == other && shows_rows(); }));
        count.revlane.push_back(
            stage.watch.observe_from(chosen, [&] { return commit_rows() == others; }));
        SendMessageW(support::window_with(IDC_COMMIT_LIST), WM_CLOSE, 0, 0);
        stage.rest();

        const Milliseconds page = time_git(folder, L"log -200");
        opened.git.push_back(page);
        drawn.git.push_back(page);
        first.git.push_back(page);
        count.git.push_back(time_git(folder, L"rev-list --count HEAD"));
        last.git.push_back(time_git(folder, L"log"));
    };
}

}  // namespace bench
