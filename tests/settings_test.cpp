#include "plugin/host/settings.h"

#include "plugin/host/editor.h"
#include "plugin/host/localized.h"
#include "tests/support/recording_host.h"
#include "win32/posted.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host {

namespace {

using support::HostMessage;
using support::RecordingHost;
using Manner = RecordingHost::Manner;

// The section that is named after the module, here the test program's.
const std::wstring SECTION = L"revlane_tests";

// The one message of its kind that has arrived.
HostMessage only(const RecordingHost& editor, UINT id)
{
    const std::vector<HostMessage> found = editor.received(id);
    EXPECT_EQ(found.size(), 1U);
    return found.empty() ? HostMessage{} : found.front();
}

TEST(Settings, NumbersAreReadAndWritten)
{
    RecordingHost editor;
    EXPECT_EQ(find_number(editor.window(), L"autofetch"), std::nullopt);
    EXPECT_EQ(read_number(editor.window(), L"autofetch"), 0U);
    // A switch that another program has stored as 2 is on, so the number is not changed on its way.
    for (const std::uint32_t value : {0U, 1U, 2U, 0xFFFFFFFFU}) {
        write_number(editor.window(), L"autofetch", value);
        EXPECT_EQ(read_number(editor.window(), L"autofetch"), value);
        EXPECT_EQ(find_number(editor.window(), L"autofetch"), value);
    }
    EXPECT_TRUE(editor.settings.contains(SECTION + L"/autofetch"));
    // A text of the same name is no number.
    editor.settings[SECTION + L"/OpenStartup"] = std::wstring(L"1");
    EXPECT_EQ(read_number(editor.window(), L"OpenStartup"), 0U);
}

TEST(Settings, RecordsAreLaidOutAsTheEditorReadsThem)
{
    struct Case {
        const char* name;
        std::function<void(HWND)> call;
        UINT message;
        std::uint64_t size;
        std::uint64_t mask;
        std::vector<std::wstring> texts;
        std::uint64_t type;
    };
    const Case cases[] = {
        {"number",
         [](HWND frame) { read_number(frame, L"OpenStartup"); },
         2134,
         64,
         0x7fffff30,
         {SECTION, L"OpenStartup"},
         4},
        {"text",
         [](HWND frame) { read_string(frame, L"RepoPath"); },
         2134,
         64,
         0x7fffff30,
         {SECTION, L"RepoPath"},
         1},
        {"language",
         [](HWND frame) { read_default_language(frame); },
         2134,
         64,
         0x7fffff11,
         {L"(null)", L"DefaultLang"},
         4},
        {"write",
         [](HWND frame) { write_number(frame, L"autofetch", 1); },
         2133,
         56,
         0x7fffff30,
         {SECTION, L"autofetch"},
         4},
        {"section",
         [](HWND frame) { write_section(frame); },
         2133,
         56,
         0x7fffff30,
         {SECTION, L"(null)"},
         1},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.name);
        const RecordingHost editor;
        expected.call(editor.window());
        const HostMessage sent = only(editor, expected.message);
        EXPECT_EQ(sent.wparam, 0U);
        EXPECT_EQ(sent.at<std::uint64_t>(0), expected.size);
        EXPECT_EQ(sent.at<std::uint64_t>(8), expected.mask);
        EXPECT_EQ(sent.texts, expected.texts);
        EXPECT_EQ(sent.at<std::uint64_t>(32), expected.type);
        if (expected.message == 2134) {
            EXPECT_NE(sent.at<std::uint64_t>(40), 0U);
            EXPECT_EQ(sent.at<std::uint64_t>(56), 0U);
        } else {
            const bool has_value = expected.type == 4;
            EXPECT_EQ(sent.at<std::uint64_t>(40) != 0, has_value);
            EXPECT_EQ(sent.at<std::uint64_t>(48), has_value ? 4U : 0U);
        }
    }
}

TEST(Settings, TextsEndAtTheirTerminatorOrWithTheBuffer)
{
    RecordingHost editor;
    EXPECT_EQ(read_string(editor.window(), L"RepoPath"), std::nullopt);
    struct Case {
        std::wstring stored;
        std::wstring read;
    };
    const std::wstring longest(259, L'x');
    const Case cases[] = {
        {L"", L""},
        {L"D:\\Проекты\\repo 文", L"D:\\Проекты\\repo 文"},
        {std::wstring(L"C:\\a\0b", 6), L"C:\\a"},
        {longest, longest},
        // The editor leaves no terminator; the buffer has 520 bytes.
        {longest + L"yz", longest + L"y"},
    };
    for (const Case& expected : cases) {
        editor.settings[SECTION + L"/RepoPath"] = expected.stored;
        EXPECT_EQ(read_string(editor.window(), L"RepoPath"), expected.read);
    }
}

