// The table engine at 100,000 rows: saving and loading whole tables, a Locate that has to walk
// nearly all of them, and a programmed filter pass as the panes build it; and a header of
// 100,000 field descriptors.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "BusyFolder.h"
#include "base/DateTime.h"
#include "platform/System.h"
#include "store/MemData.h"
#include "store/Tables.h"

namespace {

constexpr int kRows = 100000;
constexpr int kTasks = 100;  // rows are spread over this many tasks

std::string TempPath(const char* name) {
    return platform::TempFolder() + "corvelle-bench-" + std::to_string(platform::ProcessId()) +
           "-" + name + ".bin";
}

std::string EntryIdOf(int i) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "00000000A1B2C3D4E5F6071800000000%08d", i);
    return buf;
}

// Emails with 1 KB bodies.
std::unique_ptr<TdxMemData> MakeEmails() {
    auto t = MakeTable("Emails");
    t->Open();
    t->DisableControls();
    TField& taskId = t->FieldByName("TaskID");
    TField& entryId = t->FieldByName("EntryID");
    TField& attachments = t->FieldByName("Attachments");
    TField& date = t->FieldByName("Date");
    TField& from = t->FieldByName("From");
    TField& to = t->FieldByName("To");
    TField& subject = t->FieldByName("Subject");
    TField& text = t->FieldByName("Text");
    TField& messageClass = t->FieldByName("MessageClass");
    std::string body;
    for (int i = 0; body.size() < 1024; ++i) body += "Line " + std::to_string(i) + " of the message body. ";
    body.resize(1024);
    const TDateTime start = EncodeDate(2025, 1, 1);
    for (int i = 0; i < kRows; ++i) {
        t->Append();
        taskId.SetAsInteger(i % kTasks + 1);
        entryId.SetAsString(EntryIdOf(i));
        attachments.SetAsInteger(i % 3);
        date.SetAsDateTime(start + i / 100.0);
        from.SetAsString("sender" + std::to_string(i % 50) + "@example.com");
        to.SetAsString("me@example.com");
        subject.SetAsString("Re: matter " + std::to_string(i % kTasks) + ", message " + std::to_string(i));
        text.SetAsString(body);
        messageClass.SetAsString("IPM.Note");
        t->Post();
    }
    t->EnableControls();
    return t;
}

std::unique_ptr<TdxMemData> MakeTime() {
    auto t = MakeTable("Time");
    t->Open();
    t->DisableControls();
    TField& glyph = t->FieldByName("Glyph");
    TField& taskName = t->FieldByName("Task_Name");
    TField& fullName = t->FieldByName("Task_Full_Name");
    TField& taskId = t->FieldByName("Task_ID");
    TField& fullNo = t->FieldByName("Task_Full_No");
    TField& createDate = t->FieldByName("Create_Date");
    TField& time = t->FieldByName("Time");
    TField& decTime = t->FieldByName("Dec_Time");
    TField& userName = t->FieldByName("User_Name");
    TField& userAddress = t->FieldByName("User_Address");
    TField& billRate = t->FieldByName("Bill_Rate");
    TField& note = t->FieldByName("Note");
    TField& timeDate = t->FieldByName("Time_Date");
    TField& closed = t->FieldByName("Closed");
    const TDateTime start = EncodeDate(2025, 1, 1);
    for (int i = 0; i < kRows; ++i) {
        const int task = i % kTasks + 1;
        const int minutes = 6 * (i % 40 + 1);
        t->Append();
        glyph.SetAsInteger(i % 2);
        taskName.SetAsString("Task " + std::to_string(task));
        fullName.SetAsString("Client / Matter / Task " + std::to_string(task));
        taskId.SetAsInteger(task);
        fullNo.SetAsString("1." + std::to_string(task % 10) + "." + std::to_string(task));
        createDate.SetAsDateTime(start + i / 300);
        time.SetAsDateTime(EncodeTime(minutes / 60, minutes % 60, 0, 0));
        decTime.SetAsCurrency(Currency::FromDouble(minutes / 60.0));
        userName.SetAsString("A. User");
        userAddress.SetAsString("a.user@example.com");
        billRate.SetAsInteger(150);
        note.SetAsString("Drafting and review, entry " + std::to_string(i));
        timeDate.SetAsDateTime(start + i / 300);
        closed.SetAsBoolean(i % 7 == 0);
        t->Post();
    }
    t->EnableControls();
    return t;
}

TdxMemData& Emails() {
    static std::unique_ptr<TdxMemData> t = MakeEmails();
    return *t;
}

TdxMemData& Time() {
    static std::unique_ptr<TdxMemData> t = MakeTime();
    return *t;
}

void Save(benchmark::State& state, TdxMemData& table, const char* name) {
    const std::string path = TempPath(name);
    for (auto _ : state) table.SaveToBinaryFile(path);
    state.SetItemsProcessed(state.iterations() * table.RowCount());
    state.SetBytesProcessed(state.iterations() *
                            static_cast<int64_t>(std::filesystem::file_size(path)));
    std::filesystem::remove(path);
}

