#include "time/ufmChooseTask.h"

TfmChooseTask::TfmChooseTask() : TForm("fmChooseTask", "Choose a Task", 320, 400) {}
