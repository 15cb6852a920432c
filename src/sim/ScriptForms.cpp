// The commands that act on forms: click, dblclick, focus, call, set, get, tree. The forms of
// click, dblclick and focus on a grid view's records are in ScriptGrid.cpp.
#include "sim/ScriptHost.h"

#include <algorithm>
#include <cstdio>

#include "filing/ufmAppointments.h"
#include "filing/ufmContacts.h"
#include "filing/ufmEmails.h"
#include "filing/ufmNotes.h"
#include "host/AddinModule.h"
#include "host/Items.h"
#include "host/uSink.h"
#include "sim/SimItem.h"
#include "support/ufmAbout.h"
#include "support/ufmOptions.h"
#include "tasks/ufmAddTask.h"
#include "tasks/ufmList.h"
#include "tasks/ufmNewTask.h"
#include "time/ufmChooseTask.h"
#include "time/ufmTime.h"
#include "time/ufmTimeMemo.h"
#include "time/ufmTimer.h"
#include "toolkit/ControlText.h"
#include "toolkit/Controls.h"

namespace sim {

namespace {

constexpr const char* kModule = "module";

TForm* Pane(TAddInModule& m, const char* name) {
    for (int i = 0; i < m.adxOlFormsManager1.Count(); ++i)
        if (SameName(m.adxOlFormsManager1.Items(i).FormClassName, std::string("T") + name))
            return m.adxOlFormsManager1.Items(i).CurrentForm();
    return nullptr;
}

struct FormEntry {
    const char* name;
    TForm* (*get)(TAddInModule& m);
};

// The forms a script can name: the six panes, as the forms manager holds them for the explorer,
// and the seven dialogs the module creates at start-up.
const FormEntry kForms[] = {
    {"fmList", [](TAddInModule& m) { return Pane(m, "fmList"); }},
    {"fmTime", [](TAddInModule& m) { return Pane(m, "fmTime"); }},
    {"fmEmails", [](TAddInModule& m) { return Pane(m, "fmEmails"); }},
    {"fmNotes", [](TAddInModule& m) { return Pane(m, "fmNotes"); }},
    {"fmContacts", [](TAddInModule& m) { return Pane(m, "fmContacts"); }},
    {"fmAppointments", [](TAddInModule& m) { return Pane(m, "fmAppointments"); }},
    {"fmNewTask", [](TAddInModule& m) -> TForm* { return m.Vars().fmNewTask.get(); }},
    {"fmTimeMemo", [](TAddInModule& m) -> TForm* { return m.Vars().fmTimeMemo.get(); }},
    {"fmChooseTask", [](TAddInModule& m) -> TForm* { return m.Vars().fmChooseTask.get(); }},
    {"fmTimer", [](TAddInModule& m) -> TForm* { return m.Vars().fmTimer.get(); }},
    {"fmOptions", [](TAddInModule& m) -> TForm* { return m.Vars().fmOptions.get(); }},
    {"fmAddTask", [](TAddInModule& m) -> TForm* { return m.Vars().fmAddTask.get(); }},
    {"fmAbout", [](TAddInModule& m) -> TForm* { return m.Vars().fmAbout.get(); }},
};

struct ModuleHandler {
    const char* name;
    void (TAddInModule::*handler)();
    bool lifecycle;  // frees or makes forms: not while a modal form is open
};

// The module's handlers a script can call by name.
const ModuleHandler kModuleHandlers[] = {
    {"AddInInitialize", &TAddInModule::AddInInitialize, true},
    {"AddInStartupComplete", &TAddInModule::AddInStartupComplete, true},
    {"AddInBeginShutdown", &TAddInModule::AddInBeginShutdown, true},
    {"AddInFinalize", &TAddInModule::AddInFinalize, true},
    {"adxOutlookAppEvents1Quit", &TAddInModule::adxOutlookAppEvents1Quit, true},
    {"adxRibbonTab1Controls0Controls0Click", &TAddInModule::adxRibbonTab1Controls0Controls0Click, false},
    {"adxRibbonTab1Controls2Controls0Click", &TAddInModule::adxRibbonTab1Controls2Controls0Click, false},
    {"adxRibbonTab1Controls4Controls0Click", &TAddInModule::adxRibbonTab1Controls4Controls0Click, false},
    {"adxRibbonTab1Controls4Controls1Click", &TAddInModule::adxRibbonTab1Controls4Controls1Click, false},
    {"adxRibbonTab1Controls3Controls0Click", &TAddInModule::adxRibbonTab1Controls3Controls0Click, false},
    {"adxRibbonTab1Controls6Controls0Click", &TAddInModule::adxRibbonTab1Controls6Controls0Click, false},
    {"adxRibbonTab1Controls5Controls0Click", &TAddInModule::adxRibbonTab1Controls5Controls0Click, false},
    {"LoadTasks", &TAddInModule::LoadTasks, false},
    {"CopyAllTasks", &TAddInModule::CopyAllTasks, false},
    {"LoadTime", &TAddInModule::LoadTime, false},
    {"LoadEmails", &TAddInModule::LoadEmails, false},
    {"LoadContacts", &TAddInModule::LoadContacts, false},
    {"LoadDistLists", &TAddInModule::LoadDistLists, false},
    {"LoadAppointments", &TAddInModule::LoadAppointments, false},
    {"LoadNotes", &TAddInModule::LoadNotes, false},
    {"SaveTasks", &TAddInModule::SaveTasks, false},
    {"SaveTime", &TAddInModule::SaveTime, false},
    {"SaveEmails", &TAddInModule::SaveEmails, false},
    {"SaveContacts", &TAddInModule::SaveContacts, false},
    {"SaveDistLists", &TAddInModule::SaveDistLists, false},
    {"SaveAppointments", &TAddInModule::SaveAppointments, false},
    {"SaveNotes", &TAddInModule::SaveNotes, false},
};

// The number column of a tree: the first column bound to the field Number.
TcxDBTreeListColumn* NumberColumn(TcxDBTreeList& tree) {
    for (int i = 0; i < tree.ColumnCount(); ++i)
        if (SameName(tree.Columns(i).FieldName(), "Number")) return &tree.Columns(i);
    return nullptr;
}

// The index of the item of that text in a control with items: a button of a button group by
// its caption or hint, an item of a list, a page by its tab's caption. -1 when none has it.
int ItemIndexOf(TControl& c, const std::string& text, bool& hasItems) {
    hasItems = true;
    if (auto* g = dynamic_cast<TButtonGroup*>(&c)) {
        for (int i = 0; i < g->Count(); ++i)
            if (g->Items(i).Caption == text || g->Items(i).Hint == text) return i;
        return -1;
    }
    if (auto* l = dynamic_cast<TListBox*>(&c)) return l->IndexOf(text);
    if (auto* s = dynamic_cast<TSearchList*>(&c)) {
        for (int i = 0; i < s->Count(); ++i)
            if (s->Items()[static_cast<size_t>(i)] == text) return i;
        return -1;
    }
    if (auto* p = dynamic_cast<TPageControl*>(&c)) {
        for (int i = 0; i < p->PageCount(); ++i)
            if (p->Pages(i).Caption() == text) return i;
        return -1;
    }
    hasItems = false;
    return -1;
}

// The texts of a control's items, for `get FORM.CONTROL.Items`; nothing for a control with none.
std::optional<std::vector<std::string>> ItemTexts(TComponent& c) {
    std::vector<std::string> out;
    if (auto* g = dynamic_cast<TButtonGroup*>(&c)) {
        for (int i = 0; i < g->Count(); ++i) out.push_back(g->Items(i).Caption.empty() ? g->Items(i).Hint : g->Items(i).Caption);
        return out;
    }
    if (auto* l = dynamic_cast<TListBox*>(&c)) return l->Items();
    if (auto* s = dynamic_cast<TSearchList*>(&c)) return s->Items();
    if (auto* p = dynamic_cast<TPageControl*>(&c)) {
        for (int i = 0; i < p->PageCount(); ++i) out.push_back(p->Pages(i).Caption());
        return out;
    }
    return std::nullopt;
}

nlohmann::ordered_json NameOrNull(const TComponent* c) {
    if (!c) return nullptr;
    return c->Name();
}

template <class T>
nlohmann::ordered_json Assigned(const std::shared_ptr<T>& p, const char* what) {
    if (!p) return nullptr;
    return what;
}

// The path of a folder of another backend (the Windows object model), read through the object
// model: the names below the mailbox root, or the root's own name.
std::string ObjectModelPath(outlook::MAPIFolder& f) {
    std::vector<std::string> names{f.Name()};
    auto parent = std::dynamic_pointer_cast<outlook::MAPIFolder>(f.Parent());
    while (parent) {
        names.push_back(parent->Name());
        parent = std::dynamic_pointer_cast<outlook::MAPIFolder>(parent->Parent());
    }
    if (names.size() == 1) return names.front();
    std::string path;
    for (size_t i = names.size() - 1; i-- > 0;) path += (path.empty() ? "" : "/") + names[i];
    return path;
}

nlohmann::ordered_json FolderPath(const std::shared_ptr<outlook::MAPIFolder>& f) {
    if (!f) return nullptr;
    auto folder = std::dynamic_pointer_cast<TSimFolder>(f);
    if (!folder) return ObjectModelPath(*f);
    std::string path = folder->Path();
    auto slash = path.find('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

nlohmann::ordered_json Date(TDateTime d) { return ScriptValue(Variant::FromDate(d)); }

// A component's main value for `get`: a duration as "HH:MM:SS", others as ScriptValue gives.
nlohmann::ordered_json ComponentValue(TComponent& c) {
    if (auto* duration = dynamic_cast<TTimeEdit*>(&c)) {
        int s = duration->TotalSeconds();
        char text[16];
        std::snprintf(text, sizeof text, "%02d:%02d:%02d", s / 3600, s / 60 % 60, s % 60);
        return std::string(text);
    }
    return ScriptValue(c.MainValue());
}

nlohmann::ordered_json Money(Currency c) { return ScriptValue(Variant(c)); }

struct VariableEntry {
    const char* name;
    nlohmann::ordered_json (*get)(TModuleGlobals& g);
};

#define CV_VALUE(Var) {#Var, [](TModuleGlobals& g) -> nlohmann::ordered_json { return g.Var; }}
#define CV_DATE(Var) {#Var, [](TModuleGlobals& g) { return Date(g.Var); }}
#define CV_FORM(Var) {#Var, [](TModuleGlobals& g) { return NameOrNull(g.Var ? &*g.Var : nullptr); }}
#define CV_TABLE(Var) \
    {#Var, [](TModuleGlobals& g) { return g.Var ? nlohmann::ordered_json(g.Var->Name()) : nlohmann::ordered_json(); }}
#define CV_FOLDER(Var) {#Var, [](TModuleGlobals& g) { return FolderPath(g.Var); }}

// The module-wide variables a script can read by their bare names. Objects read as null when
// they are not set, else as a name for them: a form's or table's name, a folder's path below the
// mailbox root, an item's EntryID, a node's key.
const VariableEntry kVariables[] = {
    CV_VALUE(CurrentTaskID),
    CV_VALUE(TaskOpen),
    CV_VALUE(TaskStatus),
    CV_VALUE(FoundTaskID),
    CV_VALUE(NewParentID),
    CV_VALUE(TaskDescription),
    CV_VALUE(TaskFullNumber),
    CV_VALUE(TaskFullDescription),
    CV_VALUE(TaskChanged),
    CV_VALUE(CompleteChanged),
    CV_VALUE(CurrentUserName),
    CV_VALUE(CurrentUserAddress),
    CV_VALUE(TaskParentID),
    CV_VALUE(TaskNumber),
    CV_VALUE(TaskImportance),
    CV_VALUE(TaskPercent),
    CV_VALUE(TaskOwner),
    CV_VALUE(TaskComplete),
    CV_VALUE(TaskLevel),
    CV_VALUE(FocusedNodeIndex),
    CV_VALUE(ItemType),
    CV_VALUE(TaskCookie),
    CV_DATE(TaskCreateDate),
    CV_DATE(TaskDueDate),
    CV_DATE(TaskStartDate),
    CV_DATE(TaskDateComplete),
    CV_VALUE(TimerEntryID),
    CV_VALUE(TimerTaskID),
    CV_VALUE(TimerTaskName),
    CV_VALUE(TimerTaskFullName),
    CV_VALUE(TimerTaskFullNo),
    CV_VALUE(TimerNote),
    {"TimerDecTime", [](TModuleGlobals& g) { return Money(g.TimerDecTime); }},
    CV_VALUE(TimerRunning),
    CV_VALUE(TimerIsNew),
    CV_VALUE(TimerCaption),
    CV_DATE(ShowTimeSince),
    CV_VALUE(ChosenTaskID),
    CV_VALUE(ChosenParentID),
    CV_VALUE(ChosenTaskName),
    CV_VALUE(ChosenNumber),
    CV_VALUE(ChosenTaskFullName),
    CV_VALUE(ChosenTaskFullNo),
    CV_DATE(ChosenDueDate),
    CV_VALUE(TasksPath),
    CV_VALUE(TimePath),
    CV_VALUE(EmailsPath),
    CV_VALUE(ContactsPath),
    CV_VALUE(DistlistsPath),
    CV_VALUE(AppointmentsPath),
    CV_VALUE(NotesPath),
    CV_FORM(fmNewTask),
    CV_FORM(fmTimeMemo),
    CV_FORM(fmChooseTask),
    CV_FORM(fmTimer),
    CV_FORM(fmOptions),
    CV_FORM(fmAddTask),
    CV_FORM(fmAbout),
    CV_FORM(fmList),
    CV_FORM(fmTime),
    CV_FORM(fmEmails),
    CV_FORM(fmNotes),
    CV_FORM(fmContacts),
    CV_FORM(fmAppointments),
    CV_TABLE(MemDataTasks),
    CV_TABLE(MemDataAddTask),
    CV_TABLE(MemDataTime),
    CV_TABLE(MemDataEmails),
    CV_TABLE(MemDataContacts),
    CV_TABLE(MemDataDistLists),
    CV_TABLE(MemDataAppointments),
    CV_TABLE(MemDataNotes),
    CV_FOLDER(TasksFolder),
    CV_FOLDER(InboxFolder),
    CV_FOLDER(SentFolder),
    CV_FOLDER(RootFolder),
    CV_FOLDER(EmailFolder),
    CV_FOLDER(DeletedFolder),
    CV_FOLDER(NotesFolder),
    CV_FOLDER(ContactsFolder),
    CV_FOLDER(CalendarFolder),
    {"OutlookApp", [](TModuleGlobals& g) { return Assigned(g.OutlookApp, "Outlook.Application"); }},
    {"NameSpace", [](TModuleGlobals& g) { return Assigned(g.NameSpace, "MAPI"); }},
    {"CurrentUser", [](TModuleGlobals& g) { return Assigned(g.CurrentUser, "Recipient"); }},
    {"TaskConnection", [](TModuleGlobals& g) { return Assigned(g.TaskConnection, "IConnectionPoint"); }},
    {"TaskSink", [](TModuleGlobals& g) { return Assigned(g.TaskSink, "TEventSink"); }},
    {"MailItems",
     [](TModuleGlobals& g) -> nlohmann::ordered_json {
         if (!g.MailItems) return nullptr;
         return g.MailItems->Connected() ? "TItems, connected" : "TItems, not connected";
     }},
    {"TaskItem",
     [](TModuleGlobals& g) -> nlohmann::ordered_json {
         if (!g.TaskItem) return nullptr;
         auto item = TSimItem::From(g.TaskItem);
         std::string id = item ? item->Id() : g.TaskItem->EntryID();
         return id.empty() ? std::string("-") : id;
     }},
    {"FocusedNode",
     [](TModuleGlobals& g) -> nlohmann::ordered_json {
         if (!g.FocusedNode) return nullptr;
         return ScriptValue(g.FocusedNode->KeyValue());
     }},
    {"TaskTree",
     [](TModuleGlobals& g) -> nlohmann::ordered_json {
         if (!g.TaskTree) return nullptr;
         std::string owner = g.TaskTree->Owner() ? g.TaskTree->Owner()->Name() + "." : std::string();
         return owner + g.TaskTree->Name();
     }},
};

#undef CV_VALUE
#undef CV_DATE
#undef CV_FORM
#undef CV_TABLE
#undef CV_FOLDER

}  // namespace

// ---------------------------------------------------------------------------------------------
// Finding forms, controls and nodes

void TScriptHost::AddForm(TForm& form) {
    RemoveForm(form);
    extraForms_.push_back(&form);
}

void TScriptHost::RemoveForm(TForm& form) { std::erase(extraForms_, &form); }

std::vector<TForm*> TScriptHost::AllForms() {
    std::vector<TForm*> out;
    if (module_)
        for (const FormEntry& e : kForms)
            if (TForm* form = e.get(*module_)) out.push_back(form);
    for (TForm* f : extraForms_)
        if (std::find(out.begin(), out.end(), f) == out.end()) out.push_back(f);
    return out;
}

TForm& TScriptHost::FormByName(const std::string& name) {
    for (TForm* f : extraForms_)
        if (SameName(f->Name(), name)) return *f;
    for (const FormEntry& e : kForms) {
        if (!SameName(e.name, name)) continue;
        if (!module_) throw EScriptError("the form " + name + " does not exist (the add-in has not been started)");
        TForm* form = e.get(*module_);
        if (!form) throw EScriptError("the form " + name + " does not exist now");
        return *form;
    }
    throw EScriptError("unknown form " + name);
}

std::pair<std::string, std::string> TScriptHost::SplitTarget(const std::string& target, const char* shape) {
    auto dot = target.find('.');
    if (dot == std::string::npos || dot == 0 || dot + 1 == target.size())
        throw EScriptError("expected " + std::string(shape) + ", not " + target);
    return {target.substr(0, dot), target.substr(dot + 1)};
}

TControl& TScriptHost::ControlOf(TForm& form, const std::string& formName, const std::string& name) {
    TComponent* c = form.FindComponent(name);
    if (!c) throw EScriptError("unknown control " + formName + "." + name);
    auto* control = dynamic_cast<TControl*>(c);
    if (!control) throw EScriptError(formName + "." + name + " is not a control");
    return *control;
}

void TScriptHost::RequireReachable(TControl& control, const std::string& target, const char* action) {
    std::string why;
    if (control.Owner() && !control.Owner()->Visible())
        why = "the form " + control.Owner()->Name() + " is not shown";
    else if (!control.Showing())
        why = "it is not showing";
    else if (!control.Usable())
        why = "it is disabled";
    if (!why.empty()) throw EScriptError("cannot " + std::string(action) + " " + target + ": " + why);
}

TcxTreeListNode* TScriptHost::ResolvePath(TcxDBTreeList& tree, const std::string& target, const std::string& path) {
    if (path == "none") return nullptr;
    if (path.size() > 1 && path[0] == '#') {
        TcxTreeListNode* node = tree.FindNodeByKeyValue(Variant(path.substr(1)));
        if (!node) throw EScriptError("no node " + path + " in " + target);
        return node;
    }
    TcxDBTreeListColumn* number = NumberColumn(tree);
    if (!number) throw EScriptError(target + " has no number column: name the node by #ID");
    const std::vector<TcxTreeListNode*>* level = nullptr;
    std::vector<TcxTreeListNode*> roots;
    for (int i = 0; i < tree.Count(); ++i) roots.push_back(tree.Items(i));
    level = &roots;
    TcxTreeListNode* node = nullptr;
    size_t start = 0;
    while (true) {
        size_t dot = path.find('.', start);
        std::string part = path.substr(start, dot == std::string::npos ? std::string::npos : dot - start);
        if (part.empty()) throw EScriptError("not a node path: " + path + " (3.1.2, #ID or none)");
        node = nullptr;
        for (TcxTreeListNode* n : *level)
            if (n->Texts(number->ItemIndex()) == part) {
                node = n;
                break;
            }
        if (!node) throw EScriptError("no node " + path + " in " + target);
        if (dot == std::string::npos) break;
        level = &node->Children();
        start = dot + 1;
    }
    return node;
}

void TScriptHost::RunModuleHandler(const std::string& name) {
    TAddInModule& m = RequireModule();
    for (const ModuleHandler& h : kModuleHandlers) {
        if (!SameName(h.name, name)) continue;
        if (h.lifecycle) RequireNoModal(("call module." + name).c_str());
        // As the framework delivers the module's events: what escapes goes to its error handler.
        try {
            (m.*h.handler)();
        } catch (...) {
            m.HandleError(std::current_exception());
        }
        return;
    }
    throw EScriptError("unknown handler module." + name);
}

// ---------------------------------------------------------------------------------------------
// The user's actions

void TScriptHost::CmdClick(const Words& a) {
    if (a.empty() || a.size() > 2) Usage(Find(Commands(), "click", "command"));
    auto [formName, name] = SplitTarget(a[0], "FORM.CONTROL");
    if (SameName(formName, kModule)) {
        // A button of the ribbon by its ID.
        if (a.size() != 1) Usage(Find(Commands(), "click", "command"));
        TAddInModule& m = RequireRunning();
        for (TadxRibbonGroup& g : m.adxRibbonTab1.Controls)
            for (TadxRibbonButton& b : g.Controls)
                if (SameName(b.Id, name)) {
                    if (!g.Visible) throw EScriptError("the ribbon button " + b.Id + " is not shown");
                    if (b.OnClick) b.OnClick();
                    return;
                }
        throw EScriptError("unknown control module." + name);
    }
    TForm& form = FormByName(formName);
    TControl& control = ControlOf(form, formName, name);
    if (auto* tree = dynamic_cast<TcxDBTreeList*>(&control)) {
        if (a.size() != 2) throw EScriptError("a click on " + a[0] + " needs a node PATH, or none for the empty space");
        TcxTreeListNode* node = ResolvePath(*tree, a[0], a[1]);
        RequireReachable(control, a[0], "click");
        input_->ClickNode(*tree, node, false);
        return;
    }
    if (auto* view = dynamic_cast<TcxGridDBTableView*>(&control)) {
        ClickRecord(*view, a, false);
        return;
    }
    if (a.size() == 2) {
        bool hasItems = false;
        int index = ItemIndexOf(control, a[1], hasItems);
        if (!hasItems) throw EScriptError(a[0] + " has no items to click");
        if (index < 0) throw EScriptError(a[0] + " has no item " + QuoteWord(a[1]));
        RequireReachable(control, a[0], "click");
        input_->ClickItem(control, index);
        return;
    }
    RequireReachable(control, a[0], "click");
    input_->Click(control);
}

void TScriptHost::CmdDblClick(const Words& a) {
    if (a.empty() || a.size() > 2) Usage(Find(Commands(), "dblclick", "command"));
    auto [formName, name] = SplitTarget(a[0], "FORM.CONTROL");
    TForm& form = FormByName(formName);
    TControl& control = ControlOf(form, formName, name);
    if (auto* tree = dynamic_cast<TcxDBTreeList*>(&control)) {
        if (a.size() != 2)
            throw EScriptError("a double click on " + a[0] + " needs a node PATH, or none for the empty space");
        TcxTreeListNode* node = ResolvePath(*tree, a[0], a[1]);
        RequireReachable(control, a[0], "double-click");
        input_->ClickNode(*tree, node, true);
        return;
    }
    if (auto* view = dynamic_cast<TcxGridDBTableView*>(&control)) {
        ClickRecord(*view, a, true);
        return;
    }
    if (a.size() != 1) throw EScriptError(a[0] + " is no tree: a double click takes no PATH");
    RequireReachable(control, a[0], "double-click");
    input_->DblClick(control);
}

void TScriptHost::CmdFocus(const Words& a) {
    if (a.empty() || a.size() > 2) Usage(Find(Commands(), "focus", "command"));
    auto [formName, name] = SplitTarget(a[0], "FORM.CONTROL");
    TForm& form = FormByName(formName);
    TControl& control = ControlOf(form, formName, name);
    if (auto* tree = dynamic_cast<TcxDBTreeList*>(&control)) {
        TcxTreeListNode* node = a.size() == 2 ? ResolvePath(*tree, a[0], a[1]) : nullptr;
        RequireReachable(control, a[0], "focus");
        input_->FocusNode(*tree, node);
        return;
    }
    if (auto* view = dynamic_cast<TcxGridDBTableView*>(&control)) {
        FocusRecord(*view, a);
        return;
    }
    if (a.size() != 1) throw EScriptError(a[0] + " is no tree: focus takes no PATH");
    RequireReachable(control, a[0], "focus");
    if (!control.TakesFocus()) throw EScriptError("cannot focus " + a[0] + ": it takes no focus");
    input_->Focus(control);
}

void TScriptHost::CmdCall(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "call", "command"));
    auto [formName, name] = SplitTarget(a[0], "FORM.HANDLER");
    if (SameName(formName, kModule)) {
        RunModuleHandler(name);
        return;
    }
    TForm& form = FormByName(formName);
    if (!form.CallHandler(name)) throw EScriptError("unknown handler " + formName + "." + name);
}

void TScriptHost::CmdSet(const Words& a) {
    if (a.size() != 2) Usage(Find(Commands(), "set", "command"));
    auto [formName, name] = SplitTarget(a[0], "FORM.CONTROL");
    TForm& form = FormByName(formName);
    TControl& control = ControlOf(form, formName, name);
    RequireReachable(control, a[0], "type into");
    std::optional<Variant> readOnly = control.Property("ReadOnly");
    if (readOnly && readOnly->type() == Variant::Type::Boolean && readOnly->AsBoolean())
        throw EScriptError("cannot type into " + a[0] + ": it is read-only");
    // A value the control can't take is the script's mistake, not the user's typing.
    if (dynamic_cast<TTimeEdit*>(&control) && !TTimeEdit::ReadDuration(a[1]))
        throw EScriptError("not a duration: " + QuoteWord(a[1]) + " (HH:MM:SS)");
    if (dynamic_cast<TDateTimePicker*>(&control) && !toolkit::Trimmed(a[1]).empty() && !toolkit::ReadDate(a[1]))
        throw EScriptError("not a date: " + QuoteWord(a[1]) + " (YYYY-MM-DD)");
    if (dynamic_cast<TCurrencyEdit*>(&control) && !toolkit::Trimmed(a[1]).empty() && !toolkit::ReadDecimal(a[1]))
        throw EScriptError("not a number: " + QuoteWord(a[1]));
    input_->Edit(control, a[1]);
}

// ---------------------------------------------------------------------------------------------
// What the script reads

nlohmann::ordered_json TScriptHost::ModuleVariable(const std::string& name) {
    for (const VariableEntry& v : kVariables) {
        if (!SameName(v.name, name)) continue;
        if (!module_) throw EScriptError("no add-in module is loaded (start first)");
        return v.get(module_->Vars());
    }
    throw EScriptError("unknown variable " + name);
}

void TScriptHost::CmdGet(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "get", "command"));
    const std::string& name = a[0];
    nlohmann::ordered_json value;
    auto dot = name.find('.');
    if (SameName(name, "Screen.Cursor")) {
        // The shape of the screen's cursor: -11 the hourglass, 0 the default.
        value = host_->Screen->Cursor();
    } else if (dot == std::string::npos) {
        value = ModuleVariable(name);
    } else {
        auto [formName, rest] = SplitTarget(name, "FORM.CONTROL[.PROPERTY], FORM.PROPERTY or a variable");
        if (SameName(formName, kModule)) throw EScriptError("unknown property " + name);
        TForm& form = FormByName(formName);
        auto second = rest.find('.');
        if (second == std::string::npos) {
            if (TComponent* c = form.FindComponent(rest))
                value = ComponentValue(*c);
            else if (std::optional<Variant> p = form.Property(rest))
                value = ScriptValue(*p);
            else
                throw EScriptError("unknown control or property " + name);
        } else {
            std::string componentName = rest.substr(0, second);
            std::string property = rest.substr(second + 1);
            TComponent* c = form.FindComponent(componentName);
            if (!c) throw EScriptError("unknown control " + formName + "." + componentName);
            std::optional<Variant> p = c->Property(property);
            std::optional<std::vector<std::string>> items;
            if (SameName(property, "Value"))
                value = ComponentValue(*c);
            else if (p)
                value = ScriptValue(*p);
            else if (SameName(property, "Items") && (items = ItemTexts(*c)))
                value = *items;
            else
                throw EScriptError("unknown property " + name);
        }
    }
    out_ << name << " = " << ScriptJson(value) << "\n";
}

