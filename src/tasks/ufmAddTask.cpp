#include "tasks/ufmAddTask.h"

TfmAddTask::TfmAddTask() : TForm("fmAddTask", "Find a Task", 420, 480) {}
