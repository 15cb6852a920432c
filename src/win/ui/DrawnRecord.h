#pragma once
// What the views drew at their last painting, for tests that hold it against the controls: a
// grid's lines (the texts of each line, left to right) and a tree's items (text, then "bold"
// and "strike" when drawn so), both by line from the top.
#include <windows.h>

#include <map>
#include <string>
#include <vector>

namespace win::ui {

using TDrawnLines = std::map<int, std::vector<std::string>>;
// By the window drawn in: the grid's list view, the tree view.
TDrawnLines& Drawn(HWND hwnd);

}  // namespace win::ui
