// The commit history window on real repositories, driven by messages and keys, read by messages, and
// compared with what git says.
#include "history/history_window.h"

#include "changes/get_dpi.h"
#include "changes/messages.h"
#include "changes/modeless_dialogs.h"
#include "git/objects.h"
#include "git/references.h"
#include "git/runner.h"
#include "plugin/host/messages.h"
#include "resources/ids.h"
#include "tests/support/lines.h"
#include "tests/support/list_view.h"
#include "tests/support/localized_texts.h"
#include "tests/support/menu_reader.h"
#include "tests/support/pump.h"
#include "tests/support/recorded_git.h"
#include "tests/support/recording_host.h"
#include "tests/support/temp_repository.h"
#include "tests/support/user_input.h"
#include "tests/support/window_watch.h"
#include "win32/handle.h"
#include "win32/posted.h"
#include "win32/text.h"
#include "win32/window.h"

#include <fmt/format.h>
#include <fmt/xchar.h>
#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace revlane {

namespace {

using support::cell;
using support::clipboard_text;
using support::ControlKey;
using support::FailingGit;
using support::InNextDialog;
using support::TempRepository;
using Texts = std::vector<std::wstring>;

LRESULT send(HWND window, UINT message, WPARAM wparam = 0, LPARAM lparam = 0)
{
    return SendMessageW(window, message, wparam, lparam);
}

Texts lines_of(const std::string& text)
{
    Texts lines;
    for (const std::string& line : support::lines_of(text))
        lines.push_back(win32::to_wide(line));
    return lines;
}

// A straight line of commits on a branch, "subject 1" first, as a stream for `git fast-import`.
std::string straight_line(int count, std::string_view branch = "main")
{
    std::string stream;
    for (int mark = 1; mark <= count; ++mark) {
        const std::string subject = fmt::format("subject {}", mark);
        stream += fmt::format("commit refs/heads/{}\nmark :{}\ncommitter Ann <a@example.com> {} "
                              "+0000\ndata {}\n{}\n",
                              branch, mark, 1600000000 + mark, subject.size(), subject);
        if (mark > 1)
            stream += fmt::format("from :{}\n", mark - 1);
    }
    return stream;
}

enum Kind : int { MESSAGE, AUTHOR, COMMIT_ID, TAG };

class History : public testing::Test {
protected:
    void TearDown() override
    {
        close_modeless_dialogs(host_.window());
        support::pump_waiting();
    }

