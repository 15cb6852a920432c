// A script's user actions delivered to the forms' windows as input: the user's typing, picks and
// clicks reach the controls through the windows, each exactly once, with what the user sees
// following; what has no window is done on the headless control, and a handler's failure comes
// back to the caller as it does headless.
#include "WinUiFixture.h"

#include <ole2.h>

#include <algorithm>

#include "filing/ufmContacts.h"
#include "win/ui/Input.h"
#include "win/ui/ScriptWindows.h"

namespace {

std::string Text(HWND h) { return win::ui::WindowText(h); }

// The menu the system pops up, as a script host sees it.
struct TPoppedUp : IPopupHost {
    void ShowPopup(TPopupMenu& menu, int, int) override { shown = &menu; }
    TPopupMenu* shown = nullptr;
};

}  // namespace

TEST_F(WinUiTest, TypingPickingAndClickingInTheTimeDialogReachItsFieldsOnceThroughTheWindows) {
    Memo().Show();
    windows.push_back(win::ui::CreateTopWindow(Memo(), explorer));
    win::ui::TFormWindow& window = *windows.back();
    Pump();
    int changes = 0;
    TNotifyEvent before = Memo().Memo1.OnChange;
    Memo().Memo1.OnChange = [&] {
        ++changes;
        if (before) before();
    };
    win::ui::TWindowInput input;

    // The user types the note, the hours and the day.
    input.Edit(Memo().Memo1, "met the surveyor");
    EXPECT_EQ(Memo().Memo1.Text(), "met the surveyor");
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(Text(window.ControlHandle(Memo().Memo1)), "met the surveyor");
    EXPECT_EQ(Memo().ActiveControl(), &Memo().Memo1);

    input.Edit(Memo().cxCurrencyEdit1, "2.5");
    EXPECT_EQ(Memo().cxCurrencyEdit1.MainValue().AsDouble(), 2.5);
    EXPECT_EQ(Memo().ActiveControl(), &Memo().cxCurrencyEdit1);

    input.Edit(Memo().DateTimePicker1, "2026-03-04");
    int y = 0, mo = 0, d = 0;
    DecodeDate(Memo().DateTimePicker1.Date(), y, mo, d);
    EXPECT_EQ(std::vector<int>({y, mo, d}), std::vector<int>({2026, 3, 4}));
    SYSTEMTIME shown{};
    SendMessageW(window.ControlHandle(Memo().DateTimePicker1), DTM_GETSYSTEMTIME, 0, reinterpret_cast<LPARAM>(&shown));
    EXPECT_EQ(shown.wDay, 4);

    // Cancel closes the dialog.
    input.Click(Memo().BitBtn2);
    EXPECT_FALSE(Memo().Visible());
    EXPECT_EQ(input.Delivered(), 4);
    EXPECT_EQ(input.Headless(), 0);
}

TEST_F(WinUiTest, AClickOnATreeNodeOrAGridRecordFocusesWhatWasClicked) {
    Entry(acme, Date(), 90, "drafting");
    Entry(borealis, Date(), 45, "review");
    win::ui::TFormWindow& pane = PaneWindow(Pane(), 980, 0, 300, 800);
    win::ui::TWindowInput input;

    input.ClickNode(Tree(), Node(borealis), false);
    EXPECT_EQ(Tree().FocusedNode(), Node(borealis));
    EXPECT_EQ(Text(pane.ControlHandle(Pane().Label3)), "Clients \\ Borealis Shipping");
    EXPECT_EQ(input.Delivered(), 1);

    m().adxOlFormsManager1.ActivatePane(1);
    PaneWindow(Sheet(), 0, 500, 980, 300);
    const int last = Grid().RecordCount() - 1;
    ASSERT_GT(last, 0);
    int clicks = 0;
    TNotifyEvent before = Grid().OnClick;
    Grid().OnClick = [&] {
        ++clicks;
        if (before) before();
    };
    input.ClickRecord(Grid(), last, false);
    EXPECT_EQ(Grid().FocusedRecordIndex(), last);
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(input.Delivered(), 2);
    EXPECT_EQ(input.Headless(), 0);
}

