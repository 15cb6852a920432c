#include "win/ui/ScriptWindows.h"

#include <algorithm>

#include "toolkit/Forms.h"

namespace win::ui {

void TScriptWindows::Sync(const std::vector<TForm*>& forms, const std::vector<TForm*>& panes) {
    // A window whose form is hidden, or gone, goes.
    std::erase_if(made_, [&](const std::unique_ptr<TFormWindow>& w) {
        TForm* form = &w->Form();
        return std::find(forms.begin(), forms.end(), form) == forms.end() || !form->Visible();
    });
    HWND owner = nullptr;
    for (TForm* pane : panes)
        if (TFormWindow* w = pane ? FindFormWindow(*pane) : nullptr) {
            owner = GetAncestor(w->Handle(), GA_ROOT);
            break;
        }
    if (!owner) return;
    bool made = false;
    for (TForm* form : forms)
        if (form && form->Visible() && !FindFormWindow(*form)) {
            made_.push_back(CreateTopWindow(*form, owner));
            made = true;
        }
    if (made) RefreshAll();
}

}  // namespace win::ui
