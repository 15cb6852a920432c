// Peak memory of the whole process over the folder of ten busy years, at one, two and four
// times its size, beside the reference of the table files' size ("ratio" = peak / files):
// - at start-up (AddInStartupComplete, all seven tables loaded);
// - while the email pane saves its changed table, the explorer's six panes shown ("panes_MB" is
//   the resident memory just before that save, with the panes' views made).
// Each measurement runs in a child process of its own, so that nothing of the benchmark itself
// or of another measurement counts: the peak is the kernel's high-water mark of resident memory
// (VmHWM), set back to the current size (clear_refs 5) between the two.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

#include "BusyFolder.h"
#include "base/Clock.h"
#include "base/DateTime.h"
#include "filing/ufmEmails.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "sim/SimServices.h"

namespace {

// The process's high-water mark of resident memory, in bytes.
double PeakResident() {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line))
        if (line.rfind("VmHWM:", 0) == 0) return std::stod(line.substr(6)) * 1024.0;
    return 0;
}

void ResetPeak() {
    std::ofstream out("/proc/self/clear_refs");
    out << "5";
}

// The process's resident memory now, in bytes.
double Resident() {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line))
        if (line.rfind("VmRSS:", 0) == 0) return std::stod(line.substr(6)) * 1024.0;
    return 0;
}

struct Peaks {
    double startUp = 0;
    double panes = 0;  // resident once the explorer shows its six panes, before the save
    double saving = 0;
    double startUpSeconds = 0;
};

// Runs in the child: starts the add-in over the folder, then changes one mail and closes the
// email pane.
Peaks Measure(const std::string& folder) {
    Peaks p;
    ResetPeak();
    SetClock(EncodeDate(2026, 3, 5) + EncodeTime(9, 0, 0, 0));
    const auto t0 = std::chrono::steady_clock::now();
    auto host = std::make_unique<sim::TSimHost>(folder + "Corvelle.dll");
    auto module = std::make_unique<TAddInModule>(host->HostInfo());
    module->OnConnection();
    module->OnStartupComplete();
    p.startUpSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    p.startUp = PeakResident();

    module->adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail);
    TdxMemData& emails = module->MemDataEmails;
    emails.First();
    emails.Edit();
    emails.FieldByName("Attachments").SetAsInteger(emails.FieldByName("Attachments").AsInteger() + 1);
    emails.Post();
    p.panes = Resident();
    ResetPeak();
    Globals().fmEmails->Close();
    p.saving = PeakResident();
    return p;
}

// Makes the folder in a child of its own too, so that the parent never grows.
void EnsureFolderInChild(int scale) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        busy::EnsureBusyFolder(scale);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
}

void BM_PeakMemory(benchmark::State& state) {
    const int scale = static_cast<int>(state.range(0));
    EnsureFolderInChild(scale);
    const std::string folder = busy::EnsureBusyFolder(scale);  // made: only its name is taken
    Peaks p;
    for (auto _ : state) {
        int fds[2];
        if (::pipe(fds) != 0) {
            state.SkipWithError("no pipe");
            return;
        }
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::close(fds[0]);
            const Peaks child = Measure(folder);
            (void)!::write(fds[1], &child, sizeof child);
            ::_exit(0);
        }
        ::close(fds[1]);
        Peaks got;
        const bool ok = ::read(fds[0], &got, sizeof got) == static_cast<ssize_t>(sizeof got);
        ::close(fds[0]);
        int status = 0;
        ::waitpid(pid, &status, 0);
        if (!ok) {
            state.SkipWithError("the measuring process ended without a result");
            return;
        }
        p = got;
        state.SetIterationTime(got.startUpSeconds);
    }
    const double files = static_cast<double>(busy::FolderBytes(folder));
    state.counters["files_MB"] = files / 1e6;
    state.counters["startup_peak_MB"] = p.startUp / 1e6;
    state.counters["startup_ratio"] = p.startUp / files;
    state.counters["panes_MB"] = p.panes / 1e6;
    state.counters["saving_peak_MB"] = p.saving / 1e6;
    state.counters["saving_ratio"] = p.saving / files;
}
BENCHMARK(BM_PeakMemory)->Arg(1)->Arg(2)->Arg(4)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
