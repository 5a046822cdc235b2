// The panel in the stand-in editor, on real repositories: driven by messages, read by messages, and
// compared with what git says.
#include "changes/messages.h"
#include "plugin/host/messages.h"
#include "resources/ids.h"
#include "tests/support/editor_driver.h"
#include "tests/support/panel.h"
#include "tests/support/process_state.h"
#include "tests/support/pump.h"
#include "tests/support/recorded_git.h"
#include "tests/support/temp_repository.h"
#include "tests/support/window_watch.h"
#include "win32/handle.h"
#include "win32/text.h"
#include "win32/window.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <numeric>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;
using support::EditorDriver;
using support::Panel;
using support::TempFolder;
using support::TempRepository;
using support::Texts;

bool contains(const std::wstring& text, std::wstring_view part)
{
    return text.find(part) != std::wstring::npos;
}

bool a_tooltip_is_shown()
{
    HWND tooltip = nullptr;
    do
        tooltip = FindWindowExW(nullptr, tooltip, TOOLTIPS_CLASSW, nullptr);
    while (tooltip != nullptr && IsWindowVisible(tooltip) == FALSE);
    return tooltip != nullptr;
}

// A repository with one commit of some files.
TempRepository with_files()
{
    TempRepository repository;
    repository.write_file("a.txt", "one\n");
    repository.write_file("b.txt", "one\n");
    repository.write_file("src/Größe Ω.txt", "one\n");
    repository.write_file("with space.txt", "one\n");
    repository.write_file("[x].txt", "one\n");
    repository.write_file("gone.txt", "one\n");
    repository.commit_all("first");
    return repository;
}

// Changes of every kind.
void make_changes(const TempRepository& repository)
{
    repository.write_file("a.txt", "two\n");
    repository.write_file("src/Größe Ω.txt", "two\n");
    repository.write_file("with space.txt", "two\n");
    repository.write_file("[x].txt", "two\n");
    repository.write_file("b.txt", "staged\n");
    repository.write_file("staged new.txt", "new\n");
    repository.script("git add b.txt 'staged new.txt'");
    repository.write_file("b.txt", "staged and changed\n");
    repository.remove("gone.txt");
    repository.write_file("new folder/deep/неw.txt", "new\n");
    repository.write_file("empty.txt", "");
}

TEST(Sidebar, ShowsWhatGitSays)
{
    const TempRepository repository = with_files();
    make_changes(repository);
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    EXPECT_EQ(panel.rows(IDC_BRANCHES_LIST).size(), 1U);
    // Changes on disk are seen by themselves, in the working tree as in the index and in HEAD.
    repository.write_file("later.txt", "new\n");
    EXPECT_TRUE(panel.agrees_with_git());
    repository.script("git add a.txt later.txt");
    EXPECT_TRUE(panel.agrees_with_git());
    repository.script("git commit -q -m terminal; git branch other");
    EXPECT_TRUE(panel.agrees_with_git());
    EXPECT_TRUE(panel.wait_rows(IDC_BRANCHES_LIST, 2));
}

TEST(Sidebar, StagesUnstagesAndDiscardsTheSelection)
{
    const TempRepository repository = with_files();
    make_changes(repository);
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());

    panel.select(IDC_CHANGES_LIST, {L"gone.txt (deleted)", L"with space.txt", L"empty.txt (new)"});
    panel.choose(ID_STAGE);
    EXPECT_TRUE(panel.wait_rows(IDC_STAGED_LIST, 5));
    EXPECT_TRUE(panel.agrees_with_git());

    panel.select(IDC_CHANGES_LIST, {L"[x].txt", L"src/Größe Ω.txt"});
    panel.choose(ID_STAGE);
    EXPECT_TRUE(panel.wait_rows(IDC_STAGED_LIST, 7));
    panel.select(IDC_STAGED_LIST, {L"[x].txt", L"src/Größe Ω.txt", L"with space.txt"});
    panel.choose(ID_UNSTAGE);
    EXPECT_TRUE(panel.wait_rows(IDC_STAGED_LIST, 4));
    EXPECT_TRUE(panel.agrees_with_git());

    // Enter on "Cancel", the default, loses nothing.
    panel.select(IDC_CHANGES_LIST, {L"[x].txt", L"new folder/deep/неw.txt (new)"});
    const std::wstring question = panel.box_after([&] { panel.choose(ID_DISCARD); }, IDCANCEL);
    EXPECT_TRUE(contains(question, L"2"));
    EXPECT_TRUE(contains(question, L"[x].txt"));
    EXPECT_EQ(repository.read_file("[x].txt"), "two\n");
    panel.box_after([&] { panel.choose(ID_DISCARD); }, IDOK);
    // Row by row: the other one is done when the last file is gone.
    EXPECT_TRUE(panel.wait(
        [&] { return !std::filesystem::exists(repository.path() / L"new folder/deep/неw.txt"); }));
    EXPECT_EQ(repository.read_file("[x].txt"), "one\n");
    EXPECT_TRUE(panel.agrees_with_git());
    EXPECT_EQ(repository.read_file("a.txt"), "two\n");
}

TEST(Sidebar, ComparesAndOpensTheSelection)
{
    const TempRepository repository = with_files();
    make_changes(repository);
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    const auto received = [&](UINT message) {
        return panel.driver().editor().recorder().of(message);
    };
    // Enter does what the default item of the menu does.
    panel.select(IDC_CHANGES_LIST, {L"a.txt"});
    SetFocus(panel.control(IDC_CHANGES_LIST));
    panel.driver().press_key(panel.control(IDC_CHANGES_LIST), VK_RETURN);
    ASSERT_TRUE(panel.wait([&] { return received(host::QM_COMPARE).size() == 1; }));
    EXPECT_TRUE(contains(received(host::QM_COMPARE)[0].texts.at(0), L"-a.txt"));
    EXPECT_TRUE(received(host::QM_COMPARE)[0].texts.at(1).ends_with(L"\\a.txt"));
    panel.select(IDC_STAGED_LIST, {L"b.txt"});
    panel.choose(ID_STAGED_COMPARE);
    ASSERT_TRUE(panel.wait([&] { return received(host::QM_COMPARE).size() == 2; }));

    const std::size_t opened = received(host::QM_OPEN_FILE).size();
    panel.select(IDC_CHANGES_LIST, {L"a.txt", L"with space.txt"});
    panel.choose(ID_OPEN_FILE);
    EXPECT_TRUE(panel.wait([&] { return received(host::QM_OPEN_FILE).size() == opened + 2; }));
    // A file that has vanished since it was listed.
    panel.select(IDC_CHANGES_LIST, {L"empty.txt (new)"});
    repository.remove("empty.txt");
    EXPECT_TRUE(contains(
        panel.box_after([&] { SendMessageW(panel.dialog(), WM_COMMAND, ID_OPEN_FILE, 0); }),
        L"empty.txt"));
}

