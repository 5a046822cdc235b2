// Every way in which the panel, its frame and the library come to an end while work is under way, in
// the stand-in editor: nothing is left behind, and the window thread is never kept waiting.
#include "changes/compare.h"
#include "changes/messages.h"
#include "editor/resources/ids.h"
#include "resources/ids.h"
#include "tests/support/panel.h"
#include "tests/support/process_state.h"
#include "tests/support/pump.h"
#include "tests/support/recorded_git.h"
#include "tests/support/window_watch.h"
#include "win32/handle.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using support::EditorDriver;
using support::FailingGit;
using support::Panel;
using support::process_state;
using support::ProcessState;
using support::TempRepository;

constexpr const char* WITH_AUTO_FETCH = "[Revlane]\nautofetch=1\n";

class Endings : public testing::Test {
protected:
    Endings()
    {
        repository_.script("for i in 1 2 3; do echo $i >$i.txt; done; git add -A; commit base; "
                           "git init -q --bare ../origin.git; git remote add origin ../origin.git; "
                           "git push -q -u origin main; echo changed >1.txt; echo new >new.txt");
    }

    // Goes through the rounds of an ending. After each of them no thread, process, window and
    // temporary file is left, and the later ones leave no more handles and no more slots for
    // thread-local data taken than the first ones did.
    void repeat(int rounds, const std::function<void()>& round)
    {
        // The first rounds load what Windows keeps for the rest of the process.
        constexpr int warm_up = 3;
        ProcessState before;
        DWORD slot_before = 0;
        for (int i = 0; i < warm_up + rounds && !HasFailure(); ++i) {
            SCOPED_TRACE(i);
            std::filesystem::create_directories(revlane::temp_directory());
            std::ofstream(revlane::temp_directory() / L"left by a comparison.txt") << i;
            round();
            EXPECT_FALSE(std::filesystem::exists(revlane::temp_directory()));
            if (i >= warm_up) {
                expect_nothing_left(before);
            } else {
                before = process_state();
                slot_before = first_free_slot();
            }
        }
        const ProcessState after = process_state();
        RecordProperty("handles before", static_cast<int>(before.handles));
        RecordProperty("handles after", static_cast<int>(after.handles));
        // One or two may be caches of Windows that still grow.
        EXPECT_LE(after.handles, before.handles + 2);
        EXPECT_LE(first_free_slot(), slot_before + 1);
    }

    // Slots are given out from the first one on.
    static DWORD first_free_slot()
    {
        const DWORD slot = TlsAlloc();
        TlsFree(slot);
        return slot;
    }

    // Threads of Windows' own may take a moment to end, and so may a process that was terminated.
    static void expect_nothing_left(const ProcessState& before)
    {
        ProcessState now;
        support::pump_until([&] {
            now = process_state();
            return now.git_processes == 0 && now.threads <= before.threads;
        });
        EXPECT_EQ(now.git_processes, 0U);
        EXPECT_LE(now.threads, before.threads);
        EXPECT_LE(now.windows, before.windows);
    }

    void expect_quick(const char* what, EditorDriver& driver)
    {
        const std::chrono::milliseconds longest = driver.take_longest_dispatch();
        std::chrono::milliseconds& slowest = slowest_[what];
        slowest = std::max(slowest, longest);
        RecordProperty(std::string(what) + " ms", static_cast<int>(slowest.count()));
        EXPECT_LT(longest, support::stop_limit) << what;
    }

    void close_frame(EditorDriver& driver)
    {
        expect_quick("before the end", driver);
        const HWND frame = driver.window();
        PostMessageW(frame, WM_CLOSE, 0, 0);
        EXPECT_TRUE(driver.wait([frame] { return !IsWindow(frame); }));
        expect_quick("closing the frame", driver);
    }

    TempRepository repository_;
    // Stays loaded whatever the editor does, unless a test lets it go.
    win32::LibraryHandle library_{LoadLibraryW(support::delivered_plugin().c_str())};
    std::map<std::string, std::chrono::milliseconds> slowest_;
};

TEST_F(Endings, TheBarIsClosedByItsButtonAndByTheCommand)
{
    repeat(3, [&] {
        Panel panel(repository_, WITH_AUTO_FETCH);
        const FailingGit hanging(0, L"stay");
        EditorDriver& driver = panel.driver();
        for (const bool by_button : {true, false, true, false}) {
            ASSERT_NE(driver.open_panel(), nullptr);
            expect_quick("opening the bar", driver);
            if (by_button)
                driver.press_close_button();
            else
                driver.issue_command();
            EXPECT_TRUE(driver.wait([&] { return driver.panel() == nullptr; }));
            expect_quick("closing the bar", driver);
            EXPECT_EQ(process_state().git_processes, 0U);
        }
        close_frame(driver);
    });
}

