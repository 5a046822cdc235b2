// Pictures of what is on the screen.
#pragma once

#include <windows.h>

#include <filesystem>

namespace support {

// Saves a part of the screen, in pixels of the screen, as a PNG file. Throws std::runtime_error when
// that fails.
void save_screen(const RECT& area, const std::filesystem::path& file);

// The smallest area that holds both; an empty one counts for nothing.
RECT united(const RECT& one, const RECT& other);
RECT area_of(HWND window);

}  // namespace support
