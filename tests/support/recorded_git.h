// Puts the stand-in for git.exe (recording_git.cpp) in the place of the real one and reads what it
// has recorded.
#pragma once

#include "tests/support/temp_repository.h"

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

}  // namespace support
