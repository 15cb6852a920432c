// What a table holds after reading its file: every value as the reader of any version reads it,
// the file taken as holding the rows exactly when the writer would write it back the same, the
// numbering of new rows as appending the rows one by one would leave it, and the rows read
// edited, deleted, added to and read again as a user does, none of them changed by another.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "base/Exceptions.h"
#include "store/MemData.h"

namespace fs = std::filesystem;

namespace {

template <class T>
void Put(std::string& s, T v) {
    s.append(reinterpret_cast<const char*>(&v), sizeof v);
}

// A file of one field: "Ver", the version, the field's descriptor, then the records as given.
std::string FileOf(double version, TFieldType type, int32_t width, const std::string& records) {
    std::string s = "Ver";
    Put(s, version);
    Put(s, int32_t{1});
    Put(s, width);
    Put(s, static_cast<int16_t>(type));
    Put(s, int16_t{2});
    s += "V";
    s += '\0';
    return s + records;
}

class LoadedRowsTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "corvelle-loaded-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
        path_ = (dir_ / "Table.bin").string();
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(dir_, ec);
    }
    void Write(const std::string& bytes) const {
        fs::remove(path_);  // a new file each time: a file cut short to be written again is flushed
        std::ofstream out(path_, std::ios::binary);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    fs::path dir_;
    std::string path_;
};

// Bytes a file may hold for a value of `width` bytes: the usual, the extreme and the random.
std::string ValueBytes(std::mt19937_64& rng, size_t width) {
    std::string b(width, '\0');
    const int pick = static_cast<int>(rng() % 6);
    if (width == 8) {
        static const double doubles[] = {0.0, -0.0, 1.5, -2.25, 1e300, -1e300, 9.3e14, 9.1e14,
                                         std::numeric_limits<double>::quiet_NaN(),
                                         std::numeric_limits<double>::infinity(),
                                         -std::numeric_limits<double>::infinity(),
                                         63900000000000.0, 63900000000000.4, 63900086399999.6,
                                         -86400000.5, 1e-310};
        double d = doubles[rng() % std::size(doubles)];
        if (pick == 0) d = static_cast<double>(static_cast<int64_t>(rng() % 64000000000000ULL)) +
                           static_cast<double>(rng() % 1000) / 1000.0;
        std::memcpy(b.data(), &d, 8);
        if (pick == 1) {
            const uint64_t bits = rng();
            std::memcpy(b.data(), &bits, 8);
        }
        return b;
    }
    static const int32_t ints[] = {0, 1, -1, 2, 693594, 740000, 86399999, 86400000, 86400001, -86400000,
                                   std::numeric_limits<int32_t>::max(), std::numeric_limits<int32_t>::min()};
    int32_t v = ints[rng() % std::size(ints)];
    if (pick <= 1) v = static_cast<int32_t>(rng());
    std::memcpy(b.data(), &v, width);
    return b;
}

TEST_F(LoadedRowsTest, EveryFixedKindReadsAsInEveryVersionAndIsHeldOnlyWhereItWritesBackTheSame) {
    struct Kind {
        TFieldType type;
        int32_t width;
    };
    const Kind kinds[] = {{TFieldType::ftInteger, 4}, {TFieldType::ftSmallint, 2}, {TFieldType::ftBoolean, 2},
                          {TFieldType::ftDate, 4},    {TFieldType::ftTime, 4},     {TFieldType::ftDateTime, 8},
                          {TFieldType::ftCurrency, 8}, {TFieldType::ftFloat, 8}};
    std::mt19937_64 rng(20261123);
    for (const Kind& k : kinds) {
        SCOPED_TRACE(FieldTypeName(k.type));
        int held = 0, notHeld = 0;
        for (int n = 0; n < 150; ++n) {
            // One record: mostly a value, sometimes none (with zeros or with leftover bytes),
            // sometimes a flag the writer never writes.
            const int f = static_cast<int>(rng() % 10);
            const char flag = f < 7 ? '\x01' : f < 9 ? '\x00' : '\x02';
            std::string record(1, flag);
            record += flag == 0 && rng() % 2 ? std::string(static_cast<size_t>(k.width), '\0')
                                             : ValueBytes(rng, static_cast<size_t>(k.width));
            const std::string file = FileOf(1.91, k.type, k.width, record);
            Write(file);

            TdxMemData t("Table");
            t.AddField("V", k.type);
            t.LoadFromBinaryFile(path_);
            ASSERT_EQ(t.RecordCount(), 1);
            std::string again;
            t.SaveToStream(again);
            const bool same = again == file;
#ifndef _WIN32  // Windows tells no file from another, and always writes
            EXPECT_EQ(t.FileHoldsRows(path_), same) << "record " << n;
#endif
            (same ? held : notHeld)++;

            // Read as a file of an older version, whose records are laid out the same.
            TdxMemData old("Table");
            old.AddField("V", k.type);
            old.LoadFromStream(FileOf(1.80, k.type, k.width, record));
            ASSERT_EQ(old.RecordCount(), 1);
            EXPECT_TRUE(t.SameCell(0, 1, old.Cell(0, 1))) << "record " << n;
        }
        EXPECT_GT(held, 0);
        EXPECT_GT(notHeld, 0);
    }
}

