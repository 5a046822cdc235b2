// Texts of the panel's buttons. A key is one of a text's letters ("&Pull"), or, where the writing has
// no letters for keys, is given behind the text ("プル(&L)"). Pure functions; any thread.
#pragma once

#include <cstddef>
#include <string>

namespace revlane {

// The text as a tooltip shows it, where no key can be pressed.
std::wstring without_access_key(std::wstring text);

// A button's text with a count behind it, unless that is 0.
std::wstring with_count(std::wstring text, std::size_t count);

}  // namespace revlane
