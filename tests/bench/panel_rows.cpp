#include "changes/messages.h"
#include "editor/resources/ids.h"
#include "resources/ids.h"
#include "tests/bench/peer.h"
#include "tests/bench/rows.h"
#include "tests/support/temp_repository.h"

#include <commctrl.h>

#include <map>
#include <memory>
#include <stdexcept>

namespace bench {

namespace {

// Of the repositories as they are made.
constexpr int SMALL_CHANGES = 3;
constexpr int SMALL_STAGED = 2;
constexpr int CHANGES = 700;
constexpr int STAGED = 300;
constexpr int BRANCHES = 5000;
constexpr int STAGED_AT_ONCE = 10000;

void copy_index(const std::filesystem::path& from, const std::filesystem::path& to)
{
    if (!CopyFileW(from.c_str(), to.c_str(), FALSE))
        throw std::runtime_error("an index cannot be copied");
}

// Two states of one index: as another system has written it, with what Windows does not know of a
// file, and after git for Windows has looked at every file.
class Indexes {
public:
    explicit Indexes(const std::filesystem::path& repository)
        : index_(repository / L".git/index"), stale_(repository / L".git/index.stale"),
          fresh_(repository / L".git/index.fresh")
    {
        if (!std::filesystem::exists(stale_))
            copy_index(index_, stale_);
        copy_index(stale_, index_);
        refresh_index(repository);
        copy_index(index_, fresh_);
    }
    void make_stale() const { copy_index(stale_, index_); }
    void make_fresh() const { copy_index(fresh_, index_); }

private:
    std::filesystem::path index_;
    std::filesystem::path stale_;
    std::filesystem::path fresh_;
};

// Notes when each list view has been filled: its drawing is turned on again. It lies beneath every
// subclass, as the window procedure of the class: a subclass of its own would slow down each row that
// is inserted.
class FillTimes {
public:
    // For the list views that are made from now on, until the process ends.
    static void begin()
    {
        const HWND list = CreateWindowExW(0, WC_LISTVIEWW, L"", 0, 0, 0, 0, 0, nullptr, nullptr,
                                          nullptr, nullptr);
        original_ = reinterpret_cast<WNDPROC>(
            SetClassLongPtrW(list, GCLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure)));
        DestroyWindow(list);
    }
    static Clock::time_point end(HWND list) { return ends_[list]; }

private:
    static LRESULT CALLBACK procedure(HWND list, UINT message, WPARAM wparam, LPARAM lparam)
    {
        if (message == WM_SETREDRAW && wparam != FALSE)
            ends_[list] = Clock::now();
        return CallWindowProcW(original_, list, message, wparam, lparam);
    }

    static inline WNDPROC original_ = nullptr;
    static inline std::map<HWND, Clock::time_point> ends_;
};

}  // namespace

void watch_list_views()
{
    FillTimes::begin();
}

void Stage::activate(const std::filesystem::path& repository) const
{
    if (!driver.open(repository / L".git/document.txt"))
        throw std::runtime_error("a document cannot be opened");
}

void Stage::rest() const
{
    watch.settle();
    activate(repository(L"small"));
    watch.observe_from(Clock::now(), [this] { return rows(IDC_CHANGES_LIST) == SMALL_CHANGES; });
    watch.settle();
}

int Stage::rows(int list) const
{
    return ListView_GetItemCount(control(list));
}

Run panel_opening(const Stage& stage)
{
    Row& row = stage.table.add("panel opened until filled, small repository", "git status", 1.0);
    const auto close = [stage] {
        if (stage.driver.panel() != nullptr)
            stage.driver.press_close_button();
    };
    const std::filesystem::path small = stage.repository(L"small");
    const Indexes indexes(small);
    return [stage, &row, close, small] {
        stage.activate(small);
        stage.watch.settle();
        close();
        row.git.push_back(time_git(small, L"status"));
        row.revlane.push_back(stage.watch.observe(
            [&] { support::choose(stage.driver.window(), QUORREL_PLUGIN_COMMAND); },
            [&] {
                return stage.driver.panel() != nullptr &&
                       stage.rows(IDC_CHANGES_LIST) == SMALL_CHANGES &&
                       stage.rows(IDC_STAGED_LIST) == SMALL_STAGED;
            }));
    };
}

