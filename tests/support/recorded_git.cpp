#include "tests/support/recorded_git.h"

#include <windows.h>

#include <array>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace support {

namespace {

namespace fs = std::filesystem;

std::wstring variable(const wchar_t* name)
{
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

// The build puts each stand-in into a folder of its own beside the test program, so that only the
// tests that ask for it find it.
fs::path stand_in_folder(const wchar_t* name)
{
    std::array<wchar_t, MAX_PATH> program{};
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    fs::path folder = fs::path(program.data()).parent_path() / name;
    if (!fs::exists(folder / L"git.exe"))
        throw std::runtime_error("the stand-in for git.exe was not built");
    return folder;
}

// The path on which the stand-in comes first.
std::wstring path_with(const wchar_t* stand_in)
{
    return stand_in_folder(stand_in).native() + L';' + variable(L"PATH");
}

std::wstring real_git()
{
    std::array<wchar_t, MAX_PATH> found{};
    SearchPathW(nullptr, L"git.exe", nullptr, static_cast<DWORD>(found.size()), found.data(),
                nullptr);
    return found.data();
}

}  // namespace

ScopedVariable::ScopedVariable(const wchar_t* name, const wchar_t* value)
    : name_(name), existed_(GetEnvironmentVariableW(name, nullptr, 0) > 0), former_(variable(name))
{
    SetEnvironmentVariableW(name_, value);
}

ScopedVariable::~ScopedVariable()
{
    SetEnvironmentVariableW(name_, existed_ ? former_.c_str() : nullptr);
}

RecordedGit::RecordedGit()
    : path_(L"PATH", path_with(L"recording_git").c_str()),
      record_(L"REVLANE_RECORD", (folder_.path() / L"runs").c_str())
{
}

std::vector<RecordedRun> RecordedGit::take_runs()
{
    // A run that is being written down keeps its file from being renamed: it is of the next call.
    const fs::path taken_file = folder_.path() / L"taken";
    std::error_code failed;
    fs::rename(folder_.path() / L"runs", taken_file, failed);
    if (failed)
        return {};
    std::ifstream file(taken_file, std::ios::binary);
    std::wstring bytes(fs::file_size(taken_file) / sizeof(wchar_t), L'\0');
    file.read(reinterpret_cast<char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size() * sizeof(wchar_t)));

    std::wstring_view text = bytes;
    const auto take_text = [&text] {
        std::wstring taken(text.substr(0, text.find(L'\0')));
        text.remove_prefix(taken.size() + 1);
        return taken;
    };
    std::vector<RecordedRun> runs;
    while (!text.empty()) {
        RecordedRun& run = runs.emplace_back();
        run.command_line = take_text();
        for (unsigned long left = std::stoul(take_text()); left > 0; --left)
            run.arguments.push_back(take_text());
    }
    return runs;
}

std::vector<std::wstring> RecordedGit::take_command_lines()
{
    std::vector<std::wstring> lines;
    for (RecordedRun& run : take_runs())
        lines.push_back(std::move(run.command_line));
    return lines;
}

FailingGit::FailingGit(int at, const wchar_t* how)
    : real_(L"REVLANE_REAL_GIT", real_git().c_str()),
      path_(L"PATH", path_with(L"failing_git").c_str()),
      starts_(L"REVLANE_STARTS", (folder_.path() / L"starts").c_str()),
      at_(L"REVLANE_FAIL_AT", std::to_wstring(at).c_str()), how_(L"REVLANE_FAIL_HOW", how)
{
}

std::size_t FailingGit::starts() const
{
    // One byte a start; there is no file before the first.
    std::error_code failed;
    const auto size = fs::file_size(folder_.path() / L"starts", failed);
    return failed ? 0 : static_cast<std::size_t>(size);
}

}  // namespace support
