#include "tasks/ufmAddTask.h"

#include "base/Guard.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "tasks/uTasks.h"

namespace {
const char* const kSearchPrompt = "Type a task name here, or select one from the list";

// Writes the five values of a reopened task into the current row of the Tasks table.
void WriteReopened(TdxMemData& t) {
    t.Edit();
    t.FieldByName("Complete").SetAsBoolean(false);
    t.FieldByName("Percent_Complete").SetAsInteger(0);
    t.FieldByName("Date_Complete").SetAsDateTime(StrToDate("1/1/4501"));
    t.FieldByName("Due_Date").Clear();
    t.FieldByName("Status").SetAsInteger(1);
}
}  // namespace

TfmAddTask::TfmAddTask()
    : TForm("fmAddTask", "Find a Task", 420, 480),
      ct1Description(cxDBTreeList1.CreateColumn("ct1Description", "Description")),
      ct1Number(cxDBTreeList1.CreateColumn("ct1Number", "Number", false)),
      ct1Complete(cxDBTreeList1.CreateColumn("ct1Complete", "Complete", false)),
      ct1EntryID(cxDBTreeList1.CreateColumn("ct1EntryID", "EntryID", false)),
      ct1ID(cxDBTreeList1.CreateColumn("ct1ID", "ID", false)) {
    Panel1.SetCaption("Add a completed task to your list");
    cxGroupBox1.SetCaption("Search by number:  ");
    cxGroupBox2.SetCaption("Search by name:");
    Button1.SetCaption("Search");
    Button2.SetCaption("Search");
    OvcSearchList1.SetKeyDelay(1000);
    cxMaskEdit1.SetVisible(false);  // outside the visible area, not used
    ct1Description.SortOrder = TcxSortOrder::soAscending;
    cxDBTreeList1.ReadOnly = true;
    BitBtn1.SetKind(bkCancel);
    BitBtn2.SetKind(bkOK);

    Bind(OnShow, "FormShow", &TfmAddTask::FormShow);
    Bind(OvcSearchList1.OnEnter, "OvcSearchList1Enter", &TfmAddTask::OvcSearchList1Enter);
    Bind(Button1.OnClick, "Button1Click", &TfmAddTask::Button1Click);
    Bind(Button2.OnClick, "Button2Click", &TfmAddTask::Button2Click);
    Bind(cxDBTreeList1.OnClick, "cxDBTreeList1Click", &TfmAddTask::cxDBTreeList1Click);
    Bind(BitBtn2.OnClick, "BitBtn2Click", &TfmAddTask::BitBtn2Click);
    cxDBTreeList1.OnFocusedNodeChanged = [this](TcxDBTreeList& s, TcxTreeListNode* p, TcxTreeListNode* n) {
        cxDBTreeList1FocusedNodeChanged(s, p, n);
    };
    cxDBTreeList1.OnCustomDrawDataCell = [this](TcxDBTreeList& s, TcxTreeListNode* n, TcxDBTreeListColumn& c,
                                                TFontStyles& st) { cxDBTreeList1CustomDrawDataCell(s, n, c, st); };
    cxDBTreeList1.SetDataSource(&Globals().AddInModule->dsMemDataAddTask);
    // Layout: the task found on a strip at the top, the two searches, the tree filling the rest,
    // Cancel and OK at the bottom right.
    Panel1.Align = TAlign::alTop;
    Panel1.SetBounds(0, 0, 404, 30);
    cxGroupBox1.SetBounds(8, 36, 388, 52);
    cxGroupBox1.Anchors = {true, true, true, false};
    OvcNumericField1.SetBounds(10, 20, 140, 23);
    Button1.SetBounds(166, 55, 75, 25);
    cxGroupBox2.SetBounds(8, 94, 388, 140);
    cxGroupBox2.Anchors = {true, true, true, false};
    OvcSearchList1.SetBounds(10, 20, 368, 84);
    Button2.SetBounds(311, 202, 75, 25);
    Button2.Anchors = {false, true, true, false};
    cxMaskEdit1.SetBounds(-200, 0, 120, 23);
    cxDBTreeList1.SetBounds(8, 242, 388, 158);
    cxDBTreeList1.Anchors = {true, true, true, true};
    BitBtn2.SetBounds(240, 408, 75, 25);
    BitBtn2.Anchors = {false, false, true, true};
    BitBtn1.SetBounds(321, 408, 75, 25);
    BitBtn1.Anchors = {false, false, true, true};
    AfterConstruction();
}

void TfmAddTask::FillSearchList() {
    OvcSearchList1.Clear();
    TdxMemData& a = *Globals().MemDataAddTask;
    a.First();
    while (!a.Eof()) {
        if (a.FieldByName("Parent_ID").AsInteger() == CurrentLevelID)
            OvcSearchList1.Add(a.FieldByName("Description").AsString());
        a.Next();
    }
}

void TfmAddTask::FormShow() {
    Swallow([this] {
        CenterForm(*this);
        CurrentLevelID = -1;
        NameEntered = false;
        OvcNumericField1.Clear();
        OvcSearchList1.Clear();
        TdxMemData& a = *Globals().MemDataAddTask;
        a.DisableControls();
        TBookmark b = a.GetBookmark();
        a.SetActive(true);
        FillSearchList();
        a.GotoBookmark(b);
        a.FreeBookmark(b);
        cxDBTreeList1.FullExpand();
        a.EnableControls();
        OvcSearchList1.SetText(kSearchPrompt);
    });
}

