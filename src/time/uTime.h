#pragma once
// uTime: time entries, the rows of MemDataTime. The one place where an amount converts between
// clock time and decimal hours, and the only writer of the rows' amounts: find a task's entry of
// a date, add one, change one whole or only its amount, delete the row under the cursor.
//
// An amount counts in whole minutes. Decimal hours are a currency, a count of ten-thousandths.
// The writers never report a failure: what the table raises is dropped without a word.
#include <string>

#include "base/Currency.h"
#include "base/DateTime.h"

// Hours and minutes of a time of day as decimal hours: M / 60 through single precision, rounded
// to ten-thousandths (halves to even). Seconds count for nothing: 0:00:59 is worth 0.
Currency TimeToDecimal(TDateTime Time);
// Decimal hours as hours and minutes (halves of a minute to even), no seconds. Raises
// EConvertError for 24 hours or more, for a negative amount, and for a fraction that rounds to
// 60 minutes (0.9917 and above): the minutes never carry into the hours.
TDateTime DecimalToTime(Currency Amount);

// The ID of the first row the table shows for the task and date, with the cursor left on it;
// 0 when none (also for an empty table and on any failure).
int FindTimeEntry(int TaskID, TDateTime TimeDate);
// Appends a row with today as Create_Date and the current user, after turning the timesheet's
// filter off; gives the ID of the row the cursor then stands on.
int AddTimeEntry(const std::string& TaskName, const std::string& TaskFullName, int TaskID,
                 const std::string& TaskFullNo, TDateTime Time, Currency DecTime, int BillRate,
                 const std::string& Note, TDateTime TimeDate, bool Closed);
// Rewrites the row of the ID (and Create_Date as today); user and Closed stay. An ID that no
// row has leaves the cursor where it was, and the row there is written.
void UpdateTimeEntry(int ID, const std::string& TaskName, const std::string& TaskFullName, int TaskID,
                     const std::string& TaskFullNo, TDateTime Time, Currency DecTime, int BillRate,
                     const std::string& Note, TDateTime TimeDate);
// Rewrites Time and Dec_Time of the row of the ID, with the same rule for an unknown ID.
void UpdateTimeAmount(int ID, TDateTime Time, Currency DecTime);
// Deletes the row under the cursor; the caller asks first.
void DeleteTimeEntry();
