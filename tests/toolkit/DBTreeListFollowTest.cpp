// A task tree that follows each change of its table node by node reads, at every step, exactly as
// a tree that places every node again at each notice: the same nodes in the same order, the same
// expanded nodes, the same focused node, and the same focus changes told.
#include <gtest/gtest.h>

#include <algorithm>

#include "base/DateTime.h"
#include "store/Tables.h"
#include "toolkit/DBTreeList.h"

namespace {

// A tree that places every node again at each notice of the table.
struct TRebuildingTree : TcxDBTreeList {
    using TcxDBTreeList::TcxDBTreeList;
    void DataEvent(TdxMemData& t, TDataEvent event, TField* field) override {
        if (event == TDataEvent::DataSetChange) Rebuild();
        else TcxDBTreeList::DataEvent(t, event, field);
    }
};

// The pane's columns, siblings in the given order of their descriptions, and its focus changes
// told as "previous>new" keys.
void SetUpPane(TcxDBTreeList& tree, TDataSource& ds, std::vector<std::string>& told, TcxSortOrder order) {
    tree.CreateColumn("cl1Description", "Description").SortOrder = order;
    tree.CreateColumn("cl1DueDate", "Due_Date");
    tree.CreateColumn("cl1Number", "Number", false);
    tree.OnFocusedNodeChanged = [&told](TcxDBTreeList&, TcxTreeListNode* p, TcxTreeListNode* n) {
        told.push_back((p ? p->KeyValue().AsString() : "-") + ">" + (n ? n->KeyValue().AsString() : "-"));
    };
    tree.SetDataSource(&ds);
}

// All a user or a handler reads of a tree: each node with its place, key, texts, whether it is
// expanded and focused, and the lines shown.
std::string Read(const TcxDBTreeList& t) {
    std::string s;
    for (int i = 0; i < t.AbsoluteCount(); ++i) {
        TcxTreeListNode* n = t.AbsoluteItems(i);
        s += std::to_string(n->Level()) + "/" + std::to_string(n->Index()) + "/" + std::to_string(n->AbsoluteIndex()) +
             " " + n->KeyValue().AsString() + "<" + n->ParentKeyValue().AsString() + " under " +
             (n->Parent() ? n->Parent()->KeyValue().AsString() : "none") + ":";
        for (int c = 0; c < t.ColumnCount(); ++c) s += " " + n->Texts(c);
        s += n->Expanded() ? " open" : " shut";
        if (n->Focused()) s += " focused";
        if (n->Parent() && n->Parent()->Items(n->Index()) != n) s += " misplaced";
        s += "\n";
    }
    return s + std::to_string(t.VisibleNodes().size()) + " lines shown\n";
}

struct FollowFixture : ::testing::TestWithParam<TcxSortOrder> {
    std::unique_ptr<TdxMemData> table = MakeTable("Tasks");
    TDataSource ds{"dsMemDataTasks", table.get()};
    TcxDBTreeList tree{"follows"};
    TRebuildingTree rebuilt{"rebuilds"};
    std::vector<std::string> toldTree, toldRebuilt;
    TDateTime today = EncodeDate(2026, 3, 5);

    void SetUp() override {
        table->Open();
        SetUpPane(tree, ds, toldTree, GetParam());
        SetUpPane(rebuilt, ds, toldRebuilt, GetParam());
    }

    // A task completed that many days ago; -1 for an open one.
    int Add(const std::string& name, int parent, int completedDaysAgo) {
        table->Append();
        table->FieldByName("Description").SetAsString(name);
        table->FieldByName("Parent_ID").SetAsInteger(parent);
        table->FieldByName("Number").SetAsInteger(table->RowCount());
        table->FieldByName("Date_Complete")
            .SetAsDateTime(completedDaysAgo < 0 ? EncodeDate(4501, 1, 1) : today - completedDaysAgo);
        table->Post();
        return table->FieldByName("ID").AsInteger();
    }

