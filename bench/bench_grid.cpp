// The grid view following its table at 200,000 rows. A refilter is timed with no view bound and
// with grid views bound: the difference is what the views cost. The views read the table when
// asked, so they should add next to nothing however many rows the table holds; the texts are
// made only for the records drawn.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "base/DateTime.h"
#include "store/MemData.h"
#include "store/Tables.h"
#include "toolkit/DBGrid.h"

namespace {

constexpr int kRows = 200000;
constexpr int kTasks = 10000;  // 20 mails a task

std::unique_ptr<TdxMemData> MakeEmails() {
    auto t = MakeTable("Emails");
    t->Open();
    t->DisableControls();
    TField& taskId = t->FieldByName("TaskID");
    TField& date = t->FieldByName("Date");
    TField& from = t->FieldByName("From");
    TField& subject = t->FieldByName("Subject");
    TField& text = t->FieldByName("Text");
    TField& messageClass = t->FieldByName("MessageClass");
    const TDateTime start = EncodeDate(2016, 1, 1);
    for (int i = 0; i < kRows; ++i) {
        t->Append();
        taskId.SetAsInteger(i % kTasks + 1);
        date.SetAsDateTime(start + i / 60.0);
        from.SetAsString("sender" + std::to_string(i % 50));
        subject.SetAsString("Re: matter " + std::to_string(i % kTasks) + ", message " + std::to_string(i));
        text.SetAsString("Body of message " + std::to_string(i));
        messageClass.SetAsString(i % 5 ? "IPM.Note" : "IPM.Post");
        t->Post();
    }
    t->EnableControls();
    return t;
}

TdxMemData& Emails() {
    static std::unique_ptr<TdxMemData> t = MakeEmails();
    return *t;
}

// The email pane's view: two lines, two owner-drawn columns.
struct EmailView {
    TDataSource ds{"dsMemDataEmails", &Emails()};
    TcxImageList images{nullptr, "cxImageList1", 2};
    TcxGridDBBandedTableView view{"cxGridDBBandedTableView1"};
    int focusChanges = 0;

