// The branches list and the drop-down in a dialog with real controls, the dialogs that they ask with,
// and the list of changed files, on real repositories.
#include "changes/branches_dropdown.h"
#include "changes/branches_list.h"
#include "changes/confirmation.h"
#include "changes/file_picker.h"
#include "changes/messages.h"
#include "changes/modeless_dialogs.h"
#include "changes/name_search.h"
#include "changes/new_branch_dialog.h"
#include "changes/texts.h"
#include "resources/ids.h"
#include "tests/support/list_view.h"
#include "tests/support/localized_texts.h"
#include "tests/support/menu_reader.h"
#include "tests/support/owner_dialog.h"
#include "tests/support/pump.h"
#include "tests/support/recorded_git.h"
#include "tests/support/recording_host.h"
#include "tests/support/temp_repository.h"
#include "tests/support/window_watch.h"
#include "win32/posted.h"
#include "win32/text.h"
#include "win32/window.h"

#include <fmt/format.h>
#include <fmt/xchar.h>
#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace revlane {

namespace {

using support::cell;
using support::column;
using support::InNextDialog;
using support::rows_with;
using support::select_only;
using support::set_state;
using support::texts_of;
using Texts = std::vector<std::wstring>;

LRESULT send(HWND window, UINT message, WPARAM wparam = 0, LPARAM lparam = 0)
{
    return SendMessageW(window, message, wparam, lparam);
}

// Types a key as the control sees it.
void press(HWND control, WPARAM key)
{
    send(control, WM_KEYDOWN, key, 1);
}

std::wstring item_of(HWND combo, LRESULT index)
{
    std::wstring text(
        static_cast<std::size_t>(send(combo, CB_GETLBTEXTLEN, static_cast<WPARAM>(index))) + 1,
        L'\0');
    send(combo, CB_GETLBTEXT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(text.data()));
    text.pop_back();
    return text;
}

Texts items_of(HWND combo)
{
    Texts items;
    for (LRESULT i = 0; i < send(combo, CB_GETCOUNT); ++i)
        items.push_back(item_of(combo, i));
    return items;
}

std::wstring shown_in(HWND combo)
{
    const LRESULT index = send(combo, CB_GETCURSEL);
    return index < 0 ? L"(nothing)" : item_of(combo, index);
}

void click_task_button(HWND dialog, int button)
{
    send(dialog, TDM_CLICK_BUTTON, static_cast<WPARAM>(button));
}

// A dialog in the place of the panel, with both controls.
class Owner {
public:
    Owner()
    {
        support::make_owner_dialog(*this);
        if (list == nullptr || combo == nullptr)
            throw std::runtime_error("no controls can be made: is there a screen?");
        menu_reader_.emplace(list);
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
        if (branches != nullptr)
            if (const auto handled = branches->on_owner_message(message))
                return handled;
        switch (message.id) {
        case WM_INITDIALOG:
            dialog = message.window;
            list = support::add_list_view(dialog, LVS_OWNERDATA, 40);
            combo = CreateWindowExW(0, WC_COMBOBOXW, L"",
                                    WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_VSCROLL |
                                        CBS_DROPDOWNLIST | CBS_HASSTRINGS,
                                    0, 0, 120, 200, dialog, nullptr, nullptr, nullptr);
            return FALSE;
        case WM_COMMAND:
            if (dropdown != nullptr && reinterpret_cast<HWND>(message.lparam) == combo)
                dropdown->on_command(HIWORD(message.wparam));
            return 0;
        case WM_SETCURSOR:
            // Sent with parameters by the system.
            cursor_requests += message.wparam == 0 && message.lparam == 0 ? 1 : 0;
            return 0;
        case WM_REVLANE_REFRESH_ALL:
            EXPECT_EQ(message.wparam, 0u);
            EXPECT_EQ(message.lparam, 0);
            ++refreshes;
            return 0;
        case WM_REVLANE_COMMAND_RESULT:
            results.push_back(*win32::take_owned<git::CommandResult>(message.wparam));
            return 0;
        case WM_NCDESTROY:
            win32::drain_owned<git::CommandResult>(dialog, WM_REVLANE_COMMAND_RESULT);
            dialog = nullptr;
            return std::nullopt;
        default:
            return std::nullopt;
        }
    }

    // What the context menu of the list shows.
    support::ShownMenu context_menu()
    {
        return menu_reader_->read([this] {
            send(dialog, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(list), MAKELPARAM(5, 50));
        });
    }

