#include "tasks/ufmList.h"

#include "base/Clock.h"
#include "base/Guard.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "filing/uAppointments.h"
#include "filing/uContacts.h"
#include "filing/uEmails.h"
#include "filing/uNotes.h"
#include "reports/uExcel.h"
#include "tasks/uTasks.h"
#include "support/ufmOptions.h"
#include "time/ufmTimer.h"

namespace {
// The pictures of the pane's image list, by their use.
enum : int {
    imgDueWithinWeek = 2,
    imgDueToday = 3,
    imgOverdue = 4,
    imgWaiting = 7,
    imgDeferred = 8,
    imgNoPicture = 100,  // beyond the list: a completed task shows none
};

bool ReadsTrue(const std::string& text) { return text == "True" || text == "true" || text == "TRUE"; }
}  // namespace

TfmList::TfmList()
    : TadxOlForm("fmList", "Corvelle", 300, 600),
      cl1Description(cxDBTreeList1.CreateColumn("cl1Description", "Description")),
      cl1Importance(cxDBTreeList1.CreateColumn("cl1Importance", "Importance")),
      cl1DueDate(cxDBTreeList1.CreateColumn("cl1DueDate", "Due_Date")),
      cl1ID(cxDBTreeList1.CreateColumn("cl1ID", "ID", false)),
      cl1Complete(cxDBTreeList1.CreateColumn("cl1Complete", "Complete", false)),
      cl1Number(cxDBTreeList1.CreateColumn("cl1Number", "Number", false)),
      cl1Status(cxDBTreeList1.CreateColumn("cl1Status", "Status", false)),
      cl1EntryID(cxDBTreeList1.CreateColumn("cl1EntryID", "EntryID", false)),
      cl1StartDate(cxDBTreeList1.CreateColumn("cl1StartDate", "Start_Date", false)),
      cl1PercentComplete(cxDBTreeList1.CreateColumn("cl1PercentComplete", "Percent_Complete", false)),
      cl1DummyImportance(cxDBTreeList1.CreateColumn("cl1DummyImportance", "Importance", false)) {
    cl1Description.SortOrder = TcxSortOrder::soAscending;
    cl1Importance.Caption = " ";
    cl1Importance.Focusing = false;
    cl1Importance.ValueImages = {{2, 0}, {0, 1}};  // high, low; normal shows none
    cl1DueDate.Caption = "Due date";
    cl1PercentComplete.Caption = "%";
    cxDBTreeList1.KeyField = "ID";
    cxDBTreeList1.ParentField = "Parent_ID";
    cxDBTreeList1.RootValue = Variant(-1);
    cxDBTreeList1.ReadOnly = true;

    // The toolbar.
    ButtonGroup1.Add("New root task", 23).OnClick = [this] { NewRootTask1Click(); };
    ButtonGroup1.Add("New child task", 10).OnClick = [this] { NewTask1Click(); };
    ButtonGroup1.Add("New note", 11).OnClick = [this] { Newnote1Click(); };
    ButtonGroup1.Add("New email", 12).OnClick = [this] { Newemail1Click(); };
    ButtonGroup1.Add("New appointment", 13).OnClick = [this] { Newappointment1Click(); };
    ButtonGroup1.Add("New time entry", 14).OnClick = [this] { Newtimeentry1Click(); };
    ButtonGroup1.Add("New contact", 15).OnClick = [this] { Newcontact1Click(); };
    ButtonGroup1.Add("New distribution list", 16).OnClick = [this] { Newdistributionlist1Click(); };
    ButtonGroup1.Add("Export to Microsoft Excel", 24).OnClick = [this] { ButtonGroup1Items8Click(); };

    // The popup menu.
    PopupMenu1.Add("NewRootTask1", "New &root task", 23);
    PopupMenu1.Add("NewTask1", "New &task", 10);
    PopupMenu1.AddSeparator();
    PopupMenu1.Add("Newnote1", "New &note", 11);
    PopupMenu1.Add("Newemail1", "New e&mail", 12);
    PopupMenu1.Add("Newappointment1", "New &appointment", 13);
    PopupMenu1.AddSeparator();
    PopupMenu1.Add("Newtimeentry1", "New t&ime entry", 14);
    PopupMenu1.AddSeparator();
    PopupMenu1.Add("Newcontact1", "New &contact", 15);
    PopupMenu1.Add("Newdistributionlist1", "New distribution &list", 16);
    PopupMenu1.AddSeparator();
    PopupMenu1.Add("Displaytask1", "&Open task", 17);
    PopupMenu1.Add("Deletetask2", "&Delete task", 18);
    PopupMenu1.AddSeparator();
    PopupMenu1.Add("Expand1", "&Expand Corvelle", 19);
    PopupMenu1.Add("Collapse1", "Colla&pse Corvelle", 20);
    PopupMenu1.Add("Expandthistask1", "E&xpand this task", 19);
    PopupMenu1.AddSeparator();
    PopupMenu1.Add("Completedtasks1", "Com&pleted tasks", 9);
    PopupMenu1.AddSeparator();
    PopupMenu1.Add("ExporttoMicrosoftExcel1", "Export to Microsoft Excel", 24);

    auto item = [this](const char* name) -> TNotifyEvent& {
        return static_cast<TMenuItem&>(ComponentByName(name)).OnClick;
    };
    Bind(item("NewRootTask1"), "NewRootTask1Click", &TfmList::NewRootTask1Click);
    Bind(item("NewTask1"), "NewTask1Click", &TfmList::NewTask1Click);
    Bind(item("Displaytask1"), "Displaytask1Click", &TfmList::Displaytask1Click);
    Bind(item("Deletetask2"), "Deletetask2Click", &TfmList::Deletetask2Click);
    Bind(item("Expand1"), "Expand1Click", &TfmList::Expand1Click);
    Bind(item("Collapse1"), "Collapse1Click", &TfmList::Collapse1Click);
    Bind(item("Expandthistask1"), "Expandthistask1Click", &TfmList::Expandthistask1Click);
    Bind(item("Completedtasks1"), "Completedtasks1Click", &TfmList::Completedtasks1Click);
    Bind(item("Newnote1"), "Newnote1Click", &TfmList::Newnote1Click);
    Bind(item("Newemail1"), "Newemail1Click", &TfmList::Newemail1Click);
    Bind(item("Newappointment1"), "Newappointment1Click", &TfmList::Newappointment1Click);
    Bind(item("Newtimeentry1"), "Newtimeentry1Click", &TfmList::Newtimeentry1Click);
    Bind(item("Newcontact1"), "Newcontact1Click", &TfmList::Newcontact1Click);
    Bind(item("Newdistributionlist1"), "Newdistributionlist1Click", &TfmList::Newdistributionlist1Click);

    // The drop target and its three menus.
    DMTextTarget1.AcceptorControl = &cxDBTreeList1;
    DMTextTarget1.OnDragOver = [this](TDMTextTarget& s, int x, int y) { DMTextTarget1DragOver(s, x, y); };
    DMTextTarget1.OnDrop = [this](TDMTextTarget& s, int x, int y) { DMTextTarget1Drop(s, x, y); };
    PopupMenu2.Add("Copyhere1", "Copy here");
    PopupMenu2.Add("Movehere1", "Move here");
    PopupMenu2.Add("N1", "-");
    PopupMenu2.Add("AddTask1", "Add as new task");
    PopupMenu2.Add("N2", "-");
    PopupMenu2.Add("Cancel1", "Cancel");
    PopupMenu3.Add("MenuItem1", "Copy here");
    PopupMenu3.Add("MenuItem2", "Move here");
    PopupMenu3.Add("MenuItem5", "-");
    PopupMenu3.Add("MenuItem6", "Cancel");
    PopupMenu4.Add("MenuItem7", "Copy here");
    PopupMenu4.Add("MenuItem11", "-");
    PopupMenu4.Add("MenuItem12", "Cancel");
    for (const char* name : {"Copyhere1", "MenuItem1", "MenuItem7"})
        Bind(item(name), "Copyhere1Click", &TfmList::Copyhere1Click);
    for (const char* name : {"Movehere1", "MenuItem2"}) Bind(item(name), "Movehere1Click", &TfmList::Movehere1Click);
    Bind(item("AddTask1"), "AddTask1Click", &TfmList::AddTask1Click);
    for (const char* name : {"N1", "N2", "MenuItem5", "MenuItem11"}) Bind(item(name), "N2Click", &TfmList::N2Click);
    PublishHandler("CopyItemsHere", [this] { CopyItemsHere(); });
    PublishHandler("MoveItemsHere", [this] { MoveItemsHere(); });
    PublishHandler("AddItemsAsTasks", [this] { AddItemsAsTasks(); });
    Bind(item("ExporttoMicrosoftExcel1"), "ButtonGroup1Items8Click", &TfmList::ButtonGroup1Items8Click);
    PublishHandler("SpeedButton1Click", [this] { SpeedButton1Click(); });
    PublishHandler("SpeedButton2Click", [this] { SpeedButton2Click(); });
    PublishHandler("Deletetaskchildren1Click", [this] { Deletetaskchildren1Click(); });

    Bind(cxDBTreeList1.OnDblClick, "cxDBTreeList1DblClick", &TfmList::cxDBTreeList1DblClick);
    cxDBTreeList1.OnFocusedNodeChanged = [this](TcxDBTreeList& s, TcxTreeListNode* p, TcxTreeListNode* n) {
        cxDBTreeList1FocusedNodeChanged(s, p, n);
    };
    cxDBTreeList1.OnGetNodeImageIndex = [this](TcxDBTreeList& s, TcxTreeListNode* n, int i) {
        return cxDBTreeList1GetNodeImageIndex(s, n, i);
    };
    cxDBTreeList1.OnCustomDrawDataCell = [this](TcxDBTreeList& s, TcxTreeListNode* n, TcxDBTreeListColumn& c,
                                                TFontStyles& st) { cxDBTreeList1CustomDrawDataCell(s, n, c, st); };
    cxDBTreeList1.OnDragOver = [this](TcxDBTreeList& s, int line, bool& accept) {
        cxDBTreeList1DragOver(s, line, accept);
    };

    Bind(OnCreate, "adxOlFormCreate", &TfmList::adxOlFormCreate);
    Bind(OnShow, "adxOlFormShow", &TfmList::adxOlFormShow);
    Bind(OnActivate, "adxOlFormActivate", &TfmList::adxOlFormActivate);
    Bind(OnClose, "adxOlFormClose", &TfmList::adxOlFormClose);
    Globals().fmList = this;
    // Bound last, so that the first focused node reaches the handlers.
    cxDBTreeList1.SetDataSource(&Globals().AddInModule->dsMemDataTasks);
    // Layout: the toolbar and the focused task's name and number on top, the tree filling the rest.
    re.Align = TAlign::alTop;
    re.SetBounds(0, 0, 300, 66);
    ButtonGroup1.Align = TAlign::alTop;
    ButtonGroup1.SetBounds(0, 0, 300, 28);
    Label3.SetBounds(6, 30, 288, 17);
    Label3.Anchors = {true, true, true, false};
    Label4.SetBounds(6, 47, 288, 17);
    Label4.Anchors = {true, true, true, false};
    cxDBTreeList1.Align = TAlign::alClient;
    cxDBTreeList1.PopupMenu = &PopupMenu1;
    AfterConstruction();
}

