// The reports at scale, against libxlsxwriter as the yardstick: a task report of 10,000 tasks and
// a time report of 100,000 entries, each made by the system through Excel's object model into
// the workbook engine and saved as .xlsx, and the same cells with the same formats written by
// libxlsxwriter into a new workbook. The ratio of the two is the figure to watch (aim: 1.5 at
// most).
#include <benchmark/benchmark.h>

#include <xlsxwriter.h>

#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "base/Clock.h"
#include "base/DateTime.h"
#include "host/AddinModule.h"
#include "platform/System.h"
#include "reports/uExcel.h"
#include "sim/SimServices.h"
#include "tasks/uTasks.h"
#include "tasks/ufmList.h"
#include "toolkit/DBTreeList.h"

namespace fs = std::filesystem;

namespace {

constexpr int kTasks = 10000;
constexpr int kEntries = 100000;

const char* const kImportance[] = {"Low", "Normal", "High"};
const char* const kStatus[] = {"Not started", "In progress", "Completed", "Waiting on someone else", "Deferred"};

// The benchmark's own folder, removed at its end.
struct TFolder {
    fs::path path;
    ~TFolder() {
        std::error_code ec;
        fs::remove_all(path, ec);
    }
};

fs::path Folder() {
    static TFolder folder{[] {
        fs::path p = platform::TempFolder() + "corvelle-bench-reports-" + std::to_string(platform::ProcessId());
        fs::create_directories(p);
        // The templates as the build made them, beside the benchmark's own folder.
        fs::path resources = fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "resources";
        for (const char* name : {"TaskReport.xlsx", "TimeReport.xlsx"})
            fs::copy_file(resources / name, p / name, fs::copy_options::overwrite_existing);
        return p;
    }()};
    return folder.path;
}

// The add-in started on a simulated machine, with its explorer open.
struct Machine {
    sim::TSimHost host{(Folder() / "Corvelle.dll").string()};
    std::unique_ptr<TAddInModule> module;

    Machine() {
        SetClock(EncodeDate(2026, 3, 5) + EncodeTime(9, 30, 0, 0));
        host.Outlook.SetCurrentUser("Alex Morgan", "alex.morgan@example.com");
        module = std::make_unique<TAddInModule>(host.HostInfo());
        module->OnConnection();
        module->OnStartupComplete();
    }
    ~Machine() {
        module.reset();
        ResetClock();
    }
    void OpenExplorer() { module->adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail); }
    // Saves the workbook the report made and closes Excel.
    void SaveAndQuit(const char* name) {
        host.Excel->Running()->OpenWorkbooks().back().book->SaveAs((Folder() / name).string());
    }
};

// 100 clients, each with matters and their tasks, four levels deep.
void MakeTasks(TAddInModule& m) {
    TdxMemData& t = m.MemDataTasks;
    t.DisableControls();
    int made = 0;
    std::vector<int> parents{-1};
    for (int level = 0; made < kTasks; ++level) {
        std::vector<int> next;
        for (size_t i = 0; made < kTasks && i < std::max<size_t>(parents.size(), 100); ++i) {
            int parent = parents[i % parents.size()];
            int id = AppendTaskRow("", parent, made + 1, "Alex Morgan", "Task " + std::to_string(made + 1) +
                                                                           " of the matter at level " +
                                                                           std::to_string(level));
            t.Edit();
            t.FieldByName("Importance").SetAsInteger(made % 3);
            t.FieldByName("Status").SetAsInteger(made % 5);
            t.FieldByName("Percent_Complete").SetAsInteger(made % 101);
            t.FieldByName("Due_Date").SetAsDateTime(EncodeDate(2026, 4, 1) + made % 60);
            t.Post();
            next.push_back(id);
            ++made;
        }
        if (level < 3) parents = next;
    }
    t.EnableControls();
}

void MakeEntries(TAddInModule& m) {
    TdxMemData& t = m.MemDataTime;
    t.DisableControls();
    for (int i = 0; i < kEntries; ++i) {
        t.Append();
        t.FieldByName("Task_Name").SetAsString("Audit");
        t.FieldByName("Task_Full_Name").SetAsString("Client " + std::to_string(i % 100) + " \\ Audit");
        t.FieldByName("Task_Full_No").SetAsString(std::to_string(i % 100 + 1) + ".1");
        t.FieldByName("Time_Date").SetAsDateTime(EncodeDate(2025, 1, 1) + i / 200);
        t.FieldByName("Dec_Time").SetAsCurrency(Currency::FromRaw((i % 32) * 2500));
        t.FieldByName("Note").SetAsString("Review of the file and a call with the client, entry " + std::to_string(i));
        t.FieldByName("Closed").SetAsBoolean(i % 7 == 0);
        t.Post();
    }
    t.EnableControls();
}