// Git lists it as if it were a file, but there is nothing to compare and nothing to open.
TEST(Sidebar, SaysWhatARepositoryInTheWorkingTreeIs)
{
    const TempRepository repository = with_files();
    repository.script("git init -q inner; cd inner; echo one >file; git add .; commit one");
    Panel panel(repository);
    for (const wchar_t* row : {L"inner/ (new)", L"inner"}) {
        ASSERT_TRUE(panel.wait([&] { return panel.rows(IDC_CHANGES_LIST) == Texts{row}; }));
        panel.select(IDC_CHANGES_LIST, {row});
        for (const int command : {ID_COMPARE, ID_OPEN_FILE})
            EXPECT_TRUE(contains(panel.box_after([&] { panel.choose(command); }),
                                 L"a repository of its own"));
        repository.script("git -c advice.addEmbeddedRepo=false add inner; commit inner\n"
                          "cd inner; git commit -q --allow-empty -m two");
    }
}

TEST(Sidebar, CommitsWhatIsStaged)
{
    const TempRepository repository = with_files();
    make_changes(repository);
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    const std::wstring message =
        L"Quotes \"here\" and \\\"there\\\"\r\n\r\nTwo lines, \U0001F600, C:\\";
    panel.set_message(message);
    panel.click(IDC_COMMIT);
    EXPECT_TRUE(panel.wait([&] { return panel.message().empty(); }));
    EXPECT_TRUE(panel.agrees_with_git());
    EXPECT_EQ(repository.git({"log", "-1", "--format=%s%n%b"}),
              "Quotes \"here\" and \\\"there\\\"\nTwo lines, \xF0\x9F\x98\x80, C:\\\n\n");
    EXPECT_EQ(repository.git({"show", "--name-only", "--format="}), "b.txt\nstaged new.txt\n");

    // A text that was changed meanwhile stays.
    repository.script("git add a.txt");
    ASSERT_TRUE(panel.wait_rows(IDC_STAGED_LIST, 1));
    panel.set_message(L"second");
    SendMessageW(panel.dialog(), WM_COMMAND, IDC_COMMIT, 0);
    panel.set_message(L"second, and more");
    EXPECT_TRUE(panel.wait_rows(IDC_STAGED_LIST, 0));
    panel.driver().pump();
    EXPECT_EQ(panel.message(), L"second, and more");
}

TEST(Sidebar, ControlEnterCommitsWhatIsStagedElseEverything)
{
    const TempRepository repository = with_files();
    repository.write_file("a.txt", "two\n");
    repository.write_file("b.txt", "two\n");
    repository.write_file("new.txt", "new\n");
    repository.script("git add b.txt");
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    const auto press = [&](BYTE control) {
        std::array<BYTE, 256> keys{};
        keys[VK_CONTROL] = control;
        SetKeyboardState(keys.data());
        SendMessageW(panel.control(IDC_COMMIT_MESSAGE), WM_KEYDOWN, VK_RETURN, 0);
        SendMessageW(panel.control(IDC_COMMIT_MESSAGE), WM_CHAR, control != 0 ? L'\n' : L'\r', 0);
        keys[VK_CONTROL] = 0;
        SetKeyboardState(keys.data());
    };
    panel.set_message(L"one");
    press(0);
    EXPECT_EQ(panel.message(), L"\r\none");
    panel.set_message(L"staged only");
    press(0x80);
    EXPECT_EQ(panel.message(), L"staged only");
    EXPECT_TRUE(panel.wait([&] { return panel.message().empty(); }));
    EXPECT_EQ(repository.git({"show", "--name-only", "--format="}), "b.txt\n");
    ASSERT_TRUE(panel.wait_rows(IDC_STAGED_LIST, 0));
    panel.set_message(L"everything");
    press(0x80);
    EXPECT_TRUE(panel.wait([&] { return panel.message().empty(); }));
    EXPECT_EQ(repository.git({"show", "--name-only", "--format="}), "a.txt\nnew.txt\n");
    EXPECT_TRUE(panel.agrees_with_git());

    // What was chosen to be staged counts, although its row is still to come.
    repository.write_file("a.txt", "three\n");
    repository.write_file("b.txt", "three\n");
    ASSERT_TRUE(panel.wait_rows(IDC_CHANGES_LIST, 2));
    panel.select(IDC_CHANGES_LIST, {L"a.txt"});
    panel.set_message(L"chosen");
    SendMessageW(panel.dialog(), WM_COMMAND, ID_STAGE, 0);
    press(0x80);
    EXPECT_TRUE(panel.wait([&] { return panel.message().empty(); }));
    EXPECT_EQ(repository.git({"show", "--name-only", "--format="}), "a.txt\n");
}

