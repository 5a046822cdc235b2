// What the plug-in asks of the editor: one function for each message to its frame window. All are
// synchronous calls on the window thread; a frame of null or a host that answers nothing is treated
// as an answer of 0.
#pragma once

#include "plugin/host/messages.h"

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>

namespace host {

// Path of the active document as the editor gives it; empty when there is none.
std::wstring active_document_path(HWND frame);
// Path whose last component names the editor's language folder; empty when there is none.
std::wstring language_path(HWND frame);

void set_status_text(HWND frame, const std::wstring& text);
void execute_command(HWND frame, WPARAM command);
void show_help(HWND frame, const wchar_t* page);

// Docks `dialog` under `title`; the id of the bar.
std::uint32_t open_bar(HWND frame, HWND dialog, const std::wstring& title);
void close_bar(HWND frame, std::uint32_t bar);

// Sends a request to this plug-in's own frame by way of the editor. The payload belongs to the
// receiver once the editor answers with a value that is not negative; otherwise it is freed here.
bool send_request(HWND frame, std::uint64_t request);
template <typename T>
bool send_request(HWND frame, std::uint64_t request, std::unique_ptr<T> payload);

// The bare message: the editor's answer.
std::int32_t send_plugin_message(HWND frame, std::uint64_t request, std::uint64_t payload);

template <typename T>
bool send_request(HWND frame, std::uint64_t request, std::unique_ptr<T> payload)
{
    // Ownership passes before the call: the receiver frees the payload inside it.
    T* given = payload.release();
    if (send_plugin_message(frame, request, reinterpret_cast<std::uint64_t>(given)) >= 0)
        return true;
    delete given;
    return false;
}

}  // namespace host
