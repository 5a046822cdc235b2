// The commit that the history window shows below its list: the text about it, and the tree of its
// files. Window thread; the controls belong to the window.
#pragma once

#include "git/git.h"
#include "git/handles.h"
#include "history/files_tree.h"
#include "history/reference_map.h"

#include <git2.h>
#include <windows.h>

#include <optional>

namespace revlane {

class CommitView {
public:
    // Binds to the edit control and the tree view. Once.
    void init(HWND details, HWND files);

    // Shows a commit in place of what was shown before. What is open in the tree stays open when it is
    // the same commit.
    void show(const git::Repository& repository, const git::Commit& commit);
    // Shows nothing.
    void clear();
    // The references have changed: they are read anew with the next commit that is shown.
    void forget_references() noexcept { references_.reset(); }

    // The commit that is shown.
    [[nodiscard]] const std::optional<git_oid>& commit() const noexcept { return commit_; }
    [[nodiscard]] FilesTree& files() noexcept { return files_; }

private:
    HWND details_ = nullptr;
    FilesTree files_;
    std::optional<git_oid> commit_;
    std::optional<ReferenceMap> references_;
};

}  // namespace revlane
