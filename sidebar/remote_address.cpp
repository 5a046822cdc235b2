#include "sidebar/remote_address.h"

#include "git/handles.h"
#include "git/references.h"
#include "win32/text.h"

#include <fmt/format.h>

#include <algorithm>

namespace revlane {

namespace {

bool starts_with_ignoring_case(std::string_view text, std::string_view prefix)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(),
                      [&](char left, char right) { return left == lower(right); });
}

// A blank or a control character has no place in an address, and the shell could take what follows
// for something else.
bool is_clean(std::string_view address)
{
    return std::all_of(address.begin(), address.end(),
                       [](char c) { return static_cast<unsigned char>(c) > ' ' && c != '"'; });
}

std::optional<std::string> https_of(std::string_view host, std::string_view path)
{
    // The user's name belongs to the connection, not to the page.
    if (const std::size_t at = host.rfind('@'); at != std::string_view::npos)
        host.remove_prefix(at + 1);
    // So does the port of another service; a host in brackets has colons of its own.
    const std::size_t bracket = host.rfind(']');
    const std::size_t colon = host.rfind(':');
    if (colon != std::string_view::npos && (bracket == std::string_view::npos || colon > bracket))
        host = host.substr(0, colon);
    while (path.starts_with('/'))
        path.remove_prefix(1);
    if (host.empty() || path.empty())
        return std::nullopt;
    return fmt::format("https://{}/{}", host, path);
}

std::optional<std::string> https_of_ssh(std::string_view url)
{
    constexpr std::string_view scheme = "ssh://";
    if (starts_with_ignoring_case(url, scheme)) {
        url.remove_prefix(scheme.size());
        const std::size_t slash = url.find('/');
        return slash != std::string_view::npos ? https_of(url.substr(0, slash), url.substr(slash))
                                               : std::nullopt;
    }
    // "user@host:path"; without a user it could be a drive of Windows.
    const std::size_t colon = url.find(':');
    const std::size_t at = url.find('@');
    if (colon == std::string_view::npos || at == std::string_view::npos || at > colon ||
        url.find('/') < colon || url.substr(colon).starts_with("://"))
        return std::nullopt;
    return https_of(url.substr(0, colon), url.substr(colon + 1));
}

// The remote of HEAD's upstream; nothing when HEAD has none.
std::optional<std::string> upstream_remote(git_repository* repository)
{
    git_reference* found_head = nullptr;
    if (git_repository_head(&found_head, repository) != 0)
        return std::nullopt;
    const git::Reference head(found_head);
    git_reference* found_upstream = nullptr;
    if (git_branch_upstream(&found_upstream, head.get()) != 0)
        return std::nullopt;
    const git::Reference upstream(found_upstream);
    const auto name = git::remote_name_of(upstream.get());
    return name ? *name : std::nullopt;
}

}  // namespace

std::optional<std::wstring> web_address(std::string_view remote_url)
{
    if (!is_clean(remote_url))
        return std::nullopt;
    if (starts_with_ignoring_case(remote_url, "https://") ||
        starts_with_ignoring_case(remote_url, "http://"))
        return win32::to_wide(remote_url);
    const std::optional<std::string> address = https_of_ssh(remote_url);
    return address ? std::optional(win32::to_wide(*address)) : std::nullopt;
}

git::Result<std::optional<std::string>> remote_url(git_repository* repository)
{
    const std::string name = upstream_remote(repository).value_or("origin");
    git_remote* found = nullptr;
    const int code = git_remote_lookup(&found, repository, name.c_str());
    const git::Remote remote(found);
    if (code == GIT_ENOTFOUND)
        return std::nullopt;
    if (code != 0)
        return tl::unexpected(git::error_from_libgit2());
    const char* url = git_remote_url(remote.get());
    return url != nullptr ? std::optional<std::string>(url) : std::nullopt;
}

}  // namespace revlane
