#include "git/commands.h"
#include "git/handles.h"
#include "git/locked_index.h"
#include "win32/long_path.h"
#include "win32/text.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <memory>
#include <utility>

namespace git {

namespace {

// Files above this size are staged by git, which can be ended. libgit2 reads and packs a file to its
// end, and a panel that closes waits for that: a second at most for a file of this size.
constexpr std::uint64_t LARGEST_FOR_LIBGIT2 = std::uint64_t{16} * 1024 * 1024;

Error of_path(const std::string& path, const Error& error)
{
    return Error::own(fmt::format("{}: {}", path, to_utf8(error)));
}

// One repository with its index, opened and locked for one staging.
class Staging {
public:
    static Result<Staging> open(const std::filesystem::path& workdir)
    {
        Result<Repository> repository = open_repository(workdir);
        if (!repository)
            return tl::unexpected(std::move(repository).error());
        Result<std::unique_ptr<LockedIndex>> index = LockedIndex::open(repository->handle.get());
        if (!index)
            return tl::unexpected(std::move(index).error());
        git_config* snapshot = nullptr;
        if (git_repository_config_snapshot(&snapshot, repository->handle.get()) != 0)
            return tl::unexpected(error_from_libgit2());
        Config config(snapshot);
        // As git, which reads the attributes once for all that it stages.
        if (git_attr_cache_keep(repository->handle.get()) != 0)
            return tl::unexpected(error_from_libgit2());
        return Staging(std::move(*repository), std::move(*index), std::move(config));
    }

    enum class Found { Nothing, File, LargeFile };

    // What is at the path. A folder that has taken the place of a file counts as nothing.
    [[nodiscard]] Found look_at(const std::string& path) const
    {
        const std::filesystem::path file =
            win32::long_path(repository_.path / win32::to_wide(path));
        WIN32_FILE_ATTRIBUTE_DATA found{};
        if (!GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &found)) {
            const DWORD failure = GetLastError();
            const bool is_gone = failure == ERROR_FILE_NOT_FOUND || failure == ERROR_PATH_NOT_FOUND;
            return is_gone ? Found::Nothing : Found::File;
        }
        const std::uint64_t size = (std::uint64_t{found.nFileSizeHigh} << 32U) | found.nFileSizeLow;
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            return size > LARGEST_FOR_LIBGIT2 ? Found::LargeFile : Found::File;
        std::size_t position = 0;
        const bool was_file =
            git_index_find(&position, index_->get(), path.c_str()) == 0 &&
            git_index_get_byindex(index_->get(), position)->mode != GIT_FILEMODE_COMMIT &&
            (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
        return was_file ? Found::Nothing : Found::File;
    }

    // Whether the file's attributes ask for a conversion that libgit2 does not do.
    [[nodiscard]] Result<bool> needs_git(const std::string& path) const
    {
        std::array names{"filter", "working-tree-encoding"};
        std::array<const char*, names.size()> values{};
        if (git_attr_get_many(values.data(), repository_.handle.get(),
                              GIT_ATTR_CHECK_FILE_THEN_INDEX, path.c_str(), names.size(),
                              names.data()) != 0)
            return tl::unexpected(error_from_libgit2());
        const auto [filter, encoding] = values;
        if (git_attr_value(encoding) == GIT_ATTR_VALUE_STRING)
            return true;
        return git_attr_value(filter) == GIT_ATTR_VALUE_STRING && is_configured(filter);
    }

    [[nodiscard]] int add(const std::string& path) const
    {
        return git_index_add_bypath(index_->get(), path.c_str());
    }

    [[nodiscard]] int remove(const std::string& path) const
    {
        return git_index_remove_bypath(index_->get(), path.c_str());
    }

    [[nodiscard]] Result<void> write() const { return index_->write(); }

private:
    Staging(Repository repository, std::unique_ptr<LockedIndex> index, Config config)
        : repository_(std::move(repository)), index_(std::move(index)), config_(std::move(config))
    {
    }

    [[nodiscard]] bool is_configured(std::string_view filter) const
    {
        for (const std::string_view key : {"clean", "process"}) {
            const char* value = nullptr;
            const std::string name = fmt::format("filter.{}.{}", filter, key);
            if (git_config_get_string(&value, config_.get(), name.c_str()) == 0)
                return true;
        }
        return false;
    }

    Repository repository_;
    std::unique_ptr<LockedIndex> index_;
    Config config_;
};

// Stages what libgit2 can stage and writes the index once; returns the paths that are left to git.
Result<std::vector<std::string>> stage_in_index(Staging staging, const Git::Run& run,
                                                const std::vector<std::string>& paths)
{
    // What is gone goes first: a folder may have come where a file was, or the other way round.
    std::vector<const std::string*> present;
    std::vector<std::string> left;
    for (const std::string& path : paths) {
        const Staging::Found found = staging.look_at(path);
        if (found == Staging::Found::File)
            present.push_back(&path);
        else if (found == Staging::Found::LargeFile)
            left.push_back(path);
        else if (staging.remove(path) != 0)
            return tl::unexpected(of_path(path, error_from_libgit2()));
    }
    for (const std::string* path : present) {
        if (run.was_ended())
            return tl::unexpected(run_was_ended());
        const Result<bool> needs_git = staging.needs_git(*path);
        if (!needs_git)
            return tl::unexpected(of_path(*path, needs_git.error()));
        if (*needs_git)
            left.push_back(*path);
        else if (staging.add(*path) != 0)
            return tl::unexpected(of_path(*path, error_from_libgit2()));
    }
    if (left.size() == paths.size())
        return left;
    return staging.write().map([&] { return std::move(left); });
}

}  // namespace

CommandResult stage_paths(const CommandContext& context, const std::vector<std::wstring>& paths)
{
    CommandResult result{L"add", {}, false};
    std::vector<std::string> utf8_paths;
    for (const std::wstring& path : paths) {
        result.command += L' ' + path;
        utf8_paths.push_back(win32::to_utf8(path));
        // An untracked repository is listed as a folder, with a slash at the end.
        if (utf8_paths.back().ends_with('/'))
            utf8_paths.back().pop_back();
    }

    const Git::Run run(context.git);
    const LibraryScope library;
    const auto left = Staging::open(context.workdir).and_then([&](Staging&& staging) {
        return stage_in_index(std::move(staging), run, utf8_paths);
    });
    if (!left) {
        result.output = to_utf8(left.error());
        return result;
    }
    for (const std::string& path : *left) {
        if (run.was_ended()) {
            result.output = to_utf8(run_was_ended());
            return result;
        }
        const CommandResult added = add_path(context, win32::to_wide(path));
        result.output += added.ok ? added.output : fmt::format("{}: {}", path, added.output);
        if (!added.ok)
            return result;
    }
    result.ok = true;
    return result;
}

}  // namespace git