void TfmAddTask::OvcSearchList1Enter() {
    NameEntered = true;
    OvcSearchList1.SetText("");
}

void TfmAddTask::DescendToFocused() {
    TdxMemData& a = *Globals().MemDataAddTask;
    OvcSearchList1.Clear();
    TcxTreeListNode* node = cxDBTreeList1.FocusedNode();
    if (!node) throw EAccessViolation("Access violation: no focused node");
    CurrentLevelID = node->KeyValue().AsInteger();
    a.DisableControls();
    a.First();
    while (!a.Eof()) {
        if (a.FieldByName("Parent_ID").AsInteger() == CurrentLevelID)
            OvcSearchList1.Add(a.FieldByName("Description").AsString());
        a.Next();
    }
    a.Locate("ID", Variant(CurrentLevelID));
    a.EnableControls();
}

void TfmAddTask::SearchByNumber() {
    Swallow([this] {
        if (OvcNumericField1.Empty()) {
            ShowMessage("Please enter a task number");
            return;
        }
        SetActiveControl(&cxDBTreeList1);
        TdxMemData& a = *Globals().MemDataAddTask;
        if (!a.Locate("Parent_ID;Number",
                      std::vector<Variant>{Variant(CurrentLevelID), Variant(OvcNumericField1.Value())})) {
            ShowMessage("There is no task at this level with the number " + OvcNumericField1.Text());
            OvcNumericField1.Clear();
        } else {
            DescendToFocused();
        }
        Panel1.SetCaption(OvcSearchList1.Text());
        OvcNumericField1.Clear();
    });
}

void TfmAddTask::SearchByName() {
    Swallow([this] {
        if (!NameEntered || OvcSearchList1.Text().empty()) {
            ShowMessage("Please enter or select a task name");
            return;
        }
        SetActiveControl(&cxDBTreeList1);
        TdxMemData& a = *Globals().MemDataAddTask;
        // Case counts here, unlike in the new-task dialog's check.
        if (!a.Locate("Parent_ID;Description",
                      std::vector<Variant>{Variant(CurrentLevelID), Variant(OvcSearchList1.Text())})) {
            ShowMessage("There is no task with the name " + OvcSearchList1.Text());
            OvcSearchList1.SetText("");
        } else {
            DescendToFocused();
        }
        Panel1.SetCaption(OvcSearchList1.Text());
        OvcNumericField1.Clear();
    });
}

void TfmAddTask::cxDBTreeList1Click() {
    Swallow([this] {
        if (!cxDBTreeList1.HitNode()) return;  // the empty space
        TcxTreeListNode* node = cxDBTreeList1.FocusedNode();
        if (!node) return;
        CurrentLevelID = node->KeyValue().AsInteger();
        Panel1.SetCaption(node->Texts(ct1Description.ItemIndex()));
        OvcNumericField1.SetText(node->Texts(ct1Number.ItemIndex()));
        OvcSearchList1.SetText(node->Texts(ct1Description.ItemIndex()));
        TdxMemData& a = *Globals().MemDataAddTask;
        a.DisableControls();
        TBookmark b = a.GetBookmark();
        FillSearchList();
        a.GotoBookmark(b);
        a.FreeBookmark(b);
        a.EnableControls();
    });
}

void TfmAddTask::cxDBTreeList1FocusedNodeChanged(TcxDBTreeList&, TcxTreeListNode*, TcxTreeListNode* FocusedNode) {
    if (FocusedNode) FocusedID = FocusedNode->KeyValue().AsInteger();
}

void TfmAddTask::cxDBTreeList1CustomDrawDataCell(TcxDBTreeList&, TcxTreeListNode* Node, TcxDBTreeListColumn&,
                                                 TFontStyles& Style) {
    if (Node->Texts(ct1Complete.ItemIndex()) == "True") Style.StrikeOut = true;
}

void TfmAddTask::BitBtn2Click() {
    Swallow([this] {
        TcxTreeListNode* node = cxDBTreeList1.FocusedNode();
        if (!node) throw EAccessViolation("Access violation: no focused node");
        ReopenTask(Variant(node->Texts(ct1ID.ItemIndex())).AsInteger());
    });
}

void TfmAddTask::ReopenTask(int ID) {
    Swallow([&] {
        TModuleGlobals& g = Globals();
        TdxMemData& t = *g.MemDataTasks;
        t.DisableControls();
        UnfilterTasks();
        // The walk up follows this dialog's tree, not the row's parent.
        TcxTreeListNode* node = cxDBTreeList1.FocusedNode();
        if (!node) throw EAccessViolation("Access violation: no focused node");
        int remembered = ID;
        t.Locate("ID", Variant(ID));
        WriteReopened(t);
        while (node->Level() > 0) {
            node = node->Parent();
            t.Locate("ID", Variant(Variant(node->Texts(ct1ID.ItemIndex())).AsInteger()));
            WriteReopened(t);
        }
        t.Post();
        FilterTasks(1);
        t.Locate("ID", Variant(remembered));
        t.EnableControls();
    });
}
