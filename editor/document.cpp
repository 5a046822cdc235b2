#include "editor/document.h"

#include "editor/ui.h"
#include "win32/long_path.h"

#include <fmt/xchar.h>

#include <utility>

namespace quorrel {

namespace {

// Character that a control gets for Ctrl+A.
constexpr WPARAM CTRL_A = 1;

DWORD selection_start(HWND edit)
{
    DWORD start = 0;
    SendMessageW(edit, EM_GETSEL, reinterpret_cast<WPARAM>(&start), 0);
    return start;
}

}  // namespace

Document::Document(HWND view, HFONT font, std::filesystem::path path, bool temporary)
    : path_(std::move(path)), temporary_(temporary)
{
    constexpr DWORD STYLE = WS_VSCROLL | WS_HSCROLL | WS_TABSTOP | ES_MULTILINE | ES_AUTOVSCROLL |
                            ES_AUTOHSCROLL | ES_NOHIDESEL;
    edit_ = create_child(WC_EDITW, STYLE, view, nullptr);
    // The default limit of a multi-line edit is 30,000 characters; 0 stands for the largest one.
    SendMessageW(edit_, EM_SETLIMITTEXT, 0, 0);
    SendMessageW(edit_, EM_SETREADONLY, temporary_ ? TRUE : FALSE, 0);
    set_font(font);
    // A multi-line edit control does not select all by itself on every Windows.
    select_all_ = std::make_unique<win32::Subclass>(
        edit_, [](const win32::Message& message) -> win32::Handled {
            if (message.id != WM_CHAR || message.wparam != CTRL_A)
                return std::nullopt;
            SendMessageW(message.window, EM_SETSEL, 0, -1);
            return 0;
        });
}

Document::~Document()
{
    if (select_all_->control() != nullptr)
        DestroyWindow(edit_);
}

std::wstring Document::title() const
{
    if (!title_.empty())
        return title_;
    return path_.empty() ? L"Untitled" : path_.filename().wstring();
}

std::wstring Document::text() const
{
    return win32::window_text(edit_);
}

bool Document::modified() const
{
    return SendMessageW(edit_, EM_GETMODIFY, 0, 0) != 0;
}

std::wstring Document::position() const
{
    const DWORD start = selection_start(edit_);
    const LRESULT line = SendMessageW(edit_, EM_LINEFROMCHAR, start, 0);
    const LRESULT line_start = SendMessageW(edit_, EM_LINEINDEX, static_cast<WPARAM>(line), 0);
    return fmt::format(L"Ln {}, Col {}", line + 1, static_cast<LRESULT>(start) - line_start + 1);
}

std::wstring Document::state() const
{
    if (!text_.exact)
        return L"Read-only: not UTF-8, or mixed line ends";
    if (temporary_)
        return L"Read-only";
    const wchar_t* line_end = text_.line_end == Text::LineEnd::crlf ? L"CR LF"
                              : text_.line_end == Text::LineEnd::lf ? L"LF"
                                                                    : L"CR";
    return fmt::format(L"UTF-8{}, {}", text_.byte_order_mark ? L" with BOM" : L"", line_end);
}

void Document::set_font(HFONT font)
{
    SendMessageW(edit_, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
    // Four average characters, in the quarters of one in which the control counts.
    const DWORD tab = 16;
    SendMessageW(edit_, EM_SETTABSTOPS, 1, reinterpret_cast<LPARAM>(&tab));
    const auto margin = static_cast<WORD>(scaled(4, GetDpiForWindow(edit_)));
    SendMessageW(edit_, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, MAKELPARAM(margin, margin));
}

DWORD Document::load()
{
    known_time_ = file_time();
    const auto bytes = read_file(path_);
    if (!bytes)
        return bytes.error();
    text_ = decode_text(*bytes);
    SendMessageW(edit_, EM_SETREADONLY, read_only() ? TRUE : FALSE, 0);
    SetWindowTextW(edit_, std::exchange(text_.text, {}).c_str());
    SendMessageW(edit_, EM_SETMODIFY, FALSE, 0);
    return ERROR_SUCCESS;
}

DWORD Document::save(const std::filesystem::path& path)
{
    Text whole = text_;
    whole.text = text();
    if (const DWORD error = write_file(path, encode_text(whole)))
        return error;
    path_ = path;
    known_time_ = file_time();
    SendMessageW(edit_, EM_SETMODIFY, FALSE, 0);
    return ERROR_SUCCESS;
}

bool Document::changed_on_disk() const
{
    const ULONGLONG time = path_.empty() ? 0 : file_time();
    // A file that is gone is left as it is shown.
    return time != 0 && time != known_time_;
}

void Document::reload()
{
    const DWORD caret = selection_start(edit_);
    const LRESULT top = SendMessageW(edit_, EM_GETFIRSTVISIBLELINE, 0, 0);
    if (load() != ERROR_SUCCESS)
        return;
    SendMessageW(edit_, EM_SETSEL, caret, static_cast<LPARAM>(caret));
    const LRESULT now = SendMessageW(edit_, EM_GETFIRSTVISIBLELINE, 0, 0);
    SendMessageW(edit_, EM_LINESCROLL, 0, top - now);
}

ULONGLONG Document::file_time() const
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(win32::long_path(path_).c_str(), GetFileExInfoStandard, &data))
        return 0;
    return ULARGE_INTEGER{{data.ftLastWriteTime.dwLowDateTime, data.ftLastWriteTime.dwHighDateTime}}
        .QuadPart;
}

}  // namespace quorrel
