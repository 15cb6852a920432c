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
    // Layout: the question in one line around the number, OK and Cancel at the bottom right.
    Label1.SetBounds(12, 20, 204, 17);
    SpinEdit1.SetBounds(218, 16, 56, 23);
    Label2.SetBounds(280, 20, 30, 17);
    BitBtn1.SetBounds(150, 58, 75, 25);
    BitBtn1.Anchors = {false, false, true, true};
    BitBtn2.SetBounds(231, 58, 75, 25);
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
