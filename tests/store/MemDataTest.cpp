#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "base/Exceptions.h"
#include "store/MemData.h"
#include "store/Tables.h"

namespace {

std::unique_ptr<TdxMemData> Tasks() { return MakeTable("Tasks"); }

void AddTask(TdxMemData& t, const char* description, int parent = -1) {
    t.Append();
    t.FieldByName("Description").SetAsString(description);
    t.FieldByName("Parent_ID").SetAsInteger(parent);
    t.Post();
}

std::vector<int> Ids(TdxMemData& t) {
    std::vector<int> ids;
    t.First();
    while (!t.Eof()) {
        ids.push_back(t.FieldByName("ID").AsInteger());
        t.Next();
    }
    return ids;
}

// Keeps only the rows for which pass() holds, by the programmed-filter protocol.
template <class Pred>
void ProgrammedFilter(TdxMemData& t, Pred pass) {
    t.SetProgrammedFilter(false);
    t.SetFiltered(false);
    t.SetProgrammedFilter(true);
    t.First();
    while (!t.Eof()) {
        if (pass(t)) t.FilterList().push_back(t.CurRec() + 1);
        t.Next();
    }
    t.SetFiltered(true);
}

struct Recorder : IDataObserver {
    std::vector<TDataEvent> events;
    void DataEvent(TdxMemData&, TDataEvent e, TField*) override { events.push_back(e); }
};

template <class T>
void Put(std::string& s, T v) {
    s.append(reinterpret_cast<const char*>(&v), sizeof v);
}

void PutDescriptor(std::string& s, int32_t size, int16_t code, const std::string& name) {
    Put(s, size);
    Put(s, code);
    Put(s, static_cast<int16_t>(name.size() + 1));
    s += name;
    s += '\0';
}

}  // namespace

TEST(MemDataFile, RoundTripKeepsValuesNullsAndEmptyStringsAndNumbersRecIdFromOne) {
    auto t = MakeTable("Time");
    t->Open();
    t->Append();
    t->FieldByName("Task_Name").SetAsString("Audit \xC3\xA9t\xC3\xA9");
    t->FieldByName("Note").SetAsString("");
    t->FieldByName("Time").SetAsDateTime(EncodeTime(1, 30, 0, 250));
    t->FieldByName("Dec_Time").SetAsCurrency(Currency::FromDouble(1.5));
    t->FieldByName("Time_Date").SetAsDateTime(EncodeDate(2026, 3, 5) + 0.75);  // a date keeps no time
    t->FieldByName("Closed").SetAsBoolean(true);
    t->FieldByName("Glyph").SetAsInteger(-3);
    t->Post();
    t->Append();  // a row with no values at all
    t->Post();

    std::string bytes;
    t->SaveToStream(bytes);
    auto back = MakeTable("Time");
    back->LoadFromStream(bytes);
    ASSERT_EQ(back->RecordCount(), 2);
    back->First();
    EXPECT_EQ(back->FieldByName("RecId").AsInteger(), 1);
    EXPECT_EQ(back->FieldByName("Task_Name").AsString(), "Audit \xC3\xA9t\xC3\xA9");
    EXPECT_FALSE(back->FieldByName("Note").IsNull());  // "" assigned is a value
    EXPECT_TRUE(back->FieldByName("User_Name").IsNull());
    EXPECT_EQ(back->FieldByName("Time").AsDateTime(), EncodeTime(1, 30, 0, 250));
    EXPECT_EQ(back->FieldByName("Dec_Time").AsCurrency().value, 15000);
    EXPECT_EQ(back->FieldByName("Dec_Time").DisplayText(), "1.50");
    EXPECT_EQ(back->FieldByName("Time_Date").AsDateTime(), EncodeDate(2026, 3, 5));
    EXPECT_TRUE(back->FieldByName("Closed").AsBoolean());
    EXPECT_EQ(back->FieldByName("Glyph").AsInteger(), -3);
    EXPECT_EQ(back->FieldByName("ID").AsInteger(), 1);
    back->Next();
    EXPECT_EQ(back->FieldByName("RecId").AsInteger(), 2);
    EXPECT_EQ(back->FieldByName("ID").AsInteger(), 2);
    EXPECT_TRUE(back->FieldByName("Closed").IsNull());

    std::string again;
    back->SaveToStream(again);
    EXPECT_EQ(again, bytes);
}

