// Failures as values: every operation of the git layer that can fail returns a Result.
#pragma once

#include <tl/expected.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace git {

// A failure in the form in which it arose. Owns its texts; a moved-from Error is empty. May be moved
// between threads, but is made on the thread of the failing call.
class Error {
public:
    // What libgit2 recorded: its message (UTF-8) and its error class (git_error_t).
    struct Libgit2 {
        std::string message;
        int klass;
    };

    // A message of our own, UTF-8.
    static Error own(std::string message);
    // A message of Windows, or one that holds one.
    static Error system(std::wstring message);
    static Error libgit2(std::string message, int klass);

    Error(const Error&) = default;
    Error& operator=(const Error&) = default;
    Error(Error&& other) noexcept;
    Error& operator=(Error&& other) noexcept;
    ~Error() = default;

    // The alternatives in this order: own message, system message, libgit2 error.
    using Text = std::variant<std::string, std::wstring, Libgit2>;
    // Nothing when the Error was moved from.
    [[nodiscard]] const std::optional<Text>& text() const noexcept { return text_; }

private:
    explicit Error(Text text);

    std::optional<Text> text_;
};

template <typename T>
using Result = tl::expected<T, Error>;

// The last error that libgit2 recorded on this thread, or "null error" when there is none. Called on
// the failing thread at once after the failing call.
Error error_from_libgit2();

// The text of Windows for GetLastError() of this thread, with its trailing line break. Files,
// processes and pipes.
Error error_from_last_windows_error();

// The text of Windows for an error code, as above.
std::wstring windows_error_text(unsigned long code);

// The bare message, "unknown error" for an empty Error. Never fail.
std::wstring to_wide(const Error& error);
std::string to_utf8(const Error& error);

// For libgit2 calls that must not fail: throws std::runtime_error "unexpected error: {}" with the
// message of libgit2 when `code` is not 0.
void check_libgit2(int code);

}  // namespace git
