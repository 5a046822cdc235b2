// How the rows of the change lists are drawn: the folder dimmed and shortened first, so that the
// file's name stays readable in a narrow panel, and the status label in its colour. Window thread.
#pragma once

#include "git/file_change.h"

#include <windows.h>
#include <commctrl.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace revlane {

// The parts of a path; the folder ends with its slash.
struct PathParts {
    std::wstring folder;
    std::wstring name;
};
PathParts split_path(std::wstring_view path);

// The end of `folder` that fits into `width` pixels, as whole folders behind an ellipsis; empty when
// not even the ellipsis fits. `measure` tells a text's width.
std::wstring fit_folder(const std::wstring& folder, int width,
                        const std::function<int(std::wstring_view)>& measure);

// The answer to NM_CUSTOMDRAW of a change list whose rows are `changes`.
LRESULT draw_change_row(const NMLVCUSTOMDRAW& draw, const std::vector<git::FileChange>& changes,
                        int dpi);

}  // namespace revlane
