#include "git/runner.h"

#include "tests/support/recorded_git.h"
#include "tests/support/temp_repository.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <fmt/xchar.h>
#include <gtest/gtest.h>
#include <shellapi.h>
#include <tlhelp32.h>

#include <array>
#include <atomic>
#include <fstream>
#include <future>
#include <memory>
#include <thread>

namespace {

using namespace std::chrono_literals;

// Long enough for a slow machine under load: a test that passes never waits as long.
constexpr auto deadline = 30s;

constexpr std::size_t ten_megabytes = 10 << 20;

const std::wstring start_failure =
    L"Could not start git. Make sure git is installed and callable from Command Prompt.\n";

// An event that a child sets or waits for; set at the end, so that no child is left waiting.
class NamedEvent {
public:
    NamedEvent()
    {
        static std::atomic<int> count = 0;
        name_ = fmt::format(L"revlane-test-{}-{}", GetCurrentProcessId(), ++count);
        handle_.reset(CreateEventW(nullptr, TRUE, FALSE, name_.c_str()));
    }
    ~NamedEvent() { set(); }
    NamedEvent(const NamedEvent&) = delete;
    NamedEvent& operator=(const NamedEvent&) = delete;
    void set() const { SetEvent(handle_.get()); }
    [[nodiscard]] bool wait() const
    {
        return WaitForSingleObject(handle_.get(),
                                   DWORD{std::chrono::milliseconds(deadline).count()}) ==
               WAIT_OBJECT_0;
    }
    [[nodiscard]] const std::wstring& name() const noexcept { return name_; }

private:
    std::wstring name_;
    win32::KernelHandle handle_;
};

// How many processes like itself a process has started and left, whether it runs or not. (A console
// has a process of its own too.)
int children_of(DWORD process)
{
    const win32::FileHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    int count = 0;
    for (BOOL found = Process32FirstW(snapshot.get(), &entry); found;
         found = Process32NextW(snapshot.get(), &entry))
        if (entry.th32ParentProcessID == process && _wcsicmp(entry.szExeFile, L"git.exe") == 0)
            ++count;
    return count;
}

class Runner : public testing::Test {
protected:
    git::CommandResult play(const std::wstring& steps, git::Stream stream = git::Stream::Output)
    {
        return git::run_git(L"play " + steps, folder_.path(), stream, *git_);
    }
    git::Result<std::vector<git_oid>> play_ids(const std::wstring& steps)
    {
        auto running = git::start_git(L"play " + steps, folder_.path());
        if (!running)
            return tl::unexpected(running.error());
        return git::read_object_ids(*running, *git_);
    }