TEST(MemDataFile, WritesVersion191WithTheDocumentedLayout) {
    auto t = std::make_unique<TdxMemData>();
    t->AddField("Name", TFieldType::ftString, 5);
    t->AddField("Day", TFieldType::ftDate);
    t->AddField("Body", TFieldType::ftMemo);
    t->Open();
    t->Append();
    t->FieldByName("Name").SetAsString("abcdefgh");
    t->FieldByName("Day").SetAsDateTime(0);  // 30 December 1899
    t->Post();
    std::string b;
    t->SaveToStream(b);

    std::string want = "Ver";
    want += std::string("\x8F\xC2\xF5\x28\x5C\x8F\xFE\x3F", 8);
    Put(want, int32_t{3});  // RecId is never stored
    PutDescriptor(want, 5, 1, "Name");
    PutDescriptor(want, 4, 9, "Day");
    PutDescriptor(want, 0, 14, "Body");
    want += '\x01';
    Put(want, int32_t{5});
    want += "abcde";  // cut at the field's size
    want += '\x01';
    Put(want, int32_t{693594});
    Put(want, int32_t{0});  // a memo without value: length 0, no flag
    EXPECT_EQ(b, want);
}

TEST(MemDataFile, DamagedStreamsLoadWhatIsWholeAndNeverRaise) {
    auto t = Tasks();
    t->Open();
    for (const char* d : {"one", "two", "three"}) AddTask(*t, d);
    std::string b;
    t->SaveToStream(b);

    // Cut inside the third record: two rows, no error.
    auto cut = Tasks();
    cut->LoadFromStream(b.substr(0, b.size() - 5));
    EXPECT_EQ(cut->RecordCount(), 2);
    EXPECT_TRUE(cut->Active());

    // Cut inside the header: nothing, no error; fewer than three bytes: nothing.
    for (size_t n : {size_t{0}, size_t{2}, size_t{10}, size_t{40}}) {
        auto h = Tasks();
        h->LoadFromStream(b.substr(0, n));
        EXPECT_EQ(h->RecordCount(), 0) << n;
    }

    // A string length far beyond the stream is a short read, not an allocation.
    std::string huge = "Ver";
    Put(huge, 1.91);
    Put(huge, int32_t{1});
    PutDescriptor(huge, 200, 1, "Description");
    huge += '\x01';
    Put(huge, int32_t{0x7FFFFFF0});
    auto h = Tasks();
    h->LoadFromStream(huge);
    EXPECT_EQ(h->RecordCount(), 0);

    // A descriptor count far beyond the stream: nothing loaded.
    std::string many = "Ver";
    Put(many, 1.91);
    Put(many, int32_t{0x7FFFFFFF});
    h->LoadFromStream(many);
    EXPECT_EQ(h->RecordCount(), 0);

    // Every cut and many random byte flips of a real file load without raising.
    std::mt19937 rng(7);
    for (size_t n = 0; n <= b.size(); ++n) {
        auto x = Tasks();
        EXPECT_NO_THROW(x->LoadFromStream(b.substr(0, n)));
    }
    for (int i = 0; i < 2000; ++i) {
        std::string m = b;
        for (int k = 0; k < 3; ++k) m[rng() % m.size()] = static_cast<char>(rng());
        auto x = Tasks();
        try {
            x->LoadFromStream(m);
        } catch (const EDatabaseError&) {
            // only a field name longer than 255 bytes may raise
        }
    }
}

