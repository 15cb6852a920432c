// Loading the tables at start-up and saving them at a pane's close: the messages, the silent
// paths, the log line, and which tables are written.
#include "HostFixture.h"

#include <algorithm>

namespace {

TEST_F(HostTest, SavedTablesComeBackAtTheNextStart) {
    TAddInModule& m = Start();
    AddTask(m.MemDataTasks, -1, "Acme Ltd");
    AddTask(m.MemDataTasks, 1, "Lease review");
    m.MemDataTime.Append();
    m.MemDataTime.FieldByName("Task_ID").SetAsInteger(2);
    m.MemDataTime.FieldByName("Note").SetAsString("Read the draft");
    m.MemDataTime.Post();
    m.SaveTasks();
    m.SaveTime();
    m.SaveEmails();  // empty: not written
    EXPECT_TRUE(fs::exists(dir_ / "Tasks.bin"));
    EXPECT_TRUE(fs::exists(dir_ / "Time.bin"));
    EXPECT_FALSE(fs::exists(dir_ / "Emails.bin"));
    Stop();

    TAddInModule& m2 = Start();
    EXPECT_EQ(m2.MemDataTasks.RecordCount(), 2);
    EXPECT_EQ(m2.MemDataTime.RecordCount(), 1);
    EXPECT_EQ(m2.MemDataEmails.RecordCount(), 0);
    EXPECT_TRUE(m2.MemDataEmails.Active());
    // The working copy holds every task, and the copy walked the tasks to their end.
    EXPECT_EQ(m2.MemDataAddTask.RecordCount(), 2);
    EXPECT_TRUE(m2.MemDataTasks.Eof());
    EXPECT_TRUE(m2.MemDataTime.Locate("Note", Variant("Read the draft")));
    EXPECT_TRUE(Shown().empty());
}

TEST_F(HostTest, AFileThatCannotBeReadIsReportedAndStartUpGoesOn) {
    fs::create_directory(dir_ / "Tasks.bin");
    fs::create_directory(dir_ / "Notes.bin");
    TAddInModule& m = Start();
    EXPECT_EQ(Shown(), (std::vector<std::string>{"Unable to load tasks.", "Unable to load notes."}));
    EXPECT_TRUE(m.MemDataTasks.Active());
    EXPECT_EQ(m.MemDataTasks.RecordCount(), 0);
    EXPECT_TRUE(m.MemDataTime.Active());
    EXPECT_TRUE(m.MemDataNotes.Active());
    EXPECT_NE(Globals().MailItems, nullptr);
    EXPECT_EQ(Log(), "");
}

TEST_F(HostTest, ATruncatedFileLoadsItsWholeRowsWithoutAWord) {
    TAddInModule& m = Start();
    AddTask(m.MemDataTasks, -1, "First");
    AddTask(m.MemDataTasks, -1, "Second");
    m.SaveTasks();
    Stop();
    std::string bytes = FileBytes(dir_ / "Tasks.bin");
    std::ofstream(dir_ / "Tasks.bin", std::ios::binary | std::ios::trunc) << bytes.substr(0, bytes.size() - 10);

    TAddInModule& m2 = Start();
    EXPECT_EQ(m2.MemDataTasks.RecordCount(), 1);
    EXPECT_TRUE(Shown().empty());
}

TEST_F(HostTest, OnlyTheDistributionListLoadLogsWhatEscapesIt) {
    // The message box itself fails: the tasks load stays silent, the lists load logs.
    fs::create_directory(dir_ / "Tasks.bin");
    fs::create_directory(dir_ / "Distlists.bin");
    host_->Failures->FailNext("Dialogs.ShowMessage");
    host_->Failures->FailNext("Dialogs.ShowMessage");
    TAddInModule& m = Start();
    std::string log = Log();
    EXPECT_EQ(log.find("LoadTasks"), std::string::npos);
    EXPECT_NE(log.find(" | ERROR: TAddInModule.LoadDistLists: Simulated failure of Dialogs.ShowMessage\r\n"),
              std::string::npos)
        << log;
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);
    // The load after it still runs.
    EXPECT_TRUE(m.MemDataAppointments.Active());
}

