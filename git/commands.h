// The git commands that Revlane runs. Their argument texts stand in command_table.h and nowhere else.
// Every call runs one or more child processes in `workdir` and blocks until they end: background
// threads only. Names and paths are UTF-16. A value that the command line cannot carry, or that git
// would take for an option, ends the call with a clear text before anything runs.
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
// The paths go to git as they are given, as pathspecs: see pathspec_argument. Without a path nothing
// runs. More paths than one command line holds are handed over in several runs.
CommandResult unstage(const CommandContext& context, const std::vector<std::wstring>& paths);
// A repository-relative path as `unstage` wants it: as it is where that is safe, else between double
// quotes, escaped, and marked as literal when it holds a character that is special in pathspecs.
std::wstring pathspec_argument(std::wstring_view path);
CommandResult checkout_branch(const CommandContext& context, std::wstring_view branch);
CommandResult create_branch(const CommandContext& context, std::wstring_view name,
                            std::wstring_view start_point);
CommandResult delete_branch(const CommandContext& context, std::wstring_view branch);
CommandResult delete_remote_tracking_branch(const CommandContext& context,
                                            std::wstring_view branch);
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
// A tracked file is checked out, an untracked one removed; libgit2 is asked which it is. Fails when
// the path, read as a pathspec, would take another changed file along. The command of a removal
// reads "remove" and the path, its output is the text of Windows.
CommandResult discard_changes(const CommandContext& context, std::wstring_view path);
// `git add` of one path, for files that a configured filter must see or that are large.
CommandResult add_path(const CommandContext& context, std::wstring_view path);

Result<std::vector<git_oid>> file_history(const CommandContext& context, const git_oid& start,
                                          std::wstring_view path);
Result<std::vector<git_oid>> commits_by_message(const CommandContext& context,
                                                std::wstring_view text, std::wstring_view revision);
Result<std::vector<git_oid>> commits_by_author(const CommandContext& context,
                                               std::wstring_view text, std::wstring_view revision);

// Stages every path as one task does it: opens a fresh repository, adds what exists and removes what
// is missing, and writes the index once; a path whose filter attribute names a configured driver,
// and a file that would keep libgit2 busy for long, goes through add_path afterwards. Returns one
// result whose command reads "add" followed by the paths; when one path fails, the output names
// it, and the index is left as it was unless only what goes through add_path was left to do.
CommandResult stage_paths(const CommandContext& context, const std::vector<std::wstring>& paths);

}  // namespace git
