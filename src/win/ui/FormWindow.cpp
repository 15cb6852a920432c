// The form windows: top-level or pane, their containers, the layout and the refresh.
#include "win/ui/FormWindowImpl.h"

#include <algorithm>
#include <cstdio>

#include "toolkit/Layout.h"
#include "win/ui/VisualStyles.h"

namespace win::ui {

const wchar_t* const kContainerClass = L"CorvelleContainer";

namespace {

constexpr wchar_t kFormClass[] = L"CorvelleForm";
constexpr wchar_t kRefreshClass[] = L"CorvelleRefresh";
constexpr UINT kRefreshMessage = WM_APP + 1;
constexpr UINT_PTR kPollTimer = 1;        // the refresh twice a second
constexpr UINT_PTR kFirstFormTimer = 100; // the form's TTimers
constexpr UINT_PTR kFirstViewTimer = 1000;

std::vector<TFormWindowImpl*>& Windows() {
    static std::vector<TFormWindowImpl*> windows;
    return windows;
}
bool refreshing = false;
bool refreshPending = false;
bool formTimersRun = true;
HWND refreshWindow = nullptr;

TView* FindView(HWND hwnd) {
    for (TFormWindowImpl* w : Windows())
        if (TView* v = w->ViewOfWindow(hwnd)) return v;
    return nullptr;
}

// What containers pass on: the notifications of their children go to the children's views.
bool Forward(HWND self, UINT msg, WPARAM wp, LPARAM lp, LRESULT& result) {
    switch (msg) {
    case WM_COMMAND:
        if (lp) {
            if (TView* v = FindView(reinterpret_cast<HWND>(lp))) return v->Command(reinterpret_cast<HWND>(lp), HIWORD(wp), LOWORD(wp));
        }
        return false;
    case WM_NOTIFY: {
        auto* h = reinterpret_cast<NMHDR*>(lp);
        if (TView* v = FindView(h->hwndFrom)) return v->Notify(h, result);
        return false;
    }
    case WM_DRAWITEM: {
        auto* d = reinterpret_cast<DRAWITEMSTRUCT*>(lp);
        if (TView* v = FindView(d->hwndItem)) {
            result = TRUE;
            return v->DrawItem(d);
        }
        return false;
    }
    case WM_MEASUREITEM: {
        auto* m = reinterpret_cast<MEASUREITEMSTRUCT*>(lp);
        // A list view asks by its control id.
        if (TView* v = FindView(GetDlgItem(self, static_cast<int>(m->CtlID)))) {
            result = TRUE;
            return v->MeasureItem(m);
        }
        return false;
    }
    case WM_VSCROLL:
    case WM_HSCROLL:
        if (lp) {
            if (TView* v = FindView(reinterpret_cast<HWND>(lp))) {
                NMHDR h{reinterpret_cast<HWND>(lp), 0, static_cast<UINT>(msg)};
                return v->Notify(&h, result);
            }
        }
        return false;
    default:
        return false;
    }
}

LRESULT CALLBACK ContainerProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
    LRESULT result = 0;
    if (Forward(hwnd, msg, wp, lp, result)) return result;
    if (msg == WM_PAINT) {
        PAINTSTRUCT ps;
        HDC dc = BeginPaint(hwnd, &ps);
        RECT r;
        GetClientRect(hwnd, &r);
        FillRect(dc, &r, GetSysColorBrush(COLOR_BTNFACE));
        // A panel shows its caption in its middle; a group box a frame with its caption on it.
        auto* view = reinterpret_cast<TView*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
        HGDIOBJ old = SelectObject(dc, DialogFont());
        SetBkMode(dc, TRANSPARENT);
        SetTextColor(dc, GetSysColor(COLOR_BTNTEXT));
        if (auto* panel = view ? dynamic_cast<TPanel*>(&view->Control()) : nullptr; panel && !panel->Caption().empty()) {
            std::wstring text = W(panel->Caption());
            DrawTextW(dc, text.c_str(), -1, &r, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
        } else if (auto* box = view ? dynamic_cast<TGroupBox*>(&view->Control()) : nullptr) {
            std::wstring text = W(box->Caption());
            SIZE size{};
            GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
            RECT frame{r.left, r.top + size.cy / 2, r.right, r.bottom};
            DrawEdge(dc, &frame, EDGE_ETCHED, BF_RECT);
            if (!text.empty()) {
                RECT label{r.left + 6, r.top, r.left + 10 + size.cx, r.top + size.cy};
                FillRect(dc, &label, GetSysColorBrush(COLOR_BTNFACE));
                label.left += 2;
                DrawTextW(dc, text.c_str(), -1, &label, DT_LEFT | DT_TOP | DT_SINGLELINE | DT_NOPREFIX);
            }
        }
        SelectObject(dc, old);
        EndPaint(hwnd, &ps);
        return 0;
    }
    if (msg == WM_ERASEBKGND) return 1;
    return DefWindowProcW(hwnd, msg, wp, lp);
}

LRESULT CALLBACK FormProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
    if (msg == WM_NCCREATE) {
        auto* cs = reinterpret_cast<CREATESTRUCTW*>(lp);
        SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(cs->lpCreateParams));
    }
    auto* self = reinterpret_cast<TFormWindowImpl*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    LRESULT result = 0;
    if (self && self->Handle(msg, wp, lp, result)) return result;
    if (Forward(hwnd, msg, wp, lp, result)) return result;
    return DefWindowProcW(hwnd, msg, wp, lp);
}

