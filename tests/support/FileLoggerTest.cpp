// The day log: its file name, what lands in the file byte for byte, retention, and what happens
// when the file can't be opened.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "base/Clock.h"
#include "base/Exceptions.h"
#include "base/FormatSettings.h"
#include "platform/System.h"
#include "platform/Text.h"
#include "support/FileLogger.h"

namespace fs = std::filesystem;

namespace {

class FileLogTest : public ::testing::Test {
protected:
    void SetUp() override {
        TFileLog::Dispose();
        if (const char* old = std::getenv("TMPDIR")) oldTmp_ = old;
        std::string pattern = (fs::temp_directory_path() / "corvelle-log-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
        UseFolder(dir_);
        savedSettings_ = FormatSettings();
        SetClock(EncodeDate(2026, 3, 5) + EncodeTime(14, 7, 9, 0));
        pid_ = std::to_string(platform::ProcessId());
    }

    void TearDown() override {
        TFileLog::Dispose();
        ResetClock();
        FormatSettings() = savedSettings_;
        if (oldTmp_) setenv("TMPDIR", oldTmp_->c_str(), 1);
        else unsetenv("TMPDIR");
        std::error_code ec;
        fs::remove_all(dir_, ec);
    }

    static void UseFolder(const fs::path& p) { setenv("TMPDIR", p.string().c_str(), 1); }

    fs::path LogOf(int y, int m, int d) const {
        return dir_ / (std::to_string(y) + "-" + std::to_string(m) + "-" + std::to_string(d) +
                       "-ol-corvelle.txt");
    }
    fs::path TodaysLog() const { return LogOf(2026, 3, 5); }

    static std::string Bytes(const fs::path& p) {
        std::ifstream in(p, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    // The file's UTF-16LE content as program text.
    static std::string Text(const fs::path& p) {
        std::string b = Bytes(p);
        std::u16string units;
        for (size_t i = 0; i + 1 < b.size(); i += 2)
            units += static_cast<char16_t>(static_cast<unsigned char>(b[i]) |
                                           (static_cast<unsigned char>(b[i + 1]) << 8));
        return platform::Utf16ToUtf8(units);
    }

    static void Touch(const fs::path& p) { std::ofstream(p) << "x"; }

    fs::path dir_;
    std::optional<std::string> oldTmp_;
    TFormatSettings savedSettings_;
    std::string pid_;
};

TEST_F(FileLogTest, FirstEntryCreatesTheDayFileInUtf16WithoutByteOrderMark) {
    LogInfo("hello");

    ASSERT_TRUE(fs::exists(TodaysLog())) << "expected 2026-3-5-ol-corvelle.txt, no leading zeros";
    EXPECT_EQ(TFileLog::CurrentInstance().FileName(), TodaysLog().string());
    EXPECT_EQ(TFileLog::CurrentInstance().RetentionDays(), 7);

    const std::string expected = "3/5/2026 2:07:09 PM | " + pid_ + " | INFO: hello\r\n";
    std::string wanted;
    for (char c : expected) {
        wanted += c;
        wanted += '\0';
    }
    EXPECT_EQ(Bytes(TodaysLog()), wanted);
}

TEST_F(FileLogTest, LinesCarryStampProcessAndPrefix) {
    SetClock(EncodeDate(2026, 3, 5));  // midnight: the stamp still shows the time
    LogInfo("info");
    LogError("error");
    LogDebug("debug");
    LogInfo("");
    LogInfo("Grüße €");
    TFileLog::CurrentInstance().WriteLine("raw");
    TFileLog::CurrentInstance().WriteLine();

    const std::string stamp = "3/5/2026 12:00:00 AM | " + pid_ + " | ";
    EXPECT_EQ(Text(TodaysLog()), stamp + "INFO: info\r\n" + stamp + "ERROR: error\r\n" + stamp +
                                     "DEBUG: debug\r\n" + stamp + "INFO: \r\n" + stamp +
                                     "INFO: Grüße €\r\n" + "raw\r\n" + "\r\n");
    // The euro sign is one UTF-16 code unit, U+20AC, low byte first.
    EXPECT_NE(Bytes(TodaysLog()).find(std::string("\xAC\x20", 2)), std::string::npos);
}

TEST_F(FileLogTest, StampFollowsTheUsersDateAndTimeForms) {
    FormatSettings().ShortDateFormat = "dd.mm.yyyy";
    FormatSettings().LongTimeFormat = "hh:nn:ss";
    LogError("x");
    EXPECT_EQ(Text(TodaysLog()), "05.03.2026 14:07:09 | " + pid_ + " | ERROR: x\r\n");
}

TEST_F(FileLogTest, SecondRunOnTheSameDayAppendsAndMidnightKeepsTheOldFile) {
    LogInfo("one");
    TFileLog::Dispose();
    SetClock(EncodeDate(2026, 3, 5) + EncodeTime(23, 59, 59, 0));
    LogInfo("two");
    // Across midnight the running logger stays with the day it was made on.
    SetClock(EncodeDate(2026, 3, 6) + EncodeTime(0, 0, 1, 0));
    LogInfo("three");

    const std::string text = Text(TodaysLog());
    EXPECT_EQ(text, "3/5/2026 2:07:09 PM | " + pid_ + " | INFO: one\r\n" +
                        "3/5/2026 11:59:59 PM | " + pid_ + " | INFO: two\r\n" +
                        "3/6/2026 12:00:01 AM | " + pid_ + " | INFO: three\r\n");
    EXPECT_EQ(text.find("\xEF\xBB\xBF"), std::string::npos) << "no byte-order mark between runs";
    EXPECT_FALSE(fs::exists(LogOf(2026, 3, 6)));
}

TEST_F(FileLogTest, CreationDeletesLogsAged8To59DaysOnly) {
    const TDateTime today = EncodeDate(2026, 3, 5);
    auto aged = [&](int days) {
        int y, m, d;
        DecodeDate(today - days, y, m, d);
        return LogOf(y, m, d);
    };
    for (int days : {1, 7, 8, 9, 30, 59, 60, 61}) Touch(aged(days));
    Touch(dir_ / "2026-2-24-other.txt");
    // A name that can't be deleted (a folder with content) is skipped; the rest still go.
    fs::create_directory(aged(10));
    Touch(aged(10) / "inside");

    TFileLog::CurrentInstance();

    for (int days : {8, 9, 30, 59}) EXPECT_FALSE(fs::exists(aged(days))) << days << " days old";
    for (int days : {1, 7, 60, 61}) EXPECT_TRUE(fs::exists(aged(days))) << days << " days old";
    EXPECT_TRUE(fs::exists(aged(10)));
    EXPECT_TRUE(fs::exists(dir_ / "2026-2-24-other.txt"));
    EXPECT_TRUE(fs::exists(TodaysLog()));
}

TEST_F(FileLogTest, SetEnabledWritesOnlyARealSwitchOff) {
    TFileLog& log = TFileLog::CurrentInstance();
    log.SetEnabled(true);  // already on: nothing
    log.SetEnabled(false);
    EXPECT_FALSE(log.Enabled());
    log.LogInfo("lost");
    log.WriteLine("lost too");
    log.SetEnabled(false);  // still off: both messages are swallowed by the off switch
    log.SetEnabled(true);
    EXPECT_TRUE(log.Enabled());
    log.LogInfo("back");

    const std::string stamp = "3/5/2026 2:07:09 PM | " + pid_ + " | ";
    EXPECT_EQ(Text(TodaysLog()), stamp + "DEBUG: Logging: disabled\r\n" + stamp + "INFO: back\r\n");
}

TEST_F(FileLogTest, UnopenableFileRaisesKeepsNoInstanceAndTheNextCallRetries) {
    const fs::path missing = dir_ / "not-yet";
    UseFolder(missing);
    EXPECT_THROW(TFileLog::CurrentInstance(), EFCreateError);
    // The shorthands pass the open failure on to their caller.
    EXPECT_THROW(LogError("not written"), EFCreateError);

    fs::create_directory(missing);
    LogError("now it opens");
    const fs::path log = missing / "2026-3-5-ol-corvelle.txt";
    EXPECT_EQ(Text(log), "3/5/2026 2:07:09 PM | " + pid_ + " | ERROR: now it opens\r\n");

    // An existing name that can't be opened for writing raises the open error.
    TFileLog::Dispose();
    UseFolder(dir_);
    fs::create_directory(TodaysLog());
    EXPECT_THROW(TFileLog::CurrentInstance(), EFOpenError);
    EXPECT_THROW(LogInfo("x"), EFOpenError);
}

}  // namespace
