// The commands on grid views and page controls: grid, group, ungroup, cell, tab, and the record
// forms of click, dblclick and focus.
#include <charconv>
#include <functional>
#include <optional>

#include "sim/ScriptHost.h"
#include "toolkit/ControlText.h"
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
    input_->ClickRecord(view, index, twice);
}

void TScriptHost::FocusRecord(TcxGridDBTableView& view, const Words& a) {
    int index = a.size() == 2 ? ResolveRecord(view, a[0], a[1]) : -1;
    RequireReachable(view, a[0], "focus");
    input_->FocusRecord(view, index);
}

TcxGridDBTableView& TScriptHost::ViewOf(const std::string& target) {
    auto [formName, name] = SplitTarget(target, "FORM.VIEW");
    TForm& form = FormByName(formName);
    auto* view = dynamic_cast<TcxGridDBTableView*>(&ControlOf(form, formName, name));
    if (!view) throw EScriptError(target + " is not a grid view");
    return *view;
}

namespace {

TcxGridDBColumn& ColumnOf(TcxGridDBTableView& view, const std::string& target, const std::string& name) {
    TcxGridDBColumn* column = view.ColumnByName(name);
    if (!column) throw EScriptError(target + " has no column " + name);
    return *column;
}

}  // namespace

void TScriptHost::CmdGrid(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "grid", "command"));
    TcxGridDBTableView* view = &ViewOf(a[0]);
    std::vector<TcxGridDBColumn*> columns = view->VisibleColumns();
    TcxGridDBColumn* grouping = view->GroupingColumn();
    const std::string indent = grouping ? "  " : "";
    int focused = view->FocusedRecordIndex();
    out_ << "GRID " << a[0] << " rows=" << view->RecordCount() << "\n";
    auto record = [&](int index) {
        std::string line = indent + "[" + view->KeyValue(index).AsString() + "]";
        for (TcxGridDBColumn* c : columns) {
            if (c == grouping) continue;  // the group's line shows it
            line += " " + c->Name() + "=";
            TcxGridDrawnCell cell = view->DrawCell(index, *c);
            if (cell.OwnerDrawn) line += cell.ImageIndex >= 0 ? "img:" + std::to_string(cell.ImageIndex) : "img:-";
            else line += ScriptJson(cell.Text);
        }
        if (index == focused) line += " *";
        out_ << line << "\n";
    };
    auto totals = [&](const std::vector<TcxGridDBTableSummaryItem>& items, const std::function<std::string(int)>& text) {
        std::string out;
        for (size_t i = 0; i < items.size(); ++i)
            out += " " + (items[i].Column ? items[i].Column->Name() : std::string("-")) + "=" +
                   ScriptJson(text(static_cast<int>(i)));
        return out;
    };
    // Every group is printed expanded, whatever the user has opened or closed.
    const bool groupFooters = view->Options.GroupFooters != TcxGroupFootersMode::gfInvisible &&
                              !view->Summary.DefaultGroupSummaryItems.empty();
    if (grouping) {
        for (int g = 0, n = view->GroupCount(); g < n; ++g) {
            TcxGridGroup group = view->Groups(g);
            out_ << "GROUP " << ScriptJson(group.DisplayText) << "\n";
            for (int i = group.FirstRecord; i < group.FirstRecord + group.RecordCount; ++i) record(i);
            if (groupFooters)
                out_ << indent << "GROUPFOOTER"
                     << totals(view->Summary.DefaultGroupSummaryItems, [&](int i) { return view->GroupSummaryText(g, i); })
                     << "\n";
        }
    } else {
        for (int i = 0, n = view->RecordCount(); i < n; ++i) record(i);
    }
    if (view->Options.Footer && !view->Summary.FooterSummaryItems.empty())
        out_ << "FOOTER" << totals(view->Summary.FooterSummaryItems, [&](int i) { return view->FooterSummaryText(i); })
             << "\n";
}

void TScriptHost::CmdGroup(const Words& a) {
    if (a.size() != 2) Usage(Find(Commands(), "group", "command"));
    TcxGridDBTableView& view = ViewOf(a[0]);
    TcxGridDBColumn& column = ColumnOf(view, a[0], a[1]);
    RequireReachable(view, a[0], "group");
    if (!view.Options.GroupByBox) throw EScriptError("cannot group " + a[0] + ": it shows no grouping box");
    if (!column.Options.Grouping || view.DataSet() == nullptr || column.FieldName().empty())
        throw EScriptError("cannot group " + a[0] + " by " + a[1] + ": the column does not group");
    view.UserGroupBy(column);
}

void TScriptHost::CmdUngroup(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "ungroup", "command"));
    TcxGridDBTableView& view = ViewOf(a[0]);
    RequireReachable(view, a[0], "ungroup");
    if (!view.Options.GroupByBox) throw EScriptError("cannot ungroup " + a[0] + ": it shows no grouping box");
    view.UserUngroup();
}

void TScriptHost::CmdCell(const Words& a) {
    if (a.size() != 4) Usage(Find(Commands(), "cell", "command"));
    TcxGridDBTableView& view = ViewOf(a[0]);
    int index = ResolveRecord(view, a[0], a[1]);
    if (index < 0) throw EScriptError("a cell of " + a[0] + " needs a record KEY");
    TcxGridDBColumn& column = ColumnOf(view, a[0], a[2]);
    RequireReachable(view, a[0], "edit");
    if (!view.CellEditable(column)) throw EScriptError("cannot edit " + a[0] + " " + a[2] + ": the column is read-only");
    TField* field = view.DataSet()->FindField(column.FieldName());
    Variant value(a[3]);
    if (field->DataType() == TFieldType::ftBoolean) {
        std::optional<bool> checked = toolkit::ReadBoolean(a[3]);
        if (!checked) throw EScriptError("not a check box value: " + QuoteWord(a[3]) + " (true or false)");
        value = Variant(*checked);
    }
    try {
        static_cast<void>(field->VariantToCell(value));
    } catch (const std::exception&) {
        throw EScriptError("not a value for " + a[2] + ": " + QuoteWord(a[3]));
    }
    view.UserEditCell(index, column, value);
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
    input_->ClickItem(*pages, index);
}

}  // namespace sim
