#include "editor/recorder.h"

#include "editor/text_file.h"
#include "win32/text.h"

#include <fmt/xchar.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

namespace quorrel {

namespace {

std::wstring format_line(const Received& received)
{
    std::wstring line = fmt::format(L"{}\t{}\t{}\t", received.message, received.wparam,
                                    static_cast<std::int32_t>(received.result));
    for (const std::byte byte : received.record)
        line += fmt::format(L"{:02x}", static_cast<unsigned>(byte));
    for (std::wstring text : received.texts) {
        // A text must not look like further fields or lines.
        std::replace_if(
            text.begin(), text.end(), [](wchar_t unit) { return unit < L' '; }, L' ');
        line += L'\t' + text;
    }
    return line + L'\n';
}

}  // namespace

Recorder::Recorder(std::filesystem::path file) : file_(std::move(file))
{
    if (!file_.empty())
        write_file(file_, {});
}

void Recorder::add(Received received)
{
    if (!file_.empty())
        std::ofstream(file_, std::ios::binary | std::ios::app)
            << win32::to_utf8(format_line(received));
    received_.push_back(std::move(received));
}

std::vector<Received> Recorder::of(UINT message) const
{
    std::vector<Received> chosen;
    std::copy_if(received_.begin(), received_.end(), std::back_inserter(chosen),
                 [message](const Received& each) { return each.message == message; });
    return chosen;
}

}  // namespace quorrel
