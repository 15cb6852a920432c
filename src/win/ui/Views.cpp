// The views of the standard controls: labels, edits, memos, buttons, check boxes, spin edits,
// date pickers, decimal and duration edits, lists, the search list, panels, group boxes, pages,
// tool bars.
#include "win/ui/Views.h"

#include <cstdio>
#include <utility>

#include "platform/Text.h"
#include "win/ui/FormWindowImpl.h"
#include "win/ui/Pictures.h"
#include "win/ui/VisualStyles.h"

namespace win::ui {

std::wstring W(const std::string& utf8) {
    std::u16string u = platform::Utf8ToUtf16(utf8);
    return std::wstring(u.begin(), u.end());
}

std::string U(const std::wstring& wide) {
    return platform::Utf16ToUtf8(std::u16string(wide.begin(), wide.end()));
}

std::string WindowText(HWND hwnd) {
    int n = GetWindowTextLengthW(hwnd);
    std::wstring s(static_cast<size_t>(n) + 1, L'\0');
    GetWindowTextW(hwnd, s.data(), n + 1);
    s.resize(static_cast<size_t>(n));
    return U(s);
}

void SetText(HWND hwnd, const std::string& utf8) {
    if (WindowText(hwnd) != utf8) SetWindowTextW(hwnd, W(utf8).c_str());
}

namespace {
IGuardWatch* guardWatch = nullptr;
}

IGuardWatch* SetGuardWatch(IGuardWatch* watch) { return std::exchange(guardWatch, watch); }

void Guarded(const char* where, const std::function<void()>& call) {
    if (guardWatch) {
        guardWatch->Run(where, call);
        return;
    }
    try {
        call();
    } catch (const std::exception& e) {
        OutputDebugStringA((std::string("Corvelle ") + where + ": " + e.what() + "\n").c_str());
    } catch (...) {
        OutputDebugStringA((std::string("Corvelle ") + where + ": unknown error\n").c_str());
    }
}

HFONT DialogFont() {
    static HFONT font = [] {
        NONCLIENTMETRICSW m{};
        m.cbSize = sizeof(m);
        SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(m), &m, 0);
        return CreateFontIndirectW(&m.lfMessageFont);
    }();
    return font;
}

HWND TView::MakeWindow(HWND parent, const wchar_t* cls, const std::string& text, DWORD style, DWORD exStyle) {
    static int nextId = 100;
    TStyledScope styled;
    HWND h = CreateWindowExW(exStyle, cls, W(text).c_str(), WS_CHILD | WS_CLIPSIBLINGS | style, 0, 0, 10, 10, parent,
                             reinterpret_cast<HMENU>(static_cast<INT_PTR>(nextId++)), GetModuleHandleW(nullptr), nullptr);
    if (!h) throw EInvalidOperation("The window of " + control_.Name() + " could not be made");
    // Known before the font is set: an owner-drawn list asks for its lines' height then.
    owner_.Own(h, *this);
    SendMessageW(h, WM_SETFONT, reinterpret_cast<WPARAM>(DialogFont()), FALSE);
    return h;
}

void TView::Place(int x, int y, int w, int h) { MoveWindow(hwnd_, x, y, w, h, TRUE); }

void TView::Refresh() { RefreshCommon(hwnd_); }

void TView::RefreshCommon(HWND hwnd) { RefreshCommon(hwnd, control_.Visible()); }

void TView::RefreshCommon(HWND hwnd, bool visible) {
    if (((GetWindowLongW(hwnd, GWL_STYLE) & WS_VISIBLE) != 0) != visible) ShowWindow(hwnd, visible ? SW_SHOWNA : SW_HIDE);
    if ((IsWindowEnabled(hwnd) != FALSE) != control_.Enabled()) EnableWindow(hwnd, control_.Enabled());
    // The hint as a tooltip.
    if (HWND tips = owner_.Tooltips()) {
        TTTOOLINFOW ti{};
        ti.cbSize = sizeof(ti);
        ti.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
        ti.hwnd = GetParent(hwnd);
        ti.uId = reinterpret_cast<UINT_PTR>(hwnd);
        const bool has = SendMessageW(tips, TTM_GETTOOLINFOW, 0, reinterpret_cast<LPARAM>(&ti)) != 0;
        std::wstring hint = W(control_.Hint());
        if (has && hint.empty()) {
            SendMessageW(tips, TTM_DELTOOLW, 0, reinterpret_cast<LPARAM>(&ti));
        } else if (!hint.empty()) {
            ti.lpszText = hint.data();
            SendMessageW(tips, has ? TTM_UPDATETIPTEXTW : TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&ti));
        }
    }
}

