// Closing the explorer when nothing changed since the tables were loaded or saved: the files
// already hold the rows and stay as they are; a changed table, a file replaced behind the
// add-in, and a save that would fail are still written, with the message a failure has.
#include <sys/stat.h>

#include <map>

#include "HostFixture.h"
#include "common/ChildProcess.h"
#include "store/Tables.h"

namespace {

// Which file a path names now, and when it was last written: a file replaced has another inode.
struct Seen {
    ino_t inode = 0;
    int64_t written = 0;
    bool operator==(const Seen&) const = default;
};

Seen SeenOf(const fs::path& p) {
    struct stat st {};
    ::stat(p.c_str(), &st);
    return {st.st_ino, static_cast<int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
}

class UnchangedSaveTest : public HostTest {
protected:
    // A first run that files a little everywhere, under the first task, and writes every file.
    void FirstRun() {
        TAddInModule& m = Start();
        AddTask(m.MemDataTasks, -1, "Acme Ltd");
        AddTask(m.MemDataTasks, 1, "Lease review");
        m.MemDataTime.Append();
        m.MemDataTime.FieldByName("Task_ID").SetAsInteger(1);
        m.MemDataTime.Post();
        for (TdxMemData* t : {&m.MemDataEmails, &m.MemDataContacts, &m.MemDataDistLists,
                              &m.MemDataAppointments, &m.MemDataNotes}) {
            t->Append();
            t->FieldByName("TaskID").SetAsInteger(1);
            t->Post();
        }
        for (auto save : {&TAddInModule::SaveTasks, &TAddInModule::SaveTime, &TAddInModule::SaveEmails,
                          &TAddInModule::SaveContacts, &TAddInModule::SaveDistLists,
                          &TAddInModule::SaveAppointments, &TAddInModule::SaveNotes})
            (m.*save)();
        Stop();
    }

    std::map<std::string, Seen> Files() const {
        std::map<std::string, Seen> seen;
        for (const char* name : {"Tasks.bin", "Time.bin", "Emails.bin", "Contacts.bin", "Distlists.bin",
                                 "Appointments.bin", "Notes.bin"})
            seen[name] = SeenOf(dir_ / name);
        return seen;
    }
};

TEST_F(UnchangedSaveTest, ClosingTheExplorerWithNothingChangedLeavesEveryFileAsItWas) {
    FirstRun();
    const auto before = Files();
    TAddInModule& m = Start();
    m.adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail);
    // The panes show the first task's rows, so that each close would write its table.
    ASSERT_EQ(m.MemDataEmails.RecordCount(), 1);
    m.adxOlFormsManager1.ExplorerClosed();
    EXPECT_EQ(Files(), before);

    // One task renamed: the tasks file alone is written, and holds the change at the next start.
    m.adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail);
    ASSERT_TRUE(m.MemDataTasks.Locate("Description", Variant("Lease review")));
    m.MemDataTasks.Edit();
    m.MemDataTasks.FieldByName("Description").SetAsString("Lease renewal");
    m.MemDataTasks.Post();
    m.adxOlFormsManager1.ExplorerClosed();
    auto after = Files();
    EXPECT_NE(after["Tasks.bin"], before.at("Tasks.bin"));
    after.erase("Tasks.bin");
    auto others = before;
    others.erase("Tasks.bin");
    EXPECT_EQ(after, others);
    Stop();
    TAddInModule& m2 = Start();
    EXPECT_TRUE(m2.MemDataTasks.Locate("Description", Variant("Lease renewal")));
    EXPECT_TRUE(Shown().empty());
}

TEST_F(UnchangedSaveTest, AFileReplacedBehindTheAddInIsWrittenAtTheClose) {
    FirstRun();
    TAddInModule& m = Start();
    // Another program puts an older tasks file in place while Outlook runs.
    std::string ours;
    m.MemDataTasks.SaveToStream(ours);
    auto older = MakeTable("Tasks");
    older->Open();
    AddTask(*older, -1, "Someone else's task");
    older->SaveToBinaryFile((dir_ / "Tasks.bin").string());

    m.SaveTasks();
    EXPECT_EQ(FileBytes(dir_ / "Tasks.bin"), ours);
    EXPECT_TRUE(Shown().empty());
}

TEST_F(UnchangedSaveTest, ASaveThatWouldFailIsTriedAndShowsItsMessageWithNothingChanged) {
    FirstRun();
    const std::string tasks = FileBytes(dir_ / "Tasks.bin");
    TAddInModule& m = Start();

    // No file may be as large as the tasks file: the write is tried, fails, and says so.
    std::string shown = InChild([&] {
        LimitFileSize(tasks.size() - 1);
        m.SaveTasks();
        m.SaveEmails();  // silent, as it always is
        std::string texts;
        for (const std::string& t : Shown()) texts += t + "\n";
        return texts;
    });
    EXPECT_EQ(shown, std::string(kTasksText) + "\n");

    // A file that may not be written, in a folder that takes no new file.
    fs::permissions(root_, fs::perms::all);
    ::chmod((dir_ / "Tasks.bin").c_str(), 0444);
    ::chmod(dir_.c_str(), 0555);
    shown = InChild([&] {
        if (!WithoutPrivileges()) return std::string("no user to run as");
        std::string texts;
        m.SaveTasks();
        for (const std::string& t : Shown()) texts += t + "\n";
        return texts;
    });
    ::chmod(dir_.c_str(), 0755);
    EXPECT_EQ(shown, std::string(kTasksText) + "\n");
    EXPECT_EQ(FileBytes(dir_ / "Tasks.bin"), tasks);
}

}  // namespace
