#include "changes/compare.h"

#include "git/handles.h"
#include "git/objects.h"
#include "git/references.h"
#include "plugin/host/editor.h"
#include "plugin/host/messages.h"
#include "win32/handle.h"
#include "win32/long_path.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <fmt/xchar.h>
#include <shlobj.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace revlane {

namespace {

using git::ChangeStatus;
using std::filesystem::path;

constexpr wchar_t TEMP_FOLDER[] = L"quorrel-revlane";
constexpr wchar_t EMPTY_FILE[] = L"empty_file";
// The longest full name of a temporary file, in bytes of UTF-8.
constexpr std::size_t MAX_NAME_BYTES = 260;
constexpr std::size_t SHORT_NAME_DIGITS = 8;

// Whether Windows takes `byte` of a UTF-8 text in a file name. A colon would even be taken, but it
// names a stream of the file before it.
bool is_allowed_in_name(char byte)
{
    return static_cast<unsigned char>(byte) >= 0x20 &&
           std::string_view("<>:\"|?*").find(byte) == std::string_view::npos;
}

// A path made elsewhere may hold what Windows refuses. Since the blob's id stands before the path,
// two paths that become the same name have the same contents.
std::string flattened(std::string path_text)
{
    for (char& byte : path_text) {
        if (byte == '/' || byte == '\\')
            byte = '-';
        else if (!is_allowed_in_name(byte))
            byte = '_';
    }
    return path_text;
}

git::Result<void> windows_failure(DWORD code)
{
    return tl::unexpected(git::Error::system(git::windows_error_text(code)));
}

git::Result<void> last_windows_failure()
{
    return tl::unexpected(git::error_from_last_windows_error());
}

// The files are read-only, and Windows deletes no read-only file.
bool delete_file(const path& file)
{
    SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL);
    return DeleteFileW(file.c_str()) != FALSE;
}

git::Result<void> remove_former(const path& file)
{
    if (delete_file(file))
        return {};
    const DWORD code = GetLastError();
    if (code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND)
        return {};
    return windows_failure(code);
}

git::Result<void> create_folder(const path& folder)
{
    const int code = SHCreateDirectoryExW(nullptr, folder.c_str(), nullptr);
    if (code == ERROR_SUCCESS || code == ERROR_ALREADY_EXISTS || code == ERROR_FILE_EXISTS)
        return {};
    return windows_failure(static_cast<DWORD>(code));
}

HANDLE create_for_writing(const path& file, DWORD disposition)
{
    return CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, disposition,
                       FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_TEMPORARY, nullptr);
}

git::Result<void> write_temp_file(const path& name, std::span<const std::byte> bytes)
{
    // Without a folder for temporary files nothing is written into whatever folder is current.
    if (!name.is_absolute())
        return windows_failure(ERROR_PATH_NOT_FOUND);
    const path file = win32::long_path(name);
    if (auto removed = remove_former(file); !removed)
        return removed;
    if (auto created = create_folder(name.parent_path()); !created)
        return created;
    win32::FileHandle handle(create_for_writing(file, TRUNCATE_EXISTING));
    if (!handle)
        handle.reset(create_for_writing(file, CREATE_ALWAYS));
    if (!handle)
        return last_windows_failure();
    while (!bytes.empty()) {
        const auto length = static_cast<DWORD>(
            std::min<std::size_t>(bytes.size(), std::numeric_limits<DWORD>::max()));
        DWORD written = 0;
        if (!WriteFile(handle.get(), bytes.data(), length, &written, nullptr) &&
            GetLastError() != ERROR_IO_PENDING)
            return last_windows_failure();
        bytes = bytes.subspan(written);
    }
    return {};
}

git::Result<path> write_empty_side()
{
    path file = empty_file_path();
    return write_temp_file(file, {}).map([&] { return file; });
}

git::Result<path> write_side(const git::Repository& repository, const git_oid& id,
                             std::wstring_view relative_path)
{
    const auto blob = git::lookup_blob(repository.handle.get(), id);
    if (!blob)
        return tl::unexpected(blob.error());
    path file = temp_file_name(relative_path, win32::to_utf8(git::oid_to_text(id)));
    return write_temp_file(file, git::blob_bytes(blob->get())).map([&] { return file; });
}

