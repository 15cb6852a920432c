#include "time/ufmTime.h"

#include "base/Clock.h"
#include "base/Guard.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "reports/uExcel.h"
#include "time/uTime.h"
#include "time/ufmTimeMemo.h"
#include "toolkit/TableWalk.h"

namespace {

TdxMemData& TimeTable() { return Live(Globals().MemDataTime); }

}  // namespace

TfmTime::TfmTime()
    : TadxOlForm("fmTime", "Time", 600, 300),
      cl2Glyph(cxGrid4DBBandedTableView2.CreateColumn("cl2Glyph", "", 0)),
      cl2Time_Date(cxGrid4DBBandedTableView2.CreateColumn("cl2Time_Date", "Time_Date", 0)),
      clTask_Name(cxGrid4DBBandedTableView2.CreateColumn("clTask_Name", "Task_Full_Name", 0)),
      cl2Closed(cxGrid4DBBandedTableView2.CreateColumn("cl2Closed", "Closed", 0)),
      cl2Note(cxGrid4DBBandedTableView2.CreateColumn("cl2Note", "Note", 1)),
      cl2DecTime(cxGrid4DBBandedTableView2.CreateColumn("cl2DecTime", "Dec_Time", 1)) {
    GroupBox1.SetCaption("Show time since:");
    GroupBox2.SetCaption("Go to:  ");
    CheckBox1.SetCaption("Show closed time");
    BitBtn1.SetCaption("Export");
    BitBtn1.SetHint("Export to Microsoft Excel");

    TcxGridDBBandedTableView& v = cxGrid4DBBandedTableView2;
    v.KeyFieldNames = "ID";
    v.Options.Editing = true;
    v.Options.ImmediatePost = true;
    v.Options.Deleting = false;
    v.Options.Inserting = false;
    v.Options.GroupByBox = true;
    v.Options.BandHeaders = false;
    v.Options.Footer = true;
    v.Options.GroupFooters = TcxGroupFootersMode::gfAlwaysVisible;
    v.GroupByBoxPrompt = "To group time entries by task, drag the Task column header here.";
    v.PopupMenu = &PopupMenu1;

    cl2Glyph.Width = 20;
    cl2Glyph.Options.Editing = false;
    cl2Time_Date.Caption = "Date";
    cl2Time_Date.SortOrder = TcxSortOrder::soDescending;
    cl2Time_Date.Options.Editing = false;
    clTask_Name.Caption = "Task";
    clTask_Name.Options.Editing = false;
    cl2Closed.Caption = "Closed";
    cl2Note.Caption = "Note";
    cl2Note.Options.Editing = false;
    cl2Note.Options.Filtering = false;
    cl2Note.Options.Grouping = false;
    cl2Note.Options.Moving = false;
    cl2DecTime.Caption = " Time";
    cl2DecTime.Options.Editing = false;
    v.Summary.FooterSummaryItems.push_back({&cl2DecTime, TcxSummaryKind::skSum, "####.##"});
    v.Summary.DefaultGroupSummaryItems.push_back({&cl2DecTime, TcxSummaryKind::skSum, "####.##"});
    cl2Glyph.OnCustomDrawCell = [this](TcxGridDBTableView& s, TcxCanvas& c, TcxGridTableDataCellViewInfo& i,
                                       bool& d) { cl2GlyphCustomDrawCell(s, c, i, d); };

    auto item = [this](const char* name) -> TNotifyEvent& {
        return static_cast<TMenuItem&>(ComponentByName(name)).OnClick;
    };
    PopupMenu1.Add("Newtimeentry1", "&New time entry");
    PopupMenu1.Add("Edittimeentry1", "&Edit time entry");
    PopupMenu1.Add("Deletetimeentry1", "&Delete time entry");
    Bind(item("Newtimeentry1"), "Newtimeentry1Click", &TfmTime::Newtimeentry1Click);
    Bind(item("Edittimeentry1"), "Edittimeentry1Click", &TfmTime::Edittimeentry1Click);
    Bind(item("Deletetimeentry1"), "Deletetimeentry1Click", &TfmTime::Deletetimeentry1Click);
    Bind(v.OnDblClick, "cxGrid4DBBandedTableView2DblClick", &TfmTime::cxGrid4DBBandedTableView2DblClick);
    Bind(CheckBox1.OnClick, "CheckBox1Click", &TfmTime::CheckBox1Click);
    Bind(DateTimePicker1.OnChange, "DateTimePicker1Change", &TfmTime::DateTimePicker1Change);
    Bind(DateTimePicker2.OnChange, "DateTimePicker2Change", &TfmTime::DateTimePicker2Change);
    Bind(BitBtn1.OnClick, "BitBtn1Click", &TfmTime::BitBtn1Click);

    Bind(OnShow, "adxOlFormShow", &TfmTime::adxOlFormShow);
    Bind(OnActivate, "adxOlFormActivate", &TfmTime::adxOlFormActivate);
    Bind(OnClose, "adxOlFormClose", &TfmTime::adxOlFormClose);
    v.SetDataSource(&Globals().AddInModule->dsMemDataTime);
    // Layout: the filters on a strip at the top, the grid filling the rest.
    Panel1.Align = TAlign::alTop;
    Panel1.SetBounds(0, 0, 600, 58);
    GroupBox1.SetBounds(6, 2, 150, 52);
    DateTimePicker2.SetBounds(8, 20, 134, 23);
    GroupBox2.SetBounds(162, 2, 150, 52);
    DateTimePicker1.SetBounds(8, 20, 134, 23);
    CheckBox1.SetBounds(324, 22, 130, 19);
    Label5.SetBounds(460, 24, 40, 17);
    BitBtn1.SetBounds(514, 18, 80, 25);
    BitBtn1.Anchors = {false, true, true, false};
    cxGrid4.Align = TAlign::alClient;
    cxGrid4DBBandedTableView2.Align = TAlign::alClient;
    AfterConstruction();
}

