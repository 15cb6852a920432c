#include <gtest/gtest.h>

#include "store/Tables.h"
#include "toolkit/DBTreeList.h"

namespace {

struct TreeFixture : ::testing::Test {
    std::unique_ptr<TdxMemData> table = MakeTable("Tasks");
    TDataSource ds{"dsMemDataTasks", table.get()};
    TcxDBTreeList tree{"cxDBTreeList1"};
    std::vector<std::pair<int, int>> changes;  // (previous key, new key), -2 for none

    void SetUp() override {
        table->Open();
        auto& d = tree.CreateColumn("cl1Description", "Description");
        d.SortOrder = TcxSortOrder::soAscending;
        tree.CreateColumn("cl1DueDate", "Due_Date");
        tree.CreateColumn("cl1Number", "Number", false);
        tree.OnFocusedNodeChanged = [this](TcxDBTreeList&, TcxTreeListNode* p, TcxTreeListNode* n) {
            changes.emplace_back(p ? p->KeyValue().AsInteger() : -2, n ? n->KeyValue().AsInteger() : -2);
        };
        tree.SetDataSource(&ds);
    }

    int Add(const char* name, int parent, int number) {
        table->Append();
        table->FieldByName("Description").SetAsString(name);
        table->FieldByName("Parent_ID").SetAsInteger(parent);
        table->FieldByName("Number").SetAsInteger(number);
        table->Post();
        return table->FieldByName("ID").AsInteger();
    }

    std::string Shape() {
        std::string s;
        for (int i = 0; i < tree.AbsoluteCount(); ++i) {
            TcxTreeListNode* n = tree.AbsoluteItems(i);
            s += std::string(static_cast<size_t>(n->Level()), '.') + n->Texts(0) + ";";
        }
        return s;
    }
};

}  // namespace

TEST_F(TreeFixture, BuildsTheShownRowsByParentSortedWithinEachParent) {
    int clients = Add("Clients", -1, 1);
    int acme = Add("acme", clients, 2);
    Add("Audit", acme, 1);
    Add("Beta", clients, 1);
    Add("Admin", -1, 2);
    Add("orphan", 999, 1);  // its parent is no row: no node
    EXPECT_EQ(Shape(), "Admin;Clients;.acme;..Audit;.Beta;");
    TcxTreeListNode* audit = tree.FindNodeByKeyValue(Variant(3));
    ASSERT_TRUE(audit);
    EXPECT_EQ(audit->Level(), 2);
    EXPECT_EQ(audit->Parent()->Texts(0), "acme");
    EXPECT_EQ(audit->Texts(2), "1");  // hidden columns have texts too
    EXPECT_EQ(tree.FirstVisibleColumn()->Name(), "cl1Description");

    // A child of a hidden parent is not shown.
    table->SetProgrammedFilter(true);
    table->First();
    while (!table->Eof()) {
        if (table->FieldByName("ID").AsInteger() != acme) table->FilterList().push_back(table->CurRec() + 1);
        table->Next();
    }
    table->SetFiltered(true);
    EXPECT_EQ(Shape(), "Admin;Clients;.Beta;");
}

TEST_F(TreeFixture, FocusFollowsTheCursorOnceAndMovesIt) {
    int a = Add("A", -1, 1);
    int b = Add("B", -1, 2);
    int c = Add("C", b, 1);
    changes.clear();

    EXPECT_EQ(tree.FocusedNode()->KeyValue().AsInteger(), c);  // the last post left the cursor there
    ASSERT_TRUE(table->Locate("ID", Variant(b)));
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0], std::make_pair(c, b));
    ASSERT_TRUE(table->Locate("ID", Variant(b)));  // the same row: no event
    EXPECT_EQ(changes.size(), 1u);

    // A user's focus moves the table's cursor; a second view follows the same cursor.
    TcxDBTreeList other("other");
    other.CreateColumn("d", "Description");
    other.SetDataSource(&ds);
    tree.SetFocusedNode(tree.FindNodeByKeyValue(Variant(a)));
    EXPECT_EQ(table->FieldByName("ID").AsInteger(), a);
    EXPECT_EQ(changes.size(), 2u);
    EXPECT_EQ(other.FocusedNode()->KeyValue().AsInteger(), a);

    // Nothing fires while controls are disabled; the tree catches up at EnableControls.
    table->DisableControls();
    table->Locate("ID", Variant(b));
    EXPECT_EQ(table->FieldByName("ID").AsInteger(), b);
    EXPECT_EQ(changes.size(), 2u);
    EXPECT_EQ(tree.FocusedNode()->KeyValue().AsInteger(), a);
    table->EnableControls();
    ASSERT_EQ(changes.size(), 3u);
    EXPECT_EQ(tree.FocusedNode()->KeyValue().AsInteger(), b);

    // An empty view focuses nothing.
    table->SetProgrammedFilter(true);
    table->SetFiltered(true);
    EXPECT_EQ(tree.FocusedNode(), nullptr);
    EXPECT_EQ(changes.back().second, -2);
}

