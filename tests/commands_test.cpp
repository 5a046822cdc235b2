#include "git/commands.h"

#include "git/references.h"
#include "tests/support/lines.h"
#include "tests/support/recorded_git.h"
#include "tests/support/temp_repository.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <fmt/xchar.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace {

using git::CommandContext;
using git::CommandResult;
using support::lines_of;
using support::TempRepository;

using Paths = std::vector<std::wstring>;

// "XY path" for each entry of `git status`.
std::vector<std::string> status_of(const TempRepository& repository)
{
    std::vector<std::string> lines;
    for (const support::StatusEntry& entry : repository.status())
        lines.push_back(fmt::format("{}{} {}", entry.index, entry.worktree, entry.path));
    return lines;
}

// A repository with one commit, in which commands run.
class Commands : public testing::Test {
protected:
    explicit Commands(std::string_view files = "first.txt")
    {
        for (const std::string& file : lines_of(std::string(files)))
            repository_.write_file(file, "first content of " + file + "\n");
        first_ = repository_.commit_all("first");
    }

    TempRepository repository_;
    git::Git git_;
    CommandContext context_{repository_.path(), git_};
    std::string first_;  // the id of the commit
};

// ---- Command lines ---------------------------------------------------------------------------------

class CommandLines : public Commands {
protected:
    // The stand-in prints these.
    static constexpr const char* output = "out\n";
    static constexpr const char* error = "err\n";

    support::RecordedGit recorded_;
};

TEST_F(CommandLines, OfPlainCommands)
{
    const CommandContext& c = context_;
    const struct {
        std::function<CommandResult()> run;
        std::wstring arguments;
        std::string captured;
    } cases[] = {
        {[&] { return git::commit_staged(c, L""); },
         LR"(commit -v --allow-empty-message --message="")", output},
        {[&] { return git::commit_staged(c, LR"(say "Grüße" \"x)"); },
         LR"(commit -v --allow-empty-message --message="say \"Grüße\" \\\"x")", output},
        {[&] { return git::commit_staged(c, LR"(C:\)"); },
         L"commit -v --allow-empty-message --message=\"C:\\\n\"", output},
        {[&] {
             return git::unstage(c, {L"a.txt", L"-b/c.txt", LR"("d e.txt")"});
         },
         LR"(reset -- a.txt -b/c.txt "d e.txt" )", output},
        {[&] { return git::checkout_branch(c, L"side/größe"); }, LR"(checkout "side/größe" --)",
         error},
        {[&] { return git::create_branch(c, L"new", L"origin/new"); },
         LR"(branch "new" "origin/new")", output},
        {[&] { return git::delete_branch(c, L"old"); }, LR"(branch --delete "old")", output},
        {[&] { return git::delete_remote_tracking_branch(c, L"origin/old"); },
         LR"(branch --delete --remotes "origin/old")", output},
        {[&] { return git::delete_branch_on_remote(c, L"origin", L"old"); },
         L"push -v origin --delete old", error},
        {[&] { return git::update_submodule(c, L"vendor/two words"); },
         LR"(submodule update --init -- "vendor/two words")", output},
        {[&] { return git::fetch(c); }, L"fetch -v", error},
        {[&] { return git::pull(c); }, L"pull -v", output},
        {[&] { return git::push(c); }, L"-c push.autoSetupRemote=true push -v", error},
        {[&] { return git::status(c); }, L"status", output},
        {[&] { return git::list_stashes(c).result; }, L"stash list --pretty=%s", output},
        {[&] { return git::push_stash(c, L"revlane-1-two words"); },
         LR"(stash push -m "revlane-1-two words")", output},
        {[&] { return git::apply_stash(c, L"revlane-1-main"); },
         L"stash apply stash^{/revlane-1-main}", output},
        {[&] { return git::drop_stash(c); }, L"stash drop", output},
        {[&] { return git::add_path(c, LR"(a "b".txt)"); }, LR"(add -- "a \"b\".txt")", error},
        {[&] { return git::add_path(c, L"a[1].txt"); }, LR"(add -- ":(literal)a[1].txt")", error},
    };
    for (const auto& [run, arguments, captured] : cases) {
        const CommandResult result = run();
        EXPECT_EQ(recorded_.take_command_lines(), (std::vector{L"git --no-pager " + arguments}));
        EXPECT_EQ(result.command, arguments);
        EXPECT_TRUE(result.ok) << result.output;
        EXPECT_EQ(result.output, captured) << win32::to_utf8(arguments);
    }
}

TEST_F(CommandLines, OfDiscarding)
{
    const CommandResult result = git::discard_changes(context_, L"first.txt");
    EXPECT_EQ(recorded_.take_command_lines(),
              (Paths{L"git --no-pager ls-files --error-unmatch -- first.txt",
                     LR"(git --no-pager checkout -- "first.txt")"}));
    EXPECT_EQ(result.command, LR"(checkout -- "first.txt")");
    EXPECT_EQ(result.output, error);
}

