#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Clock.h"
#include "toolkit/Controls.h"

namespace {

using Log = std::vector<std::string>;

class TfmControls : public TForm {
public:
    TEdit Edit1{this, "Edit1"};
    TSpinEdit SpinEdit1{this, "SpinEdit1"};
    TBitBtn BitBtn1{this, "BitBtn1"};
    TSpeedButton SpeedButton1{this, "SpeedButton1"};
    TCheckBox CheckBox1{this, "CheckBox1"};
    TLabel Label1{this, "Label1"};
    TPanel Panel1{this, "Panel1"};
    TEdit Edit3{this, "Edit3", &Panel1};
    TNumericField OvcNumericField1{this, "OvcNumericField1"};
    TDateTimePicker DateTimePicker1{this, "DateTimePicker1"};
    TSearchList OvcSearchList1{this, "OvcSearchList1"};
    TButtonGroup ButtonGroup1{this, "ButtonGroup1"};
    TPageControl PageControl1{this, "PageControl1"};
    TTabSheet TabSheet1{this, "TabSheet1", PageControl1};
    TTabSheet TabSheet2{this, "TabSheet2", PageControl1};
    TEdit Edit4{this, "Edit4", &TabSheet2};
    TPopupMenu PopupMenu1{this, "PopupMenu1"};

    Log log;

    TfmControls() : TForm("fmControls", "Controls", 400, 300) {
        for (TComponent* c : Components())
            if (auto* control = dynamic_cast<TControl*>(c)) {
                std::string n = control->Name();
                control->OnEnter = [this, n] { log.push_back(n + ".Enter"); };
                control->OnExit = [this, n] { log.push_back(n + ".Exit"); };
                control->OnClick = [this, n] { log.push_back(n + ".Click"); };
            }
        Edit1.OnChange = [this] { log.push_back("Edit1.Change " + Edit1.Text()); };
        SpinEdit1.OnChange = [this] { log.push_back("SpinEdit1.Change " + SpinEdit1.Text()); };
        SpinEdit1.SetMinValue(0);
        SpinEdit1.SetMaxValue(3650);
        BitBtn1.OnClick = [this] { log.push_back("BitBtn1.Click " + std::to_string(SpinEdit1.Value())); };
        AfterConstruction();
        Show();
    }
};

struct ControlsTest : ::testing::Test {
    TfmControls fm;
    Log& log = fm.log;
};

}  // namespace

TEST_F(ControlsTest, FocusMovesFireTheOldExitThenTheNewEnter) {
    fm.Edit1.SetFocus();
    fm.SpinEdit1.SetFocus();
    fm.SpinEdit1.SetFocus();  // already there: nothing
    EXPECT_EQ(log, (Log{"Edit1.Enter", "Edit1.Exit", "SpinEdit1.Enter"}));
    EXPECT_EQ(fm.ActiveControl(), &fm.SpinEdit1);
    EXPECT_TRUE(fm.SpinEdit1.Focused());

    // Controls that take no focus, hidden or disabled ones, can't be given it.
    EXPECT_THROW(fm.Label1.SetFocus(), EInvalidOperation);
    fm.Panel1.SetVisible(false);
    EXPECT_THROW(fm.Edit3.SetFocus(), EInvalidOperation);
    EXPECT_THROW(fm.Edit4.SetFocus(), EInvalidOperation);  // on the page not shown

    // An exit handler that moves the focus wins; one that raises keeps the focus where it was.
    log.clear();
    fm.SpinEdit1.OnExit = [this] { fm.Edit1.SetFocus(); };
    fm.CheckBox1.SetFocus();
    EXPECT_EQ(fm.ActiveControl(), &fm.Edit1);
    EXPECT_EQ(log, Log{"Edit1.Enter"});
    fm.Edit1.OnExit = [] { throw EConvertError("bad"); };
    EXPECT_THROW(fm.CheckBox1.SetFocus(), EConvertError);
    EXPECT_EQ(fm.ActiveControl(), &fm.Edit1);

    // A focused control that gets disabled loses the focus without events.
    log.clear();
    fm.Edit1.SetEnabled(false);
    EXPECT_EQ(fm.ActiveControl(), nullptr);
    EXPECT_TRUE(log.empty());
}

