#include "tests/shots/scenes.h"

#include "resources/ids.h"
#include "tests/support/window_watch.h"
#include "win32/text.h"

#include <commctrl.h>

namespace support {

namespace {

// A project as one meets it: some history with a merge, a remote that is ahead and behind, changes
// of every kind. It lies in a folder "aurora".
class Project {
public:
    // `more` is run in it at the end.
    explicit Project(std::string_view more = {})
    {
        seed_.script(SEED);
        clone_.emplace(seed_.clone("aurora"));
        clone_->script(std::string(WORK).append(more));
        std::filesystem::create_directories(folder().parent_path());
        move(clone_->path(), folder());
    }
    ~Project()
    {
        // Back to where it is removed.
        move(folder(), clone_->path());
    }
    Project(const Project&) = delete;
    Project& operator=(const Project&) = delete;

    [[nodiscard]] static std::filesystem::path file(std::string_view name)
    {
        return folder() / win32::to_wide(name);
    }

private:
    static constexpr std::string_view SEED = R"(
git config user.name 'Nils Example'
mkdir src docs
printf '# Aurora\n\nForecasts of northern lights, from public measurements.\n' >README.md
printf '#include "kp_index.h"\n\nnamespace aurora {\n\nint kp_index(double nanotesla)\n{\n    if (nanotesla < 5)\n        return 0;\n    if (nanotesla < 10)\n        return 1;\n    return nanotesla < 20 ? 2 : 3;\n}\n\n}  // namespace aurora\n' >src/kp_index.cpp
printf '#pragma once\n\nnamespace aurora {\n\nint kp_index(double nanotesla);\n\n}  // namespace aurora\n' >src/kp_index.h
printf 'int main()\n{\n    return 0;\n}\n' >src/main.cpp
printf 'How a forecast is made\n======================\n' >docs/forecast.md
printf 'build/\n' >.gitignore
printf 'old\n' >src/legacy.cpp
git add .
commit 'Begin with the planetary index'
for subject in 'Read measurements of magnetometers' 'Cache what was downloaded' \
    'Describe how a forecast is made' 'Draw the oval on a map' 'Tell cloud cover from stars'; do
    printf '%s\n' "$subject" >>docs/forecast.md
    git add .
    commit "$subject"
done
git checkout -q -b feature/alerts
printf 'int alert();\n' >src/alert.h
git add .
commit 'Warn an hour before the lights' -m 'An alert is sent once the index is expected to reach the limit
that the user has set for the place.'
git checkout -q main
printf 'Release 1.2\n' >>docs/forecast.md
git add .
commit 'Prepare release 1.2'
git tag v1.2
git merge -q --no-ff -m 'Merge branch feature/alerts' feature/alerts
git branch release/1.2 v1.2
)";
    static constexpr std::string_view WORK = R"(
git branch -q -t feature/alerts origin/feature/alerts
git branch -q -t release/1.2 origin/release/1.2
git config user.name 'Ada Example'
printf 'int alert(int limit);\n' >src/alert.h
git add .
commit 'Let the user choose the limit'
printf 'A\n' >src/place.cpp
git add .
commit 'Keep the places of a user'
printf '\n## Places\n\nUp to five places can be watched.\n' >>README.md
printf 'place\n' >docs/places.md
git add .
git mv src/legacy.cpp src/old_index.cpp
sed -i 's/nanotesla < 20 ? 2 : 3/nanotesla < 20 ? 2 : 4/; s/< 5)/< 4)/' src/kp_index.cpp
printf '    // Started by the scheduler.\n' >>src/main.cpp
rm src/place.cpp
mkdir notes
printf 'idea\n' >notes/ideas.txt
printf 'x\n' >'notes/with a space.txt'
printf 'Order of magnitude\n' >>docs/forecast.md
)";

    // A git that has ended may hold its folder for a moment longer. When it cannot be moved at all,
    // the scene fails for want of its files.
    static void move(const std::filesystem::path& from, const std::filesystem::path& to)
    {
        constexpr DWORD pause_ms = 50;
        constexpr int attempts = 100;
        std::error_code failed;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            std::filesystem::rename(from, to, failed);
            if (!failed)
                return;
            Sleep(pause_ms);
        }
    }

    // Not the temporary folder with its long name, which would be seen.
    static std::filesystem::path folder() { return L"C:\\Projects\\aurora"; }

    TempRepository seed_;
    std::optional<TempRepository> clone_;
};

