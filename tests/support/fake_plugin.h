// What the tests of the editor and the fake plug-in that they load tell each other.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace support {

// One call that the editor has made.
struct FakeCall {
    UINT event;         // of OnEvents
    HWND frame;         // parent of the window that came with it
    std::uint32_t bar;  // of EVENT_CUSTOM_BAR_CLOSED
    std::uint32_t bar_flags;
    bool dialog_lives;  // whether the docked dialog still exists
};

// The fake's memory and its switches. Plain data, since it crosses the border of a library.
struct FakePlugin {
    std::array<FakeCall, 64> calls;
    std::size_t call_count;
    HWND dialog;            // docked last
    std::uint32_t bar;      // its id, 0 while it is not docked
    std::uint64_t request;  // of the last request; its answer is the payload plus 1
    WPARAM swallowed_key;   // virtual key that the fake keeps from the editor
    bool throw_on_command;
    bool end_dialog_itself;  // whether the fake destroys its dialog when the bar is closed
};

// Exported by the fake beside the entry points of a plug-in: its one FakePlugin.
using FakePluginState = FakePlugin*(WINAPI*)();
inline constexpr char fake_plugin_state[] = "fake_state";

// Controls of the fake's dialog.
inline constexpr int FAKE_BUTTON = 101;
inline constexpr int FAKE_COMBO = 102;
inline constexpr int FAKE_LIST = 103;

}  // namespace support
