// A task and its Outlook twin: opening, changing in Outlook, closing, completing, deleting.
#include "tasks/TaskFixture.h"

namespace {
constexpr const char* kChildrenQuestion =
    "This task has open children.  Deleting it will also delete all its children. Do you wish to delete it?";
}

TEST_F(TaskTest, AFirstOpenMakesTheTwinAndAStaleTwinIsMadeAnew) {
    Start();
    int id = Make(-1, 1, "Audit");
    OpenExplorer();
    Open(id);
    auto twin = Twin(id);
    ASSERT_TRUE(twin);
    EXPECT_EQ(twin->Value("Subject").AsString(), "Audit");
    EXPECT_TRUE(twin->InspectorOpen());
    EXPECT_TRUE(Globals().TaskOpen);
    EXPECT_EQ(Field(id, "Description").AsString(), "Audit");

    // A second open is refused, and still connects one more sink.
    size_t sinks = twin->Connection().Cookies().size();
    Open(id);
    EXPECT_EQ(Shown(), std::vector<std::string>{"Please close the open task first"});
    EXPECT_EQ(twin->Connection().Cookies().size(), sinks + 1);

    // Closing with no change writes nothing.
    int posts = 0;
    struct Count : IDataObserver {
        int& n;
        explicit Count(int& c) : n(c) {}
        void DataEvent(TdxMemData&, TDataEvent e, TField*) override { n += e == TDataEvent::StateChange; }
    } counter(posts);
    Tasks().AddObserver(&counter);
    twin->UserClose();
    Tasks().RemoveObserver(&counter);
    EXPECT_EQ(posts, 0);
    EXPECT_FALSE(Globals().TaskOpen);
    EXPECT_FALSE(Globals().TaskItem);

    // The twin deleted for good in Outlook: the next open makes a new one.
    std::string first = twin->Id();
    twin->UserDeleteForGood();
    Open(id);
    auto again = Twin(id);
    ASSERT_TRUE(again);
    EXPECT_NE(again->Id(), first);
    EXPECT_EQ(again->Value("Body").AsString(), "");
}

TEST_F(TaskTest, OutlookWinsAtTheCloseAndTheFocusedRowTakesTheValues) {
    Start();
    int a = Make(-1, 1, "A");
    int b = Make(-1, 2, "B");
    OpenExplorer();
    Open(a);
    auto twin = Twin(a);
    ASSERT_TRUE(twin);
    twin->UserSetPropertyText("Subject", "A renamed");
    twin->UserSetPropertyText("DueDate", "2026-03-20");
    ASSERT_TRUE(Tree().UserClickNode(Node(b)));  // the user moves on while the form is open
    twin->UserClose();
    EXPECT_EQ(Field(b, "Description").AsString(), "A renamed");
    EXPECT_EQ(Field(b, "Due_Date").AsDateTime(), EncodeDate(2026, 3, 20));
    EXPECT_EQ(Field(a, "Description").AsString(), "A");

    // A due date of "None" clears the row's.
    Open(b);
    auto twinB = Twin(b);
    ASSERT_TRUE(twinB);
    twinB->UserSetPropertyText("DueDate", "2026-03-25");
    twinB->UserClose();
    EXPECT_EQ(Field(b, "Due_Date").AsDateTime(), EncodeDate(2026, 3, 25));
    Open(b);
    Twin(b)->UserSetPropertyText("DueDate", "None");
    Twin(b)->UserClose();
    EXPECT_TRUE(Field(b, "Due_Date").IsNull());
}

TEST_F(TaskTest, ANewTaskOpenedAfterACompletedOneGetsItsStatus) {
    Start();
    int done = Make(-1, 1, "Done");
    Complete(done, Date());
    Tasks().Locate("ID", Variant(done));
    Tasks().Edit();
    Tasks().FieldByName("Status").SetAsInteger(2);
    Tasks().Post();
    OpenExplorer();
    ASSERT_TRUE(Tree().UserClickNode(Node(done)));
    int fresh = Make(-1, 2, "Fresh");
    FilterTasks(1);
    Open(fresh);
    auto twin = Twin(fresh);
    ASSERT_TRUE(twin);
    EXPECT_EQ(twin->Value("Status").AsInteger(), 2);
    EXPECT_FALSE(Field(fresh, "Complete").AsBoolean());  // the row stays open until a change
}

