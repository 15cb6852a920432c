// The data-bound grid as a pane's user meets it: the mails of the focused task in two-line
// records, the mark drawn in the class column, the focus following the table's cursor and the
// clicks moving it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/DateTime.h"
#include "store/Tables.h"
#include "toolkit/Controls.h"

namespace {

using Log = std::vector<std::string>;

// A pane shaped like the email pane: a banded view of two lines, an owner-drawn class column, a
// popup menu; and a page control whose second page holds a plain view of the same table.
class TfmMails : public TForm {
public:
    TPageControl PageControl1{this, "PageControl1"};
    TTabSheet TabSheet1{this, "TabSheet1", PageControl1};
    TTabSheet TabSheet2{this, "TabSheet2", PageControl1};
    TcxGrid cxGrid1{this, "cxGrid1", &TabSheet1};
    TcxGridDBBandedTableView View1{this, "View1", &cxGrid1};
    TcxGridDBBandedColumn& clMessageClass = View1.CreateColumn("clMessageClass", "MessageClass");
    TcxGridDBBandedColumn& clDate = View1.CreateColumn("clDate", "Date");
    TcxGridDBBandedColumn& clSubject = View1.CreateColumn("clSubject", "Subject");
    TcxGridDBBandedColumn& clTaskID = View1.CreateColumn("clTaskID", "TaskID");
    TcxGridDBBandedColumn& clText = View1.CreateColumn("clText", "Text", 1);
    TcxGrid cxGrid2{this, "cxGrid2", &TabSheet2};
    TcxGridDBTableView View2{this, "View2", &cxGrid2};
    TcxImageList cxImageList1{this, "cxImageList1", 2};
    TPopupMenu PopupMenu1{this, "PopupMenu1"};
    TEdit Edit1{this, "Edit1"};

    Log log;
    int draws = 0;

    TfmMails() : TForm("fmMails", "Emails", 640, 400) {
        clTaskID.Visible = false;
        Bind(clMessageClass.OnCustomDrawCell, "clMessageClassCustomDrawCell", &TfmMails::clMessageClassCustomDrawCell);
        View1.PopupMenu = &PopupMenu1;
        View2.CreateColumn("cl2Subject", "Subject");
        View1.OnEnter = [this] { log.push_back("View1.Enter"); };
        View1.OnClick = [this] { log.push_back("View1.Click " + Key()); };
        View1.OnDblClick = [this] { log.push_back("View1.DblClick " + Key()); };
        View1.OnFocusedRecordChanged = [this](TcxGridDBTableView&, int previous, int focused) {
            log.push_back("Focus " + std::to_string(previous) + "->" + std::to_string(focused));
        };
        PopupMenu1.OnPopup = [this] { log.push_back("Popup " + Key()); };
        AfterConstruction();
        Show();
    }

    std::string Key() const { return View1.MainValue().AsString(); }

    void clMessageClassCustomDrawCell(TcxGridDBTableView&, TcxCanvas& ACanvas, TcxGridTableDataCellViewInfo& AViewInfo,
                                      bool& ADone) {
        ++draws;
        std::string cls = AViewInfo.Value().AsString();
        if (cls == "IPM.Note" || cls == "IPM.Mail") ACanvas.DrawImage(cxImageList1, AViewInfo.Bounds.Left, AViewInfo.Bounds.Top, 1);
        ADone = cls != "plain";  // a "plain" row lets the default drawing show its text
    }
};

struct GridTest : ::testing::Test {
    std::unique_ptr<TdxMemData> table = MakeTable("Emails");
    TDataSource ds{"dsMemDataEmails", table.get()};
    TfmMails fm;
    TcxGridDBBandedTableView& view = fm.View1;
    Log& log = fm.log;

    void SetUp() override {
        table->Open();
        fm.View1.SetDataSource(&ds);
        fm.View2.SetDataSource(&ds);
    }

    int Add(int task, const std::string& subject, const std::string& cls = "IPM.Note") {
        table->Append();
        table->FieldByName("TaskID").SetAsInteger(task);
        table->FieldByName("Subject").SetAsString(subject);
        table->FieldByName("MessageClass").SetAsString(cls);
        table->FieldByName("Date").SetAsDateTime(EncodeDate(2026, 3, 2) + EncodeTime(9, 30, 0, 0));
        table->FieldByName("Text").SetAsString("Body of " + subject);
        table->Post();
        return table->FieldByName("ID").AsInteger();
    }