TfmTime::~TfmTime() {
    if (!HaveGlobals()) return;
    TModuleGlobals& g = Globals();
    if (g.fmTime == this) g.fmTime = nullptr;
    if (g.ShowClosedCheck == &CheckBox1) g.ShowClosedCheck = nullptr;
}

// ---- the filter ---------------------------------------------------------------------------------

void TfmTime::UnfilterTime() {
    TdxMemData& t = TimeTable();
    t.SetProgrammedFilter(false);
    t.SetFiltered(false);
}

bool TfmTime::PassTimeSince(TdxMemData& t, TDateTime since, bool showClosed) {
    if (t.RowCount() == 0 || t.Filtered()) return false;
    const TField* closedField = t.FindField("Closed");
    const TField* dateField = t.FindField("Time_Date");
    if (!closedField || !dateField) return false;  // the walk raises where it first reads one
    const int closed = closedField->Index();
    const int date = dateField->Index();
    bool tellsViews = !t.ControlsDisabled();
    // The grid and the editor's check box show the row under the cursor and keep nothing of it.
    bool done = walk::PassRows(
        t, walk::TCarry::Nothing,
        [&](int row) {
            bool isClosed = false;
            double d = 0;
            if (!walk::ReadBoolean(t.CellView(row, closed), isClosed)) return walk::TRowLook::Unreadable;
            if (isClosed && !showClosed) return walk::TRowLook::Skip;  // the date is not read then
            if (!walk::ReadDate(t.CellView(row, date), d)) return walk::TRowLook::Unreadable;
            return d >= since ? walk::TRowLook::Pass : walk::TRowLook::Skip;
        },
        t.FilterList());
    // The walk showed the grid every row, and a grouped grid opens the group of each row shown.
    TcxGridDBBandedTableView& v = cxGrid4DBBandedTableView2;
    if (done && tellsViews && v.GroupingColumn())
        for (int g = 0, n = v.GroupCount(); g < n; ++g) v.SetGroupExpanded(g, true);
    return done;
}

