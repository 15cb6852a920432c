#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "toolkit/Controls.h"
#include "toolkit/ModalScript.h"

namespace {

using Log = std::vector<std::string>;

// A dialog as the system's forms are written: named members, handlers bound in the constructor.
class TfmDialog : public TForm {
public:
    TGroupBox GroupBox1{this, "GroupBox1"};
    TEdit Edit2{this, "Edit2", &GroupBox1};
    TBitBtn BitBtn1{this, "BitBtn1"};
    TBitBtn BitBtn2{this, "BitBtn2"};
    TButton Button1{this, "Button1"};
    TPopupMenu PopupMenu1{this, "PopupMenu1"};

    Log& log;
    bool keepOpen = false;         // BitBtn1Click keeps the dialog open
    bool closeInHandler = false;   // BitBtn1Click closes the dialog itself, then goes on
    int newTaskID = 0;
    TForm* nested = nullptr;       // Button1Click shows it modally
    TModalResult nestedResult = mrNone;

    TfmDialog(Log& l, std::string name = "fmDialog") : TForm(std::move(name), "New Task", 345, 190), log(l) {
        GroupBox1.SetCaption("Name:  ");
        BitBtn1.SetKind(bkOK);
        BitBtn2.SetKind(bkCancel);
        Bind(OnCreate, "FormCreate", &TfmDialog::FormCreate);
        Bind(OnShow, "FormShow", &TfmDialog::FormShow);
        Bind(OnActivate, "FormActivate", &TfmDialog::FormActivate);
        Bind(OnClose, "FormClose", &TfmDialog::FormClose);
        Bind(BitBtn1.OnClick, "BitBtn1Click", &TfmDialog::BitBtn1Click);
        Bind(Button1.OnClick, "Button1Click", &TfmDialog::Button1Click);
        Bind(Edit2.OnChange, "Edit2Change", &TfmDialog::Edit2Change);
        AfterConstruction();
    }

    void FormCreate() { log.push_back(Name() + ".FormCreate"); }
    void FormShow() { log.push_back(Name() + ".FormShow"); }
    void FormActivate() { log.push_back(Name() + ".FormActivate"); }
    void FormClose(TCloseAction&) {
        log.push_back(Name() + ".FormClose " + ModalResultName(ModalResult()) + " " + std::to_string(newTaskID));
    }
    void Edit2Change() { log.push_back(Name() + ".Edit2Change"); }
    void BitBtn1Click() {
        log.push_back(Name() + ".BitBtn1Click");
        if (keepOpen) SetModalResult(mrNone);
        if (closeInHandler) {
            Close();
            newTaskID = 7;  // set after the close was asked for, as a handler's later steps do
        }
    }
    void Button1Click() {
        log.push_back(Name() + ".Button1Click");
        if (nested) nestedResult = nested->ShowModal();
        log.push_back(Name() + ".Button1Click done");
    }
};

struct FormsTest : ::testing::Test {
    Log log;
    TfmDialog dlg{log};
    TModalScript script;
};

}  // namespace

TEST_F(FormsTest, ShowAndCloseFireTheirEventsAndTheSameFormComesBack) {
    ASSERT_EQ(log, Log{"fmDialog.FormCreate"});  // at construction, once
    log.clear();
    dlg.Show();
    dlg.Show();  // already visible: no second show event
    EXPECT_EQ(log, (Log{"fmDialog.FormShow", "fmDialog.FormActivate"}));
    EXPECT_TRUE(dlg.Visible());
    EXPECT_TRUE(dlg.Active());

    dlg.Edit2.SetText("kept");
    log.clear();
    dlg.Close();
    EXPECT_FALSE(dlg.Visible());
    EXPECT_FALSE(dlg.Active());
    EXPECT_EQ(log, Log{"fmDialog.FormClose mrNone 0"});
    dlg.Close();  // closing a hidden form does nothing
    EXPECT_EQ(log.size(), 1u);

    dlg.Show();  // reused: the show event again, the controls as they were
    EXPECT_EQ(log.back(), "fmDialog.FormActivate");
    EXPECT_EQ(log[1], "fmDialog.FormShow");
    EXPECT_EQ(dlg.Edit2.Text(), "kept");

    // A close event that answers caNone keeps the form open.
    dlg.OnClose = [](TCloseAction& action) { action = caNone; };
    dlg.Close();
    EXPECT_TRUE(dlg.Visible());
}

