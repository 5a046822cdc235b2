// The editor's answers to the messages that a plug-in sends to a frame window.
#pragma once

#include "win32/window.h"

namespace quorrel {

class Frame;

// Answers and records the message when its number is one of those that plug-ins use; one of them
// that the editor does not know gives 0. Nothing for every other message of the window. A record of
// the wrong size is answered as a failure. Window thread.
win32::Handled answer_plugin_message(Frame& frame, const win32::Message& message);

}  // namespace quorrel
