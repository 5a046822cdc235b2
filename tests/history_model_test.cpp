#include "git/objects.h"
#include "git/references.h"
#include "history/commit_changes.h"
#include "history/commit_details.h"
#include "history/file_walk.h"
#include "history/history_layout.h"
#include "history/reference_map.h"
#include "history/rev_list_with_filter.h"
#include "history/revision_walk.h"
#include "tests/support/lines.h"
#include "tests/support/temp_repository.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <set>
#include <string>
#include <vector>

namespace {

using revlane::change_of_file;
using revlane::changes_between;
using revlane::changes_of_commit;
using revlane::commit_details_text;
using revlane::count_walk;
using revlane::HistoryLayout;
using revlane::HistoryLayoutInput;
using revlane::lay_out_history;
using revlane::read_reference_map;
using revlane::RevListWithFilter;
using revlane::splitter_position;
using revlane::start_walk;
using revlane::walk_all;
using revlane::walk_file_history;
using support::lines_of;
using support::TempRepository;

constexpr std::uint32_t NO_LIMIT = std::numeric_limits<std::uint32_t>::max();

git_oid oid(const std::string& digits)
{
    git_oid id{};
    EXPECT_EQ(git_oid_fromstr(&id, digits.c_str()), 0) << digits;
    return id;
}

std::string digits(const git_oid& id)
{
    return win32::to_utf8(git::oid_to_text(id));
}

// One commit of a stream for `git fast-import`, without its parents and files.
std::string commit_head(const std::string& branch, int mark, const std::string& date,
                        const std::string& message)
{
    return fmt::format("commit refs/heads/{}\nmark :{}\nauthor Müller <m@example.com> {}\n"
                       "committer C <c@example.com> {}\ndata {}\n{}\n",
                       branch, mark, date, date, message.size(), message);
}

RevListWithFilter walk_model(const std::shared_ptr<git_repository>& repository,
                             const git_oid& start)
{
    RevListWithFilter model;
    git::Result<git::Revwalk> walk = start_walk(repository.get(), start);
    EXPECT_TRUE(walk.has_value());
    model.set_walk(repository, std::move(*walk), start);
    return model;
}

TEST(HistoryModel, RowsOfALongHistoryAreThoseOfGitLog)
{
    // 5,000 commits with a merge now and then, many at the same second, and a second root.
    std::string stream = commit_head("side", 9001, "1000000000 +0000", "another root");
    for (int mark = 1; mark <= 5000; ++mark) {
        stream += commit_head("main", mark, fmt::format("{} +0100", 1600000000 + mark / 3),
                              fmt::format("subject {}\n\nbody", mark));
        if (mark > 1)
            stream += fmt::format("from :{}\n", mark - 1);
        if (mark == 2500)
            stream += "merge :9001\n";
        else if (mark % 500 == 0)
            stream += fmt::format("merge :{}\n", mark - 7);
    }
    const TempRepository temporary;
    temporary.fast_import(stream);
    const auto repository = temporary.open();
    const git_oid start = oid(temporary.id_of("main"));

    EXPECT_EQ(*count_walk(repository.get(), start, NO_LIMIT), 5001U);
    EXPECT_EQ(*count_walk(repository.get(), start, 200), 200U);

    RevListWithFilter model = walk_model(repository, start);
    EXPECT_EQ(model.size(), 0U);
    ASSERT_NE(model.row(0), nullptr);
    EXPECT_EQ(model.size(), 1U) << "only what was asked for is built";
    EXPECT_EQ(model.row(5001), nullptr);
    EXPECT_EQ(model.row(5001), nullptr) << "a walk that has ended does not begin anew";
    ASSERT_EQ(model.size(), 5001U);

    std::set<std::string> shown;
    for (std::size_t i = 0; i < model.size(); ++i) {
        const git::CommitRow& row = *model.row(i);
        shown.insert(fmt::format("{} {} {}", digits(row.id), win32::to_utf8(row.author),
                                 win32::to_utf8(row.summary)));
        EXPECT_EQ(row.id_text, git::oid_to_text(row.id));
    }
    const std::vector<std::string> log =
        lines_of(temporary.git({"log", "--pretty=%H %an %s", "main"}));
    EXPECT_EQ(shown, std::set<std::string>(log.begin(), log.end()));
    EXPECT_EQ(digits(model.row(0)->id), temporary.id_of("main"));

    const git_oid late = oid(temporary.id_of("main~4000"));
    EXPECT_EQ(digits(model.row(model.find(late, 5001))->id), digits(late));
    EXPECT_EQ(model.find(git_oid{}, 5001), 5001U);

    // A filter hides the walk, and clearing it brings the built rows back.
    model.set_filter(repository, {late, start, git_oid{}});
    EXPECT_EQ(model.size(), 3U);
    EXPECT_EQ(digits(model.row(1)->id), digits(start));
    EXPECT_EQ(model.row(2), nullptr) << "a commit that is missing has no row";
    EXPECT_EQ(model.find(start, 3), 1U);
    model.clear_filter();
    EXPECT_EQ(model.size(), 5001U);
}

TEST(HistoryModel, AWalkDoneElsewhereSparesItsSteps)
{
    std::string stream;
    for (int mark = 1; mark <= 300; ++mark)
        stream += commit_head("main", mark, "1600000000 +0000", fmt::format("subject {}", mark)) +
                  (mark > 1 ? fmt::format("from :{}\n", mark - 1) : "");
    const TempRepository temporary;
    temporary.fast_import(stream);
    const auto repository = temporary.open();
    const git_oid start = oid(temporary.id_of("main"));
    std::vector<git_oid> all = *walk_all(repository.get(), start);
    ASSERT_EQ(all.size(), 300U);
    int asked = 0;
    EXPECT_EQ(walk_all(repository.get(), start, [&asked] { return ++asked > 10; })->size(), 10U);

    RevListWithFilter model = walk_model(repository, start);
    const git::CommitRow* early = model.row(5);
    // What does not continue the rows that are there is of another walk.
    model.set_walked({all.rbegin(), all.rend()});
    model.set_walked({all.begin(), all.begin() + 3});
    EXPECT_EQ(model.size(), 6U);
    model.set_walked(all);
    EXPECT_EQ(model.size(), 300U);
    EXPECT_EQ(model.row(299)->summary, L"subject 1");
    EXPECT_EQ(model.row(150)->summary, L"subject 150");
    EXPECT_EQ(model.row(300), nullptr);
    EXPECT_EQ(model.row(5), early) << "a row stays where it is when others are built";
    // A commit that cannot be read has no row, and those around it have theirs.
    all[200] = git_oid{};
    RevListWithFilter broken = walk_model(repository, start);
    broken.set_walked(all);
    EXPECT_EQ(broken.row(200), nullptr);
    EXPECT_NE(broken.row(201), nullptr);
}

TEST(HistoryModel, OddCommitsHaveRows)
{
    const std::string long_subject(70000, 'x');
    const TempRepository temporary;
    temporary.fast_import(commit_head("main", 1, "0 +0000", "dated 1970") +
                          commit_head("main", 2, "4102444800 +0000", "dated 2100") + "from :1\n" +
                          commit_head("main", 3, "1600000000 +0000", "") + "from :2\n" +
                          commit_head("main", 4, "1600000000 +0000", long_subject) + "from :3\n" +
                          "commit refs/heads/main\nmark :5\n"
                          "committer B <b@example.com> 1600000000 +0000\nencoding ISO-8859-1\n"
                          "data 4\nf\xFCr\n\nfrom :4\n");
    RevListWithFilter model = walk_model(temporary.open(), oid(temporary.id_of("main")));
    ASSERT_EQ(model.row(5), nullptr);
    ASSERT_EQ(model.size(), 5U);
    std::multiset<std::wstring> summaries;
    for (std::size_t i = 0; i < model.size(); ++i) {
        summaries.insert(model.row(i)->summary);
        EXPECT_FALSE(model.row(i)->date.empty());
    }
    const std::multiset<std::wstring> expected{L"dated 1970", L"dated 2100", L"",
                                               std::wstring(70000, L'x'), L"f\xFFFDr"};
    EXPECT_EQ(summaries, expected);
}

TEST(HistoryModel, CommitsFromBeforeTheirTimeHaveRows)
{
    const TempRepository temporary;
    // Git itself makes no such commit.
    temporary.script(R"(
commit recent --allow-empty
for time in -86400 -20000000000; do
    id=$(git cat-file commit main | sed "s/^committer .*/committer C <c@example.com> $time +0000/" |
        git hash-object -t commit -w --stdin --literally)
    git update-ref "refs/heads/at$time" "$id"
done
)");
    const auto repository = temporary.open();
    for (const std::string time : {"-86400", "-20000000000"}) {
        RevListWithFilter model =
            walk_model(repository, oid(temporary.id_of("refs/heads/at" + time)));
        const git::CommitRow* row = model.row(0);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->summary, L"recent");
        // Windows' time begins in 1601.
        EXPECT_EQ(row->date.empty(), time == "-20000000000") << win32::to_utf8(row->date);
    }
}

