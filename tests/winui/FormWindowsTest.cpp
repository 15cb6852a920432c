// The forms as a user sees them on Windows: every tree node, grid line and dialog field the
// windows show is what the headless control holds, and the user's clicks and typing in the
// windows reach the forms' handlers. With CORVELLE_SCREENSHOTS set, the panes, the dialogs and
// the timer are photographed on the way.
#include "WinUiFixture.h"

#include <algorithm>
#include <cstring>
#include <cctype>
#include <cstdlib>

#include "base/DateTime.h"
#include "tasks/uTasks.h"

namespace {

std::string ClassOf(HWND h) {
    wchar_t cls[64] = {};
    GetClassNameW(h, cls, 64);
    std::string s = win::ui::U(cls);
    for (char& ch : s) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return s;
}

std::string Text(HWND h) { return win::ui::WindowText(h); }

std::string CrLf(const std::string& s) {
    std::string out;
    for (char c : s) {
        if (c == '\n' && (out.empty() || out.back() != '\r')) out += '\r';
        out += c;
    }
    return out;
}

// The tree view's items from the top, as shown (the children of expanded items only).
void ShownItems(HWND tree, HTREEITEM item, std::vector<std::string>& out) {
    for (; item; item = TreeView_GetNextSibling(tree, item)) {
        wchar_t buf[256] = {};
        TVITEMW it{};
        it.mask = TVIF_TEXT | TVIF_STATE;
        it.hItem = item;
        it.pszText = buf;
        it.cchTextMax = 256;
        it.stateMask = TVIS_EXPANDED;
        TreeView_GetItem(tree, &it);
        out.push_back(win::ui::U(buf));
        if (it.state & TVIS_EXPANDED) ShownItems(tree, TreeView_GetChild(tree, item), out);
    }
}

// What is wrong between the windows of a form and its controls: a field that shows another text,
// state or date than its control holds, or a control shown, enabled or hidden otherwise.
std::vector<std::string> Mismatches(win::ui::TFormWindow& window, TForm& form) {
    std::vector<std::string> out;
    for (TComponent* comp : form.Components()) {
        auto* c = dynamic_cast<TControl*>(comp);
        if (!c) continue;
        HWND h = window.ControlHandle(*c);
        if (!h) continue;
        auto fail = [&](const std::string& what, const std::string& shown, const std::string& held) {
            out.push_back(c->Name() + " " + what + ": shows \"" + shown + "\", holds \"" + held + "\"");
        };
        const bool visible = (GetWindowLongW(h, GWL_STYLE) & WS_VISIBLE) != 0;
        if (!dynamic_cast<TTabSheet*>(c) && visible != c->Visible())
            fail("visible", std::to_string(visible), std::to_string(c->Visible()));
        if ((IsWindowEnabled(h) != FALSE) != c->Enabled()) fail("enabled", "", "");
        std::string cls = ClassOf(h);
        if (auto* label = dynamic_cast<TLabel*>(c)) {
            if (Text(h) != label->Caption()) fail("caption", Text(h), label->Caption());
        } else if (auto* memo = dynamic_cast<TMemo*>(c)) {
            if (Text(h) != CrLf(memo->Text())) fail("text", Text(h), memo->Text());
        } else if (cls == "edit") {
            if (Text(h) != c->MainText()) fail("text", Text(h), c->MainText());
        } else if (auto* box = dynamic_cast<TCheckBox*>(c)) {
            bool checked = SendMessageW(h, BM_GETCHECK, 0, 0) == BST_CHECKED;
            if (checked != box->Checked()) fail("check", std::to_string(checked), std::to_string(box->Checked()));
            if (Text(h) != box->Caption()) fail("caption", Text(h), box->Caption());
        } else if (auto* button = dynamic_cast<TCustomButton*>(c)) {
            if (Text(h) != button->Caption()) fail("caption", Text(h), button->Caption());
        } else if (auto* picker = dynamic_cast<TDateTimePicker*>(c)) {
            SYSTEMTIME st{};
            DWORD got = static_cast<DWORD>(SendMessageW(h, DTM_GETSYSTEMTIME, 0, reinterpret_cast<LPARAM>(&st)));
            std::string shown = got == GDT_VALID ? std::to_string(st.wYear) + "-" + std::to_string(st.wMonth) + "-" +
                                                       std::to_string(st.wDay)
                                                 : "";
            int y, m, d;
            DecodeDate(picker->Date(), y, m, d);
            std::string held = picker->ShowCheckbox() && !picker->Checked()
                                   ? ""
                                   : std::to_string(y) + "-" + std::to_string(m) + "-" + std::to_string(d);
            if (shown != held) fail("date", shown, held);
        } else if (auto* search = dynamic_cast<TSearchList*>(c)) {
            HWND edit = FindWindowExW(h, nullptr, L"Edit", nullptr);
            HWND list = FindWindowExW(h, nullptr, L"ListBox", nullptr);
            if (Text(edit) != search->Text()) fail("text", Text(edit), search->Text());
            if (SendMessageW(list, LB_GETCOUNT, 0, 0) != search->Count()) fail("items", "", "");
        }
    }
    return out;
}

// Texts that do not fit their windows: a label's wrapped lines taller than the label, a
// button's, a check box's or a group box's caption wider than what it has.
std::vector<std::string> CutOff(win::ui::TFormWindow& window, TForm& form) {
    std::vector<std::string> out;
    HDC dc = GetDC(window.Handle());
    HGDIOBJ old = SelectObject(dc, win::ui::DialogFont());
    for (TComponent* comp : form.Components()) {
        auto* c = dynamic_cast<TControl*>(comp);
        HWND h = c && c->Visible() ? window.ControlHandle(*c) : nullptr;
        if (!h) continue;
        RECT box;
        GetClientRect(h, &box);
        std::string text;
        int room = box.right, extra = 0;
        if (auto* k = dynamic_cast<TCaptionControl*>(c)) text = k->Caption();
        else if (auto* b = dynamic_cast<TCustomButton*>(c)) text = b->Caption(), extra = 8;
        else if (auto* x = dynamic_cast<TCheckBox*>(c)) text = x->Caption(), extra = 20;
        if (text.empty()) continue;
        std::wstring w = win::ui::W(text);
        if (dynamic_cast<TLabel*>(c)) {
            RECT need{0, 0, room, 0};
            DrawTextW(dc, w.c_str(), -1, &need, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
            if (need.bottom > box.bottom || need.right > room) out.push_back(c->Name() + " \"" + text + "\"");
        } else if (!dynamic_cast<TPanel*>(c) && !dynamic_cast<TTabSheet*>(c)) {
            SIZE size{};
            GetTextExtentPoint32W(dc, w.c_str(), static_cast<int>(w.size()), &size);
            if (size.cx + extra > room) out.push_back(c->Name() + " \"" + text + "\"");
        }
    }
    SelectObject(dc, old);
    ReleaseDC(window.Handle(), dc);
    return out;
}

}  // namespace

TEST_F(WinUiTest, TheTaskPaneShowsEveryNodeWithItsStyleAndFollowsAClickOnANode) {
    Complete(internal, Date());
    FilterTasks(1);
    Tree().FullExpand();
    Focus(acme);
    win::ui::TFormWindow& pane = PaneWindow(Pane(), 980, 0, 300, 800);
    HWND tree = pane.ControlHandle(Tree());
    ASSERT_NE(tree, nullptr);
    RedrawWindow(tree, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    Pump();

    std::vector<std::string> shown, held;
    ShownItems(tree, TreeView_GetRoot(tree), shown);
    for (TcxTreeListNode* n : Tree().VisibleNodes()) held.push_back(n->Texts(Tree().FirstVisibleColumn()->ItemIndex()));
    EXPECT_EQ(shown, held);
    // As drawn: roots bold, the completed task struck out, as the form styles them.
    win::ui::TDrawnLines& drawn = win::ui::Drawn(tree);
    auto nodes = Tree().VisibleNodes();
    ASSERT_EQ(drawn.size(), nodes.size());
    for (size_t i = 0; i < nodes.size(); ++i) {
        TFontStyles style = Tree().CellStyle(nodes[i], *Tree().FirstVisibleColumn());
        std::vector<std::string> want{held[i]};
        if (style.Bold) want.push_back("bold");
        if (style.StrikeOut) want.push_back("strike");
        EXPECT_EQ(drawn[static_cast<int>(i)], want);
    }
    EXPECT_EQ(drawn[0], (std::vector<std::string>{"Clients", "bold"}));
    EXPECT_EQ(drawn[3], (std::vector<std::string>{"Internal", "bold", "strike"}));
    // Above the lines, a header of the tree's shown columns: the tree's, the importance's
    // picture, the due date.
    HWND header = FindWindowExW(GetParent(tree), nullptr, WC_HEADERW, nullptr);
    ASSERT_NE(header, nullptr);
    ASSERT_EQ(SendMessageW(header, HDM_GETITEMCOUNT, 0, 0), 3);
    wchar_t caption[64] = {};
    HDITEMW item{};
    item.mask = HDI_TEXT | HDI_FORMAT;
    item.pszText = caption;
    item.cchTextMax = 64;
    SendMessageW(header, HDM_GETITEMW, 2, reinterpret_cast<LPARAM>(&item));
    EXPECT_EQ(win::ui::U(caption), "Due date");
    SendMessageW(header, HDM_GETITEMW, 1, reinterpret_cast<LPARAM>(&item));
    EXPECT_TRUE(item.fmt & HDF_IMAGE);
    // The focused task's name and number stand above the tree.
    EXPECT_EQ(Text(pane.ControlHandle(Pane().Label3)), Globals().TaskFullDescription);
    EXPECT_EQ(Text(pane.ControlHandle(Pane().Label3)), "Clients \\ Acme Ltd");
    Shot("task-pane");

    // The user clicks Borealis Shipping: the task is focused, and the labels follow.
    RECT r;
    HTREEITEM third = TreeView_GetNextVisible(tree, TreeView_GetNextVisible(tree, TreeView_GetRoot(tree)));
    std::memcpy(&r, &third, sizeof third);
    ASSERT_TRUE(SendMessageW(tree, TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&r)));
    ClickAt(tree, (r.left + r.right) / 2, (r.top + r.bottom) / 2);
    EXPECT_EQ(Tree().FocusedNode(), Node(borealis));
    EXPECT_EQ(Text(pane.ControlHandle(Pane().Label3)), "Clients \\ Borealis Shipping");
    HTREEITEM selected = TreeView_GetSelection(tree);
    TVITEMW it{};
    it.mask = TVIF_PARAM;
    it.hItem = selected;
    TreeView_GetItem(tree, &it);
    EXPECT_EQ(reinterpret_cast<TcxTreeListNode*>(it.lParam), Node(borealis));
}

TEST_F(WinUiTest, TheTimesheetShowsItsRecordsGroupsAndSumsAsTheGridHoldsThem) {
    Entry(acme, Date(), 90, "drafting");
    Entry(acme, Date(), 30, "a call");
    Entry(borealis, Date(), 45, "review");
    m().adxOlFormsManager1.ActivatePane(1);
    win::ui::TFormWindow& pane = PaneWindow(Sheet(), 0, 500, 980, 300);
    HWND list = FindWindowExW(pane.ControlHandle(Grid()), nullptr, WC_LISTVIEWW, nullptr);
    ASSERT_NE(list, nullptr);

    auto check = [&] {
        RedrawWindow(list, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        Pump();
        win::ui::TDrawnLines& drawn = win::ui::Drawn(list);
        std::vector<TcxGridViewRow> rows = Grid().ViewRows();
        int line = 0;
        for (const TcxGridViewRow& row : rows) {
            const std::vector<std::string>& texts = drawn[line];
            if (row.Kind == TcxGridRowKind::Record) {
                // Every shown column of the first line, in order, with its display text; the
                // grouping column's text stands on the group's line instead.
                std::vector<std::string> want;
                for (TcxGridDBColumn* c : Grid().VisibleColumns())
                    if (Grid().ColumnLine(*c) == 0 && c != Grid().GroupingColumn()) {
                        if (!c->OwnerDrawn()) want.push_back(Grid().DisplayTexts(row.Index, *c));
                        else if (auto cell = Grid().DrawCell(row.Index, *c); !cell.Done) want.push_back(cell.Text);
                    }
                EXPECT_EQ(texts, want) << "line " << line;
                line += Grid().LineCount();
            } else if (row.Kind == TcxGridRowKind::Footer) {
                for (size_t i = 0; i < Grid().Summary.FooterSummaryItems.size(); ++i)
                    EXPECT_NE(std::find(texts.begin(), texts.end(), Grid().FooterSummaryText(static_cast<int>(i))), texts.end());
                ++line;
            } else if (row.Kind == TcxGridRowKind::Group) {
                ASSERT_FALSE(texts.empty());
                EXPECT_NE(texts[0].find(Grid().Groups(row.Index).DisplayText), std::string::npos) << texts[0];
                ++line;
            } else {
                for (size_t i = 0; i < Grid().Summary.DefaultGroupSummaryItems.size(); ++i)
                    EXPECT_NE(std::find(texts.begin(), texts.end(), Grid().GroupSummaryText(row.Index, static_cast<int>(i))),
                              texts.end());
                ++line;
            }
        }
        EXPECT_EQ(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0), line);
    };
    check();
    EXPECT_EQ(Grid().RecordCount(), 3);

    // Grouped by task, with the groups open: headers, records, group sums and the total.
    ASSERT_TRUE(Grid().UserGroupBy(*Grid().ColumnByName("clTask_Name")));
    Grid().FullExpand();
    win::ui::RefreshAll();
    check();
    HWND box = FindWindowExW(pane.ControlHandle(Grid()), nullptr, L"Static", nullptr);
    if (box) {
        EXPECT_EQ(Text(box), Grid().GroupByBoxText());
    }
    Shot("pane-timesheet");

    // A click on a record's line focuses it in the grid.
    int target = Grid().FindRecordIndexByKeyValue(Grid().KeyValue(Grid().RecordCount() - 1));
    int item = 0;
    for (const TcxGridViewRow& row : Grid().ViewRows()) {
        if (row.Kind == TcxGridRowKind::Record && row.Index == target) break;
        item += row.Kind == TcxGridRowKind::Record ? Grid().LineCount() : 1;
    }
    RECT r{LVIR_BOUNDS, 0, 0, 0};
    ASSERT_TRUE(SendMessageW(list, LVM_GETITEMRECT, item, reinterpret_cast<LPARAM>(&r)));
    ClickAt(list, r.left + 40, (r.top + r.bottom) / 2);
    EXPECT_EQ(Grid().FocusedRecordIndex(), target);
}

TEST_F(WinUiTest, TheEmailPaneShowsItsTwoLineRecordsWithTheirGlyphs) {
    FileMails(acme, {"Quote for the new hull", "Survey dates"});
    Focus(acme);
    m().adxOlFormsManager1.ActivatePane(2);
    auto* emails = Globals().fmEmails;
    ASSERT_NE(emails, nullptr);
    win::ui::TFormWindow& pane = PaneWindow(*emails, 0, 500, 980, 300);
    auto& view = emails->cxGridDBBandedTableView1;
    HWND list = FindWindowExW(pane.ControlHandle(view), nullptr, WC_LISTVIEWW, nullptr);
    ASSERT_NE(list, nullptr);
    RedrawWindow(list, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    Pump();
    ASSERT_EQ(view.RecordCount(), 2);
    ASSERT_EQ(view.LineCount(), 2);
    EXPECT_EQ(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0), 4);
    win::ui::TDrawnLines& drawn = win::ui::Drawn(list);
    for (int rec = 0; rec < 2; ++rec)
        for (int k = 0; k < 2; ++k) {
            std::vector<std::string> want;
            for (TcxGridDBColumn* c : view.VisibleColumns())
                if (view.ColumnLine(*c) == k) {
                    if (!c->OwnerDrawn()) want.push_back(view.DisplayTexts(rec, *c));
                    else if (auto cell = view.DrawCell(rec, *c); !cell.Done) want.push_back(cell.Text);
                }
            EXPECT_EQ(drawn[rec * 2 + k], want) << "record " << rec << " line " << k;
        }
    PaneWindow(Pane(), 980, 0, 300, 800);
    Shot("pane-emails");
}

TEST_F(WinUiTest, EveryDialogShowsEachFieldAsItsControlHoldsIt) {
    Memo().Label1.SetCaption("Clients \\ Acme Ltd");
    Memo().Memo1.SetText("first line\nsecond line");
    Memo().cxCurrencyEdit1.SetValue(1.5);
    for (TForm* f : Dialogs()) {
        ASSERT_NE(f, nullptr);
        windows.push_back(win::ui::CreateTopWindow(*f, explorer));
        Pump(50);
        EXPECT_EQ(Mismatches(*windows.back(), *f), std::vector<std::string>{}) << f->Name();
        EXPECT_EQ(CutOff(*windows.back(), *f), std::vector<std::string>{}) << f->Name();
        // The window has the form's size, and its caption.
        RECT r;
        GetWindowRect(windows.back()->Handle(), &r);
        EXPECT_EQ(r.right - r.left, f->Width()) << f->Name();
        EXPECT_EQ(r.bottom - r.top, f->Height()) << f->Name();
        EXPECT_EQ(Text(windows.back()->Handle()), f->Caption());
    }
    // Code changes a field: the window follows at the next refresh.
    Memo().cxCurrencyEdit1.SetValue(2.25);
    Memo().Memo1.SetText("changed");
    win::ui::RefreshAll();
    EXPECT_EQ(Text(win::ui::FindFormWindow(Memo())->ControlHandle(Memo().cxCurrencyEdit1)), "2.25");
    EXPECT_EQ(Text(win::ui::FindFormWindow(Memo())->ControlHandle(Memo().Memo1)), "changed");
}

TEST_F(WinUiTest, AModalDialogRunsItsOwnLoopWithTheOwnerDisabledUntilOkClosesIt) {
    win::ui::InstallHosts(explorer);
    bool ownerDisabled = false, timerRan = false;
    WhileModal([&] { static_cast<TMenuItem&>(Pane().ComponentByName("Completedtasks1")).Click(); },
               [&](TForm& f) {
                   ASSERT_EQ(&f, Globals().fmOptions.get());
                   ownerDisabled = !IsWindowEnabled(explorer);
                   // Other windows' timers run meanwhile.
                   SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR id, DWORD) { KillTimer(nullptr, id); });
                   Pump(50);
                   timerRan = true;
                   auto& options = static_cast<TfmOptions&>(f);
                   win::ui::TFormWindow* w = win::ui::FindFormWindow(f);
                   ASSERT_NE(w, nullptr);
                   EXPECT_TRUE(IsWindowVisible(w->Handle()));
                   // The user types 30 days and presses OK.
                   SetWindowTextW(w->ControlHandle(options.SpinEdit1), L"30");
                   Pump(50);
                   EXPECT_EQ(options.SpinEdit1.Value(), 30);
                   Shot("dialog-options");
                   SendMessageW(w->ControlHandle(options.BitBtn1), BM_CLICK, 0, 0);
               });
    EXPECT_TRUE(ownerDisabled);
    EXPECT_TRUE(timerRan);
    EXPECT_FALSE(Globals().fmOptions->Visible());
    EXPECT_EQ(Globals().fmOptions->ModalResult(), mrOk);
    EXPECT_EQ(Globals().fmOptions->SpinEdit1.Value(), 30);
    EXPECT_TRUE(IsWindowEnabled(explorer));
    EXPECT_FALSE(IsWindowVisible(win::ui::FindFormWindow(*Globals().fmOptions)->Handle()));
}

