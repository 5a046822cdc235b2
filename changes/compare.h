// Comparing two versions of a file in the editor's own compare view, and the temporary files that
// stored versions are written to for it. Window thread: the editor is asked by synchronous messages,
// and it may pump messages while it opens a document.
#pragma once

#include "git/error.h"
#include "git/file_change.h"
#include "git/git.h"

#include <windows.h>

#include <filesystem>
#include <string_view>

namespace revlane {

// What the stored side of compare_with_working_tree is; every other value counts as HEAD.
inline constexpr int BASE_HEAD = 0;
inline constexpr int BASE_INDEX = 1;

// The folder of the temporary files under the user's own; it may not exist yet. Empty when Windows
// names no folder for temporary files.
std::filesystem::path temp_directory();

// The name of the file that holds one version. `path` is the repository-relative path, `revision`
// the 40 digits of the blob's id. The path makes part of the name, so that the editor sees the
// extension; a name that would become too long is made of the first digits of the id alone.
std::filesystem::path temp_file_name(std::wstring_view path, std::string_view revision);

// The file without contents that stands for a side that does not exist.
std::filesystem::path empty_file_path();

// Shows both stored versions of a change. With `index_labels` they are titled as HEAD and index,
// otherwise as old and new. Both documents stay open if the editor refuses to compare them.
git::Result<void> compare_versions(HWND frame, const git::Repository& repository,
                                   const git::FileChange& change, bool index_labels);

// Shows the stored version (of the index or of HEAD, as `base` says) beside the file of the working
// tree, which is opened in place.
git::Result<void> compare_with_working_tree(HWND frame, const git::Repository& repository,
                                            const git::FileChange& change, int base);

// Where a file lies on disk, with backslashes.
std::filesystem::path working_tree_file(const git::Repository& repository,
                                        std::wstring_view relative_path);

// Opens the file of the working tree in the editor; an Error that names the file when it is not
// there.
git::Result<void> open_working_tree_file(HWND frame, const git::Repository& repository,
                                         std::wstring_view relative_path);

// Removes the folder of the temporary files with all that is in it. What cannot be removed, since a
// program still has it open, stays.
void remove_temp_directory() noexcept;

}  // namespace revlane
