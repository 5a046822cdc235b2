#include "tests/support/temp_repository.h"

#include "win32/handle.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <fmt/xchar.h>
#include <gsl/narrow>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <utility>

namespace support {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view configuration =
    "[user]\n"
    "\tname = Ada Prüferin\n"
    "\temail = ada@example.invalid\n"
    "[init]\n"
    "\tdefaultBranch = main\n"
    "[core]\n"
    "\tautocrlf = false\n"
    "\tsymlinks = false\n"
    "\tquotePath = false\n"
    "[commit]\n"
    "\tgpgSign = false\n"
    "[tag]\n"
    "\tgpgSign = false\n"
    "[gc]\n"
    "\tauto = 0\n"
    "[advice]\n"
    "\tdetachedHead = false\n"
    // A submodule whose remote is a folder is refused otherwise.
    "[protocol \"file\"]\n"
    "\tallow = always\n";

// What every script begins with. The variables that git sets for an alias would tie every command to
// one repository.
constexpr std::string_view script_prelude = R"(
set -eu
unset $(git rev-parse --local-env-vars)
now=${GIT_COMMITTER_DATE%% *}
commit() {
    now=$((now + 60))
    export GIT_AUTHOR_DATE="$now +0000"
    export GIT_COMMITTER_DATE="$now +0000"
    git commit -q --allow-empty -m "$@"
}
)";

// 1 March 2024, 12:00 UTC: where the commit dates begin.
constexpr std::int64_t first_time = 1709294400;
constexpr std::int64_t time_between_runs = 3600;

// Long enough for a slow machine under load; a run that takes longer hangs.
constexpr auto run_deadline = std::chrono::minutes(2);
// How long a virus scanner or a child that is just ending may hold a file.
constexpr auto removal_deadline = std::chrono::seconds(5);
constexpr auto removal_interval = std::chrono::milliseconds(20);

fs::path temporary_folder()
{
    std::array<wchar_t, MAX_PATH + 1> folder{};
    GetTempPathW(static_cast<DWORD>(folder.size()), folder.data());
    return folder.data();
}

// Longer paths than 260 characters work with this prefix only, and only without forward slashes.
fs::path long_path(const fs::path& path)
{
    return LR"(\\?\)" + fs::path(path).make_preferred().native();
}

// Whether nothing is left of it.
bool remove_tree(const fs::path& path)
{
    const std::wstring& name = path.native();
    const DWORD attributes = GetFileAttributesW(name.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return true;
    // Git makes its objects read-only.
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0)
        SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        return DeleteFileW(name.c_str()) != 0;
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        WIN32_FIND_DATAW found{};
        const win32::FindHandle search(FindFirstFileW((path / L"*").c_str(), &found));
        BOOL more = search ? TRUE : FALSE;
        for (; more; more = FindNextFileW(search.get(), &found)) {
            const std::wstring_view entry = found.cFileName;
            if (entry != L"." && entry != L"..")
                remove_tree(path / entry);
        }
    }
    return RemoveDirectoryW(name.c_str()) != 0;
}

bool remove_tree_patiently(const fs::path& path)
{
    const auto deadline = std::chrono::steady_clock::now() + removal_deadline;
    while (!remove_tree(path)) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        Sleep(static_cast<DWORD>(removal_interval.count()));
    }
    return true;
}

void write_bytes(const fs::path& path, std::string_view bytes)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + win32::to_utf8(path.native()));
}

