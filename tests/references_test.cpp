#include "git/references.h"

#include "tests/support/lines.h"
#include "tests/support/temp_repository.h"
#include "win32/text.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using support::lines_of;
using support::TempRepository;

std::vector<std::string> sorted(std::vector<std::string> texts)
{
    std::sort(texts.begin(), texts.end());
    return texts;
}

git::Reference find_reference(git_repository* repository, const char* name)
{
    git_reference* found = nullptr;
    EXPECT_EQ(git_reference_lookup(&found, repository, name), 0) << name;
    return git::Reference(found);
}

std::string text_of(const git_oid& id)
{
    return win32::to_utf8(git::oid_to_text(id));
}

std::vector<std::string> names_of(const git::BranchList& branches)
{
    std::vector<std::string> names;
    for (const git::Reference& branch : branches)
        names.emplace_back(git_reference_name(branch.get()));
    return names;
}

// Two remotes with a HEAD each, a remote-tracking branch whose remote is gone, packed and loose
// branches with names that are easily taken for something else.
void make_branches(const TempRepository& repository)
{
    repository.script(R"(
        commit one
        git branch packed/only
        git branch packed/and-moved
        git update-ref refs/remotes/origin/main HEAD
        git symbolic-ref refs/remotes/origin/HEAD refs/remotes/origin/main
        git pack-refs --all
        commit two
        git branch -f packed/and-moved
        git branch "größe/日本"
        git branch origin/HEAD2
        git branch heads/main
        git update-ref refs/remotes/team/main HEAD
        git update-ref refs/remotes/team/feature/origin/HEAD HEAD
        git symbolic-ref refs/remotes/team/HEAD refs/remotes/team/main
        git update-ref refs/remotes/gone/main HEAD
        git config remote.origin.url ../nowhere
        git config remote.origin.fetch '+refs/heads/*:refs/remotes/origin/*'
        git config remote.team.url ../elsewhere
        git config remote.team.fetch '+refs/heads/*:refs/remotes/team/*'
        git tag not-a-branch
        git update-ref refs/notes/commits HEAD
    )");
}

TEST(References, BranchListIsWhatGitListsWithoutTheHeadOfOrigin)
{
    const TempRepository repository;
    make_branches(repository);
    std::vector<std::string> expected = lines_of(
        repository.git({"for-each-ref", "--format=%(refname)", "refs/heads", "refs/remotes"}));
    ASSERT_EQ(std::erase(expected, "refs/remotes/origin/HEAD"), 1U);
    ASSERT_EQ(std::count(expected.begin(), expected.end(), "refs/remotes/team/HEAD"), 1);

    const auto handle = repository.open();
    const auto attached = git::list_branches(handle.get());
    ASSERT_TRUE(attached);
    EXPECT_EQ(sorted(names_of(*attached)), sorted(expected));

    repository.git({"checkout", "-q", "--detach", "packed/only"});
    const auto detached = git::list_branches(handle.get());
    ASSERT_TRUE(detached);
    ASSERT_EQ(detached->size(), expected.size() + 1);
    EXPECT_EQ(git::reference_display_name(detached->front().get()),
              repository.id_of("HEAD").substr(0, 7));
    expected.emplace_back("HEAD");
    EXPECT_EQ(sorted(names_of(*detached)), sorted(expected));
}

