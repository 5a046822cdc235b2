#include "plugin/host/localized.h"

#include "plugin/host/editor.h"
#include "plugin/host/frame_lock.h"
#include "plugin/host/settings.h"
#include "win32/handle.h"

#include <fmt/xchar.h>
#include <windows.h>
#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

namespace host {

namespace {

// Room for a path, its terminator included. The path functions of the shell, which the search is
// made with, take no longer one.
using PathBuffer = std::array<wchar_t, MAX_PATH>;

constexpr wchar_t LANGUAGES_FOLDER[] = L"mui";
constexpr wchar_t LIBRARY_SUFFIX[] = L"_loc.dll";
constexpr wchar_t BOX_CAPTION[] = L"Quorrel";
// What the text of a failure may have at most: a path and a few words.
constexpr std::size_t FAILURE_CAPACITY = 324;

HMODULE own = nullptr;
// Every localized library that was in use since the first frame, the one in use last. Under the
// frame lock. Not freed on its own: no library may be let go while this one is being detached.
std::vector<HMODULE> libraries;

struct OwnPath {
    PathBuffer text{};
    std::size_t name = 0;  // where the file name begins
};

std::optional<OwnPath> own_path()
{
    PathBuffer loaded_from{};
    const DWORD length =
        GetModuleFileNameW(own, loaded_from.data(), static_cast<DWORD>(loaded_from.size()));
    // A path that fills the whole buffer has been cut.
    if (length == 0 || length >= loaded_from.size())
        return std::nullopt;
    OwnPath path;
    wchar_t* name = nullptr;
    const DWORD absolute = GetFullPathNameW(
        loaded_from.data(), static_cast<DWORD>(path.text.size()), path.text.data(), &name);
    if (absolute == 0 || absolute >= path.text.size() || name == nullptr)
        return std::nullopt;
    path.name = static_cast<std::size_t>(name - path.text.data());
    return path;
}

std::optional<PathBuffer> languages_folder()
{
    const std::optional<OwnPath> path = own_path();
    if (!path || path->name + std::size(LANGUAGES_FOLDER) > path->text.size())
        return std::nullopt;
    PathBuffer folder = path->text;
    std::copy(std::begin(LANGUAGES_FOLDER), std::end(LANGUAGES_FOLDER),
              folder.begin() + static_cast<std::ptrdiff_t>(path->name));
    return folder;
}

bool is_file(const PathBuffer& path)
{
    const DWORD attributes = GetFileAttributesW(path.data());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::optional<std::filesystem::path> file_in(PathBuffer folder, const std::wstring& file_name)
{
    if (!PathAppendW(folder.data(), file_name.c_str()) || !is_file(folder))
        return std::nullopt;
    return folder.data();
}

// The folder `name` of `languages`, if it is one for a language.
std::optional<PathBuffer> language_folder(const PathBuffer& languages, const wchar_t* name)
{
    PathBuffer folder{};
    if (*name == L'\0' || *name == L'.' ||
        PathCombineW(folder.data(), languages.data(), name) == nullptr ||
        !PathIsDirectoryW(folder.data()))
        return std::nullopt;
    return folder;
}

// The first in the order in which the file system lists them.
std::optional<PathBuffer> first_language_folder(const PathBuffer& languages)
{
    PathBuffer pattern = languages;
    if (!PathAppendW(pattern.data(), L"*"))
        return std::nullopt;
    WIN32_FIND_DATAW entry{};
    const win32::FindHandle search(FindFirstFileW(pattern.data(), &entry));
    if (!search)
        return std::nullopt;
    do {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            continue;
        if (std::optional<PathBuffer> folder = language_folder(languages, entry.cFileName))
            return folder;
    } while (FindNextFileW(search.get(), &entry));
    return std::nullopt;
}

std::optional<std::wstring> localized_file_name()
{
    std::optional<std::wstring> name = module_base_name();
    if (name) {
        name->append(LIBRARY_SUFFIX);
        // With its terminator it has to fit where a path fits.
        name->resize(std::min<std::size_t>(name->size(), MAX_PATH - 1));
    }
    return name;
}

void show_failure(std::wstring text)
{
    text.resize(std::min(text.size(), FAILURE_CAPACITY - 1));
    MessageBoxW(nullptr, text.c_str(), BOX_CAPTION, MB_ICONERROR);
}

}  // namespace

void set_own_module(HMODULE module) noexcept
{
    own = module;
}

HMODULE own_module() noexcept
{
    return own;
}

std::optional<std::wstring> module_base_name()
{
    const std::optional<OwnPath> path = own_path();
    if (!path)
        return std::nullopt;
    std::wstring name = path->text.data() + path->name;
    if (const std::size_t dot = name.rfind(L'.'); dot != std::wstring::npos)
        name.resize(dot);
    return name;
}

HMODULE resource_module() noexcept
{
    const FrameLock lock;
    const HMODULE localized = localized_module();
    return localized != nullptr ? localized : own;
}

std::wstring load_text(UINT id)
{
    // With a size of 0 the text is not copied: the pointer leads into the library.
    const wchar_t* text = nullptr;
    const int length = LoadStringW(resource_module(), id, reinterpret_cast<wchar_t*>(&text), 0);
    return length > 0 ? std::wstring(text, static_cast<std::size_t>(length)) : std::wstring();
}

std::optional<std::filesystem::path> find_localized_file(HWND frame, const std::wstring& file_name)
{
    std::wstring language = language_path(frame);
    if (language.empty())
        return std::nullopt;
    PathStripPathW(language.data());
    const std::optional<PathBuffer> languages = languages_folder();
    if (!languages)
        return std::nullopt;
    PathBuffer folder = *languages;
    if (PathAppendW(folder.data(), language.c_str())) {
        if (auto path = file_in(folder, file_name))
            return path;
    }
    // Folders are named by the number as it reads with its sign.
    const std::wstring fallback =
        fmt::format(L"{}", static_cast<std::int32_t>(read_default_language(frame)));
    std::optional<PathBuffer> chosen = language_folder(*languages, fallback.c_str());
    if (!chosen)
        chosen = first_language_folder(*languages);
    return chosen ? file_in(*chosen, file_name) : std::nullopt;
}

HMODULE load_localized_module(HWND frame)
{
    const std::optional<std::wstring> file_name = localized_file_name();
    if (!file_name)
        return nullptr;
    const std::optional<std::filesystem::path> path = find_localized_file(frame, *file_name);
    if (!path) {
        show_failure(L"No localized file found - " + *file_name);
        return nullptr;
    }
    // As data: no code of the library runs.
    const HMODULE module = LoadLibraryExW(
        path->c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    if (module == nullptr)
        show_failure(fmt::format(L"Cannot load {}.", path->wstring()));
    return module;
}

HMODULE localized_module() noexcept
{
    return libraries.empty() ? nullptr : libraries.back();
}

void use_localized_module(HMODULE module)
{
    if (module != nullptr)
        libraries.push_back(module);
}

void free_localized_modules() noexcept
{
    for (const HMODULE library : libraries)
        FreeLibrary(library);
    libraries.clear();
}

}  // namespace host
