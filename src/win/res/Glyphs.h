#pragma once
// The add-in's glyphs, drawn at build time from Glyphs.txt and carried as bitmap resources of the
// module that links this unit (Corvelle.dll): the image lists of the forms, named "Form.List" as
// "fmList.cxImageList1" (the forms' own list names repeat from form to form), and every glyph by
// its name (the ribbon's are named after their buttons, as "CorvelleTimer"). All are 32-bit with
// an alpha channel. Unknown names give null; nothing here throws.
#include <windows.h>
#include <commctrl.h>
#include <ocidl.h>
#include <olectl.h>

#include <string>
#include <vector>

namespace win::res {

// The image list of that name, made once and kept for the life of the process (callers don't
// destroy it); null when there is no such list or it cannot be made.
HIMAGELIST ImageList(const std::string& imageListName);
// The image list a form draws its own glyphs from (its tool bar, buttons, menus and tree): the
// form's list of that name ("fmList.cxImageList1", "fmTimer.ImageList1"); null for a form of none.
HIMAGELIST FormImageList(const std::string& formName);
// The number of images the list holds (0 for an unknown name), and its image size in pixels.
int ImageCount(const std::string& imageListName);
int ImageSize(const std::string& imageListName);
// The names of all image lists.
std::vector<std::string> ImageListNames();

// A new 32-bit DIB section of the glyph (the caller deletes it with DeleteObject); null when
// there is no such glyph.
HBITMAP Bitmap(const std::string& glyphName);
// The glyph as the picture that the ribbon's loadImage callback hands to Office (a new reference
// for the caller); E_INVALIDARG for an unknown name.
HRESULT Picture(const std::string& glyphName, IPictureDisp** picture);

}  // namespace win::res
