// The documents of one frame, in tabs.
#pragma once

#include "editor/compare_view.h"
#include "editor/document.h"
#include "editor/ui.h"
#include "win32/window.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {

// Owns the frame's view: the child window that holds the tab bar and below it the text area of the
// active document, or a comparison of two documents, which has a tab of its own. The view lives from
// the frame's creation to its end and is the window that plug-ins are given. Failures and questions
// are shown in message boxes. Window thread.
class Documents {
public:
    struct Events {
        std::function<void()>
            activated;  // another tab is active or its document is another one now
        std::function<void()> saved;
    };

    Documents(HWND frame, bool tabs_shown, Events events);
    ~Documents();
    Documents(const Documents&) = delete;
    Documents& operator=(const Documents&) = delete;

    [[nodiscard]] HWND view() const noexcept { return view_; }
    // Null when no document is open, or when the active tab is a comparison.
    [[nodiscard]] Document* active_document() const;
    // Null when the active tab is none.
    [[nodiscard]] CompareView* active_comparison() const;
    // The file of the active tab, of a comparison the right one; empty when there is none.
    [[nodiscard]] std::filesystem::path active_path() const;
    [[nodiscard]] std::wstring active_title() const;
    // What the tabs are labelled with, from left to right.
    [[nodiscard]] std::vector<std::wstring> labels() const;

    void open_new();
    // Opens the file, or activates it when it is open. A temporary one is then read again.
    bool open(const std::filesystem::path& file, bool temporary);
    void ask_and_open();
    // Asks for a name when the document has none yet.
    bool save();
    bool save_as();
    // Closes the active tab, asking for a text that is not saved.
    void close_active();
    // Asks for every text that is not saved. False when the user wants to stay.
    bool may_close();
    // Gives the active document a title in place of its file's name.
    void set_title(const std::wstring& title);
    // Shows both open documents side by side. Returns a code of the compare message, 0 for success.
    std::uint32_t compare(const std::filesystem::path& left, const std::filesystem::path& right);
    // Activates the tab `step` further to the right, around the end.
    void step(int step);
    void focus() const;
    // Shows the active document as its file is now, unless it holds changes of its own.
    void check_disk() const;

    [[nodiscard]] bool tabs_shown() const noexcept { return tabs_shown_; }
    void show_tabs(bool shown);

    win32::Handled handle(const win32::Message& message);

private:
    // Holds either a document or a comparison of the documents with these paths.
    struct Tab {
        std::unique_ptr<Document> document;
        std::unique_ptr<CompareView> comparison;
        std::filesystem::path left;
        std::filesystem::path right;

        [[nodiscard]] HWND window() const;
        [[nodiscard]] std::wstring label() const;
    };
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    [[nodiscard]] std::size_t find(const std::filesystem::path& file) const;
    template <typename Predicate>
    [[nodiscard]] std::size_t find_if(const Predicate& predicate) const;
    void add(Tab tab);
    void remove(std::size_t index);
    void activate(std::size_t index);
    bool save_to(Document& document, const std::filesystem::path& file);
    bool may_close(const Document& document);
    void refresh_comparison(Tab& tab) const;
    void update_label(std::size_t index);
    win32::Handled on_notify(NMHDR& header);
    void on_dpi();
    static void place_document(HWND document, const RECT& area);
    void on_size();

    HWND view_ = nullptr;
    HWND tab_bar_ = nullptr;
    std::unique_ptr<win32::Subclass> middle_click_;
    Events events_;
    bool tabs_shown_;
    win32::FontHandle interface_font_;
    win32::FontHandle document_font_;
    std::vector<Tab> tabs_;
    std::size_t active_ = none;
    std::wstring tip_;  // of the tab under the pointer
};

// Full path with backslashes, as documents are known by.
std::filesystem::path full_path(const std::filesystem::path& path);

}  // namespace quorrel