TEST(MemDataFile, NameLongerThan255RaisesTheInvalidFieldError) {
    std::string b = "Ver";
    Put(b, 1.91);
    Put(b, int32_t{1});
    Put(b, int32_t{4});
    Put(b, int16_t{3});
    Put(b, int16_t{256});
    b += std::string(256, 'x');
    auto t = Tasks();
    EXPECT_THROW(t->LoadFromStream(b), EDatabaseError);
    EXPECT_TRUE(t->Active());  // the table stays usable
}

TEST(MemDataFile, ColumnsMatchByNameExtraAndMissingOnes) {
    // A file with an extra column and without Description, in another order.
    std::string b = "Ver";
    Put(b, 1.91);
    Put(b, int32_t{3});
    PutDescriptor(b, 4, 3, "Parent_ID");
    PutDescriptor(b, 8, 6, "Extra");
    PutDescriptor(b, 4, 12, "ID");
    for (int id : {7, 3}) {
        b += '\x01';
        Put(b, int32_t{-1});
        b += '\x01';
        Put(b, 2.5);
        b += '\x01';
        Put(b, int32_t{id});
    }
    auto t = Tasks();
    t->LoadFromStream(b);
    ASSERT_EQ(t->RecordCount(), 2);
    t->First();
    EXPECT_TRUE(t->FieldByName("Description").IsNull());
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 7);
    t->Next();
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 3);  // kept as read, though below the highest
    AddTask(*t, "new");
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 8);

    // A table field absent from the file still numbers its auto-increment.
    std::string c = "Ver";
    Put(c, 1.91);
    Put(c, int32_t{1});
    PutDescriptor(c, 200, 1, "Description");
    for (const char* d : {"a", "b"}) {
        c += '\x01';
        Put(c, int32_t{1});
        c += d;
    }
    t->LoadFromStream(c);
    EXPECT_EQ(Ids(*t), (std::vector<int>{1, 2}));

    // Fields made from the file itself.
    TdxMemData fromFile;
    fromFile.CreateFieldsFromStream(b);
    ASSERT_EQ(fromFile.FieldCount(), 4);
    EXPECT_EQ(fromFile.Fields(2).DataType(), TFieldType::ftFloat);
    fromFile.LoadFromStream(b);
    EXPECT_EQ(fromFile.RecordCount(), 2);
    EXPECT_EQ(fromFile.FieldByName("Extra").AsFloat(), 2.5);
}

TEST(MemDataFile, ReadsOlderVersions) {
    // Version 0: no "Ver", no flags on strings or ordinals; strings count a terminator.
    std::string v0;
    Put(v0, int32_t{2});
    PutDescriptor(v0, 201, 1, "Description");
    PutDescriptor(v0, 4, 3, "Number");
    Put(v0, int32_t{4});
    v0 += std::string("abc\0", 4);
    Put(v0, int32_t{9});
    Put(v0, int32_t{1});  // below 2: no value
    v0 += '\0';
    Put(v0, int32_t{10});
    auto t = Tasks();
    t->LoadFromStream(v0);
    ASSERT_EQ(t->RecordCount(), 2);
    t->First();
    EXPECT_EQ(t->FieldByName("Description").AsString(), "abc");
    EXPECT_EQ(t->FieldByName("Number").AsInteger(), 9);
    t->Next();
    EXPECT_TRUE(t->FieldByName("Description").IsNull());
    EXPECT_EQ(t->FieldByName("Number").AsInteger(), 10);

    // 1.90: strings with flags; the descriptor's size counts the terminator.
    std::string v190 = "Ver";
    Put(v190, 1.90);
    Put(v190, int32_t{1});
    PutDescriptor(v190, 6, 1, "Name");
    v190 += '\x01';
    Put(v190, int32_t{8});
    v190 += "abcdefgh";
    TdxMemData own;
    own.CreateFieldsFromStream(v190);
    EXPECT_EQ(own.FieldByName("Name").Size(), 5);
    own.LoadFromStream(v190);
    own.First();
    EXPECT_EQ(own.FieldByName("Name").AsString(), "abcde");  // cut to the size on load
}

