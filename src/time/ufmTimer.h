#pragma once
// TfmTimer: the timer, a small stay-on-top strip in the screen's top right that runs a stopwatch
// against one task. The stopwatch counts the ticks it is given, one second each, and never reads
// the clock; past 23:59:59 it falls back to zero. Its amount reaches the task's row of today at a
// start, at a stop and when the window closes (a minute or more), never at a tick. Its buttons
// choose the task, open the time entry of it, and make a mail, a note or an appointment for it.
//
// It also carries ShowNewTaskForm, through which the task pane opens the new-task dialog.
#include <string>

#include "toolkit/Controls.h"

class TfmTimer : public TForm {
public:
    TfmTimer();

    TTimeEdit OvcTimeEdit1{this, "OvcTimeEdit1"};
    TTimer Timer1{this, "Timer1"};
    TToolButton ToolButton2{this, "ToolButton2"};
    TToolButton ToolButton3{this, "ToolButton3"};
    TButton Button1{this, "Button1"};
    TToolButton MemoButton{this, "MemoButton"};
    TToolButton NoteButton{this, "NoteButton"};
    TToolButton MailButton{this, "MailButton"};
    TToolButton AppointmentButton{this, "AppointmentButton"};

    // The edit changed since the amount was last posted.
    bool Dirty = false;

    void StartTimer();
    void StopTimer();
    // Writes the running amount to the timer's row, making the row when there is none yet.
    void PostTime();
    // Opens the time entry editor modally: on the task pane's task ("List") or the timer's
    // ("Timer").
    void ShowTimeEntry(const std::string& Mode);
    // Sets the new-task dialog's caption, which selects its mode, and shows it modally.
    void ShowNewTaskForm(const std::string& Caption);

    // Handlers.
    void FormShow();
    void FormClose(TCloseAction& Action);
    void Timer1Timer();
    void OvcTimeEdit1Change();
    void ToolButton2Click();
    void ToolButton3Click();
    void Button1Click();
    void MemoButtonClick();
    void MailButtonClick();
    void NoteButtonClick();
    void AppointmentButtonClick();

protected:
    // Dirty, readable by name.
    void DescribeProperties(TPropertyList& list) const override;

private:
    // The caption of a timer with no task: the user and today's date.
    static std::string NoTaskCaption();
    // The caption still says that no task is chosen: "Please select a task".
    bool RefuseWithoutTask();
};