void TfmTime::FilterTime() {
    Swallow([this] {
        TdxMemData& t = TimeTable();
        if (!HasRecords(t)) return;
        t.FilterList().clear();
        t.SetProgrammedFilter(true);
        // The day before the picker's date passes too.
        TDateTime since = DateTimePicker2.Date() - 1;
        bool showClosed = Live(Globals().ShowClosedCheck).Checked();
        t.First();
        if (!PassTimeSince(t, since, showClosed)) {
            while (!t.Eof()) {
                bool open = !t.FieldByName("Closed").AsBoolean() || showClosed;
                if (open && t.FieldByName("Time_Date").AsDateTime() >= since) t.FilterList().push_back(t.CurRec() + 1);
                t.Next();
            }
        }
        t.SetFiltered(true);
    });
}

namespace {

// GetTimeSummary's walk as one pass over the shown rows' cells, with the cursor left on the last
// row as the walk leaves it (nobody is told: controls are disabled). False, with the sums as they
// were, when a cell doesn't read as the walk reads it or a sum fails: the walk then runs.
bool SumTimeSince(TdxMemData& t, TDateTime weekStart, TDateTime monthStart, TfmTime::TTimeSummary& sums) {
    if (!t.ControlsDisabled() || !t.Active()) return false;
    const TField* dateField = t.FindField("Time_Date");
    const TField* amountField = t.FindField("Dec_Time");
    if (!dateField || !amountField || amountField->DataType() != TFieldType::ftCurrency) return false;
    const int date = dateField->Index();
    const int amount = amountField->Index();
    TfmTime::TTimeSummary out = sums;
    const int rowCount = t.RowCount();
    try {
        for (int row : t.VisibleRows()) {
            if (row < 0 || row >= rowCount) return false;
            double d = 0;
            if (!walk::ReadDate(t.CellView(row, date), d)) return false;
            const TCellView c = t.CellView(row, amount);
            Currency a{};
            if (const auto* raw = std::get_if<int64_t>(&c)) a = Currency::FromRaw(*raw);
            else if (!std::holds_alternative<std::monostate>(c)) return false;
            if (d >= weekStart) out.Week += a;
            if (d >= monthStart) out.Month += a;
        }
    } catch (...) {
        return false;
    }
    if (t.RecordCount() > 0) t.Last();
    sums = out;
    return true;
}

}  // namespace

TfmTime::TTimeSummary TfmTime::GetTimeSummary() {
    TTimeSummary sums;
    Swallow([&sums] {
        TdxMemData& t = TimeTable();
        TBookmark mark = t.GetBookmark();
        TDateTime today = Date();
        TDateTime weekStart = today - (DayOfWeek(today) + 5) % 7;  // Monday
        int year = 0, month = 0, day = 0;
        DecodeDate(today, year, month, day);
        TDateTime monthStart = EncodeDate(year, month, 1);
        t.DisableControls();
        Swallow([&] {
            t.First();
            if (SumTimeSince(t, weekStart, monthStart, sums)) return;
            while (!t.Eof()) {
                TDateTime date = t.FieldByName("Time_Date").AsDateTime();
                Currency amount = t.FieldByName("Dec_Time").AsCurrency();
                if (date >= weekStart) sums.Week += amount;
                if (date >= monthStart) sums.Month += amount;
                t.Next();
            }
        });
        t.EnableControls();
        if (t.BookmarkValid(mark)) t.GotoBookmark(mark);
    });
    return sums;
}

// ---- the editor ---------------------------------------------------------------------------------

void TfmTime::NewTimeEntry() {
    TfmTimeMemo& memo = Live(Globals().fmTimeMemo);
    memo.Mode = "New entry";
    memo.ClearEntry();
    memo.TimeDate = Date();
    memo.DateTimePicker1.SetDate(Date());
    memo.cxCurrencyEdit1.SetValue(0);
    memo.Memo1.Clear();
    memo.Show();
}

