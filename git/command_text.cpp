#include "git/command_text.h"

#include "win32/text.h"

#include <fmt/format.h>

#include <utility>
#include <vector>

namespace git {

namespace {

// Builds the arguments and, beside them, the words that git is meant to find in them.
class Filler {
public:
    Filler(const CommandTemplate& command, std::initializer_list<std::wstring_view> values)
        : command_(command), values_(values.begin(), values.end())
    {
    }

    FilledCommand fill()
    {
        const std::wstring_view text = command_.text();
        for (std::size_t i = 0; i < text.size(); ++i) {
            const std::wstring_view pair = text.substr(i, 2);
            if (pair == L"{}")
                put_value();
            else
                put_character(text[i]);
            if (pair == L"{}" || pair == L"{{" || pair == L"}}")
                ++i;
        }
        end_word();
        std::string refused = command_.is_guarded() ? refusal() : std::string();
        return {std::move(arguments_), std::move(refused)};
    }

private:
    void put_character(wchar_t c)
    {
        arguments_ += c;
        if (c == L'"') {
            in_quotes_ = !in_quotes_;
            has_word_ = true;
        } else if (c == L' ' && !in_quotes_) {
            end_word();
        } else {
            word_ += c;
            has_word_ = true;
        }
    }

    void put_value()
    {
        const std::wstring_view value = values_.at(next_value_);
        if (command_.value(next_value_) == Value::Quoted)
            arguments_ += quote_argument(value);
        else
            arguments_ += value;
        ++next_value_;
        // Behind a word "--" git looks for no option any more.
        if (word_.empty() && value.starts_with(L'-') && !behind_options_)
            option_ = value;
        word_ += value;
        has_word_ = true;
    }

    void end_word()
    {
        if (!has_word_)
            return;
        behind_options_ = behind_options_ || word_ == L"--";
        words_.push_back(std::exchange(word_, {}));
        has_word_ = false;
    }

    [[nodiscard]] std::string refusal() const
    {
        if (!option_.empty())
            return fmt::format("Nothing was run, since git would read this name as an option: {}",
                               win32::to_utf8(option_));
        if (arguments_.size() <= MAX_ARGUMENTS_LENGTH && !is_carried(arguments_, words_))
            return not_carried(arguments_);
        return {};
    }

    const CommandTemplate& command_;
    std::vector<std::wstring_view> values_;
    std::size_t next_value_ = 0;
    std::wstring arguments_;
    std::vector<std::wstring> words_;
    std::wstring word_;
    bool has_word_ = false;  // a word has begun, though it may be empty
    bool in_quotes_ = false;
    bool behind_options_ = false;
    std::wstring_view option_;
};

}  // namespace

FilledCommand fill(const CommandTemplate& command, std::initializer_list<std::wstring_view> values)
{
    return Filler(command, values).fill();
}

std::string not_carried(std::wstring_view text)
{
    return fmt::format(
        "Nothing was run, since the quotes, backslashes or spaces in this text would "
        "not reach git unchanged: {}",
        win32::to_utf8(text));
}

CommandResult run_command(const CommandContext& context, const CommandTemplate& command,
                          std::initializer_list<std::wstring_view> values)
{
    FilledCommand filled = fill(command, values);
    if (!filled.refusal.empty())
        return {std::move(filled.arguments), std::move(filled.refusal), false};
    return run_git(std::move(filled.arguments), context.workdir, command.stream(), context.git);
}

bool is_special_pathspec(std::wstring_view path)
{
    return path.starts_with(L':') || path.find_first_of(LR"(*?[\)") != std::wstring_view::npos;
}

std::wstring literal_pathspec(std::wstring_view path)
{
    std::wstring result = is_special_pathspec(path) ? L":(literal)" : L"";
    result += path;
    return result;
}

}  // namespace git
