// The localized libraries as they are delivered, and the plug-in's own resources, which the test
// program holds too.
#include "resources/ids.h"
#include "tests/support/product.h"
#include "tests/support/resource_reader.h"
#include "win32/handle.h"
#include "win32/text.h"

#include <fmt/args.h>
#include <fmt/xchar.h>
#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace {

namespace fs = std::filesystem;
using support::Control;
using support::Dialog;
using support::DIALOG_POINTS;
using support::MenuItem;

constexpr wchar_t ENGLISH[] = L"1033";

struct Language {
    std::wstring name;  // of its folder
    win32::LibraryHandle library;
};

Language load(const fs::path& folder)
{
    const fs::path path = folder / L"Revlane_loc.dll";
    return {folder.filename().wstring(),
            win32::LibraryHandle(LoadLibraryExW(
                path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE))};
}

bool begins_with(const std::string& name, const char* prefix)
{
    return name.rfind(prefix, 0) == 0;
}

bool is_button(const Control& control)
{
    return control.class_name == L"Button";
}

DWORD button_type(const Control& control)
{
    return control.style & BS_TYPEMASK;
}

bool shows_prefix(const Control& control)
{
    return is_button(control) ||
           (control.class_name == L"Static" && (control.style & SS_NOPREFIX) == 0);
}

class Resources : public testing::Test {
protected:
    Resources()
    {
        const INITCOMMONCONTROLSEX classes{
            sizeof classes, ICC_LISTVIEW_CLASSES | ICC_TREEVIEW_CLASSES | ICC_PROGRESS_CLASS};
        InitCommonControlsEx(&classes);
        for (const fs::directory_entry& folder :
             fs::directory_iterator(support::product_root() / L"dist" / L"mui"))
            languages_.push_back(load(folder.path()));
        std::sort(languages_.begin(), languages_.end(),
                  [](const Language& a, const Language& b) { return a.name < b.name; });
    }

    [[nodiscard]] HMODULE english() const
    {
        for (const Language& language : languages_)
            if (language.name == ENGLISH)
                return language.library.get();
        ADD_FAILURE() << "there is no English library";
        return nullptr;
    }

    // The ids whose names begin with `prefix`.
    [[nodiscard]] std::map<std::string, int> ids(const char* prefix) const
    {
        std::map<std::string, int> found;
        for (const auto& [name, id] : ids_)
            if (begins_with(name, prefix))
                found.emplace(name, id);
        return found;
    }

    const std::map<std::string, int> ids_ = support::resource_ids();
    std::vector<Language> languages_;
};

// How many values a text takes.
std::size_t count_places(const std::wstring& text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), L'{'));
}

const IMAGE_OPTIONAL_HEADER64& header_of(HMODULE library)
{
    // The lowest bits of the handle of a data file say how it was loaded.
    constexpr ULONG_PTR KIND_BITS = 3;
    const auto* image =
        reinterpret_cast<const char*>(reinterpret_cast<ULONG_PTR>(library) & ~KIND_BITS);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    return reinterpret_cast<const IMAGE_NT_HEADERS64*>(image + dos->e_lfanew)->OptionalHeader;
}

TEST_F(Resources, EveryLibraryIsDataAndHoldsEveryId)
{
    ASSERT_FALSE(ids_.empty());
    for (const Language& language : languages_) {
        SCOPED_TRACE(win32::to_utf8(language.name));
        const HMODULE library = language.library.get();
        ASSERT_NE(library, nullptr);
        // Nothing that Windows would run as it loads the library.
        EXPECT_EQ(header_of(library).AddressOfEntryPoint, 0U);
        for (const auto& [name, id] : ids("IDS_"))
            EXPECT_FALSE(support::read_text(library, id).empty()) << name;

        std::set<int> controls;
        for (const auto& [name, id] : ids("IDD_"))
            for (const Control& control : support::read_dialog(library, id).controls)
                controls.insert(control.id);
        for (const auto& [name, id] : ids("IDC_"))
            EXPECT_TRUE(controls.contains(id)) << name;

        std::set<int> commands;
        for (const auto& [name, id] : ids("IDM_"))
            for (const MenuItem& item : support::read_menu(library, id))
                commands.insert(static_cast<int>(item.id));
        for (const auto& [name, id] : ids("ID_"))
            EXPECT_TRUE(commands.contains(id)) << name;
    }
}

// A text of the version record; empty when there is none.
std::wstring version_text(const std::vector<char>& record, const wchar_t* name)
{
    void* text = nullptr;
    UINT length = 0;
    const std::wstring path = fmt::format(L"\\StringFileInfo\\040904B0\\{}", name);
    if (VerQueryValueW(record.data(), path.c_str(), &text, &length) == FALSE)
        return {};
    return static_cast<const wchar_t*>(text);
}

