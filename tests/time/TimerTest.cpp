// The timer window: choosing a task, counting ticks, what reaches the task's row and when, the
// clear, the close, and the buttons that need a task.
#include "time/TimeFixture.h"

#include "sim/SimItem.h"

TEST_F(TimeTest, TheTimerOpensTopRightOnTopAndRefusesTaskButtonsUntilATaskIsChosen) {
    m().adxRibbonTab1.Click("Timer");
    ASSERT_TRUE(Timer().Visible());
    EXPECT_EQ(Timer().Top(), 5);
    EXPECT_EQ(Timer().Left(), 1920 - Timer().Width() - 5);
    EXPECT_EQ(Timer().Property("FormStyle")->AsString(), "fsStayOnTop");
    EXPECT_EQ(Timer().Property("BorderStyle")->AsString(), "bsSingle");
    EXPECT_EQ(Timer().Caption(), "Alex Morgan - March 5, 2026");
    EXPECT_FALSE(Timer().ToolButton2.Enabled());
    EXPECT_FALSE(Timer().ToolButton3.Enabled());

    for (const char* button : {"MemoButton", "MailButton", "NoteButton", "AppointmentButton"})
        ASSERT_TRUE(Timer().UserClick(button));
    EXPECT_EQ(Shown(), std::vector<std::string>(4, "Please select a task"));
    EXPECT_TRUE(host_->Outlook.OpenItems().empty());
    EXPECT_TRUE(script.Shown().empty());
    EXPECT_EQ(Time().RecordCount(), 0);
}

TEST_F(TimeTest, ChoosingATaskStartsTheStopwatchOnANewRowThatHearsOfItOnlyAtStartStopAndClose) {
    TimeTask(acme);
    EXPECT_EQ(Timer().Caption(), "Clients \\ Acme Ltd");
    EXPECT_TRUE(Globals().TimerRunning);
    EXPECT_TRUE(Timer().OvcTimeEdit1.ReadOnly());
    EXPECT_FALSE(Timer().ToolButton3.Enabled());
    EXPECT_EQ(Timer().ToolButton2.ImageIndex(), 9);
    EXPECT_EQ(Timer().ToolButton2.Hint(), "Start timer");
    // The row exists from the start, with nothing on it yet; the chooser's number path is kept.
    int row = Globals().TimerEntryID;
    ASSERT_GT(row, 0);
    EXPECT_EQ(Field(row, "Task_Full_No").AsString(), "1 \\ 1 \\ ");
    EXPECT_EQ(Field(row, "Note").AsString(), "");

    Tick(59);
    EXPECT_EQ(Stopwatch(), "00:00:59");
    EXPECT_EQ(FormatDateTime("hh:nn:ss", Field(row, "Time").AsDateTime()), "00:00:00");  // no post per tick
    // A close under a minute drops the amount: the row keeps what it had.
    Timer().Close();
    EXPECT_EQ(FormatDateTime("hh:nn:ss", Field(row, "Time").AsDateTime()), "00:00:00");
    EXPECT_EQ(Globals().TimerEntryID, -1);
    EXPECT_FALSE(Timer().Timer1.Enabled());

    // Once more: a stop posts whatever the stopwatch shows, seconds and all.
    TimeTask(acme);
    EXPECT_EQ(Globals().TimerEntryID, row);  // today's row of the task is taken up again
    Tick(59);
    ASSERT_TRUE(Timer().UserClick("ToolButton2"));
    EXPECT_FALSE(Globals().TimerRunning);
    EXPECT_EQ(FormatDateTime("hh:nn:ss", Field(row, "Time").AsDateTime()), "00:00:59");
    EXPECT_DOUBLE_EQ(Hours(row), 0);
    EXPECT_FALSE(Timer().OvcTimeEdit1.ReadOnly());
    EXPECT_TRUE(Timer().ToolButton3.Enabled());

    // Started again it goes on; a close past a minute writes the amount.
    ASSERT_TRUE(Timer().UserClick("ToolButton2"));
    Tick(61);
    Timer().Close();
    EXPECT_EQ(FormatDateTime("hh:nn:ss", Field(row, "Time").AsDateTime()), "00:02:00");
    EXPECT_DOUBLE_EQ(Hours(row), 0.0333);
    EXPECT_EQ(Time().RecordCount(), 1);
}