TEST_F(TreeFixture, ExpandStateHitTestAndItsKeepingAcrossRebuilds) {
    int a = Add("A", -1, 1);
    Add("A1", a, 1);
    Add("B", -1, 2);
    EXPECT_EQ(tree.VisibleNodes().size(), 2u);
    tree.FullExpand();
    EXPECT_EQ(tree.VisibleNodes().size(), 3u);
    EXPECT_EQ(tree.HitTest(1)->Texts(0), "A1");
    EXPECT_EQ(tree.HitTest(3), nullptr);  // empty space
    Add("A2", a, 2);
    EXPECT_TRUE(tree.FindNodeByKeyValue(Variant(a))->Expanded());
    EXPECT_EQ(tree.HitTest(2)->Texts(0), "A2");
    tree.FullCollapse();
    EXPECT_EQ(tree.VisibleNodes().size(), 2u);
    tree.Items(0)->Expand(true);
    EXPECT_EQ(tree.VisibleNodes().size(), 4u);
}

TEST_F(TreeFixture, DeletingANodeDeletesItsShownDescendantsEachWithItsEvent) {
    int a = Add("A", -1, 1);
    int a1 = Add("A1", a, 1);
    Add("A11", a1, 1);
    int hidden = Add("A2", a, 2);
    Add("B", -1, 2);
    std::vector<std::string> deleted;
    table->BeforeDelete = [&](TdxMemData& t) { deleted.push_back(t.FieldByName("Description").AsString()); };
    // Hide A2 by the filter.
    table->SetProgrammedFilter(true);
    table->First();
    while (!table->Eof()) {
        if (table->FieldByName("ID").AsInteger() != hidden) table->FilterList().push_back(table->CurRec() + 1);
        table->Next();
    }
    table->SetFiltered(true);
    changes.clear();
    tree.DeleteNode(tree.FindNodeByKeyValue(Variant(a)));
    EXPECT_EQ(deleted, (std::vector<std::string>{"A11", "A1", "A"}));
    EXPECT_EQ(table->RowCount(), 2);  // A2, hidden, stays
    EXPECT_EQ(Shape(), "B;");
    EXPECT_EQ(changes.size(), 1u);  // one focus change, at EnableControls
}

TEST_F(TreeFixture, MovingANodeWritesItsParentAndHooksAreReadable) {
    int a = Add("A", -1, 1);
    int b = Add("B", -1, 2);
    tree.MoveNode(tree.FindNodeByKeyValue(Variant(b)), tree.FindNodeByKeyValue(Variant(a)));
    EXPECT_EQ(Shape(), "A;.B;");
    tree.MoveNode(tree.FindNodeByKeyValue(Variant(a)), tree.FindNodeByKeyValue(Variant(b)));  // not under itself
    EXPECT_EQ(Shape(), "A;.B;");
    tree.OnGetNodeImageIndex = [](TcxDBTreeList&, TcxTreeListNode* n, int offered) {
        return n->Level() == 0 ? 4 : offered;
    };
    tree.OnCustomDrawDataCell = [](TcxDBTreeList&, TcxTreeListNode* n, TcxDBTreeListColumn&, TFontStyles& s) {
        s.Bold = n->Level() == 0;
    };
    EXPECT_EQ(tree.NodeImageIndex(tree.Items(0)), 4);
    EXPECT_EQ(tree.NodeImageIndex(tree.Items(0)->Items(0)), -1);
    EXPECT_TRUE(tree.CellStyle(tree.Items(0), tree.Columns(0)).Bold);
}

