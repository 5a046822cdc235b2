#include "git/diffs.h"

#include "git/objects.h"
#include "tests/support/temp_repository.h"
#include "win32/handle.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <ostream>
#include <set>
#include <tuple>

namespace git {

// How a failed comparison shows a change.
static void PrintTo(const FileChange& change, std::ostream* stream)
{
    const auto id_text = [](const std::optional<git_oid>& id) {
        return id ? std::string(git_oid_tostr_s(&*id)).substr(0, 7) : std::string("-");
    };
    *stream << fmt::format("{} '{}' {} '{}' {}", static_cast<unsigned>(change.status),
                           win32::to_utf8(change.old_path), id_text(change.old_id),
                           win32::to_utf8(change.new_path), id_text(change.new_id));
}

}  // namespace git

namespace {

using git::ChangeStatus;
using git::FileChange;
using support::TempRepository;

// Which id of the new side to compare: `git diff-files` knows none, libgit2 has one where it had to
// read the file.
enum class NewIds { Compared, Left };

std::vector<FileChange> sorted(std::vector<FileChange> changes, NewIds new_ids = NewIds::Compared)
{
    for (FileChange& change : changes) {
        // A conflict has up to three versions; which of them stands in a list is everyone's choice.
        if (change.status == ChangeStatus::Conflicted)
            change.old_id.reset();
        if (change.status == ChangeStatus::Conflicted || new_ids == NewIds::Left)
            change.new_id.reset();
    }
    std::sort(changes.begin(), changes.end(), [](const FileChange& left, const FileChange& right) {
        return std::tie(left.new_path, left.status) < std::tie(right.new_path, right.status);
    });
    return changes;
}

std::optional<git_oid> id_from(const std::string& text)
{
    git_oid id{};
    EXPECT_EQ(git_oid_fromstr(&id, text.c_str()), 0) << text;
    return git_oid_is_zero(&id) != 0 ? std::nullopt : std::optional(id);
}

// Reads what git prints with --raw -z --no-abbrev: ":mode mode id id status NUL path NUL", with a
// second path for a rename.
std::vector<FileChange> changes_of(const std::string& raw)
{
    std::vector<FileChange> changes;
    std::set<std::wstring> conflicts;
    for (std::size_t begin = 0; begin < raw.size();) {
        const auto next_field = [&] {
            std::string field = raw.c_str() + begin;
            begin += field.size() + 1;
            return field;
        };
        const std::string head = next_field();
        constexpr std::size_t ids_begin = sizeof(":100644 100644 ") - 1;
        const char letter = head[ids_begin + 82];
        FileChange change;
        change.old_id = id_from(head.substr(ids_begin, 40));
        change.new_id = id_from(head.substr(ids_begin + 41, 40));
        change.old_path = change.new_path = win32::to_wide(next_field());
        switch (letter) {
        case 'A':
            change.status = ChangeStatus::Added;
            break;
        case 'D':
            change.status = ChangeStatus::Deleted;
            break;
        case 'R':
            change.status = ChangeStatus::Renamed;
            change.new_path = win32::to_wide(next_field());
            break;
        case 'U':
            change.status = ChangeStatus::Conflicted;
            conflicts.insert(change.new_path);
            break;
        case 'T': {
            // A file that becomes something else: libgit2 counts the old one as deleted.
            FileChange old = change;
            old.status = ChangeStatus::Deleted;
            old.new_id.reset();
            changes.push_back(old);
            change.status = ChangeStatus::Added;
            change.old_id.reset();
            break;
        }
        default:
            change.status = ChangeStatus::Modified;
        }
        changes.push_back(std::move(change));
    }
    // Git lists a conflict with our side once more, as modified.
    std::erase_if(changes, [&](const FileChange& change) {
        return change.status != ChangeStatus::Conflicted && conflicts.contains(change.new_path);
    });
    return changes;
}

std::vector<FileChange> staged_by_git(const TempRepository& repository)
{
    return changes_of(repository.git(
        {"diff-index", "--cached", "--raw", "-z", "--no-abbrev", "--no-renames", "HEAD"}));
}

std::vector<FileChange> unstaged_by_git(const TempRepository& repository)
{
    // Git looks at time stamps only, so they are brought up to date first.
    std::vector<FileChange> changes =
        changes_of(repository.script("git update-index -q --refresh >/dev/null || true\n"
                                     "git diff-files --raw -z --no-abbrev --no-renames\n"));
    const std::string others = repository.git({"ls-files", "-z", "--others", "--exclude-standard"});
    for (std::size_t begin = 0; begin < others.size();) {
        const std::string path = others.c_str() + begin;
        begin += path.size() + 1;
        FileChange change;
        change.old_path = change.new_path = win32::to_wide(path);
        change.status = ChangeStatus::Untracked;
        changes.push_back(std::move(change));
    }
    return changes;
}

git::Tree tree_of(git_repository* repository, const char* revision)
{
    git_object* found = nullptr;
    EXPECT_EQ(git_revparse_single(&found, repository, (std::string(revision) + "^{tree}").c_str()),
              0);
    return git::Tree(reinterpret_cast<git_tree*>(found));
}

const std::string long_text = [] {
    std::string text;
    for (int i = 0; i < 100; ++i)
        text += fmt::format("line {} of a text that is long enough to be recognised\n", i);
    return text;
}();

std::string fast_import_file(std::string_view mode, std::string_view quoted_path,
                             std::string_view bytes)
{
    return fmt::format("M {} inline \"{}\"\ndata {}\n{}\n", mode, quoted_path, bytes.size(), bytes);
}

// Two commits between which everything happens that can happen to a file, with names that are
// easily taken for something else. Without a working tree, since no Windows folder could hold them.
TempRepository repository_with_two_trees()
{
    TempRepository repository;
    const std::string commit = "commit refs/heads/main\n"
                               "committer A <a@example.invalid> 1709294400 +0000\ndata 0\n";
    constexpr std::array changed_files{"plain",
                                       "with space",
                                       R"(with \"quotes\")",
                                       "glob*",
                                       "globular",
                                       "g[a-z]",
                                       "gb",
                                       "?",
                                       "x",
                                       "*",
                                       "größe/文件",
                                       R"(new\nline)",
                                       R"(back\\slash)",
                                       "#notes#",
                                       "!important",
                                       "important",
                                       " spaces ",
                                       R"(not utf-8 \377)",
                                       "a/b/c/d/e/f/g/h/i/j/k/l/m/n/deep"};
    std::string stream = commit;
    for (const char* changed : changed_files)
        stream += fast_import_file("100644", changed, "before\n");
    stream += fast_import_file("100644", "emptied", "content") +
              fast_import_file("100644", "deleted", "deleted one") +
              fast_import_file("100644", "old/gone", "another") +
              fast_import_file("100644", "moved from", long_text) +
              fast_import_file("100644", "moved and edited from", long_text + long_text) +
              fast_import_file("100644", "becomes link", "file") +
              fast_import_file("100644", "becomes folder", "some file") +
              fast_import_file("100644", "becomes executable", "program") +
              fast_import_file("100644", "unchanged", "same") +
              "M 160000 1111111111111111111111111111111111111111 module\n";
    stream += "\n" + commit;
    for (const char* changed : changed_files)
        stream += fast_import_file("100644", changed, "after");
    stream += "D deleted\nD old/gone\n"
              "R \"moved from\" \"moved/to 日本\"\n"
              "D \"moved and edited from\"\n" +
              fast_import_file("100644", "moved and edited to", long_text + "new\n" + long_text) +
              fast_import_file("100644", "emptied", "") +
              fast_import_file("100644", "added", "added\n") +
              fast_import_file("100644", "added empty", "") +
              fast_import_file("120000", "becomes link", "unchanged") + "D \"becomes folder\"\n" +
              fast_import_file("100644", "becomes folder/inside", "file in it") +
              fast_import_file("100755", "becomes executable", "program") +
              "M 160000 2222222222222222222222222222222222222222 module\n";
    repository.fast_import(stream);
    return repository;
}

TEST(TreeDiffs, AreWhatGitFindsBetweenTwoCommits)
{
    const TempRepository repository = repository_with_two_trees();
    const auto handle = repository.open();
    const git::Tree before = tree_of(handle.get(), "HEAD~1");
    const git::Tree after = tree_of(handle.get(), "HEAD");
    const std::vector<std::string> raw = {"-r", "-z", "--raw", "--no-abbrev", "-M"};
    const auto git_diff = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin() + 1, raw.begin(), raw.end());
        return sorted(changes_of(repository.git(arguments)));
    };

    const auto changes = git::diff_trees(before.get(), after.get());
    ASSERT_TRUE(changes);
    EXPECT_EQ(sorted(*changes), git_diff({"diff-tree", "HEAD~1", "HEAD"}));
    EXPECT_EQ(std::count_if(
                  changes->begin(), changes->end(),
                  [](const FileChange& change) { return change.status == ChangeStatus::Renamed; }),
              2);
    const auto back = git::diff_trees(after.get(), before.get());
    ASSERT_TRUE(back);
    EXPECT_EQ(sorted(*back), git_diff({"diff-tree", "HEAD", "HEAD~1"}));
    // A first commit is compared with nothing.
    const auto root = git::diff_trees(nullptr, before.get());
    ASSERT_TRUE(root);
    EXPECT_EQ(sorted(*root), git_diff({"diff-tree", "--root", "--no-commit-id", "HEAD~1"}));
    const auto same = git::diff_trees(after.get(), after.get());
    ASSERT_TRUE(same);
    EXPECT_TRUE(same->empty());

    // One path finds exactly its own change, by either name, whatever characters are in it.
    for (const FileChange& change : *changes)
        for (const std::wstring& path : {change.old_path, change.new_path}) {
            // Two entries are one file that became a link; text that is not UTF-8 has no name.
            if (path == L"becomes link" || path.find(L'\xfffd') != std::wstring::npos)
                continue;
            const auto found = git::diff_trees_for_path(before.get(), after.get(), path);
            ASSERT_TRUE(found);
            EXPECT_EQ(*found, change) << win32::to_utf8(path);
        }
    for (const wchar_t* path : {L"unchanged", L"missing", L"a", L"a/b", L"becomes folder/",
                                L"PLAIN", L"gl*", L"[gx]", L"", L"."}) {
        const auto found = git::diff_trees_for_path(before.get(), after.get(), path);
        ASSERT_TRUE(found);
        EXPECT_EQ(*found, std::nullopt) << win32::to_utf8(path);
    }
}

