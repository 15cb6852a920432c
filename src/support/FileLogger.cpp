#include "support/FileLogger.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <system_error>

#include "base/Clock.h"
#include "base/Exceptions.h"
#include "base/FormatSettings.h"
#include "base/Guard.h"
#include "platform/System.h"
#include "platform/Text.h"

namespace {

// Logs older than this are looked for and deleted at creation; older ones are left alone.
constexpr int kOldestLogDays = 60;

bool FileExists(const std::string& path) {
    return platform::FileExists(path);
}

std::string ErrnoText(int err) { return err ? std::strerror(err) : "Unknown error"; }

}  // namespace

std::unique_ptr<TFileLog> TFileLog::instance_;

TFileLog& TFileLog::CurrentInstance() {
    // A constructor that raises leaves the variable empty, so the next call tries again.
    if (!instance_) instance_.reset(new TFileLog());
    return *instance_;
}

void TFileLog::Dispose() { instance_.reset(); }

std::string TFileLog::FileNameFor(const std::string& tempFolder, TDateTime day) {
    int y = 0, m = 0, d = 0;
    DecodeDate(day, y, m, d);
    return tempFolder + std::to_string(y) + "-" + std::to_string(m) + "-" + std::to_string(d) +
           "-ol-corvelle.txt";
}

TFileLog::TFileLog() {
    retentionDays_ = 7;
    enabled_ = true;
    processId_ = std::to_string(platform::ProcessId());
    fileName_ = FileNameFor(platform::TempFolder(), Now());

    if (FileExists(fileName_)) {
        stream_ = platform::OpenFile(fileName_, "r+b");
        if (!stream_ || std::fseek(stream_, 0, SEEK_END) != 0) {
            int err = errno;
            if (stream_) std::fclose(stream_);
            stream_ = nullptr;
            throw EFOpenError("Cannot open file \"" + fileName_ + "\". " + ErrnoText(err));
        }
    } else {
        stream_ = platform::OpenFile(fileName_, "w+b");
        if (!stream_)
            throw EFCreateError("Cannot create file \"" + fileName_ + "\". " + ErrnoText(errno));
    }

    Swallow([this] { DeleteOldLogs(); });
}

TFileLog::~TFileLog() {
    if (stream_) std::fclose(stream_);
    stream_ = nullptr;
}

// Clears the logs of the days between 60 and the retention days back, exclusive at both ends:
// with a retention of 7 days, the files aged 8 to 59 days. Older files are never looked for.
void TFileLog::DeleteOldLogs() {
    const std::string folder = platform::TempFolder();
    const TDateTime now = Now();
    const TDateTime t0 = now - kOldestLogDays;
    const TDateTime t1 = now - retentionDays_;
    // Whole days, read to the millisecond so that rounding of the subtraction can't lose one.
    const int n = static_cast<int>(std::floor(t1 - t0 + 0.5 / MSecsPerDay));
    for (int i = 1; i <= n - 1; ++i) {
        const std::string name = FileNameFor(folder, t0 + i);
        if (!FileExists(name)) continue;
        platform::RemoveFile(name);  // a file that won't go is left where it is
    }
}

void TFileLog::LogInfo(std::string_view text) { Entry("INFO: ", text); }
void TFileLog::LogError(std::string_view text) { Entry("ERROR: ", text); }
void TFileLog::LogDebug(std::string_view text) { Entry("DEBUG: ", text); }

void TFileLog::Entry(std::string_view prefix, std::string_view text) {
    if (!enabled_) return;
    if (!stream_) return;
    Swallow([&] {
        const TDateTime now = Now();
        const TFormatSettings& fs = FormatSettings();
        std::string line = FormatDateTime(fs.ShortDateFormat, now, fs);
        line += ' ';
        line += FormatDateTime(fs.LongTimeFormat, now, fs);
        line += " | ";
        line += processId_;
        line += " | ";
        line += prefix;
        line += text;
        line += "\r\n";
        Write(line);
    });
}

void TFileLog::WriteLine(std::string_view text) {
    if (!enabled_) return;
    Swallow([&] {
        std::string line(text);
        line += "\r\n";
        Write(line);
    });
}

void TFileLog::WriteLine() { WriteLine(std::string_view()); }

// The line goes to the file as UTF-16 code units, little-endian, and is flushed at once so that
// a reader of the file sees every entry.
void TFileLog::Write(std::string_view line) {
    if (!stream_) return;
    const std::u16string units = platform::Utf8ToUtf16(line);
    std::string bytes;
    bytes.reserve(units.size() * 2);
    for (char16_t u : units) {
        bytes += static_cast<char>(u & 0xFF);
        bytes += static_cast<char>((u >> 8) & 0xFF);
    }
    const size_t written = std::fwrite(bytes.data(), 1, bytes.size(), stream_);
    const bool flushed = std::fflush(stream_) == 0;
    if (written != bytes.size() || !flushed) {
        std::clearerr(stream_);
        throw EInOutError("Write to \"" + fileName_ + "\" failed");
    }
}

// The order matters: while the logger is off, LogDebug writes nothing, so "Logging: enabled"
// never reaches the file and "Logging: disabled" only does when logging is switched off.
void TFileLog::SetEnabled(bool value) {
    if (!(enabled_ && value)) LogDebug("Logging: disabled");
    if (!enabled_) LogDebug("Logging: enabled");
    enabled_ = value;
}

// A failed write is swallowed inside the entry; a log that can't be opened raises to the caller.
void LogInfo(std::string_view text) { TFileLog::CurrentInstance().LogInfo(text); }
void LogError(std::string_view text) { TFileLog::CurrentInstance().LogError(text); }
void LogDebug(std::string_view text) { TFileLog::CurrentInstance().LogDebug(text); }