// Packed as differences from one another, longer than what is inflated in one piece, with three
// parents, with two authors, and cut off where a shallow clone ends.
TEST(HistoryModel, AWalkReadsEveryFormOfCommitThatGitReads)
{
    const TempRepository temporary;
    temporary.script(R"sh(
long=$(seq -s ' ' 1 2000)
for i in 1 2 3 4 5 6 7 8 9; do commit "$i $long" --allow-empty; done
for side in a b; do
    git checkout -q -b "$side" main~3
    commit "$side" --allow-empty
done
git checkout -q main
tree=$(git rev-parse main^{tree})
id=$(git commit-tree -m octopus -p main -p a -p b "$tree")
id=$(git cat-file commit "$id" | sed "s/^author \(.*\)/author No Time\nauthor \1/" |
    git hash-object -t commit -w --stdin --literally)
git update-ref refs/heads/main "$(git commit-tree -m last -p "$id" "$tree")"
git repack -q -a -d -f
)sh");
    const auto check = [&temporary](const std::string& state) {
        const auto repository = temporary.open();
        const auto ids = walk_all(repository.get(), oid(temporary.id_of("main")));
        std::string walked;
        for (const git_oid& id : *ids)
            walked += digits(id) + "\n";
        EXPECT_EQ(walked, temporary.git({"rev-list", "main"})) << state;
    };
    check("whole");
    temporary.script("git rev-parse main~4 > .git/shallow");
    check("shallow");
}