TEST(Settings, AHostThatDoesNotAnswerGivesDefaults)
{
    const RecordingHost refusing(Manner::Refuses);
    const RecordingHost silent(Manner::Silent);
    const RecordingHost answering;
    EXPECT_EQ(read_default_language(refusing.window()), 1033U);
    EXPECT_EQ(read_default_language(answering.window()), 1033U);
    EXPECT_EQ(read_default_language(nullptr), 1033U);
    for (const HWND frame : {refusing.window(), HWND{nullptr}}) {
        EXPECT_EQ(find_number(frame, L"OpenStartup"), std::nullopt);
        EXPECT_EQ(read_string(frame, L"RepoPath"), std::nullopt);
        write_number(frame, L"OpenStartup", 1);
        write_section(frame);
    }
    // Windows answers in its place with 0, which means success, and fills nothing in.
    EXPECT_EQ(read_number(silent.window(), L"OpenStartup"), 0U);
    EXPECT_EQ(read_string(silent.window(), L"RepoPath").value_or(L""), L"");
}

TEST(EditorCalls, PathsComeFromTheirSelectors)
{
    RecordingHost editor;
    EXPECT_EQ(active_document_path(editor.window()), L"");
    editor.document_path = L"C:\\Prüf\\文件.txt";
    editor.language_path = std::wstring(300, L'm');  // more than there is room for
    EXPECT_EQ(active_document_path(editor.window()), editor.document_path);
    EXPECT_EQ(language_path(editor.window()), std::wstring(260, L'm'));
    EXPECT_EQ(active_document_path(nullptr), L"");
}

TEST(EditorCalls, MessagesCarryWhatTheEditorReads)
{
    RecordingHost editor;
    editor.bar_id = 0x80000001;

    set_status_text(editor.window(), L"done");
    EXPECT_EQ(only(editor, 2104).texts, std::vector<std::wstring>{L"done"});
    execute_command(editor.window(), 4409);
    EXPECT_EQ(only(editor, 2070).wparam, 4409U);
    show_help(editor.window(), L"page.html");
    EXPECT_EQ(only(editor, 2132).texts, std::vector<std::wstring>{L"page.html"});

    EXPECT_EQ(open_bar(editor.window(), editor.window(), L"Revlane"), 0x80000001U);
    const HostMessage bar = only(editor, 2121);
    EXPECT_EQ(bar.at<std::uint32_t>(0), 40U);
    EXPECT_EQ(bar.at<std::uint32_t>(4), 0U);
    EXPECT_EQ(bar.at<std::uint64_t>(8), 0U);
    EXPECT_EQ(bar.at<HWND>(16), editor.window());
    EXPECT_EQ(bar.texts, std::vector<std::wstring>{L"Revlane"});
    EXPECT_EQ(bar.at<std::uint64_t>(32), 0U);
    close_bar(editor.window(), 0x80000001);
    EXPECT_EQ(only(editor, 2122).wparam, 0x80000001U);
}

// Says when it is freed.
class Payload {
public:
    explicit Payload(int& alive) : alive_(alive) { ++alive_; }
    ~Payload() { --alive_; }
    Payload(const Payload&) = delete;
    Payload& operator=(const Payload&) = delete;

private:
    int& alive_;
};

TEST(EditorCalls, APayloadThatNobodyTakesIsFreed)
{
    RecordingHost editor;
    int alive = 0;
    ASSERT_TRUE(send_request(editor.window(), 32789, std::make_unique<Payload>(alive)));
    const HostMessage sent = only(editor, 2155);
    EXPECT_EQ(sent.at<std::uint32_t>(0), 40U);
    EXPECT_EQ(sent.at<std::uint32_t>(4), 1U);
    EXPECT_EQ(sent.texts, std::vector<std::wstring>{L"Revlane.dll"});
    EXPECT_EQ(sent.at<std::uint64_t>(16), 32789U);
    EXPECT_EQ(sent.at<std::uint64_t>(32), 0U);
    EXPECT_EQ(alive, 1) << "the receiver owns it now";
    (void)win32::take_owned<Payload>(sent.at<std::uint64_t>(24));
    EXPECT_EQ(alive, 0);

    // The editor's answer has 32 bits.
    for (const LRESULT answer : {LRESULT{-1}, LRESULT{0xFFFFFFFF}}) {
        editor.plugin_answer = answer;
        EXPECT_FALSE(send_request(editor.window(), 32777, std::make_unique<Payload>(alive)));
        EXPECT_EQ(alive, 0);
    }
    const HWND gone = RecordingHost().window();
    for (const HWND frame : {HWND{nullptr}, gone}) {
        EXPECT_FALSE(send_request(frame, 32777, std::make_unique<Payload>(alive)));
        EXPECT_FALSE(send_request(frame, 32792));
        EXPECT_EQ(alive, 0);
    }
}

}  // namespace

}  // namespace host
