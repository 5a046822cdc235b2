// Owners of libgit2 objects. An object belongs to the thread of its repository and must not outlive
// it: declare the repository first.
#pragma once

#include <git2.h>

#include <memory>

namespace git {

template <auto free_function>
struct Deleter {
    template <typename T>
    void operator()(T* object) const noexcept
    {
        free_function(object);
    }
};

template <typename T, auto free_function>
using Owned = std::unique_ptr<T, Deleter<free_function>>;

using Reference = Owned<git_reference, git_reference_free>;
using BranchIterator = Owned<git_branch_iterator, git_branch_iterator_free>;
using ReferenceIterator = Owned<git_reference_iterator, git_reference_iterator_free>;
using Commit = Owned<git_commit, git_commit_free>;
using Tree = Owned<git_tree, git_tree_free>;
using TreeEntry = Owned<git_tree_entry, git_tree_entry_free>;
using Blob = Owned<git_blob, git_blob_free>;
using Tag = Owned<git_tag, git_tag_free>;
using Object = Owned<git_object, git_object_free>;
using Diff = Owned<git_diff, git_diff_free>;
using Index = Owned<git_index, git_index_free>;
using Pathspec = Owned<git_pathspec, git_pathspec_free>;
using PathspecMatches = Owned<git_pathspec_match_list, git_pathspec_match_list_free>;
using Revwalk = Owned<git_revwalk, git_revwalk_free>;
using Remote = Owned<git_remote, git_remote_free>;
using Submodule = Owned<git_submodule, git_submodule_free>;
using Config = Owned<git_config, git_config_free>;
using StatusList = Owned<git_status_list, git_status_list_free>;

// A buffer that libgit2 fills.
class Buffer {
public:
    Buffer() noexcept = default;
    ~Buffer() { git_buf_dispose(&buffer_); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    [[nodiscard]] git_buf* get() noexcept { return &buffer_; }
    // Empty text when libgit2 left the buffer alone.
    [[nodiscard]] const char* text() const noexcept
    {
        return buffer_.ptr != nullptr ? buffer_.ptr : "";
    }

private:
    git_buf buffer_ = GIT_BUF_INIT;
};

// A list of names that libgit2 fills.
class StringArray {
public:
    StringArray() noexcept = default;
    ~StringArray() { git_strarray_dispose(&array_); }
    StringArray(const StringArray&) = delete;
    StringArray& operator=(const StringArray&) = delete;
    [[nodiscard]] git_strarray* get() noexcept { return &array_; }
    [[nodiscard]] char** begin() const noexcept { return array_.strings; }
    [[nodiscard]] char** end() const noexcept { return array_.strings + array_.count; }

private:
    git_strarray array_{};
};

// Takes one count of libgit2's initialisation, which git_libgit2_shutdown gives back. The first sets how
// the process reads objects: like git itself, without hashing each one again to see whether it is what
// its name says.
// Any thread.
void begin_library() noexcept;

// One count of libgit2's initialisation, held as long as the object lives. Every background task and
// every window that holds libgit2 objects has one; declare it before them.
class LibraryScope {
public:
    LibraryScope() { begin_library(); }
    ~LibraryScope() { git_libgit2_shutdown(); }
    LibraryScope(const LibraryScope&) = delete;
    LibraryScope& operator=(const LibraryScope&) = delete;
};

}  // namespace git
