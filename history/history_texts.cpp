#include "history/history_texts.h"

#include "changes/texts.h"
#include "resources/ids.h"

#include <array>
#include <cstddef>

namespace revlane {

std::wstring heading_text(const std::filesystem::path& repository, const std::wstring& branch)
{
    return branch.empty() ? repository.native()
                          : text_with(IDS_HISTORY_HEADING, repository.native(), branch);
}

std::wstring search_text(const HistorySearch& search)
{
    if (!search.file_path.empty())
        return text_with(IDS_FILTER_BY_FILE, search.file_path);
    constexpr std::array texts{IDS_FILTER_BY_MESSAGE, IDS_FILTER_BY_AUTHOR, IDS_FILTER_BY_ID,
                               IDS_FILTER_BY_TAG};
    return text_with(static_cast<UINT>(texts[static_cast<std::size_t>(search.filter.kind)]),
                     search.filter.text);
}

std::wstring state_text(const ListState& list, const std::wstring& in_force)
{
    if (list.is_searching)
        return host::load_text(IDS_HISTORY_SEARCHING);
    const std::wstring commits = list.count == 1 ? host::load_text(IDS_HISTORY_COUNT_ONE)
                                                 : text_with(IDS_HISTORY_COUNT, list.count);
    if (list.has_filter)
        return list.count == 0 ? text_with(IDS_HISTORY_NOTHING_FOUND, in_force)
                               : text_with(IDS_HISTORY_FOUND, commits, in_force);
    return list.is_counting ? text_with(IDS_HISTORY_COUNTING, list.count) : commits;
}

}  // namespace revlane
