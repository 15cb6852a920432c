// The search by an integer field that the item filters use: whatever happens to the rows
// between two searches, the second finds what a walk over the rows would find.
#include <gtest/gtest.h>

#include "store/MemData.h"
#include "store/Tables.h"

namespace {

std::vector<int> Walk(TdxMemData& t, int task) {
    std::vector<int> out;
    for (int r = 0; r < t.RowCount(); ++r) {
        Variant v = t.RowValue(r, t.FieldByName("TaskID"));
        if (!v.IsNull() && v.AsInt64() == task) out.push_back(r + 1);
    }
    return out;
}

std::vector<int> Search(TdxMemData& t, int task) {
    std::vector<int> out;
    t.FindIntegerRows(t.FieldByName("TaskID").Index(), task, out);
    return out;
}

void Add(TdxMemData& t, int task, const char* subject) {
    t.Append();
    if (task) t.FieldByName("TaskID").SetAsInteger(task);
    t.FieldByName("Subject").SetAsString(subject);
    t.Post();
}

}  // namespace

TEST(IntegerSearch, FollowsEveryChangeOfTheRows) {
    auto t = MakeTable("Emails");
    t->Open();
    for (int i = 0; i < 12; ++i) Add(*t, i % 3 + 1, "m");
    Add(*t, 0, "no task");  // a null never matches, not even 0
    EXPECT_EQ(Search(*t, 2), Walk(*t, 2));
    EXPECT_TRUE(Search(*t, 0).empty());

    Add(*t, 2, "appended");
    EXPECT_EQ(Search(*t, 2), Walk(*t, 2));

    t->First();
    t->Edit();
    t->FieldByName("TaskID").SetAsInteger(2);  // row 1 moves from task 1 to task 2
    t->Post();
    EXPECT_EQ(Search(*t, 2), Walk(*t, 2));
    EXPECT_EQ(Search(*t, 1), Walk(*t, 1));

    t->SetRecNo(3);
    t->Delete();
    EXPECT_EQ(Search(*t, 3), Walk(*t, 3));

    t->SetSortedField("Subject");
    EXPECT_EQ(Search(*t, 2), Walk(*t, 2));

    std::string bytes;
    t->SaveToStream(bytes);
    auto u = MakeTable("Emails");
    u->Open();
    Search(*u, 2);
    u->LoadFromStream(bytes);
    EXPECT_EQ(Search(*u, 2), Walk(*u, 2));
    EXPECT_FALSE(Search(*u, 2).empty());
}