// A working tree in which every kind of staged and unstaged change exists at once.
TempRepository repository_with_changes()
{
    TempRepository repository;
    for (const char* file : {"modified", "staged", "staged and modified", "deleted", "removed",
                             "moved from", "replaced", "conflict/both changed", "untouched",
                             "größe/日本 🙂.txt", "glob[a].txt", "globa.txt", "it's",
                             "emptied", "a/b/c/d/e/f/g/deep", "resaved", "no longer tracked"})
        repository.write_file(file, fmt::format("{}\n", file));
    repository.write_file(".gitignore", "*.log\n/ignored/\n");
    repository.script(R"(
        git init -q ../library
        git -C ../library commit -q --allow-empty -m one
        for name in clean ahead 'dirty ü'; do
            git submodule --quiet add ../library "modules/$name"
        done
        echo text >'modules/dirty ü/file'
        git -C 'modules/dirty ü' add -A
        git -C 'modules/dirty ü' commit -q -m two
        git add -A
        commit one
        git -C modules/ahead commit -q --allow-empty -m ahead
        echo changed >'modules/dirty ü/file'
    )");
    for (const char* file : {"modified", "staged", "staged and modified", "größe/日本 🙂.txt",
                             "glob[a].txt", "it's", "a/b/c/d/e/f/g/deep"})
        repository.write_file(file, "changed, no line end");
    repository.write_file("emptied", "");
    repository.script(R"(
        git add staged 'staged and modified' "it's"
        git mv 'moved from' 'moved to'
        git rm -q --cached 'no longer tracked'
        git rm -q removed
        blob() { printf "$1" | git hash-object -w --stdin; }
        for path in 'conflict/both changed' 'conflict/we deleted'; do
            base=$(blob base) ours=$(blob ours) theirs=$(blob theirs)
            printf '0 %040d\t%s\n' 0 "$path"
            printf '100644 %s 1\t%s\n' "$base" "$path"
            [ "$path" = 'conflict/we deleted' ] || printf '100644 %s 2\t%s\n' "$ours" "$path"
            printf '100644 %s 3\t%s\n' "$theirs" "$path"
        done | git update-index --index-info
    )");
    repository.write_file("staged and modified", "changed once more");
    repository.write_file("conflict/we deleted", "theirs");
    repository.remove("deleted");
    repository.remove("replaced");
    repository.write_file("replaced/by folder", "inside\n");
    repository.write_file("resaved", "resaved\n");
    repository.write_file("new", "");
    repository.write_file("neu/Ordner/日本/file", "x");
    repository.write_file("neu/other file", "y");
    repository.write_file("build.log", "ignored");
    repository.write_file("ignored/file", "ignored");
    repository.write_file("added", "one");
    repository.git({"add", "added"});
    repository.write_file("added", "two");
    return repository;
}

