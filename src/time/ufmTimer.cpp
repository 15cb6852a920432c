#include "time/ufmTimer.h"

#include "host/Globals.h"
#include "tasks/ufmNewTask.h"

TfmTimer::TfmTimer() : TForm("fmTimer", "Timer", 520, 80) { AfterConstruction(); }

void TfmTimer::ShowNewTaskForm(const std::string& Caption) {
    TfmNewTask& form = Live(Globals().fmNewTask);
    form.SetCaption(Caption);
    form.ShowModal();
}
