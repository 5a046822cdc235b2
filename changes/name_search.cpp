#include "changes/name_search.h"

#include <windows.h>

namespace revlane {

namespace {

bool starts_with(std::wstring_view text, std::wstring_view beginning)
{
    return text.size() >= beginning.size() &&
           CompareStringOrdinal(text.data(), static_cast<int>(beginning.size()), beginning.data(),
                                static_cast<int>(beginning.size()), TRUE) == CSTR_EQUAL;
}

bool has_part_that_starts_with(std::wstring_view name, std::wstring_view beginning)
{
    for (std::size_t slash = name.find(L'/'); slash != std::wstring_view::npos;
         slash = name.find(L'/', slash + 1))
        if (starts_with(name.substr(slash + 1), beginning))
            return true;
    return false;
}

}  // namespace

std::optional<std::size_t> find_name(const std::vector<std::wstring>& names,
                                     std::wstring_view typed, std::size_t start)
{
    for (const auto matches : {starts_with, has_part_that_starts_with})
        for (std::size_t i = 0; i < names.size(); ++i) {
            const std::size_t index = (start + i) % names.size();
            if (matches(names[index], typed))
                return index;
        }
    return std::nullopt;
}

}  // namespace revlane