TEST_F(LoadedRowsTest, NewRowsAreNumberedAsIfTheRowsReadHadBeenAppendedOneByOne) {
    auto file = [](std::initializer_list<std::optional<int32_t>> ids, const std::string& tail = {}) {
        std::string records;
        for (const auto& id : ids) {
            records += id ? '\x01' : '\x00';
            Put(records, id.value_or(0));
        }
        return FileOf(1.91, TFieldType::ftAutoInc, 4, records + tail);
    };
    auto ids = [](TdxMemData& t) {
        std::vector<int64_t> out;
        for (t.First(); !t.Eof(); t.Next()) out.push_back(t.FieldByName("V").IsNull() ? -1 : t.FieldByName("V").AsInteger());
        return out;
    };
    TdxMemData t("Table");
    t.AddField("V", TFieldType::ftAutoInc);

    // A row without a number takes the next above the highest read before it; a lower number
    // stays; the record cut short at the end is dropped.
    t.LoadFromStream(file({5, std::nullopt, 3, std::nullopt}, "\x01\x07"));
    EXPECT_FALSE(t.LoadedWhole());
    EXPECT_EQ(ids(t), (std::vector<int64_t>{5, 6, 3, 7}));
    EXPECT_EQ(t.FieldByName("RecId").AsInteger(), 4);
    t.Append();
    t.Post();
    EXPECT_EQ(t.FieldByName("V").AsInteger(), 8);
    EXPECT_EQ(t.FieldByName("RecId").AsInteger(), 5);

    // At the top of the kind a row read keeps no number, and the next new row can't be made.
    t.LoadFromStream(file({std::numeric_limits<int32_t>::max(), std::nullopt}));
    EXPECT_EQ(ids(t), (std::vector<int64_t>{std::numeric_limits<int32_t>::max(), -1}));
    t.Append();
    EXPECT_THROW(t.Post(), EDatabaseError);
    t.Cancel();

    // Loading again starts the count again.
    t.LoadFromStream(file({std::nullopt, std::nullopt}));
    EXPECT_EQ(ids(t), (std::vector<int64_t>{1, 2}));
}

TEST_F(LoadedRowsTest, RowsReadThenDeletedEditedAddedAndReadAgainKeepEveryValue) {
    // A user's table of matters: what the rows should hold, kept beside the table.
    struct Matter {
        int64_t id;
        std::string name;
        int64_t hours;
    };
    std::vector<Matter> model;
    auto make = [] {
        auto t = std::make_unique<TdxMemData>("Matters");
        t->AddField("ID", TFieldType::ftAutoInc);
        t->AddField("Name", TFieldType::ftString, 40);
        t->AddField("Hours", TFieldType::ftInteger);
        t->Open();
        return t;
    };
    auto t = make();
    auto check = [&](const char* when) {
        SCOPED_TRACE(when);
        ASSERT_EQ(t->RecordCount(), static_cast<int>(model.size()));
        int i = 0;
        for (t->First(); !t->Eof(); t->Next(), ++i) {
            const Matter& m = model[static_cast<size_t>(i)];
            ASSERT_EQ(t->FieldByName("ID").AsInteger(), m.id) << "row " << i;
            ASSERT_EQ(t->FieldByName("Name").AsString(), m.name) << "row " << i;
            ASSERT_EQ(t->FieldByName("Hours").AsInteger(), m.hours) << "row " << i;
        }
    };
    int64_t nextId = 1;
    auto append = [&](const std::string& name, int64_t hours) {
        t->Append();
        t->FieldByName("Name").SetAsString(name);
        t->FieldByName("Hours").SetAsInteger(static_cast<int>(hours));
        t->Post();
        model.push_back({nextId++, name, hours});
    };
    for (int i = 0; i < 400; ++i) append("Matter " + std::to_string(i), i);
    std::string bytes;
    t->SaveToStream(bytes);
    t = make();
    t->LoadFromStream(bytes);
    check("read");

    std::mt19937 rng(7);
    for (int round = 0; round < 4; ++round) {
        // Most rows deleted, some edited, some added, in no order.
        for (int step = 0; step < 500 && !model.empty(); ++step) {
            const int row = static_cast<int>(rng() % model.size());
            t->SetRecNo(row + 1);
            switch (rng() % 4) {
                case 0:
                case 1:
                    t->Delete();
                    model.erase(model.begin() + row);
                    break;
                case 2: {
                    const std::string name = "Edited " + std::to_string(step);
                    t->Edit();
                    t->FieldByName("Name").SetAsString(name);
                    t->FieldByName("Hours").SetAsInteger(step);
                    t->Post();
                    model[static_cast<size_t>(row)].name = name;
                    model[static_cast<size_t>(row)].hours = step;
                    break;
                }
                default: append("New " + std::to_string(step), -step); break;
            }
        }
        check("changed");
        // Saved and read again: the highest number given stays the highest.
        bytes.clear();
        t->SaveToStream(bytes);
        t->LoadFromStream(bytes);
        nextId = 1;
        for (const Matter& m : model) nextId = std::max(nextId, m.id + 1);
        check("read again");
        for (int i = 0; i < 150; ++i) append("Refill " + std::to_string(i), i);
    }
    t->Close();
    EXPECT_EQ(t->RecordCount(), 0);
}

}  // namespace
