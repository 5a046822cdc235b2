// Where texts, menus and dialogs come from: the localized library for the editor's language, with
// the plug-in's own module as fallback.
#pragma once

#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>

namespace host {

// The plug-in's own module, stored as the DLL is attached.
void set_own_module(HMODULE module) noexcept;
HMODULE own_module() noexcept;

// The plug-in's file name without folder and extension ("Revlane"); nothing when Windows cannot say.
std::optional<std::wstring> module_base_name();

// The module that resources are loaded from: the localized library, else the own module. Any thread.
HMODULE resource_module() noexcept;

// A text of the resource module; empty when there is none of that id. Any thread.
std::wstring load_text(UINT id);

// Finds `file_name` in the folder of the editor's language under "mui" beside the plug-in, else in
// that of the editor's default language, else in the first language folder. Window thread.
std::optional<std::filesystem::path> find_localized_file(HWND frame, const std::wstring& file_name);

// Finds and loads the localized library for the editor's language as data; a failure is shown in a
// message box and gives null. The caller hands the module to use_localized_module. Window thread.
HMODULE load_localized_module(HWND frame);

// The library in use; null while none is loaded. Call under the frame lock.
HMODULE localized_module() noexcept;
// Uses `module` (null changes nothing) from now on. The one used before is kept until
// free_localized_modules, since texts point into it. Call under the frame lock.
void use_localized_module(HMODULE module);
// Frees every library that was in use, as the last frame closes. Call under the frame lock.
void free_localized_modules() noexcept;

}  // namespace host
