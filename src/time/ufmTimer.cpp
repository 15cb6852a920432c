#include "time/ufmTimer.h"

#include "base/Clock.h"
#include "base/Guard.h"
#include "filing/uAppointments.h"
#include "filing/uEmails.h"
#include "filing/uNotes.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "store/MemData.h"
#include "tasks/ufmNewTask.h"
#include "time/uTime.h"
#include "time/ufmChooseTask.h"
#include "time/ufmTimeMemo.h"

namespace {
// The pictures of the start button.
enum : int { imgRunning = 9, imgStopped = 10 };
}  // namespace

TfmTimer::TfmTimer() : TForm("fmTimer", "Timer", 520, 80) {
    FormStyle = TFormStyle::fsStayOnTop;
    BorderStyle = TFormBorderStyle::bsSingle;
    BorderIcons = TBorderIcons{true, true, false};
    Timer1.SetEnabled(false);
    Timer1.SetInterval(1000);
    ToolButton2.SetHint("Start timer");
    ToolButton2.SetImageIndex(imgStopped);
    ToolButton3.SetHint("Reset timer");
    ToolButton3.SetImageIndex(8);
    Button1.SetCaption(" ...");
    Button1.SetHint("Choose a task to time");
    MemoButton.SetHint("Time memo");
    MemoButton.SetImageIndex(6);
    NoteButton.SetHint("New note");
    NoteButton.SetImageIndex(0);
    MailButton.SetHint("New email");
    MailButton.SetImageIndex(11);
    AppointmentButton.SetHint("New appointment");
    AppointmentButton.SetImageIndex(4);

    Bind(OnShow, "FormShow", &TfmTimer::FormShow);
    Bind(OnClose, "FormClose", &TfmTimer::FormClose);
    Bind(Timer1.OnTimer, "Timer1Timer", &TfmTimer::Timer1Timer);
    Bind(OvcTimeEdit1.OnChange, "OvcTimeEdit1Change", &TfmTimer::OvcTimeEdit1Change);
    Bind(ToolButton2.OnClick, "ToolButton2Click", &TfmTimer::ToolButton2Click);
    Bind(ToolButton3.OnClick, "ToolButton3Click", &TfmTimer::ToolButton3Click);
    Bind(Button1.OnClick, "Button1Click", &TfmTimer::Button1Click);
    Bind(MemoButton.OnClick, "MemoButtonClick", &TfmTimer::MemoButtonClick);
    Bind(MailButton.OnClick, "MailButtonClick", &TfmTimer::MailButtonClick);
    Bind(NoteButton.OnClick, "NoteButtonClick", &TfmTimer::NoteButtonClick);
    Bind(AppointmentButton.OnClick, "AppointmentButtonClick", &TfmTimer::AppointmentButtonClick);
    PublishHandler("StartTimer", [this] { StartTimer(); });
    PublishHandler("StopTimer", [this] { StopTimer(); });
    PublishHandler("PostTime", [this] { PostTime(); });
    // Layout: one strip of start, reset, the stopwatch, the task chooser and the four buttons.
    ToolButton2.SetBounds(6, 6, 30, 30);
    ToolButton3.SetBounds(38, 6, 30, 30);
    OvcTimeEdit1.SetBounds(76, 10, 180, 23);
    Button1.SetBounds(262, 9, 36, 25);
    MemoButton.SetBounds(306, 6, 30, 30);
    NoteButton.SetBounds(338, 6, 30, 30);
    MailButton.SetBounds(370, 6, 30, 30);
    AppointmentButton.SetBounds(402, 6, 30, 30);
    AfterConstruction();
}

void TfmTimer::DescribeProperties(TPropertyList& list) const {
    TForm::DescribeProperties(list);
    list.Add("Dirty", [this] { return Variant(Dirty); });
}

std::string TfmTimer::NoTaskCaption() {
    return Globals().CurrentUserName + " - " + FormatDateTime("mmmm d, yyyy", Date());
}

void TfmTimer::ShowNewTaskForm(const std::string& Caption) {
    TfmNewTask& form = Live(Globals().fmNewTask);
    form.SetCaption(Caption);
    form.ShowModal();
}

// ---- showing and closing ------------------------------------------------------------------------

void TfmTimer::FormShow() {
    TModuleGlobals& g = Globals();
    SetTop(5);
    SetLeft(Live(g.AddInModule).Screen().WorkArea().Width() - Width() - 5);
    SetCaption(NoTaskCaption());
    g.TimerCaption = Caption();
    OvcTimeEdit1.SetValue(0);
    ToolButton2.SetEnabled(false);
    ToolButton3.SetEnabled(false);
    g.TimerRunning = false;
    Dirty = false;
}

void TfmTimer::FormClose(TCloseAction&) {
    Swallow([this] {
        TModuleGlobals& g = Globals();
        // Less than a minute is dropped: the row keeps what it had.
        TDateTime value = OvcTimeEdit1.Value();
        int hours = 0, minutes = 0, seconds = 0, msecs = 0;
        DecodeTime(value, hours, minutes, seconds, msecs);
        if (Dirty && hours + minutes > 0) UpdateTimeAmount(g.TimerEntryID, value, TimeToDecimal(value));
        g.TimerEntryID = -1;
        Timer1.SetEnabled(false);
        Live(g.fmChooseTask).Close();
    });
}

// ---- the stopwatch ------------------------------------------------------------------------------

