// The glyphs as the panes and the ribbon get them: the image lists that the forms draw from,
// with as many images as the forms use, and the ribbon's buttons each with a 32-bit picture of
// its own handed over by the add-in's loadImage callback, as Office asks for it.
#include <windows.h>
#include <commctrl.h>
#include <olectl.h>

#include <set>
#include <tuple>

#include "WinFixture.h"
#include "win/res/Glyphs.h"

namespace {

using namespace wintest;
using namespace win;

// The bitmap's width, height and bits a pixel.
std::tuple<int, int, int> Shape(HBITMAP bitmap) {
    BITMAP b{};
    if (!GetObjectW(bitmap, sizeof b, &b)) return {0, 0, 0};
    return {b.bmWidth, b.bmHeight, b.bmBitsPixel};
}

TEST(GlyphsTest, EveryImageListHoldsTheImagesItsFormUses) {
    const std::pair<const char*, int> lists[] = {{"fmList.cxImageList1", 25}, {"fmTimer.ImageList1", 12},
                                                  {"fmEmails.cxImageList1", 2}, {"fmContacts.cxImageList1", 2},
                                                  {"fmNotes.cxImageList1", 1},  {"fmTime.cxImageList1", 1}};
    for (const auto& [name, count] : lists) {
        HIMAGELIST list = win::res::ImageList(name);
        ASSERT_NE(list, nullptr) << name;
        EXPECT_EQ(ImageList_GetImageCount(list), count) << name;
        int cx = 0, cy = 0;
        ImageList_GetIconSize(list, &cx, &cy);
        EXPECT_EQ(cx, 16) << name;
        EXPECT_EQ(cy, 16) << name;
        // The same list each time.
        EXPECT_EQ(win::res::ImageList(name), list);
    }
    EXPECT_EQ(win::res::ImageList("fmList.NoSuchList"), nullptr);
    EXPECT_EQ(win::res::ImageCount("fmList.NoSuchList"), 0);

    // A glyph has colour where it is drawn and is transparent around it: the high importance
    // mark is a red bar in the middle and nothing at the corner.
    HBITMAP high = win::res::Bitmap("high");
    ASSERT_NE(high, nullptr);
    EXPECT_EQ(Shape(high), std::make_tuple(16, 16, 32));
    DIBSECTION dib{};
    ASSERT_EQ(GetObjectW(high, sizeof dib, &dib), static_cast<int>(sizeof dib));
    auto pixel = [&](int x, int y) {  // bottom-up rows, BGRA
        const auto* bits = static_cast<const unsigned char*>(dib.dsBm.bmBits);
        return bits + ((15 - y) * 16 + x) * 4;
    };
    EXPECT_EQ(pixel(0, 0)[3], 0);
    EXPECT_EQ(pixel(8, 5)[3], 255);
    EXPECT_GT(pixel(8, 5)[2], 150);  // red
    DeleteObject(high);
    EXPECT_EQ(win::res::Bitmap("no such glyph"), nullptr);
}

class RibbonImageTest : public WinHostTest {};

TEST_F(RibbonImageTest, EachRibbonButtonGetsItsOwnThirtyTwoBitPictureByLoadImage) {
    ASSERT_EQ(Run("start\n"), 0) << Output();
    const std::string& xml = host_->RibbonXml();
    ASSERT_NE(xml.find("loadImage=\"adxCOMAddInModuleLoadImage\""), std::string::npos);
    auto dispatch = TComPtr<IUnknown>(host_->AddIn()).As<IDispatch>(IID_IDispatch);
    ASSERT_TRUE(dispatch);
    std::wstring callback = L"adxCOMAddInModuleLoadImage";
    LPOLESTR names[] = {callback.data()};
    DISPID id = DISPID_UNKNOWN;
    ASSERT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), S_OK);

    std::set<OLE_HANDLE> seen;
    for (const char* button : {"CorvelleOptions", "CorvelleFindTask", "CorvelleTaskReport", "CorvelleTimeReport",
                               "CorvelleTimer", "CorvelleHelp", "CorvelleAbout"}) {
        ASSERT_NE(xml.find(std::string("image=\"") + button + "\""), std::string::npos) << button;
        TVariant arg;
        V_VT(arg.Get()) = VT_BSTR;
        V_BSTR(arg.Get()) = NewBstr(button);
        DISPPARAMS params{arg.Get(), nullptr, 1, 0};
        TVariant result;
        ASSERT_EQ(dispatch->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result.Get(), nullptr,
                                   nullptr),
                  S_OK)
            << button;
        ASSERT_EQ(V_VT(result.Get()), VT_DISPATCH);
        auto picture = TComPtr<IDispatch>(V_DISPATCH(result.Get())).As<IPicture>(IID_IPicture);
        ASSERT_TRUE(picture) << button;
        SHORT type = 0;
        picture->get_Type(&type);
        EXPECT_EQ(type, PICTYPE_BITMAP);
        OLE_HANDLE handle = 0;
        picture->get_Handle(&handle);
        EXPECT_EQ(Shape(reinterpret_cast<HBITMAP>(static_cast<UINT_PTR>(handle))), std::make_tuple(32, 32, 32))
            << button;
        seen.insert(handle);
    }
    EXPECT_EQ(seen.size(), 7u);

    // A name that is no glyph gets no picture, and the add-in goes on.
    TVariant arg;
    V_VT(arg.Get()) = VT_BSTR;
    V_BSTR(arg.Get()) = NewBstr("NoSuchImage");
    DISPPARAMS params{arg.Get(), nullptr, 1, 0};
    TVariant result;
    EXPECT_EQ(dispatch->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result.Get(), nullptr,
                               nullptr),
              E_INVALIDARG);
    EXPECT_EQ(Run("ribbon \"Timer\"\n"), 0) << Output();
}

}  // namespace

// Outlook's process may run the older common controls: the add-in carries its own manifest
// (resource 2), which asks for version 6, so that its windows get the themed controls.
TEST(GlyphsTest, TheLibraryAsksForTheThemedCommonControlsThroughItsOwnManifest) {
    const std::wstring dll = Wide(WindowsPath(std::string(CORVELLE_BINARY_DIR) + "/Corvelle.dll"));
    HMODULE module = LoadLibraryExW(dll.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    ASSERT_NE(module, nullptr);
    HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(2), MAKEINTRESOURCEW(24));
    ASSERT_NE(found, nullptr);
    const char* text = static_cast<const char*>(LockResource(LoadResource(module, found)));
    std::string manifest(text, SizeofResource(module, found));
    EXPECT_NE(manifest.find("Microsoft.Windows.Common-Controls"), std::string::npos);
    EXPECT_NE(manifest.find("version=\"6.0.0.0\""), std::string::npos);
    FreeLibrary(module);
}
