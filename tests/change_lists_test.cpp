// The change lists in a dialog with real list-view controls, on real repositories.
#include "changes/change_lists.h"

#include "changes/messages.h"
#include "git/git.h"
#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "tests/support/list_view.h"
#include "tests/support/localized_texts.h"
#include "tests/support/menu_reader.h"
#include "tests/support/owner_dialog.h"
#include "tests/support/pump.h"
#include "tests/support/temp_repository.h"
#include "tests/support/user_input.h"
#include "tests/support/window_watch.h"
#include "win32/handle.h"
#include "win32/posted.h"
#include "win32/text.h"
#include "win32/window.h"

#include <fmt/xchar.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace revlane {

namespace {

using git::ChangeStatus;
using git::FileChange;
using support::clipboard_text;
using support::ControlKey;
using support::select_only;
using support::set_state;
using Texts = std::vector<std::wstring>;

FileChange change(const std::wstring& path, ChangeStatus status = ChangeStatus::Modified)
{
    return {path, path, std::nullopt, std::nullopt, status};
}

std::vector<FileChange> numbered_changes(int count, int step = 1)
{
    std::vector<FileChange> changes;
    for (int i = 0; i < count; i += step)
        changes.push_back(change(fmt::format(L"folder/file {:05}.txt", i)));
    return changes;
}

LRESULT send(HWND list, UINT message, int wparam = 0, LPARAM lparam = 0)
{
    return SendMessageW(list, message, static_cast<WPARAM>(wparam), lparam);
}

Texts rows_of(HWND list)
{
    return support::column(list, 0);
}

std::wstring text_of(HWND list, int row)
{
    return support::cell(list, row, 0);
}

Texts selected_of(HWND list)
{
    Texts rows;
    for (const int row : support::rows_with(list, LVNI_SELECTED))
        rows.push_back(text_of(list, row));
    return rows;
}

// Sees the error boxes of this thread.
bool is_error_box(HWND window)
{
    return support::is_box(window) && win32::window_text(window) == L"Error";
}

// A dialog in the place of the panel, with one list.
class Owner {
public:
    Owner()
    {
        support::make_owner_dialog(*this);
        menu_reader_.emplace(dialog);
    }
    ~Owner()
    {
        if (dialog != nullptr)
            DestroyWindow(dialog);
    }
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;

    win32::Handled handle(const win32::Message& message)
    {
        if (changes_list != nullptr)
            if (const auto handled = changes_list->on_owner_message(message))
                return handled;
        switch (message.id) {
        case WM_INITDIALOG:
            dialog = message.window;
            list = support::add_list_view(dialog, 0, 0);
            return FALSE;
        case WM_COMMAND:
            commands.push_back(static_cast<UINT>(message.wparam));
            return 0;
        case WM_REVLANE_CHANGES:
            results.push_back(win32::take_owned<ChangesResult>(message.wparam));
            order += 'C';
            return 0;
        case WM_REVLANE_TASK_DONE:
            order += 'D';
            return 0;
        case WM_NCDESTROY:
            win32::drain_owned<ChangesResult>(dialog, WM_REVLANE_CHANGES);
            dialog = nullptr;
            return std::nullopt;
        default:
            return std::nullopt;
        }
    }

    // What the context menu shows when it is asked for at the cursor.
    support::ShownMenu context_menu()
    {
        return menu_reader_->read([this] {
            SendMessageW(dialog, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(list), MAKELPARAM(5, 5));
        });
    }
    // And where it is when it is asked for by a key.
    RECT keyboard_menu_place()
    {
        return menu_reader_
            ->read(
                [this] { SendMessageW(list, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(list), -1); })
            .place;
    }

    HWND dialog = nullptr;
    HWND list = nullptr;
    ChangesListBase* changes_list = nullptr;
    std::vector<UINT> commands;
    std::vector<std::unique_ptr<ChangesResult>> results;
    std::string order;

private:
    std::optional<support::MenuReader> menu_reader_;
};

// A list of either kind in its dialog.
template <typename List>
struct Bound {
    template <typename... Arguments>
    explicit Bound(Arguments&... arguments) : changes(arguments...)
    {
        if (owner.list == nullptr)
            throw std::runtime_error("no list can be made: is there a screen?");
        changes.attach(owner.dialog, owner.list, L"No changes");
        changes.begin();
        owner.changes_list = &changes;
    }
    ~Bound() { owner.changes_list = nullptr; }
    Bound(const Bound&) = delete;
    Bound& operator=(const Bound&) = delete;

