// The rows of the benchmark's table, filled run by run.
#pragma once

#include "tests/bench/watch.h"

#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace bench {

struct Row {
    std::string name;
    std::string peer;            // the command that gives the same answer
    std::optional<double> goal;  // the most that Revlane may take, as a part of the peer's time
    bool may_stop = false;       // its work belongs on the window thread
    std::vector<Observation> revlane;
    std::vector<Milliseconds> git;
};

class Table {
public:
    // `memory` is what the editor held without the plug-in.
    explicit Table(std::size_t memory) : memory_(memory) {}

    // The row stays where it is as long as the table lives.
    Row& add(std::string name, std::string peer, std::optional<double> goal);
    // The bare walk through the folder of 50,000 files.
    std::vector<Milliseconds>& walks() { return walks_; }

    // The whole table as text.
    [[nodiscard]] std::string text() const;

private:
    std::list<Row> rows_;
    std::vector<Milliseconds> walks_;
    std::size_t memory_;
};

}  // namespace bench
