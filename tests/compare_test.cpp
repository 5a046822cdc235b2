// The messages and files of a comparison, recorded by a window that stands in for the editor's frame.
#include "changes/compare.h"

#include "git/git.h"
#include "plugin/host/messages.h"
#include "tests/support/temp_repository.h"
#include "win32/text.h"
#include "win32/window.h"

#include <fmt/xchar.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace revlane {

namespace {

using git::ChangeStatus;
using git::FileChange;
using std::filesystem::path;

// One message as the frame saw it: the record's bytes as words, and the texts that it points to.
struct Sent {
    UINT message;
    std::uint64_t wparam;  // 0 where wParam points to a record
    std::vector<std::uint32_t> record;
    std::vector<std::wstring> texts;

    friend bool operator==(const Sent&, const Sent&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Sent& sent)
    {
        stream << sent.message << ' ' << sent.wparam << " [";
        for (const std::uint32_t word : sent.record)
            stream << ' ' << std::hex << word << std::dec;
        stream << " ]";
        for (const std::wstring& text : sent.texts)
            stream << ' ' << win32::to_utf8(text);
        return stream;
    }
};

Sent opened(const path& file, std::uint32_t mode)
{
    return {2096, 0, {32, 0, 0x10303, 1, 0, 0, 0, mode}, {file.native()}};
}
Sent asked_for_view()
{
    return {2106, 296, {}, {}};
}
Sent wanted_view()
{
    return {2070, 4113, {}, {}};
}
Sent titled(const std::wstring& title)
{
    return {2106, 404, {}, {title}};
}
// The pointers of the record are left out, the texts stand for them.
Sent compared(const path& left, const path& right)
{
    return {2166, 0, {32, 0x5009B00, 0, 0}, {left.native(), right.native()}};
}

std::uint32_t word_at(std::uint64_t record, std::size_t offset)
{
    std::uint32_t word = 0;
    std::memcpy(&word, reinterpret_cast<const char*>(record) + offset, sizeof word);
    return word;
}

std::wstring text_at(std::uint64_t record, std::size_t offset)
{
    const wchar_t* text = nullptr;
    std::memcpy(&text, reinterpret_cast<const char*>(record) + offset, sizeof text);
    return text;
}

// A window that records the messages of a comparison and answers them.
class RecordingFrame {
public:
    RecordingFrame()
        : window_(CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                                  nullptr)),
          subclass_(window_, [this](const win32::Message& message) { return record(message); })
    {
    }
    ~RecordingFrame() { DestroyWindow(window_); }
    RecordingFrame(const RecordingFrame&) = delete;
    RecordingFrame& operator=(const RecordingFrame&) = delete;

    [[nodiscard]] HWND window() const { return window_; }

    std::vector<Sent> sent;
    LRESULT view_state = 0;
    std::uint32_t compare_answer = 0;
    std::function<void()> on_open = [] {};

private:
    win32::Handled record(const win32::Message& message)
    {
        const auto lparam_text = [&] {
            return std::wstring(reinterpret_cast<const wchar_t*>(message.lparam));
        };
        switch (message.id) {
        case host::QM_EXECUTE_COMMAND:
            sent.push_back({message.id, message.wparam, {}, {}});
            return 0;
        case host::QM_OPEN_FILE: {
            std::vector<std::uint32_t> words;
            for (std::size_t offset = 0; offset < 32; offset += 4)
                words.push_back(word_at(message.wparam, offset));
            sent.push_back({message.id, 0, words, {lparam_text()}});
            on_open();
            return 0;
        }
        case host::QM_INFO:
            if (message.wparam == host::INFO_SET_TITLE) {
                sent.push_back({message.id, message.wparam, {}, {lparam_text()}});
                return 0;
            }
            sent.push_back({message.id, message.wparam, {}, {}});
            return view_state;
        case host::QM_COMPARE:
            sent.push_back({message.id,
                            0,
                            {word_at(message.wparam, 0), word_at(message.wparam, 4),
                             word_at(message.wparam, 24), word_at(message.wparam, 28)},
                            {text_at(message.wparam, 8), text_at(message.wparam, 16)}});
            return static_cast<LRESULT>(compare_answer);
        default:
            return std::nullopt;
        }
    }

    HWND window_;
    win32::Subclass subclass_;
};

std::string contents(const path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    return bytes.str();
}

