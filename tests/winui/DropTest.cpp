// Outlook's items dragged onto the task tree, as OLE delivers such a drag: text offered, the node
// under the pointer focused while the drag passes over it, and the drop's menu shown at the
// pointer. A drag that offers no text is refused and changes nothing.
#include "WinUiFixture.h"

#include <ole2.h>

#include <cstdlib>
#include <cstring>

#include "win/ui/DropTarget.h"

namespace {

// The user's hand: the pointer goes to each point in turn, and the button is let go at the last.
class TDragHand : public IDropSource {
public:
    explicit TDragHand(std::vector<POINT> path) : path_(std::move(path)) {}
    virtual ~TDragHand() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (iid == IID_IUnknown || iid == IID_IDropSource) {
            *out = static_cast<IDropSource*>(this);
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE QueryContinueDrag(BOOL escape, DWORD) override {
        if (escape) return DRAGDROP_S_CANCEL;
        // A few turns at each point, so that the drag passes over it.
        size_t at = step_++ / 4;
        if (at >= path_.size()) return DRAGDROP_S_DROP;
        SetCursorPos(path_[at].x, path_[at].y);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GiveFeedback(DWORD) override { return DRAGDROP_S_USEDEFAULTCURSORS; }

private:
    std::vector<POINT> path_;
    size_t step_ = 0;
};

class TMenuSeen : public IPopupHost {
public:
    void ShowPopup(TPopupMenu& menu, int x, int y) override {
        shown = &menu;
        at = POINT{x, y};
    }
    TPopupMenu* shown = nullptr;
    POINT at{};
};

}  // namespace

TEST_F(WinUiTest, TextDraggedOntoATaskFocusesTheTasksPassedOverAndTheDropOpensTheMenu) {
    OleInitialize(nullptr);
    win::ui::TFormWindow& pane = PaneWindow(Pane(), 980, 0, 300, 800);
    HWND tree = pane.ControlHandle(Tree());
    Tree().FullExpand();
    win::ui::RefreshAll();
    Pump();
    auto pointAt = [&](int id) {
        HTREEITEM item = TreeView_GetRoot(tree);
        std::vector<HTREEITEM> shown;
        for (; item; item = TreeView_GetNextVisible(tree, item)) shown.push_back(item);
        auto nodes = Tree().VisibleNodes();
        for (size_t i = 0; i < nodes.size(); ++i)
            if (nodes[i] == Node(id)) {
                RECT r;
                std::memcpy(&r, &shown[i], sizeof(HTREEITEM));
                SendMessageW(tree, TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&r));
                POINT p{(r.left + r.right) / 2, (r.top + r.bottom) / 2};
                ClientToScreen(tree, &p);
                return p;
            }
        return POINT{};
    };
    TMenuSeen menus;
    IPopupHost* previous = SetPopupHost(&menus);

    // A drag without text: refused, nothing focused, no menu.
    Focus(acme);
    {
        win::ui::TTextDataObject data(L"", false);
        TDragHand hand({pointAt(borealis), pointAt(borealis)});
        DWORD effect = DROPEFFECT_NONE;
        DoDragDrop(&data, &hand, DROPEFFECT_COPY | DROPEFFECT_MOVE, &effect);
        EXPECT_EQ(effect, static_cast<DWORD>(DROPEFFECT_NONE));
        EXPECT_EQ(Tree().FocusedNode(), Node(acme));
        EXPECT_EQ(menus.shown, nullptr);
    }
    // Mails dragged over Acme to Borealis and dropped there.
    {
        win::ui::TTextDataObject data(L"Quote for the new hull");
        TDragHand hand({pointAt(acme), pointAt(borealis), pointAt(borealis)});
        DWORD effect = DROPEFFECT_NONE;
        DoDragDrop(&data, &hand, DROPEFFECT_COPY | DROPEFFECT_MOVE, &effect);
        Pump();
        EXPECT_EQ(Tree().FocusedNode(), Node(borealis));
        ASSERT_NE(menus.shown, nullptr);
        EXPECT_EQ(menus.shown->Owner(), &Pane());
    }
    SetPopupHost(previous);
}

TEST_F(WinUiTest, TheDropMenuShowsAtThePointerAndEscapingItFilesNothing) {
    OleInitialize(nullptr);
    win::ui::InstallHosts(explorer);
    win::ui::TFormWindow& pane = PaneWindow(Pane(), 980, 0, 300, 800);
    HWND tree = pane.ControlHandle(Tree());
    Tree().FullExpand();
    win::ui::RefreshAll();
    Pump();
    // The pointer on Borealis Shipping, the third line.
    HTREEITEM third = TreeView_GetNextVisible(tree, TreeView_GetNextVisible(tree, TreeView_GetRoot(tree)));
    RECT r;
    std::memcpy(&r, &third, sizeof third);
    ASSERT_TRUE(SendMessageW(tree, TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&r)));
    POINT over{(r.left + r.right) / 2, (r.top + r.bottom) / 2};
    ClientToScreen(tree, &over);
    const int filed = Globals().MemDataEmails->RecordCount();
    // The system's pointer, as the add-in reads it at the drop.
    host_->Screen->SetCursorPos({over.x, over.y});

    std::vector<std::string> shown;
    POINT at{};
    WhileMenu(
        [&] {
            win::ui::TTextDataObject data(L"Quote for the new hull");
            TDragHand hand({over, over});
            DWORD effect = DROPEFFECT_NONE;
            DoDragDrop(&data, &hand, DROPEFFECT_COPY | DROPEFFECT_MOVE, &effect);
        },
        [&](HMENU menu) {
            shown = MenuEntries(menu);
            RECT box;
            GetWindowRect(ShownMenu(), &box);
            at = POINT{box.left, box.top};
            Shot("menu-drop", {ShownMenu(), pane.Handle()});
        });
    // At the pointer, on the task dropped on.
    EXPECT_LE(std::abs(at.x - over.x), 4);
    EXPECT_LE(std::abs(at.y - over.y), 4);
    EXPECT_EQ(Tree().FocusedNode(), Node(borealis));
    ASSERT_FALSE(shown.empty());
    EXPECT_EQ(shown.front(), "Copy here");
    EXPECT_EQ(shown.back(), "Cancel");
    Pump();
    EXPECT_EQ(Globals().MemDataEmails->RecordCount(), filed);
}
