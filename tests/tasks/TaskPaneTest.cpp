// The task pane, the task tree and the rules of numbers, names, completion and the filter, as a
// user meets them in a started add-in with the explorer open.
#include "tasks/TaskFixture.h"

#include "filing/ufmEmails.h"


TEST_F(TaskTest, TheExplorerMakesSixPanesInOrderAndActivatesTheTaskPane) {
    Start();
    int a = Make(-1, 1, "Acme");
    Make(a, 1, "Audit");
    EXPECT_EQ(m().adxOlFormsManager1.Count(), 6);
    EXPECT_EQ(m().adxOlFormsManager1.Items(0).CurrentForm(), nullptr);
    OpenExplorer();
    const char* names[] = {"TfmList", "TfmTime", "TfmEmails", "TfmNotes", "TfmContacts", "TfmAppointments"};
    for (int i = 0; i < 6; ++i) {
        auto& item = m().adxOlFormsManager1.Items(i);
        EXPECT_EQ(item.FormClassName, names[i]);
        ASSERT_NE(item.CurrentForm(), nullptr);
        EXPECT_TRUE(item.CurrentForm()->Visible());
    }
    EXPECT_TRUE(m().adxOlFormsManager1.Items(0).CurrentForm()->Active());
    EXPECT_EQ(Globals().TaskTree, &Tree());            // activation
    EXPECT_TRUE(Tasks().Filtered());                   // creation: FilterTasks(1)
    EXPECT_TRUE(Node(a)->Expanded());                  // show: full expand
    EXPECT_EQ(Pane().Caption(), "Corvelle");

    // A second folder of another kind makes nothing new; a tasks folder shows no pane.
    TForm* list = m().adxOlFormsManager1.Items(0).CurrentForm();
    m().adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itContact);
    EXPECT_EQ(m().adxOlFormsManager1.Items(0).CurrentForm(), list);
    m().adxOlFormsManager1.ActivatePane(2);
    EXPECT_EQ(static_cast<TForm*>(Globals().fmEmails), m().adxOlFormsManager1.Items(2).CurrentForm());
}

TEST_F(TaskTest, ClosingThePanesSavesEachTableOnceAndOnlyForPanesThatExist) {
    Start();
    // Rows filed while no pane was ever shown are not saved.
    m().MemDataEmails.Append();
    m().MemDataEmails.FieldByName("Subject").SetAsString("filed");
    m().MemDataEmails.Post();
    m().adxOlFormsManager1.ExplorerClosed();
    EXPECT_FALSE(fs::exists(dir_ / "Emails.bin"));

    // Closing the task pane over an empty, unfiltered table writes a blank row.
    OpenExplorer();
    UnfilterTasks();
    m().adxOlFormsManager1.ExplorerClosed();
    EXPECT_EQ(Tasks().RecordCount(), 1);
    EXPECT_TRUE(fs::exists(dir_ / "Tasks.bin"));
    // The emails pane follows the task (none focused): its filter shows no row, so the blank row
    // its close adds is not counted and the table is not written. The empty tables stay
    // unfiltered and are written with their blank row.
    EXPECT_FALSE(fs::exists(dir_ / "Emails.bin"));
    EXPECT_EQ(m().MemDataEmails.RowCount(), 2);
    EXPECT_TRUE(fs::exists(dir_ / "Contacts.bin"));
    EXPECT_TRUE(fs::exists(dir_ / "Distlists.bin"));
    EXPECT_TRUE(Shown().empty());
}

TEST_F(TaskTest, FocusSetsTheCurrentTaskAndBothLabelsOnce) {
    Start();
    int clients = Make(-1, 3, "Clients");
    int acme = Make(clients, 1, "Acme");
    int audit = Make(acme, 2, "Audit");
    int other = Make(-1, 1, "Other");
    OpenExplorer();

    int events = 0;
    auto chained = Tree().OnFocusedNodeChanged;
    Tree().OnFocusedNodeChanged = [&](TcxDBTreeList& s, TcxTreeListNode* p, TcxTreeListNode* n) {
        ++events;
        chained(s, p, n);
    };
    ASSERT_TRUE(Tasks().Locate("ID", Variant(audit)));
    EXPECT_EQ(events, 1);
    EXPECT_EQ(Globals().CurrentTaskID, audit);
    EXPECT_EQ(Pane().Label3.Caption(), "Clients \\ Acme \\ Audit");
    EXPECT_EQ(Pane().Label4.Caption(), "3.1.2");
    EXPECT_EQ(Globals().TaskLevel, 2);

    ASSERT_TRUE(Tree().UserClickNode(Node(other)));
    EXPECT_EQ(events, 2);
    EXPECT_EQ(Tasks().FieldByName("ID").AsInteger(), other);
    EXPECT_EQ(Pane().Label3.Caption(), "Other");
    EXPECT_EQ(Pane().Label4.Caption(), "1");

    // Nothing fires while the controls are disabled; the tree catches up after.
    Tasks().DisableControls();
    Tasks().Locate("ID", Variant(acme));
    EXPECT_EQ(events, 2);
    Tasks().EnableControls();
    EXPECT_EQ(events, 3);
    EXPECT_EQ(Pane().Label4.Caption(), "3.1");
}

