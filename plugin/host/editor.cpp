#include "plugin/host/editor.h"

#include <array>
#include <cwchar>

namespace host {

namespace {

// The file name under which the editor knows this plug-in.
constexpr wchar_t OWN_LIBRARY[] = L"Revlane.dll";

template <typename T>
LPARAM as_lparam(T* pointer) noexcept
{
    return reinterpret_cast<LPARAM>(pointer);
}

std::wstring ask_path(HWND frame, WPARAM selector)
{
    std::array<wchar_t, MAX_PATH> path{};
    SendMessageW(frame, QM_INFO, selector, as_lparam(path.data()));
    return {path.data(), wcsnlen(path.data(), path.size())};
}

}  // namespace

std::wstring active_document_path(HWND frame)
{
    return ask_path(frame, INFO_DOCUMENT_PATH);
}

std::wstring language_path(HWND frame)
{
    return ask_path(frame, INFO_LANGUAGE_PATH);
}

void set_status_text(HWND frame, const std::wstring& text)
{
    SendMessageW(frame, QM_STATUS_TEXT, 0, as_lparam(text.c_str()));
}

void execute_command(HWND frame, WPARAM command)
{
    SendMessageW(frame, QM_EXECUTE_COMMAND, command, 0);
}

void show_help(HWND frame, const wchar_t* page)
{
    SendMessageW(frame, QM_HELP, 0, as_lparam(page));
}

std::uint32_t open_bar(HWND frame, HWND dialog, const std::wstring& title)
{
    CustomBar bar;
    bar.window = dialog;
    bar.title = title.c_str();
    return static_cast<std::uint32_t>(SendMessageW(frame, QM_CUSTOM_BAR_OPEN, 0, as_lparam(&bar)));
}

void close_bar(HWND frame, std::uint32_t bar)
{
    SendMessageW(frame, QM_CUSTOM_BAR_CLOSE, bar, 0);
}

bool send_request(HWND frame, std::uint64_t request)
{
    return send_plugin_message(frame, request, 0) >= 0;
}

std::int32_t send_plugin_message(HWND frame, std::uint64_t request, std::uint64_t payload)
{
    // Sending to no window gives 0, which would mean that somebody took the payload.
    if (!IsWindow(frame))
        return -1;
    PlugInMessage message;
    message.library = OWN_LIBRARY;
    message.request = request;
    message.payload = payload;
    return static_cast<std::int32_t>(
        SendMessageW(frame, QM_PLUGIN_MESSAGE, 0, as_lparam(&message)));
}

}  // namespace host
