#include "sidebar/reference_stamps.h"

#include "git/git.h"
#include "win32/handle.h"
#include "win32/long_path.h"
#include "win32/text.h"

#include <windows.h>

#include <string_view>

namespace revlane {

namespace {

// Mixes a value into a sum so that the order and the number of the values count.
std::uint64_t mix(std::uint64_t sum, std::uint64_t value)
{
    constexpr std::uint64_t prime = 1099511628211U;  // of the FNV-1a hash
    return (sum ^ value) * prime;
}

std::uint64_t joined(DWORD high, DWORD low)
{
    return (std::uint64_t{high} << 32U) | low;
}

std::uint64_t file_stamp(const std::filesystem::path& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(win32::long_path(path).c_str(), GetFileExInfoStandard, &data))
        return 0;
    const std::uint64_t time =
        joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime);
    return mix(mix(1, time), joined(data.nFileSizeHigh, data.nFileSizeLow));
}

// The folder's own time and those of the folders in it.
std::uint64_t folder_stamp(const std::filesystem::path& path)
{
    std::uint64_t stamp = file_stamp(path);
    if (stamp == 0)
        return 0;
    WIN32_FIND_DATAW entry{};
    const win32::FindHandle search(FindFirstFileExW(win32::long_path(path / L"*").c_str(),
                                                    FindExInfoBasic, &entry,
                                                    FindExSearchLimitToDirectories, nullptr, 0));
    if (!search)
        return stamp;
    do {
        const std::wstring_view name(entry.cFileName);
        const bool is_folder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
                               (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
        if (is_folder && name != L"." && name != L"..")
            stamp = mix(stamp, folder_stamp(path / name));
    } while (FindNextFileW(search.get(), &entry));
    return stamp;
}

std::filesystem::path folder_of(const char* path)
{
    return path != nullptr ? std::filesystem::path(win32::to_wide(path)) : std::filesystem::path();
}

}  // namespace

ReferenceFolders reference_folders(git_repository* repository)
{
    return {folder_of(git_repository_path(repository)),
            folder_of(git_repository_commondir(repository))};
}

ReferenceStamps read_reference_stamps(const ReferenceFolders& folders)
{
    return {{
        file_stamp(folders.own / L"HEAD"),
        file_stamp(folders.own / L"index"),
        file_stamp(folders.own / L"FETCH_HEAD"),
        file_stamp(folders.common / L"packed-refs"),
        folder_stamp(folders.common / L"refs"),
    }};
}

}  // namespace revlane
