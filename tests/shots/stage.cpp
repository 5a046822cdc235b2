#include "tests/shots/stage.h"

#include "resources/ids.h"
#include "tests/shots/screen.h"
#include "tests/support/window_watch.h"

#include <fmt/format.h>
#include <commctrl.h>

#include <array>
#include <stdexcept>

namespace support {

namespace {

std::string settings_text(const Album& album, const StageSetup& setup)
{
    return fmt::format("[Quorrel]\nLanguage={}\nBarWidth={}\n", album.language, setup.bar_width);
}

// A box may be painted anew when it gets the focus.
constexpr int SETTLING_LOOKS = 15;

bool is_menu(HWND window)
{
    return has_class(window, L"#32768");
}

void take_away(HWND popup)
{
    if (is_menu(popup)) {
        EndMenu();
        return;
    }
    press_button(popup, IDCANCEL);
}

}  // namespace

int at_screen_dpi(int length)
{
    return MulDiv(length, static_cast<int>(GetDpiForSystem()), USER_DEFAULT_SCREEN_DPI);
}

Stage::Stage(const Album& album, const std::filesystem::path& document, const StageSetup& setup)
    : album_(album),
      driver_(delivered_plugin(), settings_text(album, setup), [&](quorrel::Options& options) {
          options.size = SIZE{at_screen_dpi(setup.frame.cx), at_screen_dpi(setup.frame.cy)};
      })
{
    SetWindowPos(frame(), nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    if (!document.empty() && !driver_.open(document))
        throw std::runtime_error("the document cannot be opened");
    if (driver_.open_panel() == nullptr)
        throw std::runtime_error("the panel does not open");
}

void Stage::wait(const std::function<bool()>& condition, const char* what)
{
    if (!driver_.wait(condition))
        throw std::runtime_error(std::string("waited in vain: ") + what);
}

void Stage::wait_rows(HWND dialog, int list, int count)
{
    wait([&] { return SendDlgItemMessageW(dialog, list, LVM_GETITEMCOUNT, 0, 0) == count; },
         "for rows");
}

HWND Stage::open_history(int least_rows)
{
    click(panel(), IDC_SHOW_HISTORY);
    HWND window = nullptr;
    wait(
        [&] {
            window = window_with(IDC_COMMIT_LIST);
            return window != nullptr && SendDlgItemMessageW(window, IDC_COMMIT_LIST,
                                                            LVM_GETITEMCOUNT, 0, 0) >= least_rows;
        },
        "for the history");
    return window;
}

void Stage::save(std::string_view name, HWND window)
{
    // Everything is painted once nothing waits any more.
    driver_.pump();
    UpdateWindow(window);
    save_screen(area_of(window), album_.folder / fmt::format("{}.png", name));
}

void Stage::save_popup(std::string_view name, HWND behind, const std::function<void()>& open)
{
    int looks = 0;
    const WindowWatch watch(
        [&looks](HWND window) {
            const bool is_menu_shown = is_menu(window) && IsWindowVisible(window);
            return (is_menu_shown || is_box(window)) && ++looks > SETTLING_LOOKS;
        },
        [&](HWND popup) {
            const RECT area =
                behind != nullptr ? united(area_of(behind), area_of(popup)) : area_of(popup);
            save_screen(area, album_.folder / fmt::format("{}.png", name));
            take_away(popup);
        });
    open();
    wait([&] { return watch.has_acted(); }, "for a menu or a box");
    driver_.pump();
}

void Stage::save_context_menu(std::string_view name, HWND behind, HWND control)
{
    const RECT area = area_of(control);
    SetCursorPos(area.left + at_screen_dpi(40), area.top + at_screen_dpi(30));
    save_popup(name, behind, [&] {
        PostMessageW(control, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(control),
                     static_cast<LPARAM>(-1));
    });
}

}  // namespace support
