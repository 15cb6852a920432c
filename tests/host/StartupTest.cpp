// Start-up against the simulated mailbox: what it finds and makes, what the module-wide
// variables hold afterwards, and where a failing Outlook call stops it.
#include "HostFixture.h"

#include <array>

#include "host/Items.h"

#include "support/ufmAbout.h"
#include "support/ufmOptions.h"
#include "tasks/ufmAddTask.h"
#include "tasks/ufmNewTask.h"
#include "time/ufmChooseTask.h"
#include "time/ufmTimeMemo.h"
#include "time/ufmTimer.h"

namespace {

std::array<TdxMemData*, 8> Tables(TAddInModule& m) {
    return {&m.MemDataTasks,    &m.MemDataAddTask,  &m.MemDataTime,         &m.MemDataEmails,
            &m.MemDataContacts, &m.MemDataDistLists, &m.MemDataAppointments, &m.MemDataNotes};
}

TEST_F(HostTest, FirstStartMakesTheTwoMailFoldersAndASecondFindsThem) {
    host_->Outlook.SetCurrentUser("Dana Whitlock", "dana@whitlock.example");
    TAddInModule& m = Start();
    const TModuleGlobals& g = Globals();

    auto email = host_->Outlook.FindFolder("CorvelleEmail");
    auto notes = host_->Outlook.FindFolder("CorvelleNotes");
    ASSERT_TRUE(email);
    ASSERT_TRUE(notes);
    EXPECT_EQ(email->ItemType(), outlook::olMailItem);
    EXPECT_EQ(notes->ItemType(), outlook::olMailItem);
    EXPECT_EQ(host_->Outlook.Journal(),
              (std::vector<std::string>{"added folder Mailbox/CorvelleEmail (type 6)",
                                        "added folder Mailbox/CorvelleNotes (type 6)"}));

    // The variables point at the mailbox's folders.
    EXPECT_EQ(g.EmailFolder->EntryID(), email->Id());
    EXPECT_EQ(g.NotesFolder->EntryID(), notes->Id());
    EXPECT_EQ(g.RootFolder->EntryID(), host_->Outlook.Root()->Id());
    EXPECT_EQ(g.InboxFolder->Name(), "Inbox");
    EXPECT_EQ(g.SentFolder->Name(), "Sent Items");
    EXPECT_EQ(g.DeletedFolder->Name(), "Deleted Items");
    EXPECT_EQ(g.TasksFolder->Name(), "Tasks");
    EXPECT_EQ(g.ContactsFolder->Name(), "Contacts");
    EXPECT_EQ(g.CalendarFolder->Name(), "Calendar");
    EXPECT_EQ(g.CurrentUserName, "Dana Whitlock");
    EXPECT_EQ(g.CurrentUserAddress, "dana@whitlock.example");

    // Files and help beside the add-in file; the watcher made but not connected; the trace
    // client asked once.
    std::string dll = dir_.string() + "/";
    EXPECT_EQ(g.TasksPath, dll + "Tasks.bin");
    EXPECT_EQ(g.DistlistsPath, dll + "Distlists.bin");
    EXPECT_EQ(g.AppointmentsPath, dll + "Appointments.bin");
    EXPECT_EQ(m.HelpFile(), dll + "Corvelle.chm");
    ASSERT_NE(g.MailItems, nullptr);
    EXPECT_FALSE(g.MailItems->Connected());
    auto* trace = dynamic_cast<sim::TSimTraceClient*>(host_->Trace.get());
    ASSERT_EQ(trace->Calls().size(), 1u);
    EXPECT_EQ(trace->Calls()[0].host, "127.0.0.1");
    EXPECT_EQ(trace->Calls()[0].port, 3434);

    // The seven forms with their names and captions.
    ASSERT_TRUE(g.fmNewTask && g.fmTimeMemo && g.fmChooseTask && g.fmTimer && g.fmOptions &&
                g.fmAddTask && g.fmAbout);
    EXPECT_EQ(g.fmTimeMemo->Caption(), "Time Memo");
    EXPECT_EQ(g.fmOptions->Caption(), "Completed Tasks");
    EXPECT_EQ(g.fmAddTask->Caption(), "Find a Task");
    EXPECT_EQ(g.fmAbout->Caption(), "About Corvelle");
    EXPECT_EQ(g.fmChooseTask->Name(), "fmChooseTask");
    Stop();

    host_->Outlook.ClearJournal();
    Start();
    EXPECT_TRUE(host_->Outlook.Journal().empty());
    EXPECT_EQ(host_->Outlook.Root()->Subfolders().size(), 8u);
    EXPECT_EQ(Globals().EmailFolder->EntryID(), email->Id());
    EXPECT_EQ(Globals().NotesFolder->EntryID(), notes->Id());
}

TEST_F(HostTest, WithNoFilesAllTablesOpenEmptyAndNothingIsSaid) {
    TAddInModule& m = Start();
    for (TdxMemData* t : Tables(m)) {
        EXPECT_TRUE(t->Active()) << t->Name();
        EXPECT_EQ(t->RecordCount(), 0) << t->Name();
    }
    EXPECT_EQ(Globals().MemDataTasks, &m.MemDataTasks);
    EXPECT_EQ(Globals().MemDataNotes, &m.MemDataNotes);
    EXPECT_TRUE(Shown().empty());
    EXPECT_EQ(Log(), "");
    EXPECT_TRUE(host_->Dialogs->Errors().empty());
}

TEST_F(HostTest, AFolderThatCanBeNeitherFoundNorMadeEndsStartUpSilently) {
    // No CorvelleEmail yet: the lookup fails, and so does the make.
    host_->Failures->FailNext("Folders.Add");
    TAddInModule& m = Start();
    const TModuleGlobals& g = Globals();
    EXPECT_EQ(host_->Failures->Fired(), std::vector<std::string>{"Folders.Add"});
    EXPECT_FALSE(g.EmailFolder);
    EXPECT_TRUE(g.RootFolder);
    EXPECT_FALSE(g.DeletedFolder);  // step 8 never ran
    EXPECT_FALSE(g.fmNewTask);
    EXPECT_FALSE(g.fmChooseTask);
    EXPECT_EQ(g.TasksPath, "");
    EXPECT_FALSE(m.MemDataTasks.Active());
    EXPECT_FALSE(m.MemDataNotes.Active());
    EXPECT_EQ(g.MailItems, nullptr);
    EXPECT_TRUE(Shown().empty());
    EXPECT_EQ(Log(), "");
    EXPECT_FALSE(host_->Outlook.FindFolder("CorvelleEmail"));
}

TEST_F(HostTest, TheNotesFolderFailingEndsStartUpAfterDeletedItems) {
    host_->Outlook.Root()->Folders()->Add("CorvelleEmail", outlook::olFolderInbox);
    host_->Failures->FailNext("Folders.Add");
    TAddInModule& m = Start();
    const TModuleGlobals& g = Globals();
    EXPECT_TRUE(g.EmailFolder);
    EXPECT_TRUE(g.DeletedFolder);
    EXPECT_FALSE(g.NotesFolder);
    EXPECT_FALSE(g.ContactsFolder);
    EXPECT_FALSE(g.fmAbout);
    EXPECT_FALSE(m.MemDataTime.Active());
    EXPECT_TRUE(Shown().empty());
}

TEST_F(HostTest, AnEarlyOutlookFailureLeavesTheLaterVariablesEmpty) {
    host_->Failures->FailNext("Recipient.Address");
    Start();
    const TModuleGlobals& g = Globals();
    EXPECT_EQ(g.CurrentUserName, "Alex Morgan");
    EXPECT_EQ(g.CurrentUserAddress, "");
    EXPECT_FALSE(g.TasksFolder);
    EXPECT_TRUE(host_->Outlook.Journal().empty());
}

TEST_F(HostTest, EachModuleStartsWithItsOwnCleanVariables) {
    Start();
    Globals().CurrentTaskID = 42;
    Globals().TaskOpen = true;
    Globals().ItemType = "MailItem";
    Stop();
    EXPECT_FALSE(HaveGlobals());
    EXPECT_THROW(Globals(), EAccessViolation);

    TAddInModule& m = NewModule();
    EXPECT_EQ(&Globals(), &m.Vars());
    EXPECT_EQ(Globals().AddInModule, &m);
    EXPECT_EQ(Globals().CurrentTaskID, 0);
    EXPECT_FALSE(Globals().TaskOpen);
    EXPECT_EQ(Globals().ItemType, "");
    EXPECT_FALSE(Globals().OutlookApp);  // nothing before start-up
}

TEST_F(HostTest, GetDllPathCutsTheFileNameAtItsLastSeparator) {
    NewModule();
    host_->Module->SetModuleFileName("/srv/office/addins/Corvelle.dll");
    EXPECT_EQ(GetDllPath(), "/srv/office/addins/");
    host_->Module->SetModuleFileName("/Corvelle.dll");
    EXPECT_EQ(GetDllPath(), "/");
    // No separator at all: the name stands whole.
    host_->Module->SetModuleFileName("Corvelle.dll");
    EXPECT_EQ(GetDllPath(), "Corvelle.dll");
    EXPECT_EQ(Log(), "");
}

TEST_F(HostTest, GetDllPathFailingLogsAndTheFilesResolveAgainstTheCurrentFolder) {
    NewModule();
    host_->Failures->FailNext("ModuleInfo.ModuleFileName");
    EXPECT_EQ(GetDllPath(), "");
    EXPECT_NE(Log().find(" | ERROR: TAddInModule.GetDllPath: Simulated failure of ModuleInfo.ModuleFileName\r\n"),
              std::string::npos)
        << Log();

    // At start-up it is asked eight times: once for help, once for each file.
    for (int i = 0; i < 8; ++i) host_->Failures->FailNext("ModuleInfo.ModuleFileName");
    TAddInModule& m = Start();
    EXPECT_EQ(m.HelpFile(), "Corvelle.chm");
    EXPECT_EQ(Globals().TasksPath, "Tasks.bin");
    EXPECT_EQ(Globals().NotesPath, "Notes.bin");
    EXPECT_TRUE(Globals().fmAbout);
}

TEST_F(HostTest, HelpOpensTheHelpFileSetAtStartUp) {
    TAddInModule& m = Start();
    m.HelpContext(10);
    ASSERT_EQ(host_->Help->Calls().size(), 1u);
    EXPECT_EQ(host_->Help->Calls()[0].helpFile, dir_.string() + "/Corvelle.chm");
    EXPECT_EQ(host_->Help->Calls()[0].context, 10);
}

}  // namespace
