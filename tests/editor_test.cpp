// The stand-in editor itself, with a fake plug-in: what the window tests of the plug-in rely on.
#include "editor/line_diff.h"
#include "editor/text_file.h"
#include "plugin/host/messages.h"
#include "tests/support/editor_driver.h"
#include "tests/support/fake_plugin.h"
#include "tests/support/window_watch.h"
#include "win32/handle.h"
#include "win32/text.h"
#include "win32/window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <random>
#include <string>
#include <vector>

namespace {

using quorrel::DiffRow;
using support::BoxAnswer;
using support::EditorDriver;
using testing::ElementsAre;
using testing::HasSubstr;

// Keeps the fake loaded beyond the editor's own use, and its memory readable.
class Fake {
public:
    Fake() : library_(LoadLibraryW(support::fake_plugin().c_str()))
    {
        const auto state = reinterpret_cast<support::FakePluginState>(
            GetProcAddress(library_.get(), support::fake_plugin_state));
        state_ = state();
        *state_ = {};
    }

    support::FakePlugin* operator->() const { return state_; }

    // The events since the last call, in order.
    std::vector<UINT> take_events()
    {
        std::vector<UINT> events;
        for (std::size_t index = 0; index < state_->call_count; ++index)
            events.push_back(state_->calls[index].event);
        state_->call_count = 0;
        return events;
    }
    // The last report of a closed bar.
    [[nodiscard]] support::FakeCall closed_bar() const
    {
        for (std::size_t index = state_->call_count; index-- > 0;) {
            if (state_->calls[index].event == host::EVENT_CUSTOM_BAR_CLOSED)
                return state_->calls[index];
        }
        return {};
    }

private:
    win32::LibraryHandle library_;
    support::FakePlugin* state_;
};

LRESULT send_text(HWND frame, UINT message, WPARAM wparam, const std::wstring& text)
{
    return SendMessageW(frame, message, wparam, reinterpret_cast<LPARAM>(text.c_str()));
}

std::wstring ask_path(HWND frame, WPARAM selector)
{
    std::array<wchar_t, MAX_PATH> path{};
    SendMessageW(frame, host::QM_INFO, selector, reinterpret_cast<LPARAM>(path.data()));
    return path.data();
}

LRESULT open_document(HWND frame, const std::filesystem::path& file, std::uint32_t mode)
{
    host::OpenOptions options;
    options.mode = mode;
    return send_text(frame, host::QM_OPEN_FILE, reinterpret_cast<WPARAM>(&options), file.wstring());
}

std::uint32_t compare(HWND frame, const std::filesystem::path& left,
                      const std::filesystem::path& right)
{
    host::CompareRequest request;
    request.left = left.c_str();
    request.right = right.c_str();
    return static_cast<std::uint32_t>(
        SendMessageW(frame, host::QM_COMPARE, reinterpret_cast<WPARAM>(&request), 0));
}

std::vector<std::wstring> letters(const std::string& text)
{
    std::vector<std::wstring> lines;
    for (const char letter : text)
        lines.emplace_back(1, static_cast<wchar_t>(letter));
    return lines;
}

// Length of the longest common subsequence, by the table that everyone knows.
std::size_t longest_common(const std::string& left, const std::string& right)
{
    std::vector<std::vector<std::size_t>> table(left.size() + 1,
                                                std::vector<std::size_t>(right.size() + 1));
    for (std::size_t i = 1; i <= left.size(); ++i) {
        for (std::size_t j = 1; j <= right.size(); ++j)
            table[i][j] = left[i - 1] == right[j - 1] ? table[i - 1][j - 1] + 1
                                                      : std::max(table[i - 1][j], table[i][j - 1]);
    }
    return table[left.size()][right.size()];
}

TEST(EditorLineDiff, ShowsEveryLineOnceAndAsManyBesideAnEqualOneAsPossible)
{
    std::mt19937 random(7);
    for (int round = 0; round < 500; ++round) {
        std::array<std::string, 2> texts;
        for (std::string& text : texts) {
            text.resize(random() % 12);
            std::generate(text.begin(), text.end(),
                          [&random] { return static_cast<char>('a' + random() % 4); });
        }
        SCOPED_TRACE(texts[0] + " / " + texts[1]);
        std::array<std::string, 2> shown;
        std::size_t same = 0;
        for (const DiffRow& row : quorrel::diff_lines(letters(texts[0]), letters(texts[1]))) {
            if (row.left != DiffRow::no_line)
                shown[0] += texts[0].at(row.left);
            if (row.right != DiffRow::no_line)
                shown[1] += texts[1].at(row.right);
            if (row.kind == DiffRow::Kind::same) {
                EXPECT_EQ(texts[0].at(row.left), texts[1].at(row.right));
                ++same;
            }
        }
        EXPECT_EQ(shown, texts);
        EXPECT_EQ(same, longest_common(texts[0], texts[1]));
    }
}

TEST(EditorLineDiff, PairsReplacedLinesAndGivesUpOnTextsWithoutAnyLikeness)
{
    using Kind = DiffRow::Kind;
    constexpr std::size_t none = DiffRow::no_line;
    EXPECT_THAT(quorrel::diff_lines(letters("abcd"), letters("aXd")),
                ElementsAre(DiffRow{Kind::same, 0, 0}, DiffRow{Kind::changed, 1, 1},
                            DiffRow{Kind::removed, 2, none}, DiffRow{Kind::same, 3, 2}));

    std::vector<std::wstring> left;
    std::vector<std::wstring> right;
    for (int line = 0; line < 20000; ++line) {
        left.push_back(L"left " + std::to_wstring(line));
        right.push_back(L"right " + std::to_wstring(line));
    }
    right.push_back(left.back());
    const auto rows = quorrel::diff_lines(left, right);
    EXPECT_EQ(rows.front(), (DiffRow{Kind::changed, 0, 0}));
    EXPECT_EQ(rows.back(), (DiffRow{Kind::same, 19999, 20000}));
}

TEST(EditorFiles, TextsComeBackAsTheyWere)
{
    struct Case {
        std::string bytes;
        std::wstring text;
        bool exact = true;
    };
    const std::vector<Case> cases{
        {"", L""},
        {"a\nb\n", L"a\r\nb\r\n"},
        {"a\r\nb", L"a\r\nb"},
        {"a\rb\r", L"a\r\nb\r\n"},
        {"\xEF\xBB\xBFÜ\n", L"Ü\r\n"},
        {"a\nb\r\n", L"a\r\nb\r\n", false},
        {"a\xFFz", L"a\uFFFDz", false},
        {std::string("a\0z", 3), L"a\uFFFDz", false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(testing::PrintToString(each.bytes));
        const quorrel::Text text = quorrel::decode_text(each.bytes);
        EXPECT_EQ(text.text, each.text);
        EXPECT_EQ(text.exact, each.exact);
        EXPECT_EQ(quorrel::encode_text(text) == each.bytes, each.exact);
    }
}

TEST(EditorFiles, SettingsAreKeptInAFileThatCanBeEditedByHand)
{
    const support::TempFolder folder;
    const auto file = folder.path() / L"deeper" / L"settings.ini";
    {
        quorrel::SettingsFile settings(file);
        EXPECT_TRUE(settings.set(L"Plug", L"Text", L"C:\\Ünï \"quoted\" = [x]"));
        EXPECT_TRUE(settings.set(L"plug", L"Number", 4294967295U));
        EXPECT_TRUE(settings.set(L"Gone", L"Number", 1U));
        EXPECT_TRUE(settings.clear(L"gone"));
        EXPECT_FALSE(settings.set(L"Plug", L"Lines", L"a\nb"));
        EXPECT_FALSE(settings.set(L"Plug", L"a=b", 1U));
        EXPECT_FALSE(settings.set(L"", L"a", 1U));
    }
    auto text = quorrel::read_file(file).value();
    EXPECT_EQ(text, "[Gone]\r\n[Plug]\r\nNumber=4294967295\r\n"
                    "Text=\"C:\\Ünï \"quoted\" = [x]\"\r\n");

    text += "nonsense\r\nHuge=4294967296\r\nSigned=-1\r\nByHand=7\n";
    quorrel::write_file(file, text);
    const quorrel::SettingsFile settings(file);
    EXPECT_EQ(settings.number(L"PLUG", L"BYHAND", 0), 7U);
    EXPECT_EQ(settings.find(L"Plug", L"text"),
              quorrel::SettingsFile::Value(L"C:\\Ünï \"quoted\" = [x]"));
    for (const wchar_t* name : {L"Huge", L"Signed", L"Lines", L"nonsense"})
        EXPECT_FALSE(settings.find(L"Plug", name)) << win32::to_utf8(name);
}

TEST(EditorPlugin, IsToldOfFramesAndBarsInOrderTimeAndAgain)
{
    for (int round = 0; round < 3; ++round) {
        {
            Fake fake;
            EditorDriver driver(support::fake_plugin());
            EXPECT_THAT(
                fake.take_events(),
                ElementsAre(host::EVENT_LOADED, host::EVENT_FRAME_CREATED, host::EVENT_DOC_CHECK));
            EXPECT_EQ(fake->calls[1].frame, driver.window());
            ASSERT_NE(driver.open_panel(), nullptr);

            const HWND second = driver.editor().open_frame().window();
            EXPECT_EQ(fake->calls[0].frame, second);
            EXPECT_THAT(fake.take_events(), ElementsAre(host::EVENT_FRAME_CREATED));
            PostMessageW(second, WM_CLOSE, 0, 0);
            driver.pump();
            EXPECT_THAT(fake.take_events(), ElementsAre(host::EVENT_FRAME_CLOSED));
            EXPECT_FALSE(IsWindow(second));

            driver.close();
            EXPECT_EQ(fake.closed_bar().bar_flags, 1U) << "open again at the next start";
            EXPECT_THAT(fake.take_events(),
                        ElementsAre(host::EVENT_CUSTOM_BAR_CLOSED, host::EVENT_FRAME_CLOSED,
                                    host::EVENT_UNLOADING));
            EXPECT_FALSE(IsWindow(fake->dialog));
        }
        EXPECT_EQ(GetModuleHandleW(support::fake_plugin().filename().c_str()), nullptr);
    }
}

TEST(EditorPlugin, BarsDockADialogAndReportHowTheyClosed)
{
    Fake fake;
    EditorDriver driver(support::fake_plugin());
    const HWND panel = driver.open_panel();
    ASSERT_EQ(panel, fake->dialog);
    EXPECT_EQ(GetAncestor(panel, GA_ROOT), driver.window());
    EXPECT_EQ(GetWindowLongPtrW(panel, GWL_STYLE) & (WS_CHILD | WS_CAPTION), WS_CHILD);
    EXPECT_TRUE(IsWindowVisible(panel));
    EXPECT_EQ(driver.frame().bars().front()->title(), L"Fake panel");

    const auto expect_closed = [&](std::uint32_t bar) {
        EXPECT_EQ(driver.panel(), nullptr);
        EXPECT_EQ(fake.closed_bar().bar, bar);
        EXPECT_EQ(fake.closed_bar().bar_flags, 0U) << "the user has closed it";
        EXPECT_FALSE(IsWindow(fake->dialog));
        EXPECT_THAT(fake.take_events(), testing::Contains(host::EVENT_CUSTOM_BAR_CLOSED).Times(1));
    };
    driver.press_close_button();
    EXPECT_TRUE(fake.closed_bar().dialog_lives) << "until the plug-in was told";
    expect_closed(1);

    fake->end_dialog_itself = true;
    driver.open_panel();
    driver.issue_command();
    expect_closed(2);

    DestroyWindow(driver.open_panel());
    driver.pump();
    expect_closed(3);
}

TEST(EditorPlugin, SettingsAreReadAndWrittenAsARegistryWould)
{
    Fake fake;
    EditorDriver driver(support::fake_plugin(),
                        "[Plug]\r\nText=\"abc\"\r\nNumber=7\r\n[Quorrel]\r\nDefaultLang=1041\r\n");
    const HWND frame = driver.window();
    std::array<wchar_t, 8> buffer{};
    std::uint32_t size = 0;
    const auto read = [&](const host::ProfileRead& change, std::uint32_t capacity) {
        host::ProfileRead record = change;
        size = capacity;
        record.data = buffer.data();
        record.data_size = &size;
        return static_cast<DWORD>(
            SendMessageW(frame, host::QM_PROFILE_READ, 0, reinterpret_cast<LPARAM>(&record)));
    };
    host::ProfileRead number;
    number.section = L"Plug";
    number.name = L"Number";
    host::ProfileRead text = number;
    text.name = L"Text";
    text.type = host::PROFILE_STRING;
    host::ProfileRead own = number;
    own.section = nullptr;
    own.name = L"DefaultLang";
    own.mask = host::PROFILE_MASK_EDITOR;

    EXPECT_EQ(read(number, 4), 0U);
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(buffer[0], L'\7');
    EXPECT_EQ(read(own, 4), 0U);
    EXPECT_EQ(buffer[0], wchar_t{1041});
    EXPECT_EQ(read(text, 7), DWORD{ERROR_MORE_DATA});
    EXPECT_EQ(size, 8U);
    EXPECT_EQ(read(text, 8), 0U);
    EXPECT_EQ(std::wstring(buffer.data()), L"abc");

    const auto refused = [&](auto member, auto value) {
        host::ProfileRead wrong = number;
        wrong.*member = value;
        return read(wrong, 4);
    };
    EXPECT_EQ(refused(&host::ProfileRead::name, L"Absent"), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(refused(&host::ProfileRead::type, host::PROFILE_STRING),
              DWORD{ERROR_INVALID_DATATYPE});
    EXPECT_EQ(refused(&host::ProfileRead::size, 56U), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(refused(&host::ProfileRead::mask, host::PROFILE_MASK_EDITOR),
              DWORD{ERROR_INVALID_PARAMETER});

    const auto write = [frame](const host::ProfileWrite& record) {
        return static_cast<DWORD>(
            SendMessageW(frame, host::QM_PROFILE_WRITE, 0, reinterpret_cast<LPARAM>(&record)));
    };
    host::ProfileWrite change;
    const std::uint32_t eight = 8;
    change.section = L"Plug";
    change.name = L"Number";
    change.data = &eight;
    change.data_size = 3;
    EXPECT_EQ(write(change), DWORD{ERROR_INVALID_PARAMETER});
    change.data_size = 4;
    EXPECT_EQ(write(change), 0U);
    EXPECT_THAT(driver.settings(), HasSubstr("Number=8"));
    change = {};
    change.section = L"Plug";
    change.type = host::PROFILE_STRING;
    EXPECT_EQ(write(change), 0U) << "the bare section";
    EXPECT_THAT(driver.settings(), HasSubstr("[Plug]\r\n[Quorrel]"));
    EXPECT_EQ(driver.editor().recorder().of(host::QM_PROFILE_WRITE).size(), 3U);
}

TEST(EditorPlugin, RequestsReachTheNamedPlugInOnly)
{
    Fake fake;
    EditorDriver driver(support::fake_plugin());
    const auto send = [&](const std::wstring& library, std::uint32_t size) {
        host::PlugInMessage message;
        message.size = size;
        message.library = library.c_str();
        message.request = 32789;
        message.payload = 41;
        return SendMessageW(driver.window(), host::QM_PLUGIN_MESSAGE, 0,
                            reinterpret_cast<LPARAM>(&message));
    };
    EXPECT_EQ(send(L"Another.dll", 40), -1);
    EXPECT_EQ(send(support::fake_plugin().filename(), 32), -1);
    EXPECT_EQ(fake->request, 0U);
    EXPECT_EQ(send(support::fake_plugin().filename(), 40), 42);
    EXPECT_EQ(fake->request, 32789U);
}

TEST(EditorPlugin, HearsOfKeysBeforeWindowsDoButAfterShortcuts)
{
    Fake fake;
    EditorDriver driver(support::fake_plugin());
    const HWND edit = driver.frame().documents().active_document()->window();
    fake->swallowed_key = 'Q';
    driver.press_key(edit, 'Q');
    driver.press_key(edit, 'X');
    EXPECT_EQ(win32::window_text(edit), L"x");

    // No event, since the shortcut is carried out before the plug-in is asked.
    fake.take_events();
    fake->swallowed_key = VK_F5;
    driver.press_key(edit, VK_F5);
    EXPECT_THAT(fake.take_events(), ElementsAre(host::EVENT_REFRESH));
}

TEST(EditorPlugin, FailuresLeaveTheEditorAlive)
{
    const auto expect_alive = [](EditorDriver& driver) {
        driver.frame().set_status(L"alive");
        EXPECT_EQ(driver.frame().status(), L"alive");
    };
    for (const std::filesystem::path library : {L"Z:\\missing\\Plug.dll", L"comdlg32.dll"}) {
        SCOPED_TRACE(library.string());
        const bool loads = !library.has_parent_path();
        std::array<wchar_t, MAX_PATH> system{};
        GetSystemDirectoryW(system.data(), static_cast<UINT>(system.size()));
        BoxAnswer box(IDOK);
        EditorDriver driver(loads ? system.data() / library : library);
        ASSERT_TRUE(box.text());
        EXPECT_THAT(win32::to_utf8(*box.text()),
                    HasSubstr(loads ? "has no entry point OnCommand" : "cannot be loaded"));
        EXPECT_EQ(driver.editor().plugin(), nullptr);
        driver.issue_command();
        expect_alive(driver);
    }
    Fake fake;
    EditorDriver driver(support::fake_plugin());
    fake->throw_on_command = true;
    BoxAnswer box(IDCLOSE);
    driver.issue_command();
    ASSERT_TRUE(box.text());
    EXPECT_THAT(win32::to_utf8(*box.text()), HasSubstr("the fake fails"));
    EXPECT_EQ(SendMessageW(driver.window(), 2299, 1, 2), 0) << "a message that nobody knows";
    expect_alive(driver);
}

TEST(EditorDocuments, PlugInsOpenNameAndCompareThem)
{
    Fake fake;
    EditorDriver driver(support::fake_plugin());
    const HWND frame = driver.window();
    const auto left = driver.folder() / L"Ünï left.txt";
    const auto right = driver.folder() / L"right.txt";
    quorrel::write_file(left, "one\ntwo\nthree\n");
    quorrel::write_file(right, "one\n2\nthree\nfour\n");

    fake.take_events();
    EXPECT_EQ(compare(frame, left, right), host::COMPARE_NO_DOCUMENT_1);
    EXPECT_TRUE(open_document(frame, left, host::OpenOptions::OPEN_TEMPORARY));
    EXPECT_EQ(compare(frame, left, right), host::COMPARE_NO_DOCUMENT_2);
    send_text(frame, host::QM_INFO, host::INFO_SET_TITLE, L"left.txt (Index)");
    EXPECT_TRUE(driver.frame().documents().active_document()->read_only());
    EXPECT_TRUE(open_document(frame, right, host::OpenOptions::OPEN_IN_PLACE));
    EXPECT_FALSE(driver.frame().documents().active_document()->read_only());
    EXPECT_THAT(fake.take_events(), ElementsAre(host::EVENT_DOC_CHECK, host::EVENT_DOC_CHECK));
    EXPECT_EQ(ask_path(frame, host::INFO_DOCUMENT_PATH), right.wstring());

    SendMessageW(frame, host::QM_EXECUTE_COMMAND, host::COMMAND_SHOW_TABS, 0);
    EXPECT_EQ(SendMessageW(frame, host::QM_INFO, host::INFO_TABS_SHOWN, 0), 0);
    EXPECT_EQ(compare(frame, left, right), host::COMPARE_NO_TABS);
    SendMessageW(frame, host::QM_EXECUTE_COMMAND, host::COMMAND_SHOW_TABS, 0);
    EXPECT_NE(SendMessageW(frame, host::QM_INFO, host::INFO_TABS_SHOWN, 0), 0);
    EXPECT_EQ(compare(frame, left, left), host::COMPARE_FAILED);

    ASSERT_EQ(compare(frame, left, right), 0U);
    const auto kinds = [&driver] {
        std::vector<DiffRow::Kind> found;
        for (const DiffRow& row : driver.frame().documents().active_comparison()->rows())
            found.push_back(row.kind);
        return found;
    };
    using Kind = DiffRow::Kind;
    EXPECT_THAT(kinds(), ElementsAre(Kind::same, Kind::changed, Kind::same, Kind::added));
    EXPECT_THAT(driver.frame().documents().labels(),
                ElementsAre(L"Untitled", L"left.txt (Index)", L"right.txt", L"Compare right.txt"));
    EXPECT_EQ(ask_path(frame, host::INFO_DOCUMENT_PATH), right.wstring());

    // The temporary file is written anew under its name; the comparison follows, in its own tab.
    quorrel::write_file(left, "one\n2\nthree\nfour\n");
    open_document(frame, left, host::OpenOptions::OPEN_TEMPORARY);
    ASSERT_EQ(compare(frame, left, right), 0U);
    EXPECT_THAT(kinds(), testing::Each(Kind::same));
    EXPECT_EQ(driver.frame().documents().labels().size(), 4U);
}

TEST(EditorDocuments, AreSavedAsTheyWereAndAskedFor)
{
    Fake fake;
    EditorDriver driver(support::fake_plugin());
    const auto file = driver.folder() / L"text.txt";
    quorrel::write_file(file, "a\nb\n");
    ASSERT_TRUE(driver.open(file));
    quorrel::Document* document = driver.frame().documents().active_document();
    fake.take_events();
    SendMessageW(document->window(), WM_CHAR, 'x', 1);
    EXPECT_EQ(driver.frame().documents().active_title(), L"*text.txt");
    EXPECT_TRUE(driver.frame().documents().save());
    EXPECT_EQ(quorrel::read_file(file).value(), "xa\nb\n");
    EXPECT_THAT(fake.take_events(),
                ElementsAre(host::EVENT_DOC_CHECK, host::EVENT_REFRESH_DEFERRED));

    // A branch switch, say, has written it anew.
    quorrel::write_file(file, "other\n");
    ASSERT_TRUE(driver.wait([document] { return document->text() == L"other\r\n"; }));

    // The caret has kept its place.
    SendMessageW(document->window(), WM_CHAR, 'y', 1);
    {
        BoxAnswer box(IDCANCEL);
        driver.close();
        ASSERT_TRUE(box.text());
        EXPECT_THAT(win32::to_utf8(*box.text()), HasSubstr("Save the changes to text.txt?"));
        EXPECT_EQ(driver.editor().frames().size(), 1U);
    }
    {
        BoxAnswer box(IDOK);
        EXPECT_FALSE(driver.open(driver.folder() / L"missing.txt"));
        EXPECT_TRUE(box.text());
    }
    BoxAnswer box(IDYES);
    driver.close();
    EXPECT_TRUE(box.text());
    EXPECT_TRUE(driver.editor().frames().empty());
    EXPECT_EQ(quorrel::read_file(file).value(), "oyther\n");
}

TEST(EditorReport, TellsWhatThePanelShowsAndWhatThePlugInAsked)
{
    Fake fake;
    std::filesystem::path report;
    std::filesystem::path record;
    EditorDriver driver(support::fake_plugin(), {}, [&](quorrel::Options& options) {
        report = options.settings.parent_path() / L"report.txt";
        record = options.settings.parent_path() / L"record.txt";
        options.report = report;
        options.record = record;
        options.open_panel = true;
    });
    ASSERT_TRUE(driver.wait([&report] { return std::filesystem::exists(report); }));
    EXPECT_EQ(quorrel::read_file(report).value(), "Fake panel\n"
                                                  "text \"Repository\"\n"
                                                  "combo \"main\"\n"
                                                  "button \"Commit\" disabled\n"
                                                  "list, rows: 2\n"
                                                  "    Ünï.txt\t added\n"
                                                  "    b.txt\n");
    EnableWindow(GetDlgItem(driver.panel(), support::FAKE_BUTTON), TRUE);
    EXPECT_TRUE(driver.wait([&report] {
        return quorrel::read_file(report)->find("\"Commit\"\n") != std::string::npos;
    }));
    send_text(driver.window(), host::QM_STATUS_TEXT, 0, L"Fetched all");
    EXPECT_EQ(driver.frame().status(), L"Fetched all");
    EXPECT_THAT(quorrel::read_file(record).value(), HasSubstr("\n2104\t0\t1\t\tFetched all\n"));
}

}  // namespace
