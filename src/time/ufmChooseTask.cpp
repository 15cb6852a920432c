#include "time/ufmChooseTask.h"

#include "base/Clock.h"
#include "base/Guard.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "store/MemData.h"
#include "time/uTime.h"
#include "time/ufmTimeMemo.h"
#include "time/ufmTimer.h"

namespace {

const char* const kAnotherEntry = "You already have a time entry for this date. Do you want to make another?";

}  // namespace

TfmChooseTask::TfmChooseTask()
    : TForm("fmChooseTask", "Choose a Task", 320, 400),
      ct1Description(cxDBTreeList1.CreateColumn("ct1Description", "Description")),
      ct1Number(cxDBTreeList1.CreateColumn("ct1Number", "Number", false)) {
    BorderStyle = TFormBorderStyle::bsNone;
    BorderIcons = TBorderIcons{false, false, false};
    ct1Description.SortOrder = TcxSortOrder::soAscending;
    cxDBTreeList1.KeyField = "ID";
    cxDBTreeList1.ParentField = "Parent_ID";
    cxDBTreeList1.RootValue = Variant(-1);
    cxDBTreeList1.ReadOnly = true;
    BitBtn1.SetKind(bkCancel);
    BitBtn2.SetKind(bkOK);

    Bind(OnShow, "FormShow", &TfmChooseTask::FormShow);
    Bind(BitBtn1.OnClick, "BitBtn1Click", &TfmChooseTask::BitBtn1Click);
    Bind(BitBtn2.OnClick, "BitBtn2Click", &TfmChooseTask::BitBtn2Click);
    Bind(cxDBTreeList1.OnDblClick, "cxDBTreeList1DblClick", &TfmChooseTask::cxDBTreeList1DblClick);
    cxDBTreeList1.OnFocusedNodeChanged = [this](TcxDBTreeList& s, TcxTreeListNode* p, TcxTreeListNode* n) {
        cxDBTreeList1FocusedNodeChanged(s, p, n);
    };
    PublishHandler("ApplyChosenTask", [this] { ApplyChosenTask(); });
    cxDBTreeList1.SetDataSource(&Globals().AddInModule->dsMemDataTasks);
    // Layout: the tree filling the window, OK and Cancel at the bottom right.
    cxDBTreeList1.SetBounds(8, 8, 304, 351);
    cxDBTreeList1.Anchors = {true, true, true, true};
    BitBtn2.SetBounds(156, 367, 75, 25);
    BitBtn2.Anchors = {false, false, true, true};
    BitBtn1.SetBounds(237, 367, 75, 25);
    BitBtn1.Anchors = {false, false, true, true};
    AfterConstruction();
}

void TfmChooseTask::DescribeProperties(TPropertyList& list) const {
    TForm::DescribeProperties(list);
    list.Add("Caller", [this] { return Variant(Caller); });
}

void TfmChooseTask::FormShow() {
    TModuleGlobals& g = Globals();
    cxDBTreeList1.FullExpand();
    TdxMemData& tasks = Live(g.MemDataTasks);
    if (HasRecords(tasks)) g.ChosenTaskID = tasks.FieldByName("ID").AsInteger();
    // The amount so far is safe before the user picks another task.
    TfmTimer& timer = Live(g.fmTimer);
    if (timer.Dirty && g.TimerEntryID > 0) timer.PostTime();
}

void TfmChooseTask::BitBtn1Click() { Close(); }

void TfmChooseTask::BitBtn2Click() {
    ApplyChosenTask();
    Close();
}

void TfmChooseTask::cxDBTreeList1DblClick() {}

void TfmChooseTask::cxDBTreeList1FocusedNodeChanged(TcxDBTreeList&, TcxTreeListNode*, TcxTreeListNode*) {
    Swallow([this] {
        if (cxDBTreeList1.AbsoluteCount() == 0) return;
        TModuleGlobals& g = Globals();
        g.FocusedChooserNode = cxDBTreeList1.FocusedNode();
        g.ChosenTaskID = Live(g.MemDataTasks).FieldByName("ID").AsInteger();
        GetChosenTaskDetails(g.ChosenTaskID);
    });
}

