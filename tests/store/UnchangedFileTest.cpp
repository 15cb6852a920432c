// When a table knows that its file already holds its rows byte for byte, and when it must not
// think so: a row changed, the file changed or replaced behind it, or a file the writer would
// not write back the same. And a table larger than one piece of a save is written whole.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "base/DateTime.h"
#include "store/MemData.h"
#include "store/Tables.h"

namespace fs = std::filesystem;

namespace {

class UnchangedFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "corvelle-unchanged-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
        path_ = (dir_ / "Tasks.bin").string();
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(dir_, ec);
    }

    static std::unique_ptr<TdxMemData> Tasks(int rows) {
        auto t = MakeTable("Tasks");
        t->Open();
        for (int i = 0; i < rows; ++i) {
            t->Append();
            t->FieldByName("Parent_ID").SetAsInteger(-1);
            t->FieldByName("Description").SetAsString("Matter " + std::to_string(i));
            t->FieldByName("Create_Date").SetAsDateTime(EncodeDate(2024, 5, 1) + EncodeTime(10, 30, 0, 0));
            t->FieldByName("Date_Complete").SetAsDateTime(NoCompletionDate());
            t->FieldByName("Complete").SetAsBoolean(false);
            t->Post();
        }
        return t;
    }

    static std::string Bytes(TdxMemData& t) {
        std::string out;
        t.SaveToStream(out);
        return out;
    }

    std::string Read() const {
        std::ifstream in(path_, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), {});
    }

    void Write(const std::string& bytes) const {
        std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
    }

    fs::path dir_;
    std::string path_;
};

TEST_F(UnchangedFileTest, AFileReadWholeHoldsTheRowsUntilARowChanges) {
    Tasks(3)->SaveToBinaryFile(path_);
    auto t = MakeTable("Tasks");
    t->LoadFromBinaryFile(path_);
    EXPECT_TRUE(t->FileHoldsRows(path_));
    EXPECT_FALSE(t->FileHoldsRows((dir_ / "Other.bin").string()));

    // A pane's close posts what a grid may hold: a row posted as it was changes nothing.
    t->Edit();
    t->Post();
    EXPECT_TRUE(t->FileHoldsRows(path_));

    t->Edit();
    t->FieldByName("Description").SetAsString("Matter 0, renamed");
    t->Post();
    EXPECT_FALSE(t->FileHoldsRows(path_));
    t->SaveToBinaryFile(path_);
    EXPECT_TRUE(t->FileHoldsRows(path_));
    EXPECT_EQ(Read(), Bytes(*t));

    // Every change counts, also one back to an earlier value.
    t->Edit();
    t->FieldByName("Description").SetAsString("Matter 0");
    t->Post();
    EXPECT_FALSE(t->FileHoldsRows(path_));

    // A new row, a deleted one, a load from a stream: none is the file's.
    t->SaveToBinaryFile(path_);
    t->Append();
    t->Post();
    EXPECT_FALSE(t->FileHoldsRows(path_));
    t->SaveToBinaryFile(path_);
    t->Last();
    t->Delete();
    EXPECT_FALSE(t->FileHoldsRows(path_));
    t->LoadFromStream(Read());
    EXPECT_FALSE(t->FileHoldsRows(path_));
}

TEST_F(UnchangedFileTest, AFileChangedOrReplacedBehindTheTableNoLongerHoldsItsRows) {
    const std::string bytes = Bytes(*Tasks(3));
    Write(bytes);
    auto t = MakeTable("Tasks");
    t->LoadFromBinaryFile(path_);
    ASSERT_TRUE(t->FileHoldsRows(path_));

    // The same bytes, but another file put in its place.
    const std::string other = (dir_ / "copy.bin").string();
    std::ofstream(other, std::ios::binary) << bytes;
    fs::rename(other, path_);
    EXPECT_FALSE(t->FileHoldsRows(path_));

    // The same file, written again in place.
    t->LoadFromBinaryFile(path_);
    ASSERT_TRUE(t->FileHoldsRows(path_));
    struct timespec times[2] = {{0, UTIME_OMIT}, {1000000000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path_.c_str(), times, 0), 0);
    EXPECT_FALSE(t->FileHoldsRows(path_));

    // Gone.
    t->LoadFromBinaryFile(path_);
    fs::remove(path_);
    EXPECT_FALSE(t->FileHoldsRows(path_));
}