TEST_F(TaskTest, ANewRowsNullStatusKeepsThePreviousTasksStatus) {
    Start();
    int done = Make(-1, 1, "Done");
    Tasks().Locate("ID", Variant(done));
    Tasks().Edit();
    Tasks().FieldByName("Status").SetAsInteger(2);
    Tasks().Post();
    OpenExplorer();
    Tasks().Locate("ID", Variant(done));
    EXPECT_EQ(Globals().TaskStatus, 2);
    int fresh = Make(-1, 2, "Fresh");
    FilterTasks(1);  // as the new-task dialog does when it closes
    ASSERT_TRUE(Tasks().Locate("ID", Variant(fresh)));
    EXPECT_EQ(Globals().CurrentTaskID, fresh);
    EXPECT_EQ(Globals().TaskDescription, "Fresh");
    EXPECT_EQ(Globals().TaskStatus, 2);
}

TEST_F(TaskTest, TheFirstFilterCarriesOverWhatItsWalkOverEveryTaskLeaves) {
    Start();
    int clients = Make(-1, 1, "Clients");
    int old = Make(clients, 1, "Old matter");
    int acme = Make(clients, 2, "Acme");
    Tasks().Locate("ID", Variant(old));
    Tasks().Edit();
    Tasks().FieldByName("Status").SetAsInteger(3);
    Tasks().FieldByName("Due_Date").SetAsDateTime(Date() - 400);
    Tasks().Post();
    Complete(old, Date() - 400);
    Tasks().Locate("ID", Variant(acme));
    OpenExplorer();
    // The pane's first filter passes over every task with the tree following, so the long
    // completed matter's status and due date stay with the first task shown, which has none.
    EXPECT_EQ(Globals().CurrentTaskID, clients);
    EXPECT_EQ(Pane().Label3.Caption(), "Clients");
    EXPECT_EQ(Globals().TaskStatus, 3);
    EXPECT_EQ(Globals().TaskDueDate, Date() - 400);
    EXPECT_EQ(Globals().ChosenStatus, 3);
    EXPECT_EQ(Tasks().RecordCount(), 2);
    // A row whose parent is gone passes the filter and has no node.
    Make(999, 1, "orphan");
    FilterTasks(1);
    EXPECT_EQ(Tasks().RecordCount(), 3);
    EXPECT_EQ(Tree().AbsoluteCount(), 2);
    EXPECT_EQ(Globals().CurrentTaskID, clients);
}

TEST_F(TaskTest, PicturesAndFontsFollowDatesStatusAndCompletion) {
    Start();
    TDateTime today = Date();
    struct Case {
        const char* name;
        int dueInDays;  // 999: no due date
        int status;     // -1: none
        bool complete;
        int picture;
    } cases[] = {
        {"six days", 6, -1, false, 2},  {"seven days", 7, -1, false, -1}, {"today", 0, 1, false, 3},
        {"overdue", -1, -1, false, 4},  {"waiting", -3, 3, false, 7},    {"deferred", 999, 4, false, 8},
        {"done", -3, 3, true, 100},     {"none", 999, -1, false, -1},
    };
    int n = 0;
    for (const Case& c : cases) {
        int id = Make(-1, ++n, c.name);
        Tasks().Locate("ID", Variant(id));
        Tasks().Edit();
        if (c.dueInDays != 999) Tasks().FieldByName("Due_Date").SetAsDateTime(today + c.dueInDays);
        if (c.status >= 0) Tasks().FieldByName("Status").SetAsInteger(c.status);
        Tasks().FieldByName("Complete").SetAsBoolean(c.complete);
        Tasks().Post();
    }
    int child = Make(1, 1, "child");
    OpenExplorer();
    for (const Case& c : cases) {
        ASSERT_TRUE(Tasks().Locate("Description", Variant(c.name)));
        TcxTreeListNode* node = Tree().FocusedNode();
        EXPECT_EQ(Tree().NodeImageIndex(node), c.picture) << c.name;
        TFontStyles style = Tree().CellStyle(node, Pane().cl1Description);
        EXPECT_TRUE(style.Bold) << c.name;  // all are roots
        EXPECT_EQ(style.StrikeOut, c.complete) << c.name;
    }
    TFontStyles childStyle = Tree().CellStyle(Node(child), Pane().cl1Description);
    EXPECT_FALSE(childStyle.Bold || childStyle.StrikeOut);
    Complete(child, today);
    TFontStyles doneChild = Tree().CellStyle(Node(child), Pane().cl1Description);
    EXPECT_TRUE(doneChild.StrikeOut && !doneChild.Bold);

    // The importance column shows the high and the low picture; normal, and none, show nothing.
    const TcxDBTreeListColumn& importance = Pane().cl1Importance;
    int pictures[] = {1, -1, 0};  // low, normal, high
    for (int value = 0; value <= 2; ++value) {
        Tasks().Locate("ID", Variant(child));
        Tasks().Edit();
        Tasks().FieldByName("Importance").SetAsInteger(value);
        Tasks().Post();
        EXPECT_EQ(importance.ImageIndexOfValue(Node(child)->Values(importance.ItemIndex())), pictures[value]) << value;
    }
    EXPECT_EQ(importance.ImageIndexOfValue(Variant()), -1);
}

