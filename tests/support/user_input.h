// What a user holds: a key, and the clipboard.
#pragma once

#include <windows.h>

#include <array>
#include <string>

namespace support {

// Holds the Ctrl key down for this thread.
class ControlKey {
public:
    ControlKey() { set(PRESSED); }
    ~ControlKey() { set(0); }
    ControlKey(const ControlKey&) = delete;
    ControlKey& operator=(const ControlKey&) = delete;

private:
    static constexpr BYTE PRESSED = 0x80;

    static void set(BYTE state)
    {
        std::array<BYTE, 256> keys{};
        keys[VK_CONTROL] = state;
        SetKeyboardState(keys.data());
    }
};

inline std::wstring clipboard_text()
{
    if (!OpenClipboard(nullptr))
        return L"(the clipboard does not open)";
    std::wstring text;
    if (const HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
        text = static_cast<const wchar_t*>(GlobalLock(data));
        GlobalUnlock(data);
    }
    CloseClipboard();
    return text;
}

}  // namespace support
