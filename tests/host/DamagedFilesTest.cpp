// A user's table files under damage and faults: a file that fails to load or loads short is kept
// aside at the save that would replace it; something that is no file in a table's place starts
// with the table's message; a full disk keeps the old files; and a day log that can't be opened
// ends start-up at the step that writes to it.
#include "HostFixture.h"

#include <sys/stat.h>

#include <csignal>

#include "common/ChildProcess.h"
#include "store/Tables.h"

namespace {

class DamagedFilesTest : public HostTest {
protected:
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& e : fs::directory_iterator(dir_)) names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    static void AddEmail(TdxMemData& t, const std::string& subject) {
        t.Append();
        t.FieldByName("Subject").SetAsString(subject);
        t.Post();
    }
};

TEST_F(DamagedFilesTest, AFileThatFailedToLoadIsKeptAsideAtTheSaveThatWouldReplaceIt) {
    const std::string damaged = UnloadableFile("and whatever a tool might still recover");
    std::ofstream(dir_ / "Emails.bin", std::ios::binary) << damaged;
    TAddInModule& m = Start();
    EXPECT_EQ(Shown(), std::vector<std::string>{"Unable to load emails."});
    EXPECT_EQ(Log(), "");  // nothing is logged at start-up

    AddEmail(m.MemDataEmails, "Lease draft");
    m.ClosePane({&m.MemDataEmails}, {&TAddInModule::SaveEmails});
    const fs::path kept = dir_ / "Emails.bin.damaged-2026-03-05";
    EXPECT_EQ(FileBytes(kept), damaged);
    EXPECT_NE(Log().find(" | INFO: TAddInModule.SaveEmails: the damaged file \"" + (dir_ / "Emails.bin").string() +
                         "\" was kept as \"" + kept.string() + "\"\r\n"),
              std::string::npos)
        << Log();
    EXPECT_EQ(Shown().size(), 1u);  // the save says nothing, as always

    // The next save writes over its own file; the next start loads it without a word.
    AddEmail(m.MemDataEmails, "Signed lease");
    m.SaveEmails();
    EXPECT_EQ(Names(), (std::vector<std::string>{"Emails.bin", "Emails.bin.damaged-2026-03-05"}));
    Stop();
    host_->Dialogs->Clear();
    TAddInModule& m2 = Start();
    EXPECT_TRUE(Shown().empty());
    EXPECT_EQ(m2.MemDataEmails.RecordCount(), 2);
}

TEST_F(DamagedFilesTest, AFileCutInARecordIsKeptByteForByteAndStillReadsWhatIsWhole) {
    TAddInModule& m = Start();
    AddTask(m.MemDataTasks, -1, "Acme Ltd");
    AddTask(m.MemDataTasks, 1, "Lease review");
    m.SaveTasks();
    Stop();
    const std::string whole = FileBytes(dir_ / "Tasks.bin");
    const std::string cut = whole.substr(0, whole.size() - 7);
    std::ofstream(dir_ / "Tasks.bin", std::ios::binary | std::ios::trunc) << cut;
    std::ofstream(dir_ / "Tasks.bin.damaged-2026-03-05") << "kept on an earlier day of damage";

    TAddInModule& m2 = Start();
    EXPECT_TRUE(Shown().empty());  // a cut file loads its whole rows without a word
    ASSERT_EQ(m2.MemDataTasks.RecordCount(), 1);
    m2.SaveTasks();
    const fs::path kept = dir_ / "Tasks.bin.damaged-2026-03-05-2";
    EXPECT_EQ(FileBytes(kept), cut);
    EXPECT_EQ(FileBytes(dir_ / "Tasks.bin.damaged-2026-03-05"), "kept on an earlier day of damage");

    // What the tools read from the kept file is its whole row.
    auto tasks = MakeTable("Tasks");
    tasks->LoadFromBinaryFile(kept.string());
    EXPECT_EQ(tasks->RecordCount(), 1);
    EXPECT_FALSE(tasks->LoadedWhole());
}

TEST_F(DamagedFilesTest, AFileKeptAsideWhenTheLogCannotBeOpenedChangesNothingOfTheSave) {
    std::ofstream(dir_ / "Time.bin", std::ios::binary) << UnloadableFile("and whatever a tool might still recover");
    TAddInModule& m = Start();
    setenv("TMPDIR", (logDir_ / "gone").c_str(), 1);
    m.MemDataTime.Append();
    m.MemDataTime.Post();
    m.SaveTime();
    EXPECT_EQ(Shown(), std::vector<std::string>{"Unable to load time."});  // no save message
    EXPECT_TRUE(fs::exists(dir_ / "Time.bin.damaged-2026-03-05"));
    auto time = MakeTable("Time");
    time->LoadFromBinaryFile((dir_ / "Time.bin").string());
    EXPECT_EQ(time->RecordCount(), 1);
}