    support::RecordedGit recorded_;
    support::TempFolder folder_;
    std::shared_ptr<git::Git> git_ = std::make_shared<git::Git>();
};

// ---- The command line ------------------------------------------------------------------------------

TEST_F(Runner, QuotedValuesReachTheChild)
{
    const struct {
        std::wstring value;
        std::wstring quoted;
        bool is_carried = true;
    } cases[] = {
        {L"", L""},
        {L"two words\tand a tab", L"two words\tand a tab"},
        {L"Grüße 文件 😀", L"Grüße 文件 😀"},
        {LR"(say "yes")", LR"(say \"yes\")"},
        {LR"("")", LR"(\"\")"},
        {LR"(C:\dir\file)", LR"(C:\dir\file)"},
        {LR"(a\"b)", LR"(a\\\"b)"},
        {LR"(\\server\share)", LR"(\\server\share)"},
        {L"first line\r\nsecond \"line\"\n", L"first line\r\nsecond \\\"line\\\"\n"},
        {L"*.txt", L"*.txt"},
        {L"%PATH% ^& | > <", L"%PATH% ^& | > <"},
        // What the rule cannot carry is passed on in this form, and is_carried says so.
        {LR"(C:\dir\)", LR"(C:\dir\)", false},
        {LR"(a\\"b)", LR"(a\\\\"b)", false},
        {std::wstring(L"a\0b", 3), std::wstring(L"a\0b", 3), false},
    };
    for (const auto& [value, quoted, is_carried] : cases) {
        EXPECT_EQ(git::quote_argument(value), quoted);
        const std::wstring arguments = L"x --value=\"" + git::quote_argument(value) + L"\" y";
        EXPECT_EQ(git::is_carried(arguments, {L"x", L"--value=" + value, L"y"}), is_carried)
            << win32::to_utf8(value);
        if (!is_carried)
            continue;
        ASSERT_TRUE(git::run_git(arguments, folder_.path(), git::Stream::Output, *git_).ok);
        const support::RecordedRun run = recorded_.take_runs().at(0);
        EXPECT_EQ(run.command_line, L"git --no-pager " + arguments);
        EXPECT_EQ(run.arguments, (std::vector<std::wstring>{L"git", L"--no-pager", L"x",
                                                            L"--value=" + value, L"y"}));
    }
}

TEST_F(Runner, SplitsAsWindowsAndTheRunTimeLibraryDo)
{
    using Words = std::vector<std::wstring>;
    const struct {
        const wchar_t* arguments;
        std::optional<Words> words;
    } cases[] = {
        {L"", Words{}},
        {L" \t a  b\t", Words{L"a", L"b"}},
        {LR"("" "a b"c)", Words{L"", L"a bc"}},
        {LR"(a\b\\c "d\\" \"e \\\"f)", Words{LR"(a\b\\c)", LR"(d\)", LR"("e)", LR"(\"f)"}},
        {LR"("never closed)", Words{L"never closed"}},
        // Windows ends the quoted stretch behind two double quotes in a row, the library does not.
        {LR"("a""b c" d)", std::nullopt},
    };
    for (const auto& [arguments, words] : cases) {
        EXPECT_EQ(git::split_arguments(arguments), words) << win32::to_utf8(arguments);
        if (!words)
            continue;
        git::run_git(arguments, folder_.path(), git::Stream::Output, *git_);
        Words received = recorded_.take_runs().at(0).arguments;
        received.erase(received.begin(), received.begin() + 2);
        EXPECT_EQ(received, *words) << win32::to_utf8(arguments);
    }
}

TEST_F(Runner, TakesTheLongestCommandLineOfWindowsAndNoLonger)
{
    const std::wstring longest(git::MAX_ARGUMENTS_LENGTH, L'x');
    EXPECT_TRUE(git::run_git(longest, folder_.path(), git::Stream::Output, *git_).ok);
    EXPECT_EQ(recorded_.take_command_lines().at(0).size(), 32766U);

    const auto result = git::run_git(longest + L'x', folder_.path(), git::Stream::Output, *git_);
    EXPECT_FALSE(result.ok);
    EXPECT_TRUE(result.output.starts_with("The command is too long")) << result.output;
    EXPECT_TRUE(recorded_.take_runs().empty());
}

// ---- Outputs ---------------------------------------------------------------------------------------

TEST_F(Runner, GivesTheChosenStreamOfASuccess)
{
    const std::wstring steps = L"out o1 err e1 out o2 err e2";
    const git::CommandResult output = play(steps);
    EXPECT_EQ(output.command, L"play " + steps);
    EXPECT_TRUE(output.ok);
    EXPECT_EQ(output.output, "o1o2");
    EXPECT_EQ(play(steps, git::Stream::Error).output, "e1e2");
}

TEST_F(Runner, GivesBothStreamsOfAFailure)
{
    // 259 is also what Windows says of a process that still runs.
    for (const int code : {1, 128, 259}) {
        const std::wstring steps = fmt::format(L"err e out o exit {}", code);
        const git::CommandResult output = play(steps);
        EXPECT_FALSE(output.ok);
        EXPECT_EQ(output.output, "oe");
        const git::CommandResult error = play(steps, git::Stream::Error);
        EXPECT_FALSE(error.ok);
        EXPECT_EQ(error.output, "e");
    }
}

TEST_F(Runner, ReadsTenMegabytes)
{
    const git::CommandResult result = play(fmt::format(L"flood-out {} out end", ten_megabytes));
    EXPECT_TRUE(result.ok);
    EXPECT_EQ(result.output.size(), ten_megabytes + 3);
    EXPECT_TRUE(result.output.ends_with("xend"));
}

TEST_F(Runner, NeverStallsAChildThatPrintsMuchOnBothStreams)
{
    constexpr std::size_t size = 1 << 20;
    for (const git::Stream stream : {git::Stream::Output, git::Stream::Error}) {
        const git::CommandResult both = play(fmt::format(L"flood-both {}", size), stream);
        EXPECT_TRUE(both.ok);
        EXPECT_EQ(both.output.size(), size);
        const git::CommandResult other =
            play(fmt::format(L"flood-err {0} flood-out {0} exit 1", size), stream);
        EXPECT_FALSE(other.ok);
        EXPECT_EQ(other.output.size(), stream == git::Stream::Output ? 2 * size : size);
    }
}

TEST_F(Runner, TheEndOfTheStreamIsNotTheEndOfTheChild)
{
    auto running = git::start_git(L"play pause 300 exit 4", folder_.path());
    ASSERT_TRUE(running) << git::to_utf8(running.error());
    // In place of a child that closes its output early.
    win32::KernelHandle write_end;
    ASSERT_TRUE(CreatePipe(running->stdout_read.put(), write_end.put(), nullptr, 0));
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(write_end.get(), "text", 4, &written, nullptr));
    write_end.reset();

