// The toolbar of a frame, with a button for the plug-in.
#pragma once

#include "editor/plugin_library.h"
#include "editor/ui.h"

#include <windows.h>
#include <commctrl.h>

#include <string>

namespace quorrel {

// Owns the images; the window is a child of the frame, which gets its commands. Window thread.
class Toolbar {
public:
    explicit Toolbar(HWND frame);

    [[nodiscard]] HWND window() const noexcept { return window_; }
    // Puts the plug-in's button at the end, or takes its new name over.
    void show_plugin(const PluginLibrary& plugin, HWND view);
    void set_plugin_status(PluginLibrary::Status status);
    // The plug-in's image for menus; null when it has none. The toolbar's own.
    [[nodiscard]] HBITMAP menu_bitmap() const noexcept { return menu_bitmap_.get(); }
    // Takes the images and the font for the window's DPI. The plug-in has to be shown again.
    void on_dpi();

private:
    using ImageList = win32::UniqueHandle<HIMAGELIST, ::ImageList_Destroy>;
    using Bitmap = win32::UniqueHandle<HBITMAP, ::DeleteObject>;

    int add_plugin_image(const PluginLibrary& plugin, HWND view);
    [[nodiscard]] Bitmap draw_for_menu(int image) const;

    HWND window_;
    int image_size_ = 0;
    ImageList images_;
    win32::FontHandle font_;
    Bitmap menu_bitmap_;
    std::wstring plugin_name_;
};

}  // namespace quorrel