TfmList::~TfmList() {
    if (HaveGlobals()) {
        TModuleGlobals& g = Globals();
        if (g.fmList == this) g.fmList = nullptr;
        if (g.TaskTree == &cxDBTreeList1) g.TaskTree = nullptr;
        g.FocusedNode = nullptr;
    }
}

// ---- commands -----------------------------------------------------------------------------------

void TfmList::NewRootTask1Click() { Live(Globals().fmTimer).ShowNewTaskForm("New Root Task"); }

void TfmList::NewTask1Click() {
    if (HasRecords(*Globals().MemDataTasks)) Live(Globals().fmTimer).ShowNewTaskForm("New Task");
}

void TfmList::SpeedButton1Click() { NewRootTask1Click(); }
void TfmList::SpeedButton2Click() { NewTask1Click(); }

void TfmList::Displaytask1Click() {
    TModuleGlobals& g = Globals();
    if (!HasRecords(*g.MemDataTasks)) return;
    GetListTaskDetails(g.CurrentTaskID);
    ShowTask();
}

void TfmList::cxDBTreeList1DblClick() { Displaytask1Click(); }

void TfmList::Deletetask2Click() {
    if (HasRecords(*Globals().MemDataTasks)) Swallow([] { DeleteTask(); });
}

void TfmList::Deletetaskchildren1Click() { DeleteTask(); }

