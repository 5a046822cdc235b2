// What the history window shows: a repository, and the reference in it whose commits are listed. It
// knows no window. It may be read on one thread and used on another, but not by two at a time.
#pragma once

#include "git/error.h"
#include "git/git.h"
#include "git/handles.h"
#include "git/references.h"
#include "history/revision_walk.h"

#include <git2.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace revlane {

class HistorySource {
public:
    // Nothing is read yet. `path` is the working tree; `revision` names the branch to show, and is
    // empty or "HEAD" for the one that is checked out.
    HistorySource(std::filesystem::path path, std::string revision);
    ~HistorySource() = default;
    HistorySource(const HistorySource&) = delete;
    HistorySource& operator=(const HistorySource&) = delete;

    // Opens the repository anew and reads its references; whether it is there.
    bool read();
    // Turns to another branch of the open repository, and reads the references again. The one that is
    // checked out, now or at a later reading, stands for whichever is from then on.
    void show(std::string revision);
    // Shows the branch that is checked out from the next reading on.
    void follow_head() noexcept { revision_.clear(); }
    // Turns to another repository, and to the branch that is checked out there. Not read yet.
    void turn_to(std::filesystem::path path);

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    // Nothing when it is not there any more.
    [[nodiscard]] const std::optional<git::Repository>& repository() const noexcept
    {
        return repository_;
    }
    // All branches as they were read last; nothing when they could not be.
    [[nodiscard]] const std::optional<git::BranchList>& branches() const noexcept
    {
        return branches_;
    }
    // The reference whose commits are listed; null: none, HEAD is on a branch without a commit, or it
    // cannot be read.
    [[nodiscard]] const git_reference* current() const noexcept { return current_.get(); }
    // That branch without a commit.
    [[nodiscard]] const std::optional<std::wstring>& unborn_branch() const noexcept
    {
        return unborn_branch_;
    }
    // Why HEAD could not be read.
    [[nodiscard]] const std::optional<git::Error>& head_failure() const noexcept
    {
        return head_failure_;
    }
    // The commit that the reference is at; nothing: there is none.
    [[nodiscard]] std::optional<git_oid> start() const;
    // The branch for people.
    [[nodiscard]] std::wstring branch_name() const;
    // The full name of the reference, for git.
    [[nodiscard]] std::wstring revision_argument() const;

private:
    // Lets go of the repository and of what was read from it.
    void close();
    void read_references();

    std::filesystem::path path_;
    std::string revision_;
    std::optional<git::Repository> repository_;  // before what is read from it
    std::optional<git::BranchList> branches_;
    git::Reference current_;
    std::optional<std::wstring> unborn_branch_;
    std::optional<git::Error> head_failure_;
};

// A source that has been read, and what its commits begin with; nothing where there are none.
struct HistoryBeginning {
    std::unique_ptr<HistorySource> source;
    std::optional<git::Result<FirstPage>> page;  // belongs to the source
};

// On any thread; the caller holds a LibraryScope for as long as the answer lives. Throws what reading
// throws.
HistoryBeginning read_beginning(const std::filesystem::path& path, const std::string& revision);

}  // namespace revlane