TEST(WorkingTreeDiffs, AreWhatGitFindsInIndexAndWorkingTree)
{
    const TempRepository repository = repository_with_changes();
    const auto compare = [&](const char* what) {
        SCOPED_TRACE(what);
        const auto handle = repository.open();
        const auto staged = git::diff_head_to_index(handle.get());
        ASSERT_TRUE(staged);
        EXPECT_EQ(sorted(*staged), sorted(staged_by_git(repository)));
        const auto unstaged = git::diff_index_to_workdir(handle.get());
        ASSERT_TRUE(unstaged);
        EXPECT_EQ(sorted(*unstaged, NewIds::Left),
                  sorted(unstaged_by_git(repository), NewIds::Left));
        EXPECT_TRUE(std::is_sorted(unstaged->begin(), unstaged->end(),
                                   [](const FileChange& left, const FileChange& right) {
                                       return win32::to_utf8(left.new_path) <
                                              win32::to_utf8(right.new_path);
                                   }));
    };
    compare("on a branch");
    repository.git({"update-ref", "--no-deref", "HEAD", "HEAD"});
    compare("detached");
    // So many folders that they are listed ahead of the diff, with names that sort around a slash.
    repository.script(R"(
        for name in a a-b a.b a0 Ä $(seq 100 199); do
            mkdir -p "many/$name/x/y"
            echo "$name" | tee "many/$name/file" "many/$name/x/y/file" >"many/$name/x.y"
        done
        printf '*\n!kept\n' >many/150/.gitignore
        git add -f many
        rm -r many/110 many/111/x many/112/file many/113/x
        echo 'a file now' >many/110
        echo 'a file now' >many/113/x
        rm many/114/file
        mkdir many/114/file many/a0/empty many/b many/.x
        for file in 114/file/new a/new a-b/x/y/new a.b/x/new b/new .x/new 150/new 150/kept 151/x.log; do
            echo new >"many/$file"
        done
        for name in a/x.y 100/file 199/x/y/file 150/file; do echo changed >"many/$name"; done
        rm many/.x/new
        git update-index --add --cacheinfo 160000,$(git rev-parse HEAD),many/115/module
    )");
    compare("many folders");
}

