// What a user does in the explorer of a firm with ten busy years, each measured beside a plain
// pass over as much data in the same run (the ratio is printed as a counter): a focus change on
// the tree with its five refilters, a new task through the dialog, the completed-task setting
// applying 3,650 days, opening and closing the explorer, a pane's activation and the timesheet's
// date filter. The folder: 10,000 tasks (50 roots, four levels, 70% completed over ten years),
// 100,000 time entries, 200,000 mails, 20,000 contacts, 2,000 lists, 30,000 appointments and
// 20,000 notes; the focus change and the filter also at twice and four times as much.
// One frame is 16 ms.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "base/DateTime.h"
#include "filing/uEmails.h"
#include "filing/ufmEmails.h"
#include "host/AddinModule.h"
#include "sim/SimServices.h"
#include "store/MemData.h"
#include "support/ufmOptions.h"
#include "tasks/uTasks.h"
#include "tasks/ufmList.h"
#include "tasks/ufmNewTask.h"
#include "time/ufmTime.h"
#include "toolkit/ModalScript.h"

namespace {

// A small deterministic mix, so that the folder is the same in every run.
uint32_t Mix(uint32_t x) {
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    x ^= x >> 16;
    return x;
}

const char* const kWords[] = {"Audit",    "Lease",  "Claim",   "Merger", "Review", "Estate", "Contract",
                              "Dispute",  "Filing", "Account", "Tax",    "Payroll", "Licence", "Appeal",
                              "Transfer", "Loan",   "Trust",   "Patent", "Tender", "Survey"};
std::string Words(uint32_t h) {
    return std::string(kWords[h % 20]) + " " + kWords[(h / 20) % 20] + " " + std::to_string(h % 997);
}

struct Folder {
    int scale;
    std::unique_ptr<sim::TSimHost> host;
    std::unique_ptr<TAddInModule> module;
    std::vector<int> busy;  // tasks with many rows filed against them, and tasks of the tail
    std::vector<int> tail;
    int tasks = 0;

    explicit Folder(int scale_) : scale(scale_) {
        SetClock(EncodeDate(2026, 3, 5) + EncodeTime(9, 0, 0, 0));
        host = std::make_unique<sim::TSimHost>("/nonexistent-corvelle-bench/Corvelle.dll");
        module = std::make_unique<TAddInModule>(host->HostInfo());
        module->OnConnection();
        module->OnStartupComplete();
        FillTasks(10000 * scale);
        FillTime(100000 * scale);
        FillItems(module->MemDataEmails, 200000 * scale, "Date");
        FillItems(module->MemDataContacts, 20000 * scale, nullptr);
        FillItems(module->MemDataDistLists, 2000 * scale, nullptr);
        FillItems(module->MemDataAppointments, 30000 * scale, "Start");
        FillItems(module->MemDataNotes, 20000 * scale, "Date");
    }

    ~Folder() {
        module->OnBeginShutdown();
        module->OnDisconnection();
        module.reset();
    }

    TAddInModule& m() { return *module; }