void wait_filled(Stage& stage)
{
    stage.wait(
        [&] {
            return SendDlgItemMessageW(stage.panel(), IDC_CHANGES_LIST, LVM_GETITEMCOUNT, 0, 0) > 0;
        },
        "for the changes");
    stage.driver().pump();
}

void take_panel(const Album& album)
{
    const Project project;
    Stage stage(album, Project::file("src/kp_index.cpp"));
    wait_filled(stage);
    set_control_text(stage.panel(), IDC_COMMIT_MESSAGE,
                     L"Follow the new scale of the index\r\n\r\nFour is reached at 20 nT.");
    SetFocus(stage.control(IDC_CHANGES_LIST));
    select_rows(stage.panel(), IDC_CHANGES_LIST, {0});
    stage.save("panel", stage.frame());
    stage.save_context_menu("panel-changes-menu", stage.frame(), stage.control(IDC_CHANGES_LIST));
    select_rows(stage.panel(), IDC_STAGED_LIST, {0});
    stage.save_context_menu("panel-staged-menu", stage.frame(), stage.control(IDC_STAGED_LIST));
    select_rows(stage.panel(), IDC_BRANCHES_LIST, {1});
    stage.save_context_menu("panel-branches-menu", stage.frame(), stage.control(IDC_BRANCHES_LIST));
    stage.save_popup("panel-menu", stage.frame(), [&] { click(stage.panel(), IDC_PANEL_MENU); });
    select_rows(stage.panel(), IDC_CHANGES_LIST, {0, 2});
    stage.save_popup("discard", stage.frame(), [&] { choose(stage.panel(), ID_DISCARD); });
    stage.save_popup("new-branch", stage.frame(), [&] {
        PostMessageW(stage.control(IDC_BRANCHES_LIST), WM_COMMAND, ID_BRANCH_CREATE, 0);
    });
    stage.save_popup("delete-branch", stage.frame(), [&] {
        PostMessageW(stage.control(IDC_BRANCHES_LIST), WM_COMMAND, ID_BRANCH_DELETE, 0);
    });
}

void take_compare(const Album& album)
{
    const Project project;
    Stage stage(album, Project::file("src/kp_index.cpp"));
    wait_filled(stage);
    const auto rows = rows_of(stage.panel(), IDC_CHANGES_LIST);
    for (std::size_t row = 0; row < rows.size(); ++row)
        if (rows[row].front() == L"src/kp_index.cpp")
            select_rows(stage.panel(), IDC_CHANGES_LIST, {static_cast<int>(row)});
    choose(stage.panel(), ID_COMPARE);
    stage.driver().pump();
    stage.save("compare", stage.frame());
}

void take_panel_states(const Album& album)
{
    {
        const TempFolder folder;
        Stage stage(album, {});
        stage.save("panel-no-repository", stage.frame());
    }
    {
        const TempRepository unborn;
        unborn.write_file("first.txt", "first\n");
        unborn.git({"add", "."});
        Stage stage(album, unborn.path() / "first.txt");
        stage.wait_rows(stage.panel(), IDC_STAGED_LIST, 1);
        stage.save("panel-unborn", stage.frame());
    }
    {
        const Project project("git reset -q --hard; git clean -q -f -d; git checkout -q HEAD~1\n");
        Stage stage(album, Project::file("README.md"));
        stage.wait(
            [&] {
                return SendDlgItemMessageW(stage.panel(), IDC_BRANCHES_LIST, LVM_GETITEMCOUNT, 0,
                                           0) > 0;
            },
            "for the branches");
        stage.save("panel-clean-detached", stage.frame());
    }
}

void take_panel_busy(const Album& album)
{
    // The remote never answers.
    const Project project("git config protocol.ext.allow always\n"
                          "git remote set-url origin 'ext::sleep 60'");
    Stage stage(album, Project::file("src/main.cpp"));
    wait_filled(stage);
    choose(stage.panel(), ID_FETCH);
    stage.wait([&] { return IsWindowVisible(stage.control(IDC_PROGRESS)) != FALSE; },
               "for the progress line");
    stage.save("panel-busy", stage.frame());
    stage.save_popup("panel-busy-menu", stage.frame(),
                     [&] { click(stage.panel(), IDC_PANEL_MENU); });
    choose(stage.panel(), ID_CANCEL_COMMAND);
    stage.wait([&] { return IsWindowVisible(stage.control(IDC_PROGRESS)) == FALSE; },
               "for the end of the fetch");
}

