// The time report, given the Time table as the timesheet leaves it (its filter, its "Show time
// since:" date) and run as the timesheet's export runs it. It never says a word: a failure ends
// it silently.
#include "platform/System.h"
#include "reports/ReportFixture.h"

namespace {

struct Entry {
    const char* task;
    const char* number;
    TDateTime date;
    Currency amount;
    const char* note;
    bool closed = false;
};

}  // namespace

class TimeReportTest : public ReportTest {
protected:
    TdxMemData& Time() { return m().MemDataTime; }

    void Add(const Entry& e) {
        Time().Append();
        Time().FieldByName("Task_Name").SetAsString(e.task);
        Time().FieldByName("Task_Full_Name").SetAsString(std::string("Clients \\ ") + e.task);
        Time().FieldByName("Task_Full_No").SetAsString(e.number);
        Time().FieldByName("Time_Date").SetAsDateTime(e.date);
        Time().FieldByName("Dec_Time").SetAsCurrency(e.amount);
        Time().FieldByName("Note").SetAsString(e.note);
        Time().FieldByName("Closed").SetAsBoolean(e.closed);
        Time().Post();
    }

    // The timesheet's filter: rows on or after the picker's date less one day, closed ones only
    // when "Show closed time" is ticked; the picker's date is the one the report prints.
    void Filter(TDateTime since, bool showClosed) {
        Globals().ShowTimeSince = since;
        Time().SetFiltered(false);
        Time().FilterList().clear();
        Time().SetProgrammedFilter(true);
        for (Time().First(); !Time().Eof(); Time().Next())
            if ((!Time().FieldByName("Closed").AsBoolean() || showClosed) &&
                Time().FieldByName("Time_Date").AsDateTime() >= since - 1)
                Time().FilterList().push_back(Time().RecNo());
        Time().SetFiltered(true);
    }

    // What the timesheet's export does around the report.
    void Export() {
        host_->Screen->SetCursor(platform::crHourGlass);
        TBookmark b = Time().GetBookmark();
        Time().DisableControls();
        TimeReport();
        Time().GotoBookmark(b);
        Time().EnableControls();
        host_->Screen->SetCursor(platform::crDefault);
    }

    static TDateTime Day(int d) { return EncodeDate(2026, 3, d); }
};

TEST_F(TimeReportTest, TheEntriesStartAtRowThirteenShadedInTheTablesOwnOrder) {
    StartOutlook();
    Add({"Audit", "1.1", Day(4), Currency::FromDouble(1.5), "Fieldwork"});
    Add({"Lease review", "1 \\ 2 \\", Day(2), Currency::FromDouble(0.25), "", true});
    Add({"Audit", "1.1", Day(3), Currency::FromInt(2), "Call with the client"});
    Filter(Day(1), true);

    Export();

    EXPECT_TRUE(Shown().empty());
    ASSERT_EQ(Workbooks().size(), 1u);
    EXPECT_EQ(Workbooks()[0].name, "TimeReport1");
    // The template's name carries the separator twice, as the system writes it.
    EXPECT_EQ(Workbooks()[0].templateFile, dir_.string() + platform::PathDelimiter() + "\\TimeReport.xlsx");
    auto cells = CellsOf(0);
    EXPECT_EQ(Text(cells, 4, 2), "Alex Morgan");
    EXPECT_EQ(At(cells, 6, 2).kind, Written::Kind::Number);
    EXPECT_EQ(At(cells, 6, 2).number, Day(1));
    EXPECT_EQ(Text(cells, 8, 2), "Mar 5, 2026 9:30:00 AM");

    EXPECT_EQ(Text(cells, 13, 1), "3/4/2026");
    EXPECT_EQ(Text(cells, 13, 2), "Clients \\ Audit");
    EXPECT_EQ(Text(cells, 13, 3), "1.1");
    EXPECT_EQ(Text(cells, 13, 4), "1.5");
    EXPECT_EQ(Text(cells, 13, 5), "   Fieldwork");
    EXPECT_EQ(At(cells, 13, 6).kind, Written::Kind::None);
    for (int column = 1; column <= 6; ++column) EXPECT_TRUE(Shaded(cells, 13, column)) << "column " << column;

    EXPECT_EQ(Text(cells, 14, 1), "3/2/2026");
    EXPECT_EQ(Text(cells, 14, 3), "1 \\ 2 \\");
    EXPECT_EQ(Text(cells, 14, 4), "0.25");
    EXPECT_EQ(Text(cells, 14, 5), "   ");
    EXPECT_EQ(Text(cells, 14, 6), "Closed");
    EXPECT_FALSE(Shaded(cells, 14, 1));

    EXPECT_EQ(Text(cells, 15, 4), "2");
    EXPECT_TRUE(Shaded(cells, 15, 6));
    EXPECT_FALSE(Has(cells, 16, 1));
    EXPECT_FALSE(Has(cells, 13, 7));  // six columns only

    EXPECT_TRUE(Excel().Running()->Visible());
    EXPECT_TRUE(Excel().Running()->ScreenUpdating());
    EXPECT_EQ(Globals().Excel, nullptr);
}

