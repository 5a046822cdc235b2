#include "editor/toolbar.h"

#include "editor/resources/ids.h"
#include "plugin/host/messages.h"

#include <array>
#include <utility>

namespace quorrel {

namespace {

// Flags of QUERY_BITMAP and QUERY_MASK_COLOR.
constexpr WPARAM BITMAP_FOR_TOOLBAR = 0x1;
constexpr WPARAM BITMAP_WITH_ALPHA = 0x20;
constexpr WPARAM BITMAP_LARGEST = 0x100;  // for images of 32 pixels
constexpr WPARAM BITMAP_LARGE = 0x200;    // for images of 24 pixels
// Answer to QUERY_MASK_COLOR: the bitmap has an alpha channel in place of a colour that is left out.
constexpr LRESULT NO_MASK_COLOR = -1;

// The editor's own images, each of which has its place in a strip.
constexpr int STRIP_IMAGES = 3;
// Room around an image, at 96 DPI. It is part of what is drawn, since not every toolbar control
// centres its images in a larger button.
constexpr int MARGIN = 4;

struct Size {
    int pixels;
    WORD strip;
    WPARAM flags;
};
constexpr std::array<Size, 3> SIZES{{
    {16, IDB_EDITOR_TOOLBAR_16, 0},
    {24, IDB_EDITOR_TOOLBAR_24, BITMAP_LARGE},
    {32, IDB_EDITOR_TOOLBAR_32, BITMAP_LARGEST},
}};

// The first size that is not too small.
const Size& size_for(int pixels)
{
    for (const Size& size : SIZES) {
        if (size.pixels >= pixels)
            return size;
    }
    return SIZES.back();
}

win32::UniqueHandle<HBITMAP, ::DeleteObject> load_bitmap(HINSTANCE module, UINT id, int width,
                                                         int height)
{
    return win32::UniqueHandle<HBITMAP, ::DeleteObject>(static_cast<HBITMAP>(LoadImageW(
        module, MAKEINTRESOURCEW(id), IMAGE_BITMAP, width, height, LR_CREATEDIBSECTION)));
}

}  // namespace

Toolbar::Toolbar(HWND frame)
    : window_(
          create_child(TOOLBARCLASSNAMEW,
                       WS_VISIBLE | CCS_NODIVIDER | TBSTYLE_FLAT | TBSTYLE_LIST | TBSTYLE_TOOLTIPS,
                       frame, nullptr))
{
    SendMessageW(window_, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    // A text that is not shown beside the image is shown as a tooltip.
    SendMessageW(window_, TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_MIXEDBUTTONS);
    on_dpi();

    struct Button {
        int command;
        const wchar_t* text;
    };
    constexpr std::array<Button, 3> BUTTONS{{{QUORREL_FILE_NEW, L"New (Ctrl+N)"},
                                             {QUORREL_FILE_OPEN, L"Open (Ctrl+O)"},
                                             {QUORREL_FILE_SAVE, L"Save (Ctrl+S)"}}};
    int image = 0;
    for (const Button& each : BUTTONS) {
        TBBUTTON button{};
        button.iBitmap = image++;
        button.idCommand = each.command;
        button.fsState = TBSTATE_ENABLED;
        button.fsStyle = BTNS_BUTTON | BTNS_AUTOSIZE;
        button.iString = reinterpret_cast<INT_PTR>(each.text);
        SendMessageW(window_, TB_ADDBUTTONSW, 1, reinterpret_cast<LPARAM>(&button));
    }
    SendMessageW(window_, TB_AUTOSIZE, 0, 0);
}

void Toolbar::on_dpi()
{
    const UINT dpi = GetDpiForWindow(window_);
    win32::FontHandle font = interface_font(dpi);
    SendMessageW(window_, WM_SETFONT, reinterpret_cast<WPARAM>(font.get()), TRUE);
    font_ = std::move(font);

    const Size& size = size_for(scaled(16, dpi));
    image_size_ = size.pixels;
    cell_size_ = image_size_ + 2 * scaled(MARGIN, dpi);
    ImageList images(ImageList_Create(cell_size_, cell_size_, ILC_COLOR32 | ILC_MASK, 4, 1));
    const Bitmap strip = load_bitmap(program(), size.strip, 0, 0);
    for (int image = 0; image < STRIP_IMAGES; ++image)
        ImageList_Add(images.get(), with_margin(strip.get(), image).get(), nullptr);
    SendMessageW(window_, TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(images.get()));
    images_ = std::move(images);
    SendMessageW(window_, TB_AUTOSIZE, 0, 0);
}

void Toolbar::show_plugin(const PluginLibrary& plugin, HWND view)
{
    SendMessageW(
        window_, TB_DELETEBUTTON,
        static_cast<WPARAM>(SendMessageW(window_, TB_COMMANDTOINDEX, QUORREL_PLUGIN_COMMAND, 0)),
        0);
    plugin_name_ = plugin.name(view);
    plugin_image_ = add_plugin_image(plugin, view);

    TBBUTTON button{};
    button.iBitmap = plugin_image_ >= 0 ? plugin_image_ : I_IMAGENONE;
    button.idCommand = QUORREL_PLUGIN_COMMAND;
    button.fsState = TBSTATE_ENABLED;
    button.fsStyle = BTNS_CHECK | BTNS_AUTOSIZE | BTNS_SHOWTEXT;
    button.iString = reinterpret_cast<INT_PTR>(plugin_name_.c_str());
    SendMessageW(window_, TB_ADDBUTTONSW, 1, reinterpret_cast<LPARAM>(&button));
    SendMessageW(window_, TB_AUTOSIZE, 0, 0);
}

int Toolbar::add_plugin_image(const PluginLibrary& plugin, HWND view)
{
    const WPARAM flags = BITMAP_FOR_TOOLBAR | BITMAP_WITH_ALPHA | size_for(image_size_).flags;
    UINT id = static_cast<UINT>(plugin.query(view, host::QUERY_BITMAP, flags, 0));
    if (id == 0)
        id = plugin.bitmap();
    const Bitmap bitmap = load_bitmap(plugin.module(), id, image_size_, image_size_);
    if (!bitmap)
        return -1;
    const Bitmap cell = with_margin(bitmap.get(), 0);
    const LRESULT mask = plugin.query(view, host::QUERY_MASK_COLOR, flags, 0);
    return mask == NO_MASK_COLOR
               ? ImageList_Add(images_.get(), cell.get(), nullptr)
               : ImageList_AddMasked(images_.get(), cell.get(), static_cast<COLORREF>(mask));
}

void Toolbar::measure_menu_image(MEASUREITEMSTRUCT& item) const
{
    item.itemWidth = static_cast<UINT>(image_size_);
    item.itemHeight = static_cast<UINT>(image_size_);
}

void Toolbar::draw_menu_image(const DRAWITEMSTRUCT& item) const
{
    const int margin = (cell_size_ - image_size_) / 2;
    ImageList_Draw(images_.get(), plugin_image_, item.hDC, item.rcItem.left - margin,
                   item.rcItem.top - margin, ILD_NORMAL);
}

Toolbar::Bitmap Toolbar::with_margin(HBITMAP strip, int image) const
{
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = cell_size_;
    info.bmiHeader.biHeight = cell_size_;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    Bitmap cell(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    const MemoryDc from(strip);
    const MemoryDc to(cell.get());
    const int margin = (cell_size_ - image_size_) / 2;
    // Between bitmaps of 32 bits the alpha is copied as it stands.
    BitBlt(to.get(), margin, margin, image_size_, image_size_, from.get(), image * image_size_, 0,
           SRCCOPY);
    return cell;
}

void Toolbar::set_plugin_status(PluginLibrary::Status status)
{
    const LRESULT state =
        (status.enabled ? TBSTATE_ENABLED : 0) | (status.checked ? TBSTATE_CHECKED : 0);
    if (SendMessageW(window_, TB_GETSTATE, QUORREL_PLUGIN_COMMAND, 0) != state)
        SendMessageW(window_, TB_SETSTATE, QUORREL_PLUGIN_COMMAND, state);
}

}  // namespace quorrel
