#include "time/ufmTimeMemo.h"

#include "base/Clock.h"
#include "base/Guard.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "store/MemData.h"
#include "time/uTime.h"
#include "time/ufmChooseTask.h"
#include "time/ufmTime.h"

namespace {

const char* const kAnotherEntry = "You already have a time entry for this date. Do you want to make another?";

}  // namespace

TfmTimeMemo::TfmTimeMemo() : TForm("fmTimeMemo", "Time Memo", 480, 360) {
    BorderStyle = TFormBorderStyle::bsDialog;
    BorderIcons = TBorderIcons{false, false, false};
    GroupBox1.SetCaption("Matter:  ");
    Button1.SetCaption("Choose a task...");
    GroupBox2.SetCaption("Timekeeper:  ");
    Label2.SetCaption("Date:");
    Label3.SetCaption("Time:");
    cxCurrencyEdit1.SetDecimalPlaces(2);
    cxDBCheckBox1.SetCaption("Closed:");
    cxDBCheckBox1.ImmediatePost = true;
    GroupBox3.SetCaption("Narrative: ");
    // OK closes the dialog itself once the entry is saved: a refused entry keeps it open.
    BitBtn1.SetCaption("OK");
    BitBtn1.SetDefault(true);
    BitBtn2.SetKind(bkCancel);

    Bind(OnShow, "FormShow", &TfmTimeMemo::FormShow);
    Bind(OnClose, "FormClose", &TfmTimeMemo::FormClose);
    Bind(DateTimePicker1.OnClick, "DateTimePicker1Click", &TfmTimeMemo::DateTimePicker1Click);
    Bind(DateTimePicker1.OnDropDown, "DateTimePicker1DropDown", &TfmTimeMemo::DateTimePicker1DropDown);
    Bind(DateTimePicker1.OnMouseEnter, "DateTimePicker1MouseEnter", &TfmTimeMemo::DateTimePicker1MouseEnter);
    Bind(DateTimePicker1.OnChange, "DateTimePicker1Change", &TfmTimeMemo::DateTimePicker1Change);
    Bind(Memo1.OnChange, "Memo1Change", &TfmTimeMemo::Memo1Change);
    Bind(cxCurrencyEdit1.OnEditing, "cxCurrencyEdit1Editing", &TfmTimeMemo::cxCurrencyEdit1Editing);
    Bind(Button1.OnClick, "Button1Click", &TfmTimeMemo::Button1Click);
    Bind(BitBtn1.OnClick, "BitBtn1Click", &TfmTimeMemo::BitBtn1Click);
    Bind(BitBtn2.OnClick, "BitBtn2Click", &TfmTimeMemo::BitBtn2Click);
    PublishHandler("SaveTimeEntry", [this] { SaveTimeEntry(); });
    PublishHandler("ValidateTimeEntry", [this] { ValidateTimeEntry(); });

    cxDBCheckBox1.SetDataBinding(&Globals().AddInModule->dsMemDataTime, "Closed");
    // Layout: the task and the timekeeper in boxes, date, amount and the closed mark on one line,
    // the narrative filling the rest, OK and Cancel at the bottom right.
    GroupBox1.SetBounds(8, 6, 448, 52);
    GroupBox1.Anchors = {true, true, true, false};
    Label1.SetBounds(10, 24, 310, 17);
    Button1.SetBounds(328, 19, 110, 25);
    Button1.Anchors = {false, true, true, false};
    GroupBox2.SetBounds(8, 62, 448, 46);
    GroupBox2.Anchors = {true, true, true, false};
    Label4.SetBounds(10, 20, 428, 17);
    Label2.SetBounds(16, 118, 34, 17);
    DateTimePicker1.SetBounds(54, 114, 110, 23);
    Label3.SetBounds(180, 118, 34, 17);
    cxCurrencyEdit1.SetBounds(218, 114, 80, 23);
    cxDBCheckBox1.SetBounds(316, 116, 100, 19);
    GroupBox3.SetBounds(8, 144, 448, 136);
    GroupBox3.Anchors = {true, true, true, true};
    Memo1.SetBounds(10, 20, 428, 106);
    Memo1.Anchors = {true, true, true, true};
    BitBtn1.SetBounds(300, 288, 75, 25);
    BitBtn1.Anchors = {false, false, true, true};
    BitBtn2.SetBounds(381, 288, 75, 25);
    BitBtn2.Anchors = {false, false, true, true};
    AfterConstruction();
}

void TfmTimeMemo::ClearEntry() {
    NewEntry = false;
    EntryID = 0;
    TaskName.clear();
    TaskFullName.clear();
    TaskFullNo.clear();
    TaskID = 0;
    PriorDate = 0;
    TimeDate = 0;
    Note.clear();
    EditedDecTime = Currency{};
}

void TfmTimeMemo::DescribeProperties(TPropertyList& list) const {
    TForm::DescribeProperties(list);
    list.Add("Mode", [this] { return Variant(Mode); });
    list.Add("NewEntry", [this] { return Variant(NewEntry); });
    list.Add("EntryID", [this] { return Variant(EntryID); });
    list.Add("TaskID", [this] { return Variant(TaskID); });
    list.Add("TaskName", [this] { return Variant(TaskName); });
    list.Add("TaskFullName", [this] { return Variant(TaskFullName); });
    list.Add("TaskFullNo", [this] { return Variant(TaskFullNo); });
    list.Add("TimeDate", [this] { return Variant::FromDate(TimeDate); });
    list.Add("PriorDate", [this] { return Variant::FromDate(PriorDate); });
    list.Add("Note", [this] { return Variant(Note); });
}