TEST_F(UnchangedFileTest, AFileTheWriterWouldNotWriteTheSameIsNeverTakenAsHeld) {
    const std::string bytes = Bytes(*Tasks(2));
    auto t = MakeTable("Tasks");

    // A flag byte of 2 reads as a value, and is written back as 1.
    std::string flagged = bytes;
    const size_t header = bytes.size() - 2 * (bytes.size() - Bytes(*Tasks(1)).size());
    ASSERT_EQ(flagged[header], '\x01');  // the flag of the first row's ID
    flagged[header] = '\x02';
    Write(flagged);
    t->LoadFromBinaryFile(path_);
    EXPECT_EQ(t->RecordCount(), 2);
    EXPECT_FALSE(t->FileHoldsRows(path_));

    // An older version of the format.
    std::string older = bytes;
    const double version = 1.85;
    std::memcpy(older.data() + 3, &version, sizeof version);
    Write(older);
    t->LoadFromBinaryFile(path_);
    EXPECT_EQ(t->RecordCount(), 2);
    EXPECT_FALSE(t->FileHoldsRows(path_));

    // A text longer than its field, cut at the load.
    TdxMemData wide("MemDataTasks");
    for (int i = 1; i < t->FieldCount(); ++i) {
        const TField& f = t->Fields(i);
        wide.AddField(f.FieldName(), f.DataType(), f.FieldName() == "Description" ? 300 : f.Size());
    }
    wide.Open();
    wide.Append();
    wide.FieldByName("Description").SetAsString(std::string(250, 'd'));
    wide.Post();
    wide.SaveToBinaryFile(path_);
    t->LoadFromBinaryFile(path_);
    EXPECT_EQ(t->FieldByName("Description").AsString().size(), 200u);
    EXPECT_FALSE(t->FileHoldsRows(path_));

    // A file cut in a record.
    Write(bytes.substr(0, bytes.size() - 5));
    t->LoadFromBinaryFile(path_);
    EXPECT_EQ(t->RecordCount(), 1);
    EXPECT_FALSE(t->FileHoldsRows(path_));

    // And the whole file again is held.
    Write(bytes);
    t->LoadFromBinaryFile(path_);
    EXPECT_TRUE(t->FileHoldsRows(path_));
}

TEST_F(UnchangedFileTest, ATableOfManyMegabytesIsSavedWholeAndReadBackTheSame) {
    auto emails = MakeTable("Emails");
    emails->Open();
    for (int i = 0; i < 3000; ++i) {
        emails->Append();
        emails->FieldByName("TaskID").SetAsInteger(i % 7);
        emails->FieldByName("Subject").SetAsString("Mail " + std::to_string(i));
        emails->FieldByName("Text").SetAsString(std::string(1000 + i % 50, static_cast<char>('a' + i % 26)));
        emails->Post();
    }
    const std::string expected = Bytes(*emails);
    ASSERT_GT(expected.size(), size_t{3} << 20);
    emails->SaveToBinaryFile(path_);
    EXPECT_EQ(Read(), expected);

    auto loaded = MakeTable("Emails");
    loaded->LoadFromBinaryFile(path_);
    EXPECT_TRUE(loaded->FileHoldsRows(path_));
    EXPECT_EQ(Bytes(*loaded), expected);
    loaded->Last();
    EXPECT_EQ(loaded->FieldByName("Text").AsString(), std::string(1000 + 2999 % 50, static_cast<char>('a' + 2999 % 26)));
    // The text of a row read in place survives the edit of its neighbours and a re-sort.
    loaded->First();
    loaded->Edit();
    loaded->FieldByName("Subject").SetAsString("Changed");
    loaded->Post();
    loaded->SetSortedField("Subject");
    EXPECT_TRUE(loaded->Locate("Subject", Variant("Mail 2999")));
    EXPECT_EQ(loaded->FieldByName("Text").AsString(), std::string(1000 + 2999 % 50, static_cast<char>('a' + 2999 % 26)));
}

}  // namespace
