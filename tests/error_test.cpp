#include "git/error.h"

#include "win32/text.h"

#include <git2.h>
#include <git2/sys/errors.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

using git::Error;

constexpr const char* invalid_id = "not hexadecimal digits";

// Leaves a record of a failure behind on this thread.
void fail_in_libgit2()
{
    git_oid id{};
    ASSERT_NE(git_oid_fromstr(&id, invalid_id), 0);
}

std::wstring windows_text(DWORD code, DWORD flags = 0)
{
    std::array<wchar_t, 4096> text{};
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | flags, nullptr, code, 0,
                                        text.data(), static_cast<DWORD>(text.size()), nullptr);
    return {text.data(), length};
}

TEST(Error, TakesTheRecordOfTheFailingThread)
{
    fail_in_libgit2();
    const std::string message = git_error_last()->message;
    const int klass = git_error_last()->klass;

    const Error error = git::error_from_libgit2();
    const auto& record = std::get<Error::Libgit2>(*error.text());
    EXPECT_EQ(record.message, message);
    EXPECT_EQ(record.klass, klass);
    // Nothing is put in front of libgit2's own words.
    EXPECT_EQ(git::to_utf8(error), message);
    EXPECT_EQ(git::to_wide(error), win32::to_wide(message));

    std::thread([] { EXPECT_EQ(git::to_utf8(git::error_from_libgit2()), "null error"); }).join();
    git_error_clear();
    EXPECT_EQ(git::to_utf8(git::error_from_libgit2()), "null error");
}

TEST(Error, KeepsTheTextOfWindowsWithItsLineBreak)
{
    SetLastError(ERROR_FILE_NOT_FOUND);
    const Error error = git::error_from_last_windows_error();
    EXPECT_EQ(git::to_wide(error), windows_text(ERROR_FILE_NOT_FOUND));
    EXPECT_TRUE(git::to_wide(error).ends_with(L"\r\n"));
    EXPECT_EQ(win32::to_wide(git::to_utf8(error)), git::to_wide(error));

    // Windows has something to insert here and nothing is at hand.
    EXPECT_EQ(git::windows_error_text(ERROR_BAD_EXE_FORMAT),
              windows_text(ERROR_BAD_EXE_FORMAT, FORMAT_MESSAGE_IGNORE_INSERTS));
    constexpr DWORD code_without_a_text = 0x2FFFFFFF;
    EXPECT_EQ(git::windows_error_text(code_without_a_text), L"Windows error 805306367");
}

TEST(Error, IsEmptyOnceItWasMovedFrom)
{
    for (Error error : {Error::own("Grüße"), Error::system(L"Grüße"), Error::libgit2("Grüße", 1)}) {
        const Error taken = std::move(error);
        EXPECT_EQ(git::to_wide(taken), L"Grüße");
        EXPECT_EQ(git::to_utf8(taken), "Grüße");
        // NOLINTBEGIN(bugprone-use-after-move): what is left is just what is looked at
        EXPECT_EQ(git::to_wide(error), L"unknown error");
        EXPECT_EQ(git::to_utf8(error), "unknown error");
        // NOLINTEND(bugprone-use-after-move)
    }
}

TEST(Error, TravelsInTheExceptionOfAResult)
{
    const git::Result<int> failed = tl::unexpected(Error::own("oid is null"));
    try {
        (void)failed.value();
        FAIL() << "no exception";
    } catch (const tl::bad_expected_access<Error>& thrown) {
        EXPECT_EQ(git::to_utf8(thrown.error()), "oid is null");
    }
}

TEST(CheckLibgit2, ThrowsWithTheMessage)
{
    const auto message_of = [](int code) -> std::string {
        try {
            git::check_libgit2(code);
        } catch (const std::runtime_error& thrown) {
            return thrown.what();
        }
        return {};
    };
    fail_in_libgit2();
    EXPECT_EQ(message_of(0), "");
    EXPECT_EQ(message_of(-1), std::string("unexpected error: ") + git_error_last()->message);
    git_error_clear();
    EXPECT_EQ(message_of(-1), "null error");
}

}  // namespace