void create_file(const path& file, std::string_view bytes)
{
    std::ofstream(file, std::ios::binary) << bytes;
}

// The temporary files of each test go into a folder of its own.
class TempFiles : public testing::Test {
protected:
    void SetUp() override
    {
        GetEnvironmentVariableW(L"TMP", former_.data(), static_cast<DWORD>(former_.size()));
        SetEnvironmentVariableW(L"TMP", folder_.path().c_str());
    }
    void TearDown() override
    {
        remove_temp_directory();
        SetEnvironmentVariableW(L"TMP", former_.data());
    }

    support::TempFolder folder_;

private:
    std::array<wchar_t, MAX_PATH> former_{};
};

class Compare : public TempFiles {
protected:
    static void SetUpTestSuite() { files = std::make_unique<support::TempRepository>(); }
    static void TearDownTestSuite() { files.reset(); }

    Compare() : repository_(*git::open_repository(files->path())) {}

    git_oid blob(std::string_view bytes)
    {
        git_oid id{};
        git_blob_create_from_buffer(&id, repository_.handle.get(), bytes.data(), bytes.size());
        return id;
    }

    static path temp_file(const git_oid& id, const std::wstring& name)
    {
        std::array<char, GIT_OID_SHA1_HEXSIZE + 1> digits{};
        git_oid_tostr(digits.data(), digits.size(), &id);
        return temp_directory() / (win32::to_wide(digits.data()) + L"-" + name);
    }

    static inline std::unique_ptr<support::TempRepository> files;
    git::Repository repository_;
    RecordingFrame frame_;
};

constexpr std::string_view ID = "3f2a56789012345678901234567890123456789a";

}  // namespace

TEST_F(TempFiles, NamesHoldTheIdAndTheFlattenedPath)
{
    const path folder = temp_directory();
    EXPECT_EQ(folder.filename(), L"quorrel-revlane");
    EXPECT_EQ(folder.parent_path(), folder_.path());
    EXPECT_EQ(empty_file_path(), folder / L"empty_file");

    const std::vector<std::pair<std::wstring, std::wstring>> names{
        {L"dir/sub\\file.txt", L"dir-sub-file.txt"},
        {L"Prüf 文件 \U0001F600/ä.cpp", L"Prüf 文件 \U0001F600-ä.cpp"},
        {L"con", L"con"},
        // What only another system can hold: a colon would name a stream of another file.
        {L"a:b/c?*\"<>|\x01.txt", L"a_b-c_______.txt"},
    };
    for (const auto& [given, expected] : names)
        EXPECT_EQ(temp_file_name(given, ID), folder / (win32::to_wide(ID) + L"-" + expected));
}

TEST_F(TempFiles, NamesThatWouldBeTooLongAreShortened)
{
    const std::size_t taken =
        win32::to_utf8((temp_directory() / (win32::to_wide(ID) + L"-")).native()).size();
    const path shortened = temp_directory() / L"3f2a5678";

    std::wstring longest(260 - taken, L'x');
    EXPECT_EQ(win32::to_utf8(temp_file_name(longest, ID).native()).size(), 260u);
    EXPECT_EQ(temp_file_name(longest + L'x', ID), shortened);
    // Bytes of UTF-8 count, not characters.
    longest.back() = L'ß';
    EXPECT_EQ(temp_file_name(longest, ID), shortened);
}

TEST_F(TempFiles, TheFolderGoesWithReadOnlyFilesAndSubfolders)
{
    remove_temp_directory();  // there is none yet
    const path folder = temp_directory();
    CreateDirectoryW(folder.c_str(), nullptr);
    remove_temp_directory();
    EXPECT_FALSE(exists(folder)) << "an empty folder";

    CreateDirectoryW(folder.c_str(), nullptr);
    CreateDirectoryW((folder / L"sub").c_str(), nullptr);
    for (const path& file : {folder / L"one", folder / L"sub" / L"two"}) {
        create_file(file, "text");
        SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
    }
    create_file(folder_.path() / L"beside", "text");
    remove_temp_directory();
    EXPECT_FALSE(exists(folder));
    EXPECT_TRUE(exists(folder_.path() / L"beside"));
}