    HWND dialog = nullptr;
    HWND list = nullptr;
    HWND combo = nullptr;
    BranchesList* branches = nullptr;
    BranchesDropdown* dropdown = nullptr;
    int refreshes = 0;
    int cursor_requests = 0;
    std::vector<git::CommandResult> results;

private:
    // The list's window owns its menu.
    std::optional<support::MenuReader> menu_reader_;
};

class Branches : public testing::Test {
protected:
    Branches()
    {
        branches_.emplace(host_.window(), pool_, git_);
        branches_->attach(owner_.dialog, owner_.list, L"No branches yet");
        branches_->begin();
        owner_.branches = &*branches_;
        dropdown_.attach(owner_.dialog, owner_.combo);
        dropdown_.begin();
        owner_.dropdown = &dropdown_;
    }
    void TearDown() override
    {
        pool_.wait();
        owner_.branches = nullptr;
        owner_.dropdown = nullptr;
    }

    [[nodiscard]] HWND list() const { return owner_.list; }
    [[nodiscard]] HWND combo() const { return owner_.combo; }

    // Makes a repository and shows it.
    void show(std::string_view script)
    {
        files_.emplace();
        files_->script(script);
        repository_ = *git::open_repository(files_->path());
        branches_->set_repository(&*repository_);
        dropdown_.set_repository(&*repository_);
        refill();
    }

    git::BranchList read() const { return *git::list_branches(repository_->handle.get()); }
    git::Reference head() const
    {
        git_reference* found = nullptr;
        git_repository_head(&found, repository_->handle.get());
        return git::Reference(found);
    }
    void refill()
    {
        branches_->fill(read(), head().get());
        dropdown_.fill(read(), head().get());
    }

    int row(const std::wstring& name) const
    {
        const Texts names = column(list(), 0);
        return static_cast<int>(std::find(names.begin(), names.end(), name) - names.begin());
    }
    void select(const std::wstring& name) { select_only(list(), {row(name)}); }

    // Sends a command as the menu does.
    void command(UINT id) { send(list(), WM_COMMAND, id); }
    // Waits for the tasks and for what they have posted.
    void finish()
    {
        pool_.wait();
        support::pump_waiting();
    }
    std::string shown() const { return branches_->shown_branch_name().value_or("(none)"); }

    support::LocalizedTexts texts_;
    support::RecordingHost host_;
    win32::WorkPool pool_;
    std::shared_ptr<git::Git> git_ = std::make_shared<git::Git>();
    std::optional<support::TempRepository> files_;
    std::optional<git::Repository> repository_;
    Owner owner_;
    std::optional<BranchesList> branches_;
    BranchesDropdown dropdown_{pool_, git_};
};

// main, feature/ä and old, with a remote of two branches. feature/ä is one commit ahead of its
// upstream and two behind.
constexpr std::string_view WITH_REMOTE = R"(
    echo 1 >a; git add a; commit base
    git branch old
    git checkout -q -b feature/ä
    for i in 2 3; do echo $i >>a; git add a; commit $i; done
    git init -q --bare ../remote.git; git remote add origin ../remote.git
    git push -q origin HEAD:feature/ä main; git fetch -q; git remote set-head origin main
    git reset -q --hard main; git branch -q -u origin/feature/ä
    echo mine >b; git add b; commit mine
    git checkout -q main; git branch -q -u origin/main
)";
const Texts NAMES_WITH_REMOTE{L"feature/ä", L"main", L"old", L"origin/feature/ä", L"origin/main"};

}  // namespace

// ---- The list --------------------------------------------------------------------------------------

TEST_F(Branches, AreListedWithWhereTheyStand)
{
    show(WITH_REMOTE);
    const std::wstring current = host::load_text(IDS_CURRENT_BRANCH);
    EXPECT_EQ(column(list(), 0), NAMES_WITH_REMOTE);
    EXPECT_EQ(column(list(), 1), (Texts{L"", current, L"", L"", L""}));
    EXPECT_EQ(items_of(combo()), NAMES_WITH_REMOTE);
    EXPECT_EQ(shown_in(combo()), L"main");

    branches_->set_tracking(read_tracking(repository_->handle.get()));
    EXPECT_EQ(column(list(), 1), (Texts{L"+1 −2", current + L" =", L"", L"", L""}));
    EXPECT_TRUE(read_tracking(repository_->handle.get(), [] { return true; }).empty());

    // The columns fill the control, whatever its size.
    for (const int width : {300, 180, 500}) {
        SetWindowPos(list(), nullptr, 0, 0, width, 180, SWP_NOMOVE | SWP_NOZORDER);
        RECT client{};
        GetClientRect(list(), &client);
        EXPECT_EQ(send(list(), LVM_GETCOLUMNWIDTH, 0) + send(list(), LVM_GETCOLUMNWIDTH, 1),
                  client.right);
        EXPECT_GE(send(list(), LVM_GETCOLUMNWIDTH, 0), client.right / 2);
    }

    files_->git({"checkout", "-q", "--detach"});
    refill();
    const std::wstring id = win32::to_wide(files_->id_of("HEAD").substr(0, 7));
    EXPECT_EQ(cell(list(), 0, 0), id);
    EXPECT_EQ(cell(list(), 0, 1), current);
    EXPECT_EQ(cell(list(), row(L"main"), 1), L"=");
    EXPECT_EQ(shown_in(combo()), id);

    branches_->set_repository(nullptr);
    dropdown_.set_repository(nullptr);
    EXPECT_EQ(send(list(), LVM_GETITEMCOUNT), 0);
    EXPECT_EQ(send(combo(), CB_GETCOUNT), 0);
    for (const UINT id_of_command : {40049U, 40078U, 40081U, 40083U, 40118U, 7356U})
        command(id_of_command);
    finish();
    EXPECT_EQ(owner_.refreshes, 0);
    EXPECT_TRUE(owner_.results.empty());
}

