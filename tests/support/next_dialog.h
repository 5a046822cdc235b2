// Answering a dialog that a test leads to.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <functional>
#include <string_view>
#include <utility>

namespace support {

// Does something in the next dialog that this thread shows, as soon as it is there. Made before the
// call that shows it, since that call returns only once the dialog is answered.
class InNextDialog {
public:
    explicit InNextDialog(std::function<void(HWND)> act) : act_(std::move(act))
    {
        constexpr UINT interval_ms = 10;
        active_ = this;
        timer_ = SetTimer(nullptr, 0, interval_ms, look);
    }
    ~InNextDialog()
    {
        KillTimer(nullptr, timer_);
        active_ = nullptr;
        EXPECT_FALSE(act_) << "no dialog was shown";
    }
    InNextDialog(const InNextDialog&) = delete;
    InNextDialog& operator=(const InNextDialog&) = delete;

private:
    static void CALLBACK look(HWND, UINT, UINT_PTR, DWORD)
    {
        EnumThreadWindows(
            GetCurrentThreadId(),
            [](HWND window, LPARAM) -> BOOL {
                std::array<wchar_t, 16> name{};
                GetClassNameW(window, name.data(), static_cast<int>(name.size()));
                const bool is_asking = active_ != nullptr && active_->act_ &&
                                       IsWindowVisible(window) && name.data() == DIALOG_CLASS &&
                                       GetWindow(window, GW_OWNER) != nullptr &&
                                       !IsWindowEnabled(GetWindow(window, GW_OWNER));
                if (!is_asking)
                    return TRUE;
                std::exchange(active_->act_, nullptr)(window);
                return FALSE;
            },
            0);
    }

    static constexpr std::wstring_view DIALOG_CLASS = L"#32770";
    static inline InNextDialog* active_ = nullptr;

    std::function<void(HWND)> act_;
    UINT_PTR timer_;
};

}  // namespace support
