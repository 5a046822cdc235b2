#include "history/reference_reading.h"

#include "git/git.h"
#include "git/handles.h"
#include "history/reference_map.h"

#include <functional>

namespace revlane {

namespace {

ReferenceMap read_references(const std::filesystem::path& repository,
                             const std::function<bool()>& is_cancelled)
{
    const git::LibraryScope library;
    const git::Result<git::Repository> opened = git::open_repository(repository);
    if (!opened)
        return {};
    return read_reference_map(opened->handle.get(), is_cancelled).value_or(ReferenceMap{});
}

}  // namespace

void ReferenceReading::start(HWND window, const std::filesystem::path& repository)
{
    cancel();
    window_ = window;
    cancel_ = std::make_shared<Cancellation>();
    slot_.submit([window, repository, cancel = cancel_] {
        cancel->post(window, WM_HISTORY_REFERENCES,
                     std::make_unique<ReferenceMap>(read_references(
                         repository, [&cancel] { return cancel->is_cancelled(); })));
    });
}

void ReferenceReading::cancel()
{
    slot_.cancel();
    if (cancel_ == nullptr)
        return;
    cancel_->cancel();
    cancel_.reset();
    win32::drain_owned<ReferenceMap>(window_, WM_HISTORY_REFERENCES);
}

}  // namespace revlane
