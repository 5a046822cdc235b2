// The parts of the panel that need no window.
#include "changes/get_dpi.h"
#include "sidebar/captions.h"
#include "sidebar/change_rows.h"
#include "sidebar/command_report.h"
#include "sidebar/panel_state.h"
#include "sidebar/reference_stamps.h"
#include "sidebar/remote_address.h"
#include "sidebar/repository_choice.h"
#include "sidebar/sidebar_layout.h"
#include "tests/support/localized_texts.h"
#include "tests/support/temp_repository.h"
#include "win32/text.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace revlane {

namespace {

using support::TempRepository;

struct NamedArea {
    const char* name;
    RECT area;
};

std::vector<NamedArea> areas_of(const SidebarLayout& layout)
{
    return {{"choose folder", layout.choose_folder},
            {"branch", layout.branch},
            {"menu", layout.panel_menu},
            {"history", layout.history},
            {"message", layout.message},
            {"commit", layout.commit},
            {"stage all", layout.stage_all_and_commit},
            {"pull", layout.pull},
            {"push", layout.push},
            {"staged heading", layout.staged_heading},
            {"staged list", layout.staged_list},
            {"changes splitter", layout.changes_splitter},
            {"changes heading", layout.changes_heading},
            {"changes list", layout.changes_list},
            {"branches splitter", layout.branches_splitter},
            {"branches heading", layout.branches_heading},
            {"branches list", layout.branches_list},
            {"empty text", layout.empty_text}};
}

LayoutInput input_for(int width, int height, int dpi)
{
    LayoutInput input;
    input.client = {scale(width, dpi), scale(height, dpi)};
    input.dpi = dpi;
    input.line_height = scale(15, dpi);
    input.buttons = {scale(68, dpi), scale(138, dpi), scale(72, dpi), scale(76, dpi),
                     scale(120, dpi)};
    input.empty_text_height = scale(30, dpi);
    input.has_repository = true;
    return input;
}

int height_of(const RECT& area)
{
    return static_cast<int>(area.bottom - area.top);
}

int width_of(const RECT& area)
{
    return static_cast<int>(area.right - area.left);
}

// Nothing lies outside, nothing overlaps.
void expect_tidy(const LayoutInput& input)
{
    const std::vector<NamedArea> areas = areas_of(lay_out_sidebar(input));
    for (std::size_t i = 0; i < areas.size(); ++i) {
        const RECT& area = areas[i].area;
        if (IsRectEmpty(&area))
            continue;
        EXPECT_TRUE(area.left >= 0 && area.top >= 0 && area.right <= input.client.cx &&
                    area.bottom <= input.client.cy)
            << areas[i].name << " at " << input.client.cx << "x" << input.client.cy;
        for (std::size_t j = i + 1; j < areas.size(); ++j) {
            RECT common{};
            EXPECT_FALSE(IntersectRect(&common, &area, &areas[j].area))
                << areas[i].name << " and " << areas[j].name << " at " << input.client.cx << "x"
                << input.client.cy;
        }
    }
}

TEST(SidebarLayout, IsTidyAtEverySizeAndKeepsRoomForWhatMatters)
{
    for (const int dpi : {96, 144, 192}) {
        for (int width = 240; width <= 1200; width += 37) {
            for (const int height : {0, 60, 160, 300, 480, 720, 1400}) {
                for (const bool is_folded : {false, true}) {
                    LayoutInput input = input_for(width, height, dpi);
                    input.branches_folded = is_folded;
                    expect_tidy(input);
                    input.has_repository = false;
                    expect_tidy(input);
                }
            }
            const LayoutInput input = input_for(width, 600, dpi);
            const SidebarLayout layout = lay_out_sidebar(input);
            const int two_rows = 2 * list_row_height(dpi, input.line_height);
            for (const RECT* list :
                 {&layout.staged_list, &layout.changes_list, &layout.branches_list}) {
                EXPECT_GE(height_of(*list), two_rows) << width;
                EXPECT_EQ(width_of(*list), input.client.cx) << width;
            }
            EXPECT_GE(height_of(layout.message), 3 * input.line_height);
            EXPECT_GE(width_of(layout.branch), scale(120, dpi)) << width;
            EXPECT_GE(width_of(layout.commit), input.buttons.commit) << width;
            EXPECT_GE(width_of(layout.stage_all_and_commit), input.buttons.stage_all_and_commit)
                << width;
            EXPECT_GE(width_of(layout.pull), input.buttons.pull) << width;
            EXPECT_GE(width_of(layout.push), input.buttons.push) << width;
            EXPECT_EQ(layout.branches_list.bottom, input.client.cy);
        }
    }
}

TEST(SidebarLayout, GivesLongButtonTextsRowsOfTheirOwn)
{
    LayoutInput input = input_for(240, 800, 96);
    input.buttons = {100, 190, 150, 140, 200};
    expect_tidy(input);
    const SidebarLayout layout = lay_out_sidebar(input);
    EXPECT_GE(width_of(layout.stage_all_and_commit), 190);
    EXPECT_GE(width_of(layout.pull), 150);
    EXPECT_GT(layout.push.top, layout.pull.top);
    // In a wide panel they are one row.
    input.client.cx = 800;
    const SidebarLayout wide = lay_out_sidebar(input);
    EXPECT_EQ(wide.commit.top, wide.push.top);
}

TEST(SidebarLayout, SplittersFollowTheHandAndStopBeforeAListIsGone)
{
    for (const int dpi : {96, 144}) {
        LayoutInput input = input_for(300, 900, dpi);
        const int two_rows = 2 * list_row_height(dpi, input.line_height);
        for (const Splitter splitter : {Splitter::Changes, Splitter::Branches}) {
            const auto band = [&](const SidebarLayout& layout) {
                return splitter == Splitter::Changes ? layout.changes_splitter
                                                     : layout.branches_splitter;
            };
            const SidebarLayout before = lay_out_sidebar(input);
            for (const int distance : {-40, 0, 33}) {
                LayoutInput dragged = input;
                const int y = static_cast<int>(band(before).top) + distance;
                dragged.shares = drag_splitter(input, splitter, y);
                expect_tidy(dragged);
                EXPECT_NEAR(static_cast<double>(band(lay_out_sidebar(dragged)).top), y, 2.0);
            }
            for (const int y : {-500, 5000}) {
                LayoutInput dragged = input;
                dragged.shares = drag_splitter(input, splitter, y);
                const SidebarLayout layout = lay_out_sidebar(dragged);
                EXPECT_GE(height_of(layout.staged_list), two_rows - 2);
                EXPECT_GE(height_of(layout.changes_list), two_rows - 2);
                EXPECT_GE(height_of(layout.branches_list), two_rows - 2);
                EXPECT_EQ(splitter_at(layout, {10, band(layout).top}), splitter);
            }
        }
    }
}

TEST(RemoteAddress, OpensOnlyWhatABrowserOpens)
{
    struct Case {
        const char* url;
        const wchar_t* address;  // null: none
    };
    const std::vector<Case> cases{
        {"https://example.org/team/project.git", L"https://example.org/team/project.git"},
        {"http://example.org/project", L"http://example.org/project"},
        {"git@example.org:team/project.git", L"https://example.org/team/project.git"},
        {"ssh://git@example.org:2222/team/project", L"https://example.org/team/project"},
        {"ssh://example.org/project", L"https://example.org/project"},
        {"ssh://git@[2001:db8::1]:22/project", L"https://[2001:db8::1]/project"},
        {"ssh://example.org", nullptr},
        {"git@example.org:", nullptr},
        {"C:/repositories/project", nullptr},
        {"C:\\repositories\\a@b:c", nullptr},
        {"../project", nullptr},
        {"file:///C:/Windows/System32/calc.exe", nullptr},
        {"git://example.org/project", nullptr},
        {"https://example.org/a b", nullptr},
        {"", nullptr},
    };
    for (const Case& c : cases) {
        const auto address = web_address(c.url);
        EXPECT_EQ(address,
                  c.address != nullptr ? std::optional<std::wstring>(c.address) : std::nullopt)
            << c.url;
    }
}

TEST(RemoteAddress, IsThatOfTheUpstreamElseOfOrigin)
{
    const TempRepository repository;
    const auto url = [&] {
        const auto opened = repository.open();
        const auto found = remote_url(opened.get());
        EXPECT_TRUE(found);
        return found ? *found : std::nullopt;
    };
    EXPECT_EQ(url(), std::nullopt);
    repository.script("git remote add origin https://example.org/origin\n"
                      "git remote add fork git@example.org:fork\n"
                      "git commit -q --allow-empty -m first\n"
                      "git update-ref refs/remotes/fork/main HEAD");
    EXPECT_EQ(url(), "https://example.org/origin");
    repository.script("git branch -q -u fork/main");
    EXPECT_EQ(url(), "git@example.org:fork");
}

TEST(Captions, KeysStandInOrBehindTheText)
{
    struct Case {
        const wchar_t* text;
        const wchar_t* tip;
        const wchar_t* counted;
    };
    const Case cases[] = {
        {L"&Pull", L"Pull", L"&Pull (12)"},
        {L"プル(&L)", L"プル", L"プル (12)(&L)"},
        {L"選択(&F)…", L"選択…", L"選択 (12)(&F)…"},
        {L"Pull", L"Pull", L"Pull (12)"},
    };
    for (const Case& expected : cases) {
        EXPECT_EQ(without_access_key(expected.text), expected.tip);
        EXPECT_EQ(with_count(expected.text, 12), expected.counted);
        EXPECT_EQ(with_count(expected.text, 0), expected.text);
    }
}

TEST(PanelState, TellsHeadUpstreamAndCounts)
{
    const TempRepository repository;
    const auto read = [&] { return read_panel_state(repository.path(), {}); };
    PanelState state = read();
    EXPECT_EQ(state.head, PanelState::Head::Unborn);
    EXPECT_EQ(state.head_name, L"main");
    EXPECT_FALSE(remote_buttons(state).can_push);

    repository.script("git commit -q --allow-empty -m first");
    state = read();
    EXPECT_EQ(state.head, PanelState::Head::Branch);
    EXPECT_FALSE(remote_buttons(state).can_push);
    EXPECT_TRUE(remote_buttons(state).publishes);

    const TempRepository remote = repository.add_bare_remote();
    EXPECT_TRUE(remote_buttons(read()).can_push);
    EXPECT_FALSE(remote_buttons(read()).can_pull);
    repository.script("git push -q -u origin main\n"
                      "git commit -q --allow-empty -m theirs\n"
                      "git push -q\n"
                      "git reset -q --hard HEAD~1\n"
                      "git commit -q --allow-empty -m ours1\n"
                      "git commit -q --allow-empty -m ours2");
    state = read();
    EXPECT_EQ(state.upstream, L"origin/main");
    const RemoteButtons buttons = remote_buttons(state);
    EXPECT_TRUE(buttons.can_pull && buttons.can_push && !buttons.publishes);
    EXPECT_EQ(buttons.pull_count, 1U);
    EXPECT_EQ(buttons.push_count, 2U);

    repository.script("git checkout -q --detach");
    state = read();
    EXPECT_EQ(state.head, PanelState::Head::Detached);
    EXPECT_EQ(state.head_name, win32::to_wide(repository.id_of("HEAD").substr(0, 7)));
    EXPECT_FALSE(remote_buttons(state).can_push);
}

TEST(ReferenceStamps, ShowWhatAnotherProgramDoes)
{
    const TempRepository repository;
    repository.write_file("a.txt", "1");
    repository.commit_all("first");
    const auto opened = repository.open();
    const ReferenceFolders folders = reference_folders(opened.get());
    ReferenceStamps last = read_reference_stamps(folders);
    EXPECT_EQ(read_reference_stamps(folders), last);
    const std::vector<std::string> steps{
        "git branch other",        "git branch deep/er/branch",
        "git checkout -q other",   "echo 2 >a.txt; git add a.txt",
        "git commit -q -m second", "git update-ref refs/heads/deep/er/branch HEAD",
        "git tag -m tagged v1",    "git pack-refs --all",
    };
    for (const std::string& step : steps) {
        repository.script(step);
        const ReferenceStamps now = read_reference_stamps(folders);
        EXPECT_NE(now, last) << step;
        last = now;
    }
    // Reading the repository changes nothing.
    (void)read_panel_state(repository.path(), {});
    repository.write_file("a.txt", "3");
    EXPECT_EQ(read_reference_stamps(folders), last);
}

TEST(RepositoryChoice, OpensTheWorkingTreeThatHoldsTheDocument)
{
    const support::LocalizedTexts texts;
    const TempRepository repository;
    repository.write_file("folder/a.txt", "1");
    repository.commit_all("first");
    repository.script("git worktree add -q ../linked -b linked");
    const auto found_for = [](const std::filesystem::path& path) {
        auto found = find_repository(path.wstring());
        EXPECT_TRUE(found) << (found ? "" : git::to_utf8(found.error()));
        return found && *found ? (*found)->path : std::filesystem::path();
    };
    EXPECT_TRUE(
        is_same_folder(found_for(repository.path() / L"folder" / L"a.txt"), repository.path()));
    const std::filesystem::path linked = repository.path().parent_path() / L"linked";
    // Git may have written the path of the working tree from another root.
    EXPECT_EQ(found_for(linked / L"folder").filename(), linked.filename());
    EXPECT_EQ(found_for(repository.path().parent_path()), std::filesystem::path());
    EXPECT_EQ(found_for(L""), std::filesystem::path());

    const TempRepository bare(TempRepository::Kind::Bare);
    const auto refused = find_repository(bare.path().wstring());
    ASSERT_FALSE(refused);
    EXPECT_NE(git::to_wide(refused.error()).find(bare.path().filename().wstring()),
              std::wstring::npos);
}

TEST(ChangeRows, KeepTheNameReadable)
{
    EXPECT_EQ(split_path(L"src/app/main.cpp").folder, L"src/app/");
    EXPECT_EQ(split_path(L"main.cpp").folder, L"");
    EXPECT_EQ(split_path(L"libs/module/").name, L"module/");
    EXPECT_EQ(split_path(L"").name, L"");
    const auto count = [](std::wstring_view text) { return static_cast<int>(text.size()); };
    EXPECT_EQ(fit_folder(L"one/two/three/", 14, count), L"one/two/three/");
    EXPECT_EQ(fit_folder(L"one/two/three/", 13, count), L"\u2026/two/three/");
    EXPECT_EQ(fit_folder(L"one/two/three/", 8, count), L"\u2026/three/");
    EXPECT_EQ(fit_folder(L"one/two/three/", 2, count), L"\u2026/");
    EXPECT_EQ(fit_folder(L"one/two/three/", -5, count), L"");
}

TEST(CommandReport, ShowsTheEndOfALongOutputAndAlwaysSomething)
{
    const support::LocalizedTexts texts;
    const auto text = [](std::string output) {
        return failure_text({L"push", std::move(output), false});
    };
    EXPECT_EQ(text("error: no\n"), L"error: no");
    EXPECT_NE(text(" \r\n").find(L"git push"), std::wstring::npos);
    std::string lines;
    for (int i = 0; i < 1000; ++i)
        lines += "line " + std::to_string(i) + "\n";
    const std::wstring shown = text(lines);
    EXPECT_TRUE(shown.starts_with(L"\u2026\n"));
    EXPECT_TRUE(shown.ends_with(L"line 999"));
    EXPECT_LT(shown.size(), 400U);
    // One line of a megabyte, of characters of several bytes.
    std::string one_line;
    for (int i = 0; i < 300'000; ++i)
        one_line += "\xE2\x82\xAC";
    const std::wstring cut = text(one_line);
    EXPECT_LT(cut.size(), 2000U);
    EXPECT_EQ(cut.find(L'\uFFFD'), std::wstring::npos);
    EXPECT_EQ(status_line({L"pull", "one\ntwo \r\n", true}), L"two");
}

}  // namespace

}  // namespace revlane