    // Fifty roots, four levels; the ID of a task is its position, 1 up. A task at level 1 to 3
    // is complete with a chance of 70/90, its completion spread over ten years; roots stay open.
    void FillTasks(int count) {
        TdxMemData& t = m().MemDataTasks;
        t.DisableControls();
        const int roots = 50 * scale;
        const int level1 = roots + 450 * scale;
        const int level2 = level1 + 2000 * scale;
        std::vector<int> numbers(static_cast<size_t>(count) + 1, 0);
        TDateTime today = Date();
        for (int i = 0; i < count; ++i) {
            uint32_t h = Mix(static_cast<uint32_t>(i) + 17);
            int parent = -1;
            if (i >= level2) parent = level1 + 1 + static_cast<int>(h % static_cast<uint32_t>(level2 - level1));
            else if (i >= level1) parent = roots + 1 + static_cast<int>(h % static_cast<uint32_t>(level1 - roots));
            else if (i >= roots) parent = 1 + static_cast<int>(h % static_cast<uint32_t>(roots));
            int& n = numbers[static_cast<size_t>(parent < 0 ? 0 : parent)];
            t.Append();
            t.FieldByName("Parent_ID").SetAsInteger(parent);
            t.FieldByName("Number").SetAsInteger(++n);
            t.FieldByName("Owner_Name").SetAsString("Alex Morgan");
            t.FieldByName("Description").SetAsString(parent < 0 ? "Client " + Words(h) : Words(h));
            t.FieldByName("Start_Date").SetAsDateTime(today - (h % 3650));
            t.FieldByName("Create_Date").SetAsDateTime(today - (h % 3650));
            bool complete = parent >= 0 && (h >> 8) % 90 < 70;
            t.FieldByName("Complete").SetAsBoolean(complete);
            t.FieldByName("Percent_Complete").SetAsInteger(complete ? 100 : 0);
            if (complete) {
                t.FieldByName("Status").SetAsInteger(2);
                t.FieldByName("Date_Complete").SetAsDateTime(today - 1 - ((h >> 12) % 3650));
            } else if (h % 7 == 0) {
                t.FieldByName("Due_Date").SetAsDateTime(today + static_cast<int>(h % 30) - 10);
            }
            t.Post();
        }
        t.EnableControls();
        tasks = count;
        // Busy matters: open tasks under the first roots; the tail: open tasks anywhere.
        for (int id = 1; id <= count && (busy.size() < 2 || tail.size() < 2); ++id) {
            if (!Open(id)) continue;
            if (id <= 3 && busy.size() < 2) busy.push_back(id);
            else if (id > level2 && tail.size() < 2) tail.push_back(id);
        }
    }

    bool Open(int id) {
        return !m().MemDataTasks.Lookup("ID", Variant(id), "Complete").AsBoolean();
    }

    // A third of the rows go to the first fifty tasks, the rest spread over all.
    int TaskOfRow(int i) const {
        return (i % 3 == 0) ? (i % 50) + 1 : static_cast<int>(Mix(static_cast<uint32_t>(i)) % static_cast<uint32_t>(tasks)) + 1;
    }

    void FillTime(int count) {
        TdxMemData& t = m().MemDataTime;
        t.DisableControls();
        TDateTime today = Date();
        for (int i = 0; i < count; ++i) {
            int task = TaskOfRow(i);
            t.Append();
            t.FieldByName("Task_ID").SetAsInteger(task);
            t.FieldByName("Task_Name").SetAsString("Task " + std::to_string(task));
            t.FieldByName("Task_Full_Name").SetAsString("Client \\ Task " + std::to_string(task));
            t.FieldByName("Time_Date").SetAsDateTime(today - (count - i) * 3650 / count);  // newest last
            t.FieldByName("Dec_Time").SetAsCurrency(Currency::FromRaw(2500 + i % 40000));
            t.FieldByName("Note").SetAsString("Work on " + Words(Mix(static_cast<uint32_t>(i))));
            t.FieldByName("Closed").SetAsBoolean(i < count * 9 / 10);
            t.Post();
        }
        t.EnableControls();
    }

    void FillItems(TdxMemData& t, int count, const char* dateField) {
        t.DisableControls();
        TField& taskId = t.FieldByName("TaskID");
        TField& entryId = t.FieldByName("EntryID");
        TField* subject = t.FindField("Subject");
        TField* date = dateField ? &t.FieldByName(dateField) : nullptr;
        TDateTime today = Date();
        for (int i = 0; i < count; ++i) {
            t.Append();
            taskId.SetAsInteger(TaskOfRow(i));
            entryId.SetAsString("00000000C0E1A5B1D2F3400089AB" + std::to_string(100000000 + i));
            if (subject) subject->SetAsString(Words(Mix(static_cast<uint32_t>(i) * 3)));
            if (date) date->SetAsDateTime(today - (count - i) * 3650.0 / count);
            t.Post();
        }
        t.EnableControls();
    }

