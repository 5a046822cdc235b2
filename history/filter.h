// What the user chose to see of the history.
#pragma once

#include <cstdint>
#include <string>

namespace revlane {

struct Filter {
    enum class Kind : std::uint32_t { Message = 0, Author = 1, CommitId = 2, Tag = 3 };

    struct State {
        std::wstring text;  // as typed; empty: no filter
        Kind kind = Kind::Message;
    };
};

}  // namespace revlane
