#include <gtest/gtest.h>

#include "base/Clock.h"
#include "base/Currency.h"
#include "base/DateTime.h"
#include "base/Exceptions.h"
#include "base/FormatSettings.h"
#include "base/Guard.h"
#include "base/Variant.h"
#include "platform/Text.h"

TEST(DateTime, DayNumbersAndFormatsTheSystemUses) {
    TDateTime d = EncodeDate(2026, 3, 5) + EncodeTime(14, 7, 9, 0);
    EXPECT_EQ(FormatDateTime(FmtShortMonthDate, d), "Mar 5, 2026");
    EXPECT_EQ(FormatDateTime(FmtLongMonthDate, d), "March 5, 2026");
    EXPECT_EQ(DateToStr(d), "3/5/2026");
    EXPECT_EQ(TimeToStr(d), "2:07:09 PM");
    EXPECT_EQ(FormatDateTime("hh:nn", d), "14:07");  // m after h is minutes
    EXPECT_EQ(IsoDateTime(d), "2026-03-05T14:07:09.000");
    EXPECT_EQ(EncodeDate(1899, 12, 30), 0.0);
    EXPECT_EQ(DateTimeToTimeStamp(0).date, 693594);
    EXPECT_EQ(DayOfWeek(EncodeDate(2026, 11, 21)), 7);  // a Saturday
}

TEST(DateTime, ParsesTheNoDateValueWithTheProcessSettings) {
    EXPECT_EQ(StrToDate("1/1/4501"), NoCompletionDate());
    EXPECT_GT(NoCompletionDate(), EncodeDate(9000 - 4500, 12, 31));
    EXPECT_THROW(StrToDate("31/12/2026"), EConvertError);
    EXPECT_THROW(StrToDate("Monday"), EConvertError);
    TFormatSettings uk;
    uk.ShortDateFormat = "dd/mm/yyyy";
    EXPECT_EQ(StrToDate("31/12/2026", uk), EncodeDate(2026, 12, 31));
    SetClock(EncodeDate(2026, 11, 21));
    EXPECT_EQ(StrToDate("2/3"), EncodeDate(2026, 2, 3));  // no year: this year
    EXPECT_EQ(StrToDate("2/3/49"), EncodeDate(2049, 2, 3));
    ResetClock();
}

TEST(Clock, StandsStillWhereItIsSet) {
    SetClock(EncodeDate(2026, 1, 2) + EncodeTime(10, 0, 0, 0));
    EXPECT_EQ(Date(), EncodeDate(2026, 1, 2));
    EXPECT_EQ(Now(), EncodeDate(2026, 1, 2) + EncodeTime(10, 0, 0, 0));
    ResetClock();
    EXPECT_FALSE(ClockIsSet());
    EXPECT_GT(Now(), EncodeDate(2020, 1, 1));
}

TEST(Currency, CountsTenThousandthsRoundingToTheNearest) {
    EXPECT_EQ(Currency::FromDouble(1.5).value, 15000);
    EXPECT_EQ(Currency::FromDouble(1.23456).value, 12346);
    EXPECT_EQ(Currency::FromDouble(-0.00004).value, 0);
    EXPECT_EQ(Currency::FromDouble(-2.25).ToString(), "-2.25");
    EXPECT_THROW(Currency::FromDouble(1e300), EConvertError);
}

TEST(Variant, ConvertsOrSaysWhatItCannotConvert) {
    EXPECT_TRUE(Variant().IsNull());
    EXPECT_EQ(Variant("42").AsInteger(), 42);
    EXPECT_EQ(Variant(true).AsString(), "True");
    EXPECT_EQ(Variant(1.5).AsString(), "1.5");
    EXPECT_EQ(Variant::FromDate(EncodeDate(2026, 1, 2)).AsString(), "1/2/2026");
    try {
        Variant().AsInteger();
        FAIL();
    } catch (const EVariantError& e) {
        EXPECT_STREQ(e.ClassName(), "EVariantError");
        EXPECT_NE(e.Message().find("(Null)"), std::string::npos);
    }
    EXPECT_NE(Variant(int64_t{1}), Variant(1.0));
}

TEST(Guard, SwallowsEverythingAndReportsWhenAsked) {
    EXPECT_FALSE(Swallow([] { throw EOleException("gone"); }));
    EXPECT_FALSE(Swallow([] { throw 42; }));
    std::string seen;
    Guarded([] { throw EIntfCastError("Interface not supported"); },
            [&](const ExceptionInfo& e) { seen = e.className + ": " + e.message; });
    EXPECT_EQ(seen, "EIntfCastError: Interface not supported");
    // A handler that throws passes its own exception on, in place of the first.
    try {
        Guarded([] { throw Exception("a"); }, [](const ExceptionInfo&) { throw EFCreateError("b"); });
        FAIL();
    } catch (const EFCreateError& e) {
        EXPECT_EQ(e.Message(), "b");
    }
}

TEST(Text, CodePageAndCollation) {
    EXPECT_EQ(platform::Utf8ToAnsi("caf\xC3\xA9 \xE2\x82\xAC"), "caf\xE9 \x80");
    EXPECT_EQ(platform::AnsiToUtf8("caf\xE9 \x80"), "caf\xC3\xA9 \xE2\x82\xAC");
    EXPECT_EQ(platform::Utf8ToAnsi("\xE4\xB8\xAD"), "?");  // not in the code page: lost
    // An overlong NUL is no character: each of its bytes becomes the replacement character.
    EXPECT_EQ(platform::Utf8ToUtf16("\xC0\x80x"), u"\uFFFD\uFFFDx");
    // The locale's order, not byte order: "a" < "B" < "c", and case weighs only when asked.
    EXPECT_LT(platform::CompareAnsi("a", "B", false), 0);
    EXPECT_LT(platform::CompareAnsi("B", "c", false), 0);
    EXPECT_NE(platform::CompareAnsi("abc", "ABC", false), 0);
    EXPECT_EQ(platform::CompareAnsi("abc", "ABC", true), 0);
    EXPECT_LT(platform::CompareAnsi("\xE9t\xE9", "f", false), 0);  // "été" before "f"
    EXPECT_EQ(platform::AnsiUpperCase("caf\xE9"), "CAF\xC9");
}
