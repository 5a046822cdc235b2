// Lists the folders of a working tree ahead of a diff. A listing is mostly waiting, for the disk or,
// under Wine, for its server, so that two threads take half the time of one.
#pragma once

#include <git2.h>
#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

namespace git {

// The folders in which an index has files, with a slash at the end and "" for the working tree itself,
// in the order in which a diff comes to them.
std::vector<std::string> folders_of(git_index* index);

// Begins at once, on threads of its own. A folder that cannot be listed, or that the diff comes to
// first, is left to the diff, so that the diff finds and reports what it always does.
class FolderListings {
public:
    // `workdir` as libgit2 names it, with a slash at its end.
    FolderListings(std::string workdir, std::vector<std::string> folders);
    // Waits for the listings that are under way: no thread is left.
    ~FolderListings();
    FolderListings(const FolderListings&) = delete;
    FolderListings& operator=(const FolderListings&) = delete;

    // For git_diff_options, for one diff at a time.
    [[nodiscard]] const git_directory_lister& lister() const noexcept { return lister_; }

private:
    // The entries of a folder, in less room than WIN32_FIND_DATAW takes.
    struct Listing {
        struct Entry {
            WIN32_FILE_ATTRIBUTE_DATA data;
            std::size_t name_end;  // in `names`
        };
        std::vector<Entry> entries;
        std::wstring names;
    };
    enum class State { Waiting, Listing, Listed, LeftToDiff };
    struct Folder {
        std::string path;
        State state = State::Waiting;
        std::optional<Listing> listing;  // once listed, if it could be
    };

    static std::optional<Listing> list(const std::wstring& folder);

    static int on_open(const char* path, void* payload) noexcept;
    static int on_next(void* find_data, void* payload) noexcept;
    bool open(std::string_view path) noexcept;
    bool next(WIN32_FIND_DATAW& found) noexcept;
    void work() noexcept;
    [[nodiscard]] bool may_list_more() const noexcept;

    const std::string workdir_;
    const git_directory_lister lister_;

    // Windows' own lock and conditions: those of mingw-w64's library for threads ask Wine's server.
    SRWLOCK lock_ = SRWLOCK_INIT;
    CONDITION_VARIABLE listed_ = CONDITION_VARIABLE_INIT;    // the diff waits for it
    CONDITION_VARIABLE may_list_ = CONDITION_VARIABLE_INIT;  // the threads wait for it
    std::vector<Folder> folders_;                            // under the lock
    std::size_t next_ = 0;                                   // to be listed, under the lock
    std::size_t reached_ = 0;  // behind the last that the diff has come to, under the lock
    bool is_ending_ = false;   // under the lock
    std::unordered_map<std::string_view, std::size_t> numbers_;  // of the folders by path

    // Of the folder that the diff reads.
    Listing current_;
    std::size_t current_entry_ = 0;
    std::size_t current_name_ = 0;

    std::vector<std::thread> threads_;
};

}  // namespace git