    // The completed-task setting: the rows completed within that many days, and every open one,
    // with the views told once.
    void ShowCompletedWithin(int days) {
        table->DisableControls();
        table->SetProgrammedFilter(false);
        table->SetFiltered(false);
        table->SetProgrammedFilter(true);
        for (int row = 0; row < table->RowCount(); ++row) {
            table->GotoRow(row);
            if (table->FieldByName("Date_Complete").AsDateTime() > today - days)
                table->FilterList().push_back(row + 1);
        }
        table->SetFiltered(true);
        table->EnableControls();
    }

    void Unfilter() {
        table->SetProgrammedFilter(false);
        table->SetFiltered(false);
    }

    // Both trees expanded or collapsed alike, as a user's click does on each.
    void Expand(int key, bool open) {
        for (TcxDBTreeList* t : {static_cast<TcxDBTreeList*>(&tree), static_cast<TcxDBTreeList*>(&rebuilt)})
            if (TcxTreeListNode* n = t->FindNodeByKeyValue(Variant(key))) n->SetExpanded(open);
    }

    void Check(const char* step) {
        SCOPED_TRACE(step);
        EXPECT_EQ(Read(tree), Read(rebuilt));
        EXPECT_EQ(toldTree, toldRebuilt);
        // A view painting three lines from the third reads them as the whole list has them.
        std::vector<TcxTreeListNode*> lines = tree.VisibleNodes();
        std::vector<TcxTreeListNode*> three(lines.begin() + std::min<size_t>(2, lines.size()),
                                            lines.begin() + std::min<size_t>(5, lines.size()));
        EXPECT_EQ(tree.VisibleNodes(2, 3), three);
        // A tree made afresh over the table shows the same nodes in the same order.
        TcxDBTreeList fresh("fresh");
        std::vector<std::string> told;
        SetUpPane(fresh, ds, told, GetParam());
        ASSERT_EQ(fresh.AbsoluteCount(), tree.AbsoluteCount());
        for (int i = 0; i < fresh.AbsoluteCount(); ++i)
            EXPECT_EQ(fresh.AbsoluteItems(i)->KeyValue().AsString(), tree.AbsoluteItems(i)->KeyValue().AsString());
    }
};

}  // namespace

// A user narrows and widens the completed-task view while tasks are added, deleted, moved and
// renamed: the tree reads at every step as one that placed all its nodes again.
TEST_P(FollowFixture, EachKindOfChangeReadsAsATreePlacedAgain) {
    int acme = Add("Acme", -1, -1);
    int borealis = Add("Borealis", -1, -1);
    int zenith = Add("Zenith", -1, 400);  // a client long done: its open task stays out of sight
    Add("Hidden matter", zenith, -1);
    int audit = Add("Audit", acme, 20);
    Add("Audit fieldwork", audit, 30);
    Add("Audit report", audit, -1);
    int lease = Add("lease", acme, -1);
    Add("Lease renewal", lease, 2);
    Add("Lease", acme, 0);  // the same name but for case: table order decides
    int tax = Add("Tax", borealis, 200);
    Add("Tax return", tax, -1);
    Add("Payroll", borealis, -1);
    tree.FullExpand();
    rebuilt.FullExpand();
    Expand(lease, false);
    Check("all shown, one matter collapsed");

    ShowCompletedWithin(1);
    Check("the filter on: one day");
    ShowCompletedWithin(3650);
    Check("widened to ten years");
    ShowCompletedWithin(25);
    Check("narrowed: a parent goes with the children it held");
    table->Locate("ID", Variant(lease));
    Expand(lease, true);
    Expand(acme, false);
    ShowCompletedWithin(0);
    Check("the focused row stays; expanded states changed before the filter");
    Unfilter();
    Check("the filter off");

    // The focused task drops out of the view: the focus moves as a rebuild moves it.
    table->Locate("ID", Variant(audit));
    ShowCompletedWithin(1);
    Check("the focused task filtered out");

    // Rows added, deleted, moved and renamed, each followed by a filter over the new rows.
    int charter = Add("Charter", borealis, -1);
    Add("Charter draft", charter, 1);
    Check("a task added (not in the list: not shown)");
    ShowCompletedWithin(5);
    Check("the filter again, with the new tasks");
    table->Locate("ID", Variant(tax));
    table->Delete();
    Check("a task deleted, its child left without a parent");
    ShowCompletedWithin(3650);
    Check("widened after the delete");
    tree.MoveNode(tree.FindNodeByKeyValue(Variant(charter)), tree.FindNodeByKeyValue(Variant(acme)));
    Check("a task moved under another client");
    ShowCompletedWithin(1);
    Check("narrowed after the move");
    table->Locate("ID", Variant(borealis));
    table->Edit();
    table->FieldByName("Description").SetAsString("Aardvark");
    table->Post();
    Check("a client renamed to the top");
    ShowCompletedWithin(3650);
    Check("widened after the rename");
    tree.FullExpand();
    rebuilt.FullExpand();
    Check("every node expanded");
    ShowCompletedWithin(1);
    ShowCompletedWithin(3650);
    tree.FullExpand();
    rebuilt.FullExpand();
    Check("narrowed and widened again, expanded again");
    tree.FullCollapse();
    rebuilt.FullCollapse();
    ShowCompletedWithin(25);
    Check("all collapsed, then narrowed");
}

