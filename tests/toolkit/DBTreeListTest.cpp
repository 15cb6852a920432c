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
