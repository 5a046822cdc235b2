// git.exe for Wine. A Windows process under Wine can start a program of the machine itself, but its
// pipes do not reach that program. This small Winelib program stands between the two: it starts the
// machine's git, hands over arguments, environment and current directory, copies what git writes to
// its own standard handles as it comes, and ends with git's exit code.
//
// It behaves as git on Windows does towards whoever starts it:
//  - The arguments are what Windows' own rules make of the command line, passed on in UTF-8 and
//    otherwise untouched. A path in an argument stays as it is, so a drive letter means nothing to
//    git: callers name paths relative to the current directory.
//  - The environment is the one that the Windows process was given. Variables of git that hold a
//    path may hold a Windows path; these are translated.
//  - It ends when git ends, even if something that git has started still holds the output.
//  - Ending it (TerminateProcess) ends git and everything that git has started.
//  - git has no standard input and no terminal, so it can never wait for someone to type.
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <windows.h>

// An entry of Wine's kernel32 that no header declares: the machine's path of a Windows path, to be
// freed on the process heap.
char *CDECL wine_get_unix_file_name(LPCWSTR path);

extern char **environ;

// Text of Windows is not of the C library's wide character type here.
static size_t length_of(const WCHAR *text)
{
    return (size_t)lstrlenW(text);
}

static WCHAR upper(WCHAR character)
{
    return character >= 'a' && character <= 'z' ? (WCHAR)(character - 'a' + 'A') : character;
}

static char *to_utf8(const WCHAR *text, int length)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, length, NULL, 0, NULL, NULL);
    char *result = malloc((size_t)size + 1);
    WideCharToMultiByte(CP_UTF8, 0, text, length, result, size, NULL, NULL);
    result[size] = 0;
    return result;
}

// Splits the command line as the run-time library of a Windows program does: after the program's
// name, 2n backslashes and a quote are n backslashes and a switch of quoting, 2n+1 backslashes and
// a quote are n backslashes and a quote, and a doubled quote within quotes is one quote.
static char **arguments(void)
{
    const WCHAR *from = GetCommandLineW();
    WCHAR *word = malloc((length_of(from) + 1) * sizeof(WCHAR));
    char **result = malloc((length_of(from) + 2) * sizeof(char *));
    int count = 0;

    // The program's own name knows no backslash rule.
    for (BOOL quoted = FALSE; *from && (quoted || (*from != ' ' && *from != '\t')); ++from)
        if (*from == '"')
            quoted = !quoted;
    result[count++] = strdup("git");

    for (;;) {
        while (*from == ' ' || *from == '\t')
            ++from;
        if (!*from)
            break;
        int length = 0;
        BOOL quoted = FALSE;
        while (*from && (quoted || (*from != ' ' && *from != '\t'))) {
            int backslashes = 0;
            for (; *from == '\\'; ++from)
                ++backslashes;
            if (*from != '"') {
                while (backslashes-- > 0)
                    word[length++] = '\\';
                if (*from && (quoted || (*from != ' ' && *from != '\t')))
                    word[length++] = *from++;
                continue;
            }
            for (int i = 0; i < backslashes / 2; ++i)
                word[length++] = '\\';
            ++from;
            if (backslashes % 2 != 0) {
                word[length++] = '"';
            } else if (quoted && *from == '"') {
                word[length++] = '"';
                ++from;
            } else {
                quoted = !quoted;
            }
        }
        result[count++] = to_utf8(word, length);
    }
    result[count] = NULL;
    free(word);
    return result;
}

static BOOL is_name(const WCHAR *entry, size_t length, const char *name)
{
    if (length != strlen(name))
        return FALSE;
    for (size_t i = 0; i < length; ++i)
        if (upper(entry[i]) != (unsigned char)name[i])
            return FALSE;
    return TRUE;
}

static BOOL is_any_name(const WCHAR *entry, size_t length, const char *const *names)
{
    for (; *names; ++names)
        if (is_name(entry, length, *names))
            return TRUE;
    return FALSE;
}

// The machine's path for "C:\..." or "C:/..."; null for anything else.
static char *unix_path(const WCHAR *value)
{
    const WCHAR drive = upper(value[0]);
    if (drive < 'A' || drive > 'Z' || value[1] != ':' || (value[2] != '\\' && value[2] != '/'))
        return NULL;
    char *path = wine_get_unix_file_name(value);
    if (!path)
        return NULL;
    char *result = strdup(path);
    HeapFree(GetProcessHeap(), 0, path);
    return result;
}

static char *assignment(const char *name, const char *value)
{
    char *result = malloc(strlen(name) + strlen(value) + 2);
    strcpy(result, name);
    strcat(result, "=");
    strcat(result, value);
    return result;
}

