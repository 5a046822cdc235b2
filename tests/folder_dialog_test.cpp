// Choosing the repository of the panel in the dialog for folders of Windows.
#include "resources/ids.h"
#include "tests/support/panel.h"
#include "tests/support/temp_repository.h"
#include "tests/support/window_watch.h"
#include "win32/text.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <dlgs.h>

#include <chrono>
#include <filesystem>
#include <string>

namespace {

using namespace std::chrono_literals;
using support::Panel;
using support::TempFolder;
using support::TempRepository;
using support::Texts;

TempRepository with_new_file(const char* name)
{
    TempRepository repository;
    repository.write_file("a.txt", "one\n");
    repository.commit_all("first");
    repository.write_file(name, "new\n");
    return repository;
}

bool asks_for_a_folder(HWND window)
{
    return support::is_modal_dialog(window) && GetDlgItem(window, edt1) != nullptr;
}

bool is_message(HWND window)
{
    return support::is_modal_dialog(window) && !asks_for_a_folder(window);
}

// Writes the folder into the dialog that the panel's button opens, and presses a button of it.
void answer(Panel& panel, const std::filesystem::path& folder, int button)
{
    const support::WindowWatch watch(asks_for_a_folder, [&](HWND dialog) {
        SetDlgItemTextW(dialog, edt1, folder.c_str());
        PostMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(button), 0);
    });
    panel.click(IDC_CHOOSE_FOLDER);
    ASSERT_TRUE(panel.wait([&] { return watch.has_acted(); }));
}

TEST(FolderDialog, OpensTheRepositoryThatIsChosen)
{
    const TempRepository first = with_new_file("first.txt");
    const TempRepository second = with_new_file("second.txt");
    second.write_file("folder/inside.txt", "new\n");
    Panel panel(first);
    const Texts of_first{L"first.txt (new)"};
    ASSERT_TRUE(panel.agrees_with_git());

    answer(panel, second.path(), IDCANCEL);
    panel.driver().wait([] { return false; }, 300ms);
    EXPECT_EQ(panel.rows(IDC_CHANGES_LIST), of_first);

    const TempFolder outside;
    std::wstring told;
    const support::WindowWatch watch(is_message, [&](HWND box) {
        told = support::texts_of(box);
        support::press_button(box, IDCLOSE);
    });
    answer(panel, outside.path(), IDOK);
    EXPECT_TRUE(panel.wait([&] { return watch.has_acted(); }));
    EXPECT_NE(told.find(outside.path().native()), std::wstring::npos) << win32::to_utf8(told);
    EXPECT_EQ(panel.rows(IDC_CHANGES_LIST), of_first);

    // A folder within its working tree is enough.
    answer(panel, second.path() / L"folder", IDOK);
    EXPECT_TRUE(panel.wait([&] {
        return panel.sorted_rows(IDC_CHANGES_LIST) ==
               Texts{L"folder/inside.txt (new)", L"second.txt (new)"};
    }));
}

}  // namespace