void Load(benchmark::State& state, TdxMemData& source, const char* tableName, const char* name) {
    const std::string path = TempPath(name);
    source.SaveToBinaryFile(path);
    auto table = MakeTable(tableName);
    for (auto _ : state) {
        table->LoadFromBinaryFile(path);
        benchmark::DoNotOptimize(table->RowCount());
    }
    if (table->RowCount() != kRows) state.SkipWithError("the load lost rows");
    state.SetItemsProcessed(state.iterations() * kRows);
    state.SetBytesProcessed(state.iterations() *
                            static_cast<int64_t>(std::filesystem::file_size(path)));
    std::filesystem::remove(path);
}

void BM_SaveEmails(benchmark::State& state) { Save(state, Emails(), "emails"); }
void BM_LoadEmails(benchmark::State& state) { Load(state, Emails(), "Emails", "emails"); }
void BM_SaveTime(benchmark::State& state) { Save(state, Time(), "time"); }
void BM_LoadTime(benchmark::State& state) { Load(state, Time(), "Time", "time"); }

// The two files that weigh most at start-up, from the busy folder at 1x, mapped as start-up maps
// them: the parse alone, in processor time, the table made beforehand.
void BM_LoadBusyFile(benchmark::State& state) {
    const std::string folder = busy::EnsureBusyFolder(1);
    const char* name = state.range(0) == 0 ? "Time" : "Emails";
    const std::string path = folder + (state.range(0) == 0 ? "Time.bin" : "Emails.bin");
    state.SetLabel(name);
    auto table = MakeTable(name);
    for (auto _ : state) {
        table->LoadFromBinaryFile(path, TableFileRead::Map);
        benchmark::DoNotOptimize(table->RowCount());
        state.PauseTiming();
        table->Close();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(std::filesystem::file_size(path)));
}

// Locate walks the rows from the first; the key sits near the end.
void BM_LocateIntegerKey(benchmark::State& state) {
    TdxMemData& t = Emails();
    const Variant key(kRows - 10);
    for (auto _ : state) {
        t.First();
        if (!t.Locate("ID", key)) state.SkipWithError("not found");
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

void BM_LocateTextKey(benchmark::State& state) {
    TdxMemData& t = Emails();
    const Variant key(EntryIdOf(kRows - 10));
    for (auto _ : state) {
        t.First();
        if (!t.Locate("EntryID", key)) state.SkipWithError("not found");
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

void BM_LocateTwoKeysCaseInsensitive(benchmark::State& state) {
    TdxMemData& t = Time();
    const int row = kRows - 10;
    const std::vector<Variant> keys{Variant(row % kTasks + 1),
                                    Variant("DRAFTING AND REVIEW, ENTRY " + std::to_string(row))};
    for (auto _ : state) {
        t.First();
        if (!t.Locate("Task_ID; Note", keys, loCaseInsensitive)) state.SkipWithError("not found");
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

// The panes' filter: drop the old one, collect the rows of one task, switch the new one on.
void BM_ProgrammedFilter(benchmark::State& state) {
    TdxMemData& t = Emails();
    TField& taskId = t.FieldByName("TaskID");
    const int wanted = 42;
    int shown = 0;
    for (auto _ : state) {
        t.DisableControls();
        t.SetProgrammedFilter(false);
        t.SetFiltered(false);
        t.SetProgrammedFilter(true);
        t.First();
        while (!t.Eof()) {
            if (taskId.AsInteger() == wanted) t.FilterList().push_back(t.CurRec() + 1);
            t.Next();
        }
        t.SetFiltered(true);
        t.EnableControls();
        shown = t.RecordCount();
    }
    t.SetProgrammedFilter(false);
    t.SetFiltered(false);
    if (shown != kRows / kTasks) state.SkipWithError("wrong rows in the filter");
    state.SetItemsProcessed(state.iterations() * kRows);
}

// A hostile header: as many field descriptors as a 1 MB file holds, read into a table of the
// file's own fields (corvelle-table dump without --table). Must stay linear in the file's size.
void BM_CreateFieldsFromAHundredThousandDescriptors(benchmark::State& state) {
    std::string file = "Ver";
    const double version = 1.91;
    file.append(reinterpret_cast<const char*>(&version), 8);
    const int32_t count = 100000, size = 4;
    const int16_t code = 3;
    file.append(reinterpret_cast<const char*>(&count), 4);
    for (int i = 0; i < count; ++i) {
        const std::string name = "F" + std::to_string(i);
        const auto nameLength = static_cast<int16_t>(name.size() + 1);
        file.append(reinterpret_cast<const char*>(&size), 4);
        file.append(reinterpret_cast<const char*>(&code), 2);
        file.append(reinterpret_cast<const char*>(&nameLength), 2);
        file.append(name.c_str(), name.size() + 1);
    }
    for (auto _ : state) {
        TdxMemData t("Table");
        t.CreateFieldsFromStream(file);
        t.LoadFromStream(file);
        if (t.FieldCount() != count + 1) state.SkipWithError("fields missing");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(file.size()));
}

}  // namespace

BENCHMARK(BM_SaveEmails)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadEmails)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveTime)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadTime)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadBusyFile)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LocateIntegerKey)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LocateTextKey)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LocateTwoKeysCaseInsensitive)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ProgrammedFilter)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CreateFieldsFromAHundredThousandDescriptors)->Unit(benchmark::kMillisecond);
