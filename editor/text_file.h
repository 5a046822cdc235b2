// Files of the editor: whole files as bytes, and UTF-8 text as the edit control wants it.
#pragma once

#include <tl/expected.hpp>
#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorrel {

// The bytes of a file, or Windows' error code. The file may be in use elsewhere.
tl::expected<std::string, DWORD> read_file(const std::filesystem::path& path);

// Replaces the contents of a file, which is made when it is missing, its folders too. Returns
// Windows' error code, 0 when all was written.
DWORD write_file(const std::filesystem::path& path, std::string_view bytes);

// A text with what is needed to write it back as it was.
struct Text {
    enum class LineEnd { crlf, lf, cr };

    std::wstring text;  // with CR LF line ends
    LineEnd line_end = LineEnd::crlf;
    bool byte_order_mark = false;
    // False for bytes that are not UTF-8 text with line ends of one kind: they are shown as well as
    // can be, and writing the text back would change more than the user did.
    bool exact = true;
};

Text decode_text(std::string_view bytes);
std::string encode_text(const Text& text);

}  // namespace quorrel
