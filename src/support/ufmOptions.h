#pragma once
// TfmOptions: the system's one setting, how many days a completed task stays in the task tree.
// It is not stored: the dialog opens at 1 every time, and its effect lives in the tree's filter.
#include "toolkit/Controls.h"

class TfmOptions : public TForm {
public:
    TfmOptions();

    TLabel Label1{this, "Label1"};
    TSpinEdit SpinEdit1{this, "SpinEdit1"};
    TLabel Label2{this, "Label2"};
    TBitBtn BitBtn1{this, "BitBtn1"};
    TBitBtn BitBtn2{this, "BitBtn2"};

    void FormShow();
    void BitBtn1Click();
    void BitBtn2Click();
};