// An absent id means that the side does not exist.
git::Result<path> write_side_or_empty(const git::Repository& repository,
                                      const std::optional<git_oid>& id,
                                      std::wstring_view relative_path)
{
    return id ? write_side(repository, *id, relative_path) : write_empty_side();
}

void send_open_file(HWND frame, const path& file, std::uint32_t mode)
{
    host::OpenOptions options;
    options.mode = mode;
    SendMessageW(frame, host::QM_OPEN_FILE, reinterpret_cast<WPARAM>(&options),
                 reinterpret_cast<LPARAM>(file.c_str()));
}

void show_tabs(HWND frame)
{
    if (SendMessageW(frame, host::QM_INFO, host::INFO_TABS_SHOWN, 0) == 0)
        host::execute_command(frame, host::COMMAND_SHOW_TABS);
}

void set_title(HWND frame, const std::wstring& title)
{
    SendMessageW(frame, host::QM_INFO, host::INFO_SET_TITLE,
                 reinterpret_cast<LPARAM>(title.c_str()));
}

void open_temporary(HWND frame, const path& file, const std::wstring& title)
{
    send_open_file(frame, file, host::OpenOptions::OPEN_TEMPORARY);
    show_tabs(frame);
    set_title(frame, title);
}

// The editor wants the title of a working-tree file before it is asked for the view.
void open_in_place(HWND frame, const path& file)
{
    send_open_file(frame, file, host::OpenOptions::OPEN_IN_PLACE);
    set_title(frame, fmt::format(L"{} (Working tree)", file.native()));
    show_tabs(frame);
}

git::Result<void> request_compare(HWND frame, const path& left, const path& right)
{
    host::CompareRequest request;
    request.left = left.c_str();
    request.right = right.c_str();
    const auto answer = static_cast<std::uint32_t>(
        SendMessageW(frame, host::QM_COMPARE, reinterpret_cast<WPARAM>(&request), 0));
    switch (answer) {
    case host::COMPARE_FAILED:
        return tl::unexpected(git::Error::own("E_FAIL"));
    case host::COMPARE_NO_DOCUMENT_1:
        return tl::unexpected(git::Error::own("E_DOCUMENT_1_NOT_FOUND"));
    case host::COMPARE_NO_DOCUMENT_2:
        return tl::unexpected(git::Error::own("E_DOCUMENT_2_NOT_FOUND"));
    case host::COMPARE_NO_TABS:
        return tl::unexpected(git::Error::own("tabs are not enabled"));
    default:
        return {};
    }
}

bool has_old_side(ChangeStatus status)
{
    return status != ChangeStatus::Added && status != ChangeStatus::Untracked;
}

bool has_new_side(ChangeStatus status)
{
    return status != ChangeStatus::Deleted;
}

// What a comparison works on. The editor may pump messages as it opens a document, and the panel may
// then show another repository or other rows; copies stay as they were.
struct Comparison {
    git::LibraryScope library;
    git::Repository repository;
    git::FileChange change;

    Comparison(git::Repository given_repository, git::FileChange given_change)
        : repository(std::move(given_repository)), change(std::move(given_change))
    {
    }
};

// Removes a folder with its contents. A link to another folder is removed, never followed.
void remove_tree(const path& folder);

