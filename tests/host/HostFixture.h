#pragma once
// A simulated machine in a fresh folder, with the add-in file in it and the day log in a
// temporary folder of its own; modules are started against it as Outlook would start them.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "base/Clock.h"
#include "common/ScratchFolder.h"
#include "base/DateTime.h"
#include "host/AddinModule.h"
#include "platform/Text.h"
#include "sim/SimServices.h"
#include "support/FileLogger.h"

namespace fs = std::filesystem;

// The messages of a save that the folder refuses.
constexpr const char* kTasksText =
    "Corvelle does not have permission to save your tasks to the directory in which you installed "
    "it. Please read the installation instructions";
constexpr const char* kTimeText =
    "Corvelle does not have permission to save your time to the directory in which you installed "
    "it. Please read the  setup instructions";

// A table file that fails to load: its one field name claims more than 255 bytes. `tail` stands
// for whatever else the damaged file still holds.
inline std::string UnloadableFile(const std::string& tail = "") {
    std::string b = "Ver";
    const double version = 1.91;
    b.append(reinterpret_cast<const char*>(&version), 8);
    const int32_t count = 1, size = 4;
    const int16_t code = 3, nameLength = 300;
    b.append(reinterpret_cast<const char*>(&count), 4);
    b.append(reinterpret_cast<const char*>(&size), 4);
    b.append(reinterpret_cast<const char*>(&code), 2);
    b.append(reinterpret_cast<const char*>(&nameLength), 2);
    return b + std::string(300, 'x') + tail;
}

class HostTest : public ::testing::Test {
protected:
    void SetUp() override {
        scratch_ = std::make_unique<ScratchFolder>("corvelle-host", "addin", "log");
        root_ = scratch_->root;
        dir_ = scratch_->addin;
        logDir_ = scratch_->tmp;
        SetClock(EncodeDate(2026, 3, 5) + EncodeTime(9, 30, 0, 0));
        host_ = std::make_unique<sim::TSimHost>((dir_ / "Corvelle.dll").string());
    }

    void TearDown() override {
        module_.reset();
        host_.reset();
        scratch_.reset();
    }

    // A new module, as Outlook makes it at a start, replacing the one before.
    TAddInModule& NewModule(int majorVersion = 16, bool allUsers = false) {
        module_.reset();
        module_ = std::make_unique<TAddInModule>(host_->HostInfo(majorVersion, allUsers));
        return *module_;
    }

    // A new module through its two start-up calls.
    TAddInModule& Start(int majorVersion = 16, bool allUsers = false) {
        TAddInModule& m = NewModule(majorVersion, allUsers);
        m.OnConnection();
        m.OnStartupComplete();
        return m;
    }

    void Stop() {
        module_->OnBeginShutdown();
        module_->OnDisconnection();
        module_.reset();
    }

    std::vector<std::string> Shown() const { return host_->Dialogs->Texts(); }

    // The day log as program text; empty when nothing was logged.
    std::string Log() const {
        fs::path p = TFileLog::FileNameFor(logDir_.string() + "/", Date());
        std::ifstream in(p, std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), {});
        std::u16string units;
        for (size_t i = 0; i + 1 < bytes.size(); i += 2)
            units.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                                  static_cast<unsigned char>(bytes[i + 1]) << 8));
        return platform::Utf16ToUtf8(units);
    }

    static void AddTask(TdxMemData& t, int parentId, const std::string& description) {
        t.Append();
        t.FieldByName("Parent_ID").SetAsInteger(parentId);
        t.FieldByName("Description").SetAsString(description);
        t.FieldByName("Date_Complete").SetAsDateTime(NoCompletionDate());
        t.FieldByName("Complete").SetAsBoolean(false);
        t.Post();
    }

    static std::string FileBytes(const fs::path& p) {
        std::ifstream in(p, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), {});
    }

    std::unique_ptr<ScratchFolder> scratch_;
    fs::path root_, dir_, logDir_;
    std::unique_ptr<sim::TSimHost> host_;
    std::unique_ptr<TAddInModule> module_;
};