void BM_TaskReport_Corvelle(benchmark::State& state) {
    Machine machine;
    MakeTasks(*machine.module);
    machine.OpenExplorer();
    TfmList& pane = *Globals().fmList;
    for (auto _ : state) {
        pane.ButtonGroup1Items8Click();
        machine.SaveAndQuit("TaskReport-corvelle.xlsx");
        state.PauseTiming();
        machine.host.Excel->Quit();
        state.ResumeTiming();
    }
    state.counters["rows"] = Globals().TaskTree->AbsoluteCount();
}

// The formats of the templates' own part: the title, the labels and the column headings.
struct TTemplateFormats {
    lxw_format* title;
    lxw_format* label;
    lxw_format* heading;
};

TTemplateFormats AddTemplateFormats(lxw_workbook* wb) {
    lxw_format* title = workbook_add_format(wb);
    format_set_bold(title), format_set_font_size(title, 16), format_set_font_color(title, 0x1F4E78);
    lxw_format* label = workbook_add_format(wb);
    format_set_bold(label);
    lxw_format* heading = workbook_add_format(wb);
    format_set_bold(heading), format_set_font_color(heading, 0xFFFFFF), format_set_bg_color(heading, 0x1F4E78);
    return {title, label, heading};
}

void BM_TaskReport_Libxlsxwriter(benchmark::State& state) {
    // The same cells as the report of the same tree.
    Machine machine;
    MakeTasks(*machine.module);
    machine.OpenExplorer();
    TcxDBTreeList& tree = *Globals().TaskTree;
    const auto& cols = Globals().fmList->ReportColumns;
    std::string path = (Folder() / "TaskReport-libxlsxwriter.xlsx").string();
    for (auto _ : state) {
        lxw_workbook* wb = workbook_new(path.c_str());
        lxw_worksheet* ws = workbook_add_worksheet(wb, "Tasks");
        // The template's part.
        const auto [title, label, heading] = AddTemplateFormats(wb);
        const double widths[] = {50, 3, 12, 12, 12, 24, 12, 4, 4};
        for (int c = 0; c < 9; ++c) worksheet_set_column(ws, c, c, widths[c], nullptr);
        worksheet_write_string(ws, 0, 0, "Task Report", title);
        worksheet_write_string(ws, 3, 0, "Prepared by:", label);
        worksheet_write_string(ws, 5, 0, "Date:", label);
        const char* headings[] = {"Task", "", "Start date", "Due date", "Importance", "Status", "% Complete", "", ""};
        for (int c = 0; c < 9; ++c) worksheet_write_string(ws, 8, c, headings[c], heading);
        // The report's part: formats by shade, level and bold.
        lxw_format* shade = workbook_add_format(wb);
        format_set_bg_color(shade, 0xE0E0E0);
        std::vector<lxw_format*> first[2];
        for (int shaded = 0; shaded < 2; ++shaded)
            for (int level = 0; level < 8; ++level) {
                lxw_format* f = workbook_add_format(wb);
                format_set_indent(f, level + 1);
                if (level == 0) format_set_bold(f);
                if (shaded) format_set_bg_color(f, 0xE0E0E0);
                first[shaded].push_back(f);
            }
        worksheet_write_string(ws, 3, 1, "Alex Morgan", nullptr);
        worksheet_write_string(ws, 5, 1, "3/5/2026", nullptr);
        for (int i = 0; i < tree.AbsoluteCount(); ++i) {
            TcxTreeListNode* node = tree.AbsoluteItems(i);
            int row = 9 + i;
            bool shaded = i % 2 == 0;
            lxw_format* f = shaded ? shade : nullptr;
            if (shaded)
                for (int c = 1; c < 9; ++c) worksheet_write_blank(ws, row, c, shade);
            worksheet_write_string(ws, row, 0, node->Texts(cols.Description->ItemIndex()).c_str(),
                                   first[shaded][std::min(node->Level(), 7)]);
            worksheet_write_string(ws, row, 2, node->Texts(cols.StartDate->ItemIndex()).c_str(), f);
            worksheet_write_string(ws, row, 3, node->Texts(cols.DueDate->ItemIndex()).c_str(), f);
            worksheet_write_string(ws, row, 4, kImportance[std::stoi(node->Texts(cols.DummyImportance->ItemIndex()))], f);
            worksheet_write_string(ws, row, 5, kStatus[std::stoi(node->Texts(cols.Status->ItemIndex()))], f);
            worksheet_write_string(ws, row, 6, (node->Texts(cols.PercentComplete->ItemIndex()) + "%").c_str(), f);
        }
        if (workbook_close(wb) != LXW_NO_ERROR) state.SkipWithError("libxlsxwriter could not save");
    }
    state.counters["rows"] = tree.AbsoluteCount();
}

