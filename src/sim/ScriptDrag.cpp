// The scripted host's drags and menus: an Outlook drag passing over the task tree and dropped
// there, the menu the system pops up and the user's pick in it, and the tree's own drag of a
// node onto another.
#include "sim/ScriptHost.h"

#include "toolkit/DBTreeList.h"
#include "toolkit/DragDrop.h"

namespace sim {

namespace {

// The drop target whose acceptor is the control.
TDMTextTarget* DropTargetOf(TForm& form, TControl& control) {
    for (TComponent* c : form.Components())
        if (auto* t = dynamic_cast<TDMTextTarget*>(c))
            if (t->AcceptorControl == &control) return t;
    return nullptr;
}

}  // namespace

int TScriptHost::LineOf(TcxDBTreeList& tree, TcxTreeListNode* node, const std::string& target,
                        const std::string& path) {
    std::vector<TcxTreeListNode*> shown = tree.VisibleNodes();
    if (!node) return static_cast<int>(shown.size());  // the empty space below the last node
    for (size_t i = 0; i < shown.size(); ++i)
        if (shown[i] == node) return static_cast<int>(i);
    throw EScriptError("the node " + path + " of " + target + " is not shown (its parent is collapsed)");
}

TScriptHost::DropSite TScriptHost::ResolveDropSite(const std::string& target) {
    auto [formName, name] = SplitTarget(target, "FORM.TREE");
    TForm& form = FormByName(formName);
    TControl& control = ControlOf(form, formName, name);
    auto* tree = dynamic_cast<TcxDBTreeList*>(&control);
    if (!tree) throw EScriptError(target + " is not a tree");
    TDMTextTarget* drop = DropTargetOf(form, control);
    if (!drop) throw EScriptError(target + " takes no drops from Outlook");
    RequireReachable(control, target, "drag over");
    return {tree, drop};
}

void TScriptHost::CmdDrag(const Words& a) {
    if (a.size() < 2) Usage(Find(Commands(), "drag", "command"));
    DropSite site = ResolveDropSite(a[0]);
    for (size_t i = 1; i < a.size(); ++i) {
        TcxTreeListNode* node = ResolvePath(*site.tree, a[0], a[i]);
        input_->DragOver(*site.tree, *site.target, LineOf(*site.tree, node, a[0], a[i]));
    }
}

void TScriptHost::CmdDrop(const Words& a) {
    if (a.size() != 2) Usage(Find(Commands(), "drop", "command"));
    DropSite site = ResolveDropSite(a[0]);
    TcxTreeListNode* node = ResolvePath(*site.tree, a[0], a[1]);
    shownMenu_ = nullptr;
    input_->Drop(*site.tree, *site.target, LineOf(*site.tree, node, a[0], a[1]));
}

void TScriptHost::ShowPopup(TPopupMenu& menu, int, int) {
    shownMenu_ = &menu;
    std::string line = "MENU";
    const TMenuItem& root = menu.Items();
    bool first = true;
    for (int i = 0; i < root.Count(); ++i) {
        const TMenuItem& item = root.Items(i);
        if (!item.Showing()) continue;
        line += first ? " " : " | ";
        first = false;
        line += item.IsSeparator() ? std::string("-") : QuoteWord(item.DisplayCaption());
    }
    out_ << line << "\n";
}

void TScriptHost::CmdMenu(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "menu", "command"));
    TPopupMenu* menu = shownMenu_;
    if (!menu) throw EScriptError("no menu is shown");
    if (SameName(a[0], "none")) {
        shownMenu_ = nullptr;
        return;
    }
    TMenuItem& root = menu->Items();
    for (int i = 0; i < root.Count(); ++i) {
        TMenuItem& item = root.Items(i);
        if (item.IsSeparator() || !item.Showing() || item.DisplayCaption() != a[0]) continue;
        if (!item.Usable()) throw EScriptError("the menu entry " + QuoteWord(a[0]) + " is disabled");
        // The menu closes first; the entry's handler runs after it, as a menu's click does.
        shownMenu_ = nullptr;
        if (item.Owner())
            item.Owner()->Dispatch([&item] { item.Click(); });
        else
            item.Click();
        return;
    }
    throw EScriptError("the menu shown has no entry " + QuoteWord(a[0]));
}

void TScriptHost::CmdDragNode(const Words& a) {
    if (a.size() != 3) Usage(Find(Commands(), "dragnode", "command"));
    auto [formName, name] = SplitTarget(a[0], "FORM.TREE");
    TForm& form = FormByName(formName);
    TControl& control = ControlOf(form, formName, name);
    auto* tree = dynamic_cast<TcxDBTreeList*>(&control);
    if (!tree) throw EScriptError(a[0] + " is not a tree");
    TcxTreeListNode* node = ResolvePath(*tree, a[0], a[1]);
    if (!node) throw EScriptError("dragnode needs a node to drag, not none");
    TcxTreeListNode* onto = ResolvePath(*tree, a[0], a[2]);
    RequireReachable(control, a[0], "drag in");
    input_->DragNode(*tree, node, onto, LineOf(*tree, onto, a[0], a[2]));
}

}  // namespace sim