TEST_F(WinUiTest, PicturesOfTheDialogsAndTheTimer) {
    win::ui::InstallHosts(explorer);
    PaneWindow(Pane(), 980, 0, 300, 800);
    auto shoot = [&](const std::string& name, const std::function<void()>& open) {
        bool seen = false;
        WhileModal(open, [&](TForm& f) {
            seen = true;
            win::ui::TFormWindow* w = win::ui::FindFormWindow(f);
            ASSERT_NE(w, nullptr);
            EXPECT_TRUE(IsWindowVisible(w->Handle())) << name;
            Shot(name, {w->Handle()});
            f.Close();
        });
        EXPECT_TRUE(seen) << name;
    };
    shoot("dialog-new-task", [&] { static_cast<TMenuItem&>(Pane().ComponentByName("NewTask1")).Click(); });
    shoot("dialog-time-memo", [&] { static_cast<TMenuItem&>(Pane().ComponentByName("Newtimeentry1")).Click(); });
    shoot("dialog-find-task", [&] { m().adxRibbonTab1.Click("Find a task"); });
    shoot("dialog-about", [&] { m().adxRibbonTab1.Click("About"); });

    // The timer: a stay-on-top strip of fixed size where it puts itself, the screen's top right.
    m().adxRibbonTab1.Click("Timer");
    ASSERT_TRUE(Timer().Visible());
    windows.push_back(win::ui::CreateTopWindow(Timer(), explorer));
    Pump();
    HWND timer = windows.back()->Handle();
    EXPECT_TRUE(IsWindowVisible(timer));
    EXPECT_TRUE(GetWindowLongW(timer, GWL_EXSTYLE) & WS_EX_TOPMOST);
    EXPECT_FALSE(GetWindowLongW(timer, GWL_STYLE) & WS_THICKFRAME);
    RECT r;
    GetWindowRect(timer, &r);
    EXPECT_EQ(r.left, Timer().Left());
    EXPECT_EQ(r.top, Timer().Top());
    EXPECT_EQ(r.right - r.left, Timer().Width());
    Shot("timer", {timer});
    // The chooser, from the timer's own button: a borderless window below the timer.
    SendMessageW(windows.back()->ControlHandle(Timer().Button1), BM_CLICK, 0, 0);
    ASSERT_TRUE(Chooser().Visible());
    windows.push_back(win::ui::CreateTopWindow(Chooser(), explorer));
    Pump();
    GetWindowRect(windows.back()->Handle(), &r);
    EXPECT_EQ(r.top, Chooser().Top());
    Shot("dialog-choose-task", {windows.back()->Handle()});
    Chooser().Close();
}

