// Ids of the plug-in's own resources and of the localized libraries. Read by the resource compiler
// too, hence macros. Ids that the editor's interface does not give come from free ranges: controls
// and commands from 41000, dialogs and menus from 200, strings from 1000.
#pragma once

// Own resources of Revlane.dll: the symbol for the editor's menus and toolbars, in colour and plain, of
// 16, 24 and 32 pixels. An editor that takes bitmaps without a mask colour gets the ones in colour for
// its toolbar and the plain ones elsewhere, one that takes out black the other way round; all can be
// seen on light and on dark bars. They have an alpha channel and are black where nothing is drawn.
// resources/draw_images.py makes them.
#define IDB_COLOR_16 120
#define IDB_COLOR_32 121
#define IDB_COLOR_24 122
#define IDB_PLAIN_16 123
#define IDB_PLAIN_24 124
#define IDB_PLAIN_32 125
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
#define IDS_COMMIT_PLACEHOLDER 1000  // in the empty commit box: "Message (Ctrl+Enter commits)"
#define IDS_STAGED_EMPTY 1001        // "Nothing is staged"
#define IDS_CHANGES_EMPTY 1002       // "No changes"
#define IDS_BRANCHES_EMPTY 1003      // "No branches yet"
#define IDS_REPOSITORY_GONE 1004     // {} folder: "The repository in {} is no longer there."
#define IDS_CANNOT_OPEN 1005         // heading of a reason: "The folder cannot be shown."
#define IDS_NO_REPOSITORY_IN 1006    // {} folder: "There is no git repository in {}."
#define IDS_BARE_REPOSITORY 1007     // {} folder: it has no working tree to show
#define IDS_NOTHING_TO_COMMIT 1008   // "There is nothing to commit: no file has changed."
#define IDS_NOTHING_STAGED 1009      // changes, but none is staged: what to do
#define IDS_MESSAGE_TOO_LONG 1010    // {} characters it has, {} that fit: nothing was committed
#define IDS_NO_REMOTE 1011           // "This repository has no remote."
#define IDS_NO_WEB_ADDRESS 1012      // {} address of a remote that no browser opens
#define IDS_DISCARD_ONE 1013         // {} path: "Discard the changes in {}?"
#define IDS_DISCARD_MANY 1014        // {} count: "Discard the changes in {} files?"
#define IDS_DISCARD_LOSS 1015        // "This cannot be undone."
#define IDS_DISCARD_NEW_ONE 1016     // {} path, a new file: "Delete the new file {}?"
#define IDS_DISCARD_NEW_COUNT 1017   // {} count of new files among them, which are deleted
#define IDS_DISCARD_BUTTON 1018      // "&Discard"
#define IDS_DISCARD_TITLE 1019       // title of the question: "Discard changes"
#define IDS_PUBLISH 1020             // the push button without an upstream: "&Publish"
#define IDS_PULL_TIP 1021            // {} upstream: "Pull from {}"
#define IDS_PUSH_TIP 1022            // {} upstream: "Push to {}"
#define IDS_PUBLISH_TIP 1023         // {} branch: "Push {} to the remote for the first time"
#define IDS_NO_UPSTREAM_TIP 1024     // of pull: "The branch has no upstream to pull from"
#define IDS_CANCELLED 1025           // in the status bar: "Cancelled"
#define IDS_STATUS_TOO_SLOW 1026     // {} seconds after which the status command was ended
#define IDS_OWN_REPOSITORY 1027   // {} folder: a repository of its own, of which no file is shown
#define IDS_FAILED_SILENTLY 1028  // {} command of git that failed without a word

