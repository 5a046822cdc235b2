#include "git/git.h"
#include "git/handles.h"
#include "git/references.h"
#include "tests/support/temp_repository.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <git2/sys/commit_graph.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <utility>

namespace {

using support::TempRepository;

// The path that discovery finds, or "none"; with forward slashes, as the tests write paths.
std::string found_from(const std::string& path)
{
    const auto found = git::discover_repository(path);
    if (!found)
        return "error: " + git::to_utf8(found.error());
    return *found ? win32::to_utf8((*found)->native()) : "none";
}

git::Revwalk walk_from_head(git_repository* repository)
{
    git_revwalk* walk = nullptr;
    EXPECT_EQ(git_revwalk_new(&walk, repository), 0);
    EXPECT_EQ(git_revwalk_push_head(walk), 0);
    return git::Revwalk(walk);
}

TEST(NormalizeRepositoryPath, LeadsFromTheGitDirectoryToTheWorkingTree)
{
    const struct {
        const wchar_t* path;
        const wchar_t* expected;
    } cases[] = {
        {L"C:/repo/.git/", LR"(C:\repo)"},
        {L"C:/repo/.git", LR"(C:\repo)"},
        {L"C:/repo/", LR"(C:\repo)"},
        {L"C:/repo", LR"(C:\repo)"},
        {L"C:/repo.git/", LR"(C:\repo.git)"},
        {L"C:/repo/.GIT/", LR"(C:\repo\.GIT)"},
        {L"C:/repo/sub/../.git/", LR"(C:\repo)"},
        {L"C:/repo/.git/modules/sub/", LR"(C:\repo\.git\modules\sub)"},
        {L"C:/.git/", LR"(C:\)"},
        {L"//server/share/repo/.git/", LR"(\\server\share\repo)"},
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(git::normalize_repository_path(path).native(), expected) << path;
}

TEST(DiscoverRepository, FindsTheWorkingTreeFromAnywhereInIt)
{
    const TempRepository repository;
    const std::string deep = "Übung/文件/" + std::string(100, 'a') + "/" + std::string(100, 'b');
    repository.write_file(deep + "/file.txt", "text");
    ASSERT_GT((deep + repository.path_text()).size(), std::size_t{MAX_PATH});

    const std::string root = repository.path_text();
    for (const std::string& inside :
         {std::string(), std::string("/"), std::string("/.git"), std::string("/.git/refs/heads"),
          std::string("/.git/HEAD"), std::string("/Übung/文件"), "/" + deep,
          "/" + deep + "/file.txt"})
        EXPECT_EQ(found_from(root + inside), root) << inside;

    const auto opened = git::open_repository(repository.path());
    ASSERT_TRUE(opened) << git::to_utf8(opened.error());
    EXPECT_EQ(opened->path, repository.path());
    EXPECT_EQ(git::normalize_repository_path(
                  win32::to_wide(git_repository_workdir(opened->handle.get()))),
              repository.path());
}

TEST(DiscoverRepository, FindsNothingOutsideARepository)
{
    const support::TempFolder folder;
    const std::string path = win32::to_utf8(folder.path().native());
    for (const std::string& outside : {std::string(), path, path + "/not/there"})
        EXPECT_EQ(found_from(outside), "none") << outside;

    const auto opened = git::open_repository(folder.path());
    ASSERT_FALSE(opened);
    EXPECT_EQ(git::to_utf8(opened.error()), git_error_last()->message);
}

TEST(DiscoverRepository, FollowsTheGitFileOfALinkedWorktree)
{
    const TempRepository repository;
    repository.script("commit one\n"
                      "git config worktree.useRelativePaths true\n"
                      "git worktree add -q -b side ../linked\n"
                      "printf 'gitdir: ../work/.git/worktrees/linked' >../linked/.git");
    const std::filesystem::path linked = repository.path().parent_path() / L"linked";
    const std::string found = found_from(win32::to_utf8(linked.native()));
    EXPECT_EQ(found, repository.path_text() + R"(\.git\worktrees\linked)");

    // What is found opens, and from there the working tree is known.
    const auto opened = git::open_repository(win32::to_wide(found));
    ASSERT_TRUE(opened) << git::to_utf8(opened.error());
    const auto again = git::open_repository(linked);
    EXPECT_TRUE(again) << git::to_utf8(again.error());
}

TEST(DiscoverRepository, NamesABareRepositoryByItsOwnFolder)
{
    const TempRepository bare(TempRepository::Kind::Bare);
    EXPECT_EQ(found_from(bare.path_text()), bare.path_text());
}

TEST(DiscoverRepository, HandsOnWhatLibgit2Refuses)
{
    const TempRepository repository;
    repository.write_file("broken/.git", "this is no link to a git directory");
    const std::string found = found_from(repository.path_text() + "/broken");
    EXPECT_TRUE(found.starts_with("error: ")) << found;
}

TEST(OpenRepository, KeepsTheHandleAsLongAsACopyLives)
{
    const TempRepository repository;
    repository.script("commit one");
    std::shared_ptr<git_repository> kept;
    {
        const auto opened = git::open_repository(repository.path());
        ASSERT_TRUE(opened);
        kept = opened->handle;
    }
    EXPECT_EQ(kept.use_count(), 1);
    EXPECT_EQ(git_repository_head_unborn(kept.get()), 0);
}

// One chunk that is not known would make libgit2 refuse the file, and walk without it. The second one
// of the two holds dates that lie further apart than the first can tell.
TEST(CommitGraph, IsReadAsTheMachinesGitWritesIt)
{
    const TempRepository repository;
    repository.script("commit first; now=4000000000; commit later; now=100000000; commit earlier\n"
                      "git commit-graph write --reachable");
    git_commit_graph* graph = nullptr;
    const std::string objects = repository.path_text() + "/.git/objects";
    EXPECT_EQ(git_commit_graph_open(&graph, objects.c_str()), 0) << git_error_last()->message;
    git_commit_graph_free(graph);
}

// A walk holds the commits of the file by their positions in it, which git may change meanwhile, and
// shares the file with whoever opened the repository too, and may have closed it again. Some commits
// are not in the file, one has more parents than have their place beside it, and one is reached by two
// ways.
TEST(CommitGraph, MayBeWrittenAnewDuringAWalk)
{
    constexpr int commits = 9;
    const TempRepository repository;
    repository.script(R"(commit 1; commit 2; git branch a; git branch b; commit 3
        git checkout -q a; commit 4; git checkout -q b; commit 5; git checkout -q main
        now=$((now + 60)); GIT_COMMITTER_DATE="$now +0000" git merge -q -s ours -m 6 a b
        commit 7; commit 8; commit 9)");
    const std::string expected = repository.git({"rev-list", "HEAD"});
    for (int step = 0; step < commits; ++step) {
        repository.script("rm -f .git/objects/info/commit-graph\n"
                          "git rev-parse main~2 | git commit-graph write --stdin-commits");
        const std::shared_ptr<git_repository> opened = repository.open();
        git_odb* found = nullptr;
        ASSERT_EQ(git_repository_odb(&found, opened.get()), 0);
        const git::Owned<git_odb, git_odb_free> objects(found);
        std::shared_ptr<git_repository> other = repository.open();
        git::Revwalk other_walk = walk_from_head(other.get());
        const git::Revwalk walk = walk_from_head(opened.get());
        std::string walked;
        git_oid id{};
        for (int count = 0; count < commits; ++count) {
            if (count == step) {
                repository.git({"commit-graph", "write", "--reachable"});
                ASSERT_EQ(git_odb_refresh(found), 0);
                other_walk.reset();
                other.reset();
            }
            ASSERT_EQ(git_revwalk_next(&id, walk.get()), 0) << step << ", " << count;
            walked += win32::to_utf8(git::oid_to_text(id)) + "\n";
        }
        EXPECT_EQ(git_revwalk_next(&id, walk.get()), GIT_ITEROVER);
        EXPECT_EQ(walked, expected) << step;
    }
}

// Histories with all that may confuse the order: merges of up to four parents, commits of one second and
// commits older than their parents, in a file that holds all of it, a part, or nothing.
TEST(CommitGraph, LeavesTheOrderOfAWalkAsItIs)
{
    constexpr int commits = 400;
    constexpr int reach = 20;
    std::mt19937 random(11);
    const auto below = [&random](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    std::string stream;
    for (int mark = 1; mark <= commits; ++mark) {
        stream +=
            fmt::format("commit refs/heads/main\nmark :{}\ncommitter A <a@example.com> {} +0000\n"
                        "data 0\n",
                        mark, 1600000000 + mark / 3 + below(reach));
        std::set<int> parents{mark - 1};
        for (int more = below(4); mark > reach && below(3) == 0 && more > 0; --more)
            parents.insert(mark - 2 - below(reach - 2));
        parents.erase(0);
        const char* word = "from";
        for (auto parent = parents.rbegin(); parent != parents.rend(); ++parent)
            stream += fmt::format("{} :{}\n", std::exchange(word, "merge"), *parent);
    }
    const TempRepository repository;
    repository.fast_import(stream);
    const auto walked = [&repository] {
        const std::shared_ptr<git_repository> opened = repository.open();
        const git::Revwalk walk = walk_from_head(opened.get());
        std::string ids;
        for (git_oid id{}; git_revwalk_next(&id, walk.get()) == 0;)
            ids += win32::to_utf8(git::oid_to_text(id)) + "\n";
        return ids;
    };
    const std::string without = walked();
    EXPECT_EQ(std::count(without.begin(), without.end(), '\n'), commits);
    EXPECT_EQ(without, repository.git({"rev-list", "HEAD"}));
    for (const char* first : {"main~250", "main~5", "main"}) {
        repository.script(fmt::format("rm -f .git/objects/info/commit-graph\n"
                                      "git rev-parse {} | git commit-graph write --stdin-commits",
                                      first));
        EXPECT_EQ(walked(), without) << first;
    }
}

}  // namespace
