#include "history/commit_details.h"

#include "git/objects.h"
#include "win32/text.h"

#include <fmt/xchar.h>

namespace revlane {

namespace {

std::wstring text_or_empty(const char* utf8)
{
    return utf8 != nullptr ? win32::to_wide(utf8) : std::wstring();
}

}  // namespace

std::wstring commit_details_text(const git_commit* commit, const ReferenceMap& references,
                                 const std::wstring& heading)
{
    std::wstring block;
    const git_oid& id = *git_commit_id(commit);
    if (const auto found = references.find(id); found != references.end()) {
        block = fmt::format(L"\r\n{}:", heading);
        for (const std::string& name : found->second)
            block.append(L" ").append(win32::to_wide(name));
    }
    const git_signature* author = git_commit_author(commit);
    return fmt::format(L"{}\r\n{}\r\n{}\r\n{}{}", text_or_empty(git_commit_message(commit)),
                       git::oid_to_text(id),
                       text_or_empty(author != nullptr ? author->name : nullptr),
                       git::commit_date_text(commit), block);
}

}  // namespace revlane
