// The time entry editor in its four modes, its checks and its date question, and the task
// chooser that feeds it and the timer.
#include "time/TimeFixture.h"

namespace {
const char* const kAnother = "You already have a time entry for this date. Do you want to make another?";
}

TEST_F(TimeTest, ANewEntryFromTheTaskPaneIsCheckedInOrderThenAdded) {
    std::vector<std::string> focus;
    script.Then("fmTimeMemo", [&](TForm& f) {
        auto& memo = static_cast<TfmTimeMemo&>(f);
        EXPECT_EQ(memo.Mode, "Corvelle");
        EXPECT_TRUE(memo.NewEntry);
        EXPECT_EQ(memo.Label1.Caption(), "Clients \\ Acme Ltd");
        EXPECT_EQ(memo.Label4.Caption(), "Alex Morgan");
        EXPECT_EQ(f.ActiveControl(), &memo.Memo1);
        memo.UserClick("BitBtn1");
        focus.push_back(f.ActiveControl()->Name());
        memo.UserEdit("cxCurrencyEdit1", "1.5");
        memo.UserClick("BitBtn1");
        focus.push_back(f.ActiveControl()->Name());
        EXPECT_TRUE(f.Visible());
        memo.UserEdit("Memo1", "Drafting the lease");
        memo.UserClick("BitBtn1");
    });
    ASSERT_TRUE(Pane().UserClickItem("ButtonGroup1", 5));  // "New time entry"
    EXPECT_EQ(Shown(), (std::vector<std::string>{"Please enter the time", "Please complete the narrative"}));
    EXPECT_EQ(focus, (std::vector<std::string>{"cxCurrencyEdit1", "Memo1"}));
    ASSERT_EQ(Time().RecordCount(), 1);
    Time().First();
    EXPECT_EQ(Time().FieldByName("Task_ID").AsInteger(), acme);
    EXPECT_EQ(Time().FieldByName("Task_Full_No").AsString(), "1.1");  // the pane's form of the number
    EXPECT_EQ(FormatDateTime("hh:nn", Time().FieldByName("Time").AsDateTime()), "01:30");
    EXPECT_DOUBLE_EQ(Time().FieldByName("Dec_Time").AsFloat(), 1.5);
    EXPECT_EQ(Time().FieldByName("Note").AsString(), "Drafting the lease");
}

TEST_F(TimeTest, TodaysEntryIsOfferedAndNoOpensItWithTheTimersAmountLocked) {
    int row = Entry(acme, Date(), 45, "morning");
    TimeTask(acme);  // the timer runs on that row
    Timer().Close();
    host_->Dialogs->QueueAnswer(platform::DialogAnswer::No);
    script.Then("fmTimeMemo", [&](TForm& f) {
        auto& memo = static_cast<TfmTimeMemo&>(f);
        EXPECT_FALSE(memo.NewEntry);
        EXPECT_EQ(memo.EntryID, row);
        EXPECT_DOUBLE_EQ(memo.cxCurrencyEdit1.Value(), 0.75);
        EXPECT_EQ(memo.Memo1.Text(), "morning");
        EXPECT_FALSE(memo.cxCurrencyEdit1.Enabled());
        memo.UserEdit("Memo1", "morning and afternoon");
        memo.UserClick("BitBtn1");
    });
    Pane().UserClickItem("ButtonGroup1", 5);
    EXPECT_EQ(Shown(), std::vector<std::string>{kAnother});
    EXPECT_EQ(Time().RecordCount(), 1);
    EXPECT_EQ(Field(row, "Note").AsString(), "morning and afternoon");

    // Yes makes a second entry of the same task and date.
    host_->Dialogs->QueueAnswer(platform::DialogAnswer::Yes);
    script.Then("fmTimeMemo", [&](TForm& f) {
        auto& memo = static_cast<TfmTimeMemo&>(f);
        EXPECT_TRUE(memo.NewEntry);
        EXPECT_EQ(memo.cxCurrencyEdit1.Value(), 0);
        EXPECT_TRUE(memo.cxCurrencyEdit1.Enabled());
        memo.UserEdit("cxCurrencyEdit1", "0.25");
        memo.UserEdit("Memo1", "evening");
        memo.UserClick("BitBtn1");
    });
    Pane().UserClickItem("ButtonGroup1", 5);
    EXPECT_EQ(Time().RecordCount(), 2);
}