TEST_F(WinUiTest, PicturesOfTheExplorerWithTheTaskPaneAndEachItemPane) {
    Entry(acme, Date(), 60, "site visit");
    PaneWindow(Pane(), 980, 0, 300, 800);
    const char* names[] = {"", "timesheet", "emails", "notes", "contacts", "appointments"};
    for (int i = 1; i < m().adxOlFormsManager1.Count(); ++i) {
        m().adxOlFormsManager1.ActivatePane(i);
        TForm* form = m().adxOlFormsManager1.Items(i).CurrentForm();
        ASSERT_NE(form, nullptr);
        auto window = win::ui::CreatePaneWindow(*form, explorer);
        window->SetBounds(0, 480, 980, 320);
        Pump();
        // Every control of the pane that shows has a window that shows.
        for (TComponent* c : form->Components()) {
            auto* control = dynamic_cast<TControl*>(c);
            HWND h = control && control->Showing() ? window->ControlHandle(*control) : nullptr;
            if (h) {
                EXPECT_TRUE(IsWindowVisible(h)) << control->Name();
            }
        }
        Shot(std::string("explorer-") + names[i]);
    }
}

TEST_F(WinUiTest, ARightClickOnATaskShowsTheTaskMenuWithItsPicturesAtThePointer) {
    win::ui::InstallHosts(explorer);
    Tree().FullExpand();
    win::ui::TFormWindow& pane = PaneWindow(Pane(), 980, 0, 300, 800);
    HWND tree = pane.ControlHandle(Tree());
    ASSERT_NE(tree, nullptr);
    // The second line: Acme Ltd.
    HTREEITEM second = TreeView_GetNextVisible(tree, TreeView_GetRoot(tree));
    RECT r;
    std::memcpy(&r, &second, sizeof second);
    ASSERT_TRUE(SendMessageW(tree, TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&r)));

    std::vector<std::string> shown;
    POINT at{};
    WhileMenu([&] { ClickAt(tree, (r.left + r.right) / 2, (r.top + r.bottom) / 2, true); },
              [&](HMENU menu) {
                  shown = MenuEntries(menu);
                  RECT box;
                  GetWindowRect(ShownMenu(), &box);
                  at = POINT{box.left, box.top};
                  Shot("menu-task", {ShownMenu(), pane.Handle()});
              });
    // Every entry the menu holds, in order, each with its picture.
    std::vector<std::string> want;
    ASSERT_NE(Tree().PopupMenu, nullptr);
    const TMenuItem& items = Tree().PopupMenu->Items();
    for (int i = 0; i < items.Count(); ++i) {
        const TMenuItem& item = items.Items(i);
        if (item.Visible() && !item.IsSeparator()) want.push_back(item.Caption() + (item.ImageIndex() >= 0 ? "+picture" : ""));
    }
    EXPECT_EQ(shown, want);
    EXPECT_EQ(shown.front(), "New &root task+picture");
    // At the pointer, on the task clicked, which took the focus.
    POINT pointer{(r.left + r.right) / 2, (r.top + r.bottom) / 2};
    ClientToScreen(tree, &pointer);
    EXPECT_LE(std::abs(at.x - pointer.x), 4);
    EXPECT_LE(std::abs(at.y - pointer.y), 4);
    EXPECT_EQ(Tree().FocusedNode(), Node(acme));
}
