#include "git/objects.h"

#include "git/references.h"
#include "tests/support/temp_repository.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <gsl/narrow>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <limits>
#include <map>
#include <random>

namespace {

using support::TempRepository;

git_oid oid_of(const std::string& text)
{
    git_oid id{};
    EXPECT_EQ(git_oid_fromstr(&id, text.c_str()), 0) << text;
    return id;
}

std::string text_of(const git_oid& id)
{
    return win32::to_utf8(git::oid_to_text(id));
}

git::Tree head_tree(const TempRepository& repository, git_repository* handle)
{
    const auto commit = git::lookup_commit(handle, oid_of(repository.id_of("HEAD")));
    EXPECT_TRUE(commit);
    auto tree = git::commit_tree(commit->get());
    EXPECT_TRUE(tree);
    return std::move(*tree);
}

// Of what was read, whatever id the blob has.
git_oid hash_of(git_blob* blob)
{
    const auto bytes = git::blob_bytes(blob);
    git_oid hash{};
    EXPECT_EQ(git_odb_hash(&hash, bytes.data(), bytes.size(), GIT_OBJECT_BLOB), 0);
    return hash;
}

// The parts of a text that end with NUL each.
std::vector<std::string> fields_of(const std::string& text)
{
    std::vector<std::string> fields;
    for (std::size_t begin = 0; begin < text.size(); begin += fields.back().size() + 1)
        fields.emplace_back(text.c_str() + begin);
    return fields;
}

// Files whose names no Windows folder could hold, and contents that text handling would change.
// Made without a working tree: `git ls-tree` and libgit2 both read them from the tree.
void import_awkward_files(const TempRepository& repository)
{
    using namespace std::string_literals;
    const std::pair<const char*, std::string> files[] = {
        {"plain.txt", "line\n"},         {"empty", ""},
        {"no line end", "last"},         {R"(with \"quotes\")", "quoted\n"},
        {"glob[a-z]*?.txt", "glob"},     {"new\\nline", "x"},
        {"back\\\\slash", "y"},          {"größe/文件/🙂.txt", "unicode"},
        {"not utf-8 \\377", "byte"},     {"a/b/c/d/e/f/g/h/i/j/k/l/m/n/o/p/deep", "deep"},
        {"binary", "\0\r\n\x1a\xff\0"s}, {"crlf", "one\r\ntwo\r\n"},
    };
    std::string stream =
        "commit refs/heads/main\ncommitter A <a@example.invalid> 1709294400 +0000\n"
        "data 0\n";
    for (const auto& [name, bytes] : files)
        stream += fmt::format("M 100644 inline \"{}\"\ndata {}\n{}\n", name, bytes.size(), bytes);
    stream += "M 120000 inline link\ndata 5\nplain\n"
              "M 160000 1111111111111111111111111111111111111111 module\n";
    repository.fast_import(stream);
}

TEST(Objects, EveryFileOfATreeIsReadAsGitStoredIt)
{
    const TempRepository repository;
    import_awkward_files(repository);
    const auto handle = repository.open();
    const git::Tree tree = head_tree(repository, handle.get());

    int blobs = 0;
    for (const std::string& line : fields_of(repository.git({"ls-tree", "-r", "-z", "HEAD"}))) {
        SCOPED_TRACE(line);
        // "mode type id TAB path"
        const std::string path = line.substr(line.find('\t') + 1);
        const std::string id = line.substr(line.find('\t') - 40, 40);
        const auto blob = git::blob_at_path(tree.get(), win32::to_wide(path));
        if (line.find(" commit ") != std::string::npos) {
            ASSERT_FALSE(blob);
            EXPECT_EQ(git::to_utf8(blob.error()), "not a blob");
            continue;
        }
        // A name that is not UTF-8 cannot be carried by UTF-16: it is not found, and that is all.
        if (path.find('\xff') != std::string::npos) {
            EXPECT_FALSE(blob);
            continue;
        }
        ASSERT_TRUE(blob) << git::to_utf8(blob.error());
        EXPECT_EQ(text_of(hash_of(blob->get())), id);
        EXPECT_EQ(text_of(*git_blob_id(blob->get())), id);
        ++blobs;
    }
    EXPECT_EQ(blobs, 12);

    for (const wchar_t* folder : {L"a", L"a/b/c", L"größe/文件"}) {
        const auto blob = git::blob_at_path(tree.get(), folder);
        ASSERT_FALSE(blob);
        EXPECT_EQ(git::to_utf8(blob.error()), "not a blob");
    }
    for (const wchar_t* missing : {L"missing", L"plain.txt/inside", L"glob*", L"PLAIN.TXT"}) {
        const auto blob = git::blob_at_path(tree.get(), missing);
        ASSERT_FALSE(blob);
        EXPECT_EQ(blob.error().text()->index(), 2U) << "the message is libgit2's";
    }
}

// Some 24 MB that cannot be compressed: files longer than a piece of a pack that is held in memory, one
// that differs from another by a byte, and smaller ones, of which some lie across the end of a piece.
void import_large_files(const TempRepository& repository)
{
    std::mt19937 random;
    const auto noise = [&random](std::size_t size) {
        std::string bytes(size, '\0');
        std::generate(bytes.begin(), bytes.end(),
                      [&random] { return static_cast<char>(random()); });
        return bytes;
    };
    std::vector<std::string> files = {noise(5'000'000)};
    files.push_back(files.front());
    files.back()[2'500'000] ^= 1;
    while (files.size() < 30)
        files.push_back(noise(700'000));
    std::string stream =
        "commit refs/heads/main\ncommitter A <a@example.invalid> 1709294400 +0000\n"
        "data 0\n";
    for (std::size_t i = 0; i < files.size(); ++i)
        stream += fmt::format("M 100644 inline {}\ndata {}\n{}\n", i, files[i].size(), files[i]);
    repository.fast_import(stream);
    repository.git({"repack", "-a", "-d", "-q"});
}

TEST(Objects, FilesAreReadAcrossTheEndsOfWhatIsHeldOfAPack)
{
    const TempRepository repository;
    import_large_files(repository);
    const auto handle = repository.open();
    const git::Tree tree = head_tree(repository, handle.get());
    const std::vector<git::NamedEntry> entries = git::tree_entries(tree.get());
    EXPECT_EQ(entries.size(), 30U);
    for (const git::NamedEntry& entry : entries) {
        const auto blob = git::blob_at_path(tree.get(), win32::to_wide(entry.name));
        ASSERT_TRUE(blob) << entry.name << ": " << git::to_utf8(blob.error());
        EXPECT_EQ(text_of(hash_of(blob->get())), text_of(entry.id)) << entry.name;
    }
}

TEST(Objects, TreeEntriesAreWhatLsTreeLists)
{
    const TempRepository repository;
    import_awkward_files(repository);
    const auto handle = repository.open();
    const git::Tree tree = head_tree(repository, handle.get());
    const std::map<git_object_t, std::string> modes = {
        {GIT_OBJECT_BLOB, "blob"}, {GIT_OBJECT_TREE, "tree"}, {GIT_OBJECT_COMMIT, "commit"}};
    std::vector<std::string> found;
    for (const git::NamedEntry& entry : git::tree_entries(tree.get()))
        found.push_back(modes.at(entry.kind) + " " + text_of(entry.id) + "\t" + entry.name);
    std::vector<std::string> expected = fields_of(repository.git({"ls-tree", "-z", "HEAD"}));
    for (std::string& line : expected)
        line.erase(0, line.find(' ') + 1);
    EXPECT_EQ(found, expected);
}

TEST(Objects, LookupsFailWithTheMessageOfLibgit2)
{
    const TempRepository repository;
    repository.write_file("file", "one");
    const std::string commit = repository.commit_all("one");
    const std::string blob = repository.id_of("HEAD:file");
    const auto handle = repository.open();
    const std::string missing(40, '7');
    EXPECT_TRUE(git::lookup_commit(handle.get(), oid_of(commit)));
    EXPECT_TRUE(git::lookup_blob(handle.get(), oid_of(blob)));
    // An object of another kind does not pass for what was asked for.
    for (const std::string& id : {blob, missing}) {
        const auto found = git::lookup_commit(handle.get(), oid_of(id));
        ASSERT_FALSE(found);
        EXPECT_EQ(found.error().text()->index(), 2U);
    }
    for (const std::string& id : {commit, missing})
        EXPECT_FALSE(git::lookup_blob(handle.get(), oid_of(id)));

    // The tree names the file, but its object is gone.
    repository.remove(fmt::format(".git/objects/{}/{}", blob.substr(0, 2), blob.substr(2)));
    const auto damaged = repository.open();
    const auto lost = git::blob_at_path(head_tree(repository, damaged.get()).get(), L"file");
    ASSERT_FALSE(lost);
    EXPECT_NE(git::to_utf8(lost.error()).find(blob), std::string::npos);
}

TEST(Objects, CommitRowsSayWhatGitLogSays)
{
    const TempRepository repository;
    repository.script(R"(
        printf 'Größe 日本 🙂\n\nbody\n' >../message
        commit 'the root'
        git commit -q --allow-empty -F ../message
        commit 'a subject
of two lines

and a body' --author='Jürgen "Ü" Ö <j@example.invalid>'
        git commit -q --allow-empty --allow-empty-message -m ''
        git checkout -q -b left; commit left
        git checkout -q -b right main; commit right
        git checkout -q main; commit 'before the merge'
        tree=$(git rev-parse 'HEAD^{tree}')
        octopus=$(git commit-tree -p main -p left -p right -m 'three parents' "$tree")
        git update-ref refs/heads/main "$octopus"
        # Spaces and empty lines that only a program writes.
        id=$(printf 'tree %s\nparent %s\nauthor  <> 0 +0000\ncommitter C <c> 1 +0000\n\n\n  spaced  \n' \
            "$tree" "$octopus" | git hash-object --literally -t commit -w --stdin)
        git update-ref refs/heads/main "$id"
        rm ../message
    )");
    // A unit separator cannot be part of any of the texts.
    const std::string log = repository.git({"log", "-z", "--format=%H%x1f%s%x1f%an%x1f%P", "main"});
    const auto handle = repository.open();
    int commits = 0;
    for (const std::string& line : fields_of(log)) {
        SCOPED_TRACE(line);
        const auto commit = git::lookup_commit(handle.get(), oid_of(line.substr(0, 40)));
        ASSERT_TRUE(commit);
        const git::CommitRow row = git::commit_row(commit->get());
        std::string parents;
        for (const git_oid& id : git::commit_parents(commit->get()))
            parents += (parents.empty() ? "" : " ") + text_of(id);
        EXPECT_EQ(fmt::format("{}\x1f{}\x1f{}\x1f{}", win32::to_utf8(row.id_text),
                              win32::to_utf8(row.summary), win32::to_utf8(row.author), parents),
                  line);
        EXPECT_EQ(git_oid_cmp(&row.id, git_commit_id(commit->get())), 0);
        EXPECT_EQ(row.date, git::time_text(git_commit_time(commit->get())));
        ++commits;
    }
    EXPECT_EQ(commits, 9);
}

// What Windows shows for a time that is given in parts.
std::wstring shown(const SYSTEMTIME& universal)
{
    SYSTEMTIME local{};
    SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local);
    wchar_t date[100];
    wchar_t time[100];
    GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &local, nullptr, date, 100, nullptr);
    GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, TIME_NOSECONDS, &local, nullptr, time, 100);
    return std::wstring(date) + L" " + time;
}