TEST_F(Branches, ARefillThatBringsNothingNewLeavesTheListAlone)
{
    show(WITH_REMOTE);
    UpdateWindow(list());
    std::vector<UINT> messages;
    const auto recorder = [&](const win32::Message& message) -> win32::Handled {
        const bool changes = message.id == LVM_SETITEMCOUNT || message.id == LVM_SETITEMSTATE ||
                             message.id == WM_SETREDRAW || message.id == CB_RESETCONTENT ||
                             message.id == CB_SETCURSEL;
        if (changes)
            messages.push_back(message.id);
        return std::nullopt;
    };
    const win32::Subclass on_list(list(), recorder, 1);
    const win32::Subclass on_combo(combo(), recorder, 1);

    files_->script("echo more >>a; git add a; commit more");
    refill();
    EXPECT_TRUE(messages.empty());
    EXPECT_FALSE(GetUpdateRect(list(), nullptr, FALSE));
    // The commits are the new ones all the same.
    EXPECT_EQ(
        win32::to_utf8(git::oid_to_text(*git::reference_target(branches_->references()[1].get()))),
        files_->id_of("main"));

    files_->git({"checkout", "-q", "old"});
    refill();
    EXPECT_FALSE(messages.empty());
    EXPECT_EQ(shown_in(combo()), L"old");
}

TEST_F(Branches, SelectionFocusAndTopRowFollowTheNames)
{
    show("echo 1 >a; git add a; commit base");
    files_->script("for i in $(seq 100 199); do git update-ref refs/heads/b$i HEAD; done");
    refill();
    select_only(list(), {40, 42});
    send(list(), LVM_ENSUREVISIBLE, 99, FALSE);
    send(list(), LVM_ENSUREVISIBLE, 30, FALSE);
    const auto top_name = [this] {
        return cell(list(), static_cast<int>(send(list(), LVM_GETTOPINDEX)), 0);
    };
    ASSERT_EQ(top_name(), L"b130");

    files_->script("git branch -q a1; git branch -q a2; git branch -q -D b140 b110");
    refill();
    EXPECT_EQ(rows_with(list(), LVNI_SELECTED), std::vector<int>{row(L"b142")});
    EXPECT_EQ(rows_with(list(), LVNI_FOCUSED), std::vector<int>{row(L"b142")});
    EXPECT_EQ(top_name(), L"b130");

    // What had the focus is gone: the next one has it.
    files_->script("git branch -q -D b142 b130");
    refill();
    EXPECT_TRUE(rows_with(list(), LVNI_SELECTED).empty());
    EXPECT_EQ(rows_with(list(), LVNI_FOCUSED), std::vector<int>{row(L"b143")});
    EXPECT_EQ(top_name(), L"b131");
}

TEST_F(Branches, TypingJumpsToAName)
{
    show("echo 1 >a; git add a; commit base; for b in Alpha beta betamax user/gamma; do "
         "git branch $b; done");
    select(L"beta");
    for (const char letter : std::string_view("betam"))
        send(list(), WM_CHAR, static_cast<WPARAM>(letter), 1);
    EXPECT_EQ(rows_with(list(), LVNI_SELECTED), std::vector<int>{row(L"betamax")});

    struct Case {
        std::wstring typed;
        std::size_t start;
        std::wstring name;  // empty: none
    };
    const Texts names{L"Alpha", L"beta", L"betamax", L"main", L"origin/beta", L"user/Gamma"};
    for (const Case& test :
         {Case{L"be", 0, L"beta"}, Case{L"be", 2, L"betamax"}, Case{L"be", 3, L"beta"},
          Case{L"AL", 4, L"Alpha"}, Case{L"g", 0, L"user/Gamma"}, Case{L"user/g", 0, L"user/Gamma"},
          Case{L"m", 6, L"main"}, Case{L"amax", 0, L""}, Case{L"user/gammas", 0, L""}}) {
        SCOPED_TRACE(win32::to_utf8(test.typed));
        const auto found = find_name(names, test.typed, test.start);
        EXPECT_EQ(found ? names[*found] : std::wstring(), test.name);
    }
    EXPECT_FALSE(find_name({}, L"a", 0));
}