void TfmTimer::Timer1Timer() {
    TDateTime value = OvcTimeEdit1.Value();
    int hours = 0, minutes = 0, seconds = 0, msecs = 0;
    DecodeTime(value, hours, minutes, seconds, msecs);
    if (seconds < 59) {
        ++seconds;
    } else if (minutes < 59) {
        seconds = 0;
        ++minutes;
    } else if (hours < 23) {
        seconds = minutes = 0;
        ++hours;
    } else {
        // A whole day: the stopwatch falls back to zero.
        hours = minutes = seconds = 0;
    }
    value = EncodeTime(hours, minutes, seconds, msecs);
    OvcTimeEdit1.SetValue(value);
    TfmTimeMemo* memo = Globals().fmTimeMemo.get();
    if (memo && memo->Visible() && memo->Mode == "Timer")
        memo->cxCurrencyEdit1.SetValue(TimeToDecimal(value).value / 10000.0);
}

void TfmTimer::OvcTimeEdit1Change() { Dirty = true; }

void TfmTimer::StartTimer() {
    Timer1.SetEnabled(true);
    Globals().TimerRunning = true;
    OvcTimeEdit1.SetReadOnly(true);
    ToolButton2.SetEnabled(true);
    ToolButton2.SetImageIndex(imgRunning);
    ToolButton3.SetEnabled(false);
    PostTime();
}

void TfmTimer::StopTimer() {
    Timer1.SetEnabled(false);
    Globals().TimerRunning = false;
    // The user may correct the amount by hand.
    OvcTimeEdit1.SetReadOnly(false);
    ToolButton2.SetImageIndex(imgStopped);
    ToolButton2.SetHint("Start timer");
    ToolButton3.SetEnabled(true);
    PostTime();
}

void TfmTimer::PostTime() {
    Swallow([this] {
        TModuleGlobals& g = Globals();
        TDateTime value = OvcTimeEdit1.Value();
        g.TimerDecTime = TimeToDecimal(value);
        if (g.TimerEntryID == 0)
            g.TimerEntryID = AddTimeEntry(g.TimerTaskName, g.TimerTaskFullName, g.TimerTaskID, g.TimerTaskFullNo, value,
                                          g.TimerDecTime, 0, "", Date(), false);
        else
            UpdateTimeAmount(g.TimerEntryID, value, g.TimerDecTime);
        Dirty = false;
    });
}

void TfmTimer::ToolButton2Click() {
    if (Timer1.Enabled())
        StopTimer();
    else
        StartTimer();
}

void TfmTimer::ToolButton3Click() {
    TModuleGlobals& g = Globals();
    g.TimerEntryID = -1;
    g.TimerTaskID = -1;
    SetCaption(NoTaskCaption());
    OvcTimeEdit1.SetValue(0);
}

// ---- the task's buttons -------------------------------------------------------------------------

void TfmTimer::Button1Click() {
    TfmChooseTask& chooser = Live(Globals().fmChooseTask);
    chooser.SetTop(Top() + 75);
    chooser.SetLeft(Left());
    chooser.Caller = "uTimer";
    chooser.Show();
}

bool TfmTimer::RefuseWithoutTask() {
    if (Caption() != Globals().TimerCaption) return false;
    ShowMessage("Please select a task");
    return true;
}

void TfmTimer::MemoButtonClick() {
    if (!RefuseWithoutTask()) ShowTimeEntry("Timer");
}

void TfmTimer::MailButtonClick() {
    if (RefuseWithoutTask()) return;
    Swallow([] {
        TModuleGlobals& g = Globals();
        platform::Use(CreateMailItem(g.TimerTaskID, g.TimerTaskFullName, "")).Display(false);
    });
}

void TfmTimer::NoteButtonClick() {
    if (RefuseWithoutTask()) return;
    Swallow([] {
        TModuleGlobals& g = Globals();
        platform::Use(CreatePostItem(g.TimerTaskID, g.TimerTaskFullName)).Display(false);
    });
}

void TfmTimer::AppointmentButtonClick() {
    if (RefuseWithoutTask()) return;
    Swallow([] {
        TModuleGlobals& g = Globals();
        platform::Use(CreateAppointmentItem(g.TimerTaskID, g.TimerTaskFullName)).Display(false);
    });
}

void TfmTimer::ShowTimeEntry(const std::string& Mode) {
    Swallow([&] {
        TModuleGlobals& g = Globals();
        TfmTimeMemo& memo = Live(g.fmTimeMemo);
        if (Mode == "List") {
            memo.Mode = "Corvelle";
            memo.TaskFullName = g.TaskFullDescription;
            memo.TaskName = g.TaskDescription;
            memo.TaskID = g.CurrentTaskID;
            memo.TaskFullNo = g.TaskFullNumber;
        }
        if (Mode == "Timer") {
            memo.Mode = "Timer";
            memo.EntryID = g.TimerEntryID;
            memo.TaskFullName = g.TimerTaskFullName;
            memo.TaskName = g.TimerTaskName;
            memo.TaskID = g.TimerTaskID;
            memo.TaskFullNo = g.TimerTaskFullNo;
            memo.cxCurrencyEdit1.SetValue(TimeToDecimal(OvcTimeEdit1.Value()).value / 10000.0);
            if (memo.EntryID == 0)
                memo.Memo1.Clear();
            else
                memo.Memo1.SetText(Live(g.MemDataTime).Lookup("ID", Variant(memo.EntryID), "Note").AsString());
        }
        memo.DateTimePicker1.SetDate(Date());
        memo.ShowModal();
    });
}
