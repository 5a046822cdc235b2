#include "changes/get_dpi.h"
#include "changes/git_output_log.h"
#include "changes/output_window.h"
#include "plugin/host/messages.h"
#include "resources/ids.h"
#include "tests/support/localized_texts.h"
#include "tests/support/pump.h"
#include "win32/window.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>

namespace revlane {

namespace {

// A window of the class of the editor's frame that answers the question for its DPI.
class FakeFrame {
public:
    explicit FakeFrame(LRESULT dpi) : dpi_(dpi)
    {
        WNDCLASSW description{};
        description.lpfnWndProc = win32::window_proc<FakeFrame>;
        description.hInstance = GetModuleHandleW(nullptr);
        description.lpszClassName = host::FRAME_CLASS;
        RegisterClassW(&description);
        window_ = CreateWindowExW(0, host::FRAME_CLASS, L"", WS_OVERLAPPEDWINDOW, 0, 0, 800, 600,
                                  nullptr, nullptr, description.hInstance, this);
    }
    ~FakeFrame()
    {
        DestroyWindow(window_);
        UnregisterClassW(host::FRAME_CLASS, GetModuleHandleW(nullptr));
    }
    FakeFrame(const FakeFrame&) = delete;
    FakeFrame& operator=(const FakeFrame&) = delete;

    [[nodiscard]] HWND window() const { return window_; }

    win32::Handled handle(const win32::Message& message) const
    {
        if (message.id == host::QM_INFO && message.wparam == 356 && message.lparam == 0)
            return dpi_;
        return std::nullopt;
    }

private:
    LRESULT dpi_;
    HWND window_ = nullptr;
};

HWND make_window(DWORD style, HWND parent)
{
    return CreateWindowExW(0, L"STATIC", L"", style, 0, 0, 10, 10, parent, nullptr, nullptr,
                           nullptr);
}

class OutputWindowTest : public testing::Test {
protected:
    void TearDown() override { DestroyWindow(owner_); }

    [[nodiscard]] HWND edit() const { return GetDlgItem(output_->window(), IDC_OUTPUT_TEXT); }
    [[nodiscard]] LONG font_height() const
    {
        LOGFONTW font{};
        GetObjectW(reinterpret_cast<HFONT>(SendMessageW(edit(), WM_GETFONT, 0, 0)), sizeof font,
                   &font);
        return font.lfHeight;
    }
    [[nodiscard]] RECT edit_in_client() const
    {
        RECT rect{};
        GetWindowRect(edit(), &rect);
        MapWindowPoints(nullptr, output_->window(), reinterpret_cast<POINT*>(&rect), 2);
        return rect;
    }

