#include "plugin/host/localized.h"

#include "plugin/host/frame_lock.h"
#include "resources/ids.h"
#include "tests/support/product.h"
#include "tests/support/recording_host.h"
#include "tests/support/temp_repository.h"
#include "win32/handle.h"
#include "win32/window.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace host {

namespace {

namespace fs = std::filesystem;
using support::RecordingHost;

// A plug-in in a folder of its own, into which a test puts localized libraries. While it lives it is
// the own module.
class PluginFolder {
public:
    // `sub_folder` below a folder of a temporary name with letters of several alphabets.
    explicit PluginFolder(const fs::path& file_name = L"Revlane.dll",
                          const fs::path& sub_folder = {})
        : path_(folder_.path() / sub_folder)
    {
        fs::create_directories(path_);
        fs::copy_file(library(), path_ / file_name);
        module_.reset(LoadLibraryW((path_ / file_name).c_str()));
        EXPECT_TRUE(module_) << GetLastError();
        set_own_module(module_.get());
    }
    ~PluginFolder()
    {
        {
            const FrameLock lock;
            free_localized_modules();
        }
        set_own_module(nullptr);
    }
    PluginFolder(const PluginFolder&) = delete;
    PluginFolder& operator=(const PluginFolder&) = delete;

    [[nodiscard]] HMODULE module() const { return module_.get(); }
    [[nodiscard]] fs::path language(const fs::path& name) const { return path_ / L"mui" / name; }
    [[nodiscard]] fs::path file(const fs::path& name) const { return language(name) / FILE_NAME; }
    void add_language(const fs::path& name) const
    {
        fs::create_directories(language(name));
        fs::copy_file(library(), file(name));
    }

    static constexpr wchar_t FILE_NAME[] = L"Revlane_loc.dll";

private:
    // Any library will do as the plug-in: this one runs no code.
    static fs::path library()
    {
        return support::product_root() / L"dist" / L"mui" / L"1033" / FILE_NAME;
    }

    support::TempFolder folder_;
    fs::path path_;
    win32::LibraryHandle module_;
};

// Reads and closes the message boxes of this thread while it lives.
class BoxReader {
public:
    struct Box {
        std::wstring caption;
        std::wstring text;
        bool has_owner;
        bool has_icon;
        friend bool operator==(const Box&, const Box&) = default;
    };

    BoxReader()
    {
        WNDCLASSW description{};
        description.lpfnWndProc = win32::window_proc<BoxReader>;
        description.hInstance = GetModuleHandleW(nullptr);
        description.lpszClassName = L"BoxReader";
        RegisterClassW(&description);
        window_ = CreateWindowExW(0, L"BoxReader", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                  description.hInstance, this);
        SetTimer(window_, 1, 20, nullptr);
    }
    ~BoxReader()
    {
        DestroyWindow(window_);
        UnregisterClassW(L"BoxReader", GetModuleHandleW(nullptr));
    }
    BoxReader(const BoxReader&) = delete;
    BoxReader& operator=(const BoxReader&) = delete;

    [[nodiscard]] const std::vector<Box>& boxes() const { return boxes_; }

    win32::Handled handle(const win32::Message& message)
    {
        if (message.id != WM_TIMER)
            return std::nullopt;
        EnumThreadWindows(GetCurrentThreadId(), read, reinterpret_cast<LPARAM>(this));
        return 0;
    }

private:
    static BOOL CALLBACK read(HWND window, LPARAM self)
    {
        std::array<wchar_t, 16> name{};
        GetClassNameW(window, name.data(), static_cast<int>(name.size()));
        if (std::wstring(name.data()) != L"#32770" || !IsWindowVisible(window))
            return TRUE;
        // Of the controls of a message box: its text, and its icon before it.
        constexpr int TEXT = 0xFFFF;
        bool has_icon = false;
        for (HWND child = GetWindow(window, GW_CHILD); child != nullptr;
             child = GetWindow(child, GW_HWNDNEXT)) {
            const LONG_PTR type = GetWindowLongPtrW(child, GWL_STYLE) & SS_TYPEMASK;
            GetClassNameW(child, name.data(), static_cast<int>(name.size()));
            has_icon |= std::wstring(name.data()) == L"Static" && type == SS_ICON;
        }
        reinterpret_cast<BoxReader*>(self)->boxes_.push_back(
            {win32::window_text(window), win32::window_text(GetDlgItem(window, TEXT)),
             GetWindow(window, GW_OWNER) != nullptr, has_icon});
        EndDialog(window, IDOK);
        return FALSE;
    }

