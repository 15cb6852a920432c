#pragma once
// TfmAbout: the version of the add-in and who makes it.
#include "toolkit/Controls.h"

class TfmAbout : public TForm {
public:
    TfmAbout();

    TLabel Label1{this, "Label1"};
    TLabel Label3{this, "Label3"};
    TLabel Label4{this, "Label4"};
    TLabel Label2{this, "Label2"};
    TLabel Label5{this, "Label5"};
    TLabel LinkLabel1{this, "LinkLabel1"};
    TBitBtn BitBtn1{this, "BitBtn1"};
};
