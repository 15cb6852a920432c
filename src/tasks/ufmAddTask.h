#pragma once
// TfmAddTask: finds a task by number or name and brings a completed one back into the tree.
#include "toolkit/Forms.h"

class TfmAddTask : public TForm {
public:
    TfmAddTask();
};