TEST(HistoryModel, AnUnknownStartIsAFailureWithLibgit2sWords)
{
    const TempRepository temporary;
    const auto repository = temporary.open();
    const git::Result<git::Revwalk> walk = start_walk(repository.get(), git_oid{});
    ASSERT_FALSE(walk.has_value());
    EXPECT_FALSE(git::to_utf8(walk.error()).empty());
    EXPECT_FALSE(count_walk(repository.get(), git_oid{}, 200).has_value());
}

TEST(HistoryModel, TheHistoryOfAFileIsThatOfGitLogFollow)
{
    const TempRepository temporary;
    temporary.script(
        "mkdir -p 'old dir'\n"
        "for i in 1 2 3 4 5 6 7 8; do echo line $i >> 'old dir/ä.txt'; done\n"
        "git add -A; commit one\n"
        "echo other > other.txt; git add -A; commit unrelated\n"
        "echo line 9 >> 'old dir/ä.txt'; git add -A; commit two\n"
        "git mv 'old dir/ä.txt' new.txt; commit renamed\n"
        "git checkout -q -b side HEAD~1; echo side > side.txt; git add -A; commit side\n"
        "git checkout -q main; echo line 10 >> new.txt; git add -A; commit three\n"
        "git merge -q --no-edit side\n");
    const auto repository = temporary.open();
    const git_oid start = oid(temporary.id_of("HEAD"));
    const git::Result<std::vector<git_oid>> walked =
        walk_file_history(repository.get(), start, L"new.txt");
    ASSERT_TRUE(walked.has_value());
    std::vector<std::string> found;
    for (const git_oid& id : *walked)
        found.push_back(digits(id));
    EXPECT_EQ(found, lines_of(temporary.git({"log", "--follow", "--pretty=%H", "--", "new.txt"})));
    EXPECT_TRUE(walk_file_history(repository.get(), start, L"never was.txt")->empty());
}

TEST(HistoryModel, ChangesOfACommitAreThoseAgainstItsFirstParent)
{
    const TempRepository temporary;
    temporary.script("echo a > a.txt; echo b > b.txt; git add -A; commit first\n"
                     "git update-index --chmod=+x b.txt; echo c > c.txt; git add c.txt\n"
                     "commit second\n");
    const auto repository = temporary.open();
    const git_oid first = oid(temporary.id_of("HEAD~1"));
    const git_oid second = oid(temporary.id_of("HEAD"));

    const auto root = changes_of_commit(repository.get(), first);
    ASSERT_TRUE(root.has_value());
    ASSERT_EQ(root->size(), 2U);
    EXPECT_EQ(root->front().status, git::ChangeStatus::Added) << "nothing stands before a root";
    EXPECT_EQ(*changes_of_commit(repository.get(), second),
              *changes_between(repository.get(), first, second));

    const auto change_text = [&](const wchar_t* path) {
        const auto change = change_of_file(repository.get(), second, path);
        return change ? win32::to_utf8(change->new_path) : git::to_utf8(change.error());
    };
    EXPECT_EQ(change_text(L"a.txt"), "file is not in diff tree");
    EXPECT_EQ(change_text(L"b.txt"), "Files are identical");
    EXPECT_EQ(change_text(L"c.txt"), "c.txt");
    EXPECT_FALSE(changes_of_commit(repository.get(), git_oid{}).has_value());
}

