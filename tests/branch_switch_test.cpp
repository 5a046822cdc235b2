// Switching branches with uncommitted work, with the real git: after every switch, whatever came of
// it, all of the work is in the working tree, in the index or in a stash, and the user is told.
#include "changes/branch_switch.h"

#include "changes/messages.h"
#include "changes/stash_guard.h"
#include "changes/texts.h"
#include "git/handles.h"
#include "resources/ids.h"
#include "tests/support/localized_texts.h"
#include "tests/support/pump.h"
#include "tests/support/recorded_git.h"
#include "tests/support/temp_repository.h"
#include "win32/handle.h"
#include "win32/posted.h"
#include "win32/text.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace revlane {

namespace {

using namespace std::chrono_literals;
using support::TempRepository;
using Verbs = std::vector<std::string>;

// ---- Where work is ---------------------------------------------------------------------------------

// Lines of files: path and line. A test marks the user's work by beginning its lines with "work".
using Lines = std::set<std::pair<std::string, std::string>>;

void add_work(Lines& lines, const std::string& path, std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\n'), bytes.size());
        if (bytes.starts_with("work"))
            lines.emplace(path, bytes.substr(0, end));
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
}

void add_blob(Lines& lines, git_repository* repository, const std::string& path, const git_oid& id)
{
    git_blob* found = nullptr;
    if (git_blob_lookup(&found, repository, &id) != 0)
        return;
    const git::Blob blob(found);
    add_work(lines, path,
             {static_cast<const char*>(git_blob_rawcontent(found)),
              static_cast<std::size_t>(git_blob_rawsize(found))});
}

Lines work_in_files(const TempRepository& files)
{
    Lines lines;
    const std::filesystem::path& root = files.path();
    for (auto entry = std::filesystem::recursive_directory_iterator(root);
         entry != std::filesystem::recursive_directory_iterator(); ++entry) {
        if (entry->path().filename() == ".git")
            entry.disable_recursion_pending();
        else if (entry->is_regular_file()) {
            const std::string path =
                win32::to_utf8(entry->path().lexically_relative(root).generic_wstring());
            add_work(lines, path, files.read_file(path));
        }
    }
    return lines;
}

Lines work_in_index(git_repository* repository)
{
    git_index* opened = nullptr;
    EXPECT_EQ(git_repository_index(&opened, repository), 0);
    const git::Index index(opened);
    git_index_read(opened, 1);
    Lines lines;
    for (std::size_t i = 0; i < git_index_entrycount(opened); ++i) {
        const git_index_entry* entry = git_index_get_byindex(opened, i);
        add_blob(lines, repository, entry->path, entry->id);
    }
    return lines;
}

Lines work_in_tree(git_repository* repository, const git_commit* commit)
{
    git_tree* found = nullptr;
    EXPECT_EQ(git_commit_tree(&found, commit), 0);
    const git::Tree tree(found);
    struct Walk {
        git_repository* repository;
        Lines lines;
    } walk{repository, {}};
    git_tree_walk(
        found, GIT_TREEWALK_PRE,
        [](const char* folder, const git_tree_entry* entry, void* payload) {
            auto& to = *static_cast<Walk*>(payload);
            if (git_tree_entry_type(entry) == GIT_OBJECT_BLOB)
                add_blob(to.lines, to.repository, std::string(folder) + git_tree_entry_name(entry),
                         *git_tree_entry_id(entry));
            return 0;
        },
        &walk);
    return walk.lines;
}

struct Stash {
    std::string subject;
    git_oid id;
};

std::vector<Stash> stashes_of(git_repository* repository)
{
    std::vector<Stash> stashes;
    git_stash_foreach(
        repository,
        [](std::size_t, const char* message, const git_oid* id, void* to) {
            static_cast<std::vector<Stash>*>(to)->push_back({message, *id});
            return 0;
        },
        &stashes);
    return stashes;
}

// All work, by where it was done.
struct Work {
    Lines files;
    Lines index;
};

// What the stashes of a switch hold.
Work work_in_our_stashes(git_repository* repository)
{
    Work work;
    for (const Stash& stash : stashes_of(repository)) {
        if (stash.subject.find(": revlane-") == std::string::npos)
            continue;
        git_commit* found = nullptr;
        EXPECT_EQ(git_commit_lookup(&found, repository, &stash.id), 0);
        const git::Commit commit(found);
        work.files.merge(work_in_tree(repository, found));
        EXPECT_EQ(git_commit_parent(&found, commit.get(), 1), 0);
        const git::Commit index(found);
        work.index.merge(work_in_tree(repository, found));
    }
    return work;
}

// ---- What became of a switch -----------------------------------------------------------------------

// "XY path" an entry, as git's status has it.
std::set<std::string> status_of(const TempRepository& files)
{
    std::set<std::string> lines;
    for (const support::StatusEntry& entry : files.status())
        lines.insert(std::string{entry.index, entry.worktree, ' '} + entry.path);
    return lines;
}

// Receives what a switch posts. Nothing is dispatched: the test takes it from the queue.
class Results {
public:
    Results()
        : window_(CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                                  nullptr))
    {
    }
    ~Results()
    {
        win32::drain_owned<git::CommandResult>(window_, WM_REVLANE_COMMAND_RESULT);
        win32::drain_owned<std::wstring>(window_, WM_REVLANE_STASH_KEPT);
        DestroyWindow(window_);
    }
    Results(const Results&) = delete;
    Results& operator=(const Results&) = delete;