void remove_entry(const path& folder, const WIN32_FIND_DATAW& entry)
{
    if (std::wcscmp(entry.cFileName, L".") == 0 || std::wcscmp(entry.cFileName, L"..") == 0)
        return;
    const path item = folder / entry.cFileName;
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        delete_file(item);
    else if ((entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        RemoveDirectoryW(item.c_str());
    else
        remove_tree(item);
}

void remove_tree(const path& folder)
{
    WIN32_FIND_DATAW entry{};
    win32::FindHandle search(FindFirstFileW((folder / L"*").c_str(), &entry));
    if (search) {
        do
            remove_entry(folder, entry);
        while (FindNextFileW(search.get(), &entry));
    }
    // An open search keeps its folder from going.
    search.reset();
    RemoveDirectoryW(folder.c_str());
}

}  // namespace

path temp_directory()
{
    std::array<wchar_t, MAX_PATH> given{};
    const DWORD length = GetTempPathW(MAX_PATH, given.data());
    if (length == 0 || length >= MAX_PATH)
        return {};
    // The long form makes the name the same however the environment spells it.
    std::array<wchar_t, MAX_PATH> expanded{};
    const DWORD expanded_length = GetLongPathNameW(given.data(), expanded.data(), MAX_PATH);
    const bool is_expanded = expanded_length > 0 && expanded_length < MAX_PATH;
    return path(is_expanded ? expanded.data() : given.data()) / TEMP_FOLDER;
}

path temp_file_name(std::wstring_view relative_path, std::string_view revision)
{
    const path folder = temp_directory();
    const std::string name =
        fmt::format("{}-{}", revision, flattened(win32::to_utf8(relative_path)));
    path file = folder / win32::to_wide(name);
    if (win32::to_utf8(file.native()).size() > MAX_NAME_BYTES)
        file = folder / win32::to_wide(revision.substr(0, SHORT_NAME_DIGITS));
    return file;
}

path empty_file_path()
{
    return temp_directory() / EMPTY_FILE;
}

git::Result<void> compare_versions(HWND frame, const git::Repository& repository,
                                   const git::FileChange& change, bool index_labels)
{
    const Comparison given(repository, change);
    const git::FileChange& file = given.change;

    const auto left = has_old_side(file.status)
                          ? write_side_or_empty(given.repository, file.old_id, file.old_path)
                          : write_empty_side();
    if (!left)
        return tl::unexpected(left.error());
    open_temporary(frame, *left, file.old_path + (index_labels ? L" (HEAD)" : L" (old)"));

    const auto right = has_new_side(file.status)
                           ? write_side_or_empty(given.repository, file.new_id, file.new_path)
                           : write_empty_side();
    if (!right)
        return tl::unexpected(right.error());
    open_temporary(frame, *right, file.new_path + (index_labels ? L" (Index)" : L" (new)"));

    // Against a file without contents there is nothing to compare.
    if (!has_old_side(file.status) || !has_new_side(file.status))
        return {};
    return request_compare(frame, *left, *right);
}

git::Result<void> compare_with_working_tree(HWND frame, const git::Repository& repository,
                                            const git::FileChange& change, int base)
{
    const Comparison given(repository, change);
    const git::FileChange& file = given.change;

    path left;
    if (has_old_side(file.status)) {
        const auto written = write_side_or_empty(given.repository, file.old_id, file.old_path);
        if (!written)
            return tl::unexpected(written.error());
        left = *written;
        open_temporary(
            frame, left,
            fmt::format(L"{} ({})", file.old_path, base == BASE_INDEX ? L"Index" : L"HEAD"));
    }
    const path right = working_tree_file(given.repository, file.new_path);
    if (has_new_side(file.status))
        open_in_place(frame, right);
    if (!has_old_side(file.status) || !has_new_side(file.status))
        return {};
    return request_compare(frame, left, right);
}

path working_tree_file(const git::Repository& repository, std::wstring_view relative_path)
{
    // Appended as text: a path from elsewhere that looks like another drive's stays inside.
    path file = repository.path / L"";
    file += relative_path;
    return file.make_preferred();
}

git::Result<void> open_working_tree_file(HWND frame, const git::Repository& repository,
                                         std::wstring_view relative_path)
{
    const path file = working_tree_file(repository, relative_path);
    const DWORD attributes = GetFileAttributesW(win32::long_path(file).c_str());
    DWORD code = ERROR_SUCCESS;
    if (attributes == INVALID_FILE_ATTRIBUTES)
        code = GetLastError();
    else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        code = ERROR_FILE_NOT_FOUND;
    if (code != ERROR_SUCCESS)
        return tl::unexpected(git::Error::system(
            fmt::format(L"{}\r\n{}", file.native(), git::windows_error_text(code))));
    send_open_file(frame, file, host::OpenOptions::OPEN_IN_PLACE);
    return {};
}

void remove_temp_directory() noexcept
{
    try {
        const path folder = temp_directory();
        if (!folder.is_absolute() || RemoveDirectoryW(folder.c_str()))
            return;
        if (GetLastError() == ERROR_DIR_NOT_EMPTY)
            remove_tree(folder);
    } catch (
        ...) {  // NOLINT(bugprone-empty-catch): without memory the files stay for the next time
    }
}

}  // namespace revlane
