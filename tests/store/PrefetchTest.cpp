// Files parsed ahead on a second thread, then taken by their tables: a parse is taken once, by a
// table of the same fields, and a prefetch let go before its tables' turn waits for its thread.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>

#include "store/MemDataPrefetch.h"
#include "store/Tables.h"

namespace fs = std::filesystem;

namespace {

class PrefetchStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "corvelle-prefetch-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
        path_ = (dir_ / "Emails.bin").string();
        auto emails = MakeTable("Emails");
        emails->Open();
        for (int i = 0; i < 2000; ++i) {
            emails->Append();
            emails->FieldByName("TaskID").SetAsInteger(i % 7);
            emails->FieldByName("Subject").SetAsString("Invoice " + std::to_string(i));
            emails->FieldByName("Text").SetAsString(std::string(600, 'a' + i % 26));
            emails->Post();
        }
        emails->SaveToBinaryFile(path_);
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(dir_, ec);
    }

    fs::path dir_;
    std::string path_;
};

TEST_F(PrefetchStoreTest, AParseIsTakenOnceAndOnlyByATableOfTheSameFields) {
    auto emails = MakeTable("Emails");
    auto notes = MakeTable("Notes");
    TTablePrefetch prefetch({{emails.get(), path_}}, TableFileRead::Map);
    EXPECT_FALSE(prefetch.Take(*emails, (dir_ / "Notes.bin").string()));  // never asked for

    // Other fields: nothing taken, the table as it was.
    notes->Open();
    EXPECT_FALSE(prefetch.Take(*notes, path_));
    EXPECT_EQ(notes->RecordCount(), 0);
    EXPECT_FALSE(prefetch.Take(*emails, path_));  // taken (and dropped) once already

    TTablePrefetch again({{emails.get(), path_}}, TableFileRead::Copy);
    ASSERT_TRUE(again.Take(*emails, path_));
    EXPECT_EQ(emails->RecordCount(), 2000);
#ifndef _WIN32  // Windows tells no file from another, and always writes
    EXPECT_TRUE(emails->FileHoldsRows(path_));
#endif
    emails->Last();
    EXPECT_EQ(emails->FieldByName("Subject").AsString(), "Invoice 1999");
    EXPECT_EQ(emails->FieldByName("ID").AsInteger(), 2000);
}

TEST_F(PrefetchStoreTest, APrefetchLetGoBeforeItsTablesTurnWaitsForItsThread) {
    auto emails = MakeTable("Emails");
    for (int i = 0; i < 20; ++i) {
        auto prefetch = std::make_unique<TTablePrefetch>(std::vector<TTablePrefetch::Request>{
            {emails.get(), path_}, {emails.get(), path_ + ".second"}}, TableFileRead::Map);
        if (i % 2) std::this_thread::yield();
        prefetch.reset();  // the thread is joined; the sanitizers see no access after this
    }
    EXPECT_EQ(emails->RecordCount(), 0);
}

}  // namespace
