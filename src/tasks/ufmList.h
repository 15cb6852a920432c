#pragma once
// TfmList: the task pane. It shows the task tree, whose focused node fixes the current task for
// the whole system, the focused task's full name and number, and the toolbar and popup menu from
// which most commands start.
#include <memory>
#include <string>

#include "framework/OlForm.h"
#include "platform/Outlook.h"
#include "toolkit/Controls.h"
#include "toolkit/DBTreeList.h"
#include "toolkit/DragDrop.h"

class TfmList : public TadxOlForm {
public:
    TfmList();
    ~TfmList() override;

    TcxDBTreeList cxDBTreeList1{this, "cxDBTreeList1"};
    TcxDBTreeListColumn& cl1Description;
    TcxDBTreeListColumn& cl1Importance;
    TcxDBTreeListColumn& cl1DueDate;
    TcxDBTreeListColumn& cl1ID;
    TcxDBTreeListColumn& cl1Complete;
    TcxDBTreeListColumn& cl1Number;
    TcxDBTreeListColumn& cl1Status;
    TcxDBTreeListColumn& cl1EntryID;
    TcxDBTreeListColumn& cl1StartDate;
    TcxDBTreeListColumn& cl1PercentComplete;
    TcxDBTreeListColumn& cl1DummyImportance;

    TPanel re{this, "re"};
    TButtonGroup ButtonGroup1{this, "ButtonGroup1", &re};
    TLabel Label3{this, "Label3", &re};
    TLabel Label4{this, "Label4", &re};
    TPopupMenu PopupMenu1{this, "PopupMenu1"};

    // The drop of Outlook items on the tree, and the menus it offers: for a mail folder, for a
    // post folder, for every other folder.
    TDMTextTarget DMTextTarget1{this, "DMTextTarget1"};
    TPopupMenu PopupMenu2{this, "PopupMenu2"};
    TPopupMenu PopupMenu3{this, "PopupMenu3"};
    TPopupMenu PopupMenu4{this, "PopupMenu4"};

    // The state of the last drop, kept until the next one.
    std::shared_ptr<outlook::_Explorer> DragExplorer;
    std::shared_ptr<outlook::Selection> DragSelection;
    std::shared_ptr<outlook::MAPIFolder> DragFolder;
    std::string DragStoreID;
    int DropTaskID = 0;
    bool DragActive = false;  // set by a drag over the tree; nothing reads it

    // The seven columns kept for the task report.
    struct TReportColumns {
        TcxDBTreeListColumn* Description = nullptr;
        TcxDBTreeListColumn* StartDate = nullptr;
        TcxDBTreeListColumn* DueDate = nullptr;
        TcxDBTreeListColumn* Importance = nullptr;
        TcxDBTreeListColumn* DummyImportance = nullptr;
        TcxDBTreeListColumn* Status = nullptr;
        TcxDBTreeListColumn* PercentComplete = nullptr;
    } ReportColumns;

    // Commands.
    void NewRootTask1Click();
    void NewTask1Click();
    void SpeedButton1Click();
    void SpeedButton2Click();
    void Displaytask1Click();
    void cxDBTreeList1DblClick();
    void Deletetask2Click();
    void Deletetaskchildren1Click();
    void Expand1Click();
    void Collapse1Click();
    void Expandthistask1Click();
    void Completedtasks1Click();
    void Newnote1Click();
    void Newemail1Click();
    void Newappointment1Click();
    void Newtimeentry1Click();
    void Newcontact1Click();
    void Newdistributionlist1Click();

    // The drop on the tree and its menus.
    void DMTextTarget1DragOver(TDMTextTarget& Sender, int X, int Y);
    void DMTextTarget1Drop(TDMTextTarget& Sender, int X, int Y);
    void Copyhere1Click();
    void Movehere1Click();
    void AddTask1Click();
    void N2Click();
    void CopyItemsHere();
    void MoveItemsHere();
    void AddItemsAsTasks();

    // Filing: one row in the kind's table for the item, against the task. The caller decides
    // what happens to the item in Outlook.
    void FileMailItem(const std::shared_ptr<outlook::_MailItem>& Item, int TaskID);
    void FilePostItem(const std::shared_ptr<outlook::_PostItem>& Item, int TaskID);
    void FileAppointmentItem(const std::shared_ptr<outlook::_AppointmentItem>& Item, int TaskID);
    void FileContactItem(const std::shared_ptr<outlook::_ContactItem>& Item, int TaskID);
    void FileDistListItem(const std::shared_ptr<outlook::_DistListItem>& Item, int TaskID);
    // The export: the task report of the tree as it stands, under the hourglass.
    void ButtonGroup1Items8Click();

    // The tree's events.
    void cxDBTreeList1FocusedNodeChanged(TcxDBTreeList& Sender, TcxTreeListNode* PrevFocusedNode,
                                        TcxTreeListNode* FocusedNode);
    int cxDBTreeList1GetNodeImageIndex(TcxDBTreeList& Sender, TcxTreeListNode* Node, int Index);
    void cxDBTreeList1CustomDrawDataCell(TcxDBTreeList& Sender, TcxTreeListNode* Node,
                                         TcxDBTreeListColumn& Column, TFontStyles& Style);
    void cxDBTreeList1DragOver(TcxDBTreeList& Sender, int Line, bool& Accept);

    // Copies the focused row into the module-wide task details. The argument is not used.
    void GetListTaskDetails(int ID);

    // The pane's events.
    void adxOlFormCreate();
    void adxOlFormShow();
    void adxOlFormActivate();
    void adxOlFormClose(TCloseAction& Action);
};