    EXPECT_EQ(git::read_all(*running, git::Stream::Output, *git_).value(), "text");
    EXPECT_FALSE(git::is_running(*running));
    EXPECT_EQ(git::exit_code(*running), 4U);
}

TEST_F(Runner, DoesNotWaitForWhatTheChildLeftBehind)
{
    const NamedEvent end;
    const auto start = std::chrono::steady_clock::now();
    const git::CommandResult result = play(L"out before leave " + end.name() + L" out after");
    EXPECT_TRUE(result.ok);
    EXPECT_EQ(result.output, "beforeafter");
    const git::CommandResult failed = play(L"out o leave " + end.name() + L" err e exit 1");
    EXPECT_EQ(failed.output, "oe");
    EXPECT_LT(std::chrono::steady_clock::now() - start, deadline);
}

TEST_F(Runner, AChildNeverHoldsThePipeOfAnother)
{
    // Were the write end of a short run's pipe inherited by a long run that starts at the same time,
    // the short run's stream would have no end until the long run has.
    const NamedEvent end;
    const auto read_to_the_end = [&](const std::wstring& steps) {
        auto running = git::start_git(L"play " + steps, folder_.path());
        std::string text;
        while (running) {
            const auto count = git::read_chunk(running->stdout_read.get(), text, *git_);
            if (!count || *count == 0)
                break;
        }
        return text;
    };
    std::array<std::future<std::string>, 8> short_runs;
    std::array<std::future<std::string>, 8> long_runs;
    for (std::size_t i = 0; i < short_runs.size(); ++i) {
        long_runs.at(i) =
            std::async(std::launch::async, read_to_the_end, L"wait " + end.name() + L" out long");
        short_runs.at(i) = std::async(std::launch::async, read_to_the_end, L"out short");
    }
    bool all_ended = true;
    for (auto& run : short_runs)
        all_ended = all_ended && run.wait_for(deadline) == std::future_status::ready;
    EXPECT_TRUE(all_ended);
    end.set();
    for (auto& run : short_runs)
        EXPECT_EQ(run.get(), "short");
    for (auto& run : long_runs)
        EXPECT_EQ(run.get(), "long");
}

// ---- Failures to start -----------------------------------------------------------------------------

TEST_F(Runner, SaysThatGitIsMissing)
{
    EXPECT_TRUE(git::is_git_available());
    const support::ScopedVariable no_path(L"PATH", L"");
    EXPECT_FALSE(git::is_git_available());
    const git::CommandResult result = play(L"out o");
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(win32::to_wide(result.output),
              start_failure + git::windows_error_text(ERROR_FILE_NOT_FOUND));
}

TEST_F(Runner, SaysThatTheFolderIsMissing)
{
    const git::CommandResult result =
        git::run_git(L"status", folder_.path() / L"not there", git::Stream::Output, *git_);
    EXPECT_FALSE(result.ok);
    EXPECT_TRUE(win32::to_wide(result.output).starts_with(start_failure)) << result.output;
    EXPECT_GT(result.output.size(), start_failure.size());
    EXPECT_TRUE(recorded_.take_runs().empty());
}

// ---- Ending ----------------------------------------------------------------------------------------