// ---- showing and closing ------------------------------------------------------------------------

void TfmTimeMemo::FormShow() {
    TModuleGlobals& g = Globals();
    CenterForm(*this);
    NewEntry = false;
    Label1.SetCaption(TaskFullName);
    Label4.SetCaption(g.CurrentUserName);
    cxCurrencyEdit1.SetEnabled(Mode != "Timer");
    if (Mode == "Corvelle") {
        int existing = FindTimeEntry(g.CurrentTaskID, Date());
        if (existing == 0) {
            NewEntry = true;
            cxCurrencyEdit1.SetValue(0);
            Memo1.Clear();
        } else if (ConfirmYesNo(kAnotherEntry)) {
            NewEntry = true;
            cxCurrencyEdit1.SetValue(0);
            Memo1.Clear();
        } else {
            // The row found is opened; the cursor stands on it.
            TdxMemData& t = Live(g.MemDataTime);
            NewEntry = false;
            EntryID = existing;
            cxCurrencyEdit1.SetValue(t.FieldByName("Dec_Time").AsFloat());
            Memo1.SetText(t.FieldByName("Note").AsString());
            // The timer owns the amount of its task's row.
            if (g.TimerTaskID == TaskID) cxCurrencyEdit1.SetEnabled(false);
        }
        Swallow([this] { Memo1.SetFocus(); });
    } else if (Mode == "Timesheet") {
        if (g.TimerTaskID == TaskID && TimeDate == Date()) cxCurrencyEdit1.SetEnabled(false);
    } else if (Mode == "New entry") {
        NewEntry = true;
    }
}

void TfmTimeMemo::FormClose(TCloseAction&) { TfmTime::GetTimeSummary(); }

// ---- the date -----------------------------------------------------------------------------------

void TfmTimeMemo::DateTimePicker1Click() { PriorDate = DateOf(DateTimePicker1.Date()); }

void TfmTimeMemo::DateTimePicker1DropDown() { PriorDate = DateTimePicker1.Date(); }

void TfmTimeMemo::DateTimePicker1MouseEnter() { PriorDate = DateTimePicker1.Date(); }

void TfmTimeMemo::DateTimePicker1Change() {
    TDateTime picked = DateTimePicker1.Date();
    if (picked == PriorDate) return;
    TimeDate = picked;
    if (FindTimeEntry(TaskID, picked) == 0) return;
    if (ConfirmYesNo(kAnotherEntry))
        NewEntry = false;  // the entry in hand is saved over its own row, with the new date
    else
        DateTimePicker1.SetDate(PriorDate);
}

// ---- the other controls -------------------------------------------------------------------------

void TfmTimeMemo::Memo1Change() { Note = Memo1.Text(); }

void TfmTimeMemo::cxCurrencyEdit1Editing() { EditedDecTime = Currency::FromDouble(cxCurrencyEdit1.Value()); }

void TfmTimeMemo::Button1Click() {
    TfmChooseTask& chooser = Live(Globals().fmChooseTask);
    chooser.Caller = "uTimeMemo";
    chooser.SetTop(Top() + 80);
    chooser.SetLeft(Left() + 75);
    chooser.Show();
}

void TfmTimeMemo::BitBtn1Click() { SaveTimeEntry(); }

void TfmTimeMemo::BitBtn2Click() { Close(); }

// ---- saving -------------------------------------------------------------------------------------

void TfmTimeMemo::SaveTimeEntry() {
    Swallow([this] {
        Currency amount = Currency::FromDouble(cxCurrencyEdit1.Value());
        // 24 hours or more, or a negative amount, raises here: the dialog stays open, silent.
        TDateTime time = DecimalToTime(amount);
        if (!ValidateTimeEntry()) return;
        if (NewEntry)
            AddTimeEntry(TaskName, TaskFullName, TaskID, TaskFullNo, time, amount, 0, Memo1.Text(),
                         DateTimePicker1.Date(), false);
        else
            UpdateTimeEntry(EntryID, TaskName, TaskFullName, TaskID, TaskFullNo, time, amount, 0, Memo1.Text(),
                            DateTimePicker1.Date());
        Close();
    });
}

bool TfmTimeMemo::ValidateTimeEntry() {
    // A timer's memo may be saved as it stands, even without a narrative.
    if (Mode == "Timer") return true;
    auto refuse = [this](const char* message, TControl* focus) {
        ShowMessage(message);
        SetModalResult(mrNone);
        if (focus) Swallow([focus] { focus->SetFocus(); });
        return false;
    };
    if (Label1.Caption().empty()) return refuse("Please select a task", &Button1);
    if (cxCurrencyEdit1.Value() == 0 && cxCurrencyEdit1.Enabled())
        return refuse("Please enter the time", &cxCurrencyEdit1);
    if (Label4.Caption().empty()) return refuse("Please assign a timekeeper", nullptr);
    if (Memo1.Text().empty()) return refuse("Please complete the narrative", &Memo1);
    return true;
}
