// The scripted host in the process: how a run ends, what `log` shows, when item-added events
// reach the add-in, and the values `get` prints. The commands themselves are covered by the
// scenario scripts (tests/scenarios), which run the built corvelle-sim.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include "base/Clock.h"
#include "common/ScratchFolder.h"
#include "base/DateTime.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "host/Items.h"
#include "platform/Text.h"
#include "sim/ScriptHost.h"
#include "sim/SimItem.h"
#include "support/FileLogger.h"

namespace fs = std::filesystem;

namespace {

class ScriptHostTest : public ::testing::Test {
protected:
    void SetUp() override {
        scratch_ = std::make_unique<ScratchFolder>("corvelle-simhost", "addin", "tmp");
        root_ = scratch_->root;
    }

    void TearDown() override {
        host_.reset();
        scratch_.reset();
    }

    sim::TScriptHost& Host() {
        if (!host_) host_ = std::make_unique<sim::TScriptHost>((root_ / "addin").string(), out_);
        return *host_;
    }

    // Runs the script's lines; gives the exit status and what was printed meanwhile.
    std::pair<int, std::string> Run(const std::string& script) {
        sim::TScriptReader reader("test", std::make_unique<std::istringstream>(script));
        size_t from = out_.str().size();
        int status = Host().Run(reader);
        return {status, out_.str().substr(from)};
    }

    std::unique_ptr<ScratchFolder> scratch_;
    fs::path root_;
    std::ostringstream out_;
    std::unique_ptr<sim::TScriptHost> host_;
};

TEST_F(ScriptHostTest, AnErrorStopsTheRunWithStatusTwo) {
    auto [status, out] = Run("today 2026-03-05\nstart\n\n# skipped\nlaunch rockets\nexplorer\n");
    EXPECT_EQ(status, 2);
    EXPECT_EQ(out,
              "> today 2026-03-05\n> start\n> launch rockets\n"
              "ERROR: line 5: unknown command launch\n");
    // The host stays usable: the add-in started before the error is still there.
    auto [status2, out2] = Run("get fmNewTask\n");
    EXPECT_EQ(status2, 0);
    EXPECT_EQ(out2, "> get fmNewTask\nfmNewTask = \"fmNewTask\"\n");
}

TEST_F(ScriptHostTest, TheLogShowsTheLinesOfThisRunOnly) {
    // A day log written before the run, by another process.
    fs::path day = root_ / "tmp" / "2026-3-5-ol-corvelle.txt";
    std::u16string old = platform::Utf8ToUtf16("3/5/2026 8:00:00 AM | 1 | INFO: before\r\n");
    std::string bytes;
    for (char16_t u : old) bytes += {static_cast<char>(u & 0xFF), static_cast<char>(u >> 8)};
    std::ofstream(day, std::ios::binary) << bytes;

    Host();  // the run starts here
    auto [status, out] = Run(
        "today 2026-03-05 09:00\n"
        "outlook fail ModuleInfo.ModuleFileName\n"
        "start\n"
        "log\n");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(out.find("before"), std::string::npos) << out;
    EXPECT_NE(out.find("> log\n3/5/2026 9:00:00 AM | "), std::string::npos) << out;
    EXPECT_NE(out.find("| ERROR: TAddInModule.GetDllPath: Simulated failure of ModuleInfo.ModuleFileName\n"),
              std::string::npos)
        << out;
}

TEST_F(ScriptHostTest, ItemAddsReachTheWatcherAfterTheCommandAndForItsFolderOnly) {
    ASSERT_EQ(Run("today 2026-03-05\nstart\n").first, 0);
    TModuleGlobals& g = Globals();
    ASSERT_NE(g.MailItems, nullptr);
    std::vector<std::string> got;
    g.MailItems->OnItemAdd = [&](const std::shared_ptr<platform::IDispatch>& item) {
        auto added = sim::TSimItem::From(item);
        ASSERT_TRUE(added);
        // The command that saved the item has ended: its output is there already.
        EXPECT_NE(out_.str().find("ADDED " + added->Id()), std::string::npos);
        got.push_back(added->Id());
    };

    // Not connected: nothing arrives.
    ASSERT_EQ(Run("outlook add Tasks IPM.Task Subject=first\n").first, 0);
    EXPECT_TRUE(got.empty());

    g.MailItems->ConnectTo(Host().Host().Outlook.FindFolder("Tasks")->Items());
    auto [status, out] = Run(
        "outlook add Inbox IPM.Task Subject=elsewhere\n"
        "outlook add Tasks IPM.Task Subject=second\n");
    EXPECT_EQ(status, 0);
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(Host().Host().Outlook.ItemJson(got[0])["Subject"], "second");
}

TEST(ScriptValue, DatesReadAsTheDayAndTheTimeWhenThereIsOne) {
    EXPECT_EQ(sim::ScriptJson(sim::ScriptValue(Variant::FromDate(EncodeDate(2026, 3, 5)))), "\"2026-03-05\"");
    EXPECT_EQ(sim::ScriptJson(sim::ScriptValue(Variant::FromDate(EncodeDate(2026, 3, 5) + EncodeTime(9, 30, 0, 0)))),
              "\"2026-03-05T09:30:00.000\"");
    EXPECT_EQ(sim::ScriptJson(sim::ScriptValue(Variant())), "null");
    EXPECT_EQ(sim::ScriptJson(sim::ScriptValue(Variant(true))), "true");
    EXPECT_EQ(sim::ScriptJson(sim::ScriptValue(Variant(1.5))), "1.5");
    EXPECT_EQ(sim::ScriptJson(sim::ScriptValue(Variant("a \"b\""))), "\"a \\\"b\\\"\"");
}

}  // namespace
