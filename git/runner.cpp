#include "git/runner.h"

#include "win32/process_tree.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <fmt/xchar.h>
#include <git2.h>
#include <gsl/narrow>
#include <shellapi.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <utility>

namespace git {

namespace {

using namespace std::chrono_literals;

// Of the pipes and of one read.
constexpr DWORD CHUNK_SIZE = 65536;
// The pauses between two looks at a child that prints nothing, or in small pieces: they grow up to the
// longest, at which a child begins. A child that writes line by line is held up by whoever reads as often.
constexpr DWORD SHORTEST_PAUSE_MS = 1;
constexpr DWORD LONGEST_PAUSE_MS = 20;
// Behind a piece as large as this more is waiting already, or will be soon.
constexpr std::size_t LARGE_PIECE = 4096;
// How long a stream is read on after the child has ended because something else still holds it.
constexpr auto ABANDONED_AFTER = 1s;

// A hash in text form and its line feed.
constexpr std::size_t RECORD_SIZE = GIT_OID_SHA1_HEXSIZE + 1;

struct Pipe {
    win32::KernelHandle read_end;
    win32::KernelHandle write_end;
};

// Only the write end can be inherited.
Result<Pipe> create_output_pipe()
{
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    Pipe pipe;
    if (!CreatePipe(pipe.read_end.put(), pipe.write_end.put(), &inheritable, CHUNK_SIZE) ||
        !SetHandleInformation(pipe.read_end.get(), HANDLE_FLAG_INHERIT, 0))
        return tl::unexpected(error_from_last_windows_error());
    return pipe;
}

std::size_t index_of(Stream stream) noexcept
{
    return static_cast<std::size_t>(stream);
}

Stream other_than(Stream stream) noexcept
{
    return stream == Stream::Output ? Stream::Error : Stream::Output;
}

HANDLE pipe_of(const RunningGit& running, Stream stream) noexcept
{
    return (stream == Stream::Output ? running.stdout_read : running.stderr_read).get();
}

bool has_ended_within(const RunningGit& running, DWORD milliseconds) noexcept
{
    return WaitForSingleObject(running.process.get(), milliseconds) == WAIT_OBJECT_0;
}

// Whether a read would not block: bytes wait, or there is nothing to come any more.
bool can_read_at_once(HANDLE pipe) noexcept
{
    DWORD available = 0;
    return !PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr) || available > 0;
}

// Whether the child has ended, and has left whatever still holds its streams enough time.
struct End {
    bool has_come = false;
    bool is_long_ago = false;
};

End look_at_the_end(RunningGit& running) noexcept
{
    const auto now = std::chrono::steady_clock::now();
    if (!running.ended_at && has_ended_within(running, 0))
        running.ended_at = now;
    return {running.ended_at.has_value(),
            running.ended_at && now - *running.ended_at >= ABANDONED_AFTER};
}

using OnChunk = std::function<Result<void>()>;

// What one look at a child has given.
struct Look {
    std::size_t count = 0;  // bytes of both streams
    bool is_done = false;   // the wanted stream and the child are at their end
};

// Reads at most one chunk of each stream. It never blocks: a stream is read only when something waits,
// and the other one too, so that the child never waits for a reader of it.
Result<Look> look(RunningGit& running, Stream stream, const Git::Run& run, std::string& buffer,
                  const OnChunk& on_chunk)
{
    const Stream other = other_than(stream);
    // Asked before the reads, so that nothing the child wrote last is missed.
    const End end = look_at_the_end(running);
    Look seen;
    if (can_read_at_once(pipe_of(running, other))) {
        if (const auto beside =
                read_chunk(pipe_of(running, other), running.read_beside[index_of(other)], run))
            seen.count += *beside;
    }
    const bool can_read = can_read_at_once(pipe_of(running, stream));
    Result<std::size_t> count = 0;
    if (can_read)
        count = read_chunk(pipe_of(running, stream), buffer, run);
    if (run.was_ended())
        return tl::unexpected(run_was_ended());
    if (!count)
        return tl::unexpected(std::move(count).error());
    seen.count += *count;
    if (*count > 0) {
        if (Result<void> taken = on_chunk(); !taken)
            return tl::unexpected(std::move(taken).error());
    }
    const bool is_at_end = can_read && *count == 0;
    seen.is_done = end.has_come && (is_at_end || end.is_long_ago);
    return seen;
}

// Reads `stream` into `buffer`; `on_chunk` is called each time that something came, and its failure
// ends the reading.
Result<void> read_stream(RunningGit& running, Stream stream, const Git::Run& run,
                         std::string& buffer, const OnChunk& on_chunk)
{
    buffer = std::exchange(running.read_beside[index_of(stream)], {});
    if (Result<void> taken = on_chunk(); !taken)
        return taken;
    DWORD pause = LONGEST_PAUSE_MS;
    for (;;) {
        const Result<Look> seen = look(running, stream, run, buffer, on_chunk);
        if (!seen)
            return tl::unexpected(seen.error());
        if (seen->is_done)
            return {};
        // There is more, or the last: the streams end with the child, or a moment later.
        if (seen->count >= LARGE_PIECE || (!running.ended_at && has_ended_within(running, pause))) {
            pause = SHORTEST_PAUSE_MS;
        } else {
            if (running.ended_at && seen->count == 0)
                Sleep(pause);
            pause = std::min(pause * 2, LONGEST_PAUSE_MS);
        }
    }
}

// Takes the complete records from the front of `buffer`.
Result<void> take_object_ids(std::string& buffer, std::vector<git_oid>& ids)
{
    std::size_t taken = 0;
    for (; buffer.size() - taken >= RECORD_SIZE; taken += RECORD_SIZE) {
        git_oid id{};
        if (git_oid_fromstr(&id, buffer.c_str() + taken) != 0)
            return tl::unexpected(Error::own("s is not an OID"));
        ids.push_back(id);
        // The message names the first byte after the first record, whichever record it was that
        // did not end in a line feed.
        if (buffer[taken + GIT_OID_SHA1_HEXSIZE] != '\n')
            return tl::unexpected(
                Error::own(fmt::format("unexpected character: {}", buffer.c_str()[RECORD_SIZE])));
    }
    buffer.erase(0, taken);
    return {};
}

bool is_blank(wchar_t c) noexcept
{
    return c == L' ' || c == L'\t';
}

// Takes one word from the front of `text` as the C run-time library does: a double quote begins and
// ends a quoted stretch, two in a row within one stand for one, and backslashes are special only
// before a double quote.
std::wstring take_word(std::wstring_view& text)
{
    std::wstring word;
    bool quoted = false;
    std::size_t i = 0;
    while (i < text.size() && (quoted || !is_blank(text[i]))) {
        const std::size_t next = std::min(text.find_first_not_of(L'\\', i), text.size());
        const std::size_t backslashes = next - i;
        const bool before_quote = next < text.size() && text[next] == L'"';
        i = next;
        if (backslashes > 0) {
            word.append(before_quote ? backslashes / 2 : backslashes, L'\\');
            if (before_quote && backslashes % 2 == 1) {
                word += L'"';
                ++i;
            }
        } else if (!before_quote) {
            word += text[i++];
        } else if (quoted && i + 1 < text.size() && text[i + 1] == L'"') {
            word += L'"';
            i += 2;
        } else {
            quoted = !quoted;
            ++i;
        }
    }
    text.remove_prefix(i);
    return word;
}

std::vector<std::wstring> split_as_run_time_library(std::wstring_view text)
{
    std::vector<std::wstring> words;
    for (;;) {
        while (!text.empty() && is_blank(text.front()))
            text.remove_prefix(1);
        if (text.empty())
            return words;
        words.push_back(take_word(text));
    }
}

std::vector<std::wstring> split_as_windows(const std::wstring& command_line)
{
    using LocalWords = win32::UniqueHandle<HLOCAL, ::LocalFree>;
    int count = 0;
    wchar_t** first = CommandLineToArgvW(command_line.c_str(), &count);
    if (first == nullptr)
        return {};
    const LocalWords words(static_cast<HLOCAL>(first));
    return {first, first + count};
}

}  // namespace