TEST(MemDataFile, DeletedHighestIdIsGivenAgainAfterSaveAndLoad) {
    auto t = Tasks();
    t->Open();
    for (const char* d : {"a", "b", "c"}) AddTask(*t, d);
    t->Last();
    t->Delete();
    AddTask(*t, "d");
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 4);  // in memory the counter goes on
    t->Last();
    t->Delete();
    std::string b;
    t->SaveToStream(b);
    t->LoadFromStream(b);
    AddTask(*t, "e");
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 3);
    EXPECT_EQ(t->FieldByName("RecId").AsInteger(), 3);
}

TEST(MemDataFile, BinaryFileErrorsAndClosedTables) {
    auto dir = std::filesystem::temp_directory_path() / ("corvelle-store-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir / "Tasks.bin");
    auto t = Tasks();
    EXPECT_THROW(t->LoadFromBinaryFile((dir / "Tasks.bin").string()), EFOpenError);
    EXPECT_THROW(t->LoadFromBinaryFile((dir / "missing.bin").string()), EFOpenError);
    t->SaveToBinaryFile((dir / "closed.bin").string());  // a closed table writes nothing
    EXPECT_FALSE(std::filesystem::exists(dir / "closed.bin"));
    t->Open();
    AddTask(*t, "x");
    EXPECT_THROW(t->SaveToBinaryFile((dir / "Tasks.bin").string()), EFCreateError);
    t->SaveToBinaryFile((dir / "ok.bin").string());
    auto u = Tasks();
    u->LoadFromBinaryFile((dir / "ok.bin").string());
    EXPECT_EQ(u->RecordCount(), 1);
    std::filesystem::remove_all(dir);
}

TEST(MemData, StringsAreCutAtTheirSizeInBytesOfTheCodePage) {
    auto e = MakeTable("Emails");
    e->Open();
    e->Append();
    e->FieldByName("From").SetAsString("0123456789012345678901234");  // 25 bytes
    e->FieldByName("To").SetAsString("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9"
                                     "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9");  // 12 x é
    e->FieldByName("Subject").SetAsString("\xE4\xB8\xAD");  // not in the code page
    e->Post();
    EXPECT_EQ(e->FieldByName("From").AsString(), "01234567890123456789");
    EXPECT_EQ(e->FieldByName("To").AsString().size(), 24u);  // 12 single bytes, 2 each in UTF-8
    EXPECT_EQ(e->FieldByName("Subject").AsString(), "?");
}

TEST(MemData, EditOnATableThatShowsNoRowInserts) {
    auto t = Tasks();
    t->Open();
    t->Edit();
    EXPECT_EQ(t->State(), TDataSetState::dsInsert);
    t->Post();
    EXPECT_EQ(t->RecordCount(), 1);
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 1);
    EXPECT_TRUE(t->FieldByName("Description").IsNull());

    // Under a filter that shows nothing the blank row is added but not counted.
    ProgrammedFilter(*t, [](TdxMemData&) { return false; });
    t->Edit();
    t->Post();
    EXPECT_EQ(t->RecordCount(), 0);
    EXPECT_EQ(t->RowCount(), 2);
    EXPECT_TRUE(t->Eof() && t->Bof());
}