const std::string ended_text = win32::to_utf8(git::windows_error_text(ERROR_OPERATION_ABORTED));

TEST_F(Runner, CancelEndsABlockedReadAndLaterRunsGoOn)
{
    const NamedEvent ready;
    const NamedEvent never;
    auto run = std::async(std::launch::async, [&] {
        return play(L"out o signal " + ready.name() + L" wait " + never.name());
    });
    ASSERT_TRUE(ready.wait());
    git_->cancel();
    ASSERT_EQ(run.wait_for(deadline), std::future_status::ready);
    const git::CommandResult ended = run.get();
    EXPECT_FALSE(ended.ok);
    EXPECT_EQ(ended.output, ended_text);

    EXPECT_TRUE(play(L"out o").ok);
}

TEST_F(Runner, ShutdownEndsAlsoWhatAGrandchildHolds)
{
    const NamedEvent ready;
    const NamedEvent never;
    auto run = std::async(std::launch::async, [&] {
        return play(L"leave " + never.name() + L" signal " + ready.name() + L" wait " +
                    never.name());
    });
    ASSERT_TRUE(ready.wait());
    git_->shutdown();
    ASSERT_EQ(run.wait_for(deadline), std::future_status::ready);
    EXPECT_EQ(run.get().output, ended_text);
}

TEST_F(Runner, WhatAChildHasStartedEndsWithItAndNotAfterIt)
{
    enum class End { Cancelled, Disposed, ByItself };
    for (const End end : {End::Cancelled, End::Disposed, End::ByItself}) {
        SCOPED_TRACE(static_cast<int>(end));
        const NamedEvent ready;
        const NamedEvent child_goes;
        const NamedEvent grandchild_goes;
        DWORD child = 0;
        {
            const auto running =
                git::start_git(L"play leave " + grandchild_goes.name() + L" signal " +
                                   ready.name() + L" wait " + child_goes.name(),
                               folder_.path());
            ASSERT_TRUE(running) << git::to_utf8(running.error());
            child = running->process_id;
            const git::Git::Run run(*git_);
            const git::Git::RunScope registered(run, running->process.get(), running->job.get());
            ASSERT_TRUE(ready.wait());
            ASSERT_EQ(children_of(child), 1);
            if (end == End::Cancelled)
                git_->cancel();
            if (end == End::ByItself)
                child_goes.set();
            if (end != End::Disposed) {
                ASSERT_EQ(WaitForSingleObject(running->process.get(),
                                              DWORD{std::chrono::milliseconds(deadline).count()}),
                          WAIT_OBJECT_0);
            }
        }
        if (end == End::ByItself) {
            EXPECT_EQ(children_of(child), 1);
            continue;
        }
        const auto start = std::chrono::steady_clock::now();
        while (children_of(child) != 0 && std::chrono::steady_clock::now() - start < deadline)
            Sleep(1);
        EXPECT_EQ(children_of(child), 0);
    }
}

TEST_F(Runner, NothingStartsAfterAShutdown)
{
    git_->shutdown();
    EXPECT_TRUE(git_->is_shut_down());
    const git::CommandResult result = play(L"out o");
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.output, ended_text);
    EXPECT_TRUE(recorded_.take_runs().empty());
}

TEST_F(Runner, EndsAProcessThatRegistersTooLate)
{
    const NamedEvent never;
    const git::Git::Run run(*git_);
    const auto running = git::start_git(L"play wait " + never.name(), folder_.path());
    ASSERT_TRUE(running) << git::to_utf8(running.error());
    git_->cancel();
    const git::Git::RunScope registered(run, running->process.get(), running->job.get());
    EXPECT_EQ(WaitForSingleObject(running->process.get(),
                                  DWORD{std::chrono::milliseconds(deadline).count()}),
              WAIT_OBJECT_0);
}

