// Repositories for tests: made in temporary folders by the real git, which runs as a child process.
// The main function of a test program holds one GitIsolation; then git and libgit2 see the same
// configuration, whatever the machine or the user has set up.
//
// A start of git costs time (70 ms under Wine), so several commands belong into one script().
#pragma once

#include <git2.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace support {

// A new folder in the user's temporary folder, removed with everything in it at the end. A test
// fails when something still holds a file or folder in it then.
class TempFolder {
public:
    // The name gets a number in front. Git, libgit2 and the command line all have to cope with it,
    // hence the space and the letters of several alphabets.
    explicit TempFolder(std::wstring_view name = L"Prüf Ордер 文件夹");
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

private:
    std::filesystem::path path_;
};

// The settings under which git and libgit2 run in this process and its children: one configuration
// file of its own (branch "main", no line end conversion, a fixed user) and none of the machine's.
// Holds a count of libgit2's initialisation, since libgit2 forgets the settings with the last one.
class GitIsolation {
public:
    GitIsolation();
    ~GitIsolation();
    GitIsolation(const GitIsolation&) = delete;
    GitIsolation& operator=(const GitIsolation&) = delete;

private:
    TempFolder home_;
};

// What a run of git has left.
struct GitRun {
    unsigned long exit_code;
    std::string output;
    std::string errors;
};

// Runs "git" with these arguments (UTF-8, any text), each of which reaches git as it stands. A path
// in an argument is relative to `folder`. Each run gets a commit date an hour after the former one.
GitRun run_git(const std::filesystem::path& folder, const std::vector<std::string>& arguments);

// Whether the git that the code under test finds is a whole installation. The one that the tests can
// be given instead is git.exe alone: it has no shell, so no hooks, filters, commands that are scripts
// and remotes, and it knows no encoding but UTF-8. A test of these asks first.
bool git_is_whole();

// One entry of `git status`, the letters as git prints them.
struct StatusEntry {
    char index;
    char worktree;
    std::string path;      // UTF-8
    std::string old_path;  // of a rename, else empty

    friend bool operator==(const StatusEntry&, const StatusEntry&) = default;
};

// A repository and its files. Paths of files are UTF-8, relative to path(), with forward slashes.
// Every member throws std::runtime_error, with what git has written, when something fails.
class TempRepository {
public:
    enum class Kind { WorkTree, Bare };

    // An empty repository whose unborn branch is "main", in a temporary folder of its own.
    explicit TempRepository(Kind kind = Kind::WorkTree);

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    // The same, in UTF-8.
    [[nodiscard]] std::string path_text() const;

    // What git prints. Throws when its exit code is not 0.
    std::string git(const std::vector<std::string>& arguments) const;
    // Runs lines of a POSIX shell script at path(), ends at the first failure and returns what they
    // print. `commit MESSAGE [OPTION...]` commits what is staged, each time a minute later.
    std::string script(std::string_view lines) const;
    // Feeds a stream to `git fast-import`: history by the thousand in one run.
    void fast_import(std::string_view stream) const;

    // Creates the folders above the file.
    void write_file(std::string_view file, std::string_view bytes) const;
    std::string read_file(std::string_view file) const;
    // A file, or a folder with everything in it.
    void remove(std::string_view file) const;

    // Stages everything and commits it. Returns the id of the commit.
    std::string commit_all(std::string_view message) const;
    // The id, in full, of what a revision names.
    std::string id_of(std::string_view revision) const;
    // With every untracked file by its own path.
    std::vector<StatusEntry> status() const;

    // A bare repository "NAME.git" beside this one, which becomes its remote of that name.
    TempRepository add_bare_remote(std::string_view name = "origin") const;
    // A clone beside this one, in the folder `name`.
    TempRepository clone(std::string_view name) const;

    // Opened by libgit2 directly.
    std::shared_ptr<git_repository> open() const;

private:
    TempRepository(std::shared_ptr<TempFolder> folder, std::string_view name);

    std::shared_ptr<TempFolder> folder_;  // kept until the last repository in it goes
    std::filesystem::path path_;
};

}  // namespace support