namespace {

// Everything a user or a handler can read of a tree: each node in order with its place, key,
// parent key, and the texts and values of every column.
std::string Dump(const TcxDBTreeList& t) {
    std::string s;
    for (int i = 0; i < t.AbsoluteCount(); ++i) {
        TcxTreeListNode* n = t.AbsoluteItems(i);
        s += std::to_string(n->Level()) + "/" + std::to_string(n->Index()) + "/" + std::to_string(n->AbsoluteIndex()) +
             " " + n->KeyValue().AsString() + "<" + n->ParentKeyValue().AsString() + ":";
        for (int c = 0; c < t.ColumnCount(); ++c) s += " " + n->Texts(c) + "=" + n->Values(c).AsString();
        s += "\n";
    }
    return s;
}

}  // namespace

TEST_F(TreeFixture, AfterEachKindOfChangeTheTreeReadsAsOneMadeAfresh) {
    auto fresh = [this] {
        TcxDBTreeList t("fresh");
        auto& d = t.CreateColumn("cl1Description", "Description");
        d.SortOrder = TcxSortOrder::soAscending;
        t.CreateColumn("cl1DueDate", "Due_Date");
        t.CreateColumn("cl1Number", "Number", false);
        t.SetDataSource(&ds);
        return Dump(t);
    };
    int a = Add("Acme", -1, 1);
    int b = Add("Borealis", -1, 2);
    int a1 = Add("Audit", a, 1);
    Add("Lease", a, 2);
    EXPECT_EQ(Dump(tree), fresh());

    // A rename that moves the row among its siblings, a date written, a number changed.
    table->Locate("ID", Variant(a1));
    table->Edit();
    table->FieldByName("Description").SetAsString("Zoning");
    table->FieldByName("Due_Date").SetAsDateTime(EncodeDate(2026, 3, 9));
    table->FieldByName("Number").SetAsInteger(7);
    table->Post();
    EXPECT_EQ(tree.FindNodeByKeyValue(Variant(a1))->Texts(1), DateToStr(EncodeDate(2026, 3, 9)));
    EXPECT_EQ(Dump(tree), fresh());

    // Moved under another parent; a row appended; a row deleted.
    tree.MoveNode(tree.FindNodeByKeyValue(Variant(a1)), tree.FindNodeByKeyValue(Variant(b)));
    EXPECT_EQ(Dump(tree), fresh());
    Add("Charter", b, 3);
    EXPECT_EQ(Dump(tree), fresh());
    table->Locate("ID", Variant(b));
    table->Delete();
    EXPECT_EQ(Dump(tree), fresh());

    // A filter on and off, and changes made while the tree rests show once it is told.
    table->SetProgrammedFilter(true);
    table->FilterList() = {1, 3};
    table->SetFiltered(true);
    EXPECT_EQ(Dump(tree), fresh());
    table->DisableControls();
    table->SetFiltered(false);
    table->Locate("ID", Variant(a));
    table->Edit();
    table->FieldByName("Description").SetAsString("Acme Ltd");
    table->Post();
    EXPECT_EQ(tree.FindNodeByKeyValue(Variant(a))->Texts(0), "Acme");  // as the tree last saw it
    table->EnableControls();
    EXPECT_EQ(tree.FindNodeByKeyValue(Variant(a))->Texts(0), "Acme Ltd");
    EXPECT_EQ(Dump(tree), fresh());
}

TEST(TreeKeys, AParentKeyHeldAsTextFindsTheRowWhoseKeyReadsTheSame) {
    TdxMemData table("Folders");
    table.AddField("ID", TFieldType::ftInteger);
    table.AddField("Parent", TFieldType::ftString, 20);
    table.AddField("Name", TFieldType::ftString, 20);
    table.Open();
    auto add = [&](int id, const char* parent, const char* name) {
        table.Append();
        table.FieldByName("ID").SetAsInteger(id);
        table.FieldByName("Parent").SetAsString(parent);
        table.FieldByName("Name").SetAsString(name);
        table.Post();
    };
    add(1, "-1", "Root");
    add(2, "1", "Child");
    add(3, "01", "Not a child: its parent reads 01");
    TDataSource ds{"ds", &table};
    TcxDBTreeList tree("tree");
    tree.ParentField = "Parent";
    tree.CreateColumn("n", "Name");
    tree.SetDataSource(&ds);
    ASSERT_EQ(tree.AbsoluteCount(), 2);
    EXPECT_EQ(tree.AbsoluteItems(1)->Texts(0), "Child");
    EXPECT_EQ(tree.AbsoluteItems(1)->Level(), 1);
}