void TScriptHost::CmdTree(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "tree", "command"));
    auto [formName, name] = SplitTarget(a[0], "FORM.TREE");
    TForm& form = FormByName(formName);
    auto* tree = dynamic_cast<TcxDBTreeList*>(&ControlOf(form, formName, name));
    if (!tree) throw EScriptError(a[0] + " is not a tree");
    TcxDBTreeListColumn* first = tree->FirstVisibleColumn();
    TcxDBTreeListColumn* number = NumberColumn(*tree);
    std::string text;
    for (int i = 0; i < tree->AbsoluteCount(); ++i) {
        TcxTreeListNode* node = tree->AbsoluteItems(i);
        TFontStyles style = first ? tree->CellStyle(node, *first) : TFontStyles{};
        const char* styleName = style.Bold ? (style.StrikeOut ? "bold+strike" : "bold")
                                           : (style.StrikeOut ? "strike" : "normal");
        text.assign(static_cast<size_t>(node->Level()) * 2, ' ');
        text += "[" + node->KeyValue().AsString() + "] ";
        text += first ? node->Texts(first->ItemIndex()) : std::string();
        text += " no=" + (number ? node->Texts(number->ItemIndex()) : std::string());
        text += " img=" + std::to_string(tree->NodeImageIndex(node));
        text += " style=";
        text += styleName;
        if (node == tree->FocusedNode()) text += " *";
        out_ << text << "\n";
    }
}

}  // namespace sim