LRESULT CALLBACK RefreshProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
    if (msg == kRefreshMessage || (msg == WM_TIMER && wp == kPollTimer)) {
        if (msg == kRefreshMessage) refreshPending = false;
        RefreshAll();
        return 0;
    }
    return DefWindowProcW(hwnd, msg, wp, lp);
}

}  // namespace

void RegisterClasses() {
    static bool done = false;
    if (done) return;
    done = true;
    TStyledScope styled;
    INITCOMMONCONTROLSEX icc{sizeof(icc), ICC_WIN95_CLASSES | ICC_DATE_CLASSES | ICC_TAB_CLASSES | ICC_BAR_CLASSES |
                                              ICC_LISTVIEW_CLASSES | ICC_TREEVIEW_CLASSES | ICC_UPDOWN_CLASS};
    InitCommonControlsEx(&icc);
    HINSTANCE inst = GetModuleHandleW(nullptr);
    WNDCLASSW wc{};
    wc.hInstance = inst;
    wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    wc.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    wc.lpfnWndProc = FormProc;
    wc.lpszClassName = kFormClass;
    RegisterClassW(&wc);
    wc.lpfnWndProc = ContainerProc;
    wc.lpszClassName = kContainerClass;
    RegisterClassW(&wc);
    wc.lpfnWndProc = RefreshProc;
    wc.lpszClassName = kRefreshClass;
    RegisterClassW(&wc);
    refreshWindow = CreateWindowExW(0, kRefreshClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, inst, nullptr);
    // What changes without an input of the user's (Outlook's events, a table filled) shows
    // within half a second.
    SetTimer(refreshWindow, kPollTimer, 500, nullptr);
}

void RequestRefresh() {
    if (refreshPending || !refreshWindow) return;
    refreshPending = true;
    PostMessageW(refreshWindow, kRefreshMessage, 0, 0);
}

bool Refreshing() { return refreshing; }

namespace {
std::function<void()>& BeforeRefresh() {
    static std::function<void()> hook;
    return hook;
}
}  // namespace

void SetBeforeRefresh(std::function<void()> hook) { BeforeRefresh() = std::move(hook); }