namespace {

// A window that holds others: a panel (its caption in its middle), a group box (a frame with its
// caption), a page of a page control, a grid around its view.
class TContainerView : public TView {
public:
    using TView::TView;
    HWND ChildArea() const override { return hwnd_; }
    void Create(HWND parent) override {
        hwnd_ = MakeWindow(parent, kContainerClass, "", WS_VISIBLE | WS_CLIPCHILDREN, WS_EX_CONTROLPARENT);
        SetWindowLongPtrW(hwnd_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(static_cast<TView*>(this)));
    }
    void Refresh() override {
        // A page shows while it is its page control's active one.
        auto* sheet = dynamic_cast<TTabSheet*>(&control_);
        RefreshCommon(hwnd_, sheet ? sheet->Showing() : control_.Visible());
        // The container paints the caption of a panel or a group box.
        if (auto* c = dynamic_cast<TCaptionControl*>(&control_); c && c->Caption() != caption_) {
            caption_ = c->Caption();
            InvalidateRect(hwnd_, nullptr, TRUE);
        }
    }

private:
    std::string caption_;
};

class TLabelView : public TView {
public:
    using TView::TView;
    void Create(HWND parent) override {
        // A label's text wraps at its width, as far as its height lets it.
        hwnd_ = MakeWindow(parent, L"STATIC", "", WS_VISIBLE | SS_LEFT | SS_NOPREFIX | SS_NOTIFY);
    }
    void Refresh() override {
        RefreshCommon(hwnd_);
        SetText(hwnd_, static_cast<TCaptionControl&>(control_).Caption());
    }
    bool Command(HWND, int code, int) override {
        if (code != STN_CLICKED) return false;
        Guarded("click", [this] { control_.UserClick(); });
        RequestRefresh();
        return true;
    }
};

// The memo shows line breaks as a Windows edit needs them.
std::string CrLf(const std::string& s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\r' && i + 1 < s.size() && s[i + 1] == '\n') {
            out += "\r\n";
            ++i;
        } else if (s[i] == '\n' || s[i] == '\r') {
            out += "\r\n";
        } else {
            out += s[i];
        }
    }
    return out;
}

// An edit. Plain edits, memos and spin edits hand each change of the text to the control as the
// user's edit; the decimal, duration and number edits hand over the finished text when the focus
// leaves them (a half-typed number is no value). While the user types, the text shown is the
// user's until the control's own text changes.
class TEditView : public TView {
public:
    TEditView(TFormWindowImpl& owner, TControl& control, bool memo, bool onChange)
        : TView(owner, control), memo_(memo), onChange_(onChange) {}
    void Create(HWND parent) override {
        DWORD style = WS_VISIBLE | WS_TABSTOP | ES_AUTOHSCROLL;
        if (memo_) style = WS_VISIBLE | WS_TABSTOP | ES_MULTILINE | ES_WANTRETURN | ES_AUTOVSCROLL | WS_VSCROLL;
        hwnd_ = MakeWindow(parent, L"EDIT", "", style, WS_EX_CLIENTEDGE);
        if (auto* spin = dynamic_cast<TSpinEdit*>(&control_)) {
            (void)spin;
            updown_ = MakeWindow(parent, UPDOWN_CLASSW, "", WS_VISIBLE | UDS_ARROWKEYS | UDS_ALIGNRIGHT);
            SendMessageW(updown_, UDM_SETRANGE32, 0, 100);
            SendMessageW(updown_, UDM_SETPOS32, 0, 50);
        }
    }
    void Place(int x, int y, int w, int h) override {
        if (updown_) {
            MoveWindow(hwnd_, x, y, w - 17, h, TRUE);
            MoveWindow(updown_, x + w - 17, y, 17, h, TRUE);
        } else {
            TView::Place(x, y, w, h);
        }
    }
    void Refresh() override {
        RefreshCommon(hwnd_);
        if (updown_) RefreshCommon(updown_);
        std::string model = Model();
        const bool typing = GetFocus() == hwnd_;
        if (model != lastModel_ || (!typing && WindowText(hwnd_) != model)) SetText(hwnd_, model);
        lastModel_ = model;
        const bool readOnly = ReadOnly();
        if (((GetWindowLongW(hwnd_, GWL_STYLE) & ES_READONLY) != 0) != readOnly)
            SendMessageW(hwnd_, EM_SETREADONLY, readOnly, 0);
    }
    bool Command(HWND from, int code, int) override {
        if (from != hwnd_ || Refreshing()) return false;
        if (code == EN_SETFOCUS) {
            if (control_.Owner() && control_.Owner()->ActiveControl() != &control_)
                Guarded("focus", [this] { control_.UserFocus(); });
            RequestRefresh();
            return true;
        }
        if ((code == EN_CHANGE && onChange_) || (code == EN_KILLFOCUS && !onChange_)) {
            std::string text = WindowText(hwnd_);
            if (text == Model()) return true;
            Guarded("edit", [&] { control_.UserEdit(text); });
            RequestRefresh();
            return true;
        }
        return false;
    }
    bool Notify(NMHDR* h, LRESULT& result) override {
        if (h->hwndFrom != updown_ || h->code != UDN_DELTAPOS) return false;
        auto* spin = dynamic_cast<TSpinEdit*>(&control_);
        int delta = reinterpret_cast<NMUPDOWN*>(h)->iDelta;
        Guarded("step", [&] { delta > 0 ? spin->UserStepUp() : spin->UserStepDown(); });
        RequestRefresh();
        result = TRUE;  // the up-down keeps no position of its own
        return true;
    }

private:
    std::string Model() const { return memo_ ? CrLf(control_.MainText()) : control_.MainText(); }
    bool ReadOnly() const {
        if (auto* e = dynamic_cast<TCustomEdit*>(&control_)) return e->ReadOnly();
        if (auto* c = dynamic_cast<TCurrencyEdit*>(&control_)) return c->ReadOnly();
        if (auto* t = dynamic_cast<TTimeEdit*>(&control_)) return t->ReadOnly();
        return false;
    }
    bool memo_;
    bool onChange_;
    HWND updown_ = nullptr;
    std::string lastModel_;
};