TEST_F(Branches, ThousandsAreShownAtOnce)
{
    constexpr int count = 5000;
    show("echo 1 >a; git add a; commit base");
    const std::string id = files_->id_of("main");
    std::string packed = "# pack-refs with: peeled fully-peeled sorted \n";
    for (int i = 0; i < count; ++i)
        packed += fmt::format("{} refs/heads/topic/{:05}\n", id, i);
    files_->write_file(".git/packed-refs", packed);
    for (const char* what : {"fill", "refill"}) {
        SCOPED_TRACE(what);
        const auto start = std::chrono::steady_clock::now();
        refill();
        UpdateWindow(list());
        const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - start);
        EXPECT_LT(took, support::stop_limit);
        RecordProperty(what, static_cast<int>(took.count()));
    }
    EXPECT_EQ(send(list(), LVM_GETITEMCOUNT), count + 1);
    EXPECT_EQ(send(combo(), CB_GETCOUNT), count + 1);
    EXPECT_EQ(cell(list(), count, 0), L"topic/04999");
}

TEST_F(Branches, TheMenuOffersWhatFitsTheSelection)
{
    show(WITH_REMOTE);
    files_->git({"checkout", "-q", "--detach"});
    refill();
    const std::set<UINT> one{40049, 40078, 40081, 40083, 40085};
    std::set<UINT> one_remote = one;
    one_remote.insert(40118);
    struct Case {
        const char* name;
        std::vector<int> rows;
        std::set<UINT> enabled;
    };
    const std::vector<Case> cases{
        {"nothing", {}, {40085}},
        {"a local branch", {row(L"main")}, one},
        {"a detached HEAD", {0}, one},
        {"a remote-tracking branch", {row(L"origin/main")}, one_remote},
        {"two", {1, 2}, {7356, 40085}},
        {"two remote-tracking ones",
         {row(L"origin/main"), row(L"origin/feature/ä")},
         {7356, 40085}},
        {"three", {1, 2, 3}, {40085}},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        select_only(list(), test.rows);
        const support::ShownMenu menu = owner_.context_menu();
        EXPECT_EQ(menu.default_command, 40049u);
        EXPECT_EQ(menu.enabled, test.enabled);
        EXPECT_EQ(std::set<UINT>(menu.commands.begin(), menu.commands.end()),
                  (std::set<UINT>{40049, 40078, 40081, 40083, 40085, 40118, 7356}));

        // A command that the menu does not offer does nothing if it comes all the same.
        for (const UINT id : {40049U, 40078U, 40118U, 7356U})
            if (!test.enabled.contains(id))
                command(id);
        finish();
        EXPECT_EQ(owner_.refreshes, 0);
        EXPECT_EQ(owner_.cursor_requests, 0);
    }
}