void RefreshAll() {
    if (refreshing) return;
    if (BeforeRefresh()) Guarded("refresh", BeforeRefresh());
    refreshing = true;
    // A refresh may make or close windows: go by a copy.
    std::vector<TFormWindowImpl*> windows = Windows();
    for (TFormWindowImpl* w : windows)
        if (std::find(Windows().begin(), Windows().end(), w) != Windows().end())
            Guarded("refresh", [w] { w->Refresh(); });
    refreshing = false;
}

void SetFormTimersRun(bool run) { formTimersRun = run; }

TFormWindow* FindFormWindow(const TForm& form) {
    for (TFormWindowImpl* w : Windows())
        if (&w->Form() == &form) return w;
    return nullptr;
}

// ---------------------------------------------------------------------------------------------

TFormWindowImpl::TFormWindowImpl(TForm& form, HWND parent, bool topLevel) : form_(form), topLevel_(topLevel) {
    RegisterClasses();
    TStyledScope styled;
    HINSTANCE inst = GetModuleHandleW(nullptr);
    DWORD style = WS_CLIPCHILDREN, ex = WS_EX_CONTROLPARENT;
    int w = form.Width(), h = form.Height();
    if (topLevel) {
        switch (form.BorderStyle) {
        case TFormBorderStyle::bsNone: style |= WS_POPUP | WS_BORDER; break;
        case TFormBorderStyle::bsSingle: style |= WS_CAPTION; break;
        case TFormBorderStyle::bsDialog: style |= WS_CAPTION; ex |= WS_EX_DLGMODALFRAME; break;
        case TFormBorderStyle::bsToolWindow: style |= WS_CAPTION; ex |= WS_EX_TOOLWINDOW; break;
        case TFormBorderStyle::bsSizeable: style |= WS_CAPTION | WS_THICKFRAME; break;
        }
        if (form.BorderStyle != TFormBorderStyle::bsNone) {
            if (form.BorderIcons.SystemMenu) style |= WS_SYSMENU;
            if (form.BorderIcons.Minimize) style |= WS_MINIMIZEBOX;
            if (form.BorderIcons.Maximize && form.BorderStyle == TFormBorderStyle::bsSizeable) style |= WS_MAXIMIZEBOX;
        }
        if (form.FormStyle == TFormStyle::fsStayOnTop) ex |= WS_EX_TOPMOST;
        // The form's size is the window's, frame and caption included.
    } else {
        style |= WS_CHILD | WS_VISIBLE;
    }
    hwnd_ = CreateWindowExW(ex, kFormClass, W(form.Caption()).c_str(), style, 0, 0, w, h, parent, nullptr, inst, this);
    if (!hwnd_) throw EInvalidOperation("The window of " + form.Name() + " could not be made");
    tooltips_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX,
                                CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, hwnd_, nullptr, inst, nullptr);
    Windows().push_back(this);
    CreateViews(nullptr, hwnd_);
    Layout();
    // A box or panel that other controls of its parent stand on goes under them (windows made
    // later stand under those made before).
    for (auto& v : views_) {
        if (!dynamic_cast<TGroupBox*>(&v->Control()) && !dynamic_cast<TPanel*>(&v->Control())) continue;
        RECT box;
        GetWindowRect(v->Handle(), &box);
        for (HWND s = GetWindow(GetParent(v->Handle()), GW_CHILD); s; s = GetWindow(s, GW_HWNDNEXT)) {
            RECT other, common;
            GetWindowRect(s, &other);
            if (s != v->Handle() && IntersectRect(&common, &box, &other)) {
                SetWindowPos(v->Handle(), HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
                break;
            }
        }
    }
    Refresh();
}

TFormWindowImpl::~TFormWindowImpl() {
    Windows().erase(std::remove(Windows().begin(), Windows().end(), this), Windows().end());
    views_.clear();
    if (IsWindow(hwnd_)) {
        SetWindowLongPtrW(hwnd_, GWLP_USERDATA, 0);
        DestroyWindow(hwnd_);
    }
}

