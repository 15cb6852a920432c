#pragma once
// TScriptWindows: the top-level windows of the add-in's dialogs and its timer while a script
// drives the add-in (corvelle-winhost's bridge) and the host draws the explorer. The bridge's
// modal loop reads the script's commands, not a window's messages, so the dialogs get no window
// from a modal host: Sync gives every form shown a window of its own, owned by the explorer
// window (the window the panes stand in), and lets go of the windows of forms hidden again.
// Without a pane window (the host draws nothing) Sync makes no window.
#include <memory>
#include <vector>

#include "win/ui/WinUi.h"

namespace win::ui {

class TScriptWindows {
public:
    // forms: the dialogs and the timer as they exist now (null for one freed); panes: the panes.
    void Sync(const std::vector<TForm*>& forms, const std::vector<TForm*>& panes);
    // Lets go of every window made (before the forms are freed).
    void Release() { made_.clear(); }

private:
    std::vector<std::unique_ptr<TFormWindow>> made_;
};

}  // namespace win::ui