TEST(Sidebar, SaysWhyACommitWasNotMadeAndKeepsItsText)
{
    const TempRepository repository = with_files();
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    panel.set_message(L"nothing");
    for (const int button : {IDC_COMMIT, IDC_STAGE_ALL_AND_COMMIT})
        EXPECT_TRUE(contains(panel.box_after([&] { panel.click(button); }), L"nothing to commit"));

    repository.write_file("a.txt", "two\n");
    ASSERT_TRUE(panel.wait_rows(IDC_CHANGES_LIST, 1));
    EXPECT_TRUE(contains(panel.box_after([&] { panel.click(IDC_COMMIT); }), L"Nothing is staged"));

    // Longer than a command line: nothing runs, nothing is staged.
    std::wstring longest;
    while (longest.size() < 100'000)
        longest += L"A line of a message that goes on and on\r\n";
    panel.set_message(longest);
    EXPECT_TRUE(contains(panel.box_after([&] { panel.click(IDC_STAGE_ALL_AND_COMMIT); }),
                         std::to_wstring(longest.size())));
    EXPECT_EQ(panel.message(), longest);
    EXPECT_TRUE(panel.rows(IDC_STAGED_LIST).empty());

    // A lock that a crashed git has left.
    repository.git({"add", "a.txt"});
    ASSERT_TRUE(panel.agrees_with_git());
    repository.write_file(".git/index.lock", "");
    panel.select(IDC_STAGED_LIST, {L"a.txt"});
    EXPECT_TRUE(contains(panel.box_after([&] { panel.choose(ID_UNSTAGE); }), L"index.lock"));
    repository.remove(".git/index.lock");
    // A merge that was resolved in favour of what was there has nothing staged and can be committed.
    repository.script("git reset -q --hard; git checkout -q -b other\n"
                      "git commit -q --allow-empty -m other; git checkout -q main\n"
                      "git commit -q --allow-empty -m main; git merge -q --no-commit other");
    panel.set_message(L"merged");
    panel.click(IDC_COMMIT);
    EXPECT_TRUE(panel.wait([&] { return panel.message().empty(); }));
    EXPECT_EQ(repository.git({"log", "-1", "--format=%s"}), "merged\n");
}

// What was staged for it stays staged.
TEST(Sidebar, KeepsTheMessageOfACommitThatGitRefuses)
{
    const TempRepository repository = with_files();
    const std::string head = repository.id_of("HEAD");
    Panel panel(repository);
    repository.write_file("a.txt", "two\n");
    ASSERT_TRUE(panel.wait_rows(IDC_CHANGES_LIST, 1));
    panel.set_message(L"refused");
    const auto refusal = [&] {
        std::wstring text = panel.box_after([&] { panel.click(IDC_STAGE_ALL_AND_COMMIT); });
        EXPECT_LT(text.size(), 4000U);
        EXPECT_EQ(panel.message(), L"refused");
        EXPECT_EQ(repository.id_of("HEAD"), head);
        EXPECT_TRUE(panel.agrees_with_git());
        EXPECT_EQ(panel.rows(IDC_STAGED_LIST), Texts{L"a.txt"});
        return text;
    };
    {
        // Somebody who has just installed git has told it no name and no address.
        repository.write_file(".git/nobody", "[user]\n\tuseConfigOnly = true\n");
        const support::ScopedVariable nobody(L"GIT_CONFIG_GLOBAL",
                                             (repository.path() / L".git" / L"nobody").c_str());
        EXPECT_TRUE(contains(refusal(), L"tell me who you are"));
    }
    if (support::git_is_whole()) {
        // A hook that prints more than a box can show.
        repository.write_file(".git/hooks/pre-commit",
                              "#!/bin/sh\nyes 'a line of the hook' | head -n 50000 >&2\n"
                              "echo 'the hook says no' >&2\nexit 1\n");
        repository.script("chmod +x .git/hooks/pre-commit");
        EXPECT_TRUE(contains(refusal(), L"the hook says no"));
        repository.remove(".git/hooks/pre-commit");
    }
    panel.click(IDC_STAGE_ALL_AND_COMMIT);
    EXPECT_TRUE(panel.wait([&] { return panel.message().empty(); }));
    EXPECT_EQ(repository.git({"log", "-1", "--format=%s"}), "refused\n");
}

TEST(Sidebar, FetchesPullsAndPushes)
{
    if (!support::git_is_whole())
        GTEST_SKIP() << "git starts what serves a remote by its shell";
    const TempRepository repository = with_files();
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    const auto enabled = [&](int id) { return support::is_control_enabled(panel.dialog(), id); };
    ASSERT_TRUE(panel.wait_text(IDC_PUSH, L"Publish"));
    EXPECT_FALSE(enabled(IDC_PULL));
    EXPECT_FALSE(enabled(IDC_PUSH));
    // A disabled button has its tooltip though the mouse messages over it go to the dialog.
    EXPECT_FALSE(a_tooltip_is_shown());
    RECT pull{};
    GetWindowRect(panel.control(IDC_PULL), &pull);
    SetCursorPos((pull.left + pull.right) / 2, (pull.top + pull.bottom) / 2);
    EXPECT_TRUE(panel.wait(a_tooltip_is_shown));
    SetCursorPos(0, 0);

    const TempRepository remote = repository.add_bare_remote();
    SendMessageW(panel.dialog(), revlane::WM_REVLANE_REFRESH, 0, 0);
    ASSERT_TRUE(panel.wait([&] { return enabled(IDC_PUSH); }));
    EXPECT_FALSE(enabled(IDC_PULL));
    panel.click(IDC_PUSH);
    ASSERT_TRUE(panel.wait([&] { return enabled(IDC_PULL); }));
    EXPECT_EQ(remote.id_of("main"), repository.id_of("HEAD"));
    EXPECT_TRUE(panel.wait_text(IDC_PUSH, L"Push"));

    const TempRepository other = remote.clone("other");
    other.write_file("theirs.txt", "theirs\n");
    other.commit_all("theirs");
    other.git({"push", "-q"});
    panel.choose(ID_FETCH);
    EXPECT_TRUE(panel.wait_text(IDC_PULL, L"Pull (1)"));
    panel.click(IDC_PULL);
    EXPECT_TRUE(panel.wait_text(IDC_PULL, L"Pull"));
    EXPECT_EQ(repository.read_file("theirs.txt"), "theirs\n");

    // A push that the remote refuses, since it has what we have not seen.
    other.write_file("theirs.txt", "theirs again\n");
    other.commit_all("theirs again");
    other.git({"push", "-q"});
    repository.write_file("theirs.txt", "ours\n");
    repository.commit_all("ours");
    EXPECT_TRUE(panel.wait_text(IDC_PUSH, L"Push (1)"));
    EXPECT_TRUE(contains(panel.box_after([&] { panel.click(IDC_PUSH); }), L"rejected"));
    // A pull that conflicts shows the file as conflicted.
    repository.git({"config", "pull.rebase", "false"});
    EXPECT_TRUE(contains(panel.box_after([&] { panel.click(IDC_PULL); }), L"theirs.txt"));
    EXPECT_TRUE(panel.wait(
        [&] { return panel.rows(IDC_CHANGES_LIST) == Texts{L"theirs.txt (conflict)"}; }));

    // A remote that is not there.
    repository.script("git reset -q --hard; git remote set-url origin ../nowhere.git");
    EXPECT_FALSE(panel.box_after([&] { panel.choose(ID_FETCH); }).empty());
    EXPECT_TRUE(panel.agrees_with_git());
}

TEST(Sidebar, KeepsSelectionAndScrollPositionOverRefreshes)
{
    const TempRepository repository;
    for (int i = 100; i < 200; ++i)
        repository.write_file("file" + std::to_string(i) + ".txt", "new\n");
    Panel panel(repository);
    ASSERT_TRUE(panel.wait_rows(IDC_CHANGES_LIST, 100));
    panel.select(IDC_CHANGES_LIST, {L"file150.txt (new)", L"file160.txt (new)"});
    const HWND list = panel.control(IDC_CHANGES_LIST);
    SendMessageW(list, LVM_ENSUREVISIBLE, 160 - 100, FALSE);
    const LRESULT top = SendMessageW(list, LVM_GETTOPINDEX, 0, 0);
    ASSERT_GT(top, 0);
    repository.remove("file199.txt");
    ASSERT_TRUE(panel.wait_rows(IDC_CHANGES_LIST, 99));
    EXPECT_EQ(panel.selected(IDC_CHANGES_LIST),
              (Texts{L"file150.txt (new)", L"file160.txt (new)"}));
    EXPECT_EQ(SendMessageW(list, LVM_GETTOPINDEX, 0, 0), top);

    // A refresh that finds nothing new touches nothing.
    int filled = 0;
    const win32::Subclass watch(
        list,
        [&](const win32::Message& message) {
            filled += message.id == LVM_DELETEALLITEMS ? 1 : 0;
            return win32::Handled();
        },
        1);
    repository.write_file("signal.txt", "new\n");
    ASSERT_TRUE(panel.wait_rows(IDC_CHANGES_LIST, 100));
    const int before = filled;
    for (int i = 0; i < 20; ++i)
        PostMessageW(panel.dialog(), revlane::WM_REVLANE_REFRESH, 0, 0);
    panel.driver().wait([] { return false; }, 1s);
    EXPECT_EQ(filled, before);
}

TEST(Sidebar, HoldsTenThousandFilesAndStaysQuick)
{
    const TempRepository repository;
    repository.script("mkdir many; cd many; seq -f 'file%05g.txt' 10000 | xargs touch");
    Panel panel(repository);
    const auto count = [&](int list) {
        return SendDlgItemMessageW(panel.dialog(), list, LVM_GETITEMCOUNT, 0, 0);
    };
    // While the files are looked through the panel answers.
    std::chrono::steady_clock::duration slowest{};
    const bool shown = panel.wait([&] {
        const auto start = std::chrono::steady_clock::now();
        SendMessageW(panel.dialog(), WM_NULL, 0, 0);
        slowest = std::max(slowest, std::chrono::steady_clock::now() - start);
        return count(IDC_CHANGES_LIST) == 10'000;
    });
    EXPECT_TRUE(shown);
    EXPECT_LT(slowest, support::stop_limit);
    std::vector<int> some(300);
    std::iota(some.begin(), some.end(), 5000);
    support::select_rows(panel.dialog(), IDC_CHANGES_LIST, some);
    panel.choose(ID_STAGE);
    EXPECT_TRUE(panel.wait(
        [&] { return count(IDC_STAGED_LIST) == 300 && count(IDC_CHANGES_LIST) == 9700; }));
}

// Nothing else would ask for it: the watcher does not look into the repository's own folder.
TEST(Sidebar, TriesARefreshAgainThatCouldNotBegin)
{
    const TempRepository repository = with_files();
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    const std::filesystem::path objects = repository.path() / L".git" / L"objects";
    const std::filesystem::path away = repository.path() / L".git" / L"away";
    std::filesystem::rename(objects, away);
    repository.write_file("a.txt", "changed meanwhile");
    PostMessageW(panel.dialog(), revlane::WM_REVLANE_REFRESH, 0, 0);
    // Longer than a second look after a change of a file would take.
    panel.driver().wait([] { return false; }, std::chrono::seconds(1));
    EXPECT_TRUE(panel.rows(IDC_CHANGES_LIST).empty());
    std::filesystem::rename(away, objects);
    EXPECT_TRUE(panel.agrees_with_git());
}

TEST(Sidebar, FollowsTheDocumentToItsRepositoryAndKeepsItElsewhere)
{
    const TempRepository first = with_files();
    first.write_file("first.txt", "new\n");
    const TempRepository second = with_files();
    second.write_file("second.txt", "new\n");
    const TempFolder outside;
    Panel panel(first);
    ASSERT_TRUE(panel.agrees_with_git());
    panel.open(second.path() / L"a.txt");
    EXPECT_TRUE(
        panel.wait([&] { return panel.rows(IDC_CHANGES_LIST) == Texts{L"second.txt (new)"}; }));
    std::filesystem::copy_file(second.path() / L"a.txt", outside.path() / L"a.txt");
    panel.open(outside.path() / L"a.txt");
    panel.driver().wait([] { return false; }, 500ms);
    EXPECT_EQ(panel.rows(IDC_CHANGES_LIST), Texts{L"second.txt (new)"});
}

TEST(Sidebar, ShowsUnbornAndDetachedHeads)
{
    const TempRepository repository;
    repository.write_file("a.txt", "one\n");
    repository.script("git add a.txt");
    Panel panel(repository);
    EXPECT_TRUE(panel.agrees_with_git());
    EXPECT_TRUE(panel.wait_text(IDC_BRANCH, L"main"));
    panel.set_message(L"first");
    panel.click(IDC_COMMIT);
    EXPECT_TRUE(panel.wait([&] { return panel.message().empty(); }));
    repository.script("git checkout -q --detach");
    EXPECT_TRUE(panel.wait_text(IDC_BRANCH, win32::to_wide(repository.id_of("HEAD").substr(0, 7))));
}

TEST(Sidebar, StandsWithoutARepository)
{
    const TempFolder folder;
    EditorDriver driver(support::delivered_plugin());
    const HWND dialog = driver.open_panel();
    ASSERT_NE(dialog, nullptr);
    driver.pump();
    const auto visible = [&](int id) { return IsWindowVisible(GetDlgItem(dialog, id)) != FALSE; };
    EXPECT_TRUE(visible(IDC_EMPTY_TEXT));
    EXPECT_TRUE(visible(IDC_CHOOSE_FOLDER));
    for (const int id : {IDC_BRANCH, IDC_COMMIT_MESSAGE, IDC_COMMIT, IDC_PULL, IDC_PUSH,
                         IDC_STAGED_LIST, IDC_CHANGES_LIST, IDC_BRANCHES_LIST, IDC_PANEL_MENU})
        EXPECT_FALSE(visible(id)) << id;
    // Commands that need a repository do nothing.
    for (const int id : {ID_STAGE, ID_UNSTAGE, ID_DISCARD, ID_FETCH, ID_STATUS, ID_OPEN_FOLDER,
                         ID_OPEN_REMOTE, ID_COMPARE, ID_STAGED_COMPARE, IDC_COMMIT,
                         IDC_STAGE_ALL_AND_COMMIT, IDC_PULL, IDC_PUSH, IDC_SHOW_HISTORY})
        SendMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(id), 0);
    driver.pump();
    EXPECT_TRUE(IsWindow(dialog));
}