TEST(WorkingTreeDiffs, FilesThatCannotBeLookedInto)
{
    const TempRepository repository;
    for (const char* file : {"database", "gone", "source"})
        repository.write_file(file, "one");
    repository.commit_all("one");
    // Of the same length, so that only their contents could tell.
    repository.write_file("database", "two");
    repository.write_file("gone", "two");
    repository.write_file("source", "two and more");
    const win32::FileHandle kept(CreateFileW((repository.path() / L"database").c_str(),
                                             GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                             OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(kept);
    const auto handle = repository.open();
    // One of them goes after it was listed.
    const auto unstaged = git::diff_index_to_workdir(handle.get(), [&] {
        std::filesystem::remove(repository.path() / L"gone");
        return false;
    });
    ASSERT_TRUE(unstaged) << git::to_utf8(unstaged.error());
    ASSERT_EQ(unstaged->size(), 3U);
    const FileChange& database = unstaged->at(0);
    EXPECT_EQ(database.new_path, L"database");
    EXPECT_EQ(database.status, ChangeStatus::Modified);
    EXPECT_TRUE(database.old_id);
    EXPECT_FALSE(database.new_id);
    EXPECT_EQ(unstaged->at(1).status, ChangeStatus::Deleted);
    EXPECT_EQ(unstaged->at(2).status, ChangeStatus::Modified);
}

TEST(WorkingTreeDiffs, UnbornBranch)
{
    TempRepository repository;
    const auto handle = repository.open();
    const auto nothing = git::diff_head_to_index(handle.get());
    ASSERT_TRUE(nothing);
    EXPECT_TRUE(nothing->empty());

    repository.write_file("größe/staged", "x");
    repository.write_file("untracked", "y");
    repository.git({"add", "größe"});
    // The same open repository sees what another program has staged.
    const auto staged = git::diff_head_to_index(handle.get());
    ASSERT_TRUE(staged);
    ASSERT_EQ(staged->size(), 1U);
    EXPECT_EQ(staged->front().status, ChangeStatus::Added);
    EXPECT_EQ(staged->front().new_path, L"größe/staged");
    EXPECT_FALSE(staged->front().old_id);
    EXPECT_TRUE(staged->front().new_id);
    const auto unstaged = git::diff_index_to_workdir(handle.get());
    ASSERT_TRUE(unstaged);
    ASSERT_EQ(unstaged->size(), 1U);
    EXPECT_EQ(unstaged->front().new_path, L"untracked");
}

TEST(WorkingTreeDiffs, ThousandsOfChangesAndTheirCancellation)
{
    constexpr int count = 2000;
    TempRepository repository;
    std::string stream = "commit refs/heads/main\n"
                         "committer A <a@example.invalid> 1709294400 +0000\ndata 0\n";
    const auto name = [](int i) { return fmt::format("folder {}/file {}", i % 100, i); };
    for (int i = 0; i < count; ++i)
        stream += fast_import_file("100644", name(i), fmt::format("{}\n", i));
    repository.fast_import(stream);
    repository.git({"reset", "-q", "--hard"});
    for (int i = 0; i < count; ++i) {
        if (i % 3 == 0)
            repository.write_file(name(i), "changed");
        else if (i % 3 == 1)
            repository.remove(name(i));
        else
            repository.write_file(name(i) + " new", "");
    }

    const auto handle = repository.open();
    const auto all = git::diff_index_to_workdir(handle.get());
    ASSERT_TRUE(all);
    EXPECT_EQ(all->size(), static_cast<std::size_t>(count));
    EXPECT_EQ(sorted(*all, NewIds::Left), sorted(unstaged_by_git(repository), NewIds::Left));

    int asked = 0;
    const auto cancelled =
        git::diff_index_to_workdir(handle.get(), [&] { return ++asked == count / 10; });
    ASSERT_FALSE(cancelled);
    EXPECT_EQ(git::to_utf8(cancelled.error()), "cancelled");
    EXPECT_EQ(asked, count / 10) << "it goes on after it was cancelled";
    const auto not_cancelled = git::diff_index_to_workdir(handle.get(), [] { return false; });
    ASSERT_TRUE(not_cancelled);
    EXPECT_EQ(sorted(*not_cancelled), sorted(*all));
}

TEST(Index, PathsAreStagedAndUnstagedOneByOne)
{
    const TempRepository repository = repository_with_changes();
    const auto handle = repository.open();
    // Git stages something else after our repository has read the index: it must not be lost.
    ASSERT_TRUE(git::diff_head_to_index(handle.get()));
    repository.git({"add", "neu/other file"});
    for (const wchar_t* path :
         {L"modified", L"größe/日本 🙂.txt", L"glob[a].txt", L"a/b/c/d/e/f/g/deep", L"new",
          L"emptied", L"neu/Ordner/日本/file", L"conflict/both changed", L"modules/ahead"}) {
        const auto staged = git::stage_path(handle.get(), path);
        EXPECT_TRUE(staged) << win32::to_utf8(path) << ": " << git::to_utf8(staged.error());
    }
    for (const wchar_t* path : {L"deleted", L"replaced", L"added", L"conflict/we deleted"}) {
        const auto removed = git::unstage_path(handle.get(), path);
        EXPECT_TRUE(removed) << win32::to_utf8(path) << ": " << git::to_utf8(removed.error());
    }
    for (const wchar_t* path : {L"deleted", L"missing/file", L"../outside", L""}) {
        const auto failed = git::stage_path(handle.get(), path);
        ASSERT_FALSE(failed) << win32::to_utf8(path);
        EXPECT_EQ(failed.error().text()->index(), 2U) << "the message is libgit2's";
    }

    // The same, by git, in an index of its own.
    const std::string expected = repository.script(R"(
        cp .git/index ../index
        export GIT_INDEX_FILE=../index
        git read-tree HEAD
        git update-index --add staged 'moved to' "it's" 'neu/other file' modified \
            'größe/日本 🙂.txt' 'glob[a].txt' a/b/c/d/e/f/g/deep new emptied \
            'neu/Ordner/日本/file' 'conflict/both changed' modules/ahead
        git update-index --force-remove -- deleted replaced removed 'moved from' \
            'no longer tracked'
        git update-index --cacheinfo \
            "100644,$(printf 'changed, no line end' | git hash-object --stdin),staged and modified"
        git ls-files -s -z
        rm ../index
    )");
    EXPECT_EQ(repository.git({"ls-files", "-s", "-z"}), expected);
}

TEST(Index, LockOfAnotherProgram)
{
    TempRepository repository;
    repository.write_file("file", "one");
    repository.commit_all("one");
    repository.write_file("file", "two");
    repository.write_file("new", "three");
    const auto handle = repository.open();
    {
        const win32::FileHandle lock(CreateFileW(
            (repository.path() / L".git" / L"index.lock").c_str(), GENERIC_WRITE, 0, nullptr,
            CREATE_NEW, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        ASSERT_TRUE(lock);
        for (const auto change : {git::stage_path, git::unstage_path}) {
            const auto failed = change(handle.get(), L"file");
            ASSERT_FALSE(failed);
            EXPECT_NE(git::to_utf8(failed.error()).find("lock"), std::string::npos);
        }
        // Reading goes on, and shows nothing of what could not be written.
        const auto staged = git::diff_head_to_index(handle.get());
        ASSERT_TRUE(staged);
        EXPECT_TRUE(staged->empty());
        const auto unstaged = git::diff_index_to_workdir(handle.get());
        ASSERT_TRUE(unstaged);
        EXPECT_EQ(unstaged->size(), 2U);
    }
    ASSERT_TRUE(git::stage_path(handle.get(), L"file"));
    EXPECT_EQ(repository.git({"diff", "--cached", "--name-only"}), "file\n");
}

TEST(Index, DamagedRepository)
{
    TempRepository repository;
    repository.write_file("folder/file", "one");
    repository.commit_all("one");
    const std::string tree = repository.id_of("HEAD^{tree}");
    repository.remove(fmt::format(".git/objects/{}/{}", tree.substr(0, 2), tree.substr(2)));
    {
        const auto handle = repository.open();
        const auto staged = git::diff_head_to_index(handle.get());
        ASSERT_FALSE(staged);
        EXPECT_NE(git::to_utf8(staged.error()).find(tree), std::string::npos)
            << git::to_utf8(staged.error());
    }
    repository.write_file(".git/index", "DIRC, but no more");
    const auto handle = repository.open();
    EXPECT_FALSE(git::diff_index_to_workdir(handle.get()));
    EXPECT_FALSE(git::stage_path(handle.get(), L"folder/file"));
    EXPECT_EQ(repository.read_file(".git/index"), "DIRC, but no more");
}

TEST(Submodules, AreListedByTheirPaths)
{
    TempRepository repository;
    {
        const auto handle = repository.open();
        const auto none = git::list_submodules(handle.get());
        ASSERT_TRUE(none);
        EXPECT_TRUE(none->empty());
    }
    const TempRepository changed = repository_with_changes();
    // A path that differs from the name, and one of which only the index knows.
    changed.script(R"(
        git submodule --quiet add --name 'a name' ../library 'vendor/größe 日本'
        git update-index --add --cacheinfo 160000,$(git rev-parse HEAD),only/in-index
    )");
    const auto handle = changed.open();
    auto paths = git::list_submodules(handle.get());
    ASSERT_TRUE(paths);
    std::sort(paths->begin(), paths->end());
    std::vector<std::wstring> expected;
    const std::string staged = changed.git({"ls-files", "-s"});
    for (std::size_t begin = 0; begin < staged.size(); begin = staged.find('\n', begin) + 1)
        if (staged.compare(begin, 6, "160000") == 0) {
            const std::size_t path = staged.find('\t', begin) + 1;
            expected.push_back(win32::to_wide(staged.substr(path, staged.find('\n', path) - path)));
        }
    EXPECT_EQ(*paths, expected);
    EXPECT_EQ(expected.size(), 5U);
}

}  // namespace
