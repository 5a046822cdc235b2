// From a command's text with places for values to the arguments of one run. Pure functions, but for
// run_command.
#pragma once

#include "git/commands.h"
#include "git/runner.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

namespace git {

// How a value goes into its place.
enum class Value {
    AsGiven,  // unescaped, but it must reach git as one piece
    Quoted,   // through quote_argument; the text has the double quotes around its place
    Loose,    // unescaped, and it may be split: only for a command that changes nothing
};

// One command: "{}" is a place for a value, "{{" and "}}" are braces.
class CommandTemplate {
public:
    static constexpr std::size_t MAX_VALUES = 3;

    // A text whose places are not as many as the values does not compile.
    consteval CommandTemplate(std::wstring_view text, Stream stream,
                              std::initializer_list<Value> values = {})
        : text_(text), stream_(stream)
    {
        for (const Value value : values)
            values_.at(count_++) = value;
        if (count_places() != count_)
            throw "as many places as values";
    }

    [[nodiscard]] constexpr std::wstring_view text() const noexcept { return text_; }
    [[nodiscard]] constexpr Stream stream() const noexcept { return stream_; }
    [[nodiscard]] constexpr Value value(std::size_t index) const { return values_.at(index); }
    // Whether the filled text must split into the words that were meant.
    [[nodiscard]] constexpr bool is_guarded() const noexcept
    {
        return std::ranges::find(values_, Value::Loose) == values_.end();
    }

private:
    [[nodiscard]] constexpr std::size_t count_places() const
    {
        std::size_t places = 0;
        for (std::size_t i = 0; i < text_.size(); ++i) {
            const std::wstring_view pair = text_.substr(i, 2);
            if (pair == L"{}")
                ++places;
            if (pair == L"{}" || pair == L"{{" || pair == L"}}")
                ++i;
        }
        return places;
    }

    std::wstring_view text_;
    Stream stream_;
    std::array<Value, MAX_VALUES> values_{};
    std::size_t count_ = 0;
};

// The arguments of one run, and why they must not be run, if so (UTF-8).
struct FilledCommand {
    std::wstring arguments;
    std::string refusal;
};

// As many values as the command has places.
FilledCommand fill(const CommandTemplate& command, std::initializer_list<std::wstring_view> values);

// The refusal of a text that a command line would change.
std::string not_carried(std::wstring_view text);

// Fills and runs; a refusal becomes the output of a failed result.
CommandResult run_command(const CommandContext& context, const CommandTemplate& command,
                          std::initializer_list<std::wstring_view> values = {});

// Whether git reads the path, as a pathspec, as more than the name of one file or folder.
bool is_special_pathspec(std::wstring_view path);

// The path as a pathspec that names just this file or folder.
std::wstring literal_pathspec(std::wstring_view path);

}  // namespace git