TEST(Sidebar, SaysOnceWhyTheRepositoryOfADocumentCannotBeOpened)
{
    const TempRepository repository = with_files();
    const std::string settings = repository.read_file(".git/config");
    repository.write_file(".git/config", "[broken\n");
    EditorDriver driver(support::delivered_plugin());
    const HWND dialog = driver.open_panel();
    int boxes = 0;
    const support::WindowWatch watch(
        support::is_box,
        [&boxes](HWND box) {
            ++boxes;
            support::press_button(box, IDCLOSE);
        },
        support::Windows::All);
    ASSERT_TRUE(driver.open(repository.path() / L"a.txt"));
    ASSERT_TRUE(driver.wait([&] { return boxes == 1; }));
    // As the editor reports its document when the user comes back to it.
    SendMessageW(dialog, revlane::WM_REVLANE_CHECK_DOCUMENT, 0, 0);
    driver.pump();
    EXPECT_EQ(boxes, 1);
    repository.write_file(".git/config", settings);
    SendMessageW(dialog, revlane::WM_REVLANE_CHECK_DOCUMENT, 0, 0);
    EXPECT_TRUE(
        driver.wait([&] { return IsWindowVisible(GetDlgItem(dialog, IDC_BRANCH)) != FALSE; }));
}

// What Windows knows of kinds of files and addresses is, for this process, a program that writes down
// how it was started.
class RecordedShell {
public:
    RecordedShell()
    {
        EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, KEY, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                  KEY_ALL_ACCESS, nullptr, &classes_, nullptr),
                  ERROR_SUCCESS);
        for (const wchar_t* command :
             {LR"(https\shell\open\command)", LR"(Folder\shell\explore\command)"}) {
            const std::wstring line = LR"(git.exe shell "%1")";
            EXPECT_EQ(RegSetKeyValueW(classes_, command, nullptr, REG_SZ, line.c_str(),
                                      static_cast<DWORD>((line.size() + 1) * sizeof(wchar_t))),
                      ERROR_SUCCESS);
        }
        EXPECT_EQ(
            RegSetKeyValueW(classes_, L"https", L"URL Protocol", REG_SZ, L"", sizeof(wchar_t)),
            ERROR_SUCCESS);
        EXPECT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, classes_), ERROR_SUCCESS);
    }
    ~RecordedShell()
    {
        RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        RegCloseKey(classes_);
        RegDeleteTreeW(HKEY_CURRENT_USER, KEY);
    }
    RecordedShell(const RecordedShell&) = delete;
    RecordedShell& operator=(const RecordedShell&) = delete;

    // What it was last asked to open; nothing when it was not asked within the pump's deadline.
    std::wstring opened(Panel& panel)
    {
        std::vector<support::RecordedRun> runs;
        panel.wait([&] {
            runs = git_.take_runs();
            return !runs.empty();
        });
        return runs.empty() ? std::wstring() : runs.back().arguments.back();
    }