TEST_F(DamagedFilesTest, AFifoOrAFolderInPlaceOfTasksBinStartsWithTheTasksMessage) {
    ::alarm(60);  // a start-up that waits on the FIFO fails the test instead of hanging it
    for (bool fifo : {true, false}) {
        SCOPED_TRACE(fifo ? "FIFO" : "folder");
        const fs::path tasks = dir_ / "Tasks.bin";
        fs::remove_all(tasks);
        if (fifo) ::mkfifo(tasks.c_str(), 0600);
        else fs::create_directory(tasks);
        host_->Dialogs->Clear();

        TAddInModule& m = Start();
        EXPECT_EQ(Shown(), std::vector<std::string>{"Unable to load tasks."});
        EXPECT_TRUE(m.MemDataTime.Active());  // start-up went on
        AddTask(m.MemDataTasks, -1, "Acme Ltd");
        m.SaveTasks();
        EXPECT_EQ(Shown(), (std::vector<std::string>{"Unable to load tasks.", kTasksText}));
        EXPECT_EQ(fifo ? fs::is_fifo(tasks) : fs::is_directory(tasks), true);
        EXPECT_EQ(Names().size(), 1u);  // nothing was moved aside
        Stop();
    }
    ::alarm(0);
}

TEST_F(DamagedFilesTest, AFullDiskKeepsTheOldFilesAndShowsOnlyTheTasksAndTimeTexts) {
    TAddInModule& m = Start();
    AddTask(m.MemDataTasks, -1, "Acme Ltd");
    m.MemDataTime.Append();
    m.MemDataTime.Post();
    m.MemDataEmails.Append();
    m.MemDataEmails.Post();
    m.SaveTasks();
    m.SaveTime();
    m.SaveEmails();
    const std::string tasks = FileBytes(dir_ / "Tasks.bin"), time = FileBytes(dir_ / "Time.bin"),
                      emails = FileBytes(dir_ / "Emails.bin");
    for (int i = 0; i < 100; ++i) {
        AddTask(m.MemDataTasks, 1, std::string(150, 't'));
        m.MemDataTime.Append();
        m.MemDataTime.FieldByName("Note").SetAsString(std::string(400, 'n'));
        m.MemDataTime.Post();
        m.MemDataEmails.Append();
        m.MemDataEmails.FieldByName("Text").SetAsString(std::string(400, 'e'));
        m.MemDataEmails.Post();
    }

    const std::string shown = InChild([&] {
        LimitFileSize(8 * 1024);
        m.SaveTasks();
        m.SaveTime();
        m.SaveEmails();
        std::string texts;
        for (const std::string& t : Shown()) texts += t + "\n";
        return texts;
    });
    EXPECT_EQ(shown, std::string(kTasksText) + "\n" + kTimeText + "\n");
    EXPECT_EQ(FileBytes(dir_ / "Tasks.bin"), tasks);
    EXPECT_EQ(FileBytes(dir_ / "Time.bin"), time);
    EXPECT_EQ(FileBytes(dir_ / "Emails.bin"), emails);
    EXPECT_EQ(Names(), (std::vector<std::string>{"Emails.bin", "Tasks.bin", "Time.bin"}));
}

TEST_F(DamagedFilesTest, ADayLogThatCannotBeOpenedEndsStartUpAtTheStepThatWritesToIt) {
    setenv("TMPDIR", (logDir_ / "gone").c_str(), 1);

    // The distribution lists' load logs what escapes it: here the message box fails.
    fs::create_directory(dir_ / "Distlists.bin");
    host_->Failures->FailNext("Dialogs.ShowMessage");
    TAddInModule& m = Start();
    EXPECT_TRUE(m.MemDataContacts.Active());
    EXPECT_FALSE(m.MemDataAppointments.Active());  // the steps after it never ran
    EXPECT_FALSE(m.MemDataNotes.Active());
    EXPECT_EQ(Globals().MailItems, nullptr);
    Stop();

    // A failing GetDllPath logs at the help step, before the folders are taken.
    fs::remove(dir_ / "Distlists.bin");
    host_->Failures->FailNext("ModuleInfo.ModuleFileName");
    TAddInModule& m2 = Start();
    EXPECT_EQ(m2.HelpFile(), "");
    EXPECT_EQ(Globals().TasksFolder, nullptr);
    EXPECT_FALSE(m2.MemDataTasks.Active());

    // Where nothing is logged, start-up never opens the log.
    Stop();
    TAddInModule& m3 = Start();
    EXPECT_TRUE(m3.MemDataNotes.Active());
    EXPECT_NE(Globals().MailItems, nullptr);
}

}  // namespace
