#include "win/com/PaneControl.h"

#include <commctrl.h>
#include <olectl.h>

#include <mutex>

#include "base/Guard.h"
#include "toolkit/Forms.h"
#include "win/com/Generated.h"

namespace win {

// ---------------------------------------------------------------------------------------------
// The content of a pane

namespace panes {
namespace {

std::mutex g_factoryLock;
TPaneContentFactory g_factory;

// The default content: a window that paints the form's caption.
class TCaptionContent final : public IPaneContent {
public:
    TCaptionContent(TForm& form, HWND parent) {
        std::wstring caption = Wide(form.Caption());
        window_ = CreateWindowExW(0, L"STATIC", caption.c_str(), WS_CHILD | WS_VISIBLE | SS_LEFT, 0, 0, 0, 0,
                                  parent, nullptr, nullptr, nullptr);
        if (window_) SendMessageW(window_, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)), 0);
    }
    ~TCaptionContent() override {
        if (window_) DestroyWindow(window_);
    }
    void SetBounds(const RECT& r) override {
        if (window_) MoveWindow(window_, r.left + 8, r.top + 8, r.right - r.left - 16, 20, TRUE);
    }

private:
    HWND window_ = nullptr;
};

}  // namespace

void SetPaneContentFactory(TPaneContentFactory factory) {
    std::lock_guard<std::mutex> hold(g_factoryLock);
    g_factory = std::move(factory);
}

std::unique_ptr<IPaneContent> MakePaneContent(TForm& form, HWND parent) {
    TPaneContentFactory factory;
    {
        std::lock_guard<std::mutex> hold(g_factoryLock);
        factory = g_factory;
    }
    std::unique_ptr<IPaneContent> content;
    Swallow([&] {
        content = factory ? factory(form, parent) : std::make_unique<TCaptionContent>(form, parent);
    });
    return content;
}

}  // namespace panes

// ---------------------------------------------------------------------------------------------
// The control

namespace {

// The private interface by which the add-in finds its own control behind Office's pointer.
const IID IID_TPaneControl = {0x5b0e1c52, 0x7d1a, 0x4f0e, {0x9c, 0x61, 0x2a, 0x44, 0x0f, 0x8e, 0x73, 0x19}};
constexpr const wchar_t* kWindowClass = L"CorvellePane";
constexpr DWORD kMiscStatus = OLEMISC_RECOMPOSEONRESIZE | OLEMISC_CANTLINKINSIDE | OLEMISC_INSIDEOUT |
                              OLEMISC_ACTIVATEWHENVISIBLE | OLEMISC_SETCLIENTSITEFIRST;

HMODULE ThisModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&ThisModule), &module);
    return module;
}

