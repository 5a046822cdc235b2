#include "win32/clipboard.h"

#include "win32/handle.h"

#include <algorithm>

namespace win32 {

namespace {

using GlobalMemory = UniqueHandle<HGLOBAL, ::GlobalFree>;

}  // namespace

bool set_clipboard_text(HWND owner, std::wstring_view text) noexcept
{
    GlobalMemory memory(
        GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, (text.size() + 1) * sizeof(wchar_t)));
    if (!memory)
        return false;
    auto* place = static_cast<wchar_t*>(GlobalLock(memory.get()));
    if (place == nullptr)
        return false;
    std::copy(text.begin(), text.end(), place);
    GlobalUnlock(memory.get());
    if (!OpenClipboard(owner))
        return false;
    // The clipboard owns the memory from a successful call on.
    const bool given =
        EmptyClipboard() && SetClipboardData(CF_UNICODETEXT, memory.get()) != nullptr;
    if (given)
        (void)memory.release();
    CloseClipboard();
    return given;
}

}  // namespace win32