TEST_F(FormsTest, ShowModalReturnsTheButtonsResultAfterItsHandler) {
    script.Then("fmDialog", [](TForm& f) {
        EXPECT_TRUE(f.Modal());
        f.UserEdit("Edit2", "Audit");
        f.UserClick("BitBtn1");
    });
    TModalHostScope scope(script);
    TModalResult r = dlg.ShowModal();
    EXPECT_EQ(r, mrOk);
    EXPECT_FALSE(dlg.Visible());
    EXPECT_FALSE(dlg.Modal());
    EXPECT_EQ(log, (Log{"fmDialog.FormCreate", "fmDialog.FormShow", "fmDialog.FormActivate", "fmDialog.Edit2Change",
                        "fmDialog.BitBtn1Click", "fmDialog.FormClose mrOk 0"}));
    EXPECT_EQ(script.Shown(), Log{"fmDialog"});
}

TEST_F(FormsTest, AModalFormClosesOnlyWhenTheRunningHandlerHasEnded) {
    // The handler closes the dialog and then sets what the close event reads.
    dlg.closeInHandler = true;
    dlg.BitBtn1.SetModalResult(mrNone);
    script.Then([](TForm& f) { f.UserClick("BitBtn1"); });
    TModalHostScope scope(script);
    EXPECT_EQ(dlg.ShowModal(), mrCancel);
    EXPECT_EQ(log.back(), "fmDialog.FormClose mrCancel 7");
}

TEST_F(FormsTest, AHandlerThatResetsTheModalResultKeepsTheDialogOpen) {
    dlg.keepOpen = true;
    script.Then([&](TForm& f) {
        EXPECT_TRUE(f.UserClick("BitBtn1"));
        EXPECT_TRUE(f.Visible());
        EXPECT_EQ(f.ModalResult(), mrNone);
        f.UserPressEscape();  // the cancel button
    });
    TModalHostScope scope(script);
    EXPECT_EQ(dlg.ShowModal(), mrCancel);
    EXPECT_FALSE(dlg.Visible());
}

TEST_F(FormsTest, NestedModalFormsReturnInTurn) {
    Log innerLog;
    TfmDialog inner(innerLog, "fmInner");
    dlg.nested = &inner;
    script.Then("fmDialog", [&](TForm& f) {
        f.UserClick("Button1");  // opens fmInner; the next entry runs inside
        EXPECT_EQ(log.back(), "fmDialog.Button1Click done");
        EXPECT_TRUE(f.Visible());
        f.UserClick("BitBtn2");
    });
    script.Then("fmInner", [&](TForm& f) {
        EXPECT_TRUE(dlg.Visible());
        EXPECT_TRUE(f.UserClick("BitBtn1"));
    });
    TModalHostScope scope(script);
    EXPECT_EQ(dlg.ShowModal(), mrCancel);
    EXPECT_EQ(dlg.nestedResult, mrOk);
    EXPECT_EQ(script.Shown(), (Log{"fmDialog", "fmInner"}));
    EXPECT_EQ(innerLog.back(), "fmInner.FormClose mrOk 0");
    EXPECT_EQ(script.Pending(), 0);

    // The same dialog is shown modally again, from the start.
    script.Then("fmDialog", [](TForm& f) {
        f.UserFocus("Edit2");
        f.UserPressEnter();  // the default button, as the focus is on no button
    });
    EXPECT_EQ(dlg.ShowModal(), mrOk);
}

