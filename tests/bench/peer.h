// What Revlane is compared with: git for Windows on the command line, and the bare walk through a
// folder below which no program can get.
#pragma once

#include "tests/bench/watch.h"

#include <filesystem>
#include <string>

namespace bench {

// Runs "git ARGUMENTS" and drops what it prints. Throws std::runtime_error when git fails.
Milliseconds time_git(const std::filesystem::path& folder, const std::wstring& arguments);
// The same, but reads what it prints, through a pipe, as whoever wants the answer has to. Under Wine
// that costs git more than what is dropped: its C library hands over each line by itself, for which it
// asks the server twice.
Milliseconds time_git(const std::filesystem::path& folder, const std::wstring& arguments,
                      std::string& answer);

// Lets git look at every file and write down what it has seen. The machine's own git, which makes the
// repositories, writes down what tells a program under Wine nothing: it would read all files again.
void refresh_index(const std::filesystem::path& repository);

// Looks at every file and folder but .git, and counts them.
Milliseconds time_walk(const std::filesystem::path& folder, std::size_t& files);

}  // namespace bench