TEST(Product, LibrariesAreHardenedAndTellTheirVersion)
{
    int count = 0;
    for (const fs::directory_entry& entry :
         fs::recursive_directory_iterator(support::product_root() / L"dist")) {
        if (entry.path().extension() != L".dll")
            continue;
        ++count;
        const std::wstring path = entry.path().wstring();
        SCOPED_TRACE(win32::to_utf8(path));
        const win32::LibraryHandle library(
            LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_IMAGE_RESOURCE));
        ASSERT_TRUE(library);
        constexpr WORD HARDENED = IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA |
                                  IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE |
                                  IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
        EXPECT_EQ(header_of(library.get()).DllCharacteristics & HARDENED, HARDENED);

        std::vector<char> record(GetFileVersionInfoSizeW(path.c_str(), nullptr));
        ASSERT_TRUE(
            GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(record.size()), record.data()));
        EXPECT_EQ(version_text(record, L"FileVersion"), REVLANE_VERSION);
        EXPECT_EQ(version_text(record, L"OriginalFilename"), entry.path().filename().wstring());
    }
    EXPECT_GT(count, 1);
}

TEST_F(Resources, TextsTakeTheValuesThatEnglishTakes)
{
    for (const Language& language : languages_) {
        for (const auto& [name, id] : ids("IDS_")) {
            SCOPED_TRACE(win32::to_utf8(language.name) + " " + name);
            const std::wstring text = support::read_text(language.library.get(), id);
            const std::size_t values = count_places(support::read_text(english(), id));
            EXPECT_EQ(count_places(text), values);
            // A language that needs another order numbers its places.
            fmt::dynamic_format_arg_store<fmt::wformat_context> arguments;
            for (std::size_t i = 0; i < values; ++i)
                arguments.push_back(L"value");
            EXPECT_NO_THROW(
                (void)fmt::vformat(fmt::wstring_view(text), fmt::wformat_args(arguments)));
        }
    }
}

TEST_F(Resources, NoAccessKeyIsGivenTwice)
{
    for (const Language& language : languages_) {
        const HMODULE library = language.library.get();
        for (const auto& [name, id] : ids("IDD_")) {
            SCOPED_TRACE(win32::to_utf8(language.name) + " " + name);
            std::set<wchar_t> keys;
            for (const Control& control : support::read_dialog(library, id).controls) {
                if (!shows_prefix(control))
                    continue;
                const wchar_t key = support::access_key(control.text);
                EXPECT_TRUE(key == 0 || keys.insert(key).second) << win32::to_utf8(control.text);
                // Without a repository the panel shows this text in place of "Push".
                if (control.id == IDC_PUSH) {
                    const std::wstring publish = support::read_text(library, IDS_PUBLISH);
                    const wchar_t other = support::access_key(publish);
                    EXPECT_TRUE(other == key || keys.insert(other).second);
                }
            }
        }
        for (const auto& [name, id] : ids("IDM_")) {
            SCOPED_TRACE(win32::to_utf8(language.name) + " " + name);
            std::set<wchar_t> keys;
            for (const MenuItem& item : support::read_menu(library, id)) {
                if (item.id == 0)
                    continue;
                const wchar_t key = support::access_key(item.text);
                EXPECT_NE(key, 0) << win32::to_utf8(item.text);
                EXPECT_TRUE(keys.insert(key).second) << win32::to_utf8(item.text);
            }
        }
    }
}

struct ShownText {
    std::string place;  // the name of the string, the menu or the dialog
    std::wstring text;
};

// All texts of a library, in the same order for every language.

std::vector<ShownText> shown_texts(HMODULE library, const std::map<std::string, int>& ids)
{
    std::vector<ShownText> texts;
    for (const auto& [name, id] : ids) {
        if (begins_with(name, "IDS_"))
            texts.push_back({name, support::read_text(library, id)});
        if (begins_with(name, "IDM_"))
            for (const MenuItem& item : support::read_menu(library, id))
                texts.push_back({name, item.text});
        if (!begins_with(name, "IDD_"))
            continue;
        const Dialog dialog = support::read_dialog(library, id);
        texts.push_back({name, dialog.caption});
        for (const Control& control : dialog.controls)
            texts.push_back({name, control.text});
    }
    return texts;
}

// What is to be read of a text: neither its access key nor, behind a tab, the keys that do the same.
std::wstring words_of(std::wstring text)
{
    std::erase(text, L'&');
    return text.substr(0, text.find(L'\t'));
}