    Owner owner;
    List changes;
};

class ChangeLists : public testing::Test {
protected:
    support::LocalizedTexts texts_;
};

// Rows that a test sets itself.
class ListRows : public ChangeLists {
protected:
    [[nodiscard]] HWND list() const { return bound_.owner.list; }

    Bound<StagedList> bound_;
    StagedList& changes_ = bound_.changes;
};

// A diff of them takes a while.
constexpr const char* MANY_FOLDERS =
    "i=0; while [ $i -lt 300 ]; do mkdir d$i; echo text >d$i/f; i=$((i+1)); done";

git::Repository open(const support::TempRepository& files)
{
    return *git::open_repository(files.path());
}

}  // namespace

// Rows may arrive before the editor has given the panel its size.
TEST_F(ChangeLists, ThatAreFilledBeforeTheyBeginFitTheirControl)
{
    Owner owner;
    StagedList changes;
    changes.attach(owner.dialog, owner.list, L"No changes");
    changes.set_changes({change(L"a"), change(L"b")});
    SetWindowPos(owner.list, nullptr, 0, 0, 321, 210, SWP_NOMOVE | SWP_NOZORDER);
    changes.begin();
    RECT client{};
    GetClientRect(owner.list, &client);
    EXPECT_EQ(ListView_GetColumnWidth(owner.list, 0), client.right);
    EXPECT_EQ(rows_of(owner.list), (Texts{L"a", L"b"}));
    // The scroll bar takes its part of the width.
    changes.set_changes(std::vector(500, change(L"row")));
    EXPECT_NE(GetWindowLongPtrW(owner.list, GWL_STYLE) & WS_VSCROLL, 0);
    GetClientRect(owner.list, &client);
    EXPECT_EQ(ListView_GetColumnWidth(owner.list, 0), client.right);
}

TEST_F(ListRows, ShowThePathAndTheStatus)
{
    FileChange renamed{L"alt.txt", L"neu ä.txt", std::nullopt, std::nullopt, ChangeStatus::Renamed};
    changes_.set_changes({change(L"a/modified.txt"), change(L"added", ChangeStatus::Added),
                          change(L"untracked", ChangeStatus::Untracked),
                          change(L"deleted", ChangeStatus::Deleted), renamed,
                          change(L"both", ChangeStatus::Conflicted)});
    const auto labelled = [](const std::wstring& path, UINT id) {
        const std::wstring label = host::load_text(id);
        EXPECT_FALSE(label.empty());
        return path + L" (" + label + L")";
    };
    EXPECT_EQ(rows_of(list()), (Texts{L"a/modified.txt", labelled(L"added", 113),
                                      labelled(L"untracked", 113), labelled(L"deleted", 114),
                                      labelled(L"neu ä.txt", 115), labelled(L"both", 116)}));

    // A fault of ours is thrown before anything changes.
    EXPECT_THROW(changes_.set_changes({change(L"x"), change(L"y", static_cast<ChangeStatus>(6))}),
                 std::runtime_error);
    EXPECT_EQ(rows_of(list()).size(), 6u);
    EXPECT_EQ(changes_.changes().size(), 6u);
}

TEST_F(ListRows, TheControlIsFilledInOneGo)
{
    changes_.set_changes(numbered_changes(2));
    std::vector<UINT> messages;
    const win32::Subclass recorder(
        list(),
        [&](const win32::Message& message) -> win32::Handled {
            const bool fills = message.id == WM_SETREDRAW || message.id == LVM_DELETEALLITEMS ||
                               message.id == LVM_SETITEMCOUNT || message.id == LVM_INSERTITEMW;
            if (fills)
                messages.push_back(message.id);
            return std::nullopt;
        },
        1);
    changes_.set_changes(numbered_changes(3));
    EXPECT_EQ(messages,
              (std::vector<UINT>{WM_SETREDRAW, LVM_DELETEALLITEMS, LVM_SETITEMCOUNT,
                                 LVM_INSERTITEMW, LVM_INSERTITEMW, LVM_INSERTITEMW, WM_SETREDRAW}));

    // Rows that look the same are left alone: nothing is sent, nothing is painted anew.
    messages.clear();
    UpdateWindow(list());
    std::vector<FileChange> same = numbered_changes(3);
    same[1].new_id = git_oid{};
    changes_.update_changes(same);
    EXPECT_TRUE(messages.empty());
    EXPECT_FALSE(GetUpdateRect(list(), nullptr, FALSE));
    EXPECT_TRUE(changes_.changes()[1].new_id.has_value());
}

