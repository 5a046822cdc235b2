#include "plugin/frame_queries.h"

#include "plugin/host/localized.h"
#include "plugin/host/messages.h"
#include "plugin/host/settings.h"
#include "resources/ids.h"

#include <algorithm>
#include <array>

namespace revlane {

namespace {

// Flags of the editor in QUERY_BITMAP and QUERY_MASK_COLOR.
constexpr WPARAM FLAG_A = 0x1;
constexpr WPARAM FLAG_B = 0x20;
constexpr WPARAM FLAG_C = 0x100;
constexpr WPARAM FLAG_D = 0x200;

// The names are short: the editor shows them in menus.
constexpr std::size_t TEXT_CAPACITY = 80;
// From this size on the editor's count of characters is taken for none at all.
constexpr WPARAM TOO_MANY_CHARACTERS = 0x80000000;
// The id that no text has.
constexpr UINT NO_TEXT = 0;

int load(HMODULE module, UINT id, std::array<char, TEXT_CAPACITY>& text)
{
    return LoadStringA(module, id, text.data(), static_cast<int>(text.size()));
}

int load(HMODULE module, UINT id, std::array<wchar_t, TEXT_CAPACITY>& text)
{
    return LoadStringW(module, id, text.data(), static_cast<int>(text.size()));
}

// Copies the text `id` to the editor's buffer of `capacity` characters, as far as it goes, and
// returns how many characters the whole needs.
template <typename Char>
LRESULT copy_text(UINT id, WPARAM capacity, LPARAM buffer)
{
    const HMODULE module = host::resource_module();
    if (module == nullptr)
        return 0;
    std::array<Char, TEXT_CAPACITY> text{};
    const auto length = static_cast<std::size_t>(load(module, id, text));
    if (capacity != 0 && buffer != 0) {
        auto* target = reinterpret_cast<Char*>(buffer);
        const std::size_t copied =
            capacity >= TOO_MANY_CHARACTERS ? 0 : std::min<std::size_t>(length, capacity - 1);
        std::copy_n(text.data(), copied, target);
        target[copied] = Char{};
    }
    return static_cast<LRESULT>(length + 1);
}

}  // namespace

UINT bitmap_for(WPARAM flags) noexcept
{
    const bool b = (flags & FLAG_B) != 0;
    const bool c = (flags & FLAG_C) != 0;
    const bool d = (flags & FLAG_D) != 0;
    if ((flags & FLAG_A) == 0) {
        if (!b)
            return DEFAULT_BITMAP;
        if (c)
            return 125;
        return d ? 124 : 123;
    }
    if (!b)
        return 123;
    if (c)
        return 121;
    return d ? 122 : 120;
}

std::optional<LRESULT> answer_without_frame(HWND frame, UINT query, WPARAM wparam, LPARAM lparam)
{
    switch (query) {
    case host::QUERY_NAME_A:
        return copy_text<char>(IDS_NAME, wparam, lparam);
    case host::QUERY_NAME_W:
    case host::QUERY_TEXT_W:
    case host::QUERY_TOOLTIP_W:
        return copy_text<wchar_t>(IDS_NAME, wparam, lparam);
    case host::QUERY_VERSION_A:
        return copy_text<char>(NO_TEXT, wparam, lparam);
    case host::QUERY_VERSION_W:
        return copy_text<wchar_t>(NO_TEXT, wparam, lparam);
    case host::QUERY_SUPPORTED:
        return 1;
    case host::QUERY_RESET_SETTINGS:
        host::write_section(frame);
        return 1;
    case host::QUERY_BITMAP:
        return static_cast<LRESULT>(bitmap_for(wparam));
    case host::QUERY_MASK_COLOR:
        return (wparam & FLAG_B) != 0 ? -1 : 0;
    case host::QUERY_ALLOW_OPEN:
        return 0;
    default:
        return std::nullopt;
    }
}

}  // namespace revlane
