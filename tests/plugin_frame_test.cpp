// The delivered library, called as the editor calls it: every query, event and request of the
// editor's interface, with a recording window as the editor's frame.
#include "changes/compare.h"
#include "changes/messages.h"
#include "plugin/host/messages.h"
#include "resources/ids.h"
#include "tests/support/editor_driver.h"
#include "tests/support/pump.h"
#include "tests/support/recording_host.h"
#include "tests/support/window_watch.h"
#include "win32/handle.h"
#include "win32/posted.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace revlane {

namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace): literals only
using support::RecordingHost;

// The library in this process, until the object goes.
class Library {
public:
    Library() : library_(LoadLibraryW(support::delivered_plugin().c_str()))
    {
        find(on_command, "OnCommand");
        find(query_status, "QueryStatus");
        find(on_events, "OnEvents");
        find(menu_text, "GetMenuTextID");
        find(status_message, "GetStatusMessageID");
        find(bitmap, "GetBitmapID");
        find(plugin_proc, "PlugInProc");
    }

    void(WINAPI* on_command)(HWND) = nullptr;
    UINT(WINAPI* query_status)(HWND, UINT*) = nullptr;
    void(WINAPI* on_events)(HWND, UINT, LPARAM) = nullptr;
    UINT(WINAPI* menu_text)() = nullptr;
    UINT(WINAPI* status_message)() = nullptr;
    UINT(WINAPI* bitmap)() = nullptr;
    LRESULT(WINAPI* plugin_proc)(HWND, UINT, WPARAM, LPARAM) = nullptr;

private:
    template <typename Entry>
    void find(Entry& entry, const char* name)
    {
        entry = reinterpret_cast<Entry>(GetProcAddress(library_.get(), name));
        EXPECT_NE(entry, nullptr) << name;
    }

    win32::LibraryHandle library_;
};

// One frame of an editor with the plug-in loaded.
class PluginFrame : public testing::Test {
protected:
    PluginFrame()
    {
        host_.language_path = L"C:\\Quorrel\\mui\\1033";
        view_ = CreateWindowExW(0, L"STATIC", L"", WS_CHILD, 0, 0, 10, 10, host_.window(), nullptr,
                                nullptr, nullptr);
    }
    void TearDown() override { library_.on_events(nullptr, host::EVENT_UNLOADING, 0); }

    void create_frame()
    {
        event(host::EVENT_LOADED);
        event(host::EVENT_FRAME_CREATED);
    }
    void event(UINT flags, LPARAM argument = 0) { library_.on_events(view_, flags, argument); }
    LRESULT query(UINT code, WPARAM wparam = 0, LPARAM lparam = 0)
    {
        return library_.plugin_proc(view_, code, wparam, lparam);
    }
    // Nothing: the plug-in knows no frame of the window.
    [[nodiscard]] std::optional<bool> is_checked(HWND window) const
    {
        UINT checked = 77;
        if (library_.query_status(window, &checked) == 0) {
            EXPECT_EQ(checked, 77U);
            return std::nullopt;
        }
        return checked != 0;
    }
    // The dialog of the bar that was opened last.
    HWND panel()
    {
        const auto opened = host_.received(host::QM_CUSTOM_BAR_OPEN);
        return opened.empty() ? nullptr
                              : reinterpret_cast<HWND>(opened.back().at<std::uint64_t>(16));
    }
    HWND open_panel()
    {
        create_frame();
        library_.on_command(view_);
        support::pump_waiting();
        return panel();
    }
    void report_bar_closed(std::uint32_t id, std::uint32_t flags)
    {
        const host::CustomBarClosed report{id, 0, flags};
        event(host::EVENT_CUSTOM_BAR_CLOSED, reinterpret_cast<LPARAM>(&report));
    }
    // How many messages of this kind wait for the window; they are taken away.
    static int take_posted(HWND window, UINT message)
    {
        int count = 0;
        MSG found{};
        while (PeekMessageW(&found, window, message, message, PM_REMOVE))
            ++count;
        return count;
    }

    RecordingHost host_;
    HWND view_ = nullptr;
    Library library_;
};

