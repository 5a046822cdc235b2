// Changed files between trees, index and working tree; single paths of the index; submodules. All on
// the thread that opened the repository.
#pragma once

#include "git/error.h"
#include "git/file_change.h"
#include "git/handles.h"

#include <git2.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace git {

// `old_tree` null: nothing, so that every file is added. Finds renames by libgit2's defaults.
Result<std::vector<FileChange>> diff_trees(git_tree* old_tree, git_tree* new_tree);
// The change of one path, taken literally; nothing when it did not change.
Result<std::optional<FileChange>> diff_trees_for_path(git_tree* old_tree, git_tree* new_tree,
                                                      std::wstring_view path);
// An unborn HEAD counts as an empty tree.
Result<std::vector<FileChange>> diff_head_to_index(git_repository* repository);
// With untracked files, each by its own path. `is_cancelled` (may be empty) is asked as the diff
// goes on, on this thread; once it says true the diff ends with an Error.
Result<std::vector<FileChange>>
diff_index_to_workdir(git_repository* repository, const std::function<bool()>& is_cancelled = {});

// Takes out of a repository the index that it has read; it reads it anew when it needs one. Null when
// it cannot be read.
Index take_index(git_repository* repository);
// Gives a repository the index that take_index took out of another handle of the same repository,
// which no other thread may use any more. It is read anew only if its file has changed since.
void give_index(git_repository* repository, const Index& index);

// Adds the path's file to the index and writes it. Fails for a missing file.
Result<void> stage_path(git_repository* repository, std::wstring_view path);
// Removes the path from the index and writes it.
Result<void> unstage_path(git_repository* repository, std::wstring_view path);

// Repository-relative paths, with forward slashes.
Result<std::vector<std::wstring>> list_submodules(git_repository* repository);

}  // namespace git
