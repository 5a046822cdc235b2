// A stand-in for git.exe. It appends its command line to the file that REVLANE_RECORD names, and does
// one of two things: "git --no-pager play STEP..." does the steps, each a word with its argument;
// with any other arguments it prints "out" on standard output and "err" on standard error.
//
//   flood-out COUNT, flood-err COUNT   write COUNT bytes
//   flood-both COUNT                   write COUNT bytes on each of the two, in turns
//   file PATH                          write a file to standard output
//   out TEXT, err TEXT                 write the text
//   signal NAME, wait NAME             set an event, wait for one
//   pause MILLISECONDS                 do nothing for a while
//   leave NAME                         start another process that inherits both outputs and ends
//                                      when the event is set
//   exit CODE                          end with this code
#include "win32/handle.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <span>
#include <sstream>
#include <string>
#include <string_view>

namespace {

// A test that has forgotten its child must not leave it behind for ever.
constexpr DWORD longest_wait_ms = 120'000;

void write(DWORD stream, std::string_view text)
{
    while (!text.empty()) {
        DWORD written = 0;
        if (!WriteFile(GetStdHandle(stream), text.data(), static_cast<DWORD>(text.size()), &written,
                       nullptr))
            return;
        text.remove_prefix(written);
    }
}

void flood(const std::wstring& count, std::initializer_list<DWORD> streams)
{
    const std::string block(4096, 'x');
    for (std::size_t left = std::stoul(count); left > 0;) {
        const std::size_t size = std::min(left, block.size());
        for (const DWORD stream : streams)
            write(stream, std::string_view(block).substr(0, size));
        left -= size;
    }
}

std::string narrow(std::wstring_view text)
{
    std::string bytes(text.size() * 4, '\0');
    const int count =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                            static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

// The event of a test; null when the test has ended and its event is gone.
win32::KernelHandle event_named(const std::wstring& name)
{
    return win32::KernelHandle(OpenEventW(SYNCHRONIZE | EVENT_MODIFY_STATE, FALSE, name.c_str()));
}

void leave_child(const std::wstring& event)
{
    std::array<wchar_t, MAX_PATH> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    std::wstring line = L"git --no-pager play wait " + event;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(self.data(), line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                        nullptr, &startup, &started))
        return;
    const win32::KernelHandle process(started.hProcess);
    const win32::KernelHandle thread(started.hThread);
}

void play(const std::wstring& step, const std::wstring& argument)
{
    if (step == L"flood-out") {
        flood(argument, {STD_OUTPUT_HANDLE});
    } else if (step == L"flood-err") {
        flood(argument, {STD_ERROR_HANDLE});
    } else if (step == L"flood-both") {
        flood(argument, {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE});
    } else if (step == L"file") {
        std::ostringstream text;
        text << std::ifstream(std::filesystem::path(argument), std::ios::binary).rdbuf();
        write(STD_OUTPUT_HANDLE, text.view());
    } else if (step == L"out") {
        write(STD_OUTPUT_HANDLE, narrow(argument));
    } else if (step == L"err") {
        write(STD_ERROR_HANDLE, narrow(argument));
    } else if (step == L"signal") {
        SetEvent(event_named(argument).get());
    } else if (step == L"wait") {
        WaitForSingleObject(event_named(argument).get(), longest_wait_ms);
    } else if (step == L"pause") {
        Sleep(std::stoul(argument));
    } else if (step == L"leave") {
        leave_child(argument);
    } else if (step == L"exit") {
        ExitProcess(std::stoul(argument));
    }
}

// Texts that end in zeros: the command line as it came, the number of arguments, and each of these as
// the run-time library has split it.
void record(std::span<wchar_t*> arguments)
{
    std::array<wchar_t, MAX_PATH> path{};
    if (GetEnvironmentVariableW(L"REVLANE_RECORD", path.data(), static_cast<DWORD>(path.size())) ==
        0)
        return;
    std::wstring text = GetCommandLineW();
    ((text += L'\0') += std::to_wstring(arguments.size())) += L'\0';
    for (const wchar_t* argument : arguments)
        (text += argument) += L'\0';
    std::ofstream file(std::filesystem::path(path.data()), std::ios::binary | std::ios::app);
    file.write(reinterpret_cast<const char*>(text.data()),
               static_cast<std::streamsize>(text.size() * sizeof(wchar_t)));
}

}  // namespace

int wmain(int count, wchar_t** values)
{
    const std::span arguments(values, static_cast<std::size_t>(count));
    record(arguments);
    if (count < 3 || std::wstring_view(arguments[2]) != L"play") {
        write(STD_OUTPUT_HANDLE, "out\n");
        write(STD_ERROR_HANDLE, "err\n");
        return 0;
    }
    for (std::size_t i = 3; i + 1 < arguments.size(); i += 2)
        play(arguments[i], arguments[i + 1]);
    return 0;
}
