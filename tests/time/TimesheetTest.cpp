// The timesheet pane: its filter by dates and closed marks, its grid sorted, grouped and
// totalled, "Go to", and the entries opened, made and deleted from it.
#include "time/TimeFixture.h"

#include "xlsx/XlsxExcel.h"

namespace {

// The keys of the grid's records, top to bottom.
std::vector<int> Keys(TcxGridDBTableView& view) {
    std::vector<int> out;
    for (int i = 0; i < view.RecordCount(); ++i) out.push_back(view.KeyValue(i).AsInteger());
    return out;
}

}  // namespace

TEST_F(TimeTest, ThePaneShowsSixtyDaysAndOneMoreNewestFirstAndClosedEntriesOnlyWhenAsked) {
    TDateTime today = Date();
    int edge = Entry(acme, today - 61, 30);
    Entry(acme, today - 62, 30);
    int recent = Entry(borealis, today - 2, 30);
    int closed = Entry(internal, today, 30);
    Time().Locate("ID", Variant(closed));
    Time().Edit();
    Time().FieldByName("Closed").SetAsBoolean(true);
    Time().Post();

    m().adxOlFormsManager1.ActivatePane(1);
    EXPECT_EQ(Sheet().DateTimePicker2.Date(), today - 60);
    EXPECT_EQ(Globals().ShowTimeSince, today - 60);
    EXPECT_EQ(Keys(Grid()), (std::vector<int>{recent, edge}));

    ASSERT_TRUE(Sheet().UserClick("CheckBox1"));
    EXPECT_EQ(Keys(Grid()), (std::vector<int>{closed, recent, edge}));
    ASSERT_TRUE(Sheet().UserEdit("DateTimePicker2", IsoDate(today - 1)));
    EXPECT_EQ(Globals().ShowTimeSince, today - 1);
    EXPECT_EQ(Keys(Grid()), (std::vector<int>{closed, recent}));  // the day before still shows
}

TEST_F(TimeTest, ClosingAnEntryInTheGridPostsAtOnceButTheRowLeavesOnlyAtTheNextFilter) {
    int a = Entry(acme, Date() - 1, 30);
    int b = Entry(borealis, Date(), 30);
    m().adxOlFormsManager1.ActivatePane(1);
    int index = Grid().FindRecordIndexByKeyValue(Variant(a));
    ASSERT_TRUE(Grid().UserEditCell(index, Sheet().cl2Closed, Variant(true)));
    EXPECT_TRUE(Field(a, "Closed").AsBoolean());
    EXPECT_EQ(Time().State(), TDataSetState::dsBrowse);
    EXPECT_EQ(Keys(Grid()), (std::vector<int>{b, a}));
    // Only the Closed cell takes an edit.
    EXPECT_FALSE(Grid().UserEditCell(index, Sheet().cl2Note, Variant("changed")));
    m().adxOlFormsManager1.ActivatePane(0);
    m().adxOlFormsManager1.ActivatePane(1);
    EXPECT_EQ(Keys(Grid()), (std::vector<int>{b}));
}

TEST_F(TimeTest, AfterANewEntryEveryRowShowsUntilThePaneActivatesAgain) {
    int old = Entry(acme, Date() - 100, 30);
    m().adxOlFormsManager1.ActivatePane(1);
    EXPECT_EQ(Grid().RecordCount(), 0);
    TimeTask(borealis);  // the timer's first start adds its row
    int timer = Globals().TimerEntryID;
    EXPECT_EQ(Keys(Grid()), (std::vector<int>{timer, old}));
    EXPECT_EQ(FindTimeEntry(acme, Date() - 100), old);
    m().adxOlFormsManager1.ActivatePane(0);
    m().adxOlFormsManager1.ActivatePane(1);
    EXPECT_EQ(Keys(Grid()), (std::vector<int>{timer}));
    EXPECT_EQ(FindTimeEntry(acme, Date() - 100), 0);
}

TEST_F(TimeTest, GroupedByTaskTheGridTotalsEachTaskAndAllInTheirOwnFormats) {
    AddTimeEntry("Acme", "Clients \\ Acme Ltd", acme, "1.1", EncodeTime(12, 30, 0, 0), Currency::FromDouble(12.5), 0,
                 "lease", Date() - 1, false);
    Entry(borealis, Date() - 2, 45);
    Entry(borealis, Date(), 90);
    m().adxOlFormsManager1.ActivatePane(1);
    TcxGridDBBandedTableView& v = Grid();
    EXPECT_EQ(v.GroupByBoxText(), "To group time entries by task, drag the Task column header here.");
    EXPECT_FALSE(v.UserGroupBy(Sheet().cl2Note));
    ASSERT_TRUE(v.UserGroupBy(Sheet().clTask_Name));
    EXPECT_EQ(v.GroupByBoxText(), "Task");
    ASSERT_EQ(v.GroupCount(), 2);
    EXPECT_EQ(v.Groups(0).DisplayText, "Borealis Shipping");
    EXPECT_EQ(v.Groups(1).DisplayText, "Clients \\ Acme Ltd");
    EXPECT_EQ(v.GroupSummaryText(0, 0), "2.25");
    EXPECT_EQ(v.GroupSummaryText(1, 0), "12.5");
    EXPECT_EQ(v.DisplayTexts(v.FindRecordIndexByKeyValue(Variant(1)), Sheet().cl2DecTime), "12.50");
    EXPECT_EQ(v.FooterSummaryText(0), "14.75");
    // Within a group, newest first.
    EXPECT_EQ(v.DisplayTexts(0, Sheet().cl2DecTime), "1.50");
    ASSERT_TRUE(v.UserUngroup());
    EXPECT_EQ(v.GroupCount(), 0);
}

