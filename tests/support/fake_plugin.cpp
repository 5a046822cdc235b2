// A plug-in for the tests of the editor: it docks a small dialog and remembers what it was told.
#include "tests/support/fake_plugin.h"

#include "plugin/host/messages.h"

#include <commctrl.h>

#include <cwchar>
#include <stdexcept>
#include <string>

namespace {

support::FakePlugin fake{};

// A dialog without controls; they are made as it opens.
struct Template {
    DLGTEMPLATE header;
    WORD menu;
    WORD window_class;
    WORD title;
};

HWND add_control(HWND dialog, const wchar_t* window_class, const wchar_t* text, DWORD style, int id,
                 const RECT& at)
{
    return CreateWindowExW(0, window_class, text, WS_CHILD | WS_VISIBLE | style, at.left, at.top,
                           at.right - at.left, at.bottom - at.top, dialog,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
}

void add_row(HWND list, const wchar_t* file, const wchar_t* status)
{
    LVITEMW item{};
    item.mask = LVIF_TEXT;
    std::wstring text = file;
    item.pszText = text.data();
    ListView_InsertItem(list, &item);
    item.iSubItem = 1;
    text = status;
    item.pszText = text.data();
    SendMessageW(list, LVM_SETITEMTEXTW, 0, reinterpret_cast<LPARAM>(&item));
}

void fill(HWND dialog)
{
    add_control(dialog, WC_STATICW, L"Repository", 0, -1, {8, 8, 200, 26});
    const HWND combo = add_control(dialog, WC_COMBOBOXW, L"", CBS_DROPDOWNLIST, support::FAKE_COMBO,
                                   {8, 30, 200, 130});
    SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"main"));
    SendMessageW(combo, CB_SETCURSEL, 0, 0);
    add_control(dialog, WC_BUTTONW, L"Commit", WS_DISABLED, support::FAKE_BUTTON, {8, 64, 100, 90});
    ShowWindow(add_control(dialog, WC_STATICW, L"Hidden", 0, -1, {110, 64, 200, 90}), SW_HIDE);
    const HWND list =
        add_control(dialog, WC_LISTVIEWW, L"", LVS_REPORT, support::FAKE_LIST, {8, 100, 300, 300});
    LVCOLUMNW column{};
    column.mask = LVCF_WIDTH;
    column.cx = 120;
    ListView_InsertColumn(list, 0, &column);
    ListView_InsertColumn(list, 1, &column);
    add_row(list, L"b.txt", L"");
    add_row(list, L"Ünï.txt", L"added");
}

INT_PTR CALLBACK dialog_procedure(HWND dialog, UINT message, WPARAM, LPARAM)
{
    if (message == WM_INITDIALOG)
        fill(dialog);
    return FALSE;
}

void open_bar(HWND view)
{
    static Template blank{};
    // As a window of its own: the editor has to make it a child.
    blank.header.style = WS_POPUP | WS_CAPTION | WS_SYSMENU;
    blank.header.cx = 100;
    blank.header.cy = 100;
    fake.dialog = CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &blank.header, view,
                                             dialog_procedure, 0);
    host::CustomBar record;
    record.window = fake.dialog;
    record.title = L"Fake panel";
    fake.bar = static_cast<std::uint32_t>(SendMessageW(GetParent(view), host::QM_CUSTOM_BAR_OPEN, 0,
                                                       reinterpret_cast<LPARAM>(&record)));
}

void on_bar_closed(const host::CustomBarClosed& closed)
{
    if (closed.bar_id != fake.bar)
        return;
    fake.bar = 0;
    if (fake.end_dialog_itself)
        DestroyWindow(fake.dialog);
}

}  // namespace

extern "C" {

__declspec(dllexport) support::FakePlugin* WINAPI fake_state()
{
    return &fake;
}

__declspec(dllexport) void WINAPI OnCommand(HWND view)
{
    if (fake.throw_on_command)
        throw std::runtime_error("the fake fails");
    if (fake.bar != 0)
        SendMessageW(GetParent(view), host::QM_CUSTOM_BAR_CLOSE, fake.bar, 0);
    else
        open_bar(view);
}

__declspec(dllexport) BOOL WINAPI QueryStatus(HWND, BOOL* checked)
{
    *checked = fake.bar != 0;
    return TRUE;
}

__declspec(dllexport) void WINAPI OnEvents(HWND view, UINT event, LPARAM argument)
{
    support::FakeCall call{};
    call.event = event;
    call.frame = GetParent(view);
    call.dialog_lives = IsWindow(fake.dialog) != FALSE;
    const auto* closed = reinterpret_cast<const host::CustomBarClosed*>(argument);
    if (event == host::EVENT_CUSTOM_BAR_CLOSED) {
        call.bar = closed->bar_id;
        call.bar_flags = closed->flags;
    }
    if (fake.call_count < fake.calls.size())
        fake.calls[fake.call_count++] = call;
    if (event == host::EVENT_CUSTOM_BAR_CLOSED)
        on_bar_closed(*closed);
}

__declspec(dllexport) UINT WINAPI GetMenuTextID()
{
    return 0;
}

__declspec(dllexport) UINT WINAPI GetStatusMessageID()
{
    return 0;
}

__declspec(dllexport) UINT WINAPI GetBitmapID()
{
    return 0;
}

__declspec(dllexport) LRESULT WINAPI PlugInProc(HWND, UINT query, WPARAM wparam, LPARAM lparam)
{
    switch (query) {
    case host::QUERY_NAME_W:
        std::wcsncpy(reinterpret_cast<wchar_t*>(lparam), L"Fake", wparam);
        return 5;
    case host::QUERY_PRE_TRANSLATE: {
        const MSG& message = *reinterpret_cast<const MSG*>(lparam);
        return message.message == WM_KEYDOWN && message.wParam == fake.swallowed_key;
    }
    case host::QUERY_REQUEST:
        fake.request = wparam;
        return lparam + 1;
    default:
        return 0;
    }
}

}  // extern "C"