void take_panel_error(const Album& album)
{
    const Project project("git remote set-url origin ../nowhere.git");
    Stage stage(album, Project::file("src/main.cpp"));
    wait_filled(stage);
    stage.save_popup("panel-error", stage.frame(), [&] { choose(stage.panel(), ID_FETCH); });
    choose(stage.panel(), ID_STATUS);
    choose(stage.panel(), ID_SHOW_OUTPUT);
    HWND output = nullptr;
    stage.wait([&] { return (output = window_with(IDC_OUTPUT_TEXT)) != nullptr; },
               "for the output window");
    stage.save("output", output);
}

void take_panel_narrow(const Album& album)
{
    const Project project(R"(
git checkout -q -b feature/a-name-that-nobody-would-want-to-type-twice
mkdir -p 'a folder with a long name/and another one in it/and a third one'
printf 'x' >'a folder with a long name/and another one in it/and a third one/メモ と テキスト.txt'
git add -N .
for i in $(seq 1 40); do printf x >"notes/entry $i.txt"; done
)");
    Stage stage(album, Project::file("src/main.cpp"), {.frame = {900, 700}, .bar_width = 240});
    wait_filled(stage);
    stage.save("panel-narrow", stage.frame());
}

void search(HWND history, const std::wstring& text)
{
    const InNextDialog question([&text](HWND dialog) {
        SetDlgItemTextW(dialog, IDC_FILTER_TEXT, text.c_str());
        PostMessageW(dialog, WM_COMMAND, IDOK, 0);
    });
    SendMessageW(history, WM_COMMAND, IDC_FILTER, 0);
}

void take_history(const Album& album)
{
    const Project project;
    Stage stage(album, Project::file("src/main.cpp"));
    wait_filled(stage);
    const HWND history = stage.open_history(8);
    const HWND list = GetDlgItem(history, IDC_COMMIT_LIST);
    select_rows(history, IDC_COMMIT_LIST, {3});
    SetFocus(list);
    // The references of the commit come last.
    stage.wait([&] { return control_text(history, IDC_COMMIT_DETAILS).ends_with(L"v1.2"); },
               "for the details");
    stage.save("history", history);
    stage.save_context_menu("history-menu", history, list);
    stage.save_popup("history-filter-dialog", history, [&] { click(history, IDC_FILTER); });
    const HWND tree = GetDlgItem(history, IDC_FILES_TREE);
    TreeView_SelectItem(tree, TreeView_GetRoot(tree));
    TreeView_Expand(tree, TreeView_GetRoot(tree), TVE_EXPAND);
    stage.save_popup("history-files-menu", history, [&] {
        PostMessageW(tree, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(tree), -1);
    });
    choose(list, ID_OPEN_COMMIT);
    HWND picker = nullptr;
    stage.wait([&] { return (picker = window_with(IDC_CHANGED_FILES)) != nullptr; },
               "for the changed files");
    stage.save("changed-files", picker);
    DestroyWindow(picker);

    // A search that finds something, one that finds nothing, and one under way.
    search(history, L"index");
    stage.wait_rows(history, IDC_COMMIT_LIST, 2);
    stage.save("history-filtered", history);
    search(history, L"a text that nobody has written");
    stage.wait_rows(history, IDC_COMMIT_LIST, 0);
    stage.save("history-nothing-found", history);
    search(history, L"index");
    stage.save("history-searching", history);
}

void take_history_unborn(const Album& album)
{
    const TempRepository unborn;
    unborn.write_file("first.txt", "first\n");
    Stage stage(album, unborn.path() / "first.txt");
    wait_filled(stage);
    stage.save("history-unborn", stage.open_history(0));
}

}  // namespace

const std::vector<Scene>& scenes()
{
    static const std::vector<Scene> all{
        {"panel", take_panel},         {"compare", take_compare},
        {"states", take_panel_states}, {"busy", take_panel_busy},
        {"error", take_panel_error},   {"narrow", take_panel_narrow},
        {"history", take_history},     {"history-unborn", take_history_unborn},
    };
    return all;
}

}  // namespace support
