// A plug-in's library and its entry points.
#pragma once

#include "win32/handle.h"

#include <tl/expected.hpp>
#include <windows.h>

#include <filesystem>
#include <memory>
#include <string>

namespace quorrel {

// Owns the loaded library and calls it. `view` is always the view window of a frame: the plug-in
// finds the frame as its parent. An exception that leaves the plug-in is shown in an error box and
// ends there, with 0 as the answer. Window thread.
class PluginLibrary {
public:
    // The library at `path`, or the text that says why it is none of a plug-in.
    static tl::expected<std::unique_ptr<PluginLibrary>, std::wstring>
    load(const std::filesystem::path& path);

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    [[nodiscard]] HMODULE module() const noexcept { return library_.get(); }
    // Whether a request that is addressed to the library `file_name` is meant for this plug-in.
    [[nodiscard]] bool is_named(const wchar_t* file_name) const;

    struct Status {
        bool enabled = false;
        bool checked = false;
    };
    [[nodiscard]] Status status(HWND view) const noexcept;
    void run_command(HWND view) const noexcept;
    void announce(HWND view, UINT event, LPARAM argument) const noexcept;
    LRESULT query(HWND view, UINT code, WPARAM wparam, LPARAM lparam) const noexcept;
    [[nodiscard]] UINT bitmap() const noexcept;
    // The plug-in's name for menus; its file name when it tells none.
    [[nodiscard]] std::wstring name(HWND view) const;

private:
    struct EntryPoints {
        void(WINAPI* OnCommand)(HWND) = nullptr;
        BOOL(WINAPI* QueryStatus)(HWND, BOOL*) = nullptr;
        void(WINAPI* OnEvents)(HWND, UINT, LPARAM) = nullptr;
        UINT(WINAPI* GetMenuTextID)() = nullptr;
        UINT(WINAPI* GetStatusMessageID)() = nullptr;
        UINT(WINAPI* GetBitmapID)() = nullptr;
        LRESULT(WINAPI* PlugInProc)(HWND, UINT, WPARAM, LPARAM) = nullptr;
    };

    PluginLibrary(std::filesystem::path path, win32::LibraryHandle library, EntryPoints entries);

    std::filesystem::path path_;
    win32::LibraryHandle library_;
    EntryPoints entries_;
};

}  // namespace quorrel
