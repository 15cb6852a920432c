#pragma once
// TDateTime: days since 30 December 1899 as a double, the time of day in the fraction.
#include <cstdint>
#include <string>
#include <string_view>

using TDateTime = double;

struct TFormatSettings;

constexpr int MSecsPerDay = 86400000;
// Day number of 30 December 1899 when 1 January of the year 1 is day 1.
constexpr int DateDelta = 693594;

bool IsLeapYear(int year);
int DaysInMonth(int year, int month);
bool TryEncodeDate(int year, int month, int day, TDateTime& out);
TDateTime EncodeDate(int year, int month, int day);  // EConvertError on a bad date
TDateTime EncodeTime(int hour, int min, int sec, int msec);
void DecodeDate(TDateTime dt, int& year, int& month, int& day);
void DecodeTime(TDateTime dt, int& hour, int& min, int& sec, int& msec);
int DayOfWeek(TDateTime dt);  // 1 = Sunday ... 7 = Saturday
TDateTime DateOf(TDateTime dt);
TDateTime TimeOf(TDateTime dt);
TDateTime IncDay(TDateTime dt, int days);

// Outlook's value for "no date", 1 January 4501.
TDateTime NoCompletionDate();

// Whether a date splits into a day and a time of day: its day number must fit a time stamp.
// Splitting one that doesn't (DecodeDate, DateOf, DateTimeToTimeStamp, the formats) raises
// EConvertError. Values that aren't finite split as 0, as they always have.
bool SplittableDate(TDateTime dt);

// Day number (1 January of year 1 = day 1) and milliseconds of the day.
struct TTimeStamp {
    int32_t date = 0;
    int32_t time = 0;
};
TTimeStamp DateTimeToTimeStamp(TDateTime dt);
TDateTime TimeStampToDateTime(const TTimeStamp& ts);

// Formatting with the format letters of the system (d, dd, ddd, dddd, m, mm, mmm, mmmm, yy, yyyy,
// h, hh, n, nn, s, ss, z, zzz, am/pm, a/p, ampm, c, ddddd, dddddd, t, tt, / and :, quoted text).
std::string FormatDateTime(std::string_view format, TDateTime dt);
std::string FormatDateTime(std::string_view format, TDateTime dt, const TFormatSettings& fs);
std::string DateToStr(TDateTime dt);  // short date form
std::string TimeToStr(TDateTime dt);  // long time form
std::string DateTimeToStr(TDateTime dt);

// Parsing with the short date form of the settings; EConvertError when the text is no date.
TDateTime StrToDate(std::string_view text);
TDateTime StrToDate(std::string_view text, const TFormatSettings& fs);
bool TryStrToDate(std::string_view text, TDateTime& out, const TFormatSettings& fs);
TDateTime StrToTime(std::string_view text);
bool TryStrToTime(std::string_view text, TDateTime& out, const TFormatSettings& fs);
TDateTime StrToDateTime(std::string_view text);

// ISO forms used by the tools: "YYYY-MM-DD", "HH:MM:SS.mmm", "YYYY-MM-DDTHH:MM:SS.mmm".
std::string IsoDate(TDateTime dt);
std::string IsoTime(TDateTime dt);
std::string IsoDateTime(TDateTime dt);
bool ParseIsoDate(std::string_view text, TDateTime& out);
bool ParseIsoTime(std::string_view text, TDateTime& out);
bool ParseIsoDateTime(std::string_view text, TDateTime& out);
