#include "tests/support/panel.h"

#include "resources/ids.h"
#include "tests/support/window_watch.h"
#include "win32/text.h"

#include <gtest/gtest.h>
#include <commctrl.h>

#include <algorithm>
#include <utility>

namespace support {

namespace {

// What the panel shows behind a file, by the letter of git's status.
const wchar_t* label(char letter, bool is_conflict)
{
    if (is_conflict)
        return L" (conflict)";
    if (letter == '?' || letter == 'A')
        return L" (new)";
    return letter == 'D' ? L" (deleted)" : L"";
}

}  // namespace

Panel::Panel(const TempRepository& repository, std::string_view settings, std::string_view document)
    : repository_(repository), driver_(delivered_plugin(), settings)
{
    // Any path of the repository will do; the editor opens what is there.
    if (document.empty())
        repository.write_file(".git/opened.txt", "a document");
    open(repository.path() / (document.empty() ? L".git/opened.txt" : win32::to_wide(document)));
    dialog_ = driver_.open_panel();
    EXPECT_NE(dialog_, nullptr);
}

void Panel::open(const std::filesystem::path& file)
{
    EXPECT_TRUE(driver_.open(file)) << win32::to_utf8(file.wstring());
}

Texts Panel::rows(int list) const
{
    Texts texts;
    for (const auto& row : rows_of(dialog_, list))
        texts.push_back(row.empty() ? std::wstring() : row.front());
    return texts;
}

std::map<int, Texts> Panel::rows_by_git()
{
    if (!std::exchange(renames_are_off_, true))
        repository_.git({"config", "status.renames", "false"});
    std::map<int, Texts> rows{{IDC_STAGED_LIST, {}}, {IDC_CHANGES_LIST, {}}};
    for (const StatusEntry& entry : repository_.status()) {
        const std::wstring path = win32::to_wide(entry.path);
        const bool is_conflict = entry.index == 'U' || entry.worktree == 'U' ||
                                 (entry.index == 'A' && entry.worktree == 'A') ||
                                 (entry.index == 'D' && entry.worktree == 'D');
        if (entry.index != ' ' && entry.index != '?')
            rows[IDC_STAGED_LIST].push_back(path + label(entry.index, is_conflict));
        if (entry.worktree != ' ')
            rows[IDC_CHANGES_LIST].push_back(path + label(entry.worktree, is_conflict));
    }
    for (auto& [list, texts] : rows)
        std::sort(texts.begin(), texts.end());
    return rows;
}

Texts Panel::sorted_rows(int list) const
{
    Texts texts = rows(list);
    std::sort(texts.begin(), texts.end());
    return texts;
}

bool Panel::shows(const std::map<int, Texts>& wanted, std::chrono::milliseconds deadline)
{
    return driver_.wait(
        [&] {
            return std::all_of(wanted.begin(), wanted.end(), [this](const auto& list) {
                return sorted_rows(list.first) == list.second;
            });
        },
        deadline);
}

bool Panel::agrees_with_git()
{
    const std::map<int, Texts> wanted = rows_by_git();
    const bool agrees = shows(wanted, pump_deadline);
    for (const auto& [list, texts] : wanted)
        EXPECT_EQ(sorted_rows(list), texts);
    return agrees;
}

bool Panel::wait_rows(int list, std::size_t count)
{
    return wait([&] { return rows(list).size() == count; });
}

bool Panel::wait_text(int id, const std::wstring& text)
{
    const auto shown = [&] {
        std::wstring control = control_text(dialog_, id);
        std::erase(control, L'&');
        return control;
    };
    const bool found = wait([&] { return shown() == text; });
    EXPECT_EQ(shown(), text);
    return found;
}

void Panel::select(int list, const Texts& texts)
{
    const Texts shown = rows(list);
    std::vector<int> indices;
    for (const std::wstring& text : texts) {
        const auto found = std::find(shown.begin(), shown.end(), text);
        ASSERT_NE(found, shown.end()) << win32::to_utf8(text);
        indices.push_back(static_cast<int>(found - shown.begin()));
    }
    select_rows(dialog_, list, indices);
}

Texts Panel::selected(int list) const
{
    const Texts shown = rows(list);
    Texts selection;
    for (std::size_t i = 0; i < shown.size(); ++i)
        if (SendDlgItemMessageW(dialog_, list, LVM_GETITEMSTATE, i, LVIS_SELECTED) != 0)
            selection.push_back(shown[i]);
    return selection;
}

void Panel::set_message(const std::wstring& text)
{
    set_control_text(dialog_, IDC_COMMIT_MESSAGE, text);
}

std::wstring Panel::message() const
{
    return control_text(dialog_, IDC_COMMIT_MESSAGE);
}

std::wstring Panel::box_after(const std::function<void()>& action, int button)
{
    const BoxAnswer box(button);
    action();
    EXPECT_TRUE(wait([&] { return box.text().has_value(); }));
    return box.text().value_or(L"");
}

}  // namespace support