    void OpenExplorer() { m().adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail); }
    void CloseExplorer() {
        m().adxOlFormsManager1.ExplorerClosed();
        m().adxOlFormsManager1.FreeForms();
    }
};

Folder& FolderAt(int scale) {
    static std::unique_ptr<Folder> folder;
    if (!folder || folder->scale != scale) {
        folder.reset();
        folder = std::make_unique<Folder>(scale);
        folder->OpenExplorer();
    }
    return *folder;
}

// The processor time of this thread, in milliseconds: the machine is shared, so wall time
// says more about the neighbours than about the code.
double ThreadMillis() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) * 1e3 + static_cast<double>(ts.tv_nsec) / 1e6;
}

// Times one call of f in milliseconds of processor time.
template <class F>
double Millis(F&& f) {
    double start = ThreadMillis();
    f();
    return ThreadMillis() - start;
}

// The median of a reference pass over a few runs, in milliseconds.
template <class F>
double ReferenceMillis(F&& f) {
    std::vector<double> times;
    for (int i = 0; i < 15; ++i) times.push_back(Millis(f));
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// Records the mean of the timed bodies, the reference and their ratio.
void Report(benchmark::State& state, double totalMs, double refMs) {
    double mean = state.iterations() ? totalMs / static_cast<double>(state.iterations()) : 0;
    state.counters["cpu_ms"] = mean;
    state.counters["ref_ms"] = refMs;
    state.counters["ratio"] = refMs > 0 ? mean / refMs : 0;
}

// The physical references: a bare pass over as many integers as the tables hold, keeping the
// positions of one value, and a pass over as many dates keeping those past a cut-off.
double IntegerPass(size_t count) {
    std::vector<int64_t> ids(count);
    for (size_t i = 0; i < count; ++i) ids[i] = static_cast<int64_t>(i % 10000);
    return ReferenceMillis([&] {
        std::vector<int> hits;
        for (size_t i = 0; i < ids.size(); ++i)
            if (ids[i] == 7) hits.push_back(static_cast<int>(i) + 1);
        benchmark::DoNotOptimize(hits.data());
    });
}

double DatePass(size_t count) {
    std::vector<double> dates(count);
    for (size_t i = 0; i < count; ++i) dates[i] = 40000.0 + static_cast<double>(Mix(static_cast<uint32_t>(i)) % 4000);
    return ReferenceMillis([&] {
        std::vector<int> hits;
        for (size_t i = 0; i < dates.size(); ++i)
            if (dates[i] > 42000.0) hits.push_back(static_cast<int>(i) + 1);
        benchmark::DoNotOptimize(hits.data());
    });
}

TcxDBTreeList& Tree() { return Globals().fmList->cxDBTreeList1; }

// What a pane paints after a change: the texts of its first screenful of records.
size_t PaintFirstScreen(const TcxGridDBTableView& view) {
    size_t bytes = 0;
    for (int i = 0, n = std::min(view.RecordCount(), 40); i < n; ++i)
        for (int c = 0; c < view.ColumnCount(); ++c) bytes += view.DisplayTexts(i, view.Columns(c)).size();
    return bytes;
}

TcxGridDBTableView& EmailView(Folder& f) {
    return static_cast<TfmEmails*>(f.m().adxOlFormsManager1.Items(2).CurrentForm())->cxGridDBBandedTableView1;
}
TcxGridDBTableView& TimeView(Folder& f) {
    return static_cast<TfmTime*>(f.m().adxOlFormsManager1.Items(1).CurrentForm())->cxGrid4DBBandedTableView2;
}

// The tree paints its first screenful: pictures and texts of the nodes on its 40 top lines.
size_t PaintTree() {
    size_t bytes = 0;
    std::vector<TcxTreeListNode*> shown = Tree().VisibleNodes(0, 40);
    for (size_t i = 0; i < shown.size(); ++i) {
        bytes += static_cast<size_t>(Tree().NodeImageIndex(shown[i]) + 1);
        for (int c = 0; c < 3; ++c) bytes += shown[i]->Texts(c).size();
    }
    return bytes;
}

// The user moves the focus between a busy matter and a task of the tail: the labels follow, and
// the five item tables are narrowed to the task.
void BM_FocusChange(benchmark::State& state) {
    Folder& f = FolderAt(static_cast<int>(state.range(0)));
    std::vector<TcxTreeListNode*> nodes;
    for (int id : {f.busy[0], f.tail[0], f.busy[1], f.tail[1]})
        if (TcxTreeListNode* n = Tree().FindNodeByKeyValue(Variant(id))) nodes.push_back(n);
    if (nodes.size() < 2) {
        state.SkipWithError("no open tasks to focus");
        return;
    }
    double ref = IntegerPass(272000u * static_cast<size_t>(f.scale));
    double total = 0;
    size_t i = 0;
    for (auto _ : state) {
        TcxTreeListNode* n = nodes[i++ % nodes.size()];
        total += Millis([&] {
            Tree().UserFocusNode(n);
            benchmark::DoNotOptimize(PaintFirstScreen(EmailView(f)));
        });
        benchmark::DoNotOptimize(Globals().MemDataEmails->RecordCount());
    }
    Report(state, total, ref);
}

// The completed-task setting: the user chooses 3,650 days in the options dialog and the tree
// shows ten years; between frames it goes back to one day (not timed).
void BM_CompletedTasks3650(benchmark::State& state) {
    Folder& f = FolderAt(static_cast<int>(state.range(0)));
    double ref = DatePass(10000u * static_cast<size_t>(f.scale));
    TModalScript script;
    TModalHostScope scope(script);
    TfmList& list = *Globals().fmList;
    double total = 0;
    for (auto _ : state) {
        script.Then("fmOptions", [](TForm& form) {
            form.UserEdit("SpinEdit1", "3650");
            form.UserClick("BitBtn1");
        });
        total += Millis([&] {
            list.Completedtasks1Click();
            benchmark::DoNotOptimize(PaintTree());
        });
        benchmark::DoNotOptimize(Tree().AbsoluteCount());
        state.PauseTiming();
        TdxMemData& t = *Globals().MemDataTasks;
        t.DisableControls();
        FilterTasks(1);
        state.ResumeTiming();
    }
    Report(state, total, ref);
}

// A new child task of the focused task, named and made through the dialog; the tree shows it
// focused. Every made task is deleted again between frames (not timed).
void BM_NewTask(benchmark::State& state) {
    Folder& f = FolderAt(1);
    double ref = DatePass(10000);
    TModalScript script;
    TModalHostScope scope(script);
    TfmList& list = *Globals().fmList;
    TcxTreeListNode* parent = Tree().FindNodeByKeyValue(Variant(f.busy[0]));
    double total = 0;
    int made = 0;
    for (auto _ : state) {
        Tree().UserFocusNode(parent);
        script.Then("fmNewTask", [&](TForm& form) {
            form.UserEdit("Edit2", "Bench task " + std::to_string(++made));
            form.UserClick("BitBtn1");
        });
        total += Millis([&] {
            list.NewTask1Click();
            benchmark::DoNotOptimize(PaintTree());
        });
        benchmark::DoNotOptimize(Globals().CurrentTaskID);
        state.PauseTiming();
        TdxMemData& t = *Globals().MemDataTasks;
        t.DisableControls();
        if (t.Locate("ID", Variant(Globals().CurrentTaskID))) t.Delete();
        t.EnableControls();
        state.ResumeTiming();
    }
    Report(state, total, ref);
}

// The explorer opened (the six panes made, shown and the first activated) and closed again.
// Closing saves each pane's tables; the folder here can't be written, so the saves stop at the
// file and the figure is the forms' side.
void BM_OpenExplorer(benchmark::State& state) {
    Folder& f = FolderAt(1);
    double ref = IntegerPass(272000) + DatePass(110000);
    f.CloseExplorer();
    double total = 0;
    for (auto _ : state) {
        total += Millis([&] {
            f.OpenExplorer();
            benchmark::DoNotOptimize(PaintTree() + PaintFirstScreen(EmailView(f)) + PaintFirstScreen(TimeView(f)));
        });
        state.PauseTiming();
        f.CloseExplorer();
        state.ResumeTiming();
    }
    f.OpenExplorer();
    Report(state, total, ref);
}

void BM_CloseExplorer(benchmark::State& state) {
    Folder& f = FolderAt(1);
    double ref = IntegerPass(272000) + DatePass(110000);
    double total = 0;
    for (auto _ : state) {
        total += Millis([&] { f.m().adxOlFormsManager1.ExplorerClosed(); });
        state.PauseTiming();
        f.m().adxOlFormsManager1.FreeForms();
        f.OpenExplorer();
        state.ResumeTiming();
    }
    Report(state, total, ref);
}

// What the close spends in the seven save routines alone (the table files' side, measured for
// the figure above: the forms' side of the close is the difference).
void BM_SavesOfTheClose(benchmark::State& state) {
    Folder& f = FolderAt(1);
    TAddInModule& m = f.m();
    double total = 0;
    for (auto _ : state) {
        total += Millis([&] {
            m.SaveTasks();
            m.SaveTime();
            m.SaveEmails();
            m.SaveNotes();
            m.SaveContacts();
            m.SaveDistLists();
            m.SaveAppointments();
        });
    }
    Report(state, total, 0);
}

// The user activates one pane: the email pane (0), then the timesheet (1); each narrows its table.
void BM_ActivatePane(benchmark::State& state) {
    Folder& f = FolderAt(1);
    int index = state.range(0) == 0 ? 2 : 1;
    double ref = state.range(0) == 0 ? IntegerPass(200000) : DatePass(100000);
    double total = 0;
    for (auto _ : state) {
        f.m().adxOlFormsManager1.ActivatePane(0);
        total += Millis([&] {
            f.m().adxOlFormsManager1.ActivatePane(index);
            benchmark::DoNotOptimize(PaintFirstScreen(index == 2 ? EmailView(f) : TimeView(f)));
        });
        benchmark::DoNotOptimize(Globals().MemDataEmails->RecordCount());
    }
    Report(state, total, ref);
}

// The timesheet's "since" date moved: the 100,000 entries filtered again.
void BM_TimesheetDateFilter(benchmark::State& state) {
    Folder& f = FolderAt(static_cast<int>(state.range(0)));
    double ref = DatePass(100000u * static_cast<size_t>(f.scale));
    auto* sheet = static_cast<TfmTime*>(f.m().adxOlFormsManager1.Items(1).CurrentForm());
    double total = 0;
    int back = 60;
    for (auto _ : state) {
        back = back == 60 ? 365 : 60;
        sheet->DateTimePicker2.SetDate(Date() - back);
        total += Millis([&] {
            sheet->DateTimePicker2Change();
            benchmark::DoNotOptimize(PaintFirstScreen(sheet->cxGrid4DBBandedTableView2));
        });
        benchmark::DoNotOptimize(Globals().MemDataTime->RecordCount());
    }
    Report(state, total, ref);
}

// At the size of the folder first, then at twice and four times.
BENCHMARK(BM_FocusChange)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CompletedTasks3650)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NewTask)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenExplorer)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_CloseExplorer)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_SavesOfTheClose)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_ActivatePane)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TimesheetDateFilter)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FocusChange)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CompletedTasks3650)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TimesheetDateFilter)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FocusChange)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CompletedTasks3650)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TimesheetDateFilter)->Arg(4)->Unit(benchmark::kMillisecond);

}  // namespace
