// The dialog in which the user says what to search the history for.
#pragma once

#include "history/filter.h"

#include <windows.h>

namespace revlane {

// Shows the modal dialog with `state` filled in. True after OK, with the text and the kind stored in
// `state`; false, with nothing changed, when it was closed otherwise. Pumps messages: the caller's
// window may be gone when it returns.
bool ask_filter(HWND owner, Filter::State& state);

}  // namespace revlane
