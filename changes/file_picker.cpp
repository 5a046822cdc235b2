#include "changes/file_picker.h"

#include "changes/change_lists.h"
#include "changes/compare.h"
#include "changes/empty_text.h"
#include "changes/get_dpi.h"
#include "changes/modeless_dialogs.h"
#include "changes/texts.h"
#include "changes/window_icon.h"
#include "git/handles.h"
#include "resources/ids.h"
#include "win32/error_box.h"
#include "win32/placement.h"
#include "win32/window.h"

#include <commctrl.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace revlane {

namespace {

enum Column : int { COLUMN_FILE, COLUMN_STATUS };

// At 96 DPI.
constexpr int MARGIN = 12;
constexpr int GAP = 8;
constexpr int STATUS_WIDTH = 90;
constexpr SIZE LEAST_SIZE{300, 200};

// The status without the brackets that the change lists put around it.
std::wstring status_text(git::ChangeStatus status)
{
    if (status == git::ChangeStatus::Modified)
        return host::load_text(IDS_STATUS_MODIFIED);
    const std::wstring label = status_label(status);
    constexpr std::wstring_view before = L" (";
    return label.substr(before.size(), label.size() - before.size() - 1);
}

// Lives as long as its dialog.
class FilePicker {
public:
    explicit FilePicker(FilePickerRequest request) : request_(std::move(request)) {}

