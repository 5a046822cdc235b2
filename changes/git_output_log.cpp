#include "changes/git_output_log.h"

#include "win32/text.h"

#include <algorithm>
#include <utility>

namespace revlane {

namespace {

// An edit control shows CR LF as a line end and ends its text at the first NUL.
std::wstring normalized(std::wstring_view text)
{
    std::wstring result = win32::with_crlf(text);
    constexpr wchar_t replacement = 0xFFFD;
    std::replace(result.begin(), result.end(), L'\0', replacement);
    return result;
}

}  // namespace

void GitOutputLog::append(std::wstring entry)
{
    if (entry.empty())
        return;
    size_ += entry.size();
    entries_.push_back(std::move(entry));
    while (size_ > capacity_) {
        const std::size_t excess = size_ - capacity_;
        const std::size_t left = entries_.front().size() - dropped_;
        if (excess < left) {
            dropped_ += excess;
            size_ = capacity_;
            return;
        }
        entries_.pop_front();
        dropped_ = 0;
        size_ -= left;
    }
}

std::wstring GitOutputLog::text() const
{
    std::wstring whole;
    whole.reserve(size_);
    std::size_t skipped = dropped_;
    for (const std::wstring& entry : entries_)
        whole.append(entry, std::exchange(skipped, 0));
    return whole;
}

void append_git_output(GitOutputLog& log, std::wstring_view command, std::string_view output)
{
    std::wstring entry = L"git ";
    entry += normalized(command);
    entry += L"\r\n\r\n";
    entry += normalized(win32::to_wide(output));
    entry += L"\r\n";
    log.append(std::move(entry));
}

}  // namespace revlane