RunningGit::~RunningGit()
{
    if (process)
        win32::end_process_tree(process.get(), job.get());
}

bool is_git_available()
{
    std::array<wchar_t, MAX_PATH> found{};
    return SearchPathW(nullptr, L"git.exe", nullptr, static_cast<DWORD>(found.size()), found.data(),
                       nullptr) != 0;
}

std::wstring quote_argument(std::wstring_view text)
{
    std::wstring quoted;
    quoted.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'"') {
            quoted += LR"(\")";
        } else if (text[i] == L'\\' && i + 1 < text.size() && text[i + 1] == L'"') {
            quoted += LR"(\\\")";
            ++i;
        } else {
            quoted += text[i];
        }
    }
    return quoted;
}

std::optional<std::vector<std::wstring>> split_arguments(std::wstring_view arguments)
{
    std::wstring command_line(COMMAND_PREFIX);
    command_line += arguments;
    std::vector<std::wstring> words = split_as_windows(command_line);
    if (words.size() < 2 || words != split_as_run_time_library(command_line))
        return std::nullopt;
    words.erase(words.begin(), words.begin() + 2);
    return words;
}

bool is_carried(std::wstring_view arguments, const std::vector<std::wstring>& words)
{
    return split_arguments(arguments) == words;
}

Result<RunningGit> start_git(std::wstring_view arguments,
                             const std::filesystem::path& working_directory)
{
    if (arguments.size() > MAX_ARGUMENTS_LENGTH)
        return tl::unexpected(Error::own(
            fmt::format("The command is too long: it has {} characters and Windows passes on {}.",
                        arguments.size(), MAX_ARGUMENTS_LENGTH)));
    std::wstring command_line(COMMAND_PREFIX);
    command_line += arguments;

    // A child inherits every handle that can be inherited at the moment of its start. One at a time:
    // a write end that another child has inherited too would keep the stream open after its end.
    static std::mutex starting;
    const std::lock_guard guard(starting);

    Result<Pipe> output = create_output_pipe();
    if (!output)
        return tl::unexpected(std::move(output).error());
    Result<Pipe> error = create_output_pipe();
    if (!error)
        return tl::unexpected(std::move(error).error());

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output->write_end.get();
    startup.hStdError = error->write_end.get();
    PROCESS_INFORMATION started{};
    const bool ok =
        CreateProcessW(nullptr, command_line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW,
                       nullptr, working_directory.c_str(), &startup, &started);
    if (!ok)
        return tl::unexpected(
            Error::system(fmt::format(L"Could not start git. Make sure git is installed and "
                                      L"callable from Command Prompt.\n{}",
                                      windows_error_text(GetLastError()))));

    RunningGit running;
    running.stdout_read = std::move(output->read_end);
    running.stderr_read = std::move(error->read_end);
    running.process.reset(started.hProcess);
    running.thread.reset(started.hThread);
    // It cannot have started anything yet: Windows is still loading it.
    running.job = win32::make_job(started.hProcess);
    running.process_id = started.dwProcessId;
    running.thread_id = started.dwThreadId;
    return running;
}

