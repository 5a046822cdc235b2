#include "sidebar/discard_question.h"

#include "changes/confirmation.h"
#include "changes/texts.h"
#include "resources/ids.h"

#include <algorithm>

namespace revlane {

namespace {

// Paths listed one by one in the question; more of them make the box too tall.
constexpr std::size_t MAX_LISTED = 8;

std::wstring listed_paths(const std::vector<git::FileChange>& changes)
{
    std::wstring list;
    for (std::size_t i = 0; i < std::min(changes.size(), MAX_LISTED); ++i)
        list += changes[i].new_path + L'\n';
    if (changes.size() > MAX_LISTED)
        list += L"\u2026\n";
    return list;
}

}  // namespace

DiscardTexts discard_texts(const std::vector<git::FileChange>& changes)
{
    const auto new_files =
        std::count_if(changes.begin(), changes.end(), [](const git::FileChange& change) {
            return change.status == git::ChangeStatus::Untracked;
        });
    DiscardTexts texts;
    texts.loss = host::load_text(IDS_DISCARD_LOSS);
    if (changes.size() == 1) {
        texts.question = text_with(new_files == 1 ? IDS_DISCARD_NEW_ONE : IDS_DISCARD_ONE,
                                   changes.front().new_path);
        return texts;
    }
    texts.question = text_with(IDS_DISCARD_MANY, changes.size());
    if (new_files > 0)
        texts.loss = text_with(IDS_DISCARD_NEW_COUNT, new_files) + L"\n" + texts.loss;
    texts.loss = listed_paths(changes) + L'\n' + texts.loss;
    return texts;
}

bool ask_to_discard(HWND owner, const std::vector<git::FileChange>& changes)
{
    const DiscardTexts texts = discard_texts(changes);
    return ask_to_confirm(owner, {IDS_DISCARD_TITLE, IDS_DISCARD_BUTTON, texts.loss,
                                  texts.question}) == CONFIRMED;
}

}  // namespace revlane