private:
    static constexpr const wchar_t* KEY = LR"(Software\Revlane tests)";
    HKEY classes_ = nullptr;
    support::RecordedGit git_;
};

TEST(Sidebar, OpensTheFolderAndTheRemoteOutsideTheEditor)
{
    const TempRepository repository = with_files();
    repository.git({"remote", "add", "origin", "git@example.com:group/näme.git"});
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    RecordedShell shell;
    panel.choose(ID_OPEN_REMOTE);
    EXPECT_EQ(shell.opened(panel), L"https://example.com/group/näme.git");
    panel.choose(ID_OPEN_FOLDER);
    EXPECT_EQ(shell.opened(panel), repository.path().native());
}

TEST(Sidebar, SaysThatTheRepositoryIsGone)
{
    const TempRepository repository = with_files();
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    std::filesystem::rename(repository.path() / L".git", repository.path() / L"moved away");
    SendMessageW(panel.dialog(), revlane::WM_REVLANE_REFRESH, 0, 0);
    EXPECT_TRUE(
        panel.wait([&] { return IsWindowVisible(panel.control(IDC_EMPTY_TEXT)) != FALSE; }));
    EXPECT_TRUE(contains(support::control_text(panel.dialog(), IDC_EMPTY_TEXT),
                         repository.path().wstring()));
    // It comes back, and so does the panel.
    std::filesystem::rename(repository.path() / L"moved away", repository.path() / L".git");
    SendMessageW(panel.dialog(), revlane::WM_REVLANE_CHECK_DOCUMENT, 0, 0);
    EXPECT_TRUE(
        panel.wait([&] { return IsWindowVisible(panel.control(IDC_CHANGES_LIST)) != FALSE; }));
}

