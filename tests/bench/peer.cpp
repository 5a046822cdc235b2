#include "tests/bench/peer.h"

#include "win32/handle.h"
#include "win32/text.h"

#include <array>
#include <stdexcept>
#include <string_view>

namespace bench {

namespace {

// Of the pipe and of one read.
constexpr DWORD CHUNK_SIZE = 65536;

std::size_t walk(const std::filesystem::path& folder)
{
    WIN32_FIND_DATAW found{};
    const win32::FindHandle search(FindFirstFileExW((folder / L"*").c_str(), FindExInfoBasic,
                                                    &found, FindExSearchNameMatch, nullptr,
                                                    FIND_FIRST_EX_LARGE_FETCH));
    if (!search)
        return 0;
    std::size_t files = 0;
    do {
        const std::wstring_view name = found.cFileName;
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            ++files;
        else if (name != L"." && name != L".." && name != L".git")
            files += walk(folder / name);
    } while (FindNextFileW(search.get(), &found));
    return files;
}

win32::FileHandle open_nowhere()
{
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return win32::FileHandle(CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                                         OPEN_EXISTING, 0, nullptr));
}

// Starts git without a window; all three streams can be inherited.
win32::KernelHandle start_git(const std::filesystem::path& folder, const std::wstring& arguments,
                              HANDLE nowhere, HANDLE output)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = startup.hStdError = nowhere;
    startup.hStdOutput = output;
    std::wstring line = L"git " + arguments;
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                        folder.c_str(), &startup, &started))
        throw std::runtime_error("git cannot be started");
    const win32::KernelHandle thread(started.hThread);
    return win32::KernelHandle(started.hProcess);
}

// The time from `start` until git has ended.
Milliseconds time_until_end(const win32::KernelHandle& git, Clock::time_point start,
                            const std::wstring& arguments)
{
    WaitForSingleObject(git.get(), INFINITE);
    const Milliseconds time = Clock::now() - start;
    DWORD exit_code = 0;
    GetExitCodeProcess(git.get(), &exit_code);
    if (exit_code != 0)
        throw std::runtime_error("git fails: " + win32::to_utf8(arguments));
    return time;
}

}  // namespace

Milliseconds time_git(const std::filesystem::path& folder, const std::wstring& arguments)
{
    const win32::FileHandle nowhere = open_nowhere();
    const Clock::time_point start = Clock::now();
    const win32::KernelHandle process = start_git(folder, arguments, nowhere.get(), nowhere.get());
    return time_until_end(process, start, arguments);
}

Milliseconds time_git(const std::filesystem::path& folder, const std::wstring& arguments,
                      std::string& answer)
{
    const win32::FileHandle nowhere = open_nowhere();
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    const Clock::time_point start = Clock::now();
    win32::KernelHandle read_end;
    win32::KernelHandle write_end;
    if (!CreatePipe(read_end.put(), write_end.put(), &inheritable, CHUNK_SIZE) ||
        !SetHandleInformation(read_end.get(), HANDLE_FLAG_INHERIT, 0))
        throw std::runtime_error("there is no pipe for what git prints");
    const win32::KernelHandle process =
        start_git(folder, arguments, nowhere.get(), write_end.get());
    // Git holds the only one from now on: the stream ends with it.
    write_end.reset();
    std::array<char, CHUNK_SIZE> chunk{};
    DWORD count = 0;
    answer.clear();
    while (ReadFile(read_end.get(), chunk.data(), CHUNK_SIZE, &count, nullptr))
        answer.append(chunk.data(), count);
    return time_until_end(process, start, arguments);
}

void refresh_index(const std::filesystem::path& repository)
{
    time_git(repository, L"status");
}

Milliseconds time_walk(const std::filesystem::path& folder, std::size_t& files)
{
    const Clock::time_point start = Clock::now();
    files = walk(folder);
    return Clock::now() - start;
}

}  // namespace bench