void TfmList::Expand1Click() { cxDBTreeList1.FullExpand(); }
void TfmList::Collapse1Click() { cxDBTreeList1.FullCollapse(); }

void TfmList::Completedtasks1Click() {
    if (HasRecords(*Globals().MemDataTasks)) Live(Globals().fmOptions).ShowModal();
}

namespace {

// The New handlers of items: nothing without tasks; the rest under a guard that swallows.
template <class Make>
void NewItemForTask(Make make) {
    TModuleGlobals& g = Globals();
    if (!HasRecords(*g.MemDataTasks)) return;
    Swallow([&] { make(g); });
}

}  // namespace

void TfmList::Newnote1Click() {
    NewItemForTask([](TModuleGlobals& g) {
        std::string subject = GetNodeFullDescription(g.FocusedNode);
        platform::Use(CreatePostItem(g.CurrentTaskID, subject)).Display(false);
    });
}

void TfmList::Newemail1Click() {
    NewItemForTask([](TModuleGlobals& g) {
        std::string subject = GetNodeFullDescription(g.FocusedNode);
        platform::Use(CreateMailItem(g.CurrentTaskID, subject, "")).Display(false);
    });
}

void TfmList::Newappointment1Click() {
    NewItemForTask([](TModuleGlobals& g) {
        std::string subject = GetNodeFullDescription(g.FocusedNode);
        platform::Use(CreateAppointmentItem(g.CurrentTaskID, subject)).Display(false);
    });
}

