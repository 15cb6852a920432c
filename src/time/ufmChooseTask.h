#pragma once
// TfmChooseTask: the drop-down panel that shows the task tree and hands the picked task to the
// timer or the time entry editor (Caller "uTimer" or "uTimeMemo"). It is shown, not modally,
// beside its caller; OK binds the caller to the task, so the caller has nothing left to do.
//
// Its tree is bound to the task table itself: focusing a node here moves the cursor that the
// task pane shares, and every focus change (whoever moves the cursor) copies the focused task
// into the Chosen* variables of the module. A field that is null keeps the previous task's value.
#include <string>

#include "toolkit/Controls.h"

class TfmChooseTask : public TForm {
public:
    TfmChooseTask();

    TcxDBTreeList cxDBTreeList1{this, "cxDBTreeList1"};
    TcxDBTreeListColumn& ct1Description;
    TcxDBTreeListColumn& ct1Number;
    TBitBtn BitBtn1{this, "BitBtn1"};
    TBitBtn BitBtn2{this, "BitBtn2"};

    // Who opened the panel: "uTimer" or "uTimeMemo".
    std::string Caller;

    // Binds the caller to the chosen task (failures end it silently).
    void ApplyChosenTask();
    // Copies the task under the table's cursor, and the focused node's paths, into the Chosen*
    // variables. The ID is not read: the cursor says which task.
    void GetChosenTaskDetails(int TaskID);
    // The descriptions from the root down to the node, joined by " \ ".
    std::string GetChosenFullName(TcxTreeListNode* Node);
    // The numbers from the root down to the node, each followed by " \ ": "1 \ 2 \ 3 \ ".
    std::string GetChosenFullNumber(TcxTreeListNode* Node);

    // Handlers.
    void FormShow();
    void BitBtn1Click();
    void BitBtn2Click();
    void cxDBTreeList1DblClick();
    void cxDBTreeList1FocusedNodeChanged(TcxDBTreeList& Sender, TcxTreeListNode* PrevFocusedNode,
                                        TcxTreeListNode* FocusedNode);

protected:
    // Caller, readable by name.
    void DescribeProperties(TPropertyList& list) const override;
};
