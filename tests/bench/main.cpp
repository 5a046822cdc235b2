// The benchmark: measures what a user waits for in the real panel and the real history window, in the
// stand-in editor, and git for Windows on the command line beside it.
//
//   revlane_bench.exe --repositories FOLDER [--runs N] [ROWS]
//
// git.exe on the path is the one that it is compared with, and that Revlane runs. ROWS picks groups of
// rows by a part of their names.
#include "tests/bench/rows.h"
#include "tests/support/temp_repository.h"
#include "win32/text.h"

#include <fmt/format.h>
#include <windows.h>
#include <commctrl.h>
#include <objbase.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <exception>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace {

constexpr int RUNS = 7;

struct Options {
    std::filesystem::path repositories;
    int runs = RUNS;
    std::wstring rows;
};

Options parse(int count, wchar_t** arguments)
{
    Options options;
    for (int index = 1; index < count; ++index) {
        const std::wstring_view name = arguments[index];
        if (!name.starts_with(L"--"))
            options.rows = name;
        else if (index + 1 == count)
            throw std::runtime_error("a value is missing");
        else if (name == L"--repositories")
            options.repositories = arguments[++index];
        else if (name == L"--runs")
            options.runs = static_cast<int>(std::wcstol(arguments[++index], nullptr, 10));
    }
    return options;
}

struct Group {
    const wchar_t* name;
    std::function<bench::Run(const bench::Stage&)> prepare;
};

std::vector<Group> groups()
{
    using bench::Stage;
    return {
        {L"files", bench::changed_files},
        {L"stale", bench::stale_index},
        {L"history",
         [](const Stage& stage) {
             return bench::history(stage, L"history", "no commit-graph", 1.0);
         }},
        {L"history-graph",
         [](const Stage& stage) {
             return bench::history(stage, L"history-graph", "commit-graph", 0.5);
         }},
        {L"ahead",
         [](const Stage& stage) { return bench::ahead_and_behind(stage, L"history", "near"); }},
        {L"ahead-far",
         [](const Stage& stage) { return bench::ahead_and_behind(stage, L"far", "far"); }},
        {L"ahead-graph",
         [](const Stage& stage) {
             return bench::ahead_and_behind(stage, L"history-graph", "near, commit-graph");
         }},
        {L"ahead-far-graph",
         [](const Stage& stage) {
             return bench::ahead_and_behind(stage, L"far-graph", "far, commit-graph");
         }},
        {L"panel", bench::panel_opening},
        {L"branches", bench::branches},
        {L"staging", bench::staging},
    };
}

void measure(const Options& options)
{
    support::EditorDriver driver(support::delivered_plugin());
    bench::watch_list_views();
    bench::Watch watch(driver);
    bench::Table table(bench::memory_in_use());
    const bench::Stage stage{driver, watch, table, options.repositories};
    stage.activate(stage.repository(L"small"));
    driver.open_panel();
    stage.rest();

    struct Prepared {
        const wchar_t* name;
        bench::Run run;
    };
    std::vector<Prepared> prepared;
    for (const Group& group : groups()) {
        if (std::wstring_view(group.name).find(options.rows) != std::wstring_view::npos)
            prepared.push_back({group.name, group.prepare(stage)});
    }
    // The rows take turns, so that what disturbs the machine for a while disturbs all of them.
    for (int i = 0; i < options.runs; ++i) {
        for (const Prepared& group : prepared) {
            std::fprintf(stderr, "bench: run %d of %d: %ls\n", i + 1, options.runs, group.name);
            group.run();
        }
    }
    std::fputs(table.text().c_str(), stdout);
}

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetConsoleOutputCP(CP_UTF8);
    const HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    int result = 0;
    try {
        const support::GitIsolation isolation;
        measure(parse(count, arguments));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        result = 1;
    }
    if (SUCCEEDED(com))
        CoUninitialize();
    return result;
}