// A box of the staged list stands meanwhile.
TEST(Sidebar, SurvivesTheEndOfTheRepositoryUnderABox)
{
    const TempRepository repository = with_files();
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    repository.write_file("a.txt", "two\n");
    repository.commit_all("damaged");
    const std::string tree = repository.id_of("HEAD^{tree}");
    repository.remove(".git/objects/" + tree.substr(0, 2) + "/" + tree.substr(2));
    const auto is_gone = [&] { return IsWindowVisible(panel.control(IDC_EMPTY_TEXT)) != FALSE; };
    bool is_moved = false;
    const support::WindowWatch watch(
        [&](HWND window) {
            if (!support::is_box(window))
                return false;
            if (!std::exchange(is_moved, true)) {
                std::filesystem::rename(repository.path() / L".git", repository.path() / L"away");
                PostMessageW(panel.dialog(), revlane::WM_REVLANE_REFRESH, 0, 0);
            }
            return is_gone();
        },
        [](HWND box) { support::press_button(box, IDCLOSE); });
    PostMessageW(panel.dialog(), revlane::WM_REVLANE_REFRESH, 0, 0);
    EXPECT_TRUE(panel.wait([&] { return watch.has_acted(); }));
    panel.driver().pump();
    EXPECT_TRUE(is_gone());
    EXPECT_TRUE(IsWindowEnabled(panel.driver().window()));
}

TEST(Sidebar, OpensTheRepositoryOfTheSettingsWhenTheDocumentHasNone)
{
    const TempRepository repository = with_files();
    repository.write_file("new.txt", "new\n");
    std::wstring path = repository.path().wstring();
    EditorDriver driver(support::delivered_plugin(),
                        "[Revlane]\nRepoPath=\"" + win32::to_utf8(path) + "\"\n");
    const HWND dialog = driver.open_panel();
    EXPECT_TRUE(
        driver.wait([&] { return support::rows_of(dialog, IDC_CHANGES_LIST).size() == 1; }));
}

TEST(Sidebar, LogsWhatGitSaysAndRemembersAutoFetch)
{
    const TempRepository repository = with_files();
    repository.write_file("new.txt", "new\n");
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    panel.choose(ID_STATUS);
    HWND output = nullptr;
    EXPECT_TRUE(panel.wait([&] {
        output = FindWindowW(nullptr, L"Git output");
        return output != nullptr;
    }));
    const std::wstring log = support::control_text(output, IDC_OUTPUT_TEXT);
    EXPECT_TRUE(log.starts_with(L"git status\r\n\r\nOn branch main\r\n"));
    EXPECT_TRUE(contains(log, L"new.txt"));
    EXPECT_TRUE(contains(panel.driver().frame().status(), L"nothing added to commit"));

    panel.choose(ID_AUTO_FETCH);
    EXPECT_TRUE(panel.wait(
        [&] { return panel.driver().settings().find("autofetch=1") != std::string::npos; }));
    panel.choose(ID_AUTO_FETCH);
    EXPECT_TRUE(panel.wait(
        [&] { return panel.driver().settings().find("autofetch=0") != std::string::npos; }));
    panel.choose(IDC_BRANCHES_HEADING);
    EXPECT_TRUE(
        panel.wait([&] { return IsWindowVisible(panel.control(IDC_BRANCHES_LIST)) == FALSE; }));
    EXPECT_NE(panel.driver().settings().find("BranchesFolded=1"), std::string::npos);
    panel.choose(ID_HELP_PAGE);
    EXPECT_TRUE(
        panel.wait([&] { return !panel.driver().editor().recorder().of(host::QM_HELP).empty(); }));
    EXPECT_EQ(panel.driver().editor().recorder().of(host::QM_HELP).front().texts,
              Texts{L"howto/plugin/plugin_revlane.html"});
}

// The states of the panel menu's items, as the user would see them.
TEST(Sidebar, EnablesWhatTheMenuCanDo)
{
    const TempRepository repository = with_files();
    Panel panel(repository, "[Revlane]\nautofetch=2\n");
    ASSERT_TRUE(panel.agrees_with_git());
    const auto states = [&] {
        std::map<UINT, UINT> found;
        const win32::Subclass watch(
            panel.dialog(),
            [&](const win32::Message& message) -> win32::Handled {
                if (message.id != WM_INITMENUPOPUP)
                    return std::nullopt;
                auto* const menu = reinterpret_cast<HMENU>(message.wparam);
                for (int i = 0; i < GetMenuItemCount(menu); ++i)
                    found[GetMenuItemID(menu, i)] =
                        GetMenuState(menu, static_cast<UINT>(i), MF_BYPOSITION);
                PostMessageW(message.window, WM_CANCELMODE, 0, 0);
                return std::nullopt;
            },
            1);
        panel.click(IDC_PANEL_MENU);
        EXPECT_TRUE(panel.wait([&] { return !found.empty(); }));
        return found;
    };
    const auto enabled = [](UINT state) { return (state & (MF_GRAYED | MF_DISABLED)) == 0; };
    auto found = states();
    EXPECT_FALSE(enabled(found[ID_FETCH]));
    EXPECT_FALSE(enabled(found[ID_OPEN_REMOTE]));
    EXPECT_FALSE(enabled(found[ID_CANCEL_COMMAND]));
    EXPECT_TRUE(enabled(found[ID_STATUS]));
    EXPECT_TRUE(enabled(found[ID_OPEN_FOLDER]));
    EXPECT_NE(found[ID_AUTO_FETCH] & MF_CHECKED, 0U);
    const TempRepository remote = repository.add_bare_remote();
    SendMessageW(panel.dialog(), revlane::WM_REVLANE_REFRESH, 0, 0);
    ASSERT_TRUE(panel.wait([&] { return support::is_control_enabled(panel.dialog(), IDC_PUSH); }));
    panel.choose(ID_AUTO_FETCH);
    panel.driver().pump();
    found = states();
    EXPECT_TRUE(enabled(found[ID_FETCH]));
    EXPECT_TRUE(enabled(found[ID_OPEN_REMOTE]));
    EXPECT_EQ(found[ID_AUTO_FETCH] & MF_CHECKED, 0U);
}

