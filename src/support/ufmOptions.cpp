#include "support/ufmOptions.h"

#include "host/AddinModule.h"
#include "host/Globals.h"
#include "tasks/uTasks.h"
#include "toolkit/DBTreeList.h"

TfmOptions::TfmOptions() : TForm("fmOptions", "Completed Tasks", 330, 130) {
    Label1.SetCaption("Show tasks completed within the last ");
    SpinEdit1.SetMinValue(0);
    SpinEdit1.SetMaxValue(3650);
    SpinEdit1.SetIncrement(1);
    Label2.SetCaption("days");
    BitBtn1.SetKind(bkOK);
    BitBtn2.SetKind(bkCancel);
    Bind(OnShow, "FormShow", &TfmOptions::FormShow);
    Bind(BitBtn1.OnClick, "BitBtn1Click", &TfmOptions::BitBtn1Click);
    Bind(BitBtn2.OnClick, "BitBtn2Click", &TfmOptions::BitBtn2Click);
    // Layout: the question, the number of days below it, OK and Cancel at the bottom right.
    Label1.SetBounds(12, 10, 290, 17);
    SpinEdit1.SetBounds(12, 30, 64, 23);
    Label2.SetBounds(82, 34, 40, 17);
    BitBtn1.SetBounds(150, 60, 75, 25);
    BitBtn1.Anchors = {false, false, true, true};
    BitBtn2.SetBounds(231, 60, 75, 25);
    BitBtn2.Anchors = {false, false, true, true};
    AfterConstruction();
}

void TfmOptions::FormShow() {
    CenterForm(*this);
    SpinEdit1.SetValue(1);  // whatever was applied last time
}

void TfmOptions::BitBtn1Click() {
    TModuleGlobals& g = Globals();
    g.MemDataTasks->DisableControls();
    FilterTasks(SpinEdit1.Value());
    g.MemDataTasks->EnableControls();
    if (g.TaskTree) g.TaskTree->FullExpand();
    Close();
}

void TfmOptions::BitBtn2Click() { Close(); }
