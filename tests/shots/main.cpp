// Takes pictures of every window in its states:
//   revlane_shots.exe FOLDER LANGUAGE [SCENE...]
// LANGUAGE is the number of a language; without SCENE all scenes are taken. The DPI is the screen's.
#include "tests/shots/scenes.h"

#include <fmt/format.h>
#include <windows.h>
#include <commctrl.h>
#include <objbase.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

int main(int count, char** arguments)
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    if (count < 3) {
        std::fputs("usage: revlane_shots.exe FOLDER LANGUAGE [SCENE...]\n", stderr);
        return 2;
    }
    const support::Album album{arguments[1], arguments[2]};
    const std::vector<std::string> wanted(arguments + 3, arguments + count);
    for (const std::string& name : wanted) {
        const bool is_known =
            std::any_of(support::scenes().begin(), support::scenes().end(),
                        [&](const support::Scene& scene) { return scene.name == name; });
        if (!is_known) {
            fmt::print(stderr, "There is no scene \"{}\".\n", name);
            return 2;
        }
    }
    const HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    int failures = 0;
    {
        const support::GitIsolation isolation;
        for (const support::Scene& scene : support::scenes()) {
            if (!wanted.empty() &&
                std::find(wanted.begin(), wanted.end(), scene.name) == wanted.end())
                continue;
            try {
                scene.take(album);
            } catch (const std::exception& error) {
                fmt::print(stderr, "{}: {}\n", scene.name, error.what());
                ++failures;
            }
        }
    }
    if (SUCCEEDED(com))
        CoUninitialize();
    return failures == 0 ? 0 : 1;
}