static char **environment(void)
{
    // Windows' value of these, or none, is of no use to a program of the machine.
    static const char *const machine_names[] = {"PATH", "TEMP", "TMP", "PWD", NULL};
    static const char *const path_names[] = {
        "HOME", "XDG_CONFIG_HOME", "GIT_DIR", "GIT_WORK_TREE", "GIT_COMMON_DIR", "GIT_INDEX_FILE",
        "GIT_OBJECT_DIRECTORY", "GIT_CONFIG", "GIT_CONFIG_GLOBAL", "GIT_CONFIG_SYSTEM",
        "GIT_CEILING_DIRECTORIES", "GIT_TEMPLATE_DIR", "GIT_ASKPASS", "SSH_ASKPASS", "GIT_TRACE",
        NULL};

    WCHAR *block = GetEnvironmentStringsW();
    size_t entries = 0;
    for (const WCHAR *entry = block; *entry; entry += length_of(entry) + 1)
        ++entries;
    char **result = malloc((entries + 8) * sizeof(char *));
    size_t count = 0;
    BOOL has_home = FALSE;
    for (const WCHAR *entry = block; *entry; entry += length_of(entry) + 1) {
        const WCHAR *equals = entry + 1;
        while (*equals && *equals != '=')
            ++equals;
        // Names that begin with "=" hold the current directory of each drive.
        if (*entry == '=' || !*equals)
            continue;
        const size_t length = (size_t)(equals - entry);
        if (is_any_name(entry, length, machine_names))
            continue;
        has_home = has_home || is_name(entry, length, "HOME");
        char *path = is_any_name(entry, length, path_names) ? unix_path(equals + 1) : NULL;
        if (path) {
            char *name = to_utf8(entry, (int)length);
            result[count++] = assignment(name, path);
            free(name);
            free(path);
        } else {
            result[count++] = to_utf8(entry, (int)length_of(entry));
        }
    }
    FreeEnvironmentStringsW(block);

    for (const char *const *name = machine_names; *name; ++name)
        if (getenv(*name))
            result[count++] = assignment(*name, getenv(*name));
    if (!has_home && getenv("HOME"))
        result[count++] = assignment("HOME", getenv("HOME"));
    result[count] = NULL;
    return result;
}

// One of git's two outputs, copied by a thread of its own, so that a reader who takes one of them
// first never holds up the other.
struct copy {
    int from;
    HANDLE to;
    int git_ended;  // reads as closed from the moment when git itself has ended
};

static BOOL write_all(HANDLE to, const char *data, DWORD size)
{
    while (size > 0) {
        DWORD written = 0;
        if (!WriteFile(to, data, size, &written, NULL) || written == 0)
            return FALSE;
        data += written;
        size -= written;
    }
    return TRUE;
}

static DWORD WINAPI copy_output(void *parameter)
{
    struct copy *copy = parameter;
    static const int block = 65536;
    char *buffer = malloc((size_t)block);
    for (;;) {
        struct pollfd waits[2] = {{copy->from, POLLIN, 0}, {copy->git_ended, POLLIN, 0}};
        if (poll(waits, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            break;
        }
        if (!waits[0].revents)
            break;  // git has ended and nothing of its output is left
        const ssize_t size = read(copy->from, buffer, (size_t)block);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            break;
        // Nobody reads any more: git must find its pipe closed, as it would have without us.
        if (!write_all(copy->to, buffer, (DWORD)size))
            break;
    }
    close(copy->from);
    free(buffer);
    return 0;
}

static void close_all_but(int kept)
{
#ifdef SYS_close_range
    if ((kept == 0 || syscall(SYS_close_range, 0u, (unsigned)kept - 1, 0u) == 0) &&
        syscall(SYS_close_range, (unsigned)kept + 1, ~0u, 0u) == 0)
        return;
#endif
    struct rlimit limit;
    const int count = getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < 1048576
                          ? (int)limit.rlim_cur
                          : 1048576;
    for (int file = 0; file < count; ++file)
        if (file != kept)
            close(file);
}

// Runs in a process of its own, which outlives a killed bridge by a moment: the bridge holds the
// other end of `leash`, so the end of the file means that it is gone, and then git and its children
// have to go too. A byte instead says that git has ended by itself.
static void watch_leash(int leash, pid_t group)
{
    char byte;
    ssize_t size;
    // Not one file of the bridge may stay open here: they are what its death is noticed by.
    close_all_but(leash);
    do
        size = read(leash, &byte, 1);
    while (size < 0 && errno == EINTR);
    if (size == 0)
        kill(-group, SIGKILL);
    _exit(0);
}

static void reset_signals(void)
{
    // Wine ignores and blocks signals, and a new program would inherit that.
    struct sigaction action = {0};
    action.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number)
        sigaction(number, &action, NULL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, NULL);
}

static int fail(const char *what)
{
    const char *parts[] = {"git bridge: ", what, ": ", strerror(errno), "\n"};
    for (size_t i = 0; i < sizeof(parts) / sizeof(parts[0]); ++i)
        write_all(GetStdHandle(STD_ERROR_HANDLE), parts[i], (DWORD)strlen(parts[i]));
    return 127;
}

int main(void)
{
    char **argv = arguments();
    char **envp = environment();

    int out[2], err[2], ended[2], leash[2];
    if (pipe2(out, O_CLOEXEC) || pipe2(err, O_CLOEXEC) || pipe2(ended, O_CLOEXEC) ||
        pipe2(leash, O_CLOEXEC))
        return fail("pipe");
    const pid_t self = getpid();
    const pid_t git = fork();
    if (git < 0)
        return fail("fork");
    if (git == 0) {
        // A session of its own: one group to end, and no terminal to ask a password from.
        setsid();
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != self)
            _exit(127);
        reset_signals();
        dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        environ = envp;
        execvp("git", argv);
        _exit(127);
    }
    const pid_t watcher = fork();
    if (watcher == 0)
        watch_leash(leash[0], git);
    close(out[1]);
    close(err[1]);
    close(leash[0]);

    struct copy copies[2] = {{out[0], GetStdHandle(STD_OUTPUT_HANDLE), ended[0]},
                             {err[0], GetStdHandle(STD_ERROR_HANDLE), ended[0]}};
    HANDLE threads[2];
    for (int i = 0; i < 2; ++i)
        threads[i] = CreateThread(NULL, 0, copy_output, &copies[i], 0, NULL);

    int status = 0;
    while (waitpid(git, &status, 0) < 0 && errno == EINTR)
        ;
    if (write(leash[1], "", 1) == 1 && watcher > 0)
        while (waitpid(watcher, NULL, 0) < 0 && errno == EINTR)
            ;
    close(ended[1]);
    WaitForMultipleObjects(2, threads, TRUE, INFINITE);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