TEST(References, NamesAndRemotes)
{
    const TempRepository repository;
    make_branches(repository);
    const auto handle = repository.open();
    struct Case {
        const char* reference;
        const char* display_name;
        std::optional<std::string> remote;
    };
    for (const Case& expected : {
             Case{"refs/heads/packed/only", "packed/only", std::nullopt},
             Case{"refs/heads/größe/日本", "größe/日本", std::nullopt},
             Case{"refs/heads/heads/main", "heads/main", std::nullopt},
             Case{"refs/heads/origin/HEAD2", "origin/HEAD2", std::nullopt},
             Case{"refs/remotes/origin/main", "origin/main", "origin"},
             Case{"refs/remotes/team/feature/origin/HEAD", "team/feature/origin/HEAD", "team"},
             Case{"refs/remotes/team/HEAD", "team/HEAD", "team"},
             Case{"refs/remotes/gone/main", "gone/main", std::nullopt},
             Case{"refs/tags/not-a-branch", "not-a-branch", std::nullopt},
         }) {
        SCOPED_TRACE(expected.reference);
        const git::Reference reference = find_reference(handle.get(), expected.reference);
        EXPECT_EQ(git::reference_display_name(reference.get()), expected.display_name);
        const auto remote = git::remote_name_of(reference.get());
        ASSERT_TRUE(remote);
        EXPECT_EQ(*remote, expected.remote);
        const auto target = git::reference_target(reference.get());
        ASSERT_TRUE(target);
        EXPECT_EQ(text_of(*target), repository.id_of(expected.reference));
    }

    // A branch that two remotes would fetch into belongs to neither for sure.
    repository.git({"config", "remote.twin.fetch", "+refs/heads/*:refs/remotes/team/*"});
    repository.git({"config", "remote.twin.url", "../twin"});
    const auto reopened = repository.open();
    const git::Reference shared = find_reference(reopened.get(), "refs/remotes/team/main");
    const auto ambiguous = git::remote_name_of(shared.get());
    ASSERT_FALSE(ambiguous);
    EXPECT_NE(git::to_utf8(ambiguous.error()).find("ambiguous"), std::string::npos);
}

TEST(References, UnbornAndBrokenReferences)
{
    const TempRepository repository;
    {
        const auto handle = repository.open();
        const auto branches = git::list_branches(handle.get());
        ASSERT_TRUE(branches);
        EXPECT_TRUE(branches->empty());
        const git::Reference head = find_reference(handle.get(), "HEAD");
        EXPECT_EQ(git::reference_display_name(head.get()), "HEAD");
        const auto target = git::reference_target(head.get());
        ASSERT_FALSE(target);
        EXPECT_EQ(git::to_utf8(target.error()), "could not resolve object");
    }
    repository.script(R"(
        commit one
        printf '%040d\n' 1 >.git/refs/heads/lost
        git symbolic-ref refs/remotes/team/HEAD refs/remotes/team/gone
    )");
    const auto handle = repository.open();
    const auto branches = git::list_branches(handle.get());
    ASSERT_TRUE(branches) << "one broken branch must not hide the others";
    EXPECT_EQ(
        sorted(names_of(*branches)),
        (std::vector<std::string>{"refs/heads/lost", "refs/heads/main", "refs/remotes/team/HEAD"}));

    const git::Reference main = find_reference(handle.get(), "refs/heads/main");
    const git::Reference dangling = find_reference(handle.get(), "refs/remotes/team/HEAD");
    const auto unresolved = git::ahead_behind(main.get(), dangling.get());
    ASSERT_FALSE(unresolved);
    EXPECT_EQ(git::to_utf8(unresolved.error()), "could not resolve object");
    const git::Reference lost = find_reference(handle.get(), "refs/heads/lost");
    const auto missing = git::ahead_behind(main.get(), lost.get());
    ASSERT_FALSE(missing);
    EXPECT_NE(git::to_utf8(missing.error()).find("0000000000000000000000000000000000000001"),
              std::string::npos);
}