    void open(std::optional<std::string> revision = std::nullopt)
    {
        window_ = open_history_window({host_.window(), repository_.path(), std::move(revision)});
        ASSERT_NE(window_, nullptr);
        list_ = control(IDC_COMMIT_LIST);
        // It is shown by the first message that it posts to itself. What follows is left to the test.
        MSG message{};
        while (!IsWindowVisible(window_) && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
    }
    [[nodiscard]] HWND control(int id) const { return GetDlgItem(window_, id); }
    [[nodiscard]] std::wstring text(int id) const { return win32::window_text(control(id)); }
    [[nodiscard]] bool is_shown(int id) const { return IsWindowVisible(control(id)) != FALSE; }
    [[nodiscard]] int count() const { return static_cast<int>(send(list_, LVM_GETITEMCOUNT)); }
    [[nodiscard]] Texts ids() const
    {
        Texts found;
        for (int row = 0; row < count(); ++row)
            found.push_back(cell(list_, row, 3));
        return found;
    }
    [[nodiscard]] std::vector<int> selected() const
    {
        return support::rows_with(list_, LVNI_SELECTED);
    }
    [[nodiscard]] bool is_on_view(int row) const
    {
        const int top = ListView_GetTopIndex(list_);
        return row >= top && row < top + ListView_GetCountPerPage(list_);
    }
    // As by clicks: the rows one after the other, and nothing else.
    void select(const std::vector<int>& rows)
    {
        support::select_only(list_, rows);
        pump();
    }

    // As the editor does it: the plug-in is asked about each key first.
    static void dispatch(MSG& message)
    {
        if (!translate_modeless_message(message))
            support::dispatch_plainly(message);
    }
    static void pump() { support::pump_waiting(dispatch); }
    static bool wait(const std::function<bool()>& condition)
    {
        return support::pump_until(condition, support::pump_deadline, dispatch);
    }
    bool wait_state(const std::wstring& state)
    {
        const bool arrived = wait([&] { return text(IDC_HISTORY_STATE) == state; });
        EXPECT_EQ(text(IDC_HISTORY_STATE), state);
        return arrived;
    }
    static void press(WPARAM key)
    {
        PostMessageW(GetFocus(), WM_KEYDOWN, key, 1);
        pump();
    }
    // What the next dialog box says, which is closed. The action leads to no other box.
    std::wstring box_after(const std::function<void()>& action)
    {
        std::wstring said;
        const InNextDialog box([&said](HWND dialog) {
            said = support::texts_of(dialog);
            send(dialog, TDM_CLICK_BUTTON, IDCLOSE);
        });
        action();
        EXPECT_TRUE(wait([&] { return !said.empty(); }));
        return said;
    }
    // Asks for a filter in dialog 140 and does not wait for what comes of it.
    void ask_filter(Kind kind, const std::wstring& wanted)
    {
        const InNextDialog question([&](HWND dialog) {
            SetDlgItemTextW(dialog, 1045, wanted.c_str());
            CheckRadioButton(dialog, 1046, 1049, 1046 + kind);
            PostMessageW(dialog, WM_COMMAND, IDOK, 0);
        });
        send(window_, WM_COMMAND, IDC_FILTER);
    }
    void filter(Kind kind, const std::wstring& wanted)
    {
        ask_filter(kind, wanted);
        const std::wstring in_state = L": " + wanted;
        EXPECT_TRUE(wait([&] { return text(IDC_HISTORY_STATE).ends_with(in_state); }));
        pump();
    }
    // As by a click on it in the drop-down.
    void pick_branch(const wchar_t* name)
    {
        const HWND combo = control(IDC_HISTORY_BRANCH);
        send(combo, CB_SETCURSEL,
             static_cast<WPARAM>(
                 send(combo, CB_FINDSTRINGEXACT, 0, reinterpret_cast<LPARAM>(name))));
        for (const int code : {CBN_SELENDOK, CBN_CLOSEUP})
            send(window_, WM_COMMAND, MAKEWPARAM(IDC_HISTORY_BRANCH, code));
    }
    template <typename T>
    void post(UINT message, T payload)
    {
        win32::post_owned(window_, message, std::make_unique<T>(std::move(payload)));
        pump();
    }
    [[nodiscard]] git_oid oid(std::string_view revision) const
    {
        git_oid id{};
        EXPECT_EQ(git_oid_fromstr(&id, repository_.id_of(revision).c_str()), 0);
        return id;
    }
    // Numbers of the requests that were sent through the editor; payloads are freed.
    std::vector<std::uint64_t> take_requests()
    {
        std::vector<std::uint64_t> requests;
        const auto received = host_.received(host::QM_PLUGIN_MESSAGE);
        for (; requests_seen_ < received.size(); ++requests_seen_) {
            const support::HostMessage& message = received[requests_seen_];
            requests.push_back(message.at<std::uint64_t>(16));
            if (requests.back() == WM_REVLANE_COMMAND_RESULT)
                last_command_ = win32::take_owned<git::CommandResult>(
                    static_cast<WPARAM>(message.at<std::uint64_t>(24)));
        }
        return requests;
    }

    const support::LocalizedTexts texts_;
    support::RecordingHost host_;
    TempRepository repository_;
    HWND window_ = nullptr;
    HWND list_ = nullptr;
    std::unique_ptr<git::CommandResult> last_command_;

private:
    std::size_t requests_seen_ = 0;
};

}  // namespace

// ---- What it shows ---------------------------------------------------------------------------------

TEST_F(History, ShowsTheFirstPageAtOnceAndKeepsTheSelectionWhenTheCountArrives)
{
    repository_.fast_import(straight_line(5000));
    open();
    EXPECT_EQ(GetFocus(), list_);
    EXPECT_EQ(count(), 200);
    EXPECT_EQ(text(IDC_HISTORY_STATE), L"200+ commits, counting…");
    EXPECT_EQ(selected(), std::vector<int>{0});
    ListView_SetItemState(list_, -1, 0, LVIS_SELECTED);
    for (const int row : {3, 150})
        ListView_SetItemState(list_, row, LVIS_SELECTED, LVIS_SELECTED);
    ListView_EnsureVisible(list_, 150, FALSE);
    const int top = ListView_GetTopIndex(list_);
    EXPECT_TRUE(wait_state(L"5000 commits"));
    EXPECT_EQ(count(), 5000);
    EXPECT_EQ(selected(), (std::vector<int>{3, 150}));
    EXPECT_EQ(ListView_GetTopIndex(list_), top);
    EXPECT_EQ(cell(list_, 4999, 0), L"subject 1");
    EXPECT_EQ(cell(list_, 4999, 3), win32::to_wide(repository_.id_of("main~4999")).substr(0, 40));

    const std::wstring folder = repository_.path().filename().wstring();
    EXPECT_EQ(win32::window_text(window_), folder + L" - Commit history");
    EXPECT_EQ(text(IDC_HISTORY_TITLE), repository_.path().wstring() + L" - main");
}

TEST_F(History, ColumnsFitTheWindow)
{
    repository_.fast_import(straight_line(3));
    open();
    EXPECT_EQ(text(IDC_HISTORY_STATE), L"3 commits") << "a short history is counted at once";
    const int dpi = get_dpi(list_);
    const auto width = [this](int column) { return ListView_GetColumnWidth(list_, column); };
    const auto text_width = [this](const wchar_t* text) {
        return static_cast<int>(
            send(list_, LVM_GETSTRINGWIDTHW, 0, reinterpret_cast<LPARAM>(text)));
    };
    for (const int window_width : {1100, 300}) {
        SetWindowPos(window_, nullptr, 0, 0, window_width * dpi / 96, 600 * dpi / 96,
                     SWP_NOMOVE | SWP_NOZORDER);
        EXPECT_EQ(width(1), 110 * dpi / 96);
        EXPECT_EQ(width(2), 15 * dpi / 96 + text_width(L"00/00/00 00:00:00 AM"));
        EXPECT_EQ(width(3), 15 * dpi / 96 + text_width(L"0000000"));
        RECT list{};
        GetWindowRect(list_, &list);
        const int rest = list.right - list.left - 2 * GetSystemMetrics(SM_CXEDGE) -
                         GetSystemMetrics(SM_CXVSCROLL) - width(1) - width(2) - width(3);
        EXPECT_EQ(width(0), std::max(rest, 250 * dpi / 96));
    }
    EXPECT_EQ(width(0), 250 * dpi / 96) << "the window can be narrower than its columns";
}

TEST_F(History, ShowsTheDetailsOfTheOneSelectedCommit)
{
    repository_.script("mkdir dir; echo 1 >dir/deep.txt; echo 1 >ä.txt; git add -A\n"
                       "commit 'Grüße \"世界\"' -m 'second paragraph'\n"
                       "git tag v1; git branch other; echo 2 >ä.txt; git add -A; commit two\n");
    open();
    select({1});
    const auto commit = git::lookup_commit(repository_.open().get(), oid("other"));
    const std::wstring expected = L"Grüße \"世界\"\n\nsecond paragraph\n\r\n" + ids()[1] + L"\r\n" +
                                  cell(list_, 1, 1) + L"\r\n" + cell(list_, 1, 2) +
                                  L"\r\nReferences: other v1";
    EXPECT_TRUE(wait([&] { return text(IDC_COMMIT_DETAILS) == expected; }))
        << "the references follow from the background";
    const HWND tree = control(IDC_FILES_TREE);
    EXPECT_EQ(TreeView_GetCount(tree), 2);
    EXPECT_TRUE(IsWindowEnabled(control(IDC_COMPARE_WITH_PARENT)));
    TreeView_Expand(tree, TreeView_GetRoot(tree), TVE_EXPAND);
    EXPECT_EQ(TreeView_GetCount(tree), 3);

    // What is open in the tree stays open when references change, and the text tells of them.
    repository_.script("git tag v2 other");
    PostMessageW(window_, WM_REVLANE_RELOAD_REFERENCES, 0, 0);
    EXPECT_TRUE(wait([&] { return text(IDC_COMMIT_DETAILS) == expected + L" v2"; }));
    EXPECT_EQ(TreeView_GetCount(tree), 3);

    // A second one by Ctrl+click.
    ListView_SetItemState(list_, 0, LVIS_SELECTED, LVIS_SELECTED);
    pump();
    EXPECT_EQ(text(IDC_COMMIT_DETAILS), L"");
    EXPECT_EQ(TreeView_GetCount(tree), 0);
    EXPECT_FALSE(IsWindowEnabled(control(IDC_COMPARE_WITH_PARENT)));

    // And back to one of them.
    ListView_SetItemState(list_, 0, 0, LVIS_SELECTED);
    pump();
    EXPECT_EQ(text(IDC_COMMIT_DETAILS), expected + L" v2");
    EXPECT_EQ(TreeView_GetCount(tree), 2);
}

// Details wait for a number of commits that has come, and must not come to stand after later ones.
TEST_F(History, ShowsTheDetailsThatWereAskedForLast)
{
    repository_.fast_import(straight_line(300));
    open();
    ASSERT_TRUE(wait_state(L"300 commits"));
    pump();
    const auto ask_for = [this](const char* revision) {
        win32::post_owned(window_, WM_REVLANE_SELECTION,
                          std::make_unique<Selection>(Selection{oid(revision), true}));
    };
    for (const bool has_later : {false, true}) {
        ask_for("main~1");
        win32::post_owned(list_, WM_REVLANE_COUNT, std::make_unique<CountResult>(300U));
        if (has_later)
            ask_for("main~2");
        const wchar_t* const wanted = has_later ? L"subject 298" : L"subject 299";
        EXPECT_TRUE(wait([&] { return text(IDC_COMMIT_DETAILS).starts_with(wanted); })) << wanted;
    }
}

TEST_F(History, AnUnbornBranchIsANormalState)
{
    open();
    EXPECT_EQ(text(IDC_HISTORY_EMPTY), L"The branch main has no commits yet.");
    EXPECT_TRUE(is_shown(IDC_HISTORY_EMPTY));
    EXPECT_FALSE(is_shown(IDC_COMMIT_LIST));
    send(window_, WM_COMMAND, IDC_FILTER);
    repository_.fast_import(straight_line(2));
    PostMessageW(window_, WM_REVLANE_RELOAD_REFERENCES, 0, 0);
    EXPECT_TRUE(wait_state(L"2 commits"));
    EXPECT_FALSE(is_shown(IDC_HISTORY_EMPTY));
    EXPECT_TRUE(is_shown(IDC_COMMIT_LIST));
}

// It must not look like a branch without a commit.
TEST_F(History, ABranchThatCannotBeReadIsAFailure)
{
    repository_.fast_import(straight_line(2));
    repository_.write_file(".git/refs/heads/main", "no id\n");
    open();
    EXPECT_TRUE(is_shown(IDC_HISTORY_EMPTY));
    EXPECT_EQ(text(IDC_HISTORY_EMPTY), L"corrupted loose reference file: refs/heads/main");
    repository_.write_file(".git/HEAD", "neither\n");
    PostMessageW(window_, WM_REVLANE_RELOAD_REFERENCES, 0, 0);
    pump();
    EXPECT_EQ(text(IDC_HISTORY_EMPTY), L"corrupted loose reference file: HEAD");
    EXPECT_EQ(text(IDC_HISTORY_TITLE), repository_.path().wstring());
}

// ---- Filters ---------------------------------------------------------------------------------------

TEST_F(History, EachFilterFindsWhatTheCommandLineFinds)
{
    repository_.script(R"(
git config i18n.commitEncoding UTF-8
for subject in 'plain' 'say "hello" twice' 'C:\new\table' 'a.b*c' 'a+b (c) [d] {e} $f ^g' \
    'Grüße aus Köln' '世界 😀' "it's 100% done" '-- --all' 'UPPER lower'; do
    commit "$subject" --allow-empty
done
for author in 'Jürgen "Jo" Groß' "O'Neil \\ Söhne" 'A.N. Other'; do
    commit "by someone" --allow-empty --author "$author <x@example.com>"
done
git tag v1.0 HEAD~3; git tag -m annotated v1.1 HEAD~2; git tag größe HEAD~1
git tag tree 'HEAD^{tree}'; git branch aside HEAD~5; git tag 'a[b' HEAD~4 2>/dev/null || :
)");
    open();
    const auto by_git = [&](const std::string& option) {
        return lines_of(repository_.git({"log", "--pretty=%H", option, "refs/heads/main"}));
    };
    struct Case {
        Kind kind;
        const wchar_t* text;
        std::size_t least;  // so that the case says something
    };
    for (const Case& test :
         {Case{MESSAGE, L"plain", 1}, Case{MESSAGE, L"\"hello\"", 1},
          Case{MESSAGE, L"C:\\\\new", 1}, Case{MESSAGE, L"a.b", 2}, Case{MESSAGE, L"a\\.b\\*c", 1},
          Case{MESSAGE, L"[d] {e}", 0}, Case{MESSAGE, L"\\[d\\] {e} $f ^g", 1},
          Case{MESSAGE, L"^Grüße.*ln$", 1}, Case{MESSAGE, L"世界", 1}, Case{MESSAGE, L"😀", 1},
          Case{MESSAGE, L"it's 100%", 1}, Case{MESSAGE, L"-- --all", 1}, Case{MESSAGE, L"upper", 0},
          Case{MESSAGE, L" ", 5}, Case{AUTHOR, L"Jürgen \"Jo\"", 1},
          Case{AUTHOR, L"O'Neil \\\\ S", 1}, Case{AUTHOR, L"A.N.", 1},
          Case{AUTHOR, L"x@example.com", 3}, Case{AUTHOR, L"nobody", 0}}) {
        SCOPED_TRACE(win32::to_utf8(test.text));
        const Texts expected =
            by_git((test.kind == MESSAGE ? "--grep=" : "--author=") + win32::to_utf8(test.text));
        EXPECT_GE(expected.size(), test.least);
        filter(test.kind, test.text);
        EXPECT_EQ(ids(), expected);
        EXPECT_TRUE(is_shown(IDC_CLEAR_FILTER));
        EXPECT_EQ(text(IDC_HISTORY_STATE).starts_with(L"Nothing found"), expected.empty());
        // With nothing found no commit is selected, and no details are left.
        EXPECT_EQ(text(IDC_COMMIT_DETAILS).empty(), expected.empty());
    }
    for (const wchar_t* tag : {L"v1", L"1.", L"ö", L"v?.1", L"none", L"tree"}) {
        SCOPED_TRACE(win32::to_utf8(tag));
        Texts expected;
        for (const std::wstring& name : lines_of(
                 repository_.git({"tag", "-l", win32::to_utf8(L"*" + std::wstring(tag) + L"*")})))
            if (name != L"tree")
                expected.push_back(
                    win32::to_wide(repository_.id_of(win32::to_utf8(name) + "^{commit}")));
        filter(TAG, tag);
        EXPECT_EQ(ids(), expected);
    }

    // The kind outlives clearing; an empty text is no filter.
    send(window_, WM_COMMAND, IDC_CLEAR_FILTER);
    EXPECT_TRUE(wait_state(L"13 commits"));
    EXPECT_FALSE(is_shown(IDC_CLEAR_FILTER));
    EXPECT_EQ(GetFocus(), list_);
    {
        const InNextDialog question([](HWND dialog) {
            EXPECT_EQ(win32::window_text(GetDlgItem(dialog, 1045)), L"");
            EXPECT_EQ(IsDlgButtonChecked(dialog, 1049), static_cast<UINT>(BST_CHECKED));
            SetDlgItemTextW(dialog, 1045, L"not to be searched for");
            PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        });
        send(window_, WM_COMMAND, IDC_FILTER);
    }
    ask_filter(MESSAGE, L"");
    pump();
    EXPECT_EQ(text(IDC_HISTORY_STATE), L"13 commits");
}

TEST_F(History, TheIdFilterTakesPrefixes)
{
    repository_.fast_import(straight_line(2000));
    open();
    const Texts all = lines_of(repository_.git({"log", "--pretty=%H"}));
    std::map<std::wstring, std::size_t> shared;
    for (const std::wstring& id : all)
        ++shared[id.substr(0, 4)];
    const auto twice = std::find_if(shared.begin(), shared.end(),
                                    [](const auto& prefix) { return prefix.second > 1; });
    ASSERT_NE(twice, shared.end());
    std::wstring upper = all[7].substr(0, 12);
    std::transform(upper.begin(), upper.end(), upper.begin(), towupper);
    const Texts none;
    const std::vector<std::pair<std::wstring, Texts>> cases{
        {all[5], {all[5]}},
        {all[6].substr(0, 12), {all[6]}},
        {upper, {all[7]}},
        {twice->first, none},
        {all[8].substr(0, 3), none},
        {L"subject", none},
        {all[9] + L"0", none},
        {win32::to_wide(repository_.id_of("HEAD^{tree}")), none},
        {L"é", none},
    };
    for (const auto& [wanted, expected] : cases) {
        SCOPED_TRACE(win32::to_utf8(wanted));
        filter(COMMIT_ID, wanted);
        EXPECT_EQ(ids(), expected);
    }
}

TEST_F(History, ASearchThatFailsLeavesTheListAndSaysWhy)
{
    repository_.fast_import(straight_line(12));
    open();
    filter(MESSAGE, L"subject 1");
    const std::wstring state = text(IDC_HISTORY_STATE);
    EXPECT_EQ(state, L"4 commits found - message: subject 1");
    const auto fail = [this] {
        const FailingGit failing(1, L"before");
        ask_filter(AUTHOR, L"x");
        EXPECT_FALSE(box_after([] {}).empty());
    };
    fail();
    EXPECT_EQ(count(), 4);
    EXPECT_TRUE(wait_state(state)) << "what is in force is what is named";

    // A refresh goes on with what is in force, be it no filter at all.
    const auto commit = [this](const char* message) {
        repository_.script("git reset -q; git commit -q --allow-empty -m '" + std::string(message) +
                           "'");
        PostMessageW(window_, WM_REVLANE_RELOAD_REFERENCES, 0, 0);
    };
    commit("subject 13");
    EXPECT_TRUE(wait_state(L"5 commits found - message: subject 1"));
    send(window_, WM_COMMAND, IDC_CLEAR_FILTER);
    fail();
    commit("subject 14");
    EXPECT_TRUE(wait_state(L"14 commits"));
    EXPECT_FALSE(is_shown(IDC_CLEAR_FILTER));
}

TEST_F(History, ASearchCanBeClearedWhileItRuns)
{
    repository_.fast_import(straight_line(300));
    open();
    ASSERT_TRUE(wait_state(L"300 commits"));
    {
        const wchar_t* name = L"revlane-test-search";
        const win32::KernelHandle reached(CreateEventW(nullptr, TRUE, FALSE, name));
        const support::ScopedVariable event(L"REVLANE_FAIL_EVENT", name);
        const FailingGit failing(1, L"hang");
        ask_filter(MESSAGE, L"subject 7");
        pump();
        EXPECT_EQ(text(IDC_HISTORY_STATE), L"Searching…");
        EXPECT_EQ(count(), 300);
        EXPECT_EQ(send(list_, WM_SETCURSOR, reinterpret_cast<WPARAM>(list_), HTCLIENT), 1);
        EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, IDC_APPSTARTING));
        ASSERT_EQ(WaitForSingleObject(reached.get(), 20'000), WAIT_OBJECT_0);
        send(window_, WM_COMMAND, IDC_CLEAR_FILTER);
        EXPECT_TRUE(wait_state(L"300 commits"));
    }
    // The next search does not wait behind the one that hung. Its answer, posted but not taken yet
    // when the filter is cleared, never shows.
    ask_filter(AUTHOR, L"nobody");
    MSG waiting{};
    ASSERT_TRUE(support::pump_until(
        [&] {
            return PeekMessageW(&waiting, list_, WM_REVLANE_FILTERED, WM_REVLANE_FILTERED,
                                PM_NOREMOVE) != FALSE;
        },
        support::pump_deadline,
        [&](MSG& message) {
            if (message.message != WM_REVLANE_FILTERED)
                dispatch(message);
            else
                PostMessageW(message.hwnd, message.message, message.wParam, message.lParam);
        }));
    send(window_, WM_COMMAND, IDC_CLEAR_FILTER);
    EXPECT_TRUE(wait_state(L"300 commits"));
    pump();
    EXPECT_EQ(count(), 300);
}

TEST_F(History, ClosesWhileACountAndASearchRun)
{
    repository_.fast_import(straight_line(20000));
    const wchar_t* name = L"revlane-test-close";
    const win32::KernelHandle reached(CreateEventW(nullptr, TRUE, FALSE, name));
    const support::ScopedVariable event(L"REVLANE_FAIL_EVENT", name);
    const FailingGit failing(1, L"hang");
    open();
    ask_filter(MESSAGE, L"subject");
    ASSERT_EQ(WaitForSingleObject(reached.get(), 20'000), WAIT_OBJECT_0);
    send(window_, WM_COMMAND, IDC_CLEAR_FILTER);
    ask_filter(AUTHOR, L"Ann");
    send(window_, WM_COMMAND, IDC_CLEAR_FILTER);
    EXPECT_EQ(count(), 200) << "the count runs";
    const auto begin = std::chrono::steady_clock::now();
    DestroyWindow(window_);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, support::stop_limit);
    EXPECT_FALSE(IsWindow(window_));
    pump();
}

TEST_F(History, EndsASwitchBeforeItself)
{
    repository_.write_file("a.txt", "one\n");
    repository_.commit_all("first");
    repository_.script("git branch other; git branch third");
    repository_.write_file("a.txt", "two\n");
    open();
    pick_branch(L"other");
    PostMessageW(window_, WM_CLOSE, 0, 0);
    pump();
    EXPECT_TRUE(IsWindow(window_));
    EXPECT_FALSE(IsWindowVisible(window_));
    // Asked for again, it stays.
    PostMessageW(window_, WM_REVLANE_COME_TO_FRONT, 0, 0);
    ASSERT_TRUE(wait([&] { return text(IDC_HISTORY_TITLE).ends_with(L" - other"); }));
    EXPECT_TRUE(IsWindowVisible(window_));
    EXPECT_TRUE(wait([&] { return repository_.read_file("a.txt") == "two\n"; }));

    pick_branch(L"third");
    PostMessageW(window_, WM_COMMAND, IDCANCEL, 0);
    EXPECT_TRUE(wait([&] { return !IsWindow(window_); }));
    EXPECT_EQ(repository_.git({"symbolic-ref", "HEAD"}), "refs/heads/third\n");
    EXPECT_EQ(repository_.read_file("a.txt"), "two\n");
    EXPECT_EQ(repository_.git({"stash", "list"}), "");
    take_requests();
    ASSERT_TRUE(last_command_);
    EXPECT_TRUE(last_command_->command.starts_with(L"stash drop"));
}

// ---- Commands --------------------------------------------------------------------------------------

TEST_F(History, MenusFitTheSelection)
{
    repository_.script("mkdir dir; echo 1 >dir/a; echo 1 >b; git add -A; commit one\n"
                       "commit two --allow-empty; commit three --allow-empty\n");
    open();
    pump();
    const std::set<UINT> every{40011, 40014, 40028, 40030, 40047, 40088, 40090};
    support::MenuReader menus(list_);
    const std::vector<std::pair<std::vector<int>, std::set<UINT>>> cases{
        {{}, {40047}},
        {{1}, {40011, 40014, 40028, 40047, 40088, 40090}},
        {{0, 2}, {40014, 40028, 40030, 40047}},
        {{0, 1, 2}, {40014, 40028, 40047}},
    };
    for (const auto& [rows, enabled] : cases) {
        SCOPED_TRACE(rows.size());
        select(rows);
        for (const bool by_mouse : {false, true}) {
            const support::ShownMenu menu = menus.read([&] {
                NMITEMACTIVATE click{};
                click.hdr = {list_, IDC_COMMIT_LIST, static_cast<UINT>(NM_RCLICK)};
                if (by_mouse)
                    send(window_, WM_NOTIFY, IDC_COMMIT_LIST, reinterpret_cast<LPARAM>(&click));
                else
                    send(list_, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(list_), -1);
            });
            EXPECT_EQ(menu.enabled, enabled);
            EXPECT_EQ(std::set<UINT>(menu.commands.begin(), menu.commands.end()), every);
            EXPECT_EQ(menu.default_command, 40011U);
        }
    }

    select({2});
    const HWND tree = control(IDC_FILES_TREE);
    support::MenuReader tree_menus(window_);
    const auto tree_menu = [&](HTREEITEM item) {
        TreeView_SelectItem(tree, item);
        return tree_menus.read([&] {
            const NMHDR header{tree, IDC_FILES_TREE, static_cast<UINT>(NM_RCLICK)};
            send(window_, WM_NOTIFY, IDC_FILES_TREE, reinterpret_cast<LPARAM>(&header));
        });
    };
    SetCursorPos(0, 0);
    EXPECT_EQ(tree_menu(nullptr).enabled, std::set<UINT>());
    auto* const folder = TreeView_GetRoot(tree);
    EXPECT_EQ(tree_menu(folder).enabled, std::set<UINT>{ID_COMPARE_TREE_FILE});
    const support::ShownMenu on_file = tree_menu(TreeView_GetNextSibling(tree, folder));
    EXPECT_EQ(on_file.enabled, (std::set<UINT>{ID_COMPARE_TREE_FILE, ID_TREE_FILE_HISTORY}));
    EXPECT_EQ(on_file.default_command, static_cast<UINT>(ID_COMPARE_TREE_FILE));
    EXPECT_EQ(
        tree_menus.read([&] { send(tree, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(tree), -1); })
            .enabled,
        on_file.enabled);
}

TEST_F(History, CopiesRowsAndIds)
{
    repository_.script(
        "commit 'tab\tand \"quotes\"' --allow-empty; commit 'Grüße 世界' --allow-empty");
    open();
    const auto row = [this](int index) {
        return fmt::format(L"{}\t{}\t{}\t{}\r\n", cell(list_, index, 0), cell(list_, index, 1),
                           cell(list_, index, 2), cell(list_, index, 3));
    };
    const auto status = [this] { return host_.received(host::QM_STATUS_TEXT).back(); };
    EXPECT_EQ(cell(list_, 0, 0), L"Grüße 世界");
    select({1});
    {
        const ControlKey control;
        press('C');
    }
    EXPECT_EQ(clipboard_text(), row(1));
    EXPECT_EQ(status().texts, Texts{L"Copied the selected commits"});
    EXPECT_EQ(status().wparam, 0U);
    send(list_, WM_COMMAND, ID_COPY_COMMIT_IDS);
    EXPECT_EQ(clipboard_text(), ids()[1]);
    EXPECT_EQ(status().texts, Texts{L"Copied the ids of the selection"});
    select({1, 0});
    send(list_, WM_COMMAND, ID_COPY_COMMITS);
    EXPECT_EQ(clipboard_text(), row(0) + row(1));
    send(list_, WM_COMMAND, ID_COPY_COMMIT_IDS);
    EXPECT_EQ(clipboard_text(), ids()[0] + L"\r\n" + ids()[1] + L"\r\n");
}

TEST_F(History, ChecksOutAndBranchesOff)
{
    repository_.fast_import(straight_line(3));
    repository_.script("git reset -q --hard");
    open();
    const std::string second = repository_.id_of("main~1");
    select({1});
    send(list_, WM_COMMAND, ID_COMMIT_CHECKOUT);
    ASSERT_TRUE(wait_state(L"2 commits")) << "the list shows the detached HEAD";
    EXPECT_EQ(repository_.id_of("HEAD"), second);
    EXPECT_EQ(text(IDC_HISTORY_TITLE),
              repository_.path().wstring() + L" - " + win32::to_wide(second.substr(0, 7)));
    pump();
    // The result first, which refreshes by itself, then the refresh after the success.
    const auto requests = take_requests();
    EXPECT_EQ(std::set<std::uint64_t>(requests.begin(), requests.end()),
              (std::set<std::uint64_t>{WM_REVLANE_COMMAND_RESULT, WM_REVLANE_EXTERNAL_REFRESH}));
    ASSERT_TRUE(last_command_);
    EXPECT_TRUE(last_command_->ok);

    select({1});
    {
        const InNextDialog question([](HWND dialog) {
            SetDlgItemTextW(dialog, IDC_BRANCH_NAME, L"größe/neu");
            PostMessageW(dialog, WM_COMMAND, IDOK, 0);
        });
        send(list_, WM_COMMAND, ID_COMMIT_CREATE_BRANCH);
    }
    ASSERT_TRUE(wait_state(L"1 commit"));
    EXPECT_EQ(repository_.git({"symbolic-ref", "HEAD"}), "refs/heads/größe/neu\n");
    EXPECT_TRUE(text(IDC_HISTORY_TITLE).ends_with(L" - größe/neu"));
    pump();
    take_requests();

    // A name that exists is git's to refuse; nothing is checked out then.
    {
        const InNextDialog question([](HWND dialog) {
            SetDlgItemTextW(dialog, IDC_BRANCH_NAME, L"main");
            PostMessageW(dialog, WM_COMMAND, IDOK, 0);
        });
        send(list_, WM_COMMAND, ID_COMMIT_CREATE_BRANCH);
    }
    ASSERT_TRUE(wait([&] {
        take_requests();
        return last_command_ && !last_command_->ok;
    }));
    EXPECT_EQ(repository_.git({"symbolic-ref", "HEAD"}), "refs/heads/größe/neu\n");
}

TEST_F(History, AMenuIsAboutTheCommitThatItWasOpenedOn)
{
    repository_.fast_import(straight_line(8));
    repository_.script("git reset -q --hard; git branch short main~5");
    open();
    const std::string wanted = repository_.id_of("main~1");
    select({1});
    // Other rows take their place while the menu stands, and the first of them is selected.
    bool has_turned = false;
    const win32::Subclass menu(
        list_,
        [&](const win32::Message& message) -> win32::Handled {
            if (message.id != WM_ENTERIDLE || std::exchange(has_turned, true))
                return std::nullopt;
            win32::post_owned(window_, WM_REVLANE_SET_REVISION,
                              std::make_unique<std::string>("short"));
            EXPECT_TRUE(support::pump_until([&] { return count() == 3; }));
            // The access key of the check-out.
            PostMessageW(list_, WM_CHAR, L'c', 0);
            return std::nullopt;
        },
        7);
    send(list_, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(list_), -1);
    EXPECT_TRUE(has_turned);
    EXPECT_TRUE(wait([&] { return repository_.id_of("HEAD") == wanted; }));
}

TEST_F(History, ComparesFilesOneAfterTheOther)
{
    repository_.script("mkdir dir; echo 1 >dir/a; echo 1 >b; echo 1 >c; git add -A; commit one\n"
                       "echo 2 >dir/a; echo 2 >b; git add -A; git update-index --chmod=+x c\n"
                       "commit two; echo 3 >b; git add -A; commit three\n");
    int compared = 0;
    const win32::Subclass editor(host_.window(),
                                 [&compared](const win32::Message& message) -> win32::Handled {
                                     compared += message.id == host::QM_COMPARE ? 1 : 0;
                                     return std::nullopt;
                                 });
    open();
    const auto changed_files = [&](const std::function<void()>& ask, std::size_t expected) {
        ask();
        HWND picker = nullptr;
        EXPECT_TRUE(wait([&] {
            return (picker = FindWindowExW(nullptr, nullptr, L"#32770", nullptr)) != nullptr &&
                   picker != window_ && GetDlgItem(picker, IDC_CHANGED_FILES) != nullptr;
        }));
        const HWND files = GetDlgItem(picker, IDC_CHANGED_FILES);
        EXPECT_EQ(static_cast<std::size_t>(send(files, LVM_GETITEMCOUNT)), expected);
        for (int row = 0; row < static_cast<int>(expected); ++row) {
            // Only its mode has changed.
            if (cell(files, row, 0) == L"c")
                continue;
            const int before = compared;
            ListView_SetItemState(files, -1, 0, LVIS_SELECTED);
            ListView_SetItemState(files, row, LVIS_SELECTED, LVIS_SELECTED);
            send(picker, WM_COMMAND, IDOK);
            EXPECT_EQ(compared, before + 1);
        }
        std::wstring title = win32::window_text(picker);
        DestroyWindow(picker);
        return title;
    };
    const Texts id = ids();
    select({1});
    // Enter, as a double click, opens the commit.
    SetFocus(list_);
    EXPECT_EQ(changed_files([&] { press(VK_RETURN); }, 3),
              L"Files changed by " + id[1].substr(0, 7) + L": two");
    changed_files([&] { send(window_, WM_COMMAND, IDC_COMPARE_WITH_PARENT); }, 3);
    select({0, 2});
    EXPECT_EQ(changed_files([&] { send(list_, WM_COMMAND, ID_COMPARE_COMMITS); }, 3),
              L"Files that differ between " + id[2].substr(0, 7) + L" and " + id[0].substr(0, 7));

    // The files of the tree.
    select({1});
    const HWND tree = control(IDC_FILES_TREE);
    auto* const folder = TreeView_GetRoot(tree);
    auto* const b = TreeView_GetNextSibling(tree, folder);
    auto* const c = TreeView_GetNextSibling(tree, b);
    const auto compare = [&](HTREEITEM item) {
        TreeView_SelectItem(tree, item);
        send(window_, WM_COMMAND, ID_COMPARE_TREE_FILE);
    };
    const int before = compared;
    compare(b);
    EXPECT_EQ(compared, before + 1);
    const auto says = [&](HTREEITEM item, std::wstring_view reason) {
        EXPECT_NE(box_after([&] { compare(item); }).find(reason), std::wstring::npos);
    };
    // Return does to a file and to a folder what a double click does.
    SetFocus(tree);
    TreeView_SelectItem(tree, b);
    press(VK_RETURN);
    EXPECT_EQ(compared, before + 2);
    TreeView_SelectItem(tree, folder);
    for (const UINT state : {UINT{TVIS_EXPANDED}, 0U}) {
        press(VK_RETURN);
        EXPECT_EQ(TreeView_GetItemState(tree, folder, TVIS_EXPANDED) & TVIS_EXPANDED, state);
    }
    TreeView_SelectItem(tree, TreeView_GetChild(tree, folder));
    press(VK_RETURN);
    EXPECT_EQ(compared, before + 3);
    says(folder, L"selection count is invalid");
    says(c, L"Files are identical");
    select({0});
    says(TreeView_GetRoot(tree), L"selection count is invalid");
    says(TreeView_GetNextSibling(tree, TreeView_GetNextSibling(tree, TreeView_GetRoot(tree))),
         L"file is not in diff tree");
}

// ---- Requests --------------------------------------------------------------------------------------

TEST_F(History, ShowsTheRevisionThatIsAskedFor)
{
    repository_.fast_import(straight_line(8));
    repository_.script("git branch short main~5; git update-ref refs/remotes/origin/far main~6");
    open("short");
    EXPECT_EQ(text(IDC_HISTORY_STATE), L"3 commits");
    const auto shown_branch = [this] {
        std::array<wchar_t, 100> name{};
        const HWND combo = control(IDC_HISTORY_BRANCH);
        send(combo, CB_GETLBTEXT, static_cast<WPARAM>(send(combo, CB_GETCURSEL)),
             reinterpret_cast<LPARAM>(name.data()));
        return std::wstring(name.data());
    };
    struct Case {
        const char* name;
        const wchar_t* shown;
        const wchar_t* state;
    };
    for (const Case& test :
         {Case{"origin/far", L"origin/far", L"2 commits"}, Case{"HEAD", L"main", L"8 commits"},
          Case{"short", L"short", L"3 commits"}, Case{"never was", L"main", L"8 commits"}}) {
        post(WM_REVLANE_SET_REVISION, std::string(test.name));
        EXPECT_EQ(shown_branch(), test.shown);
        EXPECT_EQ(text(IDC_HISTORY_STATE), test.state);
    }
    EXPECT_EQ(repository_.git({"symbolic-ref", "HEAD"}), "refs/heads/main\n") << "no switch";

    // Picked, the branch that is checked out comes back; named, it stands for whichever is.
    post(WM_REVLANE_SET_REVISION, std::string("short"));
    pick_branch(L"main");
    EXPECT_TRUE(wait_state(L"8 commits"));
    EXPECT_EQ(shown_branch(), L"main");
    post(WM_REVLANE_SET_REVISION, std::string("main"));
    pick_branch(L"short");
    EXPECT_TRUE(wait_state(L"3 commits"));
    EXPECT_EQ(repository_.git({"symbolic-ref", "HEAD"}), "refs/heads/short\n");
    pick_branch(L"main");
    EXPECT_TRUE(wait_state(L"8 commits"));
    // As when a commit was made on no branch yet.
    repository_.script("git symbolic-ref HEAD refs/heads/unborn");
    post(WM_REVLANE_SET_REVISION, std::string("short"));
    EXPECT_EQ(shown_branch(), L"short");
    repository_.script("git symbolic-ref HEAD refs/heads/main");
    PostMessageW(window_, WM_REVLANE_SHOW_HEAD, 0, 0);
    EXPECT_TRUE(wait_state(L"8 commits"));

    // A filter in force is run again on what is shown now.
    filter(MESSAGE, L"subject [28]");
    EXPECT_EQ(count(), 2);
    win32::post_owned(window_, WM_REVLANE_SET_REVISION, std::make_unique<std::string>("short"));
    EXPECT_TRUE(wait_state(L"1 commit found - message: subject [28]"));
    PostMessageW(window_, WM_REVLANE_SHOW_HEAD, 0, 0);
    EXPECT_TRUE(wait_state(L"2 commits found - message: subject [28]"));

    // Requests without what they need do nothing.
    for (const UINT message :
         {WM_REVLANE_SELECT_COMMIT, WM_REVLANE_SHOW_FILE_HISTORY, WM_REVLANE_OPEN_REPOSITORY,
          WM_REVLANE_OPEN_COMMIT, WM_REVLANE_SELECTION, WM_REVLANE_COMPARE_REVISIONS,
          WM_REVLANE_COMMAND_RESULT, WM_REVLANE_SET_REVISION})
        PostMessageW(window_, message, 0, 0);
    for (const UINT message : {WM_REVLANE_COUNT, WM_REVLANE_FILTERED})
        PostMessageW(list_, message, 0, 0);
    pump();
    EXPECT_EQ(count(), 2);
}

TEST_F(History, SelectsACommitWhereverItIs)
{
    repository_.fast_import(straight_line(3000));
    repository_.script("git reset -q --hard; git checkout -q --orphan other\n"
                       "commit aside --allow-empty; git checkout -q main\n");
    open();
    // Beyond the rows that are there at once.
    post(WM_REVLANE_SELECT_COMMIT, oid("main~2000"));
    EXPECT_TRUE(wait([&] { return selected() == std::vector<int>{2000}; }));
    EXPECT_EQ(ListView_GetNextItem(list_, -1, LVNI_FOCUSED), 2000);
    EXPECT_TRUE(is_on_view(2000));
    SetFocus(control(IDC_FILTER));
    post(WM_REVLANE_SELECT_COMMIT, oid("main~1"));
    EXPECT_EQ(selected(), std::vector<int>{1});
    EXPECT_TRUE(is_on_view(1));
    EXPECT_EQ(GetFocus(), list_);
    const std::wstring said = box_after([&] { post(WM_REVLANE_SELECT_COMMIT, oid("other")); });
    EXPECT_NE(said.find(win32::to_wide(repository_.id_of("other").substr(0, 7))),
              std::wstring::npos);
}

TEST_F(History, ShowsTheHistoryOfAFile)
{
    repository_.script(
        "for i in 1 2 3 4 5 6 7 8; do echo line $i >>'ä b.txt'; done; git add -A\n"
        "commit one; commit two --allow-empty; git mv 'ä b.txt' c.txt; commit three\n"
        "echo more >>c.txt; git add -A; commit four; git branch old HEAD~1\n");
    open();
    win32::post_owned(window_, WM_REVLANE_SHOW_FILE_HISTORY,
                      std::make_unique<std::wstring>(L"c.txt"));
    EXPECT_TRUE(wait_state(L"3 commits found - history of c.txt"));
    EXPECT_EQ(ids(), lines_of(repository_.git({"log", "--follow", "--pretty=%H", "--", "c.txt"})));
    // It stays what is shown when the branch changes.
    win32::post_owned(window_, WM_REVLANE_SET_REVISION, std::make_unique<std::string>("old"));
    EXPECT_TRUE(wait_state(L"2 commits found - history of c.txt"));
    send(window_, WM_COMMAND, IDC_CLEAR_FILTER);
    EXPECT_TRUE(wait_state(L"3 commits"));
    // From the tree of files.
    select({2});
    TreeView_SelectItem(control(IDC_FILES_TREE), TreeView_GetRoot(control(IDC_FILES_TREE)));
    send(window_, WM_COMMAND, ID_TREE_FILE_HISTORY);
    EXPECT_TRUE(wait([&] { return text(IDC_HISTORY_STATE).ends_with(L"history of ä b.txt"); }));
}

TEST_F(History, FollowsWhatHappensToTheRepository)
{
    repository_.fast_import(straight_line(500));
    repository_.script("git reset -q --hard");
    open();
    ASSERT_TRUE(wait_state(L"500 commits"));

    // The branch is moved by force, and what it held is gone for good. Rows that were not read yet
    // cannot be shown, those that were stay, and nothing breaks.
    repository_.script("git checkout -q --orphan fresh; commit 'begun anew' --allow-empty\n"
                       "git branch -q -M main; git reflog expire --expire=now --all\n"
                       "git gc -q --prune=now\n");
    select({499});
    select({0, 400});
    send(list_, WM_COMMAND, ID_COPY_COMMITS);
    press(VK_F5);
    EXPECT_TRUE(wait_state(L"1 commit"));
    EXPECT_EQ(cell(list_, 0, 0), L"begun anew");
    EXPECT_TRUE(text(IDC_COMMIT_DETAILS).starts_with(L"begun anew"));

    // Another repository starts at its own HEAD, without a filter.
    filter(MESSAGE, L"begun");
    post(WM_REVLANE_SET_REVISION, std::string("main"));
    const TempRepository other;
    other.fast_import(straight_line(4, "trunk"));
    other.script("git symbolic-ref HEAD refs/heads/trunk; git branch main trunk~3");
    post(WM_REVLANE_OPEN_REPOSITORY, other.path().wstring());
    EXPECT_TRUE(wait_state(L"4 commits"));
    EXPECT_EQ(text(IDC_HISTORY_TITLE), other.path().wstring() + L" - trunk");

    // It is deleted, and comes back.
    other.script("mv .git away");
    PostMessageW(window_, WM_REVLANE_REFRESH_ALL, 0, 0);
    ASSERT_TRUE(wait([&] { return is_shown(IDC_HISTORY_EMPTY); }));
    EXPECT_EQ(text(IDC_HISTORY_EMPTY),
              L"The repository in " + other.path().wstring() + L" is no longer there.");
    EXPECT_EQ(count(), 0);
    EXPECT_FALSE(is_shown(IDC_COMMIT_LIST));
    send(window_, WM_COMMAND, IDC_FILTER);
    std::filesystem::rename(other.path() / "away", other.path() / ".git");
    PostMessageW(window_, WM_REVLANE_RELOAD_REFERENCES, 0, 0);
    EXPECT_TRUE(wait_state(L"4 commits"));
    EXPECT_TRUE(wait([&] { return text(IDC_COMMIT_DETAILS).starts_with(L"subject 4"); }));
}

// ---- Keyboard and place ----------------------------------------------------------------------------

TEST_F(History, EverythingCanBeReachedByKeys)
{
    repository_.fast_import(straight_line(3));
    open();
    pump();
    std::vector<int> order;
    for (HWND next = list_;;) {
        order.push_back(GetDlgCtrlID(next));
        next = GetNextDlgTabItem(window_, next, FALSE);
        if (next == list_ || order.size() > 20)
            break;
    }
    EXPECT_EQ(order, (std::vector<int>{IDC_COMMIT_LIST, IDC_COMMIT_DETAILS, IDC_FILES_TREE,
                                       IDC_COMPARE_WITH_PARENT, IDC_HISTORY_BRANCH, IDC_FILTER}));
    for (const HWND focus : {list_, control(IDC_COMMIT_DETAILS)}) {
        SetFocus(focus);
        bool was_asked = false;
        const InNextDialog question([&was_asked](HWND dialog) {
            was_asked = GetFocus() == GetDlgItem(dialog, 1045);
            PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        });
        const ControlKey control;
        press('F');
        EXPECT_TRUE(wait([&] { return was_asked; }));
    }
    repository_.script("git update-ref refs/heads/main main~1");
    SetFocus(control(IDC_FILES_TREE));
    press(VK_F5);
    EXPECT_EQ(text(IDC_HISTORY_STATE), L"2 commits");
    EXPECT_EQ(take_requests(), std::vector<std::uint64_t>{WM_REVLANE_EXTERNAL_REFRESH});
    SetFocus(list_);
    press(VK_ESCAPE);
    EXPECT_FALSE(IsWindow(window_));
}

TEST_F(History, KeysAndClicksSelectAsInEveryList)
{
    repository_.fast_import(straight_line(300));
    open();
    EXPECT_TRUE(wait_state(L"300 commits"));
    const auto click = [this](UINT down, UINT up, int row, WPARAM keys) {
        RECT place{};
        ListView_GetItemRect(list_, row, &place, LVIR_LABEL);
        const LPARAM at = MAKELPARAM(place.left + 2, place.top + 2);
        // The list waits for the button to come up again.
        PostMessageW(list_, up, keys, at);
        send(list_, down, keys, at);
        pump();
    };
    using Rows = std::vector<int>;
    struct Case {
        std::string does;
        Rows selected;
        std::function<void()> act;
        Rows wanted;
    };
    const auto key = [](WPARAM code) { return [code] { press(code); }; };
    const auto with_control = [](WPARAM code) {
        return [code] {
            const ControlKey control;
            press(code);
        };
    };
    const auto left = [&](int row, WPARAM keys = 0) {
        return [=] { click(WM_LBUTTONDOWN, WM_LBUTTONUP, row, keys | MK_LBUTTON); };
    };
    const std::vector<Case> cases{
        {"down moves", {4}, key(VK_DOWN), {5}},
        {"end goes to the end", {5}, key(VK_END), {299}},
        {"down stays at the end", {299}, key(VK_DOWN), {299}},
        {"home goes to the start", {299}, key(VK_HOME), {0}},
        {"up stays at the start", {0}, key(VK_UP), {0}},
        {"a key leaves one of several", {2, 3}, key(VK_UP), {2}},
        {"control moves the focus alone", {2}, with_control(VK_DOWN), {2}},
        {"a letter is no command",
         {7},
         [this] {
             PostMessageW(list_, WM_CHAR, 's', 1);
             pump();
         },
         {7}},
        {"a click selects", {1, 2}, left(4), {4}},
        {"a click with control adds", {1, 2}, left(4, MK_CONTROL), {1, 2, 4}},
        {"a click on one of several", {1, 2}, left(2), {2}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.does);
        SetFocus(list_);
        select(one.selected);
        ListView_EnsureVisible(list_, one.selected.back(), FALSE);
        one.act();
        EXPECT_EQ(selected(), one.wanted);
    }
}

TEST_F(History, StandsWhereItStoodLast)
{
    repository_.fast_import(straight_line(3));
    open();
    RECT work{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
    const int width = (work.right - work.left) * 3 / 4;
    const int height = (work.bottom - work.top) * 3 / 4;
    SetWindowPos(window_, nullptr, work.left + 11, work.top + 7, width, height, SWP_NOZORDER);
    const auto list_bottom = [this] {
        RECT list{};
        GetWindowRect(list_, &list);
        MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&list), 2);
        return list.bottom;
    };
    // The gap below the list is dragged.
    const LONG before = list_bottom();
    const LPARAM grip = MAKELPARAM(100, before + 2);
    send(window_, WM_LBUTTONDOWN, MK_LBUTTON, grip);
    EXPECT_EQ(GetCapture(), window_);
    send(window_, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(100, before - 60));
    send(window_, WM_LBUTTONUP, 0, MAKELPARAM(100, before - 60));
    EXPECT_NE(GetCapture(), window_);
    const LONG dragged = list_bottom();
    EXPECT_NEAR(dragged, before - 60, 3);
    RECT stood{};
    GetWindowRect(window_, &stood);
    send(window_, WM_CLOSE);
    EXPECT_FALSE(IsWindow(window_));

    open();
    RECT stands{};
    GetWindowRect(window_, &stands);
    EXPECT_TRUE(EqualRect(&stands, &stood));
    EXPECT_EQ(list_bottom(), dragged);

    // A screen that is gone.
    send(window_, WM_CLOSE);
    for (auto& [name, value] : host_.settings)
        if (name.ends_with(L"/HistoryLeft"))
            value = 30'000U;
    open();
    GetWindowRect(window_, &stands);
    EXPECT_LE(stands.right, work.right);
}

}  // namespace revlane