TEST_F(Branches, TheShownBranchStaysRight)
{
    show(WITH_REMOTE);
    EXPECT_EQ(branches_->shown_branch(), nullptr);
    select(L"old");
    command(40049);
    finish();
    EXPECT_EQ(shown(), "old");
    EXPECT_EQ(owner_.refreshes, 1);

    // A double-click, and Enter.
    select(L"feature/ä");
    NMITEMACTIVATE click{};
    click.hdr = {list(), 0, static_cast<UINT>(NM_DBLCLK)};
    click.iItem = row(L"feature/ä");
    send(owner_.dialog, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&click));
    EXPECT_EQ(shown(), "feature/ä");
    select(L"origin/main");
    MSG key{list(), WM_KEYDOWN, VK_RETURN, 0, 0, {}};
    EXPECT_NE(send(list(), WM_GETDLGCODE, VK_RETURN, reinterpret_cast<LPARAM>(&key)) &
                  DLGC_WANTMESSAGE,
              0);
    press(list(), VK_RETURN);
    EXPECT_EQ(shown(), "origin/main");

    // By name from elsewhere; a local branch comes before a remote-tracking one.
    for (const std::string name : {"old", "missing", "origin/feature/ä", "refs/heads/main"})
        win32::post_owned(list(), WM_REVLANE_SET_REVISION, std::make_unique<std::string>(name));
    PostMessageW(list(), WM_REVLANE_SET_REVISION, 0, 0);
    owner_.refreshes = 0;
    finish();
    EXPECT_EQ(shown(), "main");
    EXPECT_EQ(owner_.refreshes, 2 + 3) << "of Enter and the double-click, and of three names";

    // It moves with its branch, and goes with it.
    files_->script("echo more >>a; git add a; commit more");
    refill();
    EXPECT_EQ(win32::to_utf8(git::oid_to_text(*git::reference_target(branches_->shown_branch()))),
              files_->id_of("main"));
    files_->script("git checkout -q old; git branch -q -D main");
    refill();
    EXPECT_EQ(branches_->shown_branch(), nullptr);
    command(40085);
    press(list(), VK_F5);
    owner_.refreshes = 0;
    finish();
    EXPECT_EQ(owner_.refreshes, 2);

    select(L"old");
    command(40049);
    branches_->set_repository(&*repository_);
    EXPECT_EQ(branches_->shown_branch(), nullptr);

    // What waits as the control goes is freed.
    win32::post_owned(list(), WM_REVLANE_SET_REVISION, std::make_unique<std::string>("old"));
    DestroyWindow(owner_.dialog);
    refill();
    branches_->set_tracking({{"refs/heads/old", {1, 2}}});
    branches_->on_checkout();
    EXPECT_EQ(branches_->references().size(), 4u);
}

// ---- What the commands run -------------------------------------------------------------------------

TEST_F(Branches, RunTheirCommandsInTheBackground)
{
    show(WITH_REMOTE);
    const auto press_button = [](int button) {
        return [button](HWND dialog) { click_task_button(dialog, button); };
    };
    const auto name_branch = [](const wchar_t* name, WORD button) {
        return [name, button](HWND dialog) {
            SetDlgItemTextW(dialog, IDC_BRANCH_NAME, name);
            send(dialog, WM_COMMAND, button);
        };
    };
    struct Case {
        const char* name;
        std::wstring branch;
        UINT command;
        std::function<void(HWND)> answer;  // to the question; none: there is no question
        Texts lines;
    };
    const std::vector<Case> cases{
        {"create",
         L"old",
         40081,
         name_branch(L"neu/ß", IDOK),
         {LR"(branch "neu/ß" "old")", LR"(checkout "neu/ß" --)"}},
        {"create from a remote-tracking branch",
         L"origin/main",
         40081,
         name_branch(L"x", IDOK),
         {LR"(branch "x" "origin/main")", LR"(checkout "x" --)"}},
        {"create, cancelled", L"old", 40081, name_branch(L"x", IDCANCEL), {}},
        {"delete", L"feature/ä", 40083, press_button(1), {LR"(branch --delete "feature/ä")"}},
        {"delete, cancelled", L"feature/ä", 40083, press_button(2), {}},
        {"delete a remote-tracking branch",
         L"origin/feature/ä",
         40083,
         press_button(1),
         {LR"(branch --delete --remotes "origin/feature/ä")"}},
        {"delete on the remote",
         L"origin/feature/ä",
         40118,
         press_button(1),
         {L"push -v origin --delete feature/ä"}},
        {"delete on the remote, closed",
         L"origin/feature/ä",
         40118,
         [](HWND dialog) { send(dialog, WM_CLOSE); },
         {}},
    };
    support::RecordedGit recorded;
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        owner_.results.clear();
        owner_.cursor_requests = 0;
        select(test.branch);
        {
            const InNextDialog question(test.answer);
            command(test.command);
        }
        finish();
        Texts lines;
        for (const git::CommandResult& result : owner_.results)
            lines.push_back(result.command);
        EXPECT_EQ(lines, test.lines);
        for (std::wstring& line : lines)
            line.insert(0, L"git --no-pager ");
        EXPECT_EQ(recorded.take_command_lines(), lines);
        EXPECT_EQ(owner_.cursor_requests, test.lines.empty() ? 0 : 1);
    }
}

