// Finding and opening the repository that the panel shows. On the thread that uses it afterwards.
#pragma once

#include "git/git.h"

#include <filesystem>
#include <optional>
#include <string>

namespace revlane {

// Opens the working tree at `path`. A linked worktree or a submodule is opened at its own working
// tree, so that git runs there. Fails for a repository without one.
git::Result<git::Repository> open_working_tree(std::filesystem::path path);

// The repository that holds a document or folder; nothing when there is none.
git::Result<std::optional<git::Repository>> find_repository(const std::wstring& document);

// Whether both name one folder, as Windows compares names.
bool is_same_folder(const std::filesystem::path& left, const std::filesystem::path& right);

// Whether a folder, not a file, is at `path`.
bool is_folder(const std::filesystem::path& path);

// Whether an opened repository is still on disk.
bool is_still_there(const git::Repository& repository);

}  // namespace revlane