    [[nodiscard]] HWND window() const noexcept { return window_; }
    std::vector<git::CommandResult> take() const
    {
        std::vector<git::CommandResult> results;
        MSG message{};
        while (PeekMessageW(&message, window_, WM_REVLANE_COMMAND_RESULT, WM_REVLANE_COMMAND_RESULT,
                            PM_REMOVE)) {
            EXPECT_EQ(message.lParam, 0);
            results.push_back(std::move(*win32::take_owned<git::CommandResult>(message.wParam)));
        }
        return results;
    }

private:
    HWND window_;
};

// The commands by their first words, those that failed with an exclamation mark.
Verbs verbs_of(const std::vector<git::CommandResult>& results)
{
    Verbs verbs;
    for (const git::CommandResult& result : results) {
        std::string command = win32::to_utf8(result.command);
        const std::size_t words = command.starts_with("stash ") ? 6 : 0;
        verbs.push_back(command.substr(0, command.find(' ', words)) + (result.ok ? "" : "!"));
    }
    return verbs;
}

const Verbs WHOLE_SWITCH{"stash push", "stash list", "checkout", "stash apply", "stash drop"};

// A repository with the branches main and other. They differ in the last line of "differs", in
// "gone" (on main only) and in "arrives" (on other only).
constexpr std::string_view BRANCHES = R"(
    lines() { for i in 1 2 3 4 5 6 7 8 9; do echo "line $i of $1"; done; }
    mkdir -p "dir/tief ü"
    for file in a b c d e f g h "dir/tief ü/i"; do lines "$file" >"$file"; done
    lines differs >differs; echo "last of main" >>differs
    echo gone >gone
    git add -A; commit base
    git branch other; git checkout -q other
    lines differs >differs; echo "last of other" >>differs
    git rm -q gone; echo arrives >arrives
    git add -A; commit other
    git checkout -q main
)";

class BranchSwitch : public testing::Test {
protected:
    // Makes the branches and does the user's work on main.
    void begin(const std::string& work)
    {
        files_.emplace();
        files_->script(std::string(BRANCHES) + work);
        repository_ = files_->open();
        for (const Stash& stash : stashes_of(repository_.get()))
            known_.insert(stash.subject);
    }

    // Switches, takes what was posted, and looks for all work that there was before.
    void switch_to(const std::string& branch, bool is_remote = false)
    {
        const Work before{work_in_files(*files_), work_in_index(repository_.get())};
        const git::Repository opened = *git::open_repository(files_->path());
        switch_branch(window_.window(), opened, context(), branch, is_remote);
        results_ = window_.take();

        const Work kept = work_in_our_stashes(repository_.get());
        Work now{work_in_files(*files_), work_in_index(repository_.get())};
        for (const auto& line : before.files)
            EXPECT_TRUE(now.files.contains(line) || kept.files.contains(line))
                << "lost in " << line.first << ": " << line.second;
        for (const auto& line : before.index)
            EXPECT_TRUE(now.index.contains(line) || now.files.contains(line) ||
                        kept.index.contains(line))
                << "lost from the index, " << line.first << ": " << line.second;
        expect_told_of_stashes();
    }