Run changed_files(const Stage& stage)
{
    Row& changes =
        stage.table.add("unstaged list, 50,000 files", "git status --porcelain -uall", 0.8);
    Row& staged = stage.table.add("staged list", "git diff --cached --name-status", 0.5);
    staged.may_stop = true;
    const std::filesystem::path files = stage.repository(L"files");
    const auto indexes = std::make_shared<Indexes>(files);
    return [stage, &changes, &staged, files, indexes] {
        indexes->make_fresh();
        Observation observed =
            stage.watch.observe([&] { stage.activate(files); },
                                [&] {
                                    return stage.rows(IDC_CHANGES_LIST) == CHANGES &&
                                           stage.rows(IDC_STAGED_LIST) == STAGED;
                                });
        // Both lists are filled while one message is handled, the staged list after the other.
        const Milliseconds staging = FillTimes::end(stage.control(IDC_STAGED_LIST)) -
                                     FillTimes::end(stage.control(IDC_CHANGES_LIST));
        Observation of_staged{staging, staging, observed.memory};
        staged.revlane.push_back(of_staged);
        observed.time -= staging;
        observed.longest_stop -= staging;
        changes.revlane.push_back(observed);
        stage.rest();
        changes.git.push_back(time_git(files, L"status --porcelain -uall"));
        staged.git.push_back(time_git(files, L"diff --cached --name-status"));
        std::size_t found = 0;
        stage.table.walks().push_back(time_walk(files, found));
    };
}

Run stale_index(const Stage& stage)
{
    Row& row = stage.table.add("the same on a stale index", "git status --porcelain -uall", 1.5);
    row.may_stop = true;
    const std::filesystem::path files = stage.repository(L"files");
    const auto indexes = std::make_shared<Indexes>(files);
    return [stage, &row, files, indexes] {
        indexes->make_stale();
        row.revlane.push_back(
            stage.watch.observe([&] { stage.activate(files); },
                                [&] { return stage.rows(IDC_CHANGES_LIST) == CHANGES; }));
        stage.rest();
        indexes->make_stale();
        row.git.push_back(time_git(files, L"status --porcelain -uall"));
        indexes->make_fresh();
    };
}

Run ahead_and_behind(const Stage& stage, const wchar_t* repository, const std::string& name)
{
    Row& row = stage.table.add("ahead and behind, " + name,
                               "git rev-list --left-right --count HEAD...@{u}", 0.6);
    const std::filesystem::path folder = stage.repository(repository);
    refresh_index(folder);
    return [stage, &row, folder] {
        stage.activate(folder);
        const auto is_counted = [&] {
            return support::control_text(stage.driver.panel(), IDC_PULL).find(L"(10)") !=
                   std::wstring::npos;
        };
        stage.watch.observe_from(Clock::now(), is_counted);
        stage.watch.settle();
        row.revlane.push_back(stage.watch.observe_message(
            [&] { PostMessageW(stage.driver.panel(), revlane::WM_REVLANE_TASK_DONE, 0, 0); },
            revlane::WM_REVLANE_PANEL_STATE));
        row.git.push_back(time_git(folder, L"rev-list --left-right --count HEAD...@{u}"));
        stage.rest();
    };
}

Run branches(const Stage& stage)
{
    Row& row = stage.table.add("branches, 5,000 of them", "git branch --all", std::nullopt);
    row.may_stop = true;
    const std::filesystem::path folder = stage.repository(L"branches");
    return [stage, &row, folder] {
        row.revlane.push_back(
            stage.watch.observe([&] { stage.activate(folder); },
                                [&] { return stage.rows(IDC_BRANCHES_LIST) == BRANCHES; }));
        stage.rest();
        row.git.push_back(time_git(folder, L"branch --all"));
    };
}

Run staging(const Stage& stage)
{
    Row& row = stage.table.add("staging 10,000 new files", "git add --all", std::nullopt);
    row.may_stop = true;
    const std::filesystem::path folder = stage.repository(L"staging");
    const auto undo = [folder] {
        time_git(folder, L"reset -q");
        time_git(folder, L"prune --expire=now");
    };
    undo();
    return [stage, &row, folder, undo] {
        stage.activate(folder);
        stage.watch.observe_from(Clock::now(),
                                 [&] { return stage.rows(IDC_CHANGES_LIST) == STAGED_AT_ONCE; });
        stage.watch.settle();
        ListView_SetItemState(stage.control(IDC_CHANGES_LIST), -1, LVIS_SELECTED, LVIS_SELECTED);
        row.revlane.push_back(
            stage.watch.observe([&] { support::choose(stage.driver.panel(), ID_STAGE); },
                                [&] { return stage.rows(IDC_STAGED_LIST) == STAGED_AT_ONCE; }));
        stage.rest();
        undo();
        row.git.push_back(time_git(folder, L"add --all"));
        undo();
    };
}

}  // namespace bench
