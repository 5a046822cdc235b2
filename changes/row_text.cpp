#include "changes/row_text.h"

#include "plugin/host/localized.h"
#include "resources/ids.h"

#include <fmt/xchar.h>

#include <stdexcept>

namespace revlane {

namespace {

std::wstring status_text(UINT id)
{
    return fmt::format(L" ({})", host::load_text(id));
}

}  // namespace

std::wstring status_label(git::ChangeStatus status)
{
    switch (status) {
    case git::ChangeStatus::Modified:
        return {};
    case git::ChangeStatus::Added:
    case git::ChangeStatus::Untracked:
        return status_text(IDS_STATUS_ADDED);
    case git::ChangeStatus::Deleted:
        return status_text(IDS_STATUS_DELETED);
    case git::ChangeStatus::Renamed:
        return status_text(IDS_STATUS_RENAMED);
    case git::ChangeStatus::Conflicted:
        return status_text(IDS_STATUS_CONFLICTED);
    }
    throw std::runtime_error("invalid status");
}

std::wstring row_text(const git::FileChange& change)
{
    return change.new_path + status_label(change.status);
}

}  // namespace revlane