TEST_F(WinUiTest, WithoutAWindowTheActionIsHeadlessAndAHandlersFailureReachesTheCaller) {
    win::ui::TWindowInput input;
    Memo().Show();
    input.Edit(Memo().Memo1, "no window yet");
    EXPECT_EQ(Memo().Memo1.Text(), "no window yet");
    EXPECT_EQ(input.Headless(), 1);

    windows.push_back(win::ui::CreateTopWindow(Memo(), explorer));
    Pump();
    Memo().Button1.OnClick = [] { throw EInvalidOperation("refused"); };
    EXPECT_THROW(input.Click(Memo().Button1), EInvalidOperation);
    EXPECT_EQ(input.Delivered(), 1);
    // The window goes on taking the user's input.
    input.Click(Memo().BitBtn2);
    EXPECT_FALSE(Memo().Visible());
    EXPECT_EQ(input.Delivered(), 2);
}

TEST_F(WinUiTest, AScriptedDragFromOutlookFocusesTheTaskUnderItAndTheDropOpensTheMenu) {
    OleInitialize(nullptr);
    PaneWindow(Pane(), 980, 0, 300, 800);
    Tree().FullExpand();
    TDMTextTarget* target = nullptr;
    for (TComponent* c : Pane().Components())
        if (auto* t = dynamic_cast<TDMTextTarget*>(c); t && t->AcceptorControl == &Tree()) target = t;
    ASSERT_NE(target, nullptr);
    auto line = [&](int id) {
        std::vector<TcxTreeListNode*> shown = Tree().VisibleNodes();
        return static_cast<int>(std::find(shown.begin(), shown.end(), Node(id)) - shown.begin());
    };
    TPoppedUp menus;
    IPopupHost* previous = SetPopupHost(&menus);
    win::ui::TWindowInput input;

    input.DragOver(Tree(), *target, line(borealis));
    EXPECT_EQ(Tree().FocusedNode(), Node(borealis));
    input.Drop(Tree(), *target, line(borealis));
    ASSERT_NE(menus.shown, nullptr);
    EXPECT_EQ(menus.shown->Owner(), &Pane());
    EXPECT_EQ(input.Delivered(), 2);
    EXPECT_EQ(input.Headless(), 0);
    SetPopupHost(previous);
}

TEST_F(WinUiTest, ATabChosenByTheScriptTurnsThePageAndTheTabStrip) {
    m().adxOlFormsManager1.ActivatePane(4);
    auto& contacts = static_cast<TfmContacts&>(*m().adxOlFormsManager1.Items(4).CurrentForm());
    win::ui::TFormWindow& pane = PaneWindow(contacts, 0, 500, 980, 300);
    ASSERT_EQ(contacts.tcxPageControl3.ActivePageIndex(), 0);
    win::ui::TWindowInput input;

    input.ClickItem(contacts.tcxPageControl3, 1);
    EXPECT_EQ(contacts.tcxPageControl3.ActivePageIndex(), 1);
    HWND tabs = FindWindowExW(pane.ControlHandle(contacts.tcxPageControl3), nullptr, WC_TABCONTROLW, nullptr);
    EXPECT_EQ(SendMessageW(tabs, TCM_GETCURSEL, 0, 0), 1);
    EXPECT_TRUE(IsWindowVisible(pane.ControlHandle(contacts.cxTabSheet4)));
    EXPECT_EQ(input.Delivered(), 1);
}

TEST_F(WinUiTest, ADialogShownDuringAScriptHasAWindowOwnedByTheExplorerUntilItIsHidden) {
    win::ui::TScriptWindows dialogs;
    Memo().Show();
    // No pane is drawn: the host draws nothing, and the dialog gets no window.
    dialogs.Sync(Dialogs(), {&Pane()});
    EXPECT_EQ(win::ui::FindFormWindow(Memo()), nullptr);

    PaneWindow(Pane(), 980, 0, 300, 800);
    dialogs.Sync(Dialogs(), {&Pane()});
    win::ui::TFormWindow* window = win::ui::FindFormWindow(Memo());
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(IsWindowVisible(window->Handle()));
    EXPECT_EQ(GetWindow(window->Handle(), GW_OWNER), explorer);
    EXPECT_EQ(Text(window->Handle()), Memo().Caption());

    Memo().Close();
    dialogs.Sync(Dialogs(), {&Pane()});
    EXPECT_EQ(win::ui::FindFormWindow(Memo()), nullptr);
}
