#pragma once
// TFileLog: the day log. One text file per calendar day in the user's temporary folder, named
// "<year>-<month>-<day>-ol-corvelle.txt" without leading zeros, written in UTF-16LE without a
// byte-order mark, one entry a line: "<short date> <long time> | <process ID> | <PREFIX>: <text>".
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "base/DateTime.h"

class TFileLog {
public:
    // The one instance, made at the first call. A file that can't be opened raises (EFOpenError
    // or EFCreateError) and no instance is kept, so the next call tries again.
    static TFileLog& CurrentInstance();
    // Frees the instance; a later CurrentInstance makes a new one.
    static void Dispose();

    void LogInfo(std::string_view text);
    void LogError(std::string_view text);
    void LogDebug(std::string_view text);
    void WriteLine(std::string_view text);
    void WriteLine();
    void SetEnabled(bool value);

    bool Enabled() const { return enabled_; }
    const std::string& FileName() const { return fileName_; }
    int RetentionDays() const { return retentionDays_; }

    // The log file's name for a day, in the given temporary folder (with its trailing separator).
    static std::string FileNameFor(const std::string& tempFolder, TDateTime day);

    ~TFileLog();
    TFileLog(const TFileLog&) = delete;
    TFileLog& operator=(const TFileLog&) = delete;

private:
    TFileLog();
    void Entry(std::string_view prefix, std::string_view text);
    void Write(std::string_view line);
    void DeleteOldLogs();

    int retentionDays_ = 7;
    bool enabled_ = true;
    std::string processId_;
    std::string fileName_;
    std::FILE* stream_ = nullptr;

    // The one instance of the process.
    static std::unique_ptr<TFileLog> instance_;
};

// Shorthands for the system's callers: TFileLog::CurrentInstance() and the entry. The log is
// opened at the first entry of the process; when it can't be, the entry raises as
// CurrentInstance does, and a caller in an exception handler gets that exception in place of its
// own. A failed write of an entry never reaches the caller.
void LogInfo(std::string_view text);
void LogError(std::string_view text);
void LogDebug(std::string_view text);
