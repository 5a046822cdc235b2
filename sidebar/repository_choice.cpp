#include "sidebar/repository_choice.h"

#include "changes/texts.h"
#include "resources/ids.h"
#include "win32/long_path.h"
#include "win32/text.h"

namespace revlane {

git::Result<git::Repository> open_working_tree(std::filesystem::path path)
{
    auto repository = git::open_repository(git::normalize_repository_path(std::move(path)));
    if (!repository)
        return repository;
    const char* workdir = git_repository_workdir(repository->handle.get());
    if (workdir == nullptr) {
        return tl::unexpected(
            git::Error::system(text_with(IDS_BARE_REPOSITORY, repository->path.wstring())));
    }
    std::filesystem::path tree = git::normalize_repository_path(win32::to_wide(workdir));
    if (is_same_folder(tree, repository->path))
        return repository;
    return git::open_repository(std::move(tree));
}

git::Result<std::optional<git::Repository>> find_repository(const std::wstring& document)
{
    auto found = git::discover_repository(win32::to_utf8(document));
    if (!found)
        return tl::unexpected(std::move(found).error());
    if (!*found)
        return std::nullopt;
    auto repository = open_working_tree(std::move(**found));
    if (!repository)
        return tl::unexpected(std::move(repository).error());
    return std::move(*repository);
}

bool is_same_folder(const std::filesystem::path& left, const std::filesystem::path& right)
{
    return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_EQUAL;
}

bool is_folder(const std::filesystem::path& path)
{
    const DWORD attributes = GetFileAttributesW(win32::long_path(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool is_still_there(const git::Repository& repository)
{
    const char* folder = git_repository_path(repository.handle.get());
    return folder != nullptr && is_folder(win32::to_wide(folder)) && is_folder(repository.path);
}

}  // namespace revlane