TEST_F(TimeTest, EachFilterOpensEveryGroupOfAGroupedGridAsItsPassShowsEachRow) {
    Entry(acme, Date() - 1, 30);
    Entry(borealis, Date() - 2, 45);
    Entry(internal, Date() - 3, 60);
    m().adxOlFormsManager1.ActivatePane(1);
    TcxGridDBBandedTableView& v = Grid();
    ASSERT_TRUE(v.UserGroupBy(Sheet().clTask_Name));
    ASSERT_EQ(v.GroupCount(), 3);
    for (int g = 0; g < 3; ++g) v.SetGroupExpanded(g, false);
    ASSERT_TRUE(Sheet().UserClick("CheckBox1"));
    for (int g = 0; g < 3; ++g) EXPECT_TRUE(v.Groups(g).Expanded) << v.Groups(g).DisplayText;
}

TEST_F(TimeTest, GoToMovesToADateAmongTheShownRowsOnly) {
    int shown = Entry(acme, Date() - 5, 30);
    Entry(acme, Date() - 90, 30);
    m().adxOlFormsManager1.ActivatePane(1);
    ASSERT_TRUE(Sheet().UserEdit("DateTimePicker1", IsoDate(Date() - 5)));
    EXPECT_EQ(Grid().MainValue().AsInteger(), shown);
    ASSERT_TRUE(Sheet().UserEdit("DateTimePicker1", IsoDate(Date() - 90)));
    EXPECT_EQ(Shown(), std::vector<std::string>{"No time for " + DateToStr(Date() - 90) + "."});
    EXPECT_EQ(Grid().MainValue().AsInteger(), shown);
}

TEST_F(TimeTest, TheTimersEntryCannotBeDeletedUntilTheTimerIsCleared) {
    TimeTask(acme);
    int row = Globals().TimerEntryID;
    m().adxOlFormsManager1.ActivatePane(1);
    ASSERT_TRUE(Grid().UserClickRecord(Grid().FindRecordIndexByKeyValue(Variant(row))));
    Sheet().Deletetimeentry1Click();
    EXPECT_EQ(Shown(), std::vector<std::string>{
                           "Unable to delete this entry because it is open in the timer. Please clear the timer first."});
    ASSERT_TRUE(Timer().UserClick("ToolButton2"));
    ASSERT_TRUE(Timer().UserClick("ToolButton3"));
    host_->Dialogs->QueueAnswer(platform::DialogAnswer::No);
    Sheet().Deletetimeentry1Click();
    EXPECT_EQ(Time().RecordCount(), 1);
    host_->Dialogs->QueueAnswer(platform::DialogAnswer::Yes);
    Sheet().Deletetimeentry1Click();
    EXPECT_EQ(Time().RecordCount(), 0);
    EXPECT_EQ(Shown().back(), "Delete this time entry?");

    // With no rows, nothing is asked, and the export refuses.
    Sheet().Deletetimeentry1Click();
    ASSERT_TRUE(Sheet().UserClick("BitBtn1"));
    EXPECT_EQ(Shown().back(), "You have no time entries.");
    EXPECT_EQ(host_->Excel->Running(), nullptr);
}

TEST_F(TimeTest, TheExportPutsTheShownEntriesInAWorkbookAndLeavesThePaneAsItWas) {
    fs::copy_file(fs::path(CORVELLE_TEST_RESOURCES) / "TimeReport.xlsx", dir_ / "TimeReport.xlsx");
    Entry(acme, Date() - 1, 30);
    int focused = Entry(borealis, Date(), 45);
    m().adxOlFormsManager1.ActivatePane(1);
    ASSERT_TRUE(Grid().UserClickRecord(Grid().FindRecordIndexByKeyValue(Variant(focused))));
    ASSERT_TRUE(Sheet().UserClick("BitBtn1"));
    ASSERT_NE(host_->Excel->Running(), nullptr);
    EXPECT_EQ(host_->Excel->Running()->OpenWorkbooks().size(), 1u);
    EXPECT_EQ(host_->Screen->Cursor(), platform::crDefault);
    EXPECT_FALSE(Time().ControlsDisabled());
    EXPECT_EQ(Grid().MainValue().AsInteger(), focused);
    EXPECT_TRUE(Shown().empty());
}

TEST_F(TimeTest, ADoubleClickOpensTheEntryAndTheTimersTaskOfTodayKeepsItsAmount) {
    TimeTask(acme);
    Tick(600);
    ASSERT_TRUE(Timer().UserClick("ToolButton2"));
    int row = Globals().TimerEntryID;
    int older = Entry(acme, Date() - 1, 30, "yesterday");
    m().adxOlFormsManager1.ActivatePane(1);
    ASSERT_TRUE(Grid().UserDblClickRecord(Grid().FindRecordIndexByKeyValue(Variant(row))));
    ASSERT_TRUE(Memo().Visible());
    EXPECT_EQ(Memo().EntryID, row);
    EXPECT_FALSE(Memo().cxCurrencyEdit1.Enabled());
    EXPECT_DOUBLE_EQ(Memo().cxCurrencyEdit1.Value(), 0.1667);
    Memo().UserClick("BitBtn2");
    ASSERT_TRUE(Grid().UserDblClickRecord(Grid().FindRecordIndexByKeyValue(Variant(older))));
    EXPECT_TRUE(Memo().cxCurrencyEdit1.Enabled());
    EXPECT_EQ(Memo().Memo1.Text(), "yesterday");
}
