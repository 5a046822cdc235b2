// The editor's plug-in interface: the messages that a plug-in sends to the editor's frame window,
// the records that go with them, the queries that the editor asks and the events that it reports.
// All numbers, record layouts and flag values are the editor's; they are sent as they stand.
// All pointers inside a record are borrowed for the length of the call.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace host {

// Messages to the editor's frame window, sent with SendMessageW on the window thread.

// wParam: a command of the editor; lParam 0. Result ignored.
inline constexpr UINT QM_EXECUTE_COMMAND = 2070;
// wParam: OpenOptions*; lParam: full path. Opens or activates a document. Result ignored.
inline constexpr UINT QM_OPEN_FILE = 2096;
// wParam 0; lParam: text for the status bar.
inline constexpr UINT QM_STATUS_TEXT = 2104;
// wParam: an InfoSelector; lParam: 0 or a buffer or text, as the selector says.
inline constexpr UINT QM_INFO = 2106;
// wParam 0; lParam: CustomBar*. Docks a dialog; the result is the bar's id (32 bits).
inline constexpr UINT QM_CUSTOM_BAR_OPEN = 2121;
// wParam: bar id; lParam 0.
inline constexpr UINT QM_CUSTOM_BAR_CLOSE = 2122;
// wParam 0; lParam: path of a help page.
inline constexpr UINT QM_HELP = 2132;
// wParam 0; lParam: ProfileWrite*. Result 0: written.
inline constexpr UINT QM_PROFILE_WRITE = 2133;
// wParam 0; lParam: ProfileRead*. Result 0: read.
inline constexpr UINT QM_PROFILE_READ = 2134;
// wParam 0; lParam: PlugInMessage*. The editor calls the named plug-in's PlugInProc with query
// QUERY_REQUEST; the result is PlugInProc's, a negative one means that nobody took the payload.
inline constexpr UINT QM_PLUGIN_MESSAGE = 2155;
// wParam: CompareRequest*; lParam 0. The result is a COMPARE_ code (32 bits), else success.
inline constexpr UINT QM_COMPARE = 2166;

// Commands of the editor for QM_EXECUTE_COMMAND.
inline constexpr WPARAM COMMAND_SHOW_TABS = 4113;       // where documents have no tabs
inline constexpr WPARAM COMMAND_FOCUS_DOCUMENT = 4409;  // hands the focus back to the text

// Selectors of QM_INFO.
inline constexpr WPARAM INFO_TABS_SHOWN = 296;     // lParam 0; whether documents have tabs
inline constexpr WPARAM INFO_DOCUMENT_PATH = 317;  // buffer of MAX_PATH units: the active document
inline constexpr WPARAM INFO_LANGUAGE_PATH = 320;  // buffer of MAX_PATH units, or left empty
inline constexpr WPARAM INFO_DPI = 356;            // lParam 0; the frame's DPI
inline constexpr WPARAM INFO_SET_TITLE = 404;      // lParam: title for the active document

// Record of QM_OPEN_FILE.
struct OpenOptions {
    std::uint32_t size = 32;
    std::uint32_t reserved = 0;
    std::uint32_t flags = 0x10303;
    std::uint32_t fixed_one = 1;
    std::uint32_t fixed_zero[3] = {};
    std::uint32_t mode = OPEN_IN_PLACE;

    static constexpr std::uint32_t OPEN_IN_PLACE = 1;    // a file of the working tree
    static constexpr std::uint32_t OPEN_TEMPORARY = 17;  // a file made for a comparison
};
static_assert(sizeof(OpenOptions) == 32 && offsetof(OpenOptions, mode) == 28);

// Record of QM_COMPARE.
struct CompareRequest {
    std::uint32_t size = 32;
    std::uint32_t flags = 0x5009B00;
    const wchar_t* left = nullptr;   // full path of the first document
    const wchar_t* right = nullptr;  // full path of the second document
    std::uint64_t fixed_zero = 0;
};
static_assert(sizeof(CompareRequest) == 32 && offsetof(CompareRequest, right) == 16);

// Results of QM_COMPARE that are failures.
inline constexpr std::uint32_t COMPARE_FAILED = 0x80004005;
inline constexpr std::uint32_t COMPARE_NO_DOCUMENT_1 = 0xA0000001;
inline constexpr std::uint32_t COMPARE_NO_DOCUMENT_2 = 0xA0000002;
inline constexpr std::uint32_t COMPARE_NO_TABS = 0xA0000009;

// Record of QM_CUSTOM_BAR_OPEN.
struct CustomBar {
    std::uint32_t size = 40;
    std::uint32_t zero_1 = 0;
    std::uint64_t zero_2 = 0;
    HWND window = nullptr;           // the dialog to dock
    const wchar_t* title = nullptr;  // copied by the editor
    std::uint32_t zero_3 = 0;
    std::uint32_t padding = 0;
};
static_assert(sizeof(CustomBar) == 40 && offsetof(CustomBar, window) == 16 &&
              offsetof(CustomBar, zero_3) == 32);