    HWND window_ = nullptr;
    std::vector<Box> boxes_;
};

std::vector<BoxReader::Box> error_box(const std::wstring& text)
{
    return {{L"Quorrel", text, false, true}};
}

TEST(LocalizedLibrary, IsNamedAfterThePlugin)
{
    const std::map<std::wstring, std::wstring> names = {
        {L"Revlane.dll", L"Revlane"},
        {L"Rev.lane.dll", L"Rev.lane"},
        {L"Рев läne 文.dll", L"Рев läne 文"},
    };
    for (const auto& [file_name, base_name] : names) {
        const PluginFolder plugin(file_name);
        EXPECT_EQ(module_base_name(), base_name);
    }
}

TEST(LocalizedLibrary, IsSearchedForInTheEditorsOrder)
{
    const std::wstring in_editor = L"C:\\Program Files\\Quorrel\\mui\\";
    struct Case {
        const char* name;
        std::wstring language_path;  // what the editor says
        std::optional<std::uint32_t> default_language;
        std::vector<std::wstring> languages;      // with the library
        std::vector<std::wstring> empty_folders;  // below mui, without it
        std::vector<std::wstring> files;          // below mui
        std::optional<std::wstring> found;        // the language
    };
    const Case cases[] = {
        {"the editor's language", in_editor + L"1041", 1033, {L"1033", L"1041"}, {}, {}, L"1041"},
        {"any name of a language", L"日本", 1033, {L"1033", L"日本"}, {}, {}, L"日本"},
        {"the default instead", in_editor + L"1041", 1031, {L"1031", L"1033"}, {}, {}, L"1031"},
        {"no default", in_editor + L"1041", {}, {L"1031", L"1033"}, {}, {}, L"1033"},
        {"a folder for the file",
         in_editor + L"1041",
         1033,
         {L"1033"},
         {L"1041\\Revlane_loc.dll"},
         {},
         L"1033"},
        {"a default that lacks it", in_editor + L"1041", 1033, {L"1031"}, {L"1033"}, {}, {}},
        {"the first folder",
         in_editor + L"1041",
         {},
         {L"1031", L".1032"},
         {L".git"},
         {L"1033", L"0001"},
         L"1031"},
        {"a first folder that lacks it", in_editor + L"1041", {}, {}, {L"1031"}, {}, {}},
        {"a default with a sign", L"1041", 0xFFFFFFFF, {L"!first", L"-1"}, {}, {}, L"-1"},
        {"an editor without a language", L"", 1033, {L"1033"}, {}, {}, {}},
        {"no folder of languages", in_editor + L"1041", 1033, {}, {}, {}, {}},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.name);
        const PluginFolder plugin;
        for (const std::wstring& language : expected.languages)
            plugin.add_language(language);
        for (const std::wstring& folder : expected.empty_folders)
            fs::create_directories(plugin.language(folder));
        for (const std::wstring& file : expected.files)
            std::ofstream(plugin.language(file)) << "text";
        RecordingHost editor;
        editor.language_path = expected.language_path;
        if (expected.default_language)
            editor.settings[L"/DefaultLang"] = *expected.default_language;

        const auto found = find_localized_file(editor.window(), PluginFolder::FILE_NAME);
        EXPECT_EQ(found.has_value(), expected.found.has_value());
        if (found && expected.found) {
            EXPECT_EQ(*found, plugin.file(*expected.found));
        }
        // Without a language the search ends at once.
        EXPECT_TRUE(!expected.language_path.empty() || editor.received(2134).empty());
    }
}

