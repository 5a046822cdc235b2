// Work at random in the panel and beside it: files change, rows are staged and unstaged, commits are
// made, branches are switched, fetches run, and a terminal does the same in between. Again and again
// it stops, and then the panel shows what git says, and nothing is left behind.
//
// REVLANE_SOAK_SECONDS says for how long (else it is a short run), REVLANE_SOAK_SEED where the random
// numbers begin. The same seed makes the same choices; what they lead to depends on the moment.
#include "changes/messages.h"
#include "resources/ids.h"
#include "tests/support/panel.h"
#include "tests/support/process_state.h"
#include "tests/support/window_watch.h"
#include "win32/handle.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using support::Panel;
using support::process_state;
using support::ProcessState;
using support::TempRepository;
using support::Texts;

unsigned long number_from(const char* variable, unsigned long otherwise)
{
    const char* text = std::getenv(variable);
    return text != nullptr ? std::stoul(text) : otherwise;
}

// What does not depend on how the standard library makes numbers of a range.
class Dice {
public:
    explicit Dice(unsigned long seed) : engine_(static_cast<std::uint32_t>(seed)) {}

    // From 0 to count - 1.
    std::size_t below(std::size_t count) { return engine_() % count; }
    template <typename List>
    const auto& one_of(const List& list)
    {
        return *std::next(std::begin(list), static_cast<std::ptrdiff_t>(below(std::size(list))));
    }

private:
    std::mt19937 engine_;
};

const std::vector<std::string> FILES{"a.txt",
                                     "b.txt",
                                     "with space.txt",
                                     "src/Größe Ω.txt",
                                     "src/deep/er/c.cpp",
                                     "src/deep/er/d.cpp",
                                     "[x].txt",
                                     "it's.txt",
                                     "文件.txt",
                                     "docs/read me.md",
                                     "docs/e.md",
                                     "empty"};

class Soak : public testing::Test {
protected:
    Soak()
    {
        for (const std::string& file : FILES)
            repository_.write_file(file, file + "\n");
        repository_.commit_all("first");
        repository_.script("git branch other; git branch feature/ü; "
                           "git push -q -u origin main other:far/away; git fetch -q");
    }

    // Opens the panel, works at random and closes the panel again.
    void work(std::chrono::seconds how_long)
    {
        const auto end = std::chrono::steady_clock::now() + how_long;
        const support::BoxAnswer boxes(IDCLOSE, support::Windows::All);
        Panel panel(repository_, "[Revlane]\nautofetch=1\n");
        panel_ = &panel;
        expect_truth();
        constexpr int steps_between_looks = 12;
        do {
            for (int i = 0; i < steps_between_looks && std::chrono::steady_clock::now() < end;
                 ++i) {
                step();
                const std::chrono::milliseconds pause(dice_.below(150));
                panel.driver().wait([] { return false; }, pause);
            }
            expect_truth();
        } while (std::chrono::steady_clock::now() < end && !HasFailure());
        longest_dispatch_ = std::max(longest_dispatch_, panel.driver().take_longest_dispatch());
        panel_ = nullptr;
    }

    void step()
    {
        using Step = void (Soak::*)();
        struct Choice {
            const char* name;
            Step step;
        };
        // Some more often than others.
        static constexpr std::array choices{
            Choice{"change files", &Soak::change_files},
            Choice{"change files", &Soak::change_files},
            Choice{"refresh", &Soak::refresh},
            Choice{"stage", &Soak::stage},
            Choice{"stage", &Soak::stage},
            Choice{"unstage", &Soak::unstage},
            Choice{"commit", &Soak::commit},
            Choice{"switch branch", &Soak::switch_branch},
            Choice{"fetch", &Soak::fetch},
            Choice{"terminal", &Soak::use_terminal},
        };
        const Choice& choice = dice_.one_of(choices);
        ++done_[choice.name];
        (this->*choice.step)();
    }

    void change_files()
    {
        for (std::size_t count = 1 + dice_.below(5); count > 0; --count) {
            const std::string file = dice_.below(3) == 0
                                         ? fmt::format("new/{}.txt", dice_.below(20))
                                         : dice_.one_of(FILES);
            // What a switch in the background does at the same time may come in between.
            try {
                if (dice_.below(5) == 0)
                    repository_.remove(file);
                else
                    repository_.write_file(file, fmt::format("line {}\n", dice_.below(1000)));
            } catch (const std::exception&) {
                ++done_["a file in use"];
            }
        }
    }

    void refresh()
    {
        for (const UINT message : {revlane::WM_REVLANE_REFRESH, revlane::WM_REVLANE_REFRESH_ALL,
                                   revlane::WM_REVLANE_CHECK_DOCUMENT})
            for (std::size_t count = dice_.below(5); count > 0; --count)
                PostMessageW(panel_->dialog(), message, 0, 0);
    }

    void stage() { choose_rows(IDC_CHANGES_LIST, ID_STAGE); }
    void unstage() { choose_rows(IDC_STAGED_LIST, ID_UNSTAGE); }
    void choose_rows(int list, int command)
    {
        const auto count = static_cast<int>(panel_->rows(list).size());
        std::vector<int> rows;
        for (int row = 0; row < count; ++row)
            if (dice_.below(2) == 0)
                rows.push_back(row);
        support::select_rows(panel_->dialog(), list, rows);
        panel_->choose(command);
    }