// Tasks whose parents come after them in the table, a matter hung under a task filed later, a
// loop of two tasks naming each other, and a task with no parent: widening brings child and
// parent into view together, and the tree still reads as one placed again.
TEST_P(FollowFixture, ParentsLaterInTheTableAndBrokenLinksReadAsATreePlacedAgain) {
    int acme = Add("Acme", -1, -1);
    int early = Add("Early step", acme, 40);
    int earlier = Add("Earlier step", acme, 40);
    Add("Step detail", early, 45);
    int loopA = Add("Loop A", acme, 50);
    int loopB = Add("Loop B", loopA, 50);
    Add("Under the loop", loopB, -1);
    int orphan = Add("No parent", acme, 60);
    int later = Add("Later matter", acme, 30);
    int latest = Add("Latest matter", later, 35);
    auto setParent = [&](int id, const Variant& parent) {
        table->Locate("ID", Variant(id));
        table->Edit();
        table->FieldByName("Parent_ID").SetValue(parent);
        table->Post();
    };
    // Filed before the matters they now stand under.
    setParent(early, Variant(latest));
    setParent(earlier, Variant(later));
    setParent(loopA, Variant(loopB));
    setParent(orphan, Variant());
    tree.FullExpand();
    rebuilt.FullExpand();
    Check("all shown: the loop and the task with no parent have no node");
    ShowCompletedWithin(1);
    Check("one day: only the open tasks");
    ShowCompletedWithin(36);
    Check("five weeks: the later matters, not yet the steps under them");
    ShowCompletedWithin(42);
    Check("six weeks: the steps come under the later matters");
    ShowCompletedWithin(1);
    ShowCompletedWithin(3650);
    Check("from one day to ten years: each step with its matter, in one change");
    table->Locate("ID", Variant(early));
    ShowCompletedWithin(1);
    ShowCompletedWithin(3650);
    Check("the focused step gone and back");
    table->Locate("ID", Variant(loopA));
    Check("the cursor on a task of the loop: no node is focused");
}

INSTANTIATE_TEST_SUITE_P(SortOrders, FollowFixture,
                         ::testing::Values(TcxSortOrder::soAscending, TcxSortOrder::soDescending,
                                           TcxSortOrder::soNone),
                         [](const ::testing::TestParamInfo<TcxSortOrder>& param) {
                             switch (param.param) {
                                 case TcxSortOrder::soAscending: return std::string("Ascending");
                                 case TcxSortOrder::soDescending: return std::string("Descending");
                                 default: return std::string("Unsorted");
                             }
                         });