    win32::Handled handle(const win32::Message& message)
    {
        switch (message.id) {
        case WM_INITDIALOG:
            return on_init(message.window);
        case WM_SIZE:
            lay_out();
            return 0;
        case WM_GETMINMAXINFO: {
            auto& info = *reinterpret_cast<MINMAXINFO*>(message.lparam);
            const int dpi = get_dpi(dialog_);
            info.ptMinTrackSize = {scale(LEAST_SIZE.cx, dpi), scale(LEAST_SIZE.cy, dpi)};
            return 0;
        }
        case WM_NOTIFY:
            return on_notify(*reinterpret_cast<const NMHDR*>(message.lparam));
        case WM_COMMAND:
            if (LOWORD(message.wparam) == IDOK)
                compare();
            else if (LOWORD(message.wparam) == IDCANCEL)
                DestroyWindow(dialog_);
            else
                return std::nullopt;
            return 0;
        case WM_NCDESTROY:
            remove_modeless_dialog(dialog_);
            return std::nullopt;
        default:
            return std::nullopt;
        }
    }

private:
    LRESULT on_init(HWND dialog)
    {
        dialog_ = dialog;
        add_modeless_dialog(dialog, request_.frame);
        list_ = GetDlgItem(dialog, IDC_CHANGED_FILES);
        SetWindowTextW(dialog, request_.title.c_str());
        set_window_icon(dialog);
        ListView_SetExtendedListViewStyle(list_, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
        add_column(COLUMN_FILE, IDS_PICKER_FILE);
        add_column(COLUMN_STATUS, IDS_PICKER_STATUS);
        subclass_.emplace(
            list_, [this](const win32::Message& message) { return on_list_message(message); });
        fill();
        lay_out();
        enable_compare();
        win32::center_over(dialog, GetWindow(dialog, GW_OWNER));
        ShowWindow(dialog, SW_SHOW);
        SetFocus(list_);
        // The focus is set already.
        return FALSE;
    }

    void add_column(int index, UINT title)
    {
        std::wstring text = host::load_text(title);
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT;
        column.pszText = text.data();
        SendMessageW(list_, LVM_INSERTCOLUMNW, static_cast<WPARAM>(index),
                     reinterpret_cast<LPARAM>(&column));
    }

    void fill()
    {
        SendMessageW(list_, WM_SETREDRAW, FALSE, 0);
        ListView_SetItemCount(list_, static_cast<int>(request_.changes.size()));
        for (const git::FileChange& change : request_.changes) {
            std::wstring path = change.new_path;
            LVITEMW item{};
            item.mask = LVIF_TEXT;
            item.iItem = ListView_GetItemCount(list_);
            item.pszText = path.data();
            SendMessageW(list_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
            std::wstring status = status_text(change.status);
            item.iSubItem = COLUMN_STATUS;
            item.pszText = status.data();
            SendMessageW(list_, LVM_SETITEMTEXTW, static_cast<WPARAM>(item.iItem),
                         reinterpret_cast<LPARAM>(&item));
        }
        ListView_SetItemState(list_, 0, LVIS_FOCUSED | LVIS_SELECTED, LVIS_FOCUSED | LVIS_SELECTED);
        SendMessageW(list_, WM_SETREDRAW, TRUE, 0);
    }

    // Keeps the margins; the buttons stay at the lower right.
    void lay_out()
    {
        const int dpi = get_dpi(dialog_);
        const int margin = scale(MARGIN, dpi);
        const int gap = scale(GAP, dpi);
        RECT client{};
        GetClientRect(dialog_, &client);
        const HWND compare = GetDlgItem(dialog_, IDOK);
        const HWND close = GetDlgItem(dialog_, IDCANCEL);
        RECT button{};
        GetClientRect(close, &button);
        const int top = client.bottom - margin - button.bottom;
        const int close_left = client.right - margin - button.right;
        const int compare_left = close_left - gap - button.right;
        const int width = client.right - 2 * margin;
        HDWP moves = BeginDeferWindowPos(3);
        constexpr UINT keep_order = SWP_NOZORDER | SWP_NOACTIVATE;
        moves = DeferWindowPos(moves, list_, nullptr, margin, margin, width, top - gap - margin,
                               keep_order);
        moves = DeferWindowPos(moves, compare, nullptr, compare_left, top, 0, 0,
                               keep_order | SWP_NOSIZE);
        moves =
            DeferWindowPos(moves, close, nullptr, close_left, top, 0, 0, keep_order | SWP_NOSIZE);
        EndDeferWindowPos(moves);
        const int status = scale(STATUS_WIDTH, dpi);
        RECT list{};
        GetClientRect(list_, &list);
        ListView_SetColumnWidth(list_, COLUMN_STATUS, status);
        ListView_SetColumnWidth(list_, COLUMN_FILE,
                                std::max(static_cast<int>(list.right) - status, status));
    }

    win32::Handled on_list_message(const win32::Message& message) const
    {
        if (message.id != WM_PAINT || !request_.changes.empty())
            return std::nullopt;
        return paint_with_empty_text(message, host::load_text(IDS_PICKER_EMPTY));
    }

    win32::Handled on_notify(const NMHDR& header)
    {
        if (header.hwndFrom != list_)
            return std::nullopt;
        if (header.code == LVN_ITEMACTIVATE)
            compare();
        else if (header.code == LVN_ITEMCHANGED)
            enable_compare();
        return 0;
    }

    void enable_compare()
    {
        EnableWindow(GetDlgItem(dialog_, IDOK), ListView_GetSelectedCount(list_) > 0);
    }

    void compare()
    {
        const int row = ListView_GetNextItem(list_, -1, LVNI_SELECTED);
        if (row < 0)
            return;
        // Copies: the editor pumps messages as it opens documents, and may close this dialog.
        const HWND frame = request_.frame;
        const git::Repository repository = request_.repository;
        const git::FileChange change = request_.changes[static_cast<std::size_t>(row)];
        const git::LibraryScope library;
        if (const auto compared = compare_versions(frame, repository, change, false); !compared)
            win32::show_error(frame, git::to_wide(compared.error()));
    }

    const git::LibraryScope library_;  // before the repository
    FilePickerRequest request_;
    HWND dialog_ = nullptr;
    HWND list_ = nullptr;
    std::optional<win32::Subclass> subclass_;
};

}  // namespace

HWND open_file_picker(const FilePickerRequest& request)
{
    return CreateDialogParamW(host::resource_module(), MAKEINTRESOURCEW(IDD_FILE_PICKER),
                              request.frame,
                              win32::owning_dialog_proc<FilePicker, FilePickerRequest>,
                              reinterpret_cast<LPARAM>(&request));
}

}  // namespace revlane
