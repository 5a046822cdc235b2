#include "tests/shots/screen.h"

#include "win32/handle.h"
#include "win32/text.h"

#include <wincodec.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace support {

namespace {

struct Release {
    void operator()(IUnknown* object) const { object->Release(); }
};
template <typename T>
using Owned = std::unique_ptr<T, Release>;

void check(HRESULT result, const char* what)
{
    if (FAILED(result))
        throw std::runtime_error(std::string("a picture cannot be saved: ") + what);
}

// Blue, green, red and a byte without meaning each, row by row from the top.
std::vector<std::uint32_t> pixels_of(const RECT& area)
{
    const int width = area.right - area.left;
    const int height = area.bottom - area.top;
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) *
                                      static_cast<std::size_t>(height));
    const win32::WindowDc screen(nullptr);
    const HDC memory = CreateCompatibleDC(screen.get());
    const HBITMAP bitmap = CreateCompatibleBitmap(screen.get(), width, height);
    HGDIOBJ const former = SelectObject(memory, bitmap);
    const bool copied = BitBlt(memory, 0, 0, width, height, screen.get(), area.left, area.top,
                               SRCCOPY | CAPTUREBLT) != FALSE;
    SelectObject(memory, former);
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    const bool read = GetDIBits(memory, bitmap, 0, static_cast<UINT>(height), pixels.data(), &info,
                                DIB_RGB_COLORS) != 0;
    DeleteObject(bitmap);
    DeleteDC(memory);
    if (!copied || !read)
        throw std::runtime_error("the screen cannot be read");
    return pixels;
}

}  // namespace

void save_screen(const RECT& area, const std::filesystem::path& file)
{
    std::vector<std::uint32_t> pixels = pixels_of(area);
    const auto width = static_cast<UINT>(area.right - area.left);
    const auto height = static_cast<UINT>(area.bottom - area.top);
    IWICImagingFactory* made = nullptr;
    check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                           IID_PPV_ARGS(&made)),
          "no imaging");
    const Owned<IWICImagingFactory> factory(made);
    IWICStream* opened = nullptr;
    check(factory->CreateStream(&opened), "no stream");
    const Owned<IWICStream> stream(opened);
    check(stream->InitializeFromFilename(file.c_str(), GENERIC_WRITE),
          win32::to_utf8(file.wstring()).c_str());
    IWICBitmapEncoder* chosen = nullptr;
    check(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, &chosen), "no encoder");
    const Owned<IWICBitmapEncoder> encoder(chosen);
    check(encoder->Initialize(stream.get(), WICBitmapEncoderNoCache), "no file");
    IWICBitmapFrameEncode* begun = nullptr;
    check(encoder->CreateNewFrame(&begun, nullptr), "no frame");
    const Owned<IWICBitmapFrameEncode> frame(begun);
    check(frame->Initialize(nullptr), "no frame");
    check(frame->SetSize(width, height), "size");
    // Without an alpha channel: the screen has none.
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    check(frame->SetPixelFormat(&format), "format");
    IWICBitmap* wrapped = nullptr;
    check(factory->CreateBitmapFromMemory(width, height, GUID_WICPixelFormat32bppBGR, width * 4,
                                          width * height * 4,
                                          reinterpret_cast<BYTE*>(pixels.data()), &wrapped),
          "pixels");
    const Owned<IWICBitmap> bitmap(wrapped);
    check(frame->WriteSource(bitmap.get(), nullptr), "pixels");
    check(frame->Commit(), "end of the frame");
    check(encoder->Commit(), "end of the file");
}

RECT united(const RECT& one, const RECT& other)
{
    RECT both{};
    UnionRect(&both, &one, &other);
    return both;
}

RECT area_of(HWND window)
{
    RECT area{};
    GetWindowRect(window, &area);
    return area;
}

}  // namespace support
