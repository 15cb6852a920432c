#pragma once
// TfmOptions: how many days a completed task stays in the task tree.
#include "toolkit/Forms.h"

class TfmOptions : public TForm {
public:
    TfmOptions();
};
