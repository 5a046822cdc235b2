// From a repository's remote to an address that a browser opens.
#pragma once

#include "git/error.h"

#include <git2.h>

#include <optional>
#include <string>
#include <string_view>

namespace revlane {

// The web address of a remote's address: http and https as they are, "git@host:path" and
// "ssh://[user@]host[:port]/path" as https. Nothing for any other, a local folder say: only what a
// browser opens may be handed to the shell. Pure.
std::optional<std::wstring> web_address(std::string_view remote_url);

// The address of the remote that HEAD's upstream belongs to, else of "origin". Nothing when there is
// no such remote. On the thread that opened the repository.
git::Result<std::optional<std::string>> remote_url(git_repository* repository);

}  // namespace revlane
