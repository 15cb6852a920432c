// The timesheet at ten busy years: 50,000 time entries over 500 tasks. Measured: the filter
// made again (a click on "Show closed time"), the grid grouped by task read whole with its
// totals, a new entry added (it turns the filter off), and the editor's question of whether the
// day has an entry. One frame is 16 ms.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "base/Clock.h"
#include "base/DateTime.h"
#include "host/AddinModule.h"
#include "sim/SimServices.h"
#include "store/MemData.h"
#include "time/uTime.h"
#include "time/ufmTime.h"

namespace {

constexpr int kEntries = 50000;
constexpr int kTasks = 500;

struct Timesheet {
    std::unique_ptr<sim::TSimHost> host;
    std::unique_ptr<TAddInModule> module;
    TfmTime* sheet = nullptr;

    Timesheet() {
        SetClock(EncodeDate(2026, 3, 5) + EncodeTime(9, 0, 0, 0));
        host = std::make_unique<sim::TSimHost>("/nonexistent-corvelle-bench/Corvelle.dll");
        module = std::make_unique<TAddInModule>(host->HostInfo());
        module->OnConnection();
        module->OnStartupComplete();
        TdxMemData& t = module->MemDataTime;
        t.DisableControls();
        for (int i = 0; i < kEntries; ++i) {
            int task = (i * 7919) % kTasks + 1;
            t.Append();
            t.FieldByName("Task_ID").SetAsInteger(task);
            t.FieldByName("Task_Full_Name").SetAsString("Clients \\ Matter " + std::to_string(task));
            t.FieldByName("Time_Date").SetAsDateTime(Date() - (kEntries - i) / 14);  // ten years, newest last
            t.FieldByName("Dec_Time").SetAsCurrency(Currency::FromRaw(2500 + i % 40000));
            t.FieldByName("Note").SetAsString("Work on matter " + std::to_string(task));
            t.FieldByName("Closed").SetAsBoolean(i % 5 == 0);
            t.Post();
        }
        t.EnableControls();
        module->adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail);
        module->adxOlFormsManager1.ActivatePane(1);
        sheet = static_cast<TfmTime*>(module->adxOlFormsManager1.Items(1).CurrentForm());
    }
};

Timesheet& TheTimesheet() {
    static Timesheet sheet;
    return sheet;
}

void BM_FilterTime(benchmark::State& state) {
    TfmTime& sheet = *TheTimesheet().sheet;
    for (auto _ : state) {
        sheet.CheckBox1Click();
        benchmark::DoNotOptimize(sheet.cxGrid4DBBandedTableView2.RecordCount());
    }
}
BENCHMARK(BM_FilterTime)->Unit(benchmark::kMillisecond);

// Every entry shown (a year's filter off), grouped by task: each group's total and the footer.
void BM_GroupedTotals(benchmark::State& state) {
    TfmTime& sheet = *TheTimesheet().sheet;
    TcxGridDBBandedTableView& view = sheet.cxGrid4DBBandedTableView2;
    TfmTime::UnfilterTime();
    view.UserGroupBy(sheet.clTask_Name);
    for (auto _ : state) {
        // The table changes between frames, so the view orders and sums anew.
        TfmTime::UnfilterTime();
        std::string last;
        for (int g = 0, n = view.GroupCount(); g < n; ++g) last = view.GroupSummaryText(g, 0);
        benchmark::DoNotOptimize(view.FooterSummaryText(0));
        benchmark::DoNotOptimize(last);
        view.DataEvent(*Globals().MemDataTime, TDataEvent::DataSetChange, nullptr);
    }
    view.UserUngroup();
}
BENCHMARK(BM_GroupedTotals)->Unit(benchmark::kMillisecond);

void BM_AddTimeEntry(benchmark::State& state) {
    TheTimesheet();
    for (auto _ : state)
        benchmark::DoNotOptimize(AddTimeEntry("Matter", "Clients \\ Matter", 7, "1.7", EncodeTime(0, 30, 0, 0),
                                              Currency::FromRaw(5000), 0, "call", Date(), false));
}
BENCHMARK(BM_AddTimeEntry)->Unit(benchmark::kMillisecond);

void BM_FindTimeEntry(benchmark::State& state) {
    TheTimesheet();
    int task = 1;
    for (auto _ : state) {
        benchmark::DoNotOptimize(FindTimeEntry(task, Date() - 100));
        task = task % kTasks + 1;
    }
}
BENCHMARK(BM_FindTimeEntry)->Unit(benchmark::kMillisecond);

}  // namespace