TEST(MemData, CursorMovesPostThePendingRowAndFieldsRefuseWritesInBrowse) {
    auto t = Tasks();
    t->Open();
    EXPECT_TRUE(t->Eof() && t->Bof());
    EXPECT_THROW(t->Delete(), EDatabaseError);
    EXPECT_THROW(t->FieldByName("Description").SetAsString("x"), EDatabaseError);
    EXPECT_THROW(t->FieldByName("Nope"), EDatabaseError);
    EXPECT_EQ(t->FindField("Nope"), nullptr);
    t->Append();
    t->FieldByName("Description").SetAsString("pending");
    t->First();  // posts
    EXPECT_EQ(t->State(), TDataSetState::dsBrowse);
    EXPECT_EQ(t->RecordCount(), 1);
    t->Append();
    t->Delete();  // drops the new row
    EXPECT_EQ(t->RecordCount(), 1);
    t->Post();  // nothing in Browse
    AddTask(*t, "b");
    AddTask(*t, "c");
    t->SetRecNo(2);
    EXPECT_EQ(t->FieldByName("Description").AsString(), "b");
    t->SetRecNo(9);  // outside the table: nothing
    EXPECT_EQ(t->RecNo(), 2);
    TBookmark b = t->GetBookmark();
    t->First();
    t->Delete();
    t->Append();
    t->Post();
    t->GotoBookmark(b);
    EXPECT_EQ(t->FieldByName("Description").AsString(), "b");
    t->Last();
    t->Next();
    EXPECT_TRUE(t->Eof());
    EXPECT_FALSE(t->Bof());
}

TEST(MemData, FieldOnChangeFiresOnAssignmentInEditButNotDuringALoad) {
    auto t = Tasks();
    int fired = 0;
    t->FieldByName("Complete").OnChange = [&](TField& f) {
        ++fired;
        EXPECT_EQ(f.DataSet().State(), TDataSetState::dsEdit);
        f.DataSet().FieldByName("Percent_Complete").SetAsInteger(f.AsBoolean() ? 100 : 0);
    };
    t->Open();
    AddTask(*t, "a");
    t->Edit();
    t->FieldByName("Complete").SetAsBoolean(true);
    EXPECT_EQ(fired, 1);
    EXPECT_EQ(t->FieldByName("Percent_Complete").AsInteger(), 100);  // before Post
    t->Post();
    std::string b;
    t->SaveToStream(b);
    t->LoadFromStream(b);
    EXPECT_EQ(fired, 1);
    EXPECT_TRUE(t->FieldByName("Complete").AsBoolean());
}

TEST(MemData, ProgrammedFilterProtocol) {
    auto t = Tasks();
    t->Open();
    for (const char* d : {"a", "b", "c", "d"}) AddTask(*t, d);
    ProgrammedFilter(*t, [](TdxMemData& x) { return x.FieldByName("ID").AsInteger() % 2 == 0; });
    EXPECT_EQ(t->RecordCount(), 2);
    EXPECT_EQ(Ids(*t), (std::vector<int>{2, 4}));
    EXPECT_EQ(t->RecNo(), 3 - 1);  // Eof leaves the cursor on the last shown row

    // Setting Filtered to its present value does nothing: a changed list is not taken up.
    t->FilterList().push_back(1);
    t->SetFiltered(true);
    EXPECT_EQ(t->RecordCount(), 3);  // the list itself is read live
    t->FilterList().pop_back();

    // Locate does not find a hidden row.
    EXPECT_FALSE(t->Locate("Description", Variant("a")));
    EXPECT_TRUE(t->Locate("Description", Variant("d")));
    EXPECT_EQ(t->RecNo(), 2);

    // A row appended under the filter does not join it; a deleted one leaves it.
    AddTask(*t, "e");
    EXPECT_EQ(t->RecordCount(), 2);
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 5);  // readable right after Post
    t->First();
    int deletedBefore = 0;
    t->BeforeDelete = [&](TdxMemData& x) { deletedBefore = x.FieldByName("ID").AsInteger(); };
    t->Delete();
    EXPECT_EQ(deletedBefore, 2);
    EXPECT_EQ(t->FilterList(), (std::vector<int>{3}));  // row 4 became row 3
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 4);

    // Bound of RecNo is the whole table, also under a filter.
    EXPECT_THROW(t->SetRecNo(3), EListError);
    t->SetRecNo(7);  // outside the table: nothing

    // An empty list: no rows, both ends.
    ProgrammedFilter(*t, [](TdxMemData&) { return false; });
    EXPECT_EQ(t->RecordCount(), 0);
    EXPECT_TRUE(t->Eof() && t->Bof());

    t->SetProgrammedFilter(false);
    t->SetFiltered(false);
    EXPECT_EQ(t->RecordCount(), 4);
}

