// Start-up, saves and shutdown over the folder of ten busy years, each beside its physical
// reference measured in the same run, with the ratio as the counter "ratio":
// - start-up (AddInStartupComplete, all seven tables loaded) against reading the same files
//   into memory, at one, two and four times the folder;
// - each table's save at its pane's close, the table changed, against writing the same bytes to
//   a new file and flushing it;
// - closing the explorer (the six panes' close) with nothing changed, and with every table
//   changed against writing and flushing all seven files;
// - the whole shutdown: the panes' close, the two shutdown calls and the module's end.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "BusyFolder.h"
#include "base/Clock.h"
#include "base/DateTime.h"
#include "host/AddinModule.h"
#include "platform/System.h"
#include "sim/SimServices.h"
#include "store/Tables.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point a, Clock::time_point b) { return std::chrono::duration<double>(b - a).count(); }

// The reference of a start-up: each file read whole into a buffer of its own.
double ReadFilesIntoMemory(const std::string& folder) {
    const auto t0 = Clock::now();
    size_t total = 0;
    for (const TableInfo& info : PersistedTables()) {
        const int fd = ::open((folder + info.fileName).c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) continue;
        struct stat st;
        ::fstat(fd, &st);
        std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(st.st_size) + 1]);
        size_t done = 0;
        for (ssize_t n; done < static_cast<size_t>(st.st_size) &&
                        (n = ::read(fd, buffer.get() + done, static_cast<size_t>(st.st_size) - done)) > 0;)
            done += static_cast<size_t>(n);
        ::close(fd);
        benchmark::DoNotOptimize(buffer.get());
        total += done;
    }
    benchmark::DoNotOptimize(total);
    return Seconds(t0, Clock::now());
}

// The reference of a save: the bytes written to a new file in the folder, flushed, closed.
double WriteAndFlush(const std::string& folder, const std::string& bytes) {
    const std::string path = folder + ".reference.bin";
    const auto t0 = Clock::now();
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    for (size_t done = 0; fd >= 0 && done < bytes.size();) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n <= 0) break;
        done += static_cast<size_t>(n);
    }
    ::fsync(fd);
    ::close(fd);
    const double s = Seconds(t0, Clock::now());
    ::unlink(path.c_str());
    return s;
}

// A module started as Outlook starts it, over the add-in file in the folder.
struct Started {
    std::unique_ptr<sim::TSimHost> host;
    std::unique_ptr<TAddInModule> module;
    explicit Started(const std::string& folder, bool prefetch = true) {
        SetClock(EncodeDate(2026, 3, 5) + EncodeTime(9, 0, 0, 0));
        host = std::make_unique<sim::TSimHost>(folder + "Corvelle.dll");
        module = std::make_unique<TAddInModule>(host->HostInfo());
        module->PrefetchTables = prefetch;
        module->OnConnection();
        module->OnStartupComplete();
    }
};

// A copy of the busy folder that saves may change.
std::string ScratchCopy(int scale) {
    const std::string from = busy::EnsureBusyFolder(scale);
    const std::string to = platform::TempFolder() + "corvelle-bench-saves-" +
                           std::to_string(platform::ProcessId()) + "-x" + std::to_string(scale) + "/";
    std::error_code ec;
    fs::remove_all(to, ec);
    fs::create_directories(to);
    for (const TableInfo& info : PersistedTables()) fs::copy_file(from + info.fileName, to + info.fileName);
    return to;
}

struct Scratch {
    std::string folder;
    explicit Scratch(int scale) : folder(ScratchCopy(scale)) {}
    ~Scratch() {
        std::error_code ec;
        fs::remove_all(folder, ec);
    }
};

// Changes one row of the table: an integer field of its first row goes up by one, then back.
void ChangeARow(TdxMemData& t) {
    static const char* candidates[] = {"Importance", "Bill_Rate", "Attachments", "Glyph", "Type"};
    TField* f = nullptr;
    for (const char* name : candidates)
        if ((f = t.FindField(name))) break;
    t.First();
    t.Edit();
    f->SetAsInteger(f->AsInteger() % 2 == 0 ? f->AsInteger() + 1 : f->AsInteger() - 1);
    t.Post();
}

void SetRatio(benchmark::State& state, double measured, double reference) {
    const double n = static_cast<double>(state.iterations());
    state.counters["reference_ms"] = reference / n * 1e3;
    state.counters["ratio"] = reference > 0 ? measured / reference : 0;
}

void StartUp(benchmark::State& state, bool prefetch) {
    const int scale = static_cast<int>(state.range(0));
    const std::string folder = busy::EnsureBusyFolder(scale);
    double measured = 0, reference = 0;
    for (auto _ : state) {
        reference += ReadFilesIntoMemory(folder);
        const auto t0 = Clock::now();
        auto started = std::make_unique<Started>(folder, prefetch);
        const double s = Seconds(t0, Clock::now());
        measured += s;
        state.SetIterationTime(s);
        started.reset();
    }
    SetRatio(state, measured, reference);
    state.counters["files_MB"] = static_cast<double>(busy::FolderBytes(folder)) / 1e6;
}

