#include "tests/bench/table.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace bench {

namespace {

// What holds for every row.
constexpr double MOST_STOP_MS = 50;
constexpr double MOST_MEMORY_MB = 60;

constexpr double BYTES_IN_A_MEGABYTE = 1024.0 * 1024.0;

Milliseconds median(std::vector<Milliseconds> times)
{
    if (times.empty())
        return {};
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

std::string verdict(bool reached)
{
    return reached ? "yes" : "NO";
}

std::string row_text(const Row& row, std::size_t editor_memory)
{
    std::vector<Milliseconds> times;
    Milliseconds stop{};
    std::size_t memory = 0;
    for (const Observation& run : row.revlane) {
        times.push_back(run.time);
        stop = std::max(stop, run.longest_stop);
        memory = std::max(memory, run.memory);
    }
    const Milliseconds revlane = median(times);
    const Milliseconds git = median(row.git);
    const double ratio = git.count() > 0 ? revlane / git : 0;
    const double megabytes =
        static_cast<double>(memory - std::min(memory, editor_memory)) / BYTES_IN_A_MEGABYTE;
    std::string reached;
    if (row.goal)
        reached = verdict(ratio <= *row.goal);
    if (!row.may_stop && stop.count() > MOST_STOP_MS)
        reached += reached.empty() ? "stops" : ", stops";
    if (megabytes > MOST_MEMORY_MB)
        reached += reached.empty() ? "memory" : ", memory";
    return fmt::format(
        "| {} | {:.0f} ms | `{}` {:.0f} ms | {:.2f} | {} | {} | {:.0f} ms | {:.0f} MB |\n",
        row.name, revlane.count(), row.peer, git.count(), ratio,
        row.goal ? fmt::format("{:.2f}", *row.goal) : std::string(), reached, stop.count(),
        megabytes);
}

}  // namespace

Row& Table::add(std::string name, std::string peer, std::optional<double> goal)
{
    return rows_.emplace_back(Row{std::move(name), std::move(peer), goal, false, {}, {}});
}

std::string Table::text() const
{
    std::string text = "| row | Revlane | git | ratio | goal | reached | longest stop | memory |\n"
                       "|---|---|---|---|---|---|---|---|\n";
    for (const Row& row : rows_) {
        if (!row.revlane.empty())
            text += row_text(row, memory_);
    }
    if (!walks_.empty())
        text += fmt::format("\nA bare walk through the 50,000 files takes {:.0f} ms.\n",
                            median(walks_).count());
    return text;
}

}  // namespace bench
