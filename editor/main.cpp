// The stand-in for the Quorrel editor as a program.
#include "editor/editor.h"
#include "editor/ui.h"
#include "win32/error_box.h"

#include <windows.h>
#include <commctrl.h>
#include <objbase.h>
#include <shellapi.h>

#include <array>
#include <cwchar>
#include <memory>
#include <optional>
#include <string_view>

namespace {

constexpr wchar_t USAGE[] =
    L"quorrel.exe [--settings FILE] [--plugin LIBRARY] [--open-panel] [--size WIDTHxHEIGHT]\n"
    L"            [--record FILE] [--report FILE] [--close-after-report] [FILE...]\n\n"
    L"--settings\tkeeps the settings, else quorrel.ini beside the program does\n"
    L"--plugin\tthe library of the plug-in\n"
    L"--open-panel\tissues the plug-in's command at the start\n"
    L"--size\toutside of the window in pixels\n"
    L"--record\treceives every message of the plug-in\n"
    L"--report\treceives what the docked panel shows, once it is filled\n"
    L"--close-after-report\tcloses the window then";

std::optional<SIZE> parse_size(const wchar_t* text)
{
    SIZE size{};
    wchar_t* end = nullptr;
    size.cx = std::wcstol(text, &end, 10);
    if (*end != L'x')
        return std::nullopt;
    size.cy = std::wcstol(end + 1, &end, 10);
    if (*end != L'\0' || size.cx <= 0 || size.cy <= 0)
        return std::nullopt;
    return size;
}

// Nothing when the command line is none that the program understands.
std::optional<quorrel::Options> parse(int count, wchar_t** arguments)
{
    quorrel::Options options;
    std::array<wchar_t, MAX_PATH> program{};
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    options.settings = std::filesystem::path(program.data()).replace_extension(L".ini");
    for (int index = 1; index < count; ++index) {
        const std::wstring_view name = arguments[index];
        if (!name.starts_with(L"--")) {
            options.files.emplace_back(name);
            continue;
        }
        if (name == L"--open-panel") {
            options.open_panel = true;
            continue;
        }
        if (name == L"--close-after-report") {
            options.close_after_report = true;
            continue;
        }
        if (++index == count)
            return std::nullopt;
        const wchar_t* value = arguments[index];
        if (name == L"--settings")
            options.settings = value;
        else if (name == L"--plugin")
            options.plugin = value;
        else if (name == L"--record")
            options.record = value;
        else if (name == L"--report")
            options.report = value;
        else if (name != L"--size" || !(options.size = parse_size(value)))
            return std::nullopt;
    }
    return options;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    constexpr int WRONG_USAGE = 2;
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&LocalFree)> arguments(
        CommandLineToArgvW(GetCommandLineW(), &count), LocalFree);
    const auto options = parse(count, arguments.get());
    if (!options) {
        quorrel::show_message(nullptr, USAGE, MB_ICONINFORMATION);
        return WRONG_USAGE;
    }

    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    // Shell dialogs of the editor and of plug-ins need COM on this thread.
    const HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    {
        quorrel::Editor editor(*options);
        editor.start();
        editor.run();
    }
    if (SUCCEEDED(com))
        CoUninitialize();
    return 0;
}
