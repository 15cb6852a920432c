#pragma once
// TfmTimer: the stopwatch window. It also carries ShowNewTaskForm, through which the task pane
// opens the new-task dialog.
#include <string>

#include "toolkit/Forms.h"

class TfmTimer : public TForm {
public:
    TfmTimer();

    // Sets the new-task dialog's caption, which selects its mode, and shows it modally.
    void ShowNewTaskForm(const std::string& Caption);
};
