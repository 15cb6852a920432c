#include "base/DateTime.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <vector>

#include "base/Clock.h"
#include "base/Exceptions.h"
#include "base/FormatSettings.h"

namespace {

// Days from 1970-01-01 for a proleptic Gregorian date, and back.
int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

void CivilFromDays(int64_t z, int& y, int& m, int& d) {
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t yy = static_cast<int64_t>(yoe) + era * 400;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yy + (m <= 2));
}

// 1899-12-30 counted from 1970-01-01.
const int64_t kEpochShift = DaysFromCivil(1899, 12, 30);

// Whole days and milliseconds of the day of a TDateTime. A negative value keeps its time of day
// as a positive fraction, as the date type has always done. False for a date whose day number
// doesn't fit a time stamp.
bool TrySplit(TDateTime dt, int64_t& days, int& msec) {
    days = 0;
    msec = 0;
    if (!std::isfinite(dt)) return true;
    if (std::fabs(dt) > 4e9) return false;  // far beyond the time stamp's days, and any int64's
    double whole = std::trunc(dt);
    double frac = std::fabs(dt - whole);
    auto ms = static_cast<int64_t>(std::llround(frac * MSecsPerDay));
    if (ms >= MSecsPerDay) {
        ms -= MSecsPerDay;
        whole += dt < 0 ? -1 : 1;
    }
    const auto d = static_cast<int64_t>(whole);
    if (d + DateDelta > INT32_MAX || d + DateDelta < INT32_MIN) return false;
    days = d;
    msec = static_cast<int>(ms);
    return true;
}

// As TrySplit; a date that doesn't split raises EConvertError.
void Split(TDateTime dt, int64_t& days, int& msec) {
    if (!TrySplit(dt, days, msec)) throw EConvertError("Date value out of range: " + std::to_string(dt));
}

std::string Pad(int v, int width) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%0*d", width, v);
    return buf;
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
    if (s.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(s[i])) !=
            std::tolower(static_cast<unsigned char>(prefix[i])))
            return false;
    return true;
}

void FormatInto(std::string& out, std::string_view f, TDateTime dt, const TFormatSettings& fs,
                int depth);

void AppendFormatted(std::string& out, std::string_view f, TDateTime dt, const TFormatSettings& fs,
                     int depth) {
    if (depth > 2) return;  // the nested forms (c, ddddd, tt) never nest further
    FormatInto(out, f, dt, fs, depth + 1);
}

