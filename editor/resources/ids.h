// Ids of the editor's own resources and commands. Read by the resource compiler too, hence macros.
#pragma once

#define IDR_EDITOR_FRAME 300  // menu and accelerators
#define IDI_EDITOR 301
#define IDB_EDITOR_TOOLBAR_16 302
#define IDB_EDITOR_TOOLBAR_24 303
#define IDB_EDITOR_TOOLBAR_32 304

// Commands. Plug-ins know two of them by number: 4113 and 4409.
#define QUORREL_FILE_NEW 4097
#define QUORREL_FILE_OPEN 4098
#define QUORREL_FILE_SAVE 4099
#define QUORREL_FILE_SAVE_AS 4100
#define QUORREL_NEW_WINDOW 4101
#define QUORREL_CLOSE_TAB 4102
#define QUORREL_EXIT 4103
#define QUORREL_UNDO 4104
#define QUORREL_CUT 4105
#define QUORREL_COPY 4106
#define QUORREL_PASTE 4107
#define QUORREL_SELECT_ALL 4108
#define QUORREL_NEXT_TAB 4109
#define QUORREL_PREVIOUS_TAB 4110
#define QUORREL_REFRESH 4111
#define QUORREL_SHOW_TABS 4113
#define QUORREL_FOCUS_TEXT 4409
#define QUORREL_PLUGIN_COMMAND 4500
#define QUORREL_PLUGIN_RESET 4501
#define QUORREL_NO_LANGUAGE 4600
// One for each language folder of the plug-in.
#define QUORREL_FIRST_LANGUAGE 4601
#define QUORREL_LAST_LANGUAGE 4699