TEST_F(ControlsTest, UserEditsMoveTheFocusFirstProgramAssignmentsDoNot) {
    fm.SpinEdit1.SetFocus();
    log.clear();
    EXPECT_TRUE(fm.UserEdit("Edit1", "Audit"));
    EXPECT_EQ(log, (Log{"SpinEdit1.Exit", "Edit1.Enter", "Edit1.Change Audit"}));

    log.clear();
    fm.SpinEdit1.SetValue(5);
    fm.Edit1.SetText("Audit");  // the same text: no change event
    EXPECT_EQ(log, Log{"SpinEdit1.Change 5"});
    EXPECT_EQ(fm.ActiveControl(), &fm.Edit1);

    // What the user can't reach doesn't change, and no event fires.
    log.clear();
    fm.Edit1.SetReadOnly(true);
    EXPECT_FALSE(fm.UserEdit("Edit1", "other"));
    fm.Panel1.SetEnabled(false);
    EXPECT_FALSE(fm.UserEdit("Edit3", "x"));
    EXPECT_FALSE(fm.UserEdit("Edit4", "x"));  // on the page not shown
    fm.BitBtn1.SetEnabled(false);
    EXPECT_FALSE(fm.UserClick("BitBtn1"));
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(fm.Edit1.Text(), "Audit");
    fm.Hide();
    EXPECT_FALSE(fm.UserEdit("SpinEdit1", "3"));
}

TEST_F(ControlsTest, ClicksGiveTheFocusToButtonsAndCheckBoxesOnly) {
    fm.Edit1.SetFocus();
    log.clear();
    fm.UserClick("SpeedButton1");
    fm.UserClick("Label1");
    EXPECT_EQ(log, (Log{"SpeedButton1.Click", "Label1.Click"}));
    EXPECT_EQ(fm.ActiveControl(), &fm.Edit1);

    log.clear();
    fm.UserClick("CheckBox1");
    EXPECT_EQ(log, (Log{"Edit1.Exit", "CheckBox1.Enter", "CheckBox1.Click"}));
    EXPECT_TRUE(fm.CheckBox1.Checked());
    // The check box's click event comes with each change of state, by code too.
    log.clear();
    fm.CheckBox1.SetChecked(true);
    fm.CheckBox1.SetMainText("false");
    EXPECT_EQ(log, Log{"CheckBox1.Click"});
    EXPECT_THROW(fm.CheckBox1.SetMainText("perhaps"), EConvertError);
    EXPECT_TRUE(fm.UserEdit("CheckBox1", "true"));
    EXPECT_TRUE(fm.CheckBox1.Checked());

    log.clear();
    fm.UserClick("BitBtn1");
    EXPECT_EQ(log, (Log{"CheckBox1.Exit", "BitBtn1.Enter", "BitBtn1.Click 0"}));
}

