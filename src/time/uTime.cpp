#include "time/uTime.h"

#include <cmath>

#include "base/Clock.h"
#include "base/Exceptions.h"
#include "base/Guard.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "store/MemData.h"
#include "time/ufmTime.h"

namespace {

TdxMemData& TimeTable() { return Live(Globals().MemDataTime); }

// Rounds to the nearest integer, a half to the even neighbour.
double RoundEven(double value) { return std::nearbyint(value); }

// The fields that a new entry and an entry's update both write, in this order, into the row in
// insert or edit; the entry is stamped with today's date.
void WriteEntry(TdxMemData& t, const std::string& TaskName, const std::string& TaskFullName, int TaskID,
                const std::string& TaskFullNo, TDateTime Time, Currency DecTime, int BillRate,
                const std::string& Note, TDateTime TimeDate) {
    t.FieldByName("Task_Name").SetAsString(TaskName);
    t.FieldByName("Task_Full_Name").SetAsString(TaskFullName);
    t.FieldByName("Task_ID").SetAsInteger(TaskID);
    t.FieldByName("Task_Full_No").SetAsString(TaskFullNo);
    t.FieldByName("Create_Date").SetAsDateTime(Date());
    t.FieldByName("Time").SetAsDateTime(Time);
    t.FieldByName("Dec_Time").SetAsCurrency(DecTime);
    t.FieldByName("Bill_Rate").SetAsInteger(BillRate);
    t.FieldByName("Note").SetAsString(Note);
    t.FieldByName("Time_Date").SetAsDateTime(TimeDate);
}

}  // namespace

Currency TimeToDecimal(TDateTime Time) {
    int hours = 0, minutes = 0, seconds = 0, msecs = 0;
    DecodeTime(Time, hours, minutes, seconds, msecs);
    int total = hours * 60 + minutes;
    double quotient = total / 60.0;
    double single = static_cast<double>(static_cast<float>(quotient));
    return Currency::FromRaw(static_cast<int64_t>(RoundEven(single * 10000.0)));
}

TDateTime DecimalToTime(Currency Amount) {
    int64_t raw = Amount.value;
    int64_t hours = raw / 10000;
    double whole = raw / 10000.0;
    double fraction = whole - std::trunc(whole);
    double single = static_cast<double>(static_cast<float>(fraction * 60.0));
    double minutes = RoundEven(single);
    if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59)
        throw EConvertError("Invalid argument to time encode");
    return EncodeTime(static_cast<int>(hours), static_cast<int>(minutes), 0, 0);
}

int FindTimeEntry(int TaskID, TDateTime TimeDate) {
    int result = 0;
    Swallow([&] {
        TdxMemData& t = TimeTable();
        if (!HasRecords(t)) return;
        if (t.Locate("Task_ID;Time_Date", {Variant(TaskID), Variant::FromDate(TimeDate)}, loCaseInsensitive))
            result = t.FieldByName("ID").AsInteger();
    });
    return result;
}

int AddTimeEntry(const std::string& TaskName, const std::string& TaskFullName, int TaskID,
                 const std::string& TaskFullNo, TDateTime Time, Currency DecTime, int BillRate,
                 const std::string& Note, TDateTime TimeDate, bool Closed) {
    int result = 0;
    Swallow([&] {
        TModuleGlobals& g = Globals();
        TdxMemData& t = TimeTable();
        TfmTime::UnfilterTime();
        t.DisableControls();
        Swallow([&] {
            if (!t.Active()) t.Open();
            t.Append();
            WriteEntry(t, TaskName, TaskFullName, TaskID, TaskFullNo, Time, DecTime, BillRate, Note, TimeDate);
            t.FieldByName("Closed").SetAsBoolean(Closed);
            t.FieldByName("User_Name").SetAsString(g.CurrentUserName);
            t.FieldByName("User_Address").SetAsString(g.CurrentUserAddress);
            t.Post();
        });
        t.EnableControls();
        result = t.FieldByName("ID").AsInteger();
        TBookmark mark = t.GetBookmark();
        if (g.TimeSheetForm) g.TimeSheetForm->FilterTime();
        t.GotoBookmark(mark);
    });
    return result;
}

namespace {

// The shape both updates share: the row of the ID when there is one, else the row under the
// cursor; written, posted and refreshed with the controls held back, failures dropped.
template <class Write>
void UpdateRow(int ID, Write write) {
    TdxMemData* table = nullptr;
    Swallow([&] { table = &TimeTable(); });
    if (!table) return;
    TdxMemData& t = *table;
    t.DisableControls();
    Swallow([&] {
        t.Locate("ID", Variant(ID));
        t.Edit();
        write(t);
        t.Post();
        t.Refresh();
    });
    t.EnableControls();
}

}  // namespace

void UpdateTimeEntry(int ID, const std::string& TaskName, const std::string& TaskFullName, int TaskID,
                     const std::string& TaskFullNo, TDateTime Time, Currency DecTime, int BillRate,
                     const std::string& Note, TDateTime TimeDate) {
    UpdateRow(ID, [&](TdxMemData& t) {
        WriteEntry(t, TaskName, TaskFullName, TaskID, TaskFullNo, Time, DecTime, BillRate, Note, TimeDate);
    });
}

void UpdateTimeAmount(int ID, TDateTime Time, Currency DecTime) {
    UpdateRow(ID, [&](TdxMemData& t) {
        t.FieldByName("Time").SetAsDateTime(Time);
        t.FieldByName("Dec_Time").SetAsCurrency(DecTime);
    });
}

void DeleteTimeEntry() {
    Swallow([] { TimeTable().Delete(); });
}