TEST_F(Branches, CreateAndCheckOutWithTheRealGit)
{
    show(WITH_REMOTE);
    // The branch is there already: the checkout is not tried.
    for (const wchar_t* name : {L"neu", L"old"}) {
        select(L"feature/ä");
        const InNextDialog question([name](HWND dialog) {
            SetDlgItemTextW(dialog, IDC_BRANCH_NAME, name);
            send(dialog, WM_COMMAND, IDOK);
        });
        command(40081);
        finish();
    }
    ASSERT_EQ(owner_.results.size(), 3u);
    EXPECT_TRUE(owner_.results[0].ok && owner_.results[1].ok);
    EXPECT_FALSE(owner_.results[2].ok);
    EXPECT_STREQ(git_reference_shorthand(head().get()), "neu");
    EXPECT_EQ(files_->id_of("neu"), files_->id_of("feature/ä"));

    // Checking out brings the changes along.
    files_->write_file("c", "work");
    files_->git({"add", "c"});
    owner_.results.clear();
    refill();
    select(L"old");
    command(40078);
    finish();
    EXPECT_EQ(owner_.results.size(), 5u);
    EXPECT_STREQ(git_reference_shorthand(head().get()), "old");
    EXPECT_EQ(files_->status(), (std::vector<support::StatusEntry>{{'A', ' ', "c", ""}}));

    // A branch that names no commit is not checked out.
    files_->write_file(".git/refs/heads/tree", files_->id_of("HEAD^{tree}") + "\n");
    owner_.results.clear();
    refill();
    select(L"tree");
    const InNextDialog error([](HWND dialog) { click_task_button(dialog, IDCLOSE); });
    command(40078);
    finish();
    EXPECT_TRUE(owner_.results.empty());
}

TEST_F(Branches, DeletingAsksFirst)
{
    show(WITH_REMOTE);
    std::optional<support::RecordedGit> recorded(std::in_place);
    select(L"old");
    command(40049);
    EXPECT_EQ(shown(), "old");
    // Enter presses the button that deletes nothing.
    {
        const InNextDialog question([](HWND dialog) {
            const std::wstring texts = texts_of(dialog);
            for (const std::wstring& text :
                 {text_with(IDS_DELETE_BRANCH_QUESTION, L"old"), host::load_text(IDS_DELETE),
                  host::load_text(IDS_CANCEL)})
                EXPECT_NE(texts.find(text), std::wstring::npos) << win32::to_utf8(texts);
            PostMessageW(GetFocus(), WM_KEYDOWN, VK_RETURN, 1);
        });
        command(40083);
    }
    finish();
    EXPECT_TRUE(owner_.results.empty());
    EXPECT_EQ(shown(), "old");
    {
        const InNextDialog question([](HWND dialog) { click_task_button(dialog, 1); });
        command(40083);
    }
    EXPECT_EQ(branches_->shown_branch(), nullptr);
    finish();
    EXPECT_EQ(owner_.results.size(), 1u);

    select(L"origin/main");
    {
        const InNextDialog question([](HWND dialog) {
            EXPECT_NE(
                texts_of(dialog).find(text_with(IDS_DELETE_REMOTE_QUESTION, L"main", L"origin")),
                std::wstring::npos);
            click_task_button(dialog, 2);
        });
        command(40118);
    }
    finish();
    EXPECT_EQ(owner_.results.size(), 1u);

    recorded.reset();
    files_->git({"checkout", "-q", "--detach"});
    refill();
    select_only(list(), {0});
    {
        const InNextDialog error([](HWND dialog) {
            EXPECT_NE(
                texts_of(dialog).find(L"To delete a detached HEAD, checkout a different branch."),
                std::wstring::npos);
            send(dialog, WM_CLOSE);
        });
        command(40083);
    }
    // Nor is there anything to switch to.
    command(40078);
    finish();
    EXPECT_EQ(owner_.results.size(), 1u);
}

// The editor may close the panel while a question is open.
TEST_F(Branches, MayGoWhileTheyAsk)
{
    show(WITH_REMOTE);
    select(L"old");
    const support::RecordedGit recorded;
    const auto end_list_and = [this](auto answer) {
        return [this, answer](HWND dialog) {
            owner_.branches = nullptr;
            branches_.reset();
            answer(dialog);
        };
    };
    const InNextDialog question(
        end_list_and([](HWND dialog) { click_task_button(dialog, CONFIRMED); }));
    branches_->on_delete_branch();
    finish();
    EXPECT_TRUE(owner_.results.empty());
}

// ---- The drop-down ---------------------------------------------------------------------------------