void FormatInto(std::string& out, std::string_view f, TDateTime dt, const TFormatSettings& fs,
                int depth) {
    int y, mo, d, h, mi, s, ms;
    DecodeDate(dt, y, mo, d);
    DecodeTime(dt, h, mi, s, ms);
    bool hasAmPm = false;
    for (size_t k = 0; k + 1 < f.size(); ++k)
        if (StartsWithNoCase(f.substr(k), "am/pm") || StartsWithNoCase(f.substr(k), "a/p") ||
            StartsWithNoCase(f.substr(k), "ampm"))
            hasAmPm = true;
    bool lastWasHour = false;
    size_t i = 0;
    auto run = [&](char c) {
        size_t n = 0;
        while (i + n < f.size() && std::tolower(static_cast<unsigned char>(f[i + n])) == c) ++n;
        return n;
    };
    while (i < f.size()) {
        char c = f[i];
        char lc = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (c == '"' || c == '\'') {
            size_t j = f.find(c, i + 1);
            if (j == std::string_view::npos) j = f.size();
            out.append(f.substr(i + 1, j - i - 1));
            i = j < f.size() ? j + 1 : j;
            continue;
        }
        if (lc == 'a') {
            if (StartsWithNoCase(f.substr(i), "am/pm")) {
                out += h < 12 ? (f[i] == 'a' ? "am" : "AM") : (f[i] == 'a' ? "pm" : "PM");
                i += 5;
                continue;
            }
            if (StartsWithNoCase(f.substr(i), "a/p")) {
                out += h < 12 ? (f[i] == 'a' ? "a" : "A") : (f[i] == 'a' ? "p" : "P");
                i += 3;
                continue;
            }
            if (StartsWithNoCase(f.substr(i), "ampm")) {
                out += h < 12 ? fs.TimeAMString : fs.TimePMString;
                i += 4;
                continue;
            }
        }
        switch (lc) {
            case 'y': {
                size_t n = run('y');
                out += n <= 2 ? Pad(y % 100, 2) : Pad(y, 4);
                i += n;
                lastWasHour = false;
                continue;
            }
            case 'm': {
                size_t n = run('m');
                if (lastWasHour && n <= 2) {
                    out += n == 1 ? std::to_string(mi) : Pad(mi, 2);
                } else if (n == 1) {
                    out += std::to_string(mo);
                } else if (n == 2) {
                    out += Pad(mo, 2);
                } else if (n == 3) {
                    out += fs.ShortMonthNames[mo - 1];
                } else {
                    out += fs.LongMonthNames[mo - 1];
                }
                i += n;
                lastWasHour = false;
                continue;
            }
            case 'd': {
                size_t n = run('d');
                int dow = DayOfWeek(dt);
                if (n == 1) out += std::to_string(d);
                else if (n == 2) out += Pad(d, 2);
                else if (n == 3) out += fs.ShortDayNames[dow - 1];
                else if (n == 4) out += fs.LongDayNames[dow - 1];
                else if (n == 5) AppendFormatted(out, fs.ShortDateFormat, dt, fs, depth);
                else AppendFormatted(out, fs.LongDateFormat, dt, fs, depth);
                i += n;
                lastWasHour = false;
                continue;
            }
            case 'h': {
                size_t n = run('h');
                int hh = h;
                if (hasAmPm) {
                    hh = h % 12;
                    if (hh == 0) hh = 12;
                }
                out += n == 1 ? std::to_string(hh) : Pad(hh, 2);
                i += n;
                lastWasHour = true;
                continue;
            }
            case 'n': {
                size_t n = run('n');
                out += n == 1 ? std::to_string(mi) : Pad(mi, 2);
                i += n;
                lastWasHour = false;
                continue;
            }
            case 's': {
                size_t n = run('s');
                out += n == 1 ? std::to_string(s) : Pad(s, 2);
                i += n;
                lastWasHour = false;
                continue;
            }
            case 'z': {
                size_t n = run('z');
                out += n == 1 ? std::to_string(ms) : Pad(ms, 3);
                i += n;
                continue;
            }
            case 't': {
                size_t n = run('t');
                AppendFormatted(out, n == 1 ? fs.ShortTimeFormat : fs.LongTimeFormat, dt, fs, depth);
                i += n;
                continue;
            }
            case 'c': {
                AppendFormatted(out, fs.ShortDateFormat, dt, fs, depth);
                if (h || mi || s || ms) {
                    out += ' ';
                    AppendFormatted(out, fs.LongTimeFormat, dt, fs, depth);
                }
                ++i;
                continue;
            }
            case '/':
                out += fs.DateSeparator;
                ++i;
                continue;
            case ':':
                out += fs.TimeSeparator;
                ++i;
                continue;
            default:
                out += c;
                ++i;
                continue;
        }
    }
}

// Splits text into runs of digits; letters make the text no date.
bool Numbers(std::string_view text, char sep, std::vector<int>& nums) {
    size_t i = 0;
    while (i < text.size() && text[i] == ' ') ++i;
    size_t end = text.size();
    while (end > i && text[end - 1] == ' ') --end;
    if (i == end) return false;
    while (i < end) {
        if (!std::isdigit(static_cast<unsigned char>(text[i]))) return false;
        long v = 0;
        size_t digits = 0;
        while (i < end && std::isdigit(static_cast<unsigned char>(text[i]))) {
            if (++digits > 6) return false;
            v = v * 10 + (text[i] - '0');
            ++i;
        }
        nums.push_back(static_cast<int>(v));
        if (i < end) {
            if (text[i] != sep) return false;
            ++i;
            if (i == end) return false;
        }
    }
    return true;
}

}  // namespace

bool SplittableDate(TDateTime dt) {
    int64_t days;
    int ms;
    return TrySplit(dt, days, ms);
}

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysInMonth(int year, int month) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    return month == 2 && IsLeapYear(year) ? 29 : days[month - 1];
}

bool TryEncodeDate(int year, int month, int day, TDateTime& out) {
    if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 ||
        day > DaysInMonth(year, month))
        return false;
    out = static_cast<double>(DaysFromCivil(year, static_cast<unsigned>(month),
                                            static_cast<unsigned>(day)) -
                              kEpochShift);
    return true;
}

TDateTime EncodeDate(int year, int month, int day) {
    TDateTime r;
    if (!TryEncodeDate(year, month, day, r)) throw EConvertError("Invalid argument to date encode");
    return r;
}