    // Every stash that is left of switches is named in a result, and none that is gone.
    void expect_told_of_stashes()
    {
        std::string said;
        for (const git::CommandResult& result : results_)
            if (!result.ok)
                said += result.output;
        bool is_left = false;
        for (const Stash& stash : stashes_of(repository_.get())) {
            const std::size_t name = stash.subject.find("revlane-");
            if (name == std::string::npos || known_.contains(stash.subject))
                continue;
            is_left = true;
            known_.insert(stash.subject);
            EXPECT_NE(said.find(stash.subject.substr(name)), std::string::npos)
                << stash.subject << " is left, but the user reads: " << said;
        }
        if (!is_left) {
            const std::wstring claim = host::load_text(IDS_STASH_KEPT);
            EXPECT_EQ(said.find(win32::to_utf8(claim.substr(0, claim.find(L'{')))),
                      std::string::npos)
                << said;
        }
    }

    std::string head() const
    {
        git_reference* found = nullptr;
        if (git_repository_head(&found, repository_.get()) != 0)
            return {};
        const git::Reference reference(found);
        return git_reference_shorthand(found);
    }

    git::CommandContext context() { return {files_->path(), git_}; }

    support::LocalizedTexts texts_;
    Results window_;
    git::Git git_;
    std::optional<TempRepository> files_;
    std::shared_ptr<git_repository> repository_;
    std::vector<git::CommandResult> results_;
    std::set<std::string> known_;  // subjects of stashes that the user was told of
};

}  // namespace

TEST_F(BranchSwitch, NamesItsStashByTimeAndBranch)
{
    const SYSTEMTIME time{2026, 11, 6, 14, 9, 11, 15, 42};
    EXPECT_EQ(stash_message(time, L"main"), L"revlane-2026-11-14-0911150042-main");
    EXPECT_EQ(stash_message(SYSTEMTIME{987, 1, 1, 2, 3, 4, 5, 999}, L"a/ü"),
              L"revlane-0987-01-02-0304050999-a/ü");

    EXPECT_EQ(local_branch_name("origin/feature"), "feature");
    EXPECT_EQ(local_branch_name("origin/a/b"), "a/b");
    EXPECT_EQ(local_branch_name("plain"), "plain");
}

// Everything that a user can have done to files that are the same on both branches, all at once.
TEST_F(BranchSwitch, BringsEveryKindOfWorkThereAndBack)
{
    begin(R"(
        echo "work stashed before" >>h; git stash push -q -m "On main: mine"
        echo "work unstaged" >>a
        echo "work staged" >>b; git add b
        echo "work staged first" >>c; git add c; echo "work and more" >>c
        git rm -q d
        rm e
        git mv f "renamed ф"; echo "work on the renamed" >>"renamed ф"; git add -A "renamed ф"
        git rm -q --cached g; echo "work kept in the file" >>g
        echo "work, a new file" >new; git add new
        echo "work, a new file" >grown; git add grown; echo "work that came later" >>grown
        mkdir nowhere; echo "work untracked" >"nowhere/un tracked"
        echo "work deep down" >>"dir/tief ü/i"; git add -A dir
        printf 'work \000 with zeros\r\nwork without an end' >binary; git add binary
        : >empty; git add empty
    )");
    const std::set<std::string> work{" M a",
                                     "M  b",
                                     "MM c",
                                     "D  d",
                                     " D e",
                                     "R  renamed ф",
                                     "D  g",
                                     "?? g",
                                     "A  new",
                                     "AM grown",
                                     "A  binary",
                                     "A  empty",
                                     "M  dir/tief ü/i",
                                     "?? nowhere/un tracked"};
    ASSERT_EQ(status_of(*files_), work);
    const std::vector<Stash> stashes = stashes_of(repository_.get());

    for (const std::string branch : {"other", "main"}) {
        switch_to(branch);
        EXPECT_EQ(head(), branch);
        EXPECT_EQ(verbs_of(results_), WHOLE_SWITCH);
        EXPECT_EQ(status_of(*files_), work);
        ASSERT_EQ(stashes_of(repository_.get()).size(), 1u) << "the stash of the user";
        EXPECT_EQ(git_oid_cmp(&stashes_of(repository_.get())[0].id, &stashes[0].id), 0);
    }
}

