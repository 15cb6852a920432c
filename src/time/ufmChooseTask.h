#pragma once
// TfmChooseTask: the drop-down panel that shows the task tree and hands the picked task to the
// timer or the time entry editor.
#include "toolkit/Forms.h"

class TfmChooseTask : public TForm {
public:
    TfmChooseTask();
};
