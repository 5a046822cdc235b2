// Window, dialog and subclass procedures: one of each kind, which find the object behind a window
// and call its `handle`. An exception that escapes from `handle` is shown in an error box at this
// boundary and the message gets its default handling. Everything runs on the window's thread.
#pragma once

#include "win32/error_box.h"

#include <windows.h>
#include <commctrl.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace win32 {

struct Message {
    HWND window;
    UINT id;
    WPARAM wparam;
    LPARAM lparam;
};

// What `handle` returns: the message's result, or nothing for the default handling.
using Handled = std::optional<LRESULT>;

// Whether a dialog procedure answers this message by its return value; every other message is
// answered through DWLP_MSGRESULT.
bool answers_by_return_value(UINT message) noexcept;

// Hands a dialog's message to its object and returns the dialog procedure's answer. The object may be
// gone when its `handle` returns.
template <typename T>
INT_PTR answer_dialog_message(T& object, const Message& message) noexcept
{
    try {
        const Handled result = object.handle(message);
        if (!result)
            return FALSE;
        if (answers_by_return_value(message.id))
            return static_cast<INT_PTR>(*result);
        SetWindowLongPtrW(message.window, DWLP_MSGRESULT, *result);
        return TRUE;
    } catch (...) {
        show_current_exception(message.window);
        return FALSE;
    }
}

// Dialog procedure of an object that exists before its dialog and outlives it. The object arrives
// as the creation parameter (lParam of WM_INITDIALOG: a T*), is kept in DWLP_USER and is forgotten
// at WM_NCDESTROY. T has `Handled handle(const Message&)`, which sees WM_INITDIALOG as its first
// message; messages before it get their default handling.
template <typename T>
INT_PTR CALLBACK dialog_proc(HWND window, UINT id, WPARAM wparam, LPARAM lparam) noexcept
{
    if (id == WM_INITDIALOG)
        SetWindowLongPtrW(window, DWLP_USER, lparam);
    auto* object = reinterpret_cast<T*>(GetWindowLongPtrW(window, DWLP_USER));
    if (object == nullptr)
        return FALSE;
    if (id == WM_NCDESTROY)
        SetWindowLongPtrW(window, DWLP_USER, 0);
    return answer_dialog_message(*object, Message{window, id, wparam, lparam});
}

// Dialog procedure of an object that lives exactly as long as its modeless dialog: made at
// WM_INITDIALOG as T(const Parameter&) from the creation parameter (a Parameter*, borrowed), and
// destroyed once its `handle` has seen WM_NCDESTROY. An object that cannot be made ends the dialog.
template <typename T, typename Parameter>
INT_PTR CALLBACK owning_dialog_proc(HWND window, UINT id, WPARAM wparam, LPARAM lparam) noexcept
{
    if (id == WM_INITDIALOG) {
        try {
            auto made = std::make_unique<T>(*reinterpret_cast<const Parameter*>(lparam));
            SetWindowLongPtrW(window, DWLP_USER, reinterpret_cast<LONG_PTR>(made.release()));
        } catch (...) {
            show_current_exception(window);
            DestroyWindow(window);
            return FALSE;
        }
    }
    auto* object = reinterpret_cast<T*>(GetWindowLongPtrW(window, DWLP_USER));
    if (object == nullptr)
        return FALSE;
    const Message message{window, id, wparam, lparam};
    if (id != WM_NCDESTROY)
        return answer_dialog_message(*object, message);
    SetWindowLongPtrW(window, DWLP_USER, 0);
    const std::unique_ptr<T> ended(object);
    return answer_dialog_message(*ended, message);
}

// Window procedure of an object that is handed to CreateWindowExW as the creation parameter (a T*),
// kept in GWLP_USERDATA from WM_NCCREATE to WM_NCDESTROY.
template <typename T>
LRESULT CALLBACK window_proc(HWND window, UINT id, WPARAM wparam, LPARAM lparam) noexcept
{
    if (id == WM_NCCREATE)
        SetWindowLongPtrW(
            window, GWLP_USERDATA,
            reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lparam)->lpCreateParams));
    auto* object = reinterpret_cast<T*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (object == nullptr)
        return DefWindowProcW(window, id, wparam, lparam);
    if (id == WM_NCDESTROY)
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    try {
        if (const Handled result = object->handle(Message{window, id, wparam, lparam}))
            return *result;
    } catch (...) {
        show_current_exception(window);
    }
    return DefWindowProcW(window, id, wparam, lparam);
}

// Subclasses a control for as long as the object lives or until the control is destroyed, whichever
// comes first. The handler sees every message before the control does; nothing means the control's
// own handling. The handler must not destroy the Subclass it belongs to.
class Subclass {
public:
    using Handler = std::function<Handled(const Message&)>;

    // `id` tells subclasses of one control apart that share this procedure.
    Subclass(HWND control, Handler handler, UINT_PTR id = 0);
    ~Subclass();
    Subclass(const Subclass&) = delete;
    Subclass& operator=(const Subclass&) = delete;

    // Null once the control is gone.
    [[nodiscard]] HWND control() const noexcept { return control_; }

    // Takes the subclass off its control for as long as the object lives, to send the control messages
    // by the thousand in which the handler has no say: the common controls look a property of the
    // window up for each message and each subclass, which costs more than most messages themselves.
    // The subclass must outlive it; without one it does nothing.
    class Pause {
    public:
        explicit Pause(const std::optional<Subclass>& subclass) noexcept;
        explicit Pause(const Subclass& subclass) noexcept;
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

    private:
        const Subclass* subclass_;
    };

private:
    void put_on() const noexcept;
    void take_off() const noexcept;
    static LRESULT CALLBACK procedure(HWND, UINT, WPARAM, LPARAM, UINT_PTR, DWORD_PTR) noexcept;

    HWND control_;
    UINT_PTR id_;
    Handler handler_;
};

// The whole text of a window or control.
std::wstring window_text(HWND window);
// Gives a window a text; one that stands there already is left alone, since setting it would flicker and
// scroll.
void show_window_text(HWND window, const std::wstring& text);

}  // namespace win32
