// The tree of a commit's files in the history window. Folders are read as they are opened. Window
// thread; the tree view belongs to the window.
#pragma once

#include "git/error.h"
#include "git/handles.h"

#include <git2.h>
#include <windows.h>
#include <commctrl.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace revlane {

class FilesTree {
public:
    // Binds to the tree view. It gets the system's images of files and folders with the first commit.
    void init(HWND tree);

    // Empties the tree view.
    void clear();
    // Shows the files of a commit, folders before files, its first level read.
    void show(std::shared_ptr<git_repository> repository, const git_commit* commit);

    // TVN_ITEMEXPANDINGW: reads the folder that is about to open.
    void on_expanding(const NMTREEVIEWW& notification);

    // Whether anything is selected (the caret item).
    [[nodiscard]] bool has_selection() const;
    // The selected file's path, repository-relative with forward slashes; nothing when a folder, a
    // submodule or nothing is selected.
    [[nodiscard]] std::optional<std::wstring> selected_file() const;
    // Where a menu opens that the keyboard asked for, on the screen: below the selected item.
    [[nodiscard]] POINT keyboard_menu_place() const;
    // Opens the selected folder, or closes it.
    void toggle_folder();
    // Selects the item under the mouse, as a right click does.
    void select_at_cursor();

private:
    struct Entry {
        std::wstring path;
        git_oid id;
        git_object_t kind;
        bool is_read;  // a folder whose contents stand below it already
    };

    void load_images();
    void insert_level(HTREEITEM parent, const std::wstring& folder, const git_tree* tree);
    [[nodiscard]] std::optional<std::size_t> entry_of(HTREEITEM item) const;

    HWND tree_ = nullptr;
    bool has_images_ = false;
    int folder_image_ = 0;
    int file_image_ = 0;
    std::shared_ptr<git_repository> repository_;  // of the commit
    std::vector<Entry> entries_;                  // the lParam of an item is an index into it
};

}  // namespace revlane
