#include "tests/support/recording_host.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <string_view>

namespace support {

namespace {

constexpr wchar_t CLASS_NAME[] = L"RecordingHost";

// The editor's interface as its makers wrote it down: the numbers stand here once more, so that the
// plug-in's own do not vouch for themselves.
constexpr UINT EXECUTE_COMMAND = 2070;
constexpr UINT STATUS_TEXT = 2104;
constexpr UINT INFO = 2106;
constexpr UINT BAR_OPEN = 2121;
constexpr UINT BAR_CLOSE = 2122;
constexpr UINT HELP = 2132;
constexpr UINT PROFILE_WRITE = 2133;
constexpr UINT PROFILE_READ = 2134;
constexpr UINT PLUGIN_MESSAGE = 2155;
constexpr WPARAM DOCUMENT_PATH = 317;
constexpr WPARAM LANGUAGE_PATH = 320;
constexpr std::size_t PATH_CAPACITY = 260;
constexpr std::uint64_t TYPE_STRING = 1;

// Of the records of settings.
constexpr std::size_t SECTION = 16, NAME = 24, TYPE = 32, DATA = 40, SIZE = 48;

struct RecordForm {
    UINT message;
    std::size_t size;
    std::vector<std::size_t> texts;  // offsets of the pointers to texts
};

const RecordForm* form_of(UINT message)
{
    static const RecordForm forms[] = {
        {BAR_OPEN, 40, {24}},
        {PROFILE_WRITE, 56, {SECTION, NAME}},
        {PROFILE_READ, 64, {SECTION, NAME}},
        {PLUGIN_MESSAGE, 40, {8}},
    };
    const auto* found =
        std::find_if(std::begin(forms), std::end(forms),
                     [=](const RecordForm& form) { return form.message == message; });
    return found != std::end(forms) ? found : nullptr;
}

std::wstring text_at(const wchar_t* text)
{
    return text != nullptr ? text : L"(null)";
}

std::wstring setting_key(const HostMessage& message)
{
    const std::wstring section =
        message.at<const wchar_t*>(SECTION) != nullptr ? message.texts.at(0) : std::wstring();
    return section + L'/' + message.texts.at(1);
}

// Fills a buffer as the editor does: cut where it ends, with a terminator only where there is room.
void fill(void* buffer, std::size_t capacity, std::wstring_view text)
{
    auto* characters = static_cast<wchar_t*>(buffer);
    const std::size_t copied = std::min(text.size(), capacity);
    std::copy_n(text.data(), copied, characters);
    if (copied < capacity)
        characters[copied] = L'\0';
}

}  // namespace

RecordingHost::RecordingHost(Manner manner) : manner_(manner)
{
    WNDCLASSW description{};
    description.lpfnWndProc = win32::window_proc<RecordingHost>;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = CLASS_NAME;
    RegisterClassW(&description);
    window_ = CreateWindowExW(0, CLASS_NAME, L"", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr,
                              nullptr, description.hInstance, this);
}

RecordingHost::~RecordingHost()
{
    DestroyWindow(window_);
    UnregisterClassW(CLASS_NAME, GetModuleHandleW(nullptr));
}

std::vector<HostMessage> RecordingHost::received(UINT id) const
{
    std::vector<HostMessage> found;
    std::copy_if(received_.begin(), received_.end(), std::back_inserter(found),
                 [=](const HostMessage& message) { return message.id == id; });
    return found;
}

win32::Handled RecordingHost::handle(const win32::Message& message)
{
    switch (message.id) {
    case EXECUTE_COMMAND:
    case STATUS_TEXT:
    case INFO:
    case BAR_OPEN:
    case BAR_CLOSE:
    case HELP:
    case PROFILE_WRITE:
    case PROFILE_READ:
    case PLUGIN_MESSAGE:
        received_.push_back(record(message));
        break;
    default:
        return std::nullopt;
    }
    switch (manner_) {
    case Manner::Silent:
        return std::nullopt;
    case Manner::Refuses:
        return -1;
    default:
        return answer(message);
    }
}

HostMessage RecordingHost::record(const win32::Message& message) const
{
    HostMessage recorded{message.id, message.wparam, {}, {}};
    if (const RecordForm* form = form_of(message.id)) {
        const auto* bytes = reinterpret_cast<const std::byte*>(message.lparam);
        recorded.record.assign(bytes, bytes + form->size);
        for (const std::size_t offset : form->texts)
            recorded.texts.push_back(text_at(recorded.at<const wchar_t*>(offset)));
    } else if (message.id == STATUS_TEXT || message.id == HELP) {
        recorded.texts.push_back(text_at(reinterpret_cast<const wchar_t*>(message.lparam)));
    }
    return recorded;
}

win32::Handled RecordingHost::answer(const win32::Message& message)
{
    switch (message.id) {
    case INFO:
        if (message.wparam == DOCUMENT_PATH || message.wparam == LANGUAGE_PATH)
            fill(reinterpret_cast<void*>(message.lparam), PATH_CAPACITY,
                 message.wparam == DOCUMENT_PATH ? document_path : language_path);
        return 0;
    case BAR_OPEN:
        return static_cast<LRESULT>(bar_id);
    case PROFILE_READ:
        return read(received_.back());
    case PROFILE_WRITE:
        return write(received_.back());
    case PLUGIN_MESSAGE:
        return plugin_answer;
    default:
        return 0;
    }
}

LRESULT RecordingHost::read(const HostMessage& message) const
{
    const auto found = settings.find(setting_key(message));
    if (found == settings.end())
        return ERROR_FILE_NOT_FOUND;
    void* data = message.at<void*>(DATA);
    const auto* size = message.at<const std::uint32_t*>(SIZE);
    if (data == nullptr || size == nullptr)
        return ERROR_INVALID_DATA;
    const std::uint32_t capacity = *size;
    if (const auto* text = std::get_if<std::wstring>(&found->second)) {
        if (message.at<std::uint64_t>(TYPE) != TYPE_STRING)
            return ERROR_UNSUPPORTED_TYPE;
        fill(data, capacity / sizeof(wchar_t), *text);
        return 0;
    }
    const auto number = std::get<std::uint32_t>(found->second);
    if (message.at<std::uint64_t>(TYPE) == TYPE_STRING || capacity != sizeof number)
        return ERROR_UNSUPPORTED_TYPE;
    std::memcpy(data, &number, sizeof number);
    return 0;
}

LRESULT RecordingHost::write(const HostMessage& message)
{
    if (message.at<const wchar_t*>(NAME) == nullptr)
        return 0;
    std::uint32_t number = 0;
    if (message.at<std::uint64_t>(SIZE) != sizeof number)
        return ERROR_INVALID_DATA;
    std::memcpy(&number, message.at<const void*>(DATA), sizeof number);
    settings.insert_or_assign(setting_key(message), number);
    return 0;
}

}  // namespace support