TEST_F(BranchSwitch, StopsWhereItMust)
{
    struct Case {
        const char* name;
        const char* work;
        std::string branch;
        Verbs verbs;
        std::string head;
        std::set<std::string> status;
        std::size_t stashes;
        std::string said = {};  // in a failed result
    };
    const std::vector<Case> cases{
        {"a clean tree and an old stash of the same kind",
         "echo mine >>a; git stash push -q -m revlane-2020-01-01-0000000000-other",
         "other",
         {"stash push", "stash list", "checkout"},
         "other",
         {},
         1},
        {"both branches changed the file, in other places",
         "sed -i 's/line 1 /work at the top /' differs",
         "other",
         WHOLE_SWITCH,
         "other",
         {" M differs"},
         0},
        {"a folder staged in the place of a file",
         "git rm -q a; mkdir a; echo work >a/b; git add a/b",
         "other",
         WHOLE_SWITCH,
         "other",
         {"D  a", "A  a/b"},
         0},
        {"staged in a file that is another on the branch",
         "sed -i 's/line 1 /work at the top /' differs; git add differs; echo 'work on a' >>a; "
         "git add a",
         "other",
         WHOLE_SWITCH,
         "other",
         {" M differs", "M  a"},
         0},
        {"staged in such a file, and edited further",
         "sed -i 's/line 1 /work at the top /' differs; git add differs; "
         "sed -i 's/work at the top /work instead of it /' differs; "
         "echo 'work on a' >>a; git add a",
         "other",
         {"stash push", "stash list", "checkout", "stash apply", "stash drop!"},
         "other",
         {" M differs", "M  a"},
         1},
        {"such a file staged as a program, which no file of Windows says",
         "sed -i 's/line 1 /work at the top /' differs; git add --chmod=+x differs",
         "other",
         {"stash push", "stash list", "checkout", "stash apply", "stash drop!"},
         "other",
         {" M differs"},
         1},
        {"staged in such a file, and the file made the same by hand",
         "sed -i 's/last of main/last of other/' differs; git add differs",
         "other",
         WHOLE_SWITCH,
         "other",
         {},
         0},
        {"both changed the same line",
         "sed -i 's/last of main/work in conflict/' differs; echo 'work on a' >>a; git add a",
         "other",
         {"stash push", "stash list", "checkout", "stash apply!"},
         "other",
         {"UU differs", "M  a"},
         1,
         "differs"},
        {"changed here, deleted there",
         "echo 'work in what goes' >>gone",
         "other",
         {"stash push", "stash list", "checkout", "stash apply!"},
         "other",
         {"DU gone"},
         1},
        {"an untracked file is in the way, beside changes",
         "echo 'work in the way' >arrives; echo 'work on a' >>a; git add a",
         "other",
         {"stash push", "stash list", "checkout!"},
         "main",
         {"?? arrives"},
         1,
         "arrives"},
        {"only an untracked file is in the way",
         "echo 'work in the way' >arrives",
         "other",
         {"stash push", "stash list", "checkout!"},
         "main",
         {"?? arrives"},
         0,
         "arrives"},
        {"no such branch",
         "echo 'work on a' >>a",
         "missing",
         {"stash push", "stash list", "checkout!"},
         "main",
         {},
         1,
         "missing"},
        {"a merge with conflicts is under way",
         "git checkout -q -b third; sed -i 's/last of main/last of third/' differs; git add -A; "
         "commit third; git merge -q other || true; echo 'work on a' >>a",
         "other",
         {"stash push!"},
         "third",
         {"UU differs", "A  arrives", "D  gone", " M a"},
         0},
        {"a file is only to be added",
         "echo 'work to come' >promised; git add -N promised; echo 'work on a' >>a; git add a",
         "other",
         {"stash push!"},
         "main",
         {" A promised", "M  a"},
         0},
        {"HEAD is detached",
         "git checkout -q --detach; echo 'work on a' >>a",
         "other",
         WHOLE_SWITCH,
         "other",
         {" M a"},
         0},
        {"a lock that another git has left",
         "echo 'work on a' >>a; : >.git/index.lock",
         "other",
         {"stash push!"},
         "main",
         {" M a"},
         0,
         "index.lock"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        begin(test.work);
        switch_to(test.branch);
        EXPECT_EQ(verbs_of(results_), test.verbs);
        EXPECT_EQ(head(), test.head);
        EXPECT_EQ(status_of(*files_), test.status);
        EXPECT_EQ(stashes_of(repository_.get()).size(), test.stashes);
        EXPECT_NE(results_.back().output.find(test.said), std::string::npos)
            << results_.back().output;
    }
}

TEST_F(BranchSwitch, TakesBranchesByAnyName)
{
    begin(R"(
        for branch in "фича/ветка-ü" a/b/c "it's" "50%PATH%" '$HOME' 'a(b){2}+c$'; do
            git branch "$branch" other
        done
        echo "work on a" >>a; git add a; echo "work untracked" >new
    )");
    for (const std::string branch :
         {"фича/ветка-ü", "a/b/c", "it's", "50%PATH%", "a(b){2}+c$", "main"}) {
        SCOPED_TRACE(branch);
        switch_to(branch);
        EXPECT_EQ(head(), branch);
        EXPECT_EQ(verbs_of(results_), WHOLE_SWITCH);
        EXPECT_EQ(status_of(*files_), (std::set<std::string>{"M  a", "?? new"}));
    }

    // A quote cannot be carried at all.
    switch_to("quo\"te");
    EXPECT_EQ(verbs_of(results_), Verbs{"stash push!"});
    EXPECT_EQ(head(), "main");
    EXPECT_EQ(status_of(*files_), (std::set<std::string>{"M  a", "?? new"}));
}

TEST_F(BranchSwitch, MakesALocalBranchOfARemoteOne)
{
    begin(R"(
        git init -q --bare ../remote.git; git remote add origin ../remote.git
        git push -q origin other:feature/x other:taken; git fetch -q
        git branch taken
        echo "work on a" >>a
    )");
    switch_to("origin/feature/x", true);
    Verbs verbs = WHOLE_SWITCH;
    verbs.insert(verbs.begin(), "branch");
    EXPECT_EQ(verbs_of(results_), verbs);
    EXPECT_EQ(head(), "feature/x");
    EXPECT_EQ(status_of(*files_), std::set<std::string>{" M a"});
    EXPECT_EQ(files_->git({"rev-parse", "--abbrev-ref", "@{upstream}"}), "origin/feature/x\n");

    // There is a local branch of that name: nothing but the first command runs.
    switch_to("origin/taken", true);
    EXPECT_EQ(verbs_of(results_), Verbs{"branch!"});
    EXPECT_EQ(head(), "feature/x");
    EXPECT_EQ(status_of(*files_), std::set<std::string>{" M a"});
}

TEST_F(BranchSwitch, LeavesABranchThatHasNoCommitYet)
{
    const auto begin_anew = [this] {
        begin(R"(
            git init -q --bare ../remote.git; git remote add origin ../remote.git
            git push -q origin main other; git fetch -q
            git symbolic-ref HEAD refs/heads/new; git branch -q -D main
            git rm -q -r --cached .; rm -r *; echo "work untracked" >notes
        )");
    };
    // The branch that HEAD is on and one of another name, both from the remote, and a local one.
    begin_anew();
    switch_to("origin/main", true);
    EXPECT_EQ(verbs_of(results_), (Verbs{"branch", "checkout"}));
    EXPECT_EQ(head(), "main");
    EXPECT_EQ(status_of(*files_), std::set<std::string>{"?? notes"});
    begin_anew();
    files_->script("git symbolic-ref HEAD refs/heads/main");
    switch_to("origin/main", true);
    EXPECT_EQ(verbs_of(results_), Verbs{"checkout"});
    EXPECT_EQ(head(), "main");
    EXPECT_EQ(status_of(*files_), std::set<std::string>{"?? notes"});
    EXPECT_EQ(files_->git({"rev-parse", "--abbrev-ref", "@{upstream}"}), "origin/main\n");
    begin_anew();
    files_->script("echo 'work to commit' >staged; git add staged");
    switch_to("other");
    EXPECT_EQ(verbs_of(results_), Verbs{"checkout"});
    EXPECT_EQ(head(), "other");
    EXPECT_EQ(status_of(*files_), (std::set<std::string>{"A  staged", "?? notes"}));
    // Files that the branch has too stay as they are.
    begin_anew();
    files_->script("echo 'work of mine' >a");
    switch_to("other");
    EXPECT_EQ(verbs_of(results_), Verbs{"checkout!"});
    EXPECT_EQ(head(), "");
    EXPECT_EQ(status_of(*files_), (std::set<std::string>{"?? a", "?? notes"}));
}

TEST_F(BranchSwitch, TellsNobodyWithoutAnOwner)
{
    begin("echo 'work on a' >>a");
    switch_branch(nullptr, *git::open_repository(files_->path()), context(), "other", false);
    MSG message{};
    EXPECT_FALSE(PeekMessageW(&message, nullptr, WM_REVLANE_COMMAND_RESULT,
                              WM_REVLANE_COMMAND_RESULT, PM_NOREMOVE));
    EXPECT_EQ(head(), "other");
    EXPECT_EQ(status_of(*files_), std::set<std::string>{" M a"});

    // A repository that is not there.
    switch_branch_at(window_.window(), {files_->path() / L"nowhere", git_}, "other", false);
    const auto results = window_.take();
    EXPECT_EQ(verbs_of(results), Verbs{"checkout!"});
    EXPECT_FALSE(results[0].output.empty());
}

// A stash that is not ours is never dropped: other programs may make one at any time.
TEST_F(BranchSwitch, DropsNoStashButItsOwn)
{
    if (!support::git_is_whole())
        GTEST_SKIP() << "hooks need a shell";
    // The hook runs whenever git writes the index; on the branch the apply is what leaves changes.
    begin(R"sh(
        echo "foreign work" >>h; git stash create >../foreign; git checkout -q h
        mkdir -p .git/hooks
        cat >.git/hooks/post-index-change <<'HOOK'
#!/bin/sh
test "$(git symbolic-ref --short HEAD)" = other && test -f ../foreign || exit 0
git diff --quiet || { git stash store -m foreign "$(cat ../foreign)"; rm ../foreign; }
HOOK
        chmod +x .git/hooks/post-index-change
        echo "work on a" >>a
    )sh");
    switch_to("other");
    EXPECT_EQ(verbs_of(results_),
              (Verbs{"stash push", "stash list", "checkout", "stash apply", "stash drop!"}));
    EXPECT_EQ(status_of(*files_), std::set<std::string>{" M a"});
    const std::vector<Stash> stashes = stashes_of(repository_.get());
    ASSERT_EQ(stashes.size(), 2u);
    EXPECT_EQ(stashes[0].subject, "foreign");
    const std::string name = stashes[1].subject.substr(stashes[1].subject.find("revlane-"));
    EXPECT_EQ(results_.back().output,
              win32::to_utf8(text_with(IDS_STASH_NOT_ON_TOP, win32::to_wide(name))));
}

// What was staged is put back into an index that a terminal writes at the same time.
TEST_F(BranchSwitch, LosesNothingThatATerminalStagesMeanwhile)
{
    // The long file has to be read between the reading and the writing of the index.
    begin(R"(
        echo "work on a" >>a; echo "work staged" >differs; git add a differs
        echo "work and more" >>differs; git stash push -q -m ours
        git checkout -q other; echo "work on a" >>a; head -c 8000000 /dev/zero >differs
        for i in 0 1 2 3 4 5 6 7 8 9; do echo "work $i" >"theirs $i"; done
    )");
    const git_oid stash = stashes_of(repository_.get()).at(0).id;
    auto terminal = std::async(std::launch::async, [&] {
        files_->script("for i in 0 1 2 3 4 5 6 7 8 9; do\n"
                       "    until git add \"theirs $i\" 2>/dev/null; do :; done\n"
                       "done");
    });
    bool was_restored = false;
    const auto deadline = std::chrono::steady_clock::now() + support::pump_deadline;
    while (!was_restored || terminal.wait_for(20ms) != std::future_status::ready) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        const git::Repository opened = *git::open_repository(files_->path());
        const git::Result<bool> restored = restore_staged(opened.handle.get(), stash);
        // A refusal because of the terminal's lock is no loss.
        if (!restored)
            continue;
        was_restored = true;
        EXPECT_FALSE(*restored) << "what was staged of the long file is nowhere else";
        // Who asks the same handle later sees the index that all see, unless the terminal replaces it
        // at that moment.
        git_index* seen = nullptr;
        if (git_repository_index(&seen, opened.handle.get()) != 0)
            continue;
        EXPECT_TRUE(std::string_view(git_index_path(seen)).ends_with("/index"));
        git_index_free(seen);
    }
    terminal.get();
    std::set<std::string> wanted{"M  a", " M differs"};
    for (int i = 0; i < 10; ++i)
        wanted.insert("A  theirs " + std::to_string(i));
    EXPECT_EQ(status_of(*files_), wanted);
}