void TfmTime::EditTimeEntry() {
    TdxMemData& t = TimeTable();
    TfmTimeMemo& memo = Live(Globals().fmTimeMemo);
    memo.Mode = "Timesheet";
    memo.EntryID = t.FieldByName("ID").AsInteger();
    memo.TaskFullName = t.FieldByName("Task_Full_Name").AsString();
    memo.TaskName = t.FieldByName("Task_Name").AsString();
    memo.TaskID = t.FieldByName("Task_ID").AsInteger();
    memo.TaskFullNo = t.FieldByName("Task_Full_No").AsString();
    memo.TimeDate = t.FieldByName("Time_Date").AsDateTime();
    memo.cxCurrencyEdit1.SetValue(t.FieldByName("Dec_Time").AsFloat());
    memo.Memo1.SetText(t.FieldByName("Note").AsString());
    memo.DateTimePicker1.SetDate(t.FieldByName("Time_Date").AsDateTime());
    memo.Show();
}

// ---- the pane's events --------------------------------------------------------------------------

void TfmTime::adxOlFormShow() {
    TDateTime today = Date();
    DateTimePicker1.SetDate(today);
    DateTimePicker2.SetDate(today - 60);
    Globals().ShowTimeSince = DateTimePicker2.Date();
    GetTimeSummary();
}

void TfmTime::adxOlFormActivate() {
    TModuleGlobals& g = Globals();
    g.fmTime = this;
    g.ShowClosedCheck = &CheckBox1;
    UnfilterTime();
    FilterTime();
}

void TfmTime::adxOlFormClose(TCloseAction&) {
    TAddInModule& m = *Globals().AddInModule;
    m.ClosePane({&m.MemDataTime}, {&TAddInModule::SaveTime});
}

// ---- the controls -------------------------------------------------------------------------------

void TfmTime::CheckBox1Click() {
    UnfilterTime();
    FilterTime();
}

void TfmTime::DateTimePicker2Change() {
    Globals().ShowTimeSince = DateTimePicker2.Date();
    UnfilterTime();
    FilterTime();
}

void TfmTime::DateTimePicker1Change() {
    TDateTime date = DateTimePicker1.Date();
    if (!TimeTable().Locate("Time_Date", Variant::FromDate(date))) ShowMessage("No time for " + DateToStr(date) + ".");
}

void TfmTime::BitBtn1Click() {
    if (!HasRecords(TimeTable())) {
        ShowMessage("You have no time entries.");
        return;
    }
    platform::IScreen& screen = Live(Globals().AddInModule).Screen();
    screen.SetCursor(platform::crHourGlass);
    TdxMemData& t = TimeTable();
    TBookmark bookmark = t.GetBookmark();
    t.DisableControls();
    try {
        TimeReport();
        t.GotoBookmark(bookmark);
    } catch (...) {
        // The failure goes on to the user; the pane and the cursor are put back first.
        t.EnableControls();
        screen.SetCursor(platform::crDefault);
        throw;
    }
    t.EnableControls();
    screen.SetCursor(platform::crDefault);
}

void TfmTime::Newtimeentry1Click() { NewTimeEntry(); }

void TfmTime::Edittimeentry1Click() { EditTimeEntry(); }

void TfmTime::cxGrid4DBBandedTableView2DblClick() {
    if (HasRecords(TimeTable())) EditTimeEntry();
}

void TfmTime::Deletetimeentry1Click() {
    TdxMemData& t = TimeTable();
    if (!HasRecords(t)) return;
    if (t.FieldByName("ID").AsInteger() == Globals().TimerEntryID) {
        ShowMessage("Unable to delete this entry because it is open in the timer. Please clear the timer first.");
        return;
    }
    if (ConfirmYesNo("Delete this time entry?")) DeleteTimeEntry();
}

void TfmTime::cl2GlyphCustomDrawCell(TcxGridDBTableView&, TcxCanvas& ACanvas, TcxGridTableDataCellViewInfo& AViewInfo,
                                    bool& ADone) {
    ACanvas.DrawImage(cxImageList1, AViewInfo.Bounds.Left, AViewInfo.Bounds.Top, 0);
    ADone = true;
}
