#include "history/commit_view.h"

#include "history/commit_details.h"
#include "plugin/host/localized.h"
#include "resources/ids.h"
#include "win32/window.h"

namespace revlane {

namespace {

// EM_SETEXTENDEDSTYLE of the edit control, where Windows has it, and the styles by which a line feed
// alone ends a line.
constexpr UINT EDIT_SET_EXTENDED_STYLE = 0x150A;
constexpr WPARAM EDIT_ALLOW_ALL_LINE_ENDS = 3;

}  // namespace

void CommitView::init(HWND details, HWND files)
{
    details_ = details;
    SendMessageW(details, EDIT_SET_EXTENDED_STYLE, EDIT_ALLOW_ALL_LINE_ENDS,
                 static_cast<LPARAM>(EDIT_ALLOW_ALL_LINE_ENDS));
    files_.init(files);
}

// Not cleared first: that would take as long again.
void CommitView::show(const git::Repository& repository, const git::Commit& commit)
{
    const git_oid& id = *git_commit_id(commit.get());
    win32::show_window_text(details_, commit_details_text(commit.get(), references_,
                                                          host::load_text(IDS_REFERENCES_HEADING)));
    if (!commit_ || !git_oid_equal(&*commit_, &id))
        files_.show(repository.handle, commit.get());
    commit_ = id;
}

void CommitView::clear()
{
    commit_.reset();
    SetWindowTextW(details_, L"");
    files_.clear();
}

}  // namespace revlane