TEST_F(BranchSwitch, SaysSoWhenItsStashIsNotListed)
{
    if (!support::git_is_whole())
        GTEST_SKIP() << "this git knows one encoding";
    // Git lists it in other bytes than the name has.
    begin("git branch zurück other; git config i18n.logOutputEncoding ISO-8859-1; "
          "echo 'work on a' >>a");
    switch_to("zurück");
    EXPECT_EQ(verbs_of(results_), (Verbs{"stash push", "stash list", "checkout", "stash list!"}));
    EXPECT_EQ(head(), "zurück");
    EXPECT_EQ(stashes_of(repository_.get()).size(), 1u);
}

// ---- Git ends before its time ----------------------------------------------------------------------

namespace {

constexpr const char* WORK_IN_THE_BALANCE = R"(
    echo "work unstaged" >>a
    echo "work staged" >>b; git add b; echo "work and more" >>b
    echo "work new" >new; git add new
    echo "work untracked" >untracked
)";

}  // namespace

TEST_F(BranchSwitch, LosesNothingWhenACommandDies)
{
    struct Case {
        int at;
        const wchar_t* how;
        std::size_t stashes;
    };
    // Where a command dies before its work, the state is that after the former one.
    for (const Case& test : {Case{1, L"after", 1}, Case{2, L"after", 1}, Case{3, L"after", 1},
                             Case{4, L"after", 1}, Case{5, L"before", 1}, Case{5, L"after", 0}}) {
        SCOPED_TRACE(std::to_string(test.at) + " " + win32::to_utf8(test.how));
        begin(WORK_IN_THE_BALANCE);
        const support::FailingGit failing(test.at, test.how);
        switch_to("other");
        ASSERT_EQ(results_.size(), static_cast<std::size_t>(test.at));
        EXPECT_FALSE(results_.back().ok);
        EXPECT_EQ(stashes_of(repository_.get()).size(), test.stashes);
    }
}

TEST_F(BranchSwitch, StopsWhenItIsCancelled)
{
    begin(WORK_IN_THE_BALANCE);
    const wchar_t* name = L"revlane-test-cancel";
    const win32::KernelHandle reached(CreateEventW(nullptr, TRUE, FALSE, name));
    const support::ScopedVariable event(L"REVLANE_FAIL_EVENT", name);
    constexpr int checkout = 3;
    const support::FailingGit failing(checkout, L"hang");
    std::thread user([&] {
        EXPECT_EQ(WaitForSingleObject(reached.get(), 20'000), WAIT_OBJECT_0);
        git_.cancel();
    });
    switch_to("other");
    user.join();
    EXPECT_EQ(verbs_of(results_), (Verbs{"stash push", "stash list", "checkout!"}));
    EXPECT_EQ(stashes_of(repository_.get()).size(), 1u);
}

}  // namespace revlane