class TButtonView : public TView {
public:
    using TView::TView;
    void Create(HWND parent) override {
        auto& b = static_cast<TCustomButton&>(control_);
        DWORD style = WS_VISIBLE | BS_PUSHBUTTON;
        if (b.TakesFocus()) style |= WS_TABSTOP;
        if (auto* button = dynamic_cast<TButton*>(&control_); button && button->Default()) style |= BS_DEFPUSHBUTTON;
        if (b.Caption().empty() && b.ImageIndex() >= 0) style |= BS_ICON;
        hwnd_ = MakeWindow(parent, L"BUTTON", b.Caption(), style);
    }
    void Refresh() override {
        RefreshCommon(hwnd_);
        auto& b = static_cast<TCustomButton&>(control_);
        SetText(hwnd_, b.Caption());
        // The button's picture: alone on a button of no caption, before the caption on another.
        if (b.ImageIndex() != image_) {
            image_ = b.ImageIndex();
            HIMAGELIST list = ImageListFor(control_.Owner());
            HICON icon = list && image_ >= 0 ? ButtonIcon(list, image_) : nullptr;
            HICON old = reinterpret_cast<HICON>(SendMessageW(hwnd_, BM_SETIMAGE, IMAGE_ICON, reinterpret_cast<LPARAM>(icon)));
            if (old && old != icon) DestroyIcon(old);
        }
    }
    bool Command(HWND, int code, int) override {
        if (code != BN_CLICKED || Refreshing()) return false;
        Guarded("click", [this] { control_.UserClick(); });
        RequestRefresh();
        return true;
    }

private:
    int image_ = -2;
};

class TCheckView : public TView {
public:
    using TView::TView;
    void Create(HWND parent) override {
        hwnd_ = MakeWindow(parent, L"BUTTON", "", WS_VISIBLE | WS_TABSTOP | BS_CHECKBOX);
    }
    void Refresh() override {
        RefreshCommon(hwnd_);
        auto& c = static_cast<TCheckBox&>(control_);
        SetText(hwnd_, c.Caption());
        WPARAM state = c.Checked() ? BST_CHECKED : BST_UNCHECKED;
        if (static_cast<WPARAM>(SendMessageW(hwnd_, BM_GETCHECK, 0, 0)) != state) SendMessageW(hwnd_, BM_SETCHECK, state, 0);
    }
    bool Command(HWND, int code, int) override {
        if (code != BN_CLICKED || Refreshing()) return false;
        Guarded("click", [this] { control_.UserClick(); });
        RequestRefresh();
        return true;
    }
};

