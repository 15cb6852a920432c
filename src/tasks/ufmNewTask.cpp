#include "tasks/ufmNewTask.h"

#include "base/Guard.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "support/FileLogger.h"
#include "tasks/uTasks.h"
#include "tasks/ufmAddTask.h"

TfmNewTask::TfmNewTask() : TForm("fmNewTask", "New Task", 345, 190) {
    GroupBox1.SetCaption("Name:  ");
    GroupBox2.SetCaption("Number:  ");
    BitBtn1.SetCaption("OK");
    BitBtn1.SetDefault(true);
    BitBtn2.SetKind(bkCancel);
    Bind(OnShow, "FormShow", &TfmNewTask::FormShow);
    Bind(OnClose, "FormClose", &TfmNewTask::FormClose);
    Bind(BitBtn1.OnClick, "BitBtn1Click", &TfmNewTask::BitBtn1Click);
    Bind(BitBtn2.OnClick, "BitBtn2Click", &TfmNewTask::BitBtn2Click);
    // Layout: the name and the number in boxes of their own, OK and Cancel at the bottom right.
    GroupBox1.SetBounds(8, 6, 313, 50);
    GroupBox1.Anchors = {true, true, true, false};
    Edit2.SetBounds(10, 18, 293, 23);
    Edit2.Anchors = {true, true, true, false};
    GroupBox2.SetBounds(8, 60, 313, 50);
    GroupBox2.Anchors = {true, true, true, false};
    SpinEdit1.SetBounds(10, 18, 90, 23);
    BitBtn1.SetBounds(165, 118, 75, 25);
    BitBtn1.Anchors = {false, false, true, true};
    BitBtn2.SetBounds(246, 118, 75, 25);
    BitBtn2.Anchors = {false, false, true, true};
    AfterConstruction();
}

void TfmNewTask::FormShow() {
    Swallow([this] {
        TModuleGlobals& g = Globals();
        CenterForm(*this);
        NewTaskID = 0;
        // The tree rests while the dialog is up, and the proposal sees completed siblings.
        g.MemDataTasks->DisableControls();
        UnfilterTasks();
        if (Caption() == "New Root Task") g.NewParentID = -1;
        else if (Caption() == "New Matter") g.NewParentID = GetNodeIDAtLevel(g.FocusedNode, 0);
        else g.NewParentID = g.CurrentTaskID;
        Edit2.Clear();
        SpinEdit1.SetValue(GetMaxNumber(g.NewParentID) + 1);
        SetActiveControl(&Edit2);
        ownerName_ = g.CurrentUserName;
        ownerAddress_ = g.CurrentUserAddress;
    });
}

void TfmNewTask::BitBtn1Click() {
    Swallow([this] {
        if (Edit2.Text().empty()) {
            ShowMessage("Please enter a description.");
            SetActiveControl(&Edit2);
            return;
        }
        NewTaskID = AddTask(Globals().NewParentID);
    });
}

void TfmNewTask::MakeRow(int ParentID, int& made) {
    made = AppendTaskRow("", ParentID, SpinEdit1.Value(), Globals().CurrentUserName, Edit2.Text());
}

int TfmNewTask::AddTask(int ParentID) {
    int made = 0;
    Swallow([&] {
        TModuleGlobals& g = Globals();
        g.FoundTaskID = 0;
        if (NumberExists(ParentID, SpinEdit1.Value())) {
            ShowMessage("You already have a task with this number.  Please select another.");
            SpinEdit1.SetValue(GetMaxNumber(ParentID) + 1);
            return;
        }
        using platform::DialogAnswer;
        switch (NameExists(ParentID, Edit2.Text())) {
            case 0:
                MakeRow(ParentID, made);
                Close();
                break;
            case 1:
                if (AskYesNoCancel("You already have a task with this name.  Click Yes to use the existing task, "
                                   "No to make a new one.") == DialogAnswer::No)
                    MakeRow(ParentID, made);
                Close();  // Yes and Cancel close the dialog as well
                break;
            default: {
                DialogAnswer a = AskYesNoCancel(
                    "You have a completed task with this name.  Click Yes to reopen the completed task, No to "
                    "make a new one.");
                if (a == DialogAnswer::Yes) {
                    g.MemDataTasks->DisableControls();
                    Live(g.fmAddTask).ReopenTask(g.FoundTaskID);
                } else if (a == DialogAnswer::No) {
                    MakeRow(ParentID, made);
                }
                Close();
                break;
            }
        }
        Edit2.Clear();
        SetActiveControl(&Edit2);
    });
    return made;
}

void TfmNewTask::FormClose(TCloseAction&) {
    Swallow([this] {
        TModuleGlobals& g = Globals();
        TdxMemData& t = *g.MemDataTasks;
        FilterTasks(1);
        if (NewTaskID > 0) {
            t.Locate("ID", Variant(NewTaskID));
        } else if (g.FoundTaskID > 0) {
            // A completed match that the question's Cancel left as it was is reopened here; when
            // the row is hidden, the test reads whatever row is current.
            t.Locate("ID", Variant(g.FoundTaskID));
            if (t.FieldByName("Complete").AsBoolean()) Live(g.fmAddTask).ReopenTask(g.FoundTaskID);
        }
        t.EnableControls();
    });
}

void TfmNewTask::BitBtn2Click() {
    Guarded([this] { Close(); },
            [](const ExceptionInfo& E) { LogError("TTfmNewTask.AddTask: " + E.message); });
}