TEST_F(ControlsTest, SpinEditBringsATypedValueWithinItsLimitsWhenLeft) {
    fm.UserEdit("SpinEdit1", "3651");
    EXPECT_EQ(fm.SpinEdit1.Value(), 3651);  // as typed while the user is in the edit
    log.clear();
    fm.UserClick("BitBtn1");  // leaving the edit brings it back before the button's handler
    EXPECT_EQ(log, (Log{"SpinEdit1.Change 3650", "SpinEdit1.Exit", "BitBtn1.Enter", "BitBtn1.Click 3650"}));

    fm.UserEdit("SpinEdit1", "3650");
    log.clear();
    fm.UserFocus("Edit1");
    EXPECT_EQ(log, (Log{"SpinEdit1.Exit", "Edit1.Enter"}));
    EXPECT_EQ(fm.SpinEdit1.Value(), 3650);

    fm.UserEdit("SpinEdit1", "30 days");  // no number: reads as the minimum
    EXPECT_EQ(fm.SpinEdit1.Value(), 0);
    fm.SpinEdit1.SetValue(-4);  // code is limited at once
    EXPECT_EQ(fm.SpinEdit1.Text(), "0");
    fm.SpinEdit1.SetValue(3650);
    EXPECT_TRUE(fm.SpinEdit1.UserStepUp());
    EXPECT_EQ(fm.SpinEdit1.Value(), 3650);
    EXPECT_THROW(fm.SpinEdit1.SetMainText("x"), EConvertError);

    // With both limits 0 there are none.
    TSpinEdit unlimited(&fm, "SpinEdit2");
    unlimited.SetValue(-99999);
    EXPECT_EQ(unlimited.Value(), -99999);
    EXPECT_EQ(unlimited.Property("Value")->AsInteger(), -99999);
}

TEST_F(ControlsTest, NumericFieldShowsZeroAsEmptyAndKeepsItsWidth) {
    TNumericField& f = fm.OvcNumericField1;
    EXPECT_TRUE(f.Empty());
    EXPECT_EQ(f.Text(), "");
    fm.UserEdit("OvcNumericField1", "7a");
    EXPECT_EQ(f.Value(), 7);
    fm.UserEdit("OvcNumericField1", "123456789012345");  // digits beyond 11 are refused
    EXPECT_EQ(f.Value(), 12345678901);
    fm.UserEdit("OvcNumericField1", "0");
    EXPECT_TRUE(f.Empty());
    EXPECT_EQ(f.MainText(), "");
    f.SetText("42");
    EXPECT_EQ(f.Text(), "42");
    EXPECT_THROW(f.SetText("4 2"), EConvertError);
    EXPECT_THROW(f.SetValue(100000000000), EConvertError);
    EXPECT_EQ(f.Value(), 42);
}

TEST_F(ControlsTest, DatePickerFiresOnlyOnTheUsersPick) {
    TDateTimePicker& p = fm.DateTimePicker1;
    auto watch = [this](TNotifyEvent& event, std::string n) {
        event = [this, n] { log.push_back("DateTimePicker1." + n); };
    };
    watch(p.OnChange, "Change");
    watch(p.OnDropDown, "DropDown");
    watch(p.OnCloseUp, "CloseUp");
    watch(p.OnMouseEnter, "MouseEnter");
    p.SetDate(EncodeDate(2024, 5, 3) + 0.5);  // code: a pure date, and no event
    EXPECT_EQ(p.Date(), EncodeDate(2024, 5, 3));
    EXPECT_TRUE(log.empty());

    fm.Edit1.SetFocus();
    log.clear();
    EXPECT_TRUE(fm.UserEdit("DateTimePicker1", "2024-05-10"));
    EXPECT_EQ(log, (Log{"DateTimePicker1.MouseEnter", "Edit1.Exit", "DateTimePicker1.Enter", "DateTimePicker1.Click",
                        "DateTimePicker1.DropDown", "DateTimePicker1.Change", "DateTimePicker1.CloseUp"}));
    EXPECT_EQ(p.Date(), EncodeDate(2024, 5, 10));
    EXPECT_EQ(p.MainText(), "5/10/2024");
    fm.UserEdit("DateTimePicker1", "5/11/2024");  // the short date form reads too
    EXPECT_EQ(p.Date(), EncodeDate(2024, 5, 11));

    log.clear();
    EXPECT_THROW(fm.UserEdit("DateTimePicker1", "soon"), EConvertError);
    EXPECT_THROW(fm.UserEdit("DateTimePicker1", ""), EConvertError);  // no box to untick
    EXPECT_TRUE(log.empty());
    p.SetShowCheckbox(true);
    fm.UserEdit("DateTimePicker1", "");
    EXPECT_FALSE(p.Checked());
    EXPECT_TRUE(p.MainValue().IsNull());
}

