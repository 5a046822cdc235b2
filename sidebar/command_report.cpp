#include "sidebar/command_report.h"

#include "changes/texts.h"
#include "resources/ids.h"
#include "win32/text.h"

#include <string_view>

namespace revlane {

namespace {

// What still fits on a screen.
constexpr std::size_t MAX_LINES = 25;
constexpr std::size_t MAX_BYTES = 3000;

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// Where the last lines begin that may be shown.
std::size_t start_of_end(std::string_view text)
{
    std::size_t start = text.size();
    for (std::size_t lines = 0; lines < MAX_LINES && start > 0; ++lines) {
        const std::size_t line_end = text.rfind('\n', start - 1);
        const std::size_t line = line_end == std::string_view::npos ? 0 : line_end;
        if (text.size() - line > MAX_BYTES)
            break;
        start = line;
    }
    // A single line that is too long is cut, at the first byte of a character.
    if (start == text.size() && text.size() > MAX_BYTES) {
        start = text.size() - MAX_BYTES;
        while (start < text.size() && (static_cast<unsigned char>(text[start]) & 0xC0U) == 0x80U)
            ++start;
    }
    return start;
}

}  // namespace

std::wstring failure_text(const git::CommandResult& result)
{
    const std::string_view output = trimmed(result.output);
    if (output.empty())
        return text_with(IDS_FAILED_SILENTLY, result.command);
    const std::size_t start = start_of_end(output);
    const std::wstring shown = win32::to_wide(trimmed(output.substr(start)));
    return start == 0 ? shown : L"\u2026\n" + shown;
}

std::wstring status_line(const git::CommandResult& result)
{
    std::string_view output = result.output;
    // Where git ends its lines the other way, the end would show as a box.
    while (output.ends_with('\n') || output.ends_with('\r'))
        output.remove_suffix(1);
    return win32::to_wide(git::last_output_line(output));
}

}  // namespace revlane
