#pragma once
// TfmNewTask: the modal dialog through which a task is made by hand: a name and a number.
#include "toolkit/Forms.h"

class TfmNewTask : public TForm {
public:
    TfmNewTask();
};