namespace {

// A tree over the fixture's table made afresh, with the same columns.
std::string FreshDump(TDataSource& ds, bool expandAll = false) {
    TcxDBTreeList t("fresh");
    auto& d = t.CreateColumn("cl1Description", "Description");
    d.SortOrder = TcxSortOrder::soAscending;
    t.CreateColumn("cl1DueDate", "Due_Date");
    t.CreateColumn("cl1Number", "Number", false);
    t.SetDataSource(&ds);
    if (expandAll) t.FullExpand();
    return Dump(t);
}

// The same from a copy of the table's rows and filter: a tree that shares nothing kept with
// the trees over the table itself.
std::string CopyDump(TdxMemData& table) {
    std::unique_ptr<TdxMemData> copy = MakeTable("Tasks");
    std::string bytes;
    table.SaveToStream(bytes);
    copy->LoadFromStream(bytes);
    if (table.Filtered()) {
        copy->SetProgrammedFilter(true);
        copy->FilterList() = table.FilterList();
        copy->SetFiltered(true);
    }
    TDataSource ds{"copy", copy.get()};
    return FreshDump(ds);
}

void ShowPositions(TdxMemData& table, std::vector<int> positions) {
    table.SetProgrammedFilter(false);
    table.SetFiltered(false);
    table.SetProgrammedFilter(true);
    table.FilterList() = std::move(positions);
    table.SetFiltered(true);
}

}  // namespace

// A user widens and narrows the completed-task view over many siblings whose names differ only
// in case or not at all: each view is ordered as a tree made afresh orders it, whether the tree
// kept its places among siblings from a wider view or not.
TEST_F(TreeFixture, SiblingsKeepTheirOrderAcrossWideAndNarrowViewsOfTheSameRows) {
    int root = Add("Clients", -1, 1);
    const char* names[] = {"beta", "Alpha", "alpha", "Beta", "Gamma", "alpha", "delta", "Delta", "ALPHA", "gamma"};
    for (int i = 0; i < 10; ++i) {
        int child = Add(names[i], root, i + 1);
        if (i % 3 == 0) Add(names[9 - i], child, 1);
    }
    Add("Admin", -1, 2);
    const int rows = table->RowCount();
    // A tree that shows fewer than half the rows orders them itself; more, and the places
    // among all siblings are kept. The narrow views here are under half.
    std::vector<int> all, odd, wide;
    for (int p = 1; p <= rows; ++p) {
        all.push_back(p);
        if (p % 3 == 1) odd.push_back(p);
        if (p % 5 != 0) wide.push_back(p);
    }
    ASSERT_LT(odd.size() * 2, static_cast<size_t>(rows));
    auto check = [&](const char* step) {
        SCOPED_TRACE(step);
        EXPECT_EQ(Dump(tree), FreshDump(ds));
        EXPECT_EQ(Dump(tree), CopyDump(*table));
    };
    ShowPositions(*table, wide);
    check("four rows in five");
    ShowPositions(*table, odd);
    check("every third row");
    ShowPositions(*table, all);
    check("every row");
    // Case makes no order: names equal but for case stand in table order.
    EXPECT_EQ(Shape(), "Admin;Clients;.Alpha;.alpha;.alpha;.ALPHA;.beta;..gamma;.Beta;..delta;.delta;..Beta;"
                       ".Delta;.Gamma;.gamma;..beta;");
    ShowPositions(*table, {});
    check("nothing");
    ShowPositions(*table, {1, 12, 2, 5, 3, 7});
    check("a list out of table order");
    ShowPositions(*table, all);

    // A rename among the siblings: the next narrow view orders the new name.
    table->Locate("ID", Variant(root + 2));
    table->Edit();
    table->FieldByName("Description").SetAsString("Zulu");
    table->Post();
    check("after a rename");
    ShowPositions(*table, odd);
    check("every third row after the rename");
    Add("aardvark", root, 11);
    ShowPositions(*table, wide);
    check("a new row, then four rows in five");
}

