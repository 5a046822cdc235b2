// One open document: a file and the edit control that shows it.
#pragma once

#include "editor/text_file.h"
#include "win32/window.h"

#include <windows.h>

#include <filesystem>
#include <memory>
#include <string>

namespace quorrel {

// Owns its edit control, a child of the view. Window thread.
class Document {
public:
    // Shows nothing yet. An empty path: a document that has no file yet. A temporary document is
    // read-only and never asks to be saved.
    Document(HWND view, HFONT font, std::filesystem::path path, bool temporary);
    ~Document();
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    [[nodiscard]] HWND window() const noexcept { return edit_; }
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    // The title that a plug-in gave it, else the file's name.
    [[nodiscard]] std::wstring title() const;
    [[nodiscard]] std::wstring text() const;
    [[nodiscard]] bool modified() const;
    [[nodiscard]] bool read_only() const noexcept { return temporary_ || !text_.exact; }
    // For the status bar: "Ln 3, Col 14", and how the file is written.
    [[nodiscard]] std::wstring position() const;
    [[nodiscard]] std::wstring state() const;

    void set_title(std::wstring title) { title_ = std::move(title); }
    void set_font(HFONT font);
    // Reads the file; Windows' error code.
    DWORD load();
    // Writes the text to `path`, which becomes the document's; Windows' error code.
    DWORD save(const std::filesystem::path& path);
    // Whether the file is another one than was last read or written.
    [[nodiscard]] bool changed_on_disk() const;
    // Reads the file again and keeps the place that is shown.
    void reload();

private:
    [[nodiscard]] ULONGLONG file_time() const;

    HWND edit_ = nullptr;
    std::unique_ptr<win32::Subclass> select_all_;
    std::filesystem::path path_;
    std::wstring title_;
    bool temporary_;
    Text text_;  // its form; the text itself is in the control
    ULONGLONG known_time_ = 0;
};

}  // namespace quorrel