// Value types and masks of the profile records.
inline constexpr std::uint64_t PROFILE_STRING = 1;  // wide text
inline constexpr std::uint64_t PROFILE_NUMBER = 4;  // 32 bits
inline constexpr std::uint64_t PROFILE_MASK_PLUGIN = 0x7fffff30;
inline constexpr std::uint64_t PROFILE_MASK_EDITOR = 0x7fffff11;

// Record of QM_PROFILE_READ.
struct ProfileRead {
    std::uint64_t size = 64;
    std::uint64_t mask = PROFILE_MASK_PLUGIN;
    const wchar_t* section = nullptr;  // null: a value of the editor's own
    const wchar_t* name = nullptr;
    std::uint64_t type = PROFILE_NUMBER;
    void* data = nullptr;
    std::uint32_t* data_size = nullptr;  // in: the buffer's size in bytes
    std::uint64_t zero = 0;
};
static_assert(sizeof(ProfileRead) == 64 && offsetof(ProfileRead, zero) == 56);

// Record of QM_PROFILE_WRITE.
struct ProfileWrite {
    std::uint64_t size = 56;
    std::uint64_t mask = PROFILE_MASK_PLUGIN;
    const wchar_t* section = nullptr;
    const wchar_t* name = nullptr;  // null: the section itself
    std::uint64_t type = PROFILE_NUMBER;
    const void* data = nullptr;
    std::uint64_t data_size = 0;  // bytes
};
static_assert(sizeof(ProfileWrite) == 56 && offsetof(ProfileWrite, data_size) == 48);

// Record of QM_PLUGIN_MESSAGE.
struct PlugInMessage {
    std::uint32_t size = 40;
    std::uint32_t fixed_one = 1;
    const wchar_t* library = nullptr;  // file name of the plug-in's library, "Revlane.dll"
    std::uint64_t request = 0;
    std::uint64_t payload = 0;
    std::uint64_t zero = 0;
};
static_assert(sizeof(PlugInMessage) == 40 && offsetof(PlugInMessage, request) == 16 &&
              offsetof(PlugInMessage, payload) == 24);

// Query codes of PlugInProc.
inline constexpr UINT QUERY_NAME_A = 2306;          // 8-bit name into lParam, wParam characters
inline constexpr UINT QUERY_NAME_W = 2307;          // wide name
inline constexpr UINT QUERY_VERSION_A = 2308;       // an empty 8-bit text
inline constexpr UINT QUERY_VERSION_W = 2309;       // an empty wide text
inline constexpr UINT QUERY_SUPPORTED = 2310;       // 1
inline constexpr UINT QUERY_RESET_SETTINGS = 2311;  // writes the bare section
inline constexpr UINT QUERY_BITMAP = 2312;          // bitmap id for the flags in wParam
inline constexpr UINT QUERY_MASK_COLOR = 2313;      // -1 or 0
inline constexpr UINT QUERY_ALLOW_OPEN = 2314;      // 0
inline constexpr UINT QUERY_PRE_TRANSLATE = 2315;   // keyboard routing, lParam: MSG*
inline constexpr UINT QUERY_TEXT_W = 2317;          // wide name
inline constexpr UINT QUERY_TOOLTIP_W = 2318;       // wide name
inline constexpr UINT QUERY_REQUEST = 2320;         // wParam: request, lParam: payload
inline constexpr UINT QUERY_USER_MESSAGE = 2321;    // 0
// The frame dispatcher answers codes from the first to the last; all others give 0.
inline constexpr UINT QUERY_FIRST = 2304;
inline constexpr UINT QUERY_LAST = 2321;

// Events of OnEvents.
inline constexpr UINT EVENT_LOADED = 0x400;
inline constexpr UINT EVENT_UNLOADING = 0x800;
inline constexpr UINT EVENT_DOC_CHECK = 0x2000;
inline constexpr UINT EVENT_REFRESH = 0x8000;
inline constexpr UINT EVENT_FRAME_CREATED = 0x10000;
inline constexpr UINT EVENT_FRAME_CLOSED = 0x20000;
inline constexpr UINT EVENT_REFRESH_2 = 0x40000;
inline constexpr UINT EVENT_REFRESH_DEFERRED = 0x100000;
inline constexpr UINT EVENT_CUSTOM_BAR_CLOSED = 0x800000;   // argument: CustomBarClosed*
inline constexpr UINT EVENT_LANGUAGE_CHANGED = 0x10000000;  // argument bit 0: reload the texts

// What the argument of EVENT_CUSTOM_BAR_CLOSED points to: the first three fields of the editor's record.
struct CustomBarClosed {
    std::uint32_t bar_id;
    std::uint32_t reserved;
    std::uint32_t flags;  // bit 0: open the bar again at the next start
};

// Window class of the editor's frame.
inline constexpr wchar_t FRAME_CLASS[] = L"QuorrelMainFrame3";

}  // namespace host
