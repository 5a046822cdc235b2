#include "editor/settings_file.h"

#include "editor/line_diff.h"
#include "editor/text_file.h"
#include "win32/text.h"

#include <fmt/xchar.h>
#include <windows.h>

#include <algorithm>
#include <cwctype>
#include <utility>

namespace quorrel {

namespace {

bool is_name(std::wstring_view name)
{
    return !name.empty() && name.find_first_of(L"=[]\r\n") == std::wstring_view::npos;
}

std::optional<SettingsFile::Value> parse_value(std::wstring_view text)
{
    if (text.size() >= 2 && text.front() == L'"' && text.back() == L'"')
        return std::wstring(text.substr(1, text.size() - 2));
    constexpr std::uint64_t LARGEST = UINT32_MAX;
    std::uint64_t number = 0;
    for (const wchar_t digit : text) {
        if (digit < L'0' || digit > L'9')
            return std::nullopt;
        number = number * 10 + static_cast<std::uint64_t>(digit - L'0');
        if (number > LARGEST)
            return std::nullopt;
    }
    if (text.empty())
        return std::nullopt;
    return static_cast<std::uint32_t>(number);
}

std::wstring format_value(const SettingsFile::Value& value)
{
    if (const auto* number = std::get_if<std::uint32_t>(&value))
        return fmt::format(L"{}", *number);
    return fmt::format(L"\"{}\"", std::get<std::wstring>(value));
}

}  // namespace

bool SettingsFile::IgnoringCase::operator()(std::wstring_view left,
                                            std::wstring_view right) const noexcept
{
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_LESS_THAN;
}

SettingsFile::SettingsFile(std::filesystem::path path) : path_(std::move(path))
{
    if (const auto bytes = read_file(path_))
        read(decode_text(*bytes).text);
}

void SettingsFile::read(std::wstring_view text)
{
    Section* section = nullptr;
    for (const std::wstring& line : split_lines(std::wstring(text))) {
        if (line.size() > 2 && line.front() == L'[' && line.back() == L']') {
            section = &sections_[line.substr(1, line.size() - 2)];
            continue;
        }
        const std::size_t equals = line.find(L'=');
        if (section == nullptr || equals == std::wstring::npos)
            continue;
        if (const auto value = parse_value(std::wstring_view(line).substr(equals + 1)))
            (*section)[line.substr(0, equals)] = *value;
    }
}

std::optional<SettingsFile::Value> SettingsFile::find(std::wstring_view section,
                                                      std::wstring_view name) const
{
    const auto values = sections_.find(section);
    if (values == sections_.end())
        return std::nullopt;
    const auto value = values->second.find(name);
    if (value == values->second.end())
        return std::nullopt;
    return value->second;
}

std::uint32_t SettingsFile::number(std::wstring_view section, std::wstring_view name,
                                   std::uint32_t fallback) const
{
    const auto value = find(section, name);
    const auto* number = value ? std::get_if<std::uint32_t>(&*value) : nullptr;
    return number != nullptr ? *number : fallback;
}

bool SettingsFile::set(std::wstring_view section, std::wstring_view name, Value value)
{
    if (!is_name(section) || !is_name(name))
        return false;
    const auto* text = std::get_if<std::wstring>(&value);
    if (text != nullptr && text->find_first_of(L"\r\n") != std::wstring::npos)
        return false;
    sections_[std::wstring(section)][std::wstring(name)] = std::move(value);
    return write();
}

bool SettingsFile::clear(std::wstring_view section)
{
    if (!is_name(section))
        return false;
    sections_[std::wstring(section)].clear();
    return write();
}

bool SettingsFile::write() const
{
    Text text;
    for (const auto& [section, values] : sections_) {
        text.text += fmt::format(L"[{}]\r\n", section);
        for (const auto& [name, value] : values)
            text.text += fmt::format(L"{}={}\r\n", name, format_value(value));
    }
    // The old file is replaced as a whole, so that an interrupted write never leaves half of it.
    std::filesystem::path fresh = path_;
    fresh += L".new";
    return write_file(fresh, encode_text(text)) == ERROR_SUCCESS &&
           MoveFileExW(fresh.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING);
}

}  // namespace quorrel