TEST_F(TimeReportTest, TheReportListsWhatTheTimesheetsFilterLetsThrough) {
    StartOutlook();
    Add({"Audit", "1.1", Day(4), Currency::FromInt(1), "open"});
    Add({"Audit", "1.1", Day(4), Currency::FromInt(1), "closed", true});
    Add({"Audit", "1.1", EncodeDate(2026, 2, 28), Currency::FromInt(1), "the day before"});
    Add({"Audit", "1.1", EncodeDate(2026, 2, 27), Currency::FromInt(1), "too early"});

    // "Show closed time" off: the closed row is held back; the day before the picker's date
    // is listed, while the date printed is the picker's.
    Filter(Day(1), false);
    Export();
    auto cells = CellsOf(0);
    EXPECT_EQ(Text(cells, 13, 5), "   open");
    EXPECT_EQ(Text(cells, 14, 5), "   the day before");
    EXPECT_FALSE(Has(cells, 15, 1));
    EXPECT_EQ(At(cells, 6, 2).number, Day(1));

    // A new entry turns the filter off, and leaves it off: the next report lists every row.
    Time().SetProgrammedFilter(false);
    Time().SetFiltered(false);
    Export();
    cells = CellsOf(1);
    EXPECT_EQ(Text(cells, 16, 5), "   too early");
    EXPECT_EQ(Text(cells, 14, 6), "Closed");
}

TEST_F(TimeReportTest, TheTablesCursorIsWhereTheUserLeftIt) {
    StartOutlook();
    for (int d = 1; d <= 4; ++d) Add({"Audit", "1.1", Day(d), Currency::FromInt(1), ""});
    Filter(Day(1), false);
    Time().SetRecNo(3);
    Export();
    EXPECT_EQ(Time().RecNo(), 3);
    EXPECT_FALSE(Time().ControlsDisabled());
}

// ---- failures: none of them says a word ----------------------------------------------------------

TEST_F(TimeReportTest, WithNoExcelNothingIsShownAtAll) {
    StartOutlook();
    Add({"Audit", "1.1", Day(4), Currency::FromInt(1), ""});
    Excel().SetAbsent();
    Export();
    EXPECT_TRUE(Shown().empty());
    EXPECT_FALSE(ExcelRuns());
}

TEST_F(TimeReportTest, AMissingTemplateLeavesExcelOpenWithNoWorkbookAndNotDrawing) {
    StartOutlook();
    Add({"Audit", "1.1", Day(4), Currency::FromInt(1), ""});
    fs::remove(dir_ / "TimeReport.xlsx");
    Export();
    EXPECT_TRUE(Shown().empty());
    ASSERT_TRUE(ExcelRuns());
    EXPECT_TRUE(Workbooks().empty());
    EXPECT_TRUE(Excel().Running()->Visible());
    EXPECT_FALSE(Excel().Running()->ScreenUpdating());
}

TEST_F(TimeReportTest, AFailureAmongTheRowsStopsTheReportWithTheRowsSoFar) {
    StartOutlook();
    Add({"Audit", "1.1", Day(3), Currency::FromInt(1), "first"});
    Add({"Audit", "1.1", Day(4), Currency::FromInt(1), "second"});
    Add({"Audit", "1.1", Day(5), Currency::FromInt(1), "third"});
    // The first row is whole; the shading of the third row fails.
    auto app = std::dynamic_pointer_cast<xlsx::TExcelApplication>(Excel().Create());
    int shades = 0;
    app->SetCallHook([&](std::string_view member) {
        if (member == "Interior.Color" && ++shades == 7) throw EOleException("Excel is busy");
    });

    Export();

    EXPECT_TRUE(Shown().empty());
    auto cells = CellsOf(0);
    EXPECT_EQ(Text(cells, 13, 5), "   first");
    EXPECT_EQ(Text(cells, 14, 5), "   second");
    EXPECT_FALSE(Has(cells, 15, 2));
    EXPECT_FALSE(app->ScreenUpdating());
}
