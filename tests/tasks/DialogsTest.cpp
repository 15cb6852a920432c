// The new-task and find-a-task dialogs, the completed-task setting and the ribbon, as a user
// drives them.
#include "tasks/TaskFixture.h"

#include "support/ufmOptions.h"
#include "tasks/ufmAddTask.h"
#include "tasks/ufmNewTask.h"
#include "store/Tables.h"
#include "time/ufmTimer.h"
#include "toolkit/ModalScript.h"

using platform::DialogAnswer;

namespace {

class DialogTest : public TaskTest {
protected:
    TModalScript script;
    std::unique_ptr<TModalHostScope> scope;

    void SetUp() override {
        TaskTest::SetUp();
        scope = std::make_unique<TModalHostScope>(script);
    }
    void TearDown() override {
        scope.reset();
        TaskTest::TearDown();
    }

    void ClickMenu(const char* item) { static_cast<TMenuItem&>(Pane().ComponentByName(item)).Click(); }

    TfmNewTask& NewTaskForm() { return *Globals().fmNewTask; }
    TfmAddTask& Find() { return *Globals().fmAddTask; }
};

}  // namespace

TEST_F(DialogTest, TheFirstRootTaskIsProposedOneAndMadeWithoutAQuestion) {
    Start();
    OpenExplorer();
    int proposal = 0;
    script.Then("fmNewTask", [&](TForm& f) {
        proposal = static_cast<TfmNewTask&>(f).SpinEdit1.Value();
        f.UserEdit("Edit2", "Clients");
        f.UserClick("BitBtn1");
    });
    ClickMenu("NewRootTask1");
    EXPECT_EQ(proposal, 1);
    EXPECT_TRUE(Shown().empty());
    ASSERT_EQ(Tasks().RecordCount(), 1);
    EXPECT_EQ(Tree().FocusedNode()->Texts(0), "Clients");  // focused on the new task
    EXPECT_EQ(Globals().CurrentTaskID, Tasks().FieldByName("ID").AsInteger());
    EXPECT_EQ(Tasks().FieldByName("Owner_Name").AsString(), "Alex Morgan");
    EXPECT_FALSE(Tasks().ControlsDisabled());
    EXPECT_FALSE(NewTaskForm().Visible());

    // A child of the focused task.
    script.Then("fmNewTask", [&](TForm& f) {
        EXPECT_EQ(f.Caption(), "New Task");
        f.UserEdit("Edit2", "Acme");
        f.UserClick("BitBtn1");
    });
    ClickMenu("NewTask1");
    EXPECT_EQ(Pane().Label4.Caption(), "1.1");
    EXPECT_EQ(Pane().Label3.Caption(), "Clients \\ Acme");
}

TEST_F(DialogTest, AnEmptyNameAndATakenNumberKeepTheDialogOpen) {
    Start();
    Make(-1, 1, "Existing");
    Restart();  // the start-up copy knows it
    OpenExplorer();
    script.Then("fmNewTask", [&](TForm& f) {
        auto& d = static_cast<TfmNewTask&>(f);
        d.UserEdit("SpinEdit1", "1");  // taken, but the name is checked first
        d.UserClick("BitBtn1");
        EXPECT_EQ(Shown().back(), "Please enter a description.");
        EXPECT_TRUE(d.Visible());
        d.UserEdit("Edit2", "existing");  // a taken number and a taken name together
        d.UserClick("BitBtn1");
        EXPECT_EQ(Shown().back(), "You already have a task with this number.  Please select another.");
        EXPECT_EQ(d.SpinEdit1.Value(), 2);
        EXPECT_EQ(d.Edit2.Text(), "existing");  // the name is kept
        host_->Dialogs->QueueAnswer(DialogAnswer::No);
        d.UserClick("BitBtn1");  // now the name question, and No makes a new task
    });
    ClickMenu("NewRootTask1");
    EXPECT_EQ(Shown().back(),
              "You already have a task with this name.  Click Yes to use the existing task, No to make a new one.");
    EXPECT_EQ(Tasks().RecordCount(), 2);
}

