// Time rows and their arithmetic: clock time to decimal hours and back, and the routines that
// find, add and change rows, as the timer, the editor and the timesheet rely on them.
#include "time/TimeFixture.h"

#include <cmath>

namespace {

int64_t Raw(int hours, int minutes, int seconds = 0) { return TimeToDecimal(EncodeTime(hours, minutes, seconds, 0)).value; }

std::string Clock(double hours) { return FormatDateTime("h:nn", DecimalToTime(Currency::FromDouble(hours))); }

}  // namespace

TEST(TimeArithmetic, AnAmountCountsInWholeMinutesToTenThousandthsOfAnHour) {
    EXPECT_EQ(Raw(0, 1), 167);
    EXPECT_EQ(Raw(0, 7), 1167);
    EXPECT_EQ(Raw(0, 20), 3333);
    EXPECT_EQ(Raw(0, 45), 7500);
    EXPECT_EQ(Raw(1, 30), 15000);
    EXPECT_EQ(Raw(23, 59), 239833);
    EXPECT_EQ(Raw(0, 0, 59), 0);       // under a minute is worth nothing
    EXPECT_EQ(Raw(2, 15, 59), 22500);  // seconds are dropped, never rounded up

    // Sixty one-minute entries sum to more than an hour.
    Currency sum;
    for (int i = 0; i < 60; ++i) sum += TimeToDecimal(EncodeTime(0, 1, 0, 0));
    EXPECT_EQ(sum.ToString(), "1.002");

    // Every minute of a day converts as M / 60 would, and back to itself.
    for (int m = 0; m < 24 * 60; ++m) {
        TDateTime t = EncodeTime(m / 60, m % 60, 0, 0);
        Currency c = TimeToDecimal(t);
        ASSERT_EQ(c.value, std::llround(m * 10000.0 / 60.0)) << m;
        ASSERT_EQ(FormatDateTime("hh:nn", DecimalToTime(c)), FormatDateTime("hh:nn", t)) << m;
    }
}

TEST(TimeArithmetic, DecimalHoursRoundToMinutesHalvesToEvenAndNeverCarry) {
    EXPECT_EQ(Clock(0.01), "0:01");
    EXPECT_EQ(Clock(0.99), "0:59");
    EXPECT_EQ(Clock(0.025), "0:02");  // 1.5 minutes
    EXPECT_EQ(Clock(0.075), "0:04");  // 4.5 minutes
    EXPECT_EQ(Clock(1.25), "1:15");
    EXPECT_EQ(Clock(23.98), "23:59");
    // A fraction that rounds to 60 minutes fails instead of becoming the next hour.
    EXPECT_THROW(DecimalToTime(Currency::FromDouble(0.9917)), EConvertError);
    EXPECT_THROW(DecimalToTime(Currency::FromDouble(24)), EConvertError);
    EXPECT_THROW(DecimalToTime(Currency::FromDouble(-0.5)), EConvertError);
}

TEST_F(TimeTest, FindingAnEntrySeesOnlyTheRowsTheTableShows) {
    TDateTime today = Date();
    EXPECT_EQ(FindTimeEntry(acme, today), 0);  // an empty table
    int first = Entry(acme, today, 30, "first");
    Entry(borealis, today, 15);
    int second = Entry(acme, today, 45, "second");
    EXPECT_NE(first, second);
    // The first of two rows of one task and date is found, and the cursor left on it.
    Time().Locate("ID", Variant(second));
    EXPECT_EQ(FindTimeEntry(acme, today), first);
    EXPECT_EQ(Time().FieldByName("Note").AsString(), "first");
    EXPECT_EQ(FindTimeEntry(acme, today - 1), 0);

    // A filter that hides the rows hides them from the search too.
    Time().SetProgrammedFilter(true);
    Time().FilterList() = {2};
    Time().SetFiltered(true);
    EXPECT_EQ(FindTimeEntry(acme, today), 0);
}

TEST_F(TimeTest, AnAddedRowCarriesTodayAndTheUserAndTurnsTheTimesheetFilterOff) {
    TDateTime today = Date();
    Entry(acme, today - 70, 60);  // outside the pane's sixty days
    m().adxOlFormsManager1.ActivatePane(1);
    EXPECT_TRUE(Time().Filtered());
    EXPECT_EQ(Grid().RecordCount(), 0);

    int id = AddTimeEntry("Audit", "Clients \\ Audit", 7, "1.3", EncodeTime(1, 15, 0, 0), Currency::FromDouble(1.25), 0,
                          "review", today - 3, false);
    EXPECT_EQ(Time().FieldByName("ID").AsInteger(), id);  // the cursor on the new row
    EXPECT_FALSE(Time().Filtered());
    EXPECT_EQ(Grid().RecordCount(), 2);  // the old row shows again, until the pane activates
    EXPECT_EQ(Field(id, "Create_Date").AsDateTime(), today);
    EXPECT_EQ(Field(id, "Time_Date").AsDateTime(), today - 3);
    EXPECT_EQ(Field(id, "User_Name").AsString(), "Alex Morgan");
    EXPECT_EQ(Field(id, "Task_Full_No").AsString(), "1.3");
    EXPECT_DOUBLE_EQ(Hours(id), 1.25);
    EXPECT_FALSE(Time().ControlsDisabled());
}

TEST_F(TimeTest, AnUpdateOnALaterDayRestampsTheRowButKeepsItsUserAndClosedMark) {
    int id = Entry(acme, Date(), 30);
    Time().Locate("ID", Variant(id));
    Time().Edit();
    Time().FieldByName("Closed").SetAsBoolean(true);
    Time().Post();
    SetClock(Date() + 2 + EncodeTime(10, 0, 0, 0));
    Globals().CurrentUserName = "Kim Lee";
    UpdateTimeEntry(id, "Acme", "Clients \\ Acme", acme, "1.1", EncodeTime(0, 45, 0, 0), Currency::FromDouble(0.75), 0,
                    "revised", Date() - 2);
    EXPECT_EQ(Field(id, "Create_Date").AsDateTime(), Date());
    EXPECT_EQ(Field(id, "User_Name").AsString(), "Alex Morgan");
    EXPECT_TRUE(Field(id, "Closed").AsBoolean());
    EXPECT_EQ(Field(id, "Note").AsString(), "revised");
    EXPECT_DOUBLE_EQ(Hours(id), 0.75);
}

TEST_F(TimeTest, AnIDNoRowHasWritesTheRowUnderTheCursor) {
    int first = Entry(acme, Date(), 30);
    int second = Entry(borealis, Date(), 30);
    Time().Locate("ID", Variant(first));
    UpdateTimeAmount(-1, EncodeTime(2, 0, 0, 0), Currency::FromDouble(2));
    EXPECT_DOUBLE_EQ(Hours(first), 2);
    EXPECT_DOUBLE_EQ(Hours(second), 0.5);
    UpdateTimeEntry(-1, "Other", "Other", internal, "2", 0, Currency{}, 0, "moved", Date());
    EXPECT_EQ(Field(first, "Task_ID").AsInteger(), internal);

    // Deleting takes the row under the cursor.
    Time().Locate("ID", Variant(second));
    DeleteTimeEntry();
    EXPECT_TRUE(Time().Lookup("ID", Variant(second), "ID").IsNull());
    EXPECT_EQ(Time().RecordCount(), 1);
}