// Pushes that hang in a hook for longer than any test waits, until the object goes.
class HangingPushes {
public:
    explicit HangingPushes(const TempRepository& repository) : repository_(repository)
    {
        repository.write_file(".git/hooks/pre-push",
                              "#!/bin/sh\necho $PPID >.git/push.pid\necho $$ >.git/hook.pid\n"
                              "exec sleep 300\n");
        repository.script("chmod +x .git/hooks/pre-push");
    }
    // The hook of a push that was ended lives on, as it does on any system.
    ~HangingPushes() { end(); }
    HangingPushes(const HangingPushes&) = delete;
    HangingPushes& operator=(const HangingPushes&) = delete;

    // The push that hangs fails.
    void end() const { repository_.script("kill $(cat .git/hook.pid) 2>/dev/null || true"); }
    [[nodiscard]] bool has_begun() const
    {
        return std::filesystem::exists(repository_.path() / L".git/hook.pid");
    }
    // Whether the git of the push is still there.
    [[nodiscard]] bool runs() const
    {
        return repository_.script(
                   "kill -0 $(cat .git/push.pid) 2>/dev/null && echo yes || echo no") == "yes\n";
    }

private:
    const TempRepository& repository_;
};

TEST(Sidebar, CancelsACommandAndGoesOn)
{
    if (!support::git_is_whole())
        GTEST_SKIP() << "hooks need a shell";
    const TempRepository repository = with_files();
    const TempRepository remote = repository.add_bare_remote();
    const HangingPushes push(repository);
    Panel panel(repository);
    ASSERT_TRUE(panel.wait([&] { return support::is_control_enabled(panel.dialog(), IDC_PUSH); }));
    const auto progress = [&] { return IsWindowVisible(panel.control(IDC_PROGRESS)) != FALSE; };
    EXPECT_FALSE(progress());
    panel.click(IDC_PUSH);
    ASSERT_TRUE(panel.wait([&] { return push.has_begun() && progress(); }));
    panel.choose(ID_CANCEL_COMMAND);
    EXPECT_TRUE(panel.wait([&] { return !progress(); }));
    EXPECT_TRUE(panel.wait([&] { return !push.runs(); }));
    EXPECT_EQ(panel.driver().frame().status(), L"Cancelled");
    // The next command runs as usual.
    repository.write_file("new.txt", "new\n");
    ASSERT_TRUE(panel.wait_rows(IDC_CHANGES_LIST, 1));
    panel.set_message(L"after");
    panel.click(IDC_STAGE_ALL_AND_COMMIT);
    EXPECT_TRUE(panel.wait([&] { return panel.message().empty(); }));
    EXPECT_EQ(repository.git({"log", "-1", "--format=%s"}), "after\n");
}

TEST(Sidebar, SaysWhereTheChangesAreWhenASwitchIsEnded)
{
    for (const bool by_closing : {false, true}) {
        SCOPED_TRACE(by_closing);
        const TempRepository repository = with_files();
        repository.script("git branch other");
        repository.write_file("a.txt", "two\n");
        // Of the stash, its list and the checkout the last one does not come to an end.
        constexpr wchar_t reached_name[] = L"revlane-test-switch";
        const win32::KernelHandle reached(CreateEventW(nullptr, TRUE, FALSE, reached_name));
        const support::ScopedVariable event(L"REVLANE_FAIL_EVENT", reached_name);
        const support::FailingGit hanging(3, L"hang");
        Panel panel(repository);
        ASSERT_TRUE(panel.wait_rows(IDC_CHANGES_LIST, 1));
        const HWND branch = panel.control(IDC_BRANCH);
        const LRESULT other =
            SendMessageW(branch, CB_FINDSTRINGEXACT, 0, reinterpret_cast<LPARAM>(L"other"));
        SendMessageW(branch, CB_SETCURSEL, static_cast<WPARAM>(other), 0);
        for (const int code : {CBN_SELENDOK, CBN_CLOSEUP})
            SendMessageW(panel.dialog(), WM_COMMAND, MAKEWPARAM(IDC_BRANCH, code), 0);
        ASSERT_TRUE(
            panel.wait([&] { return WaitForSingleObject(reached.get(), 0) == WAIT_OBJECT_0; }));

        constexpr std::wstring_view kept = L"kept in the stash under the name revlane-";
        std::wstring said;
        const support::WindowWatch watch(
            support::is_box,
            [&said](HWND box) {
                said += support::texts_of(box);
                support::press_button(box, IDCLOSE);
            },
            support::Windows::All);
        if (by_closing) {
            panel.driver().press_close_button();
            EXPECT_TRUE(panel.wait([&] { return !IsWindow(panel.dialog()); }));
            EXPECT_TRUE(contains(panel.driver().frame().status(), kept));
        } else {
            // What is chosen at once fails for a reason of its own.
            for (const int command : {ID_CANCEL_COMMAND, IDC_PULL})
                SendMessageW(panel.dialog(), WM_COMMAND, static_cast<WPARAM>(command), 0);
            EXPECT_TRUE(panel.wait([&] {
                return contains(said, kept) && contains(said, L"no tracking information");
            })) << win32::to_utf8(said);
        }
        EXPECT_EQ(repository.read_file("a.txt"), "one\n");
    }
}

