// The plug-in in one frame window of the editor: owns the panel while its bar is open. Window
// thread.
#pragma once

#include "git/git.h"
#include "plugin/frame_template.h"
#include "sidebar/changes_sidebar.h"

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <memory>

namespace revlane {

class MyCFrame final : public CQTLFrame<MyCFrame> {
public:
    explicit MyCFrame(HWND window) noexcept : window_(window) {}

    // Opens or closes the panel's bar; `window` is the window that the editor names.
    void OnCommand(HWND window) override;
    void on_event(HWND window, UINT event, LPARAM argument);
    LRESULT on_query(UINT query, WPARAM wparam, LPARAM lparam);
    // A request of one of the plug-in's windows; its payload is freed whatever happens, also when
    // `frame` is null.
    static LRESULT on_request(MyCFrame* frame, WPARAM request, LPARAM payload);

    [[nodiscard]] bool is_bar_open() const noexcept { return bar_open_; }
    [[nodiscard]] bool has_windows() const noexcept { return sidebar_ != nullptr; }
    void close_panel();
    void end_windows();

private:
    // The second docked bar that the frame layer has room for. Nothing opens it yet.
    struct SecondBar {
        HWND window = nullptr;
        std::uint32_t id = 0;
        bool open = false;
    };

    void open_bar(HWND window);
    void close_bars();
    void on_created(HWND window);
    void on_closed();
    void on_bar_closed(const host::CustomBarClosed& report);
    void post_to_bars(UINT message) const;
    void start_refresh_timers() const;
    [[nodiscard]] HWND panel() const noexcept;
    [[nodiscard]] LRESULT route_key(MSG& message) const;
    void show_history(const std::filesystem::path& repository);
    // The commit history, if it is open.
    [[nodiscard]] HWND history() const noexcept;

    HWND window_;
    std::unique_ptr<ChangesSidebar> sidebar_;
    std::uint32_t bar_id_ = 0;
    bool bar_open_ = false;
    SecondBar second_bar_;
    HWND history_ = nullptr;  // ends with the frame; the user may close it before
    std::shared_ptr<git::Git> git_;
    bool holds_library_ = false;  // one count of libgit2's initialisation
};

}  // namespace revlane
