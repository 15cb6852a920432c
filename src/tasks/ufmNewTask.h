#pragma once
// TfmNewTask: the modal dialog through which a task is made by hand. It proposes the next number
// under the parent its caption selects, checks the number and the name against the tasks as they
// stood at start-up, asks about duplicates, and appends the row.
#include <string>

#include "toolkit/Controls.h"

class TfmNewTask : public TForm {
public:
    TfmNewTask();

    TGroupBox GroupBox1{this, "GroupBox1"};
    TEdit Edit2{this, "Edit2", &GroupBox1};
    TGroupBox GroupBox2{this, "GroupBox2"};
    TSpinEdit SpinEdit1{this, "SpinEdit1", &GroupBox2};
    TBitBtn BitBtn1{this, "BitBtn1"};
    TBitBtn BitBtn2{this, "BitBtn2"};

    // ID of the row made, 0 if none.
    int NewTaskID = 0;

    void FormShow();
    void FormClose(TCloseAction& Action);
    void BitBtn1Click();
    void BitBtn2Click();
    // Makes the task under ParentID after the checks; gives its ID, or 0 when no row was made.
    int AddTask(int ParentID);

private:
    void MakeRow(int ParentID, int& made);
    std::string ownerName_;
    std::string ownerAddress_;
};