TEST(Sidebar, ShowsABranchInTheHistoryAsOftenAsItIsChosen)
{
    const TempRepository repository = with_files();
    repository.script("git branch other");
    Panel panel(repository);
    ASSERT_TRUE(panel.wait_rows(IDC_BRANCHES_LIST, 2));
    for (const char* time : {"first", "again"}) {
        SCOPED_TRACE(time);
        panel.select(IDC_BRANCHES_LIST, {L"other"});
        panel.driver().press_key(panel.control(IDC_BRANCHES_LIST), VK_RETURN);
        HWND history = nullptr;
        ASSERT_TRUE(panel.wait([&] {
            history = support::window_with(IDC_COMMIT_LIST);
            return history != nullptr;
        }));
        EXPECT_TRUE(panel.wait([&] {
            return support::control_text(history, IDC_HISTORY_TITLE).ends_with(L" - other");
        }));
        PostMessageW(history, WM_CLOSE, 0, 0);
        EXPECT_TRUE(panel.wait([&] { return !IsWindow(history); }));
    }
}

TEST(Sidebar, CarriesOutAllThatIsChosenDuringALongCommand)
{
    if (!support::git_is_whole())
        GTEST_SKIP() << "hooks need a shell";
    const TempRepository repository = with_files();
    const TempRepository remote = repository.add_bare_remote();
    const HangingPushes push(repository);
    repository.write_file("a.txt", "two\n");
    const TempRepository second = with_files();
    for (const TempRepository* each : {&repository, &second})
        each->remove("b.txt");
    Panel panel(repository);
    ASSERT_TRUE(panel.agrees_with_git());
    ASSERT_TRUE(panel.wait([&] { return support::is_control_enabled(panel.dialog(), IDC_PUSH); }));
    panel.click(IDC_PUSH);
    ASSERT_TRUE(panel.wait([&] { return push.has_begun(); }));
    // Nothing happens at first, so somebody may choose the last one again: that is one command, since
    // a file cannot be removed twice.
    for (const wchar_t* row : {L"a.txt", L"b.txt (deleted)", L"b.txt (deleted)"}) {
        panel.select(IDC_CHANGES_LIST, {row});
        panel.choose(ID_STAGE);
        panel.driver().pump();
    }
    // The same in another repository is not the same.
    panel.open(second.path() / L"a.txt");
    ASSERT_TRUE(panel.wait([&] { return panel.rows(IDC_CHANGES_LIST).size() == 1; }));
    panel.select(IDC_CHANGES_LIST, {L"b.txt (deleted)"});
    panel.choose(ID_STAGE);
    panel.driver().pump();
    panel.box_after([&] { push.end(); });
    EXPECT_TRUE(panel.wait_rows(IDC_STAGED_LIST, 1));
    EXPECT_TRUE(IsWindowEnabled(panel.driver().window()));
    EXPECT_EQ(repository.git({"status", "--short"}), "M  a.txt\nD  b.txt\n");
}

TEST(Sidebar, ShowsAnAutomaticFetchThatHangsAndCancelsIt)
{
    const TempRepository repository = with_files();
    const support::FailingGit hanging(0, L"stay");
    Panel panel(repository, "[Revlane]\nautofetch=1\n");
    const auto progress = [&] { return IsWindowVisible(panel.control(IDC_PROGRESS)) != FALSE; };
    ASSERT_TRUE(panel.wait([&] { return hanging.starts() == 1; }));
    // A fetch that ends soon would not be seen, and there is nothing to cancel yet.
    panel.choose(ID_CANCEL_COMMAND);
    panel.driver().pump();
    EXPECT_FALSE(progress());
    EXPECT_TRUE(panel.wait(progress));
    EXPECT_EQ(support::process_state().git_processes, 1U);
    panel.choose(ID_CANCEL_COMMAND);
    EXPECT_TRUE(panel.wait([&] { return !progress(); }));
    EXPECT_EQ(support::process_state().git_processes, 0U);
    EXPECT_EQ(panel.driver().frame().status(), L"Cancelled");
    // Nobody asked for the fetch, so nobody is bothered with its end.
    EXPECT_TRUE(IsWindowEnabled(panel.driver().window()));
}

TEST(Sidebar, ClosesAtOnceWithWorkInFlight)
{
    if (!support::git_is_whole())
        GTEST_SKIP() << "hooks need a shell";
    for (const bool by_frame : {false, true}) {
        const TempRepository repository = with_files();
        const TempRepository remote = repository.add_bare_remote();
        const HangingPushes push(repository);
        repository.script("mkdir many; cd many; seq -f 'file%05g.txt' 3000 | xargs touch");
        const std::string head = repository.id_of("HEAD");
        Panel panel(repository, "[Revlane]\nautofetch=1\n");
        ASSERT_TRUE(
            panel.wait([&] { return support::is_control_enabled(panel.dialog(), IDC_PUSH); }));
        panel.click(IDC_PUSH);
        ASSERT_TRUE(panel.wait([&] { return push.has_begun(); }));
        // More waits behind it: a commit, a refresh and what they would post.
        panel.set_message(L"never");
        panel.click(IDC_STAGE_ALL_AND_COMMIT);
        PostMessageW(panel.dialog(), revlane::WM_REVLANE_REFRESH, 0, 0);
        panel.driver().pump();
        const auto start = std::chrono::steady_clock::now();
        if (by_frame)
            panel.driver().close();
        else
            panel.driver().press_close_button();
        panel.driver().pump();
        EXPECT_LT(std::chrono::steady_clock::now() - start, support::stop_limit);
        EXPECT_FALSE(IsWindow(panel.dialog()));
        EXPECT_TRUE(support::pump_until([&] { return !push.runs(); }));
        EXPECT_EQ(repository.id_of("HEAD"), head);
    }
}

}  // namespace