TEST_F(TimeTest, TheTimerTakesUpTodaysRowOfTheChosenTaskFromItsTimeWithoutAQuestion) {
    TDateTime time = EncodeTime(0, 10, 30, 0);
    int row = AddTimeEntry("Borealis", "Clients \\ Borealis", borealis, "1.2", time, TimeToDecimal(time), 0, "call",
                           Date(), false);
    TimeTask(borealis);
    EXPECT_TRUE(Shown().empty());
    EXPECT_EQ(Globals().TimerEntryID, row);
    EXPECT_FALSE(Globals().TimerIsNew);
    EXPECT_EQ(Globals().TimerNote, "call");
    EXPECT_EQ(Stopwatch(), "00:10:30");
    Tick(30);

    // Choosing another task stops the first, posting its amount, and starts on a new row.
    TimeTask(acme);
    EXPECT_EQ(FormatDateTime("hh:nn:ss", Field(row, "Time").AsDateTime()), "00:11:00");
    EXPECT_DOUBLE_EQ(Hours(row), 0.1833);
    EXPECT_NE(Globals().TimerEntryID, row);
    EXPECT_TRUE(Globals().TimerIsNew);
    EXPECT_EQ(Stopwatch(), "00:00:00");
    EXPECT_EQ(Time().RecordCount(), 2);
}

TEST_F(TimeTest, AtTheEndOfADayTheStopwatchFallsBackToZeroAndTheNextPostWritesIt) {
    TimeTask(acme);
    int row = Globals().TimerEntryID;
    ASSERT_TRUE(Timer().UserClick("ToolButton2"));
    ASSERT_TRUE(Timer().UserEdit("OvcTimeEdit1", "23:59:58"));  // corrected by hand while stopped
    ASSERT_TRUE(Timer().UserClick("ToolButton2"));
    EXPECT_DOUBLE_EQ(Hours(row), 23.9833);
    Tick(1);
    EXPECT_EQ(Stopwatch(), "23:59:59");
    Tick(1);
    EXPECT_EQ(Stopwatch(), "00:00:00");
    ASSERT_TRUE(Timer().UserClick("ToolButton2"));
    EXPECT_DOUBLE_EQ(Hours(row), 0);
}

TEST_F(TimeTest, AStartAfterAClearWritesZeroOverTheRowUnderTheTablesCursor) {
    int other = Entry(internal, Date(), 90);
    TimeTask(acme);
    Tick(120);
    ASSERT_TRUE(Timer().UserClick("ToolButton2"));
    int row = Globals().TimerEntryID;
    ASSERT_TRUE(Timer().UserClick("ToolButton3"));
    EXPECT_EQ(Globals().TimerEntryID, -1);
    EXPECT_EQ(Globals().TimerTaskID, -1);
    EXPECT_EQ(Timer().Caption(), Globals().TimerCaption);
    EXPECT_EQ(Stopwatch(), "00:00:00");
    EXPECT_TRUE(Timer().ToolButton2.Enabled());

    Time().Locate("ID", Variant(other));
    ASSERT_TRUE(Timer().UserClick("ToolButton2"));
    EXPECT_DOUBLE_EQ(Hours(other), 0);
    EXPECT_DOUBLE_EQ(Hours(row), 0.0333);
}

TEST_F(TimeTest, TheMemoFollowsTheRunningStopwatchAndSavesWholeMinutes) {
    TimeTask(acme);
    int row = Globals().TimerEntryID;
    Tick(150);
    std::vector<double> seen;
    script.Then("fmTimeMemo", [&](TForm& f) {
        auto& memo = static_cast<TfmTimeMemo&>(f);
        seen.push_back(memo.cxCurrencyEdit1.Value());
        EXPECT_FALSE(memo.cxCurrencyEdit1.Enabled());
        EXPECT_EQ(memo.Label1.Caption(), "Clients \\ Acme Ltd");
        Tick(30);  // the timer ticks on under the modal dialog
        seen.push_back(memo.cxCurrencyEdit1.Value());
        memo.UserClick("BitBtn1");  // no narrative needed for the timer's entry
    });
    ASSERT_TRUE(Timer().UserClick("MemoButton"));
    EXPECT_EQ(seen, (std::vector<double>{0.0333, 0.05}));
    EXPECT_FALSE(Memo().Visible());
    // The save replaced the row's time with whole minutes; the stopwatch keeps its seconds.
    EXPECT_EQ(FormatDateTime("hh:nn:ss", Field(row, "Time").AsDateTime()), "00:03:00");
    EXPECT_EQ(Stopwatch(), "00:03:00");
    Tick(5);
    EXPECT_EQ(Stopwatch(), "00:03:05");
}

TEST_F(TimeTest, TheItemButtonsMakeItemsForTheTimedTaskNamedByItsFullName) {
    TimeTask(borealis);
    ASSERT_TRUE(Timer().UserClick("MailButton"));
    ASSERT_TRUE(Timer().UserClick("NoteButton"));
    ASSERT_TRUE(Timer().UserClick("AppointmentButton"));
    auto open = host_->Outlook.OpenItems();
    ASSERT_EQ(open.size(), 3u);
    for (const auto& item : open) EXPECT_EQ(item->AllValues().at("Subject").AsString(), "Clients \\ Borealis Shipping");
    EXPECT_EQ(open[0]->MessageClassName(), "IPM.Mail");
    EXPECT_EQ(open[1]->MessageClassName(), "IPM.Post");
    EXPECT_EQ(open[2]->MessageClassName(), "IPM.Appointment");
}
