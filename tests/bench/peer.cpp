#include "tests/bench/peer.h"

#include "win32/handle.h"
#include "win32/text.h"

#include <stdexcept>
#include <string_view>

namespace bench {

namespace {

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

}  // namespace

Milliseconds time_git(const std::filesystem::path& folder, const std::wstring& arguments)
{
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    const win32::FileHandle nowhere(CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                                                OPEN_EXISTING, 0, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = startup.hStdOutput = startup.hStdError = nowhere.get();
    std::wstring line = L"git " + arguments;
    PROCESS_INFORMATION started{};
    const Clock::time_point start = Clock::now();
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                        folder.c_str(), &startup, &started))
        throw std::runtime_error("git cannot be started");
    const win32::KernelHandle process(started.hProcess);
    const win32::KernelHandle thread(started.hThread);
    WaitForSingleObject(process.get(), INFINITE);
    const Milliseconds time = Clock::now() - start;
    DWORD exit_code = 0;
    GetExitCodeProcess(process.get(), &exit_code);
    if (exit_code != 0)
        throw std::runtime_error("git fails: " + win32::to_utf8(line));
    return time;
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