TEST_F(Compare, VersionsAreOpenedTitledAndCompared)
{
    const git_oid old_id = blob("old\r\n");
    const git_oid new_id = blob("new\n");
    const path old_file = temp_file(old_id, L"src-alt ä.txt");
    const path new_file = temp_file(new_id, L"src-neu.txt");
    const path empty = empty_file_path();

    struct Case {
        ChangeStatus status;
        std::optional<git_oid> old_id;
        std::optional<git_oid> new_id;
        bool index_labels;
        path left;
        path right;
        bool is_compared;
    };
    const std::vector<Case> cases{
        {ChangeStatus::Modified, old_id, new_id, false, old_file, new_file, true},
        {ChangeStatus::Renamed, old_id, new_id, true, old_file, new_file, true},
        {ChangeStatus::Conflicted, std::nullopt, new_id, true, empty, new_file, true},
        {ChangeStatus::Conflicted, old_id, std::nullopt, false, old_file, empty, true},
        {ChangeStatus::Added, std::nullopt, new_id, true, empty, new_file, false},
        // The status counts, even where an id is given.
        {ChangeStatus::Untracked, old_id, new_id, false, empty, new_file, false},
        {ChangeStatus::Deleted, old_id, new_id, true, old_file, empty, false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(static_cast<int>(one.status));
        const FileChange change{L"src/alt ä.txt", L"src/neu.txt", one.old_id, one.new_id,
                                one.status};
        frame_.sent.clear();
        EXPECT_TRUE(compare_versions(frame_.window(), repository_, change, one.index_labels));

        std::vector<Sent> expected{
            opened(one.left, 17),
            asked_for_view(),
            wanted_view(),
            titled(one.index_labels ? L"src/alt ä.txt (HEAD)" : L"src/alt ä.txt (old)"),
            opened(one.right, 17),
            asked_for_view(),
            wanted_view(),
            titled(one.index_labels ? L"src/neu.txt (Index)" : L"src/neu.txt (new)"),
        };
        if (one.is_compared)
            expected.push_back(compared(one.left, one.right));
        EXPECT_EQ(frame_.sent, expected);
        EXPECT_EQ(contents(one.left), one.left == empty ? "" : "old\r\n");
        EXPECT_EQ(contents(one.right), one.right == empty ? "" : "new\n");
    }
}

TEST_F(Compare, TheWorkingTreeFileIsOpenedInPlace)
{
    const git_oid old_id = blob("stored");
    const path stored = temp_file(old_id, L"src-a.txt");
    const path working = repository_.path / L"src\\b.txt";

    struct Case {
        ChangeStatus status;
        std::optional<git_oid> old_id;
        int base;
        std::optional<path> left;
        bool has_right;
    };
    const std::vector<Case> cases{
        {ChangeStatus::Modified, old_id, BASE_INDEX, stored, true},
        {ChangeStatus::Renamed, old_id, BASE_HEAD, stored, true},
        {ChangeStatus::Conflicted, std::nullopt, 7, empty_file_path(), true},
        {ChangeStatus::Added, old_id, BASE_INDEX, std::nullopt, true},
        {ChangeStatus::Untracked, std::nullopt, BASE_INDEX, std::nullopt, true},
        {ChangeStatus::Deleted, old_id, BASE_INDEX, stored, false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(static_cast<int>(one.status));
        const FileChange change{L"src/a.txt", L"src/b.txt", one.old_id, std::nullopt, one.status};
        frame_.sent.clear();
        EXPECT_TRUE(compare_with_working_tree(frame_.window(), repository_, change, one.base));

        std::vector<Sent> expected;
        if (one.left) {
            const std::wstring title =
                one.base == BASE_INDEX ? L"src/a.txt (Index)" : L"src/a.txt (HEAD)";
            expected = {opened(*one.left, 17), asked_for_view(), wanted_view(), titled(title)};
        }
        if (one.has_right) {
            // The title comes before the question here.
            expected.push_back(opened(working, 1));
            expected.push_back(titled(working.native() + L" (Working tree)"));
            expected.push_back(asked_for_view());
            expected.push_back(wanted_view());
        }
        if (one.left && one.has_right)
            expected.push_back(compared(*one.left, working));
        EXPECT_EQ(frame_.sent, expected);
    }
}

TEST_F(Compare, TheTabsAreLeftAloneWhereTheyAreShown)
{
    frame_.view_state = 1;
    const FileChange change{L"a", L"a", std::nullopt, blob("new"), ChangeStatus::Added};
    EXPECT_TRUE(compare_versions(frame_.window(), repository_, change, false));
    for (const Sent& sent : frame_.sent)
        EXPECT_NE(sent.message, host::QM_EXECUTE_COMMAND);
}

TEST_F(Compare, TheEditorsAnswersBecomeErrors)
{
    const FileChange change{L"a", L"a", blob("old"), blob("new"), ChangeStatus::Modified};
    const std::vector<std::pair<std::uint32_t, std::string>> answers{
        {0x80004005, "E_FAIL"},
        {0xA0000001, "E_DOCUMENT_1_NOT_FOUND"},
        {0xA0000002, "E_DOCUMENT_2_NOT_FOUND"},
        {0xA0000009, "tabs are not enabled"},
        {0, ""},
        {1, ""},
        {0xA0000003, ""},
        {0xFFFFFFFF, ""},
    };
    for (const auto& [answer, expected] : answers) {
        frame_.compare_answer = answer;
        for (const bool with_working_tree : {false, true}) {
            const auto result =
                with_working_tree
                    ? compare_with_working_tree(frame_.window(), repository_, change, BASE_INDEX)
                    : compare_versions(frame_.window(), repository_, change, false);
            EXPECT_EQ(result ? "" : git::to_utf8(result.error()), expected) << answer;
        }
    }
}

TEST_F(Compare, AReadOnlyFileIsWrittenAgain)
{
    const std::string bytes(100'000, '\0');
    const git_oid id = blob(bytes);
    const path file = temp_file(id, L"big.bin");
    const FileChange change{L"big.bin", L"big.bin", std::nullopt, id, ChangeStatus::Added};
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(compare_versions(frame_.window(), repository_, change, false));
        EXPECT_EQ(contents(file), bytes);
        EXPECT_TRUE(GetFileAttributesW(file.c_str()) & FILE_ATTRIBUTE_READONLY);
    }
}

TEST_F(Compare, AFailureOnTheRightLeavesTheLeftOpen)
{
    const git_oid old_id = blob("old");
    const git_oid new_id = blob("new");
    git_oid unknown{};
    git_oid_fromstr(&unknown, ID.data());
    // A name that is taken by a folder cannot be removed as a file.
    const path right = temp_file(new_id, L"taken");
    CreateDirectoryW(temp_directory().c_str(), nullptr);
    CreateDirectoryW(right.c_str(), nullptr);

    for (const git_oid& right_id : {unknown, new_id}) {
        frame_.sent.clear();
        const FileChange change{L"taken", L"taken", old_id, right_id, ChangeStatus::Modified};
        const auto result = compare_versions(frame_.window(), repository_, change, false);
        ASSERT_FALSE(result);
        EXPECT_FALSE(git::to_wide(result.error()).empty());
        EXPECT_EQ(frame_.sent.size(), 4u);
    }
    EXPECT_TRUE(exists(right));
}

TEST_F(Compare, SurvivesAPanelThatChangesWhileADocumentOpens)
{
    auto change = std::make_unique<FileChange>(
        FileChange{L"a", L"a", blob("old"), blob("new"), ChangeStatus::Modified});
    auto repository = std::make_unique<git::Repository>(*git::open_repository(files->path()));
    frame_.on_open = [&] {
        change.reset();
        repository.reset();
    };
    EXPECT_TRUE(compare_versions(frame_.window(), *repository, *change, false));
    EXPECT_EQ(frame_.sent.size(), 9u);
}

TEST_F(Compare, OpensAFileOfTheWorkingTree)
{
    files->write_file("folder/ä b.txt", "text");
    EXPECT_TRUE(open_working_tree_file(frame_.window(), repository_, L"folder/ä b.txt"));
    EXPECT_EQ(frame_.sent, std::vector<Sent>{opened(repository_.path / L"folder\\ä b.txt", 1)});

    frame_.sent.clear();
    for (const wchar_t* missing : {L"gone.txt", L"folder", L"C:\\windows\\win.ini"}) {
        const auto result = open_working_tree_file(frame_.window(), repository_, missing);
        ASSERT_FALSE(result) << win32::to_utf8(missing);
        EXPECT_NE(git::to_wide(result.error()).find(path(missing).filename().native()),
                  std::wstring::npos);
    }
    EXPECT_TRUE(frame_.sent.empty());
}

}  // namespace revlane