TEST_F(CommandLines, OfListsOfCommits)
{
    git_oid id{};
    ASSERT_EQ(git_oid_fromstr(&id, first_.c_str()), 0);
    EXPECT_TRUE(git::file_history(context_, id, LR"(a "b".txt)"));
    EXPECT_TRUE(git::commits_by_message(context_, LR"(say "x")", L"origin/main"));
    EXPECT_TRUE(git::commits_by_author(context_, L"Ada Prüferin", L"HEAD"));
    EXPECT_EQ(recorded_.take_command_lines(),
              (Paths{LR"(git --no-pager log --follow -m ")" + win32::to_wide(first_) +
                         LR"(" --pretty=%H -- "a \"b\".txt")",
                     LR"(git --no-pager log --pretty=%H --grep="say \"x\"" "origin/main")",
                     LR"(git --no-pager log --pretty=%H --author="Ada Prüferin" "HEAD")"}));
}

TEST_F(CommandLines, AreNotRunWhenTheyWouldSaySomethingElse)
{
    const CommandContext& c = context_;
    const auto text_of = [](const auto& result) {
        return result ? std::string("a list") : git::to_utf8(result.error());
    };
    const std::function<std::string()> cases[] = {
        [&] { return git::commit_staged(c, LR"(two \\" before a quote)").output; },
        [&] { return git::commit_staged(c, std::wstring(L"a zero \0 within", 15)).output; },
        [&] { return git::checkout_branch(c, LR"(quo"ted)").output; },
        [&] { return git::checkout_branch(c, L"-f").output; },
        [&] { return git::create_branch(c, LR"(a" "b)", L"HEAD").output; },
        [&] { return git::create_branch(c, L"name", L"-D").output; },
        [&] { return git::delete_branch(c, L"--remotes").output; },
        [&] { return git::delete_branch_on_remote(c, L"origin", LR"(quo"ted)").output; },
        [&] { return git::delete_branch_on_remote(c, L"origin", L"two words").output; },
        [&] { return git::delete_branch_on_remote(c, L"origin", L"").output; },
        [&] { return git::delete_branch_on_remote(c, L"origin", L"--all").output; },
        [&] { return git::push_stash(c, LR"(revlane-quo"ted)").output; },
        [&] { return git::apply_stash(c, L"two words").output; },
        [&] { return git::update_submodule(c, LR"(sub\)").output; },
        [&] {
            return git::unstage(c, {L"fine.txt", L"two words.txt"}).output;
        },
        [&] { return git::unstage(c, {LR"(quo"ted.txt)"}).output; },
        [&] { return git::unstage(c, {LR"("a" "b")"}).output; },
        [&] { return git::unstage(c, {LR"("a)"}).output; },
        [&] { return git::unstage(c, {L""}).output; },
        [&] { return text_of(git::commits_by_message(c, L"ends in \\", L"HEAD")); },
        [&] { return text_of(git::commits_by_author(c, L"Ada", L"--all")); },
    };
    for (const auto& run : cases) {
        const std::string text = run();
        EXPECT_TRUE(text.starts_with("Nothing was run, since ")) << text;
    }
    EXPECT_TRUE(recorded_.take_runs().empty());
}

TEST_F(CommandLines, TakeAsManyPathsAsThereAre)
{
    Paths paths;
    for (int i = 0; i < 2000; ++i)
        paths.push_back(fmt::format(L"\"a folder/with a long name/file {}.txt\"", i));
    const CommandResult result = git::unstage(context_, paths);
    EXPECT_TRUE(result.ok);
    std::wstring together = L"reset -- ";
    for (const std::wstring& line : recorded_.take_command_lines()) {
        EXPECT_LT(line.size(), 32767U);
        const std::wstring start = L"git --no-pager reset -- ";
        ASSERT_TRUE(line.starts_with(start));
        together += line.substr(start.size());
    }
    EXPECT_EQ(result.command, together);
    EXPECT_EQ(std::count(together.begin(), together.end(), L'"'), 4000);

    // Nothing selected must not become "reset --", which takes every file.
    EXPECT_TRUE(git::unstage(context_, {}).ok);
    EXPECT_TRUE(recorded_.take_runs().empty());

    EXPECT_TRUE(git::commit_staged(context_, std::wstring(40'000, L'x'))
                    .output.starts_with("The command is too long"));
    EXPECT_TRUE(recorded_.take_runs().empty());
}

TEST(PathspecArgument, QuotesWhereTheCommandLineOrGitWouldReadMore)
{
    const struct {
        const wchar_t* path;
        const wchar_t* argument;
    } cases[] = {
        {L"plain/größe.txt", L"plain/größe.txt"},  {L"-dash", L"-dash"},
        {L"two words.txt", LR"("two words.txt")"}, {LR"(quo"ted)", LR"("quo\"ted")"},
        {L"a[1].txt", LR"(":(literal)a[1].txt")"}, {L"a*?.txt", LR"(":(literal)a*?.txt")"},
        {L":colon", LR"(":(literal):colon")"},
    };
    for (const auto& [path, argument] : cases)
        EXPECT_EQ(git::pathspec_argument(path), argument);
}

// ---- Commit and stage ------------------------------------------------------------------------------

TEST_F(Commands, CommitMessagesReachTheRepository)
{
    const struct {
        std::wstring message;
        std::string stored;
    } cases[] = {
        {L"", ""},
        {L"-m is no option here", "-m is no option here\n"},
        {LR"(say "yes" and \"no\" in C:\dir)", "say \"yes\" and \\\"no\\\" in C:\\dir\n"},
        {LR"(ends in C:\)", "ends in C:\\\n"},
        {L"two lines\r\n\r\nof Windows\r\n# kept", "two lines\n\nof Windows\n# kept\n"},
        {L"Grüße 文件 😀", "Grüße 文件 😀\n"},
    };
    int number = 0;
    for (const auto& [message, stored] : cases) {
        repository_.write_file("first.txt", fmt::format("{}", ++number));
        ASSERT_TRUE(git::stage_paths(context_, {L"first.txt"}).ok);
        const CommandResult result = git::commit_staged(context_, message);
        EXPECT_TRUE(result.ok) << result.output;
        EXPECT_EQ(repository_.git({"log", "-1", "--format=%B"}), stored + "\n");
    }
    const CommandResult nothing = git::commit_staged(context_, L"nothing");
    EXPECT_FALSE(nothing.ok);
    EXPECT_NE(nothing.output.find("nothing to commit"), std::string::npos) << nothing.output;
}

TEST_F(Commands, UnstagesJustTheGivenPaths)
{
    // Names that Windows has no files for can still be in the index.
    repository_.script(R"(
        id=$(git hash-object -w first.txt)
        for name in plain.txt 'two words.txt' 'größe 文件.txt' 'a[1].txt' a1.txt 'quo"ted.txt' \
            'star*.txt' starfish.txt ':colon.txt' ':!bang.txt' -dash.txt; do
            git update-index --add --cacheinfo "100644,$id,$name"
        done
    )");
    const auto staged = [&] {
        return lines_of(repository_.git({"-c", "core.quotePath=false", "ls-files", "-z"}));
    };
    Paths arguments;
    for (const wchar_t* path :
         {L"plain.txt", L"two words.txt", L"größe 文件.txt", L"a[1].txt", L"quo\"ted.txt",
          L"star*.txt", L":colon.txt", L":!bang.txt", L"-dash.txt"})
        arguments.push_back(git::pathspec_argument(path));
    const CommandResult result = git::unstage(context_, arguments);
    EXPECT_TRUE(result.ok) << result.output;
    EXPECT_EQ(staged().at(0), std::string("a1.txt\0first.txt\0starfish.txt\0", 30));
}

TEST(UnbornBranch, StagesCommitsAndUnstages)
{
    const TempRepository repository;
    git::Git git;
    const CommandContext context{repository.path(), git};
    repository.write_file("a.txt", "a");
    repository.write_file("b.txt", "b");
    ASSERT_TRUE(git::stage_paths(context, {L"a.txt", L"b.txt"}).ok);
    EXPECT_TRUE(git::unstage(context, {L"b.txt"}).ok);
    EXPECT_EQ(status_of(repository), (std::vector<std::string>{"A  a.txt", "?? b.txt"}));
    EXPECT_TRUE(git::commit_staged(context, L"one").ok);
    EXPECT_EQ(status_of(repository), (std::vector<std::string>{"?? b.txt"}));
}

// ---- Branches and remotes --------------------------------------------------------------------------

TEST_F(Commands, BranchesAreMadeSwitchedAndDeleted)
{
    EXPECT_TRUE(git::create_branch(context_, L"größe/neu", L"HEAD").ok);
    EXPECT_TRUE(git::checkout_branch(context_, L"größe/neu").ok);
    EXPECT_EQ(repository_.git({"branch", "--show-current"}), "größe/neu\n");

    const CommandResult current = git::delete_branch(context_, L"größe/neu");
    EXPECT_FALSE(current.ok);
    EXPECT_FALSE(current.output.empty());
    const CommandResult exists = git::create_branch(context_, L"main", L"HEAD");
    EXPECT_FALSE(exists.ok);
    EXPECT_NE(exists.output.find("already exists"), std::string::npos) << exists.output;
    // A file of that name is no branch.
    EXPECT_FALSE(git::checkout_branch(context_, L"first.txt").ok);

    EXPECT_TRUE(git::checkout_branch(context_, L"main").ok);
    EXPECT_TRUE(git::delete_branch(context_, L"größe/neu").ok);
    EXPECT_EQ(repository_.git({"branch", "--format=%(refname:short)"}), "main\n");
}

TEST_F(Commands, WorkTravelsThroughARemote)
{
    if (!support::git_is_whole())
        GTEST_SKIP() << "git starts what serves a remote by its shell";
    const TempRepository origin = repository_.add_bare_remote();
    const CommandResult pushed = git::push(context_);
    EXPECT_TRUE(pushed.ok) << pushed.output;
    EXPECT_NE(pushed.output.find("main -> main"), std::string::npos) << pushed.output;
    EXPECT_EQ(origin.id_of("main"), first_);
    EXPECT_EQ(repository_.git({"rev-parse", "--abbrev-ref", "@{upstream}"}), "origin/main\n");

    const TempRepository other = origin.clone("other");
    git::Git other_git;
    const CommandContext other_context{other.path(), other_git};
    other.script("commit second\ngit branch side");
    ASSERT_TRUE(git::push(other_context).ok);
    other.script("git push -q origin side");

    EXPECT_TRUE(git::fetch(context_).ok);
    EXPECT_EQ(repository_.id_of("main"), first_);
    EXPECT_EQ(repository_.id_of("origin/main"), other.id_of("main"));
    const CommandResult pulled = git::pull(context_);
    EXPECT_TRUE(pulled.ok) << pulled.output;
    EXPECT_NE(pulled.output.find("Fast-forward"), std::string::npos) << pulled.output;
    EXPECT_EQ(repository_.id_of("main"), other.id_of("main"));

    EXPECT_TRUE(git::delete_remote_tracking_branch(context_, L"origin/side").ok);
    EXPECT_EQ(repository_.git({"branch", "--remotes", "--format=%(refname:short)"}),
              "origin/main\n");
    const CommandResult deleted = git::delete_branch_on_remote(context_, L"origin", L"side");
    EXPECT_TRUE(deleted.ok) << deleted.output;
    EXPECT_NE(deleted.output.find("[deleted]"), std::string::npos) << deleted.output;
    EXPECT_EQ(origin.git({"branch", "--format=%(refname:short)"}), "main\n");
    EXPECT_FALSE(git::delete_branch_on_remote(context_, L"origin", L"side").ok);

    // A push that the remote refuses says why.
    other.script("git commit -q --amend --allow-empty -m rewritten");
    const CommandResult refused = git::push(other_context);
    EXPECT_FALSE(refused.ok);
    EXPECT_NE(refused.output.find("rejected"), std::string::npos) << refused.output;
}

TEST_F(Commands, SubmodulesAreFilled)
{
    if (!support::git_is_whole())
        GTEST_SKIP() << "git's own command is a script";
    const TempRepository library = repository_.add_bare_remote("library");
    repository_.script("git push -q library main\n"
                       "git submodule --quiet add ../library.git 'vendor/two words'\n"
                       "commit 'with a submodule'");
    const TempRepository clone = repository_.clone("clone");
    EXPECT_FALSE(std::filesystem::exists(clone.path() / L"vendor/two words/first.txt"));
    const CommandResult result = git::update_submodule({clone.path(), git_}, L"vendor/two words");
    EXPECT_TRUE(result.ok) << result.output;
    EXPECT_EQ(clone.read_file("vendor/two words/first.txt"), repository_.read_file("first.txt"));
}

// ---- Stashes ---------------------------------------------------------------------------------------

TEST_F(Commands, StashesAreFoundByTheirMessages)
{
    EXPECT_TRUE(git::list_stashes(context_).subjects.empty());
    repository_.write_file("first.txt", "older");
    ASSERT_TRUE(git::push_stash(context_, L"revlane-1-main").ok);
    repository_.write_file("first.txt", "newer");
    ASSERT_TRUE(git::push_stash(context_, L"revlane-2-größe/neu").ok);
    const git::StashList list = git::list_stashes(context_);
    EXPECT_TRUE(list.result.ok);
    EXPECT_EQ(list.subjects, (std::vector<std::string>{"On main: revlane-2-größe/neu",
                                                       "On main: revlane-1-main"}));

    const CommandResult applied = git::apply_stash(context_, L"revlane-2-größe/neu");
    EXPECT_TRUE(applied.ok) << applied.output;
    EXPECT_EQ(repository_.read_file("first.txt"), "newer");
    EXPECT_FALSE(git::apply_stash(context_, L"revlane-3-main").ok);

    EXPECT_TRUE(git::drop_stash(context_).ok);
    EXPECT_EQ(git::list_stashes(context_).subjects,
              std::vector<std::string>{"On main: revlane-1-main"});
    EXPECT_TRUE(git::drop_stash(context_).ok);
    EXPECT_FALSE(git::drop_stash(context_).ok);
    EXPECT_FALSE(git::list_stashes({repository_.path().parent_path(), git_}).result.ok);
}

// ---- Discarding ------------------------------------------------------------------------------------

class Discarding : public Commands {
protected:
    Discarding()
        : Commands("plain.txt\ntwo words.txt\ntwo\nwords.txt\ngröße/文件.txt\na[1].txt\na1.txt\n"
                   "gone.txt\n[!b].txt\n#c[1].txt\n!x[1].txt\n")
    {
    }
    void change(const std::string& file) { repository_.write_file(file, "changed " + file); }
    CommandResult discard(const wchar_t* path) { return git::discard_changes(context_, path); }
    bool is_original(const std::string& file)
    {
        return repository_.read_file(file) == "first content of " + file + "\n";
    }
};

TEST_F(Discarding, ATrackedFileGetsItsFormerContentAndNoOtherFile)
{
    for (const char* file : {"plain.txt", "two words.txt", "two", "größe/文件.txt"})
        change(file);
    repository_.remove("gone.txt");
    ASSERT_TRUE(
        SetFileAttributesW((repository_.path() / L"plain.txt").c_str(), FILE_ATTRIBUTE_READONLY));
    for (const wchar_t* path : {L"plain.txt", L"two words.txt", L"größe/文件.txt", L"gone.txt"}) {
        const CommandResult result = discard(path);
        EXPECT_TRUE(result.ok) << result.output;
        EXPECT_EQ(result.command, fmt::format(L"checkout -- \"{}\"", path));
        EXPECT_TRUE(is_original(win32::to_utf8(path)));
    }
    // Unquoted, the path with a space names two other files.
    EXPECT_EQ(status_of(repository_), std::vector<std::string>{" M two"});
}

TEST_F(Discarding, AnUntrackedFileIsRemovedAndNothingElse)
{
    change("two");
    const std::string long_name = std::string(120, 'x') + "/" + std::string(120, 'y') + "/z.txt";
    // "two words.txt" is tracked, and so are "two" and "plain.txt", but not "two plain.txt".
    const std::string files[] = {"new.txt", "two plain.txt", "neu/größe 文件.txt", "b[1].txt",
                                 long_name};
    for (const std::string& file : files) {
        repository_.write_file(file, "new");
        if (file == "new.txt")
            SetFileAttributesW((repository_.path() / L"new.txt").c_str(), FILE_ATTRIBUTE_READONLY);
        const std::wstring path = win32::to_wide(file);
        const CommandResult result = discard(path.c_str());
        EXPECT_TRUE(result.ok) << result.output;
        EXPECT_EQ(result.command, L"remove " + path);
        EXPECT_EQ(win32::to_wide(result.output), git::windows_error_text(ERROR_SUCCESS));
    }
    EXPECT_EQ(status_of(repository_), std::vector<std::string>{" M two"});
}

TEST_F(Discarding, UnderstandsAGitThatSpeaksAnotherLanguage)
{
    change("two words.txt");
    repository_.write_file("new.txt", "new");
    repository_.script("printf kept >../outside.txt");
    const support::FailingGit translated(0, L"translated");
    for (const wchar_t* path : {L"two words.txt", L"new.txt"}) {
        const CommandResult result = discard(path);
        EXPECT_TRUE(result.ok) << result.output;
    }
    const CommandResult outside = discard(L"../outside.txt");
    EXPECT_FALSE(outside.ok);
    EXPECT_EQ(outside.output, "Das ist nicht gelungen.\n");
    EXPECT_TRUE(is_original("two words.txt"));
    EXPECT_EQ(repository_.script("git status --short; cat ../outside.txt"), "kept");
}

TEST_F(Discarding, APatternNeverTakesAnotherFileAlong)
{
    const struct {
        const wchar_t* path;
        const char* other;
    } cases[] = {{L"a[1].txt", "a1.txt"},
                 {L"#c[1].txt", "#c1.txt"},
                 {L"!x[1].txt", "!x1.txt"},
                 {L"[!b].txt", "d.txt"}};
    change("plain.txt");
    for (const auto& [path, other] : cases) {
        change(win32::to_utf8(path));
        EXPECT_TRUE(discard(path).ok);
        EXPECT_TRUE(is_original(win32::to_utf8(path)));

        repository_.write_file(other, "staged");
        repository_.git({"add", "--", fmt::format(":(literal){}", other)});
        change(win32::to_utf8(path));
        change(other);
        const auto before = status_of(repository_);
        const CommandResult refused = discard(path);
        EXPECT_FALSE(refused.ok);
        EXPECT_TRUE(refused.output.starts_with("Nothing was discarded")) << refused.output;
        EXPECT_NE(refused.output.find(other), std::string::npos) << refused.output;
        EXPECT_EQ(status_of(repository_), before);
        EXPECT_FALSE(is_original(win32::to_utf8(path)));
    }
}

TEST_F(Discarding, SaysWhyNothingCouldBeDiscarded)
{
    const CommandResult missing = discard(L"never was.txt");
    EXPECT_FALSE(missing.ok);
    EXPECT_EQ(missing.command, L"remove never was.txt");
    EXPECT_EQ(win32::to_wide(missing.output), git::windows_error_text(ERROR_FILE_NOT_FOUND));

    // An untracked repository is listed as one folder.
    repository_.script("git init -q nested\necho kept >nested/file.txt");
    const CommandResult nested = discard(L"nested/");
    EXPECT_FALSE(nested.ok);
    EXPECT_EQ(win32::to_wide(nested.output), git::windows_error_text(ERROR_DIR_NOT_EMPTY));
    EXPECT_EQ(repository_.read_file("nested/file.txt"), "kept\n");

    // The failure of ls-files comes back as it is.
    repository_.script("printf kept >../outside.txt");
    const CommandResult outside = discard(L"../outside.txt");
    EXPECT_FALSE(outside.ok);
    EXPECT_EQ(outside.command, L"ls-files --error-unmatch -- ../outside.txt");
    EXPECT_NE(outside.output.find("outside repository"), std::string::npos) << outside.output;
    EXPECT_EQ(repository_.script("cat ../outside.txt"), "kept");

    // So does that of a git that is not there.
    repository_.write_file("new.txt", "kept");
    {
        const support::ScopedVariable path(L"PATH", L"");
        const CommandResult not_started = discard(L"new.txt");
        EXPECT_FALSE(not_started.ok);
        EXPECT_EQ(not_started.command, L"ls-files --error-unmatch -- new.txt");
    }
    EXPECT_EQ(repository_.read_file("new.txt"), "kept");

    const win32::FileHandle held(CreateFileW((repository_.path() / L"held.txt").c_str(),
                                             GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    const CommandResult locked = discard(L"held.txt");
    EXPECT_FALSE(locked.ok);
    EXPECT_EQ(win32::to_wide(locked.output), git::windows_error_text(ERROR_SHARING_VIOLATION));
}

// ---- Staging ---------------------------------------------------------------------------------------

class Staging : public Commands {
protected:
    Staging()
        : Commands("changed.txt\ngone.txt\nfile then folder\nfolder then file/x.txt\nleft.txt\n")
    {
    }
    CommandResult stage(const Paths& paths) { return git::stage_paths(context_, paths); }
};

TEST_F(Staging, LeavesTheIndexThatGitWouldHaveMade)
{
    repository_.git({"config", "core.longPaths", "true"});
    // Modes that files of Windows do not have: those of the index stay.
    repository_.script(R"(
        echo run >tool.sh; printf target >link
        git add tool.sh; git update-index --chmod=+x tool.sh
        git update-index --add --cacheinfo "120000,$(git hash-object -w link),link"
        commit modes
    )");
    repository_.write_file("tool.sh", "run more");
    repository_.write_file("link", "other target");
    repository_.write_file("changed.txt", "changed");
    repository_.write_file("left.txt", "changed too");
    repository_.remove("gone.txt");
    repository_.remove("file then folder");
    repository_.remove("folder then file");
    const std::string long_name = std::string(120, 'x') + "/" + std::string(120, 'y') + "/z.txt";
    const std::string paths[] = {"changed.txt",
                                 "tool.sh",
                                 "link",
                                 "gone.txt",
                                 "file then folder/größe 文件.txt",
                                 "file then folder",
                                 "folder then file/x.txt",
                                 "folder then file",
                                 "new [1].txt",
                                 "empty.txt",
                                 long_name};
    for (const char* file :
         {"file then folder/größe 文件.txt", "folder then file", "new [1].txt", "new 1.txt"})
        repository_.write_file(file, file);
    repository_.write_file(long_name, "deep");
    repository_.write_file("empty.txt", "");

    Paths wide_paths;
    for (const std::string& path : paths)
        wide_paths.push_back(win32::to_wide(path));
    const CommandResult result = stage(wide_paths);
    EXPECT_TRUE(result.ok) << result.output;
    EXPECT_TRUE(result.command.starts_with(L"add changed.txt tool.sh ")) << result.output;
    EXPECT_EQ(repository_.git({"write-tree"}), repository_.script(R"(
        cp .git/index .git/other
        export GIT_INDEX_FILE=.git/other
        git read-tree HEAD
        git add -A -- . ':!left.txt' ':!new 1.txt'
        git write-tree
    )"));
    EXPECT_EQ(status_of(repository_).back(), "?? new 1.txt");

    // A path that has gone and was never there is no failure: there is nothing left to stage.
    EXPECT_TRUE(stage({L"never was.txt"}).ok);
}

TEST_F(Staging, SpellsAFolderAsTheIndexDoes)
{
    repository_.git({"config", "core.ignoreCase", "true"});
    repository_.script("mv 'folder then file' renaming; mv renaming 'FOLDER then file'");
    repository_.write_file("FOLDER then file/new.txt", "new");
    const CommandResult result = stage({L"FOLDER then file/new.txt"});
    EXPECT_TRUE(result.ok) << result.output;
    EXPECT_EQ(repository_.git({"ls-files", "folder then file"}),
              "folder then file/new.txt\nfolder then file/x.txt\n");
    EXPECT_EQ(repository_.git({"write-tree"}), repository_.script(R"(
        cp .git/index .git/other
        export GIT_INDEX_FILE=.git/other
        git read-tree HEAD
        git add 'FOLDER then file/new.txt'
        git write-tree
    )"));
}

TEST_F(Staging, LeavesALargeFileToGitWhichCanBeEnded)
{
    constexpr std::size_t limit = std::size_t{16} * 1024 * 1024;
    repository_.write_file("changed.txt", "changed");
    repository_.write_file("large enough.bin", std::string(limit, 'x'));
    const support::FailingGit counted(1000, L"before");
    EXPECT_TRUE(stage({L"changed.txt", L"large enough.bin"}).ok);
    EXPECT_EQ(counted.starts(), 0U);

    repository_.write_file("too large.bin", std::string(limit + 1, 'y'));
    repository_.write_file("left.txt", "changed");
    const CommandResult result = stage({L"too large.bin", L"left.txt", L"gone.txt"});
    EXPECT_TRUE(result.ok) << result.output;
    EXPECT_EQ(counted.starts(), 1U);
    EXPECT_EQ(status_of(repository_),
              (std::vector<std::string>{"M  changed.txt", "A  large enough.bin", "M  left.txt",
                                        "A  too large.bin"}));
}

// git compares times by the second, unless it was built otherwise: a file that was saved again within
// the second of its entry, as long as before, looks to it as staged. Only an index of that same second
// makes it look closer, or an entry that says so. Whoever writes the index later has to see to that.
TEST_F(Staging, LeavesAFileModifiedThatWasSavedTwiceInOneSecond)
{
    using std::chrono::floor;
    using std::chrono::seconds;
    using std::chrono::system_clock;
    const auto wait_for_second = [] {
        const auto now = system_clock::now();
        std::this_thread::sleep_until(floor<seconds>(now) + seconds(1));
    };
    const std::function<void()> ways[] = {
        [&] {
            repository_.git({"add", "changed.txt"});
        },
        [&] { EXPECT_TRUE(stage({L"changed.txt"}).ok); },
    };
    for (const auto& add : ways) {
        // A machine that stands still for a moment must not spoil the case.
        bool is_one_second = false;
        while (!is_one_second) {
            wait_for_second();
            const auto begin = system_clock::now();
            repository_.write_file("changed.txt", "line 100");
            add();
            repository_.write_file("changed.txt", "line 200");
            is_one_second = floor<seconds>(system_clock::now()) == floor<seconds>(begin);
        }
        wait_for_second();
        repository_.write_file("left.txt", "another file");
        EXPECT_TRUE(stage({L"left.txt"}).ok);
        EXPECT_EQ(status_of(repository_),
                  (std::vector<std::string>{"MM changed.txt", "M  left.txt"}));
        repository_.git({"reset", "-q", "--hard"});
    }
}

TEST_F(Staging, LeavesConversionsToGitThatOnlyGitKnows)
{
    if (!support::git_is_whole())
        GTEST_SKIP() << "filters need a shell, and encodings a library";
    repository_.write_file(".gitattributes", "*.up filter=upper\n"
                                             "*.no filter=nobody\n"
                                             "*.utf16 working-tree-encoding=UTF-16LE-BOM\n");
    repository_.git({"config", "filter.upper.clean", "tr a-z A-Z"});
    const std::string utf16("\xFF\xFE"
                            "a\0b\0",
                            6);
    repository_.write_file("two words [1].up", "text");
    repository_.write_file("two words 1.up", "text");
    repository_.write_file("text.no", "text");
    repository_.write_file("text.utf16", utf16);
    const CommandResult result =
        stage({L"two words [1].up", L"text.no", L"text.utf16", L".gitattributes"});
    EXPECT_TRUE(result.ok) << result.output;
    EXPECT_EQ(repository_.git({"show", ":two words [1].up"}), "TEXT");
    EXPECT_EQ(repository_.git({"show", ":text.no"}), "text");
    EXPECT_EQ(repository_.git({"show", ":text.utf16"}), "ab");
    EXPECT_EQ(status_of(repository_),
              (std::vector<std::string>{"A  .gitattributes", "A  text.no", "A  text.utf16",
                                        "A  two words [1].up", "?? two words 1.up"}));

    // A removed file has no content to convert.
    repository_.git({"commit", "-qm", "filtered"});
    repository_.remove("two words [1].up");
    EXPECT_TRUE(stage({L"two words [1].up"}).ok);
    EXPECT_EQ(status_of(repository_).front(), "D  two words [1].up");

    repository_.git({"config", "filter.upper.clean", "false"});
    repository_.git({"config", "filter.upper.required", "true"});
    const CommandResult failed = stage({L"two words 1.up"});
    EXPECT_FALSE(failed.ok);
    EXPECT_TRUE(failed.output.starts_with("two words 1.up: ")) << failed.output;
}

TEST_F(Staging, StagesSubmodulesAndRefusesFolders)
{
    repository_.script("git init -q sub\n"
                       "cd sub\n"
                       "commit one\n"
                       "cd ..\n"
                       "git add sub 2>/dev/null\n"
                       "commit sub\n"
                       "cd sub\n"
                       "commit two\n");
    repository_.script("git init -q other\ncd other\ncommit one\n");
    const CommandResult result = stage({L"sub", L"other/"});
    EXPECT_TRUE(result.ok) << result.output;
    const std::string staged = repository_.git({"ls-files", "-s", "sub", "other"});
    EXPECT_NE(staged.find(repository_.git({"-C", "sub", "rev-parse", "HEAD"}).substr(0, 40)),
              std::string::npos);
    EXPECT_NE(staged.find(repository_.git({"-C", "other", "rev-parse", "HEAD"}).substr(0, 40)),
              std::string::npos);

    const std::string before = repository_.git({"write-tree"});
    repository_.write_file("changed.txt", "changed");
    repository_.write_file("folder/x.txt", "x");
    const CommandResult folder = stage({L"changed.txt", L"folder"});
    EXPECT_FALSE(folder.ok);
    EXPECT_TRUE(folder.output.starts_with("folder: ")) << folder.output;
    EXPECT_EQ(repository_.git({"write-tree"}), before) << "one failure leaves the index as it was";
}

TEST_F(Staging, WaitsForNoLockAndLosesNothing)
{
    repository_.write_file("changed.txt", "changed");
    const std::string before = repository_.read_file(".git/index");
    repository_.write_file(".git/index.lock", "");
    const CommandResult locked = stage({L"changed.txt"});
    EXPECT_FALSE(locked.ok);
    EXPECT_NE(locked.output.find("index.lock"), std::string::npos) << locked.output;
    EXPECT_EQ(repository_.read_file(".git/index"), before);
    EXPECT_EQ(repository_.read_file(".git/index.lock"), "");
    repository_.remove(".git/index.lock");
    EXPECT_TRUE(stage({L"changed.txt"}).ok);

    git_.shutdown();
    repository_.write_file("changed.txt", "changed again");
    EXPECT_FALSE(stage({L"changed.txt"}).ok);
    EXPECT_EQ(status_of(repository_), std::vector<std::string>{"MM changed.txt"});
}

TEST_F(Staging, GoesOnWhereACrashHasLeftItsFiles)
{
    const auto index_files = [&] { return repository_.script("cd .git; ls index*"); };
    repository_.write_file("changed.txt", "changed");
    repository_.write_file(".git/index.revlane", "half a copy");
    repository_.write_file(".git/index.revlane.lock", "half an index");
    const CommandResult result = stage({L"changed.txt"});
    EXPECT_TRUE(result.ok) << result.output;
    EXPECT_EQ(status_of(repository_), std::vector<std::string>{"M  changed.txt"});
    EXPECT_EQ(index_files(), "index\n");

    // A copy is no index where there is none.
    repository_.script("mv .git/index .git/index.revlane");
    EXPECT_TRUE(stage({L"left.txt"}).ok);
    EXPECT_EQ(repository_.git({"ls-files"}), "left.txt\n");
    EXPECT_EQ(index_files(), "index\n");
}

TEST_F(Staging, LosesNothingThatATerminalStagesMeanwhile)
{
    constexpr int count = 15;
    Paths ours;
    for (int i = 0; i < count; ++i) {
        ours.push_back(fmt::format(L"ours {}", i));
        repository_.write_file(win32::to_utf8(ours.back()), "text");
        repository_.write_file(fmt::format("theirs {}", i), "text");
    }
    auto terminal = std::async(std::launch::async, [&] {
        repository_.script("for i in 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14; do\n"
                           "    until git add \"theirs $i\" 2>/dev/null; do :; done\n"
                           "done");
    });
    std::size_t next = 0;
    while (terminal.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        // A refusal because of the terminal's lock is no loss.
        if (stage({ours[next % ours.size()]}).ok)
            ++next;
    }
    terminal.get();
    EXPECT_TRUE(stage(ours).ok);
    const auto lines = status_of(repository_);
    EXPECT_EQ(lines.size(), 2U * count);
    EXPECT_TRUE(
        std::ranges::all_of(lines, [](const auto& line) { return line.starts_with("A  "); }));
}

// ---- Lists of commits ------------------------------------------------------------------------------

class ListsOfCommits : public Commands {
protected:
    ListsOfCommits()
    {
        repository_.script(R"(
            export GIT_AUTHOR_NAME='Grete "G" Größe'
            commit 'say "yes" to größe'
            git mv first.txt 'second name.txt'
            commit 'a [bracket]'
            unset GIT_AUTHOR_NAME
            echo more >>'second name.txt'
            git add -A
            commit 'the last'
            git branch side HEAD~1
        )");
    }
    static std::vector<std::string> texts_of(const git::Result<std::vector<git_oid>>& ids)
    {
        if (!ids)
            return {git::to_utf8(ids.error())};
        std::vector<std::string> texts;
        for (const git_oid& id : *ids)
            texts.push_back(win32::to_utf8(git::oid_to_text(id)));
        return texts;
    }
    std::vector<std::string> log(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"log", "--pretty=%H"});
        return lines_of(repository_.git(arguments));
    }
};

TEST_F(ListsOfCommits, AreThoseOfGitLog)
{
    EXPECT_EQ(texts_of(git::commits_by_message(context_, L"say \"yes\" to größe", L"HEAD")),
              log({"--grep=say \"yes\" to größe", "HEAD"}));
    EXPECT_EQ(log({"--grep=say \"yes\" to größe", "HEAD"}).size(), 1U);
    EXPECT_EQ(texts_of(git::commits_by_message(context_, L"", L"side")), log({"side"}));
    EXPECT_EQ(texts_of(git::commits_by_author(context_, L"\"G\" Größe", L"HEAD")),
              log({"--author=\"G\" Größe", "HEAD"}));
    EXPECT_EQ(texts_of(git::commits_by_author(context_, L"nobody", L"HEAD")),
              std::vector<std::string>{});

    git_oid head{};
    ASSERT_EQ(git_oid_fromstr(&head, repository_.id_of("HEAD").c_str()), 0);
    const auto history = texts_of(git::file_history(context_, head, L"second name.txt"));
    EXPECT_EQ(history, log({"--follow", "-m", "HEAD", "--", "second name.txt"}));
    EXPECT_EQ(history.back(), first_) << "a rename is followed";
}

TEST_F(ListsOfCommits, FailWithTheWordsOfGit)
{
    const auto failed = git::commits_by_message(context_, L"x", L"no-such-revision");
    ASSERT_FALSE(failed);
    EXPECT_EQ(
        git::to_utf8(failed.error()),
        support::run_git(repository_.path(), {"log", "--pretty=%H", "--grep=x", "no-such-revision"})
            .errors);

    git_oid unknown{};
    ASSERT_EQ(git_oid_fromstr(&unknown, std::string(40, 'a').c_str()), 0);
    EXPECT_EQ(texts_of(git::file_history(context_, unknown, L"first.txt")),
              std::vector<std::string>{"oid does not exist in repo"});

    git_.shutdown();
    EXPECT_FALSE(git::commits_by_author(context_, L"x", L"HEAD"));
}

}  // namespace