TEST(Objects, TimesAreShownAsWindowsShowsThem)
{
    struct Case {
        git_time_t seconds;
        SYSTEMTIME universal;  // year, month, day of week (ignored), day, hour, minute, second
    };
    for (const Case& expected : {
             Case{0, {1970, 1, 0, 1, 0, 0, 0, 0}},
             Case{1234567890, {2009, 2, 0, 13, 23, 31, 30, 0}},
             Case{1709164800, {2024, 2, 0, 29, 0, 0, 0, 0}},
             Case{-1, {1969, 12, 0, 31, 23, 59, 59, 0}},
             // Past 32 bits.
             Case{4294967296, {2106, 2, 0, 7, 6, 28, 16, 0}},
             // Two days after Windows' time begins, wherever the machine stands.
             Case{-11644473600 + 172800, {1601, 1, 0, 3, 0, 0, 0, 0}},
         })
        EXPECT_EQ(git::time_text(expected.seconds), shown(expected.universal)) << expected.seconds;

    constexpr git_time_t first = -11644473600;
    EXPECT_NO_THROW(git::time_text(first));
    EXPECT_THROW(git::time_text(first - 1), gsl::narrowing_error);
    EXPECT_THROW(git::time_text(std::numeric_limits<git_time_t>::min()), gsl::narrowing_error);
    // Windows' time ends in the year 30828; what lies further must not come round to an early date.
    constexpr git_time_t end = std::numeric_limits<git_time_t>::max() / 10'000'000 + first;
    for (const git_time_t late :
         {end + 1, end * 2 + 11644473600 + 5, end * 3, std::numeric_limits<git_time_t>::max()})
        EXPECT_EQ(git::time_text(late), L"") << late;
}

}  // namespace
