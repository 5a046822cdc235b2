// What is in a library of resources, read in the way in which Windows shows it.
#pragma once

#include <windows.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace support {

// The numbers of resources/ids.h by their names.
std::map<std::string, int> resource_ids();

struct Control {
    int id;
    std::wstring class_name;
    DWORD style;
    DWORD extended_style;
    std::wstring text;
    SIZE size;       // of its client area, in pixels
    SIZE text_size;  // of the text in its font, in pixels; static texts are wrapped to their width
};

struct Dialog {
    DWORD style;
    std::wstring caption;
    std::vector<Control> controls;  // in their order in the template
};

// The size of the font of every dialog, in points.
constexpr WORD DIALOG_POINTS = 9;

// Creates the dialog, without showing it, and looks at its controls. A test fails when it cannot be
// created; then there are no controls. With another size of its font the dialog is what it is on a
// screen of another DPI: everything in it grows with the font.
Dialog read_dialog(HMODULE library, int id, WORD points = DIALOG_POINTS);

struct MenuItem {
    UINT id;  // 0: a separator
    std::wstring text;
    bool operator==(const MenuItem&) const = default;
};

// The items of the first submenu, which is the one that is shown. None when there is no such menu.
std::vector<MenuItem> read_menu(HMODULE library, int id);

// Empty when there is none.
std::wstring read_text(HMODULE library, int id);

// The key that a text's mark makes an access key, in lower case; 0 when it has none.
wchar_t access_key(const std::wstring& text);

}  // namespace support