TEST_F(Resources, EveryTextIsTranslatedAndHasItsKeys)
{
    // What is the same word in git's own translations into some of the languages, or no word at all.
    const std::set<std::wstring> common = {
        L"",     L"Revlane", L"Message", L"Date",   L"Commit",  L"1 commit", L"{} commits", L"Pull",
        L"Push", L"Tag",     L"In:",     L"Status", L"tag: {}", L"Branches", L"{} - {}"};
    // The last letter of the alphabets in which keys are letters of the text.
    constexpr wchar_t LAST_LATIN_LETTER = 0x17F;
    const std::vector<ShownText> originals = shown_texts(english(), ids_);
    for (const Language& language : languages_) {
        const std::vector<ShownText> texts = shown_texts(language.library.get(), ids_);
        ASSERT_EQ(texts.size(), originals.size());
        for (std::size_t i = 0; i < texts.size(); ++i) {
            const std::wstring& text = texts[i].text;
            const std::wstring& original = originals[i].text;
            SCOPED_TRACE(win32::to_utf8(language.name) + " " + texts[i].place + ": " +
                         win32::to_utf8(text));
            EXPECT_TRUE(language.name == ENGLISH || words_of(text) != words_of(original) ||
                        common.contains(words_of(original)));
            EXPECT_EQ(text.find(L'\t') != std::wstring::npos,
                      original.find(L'\t') != std::wstring::npos);
            const wchar_t key = support::access_key(text);
            EXPECT_EQ(key != 0, support::access_key(original) != 0);
            EXPECT_LE(key, LAST_LATIN_LETTER);
        }
    }
}

TEST_F(Resources, TextsNameButtonsAsTheyRead)
{
    for (const Language& language : languages_) {
        const HMODULE library = language.library.get();
        const std::wstring advice = support::read_text(library, IDS_NOTHING_STAGED);
        for (const Control& control : support::read_dialog(library, IDD_SIDEBAR).controls) {
            if (control.id != IDC_STAGE_ALL_AND_COMMIT)
                continue;
            std::wstring button = words_of(control.text);
            button.resize(std::min(button.size(), button.find(L'(')));
            EXPECT_NE(advice.find(button), std::wstring::npos)
                << win32::to_utf8(language.name) << ": " << win32::to_utf8(button);
        }
    }
}

// The room that a button needs beside its text, in pixels.
LONG button_margin(const Control& control)
{
    switch (button_type(control)) {
    case BS_AUTORADIOBUTTON:
    case BS_AUTOCHECKBOX:
        return GetSystemMetrics(SM_CXMENUCHECK) + 2 * GetSystemMetrics(SM_CXEDGE);
    default:
        return 4 * GetSystemMetrics(SM_CXEDGE);
    }
}

TEST_F(Resources, EveryTextFitsItsControl)
{
    // What a button of the panel may fill when the panel is as narrow as 240 pixels at 96 DPI.
    constexpr LONG NARROW_BUTTON = 224;
    // As on screens of 96, about 144, and 192 DPI.
    for (const WORD points : {DIALOG_POINTS, WORD{14}, WORD{2 * DIALOG_POINTS}}) {
        for (const Language& language : languages_) {
            for (const auto& [name, id] : ids("IDD_")) {
                for (const Control& control :
                     support::read_dialog(language.library.get(), id, points).controls) {
                    if (is_button(control) && button_type(control) == BS_OWNERDRAW)
                        continue;
                    if (!shows_prefix(control))
                        continue;
                    SCOPED_TRACE(fmt::format("{} {} at {} points: {}",
                                             win32::to_utf8(language.name), name, points,
                                             win32::to_utf8(control.text)));
                    const LONG margin = is_button(control) ? button_margin(control) : 0;
                    const LONG width = control.text_size.cx + margin;
                    EXPECT_LE(width, control.size.cx);
                    EXPECT_LE(control.text_size.cy, control.size.cy);
                    EXPECT_TRUE(id != IDD_SIDEBAR || !is_button(control) ||
                                width <= NARROW_BUTTON * points / DIALOG_POINTS);
                }
            }
        }
    }
}

TEST_F(Resources, EveryLanguageHasTheControlsAndItemsOfEnglish)
{
    using Form = std::vector<std::tuple<int, std::wstring, DWORD, DWORD>>;
    const auto form_of = [](HMODULE library, int id) {
        Form form;
        for (const Control& control : support::read_dialog(library, id).controls)
            form.emplace_back(control.id, control.class_name, control.style,
                              control.extended_style);
        return form;
    };
    const auto commands_of = [](HMODULE library, int id) {
        std::vector<UINT> commands;
        for (const MenuItem& item : support::read_menu(library, id))
            commands.push_back(item.id);
        return commands;
    };
    for (const Language& language : languages_) {
        SCOPED_TRACE(win32::to_utf8(language.name));
        for (const auto& [name, id] : ids("IDD_"))
            EXPECT_EQ(form_of(language.library.get(), id), form_of(english(), id)) << name;
        for (const auto& [name, id] : ids("IDM_"))
            EXPECT_EQ(commands_of(language.library.get(), id), commands_of(english(), id)) << name;
    }
}

