// Every form's controls as a user sees them laid out: inside their form, clear of each other,
// and, when a pane or dialog is made larger, the buttons staying at the bottom right while the
// tree or the grid takes the room.
#include <string>
#include <vector>

#include "filing/ufmEmails.h"
#include "framework/OlForm.h"
#include "support/ufmAbout.h"
#include "support/ufmOptions.h"
#include "tasks/ufmAddTask.h"
#include "tasks/ufmNewTask.h"
#include "time/TimeFixture.h"
#include "toolkit/Layout.h"

namespace {

bool Inside(const TRect& a, const TRect& b) {
    return a.Left >= b.Left && a.Top >= b.Top && a.Right <= b.Right && a.Bottom <= b.Bottom;
}
bool Overlap(const TRect& a, const TRect& b) {
    return a.Left < b.Right && b.Left < a.Right && a.Top < b.Bottom && b.Top < a.Bottom;
}
bool Container(const TControl& c) {
    return dynamic_cast<const TGroupBox*>(&c) || dynamic_cast<const TPanel*>(&c);
}
std::string Str(const TRect& r) {
    return std::to_string(r.Left) + "," + std::to_string(r.Top) + "-" + std::to_string(r.Right) + "," +
           std::to_string(r.Bottom);
}

// What is wrong with a form's layout at a size: a control outside its parent, a control of no
// size, two controls on top of each other (a control may stand wholly on a box or panel beside it).
std::vector<std::string> Faults(const TForm& form, bool framed, int width, int height) {
    TFormLayout layout(form, width, height, DesignClientWidth(form, framed), DesignClientHeight(form, framed));
    std::vector<std::string> faults;
    for (TComponent* comp : form.Components()) {
        auto* c = dynamic_cast<TControl*>(comp);
        if (!c || !c->Visible() || dynamic_cast<TMenuItem*>(c)) continue;
        TRect r = layout.Bounds(*c);
        TRect area = c->Parent() ? layout.Bounds(*c->Parent()) : TRect{0, 0, width, height};
        area = TRect{0, 0, area.Right - area.Left, area.Bottom - area.Top};
        if (!Inside(r, area)) faults.push_back(form.Name() + "." + c->Name() + " outside " + Str(r));
        if (r.Right - r.Left <= 0 || r.Bottom - r.Top <= 0) faults.push_back(form.Name() + "." + c->Name() + " empty");
        for (TControl* o : layout.Children(c->Parent())) {
            if (o <= c || !o->Visible() || dynamic_cast<TTabSheet*>(o) || dynamic_cast<TTabSheet*>(c)) continue;
            TRect q = layout.Bounds(*o);
            if (!Overlap(r, q)) continue;
            if ((Container(*c) && Inside(q, r)) || (Container(*o) && Inside(r, q))) continue;
            faults.push_back(form.Name() + "." + c->Name() + " overlaps " + o->Name());
        }
    }
    return faults;
}

}  // namespace

class FormLayoutTest : public TimeTest {
protected:
    std::vector<TForm*> AllForms() {
        auto& g = Globals();
        std::vector<TForm*> forms{g.fmNewTask.get(), g.fmTimeMemo.get(), g.fmChooseTask.get(), g.fmTimer.get(),
                                  g.fmOptions.get(), g.fmAddTask.get(), g.fmAbout.get(), g.fmList};
        for (int i = 0; i < m().adxOlFormsManager1.Count(); ++i)
            if (TForm* f = m().adxOlFormsManager1.Items(i).CurrentForm(); f && f != g.fmList) forms.push_back(f);
        return forms;
    }
};

TEST_F(FormLayoutTest, EveryFormLaysOutItsControlsInsideItAndClearOfEachOther) {
    auto forms = AllForms();
    ASSERT_EQ(forms.size(), 13u);
    for (TForm* f : forms) {
        ASSERT_NE(f, nullptr);
        // The dialogs and the timer stand in windows of their own; the panes fill what they're given.
        const bool framed = !dynamic_cast<TadxOlForm*>(f);
        int w = DesignClientWidth(*f, framed), h = DesignClientHeight(*f, framed);
        EXPECT_EQ(Faults(*f, framed, w, h), std::vector<std::string>{}) << f->Name();
        EXPECT_EQ(Faults(*f, framed, w + 240, h + 180), std::vector<std::string>{}) << f->Name();
    }
}

TEST_F(FormLayoutTest, AResizedDialogKeepsItsButtonsBottomRightAndGrowsWhatHoldsTheData) {
    TfmAddTask& f = *Globals().fmAddTask;
    const int w = DesignClientWidth(f, true), h = DesignClientHeight(f, true);
    TFormLayout big(f, w + 100, h + 200, w, h);
    TRect ok = big.Bounds(f.BitBtn2), cancel = big.Bounds(f.BitBtn1), tree = big.Bounds(f.cxDBTreeList1);
    EXPECT_EQ(cancel.Right, w + 100 - 8);
    EXPECT_EQ(cancel.Bottom, h + 200 - 8);
    EXPECT_LT(ok.Right, cancel.Left);
    EXPECT_EQ(tree.Bottom - tree.Top, f.cxDBTreeList1.Height() + 200);
    EXPECT_EQ(tree.Right - tree.Left, f.cxDBTreeList1.Width() + 100);
    // The search field keeps its size.
    TRect number = big.Bounds(f.OvcNumericField1);
    EXPECT_EQ(number.Right - number.Left, f.OvcNumericField1.Width());
}

TEST_F(FormLayoutTest, APaneShowsItsToolbarOnTopAndTheTreeOrGridFillingTheRest) {
    TfmList& list = Pane();
    TFormLayout l(list, 280, 700);
    EXPECT_EQ(l.Bounds(list.re).Top, 0);
    EXPECT_EQ(l.Bounds(list.re).Right, 280);
    EXPECT_EQ(l.Bounds(list.ButtonGroup1).Right, 280);
    TRect tree = l.Bounds(list.cxDBTreeList1);
    EXPECT_EQ(tree.Top, l.Bounds(list.re).Bottom);
    EXPECT_EQ(tree.Bottom, 700);
    EXPECT_EQ(tree.Right, 280);

    TfmTime& sheet = Sheet();
    TFormLayout s(sheet, 900, 250);
    TRect grid = s.Bounds(sheet.cxGrid4), view = s.Bounds(sheet.cxGrid4DBBandedTableView2);
    EXPECT_EQ(grid.Top, s.Bounds(sheet.Panel1).Bottom);
    EXPECT_EQ(grid.Bottom, 250);
    EXPECT_EQ(view.Right - view.Left, 900);
    // The export button keeps to the right edge.
    EXPECT_EQ(s.Bounds(sheet.BitBtn1).Right, 900 - 6);
}