TEST_F(Runner, ACancelIsNeverLostWhateverTheRunIsDoing)
{
    // The cancelling falls into every phase of a run: before the start, between start and
    // registering, between registering a read and the read itself, within it.
    const NamedEvent never;
    for (int i = 0; i < 40; ++i) {
        std::promise<void> begun;
        auto run = std::async(std::launch::async, [&] {
            const git::Git::Run token(*git_);
            auto running = git::start_git(L"play wait " + never.name(), folder_.path());
            begun.set_value();
            // Only its reads are registered, as with the lists of hashes.
            return running ? git::read_object_ids(*running, token).has_value() : false;
        });
        begun.get_future().wait();
        for (int spin = 0; spin < i * 50; ++spin)
            std::this_thread::yield();
        git_->cancel();
        ASSERT_EQ(run.wait_for(deadline), std::future_status::ready) << i;
        EXPECT_FALSE(run.get()) << i;
    }
}

// ---- Lists of hashes -------------------------------------------------------------------------------

class ObjectIds : public Runner {
protected:
    // What reading this output gives: the number of ids, or the failure.
    std::string read(std::string_view output)
    {
        {
            std::ofstream file(folder_.path() / L"hashes", std::ios::binary);
            file.write(output.data(), static_cast<std::streamsize>(output.size()));
        }
        const auto ids = play_ids(L"file hashes");
        return ids ? fmt::format("{} ids", ids->size()) : git::to_utf8(ids.error());
    }
};

const std::string hash_a(40, 'a');
const std::string hash_b(40, 'b');

TEST_F(ObjectIds, AreOneALine)
{
    EXPECT_EQ(read(""), "0 ids");
    EXPECT_EQ(read(hash_a + "\n" + hash_b + "\n"), "2 ids");
    // Many reads, with lines that lie across their borders.
    std::string many;
    constexpr int count = 10'000;
    for (int i = 0; i < count; ++i)
        many += fmt::format("{:040x}\n", i);
    EXPECT_EQ(read(many), "10000 ids");
    const auto ids = play_ids(L"file hashes");
    ASSERT_TRUE(ids);
    char last[GIT_OID_SHA1_HEXSIZE + 1] = "";
    git_oid_tostr(last, sizeof last, &ids->back());
    EXPECT_EQ(last, fmt::format("{:040x}", count - 1));
}

TEST_F(ObjectIds, FailOrGetLostAsDesigned)
{
    const struct {
        std::string output;
        std::string result;
    } cases[] = {
        {hash_a + "\n" + hash_b, "1 ids"},
        {hash_a, "0 ids"},
        {hash_a + "\n" + std::string(40, 'x') + "\n", "s is not an OID"},
        {hash_a + "\r\n" + hash_b + "\r\n", "unexpected character: \n"},
        // The character that is named is always the first one of the second line.
        {hash_a + "!" + hash_b + "\n", "unexpected character: b"},
        {hash_a + "\n" + hash_b + "!" + hash_a + "\n", "unexpected character: b"},
        {hash_a + "!", std::string("unexpected character: \0", 23)},
        // The hash is looked at before what ends it.
        {std::string(40, 'x') + "!", "s is not an OID"},
    };
    for (const auto& [output, result] : cases)
        EXPECT_EQ(read(output), result) << output;
}

TEST_F(ObjectIds, AreReadPastMuchOnTheOtherStream)
{
    std::ofstream(folder_.path() / L"hashes", std::ios::binary) << hash_a << '\n';
    auto running = git::start_git(L"play flood-err 500000 file hashes exit 1", folder_.path());
    ASSERT_TRUE(running);
    const auto ids = git::read_object_ids(*running, *git_);
    ASSERT_TRUE(ids);
    EXPECT_EQ(ids->size(), 1U);
    EXPECT_EQ(git::exit_code(*running), 1U);
    // What was read beside is there for who asks for it.
    EXPECT_EQ(git::read_all(*running, git::Stream::Error, *git_)->size(), 500'000U);
}

// ---- The rest --------------------------------------------------------------------------------------

TEST(LastOutputLine, IsTheLineBeforeTheFinalLineFeed)
{
    const struct {
        const char* output;
        const char* line;
    } cases[] = {
        {"", ""},
        {"\n", ""},
        {"one", "one"},
        {"one\ntwo\n", "two"},
        {"one\n\n", ""},
        {"one\n  two words  \n", "two words"},
        {"one\n \ttab\t \n", "\ttab\t"},
        {"one\r\n", "one\r"},
        {"one\n   ", ""},
    };
    for (const auto& [output, line] : cases)
        EXPECT_EQ(git::last_output_line(output), line) << output;
}

}  // namespace