TEST(References, AheadAndBehindAreWhatGitCounts)
{
    const TempRepository repository;
    // A side branch that was merged, one that was not, a history of its own, and a HEAD of a remote.
    repository.script(R"(
        for i in 1 2 3; do commit "base $i"; done
        git checkout -q -b side HEAD~1
        for i in 1 2; do commit "side $i"; done
        git pack-refs --all
        git checkout -q main
        git merge -q --no-edit side
        commit after
        git checkout -q -b diverged main~1
        for i in 1 2 3 4; do commit "diverged $i"; done
        git checkout -q --orphan unrelated
        for i in 1 2 3; do commit "unrelated $i"; done
        git update-ref refs/remotes/team/main main~2
        git symbolic-ref refs/remotes/team/HEAD refs/remotes/team/main
    )");
    const std::vector<std::pair<const char*, const char*>> pairs = {
        {"refs/heads/main", "refs/heads/main"},
        {"refs/heads/main", "refs/heads/side"},
        {"refs/heads/side", "refs/heads/main"},
        {"refs/heads/main", "refs/heads/diverged"},
        {"refs/heads/main", "refs/heads/unrelated"},
        {"refs/heads/diverged", "refs/remotes/team/HEAD"},
    };
    std::string commands;
    for (const auto& [local, upstream] : pairs)
        commands +=
            std::string("git rev-list --left-right --count ") + local + "..." + upstream + "\n";
    const std::vector<std::string> expected = lines_of(repository.script(commands));
    ASSERT_EQ(expected.size(), pairs.size());

    const auto handle = repository.open();
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const auto& [local, upstream] = pairs[i];
        const auto counts = git::ahead_behind(find_reference(handle.get(), local).get(),
                                              find_reference(handle.get(), upstream).get());
        ASSERT_TRUE(counts);
        EXPECT_EQ(std::to_string(counts->ahead) + "\t" + std::to_string(counts->behind),
                  expected[i])
            << local << "..." << upstream;
    }
}

// Annotated and lightweight tags, two of them on one commit, packed and loose, and tags on what is
// no commit: a file, a folder and another tag.
void make_tags(const TempRepository& repository)
{
    repository.write_file("folder/file", "text");
    repository.script(R"(
        git add -A
        commit one
        git tag v1.0
        git tag -m annotated v1.0-signed
        git tag -m annotated "версия/1"
        git pack-refs --all
        commit two
        git tag -m annotated v2.0
        git tag latest
        git tag -m 'a file' v2.0-file HEAD:folder/file
        git tag v2.0-folder HEAD:folder
        git tag -m nested v2.0-again v2.0
    )");
}

TEST(References, TagMapNamesEveryTagOfEachCommit)
{
    const TempRepository repository;
    make_tags(repository);
    const auto handle = repository.open();
    const auto tags = git::tag_map(handle.get());
    ASSERT_TRUE(tags);
    std::vector<std::string> found;
    for (const auto& [id, names] : *tags)
        for (const std::string& name : names)
            found.push_back(text_of(id) + " " + name);
    // What a tag object names, or, without one, what the reference names.
    const std::string expected = repository.script(R"(
        git for-each-ref --format='%(refname:lstrip=2)' refs/tags | while read -r name; do
            target=$(git cat-file -p "refs/tags/$name" 2>/dev/null | sed -n 's/^object //p;q')
            echo "${target:-$(git rev-parse "refs/tags/$name")} $name"
        done
    )");
    EXPECT_EQ(sorted(found), sorted(lines_of(expected)));
    EXPECT_EQ(found.size(), 8U);

    repository.script("git symbolic-ref refs/tags/dangling refs/tags/missing");
    EXPECT_FALSE(git::tag_map(handle.get()));
}

TEST(References, TagFilterFindsTheCommitsOfTheTagsThatGitMatches)
{
    const TempRepository repository;
    make_tags(repository);
    const auto handle = repository.open();
    for (const char* text : {"", "v", "1", "2.0-", "ерс", "a?e", "[vl]*0", "V1", "nothing"}) {
        SCOPED_TRACE(text);
        // Tags on a file, a folder or another tag mark no commit.
        const std::string expected = repository.script(
            "git tag --list '*" + std::string(text) +
            "*' |\n"
            "    grep -v -e -file -e -folder -e -again |\n"
            "    while read -r name; do git rev-parse \"refs/tags/$name^{commit}\"; done");
        const auto targets = git::tag_targets_matching(handle.get(), text);
        ASSERT_TRUE(targets);
        std::vector<std::string> found;
        for (const git_oid& id : *targets)
            found.push_back(text_of(id));
        EXPECT_EQ(sorted(found), sorted(lines_of(expected)));
    }
}

}  // namespace