TEST_F(FormsTest, ModalEndsWithoutAnAnswerOrWithoutAHost) {
    {
        TModalHostScope scope(script);  // nothing queued: the loop gives up at once
        EXPECT_EQ(dlg.ShowModal(), mrCancel);
        EXPECT_EQ(log.back(), "fmDialog.FormClose mrCancel 0");
        EXPECT_FALSE(dlg.Visible());

        // A different form than the one expected is an error, and the form doesn't stay open.
        script.Then("fmOther", [](TForm&) {});
        EXPECT_THROW(dlg.ShowModal(), EInvalidOperation);
        EXPECT_FALSE(dlg.Visible());
        EXPECT_FALSE(dlg.Modal());
    }
    // Without a host the form stays open as a modal form and ShowModal returns at once.
    ASSERT_EQ(ModalHost(), nullptr);
    EXPECT_EQ(dlg.ShowModal(), mrNone);
    EXPECT_TRUE(dlg.Visible());
    EXPECT_TRUE(dlg.Modal());
    EXPECT_THROW(dlg.ShowModal(), EInvalidOperation);  // it is visible already
    EXPECT_TRUE(dlg.UserClick("BitBtn1"));
    EXPECT_FALSE(dlg.Visible());
    EXPECT_EQ(dlg.ModalResult(), mrOk);

    // A result set by code outside any handler closes a modal form at once; on a modeless one
    // it is only kept.
    dlg.ShowModal();
    dlg.SetModalResult(mrYes);
    EXPECT_FALSE(dlg.Visible());
    dlg.Show();
    dlg.SetModalResult(mrNo);
    EXPECT_TRUE(dlg.Visible());
}

TEST_F(FormsTest, AFailingHandlerReachesTheCallerAndTheButtonStillClosesTheForm) {
    dlg.BitBtn1.OnClick = [] { throw EDatabaseError("table failed"); };
    dlg.ShowModal();
    EXPECT_THROW(dlg.UserClick("BitBtn1"), EDatabaseError);
    EXPECT_FALSE(dlg.Visible());
    EXPECT_EQ(dlg.ModalResult(), mrOk);
}

TEST_F(FormsTest, ComponentsAndHandlersArePublishedByName) {
    TMenuItem& item = dlg.PopupMenu1.Add("Newnote1", "New &note", 11);
    dlg.Bind(item.OnClick, "BitBtn1Click");

    EXPECT_EQ(dlg.FindControl("edit2"), &dlg.Edit2);  // names compare without regard to case
    EXPECT_EQ(dlg.FindControl("Newnote1"), &item);
    EXPECT_EQ(dlg.FindControl("PopupMenu1"), nullptr);  // a component, no control
    EXPECT_EQ(dlg.FindComponent("PopupMenu1"), &dlg.PopupMenu1);
    EXPECT_EQ(dlg.FindControl("Edit9"), nullptr);
    EXPECT_EQ(dlg.ComponentNames(),
              (Log{"GroupBox1", "Edit2", "BitBtn1", "BitBtn2", "Button1", "PopupMenu1", "Newnote1"}));
    EXPECT_THROW(TEdit(&dlg, "EDIT2"), EComponentError);
    {
        TLabel extra(&dlg, "Label9");
        EXPECT_EQ(dlg.FindControl("Label9"), &extra);
    }
    EXPECT_EQ(dlg.FindControl("Label9"), nullptr);  // gone with the control

    EXPECT_EQ(dlg.HandlerNames(), (Log{"FormCreate", "FormShow", "FormActivate", "BitBtn1Click", "Button1Click",
                                       "Edit2Change"}));  // FormClose has an argument: bound only
    log.clear();
    EXPECT_TRUE(dlg.CallHandler("bitbtn1click"));
    EXPECT_FALSE(dlg.CallHandler("NoSuchClick"));
    EXPECT_EQ(log, Log{"fmDialog.BitBtn1Click"});
    TNotifyEvent event;
    EXPECT_THROW(dlg.Bind(event, "NoSuchClick"), EComponentError);
    EXPECT_THROW(dlg.UserClick("NoSuchButton"), EComponentError);
    EXPECT_THROW(dlg.UserClick("PopupMenu1"), EComponentError);
    EXPECT_THROW(dlg.UserEdit("BitBtn1", "x"), EInvalidOperation);  // a button takes no text

    // Properties by name, as a script reads them.
    EXPECT_EQ(dlg.BitBtn1.Property("Caption")->AsString(), "OK");
    EXPECT_EQ(dlg.BitBtn1.Property("modalresult")->AsString(), "mrOk");
    EXPECT_EQ(dlg.GroupBox1.Property("Caption")->AsString(), "Name:  ");
    EXPECT_EQ(dlg.Edit2.Property("Parent")->AsString(), "GroupBox1");
    EXPECT_EQ(item.Property("ImageIndex")->AsInteger(), 11);
    EXPECT_EQ(item.Property("AccessKey")->AsString(), "n");
    EXPECT_FALSE(dlg.Edit2.Property("NoSuchProperty").has_value());
    EXPECT_EQ(dlg.Property("Caption")->AsString(), "New Task");
    EXPECT_EQ(dlg.Edit2.ClassName(), "TEdit");
    EXPECT_EQ(dlg.ClassName(), "TfmDialog");

    // The main value as a script sets and reads it.
    dlg.FindControl("Edit2")->SetMainText("Clients");
    EXPECT_EQ(dlg.Edit2.Text(), "Clients");
    EXPECT_EQ(dlg.Edit2.MainValue().AsString(), "Clients");
    EXPECT_TRUE(dlg.PopupMenu1.MainValue().IsNull());
    EXPECT_THROW(dlg.PopupMenu1.SetMainValue(Variant(1)), EInvalidOperation);
}

