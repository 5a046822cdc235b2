#include "editor/plugin_messages.h"

#include "editor/frame.h"
#include "plugin/host/messages.h"

#include <fmt/xchar.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace quorrel {

namespace {

// Plug-ins use the numbers from here up to the first query.
constexpr UINT FIRST_MESSAGE = 2048;

// One message on its way to its answer.
struct Call {
    Frame& frame;
    WPARAM wparam;
    LPARAM lparam;
    Received& received;

    // A text that the message points to; empty for null.
    std::wstring text(const wchar_t* from) const
    {
        return received.texts.emplace_back(from != nullptr ? from : L"");
    }
    std::wstring text() const { return text(reinterpret_cast<const wchar_t*>(lparam)); }

    // The record at `address`; null unless it has the size that it must have.
    template <typename Record>
    const Record* record(std::uint64_t address) const
    {
        const auto* found = reinterpret_cast<const Record*>(address);
        if (found == nullptr || found->size != sizeof(Record))
            return nullptr;
        received.record.resize(sizeof(Record));
        std::memcpy(received.record.data(), found, sizeof(Record));
        return found;
    }
};

LRESULT open_file(const Call& call)
{
    const auto* options = call.record<host::OpenOptions>(call.wparam);
    const std::wstring path = call.text();
    call.received.wparam = 0;
    if (options == nullptr || path.empty())
        return FALSE;
    return call.frame.documents().open(path, options->mode == host::OpenOptions::OPEN_TEMPORARY);
}

// Writes a path into the plug-in's buffer of MAX_PATH units; a longer one leaves it as it is.
LRESULT give_path(const Call& call, const std::filesystem::path& path)
{
    auto* buffer = reinterpret_cast<wchar_t*>(call.lparam);
    if (buffer == nullptr || path.empty() || path.native().size() >= MAX_PATH)
        return FALSE;
    std::wmemcpy(buffer, path.c_str(), path.native().size() + 1);
    call.text(buffer);
    return TRUE;
}

LRESULT inform(const Call& call)
{
    switch (call.wparam) {
    case host::INFO_TABS_SHOWN:
        // Whether documents have tabs. A plug-in that is told no has them shown, which comparing
        // needs.
        return call.frame.documents().tabs_shown();
    case host::INFO_DOCUMENT_PATH:
        return give_path(call, call.frame.documents().active_path());
    case host::INFO_LANGUAGE_PATH:
        return give_path(call, call.frame.editor().language_folder());
    case host::INFO_DPI:
        return static_cast<LRESULT>(GetDpiForWindow(call.frame.window()));
    case host::INFO_SET_TITLE:
        call.frame.documents().set_title(call.text());
        return TRUE;
    default:
        return 0;
    }
}

LRESULT open_bar(const Call& call)
{
    const auto* bar = call.record<host::CustomBar>(static_cast<std::uint64_t>(call.lparam));
    if (bar == nullptr || !IsWindow(bar->window))
        return 0;
    return call.frame.dock(bar->window, call.text(bar->title));
}

DWORD write_profile(const Call& call)
{
    const auto* record = call.record<host::ProfileWrite>(static_cast<std::uint64_t>(call.lparam));
    if (record == nullptr || record->section == nullptr)
        return ERROR_INVALID_PARAMETER;
    SettingsFile& settings = call.frame.editor().settings();
    const std::wstring section = call.text(record->section);
    // Without a name the section itself is written: it has no values then.
    if (record->name == nullptr)
        return settings.clear(section) ? ERROR_SUCCESS : ERROR_WRITE_FAULT;

    const std::wstring name = call.text(record->name);
    SettingsFile::Value value;
    if (record->data == nullptr)
        return ERROR_INVALID_PARAMETER;
    if (record->type == host::PROFILE_NUMBER && record->data_size == sizeof(std::uint32_t)) {
        std::uint32_t number = 0;
        std::memcpy(&number, record->data, sizeof number);
        value = number;
        call.text(std::to_wstring(number).c_str());
    } else if (record->type == host::PROFILE_STRING && record->data_size % sizeof(wchar_t) == 0) {
        std::wstring text(record->data_size / sizeof(wchar_t), L'\0');
        std::memcpy(text.data(), record->data, record->data_size);
        text.resize(std::wcslen(text.c_str()));
        value = call.text(text.c_str());
    } else {
        return ERROR_INVALID_PARAMETER;
    }
    return settings.set(section, name, value) ? ERROR_SUCCESS : ERROR_WRITE_FAULT;
}

// Copies a value with the terminator of a text. The size tells what the buffer holds, or would need.
DWORD copy_value(const void* value, std::size_t size, const host::ProfileRead& record)
{
    const std::uint32_t capacity =
        std::exchange(*record.data_size, static_cast<std::uint32_t>(size));
    if (capacity < size)
        return ERROR_MORE_DATA;
    std::memcpy(record.data, value, size);
    return ERROR_SUCCESS;
}

DWORD read_profile(const Call& call)
{
    const auto* record = call.record<host::ProfileRead>(static_cast<std::uint64_t>(call.lparam));
    if (record == nullptr || record->name == nullptr || record->data == nullptr ||
        record->data_size == nullptr)
        return ERROR_INVALID_PARAMETER;
    const bool own = record->section == nullptr;
    if (record->mask != (own ? host::PROFILE_MASK_EDITOR : host::PROFILE_MASK_PLUGIN))
        return ERROR_INVALID_PARAMETER;
    const std::wstring section = call.text(own ? EDITOR_SECTION : record->section);
    const auto value = call.frame.editor().settings().find(section, call.text(record->name));
    if (!value)
        return ERROR_FILE_NOT_FOUND;
    if (const auto* number = std::get_if<std::uint32_t>(&*value))
        return record->type == host::PROFILE_NUMBER ? copy_value(number, sizeof *number, *record)
                                                    : ERROR_INVALID_DATATYPE;
    const auto& text = std::get<std::wstring>(*value);
    return record->type == host::PROFILE_STRING
               ? copy_value(text.c_str(), (text.size() + 1) * sizeof(wchar_t), *record)
               : ERROR_INVALID_DATATYPE;
}

LRESULT pass_to_plugin(const Call& call)
{
    constexpr LRESULT NOT_TAKEN = -1;
    const auto* record = call.record<host::PlugInMessage>(static_cast<std::uint64_t>(call.lparam));
    const PluginLibrary* plugin = call.frame.editor().plugin();
    if (record == nullptr || record->library == nullptr || plugin == nullptr ||
        !plugin->is_named(call.text(record->library).c_str()))
        return NOT_TAKEN;
    return plugin->query(call.frame.view(), host::QUERY_REQUEST, record->request,
                         static_cast<LPARAM>(record->payload));
}

LRESULT compare(const Call& call)
{
    const auto* request = call.record<host::CompareRequest>(call.wparam);
    call.received.wparam = 0;
    if (request == nullptr)
        return static_cast<LRESULT>(host::COMPARE_FAILED);
    const std::wstring left = call.text(request->left);
    const std::wstring right = call.text(request->right);
    return static_cast<LRESULT>(call.frame.documents().compare(left, right));
}

LRESULT answer(UINT message, const Call& call)
{
    switch (message) {
    case host::QM_EXECUTE_COMMAND:
        return call.frame.execute(call.wparam);
    case host::QM_OPEN_FILE:
        return open_file(call);
    case host::QM_STATUS_TEXT:
        call.frame.set_status(call.text());
        return TRUE;
    case host::QM_INFO:
        return inform(call);
    case host::QM_CUSTOM_BAR_OPEN:
        return open_bar(call);
    case host::QM_CUSTOM_BAR_CLOSE:
        call.frame.close_bar(static_cast<std::uint32_t>(call.wparam), false);
        return TRUE;
    case host::QM_HELP:
        call.frame.set_status(L"Help page: " + call.text());
        return TRUE;
    case host::QM_PROFILE_WRITE:
        return static_cast<LRESULT>(write_profile(call));
    case host::QM_PROFILE_READ:
        return static_cast<LRESULT>(read_profile(call));
    case host::QM_PLUGIN_MESSAGE:
        return pass_to_plugin(call);
    case host::QM_COMPARE:
        return compare(call);
    default:
        return 0;
    }
}

}  // namespace

win32::Handled answer_plugin_message(Frame& frame, const win32::Message& message)
{
    if (message.id < FIRST_MESSAGE || message.id >= host::QUERY_FIRST)
        return std::nullopt;
    Received received;
    received.message = message.id;
    received.wparam = message.wparam;
    received.result = answer(message.id, Call{frame, message.wparam, message.lparam, received});
    const LRESULT result = received.result;
    frame.editor().recorder().add(std::move(received));
    return result;
}

}  // namespace quorrel
