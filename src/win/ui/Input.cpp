// The script's user actions as the input of the forms' windows.
#include "win/ui/Input.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <optional>

#include "sim/ScriptHost.h"
#include "toolkit/ControlText.h"
#include "win/ui/DropTarget.h"
#include "win/ui/FormWindowImpl.h"

namespace win::ui {

namespace {

// The calls of the views that draw or bring windows up to date: no user's act among them.
bool Drawing(const char* where) {
    static const char* const names[] = {"refresh", "pictures", "picture", "style", "draw", "timer", "desktop"};
    return std::any_of(std::begin(names), std::end(names), [&](const char* n) { return std::strcmp(n, where) == 0; });
}

// Watches the views' calls while one action's messages are sent: which user calls came, and the
// first failure among them, kept for the caller as the headless call would have passed it on.
class TCallWatch final : public IGuardWatch {
public:
    TCallWatch() : previous_(SetGuardWatch(this)) {}
    ~TCallWatch() { End(); }
    TCallWatch(const TCallWatch&) = delete;
    TCallWatch& operator=(const TCallWatch&) = delete;

    void Run(const char* where, const std::function<void()>& call) override {
        if (Drawing(where)) {
            IGuardWatch* self = SetGuardWatch(previous_);
            Guarded(where, call);
            SetGuardWatch(self);
            return;
        }
        calls_.emplace_back(where);
        try {
            call();
        } catch (...) {
            if (!error_) error_ = std::current_exception();
        }
    }
    void End() {
        if (ended_) return;
        ended_ = true;
        SetGuardWatch(previous_);
    }
    int Count(std::initializer_list<const char*> names) const {
        int n = 0;
        for (const std::string& c : calls_)
            for (const char* name : names)
                if (c == name) ++n;
        return n;
    }
    bool Seen(const char* name) const { return Count({name}) > 0; }
    std::exception_ptr Error() const { return error_; }

private:
    IGuardWatch* previous_;
    bool ended_ = false;
    std::vector<std::string> calls_;
    std::exception_ptr error_;
};

std::wstring ClassOf(HWND hwnd) {
    wchar_t name[64] = {};
    GetClassNameW(hwnd, name, 64);
    return name;
}

// The first child window of a class (the edit of a search list, the tab control of a page
// control, the list view of a grid).
HWND ChildOfClass(HWND parent, const wchar_t* cls) {
    for (HWND c = GetWindow(parent, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
        if (_wcsicmp(ClassOf(c).c_str(), cls) == 0) return c;
    return nullptr;
}

// A message a control sends its parent, as the control would send it.
void Command(HWND control, int code) {
    SendMessageW(GetParent(control), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(control), code), reinterpret_cast<LPARAM>(control));
}

// The left button pressed and let go at a point of the window's client area (twice: the second
// press of a double click). The button's release is queued before the press is sent, as the
// controls that watch for a drag while the button is down read it from the queue; the button
// reads as down meanwhile.
void ClickAt(HWND hwnd, POINT at, bool twice) {
    BYTE keys[256] = {};
    GetKeyboardState(keys);
    const BYTE before = keys[VK_LBUTTON];
    keys[VK_LBUTTON] = 0x80;
    SetKeyboardState(keys);
    const LPARAM lp = MAKELPARAM(at.x, at.y);
    PostMessageW(hwnd, WM_LBUTTONUP, 0, lp);
    SendMessageW(hwnd, twice ? WM_LBUTTONDBLCLK : WM_LBUTTONDOWN, MK_LBUTTON, lp);
    GetKeyboardState(keys);
    keys[VK_LBUTTON] = 0;
    SetKeyboardState(keys);
    MSG msg;
    while (PeekMessageW(&msg, hwnd, WM_LBUTTONUP, WM_LBUTTONUP, PM_REMOVE)) DispatchMessageW(&msg);
    GetKeyboardState(keys);
    keys[VK_LBUTTON] = before;
    SetKeyboardState(keys);
}

bool InClient(HWND hwnd, POINT p) {
    RECT client;
    GetClientRect(hwnd, &client);
    return PtInRect(&client, p) != FALSE;
}

// What a user types: the whole text selected and replaced.
void Type(HWND edit, const std::string& text) {
    SendMessageW(edit, EM_SETSEL, 0, -1);
    SendMessageW(edit, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(W(text).c_str()));
}

// Lets the queued messages and timers run until the watch sees the call, for at most a while.
void PumpUntil(const TCallWatch& watch, const char* call, DWORD milliseconds) {
    const DWORD start = GetTickCount();
    MSG msg;
    while (!watch.Seen(call) && GetTickCount() - start < milliseconds) {
        if (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        } else {
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
        }
    }
}

// ---- the tree --------------------------------------------------------------------------------

HTREEITEM ItemOfNode(HWND tree, HTREEITEM from, const TcxTreeListNode* node) {
    for (HTREEITEM item = from; item; item = TreeView_GetNextSibling(tree, item)) {
        TVITEMW it{};
        it.mask = TVIF_PARAM;
        it.hItem = item;
        TreeView_GetItem(tree, &it);
        if (reinterpret_cast<const TcxTreeListNode*>(it.lParam) == node) return item;
        if (HTREEITEM found = ItemOfNode(tree, TreeView_GetChild(tree, item), node)) return found;
    }
    return nullptr;
}

const TcxTreeListNode* NodeOfItem(HWND tree, HTREEITEM item) {
    TVITEMW it{};
    it.mask = TVIF_PARAM;
    it.hItem = item;
    if (!item || !TreeView_GetItem(tree, &it)) return nullptr;
    return reinterpret_cast<const TcxTreeListNode*>(it.lParam);
}

// The point of the tree's client area where a click meets the node (nullptr: the empty space
// below the last line); false when the tree shows no such place now.
bool PointOfNode(HWND tree, const TcxTreeListNode* node, POINT& at) {
    RECT client;
    GetClientRect(tree, &client);
    if (!node) {
        HTREEITEM last = TreeView_GetLastVisible(tree);
        RECT r{};
        if (last && !TreeView_GetItemRect(tree, last, &r, FALSE)) return false;
        at = {client.left + 4, last ? r.bottom + 3 : client.top + 3};
        if (!InClient(tree, at)) return false;
        TVHITTESTINFO hit{};
        hit.pt = at;
        return TreeView_HitTest(tree, &hit) == nullptr;
    }
    HTREEITEM item = ItemOfNode(tree, TreeView_GetRoot(tree), node);
    RECT r{};
    if (!item || !TreeView_GetItemRect(tree, item, &r, TRUE)) return false;
    at = {(r.left + r.right) / 2, (r.top + r.bottom) / 2};
    if (!InClient(tree, at)) {
        TreeView_EnsureVisible(tree, item);
        if (!TreeView_GetItemRect(tree, item, &r, TRUE)) return false;
        at = {(r.left + r.right) / 2, (r.top + r.bottom) / 2};
    }
    TVHITTESTINFO hit{};
    hit.pt = at;
    return InClient(tree, at) && NodeOfItem(tree, TreeView_HitTest(tree, &hit)) == node &&
           (hit.flags & TVHT_ONITEM) != 0;
}

// ---- the grid ----------------------------------------------------------------------------------

// The list's line that shows a record's first line, as the grid's view lays its lines out; -1
// when the record is not shown (its group closed).
int LineOfRecord(TcxGridDBTableView& view, int record) {
    int line = 0;
    for (const TcxGridViewRow& row : view.ViewRows()) {
        if (row.Kind == TcxGridRowKind::Record) {
            if (row.Index == record) return line;
            line += view.LineCount();
        } else {
            ++line;
        }
    }
    return -1;
}

bool PointOfRecord(HWND list, TcxGridDBTableView& view, int record, POINT& at) {
    const int count = static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
    if (record < 0) {
        RECT r{LVIR_BOUNDS, 0, 0, 0};
        RECT client;
        GetClientRect(list, &client);
        at = {client.left + 4, client.top + 3};
        if (count > 0) {
            if (!SendMessageW(list, LVM_GETITEMRECT, count - 1, reinterpret_cast<LPARAM>(&r))) return false;
            at.y = r.bottom + 3;
        }
        LVHITTESTINFO hit{};
        hit.pt = at;
        return InClient(list, at) && SendMessageW(list, LVM_HITTEST, 0, reinterpret_cast<LPARAM>(&hit)) < 0;
    }
    int line = LineOfRecord(view, record);
    if (line < 0 || line >= count) return false;
    auto locate = [&] {
        RECT r{LVIR_BOUNDS, 0, 0, 0};
        if (!SendMessageW(list, LVM_GETITEMRECT, line, reinterpret_cast<LPARAM>(&r))) return false;
        at = {r.left + 4, (r.top + r.bottom) / 2};
        return true;
    };
    if (!locate()) return false;
    if (!InClient(list, at)) {
        SendMessageW(list, LVM_ENSUREVISIBLE, line, FALSE);
        if (!locate()) return false;
    }
    LVHITTESTINFO hit{};
    hit.pt = at;
    return InClient(list, at) && SendMessageW(list, LVM_HITTEST, 0, reinterpret_cast<LPARAM>(&hit)) == line;
}

// ---- drags from other programs -------------------------------------------------------------------

// The point of the screen over the tree's line (past the last: the empty space below).
bool ScreenPointOfLine(HWND tree, TcxDBTreeList& model, int line, POINTL& out) {
    std::vector<TcxTreeListNode*> shown = model.VisibleNodes();
    const TcxTreeListNode* node = line >= 0 && line < static_cast<int>(shown.size()) ? shown[static_cast<size_t>(line)] : nullptr;
    POINT at{};
    if (!PointOfNode(tree, node, at)) return false;
    ClientToScreen(tree, &at);
    out = {at.x, at.y};
    return true;
}

// An Outlook drag (text, which the tree's drop ignores: the items come from Outlook's selection)
// brought to the tree's line and handed to its drop target; false when the tree has none or the
// line is not shown.
template <typename Act>
bool DragToLine(HWND tree, TcxDBTreeList& model, int line, Act act) {
    IDropTarget* drop = TextDropTarget(tree);
    POINTL at{};
    if (!drop || !ScreenPointOfLine(tree, model, line, at)) return false;
    TTextDataObject data(L"");
    DWORD effect = DROPEFFECT_COPY | DROPEFFECT_MOVE;
    act(drop, &data, at, &effect);
    return true;
}

bool TypedOnChange(const TControl& c) { return dynamic_cast<const TCustomEdit*>(&c) != nullptr; }
bool TypedOnLeave(const TControl& c) {
    return dynamic_cast<const TCurrencyEdit*>(&c) || dynamic_cast<const TTimeEdit*>(&c) ||
           dynamic_cast<const TNumericField*>(&c);
}

}  // namespace

HWND InputWindow(const TControl& control) {
    TForm* form = control.Owner();
    TFormWindow* window = form ? FindFormWindow(*form) : nullptr;
    HWND hwnd = window ? window->ControlHandle(control) : nullptr;
    if (!hwnd || !IsWindowVisible(hwnd) || !IsWindowEnabled(hwnd)) return nullptr;
    return hwnd;
}

template <class Deliver, class Direct>
void TWindowInput::Act(TControl& control, std::initializer_list<const char*> main, Deliver deliver, Direct direct) {
    RefreshAll();
    HWND hwnd = InputWindow(control);
    TCallWatch watch;
    const bool sent = hwnd && deliver(hwnd, watch);
    watch.End();
    const int made = watch.Count(main);
    if (made > 1)
        throw sim::EScriptError("the input to " + (control.Owner() ? control.Owner()->Name() + "." : std::string()) +
                                control.Name() + " reached it " + std::to_string(made) + " times");
    if (std::exception_ptr error = watch.Error()) {
        ++delivered_;
        RefreshAll();
        std::rethrow_exception(error);
    }
    if (sent && made == 1) {
        ++delivered_;
    } else {
        Headless(control);
        direct();
    }
    RefreshAll();
}

void TWindowInput::Headless(const TControl& control) {
    ++headless_;
    ++headlessControls_[(control.Owner() ? control.Owner()->Name() + "." : std::string()) + control.Name()];
}

void TWindowInput::Click(TControl& control) {
    Act(
        control, {"click"},
        [&](HWND hwnd, TCallWatch&) {
            const std::wstring cls = ClassOf(hwnd);
            if (_wcsicmp(cls.c_str(), L"Button") == 0) {
                SendMessageW(hwnd, BM_CLICK, 0, 0);
                return true;
            }
            if (_wcsicmp(cls.c_str(), L"Static") == 0) {
                RECT r;
                GetClientRect(hwnd, &r);
                const LPARAM lp = MAKELPARAM(r.right / 2, r.bottom / 2);
                SendMessageW(hwnd, WM_LBUTTONDOWN, MK_LBUTTON, lp);
                SendMessageW(hwnd, WM_LBUTTONUP, 0, lp);
                return true;
            }
            return false;  // a click into an edit or a list is a focus to the views
        },
        [&] { TDirectInput::Click(control); });
}

// A double click on a control that is neither tree nor grid has no view that tells it apart.
void TWindowInput::DblClick(TControl& control) {
    Headless(control);
    TDirectInput::DblClick(control);
}

void TWindowInput::Focus(TControl& control) {
    Act(
        control, {"focus"},
        [&](HWND hwnd, TCallWatch&) {
            HWND target = nullptr;
            if (TypedOnChange(control) || TypedOnLeave(control)) target = hwnd;
            else if (dynamic_cast<TSearchList*>(&control)) target = ChildOfClass(hwnd, L"Edit");
            if (!target) return false;
            if (GetFocus() == target) SetFocus(nullptr);
            SetFocus(target);
            return true;
        },
        [&] { TDirectInput::Focus(control); });
}

void TWindowInput::ClickItem(TControl& control, int index) {
    Act(
        control, {"page", "pick", "click"},
        [&](HWND hwnd, TCallWatch&) {
            if (dynamic_cast<TPageControl*>(&control)) {
                HWND tabs = ChildOfClass(hwnd, WC_TABCONTROLW);
                if (!tabs || index >= static_cast<int>(SendMessageW(tabs, TCM_GETITEMCOUNT, 0, 0))) return false;
                SendMessageW(tabs, TCM_SETCURSEL, index, 0);
                NMHDR h{tabs, static_cast<UINT_PTR>(GetDlgCtrlID(tabs)), static_cast<UINT>(TCN_SELCHANGE)};
                SendMessageW(GetParent(tabs), WM_NOTIFY, h.idFrom, reinterpret_cast<LPARAM>(&h));
                return true;
            }
            HWND list = nullptr;
            if (dynamic_cast<TListBox*>(&control)) list = hwnd;
            else if (dynamic_cast<TSearchList*>(&control)) list = ChildOfClass(hwnd, L"ListBox");
            if (list) {
                if (index >= static_cast<int>(SendMessageW(list, LB_GETCOUNT, 0, 0))) return false;
                SendMessageW(list, LB_SETCURSEL, index, 0);
                Command(list, LBN_SELCHANGE);
                return true;
            }
            if (dynamic_cast<TButtonGroup*>(&control)) {
                RECT r{};
                if (!SendMessageW(hwnd, TB_GETITEMRECT, index, reinterpret_cast<LPARAM>(&r))) return false;
                const LPARAM lp = MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
                SendMessageW(hwnd, WM_LBUTTONDOWN, MK_LBUTTON, lp);
                SendMessageW(hwnd, WM_LBUTTONUP, 0, lp);
                return true;
            }
            return false;
        },
        [&] { TDirectInput::ClickItem(control, index); });
}

void TWindowInput::Edit(TControl& control, const std::string& text) {
    Act(
        control, {"edit", "pick", "search"},
        [&](HWND hwnd, TCallWatch& watch) {
            // Line breaks are the memo's own to turn into the text's.
            if (text.find_first_of("\r\n") != std::string::npos) return false;
            if (TypedOnChange(control)) {
                Type(hwnd, text);
                return true;
            }
            if (TypedOnLeave(control)) {
                // Into the edit, the text typed, and out of it: the value goes over as it is left.
                SetFocus(hwnd);
                Type(hwnd, text);
                SetFocus(nullptr);
                return true;
            }
            if (auto* search = dynamic_cast<TSearchList*>(&control)) {
                HWND edit = ChildOfClass(hwnd, L"Edit");
                if (!edit) return false;
                Type(edit, text);
                // The search runs once the keys have paused.
                PumpUntil(watch, "search", static_cast<DWORD>(std::max(0, search->KeyDelay())) + 2000);
                return true;
            }
            if (dynamic_cast<TDateTimePicker*>(&control)) {
                NMDATETIMECHANGE change{};
                if (text.empty()) {
                    change.dwFlags = GDT_NONE;
                } else {
                    std::optional<TDateTime> date = toolkit::ReadDate(text);
                    int y = 0, m = 0, d = 0;
                    if (date) DecodeDate(*date, y, m, d);
                    char canonical[16];
                    std::snprintf(canonical, sizeof canonical, "%04d-%02d-%02d", y, m, d);
                    // The picker hands over its day as YYYY-MM-DD: another spelling goes headless.
                    if (!date || text != canonical) return false;
                    change.dwFlags = GDT_VALID;
                    change.st.wYear = static_cast<WORD>(y);
                    change.st.wMonth = static_cast<WORD>(m);
                    change.st.wDay = static_cast<WORD>(d);
                }
                SendMessageW(hwnd, DTM_SETSYSTEMTIME, change.dwFlags,
                             change.dwFlags == GDT_VALID ? reinterpret_cast<LPARAM>(&change.st) : 0);
                if (!watch.Seen("pick")) {
                    change.nmhdr = {hwnd, static_cast<UINT_PTR>(GetDlgCtrlID(hwnd)), static_cast<UINT>(DTN_DATETIMECHANGE)};
                    SendMessageW(GetParent(hwnd), WM_NOTIFY, change.nmhdr.idFrom, reinterpret_cast<LPARAM>(&change));
                }
                return true;
            }
            return false;
        },
        [&] { TDirectInput::Edit(control, text); });
}

void TWindowInput::ClickNode(TcxDBTreeList& tree, TcxTreeListNode* node, bool twice) {
    Act(
        tree, {twice ? "double click" : "click"},
        [&](HWND hwnd, TCallWatch&) {
            POINT at{};
            if (!PointOfNode(hwnd, node, at)) return false;
            ClickAt(hwnd, at, twice);
            return true;
        },
        [&] { TDirectInput::ClickNode(tree, node, twice); });
}

// The keyboard's move to a node: the tree view selects it and tells so.
void TWindowInput::FocusNode(TcxDBTreeList& tree, TcxTreeListNode* node) {
    Act(
        tree, {"focus node"},
        [&](HWND hwnd, TCallWatch&) {
            HTREEITEM item = node ? ItemOfNode(hwnd, TreeView_GetRoot(hwnd), node) : nullptr;
            RECT r{};
            // A node under a closed one is out of the keyboard's reach.
            if (!item || !TreeView_GetItemRect(hwnd, item, &r, FALSE)) return false;
            TreeView_SelectItem(hwnd, item);
            NMTREEVIEWW changed{};
            changed.hdr = {hwnd, static_cast<UINT_PTR>(GetDlgCtrlID(hwnd)), static_cast<UINT>(TVN_SELCHANGEDW)};
            changed.action = TVC_BYKEYBOARD;
            changed.itemNew.mask = TVIF_HANDLE | TVIF_PARAM;
            changed.itemNew.hItem = item;
            changed.itemNew.lParam = reinterpret_cast<LPARAM>(node);
            SendMessageW(GetParent(hwnd), WM_NOTIFY, changed.hdr.idFrom, reinterpret_cast<LPARAM>(&changed));
            return true;
        },
        [&] { TDirectInput::FocusNode(tree, node); });
}

void TWindowInput::ClickRecord(TcxGridDBTableView& view, int index, bool twice) {
    Act(
        view, {twice ? "double click" : "click"},
        [&](HWND hwnd, TCallWatch&) {
            HWND list = ChildOfClass(hwnd, WC_LISTVIEWW);
            POINT at{};
            if (!list || !IsWindowVisible(list) || !PointOfRecord(list, view, index, at)) return false;
            ClickAt(list, at, twice);
            return true;
        },
        [&] { TDirectInput::ClickRecord(view, index, twice); });
}

// The keyboard's move to a record: the list's focus moves to the record's first line.
void TWindowInput::FocusRecord(TcxGridDBTableView& view, int index) {
    Act(
        view, {"focus"},
        [&](HWND hwnd, TCallWatch&) {
            HWND list = ChildOfClass(hwnd, WC_LISTVIEWW);
            const int line = index >= 0 ? LineOfRecord(view, index) : -1;
            if (!list || !IsWindowVisible(list) || line < 0) return false;
            LVITEMW state{};
            state.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
            state.state = LVIS_SELECTED | LVIS_FOCUSED;
            SendMessageW(list, LVM_SETITEMSTATE, line, reinterpret_cast<LPARAM>(&state));
            return true;
        },
        [&] { TDirectInput::FocusRecord(view, index); });
}

void TWindowInput::DragOver(TcxDBTreeList& tree, TDMTextTarget& target, int line) {
    Act(
        tree, {"drag over"},
        [&](HWND hwnd, TCallWatch&) {
            // The drag comes over the line and goes on beyond the tree.
            return DragToLine(hwnd, tree, line, [](IDropTarget* drop, IDataObject* data, POINTL at, DWORD* effect) {
                drop->DragEnter(data, MK_LBUTTON, at, effect);
                drop->DragLeave();
            });
        },
        [&] { TDirectInput::DragOver(tree, target, line); });
}

void TWindowInput::Drop(TcxDBTreeList& tree, TDMTextTarget& target, int line) {
    Act(
        tree, {"drop"},
        [&](HWND hwnd, TCallWatch&) {
            return DragToLine(hwnd, tree, line, [](IDropTarget* drop, IDataObject* data, POINTL at, DWORD* effect) {
                drop->Drop(data, 0, at, effect);
            });
        },
        [&] { TDirectInput::Drop(tree, target, line); });
}

void TWindowInput::DragNode(TcxDBTreeList& tree, TcxTreeListNode* node, TcxTreeListNode* onto, int line) {
    Act(
        tree, {"node drag"},
        [&](HWND hwnd, TCallWatch&) {
            HTREEITEM item = ItemOfNode(hwnd, TreeView_GetRoot(hwnd), node);
            POINT from{}, to{};
            if (!item || !PointOfNode(hwnd, node, from) || !PointOfNode(hwnd, onto, to)) return false;
            // The tree view tells that a drag of the node began; the button is let go over the
            // node it is dropped on.
            NMTREEVIEWW begin{};
            begin.hdr = {hwnd, static_cast<UINT_PTR>(GetDlgCtrlID(hwnd)), static_cast<UINT>(TVN_BEGINDRAGW)};
            begin.itemNew.mask = TVIF_HANDLE | TVIF_PARAM;
            begin.itemNew.hItem = item;
            begin.itemNew.lParam = reinterpret_cast<LPARAM>(node);
            begin.ptDrag = from;
            SendMessageW(GetParent(hwnd), WM_NOTIFY, begin.hdr.idFrom, reinterpret_cast<LPARAM>(&begin));
            SendMessageW(hwnd, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(to.x, to.y));
            SendMessageW(hwnd, WM_LBUTTONUP, 0, MAKELPARAM(to.x, to.y));
            if (GetCapture() == hwnd) ReleaseCapture();
            return true;
        },
        [&] { TDirectInput::DragNode(tree, node, onto, line); });
}

}  // namespace win::ui
