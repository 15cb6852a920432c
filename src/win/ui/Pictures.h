#pragma once
// Pictures of an image list made for the controls that cannot draw from one: a menu entry's
// bitmap and a button's icon. Each is new (the caller deletes it); null for no such picture.
#include <windows.h>
#include <commctrl.h>

namespace win::ui {

// A 32-bit bitmap laid over the menu's colour, opaque, its alpha all set: menus that draw such
// bitmaps without blending show no black squares, and those that blend show the same.
HBITMAP MenuBitmap(HIMAGELIST list, int index);
// An icon with its alpha and a mask made from it, so that a disabled button draws the picture's
// shape greyed rather than a grey square.
HICON ButtonIcon(HIMAGELIST list, int index);

}  // namespace win::ui