TEST_F(DialogTest, NameQuestionsCountCaseOnlyUnderTheSameParentAndCancelStillReopens) {
    Start();
    int clients = Make(-1, 1, "Clients");
    int old = Make(clients, 1, "Old audit");
    Make(-1, 2, "Lease");
    Complete(old, Date());  // completed today: still in the tree
    Restart();
    OpenExplorer();
    ASSERT_TRUE(Tasks().Locate("ID", Variant(clients)));

    // Same name, other parent: no question.
    script.Then("fmNewTask", [](TForm& f) {
        f.UserEdit("Edit2", "lease");
        f.UserClick("BitBtn1");
    });
    ClickMenu("NewTask1");
    EXPECT_TRUE(Shown().empty());

    // A completed sibling's name in another case: Cancel closes, and the close reopens it.
    ASSERT_TRUE(Tasks().Locate("ID", Variant(clients)));
    host_->Dialogs->QueueAnswer(DialogAnswer::Cancel);
    script.Then("fmNewTask", [](TForm& f) {
        f.UserEdit("Edit2", "OLD AUDIT");
        f.UserClick("BitBtn1");
    });
    ClickMenu("NewTask1");
    EXPECT_EQ(Shown().back(),
              "You have a completed task with this name.  Click Yes to reopen the completed task, No to make a new one.");
    EXPECT_FALSE(Field(old, "Complete").AsBoolean());
    EXPECT_EQ(Field(old, "Status").AsInteger(), 1);
    EXPECT_EQ(Tasks().RowCount(), 4);  // no row made
    EXPECT_EQ(Globals().CurrentTaskID, old);
    // The filter is back to one day after the dialog.
    EXPECT_TRUE(Tasks().Filtered());
    FilterTasks(1);
    EXPECT_TRUE(Tasks().Filtered());
}

TEST_F(DialogTest, FindATaskByNumberLevelByLevelAndReopenItsChain) {
    Start();
    int a = Make(-1, 3, "Clients");
    int b = Make(a, 1, "Acme");
    int c = Make(b, 2, "Audit");
    Make(-1, 7, "Seven");
    for (int id : {a, b, c}) {
        Tasks().Locate("ID", Variant(id));
        Tasks().Edit();
        Tasks().FieldByName("Due_Date").SetAsDateTime(Date() + 3);
        Tasks().Post();
        Complete(id, Date() - 100);
    }
    Restart();
    OpenExplorer();
    EXPECT_EQ(Tree().AbsoluteCount(), 1);  // only "Seven" is open

    script.Then("fmAddTask", [&](TForm& f) {
        auto& d = static_cast<TfmAddTask&>(f);
        d.UserClick("Button1");
        EXPECT_EQ(Shown().back(), "Please enter a task number");
        d.UserEdit("OvcNumericField1", "3");
        d.UserClick("Button1");
        EXPECT_EQ(d.CurrentLevelID, a);
        EXPECT_EQ(d.Panel1.Caption(), "Type a task name here, or select one from the list");
        d.UserEdit("OvcNumericField1", "7");  // 7 exists at the root only
        d.UserClick("Button1");
        EXPECT_EQ(Shown().back(), "There is no task at this level with the number 7");
        EXPECT_EQ(d.OvcNumericField1.Text(), "");
        d.UserEdit("OvcNumericField1", "1");
        d.UserClick("Button1");
        d.UserEdit("OvcNumericField1", "2");
        d.UserClick("Button1");
        EXPECT_EQ(d.cxDBTreeList1.FocusedNode()->KeyValue().AsInteger(), c);
        EXPECT_TRUE(d.cxDBTreeList1.CellStyle(d.cxDBTreeList1.FocusedNode(), d.ct1Description).StrikeOut);
        d.UserClick("BitBtn2");
    });
    ASSERT_TRUE(m().adxRibbonTab1.Click("Find a task"));
    for (int id : {a, b, c}) {
        EXPECT_FALSE(Field(id, "Complete").AsBoolean()) << id;
        EXPECT_EQ(Field(id, "Status").AsInteger(), 1) << id;
        EXPECT_TRUE(Field(id, "Due_Date").IsNull()) << id;
    }
    EXPECT_EQ(Globals().CurrentTaskID, c);
    EXPECT_EQ(Pane().Label4.Caption(), "3.1.2");
}

TEST_F(DialogTest, FindATaskByNameCountsCaseAndNeedsTheListEntered) {
    Start();
    int a = Make(-1, 1, "Clients");
    Restart();
    OpenExplorer();
    script.Then("fmAddTask", [&](TForm& f) {
        auto& d = static_cast<TfmAddTask&>(f);
        EXPECT_EQ(d.OvcSearchList1.Items(), std::vector<std::string>{"Clients"});
        d.UserClick("Button2");
        EXPECT_EQ(Shown().back(), "Please enter or select a task name");
        d.UserEdit("OvcSearchList1", "clients");
        EXPECT_TRUE(d.NameEntered);
        d.UserClick("Button2");
        EXPECT_EQ(Shown().back(), "There is no task with the name clients");
        d.UserEdit("OvcSearchList1", "Clients");
        d.UserClick("Button2");
        EXPECT_EQ(d.CurrentLevelID, a);
        EXPECT_EQ(d.Panel1.Caption(), "Clients");
        d.UserClick("BitBtn1");
    });
    ASSERT_TRUE(m().adxRibbonTab1.Click("Find a task"));
}

