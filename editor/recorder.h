// A record of what the plug-in has asked of the editor, for programs that drive the editor.
#pragma once

#include <windows.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace quorrel {

// One message from the plug-in to a frame, as it was answered.
struct Received {
    UINT message = 0;
    WPARAM wparam = 0;  // 0 where it was a pointer
    LRESULT result = 0;
    std::vector<std::byte> record;    // the bytes of the message's record, where it has one
    std::vector<std::wstring> texts;  // the texts that the message or its record pointed to
};

// Keeps every message in the order in which they were answered and, when a file is given, appends
// each to it as one UTF-8 line of fields between tabs: number, wParam, result, record in hexadecimal
// digits, texts. Window thread.
class Recorder {
public:
    // An empty path: no file. An existing file is begun anew.
    explicit Recorder(std::filesystem::path file);

    void add(Received received);
    [[nodiscard]] const std::vector<Received>& all() const noexcept { return received_; }
    [[nodiscard]] std::vector<Received> of(UINT message) const;
    void clear() noexcept { received_.clear(); }

private:
    std::filesystem::path file_;
    std::vector<Received> received_;
};

}  // namespace quorrel
