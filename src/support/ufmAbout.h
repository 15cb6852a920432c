#pragma once
// TfmAbout: the version of the add-in.
#include "toolkit/Forms.h"

class TfmAbout : public TForm {
public:
    TfmAbout();
};