TEST(MemData, LocateOptionsAndLookup) {
    auto t = Tasks();
    t->Open();
    AddTask(*t, "Audit", 1);
    AddTask(*t, "audit", 2);
    AddTask(*t, "Auditing", 2);
    t->Append();
    t->Post();  // a row with no description

    EXPECT_TRUE(t->Locate("Description", Variant("audit")));
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 2);
    EXPECT_TRUE(t->Locate("Description", Variant("AUDIT"), loCaseInsensitive));
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 1);
    EXPECT_TRUE(t->Locate("Parent_ID; Description", {Variant(2), Variant("AUDITING")}, loCaseInsensitive));
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 3);
    EXPECT_TRUE(t->Locate("Description", Variant("Auditi"), loPartialKey));
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 3);
    EXPECT_FALSE(t->Locate("Description", Variant(""), loPartialKey));
    EXPECT_TRUE(t->Locate("Description", Variant()));  // a null key finds a row without value
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 4);
    t->First();
    EXPECT_FALSE(t->Locate("Description", Variant("nothing")));
    EXPECT_EQ(t->RecNo(), 1);  // the cursor stays
    EXPECT_THROW(t->Locate("Parent_ID;Description", Variant(1)), EDatabaseError);

    EXPECT_EQ(t->Lookup("ID", Variant(3), "Description").AsString(), "Auditing");
    EXPECT_EQ(t->RecNo(), 1);  // Lookup leaves the cursor
    auto both = t->Lookup("ID", std::vector<Variant>{Variant(2)}, "Description;Parent_ID");
    ASSERT_TRUE(both);
    EXPECT_EQ((*both)[1].AsInteger(), 2);
    EXPECT_TRUE(t->Lookup("ID", Variant(99), "Description").IsNull());
}

TEST(MemData, SortedTableInsertsInPlaceAndItsShortcutFindsWhatAScanFinds) {
    auto src = Tasks();
    src->Open();
    const char* names[] = {"beta", "Alpha", "alpha", "gamma", "Beta", "beta", "delta"};
    for (const char* n : names) AddTask(*src, n);

    TdxMemData copy("MemDataAddTask");
    DefineAddTaskTable(copy);
    copy.LoadFromDataSet(src.get());
    EXPECT_TRUE(src->Eof());  // the source is left at its end
    ASSERT_EQ(copy.RecordCount(), 7);
    // The cursor stands on the last row copied, in its sorted place.
    EXPECT_EQ(copy.FieldByName("Description").AsString(), "delta");
    EXPECT_EQ(copy.RecNo(), 2);
    std::vector<std::string> order;
    copy.First();
    while (!copy.Eof()) {
        order.push_back(copy.FieldByName("Description").AsString());
        copy.Next();
    }
    // Descending by the locale's collation, case weighing (lower case first within a letter).
    EXPECT_EQ(order, (std::vector<std::string>{"gamma", "delta", "Beta", "beta", "beta", "Alpha", "alpha"}));

    // The copy keeps IDs as they stand, and raises the counter to them.
    EXPECT_TRUE(copy.Locate("ID", Variant(7)));
    copy.Append();
    copy.FieldByName("Description").SetAsString("epsilon");
    copy.Post();
    EXPECT_EQ(copy.FieldByName("ID").AsInteger(), 8);
    EXPECT_EQ(copy.RecNo(), 2);  // moved to its sorted place

    // The binary search on the sorted field lands where the scan would.
    for (const char* n : {"beta", "Beta", "alpha", "zeta", "epsilon"}) {
        bool viaSort = copy.Locate("Description", Variant(n));
        int at = viaSort ? copy.RecNo() : 0;
        int scan = 0;
        copy.First();
        while (!copy.Eof()) {
            if (copy.FieldByName("Description").AsString() == n) {
                scan = copy.RecNo();
                break;
            }
            copy.Next();
        }
        EXPECT_EQ(at, scan) << n;
    }

    // A second copy appends every row again, each after the rows that sort equal to it.
    copy.LoadFromDataSet(src.get());
    EXPECT_EQ(copy.RecordCount(), 15);
    std::vector<int> betas;
    for (copy.First(); !copy.Eof(); copy.Next())
        if (copy.FieldByName("Description").AsString() == "beta") betas.push_back(copy.FieldByName("ID").AsInteger());
    EXPECT_EQ(betas, (std::vector<int>{1, 6, 1, 6}));
}