TEST_F(Endings, TheFrameIsClosedDuringAFetchThatNeverEnds)
{
    for (const bool automatic : {true, false}) {
        SCOPED_TRACE(automatic);
        repeat(5, [&] {
            const FailingGit hanging(0, L"stay");
            Panel panel(repository_, automatic ? WITH_AUTO_FETCH : "");
            if (!automatic)
                panel.choose(ID_FETCH);
            ASSERT_TRUE(panel.wait([&] { return hanging.starts() == 1; }));
            EXPECT_EQ(process_state().git_processes, 1U);
            close_frame(panel.driver());
        });
    }
}

TEST_F(Endings, TheEditorIsClosedWithTwoFrames)
{
    const auto open_second = [&](EditorDriver& driver) -> quorrel::Frame& {
        quorrel::Frame& frame = driver.editor().open_frame();
        EXPECT_TRUE(frame.documents().open(repository_.path() / L"1.txt", false));
        frame.execute(QUORREL_PLUGIN_COMMAND);
        return frame;
    };
    repeat(4, [&] {
        const FailingGit hanging(0, L"stay");
        Panel panel(repository_, WITH_AUTO_FETCH);
        EditorDriver& driver = panel.driver();
        const HWND second = open_second(driver).window();
        panel.click(IDC_SHOW_HISTORY);
        ASSERT_TRUE(panel.wait([&] {
            return hanging.starts() == 2 && support::window_with(IDC_HISTORY_STATE) != nullptr;
        }));
        expect_quick("before the end", driver);
        PostMessageW(second, WM_CLOSE, 0, 0);
        PostMessageW(driver.window(), WM_CLOSE, 0, 0);
        EXPECT_TRUE(driver.wait([&] { return driver.editor().frames().empty(); }));
        expect_quick("closing the frames", driver);
    });
}

TEST_F(Endings, TheLibraryIsLoadedAndUnloadedAHundredTimes)
{
    library_.reset();
    int round = 0;
    repeat(100, [&] {
        EditorDriver driver(
            support::delivered_plugin(), "[Revlane]\nOpenStartup=1\nautofetch=1\n",
            [&](quorrel::Options& options) { options.files = {repository_.path() / L"1.txt"}; });
        const HWND panel = driver.panel();
        ASSERT_NE(panel, nullptr);
        // Now at once, then after a while.
        if (++round % 10 == 0)
            driver.wait([&] { return support::rows_of(panel, IDC_CHANGES_LIST).size() == 2; });
        close_frame(driver);
        EXPECT_EQ(GetModuleHandleW(L"Revlane.dll"), nullptr);
    });
}

TEST_F(Endings, TheLanguageChangesWhileTasksLoadTexts)
{
    repository_.script("git checkout -q 1.txt; rm new.txt");
    repeat(3, [&] {
        Panel panel(repository_);
        EditorDriver& driver = panel.driver();
        ASSERT_TRUE(
            panel.wait([&] { return support::is_control_enabled(panel.dialog(), IDC_COMMIT); }));
        const std::vector<std::uint32_t> languages = driver.editor().languages();
        ASSERT_FALSE(languages.empty());
        // The task finds that there is nothing to commit, and loads the text that says so.
        std::size_t changes = 0;
        for (int commit = 0; commit < 3; ++commit) {
            panel.set_message(L"nothing");
            const support::BoxAnswer box(IDCLOSE);
            panel.click(IDC_COMMIT);
            ASSERT_TRUE(panel.wait([&] {
                driver.editor().set_language(languages[++changes % languages.size()]);
                return box.text().has_value();
            }));
            EXPECT_GT(box.text()->size(), 20U) << "the text is missing";
        }
        close_frame(driver);
    });
}

TEST_F(Endings, ThePanelIsClosedWhileManyFilesAreCompared)
{
    // All tracked, and none as the index knows it, so that each has to be read.
    repository_.script("mkdir many; cd many; for folder in $(seq 200); do mkdir $folder; "
                       "(cd $folder; echo the same | tee $(seq 100) >/dev/null); done; "
                       "git add .; commit many; find . -type f | xargs touch -d 2020-01-01");
    repeat(3, [&] {
        Panel panel(repository_);
        panel.driver().wait([] { return false; }, 100ms);
        expect_quick("opening the bar", panel.driver());
        panel.driver().press_close_button();
        EXPECT_TRUE(panel.wait([&] { return panel.driver().panel() == nullptr; }));
        expect_quick("closing the bar", panel.driver());
        close_frame(panel.driver());
    });
    // Faster than from inside.
    repository_.script("rm -rf many");
}

}  // namespace
