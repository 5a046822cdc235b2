#include "changes/messages.h"
#include "sidebar/auto_fetcher.h"
#include "sidebar/directory_watcher.h"
#include "tests/support/pump.h"
#include "tests/support/temp_repository.h"
#include "win32/window.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

using revlane::AutoFetcher;
using revlane::DirectoryWatcher;
using revlane::first_changed_name;
using revlane::is_inside_git_directory;
using revlane::ReportThrottle;
using revlane::WM_REVLANE_FILES_CHANGED;
using revlane::WM_REVLANE_TASK_DONE;
using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace): literals only
using support::pump_until;
using support::TempFolder;
using support::TempRepository;

// A message-only window that counts the messages of one kind.
class CountingWindow {
public:
    explicit CountingWindow(UINT message) : message_(message)
    {
        WNDCLASSW window_class{};
        window_class.lpfnWndProc = win32::window_proc<CountingWindow>;
        window_class.hInstance = GetModuleHandleW(nullptr);
        window_class.lpszClassName = L"RevlaneCountingWindow";
        RegisterClassW(&window_class);
        window_ = CreateWindowExW(0, window_class.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                  nullptr, window_class.hInstance, this);
    }
    ~CountingWindow() { DestroyWindow(window_); }
    CountingWindow(const CountingWindow&) = delete;
    CountingWindow& operator=(const CountingWindow&) = delete;

    win32::Handled handle(const win32::Message& message)
    {
        if (message.id != message_)
            return std::nullopt;
        ++count_;
        return 0;
    }
    [[nodiscard]] HWND window() const { return window_; }
    [[nodiscard]] int count() const { return count_; }
    bool reaches(int count)
    {
        return pump_until([this, count] { return count_ >= count; });
    }

private:
    UINT message_;
    HWND window_ = nullptr;
    int count_ = 0;
};

// A notification record as Windows lays it out.
std::vector<std::byte> notification(const std::wstring& name)
{
    std::vector<std::byte> buffer(1024);
    const auto bytes = static_cast<DWORD>(name.size() * sizeof(wchar_t));
    std::memcpy(buffer.data() + offsetof(FILE_NOTIFY_INFORMATION, FileNameLength), &bytes,
                sizeof bytes);
    std::memcpy(buffer.data() + offsetof(FILE_NOTIFY_INFORMATION, FileName), name.data(), bytes);
    return buffer;
}

TEST(DirectoryWatcher, ReadsTheFirstNameOfANotification)
{
    EXPECT_EQ(first_changed_name(notification(L"src\\grün.cpp")), L"src\\grün.cpp");
    EXPECT_EQ(first_changed_name(std::vector<std::byte>(1024)), L"");
    EXPECT_EQ(first_changed_name({}), L"");
    // A length that cannot be true is not believed.
    std::vector<std::byte> broken = notification(L"a");
    const DWORD length = 5000;
    std::memcpy(broken.data() + offsetof(FILE_NOTIFY_INFORMATION, FileNameLength), &length,
                sizeof length);
    EXPECT_EQ(first_changed_name(broken), L"");

    EXPECT_TRUE(is_inside_git_directory(L".git\\index"));
    for (const wchar_t* outside : {L"", L".git", L".Git\\index", L".gitignore", L"a\\.git\\index"})
        EXPECT_FALSE(is_inside_git_directory(outside)) << outside;
}

TEST(DirectoryWatcher, ReportsAtMostOnceInHalfASecond)
{
    const ReportThrottle::Clock::time_point start{1h};
    ReportThrottle throttle(start);
    EXPECT_TRUE(throttle.drops(start));
    EXPECT_TRUE(throttle.drops(start + 500ms));
    EXPECT_FALSE(throttle.drops(start + 501ms));
    EXPECT_FALSE(throttle.drops(start + 501ms)) << "asking alone reports nothing";
    throttle.reported(start + 501ms);
    EXPECT_TRUE(throttle.drops(start + 1001ms));
    EXPECT_FALSE(throttle.drops(start + 1002ms));
}

// Changes a file again and again until the window has heard of it: what comes too soon is dropped.
bool change_is_heard(CountingWindow& window, const std::filesystem::path& folder)
{
    const int before = window.count();
    int written = 0;
    return pump_until([&] {
        std::ofstream(folder / L"größe.txt") << ++written;
        return window.count() > before;
    });
}

TEST(DirectoryWatcher, WatchesTheLastDirectoryOnly)
{
    const TempFolder first;
    const TempFolder second;
    CountingWindow window(WM_REVLANE_FILES_CHANGED);
    DirectoryWatcher watcher;
    watcher.run(window.window(), first.path() / L"is not there");
    watcher.run(window.window(), first.path());
    EXPECT_TRUE(change_is_heard(window, first.path())) << "a failed watch spoils nothing";
    watcher.run(window.window(), second.path());
    EXPECT_TRUE(change_is_heard(window, second.path()));
    const int heard = window.count();
    std::ofstream(first.path() / L"no longer watched.txt") << 1;
    EXPECT_FALSE(pump_until([&] { return window.count() > heard; }, 700ms));
    // Without a window a change has nobody to tell.
    watcher.run(nullptr, first.path());
    std::ofstream(first.path() / L"again.txt") << 1;
    EXPECT_FALSE(pump_until([&] { return window.count() > heard; }, 700ms));
}

