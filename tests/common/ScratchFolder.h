#pragma once
// A fresh folder for one test, with the add-in's folder and a temporary folder of its own that
// TMPDIR points at (so the day log goes there). The day log is closed, the clock reset, TMPDIR
// restored and the folder removed when it goes.
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

#include "base/Clock.h"
#include "support/FileLogger.h"

class ScratchFolder {
public:
    ScratchFolder(const std::string& prefix, const std::string& addinName, const std::string& tmpName) {
        TFileLog::Dispose();
        if (const char* old = std::getenv("TMPDIR")) oldTmp_ = old;
        std::string pattern = (std::filesystem::temp_directory_path() / (prefix + "-XXXXXX")).string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
        root = pattern;
        addin = root / addinName;
        tmp = root / tmpName;
        std::filesystem::create_directories(addin);
        std::filesystem::create_directories(tmp);
        setenv("TMPDIR", tmp.string().c_str(), 1);
    }
    ~ScratchFolder() {
        TFileLog::Dispose();
        ResetClock();
        if (oldTmp_) setenv("TMPDIR", oldTmp_->c_str(), 1);
        else unsetenv("TMPDIR");
        std::error_code ec;
        std::filesystem::remove_all(root, ec);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::filesystem::path root, addin, tmp;

private:
    std::optional<std::string> oldTmp_;
};
