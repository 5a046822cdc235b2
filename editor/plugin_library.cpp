#include "editor/plugin_library.h"

#include "editor/ui.h"
#include "plugin/host/messages.h"
#include "win32/error_box.h"
#include "win32/text.h"

#include <fmt/xchar.h>

#include <array>
#include <utility>

namespace quorrel {

namespace {

// Calls the plug-in; what it throws is shown and answered with `failed`.
template <typename Call, typename Result>
Result guarded(HWND view, Result failed, Call call) noexcept
{
    try {
        return call();
    } catch (...) {
        win32::show_current_exception(GetAncestor(view, GA_ROOT));
        return failed;
    }
}

}  // namespace

tl::expected<std::unique_ptr<PluginLibrary>, std::wstring>
PluginLibrary::load(const std::filesystem::path& path)
{
    win32::LibraryHandle library(
        LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!library)
        return tl::unexpected(fmt::format(L"The plug-in {} cannot be loaded.\n\n{}", path.wstring(),
                                          windows_error(GetLastError())));

    const char* missing = nullptr;
    const auto find = [&library, &missing](auto& entry, const char* name) {
        entry = reinterpret_cast<std::remove_reference_t<decltype(entry)>>(
            GetProcAddress(library.get(), name));
        if (entry == nullptr && missing == nullptr)
            missing = name;
    };
    EntryPoints entries;
    find(entries.OnCommand, "OnCommand");
    find(entries.QueryStatus, "QueryStatus");
    find(entries.OnEvents, "OnEvents");
    find(entries.GetMenuTextID, "GetMenuTextID");
    find(entries.GetStatusMessageID, "GetStatusMessageID");
    find(entries.GetBitmapID, "GetBitmapID");
    find(entries.PlugInProc, "PlugInProc");
    if (missing != nullptr)
        return tl::unexpected(fmt::format(L"{} is no plug-in: it has no entry point {}.",
                                          path.wstring(), win32::to_wide(missing)));
    return std::unique_ptr<PluginLibrary>(new PluginLibrary(path, std::move(library), entries));
}

PluginLibrary::PluginLibrary(std::filesystem::path path, win32::LibraryHandle library,
                             EntryPoints entries)
    : path_(std::move(path)), library_(std::move(library)), entries_(entries)
{
}

bool PluginLibrary::is_named(const wchar_t* file_name) const
{
    return CompareStringOrdinal(path_.filename().c_str(), -1, file_name, -1, TRUE) == CSTR_EQUAL;
}

PluginLibrary::Status PluginLibrary::status(HWND view) const noexcept
{
    return guarded(view, Status{}, [this, view] {
        BOOL checked = FALSE;
        const bool enabled = entries_.QueryStatus(view, &checked) != FALSE;
        return Status{enabled, enabled && checked != FALSE};
    });
}

void PluginLibrary::run_command(HWND view) const noexcept
{
    guarded(view, 0, [this, view] { return entries_.OnCommand(view), 0; });
}

void PluginLibrary::announce(HWND view, UINT event, LPARAM argument) const noexcept
{
    guarded(view, 0, [&] { return entries_.OnEvents(view, event, argument), 0; });
}

LRESULT PluginLibrary::query(HWND view, UINT code, WPARAM wparam, LPARAM lparam) const noexcept
{
    return guarded(view, LRESULT{0},
                   [&] { return entries_.PlugInProc(view, code, wparam, lparam); });
}

UINT PluginLibrary::bitmap() const noexcept
{
    return guarded(nullptr, 0U, [this] { return entries_.GetBitmapID(); });
}

std::wstring PluginLibrary::name(HWND view) const
{
    std::array<wchar_t, 80> text{};
    query(view, host::QUERY_NAME_W, text.size(), reinterpret_cast<LPARAM>(text.data()));
    text.back() = L'\0';
    return text.front() != L'\0' ? std::wstring(text.data()) : path_.stem().wstring();
}

}  // namespace quorrel