    // The pane's filter: the rows of one task, by their positions in table order.
    void ShowTask(int task) {
        table->SetProgrammedFilter(false);
        table->SetFiltered(false);
        table->FilterList().clear();
        table->SetProgrammedFilter(true);
        table->First();
        while (!table->Eof()) {
            if (table->FieldByName("TaskID").AsInteger() == task) table->FilterList().push_back(table->CurRec() + 1);
            table->Next();
        }
        table->SetFiltered(true);
    }

    // The subjects the view shows, in its order, with "*" on the focused one.
    std::string Shown(TcxGridDBTableView& v) {
        std::string s;
        TcxGridDBColumn* subject = v.ColumnByName(&v == &view ? "clSubject" : "cl2Subject");
        for (int i = 0; i < v.RecordCount(); ++i)
            s += v.DisplayTexts(i, *subject) + (i == v.FocusedRecordIndex() ? "*" : "") + ";";
        return s;
    }
    std::string Shown() { return Shown(view); }
};

}  // namespace

TEST_F(GridTest, TheViewShowsTheTasksMailsInTableOrderOnTwoLines) {
    Add(1, "Lease draft");
    Add(2, "Invoice");
    Add(1, "Signed lease");
    Add(1, "Receipt", "IPM.Note.Receipt");
    EXPECT_EQ(Shown(), "Lease draft;Invoice;Signed lease;Receipt*;");

    ShowTask(1);
    EXPECT_EQ(Shown(), "Lease draft*;Signed lease;Receipt;");  // the cursor stands on the first
    EXPECT_EQ(Shown(fm.View2), Shown());                          // both views show the same rows

    // Two lines: the header line, then the body; the hidden column is not drawn.
    EXPECT_EQ(view.LineCount(), 2);
    EXPECT_EQ(fm.View2.LineCount(), 1);
    std::vector<std::string> drawn;
    for (TcxGridDBColumn* c : view.VisibleColumns()) drawn.push_back(c->Name() + "@" + std::to_string(view.ColumnLine(*c)));
    EXPECT_EQ(drawn, (std::vector<std::string>{"clMessageClass@0", "clDate@0", "clSubject@0", "clText@1"}));
    EXPECT_EQ(view.DisplayTexts(1, fm.clText), "Body of Signed lease");
    EXPECT_EQ(view.DisplayTexts(1, fm.clDate), "3/2/2026 9:30:00 AM");
    EXPECT_EQ(view.Values(1, fm.clTaskID).AsInteger(), 1);

    // A task with no mails shows nothing and focuses nothing.
    ShowTask(7);
    EXPECT_EQ(view.RecordCount(), 0);
    EXPECT_EQ(view.FocusedRecordIndex(), -1);
    EXPECT_TRUE(view.MainValue().IsNull());
}

TEST_F(GridTest, AnEmptyTableShowsNoRecordsAndTakesClicksOnItsEmptySpace) {
    EXPECT_EQ(view.RecordCount(), 0);
    EXPECT_EQ(view.FocusedRecordIndex(), -1);
    EXPECT_EQ(view.RecordRow(0), -1);
    EXPECT_EQ(view.FindRecordIndexByKeyValue(Variant(1)), -1);
    EXPECT_TRUE(view.DrawCell(0, fm.clMessageClass).OwnerDrawn);  // an owner-drawn column
    EXPECT_EQ(fm.draws, 0);                                       // but no record to draw
    EXPECT_TRUE(view.UserDblClickRecord(-1));
    EXPECT_EQ(log, (Log{"View1.Enter", "View1.Click ", "View1.DblClick "}));
}

TEST_F(GridTest, TheFocusFollowsTheCursorOnceAndAClickMovesTheCursor) {
    int a = Add(1, "A");
    int b = Add(1, "B");
    int c = Add(1, "C");
    log.clear();

    ASSERT_TRUE(table->Locate("ID", Variant(a)));
    ASSERT_TRUE(table->Locate("ID", Variant(a)));  // the same row again: no event
    EXPECT_EQ(log, (Log{"Focus 2->0"}));
    EXPECT_EQ(Shown(fm.View2), "A*;B;C;");  // a second view follows the same cursor

    log.clear();
    EXPECT_TRUE(view.UserClickRecord(view.FindRecordIndexByKeyValue(Variant("2"))));
    EXPECT_EQ(table->FieldByName("ID").AsInteger(), b);
    EXPECT_EQ(log, (Log{"View1.Enter", "Focus 0->1", "View1.Click 2"}));
    EXPECT_TRUE(fm.View1.Focused());

    log.clear();
    EXPECT_TRUE(view.UserDblClickRecord(2));
    EXPECT_EQ(log, (Log{"Focus 1->2", "View1.Click 3", "View1.DblClick 3"}));
    EXPECT_EQ(table->FieldByName("ID").AsInteger(), c);

    // A click on the empty space below the records keeps the focus where it was.
    log.clear();
    EXPECT_TRUE(view.UserClickRecord(-1));
    EXPECT_EQ(view.HitRecordIndex(), -1);
    EXPECT_EQ(log, (Log{"View1.Click 3"}));

    // The right button focuses the record, then the menu opens on it.
    log.clear();
    EXPECT_TRUE(view.UserContextPopup(0));
    EXPECT_EQ(log, (Log{"Focus 2->0", "Popup 1"}));

    // Focusing by code moves the cursor too, and an index outside the view does nothing.
    fm.View2.SetFocusedRecordIndex(1);
    EXPECT_EQ(table->FieldByName("ID").AsInteger(), b);
    fm.View2.SetFocusedRecordIndex(9);
    EXPECT_EQ(table->FieldByName("ID").AsInteger(), b);
}

