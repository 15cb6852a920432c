#pragma once
// The drop of text from other programs on a window (Outlook's items dragged onto the task tree):
// an OLE drop target that takes what offers Unicode or ANSI text and tells, while the drag passes
// and at the drop, the line under the pointer. Anything that offers no text is refused.
#include <windows.h>

#include <functional>

namespace win::ui {

void RegisterTextDrop(HWND hwnd, std::function<int(POINT screen)> lineAt, std::function<void(int line)> over,
                      std::function<void(int line)> drop);
void RevokeTextDrop(HWND hwnd);

}  // namespace win::ui
