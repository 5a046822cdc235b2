// Runs the git command line as a hidden child process and captures what it prints. Every call that
// reads blocks: background threads only, save where a caller has its own way of ending the run.
#pragma once

#include "git/error.h"
#include "git/git.h"
#include "win32/handle.h"

#include <git2/oid.h>
#include <windows.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace git {

enum class Stream { Output = 0, Error = 1 };

// What stands in front of the arguments of every command.
inline constexpr std::wstring_view COMMAND_PREFIX = L"git --no-pager ";
// The longest arguments that Windows can pass on: a command line has at most 32,767 characters with
// its terminating zero.
inline constexpr std::size_t MAX_ARGUMENTS_LENGTH = 32767 - 1 - COMMAND_PREFIX.size();

// The outcome of one plain command.
struct CommandResult {
    std::wstring command;  // the arguments, without "git --no-pager "
    std::string output;    // UTF-8; after a failure the failure's text
    bool ok = false;       // it started, its streams were read, its exit code was 0
    // Of the one git that ran, unless we have ended it.
    std::optional<std::uint32_t> exit_code = {};
};

// One started process. Destroying it terminates the process (harmless when it has ended) with all
// that it has started, a hook say, and closes all handles: a child never outlives its owner. What a
// child that has ended by itself left behind, a daemon of git's, lives on.
struct RunningGit {
    RunningGit() = default;
    RunningGit(RunningGit&&) noexcept = default;
    RunningGit& operator=(RunningGit&&) = delete;
    RunningGit(const RunningGit&) = delete;
    RunningGit& operator=(const RunningGit&) = delete;
    ~RunningGit();

    win32::KernelHandle stdout_read;
    win32::KernelHandle stderr_read;
    win32::KernelHandle process;
    win32::KernelHandle thread;
    win32::KernelHandle job;  // may be null
    std::uint32_t process_id = 0;
    std::uint32_t thread_id = 0;
    // By Stream: what was read of a stream while the other one was wanted, so that a child that
    // prints much on both never stalls. It comes first when this stream is wanted.
    std::array<std::string, 2> read_beside;
    // When the process was first seen to have ended.
    std::optional<std::chrono::steady_clock::time_point> ended_at;
};

// Whether "git.exe" is found on the search path.
bool is_git_available();

// Escapes a value that stands between double quotes in a command's text. A trailing backslash and a
// quote after two backslashes cannot be carried: see is_carried.
std::wstring quote_argument(std::wstring_view text);

// The words that a program finds after "git --no-pager" when its arguments are these. Nothing where
// the rules of Windows and those of the C run-time library, which differ for two double quotes in a
// row, do not lead to the same words.
std::optional<std::vector<std::wstring>> split_arguments(std::wstring_view arguments);
// Whether these are exactly `words`.
bool is_carried(std::wstring_view arguments, const std::vector<std::wstring>& words);

// Too long arguments fail before anything starts.
Result<RunningGit> start_git(std::wstring_view arguments,
                             const std::filesystem::path& working_directory);

// Appends what one blocking read of at most 65,536 bytes gives; 0 bytes at the end of the stream.
Result<std::size_t> read_chunk(HANDLE pipe, std::string& buffer, const Git::Run& run);
Result<std::size_t> read_chunk(HANDLE pipe, std::string& buffer, Git& git);
// The whole of one stream, until the child has ended. What something else that still holds the pipe
// writes later than a second after that end is not waited for.
Result<std::string> read_all(RunningGit& running, Stream stream, const Git::Run& run);
Result<std::string> read_all(RunningGit& running, Stream stream, Git& git);
// Standard output as one full hash a line; an unfinished last line is dropped.
Result<std::vector<git_oid>> read_object_ids(RunningGit& running, const Git::Run& run);
Result<std::vector<git_oid>> read_object_ids(RunningGit& running, Git& git);

bool is_running(const RunningGit& running);
// 0 when Windows does not tell.
std::uint32_t exit_code(const RunningGit& running);

// Why a run that shutdown() or cancel() ended has no result.
Error run_was_ended();

// One whole run in `working_directory`. `arguments` go after "git --no-pager " as they stand.
CommandResult run_git(std::wstring arguments, const std::filesystem::path& working_directory,
                      Stream stream, Git& git);

// The last line of an output, without surrounding spaces.
std::string last_output_line(std::string_view output);

}  // namespace git