TEST_F(GridTest, AViewOnAHiddenPageCannotBeClicked) {
    Add(1, "A");
    fm.View2.OnClick = [this] { log.push_back("View2.Click"); };
    log.clear();
    EXPECT_FALSE(fm.View2.UserClickRecord(0));
    EXPECT_TRUE(log.empty());
    fm.PageControl1.OnChange = [this] { log.push_back("Change " + std::to_string(fm.PageControl1.ActivePageIndex())); };
    EXPECT_TRUE(fm.PageControl1.UserClickItem(1));
    EXPECT_TRUE(fm.View2.UserClickRecord(0));
    EXPECT_EQ(log, (Log{"Change 1", "View2.Click"}));
    EXPECT_FALSE(view.Showing());
}

TEST_F(GridTest, WhileControlsAreDisabledTheFocusWaitsThenCatchesUpOnce) {
    int a = Add(1, "A");
    Add(1, "B");
    int c = Add(1, "C");
    log.clear();

    table->DisableControls();
    table->DisableControls();
    table->Locate("ID", Variant(a));
    table->Locate("ID", Variant(c));
    table->Locate("ID", Variant(a));
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(view.FocusedRecordIndex(), 2);  // the view still shows its last focus
    table->EnableControls();
    EXPECT_TRUE(log.empty());
    table->EnableControls();
    EXPECT_EQ(log, (Log{"Focus -1->0"}));
    EXPECT_EQ(view.FocusedRecordIndex(), 0);

    // A user's click while the table holds its notifications back still focuses the record.
    log.clear();
    table->DisableControls();
    view.UserClickRecord(1);
    EXPECT_EQ(view.FocusedRecordIndex(), 1);
    table->EnableControls();
    EXPECT_EQ(log, (Log{"View1.Enter", "Focus 0->1", "View1.Click 2"}));
}

TEST_F(GridTest, DeletingTheFocusedMailFocusesTheNextAndTheLastLeavesNothing) {
    Add(1, "A");
    Add(2, "other task");
    int b = Add(1, "B");
    Add(1, "C");
    ShowTask(1);
    view.SetFocusedRecordIndex(view.FindRecordIndexByKeyValue(Variant(b)));
    log.clear();

    table->Delete();
    EXPECT_EQ(Shown(), "A;C*;");
    EXPECT_EQ(log, (Log{"Focus -1->1"}));
    EXPECT_EQ(view.KeyValue(1).AsInteger(), 4);  // rows behind the deleted one keep their keys

    table->Delete();
    table->Delete();
    EXPECT_EQ(Shown(), "");
    EXPECT_EQ(view.FocusedRecordIndex(), -1);
    EXPECT_EQ(log.back(), "Focus -1->-1");
    EXPECT_EQ(table->RowCount(), 1);  // the other task's mail stays, unshown
}

TEST_F(GridTest, OwnerDrawnCellsDrawTheirMarkEachTimeAndHideTheClassText) {
    Add(1, "A", "IPM.Note");
    Add(1, "B", "IPM.Appointment");
    Add(1, "C", "plain");

    TcxGridDrawnCell mail = view.DrawCell(0, fm.clMessageClass);
    EXPECT_TRUE(mail.OwnerDrawn);
    EXPECT_EQ(mail.ImageIndex, 1);
    EXPECT_TRUE(mail.Done);
    EXPECT_EQ(mail.Text, "");  // the class text is never shown

    TcxGridDrawnCell other = view.DrawCell(1, fm.clMessageClass);
    EXPECT_EQ(other.ImageIndex, -1);  // nothing drawn: the cell stays empty
    EXPECT_EQ(other.Text, "");

    TcxGridDrawnCell plain = view.DrawCell(2, fm.clMessageClass);
    EXPECT_FALSE(plain.Done);
    EXPECT_EQ(plain.Text, "plain");  // the default drawing follows the handler

    TcxGridDrawnCell subject = view.DrawCell(0, fm.clSubject);
    EXPECT_FALSE(subject.OwnerDrawn);
    EXPECT_EQ(subject.Text, "A");
    EXPECT_EQ(fm.draws, 3);  // one event per cell drawn, none for the other columns

    // A picture the list doesn't hold draws nothing.
    TcxCanvas canvas;
    canvas.DrawImage(fm.cxImageList1, 0, 0, 2);
    canvas.DrawImage(fm.cxImageList1, 0, 0, -1);
    EXPECT_EQ(canvas.DrawnImageIndex(), -1);
}

