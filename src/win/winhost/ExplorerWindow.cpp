#include "win/winhost/ExplorerWindow.h"

#include <commctrl.h>
#include <olectl.h>
#include <wincodec.h>

#include <algorithm>
#include <functional>
#include <mutex>

#include "base/Exceptions.h"
#include "base/Guard.h"
#include "sim/SimItem.h"
#include "sim/SimOutlook.h"
#include "win/platform/WinServices.h"
#include "win/winhost/AutoObject.h"

namespace win {
namespace {

constexpr const wchar_t* kExplorerClass = L"CorvelleExplorer";
constexpr const wchar_t* kFrameClass = L"CorvelleTaskPaneFrame";
constexpr int kWidth = 1440, kHeight = 900;
constexpr int kFolderWidth = 210;
constexpr int kCaptionHeight = 24;
// Office's events of a custom task pane (_CustomTaskPaneEvents), and the one fired here.
constexpr IID kPaneEvents = {0x000C033C, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr DISPID kVisibleStateChange = 1;

HFONT UiFont() { return static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)); }

void SetFont(HWND w) {
    if (w) SendMessageW(w, WM_SETFONT, reinterpret_cast<WPARAM>(UiFont()), TRUE);
}

// A property of an item as the item list shows it; empty for one its kind lacks.
std::wstring Text(const sim::TSimItem& item, const char* name) {
    std::wstring text;
    Swallow([&] { text = Wide(item.Value(name).AsString()); });
    return text;
}

LRESULT CALLBACK ExplorerProc(HWND w, UINT m, WPARAM wp, LPARAM lp) {
    auto* self = reinterpret_cast<TExplorerWindow*>(GetWindowLongPtrW(w, GWLP_USERDATA));
    if (m == WM_NCCREATE) {
        SetWindowLongPtrW(w, GWLP_USERDATA,
                          reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lp)->lpCreateParams));
    } else if (m == WM_SIZE && self) {
        Swallow([&] { self->Layout(); });
        return 0;
    } else if (m == WM_CLOSE) {
        // The script closes the explorer, not the window's button.
        return 0;
    }
    return DefWindowProcW(w, m, wp, lp);
}

// The close box at the right of a pane's caption bar.
RECT CloseBox(HWND frame) {
    RECT r;
    GetClientRect(frame, &r);
    const int side = kCaptionHeight - 6;
    return RECT{r.right - side - 4, r.top + 3, r.right - 4, r.top + 3 + side};
}

// The user clicked the close box of the pane in that frame.
void UserClosesPane(HWND frame);

// A pane's frame: its caption bar with a close box, over the site of its control.
LRESULT CALLBACK FrameProc(HWND w, UINT m, WPARAM wp, LPARAM lp) {
    if (m == WM_LBUTTONUP) {
        POINT at{static_cast<short>(LOWORD(lp)), static_cast<short>(HIWORD(lp))};
        RECT box = CloseBox(w);
        if (PtInRect(&box, at)) Swallow([&] { UserClosesPane(w); });
        return 0;
    }
    if (m == WM_PAINT) {
        PAINTSTRUCT ps;
        HDC dc = BeginPaint(w, &ps);
        RECT r;
        GetClientRect(w, &r);
        RECT bar{r.left, r.top, r.right, r.top + kCaptionHeight};
        FillRect(dc, &bar, GetSysColorBrush(COLOR_INACTIVECAPTION));
        wchar_t title[256] = {};
        GetWindowTextW(w, title, 256);
        SelectObject(dc, UiFont());
        SetBkMode(dc, TRANSPARENT);
        SetTextColor(dc, GetSysColor(COLOR_INACTIVECAPTIONTEXT));
        RECT text{bar.left + 8, bar.top, bar.right - 8, bar.bottom};
        text.right -= kCaptionHeight;
        DrawTextW(dc, title, -1, &text, DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS);
        // The close box's cross, drawn with lines: it needs no symbol font.
        RECT box = CloseBox(w);
        HPEN pen = CreatePen(PS_SOLID, 2, GetSysColor(COLOR_INACTIVECAPTIONTEXT));
        HGDIOBJ old = SelectObject(dc, pen);
        const int inset = 5;
        MoveToEx(dc, box.left + inset, box.top + inset, nullptr);
        LineTo(dc, box.right - inset, box.bottom - inset);
        MoveToEx(dc, box.right - inset, box.top + inset, nullptr);
        LineTo(dc, box.left + inset, box.bottom - inset);
        SelectObject(dc, old);
        DeleteObject(pen);
        EndPaint(w, &ps);
        return 0;
    }
    return DefWindowProcW(w, m, wp, lp);
}

