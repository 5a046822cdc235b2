#include "resources/ids.h"
#include "tests/bench/peer.h"
#include "tests/bench/rows.h"
#include "tests/support/temp_repository.h"

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace bench {

namespace {

// The list shows at once with so many rows.
constexpr int FIRST_ROWS = 200;
constexpr wchar_t SEARCHED_TEXT[] = L"Mend the rare case";
constexpr wchar_t SEARCH[] = L"log --pretty=%H --grep=\"Mend the rare case\" HEAD";

// The window of this thread that has a control with this number.
HWND find_window(int control)
{
    struct Search {
        int control;
        HWND found;
    } search{control, nullptr};
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM parameter) -> BOOL {
            auto& searched = *reinterpret_cast<Search*>(parameter);
            if (GetDlgItem(window, searched.control) == nullptr)
                return TRUE;
            searched.found = window;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

HWND commit_list()
{
    return GetDlgItem(find_window(IDC_COMMIT_LIST), IDC_COMMIT_LIST);
}

int commit_rows()
{
    const HWND list = commit_list();
    return list != nullptr ? ListView_GetItemCount(list) : 0;
}

bool has_text(HWND list, int row)
{
    std::array<wchar_t, MAX_PATH> text{};
    LVITEMW item{};
    item.pszText = text.data();
    item.cchTextMax = static_cast<int>(text.size());
    SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
    return item.pszText[0] != L'\0';
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

// Fills the filter's dialog in once it is there, while that keeps the thread in its own loop, and
// notes when it is left.
class FilterAnswer {
public:
    FilterAnswer()
    {
        constexpr UINT INTERVAL_MILLISECONDS = 10;
        active = this;
        timer_ = SetTimer(nullptr, 0, INTERVAL_MILLISECONDS, look);
    }
    ~FilterAnswer()
    {
        KillTimer(nullptr, timer_);
        active = nullptr;
    }
    FilterAnswer(const FilterAnswer&) = delete;
    FilterAnswer& operator=(const FilterAnswer&) = delete;

    [[nodiscard]] const std::optional<Clock::time_point>& time() const { return time_; }

private:
    static void CALLBACK look(HWND, UINT, UINT_PTR, DWORD)
    {
        const HWND dialog = find_window(IDC_FILTER_TEXT);
        if (dialog == nullptr || active == nullptr || active->time_)
            return;
        SetDlgItemTextW(dialog, IDC_FILTER_TEXT, SEARCHED_TEXT);
        CheckRadioButton(dialog, IDC_FILTER_MESSAGE, IDC_FILTER_TAG, IDC_FILTER_MESSAGE);
        active->time_ = Clock::now();
        SendMessageW(dialog, WM_COMMAND, IDOK, 0);
    }

    static inline FilterAnswer* active = nullptr;

    UINT_PTR timer_;
    std::optional<Clock::time_point> time_;
};

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

        std::optional<FilterAnswer> answer(std::in_place);
        support::choose(find_window(IDC_COMMIT_LIST), IDC_FILTER);
        stage.watch.observe_from(Clock::now(), [&] { return answer->time().has_value(); });
        const Clock::time_point answered = *answer->time();
        // What it looks for would be found in every window from here on, time and again.
        answer.reset();
        filter.revlane.push_back(stage.watch.observe_from(
            answered, [&] { return commit_rows() == found && shows_rows(); }));
        SendMessageW(find_window(IDC_COMMIT_LIST), WM_CLOSE, 0, 0);
        stage.rest();

        first.git.push_back(time_git(folder, L"log -200"));
        count.git.push_back(time_git(folder, L"rev-list --count HEAD"));
        last.git.push_back(time_git(folder, L"log"));
        filter.git.push_back(time_git(folder, SEARCH));
    };
}

}  // namespace bench
