#include "tests/support/window_watch.h"

#include "win32/window.h"

#include <gtest/gtest.h>
#include <commctrl.h>

#include <array>
#include <map>
#include <string_view>
#include <utility>

namespace support {

namespace {

constexpr UINT interval_ms = 20;

// By their timers. A watch may begin and end while another one acts.
std::map<UINT_PTR, WindowWatch*>& watches()
{
    static std::map<UINT_PTR, WindowWatch*> by_timer;
    return by_timer;
}

}  // namespace

bool has_class(HWND window, const wchar_t* name)
{
    std::array<wchar_t, 32> found{};
    GetClassNameW(window, found.data(), static_cast<int>(found.size()));
    return std::wstring_view(found.data()) == name;
}

bool is_modal_dialog(HWND window)
{
    return is_box(window) && GetWindow(window, GW_OWNER) != nullptr;
}

bool is_box(HWND window)
{
    const HWND owner = GetWindow(window, GW_OWNER);
    return IsWindowVisible(window) && has_class(window, L"#32770") &&
           (owner == nullptr || !IsWindowEnabled(owner));
}

HWND window_with(int control, bool may_be_hidden)
{
    struct Search {
        int control;
        bool may_be_hidden;
        HWND found;
    } search{control, may_be_hidden, nullptr};
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM argument) -> BOOL {
            auto& wanted = *reinterpret_cast<Search*>(argument);
            if ((!wanted.may_be_hidden && !IsWindowVisible(window)) ||
                GetDlgItem(window, wanted.control) == nullptr)
                return TRUE;
            wanted.found = window;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

std::wstring texts_of(HWND dialog)
{
    std::wstring text = win32::window_text(dialog);
    for (HWND child = GetWindow(dialog, GW_CHILD); child != nullptr;
         child = GetWindow(child, GW_HWNDNEXT))
        text += L'\n' + win32::window_text(child);
    return text;
}

void press_button(HWND box, int button)
{
    // The one is understood by task dialogs, the other by message boxes.
    SendMessageW(box, TDM_CLICK_BUTTON, static_cast<WPARAM>(button), 0);
    if (IsWindow(box))
        SendMessageW(box, WM_COMMAND, static_cast<WPARAM>(button), 0);
}

WindowWatch::WindowWatch(std::function<bool(HWND)> is_wanted, std::function<void(HWND)> act,
                         Windows which)
    : is_wanted_(std::move(is_wanted)), act_(std::move(act)), which_(which),
      timer_(SetTimer(nullptr, 0, interval_ms, look))
{
    watches()[timer_] = this;
}

WindowWatch::~WindowWatch()
{
    KillTimer(nullptr, timer_);
    watches().erase(timer_);
}

void WindowWatch::look(HWND, UINT, UINT_PTR timer, DWORD)
{
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM argument) -> BOOL {
            const auto found = watches().find(static_cast<UINT_PTR>(argument));
            return found != watches().end() && !found->second->acts_on(window);
        },
        static_cast<LPARAM>(timer));
}

bool WindowWatch::acts_on(HWND window)
{
    if ((has_acted_ && which_ == Windows::Next) || !is_wanted_(window))
        return false;
    // The action may keep the thread in a loop of its own, and look again.
    has_acted_ = true;
    act_(window);
    return true;
}

InNextDialog::InNextDialog(std::function<void(HWND)> act) : watch_(is_modal_dialog, std::move(act))
{
}

InNextDialog::~InNextDialog()
{
    EXPECT_TRUE(watch_.has_acted()) << "no dialog was shown";
}

BoxAnswer::BoxAnswer(int button, Windows which)
    : watch_(
          is_box,
          [this, button](HWND box) {
              text_ = texts_of(box);
              press_button(box, button);
          },
          which)
{
}

}  // namespace support
