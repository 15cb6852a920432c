// Start-up with the item tables' files parsed on a second thread: the user finds the same tables
// as when every table loads its file at its turn, the same messages in the same order, damaged
// files kept aside as before, and a file replaced while start-up runs is loaded as it is then.
#include <functional>

#include "HostFixture.h"
#include "store/MemDataPrefetch.h"

namespace {

constexpr const char* kFiles[] = {"Tasks.bin",     "Time.bin",         "Emails.bin", "Contacts.bin",
                                  "Distlists.bin", "Appointments.bin", "Notes.bin"};

// What the test does when a table takes its parse, before the file is compared.
std::function<void(const std::string&)> onTake;
void TakeHook(const std::string& path) {
    if (onTake) onTake(path);
}

class PrefetchTest : public HostTest {
protected:
    void TearDown() override {
        SetTablePrefetchHook(nullptr);
        onTake = nullptr;
        HostTest::TearDown();
    }

    TAddInModule& StartWith(bool prefetch) {
        TAddInModule& m = NewModule();
        m.PrefetchTables = prefetch;
        m.OnConnection();
        m.OnStartupComplete();
        return m;
    }

    // A first run that fills every table, with the highest email deleted before the save (its
    // ID is given again after a load), and writes every file.
    void FirstRun() {
        TAddInModule& m = Start();
        AddTask(m.MemDataTasks, -1, "Acme Ltd");
        AddTask(m.MemDataTasks, 1, "Lease review");
        AddTask(m.MemDataTasks, -1, "Brook & Sons");
        for (int i = 0; i < 3; ++i) {
            m.MemDataTime.Append();
            m.MemDataTime.FieldByName("Task_ID").SetAsInteger(1 + i % 2);
            m.MemDataTime.FieldByName("Note").SetAsString("Call " + std::to_string(i));
            m.MemDataTime.Post();
        }
        for (TdxMemData* t : {&m.MemDataEmails, &m.MemDataContacts, &m.MemDataDistLists,
                              &m.MemDataAppointments, &m.MemDataNotes})
            for (int i = 0; i < 4; ++i) {
                t->Append();
                t->FieldByName("TaskID").SetAsInteger(3 - i % 3);
                t->Post();
            }
        m.MemDataEmails.Last();
        m.MemDataEmails.Delete();
        for (auto save : {&TAddInModule::SaveTasks, &TAddInModule::SaveTime, &TAddInModule::SaveEmails,
                          &TAddInModule::SaveContacts, &TAddInModule::SaveDistLists,
                          &TAddInModule::SaveAppointments, &TAddInModule::SaveNotes})
            (m.*save)();
        Stop();
    }

    // What a user and the next save can tell of a loaded table: its bytes as the writer makes
    // them, the bookmarks, whether it read whole and still holds its file, and the numbers the
    // next new row is given.
    static std::string Seen(TdxMemData& t, const std::string& path) {
        std::string s;
        t.SaveToStream(s);
        s += "|rows " + std::to_string(t.RecordCount()) + "|bookmarks";
        for (int r = 0; r < t.RowCount(); ++r) s += " " + std::to_string(t.RowBookmark(r));
        s += std::string("|whole ") + (t.LoadedWhole() ? "yes" : "no");
        s += std::string("|holds ") + (t.FileHoldsRows(path) ? "yes" : "no");
        s += "|cursor " + std::to_string(t.RecNo()) + (t.Eof() ? " eof" : "");
        t.Append();
        t.Post();
        s += "|next RecId " + t.FieldByName("RecId").AsString();
        if (TField* id = t.FindField("ID")) s += " ID " + id->AsString();
        return s;
    }