class TDateView : public TView {
public:
    using TView::TView;
    void Create(HWND parent) override {
        auto& d = static_cast<TDateTimePicker&>(control_);
        DWORD style = WS_VISIBLE | WS_TABSTOP | DTS_SHORTDATEFORMAT;
        if (d.ShowCheckbox()) style |= DTS_SHOWNONE;
        hwnd_ = MakeWindow(parent, DATETIMEPICK_CLASSW, "", style);
    }
    void Refresh() override {
        RefreshCommon(hwnd_);
        auto& d = static_cast<TDateTimePicker&>(control_);
        SYSTEMTIME now{};
        DWORD got = static_cast<DWORD>(SendMessageW(hwnd_, DTM_GETSYSTEMTIME, 0, reinterpret_cast<LPARAM>(&now)));
        if (d.ShowCheckbox() && !d.Checked()) {
            if (got != GDT_NONE) SendMessageW(hwnd_, DTM_SETSYSTEMTIME, GDT_NONE, 0);
            return;
        }
        int y, m, day;
        DecodeDate(d.Date(), y, m, day);
        if (got != GDT_VALID || now.wYear != y || now.wMonth != m || now.wDay != day) {
            SYSTEMTIME st{};
            st.wYear = static_cast<WORD>(y);
            st.wMonth = static_cast<WORD>(m);
            st.wDay = static_cast<WORD>(day);
            SendMessageW(hwnd_, DTM_SETSYSTEMTIME, GDT_VALID, reinterpret_cast<LPARAM>(&st));
        }
    }
    bool Notify(NMHDR* h, LRESULT&) override {
        if (Refreshing()) return false;
        if (h->code == DTN_DATETIMECHANGE) {
            auto* c = reinterpret_cast<NMDATETIMECHANGE*>(h);
            std::string text;
            if (c->dwFlags == GDT_VALID) {
                char buf[16];
                std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", c->st.wYear, c->st.wMonth, c->st.wDay);
                text = buf;
            }
            Guarded("pick", [&] { control_.UserEdit(text); });
            RequestRefresh();
            return true;
        }
        return false;
    }
};

class TListBoxView : public TView {
public:
    using TView::TView;
    void Create(HWND parent) override {
        hwnd_ = MakeWindow(parent, L"LISTBOX", "", WS_VISIBLE | WS_TABSTOP | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT,
                           WS_EX_CLIENTEDGE);
    }
    void Refresh() override {
        RefreshCommon(hwnd_);
        auto& l = static_cast<TListBox&>(control_);
        Fill(hwnd_, l.Items(), shown_);
        if (SendMessageW(hwnd_, LB_GETCURSEL, 0, 0) != l.ItemIndex()) SendMessageW(hwnd_, LB_SETCURSEL, l.ItemIndex(), 0);
    }
    bool Command(HWND, int code, int) override {
        if (code != LBN_SELCHANGE || Refreshing()) return false;
        int i = static_cast<int>(SendMessageW(hwnd_, LB_GETCURSEL, 0, 0));
        Guarded("pick", [&] { control_.UserClickItem(i); });
        RequestRefresh();
        return true;
    }
    static void Fill(HWND list, const std::vector<std::string>& items, std::vector<std::string>& shown) {
        if (items == shown) return;
        SendMessageW(list, WM_SETREDRAW, FALSE, 0);
        SendMessageW(list, LB_RESETCONTENT, 0, 0);
        for (const std::string& s : items) SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(W(s).c_str()));
        SendMessageW(list, WM_SETREDRAW, TRUE, 0);
        InvalidateRect(list, nullptr, TRUE);
        shown = items;
    }

private:
    std::vector<std::string> shown_;
};

