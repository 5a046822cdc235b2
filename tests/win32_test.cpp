#include "tests/support/pump.h"
#include "win32/handle.h"
#include "win32/long_path.h"
#include "win32/posted.h"
#include "win32/task_slot.h"
#include "win32/text.h"
#include "win32/work_pool.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <future>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

// Long enough for a slow machine under load: a test that passes never waits as long.
constexpr auto deadline = 20s;

TEST(Text, GoesThereAndBack)
{
    for (const std::string text : {"", "plain", "Übermut 文件 😀", "line\r\nbreak\t"})
        EXPECT_EQ(win32::to_utf8(win32::to_wide(text)), text);
    EXPECT_EQ(win32::to_wide("😀"), L"\xD83D\xDE00");
    const std::string with_zero("a\0b", 3);
    EXPECT_EQ(win32::to_wide(with_zero), std::wstring(L"a\0b", 3));
    EXPECT_EQ(win32::to_utf8(win32::to_wide(with_zero)), with_zero);
}

TEST(Text, ReplacesWhatIsNotText)
{
    // Latin-1, a cut sequence and an overlong one: the rest of the text stays readable.
    for (const std::string bytes : {"caf\xE9 a", "caf\xE2\x82 a", "caf\xC0\xAF a"}) {
        const std::wstring wide = win32::to_wide(bytes);
        EXPECT_TRUE(wide.starts_with(L"caf\xFFFD")) << bytes;
        EXPECT_TRUE(wide.ends_with(L" a")) << bytes;
    }
    EXPECT_EQ(win32::to_utf8(L"a\xD83D z"), "a\xEF\xBF\xBD z");
}

TEST(Text, GetsTheLineEndsOfEditControls)
{
    EXPECT_EQ(win32::with_crlf(L"a\nb\r\nc\rd\r\r\n\n"), L"a\r\nb\r\nc\r\nd\r\n\r\n\r\n");
}

TEST(LongPath, LiftsTheLimitWhereItIsNeeded)
{
    const std::wstring name(300, L'x');
    EXPECT_EQ(win32::long_path(L"C:/short").native(), L"C:/short");
    EXPECT_EQ(win32::long_path(name).native(), name);
    EXPECT_EQ(win32::long_path(L"C:/a/../" + name).native(), LR"(\\?\C:\)" + name);
    EXPECT_EQ(win32::long_path(L"//server/share/" + name).native(),
              LR"(\\?\UNC\server\share\)" + name);
    EXPECT_EQ(win32::long_path(LR"(\\?\C:\)" + name).native(), LR"(\\?\C:\)" + name);
}

// A payload that counts how many of its kind live.
class Counted {
public:
    Counted() { ++alive; }
    ~Counted() { --alive; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    static inline int alive = 0;
};

class MessageWindow {
public:
    MessageWindow()
        : window_(CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                                  nullptr))
    {
    }
    ~MessageWindow() { destroy(); }
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;
    void destroy()
    {
        if (window_ != nullptr)
            DestroyWindow(std::exchange(window_, nullptr));
    }
    [[nodiscard]] HWND get() const noexcept { return window_; }

private:
    HWND window_;
};

TEST(PostedPayload, BelongsToTheWindowOnceItIsPosted)
{
    MessageWindow window;
    ASSERT_TRUE(win32::post_owned(window.get(), WM_APP, std::make_unique<Counted>()));
    EXPECT_EQ(Counted::alive, 1);
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, window.get(), WM_APP, WM_APP, PM_REMOVE));
    EXPECT_EQ(message.lParam, 0);
    EXPECT_NE(win32::take_owned<Counted>(message.wParam), nullptr);
    EXPECT_EQ(Counted::alive, 0);
}

TEST(PostedPayload, IsFreedWhenNoWindowTakesIt)
{
    EXPECT_FALSE(win32::post_owned(nullptr, WM_APP, std::make_unique<Counted>()));
    EXPECT_EQ(Counted::alive, 0);

    MessageWindow window;
    const HWND destroyed = window.get();
    window.destroy();
    EXPECT_FALSE(win32::post_owned(destroyed, WM_APP, std::make_unique<Counted>()));
    EXPECT_EQ(Counted::alive, 0);
}

TEST(PostedPayload, IsDrainedByAWindowThatGoes)
{
    MessageWindow window;
    MessageWindow other;
    for (int i = 0; i < 3; ++i)
        win32::post_owned(window.get(), WM_APP, std::make_unique<Counted>());
    win32::post_owned(other.get(), WM_APP, std::make_unique<Counted>());
    PostMessageW(window.get(), WM_APP, 0, 0);
    PostMessageW(window.get(), WM_APP + 1, 0, 0);

    win32::drain_owned<Counted>(nullptr, WM_APP);
    EXPECT_EQ(Counted::alive, 4);
    win32::drain_owned<Counted>(window.get(), WM_APP);
    // Messages of another kind and those of another window stay.
    EXPECT_EQ(Counted::alive, 1);
    MSG message{};
    EXPECT_TRUE(PeekMessageW(&message, window.get(), WM_APP + 1, WM_APP + 1, PM_REMOVE));
    win32::drain_owned<Counted>(other.get(), WM_APP);
    EXPECT_EQ(Counted::alive, 0);
}

