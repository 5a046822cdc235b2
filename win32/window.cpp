#include "win32/window.h"

#include <string>
#include <utility>

namespace win32 {

bool answers_by_return_value(UINT message) noexcept
{
    switch (message) {
    case WM_INITDIALOG:
    case WM_CHARTOITEM:
    case WM_COMPAREITEM:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORMSGBOX:
    case WM_CTLCOLORSCROLLBAR:
    case WM_CTLCOLORSTATIC:
    case WM_QUERYDRAGICON:
    case WM_VKEYTOITEM:
        return true;
    default:
        return false;
    }
}

Subclass::Subclass(HWND control, Handler handler, UINT_PTR id)
    : control_(control), id_(id), handler_(std::move(handler))
{
    put_on();
}

Subclass::~Subclass()
{
    take_off();
}

void Subclass::put_on() const noexcept
{
    if (control_ != nullptr)
        SetWindowSubclass(control_, procedure, id_, reinterpret_cast<DWORD_PTR>(this));
}

void Subclass::take_off() const noexcept
{
    if (control_ != nullptr)
        RemoveWindowSubclass(control_, procedure, id_);
}

Subclass::Pause::Pause(const std::optional<Subclass>& subclass) noexcept
    : subclass_(subclass ? &*subclass : nullptr)
{
    if (subclass_ != nullptr)
        subclass_->take_off();
}

Subclass::Pause::Pause(const Subclass& subclass) noexcept : subclass_(&subclass)
{
    subclass_->take_off();
}

Subclass::Pause::~Pause()
{
    if (subclass_ != nullptr)
        subclass_->put_on();
}

LRESULT CALLBACK Subclass::procedure(HWND window, UINT id, WPARAM wparam, LPARAM lparam,
                                     UINT_PTR subclass_id, DWORD_PTR self) noexcept
{
    auto* subclass = reinterpret_cast<Subclass*>(self);
    if (id == WM_NCDESTROY) {
        RemoveWindowSubclass(window, procedure, subclass_id);
        subclass->control_ = nullptr;
    }
    try {
        if (const Handled result = subclass->handler_(Message{window, id, wparam, lparam}))
            return *result;
    } catch (...) {
        show_current_exception(window);
    }
    return DefSubclassProc(window, id, wparam, lparam);
}

std::wstring window_text(HWND window)
{
    const int length = GetWindowTextLengthW(window);
    if (length <= 0)
        return {};
    std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
    const int copied = GetWindowTextW(window, text.data(), length + 1);
    text.resize(static_cast<std::size_t>(copied));
    return text;
}

void show_window_text(HWND window, const std::wstring& text)
{
    if (window_text(window) != text)
        SetWindowTextW(window, text.c_str());
}

}  // namespace win32