// The search list: an edit over a list. What the user types is looked up once the keys have
// paused for the control's delay.
class TSearchListView : public TView {
public:
    using TView::TView;
    void Create(HWND parent) override {
        hwnd_ = MakeWindow(parent, kContainerClass, "", WS_VISIBLE | WS_CLIPCHILDREN, WS_EX_CONTROLPARENT);
        edit_ = MakeWindow(hwnd_, L"EDIT", "", WS_VISIBLE | WS_TABSTOP | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE);
        list_ = MakeWindow(hwnd_, L"LISTBOX", "", WS_VISIBLE | WS_TABSTOP | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT,
                           WS_EX_CLIENTEDGE);
    }
    void Place(int x, int y, int w, int h) override {
        TView::Place(x, y, w, h);
        MoveWindow(edit_, 0, 0, w, 23, TRUE);
        MoveWindow(list_, 0, 25, w, h > 25 ? h - 25 : 0, TRUE);
    }
    void Refresh() override {
        RefreshCommon(hwnd_);
        auto& s = static_cast<TSearchList&>(control_);
        const bool typing = GetFocus() == edit_;
        if (s.Text() != lastModel_ || (!typing && WindowText(edit_) != s.Text())) SetText(edit_, s.Text());
        lastModel_ = s.Text();
        TListBoxView::Fill(list_, s.Items(), shown_);
        if (SendMessageW(list_, LB_GETCURSEL, 0, 0) != s.ItemIndex()) SendMessageW(list_, LB_SETCURSEL, s.ItemIndex(), 0);
    }
    bool Command(HWND from, int code, int) override {
        if (Refreshing()) return false;
        if (from == edit_ && code == EN_SETFOCUS) {
            if (control_.Owner() && control_.Owner()->ActiveControl() != &control_)
                Guarded("focus", [this] { control_.UserFocus(); });
            RequestRefresh();
            return true;
        }
        if (from == edit_ && code == EN_CHANGE) {
            owner_.StartViewTimer(*this, static_cast<TSearchList&>(control_).KeyDelay());
            return true;
        }
        if (from == list_ && code == LBN_SELCHANGE) {
            int i = static_cast<int>(SendMessageW(list_, LB_GETCURSEL, 0, 0));
            Guarded("pick", [&] { control_.UserClickItem(i); });
            RequestRefresh();
            return true;
        }
        return false;
    }
    void Timer() override {
        std::string text = WindowText(edit_);
        if (text == static_cast<TSearchList&>(control_).Text()) return;
        Guarded("search", [&] { control_.UserEdit(text); });
        // The completed text stands selected after what was typed.
        DWORD typed = static_cast<DWORD>(W(text).size());
        RequestRefresh();
        PostMessageW(edit_, EM_SETSEL, typed, -1);
    }

private:
    HWND edit_ = nullptr;
    HWND list_ = nullptr;
    std::string lastModel_;
    std::vector<std::string> shown_;
};

// A tool bar of picture buttons; each button's hint is its tooltip.
class TToolbarView : public TView {
public:
    using TView::TView;
    void Create(HWND parent) override {
        hwnd_ = MakeWindow(parent, TOOLBARCLASSNAMEW, "",
                           WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_TOOLTIPS | CCS_NORESIZE | CCS_NODIVIDER | CCS_NOPARENTALIGN);
        SendMessageW(hwnd_, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
        // The buttons' tooltips ask this view for their texts.
        if (HWND tips = reinterpret_cast<HWND>(SendMessageW(hwnd_, TB_GETTOOLTIPS, 0, 0))) owner_.Own(tips, *this);
        SendMessageW(hwnd_, TB_SETBITMAPSIZE, 0, MAKELPARAM(16, 16));
        auto& g = static_cast<TButtonGroup&>(control_);
        for (int i = 0; i < g.Count(); ++i) {
            TBBUTTON b{};
            b.iBitmap = g.Items(i).ImageIndex;
            b.idCommand = i + 1;
            b.fsState = TBSTATE_ENABLED;
            b.fsStyle = BTNS_BUTTON;
            b.iString = -1;
            SendMessageW(hwnd_, TB_ADDBUTTONSW, 1, reinterpret_cast<LPARAM>(&b));
        }
    }
    void Refresh() override {
        RefreshCommon(hwnd_);
        HIMAGELIST list = ImageListFor(control_.Owner());
        if (list != images_) {
            images_ = list;
            SendMessageW(hwnd_, TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(list));
            SendMessageW(hwnd_, TB_AUTOSIZE, 0, 0);
            InvalidateRect(hwnd_, nullptr, TRUE);
        }
    }
    bool Notify(NMHDR* h, LRESULT&) override {
        if (h->code == TTN_GETDISPINFOW) {
            auto* d = reinterpret_cast<NMTTDISPINFOW*>(h);
            auto& g = static_cast<TButtonGroup&>(control_);
            int i = static_cast<int>(d->hdr.idFrom) - 1;
            tip_ = i >= 0 && i < g.Count() ? W(g.Items(i).Hint) : std::wstring();
            d->lpszText = tip_.data();
            return true;
        }
        return false;
    }
    // The tool bar's clicks come as commands with the button's id.
    bool Command(HWND, int, int id) override {
        if (Refreshing()) return false;
        Guarded("click", [&] { control_.UserClickItem(id - 1); });
        RequestRefresh();
        return true;
    }

private:
    HIMAGELIST images_ = nullptr;
    std::wstring tip_;
};

// The page control: a tab control with the pages' windows over it.
class TPageView : public TView {
public:
    using TView::TView;
    HWND ChildArea() const override { return hwnd_; }
    void Create(HWND parent) override {
        hwnd_ = MakeWindow(parent, kContainerClass, "", WS_VISIBLE | WS_CLIPCHILDREN, WS_EX_CONTROLPARENT);
        tabs_ = MakeWindow(hwnd_, WC_TABCONTROLW, "", WS_VISIBLE | WS_TABSTOP);
    }
    void Place(int x, int y, int w, int h) override {
        TView::Place(x, y, w, h);
        // Under the pages, which stand on its display area.
        SetWindowPos(tabs_, HWND_BOTTOM, 0, 0, w, h, SWP_NOACTIVATE);
    }
    void Refresh() override {
        RefreshCommon(hwnd_);
        auto& p = static_cast<TPageControl&>(control_);
        std::vector<std::string> captions;
        for (int i = 0; i < p.PageCount(); ++i) captions.push_back(p.Pages(i).Caption());
        if (captions != shown_) {
            SendMessageW(tabs_, TCM_DELETEALLITEMS, 0, 0);
            for (size_t i = 0; i < captions.size(); ++i) {
                std::wstring text = W(captions[i]);
                TCITEMW item{};
                item.mask = TCIF_TEXT;
                item.pszText = text.data();
                SendMessageW(tabs_, TCM_INSERTITEMW, i, reinterpret_cast<LPARAM>(&item));
            }
            shown_ = captions;
        }
        if (SendMessageW(tabs_, TCM_GETCURSEL, 0, 0) != p.ActivePageIndex())
            SendMessageW(tabs_, TCM_SETCURSEL, p.ActivePageIndex(), 0);
    }
    bool Notify(NMHDR* h, LRESULT&) override {
        if (h->hwndFrom != tabs_ || h->code != TCN_SELCHANGE || Refreshing()) return false;
        int i = static_cast<int>(SendMessageW(tabs_, TCM_GETCURSEL, 0, 0));
        Guarded("page", [&] { control_.UserClickItem(i); });
        RequestRefresh();
        return true;
    }

private:
    HWND tabs_ = nullptr;
    std::vector<std::string> shown_;
};

}  // namespace