TEST_F(ListRows, SelectionFocusAndTopRowSurviveAnUpdate)
{
    changes_.set_changes(numbered_changes(1000));
    select_only(list(), {500, 503, 506, 900});
    set_state(list(), 503, LVIS_FOCUSED, LVIS_FOCUSED);
    send(list(), LVM_ENSUREVISIBLE, 999);
    send(list(), LVM_ENSUREVISIBLE, 498);
    ASSERT_EQ(send(list(), LVM_GETTOPINDEX), 498);
    const std::wstring top = text_of(list(), 498);
    const std::wstring focused = text_of(list(), 503);

    std::vector<FileChange> changes = numbered_changes(1000);
    changes.erase(changes.begin() + 506);
    changes.erase(changes.begin() + 10, changes.begin() + 20);
    changes.insert(changes.begin(), change(L"a new file", ChangeStatus::Untracked));
    changes_.update_changes(changes);
    const auto focus_text = [this] {
        const auto row = send(list(), LVM_GETNEXTITEM, -1, LVNI_FOCUSED);
        return row >= 0 ? text_of(list(), static_cast<int>(row)) : L"none";
    };
    const auto top_text = [this] {
        return text_of(list(), static_cast<int>(send(list(), LVM_GETTOPINDEX)));
    };
    EXPECT_EQ(selected_of(list()), (Texts{L"folder/file 00500.txt", L"folder/file 00503.txt",
                                          L"folder/file 00900.txt"}));
    EXPECT_EQ(focus_text(), focused);
    EXPECT_EQ(top_text(), top);

    // When the focused and the top row are gone, the next ones that are left stand in for them.
    changes_.update_changes(numbered_changes(1000, 10));
    EXPECT_EQ(selected_of(list()), (Texts{L"folder/file 00500.txt", L"folder/file 00900.txt"}));
    EXPECT_EQ(focus_text(), L"folder/file 00510.txt");
    EXPECT_EQ(top_text(), L"folder/file 00500.txt");

    // Shorter than before, and then empty.
    changes_.update_changes(numbered_changes(20));
    EXPECT_TRUE(selected_of(list()).size() <= 1);
    EXPECT_EQ(rows_of(list()).size(), 20u);
    changes_.update_changes({});
    EXPECT_TRUE(rows_of(list()).empty());
    changes_.update_changes(numbered_changes(5));
    EXPECT_EQ(rows_of(list()).size(), 5u);
}

