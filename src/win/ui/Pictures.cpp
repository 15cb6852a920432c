#include "win/ui/Pictures.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "win/platform/WinServices.h"

namespace win::ui {

namespace {

// The picture's pixels as the list holds them (straight alpha, top row first), read out of its
// strip; empty when they cannot be had.
std::vector<uint32_t> Pixels(HIMAGELIST list, int index, int& w, int& h) {
    IMAGEINFO info{};
    if (!list || index < 0 || index >= ImageList_GetImageCount(list) || !ImageList_GetImageInfo(list, index, &info))
        return {};
    w = info.rcImage.right - info.rcImage.left;
    h = info.rcImage.bottom - info.rcImage.top;
    BITMAP strip{};
    if (!GetObjectW(info.hbmImage, sizeof strip, &strip) || strip.bmBitsPixel != 32) return {};
    std::vector<uint32_t> all(static_cast<size_t>(strip.bmWidth) * static_cast<size_t>(strip.bmHeight));
    BITMAPINFO bi{};
    bi.bmiHeader.biSize = sizeof bi.bmiHeader;
    bi.bmiHeader.biWidth = strip.bmWidth;
    bi.bmiHeader.biHeight = -strip.bmHeight;
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 32;
    bi.bmiHeader.biCompression = BI_RGB;
    HDC dc = CreateCompatibleDC(nullptr);
    const bool read = GetDIBits(dc, info.hbmImage, 0, static_cast<UINT>(strip.bmHeight), all.data(), &bi, DIB_RGB_COLORS) != 0;
    DeleteDC(dc);
    if (!read) return {};
    std::vector<uint32_t> out(static_cast<size_t>(w) * static_cast<size_t>(h));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            out[static_cast<size_t>(y * w + x)] = all[static_cast<size_t>(info.rcImage.top + y) * static_cast<size_t>(strip.bmWidth) +
                                                      static_cast<size_t>(info.rcImage.left + x)];
    return out;
}

HBITMAP Dib(int w, int h, const std::vector<uint32_t>& pixels) {
    uint32_t* bits = nullptr;
    HBITMAP out = NewBitmap32(nullptr, w, h, &bits);
    if (out) std::copy(pixels.begin(), pixels.end(), bits);
    return out;
}

}  // namespace

HBITMAP MenuBitmap(HIMAGELIST list, int index) {
    int w = 0, h = 0;
    std::vector<uint32_t> px = Pixels(list, index, w, h);
    if (px.empty()) return nullptr;
    const COLORREF back = GetSysColor(COLOR_MENU);
    for (uint32_t& p : px) {
        const uint32_t a = p >> 24;
        auto over = [&](int shift, uint32_t under) { return ((((p >> shift) & 0xFF) * a + under * (255 - a)) / 255) << shift; };
        p = 0xFF000000u | over(16, GetRValue(back)) | over(8, GetGValue(back)) | over(0, GetBValue(back));
    }
    return Dib(w, h, px);
}

HICON ButtonIcon(HIMAGELIST list, int index) {
    int w = 0, h = 0;
    std::vector<uint32_t> px = Pixels(list, index, w, h);
    if (px.empty()) return nullptr;
    // The mask: a bit a pixel, rows of whole words, set where the picture is see-through.
    const int stride = (w + 15) / 16 * 2;
    std::vector<BYTE> mask(static_cast<size_t>(stride * h), 0);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if ((px[static_cast<size_t>(y * w + x)] >> 24) < 128) mask[static_cast<size_t>(y * stride + x / 8)] |= static_cast<BYTE>(0x80 >> (x % 8));
    ICONINFO ii{};
    ii.fIcon = TRUE;
    ii.hbmColor = Dib(w, h, px);
    ii.hbmMask = CreateBitmap(w, h, 1, 1, mask.data());
    HICON icon = ii.hbmColor && ii.hbmMask ? CreateIconIndirect(&ii) : nullptr;
    if (ii.hbmColor) DeleteObject(ii.hbmColor);
    if (ii.hbmMask) DeleteObject(ii.hbmMask);
    return icon;
}

}  // namespace win::ui
