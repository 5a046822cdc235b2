#include "git/error.h"

#include "win32/text.h"

#include <fmt/format.h>
#include <fmt/xchar.h>
#include <git2.h>
#include <windows.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace git {

namespace {

constexpr std::string_view NO_RECORDED_ERROR = "null error";
constexpr std::string_view EMPTY_ERROR = "unknown error";

// The record of this thread's last failure, or null. Newer versions of libgit2 never return null
// but a record without a class.
const git_error* recorded_error() noexcept
{
    const git_error* record = git_error_last();
    if (record == nullptr || record->klass == GIT_ERROR_NONE || record->message == nullptr)
        return nullptr;
    return record;
}

// Calls one callable for each alternative.
template <typename... Callables>
struct Overloaded : Callables... {
    using Callables::operator()...;
};
template <typename... Callables>
Overloaded(Callables...) -> Overloaded<Callables...>;

}  // namespace

Error::Error(Text text) : text_(std::move(text)) {}

Error Error::own(std::string message)
{
    return Error(Text(std::in_place_index<0>, std::move(message)));
}

Error Error::system(std::wstring message)
{
    return Error(Text(std::in_place_index<1>, std::move(message)));
}

Error Error::libgit2(std::string message, int klass)
{
    return Error(Text(Libgit2{std::move(message), klass}));
}

Error::Error(Error&& other) noexcept : text_(std::exchange(other.text_, std::nullopt)) {}

Error& Error::operator=(Error&& other) noexcept
{
    if (this != &other)
        text_ = std::exchange(other.text_, std::nullopt);
    return *this;
}

Error error_from_libgit2()
{
    if (const git_error* record = recorded_error())
        return Error::libgit2(record->message, record->klass);
    return Error::own(std::string(NO_RECORDED_ERROR));
}

std::wstring windows_error_text(unsigned long code)
{
    // The longest message that is shown.
    std::array<wchar_t, 4096> buffer{};
    const auto format = [&](DWORD flags) {
        return FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | flags, nullptr, code, 0, buffer.data(),
                              static_cast<DWORD>(buffer.size()), nullptr);
    };
    DWORD length = format(0);
    // A message with an insert ("%1 is not a valid Win32 application.") is refused when there is
    // nothing to insert, so it is taken as it stands.
    if (length == 0)
        length = format(FORMAT_MESSAGE_IGNORE_INSERTS);
    if (length == 0)
        return fmt::format(L"Windows error {}", code);
    return std::wstring(buffer.data(), length);
}

Error error_from_last_windows_error()
{
    return Error::system(windows_error_text(GetLastError()));
}

std::wstring to_wide(const Error& error)
{
    if (!error.text())
        return win32::to_wide(EMPTY_ERROR);
    return std::visit(
        Overloaded{[](const std::string& own) { return win32::to_wide(own); },
                   [](const std::wstring& system) { return system; },
                   [](const Error::Libgit2& record) { return win32::to_wide(record.message); }},
        *error.text());
}

std::string to_utf8(const Error& error)
{
    if (!error.text())
        return std::string(EMPTY_ERROR);
    return std::visit(Overloaded{[](const std::string& own) { return own; },
                                 [](const std::wstring& system) { return win32::to_utf8(system); },
                                 [](const Error::Libgit2& record) { return record.message; }},
                      *error.text());
}

void check_libgit2(int code)
{
    if (code == 0)
        return;
    if (const git_error* record = recorded_error())
        throw std::runtime_error(fmt::format("unexpected error: {}", record->message));
    throw std::runtime_error(std::string(NO_RECORDED_ERROR));
}

}  // namespace git