TEST_F(PluginFrame, AnswersTheEditorsQuestionsWithoutAFrame)
{
    EXPECT_EQ(library_.menu_text(), 0U);
    EXPECT_EQ(library_.status_message(), 0U);
    EXPECT_EQ(library_.bitmap(), 120U);
    EXPECT_EQ(is_checked(view_), std::nullopt);
    EXPECT_EQ(is_checked(nullptr), std::nullopt);

    struct Case {
        UINT query;
        WPARAM wparam;
        LRESULT answer;
    };
    const std::vector<Case> cases{
        {host::QUERY_SUPPORTED, 0, 1},
        {host::QUERY_ALLOW_OPEN, 0, 0},
        {host::QUERY_MASK_COLOR, 0x20, -1},
        {host::QUERY_MASK_COLOR, 0x1F, 0},
        {host::QUERY_BITMAP, 0, 120},
        {host::QUERY_BITMAP, 0x300, 120},
        {host::QUERY_BITMAP, 0x20, 123},
        {host::QUERY_BITMAP, 0x220, 124},
        {host::QUERY_BITMAP, 0x120, 125},
        {host::QUERY_BITMAP, 0x320, 125},
        {host::QUERY_BITMAP, 0x1, 123},
        {host::QUERY_BITMAP, 0x301, 123},
        {host::QUERY_BITMAP, 0x21, 120},
        {host::QUERY_BITMAP, 0x221, 122},
        {host::QUERY_BITMAP, 0x121, 121},
        {host::QUERY_BITMAP, 0x321, 121},
        // No frame, no meaning, or both.
        {host::QUERY_PRE_TRANSLATE, 0, 0},
        {host::QUERY_USER_MESSAGE, 0, 0},
        {2303, 0, 0},
        {2305, 0, 0},
        {2316, 0, 0},
        {2319, 0, 0},
        {2322, 0, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(query(c.query, c.wparam), c.answer) << c.query << " " << c.wparam;
}

TEST_F(PluginFrame, CopiesItsNameAsFarAsTheBufferGoes)
{
    create_frame();
    constexpr LRESULT length = 8;  // of "Revlane" with its end
    for (const UINT code : {host::QUERY_NAME_W, host::QUERY_TEXT_W, host::QUERY_TOOLTIP_W}) {
        std::array<wchar_t, 20> text{};
        const auto buffer = reinterpret_cast<LPARAM>(text.data());
        EXPECT_EQ(query(code, text.size(), buffer), length);
        EXPECT_STREQ(text.data(), L"Revlane");
        EXPECT_EQ(query(code, 4, buffer), length);
        EXPECT_STREQ(text.data(), L"Rev");
        text.fill(L'x');
        EXPECT_EQ(query(code, 1, buffer), length);
        EXPECT_STREQ(text.data(), L"");
        text.fill(L'x');
        EXPECT_EQ(query(code, 0x80000000, buffer), length);
        EXPECT_STREQ(text.data(), L"");
        text.fill(L'x');
        EXPECT_EQ(query(code, 0, buffer), length);
        EXPECT_EQ(text.front(), L'x');
        EXPECT_EQ(query(code, 5, 0), length);
    }
    std::array<char, 20> narrow{};
    EXPECT_EQ(query(host::QUERY_NAME_A, narrow.size(), reinterpret_cast<LPARAM>(narrow.data())),
              length);
    EXPECT_STREQ(narrow.data(), "Revlane");

    std::array<wchar_t, 4> empty{L'x', L'x', L'x', L'x'};
    EXPECT_EQ(query(host::QUERY_VERSION_W, 4, reinterpret_cast<LPARAM>(empty.data())), 1);
    EXPECT_STREQ(empty.data(), L"");
    EXPECT_EQ(query(host::QUERY_VERSION_A, 0, 0), 1);
}

TEST_F(PluginFrame, WritesItsBareSectionWhenSettingsAreReset)
{
    EXPECT_EQ(query(host::QUERY_RESET_SETTINGS), 1);
    const auto written = host_.received(host::QM_PROFILE_WRITE);
    ASSERT_EQ(written.size(), 1U);
    EXPECT_EQ(written[0].at<std::uint64_t>(0), 56U);
    EXPECT_EQ(written[0].at<std::uint64_t>(32), 1U);
    EXPECT_EQ(written[0].at<std::uint64_t>(48), 0U);
    EXPECT_EQ(written[0].texts.front(), L"Revlane");
}

TEST_F(PluginFrame, KnowsAFrameFromItsCreationToItsEnd)
{
    // Nothing is known before the plug-in was told that it is loaded.
    event(host::EVENT_FRAME_CREATED);
    EXPECT_EQ(is_checked(view_), std::nullopt);
    create_frame();
    EXPECT_EQ(is_checked(view_), false);
    // A window without a parent, or none at all, has no frame.
    library_.on_events(host_.window(), host::EVENT_FRAME_CLOSED, 0);
    library_.on_events(nullptr, host::EVENT_FRAME_CLOSED, 0);
    EXPECT_EQ(is_checked(view_), false);
    event(host::EVENT_FRAME_CLOSED);
    EXPECT_EQ(is_checked(view_), std::nullopt);
    // The texts went with the last frame, and come back with the next.
    const std::size_t asked = host_.received(host::QM_INFO).size();
    event(host::EVENT_FRAME_CREATED);
    EXPECT_GT(host_.received(host::QM_INFO).size(), asked);
    EXPECT_EQ(is_checked(view_), false);
    library_.on_events(nullptr, host::EVENT_UNLOADING, 0);
    EXPECT_EQ(is_checked(view_), std::nullopt);
}

TEST_F(PluginFrame, ReadsTheTextsAnewWhenTheLanguageChanges)
{
    create_frame();
    const auto questions = [this] {
        std::size_t count = 0;
        for (const auto& message : host_.received(host::QM_INFO))
            count += message.wparam == host::INFO_LANGUAGE_PATH ? 1U : 0U;
        return count;
    };
    const std::size_t before = questions();
    event(host::EVENT_LANGUAGE_CHANGED, 2);
    EXPECT_EQ(questions(), before);
    event(host::EVENT_LANGUAGE_CHANGED, 1);
    EXPECT_EQ(questions(), before + 1);
    EXPECT_EQ(query(host::QUERY_NAME_W), 8);
}

TEST_F(PluginFrame, OpensAndClosesThePanelsBar)
{
    host_.bar_id = 4711;
    const HWND dialog = open_panel();
    ASSERT_TRUE(IsWindow(dialog));
    const auto opened = host_.received(host::QM_CUSTOM_BAR_OPEN);
    ASSERT_EQ(opened.size(), 1U);
    EXPECT_EQ(opened[0].at<std::uint32_t>(0), 40U);
    EXPECT_EQ(opened[0].at<std::uint32_t>(32), 0U);
    EXPECT_EQ(opened[0].texts, std::vector<std::wstring>{L"Revlane"});
    EXPECT_EQ(is_checked(view_), true);

    library_.on_command(view_);
    const auto closed = host_.received(host::QM_CUSTOM_BAR_CLOSE);
    ASSERT_EQ(closed.size(), 1U);
    EXPECT_EQ(closed[0].wparam, 4711U);
    // The panel lives until the editor says that the bar is gone, and no other bar.
    EXPECT_EQ(is_checked(view_), true);
    report_bar_closed(4712, 1);
    EXPECT_TRUE(IsWindow(dialog));
    report_bar_closed(4711, 3);
    EXPECT_FALSE(IsWindow(dialog));
    EXPECT_EQ(is_checked(view_), false);
    EXPECT_EQ(host_.settings[L"Revlane/OpenStartup"], RecordingHost::Value(1U));

    // The next frame opens it at once.
    event(host::EVENT_FRAME_CLOSED);
    event(host::EVENT_FRAME_CREATED);
    EXPECT_EQ(host_.received(host::QM_CUSTOM_BAR_OPEN).size(), 2U);
    report_bar_closed(4711, 2);
    EXPECT_EQ(host_.settings[L"Revlane/OpenStartup"], RecordingHost::Value(0U));
    // A frame closed with its bar open takes the panel with it.
    library_.on_command(view_);
    const HWND last = panel();
    EXPECT_TRUE(IsWindow(last));
    event(host::EVENT_FRAME_CLOSED);
    EXPECT_FALSE(IsWindow(last));
}

TEST_F(PluginFrame, ComparesEventsAsAWhole)
{
    host_.settings[L"Revlane/OpenStartup"] = 1U;
    event(host::EVENT_LOADED);
    event(host::EVENT_FRAME_CREATED | 1U);
    EXPECT_TRUE(host_.received(host::QM_CUSTOM_BAR_OPEN).empty());
    library_.on_command(view_);
    support::pump_waiting();
    const HWND dialog = panel();
    struct Case {
        UINT event;
        UINT posted;
    };
    for (const Case& c : {Case{host::EVENT_DOC_CHECK, WM_REVLANE_CHECK_DOCUMENT},
                          Case{host::EVENT_REFRESH, WM_REVLANE_REFRESH},
                          Case{host::EVENT_REFRESH_2, WM_REVLANE_REFRESH}}) {
        event(c.event);
        EXPECT_EQ(take_posted(dialog, c.posted), 1) << c.event;
        event(c.event | 1U);
        event(c.event | host::EVENT_LANGUAGE_CHANGED);
        EXPECT_EQ(take_posted(dialog, c.posted), 0) << c.event;
    }
}

TEST_F(PluginFrame, ManyDeferredRefreshesBecomeOne)
{
    const HWND dialog = open_panel();
    for (int i = 0; i < 5; ++i)
        event(host::EVENT_REFRESH_DEFERRED);
    int posted = 0;
    const auto count = [&](MSG& message) {
        if (message.hwnd == dialog && message.message == WM_REVLANE_REFRESH)
            ++posted;
        DispatchMessageW(&message);
    };
    support::pump_until([] { return false; }, 200ms, count);
    EXPECT_EQ(posted, 1);
}

TEST_F(PluginFrame, ForwardsRequestsToThePanelAndTakesEveryPayload)
{
    const auto give = [this](UINT request, auto payload) {
        return query(host::QUERY_REQUEST, request, reinterpret_cast<LPARAM>(payload.release()));
    };
    const auto result = [](bool ok) {
        return std::make_unique<git::CommandResult>(git::CommandResult{L"push", "refused", ok});
    };
    const auto text = [] { return std::make_unique<std::wstring>(L"C:\\repository"); };
    // Without a frame, with one, and with its panel: the editor is always told that it was taken.
    for (int round = 0; round < 3; ++round) {
        if (round == 1)
            create_frame();
        if (round == 2) {
            library_.on_command(view_);
            support::pump_waiting();
        }
        EXPECT_EQ(give(WM_REVLANE_OPEN_REPOSITORY, text()), 0);
        EXPECT_EQ(give(REQUEST_SHOW_HISTORY, text()), 0);
        EXPECT_EQ(give(WM_REVLANE_COMMAND_RESULT, result(true)), 0);
        for (const UINT request :
             {WM_REVLANE_OPEN_REPOSITORY, REQUEST_SHOW_HISTORY, WM_REVLANE_COMMAND_RESULT,
              WM_REVLANE_STASH_KEPT, WM_REVLANE_EXTERNAL_REFRESH, WM_REVLANE_RELOAD_REFERENCES,
              UINT{1}})
            EXPECT_EQ(query(host::QUERY_REQUEST, request), 0) << request;
    }
    const HWND dialog = panel();
    MSG posted{};
    ASSERT_TRUE(PeekMessageW(&posted, dialog, WM_REVLANE_COMMAND_RESULT, WM_REVLANE_COMMAND_RESULT,
                             PM_REMOVE));
    const auto copy = win32::take_owned<git::CommandResult>(posted.wParam);
    EXPECT_EQ(copy->command, L"push");
    EXPECT_EQ(copy->output, "refused");
    EXPECT_EQ(take_posted(dialog, WM_REVLANE_EXTERNAL_REFRESH), 1);

    // With the bar closed the user still hears of a failure. The history stands where it will.
    support::pump_waiting();
    report_bar_closed(host_.bar_id, 0);
    const support::BoxAnswer box(IDCLOSE);
    give(WM_REVLANE_COMMAND_RESULT, result(false));
    ASSERT_TRUE(box.text());
    EXPECT_NE(box.text()->find(L"refused"), std::wstring::npos);
}

TEST_F(PluginFrame, RoutesKeysToThePanelWhileItHasTheFocus)
{
    const HWND dialog = open_panel();
    ShowWindow(host_.window(), SW_SHOW);
    ShowWindow(view_, SW_SHOW);
    MSG key{};
    key.hwnd = dialog;
    key.message = WM_KEYDOWN;
    key.wParam = VK_ESCAPE;
    const auto lparam = reinterpret_cast<LPARAM>(&key);
    SetFocus(host_.window());
    EXPECT_EQ(query(host::QUERY_PRE_TRANSLATE, 0, lparam), 0);
    EXPECT_EQ(query(host::QUERY_PRE_TRANSLATE, 0, 0), 0);

    for (HWND child :
         {GetDlgItem(dialog, IDC_COMMIT_MESSAGE), GetDlgItem(dialog, IDC_STAGED_LIST)}) {
        ShowWindow(child, SW_SHOW);
        SetFocus(child);
        key.hwnd = child;
        key.wParam = VK_ESCAPE;
        const std::size_t before = host_.received(host::QM_EXECUTE_COMMAND).size();
        EXPECT_EQ(query(host::QUERY_PRE_TRANSLATE, 0, lparam), 1);
        const auto commands = host_.received(host::QM_EXECUTE_COMMAND);
        ASSERT_EQ(commands.size(), before + 1);
        EXPECT_EQ(commands.back().wparam, host::COMMAND_FOCUS_DOCUMENT);
        // Other keys stay in the panel.
        key.wParam = VK_TAB;
        EXPECT_EQ(query(host::QUERY_PRE_TRANSLATE, 0, lparam), 1);
        EXPECT_EQ(host_.received(host::QM_EXECUTE_COMMAND).size(), before + 1);
        EXPECT_TRUE(IsWindow(dialog));
    }
}

TEST_F(PluginFrame, RemovesTheTemporaryFilesWithTheFrame)
{
    create_frame();
    const std::filesystem::path file = temp_directory() / L"leftover.txt";
    std::filesystem::create_directories(temp_directory());
    std::ofstream(file) << "left by a comparison";
    SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
    event(host::EVENT_FRAME_CLOSED);
    EXPECT_FALSE(std::filesystem::exists(temp_directory()));
}

TEST_F(PluginFrame, LivesOnWithoutTheLocalizedLibrary)
{
    host_.language_path.clear();
    {
        const support::BoxAnswer box(IDOK);
        create_frame();
        ASSERT_TRUE(box.text());
        EXPECT_NE(box.text()->find(L"No localized file found - Revlane_loc.dll"),
                  std::wstring::npos);
    }
    library_.on_command(view_);
    EXPECT_TRUE(host_.received(host::QM_CUSTOM_BAR_OPEN).empty());
    EXPECT_EQ(is_checked(view_), false);
}

TEST(PluginLibrary, CanBeLoadedAndUnloadedManyTimes)
{
    for (int round = 0; round < 20; ++round) {
        RecordingHost host;
        host.language_path = L"C:\\Quorrel\\mui\\1033";
        host.settings[L"Revlane/OpenStartup"] = 1U;
        const HWND view = CreateWindowExW(0, L"STATIC", L"", WS_CHILD, 0, 0, 10, 10, host.window(),
                                          nullptr, nullptr, nullptr);
        const Library library;
        library.on_events(view, host::EVENT_LOADED, 0);
        library.on_events(view, host::EVENT_FRAME_CREATED, 0);
        EXPECT_EQ(host.received(host::QM_CUSTOM_BAR_OPEN).size(), 1U);
        library.on_events(nullptr, host::EVENT_UNLOADING, 0);
    }
}

}  // namespace

}  // namespace revlane