TDateTime EncodeTime(int hour, int min, int sec, int msec) {
    if (hour < 0 || hour > 23 || min < 0 || min > 59 || sec < 0 || sec > 59 || msec < 0 ||
        msec > 999)
        throw EConvertError("Invalid argument to time encode");
    return (hour * 3600000.0 + min * 60000.0 + sec * 1000.0 + msec) / MSecsPerDay;
}

void DecodeDate(TDateTime dt, int& year, int& month, int& day) {
    int64_t days;
    int ms;
    Split(dt, days, ms);
    CivilFromDays(days + kEpochShift, year, month, day);
}

void DecodeTime(TDateTime dt, int& hour, int& min, int& sec, int& msec) {
    int64_t days;
    int ms;
    Split(dt, days, ms);
    hour = ms / 3600000;
    min = ms / 60000 % 60;
    sec = ms / 1000 % 60;
    msec = ms % 1000;
}

int DayOfWeek(TDateTime dt) {
    int64_t days;
    int ms;
    Split(dt, days, ms);
    // 30 December 1899 was a Saturday.
    int64_t w = ((days + 6) % 7 + 7) % 7;  // 0 = Sunday
    return static_cast<int>(w) + 1;
}

TDateTime DateOf(TDateTime dt) {
    int64_t days;
    int ms;
    Split(dt, days, ms);
    return static_cast<double>(days);
}

TDateTime TimeOf(TDateTime dt) {
    int64_t days;
    int ms;
    Split(dt, days, ms);
    return static_cast<double>(ms) / MSecsPerDay;
}

TDateTime IncDay(TDateTime dt, int days) { return dt + days; }

TDateTime NoCompletionDate() { return EncodeDate(4501, 1, 1); }

TTimeStamp DateTimeToTimeStamp(TDateTime dt) {
    int64_t days;
    int ms;
    Split(dt, days, ms);
    return {static_cast<int32_t>(days + DateDelta), static_cast<int32_t>(ms)};
}

TDateTime TimeStampToDateTime(const TTimeStamp& ts) {
    double days = static_cast<double>(ts.date) - DateDelta;
    double frac = static_cast<double>(ts.time) / MSecsPerDay;
    return days < 0 ? days - frac : days + frac;
}

std::string FormatDateTime(std::string_view format, TDateTime dt, const TFormatSettings& fs) {
    std::string out;
    FormatInto(out, format, dt, fs, 0);
    return out;
}

std::string FormatDateTime(std::string_view format, TDateTime dt) {
    return FormatDateTime(format, dt, FormatSettings());
}

std::string DateToStr(TDateTime dt) { return FormatDateTime("ddddd", dt); }
std::string TimeToStr(TDateTime dt) { return FormatDateTime("tt", dt); }
std::string DateTimeToStr(TDateTime dt) { return FormatDateTime("c", dt); }

bool TryStrToDate(std::string_view text, TDateTime& out, const TFormatSettings& fs) {
    std::vector<int> n;
    if (!Numbers(text, fs.DateSeparator, n) || n.size() < 2 || n.size() > 3) return false;
    // The order of day, month and year follows the short date form.
    std::string order;
    for (char c : fs.ShortDateFormat) {
        char lc = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if ((lc == 'd' || lc == 'm' || lc == 'y') && order.find(lc) == std::string::npos)
            order += lc;
    }
    if (order.size() != 3) order = "mdy";
    int y = 0, m = 0, d = 0;
    bool yearGiven = n.size() == 3;
    if (!yearGiven) {
        // A date without a year is in the current year.
        int cy, cm, cd;
        DecodeDate(Date(), cy, cm, cd);
        y = cy;
        std::string dm;
        for (char c : order)
            if (c != 'y') dm += c;
        m = dm[0] == 'm' ? n[0] : n[1];
        d = dm[0] == 'd' ? n[0] : n[1];
    } else {
        for (size_t k = 0; k < 3; ++k) {
            if (order[k] == 'y') y = n[k];
            if (order[k] == 'm') m = n[k];
            if (order[k] == 'd') d = n[k];
        }
        size_t yk = order.find('y');
        size_t ylen = 0;
        {
            // Count the digits the year was written with.
            size_t field = 0, pos = 0;
            std::string_view t = text;
            while (pos < t.size() && t[pos] == ' ') ++pos;
            while (pos < t.size() && field < yk) {
                if (t[pos] == fs.DateSeparator) ++field;
                ++pos;
            }
            while (pos < t.size() && std::isdigit(static_cast<unsigned char>(t[pos]))) {
                ++ylen;
                ++pos;
            }
        }
        if (ylen <= 2) {
            int cy, cm, cd;
            DecodeDate(Date(), cy, cm, cd);
            int pivot = cy - fs.TwoDigitYearCenturyWindow;
            int century = pivot / 100 * 100;
            y += century;
            if (y < pivot) y += 100;
        }
    }
    return TryEncodeDate(y, m, d, out);
}