TEST_F(HostTest, AFolderThatCannotBeWrittenGivesTheTasksAndTimeTextsOnly) {
    host_->Module->SetModuleFileName((dir_ / "gone" / "Corvelle.dll").string());
    TAddInModule& m = Start();
    AddTask(m.MemDataTasks, -1, "Acme Ltd");
    m.MemDataTime.Append();
    m.MemDataTime.Post();
    m.MemDataEmails.Append();
    m.MemDataEmails.Post();

    m.SaveEmails();
    EXPECT_TRUE(Shown().empty());
    m.SaveTasks();
    EXPECT_EQ(Shown(), std::vector<std::string>{kTasksText});
    m.SaveTime();
    EXPECT_EQ(Shown(), (std::vector<std::string>{kTasksText, kTimeText}));
    // The table in memory is untouched.
    EXPECT_EQ(m.MemDataTasks.RecordCount(), 1);
}

TEST_F(HostTest, ATableThatShowsNoRowIsNotWritten) {
    TAddInModule& m = Start();
    AddTask(m.MemDataTasks, -1, "Kept");
    m.SaveTasks();
    std::string before = FileBytes(dir_ / "Tasks.bin");

    // A programmed filter that lets nothing through.
    AddTask(m.MemDataTasks, -1, "Never written");
    m.MemDataTasks.SetProgrammedFilter(false);
    m.MemDataTasks.SetFiltered(false);
    m.MemDataTasks.SetProgrammedFilter(true);
    m.MemDataTasks.SetFiltered(true);
    ASSERT_EQ(m.MemDataTasks.RecordCount(), 0);
    m.SaveTasks();
    EXPECT_EQ(FileBytes(dir_ / "Tasks.bin"), before);

    // The pane's close adds a blank row under that filter, unseen, and still writes nothing.
    m.ClosePane({&m.MemDataTasks}, {&TAddInModule::SaveTasks});
    EXPECT_EQ(m.MemDataTasks.RowCount(), 3);
    EXPECT_EQ(FileBytes(dir_ / "Tasks.bin"), before);
    EXPECT_TRUE(Shown().empty());
}

TEST_F(HostTest, ClosingAPaneOverAnEmptyTableWritesABlankRow) {
    TAddInModule& m = Start();
    m.ClosePane({&m.MemDataContacts, &m.MemDataDistLists},
                {&TAddInModule::SaveContacts, &TAddInModule::SaveDistLists});
    ASSERT_TRUE(fs::exists(dir_ / "Contacts.bin"));
    ASSERT_TRUE(fs::exists(dir_ / "Distlists.bin"));
    Stop();

    TAddInModule& m2 = Start();
    ASSERT_EQ(m2.MemDataContacts.RecordCount(), 1);
    m2.MemDataContacts.First();
    EXPECT_EQ(m2.MemDataContacts.FieldByName("ID").AsInteger(), 1);
    EXPECT_TRUE(m2.MemDataContacts.FieldByName("TaskID").IsNull());
    EXPECT_TRUE(m2.MemDataContacts.FieldByName("Name").IsNull());
    EXPECT_EQ(m2.MemDataDistLists.RecordCount(), 1);
}

TEST_F(HostTest, ClosingAPaneFlushesARowLeftInEdit) {
    TAddInModule& m = Start();
    AddTask(m.MemDataTasks, -1, "Draft");
    m.MemDataTasks.Edit();
    m.MemDataTasks.FieldByName("Description").SetAsString("Final");
    m.ClosePane({&m.MemDataTasks}, {&TAddInModule::SaveTasks});
    Stop();

    TAddInModule& m2 = Start();
    ASSERT_EQ(m2.MemDataTasks.RecordCount(), 1);
    m2.MemDataTasks.First();
    EXPECT_EQ(m2.MemDataTasks.FieldByName("Description").AsString(), "Final");
}

}  // namespace