TEST_F(TimeTest, AnAmountOfADayOrBelowZeroKeepsTheDialogOpenWithoutAWord) {
    for (const char* amount : {"24", "-0.5", "0.9917"}) {
        script.Then("fmTimeMemo", [&](TForm& f) {
            f.UserEdit("cxCurrencyEdit1", amount);
            f.UserEdit("Memo1", "too much");
            f.UserClick("BitBtn1");
            EXPECT_TRUE(f.Visible()) << amount;
            f.UserClick("BitBtn2");
        });
        Pane().UserClickItem("ButtonGroup1", 5);
    }
    EXPECT_TRUE(Shown().empty());
    EXPECT_EQ(Time().RecordCount(), 0);
}

TEST_F(TimeTest, ANewEntryFromTheTimesheetNeedsATaskFirstAndItsClosedBoxTouchesAnotherRow) {
    int old = Entry(borealis, Date() - 1, 30);
    Time().Locate("ID", Variant(old));
    Sheet().NewTimeEntry();
    ASSERT_TRUE(Memo().Visible());
    EXPECT_FALSE(Memo().Modal());
    EXPECT_TRUE(Memo().NewEntry);
    ASSERT_TRUE(Memo().UserEdit("cxCurrencyEdit1", "2"));
    ASSERT_TRUE(Memo().UserEdit("Memo1", "notes"));
    ASSERT_TRUE(Memo().UserClick("BitBtn1"));
    EXPECT_EQ(Shown(), std::vector<std::string>{"Please select a task"});
    EXPECT_EQ(Memo().ActiveControl(), &Memo().Button1);

    // The box shows and writes the row under the table's cursor, not the entry in hand.
    ASSERT_TRUE(Memo().UserClick("cxDBCheckBox1"));
    EXPECT_TRUE(Field(old, "Closed").AsBoolean());
    EXPECT_EQ(Time().State(), TDataSetState::dsBrowse);

    ASSERT_TRUE(Memo().UserClick("Button1"));
    EXPECT_EQ(Chooser().Caller, "uTimeMemo");
    EXPECT_EQ(Chooser().Top(), Memo().Top() + 80);
    ASSERT_TRUE(Chooser().cxDBTreeList1.UserClickNode(Chooser().cxDBTreeList1.FindNodeByKeyValue(Variant(internal))));
    ASSERT_TRUE(Chooser().UserClick("BitBtn2"));
    EXPECT_EQ(Memo().Label1.Caption(), "Internal");
    EXPECT_EQ(Memo().cxCurrencyEdit1.Value(), 0);  // a new task with no entry clears the amount
    Memo().UserEdit("cxCurrencyEdit1", "2");
    Memo().UserEdit("Memo1", "notes");
    ASSERT_TRUE(Memo().UserClick("BitBtn1"));
    EXPECT_FALSE(Memo().Visible());
    EXPECT_EQ(Time().RecordCount(), 2);
    EXPECT_NE(FindTimeEntry(internal, Date()), 0);
    EXPECT_EQ(Time().FieldByName("Task_Full_No").AsString(), "2 \\ ");
}

TEST_F(TimeTest, MovingAnEntryToADateOfAnotherEntryAsksAndEitherWayMakesNoNewRow) {
    int monday = Entry(acme, Date() - 3, 30, "monday");
    int tuesday = Entry(acme, Date() - 2, 60, "tuesday");
    Time().Locate("ID", Variant(tuesday));
    Sheet().EditTimeEntry();
    ASSERT_TRUE(Memo().Visible());
    EXPECT_EQ(Memo().Mode, "Timesheet");
    EXPECT_FALSE(Memo().NewEntry);

    // No puts the picker back; the form's date stays as picked.
    host_->Dialogs->QueueAnswer(platform::DialogAnswer::No);
    ASSERT_TRUE(Memo().UserEdit("DateTimePicker1", IsoDate(Date() - 3)));
    EXPECT_EQ(Memo().DateTimePicker1.Date(), Date() - 2);
    // A date with no entry asks nothing.
    ASSERT_TRUE(Memo().UserEdit("DateTimePicker1", IsoDate(Date() - 1)));
    // Yes keeps the update: the entry moves onto the other entry's date.
    host_->Dialogs->QueueAnswer(platform::DialogAnswer::Yes);
    ASSERT_TRUE(Memo().UserEdit("DateTimePicker1", IsoDate(Date() - 3)));
    EXPECT_FALSE(Memo().NewEntry);
    EXPECT_EQ(Shown(), (std::vector<std::string>{kAnother, kAnother}));
    ASSERT_TRUE(Memo().UserClick("BitBtn1"));
    EXPECT_EQ(Time().RecordCount(), 2);
    EXPECT_EQ(Field(tuesday, "Time_Date").AsDateTime(), Date() - 3);
    EXPECT_EQ(Field(monday, "Time_Date").AsDateTime(), Date() - 3);
}

