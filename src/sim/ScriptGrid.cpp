// The commands on grid views and page controls: grid, tab, and the record forms of click,
// dblclick and focus.
#include <charconv>
#include <functional>

#include "sim/ScriptHost.h"
#include "toolkit/Controls.h"

namespace sim {

int TScriptHost::ResolveRecord(TcxGridDBTableView& view, const std::string& target, const std::string& key) {
    if (key == "none") return -1;
    int index = view.FindRecordIndexByKeyValue(Variant(key));
    if (index < 0) throw EScriptError("no record " + key + " in " + target);
    return index;
}

void TScriptHost::ClickRecord(TcxGridDBTableView& view, const Words& a, bool twice) {
    const char* action = twice ? "double-click" : "click";
    if (a.size() != 2)
        throw EScriptError(std::string("a ") + (twice ? "double click" : "click") + " on " + a[0] +
                           " needs a record KEY, or none for the empty space");
    int index = ResolveRecord(view, a[0], a[1]);
    RequireReachable(view, a[0], action);
    if (twice) view.UserDblClickRecord(index);
    else view.UserClickRecord(index);
}

void TScriptHost::FocusRecord(TcxGridDBTableView& view, const Words& a) {
    int index = a.size() == 2 ? ResolveRecord(view, a[0], a[1]) : -1;
    RequireReachable(view, a[0], "focus");
    view.UserFocusRecord(index);
}

namespace {

// " COLUMN=\"TEXT\"" for each total of a footer's items.
std::string Totals(const std::vector<TcxGridDBTableSummaryItem>& items, const std::function<std::string(int)>& text) {
    std::string out;
    for (size_t i = 0; i < items.size(); ++i)
        out += " " + (items[i].Column ? items[i].Column->Name() : std::string("-")) + "=" +
               ScriptJson(text(static_cast<int>(i)));
    return out;
}

}  // namespace

void TScriptHost::CmdGrid(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "grid", "command"));
    auto [formName, name] = SplitTarget(a[0], "FORM.VIEW");
    TForm& form = FormByName(formName);
    auto* view = dynamic_cast<TcxGridDBTableView*>(&ControlOf(form, formName, name));
    if (!view) throw EScriptError(a[0] + " is not a grid view");
    std::vector<TcxGridDBColumn*> columns = view->VisibleColumns();
    TcxGridDBColumn* grouping = view->GroupingColumn();
    const std::string indent = grouping ? "  " : "";
    int focused = view->FocusedRecordIndex();
    out_ << "GRID " << a[0] << " rows=" << view->RecordCount() << "\n";
    std::string line;
    for (const TcxGridViewRow& r : view->ViewRows()) {
        switch (r.Kind) {
            case TcxGridRowKind::Record:
                line = indent + "[" + view->KeyValue(r.Index).AsString() + "]";
                for (TcxGridDBColumn* c : columns) {
                    if (c == grouping) continue;  // the group's line shows it
                    line += " " + c->Name() + "=";
                    TcxGridDrawnCell cell = view->DrawCell(r.Index, *c);
                    if (cell.OwnerDrawn) line += cell.ImageIndex >= 0 ? "img:" + std::to_string(cell.ImageIndex) : "img:-";
                    else line += ScriptJson(cell.Text);
                }
                if (r.Index == focused) line += " *";
                break;
            case TcxGridRowKind::Group: {
                TcxGridGroup g = view->Groups(r.Index);
                line = "GROUP " + grouping->Name() + "=" + ScriptJson(g.DisplayText) + " rows=" +
                       std::to_string(g.RecordCount) + (g.Expanded ? " expanded" : " collapsed");
                break;
            }
            case TcxGridRowKind::GroupFooter:
                line = indent + "GROUPFOOTER" + Totals(view->Summary.DefaultGroupSummaryItems, [&](int i) {
                           return view->GroupSummaryText(r.Index, i);
                       });
                break;
            case TcxGridRowKind::Footer:
                line = "FOOTER" + Totals(view->Summary.FooterSummaryItems, [&](int i) { return view->FooterSummaryText(i); });
                break;
        }
        out_ << line << "\n";
    }
}

void TScriptHost::CmdTab(const Words& a) {
    if (a.size() != 2) Usage(Find(Commands(), "tab", "command"));
    auto [formName, name] = SplitTarget(a[0], "FORM.PAGECONTROL");
    TForm& form = FormByName(formName);
    auto* pages = dynamic_cast<TPageControl*>(&ControlOf(form, formName, name));
    if (!pages) throw EScriptError(a[0] + " is not a page control");
    int index = -1;
    const std::string& word = a[1];
    auto [end, ec] = std::from_chars(word.data(), word.data() + word.size(), index);
    if (ec != std::errc() || end != word.data() + word.size())
        throw EScriptError("not a page index: " + QuoteWord(word));
    if (index < 0 || index >= pages->PageCount())
        throw EScriptError(a[0] + " has no page " + word + " (it has " + std::to_string(pages->PageCount()) + ")");
    if (!pages->Pages(index).Visible()) throw EScriptError("cannot switch " + a[0] + " to page " + word + ": it is hidden");
    RequireReachable(*pages, a[0], "switch");
    pages->UserClickItem(index);
}

}  // namespace sim