TEST_F(DialogTest, TheCompletedTaskSettingLastsUntilTheNextShowingAndRestart) {
    Start();
    int old = Make(-1, 1, "Old");
    Make(-1, 2, "Open");
    Complete(old, Date() - 20);
    OpenExplorer();
    EXPECT_EQ(Tree().AbsoluteCount(), 1);
    script.Then("fmOptions", [](TForm& f) {
        auto& d = static_cast<TfmOptions&>(f);
        EXPECT_EQ(d.SpinEdit1.Value(), 1);
        d.UserEdit("SpinEdit1", "3651");
        d.UserFocus("BitBtn2");  // leaving the edit brings it back to its maximum
        EXPECT_EQ(d.SpinEdit1.Value(), 3650);
        d.UserEdit("SpinEdit1", "30");
        d.UserClick("BitBtn1");
    });
    ClickMenu("Completedtasks1");
    EXPECT_EQ(Tree().AbsoluteCount(), 2);
    script.Then("fmOptions", [](TForm& f) {
        EXPECT_EQ(static_cast<TfmOptions&>(f).SpinEdit1.Value(), 1);  // a new showing says 1
        f.UserClick("BitBtn2");
    });
    ClickMenu("Completedtasks1");
    EXPECT_EQ(Tree().AbsoluteCount(), 2);  // Cancel keeps the 30 days
    m().adxOlFormsManager1.ExplorerClosed();
    m().OnBeginShutdown();
    m().OnDisconnection();
    Start();
    OpenExplorer();
    EXPECT_EQ(Tree().AbsoluteCount(), 1);  // back to one day
}

TEST_F(DialogTest, TheRibbonsCommandsAndTheirMessages) {
    Start();
    OpenExplorer();
    ASSERT_TRUE(m().adxRibbonTab1.Click("Find a task"));
    ASSERT_TRUE(m().adxRibbonTab1.Click("Timer"));
    EXPECT_EQ(Shown(), (std::vector<std::string>{"You have no tasks.", "You have no tasks to time."}));
    EXPECT_FALSE(m().adxRibbonTab1.Click("Options..."));  // hidden group
    EXPECT_FALSE(m().adxRibbonTab1.Click("Tasks"));
    EXPECT_EQ(m().adxRibbonTab1.Controls.size(), 6u);
    Make(-1, 1, "A");
    FilterTasks(1);
    ASSERT_TRUE(m().adxRibbonTab1.Click("Timer"));
    ASSERT_TRUE(m().adxRibbonTab1.Click("Timer"));
    EXPECT_TRUE(Globals().fmTimer->Visible());  // one window
    ASSERT_TRUE(m().adxRibbonTab1.Click("Help"));
    ASSERT_EQ(host_->Help->Calls().size(), 1u);
    EXPECT_EQ(host_->Help->Calls()[0].context, 10);
    EXPECT_EQ(host_->Help->Calls()[0].helpFile, (dir_ / "Corvelle.chm").string());
    script.Then("fmAbout", [](TForm& f) {
        EXPECT_EQ(f.Caption(), "About Corvelle");
        f.UserClick("BitBtn1");
    });
    ASSERT_TRUE(m().adxRibbonTab1.Click("About"));
    EXPECT_EQ(script.Shown(), std::vector<std::string>{"fmAbout"});
}

TEST(GetNodeIDAtLevel, GivesTheStartingNodeAfterItsWalk) {
    auto t = MakeTable("Tasks");
    t->Open();
    auto add = [&](int parent) {
        t->Append();
        t->FieldByName("Parent_ID").SetAsInteger(parent);
        t->Post();
        return t->FieldByName("ID").AsInteger();
    };
    int root = add(-1);
    int child = add(root);
    TDataSource ds{"ds", t.get()};
    TcxDBTreeList tree("tree");
    tree.SetDataSource(&ds);
    EXPECT_EQ(GetNodeIDAtLevel(tree.FindNodeByKeyValue(Variant(root)), 0), root);
    EXPECT_EQ(GetNodeIDAtLevel(tree.FindNodeByKeyValue(Variant(root)), 1), -1);
    EXPECT_EQ(GetNodeIDAtLevel(tree.FindNodeByKeyValue(Variant(child)), 0), child);
}