TDateTime StrToDate(std::string_view text, const TFormatSettings& fs) {
    TDateTime r;
    if (!TryStrToDate(text, r, fs))
        throw EConvertError("'" + std::string(text) + "' is not a valid date");
    return r;
}

TDateTime StrToDate(std::string_view text) { return StrToDate(text, FormatSettings()); }

bool TryStrToTime(std::string_view text, TDateTime& out, const TFormatSettings& fs) {
    std::string t(text);
    while (!t.empty() && t.back() == ' ') t.pop_back();
    int add = -1;  // -1 no marker, 0 AM, 12 PM
    auto endsWith = [&](const std::string& s) {
        return !s.empty() && t.size() >= s.size() &&
               StartsWithNoCase(std::string_view(t).substr(t.size() - s.size()), s);
    };
    if (endsWith(fs.TimeAMString)) {
        add = 0;
        t.resize(t.size() - fs.TimeAMString.size());
    } else if (endsWith(fs.TimePMString)) {
        add = 12;
        t.resize(t.size() - fs.TimePMString.size());
    }
    std::vector<int> n;
    if (!Numbers(t, fs.TimeSeparator, n) || n.empty() || n.size() > 3) return false;
    int h = n[0], m = n.size() > 1 ? n[1] : 0, s = n.size() > 2 ? n[2] : 0;
    if (add >= 0) {
        if (h < 1 || h > 12) return false;
        h = h % 12 + add;
    }
    if (h > 23 || m > 59 || s > 59) return false;
    out = EncodeTime(h, m, s, 0);
    return true;
}

TDateTime StrToTime(std::string_view text) {
    TDateTime r;
    if (!TryStrToTime(text, r, FormatSettings()))
        throw EConvertError("'" + std::string(text) + "' is not a valid time");
    return r;
}

TDateTime StrToDateTime(std::string_view text) {
    const TFormatSettings& fs = FormatSettings();
    std::string t(text);
    size_t sp = t.find(' ');
    TDateTime d, tm = 0;
    if (sp == std::string::npos) {
        if (TryStrToDate(t, d, fs)) return d;
        if (TryStrToTime(t, tm, fs)) return tm;
    } else if (TryStrToDate(t.substr(0, sp), d, fs) && TryStrToTime(t.substr(sp + 1), tm, fs)) {
        return d + tm;
    }
    throw EConvertError("'" + t + "' is not a valid date and time");
}

std::string IsoDate(TDateTime dt) { return FormatDateTime("yyyy-mm-dd", dt); }
std::string IsoTime(TDateTime dt) { return FormatDateTime("hh:nn:ss.zzz", dt); }
std::string IsoDateTime(TDateTime dt) { return IsoDate(dt) + "T" + IsoTime(dt); }

bool ParseIsoDate(std::string_view text, TDateTime& out) {
    int y, m, d;
    char tail;
    if (text.size() != 10) return false;
    std::string s(text);
    if (std::sscanf(s.c_str(), "%4d-%2d-%2d%c", &y, &m, &d, &tail) != 3) return false;
    return TryEncodeDate(y, m, d, out);
}

bool ParseIsoTime(std::string_view text, TDateTime& out) {
    std::string s(text);
    int h = 0, mi = 0, sec = 0, ms = 0;
    char tail;
    int got = std::sscanf(s.c_str(), "%2d:%2d:%2d.%3d%c", &h, &mi, &sec, &ms, &tail);
    if (got == 4 && s.size() != 12) return false;
    if (got == 3 && s.size() != 8) return false;
    if (got != 3 && got != 4) return false;
    if (h < 0 || h > 23 || mi < 0 || mi > 59 || sec < 0 || sec > 59 || ms < 0 || ms > 999)
        return false;
    out = EncodeTime(h, mi, sec, ms);
    return true;
}

bool ParseIsoDateTime(std::string_view text, TDateTime& out) {
    size_t t = text.find('T');
    if (t == std::string_view::npos) return ParseIsoDate(text, out);
    TDateTime d, tm;
    if (!ParseIsoDate(text.substr(0, t), d) || !ParseIsoTime(text.substr(t + 1), tm)) return false;
    out = d < 0 ? d - tm : d + tm;
    return true;
}
