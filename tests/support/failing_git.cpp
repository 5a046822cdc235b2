// A git.exe that hands its arguments on to the real one, which REVLANE_REAL_GIT names, but fails at
// one of its starts: REVLANE_FAIL_AT is its number, counted from 1 in the file REVLANE_STARTS, or 0
// for every start. REVLANE_FAIL_HOW says how it goes wrong:
//
//   before      it fails at once
//   after       it fails when the real git has done its work
//   hang        it sets the event REVLANE_FAIL_EVENT when the real git has done its work, and stays
//   stay        it does nothing, and stays
//   translated  it ends as the real git does, but says in another language that it has failed
#include "win32/handle.h"

#include <windows.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

// A test that has forgotten its child must not leave it behind for ever.
constexpr DWORD longest_wait_ms = 120'000;
constexpr int failure = 1;

std::wstring variable(const wchar_t* name)
{
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

// The number of this start.
unsigned long count_start()
{
    const std::filesystem::path file = variable(L"REVLANE_STARTS");
    std::ofstream(file, std::ios::binary | std::ios::app).put('.');
    return static_cast<unsigned long>(std::filesystem::file_size(file));
}

int run_real_git(HANDLE errors = GetStdHandle(STD_ERROR_HANDLE))
{
    const std::wstring program = variable(L"REVLANE_REAL_GIT");
    // The runs of git that git itself starts are not ours to count.
    const std::wstring folder = std::filesystem::path(program).parent_path();
    SetEnvironmentVariableW(L"PATH", (folder + L';' + variable(L"PATH")).c_str());
    std::wstring line = GetCommandLineW();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = errors;
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW,
                        nullptr, nullptr, &startup, &started))
        return failure;
    const win32::KernelHandle process(started.hProcess);
    const win32::KernelHandle thread(started.hThread);
    WaitForSingleObject(process.get(), longest_wait_ms);
    DWORD exit_code = 0;
    GetExitCodeProcess(process.get(), &exit_code);
    return static_cast<int>(exit_code);
}

int run_translated_git()
{
    // Without a handle the real git's own words go nowhere.
    const int exit_code = run_real_git(nullptr);
    if (exit_code != 0) {
        constexpr std::string_view words = "Das ist nicht gelungen.\n";
        DWORD written = 0;
        WriteFile(GetStdHandle(STD_ERROR_HANDLE), words.data(), static_cast<DWORD>(words.size()),
                  &written, nullptr);
    }
    return exit_code;
}

}  // namespace

int wmain()
{
    const unsigned long start = count_start();
    const unsigned long fails_at = std::stoul(variable(L"REVLANE_FAIL_AT"));
    if (fails_at != 0 && fails_at != start)
        return run_real_git();
    const std::wstring how = variable(L"REVLANE_FAIL_HOW");
    if (how == L"translated")
        return run_translated_git();
    if (how == L"after" || how == L"hang")
        run_real_git();
    if (how == L"hang") {
        const win32::KernelHandle event(
            OpenEventW(EVENT_MODIFY_STATE, FALSE, variable(L"REVLANE_FAIL_EVENT").c_str()));
        SetEvent(event.get());
    }
    if (how == L"hang" || how == L"stay")
        Sleep(longest_wait_ms);
    return failure;
}