TEST_F(TaskTest, CompletingInOutlookCompletesTheSubtreeAndReopeningReopensTheAncestors) {
    Start();
    int root = Make(-1, 1, "Root");
    int child = Make(root, 1, "Child");
    int grand = Make(child, 1, "Grand");
    int great = Make(grand, 1, "Great");
    int other = Make(-1, 2, "Other");
    OpenExplorer();
    // Every task gets a twin first, to see that none is touched.
    for (int id : {child, grand, great, other}) {
        Open(id);
        Twin(id)->UserClose();
    }
    Open(root);
    auto twin = Twin(root);
    host_->Outlook.ClearJournal();
    twin->UserSetPropertyText("Complete", "true");
    twin->UserClose();
    for (int id : {root, child, grand, great}) {
        EXPECT_TRUE(Field(id, "Complete").AsBoolean()) << id;
        EXPECT_EQ(Field(id, "Status").AsInteger(), 2) << id;
        EXPECT_EQ(Field(id, "Percent_Complete").AsInteger(), 100) << id;
        EXPECT_EQ(Field(id, "Date_Complete").AsDateTime(), Date()) << id;
    }
    EXPECT_FALSE(Field(other, "Complete").AsBoolean());
    for (int id : {child, grand, great}) EXPECT_FALSE(Twin(id)->Value("Complete").AsBoolean());

    // Clearing the mark on a grandchild reopens its parent and grandparent; due dates stay.
    Tasks().Locate("ID", Variant(root));
    Tasks().Edit();
    Tasks().FieldByName("Due_Date").SetAsDateTime(EncodeDate(2026, 4, 1));
    Tasks().Post();
    Open(grand);
    auto g = Twin(grand);
    g->UserSetPropertyText("Complete", "true");  // it learns its status only at the next open
    g->UserSetPropertyText("Complete", "false");
    g->UserClose();
    EXPECT_FALSE(Field(grand, "Complete").AsBoolean());
    for (int id : {child, root}) {
        EXPECT_FALSE(Field(id, "Complete").AsBoolean()) << id;
        EXPECT_EQ(Field(id, "Status").AsInteger(), 1) << id;
        EXPECT_EQ(Field(id, "Date_Complete").AsDateTime(), StrToDate("1/1/4501")) << id;
    }
    EXPECT_EQ(Field(root, "Due_Date").AsDateTime(), EncodeDate(2026, 4, 1));
    EXPECT_TRUE(Field(great, "Complete").AsBoolean());  // descendants stay complete
}

TEST_F(TaskTest, DeletingATaskWithChildrenAsksAndMovesEveryTwinToDeletedItems) {
    Start();
    int root = Make(-1, 1, "Root");
    int child = Make(root, 1, "Child");
    int noTwin = Make(root, 2, "No twin");
    int hidden = Make(root, 3, "Hidden");
    Complete(hidden, Date() - 30);
    OpenExplorer();
    for (int id : {root, child}) {
        Open(id);
        Twin(id)->UserClose();
    }
    auto rootTwin = Twin(root);
    auto childTwin = Twin(child);
    ASSERT_TRUE(Tree().UserClickNode(Node(root)));
    host_->Dialogs->QueueAnswer(platform::DialogAnswer::No);
    Pane().Deletetask2Click();
    EXPECT_EQ(Shown().back(), kChildrenQuestion);
    EXPECT_EQ(Tasks().RowCount(), 4);

    host_->Dialogs->QueueAnswer(platform::DialogAnswer::Yes);
    Pane().Deletetask2Click();
    EXPECT_EQ(rootTwin->Folder()->FolderName(), "Deleted Items");
    EXPECT_EQ(childTwin->Folder()->FolderName(), "Deleted Items");
    EXPECT_TRUE(Field(noTwin, "ID").IsNull());
    EXPECT_EQ(Tasks().RowCount(), 1);  // the hidden, completed child stays
    UnfilterTasks();
    EXPECT_EQ(Field(hidden, "Parent_ID").AsInteger(), root);

    // A leaf asks the plain question.
    int leaf = Make(-1, 2, "Leaf");
    FilterTasks(1);
    ASSERT_TRUE(Tree().UserClickNode(Node(leaf)));
    host_->Dialogs->QueueAnswer(platform::DialogAnswer::Yes);
    Pane().Deletetask2Click();
    EXPECT_EQ(Shown().back(), "Delete this task?");
    EXPECT_TRUE(Field(leaf, "ID").IsNull());
}

TEST_F(TaskTest, FailuresOfOutlookEndTheOpenSilently) {
    Start();
    int id = Make(-1, 1, "A");
    OpenExplorer();
    host_->Outlook.Failures().FailNext("Items.Add");
    Open(id);
    EXPECT_FALSE(Globals().TaskOpen);
    EXPECT_TRUE(Shown().empty());
    EXPECT_EQ(Field(id, "EntryID").AsString(), "");
    // The welcome task without its text file beside the add-in: no twin is saved.
    int welcome = Make(-1, 2, "Double-click me!");
    FilterTasks(1);
    Open(welcome);
    EXPECT_FALSE(Globals().TaskOpen);
    EXPECT_EQ(Field(welcome, "EntryID").AsString(), "");
    std::ofstream(dir_ / "Clickme.txt") << "Welcome to Corvelle.\r\n";
    Open(welcome);
    ASSERT_TRUE(Twin(welcome));
    EXPECT_EQ(Twin(welcome)->Value("Body").AsString(), "Welcome to Corvelle.\r\n");
}

TEST_F(TaskTest, ARowWithoutATwinIsDeletedWithoutAskingOutlook) {
    Start();
    int lone = Make(-1, 1, "Never opened");
    OpenExplorer();
    ASSERT_TRUE(Tree().UserClickNode(Node(lone)));
    host_->Outlook.Failures().FailNext("NameSpace.GetItemFromID");
    host_->Dialogs->QueueAnswer(platform::DialogAnswer::Yes);
    Pane().Deletetask2Click();
    EXPECT_EQ(Tasks().RowCount(), 0);
    EXPECT_TRUE(host_->Outlook.Failures().Pending("NameSpace.GetItemFromID"));  // no call was made
}