TEST_F(ControlsTest, SearchListLooksUpTheTypedPrefix) {
    TSearchList& s = fm.OvcSearchList1;
    for (const char* item : {"Admin", "Clients", "clerical"}) s.Add(item);
    s.OnEnter = [&s] { s.SetText(""); };  // as a form empties the edit on entry
    s.SetText("Type a task name here");
    EXPECT_EQ(s.ItemIndex(), -1);  // text set by code is not looked up

    fm.UserEdit("OvcSearchList1", "CL");
    EXPECT_EQ(s.ItemIndex(), 1);
    EXPECT_EQ(s.Text(), "CL");
    fm.UserEdit("OvcSearchList1", "");
    EXPECT_EQ(s.ItemIndex(), 0);
    s.SetAutoComplete(true);
    fm.UserEdit("OvcSearchList1", "cle");
    EXPECT_EQ(s.Text(), "clerical");
    fm.UserEdit("OvcSearchList1", "zz");  // no match: the selection stays
    EXPECT_EQ(s.ItemIndex(), 2);
    fm.UserClickItem("OvcSearchList1", 0);
    EXPECT_EQ(s.Text(), "Admin");
    EXPECT_THROW(fm.UserClickItem("OvcSearchList1", 3), EListError);
}

TEST_F(ControlsTest, ButtonGroupAndPagesTakeTheUsersClickOnAnItem) {
    TGrpButtonItem& note = fm.ButtonGroup1.Add("New note", 11);
    note.OnClick = [this] { log.push_back("Newnote1Click"); };
    fm.ButtonGroup1.Add("Export to Microsoft Excel", 24);
    fm.ButtonGroup1.OnButtonClicked = [this](int i) { log.push_back("ButtonClicked " + std::to_string(i)); };
    log.clear();
    fm.UserClickItem("ButtonGroup1", 0);
    fm.UserClickItem("ButtonGroup1", 1);
    EXPECT_EQ(log, (Log{"ButtonGroup1.Enter", "Newnote1Click", "ButtonClicked 1"}));
    EXPECT_EQ(fm.ButtonGroup1.Items(1).Hint, "Export to Microsoft Excel");
    EXPECT_THROW(fm.UserClickItem("Edit1", 0), EInvalidOperation);

    fm.PageControl1.OnChange = [this] { log.push_back("PageControl1.Change"); };
    fm.PageControl1.SetActivePageIndex(1);  // by code: no event
    EXPECT_TRUE(fm.UserEdit("Edit4", "on page two"));
    log.clear();
    fm.UserClickItem("PageControl1", 0);
    EXPECT_EQ(log, (Log{"Edit4.Exit", "PageControl1.Enter", "PageControl1.Change"}));
    EXPECT_FALSE(fm.Edit4.Showing());
    fm.PageControl1.OnChanging = [](bool& allow) { allow = false; };
    fm.UserClickItem("PageControl1", 1);
    EXPECT_EQ(fm.PageControl1.ActivePageIndex(), 0);
    EXPECT_EQ(fm.PageControl1.Property("ActivePage")->AsString(), "TabSheet1");
}

