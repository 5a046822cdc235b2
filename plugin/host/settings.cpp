#include "plugin/host/settings.h"

#include "plugin/host/localized.h"
#include "plugin/host/messages.h"

#include <array>
#include <cwchar>

namespace host {

namespace {

// Fills `data` from the value `name`; false when the editor refuses.
bool read(HWND frame, ProfileRead record, void* data, std::uint32_t size)
{
    record.data = data;
    record.data_size = &size;
    // Sending to no window gives 0, which would mean success.
    return frame != nullptr &&
           SendMessageW(frame, QM_PROFILE_READ, 0, reinterpret_cast<LPARAM>(&record)) == 0;
}

void write(HWND frame, const ProfileWrite& record)
{
    SendMessageW(frame, QM_PROFILE_WRITE, 0, reinterpret_cast<LPARAM>(&record));
}

}  // namespace

std::uint32_t read_number(HWND frame, const wchar_t* name)
{
    return find_number(frame, name).value_or(0);
}

std::optional<std::uint32_t> find_number(HWND frame, const wchar_t* name)
{
    const std::optional<std::wstring> section = module_base_name();
    if (!section)
        return std::nullopt;
    std::uint32_t value = 0;
    const ProfileRead record{.section = section->c_str(), .name = name, .type = PROFILE_NUMBER};
    if (!read(frame, record, &value, sizeof value))
        return std::nullopt;
    return value;
}

void write_number(HWND frame, const wchar_t* name, std::uint32_t value)
{
    const std::optional<std::wstring> section = module_base_name();
    if (!section)
        return;
    write(frame, ProfileWrite{.section = section->c_str(),
                              .name = name,
                              .type = PROFILE_NUMBER,
                              .data = &value,
                              .data_size = sizeof value});
}

std::optional<std::wstring> read_string(HWND frame, const wchar_t* name)
{
    const std::optional<std::wstring> section = module_base_name();
    if (!section)
        return std::nullopt;
    std::array<wchar_t, MAX_PATH> text{};
    const ProfileRead record{.section = section->c_str(), .name = name, .type = PROFILE_STRING};
    if (!read(frame, record, text.data(), sizeof text))
        return std::nullopt;
    return std::wstring(text.data(), wcsnlen(text.data(), text.size()));
}

std::uint32_t read_default_language(HWND frame)
{
    std::uint32_t language = 0;
    const ProfileRead record{.mask = PROFILE_MASK_EDITOR, .name = SETTING_DEFAULT_LANGUAGE};
    return read(frame, record, &language, sizeof language) ? language : FALLBACK_LANGUAGE;
}

void write_section(HWND frame)
{
    if (const std::optional<std::wstring> section = module_base_name())
        write(frame, ProfileWrite{.section = section->c_str(), .type = PROFILE_STRING});
}

}  // namespace host
