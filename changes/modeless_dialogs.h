// The plug-in's modeless dialogs apart from the docked panel. They stay open while the user works in
// the editor, so the editor's message loop serves them: it asks the plug-in about each key before it
// dispatches it. Window thread.
#pragma once

#include <windows.h>

namespace revlane {

// Keys that a dialog wants before the usual ones (Tab, Enter, Escape and access keys) are looked at.
// Returns whether the message was dealt with; the dialog may be gone then.
using KeyHook = bool (*)(HWND dialog, MSG& message);

// From now on keys for `dialog` are routed to it and it ends with the editor's frame window `frame`.
// Called as the dialog begins (WM_INITDIALOG).
void add_modeless_dialog(HWND dialog, HWND frame, KeyHook hook = nullptr);
// Called as the dialog ends (WM_NCDESTROY).
void remove_modeless_dialog(HWND dialog) noexcept;

// Routes a message that the editor is about to dispatch; true when a dialog took it. Any dialog, and
// the frame too, may be gone then.
bool translate_modeless_message(MSG& message);

// Destroys the dialogs that belong to a frame, as the editor closes it.
void close_modeless_dialogs(HWND frame);

}  // namespace revlane
