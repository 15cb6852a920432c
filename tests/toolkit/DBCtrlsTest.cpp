// Editing a table through its views: the data-bound check box of a dialog, and the cell a grid
// lets the user edit in place.
#include <gtest/gtest.h>

#include <memory>

#include "base/DateTime.h"
#include "store/Tables.h"
#include "toolkit/Controls.h"

namespace {

class TfmEntry : public TForm {
public:
    TcxDBCheckBox Closed{this, "Closed"};
    TcxGrid Grid{this, "Grid"};
    TcxGridDBTableView View{this, "View", &Grid};
    TcxGridDBColumn& clNote = View.CreateColumn("clNote", "Note");
    TcxGridDBColumn& clClosed = View.CreateColumn("clClosed", "Closed");
    TcxGridDBColumn& clDate = View.CreateColumn("clDate", "Time_Date");
    int clicks = 0;
    TfmEntry() : TForm("fmEntry", "Entry", 300, 200) {
        Closed.OnClick = [this] { ++clicks; };
        AfterConstruction();
        Show();
    }
};

struct DBCtrlsTest : ::testing::Test {
    std::unique_ptr<TdxMemData> table = MakeTable("Time");
    TDataSource ds{"dsMemDataTime", table.get()};
    TfmEntry fm;

    void SetUp() override {
        table->Open();
        fm.Closed.ImmediatePost = true;
        fm.Closed.SetDataBinding(&ds, "Closed");
        fm.View.SetDataSource(&ds);
    }
    int Add(const char* note, bool closed) {
        table->Append();
        table->FieldByName("Note").SetAsString(note);
        table->FieldByName("Closed").SetAsBoolean(closed);
        table->FieldByName("Time_Date").SetAsDateTime(EncodeDate(2026, 3, 2));
        table->Post();
        return table->FieldByName("ID").AsInteger();
    }
};

}  // namespace

TEST_F(DBCtrlsTest, TheBoundBoxShowsTheRowUnderTheCursorAndWritesIt) {
    // With no row there is nothing to write: a click makes no blank row.
    fm.UserClick("Closed");
    EXPECT_EQ(table->RowCount(), 0);
    EXPECT_FALSE(fm.Closed.Checked());

    int open = Add("open", false);
    int done = Add("done", true);
    EXPECT_TRUE(fm.Closed.Checked());
    table->Locate("ID", Variant(open));
    EXPECT_FALSE(fm.Closed.Checked());
    EXPECT_EQ(fm.clicks, 2);  // the shown state changed twice

    ASSERT_TRUE(fm.UserClick("Closed"));
    EXPECT_TRUE(fm.Closed.Checked());
    EXPECT_EQ(table->State(), TDataSetState::dsBrowse);
    EXPECT_TRUE(table->Lookup("ID", Variant(open), "Closed").AsBoolean());
    EXPECT_TRUE(table->Lookup("ID", Variant(done), "Closed").AsBoolean());

    // Held back while controls are disabled; caught up after.
    table->DisableControls();
    table->Edit();
    table->FieldByName("Closed").SetAsBoolean(false);
    table->Post();
    EXPECT_TRUE(fm.Closed.Checked());
    table->EnableControls();
    EXPECT_FALSE(fm.Closed.Checked());
}

TEST_F(DBCtrlsTest, AGridCellTakesAnEditOnlyWhereTheViewAndTheColumnAllowIt) {
    Add("first", false);
    int second = Add("second", false);
    int index = fm.View.FindRecordIndexByKeyValue(Variant(second));
    EXPECT_FALSE(fm.View.UserEditCell(index, fm.clClosed, Variant(true)));  // the view is read-only
    fm.View.Options.Editing = true;
    fm.clNote.Options.Editing = false;
    EXPECT_FALSE(fm.View.UserEditCell(index, fm.clNote, Variant("changed")));

    // Without ImmediatePost the edit stays pending on the focused row until the cursor moves.
    table->First();
    ASSERT_TRUE(fm.View.UserEditCell(index, fm.clClosed, Variant(true)));
    EXPECT_EQ(fm.View.MainValue().AsInteger(), second);
    EXPECT_EQ(table->State(), TDataSetState::dsEdit);
    table->First();
    EXPECT_TRUE(table->Lookup("ID", Variant(second), "Closed").AsBoolean());

    // A value the field can't hold changes nothing.
    EXPECT_ANY_THROW(fm.View.UserEditCell(index, fm.clDate, Variant("soon")));
    EXPECT_EQ(table->State(), TDataSetState::dsBrowse);
    EXPECT_EQ(table->Lookup("ID", Variant(second), "Time_Date").AsDateTime(), EncodeDate(2026, 3, 2));
}
