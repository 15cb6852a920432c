#pragma once
// TfmAddTask: finds a task by its number path or its name, level by level, in a tree of its own
// over the copy of the tasks taken at start-up, and brings it back into the task tree: OK reopens
// the focused task and its ancestors.
#include "toolkit/Controls.h"
#include "toolkit/DBTreeList.h"

class TfmAddTask : public TForm {
public:
    TfmAddTask();

    TPanel Panel1{this, "Panel1"};
    TGroupBox cxGroupBox1{this, "cxGroupBox1"};
    TNumericField OvcNumericField1{this, "OvcNumericField1", &cxGroupBox1, 11};
    TButton Button1{this, "Button1"};
    TGroupBox cxGroupBox2{this, "cxGroupBox2"};
    TSearchList OvcSearchList1{this, "OvcSearchList1", &cxGroupBox2};
    TButton Button2{this, "Button2"};
    TEdit cxMaskEdit1{this, "cxMaskEdit1"};
    TcxDBTreeList cxDBTreeList1{this, "cxDBTreeList1"};
    TcxDBTreeListColumn& ct1Description;
    TcxDBTreeListColumn& ct1Number;
    TcxDBTreeListColumn& ct1Complete;
    TcxDBTreeListColumn& ct1EntryID;
    TcxDBTreeListColumn& ct1ID;
    TBitBtn BitBtn1{this, "BitBtn1"};
    TBitBtn BitBtn2{this, "BitBtn2"};

    // The task whose children the search list shows; -1 for the root level.
    int CurrentLevelID = -1;
    // Whether the search list has had the focus since the dialog was shown.
    bool NameEntered = false;
    int FocusedID = 0;

    // Reopens the task and, up this dialog's tree from its focused node, its ancestors.
    void ReopenTask(int ID);
    void SearchByNumber();
    void SearchByName();
    void FillSearchList();

    void FormShow();
    void OvcSearchList1Enter();
    void Button1Click() { SearchByNumber(); }
    void Button2Click() { SearchByName(); }
    void cxDBTreeList1Click();
    void cxDBTreeList1FocusedNodeChanged(TcxDBTreeList& Sender, TcxTreeListNode* PrevFocusedNode,
                                        TcxTreeListNode* FocusedNode);
    void cxDBTreeList1CustomDrawDataCell(TcxDBTreeList& Sender, TcxTreeListNode* Node,
                                         TcxDBTreeListColumn& Column, TFontStyles& Style);
    void BitBtn2Click();

private:
    // After a search found its row: the list shows the children of the task reached.
    void DescendToFocused();
};
