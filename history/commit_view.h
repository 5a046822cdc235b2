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
#include <utility>

namespace revlane {

class CommitView {
public:
    // Binds to the edit control and the tree view. Once.
    void init(HWND details, HWND files);

    // Shows a commit in place of what was shown before, with the references that are known to point at
    // it. What is open in the tree stays open when it is the same commit.
    void show(const git::Repository& repository, const git::Commit& commit);
    // Shows nothing.
    void clear();
    // What points at which commit, for the next that is shown.
    void set_references(ReferenceMap references) { references_ = std::move(references); }

    // The commit that is shown.
    [[nodiscard]] const std::optional<git_oid>& commit() const noexcept { return commit_; }
    [[nodiscard]] FilesTree& files() noexcept { return files_; }

private:
    HWND details_ = nullptr;
    FilesTree files_;
    std::optional<git_oid> commit_;
    ReferenceMap references_;
};

}  // namespace revlane
