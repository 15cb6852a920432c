// Shutdown: what goes and what stays, Outlook's fast shutdown as the quit handler detects it,
// and a shutdown that comes twice.
#include "HostFixture.h"

#include "host/Items.h"
#include "time/ufmChooseTask.h"

namespace {

using platform::RegistryRoot;

constexpr const char* kOwnKey = "\\Software\\Microsoft\\Office\\Outlook\\AddIns\\Corvelle.Corvelle";

std::string ShutdownKey(int major) {
    return "Software\\Microsoft\\Office\\" + std::to_string(major) + ".0\\Outlook\\Options\\Shutdown";
}

TEST_F(HostTest, ShutdownReleasesOutlookAndFreesAllFormsButTheChooser) {
    TAddInModule& m = Start();
    TModuleGlobals& g = Globals();
    TItems* watcher = g.MailItems;
    watcher->ConnectTo(host_->Outlook.DefaultFolder(outlook::olFolderSentMail)->Items());
    g.TaskItem = platform::QueryInterface<outlook::_TaskItem>(
        host_->Outlook.DefaultFolder(outlook::olFolderTasks)->Items()->Add("IPM.Task"));
    g.TaskOpen = true;

    m.OnBeginShutdown();
    EXPECT_FALSE(g.NameSpace || g.CurrentUser || g.TasksFolder || g.InboxFolder || g.RootFolder ||
                 g.EmailFolder || g.SentFolder || g.DeletedFolder || g.NotesFolder ||
                 g.ContactsFolder || g.CalendarFolder);
    EXPECT_FALSE(g.fmNewTask || g.fmTimeMemo || g.fmTimer || g.fmOptions || g.fmAddTask || g.fmAbout);
    ASSERT_TRUE(g.fmChooseTask);
    EXPECT_EQ(g.fmChooseTask->Name(), "fmChooseTask");
    EXPECT_EQ(g.MailItems, nullptr);
    EXPECT_FALSE(watcher->Connected());
    EXPECT_FALSE(g.TaskItem);
    // Only what the shutdown names is touched; the tables stay open.
    EXPECT_TRUE(m.MemDataTasks.Active());

    // A second shutdown, as the host may send after the quit handler's: nothing more happens.
    m.OnBeginShutdown();
    m.OnDisconnection();
    EXPECT_TRUE(g.fmChooseTask);
    EXPECT_TRUE(Shown().empty());
}

struct FastShutdownCase {
    const char* name;
    int major;
    bool allUsers;
    std::vector<std::tuple<RegistryRoot, std::string, std::string, uint32_t>> values;
    bool expected;
};

TEST_F(HostTest, FastShutdownFollowsTheVersionAndTheRegistry) {
    const std::vector<FastShutdownCase> cases = {
        {"Outlook 2007", 12, false, {}, false},
        {"Outlook 2007 with the shutdown value", 12, false,
         {{RegistryRoot::CurrentUser, ShutdownKey(12), "AddinFastShutdownBehavior", 0}}, false},
        {"Outlook 2010", 14, false, {}, true},
        {"Outlook 2016", 16, false, {}, true},
        {"fast shutdown turned off", 16, false,
         {{RegistryRoot::CurrentUser, ShutdownKey(16), "AddinFastShutdownBehavior", 1}}, false},
        {"value other than 1", 16, false,
         {{RegistryRoot::CurrentUser, ShutdownKey(16), "AddinFastShutdownBehavior", 2}}, true},
        {"turned off for another version", 16, false,
         {{RegistryRoot::CurrentUser, ShutdownKey(14), "AddinFastShutdownBehavior", 1}}, true},
        {"turned off under the machine only", 16, false,
         {{RegistryRoot::LocalMachine, ShutdownKey(16), "AddinFastShutdownBehavior", 1}}, true},
        {"notification asked, per user", 16, false,
         {{RegistryRoot::CurrentUser, kOwnKey, "RequireShutdownNotification", 1}}, false},
        {"notification asked under the machine, per-user registration", 16, false,
         {{RegistryRoot::LocalMachine, kOwnKey, "RequireShutdownNotification", 1}}, true},
        {"notification asked, all users", 14, true,
         {{RegistryRoot::LocalMachine, kOwnKey, "RequireShutdownNotification", 1}}, false},
        {"notification asked under the user, all-users registration", 16, true,
         {{RegistryRoot::CurrentUser, kOwnKey, "RequireShutdownNotification", 1}}, true},
        {"notification value 0", 16, true,
         {{RegistryRoot::LocalMachine, kOwnKey, "RequireShutdownNotification", 0}}, true},
    };
    for (const auto& c : cases) {
        host_->Registry->Clear();
        for (const auto& [root, key, value, data] : c.values) host_->Registry->SetDword(root, key, value, data);
        TAddInModule& m = NewModule(c.major, c.allUsers);
        EXPECT_EQ(m.IsFastShutdown(), c.expected) << c.name;
    }
}

TEST_F(HostTest, FastShutdownNeedsOutlookAndItsApplication) {
    THostInfo info = host_->HostInfo(16);
    info.HostType = TadxHostApp::ohaExcel;
    EXPECT_FALSE(TAddInModule(info).IsFastShutdown());
    info = host_->HostInfo(16);
    info.Application.reset();
    EXPECT_FALSE(TAddInModule(info).IsFastShutdown());
}

TEST_F(HostTest, AQuitUnderFastShutdownRunsBothShutdownCallsAndSavesNothing) {
    TAddInModule& m = Start(16);
    AddTask(m.MemDataTasks, -1, "Unsaved");
    m.adxOutlookAppEvents1.DoQuit();
    const TModuleGlobals& g = Globals();
    EXPECT_EQ(g.MailItems, nullptr);
    EXPECT_FALSE(g.InboxFolder);
    EXPECT_FALSE(g.fmTimer);
    EXPECT_TRUE(g.fmChooseTask);
    EXPECT_TRUE(fs::is_empty(dir_));
    EXPECT_TRUE(Shown().empty());

    // The host's own calls may still come.
    m.OnBeginShutdown();
    m.OnDisconnection();
    EXPECT_TRUE(g.fmChooseTask);
    EXPECT_TRUE(Shown().empty());
}

TEST_F(HostTest, AQuitWithoutFastShutdownLeavesTheShutdownToTheHost) {
    host_->Registry->SetDword(RegistryRoot::CurrentUser, ShutdownKey(16), "AddinFastShutdownBehavior", 1);
    TAddInModule& m = Start(16);
    m.adxOutlookAppEvents1.DoQuit();
    EXPECT_NE(Globals().MailItems, nullptr);
    EXPECT_TRUE(Globals().fmTimer);

    TAddInModule& m12 = Start(12);
    m12.adxOutlookAppEvents1.DoQuit();
    EXPECT_TRUE(Globals().InboxFolder);
}

TEST_F(HostTest, AnErrorOutOfTheQuitHandlerReachesTheModulesErrorBox) {
    TAddInModule& m = Start(16);
    host_->Failures->FailNext("Registry.ReadDword");
    m.adxOutlookAppEvents1.DoQuit();
    EXPECT_EQ(Shown(), std::vector<std::string>{
                           "Exception error raised by AddinModule with message: Simulated failure of "
                           "Registry.ReadDword"});
    EXPECT_TRUE(Globals().fmTimer);
}

TEST_F(HostTest, TheErrorBoxNamesTheClassAndTheFormsManagerStaysSilent) {
    TAddInModule& m = NewModule();
    bool handled = false;
    m.adxCOMAddInModuleError({"EOleException", "The operation failed."}, handled);
    EXPECT_TRUE(handled);
    EXPECT_EQ(Shown(), std::vector<std::string>{
                           "EOleException error raised by AddinModule with message: The operation failed."});

    m.adxOlFormsManager1.RaiseError(std::make_exception_ptr(EOleException("pane failed")));
    EXPECT_EQ(Shown().size(), 1u);
}

}  // namespace