TEST(CommitDetails, TextIsMessageIdAuthorDateAndReferences)
{
    const TempRepository temporary;
    temporary.script("echo a > a.txt; git add -A; commit 'Grüße, 世界'\n"
                     "git branch other; git tag light; git tag -m x annotated\n"
                     "git update-ref refs/remotes/origin/main HEAD\n"
                     "echo b > a.txt; git add -A; commit second\n");
    const auto repository = temporary.open();
    const auto references = read_reference_map(repository.get());
    ASSERT_TRUE(references.has_value());
    const auto details = [&](const std::string& revision) {
        const auto commit = git::lookup_commit(repository.get(), oid(temporary.id_of(revision)));
        return commit_details_text(commit->get(), *references, L"References");
    };
    const auto date = [&](const std::string& revision) {
        return git::time_text(std::stoll(temporary.git({"log", "-1", "--pretty=%ct", revision})));
    };
    const std::wstring id = win32::to_wide(temporary.id_of("other"));
    const std::wstring author =
        win32::to_wide(lines_of(temporary.git({"log", "-1", "--pretty=%an", "other"})).front());
    EXPECT_EQ(details("other"), L"Grüße, 世界\n\r\n" + id + L"\r\n" + author + L"\r\n" +
                                    date("other") +
                                    L"\r\nReferences: other origin/main annotated light");
    EXPECT_TRUE(details("main").ends_with(date("main") + L"\r\nReferences: main"));
    // Nothing follows the date of a commit that nothing points at.
    const auto commit = git::lookup_commit(repository.get(), oid(temporary.id_of("other")));
    EXPECT_TRUE(commit_details_text(commit->get(), {}, L"References").ends_with(date("other")));
}

bool overlap(const RECT& left, const RECT& right)
{
    RECT common{};
    return IntersectRect(&common, &left, &right) != FALSE;
}

TEST(HistoryLayout, NothingOverlapsOrLeavesTheWindow)
{
    for (const int dpi : {96, 144, 192}) {
        for (const int width : {120, 300, 640, 1600}) {
            for (const int height : {100, 300, 900}) {
                for (const int splitter : {-5, 0, 500, 1000, 3000}) {
                    const HistoryLayoutInput input{.client = {width * dpi / 96, height * dpi / 96},
                                                   .dpi = dpi,
                                                   .line_height = 16 * dpi / 96,
                                                   .button_padding = 24 * dpi / 96,
                                                   .filter_text = 40 * dpi / 96,
                                                   .clear_text = 60 * dpi / 96,
                                                   .compare_text = 140 * dpi / 96,
                                                   .has_filter = true,
                                                   .splitter = splitter};
                    const HistoryLayout layout = lay_out_history(input);
                    const std::vector<RECT> parts{
                        layout.title, layout.branch, layout.filter,   layout.clear_filter,
                        layout.state, layout.list,   layout.splitter, layout.details,
                        layout.files, layout.compare};
                    for (std::size_t i = 0; i < parts.size(); ++i) {
                        EXPECT_GE(parts[i].left, 0);
                        EXPECT_LE(parts[i].right, input.client.cx);
                        EXPECT_LE(parts[i].left, parts[i].right);
                        EXPECT_LE(parts[i].top, parts[i].bottom);
                        for (std::size_t k = i + 1; k < parts.size(); ++k)
                            EXPECT_FALSE(overlap(parts[i], parts[k]))
                                << i << " and " << k << " at " << width << " x " << height;
                    }
                }
            }
        }
    }
}

TEST(HistoryLayout, TheSummaryTakesWhatTheOtherColumnsLeave)
{
    struct Case {
        int room;
        int dpi;
        std::array<int, 4> widths;  // summary, author, date, id
    };
    for (const Case& test :
         {Case{900, 96, {545, 110, 175, 70}}, Case{600, 96, {250, 110, 175, 70}},
          Case{1000, 144, {576, 165, 182, 77}}, Case{500, 144, {375, 165, 182, 77}},
          Case{99, 97, {252, 111, 175, 70}}}) {
        const revlane::CommitColumns fitted =
            revlane::fit_commit_columns(test.room, test.dpi, 160, 55);
        EXPECT_EQ((std::array{fitted.summary, fitted.author, fitted.date, fitted.id}), test.widths)
            << test.room << " at " << test.dpi;
    }
}

TEST(HistoryLayout, TheSplitterFollowsTheMouse)
{
    HistoryLayoutInput input{.client = {800, 600},
                             .dpi = 96,
                             .line_height = 16,
                             .button_padding = 24,
                             .filter_text = 40,
                             .clear_text = 60,
                             .compare_text = 140,
                             .has_filter = false,
                             .splitter = 500};
    const HistoryLayout before = lay_out_history(input);
    const LONG wanted = before.splitter.top + 60;
    input.splitter = splitter_position(before, wanted);
    EXPECT_NEAR(lay_out_history(input).splitter.top, wanted, 1);
    EXPECT_EQ(before.clear_filter.right, before.clear_filter.left)
        << "nothing to clear without a filter";
}

}  // namespace
