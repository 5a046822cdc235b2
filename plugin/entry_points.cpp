// The library's entry points: what the editor calls. Each is called on the editor's window thread;
// an exception ends here, in an error box, and never reaches the editor.
#include "plugin/my_frame.h"
#include "win32/error_box.h"

#include <windows.h>

namespace {

using revlane::MyCFrame;

template <typename Result, typename Call>
Result guarded(HWND window, Result failed, Call call) noexcept
{
    try {
        return call();
    } catch (...) {
        win32::show_current_exception(GetAncestor(window, GA_ROOTOWNER));
        return failed;
    }
}

}  // namespace

extern "C" {

void WINAPI OnCommand(HWND window)
{
    guarded(window, 0, [window] {
        if (MyCFrame* frame = MyCFrame::find(window))
            frame->OnCommand(window);
        return 0;
    });
}

// `checked` receives whether the command carries a check mark, the result whether it is enabled.
UINT WINAPI QueryStatus(HWND window, BOOL* checked)
{
    return guarded(window, 0U, [window, checked] {
        const MyCFrame* frame = MyCFrame::find(window);
        if (frame == nullptr)
            return 0U;
        if (checked != nullptr)
            *checked = frame->is_bar_open() ? TRUE : FALSE;
        return 1U;
    });
}

void WINAPI OnEvents(HWND window, UINT flags, LPARAM argument)
{
    guarded(window, 0, [=] {
        MyCFrame::dispatch_event(window, flags, argument);
        return 0;
    });
}

// Exported as GetStatusMessageID too: the plug-in has no text of either kind among its own.
UINT WINAPI GetMenuTextID()
{
    return 0;
}

UINT WINAPI GetBitmapID()
{
    return revlane::DEFAULT_BITMAP;
}

LRESULT WINAPI PlugInProc(HWND window, UINT query, WPARAM wparam, LPARAM lparam)
{
    return guarded(window, LRESULT{0},
                   [=] { return MyCFrame::dispatch_query(window, query, wparam, lparam); });
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH)
        host::set_own_module(module);
    else if (reason == DLL_PROCESS_DETACH)
        MyCFrame::forget_all();
    return TRUE;
}

}  // extern "C"