// Start-up with the item tables' files parsed on a second thread, as the module starts.
void BM_StartUp(benchmark::State& state) { StartUp(state, true); }
BENCHMARK(BM_StartUp)->Arg(1)->Arg(2)->Arg(4)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

// The same on one thread: every table loads its file at its turn.
void BM_StartUpOneThread(benchmark::State& state) { StartUp(state, false); }
BENCHMARK(BM_StartUpOneThread)->Arg(1)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

// Each table's file loaded alone, mapped as start-up maps it, at 1x: what the two threads share
// out.
void BM_LoadTable(benchmark::State& state) {
    const std::string folder = busy::EnsureBusyFolder(1);
    const TableInfo& info = PersistedTables().at(static_cast<size_t>(state.range(0)));
    state.SetLabel(info.fileName);
    for (auto _ : state) {
        auto table = MakeTable(info.name);
        const auto t0 = Clock::now();
        table->LoadFromBinaryFile(folder + info.fileName, TableFileRead::Map);
        state.SetIterationTime(Seconds(t0, Clock::now()));
    }
}
BENCHMARK(BM_LoadTable)->DenseRange(0, 6)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

// Each table's save routine, the table changed, as its pane's close calls it.
void BM_SaveChangedTable(benchmark::State& state) {
    Scratch scratch(1);
    Started s(scratch.folder);
    TAddInModule& m = *s.module;
    struct Entry {
        TdxMemData* table;
        void (TAddInModule::*save)();
    };
    const Entry entries[] = {{&m.MemDataTasks, &TAddInModule::SaveTasks},
                             {&m.MemDataTime, &TAddInModule::SaveTime},
                             {&m.MemDataEmails, &TAddInModule::SaveEmails},
                             {&m.MemDataContacts, &TAddInModule::SaveContacts},
                             {&m.MemDataDistLists, &TAddInModule::SaveDistLists},
                             {&m.MemDataAppointments, &TAddInModule::SaveAppointments},
                             {&m.MemDataNotes, &TAddInModule::SaveNotes}};
    const Entry& e = entries[state.range(0)];
    state.SetLabel(e.table->Name());
    double measured = 0, reference = 0;
    for (auto _ : state) {
        ChangeARow(*e.table);
        std::string bytes;
        e.table->SaveToStream(bytes);
        reference += WriteAndFlush(scratch.folder, bytes);
        bytes = std::string();
        const auto t0 = Clock::now();
        (m.*e.save)();
        const double d = Seconds(t0, Clock::now());
        measured += d;
        state.SetIterationTime(d);
    }
    SetRatio(state, measured, reference);
}
BENCHMARK(BM_SaveChangedTable)->DenseRange(0, 6)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

// The explorer's close: the six panes close, each saving its tables.
void CloseExplorer(benchmark::State& state, bool changeAll) {
    const int scale = static_cast<int>(state.range(0));
    Scratch scratch(scale);
    Started s(scratch.folder);
    TAddInModule& m = *s.module;
    TdxMemData* tables[] = {&m.MemDataTasks,    &m.MemDataTime,         &m.MemDataEmails, &m.MemDataContacts,
                            &m.MemDataDistLists, &m.MemDataAppointments, &m.MemDataNotes};
    m.adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail);
    double measured = 0, reference = 0;
    for (auto _ : state) {
        if (changeAll) {
            for (TdxMemData* t : tables) {
                ChangeARow(*t);
                std::string bytes;
                t->SaveToStream(bytes);
                reference += WriteAndFlush(scratch.folder, bytes);
            }
        }
        const auto t0 = Clock::now();
        m.adxOlFormsManager1.ExplorerClosed();
        const double d = Seconds(t0, Clock::now());
        measured += d;
        state.SetIterationTime(d);
        m.adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail);
    }
    if (changeAll) SetRatio(state, measured, reference);
}

void BM_CloseExplorerNothingChanged(benchmark::State& state) { CloseExplorer(state, false); }
BENCHMARK(BM_CloseExplorerNothingChanged)->Arg(1)->Arg(2)->Arg(4)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);

void BM_CloseExplorerEveryTableChanged(benchmark::State& state) { CloseExplorer(state, true); }
BENCHMARK(BM_CloseExplorerEveryTableChanged)->Arg(1)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

// What Outlook times at its close: the panes' close with nothing changed, the two shutdown
// calls, and the module's end with its tables.
void BM_ShutdownNothingChanged(benchmark::State& state) {
    const int scale = static_cast<int>(state.range(0));
    Scratch scratch(scale);
    for (auto _ : state) {
        auto s = std::make_unique<Started>(scratch.folder);
        s->module->adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail);
        const auto t0 = Clock::now();
        s->module->adxOlFormsManager1.ExplorerClosed();
        s->module->OnBeginShutdown();
        s->module->OnDisconnection();
        s->module.reset();
        const double d = Seconds(t0, Clock::now());
        state.SetIterationTime(d);
    }
}
BENCHMARK(BM_ShutdownNothingChanged)->Arg(1)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
