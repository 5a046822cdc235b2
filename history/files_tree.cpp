#include "history/files_tree.h"

#include "changes/list_control.h"
#include "git/objects.h"
#include "win32/text.h"

#include <shellapi.h>

#include <algorithm>
#include <cstring>
#include <tuple>
#include <utility>

namespace revlane {

namespace {

// The index of the system's image for a kind of file, and the image list it is in.
std::pair<int, HIMAGELIST> system_image(DWORD attributes)
{
    SHFILEINFOW info{};
    // Only the attributes count: no file of this name is looked for.
    const DWORD_PTR images =
        SHGetFileInfoW(L"file", attributes, &info, sizeof info,
                       SHGFI_SYSICONINDEX | SHGFI_SMALLICON | SHGFI_USEFILEATTRIBUTES);
    return {info.iIcon, reinterpret_cast<HIMAGELIST>(images)};
}

bool is_folder(const git::NamedEntry& entry)
{
    return entry.kind == GIT_OBJECT_TREE;
}

}  // namespace

void FilesTree::init(HWND tree)
{
    tree_ = tree;
}

void FilesTree::load_images()
{
    HIMAGELIST images = nullptr;
    std::tie(folder_image_, images) = system_image(FILE_ATTRIBUTE_DIRECTORY);
    file_image_ = system_image(FILE_ATTRIBUTE_NORMAL).first;
    // The list is the system's own and lives as long as the process.
    TreeView_SetImageList(tree_, images, TVSIL_NORMAL);
    has_images_ = true;
}

void FilesTree::clear()
{
    SendMessageW(tree_, TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(TVI_ROOT));
    entries_.clear();
    repository_.reset();
}

void FilesTree::show(std::shared_ptr<git_repository> repository, const git_commit* commit)
{
    const RedrawPause pause(tree_);
    clear();
    const git::Result<git::Tree> tree = git::commit_tree(commit);
    if (!tree)
        return;
    repository_ = std::move(repository);
    // The system takes long to find its first image: the commits are on view by now.
    if (!has_images_)
        load_images();
    insert_level(TVI_ROOT, L"", tree->get());
}

void FilesTree::insert_level(HTREEITEM parent, const std::wstring& folder, const git_tree* tree)
{
    std::vector<git::NamedEntry> level = git::tree_entries(tree);
    std::stable_partition(level.begin(), level.end(), is_folder);
    for (const git::NamedEntry& entry : level) {
        std::wstring name = win32::to_wide(entry.name);
        const int image = is_folder(entry) ? folder_image_ : file_image_;
        TVINSERTSTRUCTW insert{};
        insert.hParent = parent;
        insert.hInsertAfter = TVI_LAST;
        insert.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_CHILDREN;
        insert.item.pszText = name.data();
        insert.item.lParam = static_cast<LPARAM>(entries_.size());
        insert.item.iImage = image;
        insert.item.iSelectedImage = image;
        insert.item.cChildren = is_folder(entry) ? 1 : 0;
        entries_.push_back({folder + name, entry.id, entry.kind, false});
        SendMessageW(tree_, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&insert));
    }
}

void FilesTree::on_expanding(const NMTREEVIEWW& notification)
{
    const std::optional<std::size_t> index = entry_of(notification.itemNew.hItem);
    if (notification.action != TVE_EXPAND || !index || entries_[*index].is_read)
        return;
    entries_[*index].is_read = true;
    git_tree* found = nullptr;
    if (git_tree_lookup(&found, repository_.get(), &entries_[*index].id) != 0)
        return;
    const git::Tree tree(found);
    const std::wstring folder = entries_[*index].path + L"/";
    const RedrawPause pause(tree_);
    insert_level(notification.itemNew.hItem, folder, tree.get());
}

std::optional<std::size_t> FilesTree::entry_of(HTREEITEM item) const
{
    TVITEMW query{};
    query.mask = TVIF_PARAM;
    query.hItem = item;
    if (item == nullptr || !SendMessageW(tree_, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&query)))
        return std::nullopt;
    const auto index = static_cast<std::size_t>(query.lParam);
    return index < entries_.size() ? std::optional(index) : std::nullopt;
}

bool FilesTree::has_selection() const
{
    return TreeView_GetSelection(tree_) != nullptr;
}

std::optional<std::wstring> FilesTree::selected_file() const
{
    const std::optional<std::size_t> index = entry_of(TreeView_GetSelection(tree_));
    if (!index || entries_[*index].kind != GIT_OBJECT_BLOB)
        return std::nullopt;
    return entries_[*index].path;
}

POINT FilesTree::keyboard_menu_place() const
{
    RECT client{};
    GetClientRect(tree_, &client);
    RECT item{};
    if (auto* const selected = TreeView_GetSelection(tree_)) {
        // The message takes the item from where it puts the rectangle.
        const auto handle = reinterpret_cast<LONG_PTR>(selected);
        std::memcpy(&item, &handle, sizeof handle);
        SendMessageW(tree_, TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&item));
    }
    POINT place{std::clamp(item.left, client.left, client.right),
                std::clamp(item.bottom, client.top, client.bottom)};
    ClientToScreen(tree_, &place);
    return place;
}

void FilesTree::toggle_folder()
{
    auto* const selected = TreeView_GetSelection(tree_);
    if (selected == nullptr)
        return;
    const bool is_open =
        (TreeView_GetItemState(tree_, selected, TVIS_EXPANDED) & TVIS_EXPANDED) != 0;
    TreeView_Expand(tree_, selected, is_open ? TVE_COLLAPSE : TVE_EXPAND);
}

void FilesTree::select_at_cursor()
{
    TVHITTESTINFO hit{};
    GetCursorPos(&hit.pt);
    ScreenToClient(tree_, &hit.pt);
    if (TreeView_HitTest(tree_, &hit) != nullptr)
        TreeView_SelectItem(tree_, hit.hItem);
}

}  // namespace revlane