void TfmList::Newtimeentry1Click() {
    if (HasRecords(*Globals().MemDataTasks)) Live(Globals().fmTimer).ShowTimeEntry("List");
}

void TfmList::Newcontact1Click() {
    NewItemForTask([](TModuleGlobals& g) { platform::Use(CreateContactItem(g.CurrentTaskID)).Display(false); });
}

void TfmList::Newdistributionlist1Click() {
    NewItemForTask([](TModuleGlobals& g) {
        std::string subject = GetNodeFullDescription(g.FocusedNode);
        platform::Use(CreateDistListItem(g.CurrentTaskID, subject)).Display(false);
    });
}

void TfmList::ButtonGroup1Items8Click() {
    TModuleGlobals& g = Globals();
    TdxMemData& tasks = *g.MemDataTasks;
    if (!HasRecords(tasks)) {
        ShowMessage("You have no tasks.");
        return;
    }
    platform::IScreen& screen = g.AddInModule->Screen();
    screen.SetCursor(platform::crHourGlass);
    TBookmark bookmark = tasks.GetBookmark();
    tasks.DisableControls();
    try {
        TaskReport();
    } catch (...) {
        // The failure goes on to the user; the pane is put back as it was first.
        Swallow([&] { tasks.GotoBookmark(bookmark); });
        tasks.EnableControls();
        screen.SetCursor(platform::crDefault);
        throw;
    }
    tasks.GotoBookmark(bookmark);
    tasks.EnableControls();
    screen.SetCursor(platform::crDefault);
}

void TfmList::Expandthistask1Click() {
    if (TcxTreeListNode* node = cxDBTreeList1.FocusedNode()) node->Expand(true);
}

// ---- the tree -----------------------------------------------------------------------------------

void TfmList::cxDBTreeList1FocusedNodeChanged(TcxDBTreeList&, TcxTreeListNode*, TcxTreeListNode* FocusedNode) {
    Swallow([&] {
        if (!FocusedNode) return;
        TModuleGlobals& g = Globals();
        g.FocusedNode = FocusedNode;
        g.FocusedNodeIndex = FocusedNode->AbsoluteIndex();
        g.CurrentTaskID = FocusedNode->KeyValue().AsInteger();
        GetListTaskDetails(g.CurrentTaskID);
        Label3.SetCaption(g.TaskFullDescription);
        Label4.SetCaption(g.TaskFullNumber);
    });
    // The item panes follow the task, also when no node is focused now. Each routine guards
    // itself; the guards here are the pane's own.
    Swallow([] { FilterNotes(Globals().CurrentTaskID); });
    Swallow([] { FilterEmails(Globals().CurrentTaskID); });
    Swallow([] { FilterContacts(Globals().CurrentTaskID); });
    Swallow([] { FilterDistLists(Globals().CurrentTaskID); });
    Swallow([] { FilterAppointments(Globals().CurrentTaskID); });
}