// Windows hands out the end of the program whatever message is asked for.
TEST(PostedPayload, IsToldFromTheEndOfTheProgram)
{
    constexpr int exit_code = 7;
    MessageWindow window;
    win32::post_owned(window.get(), WM_APP, std::make_unique<Counted>());
    PostQuitMessage(exit_code);
    EXPECT_TRUE(win32::is_waiting(window.get(), WM_APP));
    EXPECT_FALSE(win32::is_waiting(window.get(), WM_APP + 1));
    win32::drain_owned<Counted>(window.get(), WM_APP);
    win32::drain_owned<Counted>(window.get(), WM_APP);
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_FALSE(win32::is_waiting(window.get(), WM_APP));

    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, UINT{WM_QUIT});
    EXPECT_EQ(message.wParam, WPARAM{exit_code});
    EXPECT_FALSE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
}

// A task that runs until it is let go.
class HeldTask {
public:
    std::function<void()> task()
    {
        return [this] {
            started_.set_value();
            released_.get_future().wait();
        };
    }
    bool wait_until_it_runs()
    {
        return started_.get_future().wait_for(deadline) == std::future_status::ready;
    }
    void release() { released_.set_value(); }

private:
    std::promise<void> started_;
    std::promise<void> released_;
};

TEST(WorkPool, RunsTheFirstTasksOfManyThreadsOnOneOfItsOwn)
{
    std::set<std::thread::id> ran_on;
    {
        win32::WorkPool pool;
        EXPECT_TRUE(pool.wait_for(0ms));
        std::vector<std::thread> threads(4);
        for (std::thread& thread : threads)
            thread = std::thread([&pool, &ran_on] {
                pool.detach_task([&ran_on] { ran_on.insert(std::this_thread::get_id()); });
            });
        for (std::thread& thread : threads)
            thread.join();
    }
    EXPECT_EQ(ran_on.size(), 1U);
}

TEST(TaskSlot, DropsWhatWaitsForWhatComesLater)
{
    win32::WorkPool pool;
    win32::TaskSlot slot(pool);
    HeldTask held;
    std::vector<int> ran;
    slot.submit(held.task());
    ASSERT_TRUE(held.wait_until_it_runs());
    slot.submit([&] { ran.push_back(1); });
    slot.submit([&] { ran.push_back(2); });
    EXPECT_TRUE(slot.busy());
    held.release();
    ASSERT_TRUE(pool.wait_for(deadline));
    EXPECT_EQ(ran, std::vector{2});
    EXPECT_FALSE(slot.busy());
}

// What is submitted to one slot and then to another runs in that order, whatever waited before.
TEST(TaskSlot, QueuesBehindTheTasksOfOtherSlots)
{
    win32::WorkPool pool;
    win32::TaskSlot slot(pool);
    win32::TaskSlot other(pool);
    HeldTask held;
    std::vector<int> ran;
    other.submit(held.task());
    ASSERT_TRUE(held.wait_until_it_runs());
    slot.submit([&] { ran.push_back(1); });
    other.submit([&] { ran.push_back(2); });
    slot.submit([&] { ran.push_back(3); });
    held.release();
    ASSERT_TRUE(pool.wait_for(deadline));
    EXPECT_EQ(ran, (std::vector{2, 3}));
}

TEST(TaskSlot, FreesADroppedTaskAtOnceAndLeavesOthersAlone)
{
    win32::WorkPool pool;
    win32::TaskSlot slot(pool);
    win32::TaskSlot other(pool);
    HeldTask held;
    bool other_ran = false;
    slot.submit(held.task());
    ASSERT_TRUE(held.wait_until_it_runs());
    slot.submit([kept = std::make_shared<Counted>()] { ADD_FAILURE() << "a dropped task ran"; });
    other.submit([&] { other_ran = true; });
    slot.cancel();
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_TRUE(slot.busy()) << "the held task still runs";
    held.release();
    ASSERT_TRUE(pool.wait_for(deadline));
    EXPECT_TRUE(other_ran);
}

TEST(TaskSlot, MayGoWhileATaskOfItRuns)
{
    win32::WorkPool pool;
    std::optional<win32::TaskSlot> slot(pool);
    HeldTask held;
    slot->submit(held.task());
    ASSERT_TRUE(held.wait_until_it_runs());
    slot->submit([] { ADD_FAILURE() << "a task ran after its slot was gone"; });
    slot.reset();
    held.release();
    EXPECT_TRUE(pool.wait_for(deadline));
}

TEST(TaskSlot, OutlivesATaskThatThrows)
{
    win32::WorkPool pool;
    win32::TaskSlot slot(pool);
    slot.submit([] { throw std::runtime_error("a fault in a task"); });
    ASSERT_TRUE(pool.wait_for(deadline));
    EXPECT_FALSE(slot.busy());
    bool ran = false;
    slot.submit([&] { ran = true; });
    ASSERT_TRUE(pool.wait_for(deadline));
    EXPECT_TRUE(ran);
}

}  // namespace