void BM_TimeReport_Corvelle(benchmark::State& state) {
    Machine machine;
    MakeEntries(*machine.module);
    Globals().ShowTimeSince = EncodeDate(2025, 1, 1);
    TdxMemData& time = machine.module->MemDataTime;
    for (auto _ : state) {
        // As the timesheet's export runs it.
        TBookmark b = time.GetBookmark();
        time.DisableControls();
        TimeReport();
        time.GotoBookmark(b);
        time.EnableControls();
        machine.SaveAndQuit("TimeReport-corvelle.xlsx");
        state.PauseTiming();
        machine.host.Excel->Quit();
        state.ResumeTiming();
    }
    state.counters["rows"] = kEntries;
}

void BM_TimeReport_Libxlsxwriter(benchmark::State& state) {
    Machine machine;
    MakeEntries(*machine.module);
    TdxMemData& time = machine.module->MemDataTime;
    std::string path = (Folder() / "TimeReport-libxlsxwriter.xlsx").string();
    for (auto _ : state) {
        lxw_workbook* wb = workbook_new(path.c_str());
        lxw_worksheet* ws = workbook_add_worksheet(wb, "Time");
        const auto [title, label, heading] = AddTemplateFormats(wb);
        lxw_format* date = workbook_add_format(wb);
        format_set_num_format(date, "mmmm d, yyyy");
        const double widths[] = {12, 40, 14, 8, 60, 8};
        for (int c = 0; c < 6; ++c) worksheet_set_column(ws, c, c, widths[c], nullptr);
        worksheet_write_string(ws, 0, 0, "Time Report", title);
        worksheet_write_string(ws, 3, 0, "User:", label);
        worksheet_write_string(ws, 5, 0, "Time since:", label);
        worksheet_write_string(ws, 7, 0, "Printed:", label);
        const char* headings[] = {"Date", "Task", "Task number", "Hours", "Note", "Closed"};
        for (int c = 0; c < 6; ++c) worksheet_write_string(ws, 11, c, headings[c], heading);
        lxw_format* shade = workbook_add_format(wb);
        format_set_bg_color(shade, 0xE0E0E0);
        worksheet_write_string(ws, 3, 1, "Alex Morgan", nullptr);
        worksheet_write_number(ws, 5, 1, EncodeDate(2025, 1, 1), date);
        worksheet_write_string(ws, 7, 1, "Mar 5, 2026 9:30:00 AM", nullptr);
        TField& d = time.FieldByName("Time_Date");
        TField& name = time.FieldByName("Task_Full_Name");
        TField& no = time.FieldByName("Task_Full_No");
        TField& amount = time.FieldByName("Dec_Time");
        TField& note = time.FieldByName("Note");
        TField& closed = time.FieldByName("Closed");
        time.DisableControls();
        int row = 12;
        for (time.First(); !time.Eof(); time.Next(), ++row) {
            lxw_format* f = (row - 12) % 2 == 0 ? shade : nullptr;
            worksheet_write_string(ws, row, 0, DateToStr(d.AsDateTime()).c_str(), f);
            worksheet_write_string(ws, row, 1, name.AsString().c_str(), f);
            worksheet_write_string(ws, row, 2, no.AsString().c_str(), f);
            worksheet_write_string(ws, row, 3, amount.AsString().c_str(), f);
            worksheet_write_string(ws, row, 4, ("   " + note.AsString()).c_str(), f);
            if (closed.AsBoolean()) worksheet_write_string(ws, row, 5, "Closed", f);
            else if (f) worksheet_write_blank(ws, row, 5, f);
        }
        time.EnableControls();
        if (workbook_close(wb) != LXW_NO_ERROR) state.SkipWithError("libxlsxwriter could not save");
    }
    state.counters["rows"] = kEntries;
}

}  // namespace

BENCHMARK(BM_TaskReport_Corvelle)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_TaskReport_Libxlsxwriter)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_TimeReport_Corvelle)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_TimeReport_Libxlsxwriter)->Unit(benchmark::kMillisecond)->Iterations(3);