void TFormWindowImpl::CreateViews(const TControl* parent, HWND parentWindow) {
    TFormLayout layout(form_, form_.Width(), form_.Height());
    std::vector<TControl*> children = layout.Children(parent);
    // The Tab key's order: TabOrder first, then the order of making.
    std::stable_sort(children.begin(), children.end(), [](TControl* a, TControl* b) {
        int ta = a->TabOrder < 0 ? 1 << 20 : a->TabOrder, tb = b->TabOrder < 0 ? 1 << 20 : b->TabOrder;
        return ta < tb;
    });
    for (TControl* c : children) {
        std::unique_ptr<TView> view = MakeView(*this, *c);
        if (!view) continue;
        view->Create(parentWindow);
        TView* v = view.get();
        byControl_[c] = v;
        if (v->Handle()) byWindow_[v->Handle()] = v;
        views_.push_back(std::move(view));
        CreateViews(c, v->ChildArea() ? v->ChildArea() : parentWindow);
    }
}

TView* TFormWindowImpl::ViewOf(const TControl& control) const {
    auto it = byControl_.find(&control);
    return it == byControl_.end() ? nullptr : it->second;
}

TView* TFormWindowImpl::ViewOfWindow(HWND hwnd) const {
    auto it = byWindow_.find(hwnd);
    return it == byWindow_.end() ? nullptr : it->second;
}

HWND TFormWindowImpl::ControlHandle(const TControl& control) const {
    TView* v = ViewOf(control);
    return v ? v->Handle() : nullptr;
}

void TFormWindowImpl::SetBounds(int x, int y, int w, int h) {
    MoveWindow(hwnd_, x, y, w, h, TRUE);
    placed_ = true;
    Layout();
}

void TFormWindowImpl::Layout() {
    RECT r;
    GetClientRect(hwnd_, &r);
    TFormLayout layout(form_, r.right, r.bottom, DesignClientWidth(form_, topLevel_), DesignClientHeight(form_, topLevel_));
    for (auto& v : views_) {
        TRect b = layout.Bounds(v->Control());
        v->Place(b.Left, b.Top, b.Right - b.Left, b.Bottom - b.Top);
    }
}

void TFormWindowImpl::StartViewTimer(TView& view, int milliseconds) {
    for (auto& [id, v] : viewTimers_)
        if (v == &view) {
            SetTimer(hwnd_, id, static_cast<UINT>(milliseconds), nullptr);
            return;
        }
    UINT_PTR id = kFirstViewTimer + viewTimers_.size();
    viewTimers_[id] = &view;
    SetTimer(hwnd_, id, static_cast<UINT>(milliseconds), nullptr);
}

void TFormWindowImpl::StopViewTimer(TView& view) {
    for (auto& [id, v] : viewTimers_)
        if (v == &view) KillTimer(hwnd_, id);
}

void TFormWindowImpl::SyncTimers() {
    UINT_PTR next = kFirstFormTimer;
    for (TComponent* c : form_.Components()) {
        auto* t = dynamic_cast<TTimer*>(c);
        if (!t) continue;
        UINT_PTR id = next++;
        formTimers_[id] = t;
        // A timer runs while it is enabled and its form is shown.
        int want = formTimersRun && t->Enabled() && form_.Visible() ? std::max(1, t->Interval()) : 0;
        int& running = runningTimers_[t];
        if (want == running) continue;
        if (want) SetTimer(hwnd_, id, static_cast<UINT>(want), nullptr);
        else KillTimer(hwnd_, id);
        running = want;
    }
}

