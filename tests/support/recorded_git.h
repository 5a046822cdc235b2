// Puts a stand-in for git.exe in the place of the real one: one that records its runs
// (recording_git.cpp), or one that fails (failing_git.cpp).
#pragma once

#include "tests/support/temp_repository.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace support {

// An environment variable of this process that gets its former value back at the end of the scope.
class ScopedVariable {
public:
    // Null: the variable is not there.
    ScopedVariable(const wchar_t* name, const wchar_t* value);
    ~ScopedVariable();
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const wchar_t* name_;
    bool existed_;
    std::wstring former_;
};

// One start of git.
struct RecordedRun {
    std::wstring command_line;
    std::vector<std::wstring> arguments;  // from "git" on, as the run-time library has split them
};

// While it lives, "git" is the stand-in.
class RecordedGit {
public:
    RecordedGit();

    // All runs since the last call, in their order.
    std::vector<RecordedRun> take_runs();
    // The same, the command lines only.
    std::vector<std::wstring> take_command_lines();

private:
    TempFolder folder_;
    ScopedVariable path_;
    ScopedVariable record_;
};

// While it lives, "git" is one that fails at its start number `at` (0: at every start) and else is the
// real one. `how` is what failing_git.cpp knows.
class FailingGit {
public:
    FailingGit(int at, const wchar_t* how);

    // How often git was started.
    [[nodiscard]] std::size_t starts() const;

private:
    ScopedVariable real_;
    ScopedVariable path_;
    TempFolder folder_;
    ScopedVariable starts_;
    ScopedVariable at_;
    ScopedVariable how_;
};

}  // namespace support