    support::LocalizedTexts texts_;
    HWND owner_ = make_window(WS_OVERLAPPEDWINDOW, nullptr);
    std::unique_ptr<OutputWindow> output_ = std::make_unique<OutputWindow>();
};

}  // namespace

TEST(GetDpi, FollowsParentsAndOwnersToTheFrame)
{
    const FakeFrame frame(168);
    const HWND bar = make_window(WS_CHILD, frame.window());
    const HWND popup = make_window(WS_POPUP, bar);
    const HWND control = make_window(WS_CHILD, popup);
    // Not a popup, so that it has an owner but no parent.
    const HWND owned = make_window(WS_OVERLAPPEDWINDOW, frame.window());
    for (const HWND window : {frame.window(), bar, popup, control, owned})
        EXPECT_EQ(frame_dpi(window), 168);
    DestroyWindow(popup);
    DestroyWindow(owned);

    const HWND elsewhere = make_window(WS_OVERLAPPEDWINDOW, nullptr);
    EXPECT_EQ(frame_dpi(elsewhere), std::nullopt);
    EXPECT_EQ(frame_dpi(nullptr), std::nullopt);
    EXPECT_GE(get_dpi(elsewhere), DEFAULT_DPI);
    DestroyWindow(elsewhere);
    EXPECT_EQ(frame_dpi(elsewhere), std::nullopt) << "a window that is gone";
    EXPECT_GE(get_dpi(elsewhere), DEFAULT_DPI);
    EXPECT_GE(screen_dpi(), DEFAULT_DPI);
}

TEST(GetDpi, AFrameWithoutAnAnswerIsNoFrame)
{
    const FakeFrame frame(0);
    EXPECT_EQ(frame_dpi(frame.window()), std::nullopt);
}

TEST(GetDpi, SizesAreTruncated)
{
    EXPECT_EQ(scale(15, 96), 15);
    EXPECT_EQ(scale(15, 144), 22);
    EXPECT_EQ(scale(15, 95), 14);
    EXPECT_EQ(scale(30'000'000, 192), 60'000'000);
}

TEST(GitOutputLog, HoldsCommandsAndOutputsWithWindowsLineEnds)
{
    GitOutputLog log;
    append_git_output(log, L"status", "On branch \xC3\xA4\nclean\r\n\rend");
    append_git_output(log, L"commit --message=\"a\nb\"", "");
    append_git_output(log, L"show", std::string_view("a\0b", 3));
    EXPECT_EQ(log.text(), L"git status\r\n\r\nOn branch ä\r\nclean\r\n\r\nend\r\n"
                          L"git commit --message=\"a\r\nb\"\r\n\r\n\r\n"
                          L"git show\r\n\r\na\xFFFD"
                          L"b\r\n");
    EXPECT_EQ(log.size(), log.text().size());
}

TEST(GitOutputLog, KeepsItsNewestEnd)
{
    GitOutputLog log(10);
    std::wstring everything;
    // Entries shorter than the capacity, exactly as long, and longer.
    for (const wchar_t* entry : {L"abc", L"defgh", L"ij", L"k", L"", L"0123456789", L"l",
                                 L"mnopqrs", L"twelve units", L"z"}) {
        log.append(entry);
        everything += entry;
        const std::size_t kept = std::min<std::size_t>(everything.size(), 10);
        EXPECT_EQ(log.text(), everything.substr(everything.size() - kept));
        EXPECT_EQ(log.size(), kept);
    }

    GitOutputLog full;
    std::wstring quarter;
    quarter.resize(GitOutputLog::CAPACITY / 4, L'x');
    for (int i = 0; i < 5; ++i)
        append_git_output(full, quarter, "");
    EXPECT_EQ(full.size(), 0x4000000u);
    EXPECT_TRUE(full.text().ends_with(L"x\r\n\r\n\r\n"));
}

TEST_F(OutputWindowTest, ShowsTheEndOfALongLogAndRefreshesIt)
{
    std::wstring text;
    // More than an edit control takes by itself, which is 30,000 or 65,535 units.
    for (int i = 0; i < 20'000; ++i)
        text += L"line of output\r\n";
    text += L"the last line";
    output_->show(owner_, text);
    ASSERT_NE(output_->window(), nullptr);
    EXPECT_TRUE(IsWindowVisible(output_->window()));
    EXPECT_EQ(GetWindow(output_->window(), GW_OWNER), owner_);
    EXPECT_EQ(win32::window_text(edit()), text);
    const auto first_visible = [this] {
        return SendMessageW(edit(), EM_GETFIRSTVISIBLELINE, 0, 0);
    };
    EXPECT_GT(first_visible(), 19'000);
    EXPECT_EQ(font_height(), 15 * get_dpi(output_->window()) / 96);

    const HWND window = output_->window();
    ShowWindow(window, SW_MINIMIZE);
    output_->show(owner_, L"new");
    EXPECT_EQ(output_->window(), window);
    EXPECT_FALSE(IsIconic(window));
    EXPECT_EQ(win32::window_text(edit()), L"new");
}

TEST_F(OutputWindowTest, TheTextFollowsTheSizeAndTheDpi)
{
    output_->show(owner_, L"text");
    ASSERT_NE(output_->window(), nullptr);
    for (const int width : {700, 250}) {
        SetWindowPos(output_->window(), nullptr, 0, 0, width, 300, SWP_NOMOVE | SWP_NOZORDER);
        RECT client{};
        GetClientRect(output_->window(), &client);
        const RECT rect = edit_in_client();
        EXPECT_TRUE(EqualRect(&rect, &client)) << width;
    }
    const RECT wanted{40, 50, 640, 450};
    SendMessageW(output_->window(), WM_DPICHANGED, MAKEWPARAM(192, 192),
                 reinterpret_cast<LPARAM>(&wanted));
    EXPECT_EQ(font_height(), 30);
    RECT rect{};
    GetWindowRect(output_->window(), &rect);
    EXPECT_TRUE(EqualRect(&rect, &wanted));
}

TEST_F(OutputWindowTest, ControlASelectsEverythingAndEscapeCloses)
{
    output_->show(owner_, L"one\r\ntwo");
    ASSERT_NE(output_->window(), nullptr);
    std::array<BYTE, 256> keys{};
    DWORD first = 0;
    DWORD last = 0;
    const auto selected = [&] {
        SendMessageW(edit(), EM_GETSEL, reinterpret_cast<WPARAM>(&first),
                     reinterpret_cast<LPARAM>(&last));
        return last - first;
    };
    EXPECT_EQ(selected(), 0u);
    SendMessageW(edit(), WM_KEYDOWN, 'A', 0);
    EXPECT_EQ(selected(), 0u);
    keys[VK_CONTROL] = 0x80;
    SetKeyboardState(keys.data());
    SendMessageW(edit(), WM_KEYDOWN, 'A', 0);
    EXPECT_EQ(selected(), 8u);
    keys[VK_CONTROL] = 0;
    SetKeyboardState(keys.data());

    const HWND window = output_->window();
    SendMessageW(edit(), WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_TRUE(support::pump_until([&] { return !IsWindow(window); }));
    EXPECT_EQ(output_->window(), nullptr);

    output_->show(owner_, L"again");
    ASSERT_NE(output_->window(), nullptr);
    EXPECT_EQ(win32::window_text(edit()), L"again");
    SendMessageW(output_->window(), WM_CLOSE, 0, 0);
    EXPECT_EQ(output_->window(), nullptr);
}

TEST_F(OutputWindowTest, EndsWithItsObjectAndWithItsOwner)
{
    output_->show(owner_, L"text");
    ASSERT_NE(output_->window(), nullptr);
    DestroyWindow(owner_);
    EXPECT_EQ(output_->window(), nullptr);

    output_->show(nullptr, L"text");
    const HWND window = output_->window();
    ASSERT_NE(window, nullptr);
    output_.reset();
    EXPECT_FALSE(IsWindow(window));
}

}  // namespace revlane