    std::vector<std::string> SeenAll(TAddInModule& m) {
        std::vector<std::string> seen;
        TdxMemData* tables[] = {&m.MemDataTasks,     &m.MemDataTime,         &m.MemDataEmails, &m.MemDataContacts,
                                &m.MemDataDistLists, &m.MemDataAppointments, &m.MemDataNotes};
        for (size_t i = 0; i < std::size(tables); ++i) seen.push_back(Seen(*tables[i], (dir_ / kFiles[i]).string()));
        seen.push_back(Seen(m.MemDataAddTask, ""));
        return seen;
    }
};

TEST_F(PrefetchTest, TheTablesComeOutAsWhenEachLoadsItsFileAtItsTurn) {
    FirstRun();
    // One file cut in a record: it reads its whole rows, and the save keeps it aside.
    const std::string notes = FileBytes(dir_ / "Notes.bin");
    std::ofstream(dir_ / "Notes.bin", std::ios::binary | std::ios::trunc) << notes.substr(0, notes.size() - 3);

    const std::vector<std::string> alone = SeenAll(StartWith(false));
    module_.reset();
    TAddInModule& m = StartWith(true);
    EXPECT_TRUE(Shown().empty());
    EXPECT_EQ(SeenAll(m), alone);
    EXPECT_EQ(m.MemDataEmails.RecordCount(), 4);  // three loaded, one added by the look above
    EXPECT_EQ(m.MemDataEmails.FieldByName("ID").AsInteger(), 4);  // the deleted one's ID again

    // The saves after it: the emails' file is written, the cut notes kept aside first.
    m.SaveEmails();
    m.SaveNotes();
    EXPECT_TRUE(fs::exists(dir_ / "Notes.bin.damaged-2026-03-05"));
    EXPECT_FALSE(fs::exists(dir_ / "Emails.bin.damaged-2026-03-05"));
}

TEST_F(PrefetchTest, DamagedFilesShowTheirMessagesInTheLoadsOrderAndAreKeptAside) {
    FirstRun();
    const std::string damaged = UnloadableFile();
    std::ofstream(dir_ / "Tasks.bin", std::ios::binary | std::ios::trunc) << damaged;   // loaded at its turn
    std::ofstream(dir_ / "Emails.bin", std::ios::binary | std::ios::trunc) << damaged;  // parsed ahead
    fs::remove(dir_ / "Notes.bin");
    fs::create_directory(dir_ / "Notes.bin");  // no file at all in its place
    TAddInModule& m = Start();
    EXPECT_EQ(Shown(), (std::vector<std::string>{"Unable to load tasks.", "Unable to load emails.",
                                                 "Unable to load notes."}));
    EXPECT_TRUE(m.MemDataEmails.Active());
    EXPECT_EQ(m.MemDataEmails.RecordCount(), 0);
    EXPECT_FALSE(m.MemDataEmails.LoadedWhole());
    EXPECT_EQ(m.MemDataContacts.RecordCount(), 4);  // the loads after a failure go on

    m.MemDataEmails.Append();
    m.MemDataEmails.FieldByName("Subject").SetAsString("Lease draft");
    m.MemDataEmails.Post();
    m.ClosePane({&m.MemDataEmails}, {&TAddInModule::SaveEmails});
    EXPECT_EQ(FileBytes(dir_ / "Emails.bin.damaged-2026-03-05"), damaged);
    EXPECT_EQ(Shown().size(), 3u);
}

TEST_F(PrefetchTest, AFileReplacedWhileStartUpRunsIsLoadedAsItIsThen) {
    // Another run's files, to put in place while this start-up runs.
    const fs::path other = root_ / "other";
    fs::create_directory(other);
    {
        TAddInModule& m = Start();
        m.MemDataEmails.Append();
        m.MemDataEmails.FieldByName("Subject").SetAsString("Signed lease");
        m.MemDataEmails.Post();
        m.SaveEmails();
        Stop();
        fs::rename(dir_ / "Emails.bin", other / "Emails.bin");
        std::ofstream(other / "Contacts.bin", std::ios::binary) << UnloadableFile();
    }
    FirstRun();

    SetTablePrefetchHook(TakeHook);
    std::vector<std::string> taken;
    onTake = [&](const std::string& path) {
        taken.push_back(fs::path(path).filename().string());
        const std::string name = taken.back();
        if (name == "Emails.bin" || name == "Contacts.bin") fs::rename(other / name, path);
    };
    host_->Dialogs->Clear();
    TAddInModule& m = Start();
    EXPECT_EQ(taken, (std::vector<std::string>{"Emails.bin", "Contacts.bin", "Distlists.bin",
                                               "Appointments.bin", "Notes.bin"}));
    // The emails are the new file's, and that is the file a save would leave as it is.
    ASSERT_EQ(m.MemDataEmails.RecordCount(), 1);
    m.MemDataEmails.First();
    EXPECT_EQ(m.MemDataEmails.FieldByName("Subject").AsString(), "Signed lease");
#ifndef _WIN32  // Windows tells no file from another, and always writes
    EXPECT_TRUE(m.MemDataEmails.FileHoldsRows((dir_ / "Emails.bin").string()));
#endif
    // A damaged file put in place shows its message; the files left alone load as read.
    EXPECT_EQ(Shown(), std::vector<std::string>{"Unable to load contacts."});
    EXPECT_EQ(m.MemDataContacts.RecordCount(), 0);
    EXPECT_EQ(m.MemDataAppointments.RecordCount(), 4);
    EXPECT_EQ(m.MemDataNotes.RecordCount(), 4);
}

}  // namespace
