#include "git/folder_listings.h"

#include "win32/handle.h"
#include "win32/long_path.h"
#include "win32/text.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <system_error>
#include <utility>

namespace git {

namespace {

// Two threads list a working tree in half the time of one; three take no less than two.
constexpr std::size_t THREADS = 2;
// Folders that are listed ahead at most: enough for threads of uneven speed, and no memory to speak of.
constexpr std::size_t LISTED_AHEAD = 128;

class Lock {
public:
    explicit Lock(SRWLOCK& lock) noexcept : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
    ~Lock() { ReleaseSRWLockExclusive(&lock_); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    SRWLOCK& lock_;
};

}  // namespace

std::vector<std::string> folders_of(git_index* index)
{
    std::vector<std::string> folders{""};
    std::string_view last;
    const std::size_t count = git_index_entrycount(index);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string_view path = git_index_get_byindex(index, i)->path;
        const std::string_view folder = path.substr(0, path.rfind('/') + 1);
        if (folder == last)
            continue;
        // What the two have in common is in the list.
        const std::size_t differs = static_cast<std::size_t>(
            std::mismatch(folder.begin(), folder.end(), last.begin(), last.end()).first -
            folder.begin());
        for (std::size_t slash = folder.find('/', differs); slash != std::string_view::npos;
             slash = folder.find('/', slash + 1))
            folders.emplace_back(folder.substr(0, slash + 1));
        last = folder;
    }
    return folders;
}

FolderListings::FolderListings(std::string workdir, std::vector<std::string> folders)
    : workdir_(std::move(workdir)), lister_{on_open, on_next, this}
{
    folders_.reserve(folders.size());
    for (std::string& path : folders)
        folders_.push_back({std::move(path), State::Waiting, std::nullopt});
    numbers_.reserve(folders_.size());
    for (std::size_t i = 0; i < folders_.size(); ++i)
        numbers_.emplace(folders_[i].path, i);
    threads_.reserve(THREADS);
    try {
        while (threads_.size() < THREADS)
            threads_.emplace_back([this] { work(); });
    } catch (const std::system_error&) {  // NOLINT(bugprone-empty-catch): fewer threads do as well
    }
}

FolderListings::~FolderListings()
{
    {
        const Lock guard(lock_);
        is_ending_ = true;
    }
    WakeAllConditionVariable(&may_list_);
    for (std::thread& thread : threads_)
        thread.join();
}

std::optional<FolderListings::Listing> FolderListings::list(const std::wstring& folder)
{
    WIN32_FIND_DATAW found{};
    const std::filesystem::path pattern = win32::long_path(folder + L'*');
    const win32::FindHandle search(FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &found,
                                                    FindExSearchNameMatch, nullptr,
                                                    FIND_FIRST_EX_LARGE_FETCH));
    if (!search)
        return std::nullopt;
    Listing listing;
    do {
        listing.names += found.cFileName;
        listing.entries.push_back(
            {{found.dwFileAttributes, found.ftCreationTime, found.ftLastAccessTime,
              found.ftLastWriteTime, found.nFileSizeHigh, found.nFileSizeLow},
             listing.names.size()});
    } while (FindNextFileW(search.get(), &found));
    if (GetLastError() != ERROR_NO_MORE_FILES)
        return std::nullopt;
    return listing;
}

int FolderListings::on_open(const char* path, void* payload) noexcept
{
    return static_cast<FolderListings*>(payload)->open(path) ? GIT_OK : GIT_PASSTHROUGH;
}

int FolderListings::on_next(void* find_data, void* payload) noexcept
{
    auto& found = *static_cast<WIN32_FIND_DATAW*>(find_data);
    return static_cast<FolderListings*>(payload)->next(found) ? GIT_OK : GIT_ITEROVER;
}

bool FolderListings::open(std::string_view path) noexcept
{
    if (!path.starts_with(workdir_))
        return false;
    const auto found = numbers_.find(path.substr(workdir_.size()));
    if (found == numbers_.end())
        return false;
    const Lock guard(lock_);
    const std::size_t behind = found->second + 1;
    reached_ = std::max(reached_, behind);
    // What the diff has passed over it does not come back to.
    next_ = std::max(next_, behind);
    if (may_list_more())
        WakeAllConditionVariable(&may_list_);
    Folder& folder = folders_[found->second];
    if (folder.state == State::Waiting)
        folder.state = State::LeftToDiff;
    while (folder.state == State::Listing)
        SleepConditionVariableSRW(&listed_, &lock_, INFINITE, 0);
    if (!folder.listing)
        return false;
    current_ = std::move(*folder.listing);
    folder.listing.reset();
    current_entry_ = 0;
    current_name_ = 0;
    return true;
}

bool FolderListings::next(WIN32_FIND_DATAW& found) noexcept
{
    if (current_entry_ == current_.entries.size())
        return false;
    const Listing::Entry& entry = current_.entries[current_entry_++];
    found.dwFileAttributes = entry.data.dwFileAttributes;
    found.ftCreationTime = entry.data.ftCreationTime;
    found.ftLastAccessTime = entry.data.ftLastAccessTime;
    found.ftLastWriteTime = entry.data.ftLastWriteTime;
    found.nFileSizeHigh = entry.data.nFileSizeHigh;
    found.nFileSizeLow = entry.data.nFileSizeLow;
    const std::size_t length = entry.name_end - current_name_;
    current_.names.copy(found.cFileName, length, current_name_);
    found.cFileName[length] = L'\0';
    current_name_ = entry.name_end;
    return true;
}

bool FolderListings::may_list_more() const noexcept
{
    return next_ < folders_.size() && next_ < reached_ + LISTED_AHEAD;
}

void FolderListings::work() noexcept
{
    const Lock guard(lock_);
    while (!is_ending_ && next_ < folders_.size()) {
        if (!may_list_more()) {
            SleepConditionVariableSRW(&may_list_, &lock_, INFINITE, 0);
            continue;
        }
        Folder& folder = folders_[next_++];
        if (folder.state != State::Waiting)
            continue;
        folder.state = State::Listing;
        ReleaseSRWLockExclusive(&lock_);
        std::optional<Listing> listing;
        try {
            listing = list(win32::to_wide(workdir_ + folder.path));
        } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): it is left to the diff
        }
        AcquireSRWLockExclusive(&lock_);
        folder.listing = std::move(listing);
        folder.state = State::Listed;
        WakeConditionVariable(&listed_);
    }
}

}  // namespace git
