#pragma once
// TfmTimeMemo: "Time Memo", the dialog in which one time entry is typed or changed: its task,
// timekeeper, date, decimal hours, closed mark and narrative. Whoever opens it writes Mode and
// the entry in hand first:
//
//   "Corvelle"   from the task pane, modal: today's entry of the pane's task, or a new one
//   "Timer"      from the timer, modal: the timer's entry; the amount follows the stopwatch
//   "Timesheet"  from the timesheet, not modal: the row under the cursor
//   "New entry"  from the timesheet, not modal: a new entry, its task still to be chosen
//
// OK checks the entry (but in mode "Timer"), then adds it as a row or rewrites row EntryID, and
// closes. An amount of 24 hours or more, or negative, keeps the dialog open without a word. The
// "Closed:" box is bound to the Time table and writes the row under its cursor, whichever that is.
#include <string>

#include "base/Currency.h"
#include "base/DateTime.h"
#include "toolkit/Controls.h"

class TfmTimeMemo : public TForm {
public:
    TfmTimeMemo();

    TGroupBox GroupBox1{this, "GroupBox1"};
    TLabel Label1{this, "Label1", &GroupBox1};
    TButton Button1{this, "Button1", &GroupBox1};
    TGroupBox GroupBox2{this, "GroupBox2"};
    TLabel Label4{this, "Label4", &GroupBox2};
    TLabel Label2{this, "Label2"};
    TDateTimePicker DateTimePicker1{this, "DateTimePicker1"};
    TLabel Label3{this, "Label3"};
    TCurrencyEdit cxCurrencyEdit1{this, "cxCurrencyEdit1"};
    TcxDBCheckBox cxDBCheckBox1{this, "cxDBCheckBox1"};
    TGroupBox GroupBox3{this, "GroupBox3"};
    TMemo Memo1{this, "Memo1", &GroupBox3};
    TBitBtn BitBtn1{this, "BitBtn1"};
    TBitBtn BitBtn2{this, "BitBtn2"};

    // The entry in hand.
    std::string Mode;
    bool NewEntry = false;
    int EntryID = 0;
    std::string TaskName;
    std::string TaskFullName;
    std::string TaskFullNo;
    int TaskID = 0;
    // The picker's date before the user's change.
    TDateTime PriorDate = 0;
    // The entry's date as last known to the form.
    TDateTime TimeDate = 0;
    // Memo1's text as it changes; the save reads Memo1 itself.
    std::string Note;
    // The amount at the start of the user's last edit of it; nothing reads it.
    Currency EditedDecTime;

    // Forgets the entry in hand: no row, no task, no date, no amount (the controls stay).
    void ClearEntry();
    // Saves the entry as a new row or over row EntryID, and closes; see the header.
    void SaveTimeEntry();
    // The checks of OK, in order; the first that fails says why and moves the focus.
    bool ValidateTimeEntry();

    // Handlers.
    void FormShow();
    void FormClose(TCloseAction& Action);
    void DateTimePicker1Click();
    void DateTimePicker1DropDown();
    void DateTimePicker1MouseEnter();
    void DateTimePicker1Change();
    void Memo1Change();
    void cxCurrencyEdit1Editing();
    void Button1Click();
    void BitBtn1Click();
    void BitBtn2Click();

protected:
    // The entry in hand, readable by name (Mode, NewEntry, EntryID, TaskID, ...).
    void DescribeProperties(TPropertyList& list) const override;
};