void TFormWindowImpl::SyncTopWindow() {
    if (!topLevel_) return;
    SetText(hwnd_, form_.Caption());
    const bool shown = IsWindowVisible(hwnd_) != FALSE;
    if (form_.Visible() && !shown) {
        if (!placed_) {
            // Where the form put itself (its own code centres its dialogs in the work area and
            // puts the timer in the top right); a form that never placed itself is centred.
            int x = form_.Left(), y = form_.Top();
            if (x == 0 && y == 0) {
                RECT work;
                SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
                x = work.left + (work.right - work.left - form_.Width()) / 2;
                y = work.top + (work.bottom - work.top - form_.Height()) / 2;
            }
            SetWindowPos(hwnd_, form_.FormStyle == TFormStyle::fsStayOnTop ? HWND_TOPMOST : nullptr, x, y, 0, 0,
                         SWP_NOSIZE | SWP_NOACTIVATE | (form_.FormStyle == TFormStyle::fsStayOnTop ? 0 : SWP_NOZORDER));
            placedAt_ = {x, y};
            placed_ = true;
        }
        ShowWindow(hwnd_, SW_SHOW);
        SetForegroundWindow(hwnd_);
    } else if (!form_.Visible() && shown) {
        ShowWindow(hwnd_, SW_HIDE);
    }
    // The form moved itself (the chooser under the timer): the window follows.
    if (placed_ && (form_.Left() != 0 || form_.Top() != 0) && (form_.Left() != placedAt_.x || form_.Top() != placedAt_.y)) {
        SetWindowPos(hwnd_, nullptr, form_.Left(), form_.Top(), 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
        placedAt_ = {form_.Left(), form_.Top()};
    }
}

void TFormWindowImpl::SyncFocus() {
    TControl* active = form_.ActiveControl();
    if (!active || !IsWindowVisible(hwnd_)) return;
    HWND focus = GetFocus();
    // Only within this form's window: a pane does not take the focus from the user's window.
    if (!focus || (focus != hwnd_ && !IsChild(hwnd_, focus))) {
        if (!topLevel_ || GetActiveWindow() != hwnd_) return;
    }
    TView* v = ViewOf(*active);
    if (!v || !v->Handle()) return;
    HWND target = v->Handle();
    if (focus == target || IsChild(target, focus)) return;
    // A view made of a container focuses its first child (the edit of a search list).
    if (HWND inner = GetWindow(target, GW_CHILD)) {
        wchar_t cls[64] = {};
        GetClassNameW(target, cls, 64);
        if (std::wstring(cls) == kContainerClass) target = inner;
    }
    SetFocus(target);
}

void TFormWindowImpl::Refresh() {
    const bool was = refreshing;
    refreshing = true;
    SyncTopWindow();
    for (auto& v : views_) Guarded("refresh", [&v] { v->Refresh(); });
    SyncTimers();
    SyncFocus();
    refreshing = was;
}

bool TFormWindowImpl::Handle(UINT msg, WPARAM wp, LPARAM lp, LRESULT& result) {
    switch (msg) {
    case WM_SIZE:
        Layout();
        return false;
    case WM_TIMER:
        if (auto t = formTimers_.find(wp); t != formTimers_.end()) {
            Guarded("timer", [&] { t->second->Tick(); });
            RequestRefresh();
        } else if (auto v = viewTimers_.find(wp); v != viewTimers_.end()) {
            KillTimer(hwnd_, wp);
            v->second->Timer();
            RequestRefresh();
        }
        return true;
    case WM_CLOSE:
        // The close button asks the form, whose close event may keep it open.
        if (topLevel_) Guarded("close", [this] { form_.Dispatch([this] { form_.Close(); }); });
        RequestRefresh();
        return true;
    case WM_COMMAND:
        // The Enter and Escape keys of a dialog.
        if (lp == 0 && (LOWORD(wp) == IDOK || LOWORD(wp) == IDCANCEL)) {
            Guarded("key", [&] { LOWORD(wp) == IDOK ? form_.UserPressEnter() : form_.UserPressEscape(); });
            RequestRefresh();
            return true;
        }
        return false;
    default:
        return false;
    }
}

std::unique_ptr<TFormWindow> CreatePaneWindow(TForm& form, HWND parent) {
    return std::make_unique<TFormWindowImpl>(form, parent, false);
}

std::unique_ptr<TFormWindow> CreateTopWindow(TForm& form, HWND owner) {
    return std::make_unique<TFormWindowImpl>(form, owner, true);
}

}  // namespace win::ui