// Of the branches; {} is a place for a value.
#define IDS_DELETE_REMOTE_QUESTION 1050  // {} branch, {} remote
#define IDS_DELETE 1051                  // button: "&Delete"
#define IDS_DELETE_TITLE 1052            // title of the question: "Delete branch"
#define IDS_DELETE_ON_REMOTE_TITLE 1053  // "Delete branch on the remote"
#define IDS_STASH_KEPT 1054              // {} stash name: the changes are kept in the stash
#define IDS_STASH_NOT_FOUND 1055         // {} stash name: a stash was made but is not listed
#define IDS_STASH_NOT_ON_TOP 1056     // {} stash name: another stash came on top, none was dropped
#define IDS_STAGED_NOT_RESTORED 1057  // {} stash name: some staged changes could not be put back
#define IDS_CURRENT_BRANCH 1058       // mark of the current branch: "current"
#define IDS_COMPARE_BRANCHES_TITLE 1059  // {} and {}: title of the list of changed files
#define IDS_PICKER_FILE 1060             // column: "File"
#define IDS_PICKER_STATUS 1061           // column: "Status"
#define IDS_PICKER_EMPTY 1062            // "No file differs"
#define IDS_STATUS_MODIFIED 1063         // status column of a modified file: "modified"
#define IDS_DETACHED_HEAD_STAYS 1064     // why a detached HEAD is not deleted
// Of the commit history; {} is a place for a value.
#define IDS_HISTORY_TITLE 1100          // {} folder: title of the window: "{} - Commit history"
#define IDS_HISTORY_HEADING 1101        // {} folder, {} branch
#define IDS_HISTORY_COUNT 1102          // {} commits: "{} commits"
#define IDS_HISTORY_COUNT_ONE 1103      // "1 commit"
#define IDS_HISTORY_COUNTING 1104       // {} commits so far: "{}+ commits, counting…"
#define IDS_HISTORY_SEARCHING 1105      // "Searching…"
#define IDS_HISTORY_FOUND 1106          // {} commits, {} description of the filter
#define IDS_HISTORY_NOTHING_FOUND 1107  // {} description of the filter
#define IDS_FILTER_BY_MESSAGE 1108      // {} text: "message “{}”"
#define IDS_FILTER_BY_AUTHOR 1109       // {} text
#define IDS_FILTER_BY_ID 1110           // {} text
#define IDS_FILTER_BY_TAG 1111          // {} text
#define IDS_FILTER_BY_FILE 1112         // {} path: "history of {}"
#define IDS_HISTORY_UNBORN 1113         // {} branch: it has no commits yet
#define IDS_COMMIT_CHANGES_TITLE 1115   // {} short id, {} summary: title of the changed files
#define IDS_COMPARE_COMMITS_TITLE 1116  // {} and {}: short ids
#define IDS_COMMIT_NOT_LISTED 1117      // {} short id: it is not in the list

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

// Of the new branch dialog and the list of changed files.
#define IDC_BRANCH_NAME 41010
#define IDC_BRANCH_NAME_LABEL 41011
#define IDC_CHANGED_FILES 41012

// Of the filter dialog.
#define IDC_FILTER_TEXT 1045
#define IDC_FILTER_MESSAGE 1046
#define IDC_FILTER_AUTHOR 1047
#define IDC_FILTER_COMMIT_ID 1048
#define IDC_FILTER_TAG 1049

// Of the history window.
#define IDC_HISTORY_TITLE 1001
#define IDC_COMMIT_LIST 1010
#define IDC_COMMIT_DETAILS 1012
#define IDC_COMPARE_WITH_PARENT 1015
#define IDC_FILES_TREE 1017
#define IDC_FILTER 1043
#define IDC_CLEAR_FILTER 1044
#define IDC_HISTORY_BRANCH 41020
#define IDC_HISTORY_STATE 41021
#define IDC_HISTORY_EMPTY 41022

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

// Commit list.
#define ID_OPEN_COMMIT 40011
#define ID_COPY_COMMIT_IDS 40014
#define ID_COPY_COMMITS 40028
#define ID_COMPARE_COMMITS 40030
#define ID_COMMITS_REFRESH 40047
#define ID_COMMIT_CHECKOUT 40088
#define ID_COMMIT_CREATE_BRANCH 40090

// Files tree of a commit.
#define ID_COMPARE_TREE_FILE 40019
#define ID_TREE_FILE_HISTORY 41103
