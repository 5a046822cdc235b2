// The settings of the editor and of its plug-ins: sections of named values, in one text file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace quorrel {

// Kept in UTF-8 lines that can be edited by hand:
//     [Section]
//     Number=1
//     Text="C:\Users"
// Names and sections do not tell upper from lower case. A line that is none of these is ignored and
// gone after the next change. Window thread.
class SettingsFile {
public:
    using Value = std::variant<std::uint32_t, std::wstring>;

    // Reads the file; a missing one holds no values.
    explicit SettingsFile(std::filesystem::path path);

    [[nodiscard]] std::optional<Value> find(std::wstring_view section,
                                            std::wstring_view name) const;
    // The number of that name, or `fallback` when there is none.
    [[nodiscard]] std::uint32_t number(std::wstring_view section, std::wstring_view name,
                                       std::uint32_t fallback) const;

    // Both write the file at once. False when a name or text cannot stand in a line of the file, or
    // when it cannot be written; the value then holds until the editor ends.
    bool set(std::wstring_view section, std::wstring_view name, Value value);
    // Removes every value of the section; the bare section remains.
    bool clear(std::wstring_view section);

private:
    struct IgnoringCase {
        using is_transparent = void;
        bool operator()(std::wstring_view left, std::wstring_view right) const noexcept;
    };
    using Section = std::map<std::wstring, Value, IgnoringCase>;

    void read(std::wstring_view text);
    [[nodiscard]] bool write() const;

    std::filesystem::path path_;
    std::map<std::wstring, Section, IgnoringCase> sections_;
};

}  // namespace quorrel