    void commit()
    {
        panel_->set_message(L"A commit „of“ the soak");
        panel_->click(dice_.below(2) == 0 ? IDC_COMMIT : IDC_STAGE_ALL_AND_COMMIT);
    }

    void switch_branch()
    {
        const Texts branches = panel_->rows(IDC_BRANCHES_LIST);
        if (branches.empty())
            return;
        support::select_rows(panel_->dialog(), IDC_BRANCHES_LIST,
                             {static_cast<int>(dice_.below(branches.size()))});
        support::choose(panel_->control(IDC_BRANCHES_LIST), ID_BRANCH_CHECKOUT);
    }

    void fetch() { panel_->choose(ID_FETCH); }

    // A command that meets the lock of another one fails, as it would for a user.
    void use_terminal()
    {
        static constexpr std::array commands{
            "git add -A",
            "git commit -q -a -m terminal",
            "git checkout -q other",
            "git reset -q",
            "git stash -q -u",
            "git branch -f temporary",
            "git branch -q -D temporary",
            // Somebody else pushes.
            "git clone -q ../origin.git ../colleague; cd ../colleague; echo $$ >>theirs.txt; "
            "git add .; git commit -q -m theirs; git push -q; cd ..; rm -rf colleague",
            // Out of conflicts, and of the stashes that they have left.
            "git reset -q --hard; git stash clear",
        };
        repository_.script(std::string("{ ") + dice_.one_of(commands) +
                           "; } >/dev/null 2>&1 || true");
    }

    // Waits until the panel rests and shows what git says. What is still under way changes it, so git
    // is asked anew each time.
    void expect_truth()
    {
        ++done_["look"];
        // As the editor does when the user comes back to it. Wine does not tell of changes in folders
        // that were there before the watch began.
        PostMessageW(panel_->dialog(), revlane::WM_REVLANE_REFRESH, 0, 0);
        const auto end = std::chrono::steady_clock::now() + support::pump_deadline;
        bool is_true = false;
        while (!is_true && std::chrono::steady_clock::now() < end)
            is_true = panel_->shows(truth(), 1s) && process_state().git_processes == 0;
        EXPECT_TRUE(is_true);
        if (is_true)
            return;
        for (const auto& [list, rows] : truth())
            EXPECT_EQ(panel_->sorted_rows(list), rows) << "list " << list;
        EXPECT_EQ(process_state().git_processes, 0U);
    }

    std::map<int, Texts> truth()
    {
        std::map<int, Texts> rows = panel_->rows_by_git();
        Texts& branches = rows[IDC_BRANCHES_LIST];
        const std::string names = repository_.script(
            "git symbolic-ref -q HEAD >/dev/null || git rev-parse HEAD | cut -c 1-7; "
            "git for-each-ref --format='%(refname:lstrip=2)' refs/heads refs/remotes");
        for (std::size_t begin = 0; begin < names.size();) {
            const std::size_t line_end = names.find('\n', begin);
            branches.push_back(win32::to_wide(names.substr(begin, line_end - begin)));
            begin = line_end + 1;
        }
        std::erase(branches, L"origin/HEAD");
        std::sort(branches.begin(), branches.end());
        return rows;
    }

    TempRepository repository_;
    TempRepository origin_ = repository_.add_bare_remote();
    // Stays loaded, so that what it leaves behind can be seen.
    win32::LibraryHandle library_{LoadLibraryW(support::delivered_plugin().c_str())};
    unsigned long seed_ = number_from("REVLANE_SOAK_SEED", 1);
    Dice dice_{seed_};
    Panel* panel_ = nullptr;
    std::map<std::string, int> done_;
    std::chrono::milliseconds longest_dispatch_{};
};

TEST_F(Soak, WorkAtRandomEndsInWhatGitSays)
{
    constexpr unsigned long short_run = 20;
    const std::chrono::seconds all(number_from("REVLANE_SOAK_SECONDS", short_run));
    std::cout << "Seed " << seed_ << ", " << all.count() << " seconds\n";
    // Several panels one after the other, the first of which loads what stays with the process.
    const int panels = std::max(4, static_cast<int>(all / 60s));
    std::optional<ProcessState> first;
    ProcessState last;
    for (int i = 0; i < panels && !HasFailure(); ++i) {
        work(all / panels);
        support::pump_until([&] {
            last = process_state();
            return last.git_processes == 0 && (!first || last.threads <= first->threads);
        });
        EXPECT_EQ(last.git_processes, 0U);
        if (!first)
            first = last;
        EXPECT_LE(last.threads, first->threads);
        EXPECT_LE(last.windows, first->windows);
    }
    if (first) {
        // Caches of Windows may grow a little; a leak would show in every panel.
        EXPECT_LE(last.handles, first->handles + static_cast<unsigned long>(panels) / 2);
        std::cout << "Handles after the first panel " << first->handles << ", after the last "
                  << last.handles << '\n';
    }
    for (const auto& [name, count] : done_)
        std::cout << name << ' ' << count << '\n';
    std::cout << "Longest message, boxes that were open included: " << longest_dispatch_.count()
              << " ms\n";
    // Whatever came in between, the repository is whole.
    EXPECT_EQ(repository_.script("git fsck --no-dangling 2>&1 | grep -v '^notice' || true"), "");
}

}  // namespace
