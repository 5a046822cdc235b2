#include "tests/shots/stage.h"

#include "resources/ids.h"
#include "tests/shots/screen.h"

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

bool has_class(HWND window, std::wstring_view wanted)
{
    std::array<wchar_t, 32> name{};
    GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return name.data() == wanted;
}

bool is_menu(HWND window)
{
    return has_class(window, L"#32768");
}

// Looks for the popup from a timer, since the call that shows it returns only once it has gone.
class PopupWatch {
public:
    explicit PopupWatch(std::function<void(HWND)> act) : act_(std::move(act))
    {
        constexpr UINT interval_ms = 50;
        active = this;
        timer_ = SetTimer(nullptr, 0, interval_ms, look);
    }
    ~PopupWatch()
    {
        KillTimer(nullptr, timer_);
        active = nullptr;
    }
    PopupWatch(const PopupWatch&) = delete;
    PopupWatch& operator=(const PopupWatch&) = delete;

    [[nodiscard]] bool is_done() const noexcept { return looks_ > SETTLING_LOOKS; }

private:
    // A box may be painted anew when it gets the focus.
    static constexpr int SETTLING_LOOKS = 6;

    static void CALLBACK look(HWND, UINT, UINT_PTR, DWORD)
    {
        EnumThreadWindows(
            GetCurrentThreadId(),
            [](HWND window, LPARAM) -> BOOL {
                const HWND owner = GetWindow(window, GW_OWNER);
                const bool is_box =
                    has_class(window, L"#32770") && (owner == nullptr || !IsWindowEnabled(owner));
                if (!IsWindowVisible(window) || (!is_menu(window) && !is_box))
                    return TRUE;
                if (++active->looks_ == SETTLING_LOOKS + 1)
                    active->act_(window);
                return FALSE;
            },
            0);
    }

    static inline PopupWatch* active = nullptr;

    std::function<void(HWND)> act_;
    UINT_PTR timer_;
    int looks_ = 0;
};

void take_away(HWND popup)
{
    if (is_menu(popup)) {
        EndMenu();
        return;
    }
    // The one is understood by task dialogs, the other by all dialogs.
    SendMessageW(popup, TDM_CLICK_BUTTON, IDCANCEL, 0);
    if (IsWindow(popup))
        PostMessageW(popup, WM_COMMAND, IDCANCEL, 0);
}

}  // namespace

HWND window_with(int control)
{
    struct Search {
        int control;
        HWND found;
    } search{control, nullptr};
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM argument) -> BOOL {
            auto& wanted = *reinterpret_cast<Search*>(argument);
            if (!IsWindowVisible(window) || GetDlgItem(window, wanted.control) == nullptr)
                return TRUE;
            wanted.found = window;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

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
    const PopupWatch watch([&](HWND popup) {
        const RECT area =
            behind != nullptr ? united(area_of(behind), area_of(popup)) : area_of(popup);
        save_screen(area, album_.folder / fmt::format("{}.png", name));
        take_away(popup);
    });
    open();
    wait([&] { return watch.is_done(); }, "for a menu or a box");
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
