// A change of focus in the task tree at ten busy years: 200,000 filed mails, 20,000 contacts,
// 2,000 lists, 30,000 appointments and 20,000 notes over 10,000 tasks. Each focus change
// refilters the five item tables and the four item panes' views follow. One frame is 16 ms; the
// reference is one plain pass over the same 272,000 task IDs.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "base/DateTime.h"
#include "host/AddinModule.h"
#include "sim/SimServices.h"
#include "store/MemData.h"
#include "filing/uEmails.h"
#include "tasks/uTasks.h"
#include "tasks/ufmList.h"

namespace {

constexpr int kTasks = 10000;

void Fill(TdxMemData& t, int rows) {
    t.DisableControls();
    TField& taskId = t.FieldByName("TaskID");
    TField& entryId = t.FieldByName("EntryID");
    for (int i = 0; i < rows; ++i) {
        t.Append();
        // A few busy matters and a long tail.
        int task = (i % 3 == 0) ? (i % 50) + 1 : (i * 7919) % kTasks + 1;
        taskId.SetAsInteger(task);
        entryId.SetAsString("00000000C0E1A5B1D2F3400089AB" + std::to_string(100000000 + i));
        t.Post();
    }
    t.EnableControls();
}

struct Folder {
    std::unique_ptr<sim::TSimHost> host;
    std::unique_ptr<TAddInModule> module;
    std::vector<TcxTreeListNode*> nodes;

    Folder() {
        SetClock(EncodeDate(2026, 3, 5) + EncodeTime(9, 0, 0, 0));
        host = std::make_unique<sim::TSimHost>("/nonexistent-corvelle-bench/Corvelle.dll");
        module = std::make_unique<TAddInModule>(host->HostInfo());
        module->OnConnection();
        module->OnStartupComplete();
        TAddInModule& m = *module;
        // Fifty root tasks with children, as the tree a firm keeps.
        std::vector<int> ids;
        for (int i = 0; i < 50; ++i) ids.push_back(AppendTaskRow("", -1, i + 1, "Alex Morgan", "Matter " + std::to_string(i)));
        for (int i = 50; i < kTasks; ++i)
            ids.push_back(AppendTaskRow("", ids[static_cast<size_t>(i % 50)], i, "Alex Morgan", "Task " + std::to_string(i)));
        Fill(m.MemDataEmails, 200000);
        Fill(m.MemDataContacts, 20000);
        Fill(m.MemDataDistLists, 2000);
        Fill(m.MemDataAppointments, 30000);
        Fill(m.MemDataNotes, 20000);
        m.adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail);
        TcxDBTreeList& tree = Globals().fmList->cxDBTreeList1;
        nodes.push_back(tree.FindNodeByKeyValue(Variant(ids[1])));   // a busy matter
        nodes.push_back(tree.FindNodeByKeyValue(Variant(ids[777])));  // the tail
    }
};

Folder& TheFolder() {
    static Folder folder;
    return folder;
}

void BM_FocusChangeRefiltersFiveTables(benchmark::State& state) {
    Folder& f = TheFolder();
    TcxDBTreeList& tree = Globals().fmList->cxDBTreeList1;
    size_t i = 0;
    for (auto _ : state) {
        tree.UserFocusNode(f.nodes[i++ % 2]);
        benchmark::DoNotOptimize(Globals().MemDataEmails->RecordCount());
    }
}
BENCHMARK(BM_FocusChangeRefiltersFiveTables)->Unit(benchmark::kMillisecond);

// One of the five: the 200,000 mails narrowed to a task, the email pane's view following.
void BM_FilterEmails(benchmark::State& state) {
    TheFolder();
    int task = 2;
    for (auto _ : state) {
        FilterEmails(task);
        task = task == 2 ? 778 : 2;
        benchmark::DoNotOptimize(Globals().MemDataEmails->RecordCount());
    }
}
BENCHMARK(BM_FilterEmails)->Unit(benchmark::kMillisecond);

// The physical reference: one pass over as many integers as the five tables hold.
void BM_ReferencePassOverTheTaskIDs(benchmark::State& state) {
    std::vector<int64_t> ids(272000);
    for (size_t i = 0; i < ids.size(); ++i) ids[i] = static_cast<int64_t>(i % kTasks);
    for (auto _ : state) {
        std::vector<int> hits;
        for (size_t i = 0; i < ids.size(); ++i)
            if (ids[i] == 7) hits.push_back(static_cast<int>(i) + 1);
        benchmark::DoNotOptimize(hits.data());
    }
}
BENCHMARK(BM_ReferencePassOverTheTaskIDs)->Unit(benchmark::kMillisecond);

}  // namespace
