#include "sidebar/folder_dialog.h"

#include <gsl/util>
#include <objbase.h>
#include <shlobj.h>
#include <shobjidl.h>

#include <memory>

namespace revlane {

namespace {

struct Release {
    void operator()(IUnknown* object) const noexcept { object->Release(); }
};
template <typename T>
using ComOwner = std::unique_ptr<T, Release>;

git::Error error_of(HRESULT result)
{
    return git::Error::system(git::windows_error_text(static_cast<DWORD>(result)));
}

// Null when the shell does not know the folder: the dialog then begins where it likes.
ComOwner<IShellItem> shell_item(const std::filesystem::path& path)
{
    PIDLIST_ABSOLUTE list = nullptr;
    if (path.empty() || FAILED(SHParseDisplayName(path.c_str(), nullptr, &list, 0, nullptr)))
        return nullptr;
    const auto freed = gsl::finally([list] { CoTaskMemFree(list); });
    IShellItem* item = nullptr;
    if (FAILED(SHCreateShellItem(nullptr, nullptr, list, &item)))
        return nullptr;
    return ComOwner<IShellItem>(item);
}

}  // namespace

git::Result<std::optional<std::filesystem::path>> choose_folder(HWND owner,
                                                                const std::filesystem::path& start)
{
    // The editor may have initialised its thread in its own way, which is as good.
    const HRESULT initialised =
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);
    const auto uninitialise = gsl::finally([initialised] {
        if (SUCCEEDED(initialised))
            CoUninitialize();
    });

    IFileOpenDialog* created = nullptr;
    HRESULT result = CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_IFileOpenDialog, reinterpret_cast<void**>(&created));
    if (FAILED(result))
        return tl::unexpected(error_of(result));
    const ComOwner<IFileOpenDialog> dialog(created);
    FILEOPENDIALOGOPTIONS options = 0;
    dialog->GetOptions(&options);
    dialog->SetOptions(options | FOS_PICKFOLDERS | FOS_FORCEFILESYSTEM | FOS_PATHMUSTEXIST);
    if (const ComOwner<IShellItem> folder = shell_item(start))
        dialog->SetFolder(folder.get());

    result = dialog->Show(owner);
    if (result == HRESULT_FROM_WIN32(ERROR_CANCELLED))
        return std::nullopt;
    IShellItem* found = nullptr;
    if (SUCCEEDED(result))
        result = dialog->GetResult(&found);
    if (FAILED(result))
        return tl::unexpected(error_of(result));
    const ComOwner<IShellItem> chosen(found);
    PWSTR path = nullptr;
    result = chosen->GetDisplayName(SIGDN_FILESYSPATH, &path);
    if (FAILED(result))
        return tl::unexpected(error_of(result));
    const auto freed = gsl::finally([path] { CoTaskMemFree(path); });
    return std::filesystem::path(path);
}

}  // namespace revlane