Result<std::size_t> read_chunk(HANDLE pipe, std::string& buffer, const Git::Run& run)
{
    const std::size_t old_size = buffer.size();
    buffer.resize(old_size + CHUNK_SIZE);
    DWORD count = 0;
    DWORD failure = ERROR_SUCCESS;
    {
        const Git::ReadScope registered(run, pipe);
        if (!registered.may_read())
            failure = ERROR_OPERATION_ABORTED;
        else if (!ReadFile(pipe, buffer.data() + old_size, CHUNK_SIZE, &count, nullptr))
            failure = GetLastError();
    }
    buffer.resize(old_size + count);
    if (failure != ERROR_SUCCESS && failure != ERROR_BROKEN_PIPE)
        return tl::unexpected(Error::system(windows_error_text(failure)));
    return count;
}

Result<std::size_t> read_chunk(HANDLE pipe, std::string& buffer, Git& git)
{
    return read_chunk(pipe, buffer, Git::Run(git));
}

Result<std::string> read_all(RunningGit& running, Stream stream, const Git::Run& run)
{
    std::string text;
    Result<void> read = read_stream(running, stream, run, text, [] { return Result<void>(); });
    if (!read)
        return tl::unexpected(std::move(read).error());
    return text;
}

Result<std::string> read_all(RunningGit& running, Stream stream, Git& git)
{
    return read_all(running, stream, Git::Run(git));
}

Result<std::vector<git_oid>> read_object_ids(RunningGit& running, const Git::Run& run)
{
    std::vector<git_oid> ids;
    std::string buffer;
    Result<void> read = read_stream(running, Stream::Output, run, buffer,
                                    [&] { return take_object_ids(buffer, ids); });
    if (!read)
        return tl::unexpected(std::move(read).error());
    return ids;
}

Result<std::vector<git_oid>> read_object_ids(RunningGit& running, Git& git)
{
    return read_object_ids(running, Git::Run(git));
}

bool is_running(const RunningGit& running)
{
    DWORD code = 0;
    return GetExitCodeProcess(running.process.get(), &code) && code == STILL_ACTIVE;
}

std::uint32_t exit_code(const RunningGit& running)
{
    DWORD code = 0;
    return GetExitCodeProcess(running.process.get(), &code) ? code : 0;
}

Error run_was_ended()
{
    return Error::system(windows_error_text(ERROR_OPERATION_ABORTED));
}

CommandResult run_git(std::wstring arguments, const std::filesystem::path& working_directory,
                      Stream stream, Git& git)
{
    CommandResult result{std::move(arguments), {}, false};
    const auto failed = [&](const Error& error) {
        result.output = to_utf8(error);
        result.ok = false;
        return result;
    };
    const Git::Run run(git);
    if (run.was_ended())
        return failed(run_was_ended());
    Result<RunningGit> running = start_git(result.command, working_directory);
    if (!running)
        return failed(running.error());
    const Git::RunScope registered(run, running->process.get(), running->job.get());

    Result<std::string> text = read_all(*running, stream, run);
    if (!text)
        return failed(text.error());
    result.output = std::move(*text);
    const std::uint32_t code = exit_code(*running);
    result.ok = code == 0;
    if (!result.ok) {
        const Result<std::string> report = read_all(*running, Stream::Error, run);
        if (!report)
            return failed(report.error());
        result.output += *report;
    }
    if (run.was_ended())
        return failed(run_was_ended());
    result.exit_code = code;
    return result;
}

std::string last_output_line(std::string_view output)
{
    if (output.ends_with('\n'))
        output.remove_suffix(1);
    // npos + 1 is 0: without a line feed the whole text is the last line.
    output.remove_prefix(output.rfind('\n') + 1);
    const std::size_t first = output.find_first_not_of(' ');
    if (first == std::string_view::npos)
        return {};
    return std::string(output.substr(first, output.find_last_not_of(' ') - first + 1));
}

}  // namespace git
