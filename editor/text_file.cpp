#include "editor/text_file.h"

#include "win32/handle.h"
#include "win32/long_path.h"
#include "win32/text.h"

#include <algorithm>
#include <array>
#include <system_error>

namespace quorrel {

namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

// An edit control counts in 32 bits, and every character may need two units and a line end.
constexpr LONGLONG LARGEST_FILE = 256LL * 1024 * 1024;

Text::LineEnd first_line_end(std::string_view bytes)
{
    const std::size_t end = bytes.find_first_of("\r\n");
    if (end == std::string_view::npos || bytes.substr(end, 2) == "\r\n")
        return Text::LineEnd::crlf;
    return bytes[end] == '\n' ? Text::LineEnd::lf : Text::LineEnd::cr;
}

}  // namespace

tl::expected<std::string, DWORD> read_file(const std::filesystem::path& path)
{
    const win32::FileHandle file(CreateFileW(win32::long_path(path).c_str(), GENERIC_READ,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                             nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                             nullptr));
    LARGE_INTEGER size{};
    if (!file || !GetFileSizeEx(file.get(), &size))
        return tl::unexpected(GetLastError());
    if (size.QuadPart > LARGEST_FILE)
        return tl::unexpected<DWORD>(ERROR_FILE_TOO_LARGE);
    std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    if (!ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr))
        return tl::unexpected(GetLastError());
    bytes.resize(read);
    return bytes;
}

DWORD write_file(const std::filesystem::path& path, std::string_view bytes)
{
    // A folder that cannot be made shows when the file in it cannot be either.
    std::error_code ignored;
    std::filesystem::create_directories(path.parent_path(), ignored);
    const win32::FileHandle file(CreateFileW(win32::long_path(path).c_str(), GENERIC_WRITE,
                                             FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                             FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!file ||
        !WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        return GetLastError();
    // The old end is cut off last, so that a full disk does not cost the old text first.
    return SetEndOfFile(file.get()) ? ERROR_SUCCESS : GetLastError();
}

Text decode_text(std::string_view bytes)
{
    const std::string_view whole = bytes;
    Text text;
    text.byte_order_mark = bytes.starts_with(BYTE_ORDER_MARK);
    if (text.byte_order_mark)
        bytes.remove_prefix(BYTE_ORDER_MARK.size());
    text.line_end = first_line_end(bytes);
    text.text = win32::with_crlf(win32::to_wide(bytes));
    // A NUL would end the text of the control.
    std::replace(text.text.begin(), text.text.end(), L'\0', L'\uFFFD');
    text.exact = encode_text(text) == whole;
    return text;
}

std::string encode_text(const Text& text)
{
    const std::string utf8 = win32::to_utf8(text.text);
    std::string bytes(text.byte_order_mark ? BYTE_ORDER_MARK : "");
    bytes.reserve(bytes.size() + utf8.size());
    for (const char unit : utf8) {
        const bool dropped = (unit == '\r' && text.line_end == Text::LineEnd::lf) ||
                             (unit == '\n' && text.line_end == Text::LineEnd::cr);
        if (!dropped)
            bytes.push_back(unit);
    }
    return bytes;
}

}  // namespace quorrel
