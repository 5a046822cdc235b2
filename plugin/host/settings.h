// The plug-in's settings, kept in the editor's settings store in the section that is named after
// the plug-in's module. Window thread. A failed read gives the default, a failed write is ignored.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

namespace host {

// Names of the settings. Numbers count as switches unless said otherwise.
inline constexpr wchar_t SETTING_OPEN_STARTUP[] = L"OpenStartup";
inline constexpr wchar_t SETTING_AUTO_FETCH[] = L"autofetch";
inline constexpr wchar_t SETTING_REPOSITORY_PATH[] = L"RepoPath";  // text, never written
// The editor's own setting: a language identifier.
inline constexpr wchar_t SETTING_DEFAULT_LANGUAGE[] = L"DefaultLang";
inline constexpr std::uint32_t FALLBACK_LANGUAGE = 1033;

// 0 when the setting is absent or unreadable.
std::uint32_t read_number(HWND frame, const wchar_t* name);
// Nothing when the setting is absent or unreadable.
std::optional<std::uint32_t> find_number(HWND frame, const wchar_t* name);
void write_number(HWND frame, const wchar_t* name, std::uint32_t value);
// At most 259 characters.
std::optional<std::wstring> read_string(HWND frame, const wchar_t* name);
// The editor's default language, FALLBACK_LANGUAGE when the read fails.
std::uint32_t read_default_language(HWND frame);
// Writes the plug-in's bare section, without any value.
void write_section(HWND frame);

}  // namespace host
