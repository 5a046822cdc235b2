#include "tests/support/editor_driver.h"

#include "editor/resources/ids.h"
#include "editor/text_file.h"
#include "tests/support/list_view.h"
#include "win32/window.h"

#include <algorithm>
#include <utility>

namespace support {

namespace {

// A file that was built, by the name that the build knows. Wine shows the root of the build machine
// as a drive, where a path of this machine is one of the current drive.
std::filesystem::path built(const char* path)
{
    return std::filesystem::absolute(path);
}

}  // namespace

std::filesystem::path delivered_plugin()
{
    return built(REVLANE_DIST_DIR) / L"Revlane.dll";
}

std::filesystem::path fake_plugin()
{
    return built(FAKE_PLUGIN_FILE);
}

EditorDriver::EditorDriver(const std::filesystem::path& plugin, std::string_view settings,
                           const std::function<void(quorrel::Options&)>& change)
{
    quorrel::Options options;
    options.settings = folder() / L"settings.ini";
    options.plugin = plugin;
    if (!settings.empty())
        quorrel::write_file(options.settings, settings);
    if (change)
        change(options);
    editor_.emplace(std::move(options));
    editor_->start();
    pump();
}

EditorDriver::~EditorDriver()
{
    editor_.reset();
    pump_waiting();
}

std::string EditorDriver::settings() const
{
    return quorrel::read_file(folder() / L"settings.ini").value_or(std::string());
}

void EditorDriver::issue_command()
{
    choose(window(), QUORREL_PLUGIN_COMMAND);
    pump();
}

HWND EditorDriver::open_panel()
{
    if (panel() == nullptr)
        issue_command();
    return panel();
}

HWND EditorDriver::panel() const
{
    const auto& bars = frame().bars();
    return bars.empty() ? nullptr : bars.front()->dialog();
}

void EditorDriver::press_close_button()
{
    const quorrel::DockedBar& bar = *frame().bars().front();
    const RECT button = bar.close_button();
    const LPARAM middle =
        MAKELPARAM((button.left + button.right) / 2, (button.top + button.bottom) / 2);
    PostMessageW(bar.window(), WM_LBUTTONDOWN, MK_LBUTTON, middle);
    PostMessageW(bar.window(), WM_LBUTTONUP, 0, middle);
    pump();
}

void EditorDriver::press_key(HWND window, WPARAM key)
{
    PostMessageW(window, WM_KEYDOWN, key, 1);
    // Up again, and it was down before.
    PostMessageW(window, WM_KEYUP, key, static_cast<LPARAM>(0xC0000001U));
    pump();
}

void EditorDriver::close()
{
    editor_->close_all();
    pump();
}

bool EditorDriver::wait(const std::function<bool()>& condition, std::chrono::milliseconds deadline)
{
    return pump_until(condition, deadline, dispatch());
}

void EditorDriver::pump()
{
    // Something has to be dispatched for what the editor does after a message.
    PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
    pump_waiting(dispatch());
}

Dispatch EditorDriver::dispatch()
{
    return [this](MSG& message) {
        const auto start = std::chrono::steady_clock::now();
        editor_->dispatch(message);
        longest_dispatch_ = std::max(longest_dispatch_, std::chrono::steady_clock::now() - start);
    };
}

std::chrono::milliseconds EditorDriver::take_longest_dispatch()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::exchange(longest_dispatch_, {}));
}

std::wstring control_text(HWND dialog, int id)
{
    return win32::window_text(GetDlgItem(dialog, id));
}

void set_control_text(HWND dialog, int id, const std::wstring& text)
{
    SetDlgItemTextW(dialog, id, text.c_str());
}

bool is_control_enabled(HWND dialog, int id)
{
    return IsWindowEnabled(GetDlgItem(dialog, id)) != FALSE;
}

void click(HWND dialog, int id)
{
    PostMessageW(GetDlgItem(dialog, id), BM_CLICK, 0, 0);
}

void choose(HWND window, int command)
{
    PostMessageW(window, WM_COMMAND, MAKEWPARAM(command, 0), 0);
}

std::vector<std::vector<std::wstring>> rows_of(HWND dialog, int list)
{
    return quorrel::list_rows(GetDlgItem(dialog, list));
}

void select_rows(HWND dialog, int list, const std::vector<int>& rows)
{
    select_only(GetDlgItem(dialog, list), rows);
}

}  // namespace support