TEST_F(FormsTest, AFormShownModallyFromItsOwnHandlerClosesAsUsual) {
    TModalResult result = mrNone;
    dlg.PublishHandler("ShowSelf", [&] { result = dlg.ShowModal(); });
    script.Then([](TForm& f) {
        f.UserClick("BitBtn1");
        EXPECT_FALSE(f.Visible());  // closed when the click ended, not when the outer handler does
    });
    TModalHostScope scope(script);
    EXPECT_TRUE(dlg.CallHandler("ShowSelf"));
    EXPECT_EQ(result, mrOk);
}

namespace {

class TfmTree : public TForm {
public:
    TcxDBTreeList cxDBTreeList1{this, "cxDBTreeList1"};
    int dblClicks = 0;

    TfmTree() : TForm("fmTree", "Tree", 200, 300) {
        Bind(cxDBTreeList1.OnDblClick, "cxDBTreeList1DblClick", &TfmTree::cxDBTreeList1DblClick);
        Bind(cxDBTreeList1.OnGetNodeImageIndex, "cxDBTreeList1GetNodeImageIndex",
             &TfmTree::cxDBTreeList1GetNodeImageIndex);
    }
    void cxDBTreeList1DblClick() { ++dblClicks; }
    int cxDBTreeList1GetNodeImageIndex(TcxDBTreeList&, TcxTreeListNode*, int offered) { return offered + 8; }
};

}  // namespace

TEST(TreeControlTest, TheTreeListIsAControlOfItsForm) {
    TfmTree fm;
    EXPECT_EQ(fm.FindControl("cxDBTreeList1"), &fm.cxDBTreeList1);
    EXPECT_EQ(fm.cxDBTreeList1.ClassName(), "TcxDBTreeList");
    EXPECT_EQ(fm.HandlerNames(), Log{"cxDBTreeList1DblClick"});  // the picture hook is only bound
    EXPECT_EQ(fm.cxDBTreeList1.OnGetNodeImageIndex(fm.cxDBTreeList1, nullptr, -1), 7);
    fm.Show();
    EXPECT_TRUE(fm.UserDblClick("cxDBTreeList1"));
    EXPECT_TRUE(fm.cxDBTreeList1.Focused());
    EXPECT_EQ(fm.dblClicks, 1);
}