// Closing a pane posts the row in edit as it was: the tree keeps its nodes, focus and expanded
// state and tells no focus change; a post that changes a value shows it.
TEST_F(TreeFixture, APostThatChangesNothingLeavesTheTreeAsItWasAndAChangeShows) {
    int a = Add("Acme", -1, 1);
    int a1 = Add("Audit", a, 1);
    Add("Lease", a, 2);
    int b = Add("Borealis", -1, 2);
    tree.FullExpand();
    table->Locate("ID", Variant(a1));
    TcxTreeListNode* focused = tree.FocusedNode();
    ASSERT_TRUE(focused);
    const std::string before = Dump(tree);
    std::vector<TcxTreeListNode*> shown = tree.VisibleNodes();
    changes.clear();

    table->Edit();
    table->Post();
    table->Refresh();
    EXPECT_EQ(Dump(tree), before);
    EXPECT_EQ(tree.VisibleNodes(), shown);
    EXPECT_EQ(tree.FocusedNode(), focused);
    EXPECT_TRUE(changes.empty());
    EXPECT_EQ(Dump(tree), FreshDump(ds, true));

    // A collapse while nothing else changes stays after the next notice; a real change shows.
    tree.FindNodeByKeyValue(Variant(a))->Collapse(false);
    table->Refresh();
    EXPECT_EQ(tree.VisibleNodes().size(), 2u);
    table->Edit();
    table->FieldByName("Description").SetAsString("Zeta");
    table->Post();
    EXPECT_EQ(tree.FindNodeByKeyValue(Variant(a1))->Texts(0), "Zeta");
    EXPECT_EQ(tree.FocusedNode()->KeyValue().AsInteger(), a1);
    EXPECT_TRUE(changes.empty());  // the same row stays focused

    // The cursor moved while the views rested: the tree focuses the new row at the notice.
    table->DisableControls();
    table->Locate("ID", Variant(b));
    table->EnableControls();
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].second, b);
}

namespace {

// A pane's tree with the fixture's columns, or with its number column first (another binding),
// its focus changes told as (previous key, new key).
struct PaneTree {
    TcxDBTreeList tree{"pane"};
    std::vector<std::pair<int, int>> changes;
    explicit PaneTree(TDataSource& ds, bool numberFirst = false, bool expandAll = false) {
        if (numberFirst) tree.CreateColumn("cl1Number", "Number", false);
        auto& d = tree.CreateColumn("cl1Description", "Description");
        d.SortOrder = TcxSortOrder::soAscending;
        tree.CreateColumn("cl1DueDate", "Due_Date");
        if (!numberFirst) tree.CreateColumn("cl1Number", "Number", false);
        tree.OnFocusedNodeChanged = [this](TcxDBTreeList&, TcxTreeListNode* p, TcxTreeListNode* n) {
            changes.emplace_back(p ? p->KeyValue().AsInteger() : -2, n ? n->KeyValue().AsInteger() : -2);
        };
        tree.SetDataSource(&ds);
        if (expandAll) tree.FullExpand();
    }
};

}  // namespace

// A user closes the explorer and opens it again, with changes between: the new pane's tree
// takes the node objects the last one left, and reads as a tree that shares nothing kept, with
// the focus told as at any first build, whatever changed while no tree followed the table.
TEST_F(TreeFixture, ATreeMadeAfterAnotherWentReadsAsOneMadeAfreshAfterEachKindOfChange) {
    int a = Add("Acme", -1, 1);
    int a1 = Add("Audit", a, 1);
    Add("Lease", a, 2);
    int b = Add("Borealis", -1, 2);
    Add("Charter", b, 3);
    auto reopen = [&](const char* step, bool numberFirst = false) {
        SCOPED_TRACE(step);
        std::string dump;
        {
            PaneTree pane(ds, numberFirst, true);
            dump = Dump(pane.tree);
            TcxTreeListNode* focused = pane.tree.FocusedNode();
            if (focused) {
                EXPECT_EQ(&focused->TreeList(), &pane.tree);
                EXPECT_EQ(focused->KeyValue().AsInteger(), table->FieldByName("ID").AsInteger());
                EXPECT_EQ(pane.changes, (std::vector<std::pair<int, int>>{{-2, focused->KeyValue().AsInteger()}}));
            } else {
                EXPECT_TRUE(pane.changes.empty());
            }
            if (pane.tree.AbsoluteCount() == 0) return;
            // The node objects are the new tree's: a click through one moves the cursor.
            TcxTreeListNode* first = pane.tree.AbsoluteItems(0);
            pane.tree.SetFocusedNode(first);
            EXPECT_EQ(table->FieldByName("ID").AsInteger(), first->KeyValue().AsInteger());
        }
        // Both column orders are dumped in the fixture's order for the comparison.
        if (!numberFirst) {
            PaneTree copy(ds, false, true);
            EXPECT_EQ(dump, Dump(copy.tree));
        }
        std::unique_ptr<TdxMemData> other = MakeTable("Tasks");
        std::string bytes;
        table->SaveToStream(bytes);
        other->LoadFromStream(bytes);
        if (table->Filtered()) {
            other->SetProgrammedFilter(true);
            other->FilterList() = table->FilterList();
            other->SetFiltered(true);
        }
        TDataSource ods{"other", other.get()};
        PaneTree fresh(ods, numberFirst, true);
        EXPECT_EQ(dump, Dump(fresh.tree));
    };
    table->Locate("ID", Variant(a1));
    reopen("nothing changed");
    reopen("nothing changed, twice");

    // Rows edited, added and deleted while the fixture's tree, told of each, stays.
    table->Locate("ID", Variant(a1));
    table->Edit();
    table->FieldByName("Description").SetAsString("Zoning");
    table->FieldByName("Due_Date").SetAsDateTime(EncodeDate(2026, 3, 9));
    table->Post();
    reopen("a rename and a date");
    Add("Dunmore", b, 4);
    reopen("a row added");
    table->Locate("ID", Variant(a));
    table->Delete();
    reopen("a parent deleted, its children left without one");
    table->Locate("ID", Variant(b));
    reopen("the cursor on a shown row");

    // No tree over the table at all while it changes: the one left is the only witness.
    tree.SetDataSource(nullptr);
    table->Locate("ID", Variant(b));
    table->Edit();
    table->FieldByName("Description").SetAsString("Aurora");
    table->Post();
    reopen("a rename seen by no tree");
    ShowPositions(*table, {3, 5});
    reopen("a filter");
    ShowPositions(*table, {});
    table->SetProgrammedFilter(false);
    table->SetFiltered(false);
    reopen("the filter lifted");
    reopen("another binding", true);
    reopen("back to the first binding");

    // A collapse in one pane is not the next pane's: each tree keeps its own expanded keys.
    {
        PaneTree pane(ds);
        EXPECT_EQ(pane.tree.VisibleNodes().size(), static_cast<size_t>(pane.tree.Count()));
        pane.tree.FullExpand();
    }
    PaneTree again(ds);
    EXPECT_EQ(again.tree.VisibleNodes().size(), static_cast<size_t>(again.tree.Count()));
}

