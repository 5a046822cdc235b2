// The git commands that Revlane runs. Their argument texts stand in commands.cpp and nowhere else.
// Every call runs one or more child processes in `workdir` and blocks until they end: background
// threads only. Names and paths are UTF-16; what is "as given" is not escaped.
#pragma once

#include "git/runner.h"

#include <git2/oid.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace git {

struct StashList {
    CommandResult result;
    std::vector<std::string> subjects;  // newest first, UTF-8; empty when the command failed
};

// Where a command runs and what can end it.
struct CommandContext {
    std::filesystem::path workdir;
    Git& git;
};

CommandResult commit_staged(const CommandContext& context, std::wstring_view message);
CommandResult unstage(const CommandContext& context, const std::vector<std::wstring>& paths);
CommandResult checkout_branch(const CommandContext& context, std::wstring_view branch);
CommandResult create_branch(const CommandContext& context, std::wstring_view name,
                            std::wstring_view start_point);
CommandResult delete_branch(const CommandContext& context, std::wstring_view branch);
CommandResult delete_remote_tracking_branch(const CommandContext& context, std::wstring_view branch);
CommandResult delete_branch_on_remote(const CommandContext& context, std::wstring_view remote,
                                      std::wstring_view branch);
CommandResult update_submodule(const CommandContext& context, std::wstring_view path);
CommandResult fetch(const CommandContext& context);
CommandResult pull(const CommandContext& context);
CommandResult push(const CommandContext& context);
CommandResult status(const CommandContext& context);
StashList list_stashes(const CommandContext& context);
CommandResult push_stash(const CommandContext& context, std::wstring_view message);
CommandResult apply_stash(const CommandContext& context, std::wstring_view message);
CommandResult drop_stash(const CommandContext& context);
// A tracked file is checked out, an untracked one removed; libgit2 is asked which it is.
CommandResult discard_changes(const CommandContext& context, std::wstring_view path);
// `git add` of one path, for files that a configured filter must see.
CommandResult add_path(const CommandContext& context, std::wstring_view path);

Result<std::vector<git_oid>> file_history(const CommandContext& context, const git_oid& start,
                                          std::wstring_view path);
Result<std::vector<git_oid>> commits_by_message(const CommandContext& context,
                                                std::wstring_view text, std::wstring_view revision);
Result<std::vector<git_oid>> commits_by_author(const CommandContext& context,
                                               std::wstring_view text, std::wstring_view revision);

// Stages every path as one task does it: opens a fresh repository, adds what exists and removes what
// is missing, and writes the index once; a path whose filter attribute names a configured driver
// goes through add_path instead. Returns one result whose command reads "add" followed by the paths.
CommandResult stage_paths(const CommandContext& context, const std::vector<std::wstring>& paths);

}  // namespace git