class TPaneControl final : public IOleObject,
                           public IOleInPlaceObject,
                           public IOleInPlaceActiveObject,
                           public IPersistStreamInit,
                           public IQuickActivate,
                           public IViewObject2,
                           public IDispatch,
                           public IPaneControl,
                           private TComRefCount {
public:
    TPaneControl() { extent_ = {5000, 5000}; }
    ~TPaneControl() override { DestroyOwnWindow(); }

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IOleObject)) *out = static_cast<IOleObject*>(this);
        else if (IsEqualIID(iid, IID_IOleWindow) || IsEqualIID(iid, IID_IOleInPlaceObject))
            *out = static_cast<IOleInPlaceObject*>(this);
        else if (IsEqualIID(iid, IID_IOleInPlaceActiveObject)) *out = static_cast<IOleInPlaceActiveObject*>(this);
        else if (IsEqualIID(iid, IID_IPersistStreamInit) || IsEqualIID(iid, IID_IPersist))
            *out = static_cast<IPersistStreamInit*>(this);
        else if (IsEqualIID(iid, IID_IQuickActivate)) *out = static_cast<IQuickActivate*>(this);
        else if (IsEqualIID(iid, IID_IViewObject) || IsEqualIID(iid, IID_IViewObject2))
            *out = static_cast<IViewObject2*>(this);
        else if (IsEqualIID(iid, IID_IDispatch)) *out = static_cast<IDispatch*>(this);
        else if (IsEqualIID(iid, IID_TPaneControl)) *out = static_cast<IOleObject*>(this);
        else return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return DoAddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return DoRelease(); }

    // IOleObject
    HRESULT STDMETHODCALLTYPE SetClientSite(IOleClientSite* site) override {
        site_ = TComPtr<IOleClientSite>(site);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetClientSite(IOleClientSite** site) override {
        if (!site) return E_POINTER;
        *site = TComPtr<IOleClientSite>(site_).Detach();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetHostNames(LPCOLESTR, LPCOLESTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Close(DWORD) override {
        InPlaceDeactivate();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetMoniker(DWORD, IMoniker*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMoniker(DWORD, DWORD, IMoniker** m) override {
        if (m) *m = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE InitFromData(IDataObject*, BOOL, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetClipboardData(DWORD, IDataObject** d) override {
        if (d) *d = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DoVerb(LONG verb, LPMSG, IOleClientSite* activeSite, LONG, HWND parent,
                                     LPCRECT rect) override {
        switch (verb) {
            case OLEIVERB_PRIMARY:
            case OLEIVERB_SHOW:
            case OLEIVERB_OPEN:
            case OLEIVERB_INPLACEACTIVATE:
            case OLEIVERB_UIACTIVATE:
                return Activate(activeSite ? activeSite : site_.Get(), parent, rect);
            case OLEIVERB_HIDE:
                if (window_) ShowWindow(window_, SW_HIDE);
                return S_OK;
            default:
                return OLEOBJ_S_INVALIDVERB;
        }
    }
    HRESULT STDMETHODCALLTYPE EnumVerbs(IEnumOLEVERB** e) override {
        if (e) *e = nullptr;
        return OLEOBJ_E_NOVERBS;
    }
    HRESULT STDMETHODCALLTYPE Update() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE IsUpToDate() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetUserClassID(CLSID* clsid) override { return GetClassID(clsid); }
    HRESULT STDMETHODCALLTYPE GetUserType(DWORD, LPOLESTR* type) override {
        if (type) *type = nullptr;
        return OLE_S_USEREG;
    }
    HRESULT STDMETHODCALLTYPE SetExtent(DWORD aspect, SIZEL* size) override {
        if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
        if (!size) return E_POINTER;
        extent_ = *size;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetExtent(DWORD aspect, SIZEL* size) override {
        if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
        if (!size) return E_POINTER;
        *size = extent_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Advise(IAdviseSink*, DWORD* cookie) override {
        if (cookie) *cookie = 0;
        return OLE_E_ADVISENOTSUPPORTED;
    }
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD) override { return OLE_E_NOCONNECTION; }
    HRESULT STDMETHODCALLTYPE EnumAdvise(IEnumSTATDATA** e) override {
        if (e) *e = nullptr;
        return OLE_E_ADVISENOTSUPPORTED;
    }
    HRESULT STDMETHODCALLTYPE GetMiscStatus(DWORD, DWORD* status) override {
        if (!status) return E_POINTER;
        *status = kMiscStatus;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetColorScheme(LOGPALETTE*) override { return E_NOTIMPL; }

    // IOleWindow, IOleInPlaceObject, IOleInPlaceActiveObject
    HRESULT STDMETHODCALLTYPE GetWindow(HWND* window) override {
        if (!window) return E_POINTER;
        *window = window_;
        return window_ ? S_OK : E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE InPlaceDeactivate() override {
        if (!inPlaceSite_) return S_OK;
        ClearPagesContent();
        DestroyOwnWindow();
        TComPtr<IOleInPlaceSite> site = std::move(inPlaceSite_);
        site->OnInPlaceDeactivate();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE UIDeactivate() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetObjectRects(LPCRECT position, LPCRECT) override {
        if (!position) return E_POINTER;
        if (window_)
            MoveWindow(window_, position->left, position->top, position->right - position->left,
                       position->bottom - position->top, TRUE);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE ReactivateAndUndo() override { return INPLACE_E_NOTUNDOABLE; }
    HRESULT STDMETHODCALLTYPE TranslateAccelerator(LPMSG) override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE OnFrameWindowActivate(BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnDocWindowActivate(BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ResizeBorder(LPCRECT, IOleInPlaceUIWindow*, BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE EnableModeless(BOOL) override { return S_OK; }

    // IPersistStreamInit: a pane keeps nothing of its own.
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* clsid) override {
        if (!clsid) return E_POINTER;
        *clsid = CLSID_CorvellePane;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE IsDirty() override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE Load(LPSTREAM) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Save(LPSTREAM, BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetSizeMax(ULARGE_INTEGER* size) override {
        if (!size) return E_POINTER;
        size->QuadPart = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE InitNew() override { return S_OK; }

    // IQuickActivate
    HRESULT STDMETHODCALLTYPE QuickActivate(QACONTAINER* container, QACONTROL* control) override {
        if (!container || !control) return E_POINTER;
        if (container->pClientSite) SetClientSite(container->pClientSite);
        ULONG size = control->cbSize;
        ZeroMemory(control, size);
        control->cbSize = size;
        control->dwMiscStatus = kMiscStatus;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetContentExtent(LPSIZEL size) override { return SetExtent(DVASPECT_CONTENT, size); }
    HRESULT STDMETHODCALLTYPE GetContentExtent(LPSIZEL size) override { return GetExtent(DVASPECT_CONTENT, size); }

    // IViewObject2: the control draws in its own window; drawn elsewhere it is a plain area.
    HRESULT STDMETHODCALLTYPE Draw(DWORD aspect, LONG, void*, DVTARGETDEVICE*, HDC, HDC hdc, LPCRECTL bounds,
                                   LPCRECTL, BOOL(STDMETHODCALLTYPE*)(ULONG_PTR), ULONG_PTR) override {
        if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
        if (!hdc || !bounds) return E_INVALIDARG;
        RECT r{bounds->left, bounds->top, bounds->right, bounds->bottom};
        FillRect(hdc, &r, GetSysColorBrush(COLOR_WINDOW));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC, LOGPALETTE** set) override {
        if (set) *set = nullptr;
        return S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Freeze(DWORD, LONG, void*, DWORD* freeze) override {
        if (freeze) *freeze = 0;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Unfreeze(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetAdvise(DWORD, DWORD, IAdviseSink* sink) override {
        viewSink_ = TComPtr<IAdviseSink>(sink);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) override {
        if (aspects) *aspects = DVASPECT_CONTENT;
        if (flags) *flags = 0;
        if (sink) *sink = TComPtr<IAdviseSink>(viewSink_).Detach();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetExtent(DWORD aspect, LONG, DVTARGETDEVICE*, LPSIZEL size) override {
        return GetExtent(aspect, size);
    }

    // IDispatch: the pane's content control has no members.
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
        if (info) *info = nullptr;
        return DISP_E_BADINDEX;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT count, LCID, DISPID* ids) override {
        if (ids)
            for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
        return DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                                     UINT*) override {
        if (result) VariantInit(result);
        return DISP_E_MEMBERNOTFOUND;
    }

    // IPaneControl
    void ShowPages(std::vector<TPanePage> pages) override {
        ClearPagesContent();
        pages_.clear();
        for (TPanePage& p : pages) pages_.push_back({std::move(p), nullptr});
        current_ = pages_.empty() ? -1 : 0;
        if (window_) MakePagesContent();
    }
    void ClearPages() override {
        ClearPagesContent();
        pages_.clear();
        current_ = -1;
    }
    void SetActivateHandler(std::function<void(int)> handler) override { onActivate_ = std::move(handler); }
    HWND Window() const override { return window_; }
    int CurrentPage() const override { return current_; }

private:
    struct TPage {
        TPanePage page;
        std::unique_ptr<panes::IPaneContent> content;
    };

    HRESULT Activate(IOleClientSite* site, HWND parent, LPCRECT rect) {
        try {
            if (window_) {
                ShowWindow(window_, SW_SHOW);
                if (rect) SetObjectRects(rect, rect);
                return S_OK;
            }
            if (!site) return E_UNEXPECTED;
            TComPtr<IOleInPlaceSite> inPlace;
            if (FAILED(site->QueryInterface(IID_IOleInPlaceSite, reinterpret_cast<void**>(inPlace.Out()))))
                return E_NOINTERFACE;
            if (inPlace->CanInPlaceActivate() != S_OK) return E_FAIL;
            inPlace->OnInPlaceActivate();
            if (!parent) inPlace->GetWindow(&parent);
            RECT position{0, 0, 0, 0};
            if (rect) {
                position = *rect;
            } else {
                TComPtr<IOleInPlaceFrame> frame;
                TComPtr<IOleInPlaceUIWindow> document;
                RECT clip{};
                OLEINPLACEFRAMEINFO info{};
                info.cb = sizeof info;
                inPlace->GetWindowContext(frame.Out(), document.Out(), &position, &clip, &info);
            }
            if (!parent || !MakeOwnWindow(parent, position)) {
                inPlace->OnInPlaceDeactivate();
                return E_FAIL;
            }
            inPlaceSite_ = std::move(inPlace);
            MakePagesContent();
            return S_OK;
        } catch (...) {
            return HresultFromException(std::current_exception());
        }
    }

    static void Register() {
        static std::once_flag once;
        std::call_once(once, [] {
            INITCOMMONCONTROLSEX controls{sizeof controls, ICC_TAB_CLASSES | ICC_STANDARD_CLASSES};
            InitCommonControlsEx(&controls);
            WNDCLASSEXW c{};
            c.cbSize = sizeof c;
            c.lpfnWndProc = &TPaneControl::WindowProc;
            c.hInstance = ThisModule();
            c.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
            c.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
            c.lpszClassName = kWindowClass;
            RegisterClassExW(&c);
        });
    }

    bool MakeOwnWindow(HWND parent, const RECT& r) {
        Register();
        window_ = CreateWindowExW(WS_EX_CONTROLPARENT, kWindowClass, L"", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN,
                                  r.left, r.top, r.right - r.left, r.bottom - r.top, parent, nullptr, ThisModule(),
                                  this);
        return window_ != nullptr;
    }

    void DestroyOwnWindow() {
        ClearPagesContent();
        if (window_) {
            SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
            DestroyWindow(window_);
        }
        window_ = nullptr;
        tabs_ = nullptr;
    }

    void ClearPagesContent() {
        for (TPage& p : pages_) p.content.reset();
        if (tabs_) {
            DestroyWindow(tabs_);
            tabs_ = nullptr;
        }
    }

    void MakePagesContent() {
        if (!window_) return;
        ClearPagesContent();
        if (pages_.size() > 1) {
            tabs_ = CreateWindowExW(0, WC_TABCONTROLW, L"", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | TCS_BOTTOM, 0,
                                    0, 0, 0, window_, nullptr, ThisModule(), nullptr);
            if (tabs_) {
                SendMessageW(tabs_, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)), 0);
                for (size_t i = 0; i < pages_.size(); ++i) {
                    std::wstring text = Wide(pages_[i].page.title);
                    TCITEMW item{};
                    item.mask = TCIF_TEXT;
                    item.pszText = text.data();
                    TabCtrl_InsertItem(tabs_, static_cast<int>(i), &item);
                }
                TabCtrl_SetCurSel(tabs_, current_ < 0 ? 0 : current_);
            }
        }
        // The content goes into the pane's window (beside the tabs, not inside them), so that it
        // receives its own controls' messages.
        for (TPage& p : pages_)
            if (p.page.form) p.content = panes::MakePaneContent(*p.page.form, window_);
        if (tabs_) SetWindowPos(tabs_, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
        Layout();
    }

    void Layout() {
        if (!window_) return;
        RECT client{};
        GetClientRect(window_, &client);
        RECT area = client;
        if (tabs_) {
            MoveWindow(tabs_, client.left, client.top, client.right - client.left, client.bottom - client.top, TRUE);
            TabCtrl_AdjustRect(tabs_, FALSE, &area);
        }
        static const RECT hidden{0, 0, 0, 0};
        for (size_t i = 0; i < pages_.size(); ++i)
            if (pages_[i].content)
                Swallow([&] { pages_[i].content->SetBounds(static_cast<int>(i) == current_ ? area : hidden); });
        InvalidateRect(window_, nullptr, TRUE);
    }

    void ReportActivated() {
        if (current_ < 0 || !onActivate_) return;
        int index = pages_[static_cast<size_t>(current_)].page.paneIndex;
        Swallow([&] { onActivate_(index); });
    }

    LRESULT Handle(UINT message, WPARAM w, LPARAM l) {
        switch (message) {
            case WM_SIZE:
                Layout();
                return 0;
            case WM_NOTIFY: {
                auto* header = reinterpret_cast<NMHDR*>(l);
                if (header && header->hwndFrom == tabs_ && header->code == TCN_SELCHANGE) {
                    current_ = TabCtrl_GetCurSel(tabs_);
                    Layout();
                    ReportActivated();
                    return 0;
                }
                break;
            }
            case WM_MOUSEACTIVATE:
                ReportActivated();
                return MA_ACTIVATE;
            default:
                break;
        }
        return DefWindowProcW(window_, message, w, l);
    }

    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM w, LPARAM l) {
        if (message == WM_NCCREATE) {
            auto* create = reinterpret_cast<CREATESTRUCTW*>(l);
            SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
        }
        auto* self = reinterpret_cast<TPaneControl*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (!self || !self->window_) return DefWindowProcW(window, message, w, l);
        LRESULT result = 0;
        bool handled = Swallow([&] { result = self->Handle(message, w, l); });
        return handled ? result : 0;
    }

    TComPtr<IOleClientSite> site_;
    TComPtr<IOleInPlaceSite> inPlaceSite_;
    TComPtr<IAdviseSink> viewSink_;
    HWND window_ = nullptr;
    HWND tabs_ = nullptr;
    SIZEL extent_{};
    std::vector<TPage> pages_;
    int current_ = -1;
    std::function<void(int)> onActivate_;
};

}  // namespace

HRESULT CreatePaneControl(REFIID iid, void** out) { return NewComObject<TPaneControl, IOleObject>(iid, out); }

IPaneControl* PaneControlOf(IUnknown* unknown) {
    if (!unknown) return nullptr;
    IOleObject* object = nullptr;
    if (FAILED(unknown->QueryInterface(IID_TPaneControl, reinterpret_cast<void**>(&object))) || !object) return nullptr;
    auto* control = static_cast<TPaneControl*>(object);
    object->Release();  // the caller's pointer keeps it alive
    return control;
}

}  // namespace win
