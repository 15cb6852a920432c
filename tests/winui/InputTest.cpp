// A script's user actions delivered to the forms' windows as input: the user's typing, picks and
// clicks reach the controls through the windows, each exactly once, with what the user sees
// following; what has no window is done on the headless control, and a handler's failure comes
// back to the caller as it does headless.
#include "WinUiFixture.h"

#include "win/ui/Input.h"

namespace {

std::string Text(HWND h) { return win::ui::WindowText(h); }

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