void RegisterClasses() {
    static std::once_flag once;
    std::call_once(once, [] {
        INITCOMMONCONTROLSEX controls{sizeof controls,
                                      ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES | ICC_TAB_CLASSES | ICC_STANDARD_CLASSES};
        InitCommonControlsEx(&controls);
        WNDCLASSEXW c{};
        c.cbSize = sizeof c;
        c.hInstance = GetModuleHandleW(nullptr);
        c.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
        c.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
        c.lpfnWndProc = ExplorerProc;
        c.lpszClassName = kExplorerClass;
        RegisterClassExW(&c);
        c.lpfnWndProc = FrameProc;
        c.lpszClassName = kFrameClass;
        RegisterClassExW(&c);
    });
}

// The IDispatch part of a vtable interface that is called early-bound only.
template <class Interface>
class TNoDispatch : public Interface {
public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (count) *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
        if (info) *info = nullptr;
        return DISP_E_BADINDEX;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return DISP_E_MEMBERNOTFOUND;
    }
};

}  // namespace

// A custom task pane: the frame window, the control inside it, and the control's site.
class TExplorerWindow::TPane final : public TNoDispatch<_CustomTaskPane>,
                                     public IOleClientSite,
                                     public IOleInPlaceSite,
                                     public IConnectionPointContainer,
                                     private TComRefCount {
public:
    TPane(TExplorerWindow& owner, std::string title, TComPtr<IOleObject> control)
        : owner_(&owner), title_(std::move(title)), control_(std::move(control)) {
        frame_ = CreateWindowExW(0, kFrameClass, Wide(title_).c_str(), WS_CHILD | WS_CLIPCHILDREN, 0, 0, 0, 0,
                                 owner.window_, nullptr, GetModuleHandleW(nullptr), nullptr);
        if (frame_) SetWindowLongPtrW(frame_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    ~TPane() override {
        if (frame_) DestroyWindow(frame_);
    }

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) || IsEqualIID(iid, IID__CustomTaskPane))
            *out = static_cast<_CustomTaskPane*>(this);
        else if (IsEqualIID(iid, IID_IOleClientSite)) *out = static_cast<IOleClientSite*>(this);
        else if (IsEqualIID(iid, IID_IOleWindow) || IsEqualIID(iid, IID_IOleInPlaceSite))
            *out = static_cast<IOleInPlaceSite*>(this);
        else if (IsEqualIID(iid, IID_IConnectionPointContainer))
            *out = static_cast<IConnectionPointContainer*>(this);
        else return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return DoAddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return DoRelease(); }

    // _CustomTaskPane
    HRESULT STDMETHODCALLTYPE get_Title(BSTR* title) override {
        if (!title) return E_POINTER;
        *title = NewBstr(title_);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Application(IDispatch** application) override {
        if (application) *application = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE get_Window(IDispatch** window) override {
        if (window) *window = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE get_Visible(VARIANT_BOOL* visible) override {
        if (!visible) return E_POINTER;
        *visible = visible_ ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE put_Visible(VARIANT_BOOL visible) override {
        if (!owner_) return E_UNEXPECTED;
        visible_ = visible != VARIANT_FALSE;
        ShowWindow(frame_, visible_ ? SW_SHOW : SW_HIDE);
        owner_->Layout();
        if (visible_ && !active_) {
            // The control comes alive in the frame, below the caption bar.
            active_ = true;
            RECT r = SiteRect();
            HRESULT hr = control_->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, this, 0, frame_, &r);
            if (FAILED(hr)) return hr;
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_ContentControl(IDispatch** control) override {
        if (!control) return E_POINTER;
        *control = nullptr;
        return control_ ? control_->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(control)) : E_UNEXPECTED;
    }
    HRESULT STDMETHODCALLTYPE get_Height(int* height) override {
        if (!height) return E_POINTER;
        *height = height_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE put_Height(int height) override {
        if (position_ == msoCTPDockPositionLeft || position_ == msoCTPDockPositionRight) return E_FAIL;
        height_ = std::clamp(height, 60, 2000);
        if (owner_) owner_->Layout();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Width(int* width) override {
        if (!width) return E_POINTER;
        *width = width_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE put_Width(int width) override {
        if (position_ == msoCTPDockPositionTop || position_ == msoCTPDockPositionBottom) return E_FAIL;
        width_ = std::clamp(width, 60, 2000);
        if (owner_) owner_->Layout();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_DockPosition(MsoCTPDockPosition* position) override {
        if (!position) return E_POINTER;
        *position = position_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE put_DockPosition(MsoCTPDockPosition position) override {
        if (position < msoCTPDockPositionLeft || position > msoCTPDockPositionFloating) return E_INVALIDARG;
        position_ = position;
        if (owner_) owner_->Layout();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_DockPositionRestrict(MsoCTPDockPositionRestrict* restriction) override {
        if (!restriction) return E_POINTER;
        *restriction = restriction_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE put_DockPositionRestrict(MsoCTPDockPositionRestrict restriction) override {
        restriction_ = restriction;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Delete() override {
        TComPtr<_CustomTaskPane> self(static_cast<_CustomTaskPane*>(this));
        if (control_) {
            control_->Close(OLECLOSE_NOSAVE);
            control_->SetClientSite(nullptr);
            control_.Reset();
        }
        if (frame_) {
            DestroyWindow(frame_);
            frame_ = nullptr;
        }
        visible_ = false;
        sinks_.Clear();
        if (TExplorerWindow* owner = std::exchange(owner_, nullptr)) owner->Forget(this);
        return S_OK;
    }

    // IConnectionPointContainer: the pane's events (_CustomTaskPaneEvents)
    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** out) override {
        if (out) *out = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!IsEqualIID(iid, kPaneEvents)) return CONNECT_E_NOCONNECTION;
        *out = NewConnectionPoint(
                   this, iid, [this](TComPtr<IDispatch> sink) { return sinks_.Advise(std::move(sink)); },
                   [this](DWORD cookie) { return sinks_.Unadvise(cookie); })
                   .Detach();
        return S_OK;
    }

    // The user closes the pane with its close box: Office hides it and tells the pane's sinks.
    void UserCloses() {
        if (!visible_) return;
        TComPtr<_CustomTaskPane> self(static_cast<_CustomTaskPane*>(this));
        put_Visible(VARIANT_FALSE);
        VARIANT pane;
        VariantInit(&pane);
        V_VT(&pane) = VT_DISPATCH;
        V_DISPATCH(&pane) = static_cast<_CustomTaskPane*>(this);
        sinks_.Fire(kVisibleStateChange, {pane});
    }

    // IOleClientSite
    HRESULT STDMETHODCALLTYPE SaveObject() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMoniker(DWORD, DWORD, IMoniker** m) override {
        if (m) *m = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetContainer(IOleContainer** c) override {
        if (c) *c = nullptr;
        return E_NOINTERFACE;
    }
    HRESULT STDMETHODCALLTYPE ShowObject() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnShowWindow(BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE RequestNewObjectLayout() override { return E_NOTIMPL; }

    // IOleWindow, IOleInPlaceSite
    HRESULT STDMETHODCALLTYPE GetWindow(HWND* window) override {
        if (!window) return E_POINTER;
        *window = frame_;
        return frame_ ? S_OK : E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CanInPlaceActivate() override { return frame_ ? S_OK : S_FALSE; }
    HRESULT STDMETHODCALLTYPE OnInPlaceActivate() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnUIActivate() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                               LPRECT position, LPRECT clip, LPOLEINPLACEFRAMEINFO info) override {
        if (frame) *frame = nullptr;
        if (document) *document = nullptr;
        RECT r = SiteRect();
        if (position) *position = r;
        if (clip) *clip = r;
        if (info) {
            info->fMDIApp = FALSE;
            info->hwndFrame = owner_ ? owner_->window_ : nullptr;
            info->haccel = nullptr;
            info->cAccelEntries = 0;
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Scroll(SIZE) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE OnUIDeactivate(BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnInPlaceDeactivate() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE DiscardUndoState() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeactivateAndUndo() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE OnPosRectChange(LPCRECT) override { return S_OK; }

    // The explorer places the frame; the control follows.
    void Place(const RECT& r) {
        if (!frame_) return;
        MoveWindow(frame_, r.left, r.top, r.right - r.left, r.bottom - r.top, TRUE);
        if (!active_ || !control_) return;
        TComPtr<IOleInPlaceObject> inPlace = TComPtr<IOleObject>(control_).As<IOleInPlaceObject>(IID_IOleInPlaceObject);
        RECT site = SiteRect();
        if (inPlace) inPlace->SetObjectRects(&site, &site);
    }

    const std::string& Title() const { return title_; }
    bool Visible() const { return visible_; }
    MsoCTPDockPosition Position() const { return position_; }
    int Width() const { return width_; }
    int Height() const { return height_; }
    HWND Frame() const { return frame_; }

private:
    RECT SiteRect() const {
        RECT r{0, 0, 0, 0};
        if (frame_) GetClientRect(frame_, &r);
        r.top = std::min<LONG>(r.bottom, kCaptionHeight);
        return r;
    }

    TExplorerWindow* owner_;
    std::string title_;
    TComPtr<IOleObject> control_;
    HWND frame_ = nullptr;
    bool visible_ = false;
    bool active_ = false;
    int width_ = 300, height_ = 200;
    MsoCTPDockPosition position_ = msoCTPDockPositionRight;
    MsoCTPDockPositionRestrict restriction_ = msoCTPDockPositionRestrictNone;
    TAutoSinks sinks_;
};

namespace {

void UserClosesPane(HWND frame) {
    if (auto* pane = reinterpret_cast<TExplorerWindow::TPane*>(GetWindowLongPtrW(frame, GWLP_USERDATA)))
        pane->UserCloses();
}

}  // namespace

// The task pane service: a pane around a new control of the ProgID given.
class TExplorerWindow::TFactory final : public TNoDispatch<ICTPFactory>, private TComRefCount {
public:
    explicit TFactory(TExplorerWindow& owner) : owner_(&owner) {}
    void Detach() { owner_ = nullptr; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IDispatch) && !IsEqualIID(iid, IID_ICTPFactory))
            return E_NOINTERFACE;
        *out = static_cast<ICTPFactory*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return DoAddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return DoRelease(); }

    HRESULT STDMETHODCALLTYPE CreateCTP(BSTR progId, BSTR title, VARIANT, _CustomTaskPane** pane) override {
        if (!pane) return E_POINTER;
        *pane = nullptr;
        if (!owner_) return E_UNEXPECTED;
        if (owner_->failPanes_) return E_FAIL;
        try {
            CLSID clsid{};
            HRESULT hr = CLSIDFromProgID(progId ? progId : L"", &clsid);
            if (FAILED(hr)) return hr;
            TComPtr<IOleObject> control;
            hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IOleObject,
                                  reinterpret_cast<void**>(control.Out()));
            if (FAILED(hr)) return hr;
            TComPtr<_CustomTaskPane> made =
                TComPtr<_CustomTaskPane>::Attach(new TPane(*owner_, BstrText(title), control));
            auto* site = static_cast<TPane*>(made.Get());
            control->SetClientSite(static_cast<IOleClientSite*>(site));
            owner_->panes_.push_back(made);
            *pane = made.Detach();
            return S_OK;
        } catch (...) {
            return HresultFromException(std::current_exception());
        }
    }

private:
    TExplorerWindow* owner_;
};

TExplorerWindow::TExplorerWindow(sim::TSimOutlook& outlook) : outlook_(outlook) {
    RegisterClasses();
    window_ = CreateWindowExW(0, kExplorerClass, L"Inbox - Outlook", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 0, 0,
                              kWidth, kHeight, nullptr, nullptr, GetModuleHandleW(nullptr), this);
    if (!window_) throw Exception("the explorer window cannot be made");
    folders_ = CreateWindowExW(WS_EX_CLIENTEDGE, WC_TREEVIEWW, L"",
                               WS_CHILD | WS_VISIBLE | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT |
                                   TVS_SHOWSELALWAYS,
                               0, 0, 0, 0, window_, nullptr, nullptr, nullptr);
    items_ = CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, L"",
                             WS_CHILD | WS_VISIBLE | LVS_REPORT | LVS_SHOWSELALWAYS | LVS_SINGLESEL, 0, 0, 0, 0,
                             window_, nullptr, nullptr, nullptr);
    reading_ = CreateWindowExW(WS_EX_CLIENTEDGE, L"EDIT", L"",
                               WS_CHILD | WS_VISIBLE | ES_MULTILINE | ES_READONLY | WS_VSCROLL, 0, 0, 0, 0, window_,
                               nullptr, nullptr, nullptr);
    for (HWND w : {folders_, items_, reading_}) SetFont(w);
    ListView_SetExtendedListViewStyle(items_, LVS_EX_FULLROWSELECT);
    const std::pair<const wchar_t*, int> columns[] = {{L"From", 130}, {L"Subject", 210}, {L"Sent", 125}};
    for (int i = 0; i < 3; ++i) {
        LVCOLUMNW c{};
        c.mask = LVCF_TEXT | LVCF_WIDTH;
        c.pszText = const_cast<wchar_t*>(columns[i].first);
        c.cx = columns[i].second;
        ListView_InsertColumn(items_, i, &c);
    }
    factory_ = TComPtr<ICTPFactory>::Attach(new TFactory(*this));
    ShowFolder();
    Layout();
    ShowWindow(window_, SW_SHOWNORMAL);
    Pump();
}

TExplorerWindow::~TExplorerWindow() {
    DeletePanes();
    static_cast<TFactory*>(factory_.Get())->Detach();
    factory_.Reset();
    if (window_) {
        SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
        DestroyWindow(window_);
    }
}

void TExplorerWindow::ShowFolder() {
    std::shared_ptr<sim::TSimFolder> shown = outlook_.ExplorerFolder();
    if (!shown) shown = outlook_.Root() ? outlook_.Root()->Find("Inbox") : nullptr;
    TreeView_DeleteAllItems(folders_);
    HTREEITEM selected = nullptr;
    std::function<void(const std::shared_ptr<sim::TSimFolder>&, HTREEITEM)> add =
        [&](const std::shared_ptr<sim::TSimFolder>& folder, HTREEITEM parent) {
            std::wstring name = Wide(folder->FolderName());
            TVINSERTSTRUCTW insert{};
            insert.hParent = parent;
            insert.hInsertAfter = TVI_LAST;
            insert.item.mask = TVIF_TEXT;
            insert.item.pszText = name.data();
            HTREEITEM node = TreeView_InsertItem(folders_, &insert);
            for (const auto& sub : folder->Subfolders()) add(sub, node);
            TreeView_Expand(folders_, node, TVE_EXPAND);
            if (folder == shown) selected = node;
        };
    if (auto root = outlook_.Root()) add(root, TVI_ROOT);
    if (selected) TreeView_SelectItem(folders_, selected);

    ListView_DeleteAllItems(items_);
    SetWindowTextW(reading_, L"");
    if (!shown) return;
    SetWindowTextW(window_, (Wide(shown->FolderName()) + L" - Outlook").c_str());
    int row = 0;
    for (const auto& item : shown->ItemList()) {
        std::wstring cells[] = {Text(*item, "SenderName"), Text(*item, "Subject"), Text(*item, "SentOn")};
        LVITEMW it{};
        it.mask = LVIF_TEXT;
        it.iItem = row;
        it.pszText = cells[0].data();
        ListView_InsertItem(items_, &it);
        for (int c = 1; c < 3; ++c) ListView_SetItemText(items_, row, c, cells[c].data());
        ++row;
    }
    if (row > 0) {
        ListView_SetItemState(items_, 0, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
        const auto& first = *shown->ItemList().front();
        std::wstring text = Text(first, "Subject") + L"\r\n\r\n" + Text(first, "Body");
        SetWindowTextW(reading_, text.c_str());
    }
}

void TExplorerWindow::Layout() {
    if (!window_) return;
    RECT client{};
    GetClientRect(window_, &client);
    int width = client.right, height = client.bottom;
    int right = 0, bottom = 0, left = 0, top = 0;
    for (const auto& p : panes_) {
        auto* pane = static_cast<TPane*>(p.Get());
        if (!pane->Visible()) continue;
        switch (pane->Position()) {
            case msoCTPDockPositionRight: right += pane->Width(); break;
            case msoCTPDockPositionLeft: left += pane->Width(); break;
            case msoCTPDockPositionTop: top += pane->Height(); break;
            default: bottom += pane->Height(); break;
        }
    }
    // The sides take the full height; top and bottom the width between them.
    int x = 0, xr = width;
    int y = top, yb = height - bottom;
    for (const auto& p : panes_) {
        auto* pane = static_cast<TPane*>(p.Get());
        if (!pane->Visible()) continue;
        switch (pane->Position()) {
            case msoCTPDockPositionLeft:
                pane->Place({x, 0, x + pane->Width(), height});
                x += pane->Width();
                break;
            case msoCTPDockPositionRight:
                pane->Place({xr - pane->Width(), 0, xr, height});
                xr -= pane->Width();
                break;
            default:
                break;
        }
    }
    int ty = 0, by = height;
    for (const auto& p : panes_) {
        auto* pane = static_cast<TPane*>(p.Get());
        if (!pane->Visible()) continue;
        if (pane->Position() == msoCTPDockPositionTop) {
            pane->Place({x, ty, xr, ty + pane->Height()});
            ty += pane->Height();
        } else if (pane->Position() == msoCTPDockPositionBottom || pane->Position() == msoCTPDockPositionFloating) {
            pane->Place({x, by - pane->Height(), xr, by});
            by -= pane->Height();
        }
    }
    int inner = std::max(0, xr - x - kFolderWidth);
    int listWidth = inner * 11 / 20;
    MoveWindow(folders_, x, y, kFolderWidth, std::max(0, yb - y), TRUE);
    MoveWindow(items_, x + kFolderWidth, y, listWidth, std::max(0, yb - y), TRUE);
    MoveWindow(reading_, x + kFolderWidth + listWidth, y, inner - listWidth, std::max(0, yb - y), TRUE);
}

void TExplorerWindow::Pump() {
    for (int round = 0; round < 3; ++round) {
        if (window_) RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
        Sleep(30);
    }
}

std::vector<TExplorerWindow::TPaneInfo> TExplorerWindow::Panes() const {
    std::vector<TPaneInfo> out;
    for (const auto& p : panes_) {
        auto* pane = static_cast<TPane*>(p.Get());
        out.push_back({pane->Title(), pane->Visible(), pane->Position(), pane->Frame()});
    }
    return out;
}

void TExplorerWindow::DeletePanes() {
    std::vector<TComPtr<_CustomTaskPane>> panes = panes_;
    for (auto& p : panes) p->Delete();
    panes_.clear();
}

bool TExplorerWindow::ClosePane(const std::string& title) {
    for (const auto& p : panes_) {
        auto* pane = static_cast<TPane*>(p.Get());
        if (pane->Title() == title && pane->Visible()) {
            TComPtr<_CustomTaskPane> hold(p);
            pane->UserCloses();
            Pump();
            return true;
        }
    }
    return false;
}

bool TExplorerWindow::ChooseTab(const std::string& text) {
    std::wstring wanted = Wide(text);
    for (const auto& p : panes_) {
        auto* pane = static_cast<TPane*>(p.Get());
        if (!pane->Visible() || !pane->Frame()) continue;
        // Every tab control in the pane: its own strip, and those of the forms inside it.
        std::vector<HWND> strips;
        EnumChildWindows(
            pane->Frame(),
            [](HWND w, LPARAM found) {
                wchar_t name[64] = {};
                GetClassNameW(w, name, 64);
                if (std::wstring(name) == WC_TABCONTROLW) reinterpret_cast<std::vector<HWND>*>(found)->push_back(w);
                return TRUE;
            },
            reinterpret_cast<LPARAM>(&strips));
        for (HWND tabs : strips)
            for (int i = 0; i < TabCtrl_GetItemCount(tabs); ++i) {
                wchar_t label[128] = {};
                TCITEMW item{};
                item.mask = TCIF_TEXT;
                item.pszText = label;
                item.cchTextMax = 128;
                TabCtrl_GetItem(tabs, i, &item);
                if (wanted != label) continue;
                // As the tab control tells its parent of a click on a tab.
                TabCtrl_SetCurSel(tabs, i);
                NMHDR header{tabs, static_cast<UINT_PTR>(GetDlgCtrlID(tabs)), static_cast<UINT>(TCN_SELCHANGE)};
                SendMessageW(GetParent(tabs), WM_NOTIFY, header.idFrom, reinterpret_cast<LPARAM>(&header));
                return true;
            }
    }
    return false;
}

void TExplorerWindow::Forget(TPane* pane) {
    panes_.erase(std::remove_if(panes_.begin(), panes_.end(),
                                [&](const TComPtr<_CustomTaskPane>& p) { return p.Get() == pane; }),
                 panes_.end());
    Layout();
}

// ---------------------------------------------------------------------------------------------

void SaveScreenshot(HWND window, const std::wstring& file) {
    // The windows first catch up with what the commands before did: the add-in's panes read
    // their forms again twice a second.
    for (DWORD until = GetTickCount() + 600; static_cast<LONG>(until - GetTickCount()) > 0;) {
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
        Sleep(20);
    }
    if (window) RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    RECT r{};
    if (window) {
        // The window's client area: its frame is the window manager's, when there is one.
        if (!GetClientRect(window, &r)) throw Exception("no such window");
        MapWindowPoints(window, nullptr, reinterpret_cast<POINT*>(&r), 2);
    } else {
        r = {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    }
    int width = r.right - r.left, height = r.bottom - r.top;
    if (width <= 0 || height <= 0) throw Exception("the window has no size");
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    uint32_t* bits = nullptr;
    HBITMAP bitmap = NewBitmap32(screen, width, height, &bits);
    HGDIOBJ old = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, height, screen, r.left, r.top, SRCCOPY);
    SelectObject(memory, old);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    // The screen's pixels carry no alpha: they are opaque.
    for (size_t i = 0; bits && i < static_cast<size_t>(width) * height; ++i) bits[i] |= 0xFF000000u;

    auto check = [&](HRESULT hr, const char* what) {
        if (FAILED(hr)) {
            DeleteObject(bitmap);
            RaiseOle(hr, what);
        }
    };
    TComPtr<IWICImagingFactory> wic;
    check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                           reinterpret_cast<void**>(wic.Out())),
          "WIC");
    TComPtr<IWICStream> stream;
    check(wic->CreateStream(stream.Out()), "WIC stream");
    check(stream->InitializeFromFilename(file.c_str(), GENERIC_WRITE), "the PNG file");
    TComPtr<IWICBitmapEncoder> encoder;
    check(wic->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.Out()), "WIC's PNG encoder");
    check(encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache), "the PNG encoder");
    TComPtr<IWICBitmapFrameEncode> frame;
    check(encoder->CreateNewFrame(frame.Out(), nullptr), "a PNG frame");
    check(frame->Initialize(nullptr), "the PNG frame");
    check(frame->SetSize(static_cast<UINT>(width), static_cast<UINT>(height)), "the PNG's size");
    WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGRA;
    check(frame->SetPixelFormat(&format), "the PNG's pixel format");
    check(frame->WritePixels(static_cast<UINT>(height), static_cast<UINT>(width) * 4,
                             static_cast<UINT>(width) * 4 * static_cast<UINT>(height), reinterpret_cast<BYTE*>(bits)),
          "the PNG's pixels");
    check(frame->Commit(), "the PNG frame");
    check(encoder->Commit(), "the PNG file");
    DeleteObject(bitmap);
}

}  // namespace win
