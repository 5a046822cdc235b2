#include "resources/ids.h"
#include "tests/bench/peer.h"
#include "tests/bench/rows.h"
#include "tests/support/list_view.h"
#include "tests/support/temp_repository.h"
#include "tests/support/window_watch.h"

#include <commctrl.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace bench {

namespace {

// The list shows at once with so many rows.
constexpr int FIRST_ROWS = 200;
constexpr wchar_t SEARCHED_TEXT[] = L"Mend the rare case";
constexpr wchar_t SEARCH[] = L"log --pretty=%H --grep=\"Mend the rare case\" HEAD";

HWND commit_list()
{
    return GetDlgItem(support::window_with(IDC_COMMIT_LIST), IDC_COMMIT_LIST);
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

int count_lines(const std::string& text)
{
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

Run history(const Stage& stage, const wchar_t* repository, const std::string& name,
            double count_goal)
{
    Table& table = stage.table;
    Row& first = table.add("first page of history, " + name, "git log -200", 0.25);
    Row& count = table.add("full count, " + name, "git rev-list --count HEAD", count_goal);
    Row& last = table.add("scrolling to the last row, " + name, "git log", 1.0);
    Row& filter = table.add("message filter, first row and all, " + name,
                            "git log --pretty=%H --grep=TEXT", 1.05);
    const std::filesystem::path folder = stage.repository(repository);
    const int commits =
        std::atoi(support::run_git(folder, {"rev-list", "--count", "HEAD"}).output.c_str());
    const int found = count_lines(
        support::run_git(folder, {"log", "--pretty=%H", "--grep=Mend the rare case"}).output);
    if (commits <= FIRST_ROWS || found == 0)
        throw std::runtime_error("the history is not as it was made");
    return [stage, &first, &count, &last, &filter, folder, commits, found] {
        stage.activate(folder);
        stage.watch.settle();
        const Clock::time_point opened = Clock::now();
        first.revlane.push_back(
            stage.watch.observe([&] { support::click(stage.driver.panel(), IDC_SHOW_HISTORY); },
                                [] { return commit_rows() >= FIRST_ROWS && shows_rows(); }));
        count.revlane.push_back(
            stage.watch.observe_from(opened, [&] { return commit_rows() == commits; }));
        last.revlane.push_back(stage.watch.observe(
            [] { PostMessageW(commit_list(), WM_KEYDOWN, VK_END, 0); }, shows_last_row));

        Clock::time_point answered{};
        {
            // The dialog keeps the thread in its own loop.
            const support::WindowWatch answer(is_filter_dialog, [&answered](HWND dialog) {
                SetDlgItemTextW(dialog, IDC_FILTER_TEXT, SEARCHED_TEXT);
                CheckRadioButton(dialog, IDC_FILTER_MESSAGE, IDC_FILTER_TAG, IDC_FILTER_MESSAGE);
                answered = Clock::now();
                SendMessageW(dialog, WM_COMMAND, IDOK, 0);
            });
            support::choose(support::window_with(IDC_COMMIT_LIST), IDC_FILTER);
            stage.watch.observe_from(Clock::now(), [&] { return answer.has_acted(); });
        }
        filter.revlane.push_back(stage.watch.observe_from(
            answered, [&] { return commit_rows() == found && shows_rows(); }));
        SendMessageW(support::window_with(IDC_COMMIT_LIST), WM_CLOSE, 0, 0);
        stage.rest();

        first.git.push_back(time_git(folder, L"log -200"));
        count.git.push_back(time_git(folder, L"rev-list --count HEAD"));
        last.git.push_back(time_git(folder, L"log"));
        filter.git.push_back(time_git(folder, SEARCH));
    };
}

}  // namespace bench