// Odd parent links (a key twice, a row its own parent, two rows each other's, a row with no
// parent): a view listed in table order gives the tree the same view listed backwards gives,
// whole or in part.
TEST(TreeKeys, OddParentLinksGiveTheSameTreeWhateverOrderTheViewListsItsRows) {
    TdxMemData table("Folders");
    table.AddField("ID", TFieldType::ftInteger);
    table.AddField("Parent", TFieldType::ftInteger);
    table.AddField("Name", TFieldType::ftString, 20);
    table.Open();
    auto add = [&](int id, int parent, const char* name) {
        table.Append();
        table.FieldByName("ID").SetAsInteger(id);
        if (parent != 0) table.FieldByName("Parent").SetAsInteger(parent);
        table.FieldByName("Name").SetAsString(name);
        table.Post();
    };
    add(1, -1, "a root");
    add(2, 1, "b child");
    add(2, 1, "c a second key 2");
    add(3, 2, "d under key 2");
    add(4, 4, "e its own parent");
    add(5, 6, "f in a ring");
    add(6, 5, "g in a ring");
    add(7, 0, "h no parent");
    add(8, 1, "i child");
    add(9, 8, "j grandchild");
    TDataSource ds{"ds", &table};
    auto dumpOf = [&](std::vector<int> positions) {
        table.SetProgrammedFilter(true);
        table.FilterList() = std::move(positions);
        table.SetFiltered(true);
        TcxDBTreeList tree("tree");
        tree.ParentField = "Parent";
        tree.CreateColumn("n", "Name").SortOrder = TcxSortOrder::soAscending;
        tree.SetDataSource(&ds);
        return Dump(tree);
    };
    const std::string whole = dumpOf({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    EXPECT_EQ(whole, dumpOf({10, 9, 8, 7, 6, 5, 4, 3, 2, 1}));
    EXPECT_NE(whole.find("1/0/1 2<1: b child=b child\n2/0/2 3<2: d under key 2"), std::string::npos) << whole;
    EXPECT_EQ(whole.find("ring"), std::string::npos);
    EXPECT_EQ(whole.find("own parent"), std::string::npos);
    const std::string part = dumpOf({1, 3, 4, 9, 10});
    EXPECT_EQ(part, dumpOf({10, 9, 4, 3, 1}));
    EXPECT_NE(part.find("c a second key 2=c a second key 2\n2/0/2 3<2"), std::string::npos) << part;
}