std::string read_bytes(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::string bytes(static_cast<std::size_t>(std::max<std::streamoff>(file.tellg(), 0)), '\0');
    file.seekg(0);
    if (!file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
        throw std::runtime_error("cannot read " + win32::to_utf8(path.native()));
    return bytes;
}

std::int64_t next_time()
{
    static std::atomic<std::int64_t> time = first_time;
    return time += time_between_runs;
}

// The inverse of how Windows splits a command line. It is not the product's own rule on purpose:
// here every text has to arrive.
std::wstring command_line(const std::vector<std::string>& arguments)
{
    std::wstring line = L"git";
    for (const std::string& argument : arguments) {
        line += L" \"";
        std::size_t backslashes = 0;
        for (const wchar_t unit : win32::to_wide(argument)) {
            if (unit == L'"')
                line.append(backslashes + 1, L'\\');
            backslashes = unit == L'\\' ? backslashes + 1 : 0;
            line += unit;
        }
        line.append(backslashes, L'\\') += L'"';
    }
    return line;
}

// A file that a child writes one of its outputs to. Unlike a pipe, it is at its end when the child
// is, even if another process has inherited it. It goes with its last handle.
class OutputFile {
public:
    OutputFile()
    {
        std::array<wchar_t, MAX_PATH + 1> name{};
        GetTempFileNameW(temporary_folder().c_str(), L"rev", 0, name.data());
        SECURITY_ATTRIBUTES inheritable{sizeof(inheritable), nullptr, TRUE};
        handle_.reset(CreateFileW(name.data(), GENERIC_READ | GENERIC_WRITE, 0, &inheritable,
                                  CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        if (!handle_)
            throw std::runtime_error("cannot create " + win32::to_utf8(name.data()));
    }
    [[nodiscard]] HANDLE handle() const noexcept { return handle_.get(); }
    // What the child has written, once it has ended.
    [[nodiscard]] std::string text() const
    {
        LARGE_INTEGER size{};
        GetFileSizeEx(handle_.get(), &size);
        std::string bytes(gsl::narrow<std::size_t>(size.QuadPart), '\0');
        SetFilePointerEx(handle_.get(), LARGE_INTEGER{}, nullptr, FILE_BEGIN);
        DWORD read = 0;
        if (!ReadFile(handle_.get(), bytes.data(), gsl::narrow<DWORD>(bytes.size()), &read,
                      nullptr) ||
            read != bytes.size())
            throw std::runtime_error("cannot read what git has printed");
        return bytes;
    }

private:
    win32::FileHandle handle_;
};

// The list of handles that a child inherits, and no others: the code under test has pipes open.
class InheritedHandles {
public:
    explicit InheritedHandles(std::array<HANDLE, 2> handles) : handles_(handles)
    {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        memory_.resize(size);
        if (!InitializeProcThreadAttributeList(get(), 1, 0, &size) ||
            !UpdateProcThreadAttribute(get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                       sizeof(handles_), nullptr, nullptr))
            throw std::runtime_error("cannot list the handles of a child process");
    }
    ~InheritedHandles() { DeleteProcThreadAttributeList(get()); }
    InheritedHandles(const InheritedHandles&) = delete;
    InheritedHandles& operator=(const InheritedHandles&) = delete;
    [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST get() noexcept
    {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
    }

private:
    std::array<HANDLE, 2> handles_;
    std::vector<std::byte> memory_;
};

// Without a program, the first word of the line is looked for on the search path.
unsigned long run_process(const std::optional<fs::path>& program, std::wstring line,
                          const fs::path& folder, HANDLE output, HANDLE errors)
{
    InheritedHandles inherited({output, errors});
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdOutput = output;
    startup.StartupInfo.hStdError = errors;
    startup.lpAttributeList = inherited.get();
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(program ? program->c_str() : nullptr, line.data(), nullptr, nullptr, TRUE,
                        CREATE_NO_WINDOW | EXTENDED_STARTUPINFO_PRESENT, nullptr, folder.c_str(),
                        &startup.StartupInfo, &started))
        throw std::runtime_error(fmt::format("git cannot be started: error {}", GetLastError()));
    const win32::KernelHandle process(started.hProcess);
    const win32::KernelHandle thread(started.hThread);

    const auto deadline = std::chrono::milliseconds(run_deadline).count();
    if (WaitForSingleObject(process.get(), static_cast<DWORD>(deadline)) != WAIT_OBJECT_0) {
        TerminateProcess(process.get(), 1);
        throw std::runtime_error("git does not end: " + win32::to_utf8(line));
    }
    DWORD exit_code = 0;
    GetExitCodeProcess(process.get(), &exit_code);
    return exit_code;
}

// The git that runs scripts, where the one on the search path has no shell. It is named in the
// environment by whoever has put that one there.
std::optional<fs::path> git_with_shell()
{
    const wchar_t* const name = L"REVLANE_GIT_WITH_SHELL";
    std::wstring path(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    if (path.empty())
        return std::nullopt;
    path.resize(GetEnvironmentVariableW(name, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

GitRun run(const std::optional<fs::path>& program, const fs::path& folder,
           const std::vector<std::string>& arguments)
{
    const std::wstring date = fmt::format(L"{} +0000", next_time());
    SetEnvironmentVariableW(L"GIT_AUTHOR_DATE", date.c_str());
    SetEnvironmentVariableW(L"GIT_COMMITTER_DATE", date.c_str());

    const OutputFile output;
    const OutputFile errors;
    GitRun run{};
    run.exit_code =
        run_process(program, command_line(arguments), folder, output.handle(), errors.handle());
    run.output = output.text();
    run.errors = errors.text();
    return run;
}

// What a run has printed, if it went well.
std::string output_of(GitRun run, const std::vector<std::string>& arguments)
{
    if (run.exit_code != 0)
        throw std::runtime_error(fmt::format("{}: exit code {}\n{}{}",
                                             win32::to_utf8(command_line(arguments)), run.exit_code,
                                             run.output, run.errors));
    return std::move(run.output);
}

// One word of a shell script.
std::string shell_word(std::string_view text)
{
    std::string word = "'";
    for (const char unit : text) {
        if (unit == '\'')
            word += "'\\'";
        word += unit;
    }
    return word += '\'';
}

// A file beside the repositories, named by a number, which goes at the end of the scope.
class ScratchFile {
public:
    ScratchFile(const TempFolder& folder, std::string_view bytes)
    {
        static std::atomic<int> count = 0;
        name_ = fmt::format("scratch-{}", ++count);
        path_ = long_path(folder.path() / name_);
        write_bytes(path_, bytes);
    }
    ~ScratchFile() { DeleteFileW(path_.c_str()); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    // As a repository in the folder sees it.
    [[nodiscard]] std::string relative_path() const { return "../" + name_; }

private:
    std::string name_;
    fs::path path_;
};

}  // namespace

TempFolder::TempFolder(std::wstring_view name)
{
    static std::atomic<int> count = 0;
    do {
        path_ = temporary_folder() /
                fmt::format(L"revlane-{}-{} {}", GetCurrentProcessId(), ++count, name);
        // A former process with this number may have left its folders behind.
    } while (!CreateDirectoryW(path_.c_str(), nullptr) && GetLastError() == ERROR_ALREADY_EXISTS);
    if (!fs::is_directory(path_))
        throw std::runtime_error("cannot create " + win32::to_utf8(path_.native()));
}

TempFolder::~TempFolder()
{
    if (!remove_tree_patiently(long_path(path_)))
        ADD_FAILURE() << "something still holds a file in " << win32::to_utf8(path_.native());
}

GitIsolation::GitIsolation() : home_(L"home")
{
    const fs::path file = home_.path() / L".gitconfig";
    write_bytes(file, configuration);
    const std::pair<const wchar_t*, const wchar_t*> variables[] = {
        {L"GIT_CONFIG_NOSYSTEM", L"1"},
        {L"GIT_CONFIG_GLOBAL", file.c_str()},
        // A library that has a libgit2 of its own looks here by itself.
        {L"HOME", home_.path().c_str()},
        {L"XDG_CONFIG_HOME", home_.path().c_str()},
        {L"GIT_TERMINAL_PROMPT", L"0"},
        {L"LC_ALL", L"C.UTF-8"},
        // What a hook of git that runs the tests has set.
        {L"GIT_DIR", nullptr},
        {L"GIT_WORK_TREE", nullptr},
        {L"GIT_INDEX_FILE", nullptr},
        {L"GIT_PREFIX", nullptr},
    };
    for (const auto& [name, value] : variables)
        SetEnvironmentVariableW(name, value);

    git_libgit2_init();
    const std::string home = win32::to_utf8(home_.path().native());
    for (const git_config_level_t level :
         {GIT_CONFIG_LEVEL_PROGRAMDATA, GIT_CONFIG_LEVEL_SYSTEM, GIT_CONFIG_LEVEL_XDG})
        git_libgit2_opts(GIT_OPT_SET_SEARCH_PATH, level, "");
    git_libgit2_opts(GIT_OPT_SET_SEARCH_PATH, GIT_CONFIG_LEVEL_GLOBAL, home.c_str());
}

GitIsolation::~GitIsolation()
{
    git_libgit2_shutdown();
}

bool git_is_whole()
{
    return !git_with_shell();
}

GitRun run_git(const fs::path& folder, const std::vector<std::string>& arguments)
{
    return run(std::nullopt, folder, arguments);
}

TempRepository::TempRepository(Kind kind) : TempRepository(std::make_shared<TempFolder>(), "work")
{
    fs::create_directory(path_);
    // Git notes what the file system can do in the repository's own configuration, where it would
    // win over ours. Only one of our two gits sees an executable bit.
    script(fmt::format("git init -q {}\n"
                       "git config core.fileMode false\n",
                       kind == Kind::Bare ? "--bare" : ""));
}

TempRepository::TempRepository(std::shared_ptr<TempFolder> folder, std::string_view name)
    : folder_(std::move(folder)), path_(folder_->path() / win32::to_wide(name))
{
}

std::string TempRepository::path_text() const
{
    return win32::to_utf8(path_.native());
}

std::string TempRepository::git(const std::vector<std::string>& arguments) const
{
    return output_of(run_git(path_, arguments), arguments);
}

std::string TempRepository::script(std::string_view lines) const
{
    // Git hands an alias that begins with "!" to the shell that it brings along or finds.
    std::string text(script_prelude);
    const ScratchFile file(*folder_, text.append(lines) += '\n');
    const std::vector<std::string> arguments{"-c", "alias.run-script=!sh " + file.relative_path(),
                                             "run-script"};
    return output_of(run(git_with_shell(), path_, arguments), arguments);
}

void TempRepository::fast_import(std::string_view stream) const
{
    const ScratchFile file(*folder_, stream);
    script("git fast-import --quiet <" + file.relative_path());
}

void TempRepository::write_file(std::string_view file, std::string_view bytes) const
{
    const fs::path full = long_path(path_ / win32::to_wide(file));
    for (std::size_t end = long_path(path_).native().size(); end != std::wstring::npos;
         end = full.native().find(L'\\', end + 1))
        CreateDirectoryW(full.native().substr(0, end).c_str(), nullptr);
    write_bytes(full, bytes);
}

std::string TempRepository::read_file(std::string_view file) const
{
    return read_bytes(long_path(path_ / win32::to_wide(file)));
}

void TempRepository::remove(std::string_view file) const
{
    if (!remove_tree_patiently(long_path(path_ / win32::to_wide(file))))
        throw std::runtime_error(fmt::format("cannot remove {}", file));
}

std::string TempRepository::commit_all(std::string_view message) const
{
    return script(fmt::format("git add -A\n"
                              "commit {}\n"
                              "printf %s \"$(git rev-parse HEAD)\"\n",
                              shell_word(message)));
}

std::string TempRepository::id_of(std::string_view revision) const
{
    std::string id = git({"rev-parse", "--verify", std::string(revision)});
    id.erase(id.find_last_not_of("\r\n") + 1);
    return id;
}

std::vector<StatusEntry> TempRepository::status() const
{
    const std::string output = git({"status", "--porcelain=v1", "-z", "--untracked-files=all"});
    std::vector<StatusEntry> entries;
    // "XY path NUL", and for a rename "XY new NUL old NUL".
    for (std::size_t begin = 0; begin < output.size();) {
        const std::string field = output.c_str() + begin;
        begin += field.size() + 1;
        StatusEntry entry{field[0], field[1], field.substr(3), {}};
        if (entry.index == 'R' || entry.index == 'C') {
            entry.old_path = output.c_str() + begin;
            begin += entry.old_path.size() + 1;
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

TempRepository TempRepository::add_bare_remote(std::string_view name) const
{
    const std::string folder = fmt::format("{}.git", name);
    script(fmt::format("git init -q --bare {0}\n"
                       "git remote add {1} {0}\n",
                       shell_word("../" + folder), shell_word(name)));
    return {folder_, folder};
}

TempRepository TempRepository::clone(std::string_view name) const
{
    TempRepository made(folder_, name);
    const std::string source = win32::to_utf8(path_.filename().native());
    script(fmt::format("cd ..\n"
                       "git clone -q {0} {1}\n"
                       "git -C {1} config core.fileMode false\n",
                       shell_word(source), shell_word(name)));
    return made;
}

std::shared_ptr<git_repository> TempRepository::open() const
{
    git_repository* repository = nullptr;
    if (git_repository_open(&repository, path_text().c_str()) != 0)
        throw std::runtime_error(git_error_last()->message);
    return {repository, git_repository_free};
}

}  // namespace support
