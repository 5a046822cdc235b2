#include "sidebar/directory_watcher.h"

#include "changes/messages.h"

#include <array>
#include <cstring>
#include <utility>

namespace revlane {

namespace {

constexpr DWORD WATCHED_CHANGES =
    FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE;
constexpr std::size_t NOTIFICATION_BYTES = 1024;

// One read of a directory's changes. Its destructor ends a read that is still pending and waits for
// the end, since Windows writes into the buffer until then.
class ChangesRead {
public:
    explicit ChangesRead(HANDLE directory)
        : directory_(directory), completed_(CreateEventW(nullptr, FALSE, FALSE, nullptr))
    {
        overlapped_.hEvent = completed_.get();
    }
    ~ChangesRead()
    {
        if (!pending_)
            return;
        CancelIoEx(directory_, &overlapped_);
        DWORD bytes = 0;
        GetOverlappedResult(directory_, &overlapped_, &bytes, TRUE);
    }
    ChangesRead(const ChangesRead&) = delete;
    ChangesRead& operator=(const ChangesRead&) = delete;

    bool start()
    {
        buffer_.fill(std::byte{});
        pending_ = ReadDirectoryChangesW(directory_, buffer_.data(), NOTIFICATION_BYTES, TRUE,
                                         WATCHED_CHANGES, nullptr, &overlapped_, nullptr) != FALSE;
        return pending_;
    }
    // Signalled when the read that was started has ended.
    [[nodiscard]] HANDLE completed() const noexcept { return completed_.get(); }
    // Call once after `completed` was signalled.
    bool succeeded()
    {
        pending_ = false;
        DWORD bytes = 0;
        return GetOverlappedResult(directory_, &overlapped_, &bytes, FALSE) != FALSE;
    }
    [[nodiscard]] std::span<const std::byte> buffer() const noexcept { return buffer_; }

private:
    HANDLE directory_;
    win32::KernelHandle completed_;
    OVERLAPPED overlapped_{};
    alignas(FILE_NOTIFY_INFORMATION) std::array<std::byte, NOTIFICATION_BYTES> buffer_{};
    bool pending_ = false;
};

}  // namespace

std::wstring first_changed_name(std::span<const std::byte> buffer)
{
    constexpr std::size_t name_offset = offsetof(FILE_NOTIFY_INFORMATION, FileName);
    if (buffer.size() < name_offset)
        return {};
    DWORD name_bytes = 0;
    std::memcpy(&name_bytes, buffer.data() + offsetof(FILE_NOTIFY_INFORMATION, FileNameLength),
                sizeof name_bytes);
    if (name_bytes > buffer.size() - name_offset)
        return {};
    std::wstring name(name_bytes / sizeof(wchar_t), L'\0');
    std::memcpy(name.data(), buffer.data() + name_offset, name.size() * sizeof(wchar_t));
    return name;
}

bool is_inside_git_directory(std::wstring_view name) noexcept
{
    return name.starts_with(L".git\\");
}

bool ReportThrottle::drops(Clock::time_point now) const noexcept
{
    constexpr auto interval = std::chrono::milliseconds(500);
    return last_report_ >= now - interval;
}

DirectoryWatcher::DirectoryWatcher() = default;

DirectoryWatcher::~DirectoryWatcher()
{
    stop();
    pool_.purge();
}

void DirectoryWatcher::run(HWND window, std::filesystem::path directory)
{
    stop();
    stop_ = std::make_shared<win32::KernelHandle>(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    pool_.purge();
    pool_.detach_task([window, directory = std::move(directory), stop = stop_] {
        watch(window, directory, stop);
    });
}

void DirectoryWatcher::stop() noexcept
{
    // An automatic event stays signalled until a wait takes it, so a loop that is between two waits
    // ends at its next one.
    if (const StopEvent stop = std::exchange(stop_, nullptr))
        SetEvent(stop->get());
}

void DirectoryWatcher::watch(HWND window, const std::filesystem::path& directory,
                             const StopEvent& stop)
{
    const win32::FileHandle watched(
        CreateFileW(directory.c_str(), FILE_LIST_DIRECTORY,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
    if (!watched)
        return;
    ChangesRead read(watched.get());
    ReportThrottle throttle(ReportThrottle::Clock::now());
    const std::array<HANDLE, 2> waits{read.completed(), stop->get()};
    while (read.start()) {
        const DWORD ended =
            WaitForMultipleObjects(static_cast<DWORD>(waits.size()), waits.data(), FALSE, INFINITE);
        if (ended != WAIT_OBJECT_0 || !read.succeeded())
            return;
        const std::wstring name = first_changed_name(read.buffer());
        const auto now = ReportThrottle::Clock::now();
        if (throttle.drops(now))
            continue;
        OutputDebugStringW(L"[Revlane] file changed: ");
        OutputDebugStringW(name.c_str());
        OutputDebugStringW(L"\n");
        if (is_inside_git_directory(name))
            continue;
        if (window != nullptr)
            PostMessageW(window, WM_REVLANE_FILES_CHANGED, 0, 0);
        throttle.reported(now);
    }
}

}  // namespace revlane
