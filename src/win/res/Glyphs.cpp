#include "win/res/Glyphs.h"

#include <map>
#include <mutex>

#include "GlyphCatalog.h"
#include "win/platform/WinServices.h"

namespace win::res {
namespace {

template <size_t N>
const catalog::TEntry* Find(const catalog::TEntry (&entries)[N], const std::string& name) {
    for (const catalog::TEntry& e : entries)
        if (name == e.name) return &e;
    return nullptr;
}

HBITMAP Load(const catalog::TEntry& e) {
    return static_cast<HBITMAP>(
        LoadImageW(win::ThisModule(), MAKEINTRESOURCEW(e.id), IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION));
}

}  // namespace

HIMAGELIST ImageList(const std::string& imageListName) {
    static std::mutex lock;
    static std::map<std::string, HIMAGELIST> made;
    std::lock_guard<std::mutex> hold(lock);
    if (auto it = made.find(imageListName); it != made.end()) return it->second;
    const catalog::TEntry* e = Find(catalog::kLists, imageListName);
    if (!e) return nullptr;
    HBITMAP strip = Load(*e);
    if (!strip) return nullptr;
    HIMAGELIST list = ImageList_Create(e->size, e->size, ILC_COLOR32, e->count, 0);
    if (list && ImageList_Add(list, strip, nullptr) < 0) {
        ImageList_Destroy(list);
        list = nullptr;
    }
    DeleteObject(strip);
    if (list) made[imageListName] = list;
    return list;
}

HIMAGELIST FormImageList(const std::string& formName) {
    for (const char* list : {".cxImageList1", ".ImageList1"})
        if (Find(catalog::kLists, formName + list)) return ImageList(formName + list);
    return nullptr;
}

int ImageCount(const std::string& imageListName) {
    const catalog::TEntry* e = Find(catalog::kLists, imageListName);
    return e ? e->count : 0;
}

int ImageSize(const std::string& imageListName) {
    const catalog::TEntry* e = Find(catalog::kLists, imageListName);
    return e ? e->size : 0;
}

std::vector<std::string> ImageListNames() {
    std::vector<std::string> names;
    for (const catalog::TEntry& e : catalog::kLists) names.emplace_back(e.name);
    return names;
}

HBITMAP Bitmap(const std::string& glyphName) {
    const catalog::TEntry* e = Find(catalog::kGlyphs, glyphName);
    return e ? Load(*e) : nullptr;
}

HRESULT Picture(const std::string& glyphName, IPictureDisp** picture) {
    if (!picture) return E_POINTER;
    *picture = nullptr;
    HBITMAP bitmap = Bitmap(glyphName);
    if (!bitmap) return E_INVALIDARG;
    PICTDESC desc{};
    desc.cbSizeofstruct = sizeof desc;
    desc.picType = PICTYPE_BITMAP;
    desc.bmp.hbitmap = bitmap;
    // The picture owns the bitmap from here.
    HRESULT hr = OleCreatePictureIndirect(&desc, IID_IPictureDisp, TRUE, reinterpret_cast<void**>(picture));
    if (FAILED(hr)) DeleteObject(bitmap);
    return hr;
}

}  // namespace win::res