TEST(LocalizedLibrary, IsNotFoundWhereItsPathIsTooLong)
{
    // The plug-in's own path still fits into 260 characters, the library's does not.
    constexpr std::size_t FOLDER_LENGTH = 242;
    const std::size_t temporary = support::TempFolder().path().native().size() + 2;
    const PluginFolder plugin(L"Revlane.dll", std::wstring(FOLDER_LENGTH - temporary, L'f'));
    RecordingHost editor;
    editor.language_path = L"C:\\mui\\1041";
    EXPECT_EQ(find_localized_file(editor.window(), PluginFolder::FILE_NAME), std::nullopt);
}

TEST(LocalizedLibrary, ReplacesTheOwnModuleUntilTheLastFrameCloses)
{
    const PluginFolder plugin;
    plugin.add_language(L"1031");
    plugin.add_language(L"1033");
    RecordingHost editor;
    editor.language_path = L"C:\\mui\\1033";
    const BoxReader boxes;
    EXPECT_EQ(resource_module(), plugin.module());

    const HMODULE english = load_localized_module(editor.window());
    ASSERT_NE(english, nullptr);
    const FrameLock lock;
    use_localized_module(english);
    EXPECT_EQ(resource_module(), english);
    EXPECT_EQ(load_text(IDS_NAME), L"Revlane");
    EXPECT_EQ(load_text(0), L"");
    const wchar_t* text = nullptr;
    LoadStringW(english, IDS_CANCEL, reinterpret_cast<wchar_t*>(&text), 0);

    // A language that is not there leaves the former one in use.
    editor.language_path.clear();
    use_localized_module(load_localized_module(editor.window()));
    EXPECT_EQ(boxes.boxes(), error_box(L"No localized file found - Revlane_loc.dll"));
    EXPECT_EQ(localized_module(), english);

    editor.language_path = L"1031";
    const HMODULE german = load_localized_module(editor.window());
    ASSERT_NE(german, nullptr);
    use_localized_module(german);
    EXPECT_EQ(resource_module(), german);
    EXPECT_EQ(std::wstring(text, 6), L"Cancel") << "a text of the former library is still held";

    free_localized_modules();
    EXPECT_EQ(localized_module(), nullptr);
    EXPECT_EQ(resource_module(), plugin.module());
    // What is still loaded could not be replaced by an update.
    EXPECT_TRUE(fs::remove(plugin.file(L"1031")));
    EXPECT_TRUE(fs::remove(plugin.file(L"1033")));
}

TEST(LocalizedLibrary, FailuresAreShownInABox)
{
    const PluginFolder plugin;
    fs::create_directories(plugin.language(L"1041"));
    std::ofstream(plugin.file(L"1041")) << "this is no library, 100 % not";
    RecordingHost editor;
    editor.language_path = L"C:\\mui\\1041";
    {
        const BoxReader boxes;
        EXPECT_EQ(load_localized_module(editor.window()), nullptr);
        EXPECT_EQ(boxes.boxes(),
                  error_box(L"Cannot load " + plugin.file(L"1041").wstring() + L"."));
    }
    {
        const RecordingHost mute(RecordingHost::Manner::Silent);
        const BoxReader boxes;
        EXPECT_EQ(load_localized_module(mute.window()), nullptr);
        EXPECT_EQ(boxes.boxes(), error_box(L"No localized file found - Revlane_loc.dll"));
    }
}

TEST(LocalizedLibrary, ATaskThatReadsATextWaitsWhileTheLanguageChanges)
{
    const PluginFolder plugin;
    plugin.add_language(L"1033");
    RecordingHost editor;
    editor.language_path = L"1033";
    std::atomic<bool> has_read = false;
    std::wstring text;
    std::thread task;
    {
        const FrameLock lock;
        // Events of the editor re-enter.
        const FrameLock again;
        task = std::thread([&] {
            text = load_text(IDS_NAME);
            has_read = true;
        });
        // Long enough for a task that does not wait.
        Sleep(50);
        EXPECT_FALSE(has_read);
        use_localized_module(load_localized_module(editor.window()));
    }
    task.join();
    EXPECT_EQ(text, L"Revlane");
}

}  // namespace

}  // namespace host
