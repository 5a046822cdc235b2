// A frame window of an editor that keeps a record of what it is sent, byte by byte, and answers as a
// test wants it to.
#pragma once

#include "win32/window.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace support {

// A message of the plug-in to the editor, as it arrived.
struct HostMessage {
    UINT id;
    WPARAM wparam;
    std::vector<std::byte> record;  // the bytes that lParam pointed to; empty for a text or nothing

    // The little-endian number of the record at a byte offset.
    template <typename Number>
    [[nodiscard]] Number at(std::size_t offset) const
    {
        Number number{};
        const auto bytes = std::as_writable_bytes(std::span(&number, 1));
        if (offset + bytes.size() <= record.size())
            std::memcpy(bytes.data(), record.data() + offset, bytes.size());
        return number;
    }

    // The texts that the record or lParam pointed to, in their order; a null pointer gives "(null)".
    std::vector<std::wstring> texts;
};

// Lives on the thread of its test.
class RecordingHost {
public:
    enum class Manner {
        Answers,
        Refuses,  // every answer is a failure
        Silent,   // leaves every message to Windows
    };

    using Value = std::variant<std::uint32_t, std::wstring>;

    explicit RecordingHost(Manner manner = Manner::Answers);
    ~RecordingHost();
    RecordingHost(const RecordingHost&) = delete;
    RecordingHost& operator=(const RecordingHost&) = delete;

    [[nodiscard]] HWND window() const noexcept { return window_; }
    // The messages in the order of their arrival.
    [[nodiscard]] const std::vector<HostMessage>& received() const noexcept { return received_; }
    [[nodiscard]] std::vector<HostMessage> received(UINT id) const;

    // What the host knows. Settings are filed as "section/name", the editor's own as "/name".
    std::map<std::wstring, Value> settings;
    std::wstring document_path;
    std::wstring language_path;
    std::uint32_t bar_id = 1;
    LRESULT plugin_answer = 0;  // to a message for a plug-in

    // For win32::window_proc.
    win32::Handled handle(const win32::Message& message);

private:
    HostMessage record(const win32::Message& message) const;
    [[nodiscard]] win32::Handled answer(const win32::Message& message);
    [[nodiscard]] LRESULT read(const HostMessage& message) const;
    LRESULT write(const HostMessage& message);

    Manner manner_;
    HWND window_ = nullptr;
    std::vector<HostMessage> received_;
};

}  // namespace support
