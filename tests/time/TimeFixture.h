#pragma once
// A started add-in with the explorer open on a few tasks, the time forms at hand, and a modal
// host that plays what the user does in each modal dialog.
#include <string>

#include "tasks/TaskFixture.h"
#include "time/uTime.h"
#include "time/ufmChooseTask.h"
#include "time/ufmTime.h"
#include "time/ufmTimeMemo.h"
#include "time/ufmTimer.h"
#include "toolkit/ModalScript.h"

class TimeTest : public TaskTest {
protected:
    void SetUp() override {
        TaskTest::SetUp();
        scope_ = std::make_unique<TModalHostScope>(script);
        Start();
        clients = Make(-1, 1, "Clients");
        acme = Make(clients, 1, "Acme Ltd");
        borealis = Make(clients, 2, "Borealis Shipping");
        internal = Make(-1, 2, "Internal");
        OpenExplorer();
        Focus(acme);
    }
    void TearDown() override {
        scope_.reset();
        TaskTest::TearDown();
    }

    TdxMemData& Time() { return m().MemDataTime; }
    TfmTimer& Timer() { return *Globals().fmTimer; }
    TfmTimeMemo& Memo() { return *Globals().fmTimeMemo; }
    TfmChooseTask& Chooser() { return *Globals().fmChooseTask; }
    TfmTime& Sheet() { return static_cast<TfmTime&>(*m().adxOlFormsManager1.Items(1).CurrentForm()); }
    TcxGridDBBandedTableView& Grid() { return Sheet().cxGrid4DBBandedTableView2; }

    void Focus(int id) { ASSERT_TRUE(Tree().UserFocusNode(Node(id))); }

    // A row as the editor adds it, for the task, on the date, of so many minutes.
    int Entry(int task, TDateTime on, int minutes, const std::string& note = "work") {
        TDateTime time = EncodeTime(minutes / 60, minutes % 60, 0, 0);
        auto name = Tasks().Lookup("ID", Variant(task), "Description").AsString();
        return AddTimeEntry(name, name, task, "1", time, TimeToDecimal(time), 0, note, on, false);
    }
    Variant Field(int id, const char* field) { return Time().Lookup("ID", Variant(id), field); }
    double Hours(int id) { return Field(id, "Dec_Time").AsDouble(); }

    // The user opens the timer from the ribbon and picks a task in the chooser.
    void TimeTask(int task) {
        if (!Timer().Visible()) m().adxRibbonTab1.Click("Timer");
        ASSERT_TRUE(Timer().UserClick("Button1"));
        ASSERT_TRUE(Chooser().Visible());
        ASSERT_TRUE(Chooser().cxDBTreeList1.UserClickNode(Chooser().cxDBTreeList1.FindNodeByKeyValue(Variant(task))));
        ASSERT_TRUE(Chooser().UserClick("BitBtn2"));
    }
    // Seconds pass: the timer's ticks come through the message loop.
    void Tick(int seconds) {
        for (int i = 0; i < seconds; ++i) Timer().Timer1.Tick();
    }
    std::string Stopwatch() { return FormatDateTime("hh:nn:ss", Timer().OvcTimeEdit1.Value()); }

    TModalScript script;
    int clients = 0, acme = 0, borealis = 0, internal = 0;

private:
    std::unique_ptr<TModalHostScope> scope_;
};