std::unique_ptr<TView> MakeView(TFormWindowImpl& owner, TControl& c) {
    if (dynamic_cast<TMenuItem*>(&c)) return nullptr;
    if (auto* tree = dynamic_cast<TcxDBTreeList*>(&c)) return MakeTreeView(owner, *tree);
    if (auto* grid = dynamic_cast<TcxGridDBTableView*>(&c)) return MakeGridView(owner, *grid);
    if (dynamic_cast<TcxGrid*>(&c) || dynamic_cast<TPanel*>(&c) || dynamic_cast<TGroupBox*>(&c) ||
        dynamic_cast<TTabSheet*>(&c))
        return std::make_unique<TContainerView>(owner, c);
    if (dynamic_cast<TLabel*>(&c)) return std::make_unique<TLabelView>(owner, c);
    if (dynamic_cast<TMemo*>(&c)) return std::make_unique<TEditView>(owner, c, true, true);
    if (dynamic_cast<TCustomEdit*>(&c)) return std::make_unique<TEditView>(owner, c, false, true);
    if (dynamic_cast<TCurrencyEdit*>(&c) || dynamic_cast<TTimeEdit*>(&c) || dynamic_cast<TNumericField*>(&c))
        return std::make_unique<TEditView>(owner, c, false, false);
    if (dynamic_cast<TCustomButton*>(&c)) return std::make_unique<TButtonView>(owner, c);
    if (dynamic_cast<TCheckBox*>(&c)) return std::make_unique<TCheckView>(owner, c);
    if (dynamic_cast<TDateTimePicker*>(&c)) return std::make_unique<TDateView>(owner, c);
    if (dynamic_cast<TSearchList*>(&c)) return std::make_unique<TSearchListView>(owner, c);
    if (dynamic_cast<TListBox*>(&c)) return std::make_unique<TListBoxView>(owner, c);
    if (dynamic_cast<TButtonGroup*>(&c)) return std::make_unique<TToolbarView>(owner, c);
    if (dynamic_cast<TPageControl*>(&c)) return std::make_unique<TPageView>(owner, c);
    return nullptr;
}

}  // namespace win::ui