TEST_F(TimeTest, TheChooserNamesTasksByTheirPathsAndKeepsAFieldTheNextTaskLacks) {
    int lease = Make(acme, 3, "Lease review");
    FilterTasks(1);
    Tasks().Locate("ID", Variant(borealis));
    Tasks().Edit();
    Tasks().FieldByName("Due_Date").SetAsDateTime(EncodeDate(2026, 4, 1));
    Tasks().Post();
    Focus(clients);
    Chooser().Show();
    ASSERT_TRUE(Chooser().cxDBTreeList1.UserClickNode(Chooser().cxDBTreeList1.FindNodeByKeyValue(Variant(borealis))));
    EXPECT_EQ(Globals().ChosenDueDate, EncodeDate(2026, 4, 1));
    // The chooser's focus is the task pane's too.
    EXPECT_EQ(Globals().CurrentTaskID, borealis);

    ASSERT_TRUE(Chooser().cxDBTreeList1.UserClickNode(Chooser().cxDBTreeList1.FindNodeByKeyValue(Variant(lease))));
    EXPECT_EQ(Globals().ChosenTaskFullName, "Clients \\ Acme Ltd \\ Lease review");
    EXPECT_EQ(Globals().ChosenTaskFullNo, "1 \\ 1 \\ 3 \\ ");
    EXPECT_EQ(Globals().ChosenParentID, acme);
    EXPECT_EQ(Globals().ChosenDueDate, EncodeDate(2026, 4, 1));  // its own is null
    ASSERT_TRUE(Chooser().cxDBTreeList1.UserClickNode(Chooser().cxDBTreeList1.FindNodeByKeyValue(Variant(internal))));
    EXPECT_EQ(Globals().ChosenTaskFullName, "Internal");
    EXPECT_EQ(Globals().ChosenTaskFullNo, "2 \\ ");
}

TEST_F(TimeTest, ChoosingForTheEditorAsksAboutAnEntryOfTheChosenTaskAndYesKeepsTheAmount) {
    Entry(borealis, Date(), 30);
    script.Then("fmTimeMemo", [&](TForm& f) {
        auto& memo = static_cast<TfmTimeMemo&>(f);
        memo.UserEdit("cxCurrencyEdit1", "1.25");
        memo.UserEdit("Memo1", "typed");
        auto choose = [&](int task) {
            memo.UserClick("Button1");
            Chooser().cxDBTreeList1.UserClickNode(Chooser().cxDBTreeList1.FindNodeByKeyValue(Variant(task)));
            Chooser().UserClick("BitBtn2");
        };
        choose(acme);  // the task it holds: nothing happens, nothing is asked
        EXPECT_TRUE(memo.NewEntry);
        host_->Dialogs->QueueAnswer(platform::DialogAnswer::No);
        choose(borealis);
        EXPECT_EQ(memo.TaskID, acme);
        host_->Dialogs->QueueAnswer(platform::DialogAnswer::Yes);
        choose(borealis);
        EXPECT_EQ(memo.TaskID, borealis);
        EXPECT_FALSE(memo.NewEntry);
        EXPECT_DOUBLE_EQ(memo.cxCurrencyEdit1.Value(), 1.25);
        EXPECT_EQ(memo.Memo1.Text(), "typed");
        memo.UserClick("BitBtn2");
    });
    Pane().UserClickItem("ButtonGroup1", 5);
    EXPECT_EQ(Shown(), (std::vector<std::string>{kAnother, kAnother}));
    EXPECT_EQ(script.Pending(), 0);
}
