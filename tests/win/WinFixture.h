#pragma once
// What the Windows tests share: COM for the test's thread, Windows paths of the machine's files
// as Wine sees them, a scratch key of the registry, and a Windows host of the scripts in a fresh
// add-in folder, which makes Corvelle.dll (registered by the test run) through COM.
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <memory>
#include <sstream>
#include <string>

#include "sim/ScriptLexer.h"
#include "win/com/ComSupport.h"
#include "win/winhost/WinScriptHost.h"

namespace wintest {

// The Windows path of a file of this machine ("/work/x" is "Z:\work\x" under Wine).
inline std::string WindowsPath(const std::string& unixPath) {
    std::string p = unixPath;
    for (char& c : p)
        if (c == '/') c = '\\';
    return p.rfind("\\", 0) == 0 ? "Z:" + p : p;
}

// The tests' own registry key under the current user, removed before and after.
inline const wchar_t* kScratchKey = L"Software\\CorvelleTests";
inline void ClearScratchKey() { RegDeleteTreeW(HKEY_CURRENT_USER, kScratchKey); }

class ComTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))); }
    void TearDown() override { CoUninitialize(); }
};

// A run of the Windows host in a fresh folder with the shipped files.
class WinHostTest : public ComTest {
protected:
    void SetUp() override {
        ComTest::SetUp();
        namespace fs = std::filesystem;
        wchar_t temp[MAX_PATH + 1];
        GetTempPathW(MAX_PATH + 1, temp);
        dir_ = fs::path(temp) / ("corvelle-wintest-" + std::to_string(GetCurrentProcessId()) + "-" +
                                 std::to_string(++serial_));
        fs::remove_all(dir_);
        fs::create_directories(dir_);
        fs::copy(fs::u8path(WindowsPath(CORVELLE_RESOURCES)), dir_);
        host_ = std::make_unique<win::TWinScriptHost>(dir_.string(), out_);
    }
    void TearDown() override {
        if (host_) host_->Unload();
        host_.reset();
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
        ComTest::TearDown();
    }

    // Runs script lines; the exit status of the run.
    int Run(const std::string& script) {
        sim::TScriptReader reader("test", std::make_unique<std::istringstream>(script));
        return host_->Run(reader);
    }
    // What was printed since the last call.
    std::string Output() {
        std::string s = out_.str();
        out_.str("");
        return s;
    }

    std::filesystem::path dir_;
    std::ostringstream out_;
    std::unique_ptr<win::TWinScriptHost> host_;
    static inline int serial_ = 0;
};

}  // namespace wintest
