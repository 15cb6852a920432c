#include "tasks/ufmNewTask.h"

TfmNewTask::TfmNewTask() : TForm("fmNewTask", "New Task", 345, 190) {}