TEST_F(TaskTest, NumbersCountCompletedSiblingsAndGiveADeletedHighestAgain) {
    Start();
    UnfilterTasks();
    EXPECT_EQ(GetMaxNumber(-1) + 1, 1);
    Make(-1, 1, "a");
    Make(-1, 2, "b");
    int five = Make(-1, 5, "e");
    EXPECT_EQ(GetMaxNumber(-1) + 1, 6);
    Complete(five, Date() - 30);
    EXPECT_EQ(GetMaxNumber(-1) + 1, 6);  // a completed sibling counts when unfiltered
    FilterTasks(1);
    EXPECT_EQ(GetMaxNumber(-1) + 1, 3);  // the filter hides it
    UnfilterTasks();
    int six = Make(-1, 6, "f");
    Tasks().Locate("ID", Variant(six));
    Tasks().Delete();
    EXPECT_EQ(GetMaxNumber(-1) + 1, 6);
    EXPECT_EQ(GetMaxNumber(five) + 1, 1);
    // A damaged file's largest number has no next one to propose.
    Make(five, 2147483647, "last");
    EXPECT_THROW(GetMaxNumber(five), EConvertError);
}

TEST_F(TaskTest, TheCompletedTaskFilterKeepsOpenTasksAndThoseCompletedWithinTheDays) {
    Start();
    int open = Make(-1, 1, "open");
    int today = Make(-1, 2, "today");
    int lastYear = Make(-1, 3, "last year");
    int child = Make(lastYear, 1, "open child of an old parent");
    Complete(today, Date());
    Complete(lastYear, Date() - 365);
    OpenExplorer();
    auto shown = [&] {
        std::vector<int> ids;
        for (int i = 0; i < Tree().AbsoluteCount(); ++i) ids.push_back(Tree().AbsoluteItems(i)->KeyValue().AsInteger());
        return ids;
    };
    EXPECT_EQ(shown(), (std::vector<int>{open, today}));  // one day, from the pane's creation
    FilterTasks(0);
    EXPECT_EQ(shown(), (std::vector<int>{open}));
    FilterTasks(3650);
    EXPECT_EQ(shown(), (std::vector<int>{lastYear, child, open, today}));
    FilterTasks(1);
    EXPECT_EQ(Tasks().RecordCount(), 3);  // the child passes but has no parent node
    // Completing twice moves the date to the second day.
    SetClock(Date() + 2);
    Complete(today, Date());
    Tasks().Locate("ID", Variant(today));
    EXPECT_EQ(Tasks().FieldByName("Date_Complete").AsDateTime(), Date());
    Tasks().Edit();
    Tasks().FieldByName("Complete").SetAsBoolean(false);
    Tasks().Post();
    EXPECT_EQ(Tasks().FieldByName("Date_Complete").AsDateTime(), StrToDate("1/1/4501"));
}

TEST_F(TaskTest, NameAndNumberChecksLookAtTheCopyTakenAtStartUp) {
    Start();
    int clients = Make(-1, 1, "Clients");
    Make(clients, 1, "Audit");
    int done = Make(clients, 2, "Old");
    Complete(done, Date() - 10);
    // Copied into the working table at a start.
    m().OnBeginShutdown();
    OpenExplorer();  // no effect after shutdown is fine: the tables stay
    m().SaveTasks();
    Start();
    EXPECT_TRUE(NumberExists(clients, 1));
    EXPECT_FALSE(NumberExists(-1, 2));
    EXPECT_EQ(NameExists(clients, "AUDIT"), 1);
    EXPECT_EQ(NameExists(clients, "old"), 2);
    EXPECT_EQ(Globals().FoundTaskID, done);
    EXPECT_EQ(NameExists(-1, "Audit"), 0);  // another parent
    Make(-1, 2, "New since start");
    EXPECT_FALSE(NumberExists(-1, 2));
    EXPECT_EQ(NameExists(-1, "New since start"), 0);
}

TEST_F(TaskTest, CommandsOnAnEmptyTableDoNothing) {
    Start();
    OpenExplorer();
    EXPECT_FALSE(HasRecords(Tasks()));
    Pane().Displaytask1Click();
    Pane().Deletetask2Click();
    Pane().NewTask1Click();
    EXPECT_TRUE(Shown().empty());
    EXPECT_EQ(Pane().Label3.Caption(), "");
    EXPECT_FALSE(Tree().DragOver(0));
}
