// The log of the git commands that a panel ran and of what they printed. Belongs to the window that
// shows the results; window thread.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

namespace revlane {

class GitOutputLog {
public:
    // In UTF-16 units.
    static constexpr std::size_t CAPACITY = 0x4000000;

    explicit GitOutputLog(std::size_t capacity = CAPACITY) : capacity_(capacity) {}

    // Appends `entry`; what exceeds the capacity then goes from the beginning, to the unit.
    void append(std::wstring entry);

    // Units of the whole text, never more than the capacity.
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    // The whole text, put together for each call.
    [[nodiscard]] std::wstring text() const;

private:
    // In pieces, so that neither appending nor trimming moves what is there: the whole may be 128 MB.
    std::deque<std::wstring> entries_;
    std::size_t capacity_;
    std::size_t size_ = 0;
    std::size_t dropped_ = 0;  // units at the beginning of the first entry that are gone
};

// Appends one command (its arguments) and its output (UTF-8), with the line ends of an edit control.
void append_git_output(GitOutputLog& log, std::wstring_view command, std::string_view output);

}  // namespace revlane