TEST_F(Branches, ADropDownSwitchesWhenItsListCloses)
{
    show(WITH_REMOTE);
    const auto open = [this] { send(combo(), CB_SHOWDROPDOWN, TRUE); };
    const auto is_open = [this] { return send(combo(), CB_GETDROPPEDSTATE) != FALSE; };
    const auto expect_nothing_ran = [this] {
        EXPECT_FALSE(dropdown_.is_switching());
        finish();
        EXPECT_TRUE(owner_.results.empty());
        EXPECT_EQ(owner_.cursor_requests, 0);
    };

    // On the closed control a key opens the list, the wheel does nothing.
    for (const WPARAM key : std::initializer_list<WPARAM>{VK_DOWN, VK_UP, VK_NEXT, VK_END}) {
        press(combo(), key);
        EXPECT_TRUE(is_open());
        EXPECT_EQ(shown_in(combo()), L"main");
        press(combo(), VK_ESCAPE);
        EXPECT_FALSE(is_open());
    }
    // Letters lead to a name, which is only looked at.
    for (const char letter : std::string_view("origin/m"))
        send(combo(), WM_CHAR, static_cast<WPARAM>(letter), 1);
    EXPECT_TRUE(is_open());
    EXPECT_EQ(shown_in(combo()), L"origin/main");
    press(combo(), VK_ESCAPE);
    EXPECT_EQ(shown_in(combo()), L"main");
    send(combo(), WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(-WHEEL_DELTA)), 0);
    EXPECT_EQ(shown_in(combo()), L"main");
    expect_nothing_ran();

    // Looking through the list and leaving it.
    open();
    press(combo(), VK_DOWN);
    EXPECT_EQ(shown_in(combo()), L"old");
    expect_nothing_ran();
    press(combo(), VK_ESCAPE);
    EXPECT_EQ(shown_in(combo()), L"main");
    // The current branch is no choice.
    open();
    press(combo(), VK_RETURN);
    expect_nothing_ran();

    open();
    press(combo(), VK_DOWN);
    press(combo(), VK_RETURN);
    EXPECT_FALSE(is_open());
    EXPECT_EQ(shown_in(combo()), L"old");
    EXPECT_TRUE(dropdown_.is_switching());
    finish();
    EXPECT_FALSE(dropdown_.is_switching());
    EXPECT_EQ(owner_.cursor_requests, 1);
    ASSERT_EQ(owner_.results.size(), 3u);
    EXPECT_STREQ(git_reference_shorthand(head().get()), "old");
}

TEST_F(Branches, AFailedSwitchShowsWhereHeadIs)
{
    show(WITH_REMOTE);
    // There is a local branch of that name.
    send(combo(), CB_SETCURSEL, static_cast<WPARAM>(row(L"origin/feature/ä")));
    dropdown_.on_branch_change();
    finish();
    ASSERT_EQ(owner_.results.size(), 1u);
    EXPECT_FALSE(owner_.results[0].ok);
    EXPECT_EQ(shown_in(combo()), L"origin/feature/ä");
    refill();
    EXPECT_EQ(shown_in(combo()), L"main");
}

TEST_F(Branches, AnOpenDropDownIsNotRefilled)
{
    show(WITH_REMOTE);
    send(combo(), CB_SHOWDROPDOWN, TRUE);
    EXPECT_GT(send(combo(), CB_GETDROPPEDWIDTH), 0);
    files_->git({"branch", "another"});
    refill();
    EXPECT_EQ(items_of(combo()), NAMES_WITH_REMOTE);
    press(combo(), VK_ESCAPE);
    EXPECT_EQ(send(combo(), CB_GETCOUNT), std::ssize(NAMES_WITH_REMOTE) + 1);
    EXPECT_EQ(shown_in(combo()), L"main");

    // A branch that has no commit yet is shown, but cannot be picked.
    dropdown_.fill(read(), nullptr, L"unborn");
    EXPECT_EQ(shown_in(combo()), L"unborn");
    dropdown_.on_branch_change();
    EXPECT_FALSE(dropdown_.is_switching());
    EXPECT_TRUE(dropdown_.select("refs/heads/old"));
    EXPECT_EQ(shown_in(combo()), L"old");
    EXPECT_FALSE(dropdown_.select("refs/heads/gone"));
    EXPECT_EQ(shown_in(combo()), L"old");

    // Without a repository, and without a selection.
    send(combo(), CB_SETCURSEL, static_cast<WPARAM>(-1));
    dropdown_.on_branch_change();
    dropdown_.set_repository(nullptr);
    dropdown_.on_branch_change();
    EXPECT_FALSE(dropdown_.is_switching());
}

// ---- Dialogs ---------------------------------------------------------------------------------------