TEST_F(Resources, ControlsHaveTheStylesThatTheirCodeReliesOn)
{
    struct Case {
        int dialog;
        int control;
        DWORD with;
        DWORD without;
    };
    const Case cases[] = {
        {IDD_SIDEBAR, IDC_STAGED_LIST, LVS_REPORT | LVS_SHOWSELALWAYS, LVS_OWNERDATA},
        {IDD_SIDEBAR, IDC_CHANGES_LIST, LVS_REPORT | LVS_SHOWSELALWAYS, LVS_OWNERDATA},
        {IDD_SIDEBAR, IDC_BRANCHES_LIST, LVS_REPORT | LVS_OWNERDATA | LVS_SHOWSELALWAYS, 0},
        {IDD_SIDEBAR, IDC_COMMIT_MESSAGE, ES_MULTILINE | ES_WANTRETURN | WS_VSCROLL, ES_READONLY},
        {IDD_SIDEBAR, IDC_BRANCH, CBS_DROPDOWNLIST, CBS_SORT},
        {IDD_SIDEBAR, IDC_PROGRESS, PBS_MARQUEE, WS_VISIBLE},
        {IDD_SIDEBAR, IDC_EMPTY_TEXT, 0, WS_VISIBLE},
        {IDD_OUTPUT, IDC_OUTPUT_TEXT, ES_MULTILINE | ES_READONLY | WS_VSCROLL | WS_HSCROLL, 0},
        {IDD_HISTORY, IDC_COMMIT_LIST, LVS_REPORT | LVS_OWNERDATA | LVS_SHOWSELALWAYS, 0},
        {IDD_HISTORY, IDC_COMMIT_DETAILS, ES_MULTILINE | ES_READONLY | WS_VSCROLL, 0},
        {IDD_HISTORY, IDC_HISTORY_BRANCH, CBS_DROPDOWNLIST, CBS_SORT},
        {IDD_FILE_PICKER, IDC_CHANGED_FILES, LVS_REPORT, LVS_OWNERDATA},
    };
    for (const Case& expected : cases) {
        for (const Control& control : support::read_dialog(english(), expected.dialog).controls) {
            if (control.id != expected.control)
                continue;
            EXPECT_EQ(control.style & expected.with, expected.with) << control.id;
            EXPECT_EQ(control.style & expected.without, 0U) << control.id;
        }
    }
    const Dialog panel = support::read_dialog(english(), IDD_SIDEBAR);
    EXPECT_NE(panel.style & WS_CHILD, 0U);
    for (const Control& control : panel.controls)
        EXPECT_FALSE(is_button(control) && button_type(control) == BS_DEFPUSHBUTTON)
            << "Return in a list of the panel would press " << control.id;
    // The name of a new branch is typed without a further step.
    const Dialog new_branch = support::read_dialog(english(), IDD_NEW_BRANCH);
    const auto first = std::find_if(new_branch.controls.begin(), new_branch.controls.end(),
                                    [](const Control& c) { return (c.style & WS_TABSTOP) != 0; });
    ASSERT_NE(first, new_branch.controls.end());
    EXPECT_EQ(first->class_name, L"Edit");
}

TEST(OwnResources, BitmapsServeWithAnAlphaChannelAndWithAMaskColour)
{
    const std::map<int, int> sizes = {{120, 16}, {121, 32}, {122, 24},
                                      {123, 16}, {124, 24}, {125, 32}};
    for (const auto& [id, size] : sizes) {
        SCOPED_TRACE(id);
        const win32::UniqueHandle<HGDIOBJ, ::DeleteObject> bitmap(
            LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), IMAGE_BITMAP, 0, 0,
                       LR_CREATEDIBSECTION));
        ASSERT_TRUE(bitmap);
        DIBSECTION section{};
        ASSERT_EQ(GetObjectW(bitmap.get(), sizeof section, &section), int{sizeof section});
        EXPECT_EQ(section.dsBm.bmWidth, size);
        EXPECT_EQ(section.dsBm.bmHeight, size);
        ASSERT_EQ(section.dsBm.bmBitsPixel, 32);
        const auto* pixels = static_cast<const RGBQUAD*>(section.dsBm.bmBits);
        int whole = 0;
        int clear = 0;
        for (int i = 0; i < size * size; ++i) {
            const RGBQUAD& pixel = pixels[i];
            const BYTE brightest = std::max({pixel.rgbRed, pixel.rgbGreen, pixel.rgbBlue});
            EXPECT_LE(brightest, pixel.rgbReserved) << "the colours are premultiplied";
            whole += pixel.rgbReserved == 255 && brightest > 0;
            clear += pixel.rgbReserved == 0;
        }
        // Something is drawn, and something is left free.
        EXPECT_GT(whole, size * size / 8);
        EXPECT_GT(clear, size * size / 4);
    }
}

}  // namespace
