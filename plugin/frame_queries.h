// What the editor asks about the plug-in as a whole: the answers need no frame. Window thread.
#pragma once

#include <windows.h>

#include <optional>

namespace revlane {

// The toolbar bitmap among the plug-in's own resources that the editor gets when it asks for none
// in particular.
inline constexpr UINT DEFAULT_BITMAP = 120;

// The bitmap for the look that the flags of QUERY_BITMAP ask for.
UINT bitmap_for(WPARAM flags) noexcept;

// The answer to a query of the editor, or nothing when the query is one for a frame. `frame` is the
// editor's frame window, to which some answers send messages.
std::optional<LRESULT> answer_without_frame(HWND frame, UINT query, WPARAM wparam, LPARAM lparam);

}  // namespace revlane