TEST(NewBranchDialog, TakesOnlyNamesThatGitAccepts)
{
    const support::LocalizedTexts texts;
    const support::RecordingHost owner;
    const InNextDialog question([](HWND dialog) {
        const auto is_ok_enabled = [dialog] {
            return IsWindowEnabled(GetDlgItem(dialog, IDOK)) != FALSE;
        };
        EXPECT_FALSE(is_ok_enabled());
        const std::map<std::wstring, bool> names{
            {L"", false},        {L"feature/ü", true}, {L"a b", false},    {L"a..b", false},
            {L"-option", false}, {L"HEAD", false},     {L"x.lock", false}, {L"x/", false},
            {L"it's", true},     {L"a~1", false},      {L"名前", true}};
        for (const auto& [name, is_valid] : names) {
            SetDlgItemTextW(dialog, IDC_BRANCH_NAME, name.c_str());
            EXPECT_EQ(is_ok_enabled(), is_valid) << win32::to_utf8(name);
        }
        // Enter comes as a command, whether the button is enabled or not.
        SetDlgItemTextW(dialog, IDC_BRANCH_NAME, L"a b");
        send(dialog, WM_COMMAND, IDOK);
        EXPECT_TRUE(IsWindowEnabled(dialog));
        SetDlgItemTextW(dialog, IDC_BRANCH_NAME, L"good");
        send(dialog, WM_COMMAND, IDOK);
    });
    EXPECT_EQ(ask_branch_name(owner.window()), L"good");
}

TEST_F(Branches, AreComparedFileByFile)
{
    show("printf '1\\n' >a; printf '1\\n' >b; printf '1\\n' >c; git add -A; commit base; "
         "git branch same; "
         "git checkout -q -b other; printf '2\\n' >a; git rm -q b; printf 'new\\n' >'ü d'; "
         "git add -A; commit other");
    const auto picker = [this] {
        HWND found = nullptr;
        while ((found = FindWindowExW(nullptr, found, WC_DIALOG, nullptr)) != nullptr)
            if (GetWindow(found, GW_OWNER) == host_.window())
                break;
        return found;
    };
    select_only(list(), {row(L"main"), row(L"other")});
    command(7356);
    const HWND dialog = picker();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(win32::window_text(dialog), text_with(IDS_COMPARE_BRANCHES_TITLE, L"main", L"other"));
    const HWND files = GetDlgItem(dialog, IDC_CHANGED_FILES);
    EXPECT_EQ(column(files, 0), (Texts{L"a", L"b", L"ü d"}));
    EXPECT_EQ(column(files, 1),
              (Texts{host::load_text(IDS_STATUS_MODIFIED), host::load_text(IDS_STATUS_DELETED),
                     host::load_text(IDS_STATUS_ADDED)}));

    // One after the other is compared in the editor; the dialog stays.
    Texts titles;
    int comparisons = 0;
    const win32::Subclass editor(
        host_.window(), [&](const win32::Message& message) -> win32::Handled {
            constexpr UINT info = 2106;
            constexpr WPARAM title = 404;
            constexpr UINT compare = 2166;
            if (message.id == info && message.wparam == title)
                titles.emplace_back(reinterpret_cast<const wchar_t*>(message.lparam));
            comparisons += message.id == compare ? 1 : 0;
            return 0;
        });
    select_only(files, {0});
    send(dialog, WM_COMMAND, IDOK);
    select_only(files, {1});
    NMITEMACTIVATE activate{};
    activate.hdr = {files, IDC_CHANGED_FILES, static_cast<UINT>(LVN_ITEMACTIVATE)};
    send(dialog, WM_NOTIFY, IDC_CHANGED_FILES, reinterpret_cast<LPARAM>(&activate));
    EXPECT_EQ(titles, (Texts{L"a (old)", L"a (new)", L"b (old)", L"b (new)"}));
    EXPECT_EQ(comparisons, 1) << "a deleted file is not compared";
    EXPECT_EQ(picker(), dialog);
    set_state(files, -1, 0, LVIS_SELECTED);
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDOK)));

    SetWindowPos(dialog, nullptr, 0, 0, 700, 500, SWP_NOMOVE | SWP_NOZORDER);
    RECT client{}, list_area{}, close{};
    GetClientRect(dialog, &client);
    GetWindowRect(files, &list_area);
    GetWindowRect(GetDlgItem(dialog, IDCANCEL), &close);
    EXPECT_GT(list_area.right - list_area.left, client.right * 9 / 10);
    EXPECT_LT(list_area.bottom, close.top);
    send(dialog, WM_COMMAND, IDCANCEL);
    EXPECT_FALSE(IsWindow(dialog));

    // Two that are the same: an empty list, which goes with its frame.
    select_only(list(), {row(L"main"), row(L"same")});
    command(7356);
    const HWND empty = picker();
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(send(GetDlgItem(empty, IDC_CHANGED_FILES), LVM_GETITEMCOUNT), 0);
    send(empty, WM_COMMAND, IDOK);
    close_modeless_dialogs(list());
    EXPECT_TRUE(IsWindow(empty));
    close_modeless_dialogs(host_.window());
    EXPECT_FALSE(IsWindow(empty));
}

}  // namespace revlane
