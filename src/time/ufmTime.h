#pragma once
// TfmTime: the timesheet, the pane "Time" docked in Outlook's explorer by the forms manager. It
// lists the time rows that pass its filter (dated since the day before "Show time since:", and
// open unless "Show closed time" is ticked), newest first, two lines a row; the user can group
// them by task, with totals of decimal hours per group and in all, tick an entry closed in place,
// jump to a date, make, edit and delete entries through the time entry editor, and export what
// it shows to a workbook (the time report).
//
// The grid is bound to MemDataTime itself: the table's filter, cursor and sort are the grid's.
// The filter is a fixed list of rows, made again when the pane activates or a filter control
// changes; a row added meanwhile turns it off (uTime).
#include "base/Currency.h"
#include "framework/OlForm.h"
#include "toolkit/Controls.h"

class TfmTime : public TadxOlForm {
public:
    TfmTime();
    ~TfmTime() override;

    TPanel Panel1{this, "Panel1"};
    TGroupBox GroupBox1{this, "GroupBox1", &Panel1};
    TDateTimePicker DateTimePicker2{this, "DateTimePicker2", &GroupBox1};
    TGroupBox GroupBox2{this, "GroupBox2", &Panel1};
    TDateTimePicker DateTimePicker1{this, "DateTimePicker1", &GroupBox2};
    TCheckBox CheckBox1{this, "CheckBox1", &Panel1};
    TBitBtn BitBtn1{this, "BitBtn1", &Panel1};
    TLabel Label5{this, "Label5", &Panel1};

    TcxGrid cxGrid4{this, "cxGrid4"};
    TcxGridDBBandedTableView cxGrid4DBBandedTableView2{this, "cxGrid4DBBandedTableView2", &cxGrid4};
    TcxGridDBBandedColumn& cl2Glyph;
    TcxGridDBBandedColumn& cl2Time_Date;
    TcxGridDBBandedColumn& clTask_Name;
    TcxGridDBBandedColumn& cl2Closed;
    TcxGridDBBandedColumn& cl2Note;
    TcxGridDBBandedColumn& cl2DecTime;
    // 0: the time entry's mark.
    TcxImageList cxImageList1{this, "cxImageList1", 1};
    TPopupMenu PopupMenu1{this, "PopupMenu1"};

    // The filter: off, or made anew from the table's rows (silent on failure).
    static void UnfilterTime();
    void FilterTime();
    // FilterTime's pass over the Closed and Time_Date columns, leaving the cursor and this pane's
    // grid as the row-by-row walk leaves them; false when the walk must be made row by row.
    bool PassTimeSince(TdxMemData& t, TDateTime since, bool showClosed);
    // Walks the shown rows summing the hours since Monday and since the first of the month, and
    // leaves the cursor where it was. Its callers drop the sums: the grid's footers are the
    // totals a user sees.
    struct TTimeSummary {
        Currency Week;
        Currency Month;
    };
    static TTimeSummary GetTimeSummary();
    // Opens the editor, not modally: on a new entry with no task, or on the row under the cursor.
    void NewTimeEntry();
    void EditTimeEntry();

    // Handlers.
    void adxOlFormShow();
    void adxOlFormActivate();
    void adxOlFormClose(TCloseAction& Action);
    void CheckBox1Click();
    void DateTimePicker1Change();
    void DateTimePicker2Change();
    void BitBtn1Click();
    void Newtimeentry1Click();
    void Edittimeentry1Click();
    void Deletetimeentry1Click();
    void cxGrid4DBBandedTableView2DblClick();
    void cl2GlyphCustomDrawCell(TcxGridDBTableView& Sender, TcxCanvas& ACanvas,
                                TcxGridTableDataCellViewInfo& AViewInfo, bool& ADone);
};