TEST(DirectoryWatcher, EndsWhateverItIsDoing)
{
    const TempFolder folder;
    CountingWindow window(WM_REVLANE_FILES_CHANGED);
    for (int round = 0; round < 50; ++round) {
        DirectoryWatcher watcher;
        watcher.run(window.window(), folder.path());
        if (round % 2 == 0)
            std::ofstream(folder.path() / L"a.txt") << round;
        if (round % 3 == 0)
            watcher.run(window.window(), folder.path());
    }
    // The folder can be removed: no handle to it is left open.
    EXPECT_TRUE(std::filesystem::remove(folder.path() / L"a.txt"));
}

// A clock that only the test moves.
struct TestClock {
    std::atomic<AutoFetcher::Clock::duration> since_start{1h};

    std::shared_ptr<AutoFetcher::Context> context()
    {
        return std::make_shared<AutoFetcher::Context>(
            [this] { return AutoFetcher::Clock::time_point(since_start.load()); });
    }
    void advance(AutoFetcher::Context& context, AutoFetcher::Clock::duration by)
    {
        since_start = since_start.load() + by;
        context.clock_changed();
    }
};

// A repository with a remote that gets commits from elsewhere.
struct FetchedRepository {
    TempRepository work;
    TempRepository remote = work.add_bare_remote();
    int pushed = 0;

    FetchedRepository()
    {
        work.script("echo a > a.txt; git add -A; commit one; git push -q -u origin main\n");
    }
    // Puts a commit on the remote's branch that `work` does not know yet.
    void change_remote() const
    {
        work.script(
            "git checkout -q -b tmp; commit two --allow-empty; git push -q origin tmp:main\n"
            "git checkout -q main; git branch -q -D tmp; git update-ref "
            "refs/remotes/origin/main main\n");
    }
    [[nodiscard]] bool is_behind() const { return work.id_of("origin/main") != work.id_of("main"); }
};

TEST(AutoFetcher, FetchesAtOnceAndAfterEachInterval)
{
    if (!support::git_is_whole())
        GTEST_SKIP() << "git starts what serves a remote by its shell";
    FetchedRepository repository;
    repository.change_remote();
    ASSERT_FALSE(repository.is_behind());
    CountingWindow window(WM_REVLANE_TASK_DONE);
    TestClock clock;
    const auto context = clock.context();
    context->set_repository(repository.work.path());
    AutoFetcher fetcher(std::make_shared<git::Git>(), context);
    fetcher.run(window.window());
    EXPECT_TRUE(window.reaches(1));
    EXPECT_TRUE(repository.is_behind());

    clock.advance(*context, AutoFetcher::INTERVAL - 1s);
    EXPECT_FALSE(pump_until([&] { return window.count() > 1; }, 300ms)) << "not yet";
    clock.advance(*context, 1s);
    EXPECT_TRUE(window.reaches(2));

    // Two starts in a row leave one loop, and the second fetches at once.
    fetcher.run(window.window());
    fetcher.run(window.window());
    EXPECT_TRUE(window.reaches(3));
    clock.advance(*context, AutoFetcher::INTERVAL);
    EXPECT_TRUE(window.reaches(4));
    EXPECT_FALSE(pump_until([&] { return window.count() > 4; }, 300ms)) << "one loop only";

    fetcher.stop();
    clock.advance(*context, AutoFetcher::INTERVAL);
    EXPECT_FALSE(pump_until([&] { return window.count() > 4; }, 300ms)) << "it is off";

    // A folder that is no repository: a failed fetch is told like any other.
    const TempFolder elsewhere;
    context->set_repository(elsewhere.path());
    fetcher.run(window.window());
    EXPECT_TRUE(window.reaches(5));
}

TEST(AutoFetcher, WithoutARepositoryNothingRuns)
{
    CountingWindow window(WM_REVLANE_TASK_DONE);
    TestClock clock;
    const auto context = clock.context();
    AutoFetcher fetcher(std::make_shared<git::Git>(), context);
    fetcher.run(window.window());
    clock.advance(*context, AutoFetcher::INTERVAL);
    EXPECT_FALSE(pump_until([&] { return window.count() > 0; }, 300ms));

    FetchedRepository repository;
    context->set_repository(repository.work.path());
    clock.advance(*context, AutoFetcher::INTERVAL);
    EXPECT_TRUE(window.reaches(1)) << "the loop still wakes";
}

TEST(AutoFetcher, ALongFetchIsEndedByCancelAndByTheDestructor)
{
    FetchedRepository repository;
    // A transport that never answers.
    repository.work.git({"config", "protocol.ext.allow", "always"});
    repository.work.git({"remote", "set-url", "origin", "ext::sleep 600"});
    CountingWindow window(WM_REVLANE_TASK_DONE);
    TestClock clock;
    const auto context = clock.context();
    context->set_repository(repository.work.path());
    const auto is_fetching = [&] { return context->fetching_since().has_value(); };
    auto fetcher = std::make_unique<AutoFetcher>(std::make_shared<git::Git>(), context);

    fetcher->run(window.window());
    ASSERT_TRUE(pump_until(is_fetching));
    // Cancelled as soon as git runs; before that there is nothing to end.
    EXPECT_TRUE(pump_until([&] {
        fetcher->cancel();
        return window.count() > 0;
    }));
    EXPECT_FALSE(is_fetching());

    clock.advance(*context, AutoFetcher::INTERVAL);
    ASSERT_TRUE(pump_until(is_fetching));
    const auto begin = std::chrono::steady_clock::now();
    fetcher.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
}

}  // namespace