TEST_F(ListRows, TenThousandRowsAreQuick)
{
    using Clock = std::chrono::steady_clock;
    const auto expect_quick = [](const char* what, Clock::time_point start) {
        const auto took =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
        RecordProperty(what, static_cast<int>(took.count()));
        EXPECT_LT(took, support::stop_limit) << what;
    };
    std::vector<FileChange> changes = numbered_changes(10'000);
    for (FileChange& one : changes)
        one.status = ChangeStatus::Untracked;

    auto start = Clock::now();
    changes_.set_changes(changes);
    expect_quick("fill_ms", start);
    start = Clock::now();
    changes_.select_all();
    expect_quick("select_all_ms", start);
    changes.pop_back();
    start = Clock::now();
    changes_.update_changes(changes);
    expect_quick("update_ms", start);
    EXPECT_EQ(changes_.selected().size(), 9'999u);
}

TEST_F(ListRows, CopyingPutsEachPathAndALineFeedOnTheClipboard)
{
    changes_.set_changes({change(L"a/ä.txt", ChangeStatus::Added), change(L"b"), change(L"c"),
                          change(L"d e \U0001F600.txt", ChangeStatus::Deleted)});
    select_only(list(), {3, 0, 2});
    const ControlKey control;
    SendMessageW(list(), WM_KEYDOWN, 'C', 0);
    EXPECT_EQ(clipboard_text(), L"a/ä.txt\nc\nd e \U0001F600.txt\n");

    select_only(list(), {});
    changes_.copy_selected();
    EXPECT_EQ(clipboard_text(), L"a/ä.txt\nc\nd e \U0001F600.txt\n") << "nothing selected";

    SendMessageW(list(), WM_KEYDOWN, 'A', 0);
    EXPECT_EQ(changes_.selected().size(), 4u);
    EXPECT_EQ(changes_.selected()[3]->new_path, L"d e \U0001F600.txt");
}

TEST_F(ListRows, ADoubleClickAndReturnSendTheDefaultCommand)
{
    changes_.set_changes(numbered_changes(2));
    Owner& owner = bound_.owner;
    MSG key{list(), WM_KEYDOWN, VK_RETURN, 0, 0, {}};
    SetFocus(list());
    EXPECT_TRUE(IsDialogMessageW(owner.dialog, &key));
    EXPECT_TRUE(owner.commands.empty()) << "no row is selected";

    select_only(list(), {1});
    EXPECT_TRUE(IsDialogMessageW(owner.dialog, &key));
    EXPECT_EQ(owner.commands, (std::vector<UINT>{40111}));

    SendMessageW(list(), WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(10, 5));
    EXPECT_EQ(owner.commands, (std::vector<UINT>{40111, 40111}));
    // Below the last row.
    SendMessageW(list(), WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(10, 150));
    EXPECT_EQ(owner.commands.size(), 2u);
    // Escape stays the dialog's.
    MSG escape{list(), WM_KEYDOWN, VK_ESCAPE, 0, 0, {}};
    EXPECT_EQ(SendMessageW(list(), WM_GETDLGCODE, VK_ESCAPE, reinterpret_cast<LPARAM>(&escape)) &
                  DLGC_WANTMESSAGE,
              0);
}

TEST_F(ListRows, TheColumnIsAsWideAsTheControl)
{
    const auto column_fits = [this] {
        RECT client{};
        GetClientRect(list(), &client);
        const bool scrolls = (GetWindowLongPtrW(list(), GWL_STYLE) & WS_HSCROLL) != 0;
        return send(list(), LVM_GETCOLUMNWIDTH, 0) == client.right && !scrolls;
    };
    // Moved before there is a row, and so a column.
    MoveWindow(list(), 0, 0, 240, 120, TRUE);
    changes_.set_changes(numbered_changes(1));
    EXPECT_TRUE(column_fits());
    MoveWindow(list(), 0, 0, 180, 120, TRUE);
    EXPECT_TRUE(column_fits());
    // The vertical scroll bar takes a part of the width, and gives it back.
    changes_.set_changes(numbered_changes(100));
    support::pump_waiting();
    EXPECT_TRUE(GetWindowLongPtrW(list(), GWL_STYLE) & WS_VSCROLL);
    EXPECT_TRUE(column_fits());
    changes_.set_changes(numbered_changes(1));
    support::pump_waiting();
    EXPECT_TRUE(column_fits());
}

TEST_F(ChangeLists, MenusFollowTheSelection)
{
    const support::TempRepository files;
    files.write_file("tracked", "1");
    files.write_file("second", "1");
    files.commit_all("first");
    const support::TempRepository library = files.clone("library");
    files.script("git submodule --quiet add ../library 'libs/ä sub'\ncommit submodule");
    files.write_file("tracked", "22");
    files.write_file("second", "22");
    files.script("cd 'libs/ä sub'\ncommit more --allow-empty");
    const git::Repository repository = open(files);

    win32::WorkPool pool;
    Bound<ChangesList> unstaged(pool);
    EXPECT_TRUE(unstaged.owner.context_menu().commands.empty()) << "no repository is open";
    unstaged.changes.set_repository(&repository);
    unstaged.changes.refresh();
    ASSERT_TRUE(support::pump_until([&] { return unstaged.owner.order == "CD"; }));
    unstaged.changes.set_changes(**unstaged.owner.results[0]);
    ASSERT_EQ(rows_of(unstaged.owner.list), (Texts{L"libs/ä sub", L"second", L"tracked"}));

    using Ids = std::set<UINT>;
    struct Case {
        std::vector<int> rows;
        Ids disabled;
        Ids staged_disabled;
    };
    const std::vector<Case> cases{
        {{},
         {40101, 40110, 40112, 40058, 40060, 40098, 41101},
         {40103, 40111, 40113, 40057, 40100, 41102}},
        {{0}, {40060}, {}},
        {{1}, {40098}, {40100}},
        {{1, 2}, {40098, 41101}, {40100, 41102}},
        {{0, 2}, {40060, 40098, 41101}, {40100, 41102}},
    };
    files.git({"add", "-A"});
    Bound<StagedList> staged;
    EXPECT_TRUE(staged.owner.context_menu().commands.empty()) << "no repository is open";
    staged.changes.set_repository(&repository);
    staged.changes.refresh();
    ASSERT_EQ(rows_of(staged.owner.list), (Texts{L"libs/ä sub", L"second", L"tracked"}));

    for (const Case& one : cases) {
        SCOPED_TRACE(testing::PrintToString(one.rows));
        select_only(unstaged.owner.list, one.rows);
        const support::ShownMenu menu = unstaged.owner.context_menu();
        EXPECT_EQ(menu.disabled, one.disabled);
        EXPECT_EQ(Ids(menu.commands.begin(), menu.commands.end()),
                  (Ids{40110, 40112, 40058, 40060, 40098, 40101, 40102, 41101}));
        EXPECT_EQ(menu.default_command, 40110u);

        select_only(staged.owner.list, one.rows);
        const support::ShownMenu staged_menu = staged.owner.context_menu();
        EXPECT_EQ(staged_menu.disabled, one.staged_disabled);
        EXPECT_EQ(Ids(staged_menu.commands.begin(), staged_menu.commands.end()),
                  (Ids{40111, 40113, 40057, 40100, 40103, 40104, 41102}));
        EXPECT_EQ(staged_menu.default_command, 40111u);
    }
}

TEST_F(ChangeLists, TheKeyboardsMenuIsAtTheSelectedRow)
{
    const support::TempRepository files;
    const git::Repository repository = open(files);
    Bound<StagedList> staged;
    staged.changes.set_repository(&repository);
    staged.changes.set_changes(numbered_changes(100));
    const HWND list = staged.owner.list;
    const auto menu_top = [&] {
        const RECT place = staged.owner.keyboard_menu_place();
        EXPECT_GT(place.bottom, place.top) << "no menu";
        POINT position{0, place.top};
        ScreenToClient(list, &position);
        return position.y;
    };
    select_only(list, {3});
    RECT row{LVIR_BOUNDS, 0, 0, 0};
    send(list, LVM_GETITEMRECT, 3, reinterpret_cast<LPARAM>(&row));
    // The menu's border may begin a little above.
    EXPECT_NEAR(menu_top(), row.bottom, 4);
    // A row that is out of sight: at the edge of the list.
    select_only(list, {90});
    RECT client{};
    GetClientRect(list, &client);
    EXPECT_LE(menu_top(), client.bottom + 4);
}

TEST_F(ChangeLists, RowsAgreeWithGitStatus)
{
    const support::TempRepository files;
    const git::Repository repository = open(files);
    win32::WorkPool pool;
    Bound<ChangesList> unstaged(pool);
    Bound<StagedList> staged;
    unstaged.changes.set_repository(&repository);
    staged.changes.set_repository(&repository);
    const auto refresh = [&] {
        unstaged.owner.order.clear();
        unstaged.owner.results.clear();
        unstaged.changes.refresh();
        ASSERT_TRUE(support::pump_until([&] { return unstaged.owner.order == "CD"; }));
        ASSERT_TRUE(unstaged.owner.results[0]->has_value());
        unstaged.changes.update_changes(**unstaged.owner.results[0]);
        staged.changes.refresh();
    };

    files.write_file("neu ä.txt", "text");
    files.script("git add -A");
    refresh();
    EXPECT_EQ(rows_of(staged.owner.list),
              Texts{row_text(change(L"neu ä.txt", ChangeStatus::Added))})
        << "before the first commit";
    EXPECT_TRUE(rows_of(unstaged.owner.list).empty());

    for (const char* file : {"a", "b", "c/d", "e"})
        files.write_file(file, file);
    files.commit_all("first");
    refresh();
    EXPECT_TRUE(rows_of(staged.owner.list).empty());

    files.write_file("a", "staged");
    files.script("git add a\ngit rm --quiet b");
    files.write_file("a", "and changed again");
    files.remove("e");
    files.write_file("neuer ordner/tief/ö.txt", "untracked");
    refresh();
    Texts expected_staged;
    Texts expected_unstaged;
    const auto row = [](char letter, const std::string& path) {
        const ChangeStatus status = letter == 'D'   ? ChangeStatus::Deleted
                                    : letter == 'A' ? ChangeStatus::Added
                                    : letter == '?' ? ChangeStatus::Untracked
                                                    : ChangeStatus::Modified;
        return row_text(change(win32::to_wide(path), status));
    };
    for (const support::StatusEntry& entry : files.status()) {
        if (entry.index != ' ' && entry.index != '?')
            expected_staged.push_back(row(entry.index, entry.path));
        if (entry.worktree != ' ')
            expected_unstaged.push_back(row(entry.worktree, entry.path));
    }
    EXPECT_EQ(expected_staged.size(), 2u);
    EXPECT_EQ(expected_unstaged.size(), 3u);
    EXPECT_EQ(rows_of(staged.owner.list), expected_staged);
    EXPECT_EQ(rows_of(unstaged.owner.list), expected_unstaged);

    unstaged.changes.set_repository(nullptr);
    staged.changes.set_repository(nullptr);
    EXPECT_TRUE(rows_of(staged.owner.list).empty());
    EXPECT_TRUE(rows_of(unstaged.owner.list).empty());
}

TEST_F(ChangeLists, AStagedErrorIsShownOnceUntilARefreshSucceeds)
{
    const support::TempRepository files;
    files.write_file("staged", "text");
    files.script("git add -A");
    const git::Repository repository = open(files);
    Bound<StagedList> staged;
    staged.changes.set_repository(&repository);
    staged.changes.refresh();
    ASSERT_EQ(rows_of(staged.owner.list).size(), 1u);

    const std::string head = files.read_file(".git/HEAD");
    int closed = 0;
    const support::WindowWatch boxes(
        is_error_box,
        [&closed](HWND box) {
            ++closed;
            support::press_button(box, IDCLOSE);
        },
        support::Windows::All);
    for (const int expected : {1, 2}) {
        files.write_file(".git/HEAD", "neither a reference nor an id");
        staged.changes.refresh();
        staged.changes.refresh();
        EXPECT_EQ(closed, expected);
        EXPECT_EQ(rows_of(staged.owner.list).size(), 1u) << "the rows stay";
        files.write_file(".git/HEAD", head);
        staged.changes.refresh();
    }
}

TEST_F(ChangeLists, RefreshesThatWaitAreMerged)
{
    const support::TempRepository files;
    const git::Repository repository = open(files);
    win32::WorkPool pool;
    Bound<ChangesList> unstaged(pool);
    unstaged.changes.set_repository(&repository);
    // No semaphore: that of mingw-w64's runtime (12.2) now and then sleeps through its release.
    std::promise<void> go;
    pool.detach_task([&go] { go.get_future().wait(); });
    for (int i = 0; i < 5; ++i)
        unstaged.changes.refresh();
    EXPECT_TRUE(unstaged.changes.is_busy());
    go.set_value();
    EXPECT_TRUE(support::pump_until([&] { return !unstaged.changes.is_busy(); }));
    support::pump_waiting();
    EXPECT_EQ(unstaged.owner.order, "CD");
}

TEST_F(ChangeLists, NoLateAnswerForAFormerRepository)
{
    const support::TempRepository first;
    first.write_file("of the first", "text");
    const support::TempRepository second;
    second.write_file("of the second", "text");
    const git::Repository first_repository = open(first);
    const git::Repository second_repository = open(second);
    win32::WorkPool pool;
    Bound<ChangesList> unstaged(pool);

    // Its answer waits in the queue when the repository changes.
    unstaged.changes.set_repository(&first_repository);
    unstaged.changes.refresh();
    pool.wait();
    unstaged.changes.set_repository(&second_repository);
    unstaged.changes.refresh();
    ASSERT_TRUE(support::pump_until([&] { return unstaged.owner.order.ends_with("CD"); }));
    EXPECT_EQ(unstaged.owner.order, "DCD");
    EXPECT_EQ((**unstaged.owner.results[0])[0].new_path, L"of the second");

    // It runs already.
    first.script(MANY_FOLDERS);
    unstaged.changes.set_repository(&first_repository);
    unstaged.changes.refresh();
    while (pool.get_tasks_queued() > 0)
        std::this_thread::yield();
    unstaged.changes.set_repository(&second_repository);
    pool.wait();
    support::pump_waiting();
    EXPECT_EQ(unstaged.owner.results.size(), 1u);

    // It has not started yet.
    unstaged.owner.order.clear();
    std::promise<void> go;
    pool.detach_task([&go] { go.get_future().wait(); });
    unstaged.changes.refresh();
    unstaged.changes.set_repository(nullptr);
    unstaged.changes.refresh();
    go.set_value();
    pool.wait();
    support::pump_waiting();
    EXPECT_EQ(unstaged.owner.order, "");
    EXPECT_FALSE(unstaged.changes.is_busy());

    // The repository has gone from the disk: the rows stay as they were.
    unstaged.changes.set_repository(&second_repository);
    unstaged.changes.set_changes(numbered_changes(2));
    std::filesystem::rename(second.path() / ".git", second.path() / "git");
    unstaged.changes.refresh();
    EXPECT_FALSE(unstaged.changes.is_busy());
    EXPECT_EQ(rows_of(unstaged.owner.list).size(), 2u);
    std::filesystem::rename(second.path() / "git", second.path() / ".git");
}

TEST_F(ChangeLists, GoWithWorkInFlight)
{
    const support::TempRepository files;
    files.script(MANY_FOLDERS);
    const git::Repository repository = open(files);
    win32::WorkPool pool;
    for (int i = 0; i < 10; ++i) {
        auto unstaged = std::make_unique<Bound<ChangesList>>(pool);
        unstaged->changes.set_repository(&repository);
        unstaged->changes.refresh();
        // Begins after each other amount of work, on the whole.
        std::this_thread::sleep_for(std::chrono::milliseconds(i));
        unstaged->changes.refresh();
        if (i % 2 == 0)
            DestroyWindow(unstaged->owner.dialog);
        unstaged.reset();
    }
    pool.wait();
}

TEST_F(ListRows, OutliveTheirControl)
{
    changes_.set_changes(numbered_changes(3));
    select_only(list(), {1});
    EXPECT_EQ(changes_.selected().size(), 1u);
    DestroyWindow(bound_.owner.dialog);
    EXPECT_TRUE(changes_.selected().empty());
    changes_.select_all();
    changes_.update_changes(numbered_changes(5));
    EXPECT_EQ(changes_.changes().size(), 5u);
}

TEST_F(ListRows, AnEmptyListSaysSo)
{
    const auto grey_pixels = [this] {
        UpdateWindow(list());
        RECT client{};
        GetClientRect(list(), &client);
        const win32::WindowDc dc(list());
        int count = 0;
        for (int y = client.bottom / 2 - 10; y < client.bottom / 2 + 10; ++y)
            for (int x = 0; x < client.right; ++x)
                count += GetPixel(dc.get(), x, y) != GetSysColor(COLOR_WINDOW) ? 1 : 0;
        return count;
    };
    EXPECT_EQ(grey_pixels(), 0) << "before the first answer";
    changes_.update_changes({});
    EXPECT_GT(grey_pixels(), 20);
    MoveWindow(list(), 0, 0, 250, 100, TRUE);
    EXPECT_GT(grey_pixels(), 20);
    changes_.set_changes({change(L"row")});
    EXPECT_EQ(grey_pixels(), 0);
    changes_.set_repository(nullptr);
    EXPECT_EQ(grey_pixels(), 0) << "without a repository";
}

}  // namespace revlane