void TfmChooseTask::GetChosenTaskDetails(int) {
    TModuleGlobals& g = Globals();
    TdxMemData& t = Live(g.MemDataTasks);
    if (HasRecords(t)) {
        auto copy = [&t](const char* name, auto assign) {
            TField& f = t.FieldByName(name);
            if (!f.IsNull()) assign(f);
        };
        copy("Parent_ID", [&](TField& f) { g.ChosenParentID = f.AsInteger(); });
        copy("Description", [&](TField& f) { g.ChosenTaskName = f.AsString(); });
        copy("Create_Date", [&](TField& f) { g.ChosenCreateDate = f.AsDateTime(); });
        copy("Number", [&](TField& f) { g.ChosenNumber = f.AsInteger(); });
        copy("Due_Date", [&](TField& f) { g.ChosenDueDate = f.AsDateTime(); });
        copy("Start_Date", [&](TField& f) { g.ChosenStartDate = f.AsDateTime(); });
        copy("Importance", [&](TField& f) { g.ChosenImportance = f.AsInteger(); });
        copy("Owner_Name", [&](TField& f) { g.ChosenOwnerName = f.AsString(); });
        copy("Status", [&](TField& f) { g.ChosenStatus = f.AsInteger(); });
        copy("Percent_Complete", [&](TField& f) { g.ChosenPercentComplete = f.AsInteger(); });
        copy("Complete", [&](TField& f) { g.ChosenComplete = f.AsBoolean() ? 1 : 0; });
        copy("Date_Complete", [&](TField& f) { g.ChosenDateComplete = f.AsDateTime(); });
    }
    TcxTreeListNode* node = g.FocusedChooserNode;
    if (node && node->Level() > 0) g.ChosenParentID = node->ParentKeyValue().AsInteger();
    g.ChosenTaskFullName = GetChosenFullName(node);
    g.ChosenTaskFullNo = GetChosenFullNumber(node);
}

std::string TfmChooseTask::GetChosenFullName(TcxTreeListNode* Node) {
    if (!Node) throw EAccessViolation("Access violation: no node");
    std::string text = Node->Texts(ct1Description.ItemIndex());
    while (Node->Level() > 0) {
        Node = Node->Parent();
        text = Node->Texts(ct1Description.ItemIndex()) + " \\ " + text;
    }
    return text;
}

std::string TfmChooseTask::GetChosenFullNumber(TcxTreeListNode* Node) {
    if (!Node) throw EAccessViolation("Access violation: no node");
    std::string text = Node->Texts(ct1Number.ItemIndex()) + " \\ ";
    while (Node->Level() > 0) {
        Node = Node->Parent();
        text = Node->Texts(ct1Number.ItemIndex()) + " \\ " + text;
    }
    return text;
}

void TfmChooseTask::ApplyChosenTask() {
    Swallow([this] {
        TModuleGlobals& g = Globals();
        if (Caller == "uTimer") {
            TfmTimer& timer = Live(g.fmTimer);
            if (g.TimerRunning) timer.StopTimer();
            int existing = FindTimeEntry(g.ChosenTaskID, Date());
            // Today's row of the task is taken up without a question.
            g.TimerIsNew = existing == 0;
            g.TimerEntryID = existing;
            g.TimerTaskID = g.ChosenTaskID;
            timer.SetCaption(g.ChosenTaskFullName);
            g.TimerTaskName = g.ChosenTaskName;
            g.TimerTaskFullName = g.ChosenTaskFullName;
            g.TimerTaskFullNo = g.ChosenTaskFullNo;
            if (existing != 0) {
                // The cursor stands on the row found: the stopwatch goes on from its time.
                TdxMemData& t = Live(g.MemDataTime);
                timer.OvcTimeEdit1.SetValue(t.FieldByName("Time").AsDateTime());
                g.TimerNote = t.FieldByName("Note").AsString();
            } else {
                timer.OvcTimeEdit1.SetValue(0);
                g.TimerNote.clear();
            }
            timer.StartTimer();
        } else if (Caller == "uTimeMemo") {
            TfmTimeMemo& memo = Live(g.fmTimeMemo);
            if (g.ChosenTaskID == memo.TaskID) return;
            int existing = FindTimeEntry(g.ChosenTaskID, memo.DateTimePicker1.Date());
            if (existing != 0 && !ConfirmYesNo(kAnotherEntry)) return;
            memo.NewEntry = existing == 0;
            memo.TaskID = g.ChosenTaskID;
            memo.Label1.SetCaption(g.ChosenTaskFullName);
            memo.TaskName = g.ChosenTaskName;
            memo.TaskFullName = g.ChosenTaskFullName;
            memo.TaskFullNo = g.ChosenTaskFullNo;
            if (existing == 0) {
                memo.cxCurrencyEdit1.SetValue(0);
                memo.Memo1.Clear();
            }
        }
    });
}