TEST(MemData, ObserversHearNothingWhileControlsAreDisabled) {
    auto t = Tasks();
    Recorder r;
    t->AddObserver(&r);
    t->Open();
    r.events.clear();
    t->DisableControls();
    t->DisableControls();
    AddTask(*t, "a");
    t->First();
    t->EnableControls();
    EXPECT_TRUE(r.events.empty());
    t->EnableControls();
    ASSERT_EQ(r.events.size(), 1u);
    EXPECT_EQ(r.events[0], TDataEvent::DataSetChange);
    t->EnableControls();  // never below zero
    EXPECT_FALSE(t->ControlsDisabled());
    r.events.clear();
    t->Edit();
    t->FieldByName("Description").SetAsString("b");
    t->Next();
    EXPECT_NE(std::find(r.events.begin(), r.events.end(), TDataEvent::RecordChange), r.events.end());
    EXPECT_EQ(r.events.back(), TDataEvent::DataSetScroll);
    t->RemoveObserver(&r);
}

// A view rebuilds when told of a change; a filter switched on or off tells it once, and the
// rows' version, by which a view knows whether what it shows could differ, moves only when a
// row really changed.
TEST(MemData, AFilterChangeTellsOnceAndOnlyRealChangesMoveTheRowsVersion) {
    auto t = Tasks();
    Recorder r;
    t->AddObserver(&r);
    t->Open();
    AddTask(*t, "a");
    AddTask(*t, "b");
    r.events.clear();
    t->SetProgrammedFilter(true);
    t->FilterList() = {2};
    t->SetFiltered(true);
    EXPECT_EQ(std::count(r.events.begin(), r.events.end(), TDataEvent::DataSetChange), 1);
    EXPECT_EQ(t->FieldByName("Description").AsString(), "b");
    r.events.clear();
    t->SetFiltered(false);
    EXPECT_EQ(std::count(r.events.begin(), r.events.end(), TDataEvent::DataSetChange), 1);

    const uint64_t v = t->RowsVersion();
    t->First();
    t->Edit();
    t->Post();  // as each pane's close does
    t->Edit();
    t->FieldByName("Description").SetAsString("a");  // the same text written again
    t->Post();
    EXPECT_EQ(t->RowsVersion(), v);
    t->Edit();
    t->FieldByName("Description").SetAsString("A");
    t->Post();
    EXPECT_GT(t->RowsVersion(), v);
    const uint64_t changed = t->RowsVersion();
    std::string bytes;
    t->SaveToStream(bytes);
    t->LoadFromStream(bytes);
    EXPECT_GT(t->RowsVersion(), changed);
    t->RemoveObserver(&r);
}

TEST(MemData, CloseEmptiesAndActiveTrueOnAnOpenTableDoesNothing) {
    auto t = Tasks();
    t->Open();
    AddTask(*t, "a");
    t->SetActive(true);
    EXPECT_EQ(t->RecordCount(), 1);
    t->Close();
    EXPECT_FALSE(t->Active());
    EXPECT_EQ(t->RecordCount(), 0);
    t->Open();
    AddTask(*t, "b");
    EXPECT_EQ(t->FieldByName("ID").AsInteger(), 1);
}