void TfmList::GetListTaskDetails(int) {
    Swallow([] {
        TModuleGlobals& g = Globals();
        TdxMemData& t = *g.MemDataTasks;
        g.TaskParentID = t.FieldByName("Parent_ID").AsInteger();
        g.TaskDescription = t.FieldByName("Description").AsString();
        if (!t.FieldByName("Create_Date").IsNull()) g.TaskCreateDate = t.FieldByName("Create_Date").AsDateTime();
        g.TaskNumber = t.FieldByName("Number").AsInteger();
        // A null field leaves the value of the task focused before.
        if (!t.FieldByName("Due_Date").IsNull()) g.TaskDueDate = t.FieldByName("Due_Date").AsDateTime();
        if (!t.FieldByName("Start_Date").IsNull()) g.TaskStartDate = t.FieldByName("Start_Date").AsDateTime();
        if (!t.FieldByName("Importance").IsNull()) g.TaskImportance = t.FieldByName("Importance").AsInteger();
        if (!t.FieldByName("Owner_Name").IsNull()) g.TaskOwner = t.FieldByName("Owner_Name").AsString();
        if (!t.FieldByName("Status").IsNull()) g.TaskStatus = t.FieldByName("Status").AsInteger();
        if (!t.FieldByName("Percent_Complete").IsNull()) g.TaskPercent = t.FieldByName("Percent_Complete").AsInteger();
        if (!t.FieldByName("Complete").IsNull()) g.TaskComplete = t.FieldByName("Complete").AsBoolean();
        if (!t.FieldByName("Date_Complete").IsNull())
            g.TaskDateComplete = t.FieldByName("Date_Complete").AsDateTime();
        Swallow([&] {
            if (!g.FocusedNode) throw EAccessViolation("Access violation: no focused node");
            g.TaskParentID = g.FocusedNode->ParentKeyValue().AsInteger();
        });
        if (!g.FocusedNode) throw EAccessViolation("Access violation: no focused node");
        g.TaskLevel = g.FocusedNode->Level();
        g.TaskFullDescription = GetNodeFullDescription(g.FocusedNode);
        g.TaskFullNumber = GetFullNumber(g.FocusedNode);
    });
}

int TfmList::cxDBTreeList1GetNodeImageIndex(TcxDBTreeList&, TcxTreeListNode* Node, int Index) {
    int status = -1;
    bool haveStatus = false;
    const std::string& statusText = Node->Texts(cl1Status.ItemIndex());
    if (!statusText.empty()) {
        haveStatus = Swallow([&] { status = Variant(statusText).AsInteger(); });
    }
    const std::string& dueText = Node->Texts(cl1DueDate.ItemIndex());
    if (!dueText.empty()) {
        Swallow([&] {
            TDateTime due = StrToDate(dueText);
            TDateTime today = Date();
            if (today > due) Index = imgOverdue;
            else if (today == due) Index = imgDueToday;
            else if (due - today < 7) Index = imgDueWithinWeek;
        });
    }
    if (haveStatus && status == 3) Index = imgWaiting;
    if (haveStatus && status == 4) Index = imgDeferred;
    if (ReadsTrue(Node->Texts(cl1Complete.ItemIndex()))) Index = imgNoPicture;
    return Index;
}

void TfmList::cxDBTreeList1CustomDrawDataCell(TcxDBTreeList&, TcxTreeListNode* Node, TcxDBTreeListColumn&,
                                              TFontStyles& Style) {
    bool complete = ReadsTrue(Node->Texts(cl1Complete.ItemIndex()));
    if (Node->Level() == 0) Style.Bold = true;
    if (complete) Style.StrikeOut = true;
}

void TfmList::cxDBTreeList1DragOver(TcxDBTreeList& Sender, int Line, bool& Accept) {
    Accept = Sender.HitTest(Line) != nullptr;
}

// ---- the pane -----------------------------------------------------------------------------------

void TfmList::adxOlFormCreate() {
    ReportColumns = {&cl1Description, &cl1StartDate, &cl1DueDate, &cl1Importance,
                     &cl1DummyImportance, &cl1Status, &cl1PercentComplete};
    FilterTasks(1);
}

void TfmList::adxOlFormShow() { cxDBTreeList1.FullExpand(); }

void TfmList::adxOlFormActivate() { Globals().TaskTree = &cxDBTreeList1; }

void TfmList::adxOlFormClose(TCloseAction&) {
    TAddInModule& m = *Globals().AddInModule;
    m.ClosePane({&m.MemDataTasks}, {&TAddInModule::SaveTasks});
}
