#include "tests/support/process_state.h"

#include "win32/handle.h"

#include <windows.h>
#include <tlhelp32.h>

#include <cstddef>
#include <cstring>
#include <cwchar>
#include <vector>

namespace support {

namespace {

// What Windows tells of each handle in the system; not in its headers.
struct SystemHandle {
    void* object;
    ULONG_PTR process_id;
    ULONG_PTR value;
    ULONG access;
    USHORT creator_trace;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
};

// Counts the handles of this process one by one: what GetProcessHandleCount says under Wine is
// always 0.
unsigned long count_handles()
{
    using Query = LONG(WINAPI*)(int what, void* buffer, ULONG size, ULONG* needed);
    constexpr int extended_handle_information = 64;
    constexpr auto too_small = static_cast<LONG>(0xC0000004U);
    const auto query = reinterpret_cast<Query>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation"));
    constexpr std::size_t header = 2 * sizeof(ULONG_PTR);  // the count, and a reserved word
    std::vector<std::byte> buffer(std::size_t{1} << 16U);
    LONG status = too_small;
    while ((status = query(extended_handle_information, buffer.data(),
                           static_cast<ULONG>(buffer.size()), nullptr)) == too_small)
        buffer.resize(2 * buffer.size());
    if (status != 0)
        return 0;
    ULONG_PTR all = 0;
    std::memcpy(&all, buffer.data(), sizeof all);
    unsigned long count = 0;
    for (ULONG_PTR i = 0; i < all; ++i) {
        SystemHandle handle{};
        std::memcpy(&handle, buffer.data() + header + i * sizeof handle, sizeof handle);
        count += handle.process_id == GetCurrentProcessId() ? 1U : 0U;
    }
    return count;
}

using SnapshotHandle = win32::UniqueHandle<HANDLE, ::CloseHandle, win32::invalid_file_handle>;

unsigned long count_windows()
{
    unsigned long count = 0;
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND, LPARAM counter) -> BOOL {
            ++*reinterpret_cast<unsigned long*>(counter);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&count));
    return count;
}

}  // namespace

ProcessState process_state()
{
    ProcessState state;
    state.handles = count_handles();
    state.windows = count_windows();
    const SnapshotHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL found = Process32FirstW(snapshot.get(), &entry); found;
         found = Process32NextW(snapshot.get(), &entry)) {
        if (entry.th32ProcessID == GetCurrentProcessId())
            state.threads = entry.cntThreads;
        else if (entry.th32ParentProcessID == GetCurrentProcessId() &&
                 _wcsicmp(entry.szExeFile, L"git.exe") == 0)
            ++state.git_processes;
    }
    return state;
}

}  // namespace support
