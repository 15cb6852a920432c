// A timesheet's grid: time entries grouped by task, with the hours totalled under each group and
// under the whole grid, following the filter; and the number formats the totals are shown in.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Currency.h"
#include "base/DateTime.h"
#include "store/Tables.h"
#include "toolkit/Controls.h"

namespace {

struct TimesheetTest : ::testing::Test {
    std::unique_ptr<TdxMemData> table = MakeTable("Time");
    TDataSource ds{"dsMemDataTime", table.get()};
    TcxGridDBBandedTableView view{"cxGrid4DBBandedTableView2"};
    TcxGridDBBandedColumn& clDate = view.CreateColumn("cl2Time_Date", "Time_Date");
    TcxGridDBBandedColumn& clTask = view.CreateColumn("clTask_Name", "Task_Full_Name");
    TcxGridDBBandedColumn& clNote = view.CreateColumn("cl2Note", "Note", 1);
    TcxGridDBBandedColumn& clHours = view.CreateColumn("cl2DecTime", "Dec_Time", 1);

    void SetUp() override {
        table->Open();
        view.Options.Footer = true;
        view.Options.GroupFooters = TcxGroupFootersMode::gfAlwaysVisible;
        view.Summary.FooterSummaryItems.push_back({&clHours, TcxSummaryKind::skSum, "####.##"});
        view.Summary.DefaultGroupSummaryItems.push_back({&clHours, TcxSummaryKind::skSum, "####.##"});
        view.Summary.DefaultGroupSummaryItems.push_back({&clNote, TcxSummaryKind::skCount, ""});
        view.KeyFieldNames = "ID";
        view.SetDataSource(&ds);
    }

    void Add(const std::string& task, int day, double hours, const std::string& note = "work") {
        table->Append();
        table->FieldByName("Task_Full_Name").SetAsString(task);
        table->FieldByName("Time_Date").SetAsDateTime(EncodeDate(2026, 3, day));
        table->FieldByName("Dec_Time").SetAsCurrency(Currency::FromDouble(hours));
        table->FieldByName("Note").SetAsString(note);
        table->Post();
    }

    // The view's lines as a user reads them.
    std::vector<std::string> Lines() {
        std::vector<std::string> out;
        for (const TcxGridViewRow& r : view.ViewRows()) {
            switch (r.Kind) {
                case TcxGridRowKind::Record:
                    out.push_back(view.DisplayTexts(r.Index, clNote) + " " + view.DisplayTexts(r.Index, clHours) +
                                  (r.Index == view.FocusedRecordIndex() ? " *" : ""));
                    break;
                case TcxGridRowKind::Group: {
                    TcxGridGroup g = view.Groups(r.Index);
                    out.push_back("[" + g.DisplayText + (g.Expanded ? "] -" : "] +"));
                    break;
                }
                case TcxGridRowKind::GroupFooter:
                    out.push_back("  sum " + view.GroupSummaryText(r.Index, 0) + " n " + view.GroupSummaryText(r.Index, 1));
                    break;
                case TcxGridRowKind::Footer: out.push_back("total " + view.FooterSummaryText(0)); break;
            }
        }
        return out;
    }
};

}  // namespace

TEST_F(TimesheetTest, RowsShowTheFieldsFormatAndTheFooterItsOwn) {
    Add("Clients / Acme", 2, 12.5, "drafting");
    EXPECT_EQ(Lines(), (std::vector<std::string>{"drafting 12.50 *", "total 12.5"}));
    EXPECT_DOUBLE_EQ(view.FooterSummaryValue(0).AsDouble(), 12.5);
}

TEST_F(TimesheetTest, GroupingByTaskGathersTheEntriesWithTheirTotals) {
    Add("Clients / Acme", 2, 1.5, "call");
    Add("Internal", 2, 2, "admin");
    Add("Clients / Acme", 3, 0.25, "mail");
    Add("Clients / Acme", 4, 3, "meeting");
    clTask.GroupIndex = 0;

    // Groups in the order of their task, collapsed but for the focused entry's (the last added).
    EXPECT_EQ(Lines(), (std::vector<std::string>{"[Clients / Acme] -", "call 1.50", "mail 0.25", "meeting 3.00 *",
                                                 "  sum 4.75 n 3", "[Internal] +", "  sum 2 n 1", "total 6.75"}));
    EXPECT_EQ(view.GroupOfRecord(3), 1);
    EXPECT_EQ(view.RecordRow(3), 1);  // the Internal entry, second in the table, last in the view

    // Focusing another group's entry opens that group; the first stays open.
    ASSERT_TRUE(table->Locate("Note", Variant("admin")));
    EXPECT_EQ(view.FocusedRecordIndex(), 3);
    EXPECT_TRUE(view.Groups(1).Expanded);
    view.FullCollapse();
    EXPECT_EQ(Lines().size(), 5u);  // two groups, two footers, the total

    // The totals follow the filter: only the entries since the 3rd.
    table->SetProgrammedFilter(true);
    table->First();
    while (!table->Eof()) {
        if (table->FieldByName("Time_Date").AsDateTime() >= EncodeDate(2026, 3, 3)) table->FilterList().push_back(table->CurRec() + 1);
        table->Next();
    }
    table->SetFiltered(true);
    view.FullExpand();
    EXPECT_EQ(Lines(), (std::vector<std::string>{"[Clients / Acme] -", "mail 0.25 *", "meeting 3.00", "  sum 3.25 n 2",
                                                 "total 3.25"}));

    // Ungrouped again, the view keeps the table's order.
    clTask.GroupIndex = -1;
    EXPECT_EQ(view.GroupCount(), 0);
    EXPECT_EQ(Lines(), (std::vector<std::string>{"mail 0.25 *", "meeting 3.00", "total 3.25"}));
}

TEST_F(TimesheetTest, AnEmptyViewTotalsNothing) {
    clTask.GroupIndex = 0;
    EXPECT_EQ(Lines(), (std::vector<std::string>{"total "}));
    EXPECT_DOUBLE_EQ(view.FooterSummaryValue(0).AsDouble(), 0.0);
    EXPECT_TRUE(view.GroupSummaryValue(0, 0).IsNull());
}

TEST(FormatFloat, PlaceholdersSectionsAndLiterals) {
    EXPECT_EQ(FormatFloat("####.##", 12.5), "12.5");
    EXPECT_EQ(FormatFloat("####.##", 12.504), "12.5");
    EXPECT_EQ(FormatFloat("####.##", 0), "");
    EXPECT_EQ(FormatFloat("####.##", 0.5), ".5");
    EXPECT_EQ(FormatFloat("#0.00", 12.5), "12.50");
    EXPECT_EQ(FormatFloat("#0.00", -0.001), "0.00");  // no sign on what shows as zero
    EXPECT_EQ(FormatFloat("#,##0.00", 1234567.891), "1,234,567.89");
    EXPECT_EQ(FormatFloat("0.0;(0.0);nil", -2.5), "(2.5)");
    EXPECT_EQ(FormatFloat("0.0;(0.0);nil", 0), "nil");
    EXPECT_EQ(FormatFloat("\"h \"0.0", -3), "-h 3.0");
    EXPECT_EQ(FormatFloat("", 2.5), "2.5");
}
