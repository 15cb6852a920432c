#pragma once
// The format settings of the process: the user's short date and long time forms, separators and
// month and day names. The system formats with the process-wide settings.
#include <array>
#include <string>

struct TFormatSettings {
    char DateSeparator = '/';
    char TimeSeparator = ':';
    std::string ShortDateFormat = "M/d/yyyy";
    std::string LongDateFormat = "dddd, MMMM d, yyyy";
    std::string ShortTimeFormat = "h:nn AMPM";
    std::string LongTimeFormat = "h:nn:ss AMPM";
    std::string TimeAMString = "AM";
    std::string TimePMString = "PM";
    char DecimalSeparator = '.';
    int TwoDigitYearCenturyWindow = 50;
    std::array<std::string, 12> ShortMonthNames{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::array<std::string, 12> LongMonthNames{"January", "February", "March",     "April",
                                               "May",     "June",     "July",      "August",
                                               "September", "October", "November", "December"};
    std::array<std::string, 7> ShortDayNames{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    std::array<std::string, 7> LongDayNames{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                            "Thursday", "Friday", "Saturday"};
};

// The process-wide settings (the user's locale: United States English forms by default).
TFormatSettings& FormatSettings();

// Date formats that the system's forms and reports use.
inline constexpr const char* FmtShortMonthDate = "mmm d, yyyy";
inline constexpr const char* FmtLongMonthDate = "mmmm d, yyyy";