TEST_F(GridTest, RecordsAreFoundByTheirKeyAmongTheShownOnly) {
    Add(1, "A");
    int hidden = Add(2, "B");
    int c = Add(1, "C");
    ShowTask(1);
    EXPECT_EQ(view.FindRecordIndexByKeyValue(Variant(c)), 1);
    EXPECT_EQ(view.FindRecordIndexByKeyValue(Variant(std::to_string(c))), 1);  // as a script names it
    EXPECT_EQ(view.FindRecordIndexByKeyValue(Variant(hidden)), -1);
    EXPECT_EQ(view.FindRecordIndexByKeyValue(Variant("abc")), -1);
    EXPECT_EQ(view.FindRecordIndexByKeyValue(Variant()), -1);
    EXPECT_EQ(view.RecordIndexOfRow(1), -1);  // the hidden row
    EXPECT_EQ(view.RecordRow(1), 2);
}

TEST_F(GridTest, ASortingColumnOrdersTheRecordsAndKeepsTheTableUntouched) {
    Add(1, "b");
    Add(1, "C");
    Add(1, "a");
    fm.View2.Columns(0).SortOrder = TcxSortOrder::soDescending;
    EXPECT_EQ(Shown(fm.View2), "C;b;a*;");
    EXPECT_EQ(Shown(), "b;C;a*;");  // the other view, unsorted, keeps the table's order
    fm.View2.SetFocusedRecordIndex(0);
    EXPECT_EQ(table->FieldByName("Subject").AsString(), "C");
    Add(1, "d");
    EXPECT_EQ(Shown(fm.View2), "d*;C;b;a;");

    // A filter list written by hand with a position beyond the table: that record shows nothing.
    table->SetProgrammedFilter(true);
    table->FilterList() = {2, 1};
    table->SetFiltered(true);
    table->FilterList().push_back(99);
    EXPECT_EQ(Shown(fm.View2), "C*;b;;");
    EXPECT_EQ(Shown(), "C*;b;;");
    EXPECT_EQ(fm.View2.RecordRow(2), -1);
    EXPECT_TRUE(fm.View2.KeyValue(2).IsNull());
}

TEST_F(GridTest, ADateColumnSortsEmptyDatesFirstAndKeepsTheTableOrderOfEqualOnes) {
    Add(1, "noon");
    Add(1, "empty");
    Add(1, "morning");
    Add(1, "noon too");
    auto date = [&](const char* subject, TDateTime when) {
        ASSERT_TRUE(table->Locate("Subject", Variant(subject)));
        table->Edit();
        if (when == 0) table->FieldByName("Date").Clear();
        else table->FieldByName("Date").SetAsDateTime(when);
        table->Post();
    };
    TDateTime day = EncodeDate(2026, 3, 2);
    date("noon", day + 0.5);
    date("empty", 0);
    date("morning", day + 0.25);
    date("noon too", day + 0.5);
    TcxGridDBColumn& d = fm.View2.CreateColumn("cl2Date", "Date");
    d.SortOrder = TcxSortOrder::soAscending;
    EXPECT_EQ(Shown(fm.View2), "empty;morning;noon;noon too*;");
    d.SortOrder = TcxSortOrder::soDescending;
    EXPECT_EQ(Shown(fm.View2), "noon;noon too*;morning;empty;");
    // An integer column sorts the same way.
    table->Locate("Subject", Variant("empty"));
    table->Edit();
    table->FieldByName("TaskID").SetAsInteger(7);
    table->Post();
    TcxGridDBColumn& task = fm.View2.CreateColumn("cl2Task", "TaskID");
    d.SortOrder = TcxSortOrder::soNone;
    task.SortOrder = TcxSortOrder::soDescending;
    EXPECT_EQ(Shown(fm.View2).substr(0, 6), "empty*");
}
