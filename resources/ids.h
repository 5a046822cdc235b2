// Ids of the plug-in's own resources and of the localized libraries. Read by the resource compiler
// too, hence macros. Ids that the editor's interface does not give come from free ranges: controls
// and commands from 41000, dialogs and menus from 200, strings from 1000.
#pragma once

// Own resources of Revlane.dll.
#define IDB_TOOLBAR_SMALL 120
#define IDI_REVLANE 1

// Strings.
#define IDS_NAME 101
#define IDS_COLUMN_SUMMARY 104
#define IDS_COLUMN_AUTHOR 105
#define IDS_COLUMN_DATE 106
#define IDS_COLUMN_ID 107
#define IDS_IDS_COPIED 108
#define IDS_ROWS_COPIED 109
#define IDS_CANCEL 112
#define IDS_STATUS_ADDED 113
#define IDS_STATUS_DELETED 114
#define IDS_STATUS_RENAMED 115
#define IDS_STATUS_CONFLICTED 116
#define IDS_BRANCH_TIP 117
#define IDS_REFERENCES_HEADING 122
#define IDS_DELETE_BRANCH_QUESTION 128
// Of the panel; {} is a place for a value.
#define IDS_COMMIT_PLACEHOLDER 1000     // in the empty commit box: "Message (Ctrl+Enter commits)"
#define IDS_STAGED_EMPTY 1001           // "Nothing is staged"
#define IDS_CHANGES_EMPTY 1002          // "No changes"
#define IDS_BRANCHES_EMPTY 1003         // "No branches yet"
#define IDS_REPOSITORY_GONE 1004        // {} folder: "The repository in {} is no longer there."
#define IDS_CANNOT_OPEN 1005            // heading of a reason: "The folder cannot be shown."
#define IDS_NO_REPOSITORY_IN 1006       // {} folder: "There is no git repository in {}."
#define IDS_BARE_REPOSITORY 1007        // {} folder: it has no working tree to show
#define IDS_NOTHING_TO_COMMIT 1008      // "There is nothing to commit: no file has changed."
#define IDS_NOTHING_STAGED 1009         // changes, but none is staged: what to do
#define IDS_MESSAGE_TOO_LONG 1010       // {} characters it has, {} that fit: nothing was committed
#define IDS_NO_REMOTE 1011              // "This repository has no remote."
#define IDS_NO_WEB_ADDRESS 1012         // {} address of a remote that no browser opens
#define IDS_DISCARD_ONE 1013            // {} path: "Discard the changes of {}?"
#define IDS_DISCARD_MANY 1014           // {} count: "Discard the changes of {} files?"
#define IDS_DISCARD_LOSS 1015           // "They cannot be brought back."
#define IDS_DISCARD_NEW_ONE 1016        // {} path, a new file: "Delete the new file {}?"
#define IDS_DISCARD_NEW_COUNT 1017      // {} count of new files among them, which are deleted
#define IDS_DISCARD_BUTTON 1018         // "&Discard"
#define IDS_DISCARD_TITLE 1019          // title of the question: "Discard changes"
#define IDS_PUBLISH 1020                // the push button without an upstream: "P&ublish"
#define IDS_PULL_TIP 1021               // {} upstream: "Pull from {}"
#define IDS_PUSH_TIP 1022               // {} upstream: "Push to {}"
#define IDS_PUBLISH_TIP 1023            // {} branch: "Push {} to the remote for the first time"
#define IDS_NO_UPSTREAM_TIP 1024        // of pull: "The branch has no upstream to pull from"
#define IDS_CANCELLED 1025              // in the status bar: "Cancelled"
#define IDS_STATUS_TOO_SLOW 1026        // {} seconds after which the status command was ended

// Dialogs and menus.
#define IDM_COMMIT_LIST 114
#define IDM_FILES_TREE 117
#define IDM_STAGED_LIST 136
#define IDM_BRANCHES_LIST 137
#define IDM_CHANGES_LIST 138
#define IDD_FILE_PICKER 129
#define IDD_SIDEBAR 134
#define IDD_FILTER 140
#define IDD_OUTPUT 142
#define IDD_NEW_BRANCH 145
#define IDM_PANEL 200
#define IDD_HISTORY 201

// Controls of the sidebar.
#define IDC_CHOOSE_FOLDER 1029
#define IDC_PANEL_MENU 1030
#define IDC_SHOW_HISTORY 1031
#define IDC_BRANCH 1036
#define IDC_COMMIT_MESSAGE 1037
#define IDC_COMMIT 1038
#define IDC_STAGE_ALL_AND_COMMIT 1039
#define IDC_PULL 1040
#define IDC_PUSH 1041
#define IDC_STAGED_LIST 1052
#define IDC_CHANGES_LIST 1053
#define IDC_PROGRESS 41000  // a progress bar that moves without a measure
// Headings of the lists, which the panel draws itself: static texts right before their lists in the
// tab order, so that their access keys lead there, and a push button that folds the branches.
#define IDC_STAGED_HEADING 41001
#define IDC_CHANGES_HEADING 41002
#define IDC_BRANCHES_HEADING 41003
#define IDC_BRANCHES_LIST 41004
#define IDC_EMPTY_TEXT 41005  // static text, centred: what to do while no repository is open

// The output window and other dialogs.
#define IDC_OUTPUT_TEXT 1051

// Commands.
#define ID_UNSTAGE 40057
#define ID_STAGE 40058
#define ID_DISCARD 40060
#define ID_FETCH 40065
#define ID_STATUS 40069
#define ID_SHOW_OUTPUT 40071
#define ID_HELP_PAGE 40076
#define ID_OPEN_FOLDER 40092
#define ID_AUTO_FETCH 40094
#define ID_OPEN_REMOTE 40096
#define ID_UPDATE_SUBMODULE 40098
#define ID_STAGED_UPDATE_SUBMODULE 40100
#define ID_COPY_PATHS 40101
#define ID_SELECT_ALL 40102
#define ID_STAGED_COPY_PATHS 40103
#define ID_STAGED_SELECT_ALL 40104
#define ID_COMPARE 40110
#define ID_STAGED_COMPARE 40111
#define ID_OPEN_FILE 40112
#define ID_STAGED_OPEN_FILE 40113
#define ID_CANCEL_COMMAND 41100
#define ID_FILE_HISTORY 41101
#define ID_STAGED_FILE_HISTORY 41102

// Branches list.
#define ID_SHOW_BRANCH 40049
#define ID_BRANCH_CHECKOUT 40078
#define ID_BRANCH_CREATE 40081
#define ID_BRANCH_DELETE 40083
#define ID_BRANCHES_REFRESH 40085
#define ID_BRANCH_DELETE_REMOTE 40118
#define ID_BRANCHES_COMPARE 7356
