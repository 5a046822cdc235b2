#include "git/folder_listings.h"

#include "git/handles.h"
#include "tests/support/temp_repository.h"
#include "win32/handle.h"
#include "win32/long_path.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <map>
#include <optional>

namespace {

using git::FolderListings;
using support::TempFolder;
using support::TempRepository;

// What a listing says of one entry.
struct Known {
    DWORD attributes;
    std::uint64_t size;
    std::uint64_t written;

    friend bool operator==(const Known&, const Known&) = default;
};
using Entries = std::map<std::wstring, Known>;

void note(Entries& entries, const WIN32_FIND_DATAW& found)
{
    const auto joined = [](DWORD high, DWORD low) { return std::uint64_t{high} << 32U | low; };
    entries[found.cFileName] = {
        found.dwFileAttributes, joined(found.nFileSizeHigh, found.nFileSizeLow),
        joined(found.ftLastWriteTime.dwHighDateTime, found.ftLastWriteTime.dwLowDateTime)};
}

Entries listed_by_windows(const std::filesystem::path& folder)
{
    Entries entries;
    WIN32_FIND_DATAW found{};
    const win32::FindHandle search(FindFirstFileW(win32::long_path(folder / L"*").c_str(), &found));
    EXPECT_TRUE(search) << folder;
    do
        note(entries, found);
    while (FindNextFileW(search.get(), &found));
    return entries;
}

// Nothing: the folder is left to whoever asks.
std::optional<Entries> listed_ahead(const FolderListings& listings, const std::string& folder)
{
    const git_directory_lister& lister = listings.lister();
    if (lister.open(folder.c_str(), lister.payload) != 0)
        return std::nullopt;
    Entries entries;
    WIN32_FIND_DATAW found{};
    while (lister.next(&found, lister.payload) == 0)
        note(entries, found);
    return entries;
}

TEST(FolderListings, FoldersOfAnIndexInItsOrder)
{
    const TempRepository repository;
    repository.script(R"(
        for path in a-b/x a.b/x/y/z a/b/c a/b/d a/e a/f/g a0 abc/x b/c/d/e b/c/f ö/日本/x; do
            printf '100644 %040d\t%s\n' 1 "$path"
        done | git update-index --index-info
    )");
    const auto handle = repository.open();
    git_index* index = nullptr;
    ASSERT_EQ(git_repository_index(&index, handle.get()), 0);
    const git::Index owned(index);
    EXPECT_EQ(git::folders_of(index),
              (std::vector<std::string>{"", "a-b/", "a.b/", "a.b/x/", "a.b/x/y/", "a/", "a/b/",
                                        "a/f/", "abc/", "b/", "b/c/", "b/c/d/", "ö/", "ö/日本/"}));
}

TEST(FolderListings, AreWhatWindowsListsOrLeftToTheDiff)
{
    const TempFolder root;
    const std::string workdir = win32::to_utf8(root.path().generic_wstring()) + '/';
    // Deeper than Windows' functions reach without a prefix.
    const std::string deep = std::string(120, 'd') + '/' + std::string(120, 'e') + '/';
    std::vector<std::string> folders{"", "not there/"};
    for (int i = 0; i < 400; ++i)
        folders.push_back(fmt::format("größe {}/日本 🙂/", i));
    folders.insert(folders.end(), {"empty/", deep});
    for (const std::string& folder : folders) {
        if (folder == "not there/")
            continue;
        const std::filesystem::path path = root.path() / win32::to_wide(folder);
        std::filesystem::create_directories(win32::long_path(path));
        if (folder != "empty/")
            win32::FileHandle(CreateFileW(win32::long_path(path / L"file").c_str(), GENERIC_WRITE,
                                          0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_HIDDEN, nullptr));
    }

    // In order, as a diff comes to them; what it comes to before a thread it lists itself.
    std::size_t ahead = 0;
    {
        const FolderListings listings(workdir, folders);
        for (const std::string& folder : folders) {
            if (folder == "not there/")
                continue;
            const auto entries = listed_ahead(listings, workdir + folder);
            const Entries expected = listed_by_windows(root.path() / win32::to_wide(folder));
            if (!entries)
                continue;
            ++ahead;
            EXPECT_EQ(*entries, expected) << folder;
            EXPECT_FALSE(listed_ahead(listings, workdir + folder)) << "given twice: " << folder;
        }
        for (const std::string& unknown :
             {workdir + "not there/", workdir + "größe 1/", std::string("/"), std::string()})
            EXPECT_FALSE(listed_ahead(listings, unknown)) << unknown;
    }
    EXPECT_GT(ahead, 0U) << "the threads do nothing";

    // Passed over in great leaps, and backwards.
    const FolderListings listings(workdir, folders);
    for (std::size_t i = 0; i < folders.size(); i += 150)
        listed_ahead(listings, workdir + folders[i]);
    for (auto folder = folders.rbegin(); folder != folders.rend(); ++folder) {
        const auto entries = listed_ahead(listings, workdir + *folder);
        if (entries) {
            EXPECT_EQ(*entries, listed_by_windows(root.path() / win32::to_wide(*folder)));
        }
    }
    // Ended before anybody has asked.
    for (int i = 0; i < 20; ++i)
        FolderListings(workdir, folders);
}

}  // namespace
