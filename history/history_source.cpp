#include "history/history_source.h"

#include "win32/text.h"

#include <string_view>
#include <utility>

namespace revlane {

namespace {

constexpr std::string_view HEAD = "HEAD";

// A local branch or else a remote-tracking one; null when there is neither.
git::Reference find_branch(git_repository* repository, const std::string& name)
{
    git_reference* found = nullptr;
    for (const git_branch_t kind : {GIT_BRANCH_LOCAL, GIT_BRANCH_REMOTE}) {
        if (git_branch_lookup(&found, repository, name.c_str(), kind) == 0)
            return git::Reference(found);
    }
    return nullptr;
}

}  // namespace

HistorySource::HistorySource(std::filesystem::path path, std::string revision)
    : path_(std::move(path)), revision_(std::move(revision))
{
}

bool HistorySource::read()
{
    git::Result<git::Repository> opened = git::open_repository(path_);
    if (!opened) {
        close();
        return false;
    }
    current_.reset();
    branches_.reset();
    repository_ = std::move(*opened);
    read_references();
    return true;
}

void HistorySource::show(std::string revision)
{
    revision_ = std::move(revision);
    if (repository_)
        read_references();
}

void HistorySource::turn_to(std::filesystem::path path)
{
    close();
    path_ = std::move(path);
    revision_.clear();
}

void HistorySource::close()
{
    current_.reset();
    branches_.reset();
    unborn_branch_.reset();
    head_failure_.reset();
    repository_.reset();
}

void HistorySource::read_references()
{
    git_repository* repository = repository_->handle.get();
    git_reference* found = nullptr;
    git::Reference head;
    unborn_branch_.reset();
    head_failure_.reset();
    const int code = git_repository_head(&found, repository);
    if (code == 0)
        head.reset(found);
    else if (code == GIT_EUNBORNBRANCH)
        unborn_branch_ = win32::to_wide(git::unborn_branch(repository));
    else
        head_failure_ = git::error_from_libgit2();
    // The branch that is shown may be another than the one that is checked out, and may be gone.
    current_ =
        revision_.empty() || revision_ == HEAD ? nullptr : find_branch(repository, revision_);
    if (current_ == nullptr) {
        follow_head();
        current_ = std::move(head);
    } else if (head != nullptr && std::string_view(git_reference_name(head.get())) ==
                                      git_reference_name(current_.get())) {
        follow_head();
    }
    git::Result<git::BranchList> branches = git::list_branches(repository);
    branches_ = branches ? std::optional(std::move(*branches)) : std::nullopt;
}

std::optional<git_oid> HistorySource::start() const
{
    if (current_ == nullptr)
        return std::nullopt;
    const git::Result<git_oid> target = git::reference_target(current_.get());
    return target ? std::optional(*target) : std::nullopt;
}

std::wstring HistorySource::branch_name() const
{
    return current_ != nullptr ? win32::to_wide(git::reference_display_name(current_.get()))
                               : unborn_branch_.value_or(L"");
}

std::wstring HistorySource::revision_argument() const
{
    return win32::to_wide(current_ != nullptr ? git_reference_name(current_.get()) : HEAD.data());
}

HistoryBeginning read_beginning(const std::filesystem::path& path, const std::string& revision)
{
    auto source = std::make_unique<HistorySource>(path, revision);
    std::optional<git::Result<FirstPage>> page;
    if (source->read()) {
        if (const std::optional<git_oid> start = source->start())
            page = read_first_page(source->repository()->handle.get(), *start);
    }
    return {std::move(source), std::move(page)};
}

}  // namespace revlane
