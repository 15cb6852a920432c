#pragma once
// The drop of text from other programs on a window (Outlook's items dragged onto the task tree):
// an OLE drop target that takes what offers Unicode or ANSI text and tells, while the drag passes
// and at the drop, the line under the pointer. Anything that offers no text is refused.
#include <windows.h>
#include <ole2.h>

#include <functional>

namespace win::ui {

void RegisterTextDrop(HWND hwnd, std::function<int(POINT screen)> lineAt, std::function<void(int line)> over,
                      std::function<void(int line)> drop);
void RevokeTextDrop(HWND hwnd);
// The drop target registered on a window by RegisterTextDrop; nullptr for none. A drag that the
// script makes goes to it as OLE's drag and drop hands over a drag.
IDropTarget* TextDropTarget(HWND hwnd);

}  // namespace win::ui
