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
    // A menu item whose bitmap is HBMMENU_CALLBACK shows the plug-in's image by these two, since not
    // every Windows draws a menu's own bitmaps with their alpha.
    [[nodiscard]] bool has_plugin_image() const noexcept { return plugin_image_ >= 0; }
    void measure_menu_image(MEASUREITEMSTRUCT& item) const;
    void draw_menu_image(const DRAWITEMSTRUCT& item) const;
    // Takes the images and the font for the window's DPI. The plug-in has to be shown again.
    void on_dpi();

private:
    using ImageList = win32::UniqueHandle<HIMAGELIST, ::ImageList_Destroy>;
    using Bitmap = win32::UniqueHandle<HBITMAP, ::DeleteObject>;

    int add_plugin_image(const PluginLibrary& plugin, HWND view);
    // One image of a strip in a cell of the image list.
    [[nodiscard]] Bitmap with_margin(HBITMAP strip, int image) const;

    HWND window_;
    int image_size_ = 0;
    int cell_size_ = 0;
    ImageList images_;
    win32::FontHandle font_;
    int plugin_image_ = -1;
    std::wstring plugin_name_;
};

}  // namespace quorrel