    EmailView() {
        auto& cls = view.CreateColumn("clMessageClass", "MessageClass");
        auto& att = view.CreateColumn("clAttachments", "Attachments");
        view.CreateColumn("clDate", "Date");
        view.CreateColumn("clAuthor", "From");
        view.CreateColumn("clSubject", "Subject");
        view.CreateColumn("clText", "Text", 1);
        cls.OnCustomDrawCell = [this](TcxGridDBTableView&, TcxCanvas& c, TcxGridTableDataCellViewInfo& cell, bool& done) {
            std::string v = cell.Value().AsString();
            if (v == "IPM.Note" || v == "IPM.Mail") c.DrawImage(images, 0, 0, 1);
            done = true;
        };
        att.OnCustomDrawCell = [this](TcxGridDBTableView&, TcxCanvas& c, TcxGridTableDataCellViewInfo& cell, bool& done) {
            Variant v = cell.Value();
            c.DrawImage(images, 0, 0, !v.IsNull() && v.AsInteger() == 1 ? 0 : -1);
            done = true;
        };
        view.OnFocusedRecordChanged = [this](TcxGridDBTableView&, int, int) { ++focusChanges; };
        view.SetDataSource(&ds);
    }
};

// The filter of the item panes, with its pass reading the key column directly: the old filter
// dropped, the rows of one task listed by their positions, the cursor on the first of them.
void RefilterDirect(TdxMemData& t, int task) {
    t.SetProgrammedFilter(false);
    t.SetFiltered(false);
    if (t.RecordCount() == 0) return;
    t.FilterList().clear();
    t.SetProgrammedFilter(true);
    t.First();
    const int fi = t.FieldByName("TaskID").Index();
    for (int row = 0, n = t.RowCount(); row < n; ++row) {
        const TCell cell = t.Cell(row, fi);
        const auto* v = std::get_if<int64_t>(&cell);
        if (v && *v == task) t.FilterList().push_back(row + 1);
    }
    t.SetFiltered(true);
}

// The same filter walking the rows with the cursor, as the routine is written: a scrolled
// notification for every row.
void RefilterByCursor(TdxMemData& t, int task) {
    t.SetProgrammedFilter(false);
    t.SetFiltered(false);
    if (t.RecordCount() == 0) return;
    t.FilterList().clear();
    t.SetProgrammedFilter(true);
    t.First();
    TField& taskId = t.FieldByName("TaskID");
    while (!t.Eof()) {
        if (taskId.AsInteger() == task) t.FilterList().push_back(t.CurRec() + 1);
        t.Next();
    }
    t.SetFiltered(true);
}

void Unfilter(TdxMemData& t) {
    t.SetProgrammedFilter(false);
    t.SetFiltered(false);
}

// Arg: the number of views bound (0 or 2, as two panes on one table would be).
void BM_RefilterDirect(benchmark::State& state) {
    TdxMemData& t = Emails();
    std::unique_ptr<EmailView> a, b;
    if (state.range(0) > 0) a = std::make_unique<EmailView>();
    if (state.range(0) > 1) b = std::make_unique<EmailView>();
    int task = 1;
    for (auto _ : state) {
        RefilterDirect(t, task);
        task = task % kTasks + 1;
    }
    if (a && a->view.RecordCount() != kRows / kTasks) state.SkipWithError("the view lost rows");
    Unfilter(t);
    state.SetItemsProcessed(state.iterations() * kRows);
}

// An observer that does nothing: what the table's notifications cost by themselves.
struct TIdleObserver : IDataObserver {
    void DataEvent(TdxMemData&, TDataEvent, TField*) override {}
};

// Arg: 0 nothing bound, 1 an idle observer, 2 the email pane's view.
void BM_RefilterByCursor(benchmark::State& state) {
    TdxMemData& t = Emails();
    std::unique_ptr<EmailView> a;
    TIdleObserver idle;
    if (state.range(0) == 1) t.AddObserver(&idle);
    if (state.range(0) == 2) a = std::make_unique<EmailView>();
    int task = 1;
    for (auto _ : state) {
        RefilterByCursor(t, task);
        task = task % kTasks + 1;
    }
    t.RemoveObserver(&idle);
    Unfilter(t);
    state.SetItemsProcessed(state.iterations() * kRows);
}

// The view alone: the notifications a refilter sends it (four data-set changes, one scroll),
// on a table filtered to one task and on the whole table unfiltered.
void BM_ViewFollowsRefilterNotifications(benchmark::State& state) {
    TdxMemData& t = Emails();
    EmailView v;
    if (state.range(0)) RefilterDirect(t, 42);
    else Unfilter(t);
    for (auto _ : state) {
        for (int i = 0; i < 4; ++i) v.view.DataEvent(t, TDataEvent::DataSetChange, nullptr);
        v.view.DataEvent(t, TDataEvent::DataSetScroll, nullptr);
        benchmark::DoNotOptimize(v.view.FocusedRecordIndex());
    }
    Unfilter(t);
}

// Drawing what a refilter shows: every cell of the task's 20 records, owner-drawn ones included.
void BM_DrawShownRecords(benchmark::State& state) {
    TdxMemData& t = Emails();
    EmailView v;
    RefilterDirect(t, 42);
    std::vector<TcxGridDBColumn*> columns = v.view.VisibleColumns();
    size_t bytes = 0;
    for (auto _ : state) {
        for (int i = 0; i < v.view.RecordCount(); ++i)
            for (TcxGridDBColumn* c : columns) bytes += v.view.DrawCell(i, *c).Text.size();
    }
    benchmark::DoNotOptimize(bytes);
    Unfilter(t);
    state.SetItemsProcessed(state.iterations() * kRows / kTasks);
}

}  // namespace

BENCHMARK(BM_RefilterDirect)->Arg(0)->Arg(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RefilterByCursor)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ViewFollowsRefilterNotifications)->Arg(0)->Arg(1)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_DrawShownRecords)->Unit(benchmark::kMicrosecond);