TEST_F(ControlsTest, MenuItemsWithSeparatorsAccessKeysAndSubmenus) {
    TPopupMenu& m = fm.PopupMenu1;
    TMenuItem& root = m.Add("NewRootTask1", "New &root task", 23);
    m.AddSeparator();
    TMenuItem& expand = m.Add("Expand1", "&Expand Corvelle", 19);
    TMenuItem& sub = m.Add("More1", "&More");
    TMenuItem& inner = sub.Add("Copyhere1", "&Copy here");
    TMenuItem& amp = m.Add("Terms1", "Terms && &conditions");
    for (TMenuItem* item : {&root, &expand, &inner, &amp})
        item->OnClick = [this, n = item->Name()] { log.push_back(n + ".Click"); };
    fm.Edit1.SetFocus();
    log.clear();

    EXPECT_EQ(m.Items().Count(), 5);
    EXPECT_TRUE(m.Items().Items(1).IsSeparator());
    EXPECT_EQ(root.AccessKey(), 'r');
    EXPECT_EQ(root.DisplayCaption(), "New root task");
    EXPECT_EQ(amp.AccessKey(), 'c');
    EXPECT_EQ(amp.DisplayCaption(), "Terms & conditions");
    EXPECT_EQ(inner.ParentItem(), &sub);

    EXPECT_TRUE(m.UserPressKey('E'));
    EXPECT_TRUE(sub.UserPressKey('c'));
    EXPECT_TRUE(fm.UserClick("NewRootTask1"));
    EXPECT_FALSE(m.Items().Items(1).UserClick());  // a separator
    expand.SetEnabled(false);
    EXPECT_FALSE(m.UserPressKey('e'));
    sub.SetVisible(false);
    EXPECT_FALSE(fm.UserClick("Copyhere1"));  // its submenu is hidden
    EXPECT_EQ(log, (Log{"Expand1.Click", "Copyhere1.Click", "NewRootTask1.Click"}));
    EXPECT_EQ(fm.ActiveControl(), &fm.Edit1);  // menu items take no focus
}

TEST(SmallEditorsTest, MemoLinesAndDurationAndDecimalEdits) {
    TMemo memo(nullptr, "Memo1");
    memo.SetText("Called the client\r\nSent the draft\nagreed\r\n");
    EXPECT_EQ(memo.Lines(), (Log{"Called the client", "Sent the draft", "agreed"}));
    memo.SetLines({"one", "", "three"});
    EXPECT_EQ(memo.Text(), "one\r\n\r\nthree");
    EXPECT_EQ(memo.Lines().size(), 3u);

    EXPECT_EQ(TTimeEdit::ReadDuration("1 hou 5 min 3 sec"), 3903);
    EXPECT_EQ(TTimeEdit::ReadDuration("90"), 5400);  // minutes without a unit
    EXPECT_EQ(TTimeEdit::ReadDuration("2h30m"), 9000);
    EXPECT_EQ(TTimeEdit::ReadDuration("1:02:03"), 3723);
    EXPECT_EQ(TTimeEdit::ReadDuration(""), 0);
    EXPECT_FALSE(TTimeEdit::ReadDuration("24 hours"));
    EXPECT_FALSE(TTimeEdit::ReadDuration("5 weeks"));
    EXPECT_FALSE(TTimeEdit::ReadDuration("1:60"));

    TTimeEdit e(nullptr, "OvcTimeEdit1");
    int changes = 0;
    e.OnChange = [&] { ++changes; };
    e.SetValue(EncodeTime(23, 59, 59, 600));
    EXPECT_EQ(e.Text(), "23 hou 59 min 59 sec");  // whole seconds
    e.SetValue(e.Value() + EncodeTime(0, 0, 1, 0));  // a day wraps to zero
    EXPECT_EQ(e.TotalSeconds(), 0);
    e.SetValue(0);
    EXPECT_EQ(changes, 2);
    EXPECT_TRUE(e.UserEdit("3 min"));
    EXPECT_EQ(e.MainText(), "0 hou 3 min 0 sec");
    e.SetReadOnly(true);
    EXPECT_FALSE(e.UserEdit("4 min"));

    TCurrencyEdit c(nullptr, "cxCurrencyEdit1");
    c.SetValue(1.5);
    EXPECT_EQ(c.Text(), "1.50");
    EXPECT_TRUE(c.UserEdit("0.25"));
    EXPECT_EQ(c.Value(), 0.25);
    EXPECT_THROW(c.UserEdit("abc"), EConvertError);
}
