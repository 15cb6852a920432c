#include "win/com/AddIn.h"

#include <cstdlib>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "base/Guard.h"
#include "host/AddinModule.h"
#include "toolkit/Graphics.h"
#include "win/bind/OleEvents.h"
#include "win/bind/OleExcel.h"
#include "win/bind/OleObject.h"
#include "win/bind/OleOutlook.h"
#include "win/com/PaneControl.h"
#include "win/com/Registration.h"
#include "win/com/RibbonXml.h"
#include "win/com/ScriptBridge.h"
#include "win/com/TaskPanes.h"
#include "win/platform/WinServices.h"
#include "win/res/Glyphs.h"
#include "win/ui/OutlookDesktop.h"
#include "win/ui/WinUi.h"

namespace win {
namespace {

// The panes draw their forms with the views of the forms' windows, and the views draw their
// pictures from the glyphs in the library: a form's image list by the form's and the list's names.
class TPaneView final : public panes::IPaneContent {
public:
    explicit TPaneView(std::unique_ptr<ui::TFormWindow> window) : window_(std::move(window)) {}
    void SetBounds(const RECT& r) override { window_->SetBounds(r.left, r.top, r.right - r.left, r.bottom - r.top); }

private:
    std::unique_ptr<ui::TFormWindow> window_;
};

void ConnectViews() {
    panes::SetPaneContentFactory([](TForm& form, HWND parent) -> std::unique_ptr<panes::IPaneContent> {
        std::unique_ptr<ui::TFormWindow> window = ui::CreatePaneWindow(form, parent);
        if (!window) return nullptr;
        return std::make_unique<TPaneView>(std::move(window));
    });
    ui::SetImageListProvider([](const TForm* form, const TcxImageList* list) -> HIMAGELIST {
        if (list && list->Owner()) return res::ImageList(list->Owner()->Name() + "." + list->Name());
        return form ? res::FormImageList(form->Name()) : nullptr;
    });
}

// Outlook's application events (ApplicationEvents_11) and the dispatch ID of Quit.
constexpr const char* kApplicationEvents = "{0006302C-0000-0000-C000-000000000046}";
constexpr DISPID kQuit = 0xF007;

// The ribbon's callbacks as dispatch IDs of the add-in's IDispatch.
constexpr DISPID kRibbonLoaded = 1;
constexpr DISPID kRibbonImage = 2;
constexpr DISPID kFirstButton = 100;

// The dispatch IDs of IDTExtensibility2 and IRibbonExtensibility's members.
constexpr DISPID kOnConnection = 1, kOnDisconnection = 2, kOnAddInsUpdate = 3, kOnStartupComplete = 4,
                 kOnBeginShutdown = 5, kGetCustomUI = 1;

// The major version of the host from its Version ("16.0.0.17126"); 0 when it can't be had.
int MajorVersionOf(IDispatch* application) {
    int major = 0;
    Swallow([&] { major = std::atoi(TOleObject(TComPtr<IDispatch>(application)).GetText("Version").c_str()); });
    return major;
}

std::vector<TadxRibbonButton*> Buttons(TAddInModule& m) {
    std::vector<TadxRibbonButton*> out;
    for (TadxRibbonGroup& g : m.adxRibbonTab1.Controls)
        for (TadxRibbonButton& b : g.Controls) out.push_back(&b);
    return out;
}

class TCorvelle;

// Quit of Outlook's application events, handed to the add-in while it is connected.
class TQuitSink final : public platform::IDispatch {
public:
    explicit TQuitSink(TCorvelle* owner) : owner_(owner) {}
    void Invoke(int32_t dispId, const std::vector<Variant>&) override;
    void Detach() { owner_ = nullptr; }

private:
    TCorvelle* owner_;
};

class TCorvelle final : public ICorvelle, private TComRefCount {
public:
    TCorvelle() : extensibility_(*this), ribbon_(*this), script_(*this), consumer_(*this) {}
    ~TCorvelle() override {
        UnadviseApplicationEvents();
        panes_.reset();
        if (desktop_) win::ui::UninstallOutlookDesktop();
        if (bridge_) bridge_->ReleaseWindows();
        // The module goes first, while the bridge that serves it is still there.
        module_.reset();
        bridge_.reset();
    }

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) || IsEqualIID(iid, IID_ICorvelle))
            *out = static_cast<ICorvelle*>(this);
        else if (IsEqualIID(iid, IID_IDTExtensibility2))
            *out = static_cast<IDTExtensibility2*>(&extensibility_);
        else if (IsEqualIID(iid, IID_IRibbonExtensibility))
            *out = static_cast<IRibbonExtensibility*>(&ribbon_);
        else if (IsEqualIID(iid, IID_ICustomTaskPaneConsumer))
            *out = static_cast<ICustomTaskPaneConsumer*>(&consumer_);
        else if (IsEqualIID(iid, IID_ICorvelleScriptAddIn))
            *out = static_cast<ICorvelleScriptAddIn*>(&script_);
        else
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return DoAddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return DoRelease(); }

    // IDispatch of ICorvelle: the ribbon's callbacks by name.
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
        if (info) *info = nullptr;
        return DISP_E_BADINDEX;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        return IdsOfNames(names, count, ids, [this](const std::string& name) { return CallbackId(name); });
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO*, UINT*) override {
        if (result) VariantInit(result);
        if (id == kRibbonImage) return LoadImage(params, result);
        if (!module_) return DISP_E_MEMBERNOTFOUND;
        if (id == kRibbonLoaded) {
            // The ribbon's IRibbonUI, kept while the add-in is connected.
            Swallow([&] {
                ribbonUI_.Reset();
                if (params && params->cArgs >= 1) ribbonUI_ = VariantObject(params->rgvarg[params->cArgs - 1]);
            });
            return S_OK;
        }
        std::vector<TadxRibbonButton*> buttons = Buttons(*module_);
        size_t index = static_cast<size_t>(id - kFirstButton);
        if (id < kFirstButton || index >= buttons.size()) return DISP_E_MEMBERNOTFOUND;
        // The handler reports its own failures to the module's error handler.
        try {
            if (buttons[index]->OnClick) buttons[index]->OnClick();
        } catch (...) {
            module_->HandleError(std::current_exception());
        }
        return S_OK;
    }

    // IDTExtensibility2
    HRESULT OnConnection(IDispatch* application, ext_ConnectMode mode) {
        try {
            if (module_) return S_OK;  // connected already
            application_ = TComPtr<IDispatch>(application);
            THostInfo host;
            host.HostType = TadxHostApp::ohaOutlook;
            host.Application = BindOutlookApplication(application_);
            host.MajorVersion = MajorVersionOf(application);
            host.RegisteredForAllUsers = RegisteredForAllUsers();
            TComPtr<ICorvelleScriptHost> scriptHost;
            if (application)
                application->QueryInterface(IID_ICorvelleScriptHost, reinterpret_cast<void**>(scriptHost.Out()));
            if (scriptHost) {
                bridge_ = std::make_unique<TScriptBridge>(std::move(scriptHost));
                host.Services = bridge_->Services();
            } else {
                host.Services = WindowsServices();
                host.Services.Excel = MakeOleExcelServer();
            }
            module_ = std::make_unique<TAddInModule>(std::move(host));
            ConnectViews();
            panes_ = std::make_unique<TTaskPanes>(*module_);
            panes_->SetFactory(ctpFactory_.Get());
            if (bridge_) bridge_->Attach(module_.get(), [this] { return Running(); });
            // Inside a real Outlook the forms get windows; the script bridge keeps its own hosts.
            if (!bridge_) {
                win::ui::InstallOutlookDesktop();
                desktop_ = true;
            }
            connected_ = true;
            AdviseApplicationEvents();
            module_->OnConnection();
            // Loaded after Outlook's own start (from its COM add-ins dialog, say): no
            // OnStartupComplete comes, so the start-up runs now.
            if (mode == ext_cm_AfterStartup) OnStartupComplete();
            return S_OK;
        } catch (...) {
            return ReportException(std::current_exception(), IID_IDTExtensibility2);
        }
    }

    HRESULT OnDisconnection() {
        try {
            if (!module_ || !connected_) return S_OK;
            // Unloaded by the user while Outlook runs: the shutdown comes first all the same.
            if (!beganShutdown_) OnBeginShutdown();
            connected_ = false;
            panes_.reset();
            module_->OnDisconnection();
            UnadviseApplicationEvents();
            ribbonUI_.Reset();
            return S_OK;
        } catch (...) {
            return ReportException(std::current_exception(), IID_IDTExtensibility2);
        }
    }

    HRESULT OnStartupComplete() {
        try {
            if (!module_ || startedUp_) return S_OK;
            startedUp_ = true;
            module_->OnStartupComplete();
            // The panes come after the start-up: their forms read the module's tables.
            if (panes_) panes_->Start(application_.Get());
            return S_OK;
        } catch (...) {
            return ReportException(std::current_exception(), IID_IDTExtensibility2);
        }
    }

    HRESULT OnBeginShutdown() {
        try {
            if (!module_) return S_OK;
            beganShutdown_ = true;
            if (bridge_) bridge_->ReleaseWindows();
            // The explorer's forms close (and save) while the tables are still there.
            if (panes_) panes_->Stop();
            module_->OnBeginShutdown();
            return S_OK;
        } catch (...) {
            return ReportException(std::current_exception(), IID_IDTExtensibility2);
        }
    }

    void Quit() {
        quit_ = true;
        if (bridge_) bridge_->ReleaseWindows();
        if (module_) module_->adxOutlookAppEvents1.DoQuit();
    }

    // ICustomTaskPaneConsumer: Office's task pane service, kept for the panes.
    HRESULT CTPFactoryAvailable(ICTPFactory* factory) {
        ctpFactory_ = TComPtr<ICTPFactory>(factory);
        if (panes_) panes_->SetFactory(factory);
        return S_OK;
    }

    // IRibbonExtensibility
    HRESULT GetCustomUI(BSTR ribbonId, BSTR* xml) {
        if (!xml) return E_POINTER;
        *xml = nullptr;
        try {
            std::string text = module_ ? RibbonXml(module_->adxRibbonTab1, BstrText(ribbonId)) : std::string();
            *xml = text.empty() ? nullptr : NewBstr(text);
            return S_OK;
        } catch (...) {
            return ReportException(std::current_exception(), IID_IRibbonExtensibility);
        }
    }

    // ICorvelleScriptAddIn
    HRESULT SetScriptClock(DATE now) {
        if (now == 0) ResetClock();
        else SetClock(now);
        return S_OK;
    }
    HRESULT RunScript(BSTR words, int* status, BSTR* message) {
        if (!bridge_) return E_UNEXPECTED;
        return bridge_->Run(words, status, message);
    }
    HRESULT HandleEscaped() { return bridge_ ? bridge_->HandleEscaped() : E_UNEXPECTED; }
    HRESULT FormVisible(BSTR name, BOOL* visible) {
        if (!bridge_) return E_UNEXPECTED;
        return bridge_->FormVisible(name, visible);
    }

private:
    bool Running() const { return connected_ && !beganShutdown_ && !quit_; }

    // loadImage: the picture of the glyph named by the button's image attribute.
    HRESULT LoadImage(DISPPARAMS* params, VARIANT* result) {
        if (!params || params->cArgs < 1) return DISP_E_BADPARAMCOUNT;
        if (!result) return E_POINTER;
        try {
            IPictureDisp* picture = nullptr;
            HRESULT hr = res::Picture(VariantText(params->rgvarg[params->cArgs - 1]), &picture);
            if (FAILED(hr)) return hr;
            V_VT(result) = VT_DISPATCH;
            V_DISPATCH(result) = picture;
            return S_OK;
        } catch (...) {
            return HresultFromException(std::current_exception());
        }
    }

    DISPID CallbackId(const std::string& name) {
        if (name == kRibbonLoadedCallback) return kRibbonLoaded;
        if (name == kRibbonImageCallback) return kRibbonImage;
        if (!module_) return DISPID_UNKNOWN;
        std::vector<TadxRibbonButton*> buttons = Buttons(*module_);
        for (size_t i = 0; i < buttons.size(); ++i)
            if (RibbonActionName(*buttons[i]) == name) return kFirstButton + static_cast<DISPID>(i);
        return DISPID_UNKNOWN;
    }

    // Outlook's Quit reaches the module through ApplicationEvents_11. An Application without
    // the event leaves the add-in without it, silently.
    void AdviseApplicationEvents() {
        Swallow([this] {
            quitSink_ = std::make_shared<TQuitSink>(this);
            appEvents_ = FindOleConnectionPoint(application_.Get(), kApplicationEvents);
            appCookie_ = appEvents_->Advise(quitSink_);
        });
    }
    void UnadviseApplicationEvents() {
        if (quitSink_) quitSink_->Detach();
        if (appEvents_) Swallow([this] { appEvents_->Unadvise(appCookie_); });
        appEvents_.reset();
        quitSink_.reset();
    }

    // The interfaces besides ICorvelle, each a part of the one object.
    template <class Interface>
    class TPart : public Interface {
    public:
        explicit TPart(TCorvelle& owner) : owner_(owner) {}
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
            return owner_.QueryInterface(iid, out);
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return owner_.AddRef(); }
        ULONG STDMETHODCALLTYPE Release() override { return owner_.Release(); }

    protected:
        TCorvelle& owner_;
    };

    // An IDispatch part answers its members by their dispatch IDs, for a host that calls it late.
    template <class Interface>
    class TDispatchPart : public TPart<Interface> {
    public:
        using TPart<Interface>::TPart;
        HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
            if (count) *count = 0;
            return S_OK;
        }
        HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
            if (info) *info = nullptr;
            return DISP_E_BADINDEX;
        }
        HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
            return IdsOfNames(names, count, ids, [this](const std::string& name) { return Id(name); });
        }

    protected:
        virtual DISPID Id(const std::string& name) = 0;
    };

    class TExtensibility final : public TDispatchPart<IDTExtensibility2> {
    public:
        using TDispatchPart::TDispatchPart;
        HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, ext_ConnectMode mode, IDispatch*,
                                               SAFEARRAY**) override {
            return owner_.OnConnection(application, mode);
        }
        HRESULT STDMETHODCALLTYPE OnDisconnection(ext_DisconnectMode, SAFEARRAY**) override {
            return owner_.OnDisconnection();
        }
        HRESULT STDMETHODCALLTYPE OnAddInsUpdate(SAFEARRAY**) override { return S_OK; }
        HRESULT STDMETHODCALLTYPE OnStartupComplete(SAFEARRAY**) override { return owner_.OnStartupComplete(); }
        HRESULT STDMETHODCALLTYPE OnBeginShutdown(SAFEARRAY**) override { return owner_.OnBeginShutdown(); }
        HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT* result,
                                         EXCEPINFO*, UINT*) override {
            if (result) VariantInit(result);
            UINT n = params ? params->cArgs : 0;
            auto arg = [&](UINT i) -> const VARIANT* { return i < n ? &params->rgvarg[n - 1 - i] : nullptr; };
            try {
                switch (id) {
                    case kOnConnection: {
                        TComPtr<IDispatch> app = arg(0) ? VariantObject(*arg(0)) : TComPtr<IDispatch>();
                        int mode = arg(1) ? FromVariant(*arg(1)).AsInteger() : ext_cm_Startup;
                        return owner_.OnConnection(app.Get(), static_cast<ext_ConnectMode>(mode));
                    }
                    case kOnDisconnection: return owner_.OnDisconnection();
                    case kOnAddInsUpdate: return S_OK;
                    case kOnStartupComplete: return owner_.OnStartupComplete();
                    case kOnBeginShutdown: return owner_.OnBeginShutdown();
                    default: return DISP_E_MEMBERNOTFOUND;
                }
            } catch (...) {
                return HresultFromException(std::current_exception());
            }
        }

    protected:
        DISPID Id(const std::string& name) override {
            static const char* const names[] = {"OnConnection", "OnDisconnection", "OnAddInsUpdate",
                                                "OnStartupComplete", "OnBeginShutdown"};
            for (DISPID i = 0; i < 5; ++i)
                if (name == names[i]) return i + 1;
            return DISPID_UNKNOWN;
        }
    };

    class TRibbon final : public TDispatchPart<IRibbonExtensibility> {
    public:
        using TDispatchPart::TDispatchPart;
        HRESULT STDMETHODCALLTYPE GetCustomUI(BSTR ribbonId, BSTR* xml) override {
            return owner_.GetCustomUI(ribbonId, xml);
        }
        HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT* result,
                                         EXCEPINFO*, UINT*) override {
            if (result) VariantInit(result);
            if (id != kGetCustomUI) return DISP_E_MEMBERNOTFOUND;
            if (!params || params->cArgs < 1) return DISP_E_BADPARAMCOUNT;
            try {
                BSTR ribbonId = NewBstr(VariantText(params->rgvarg[params->cArgs - 1]));
                BSTR xml = nullptr;
                HRESULT hr = owner_.GetCustomUI(ribbonId, &xml);
                SysFreeString(ribbonId);
                if (result && SUCCEEDED(hr)) {
                    V_VT(result) = VT_BSTR;
                    V_BSTR(result) = xml;
                } else {
                    SysFreeString(xml);
                }
                return hr;
            } catch (...) {
                return HresultFromException(std::current_exception());
            }
        }

    protected:
        DISPID Id(const std::string& name) override { return name == "GetCustomUI" ? kGetCustomUI : DISPID_UNKNOWN; }
    };

    class TConsumer final : public TDispatchPart<ICustomTaskPaneConsumer> {
    public:
        using TDispatchPart::TDispatchPart;
        HRESULT STDMETHODCALLTYPE CTPFactoryAvailable(ICTPFactory* factory) override {
            return owner_.CTPFactoryAvailable(factory);
        }
        HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT* result,
                                         EXCEPINFO*, UINT*) override {
            if (result) VariantInit(result);
            if (id != 1) return DISP_E_MEMBERNOTFOUND;
            if (!params || params->cArgs < 1) return DISP_E_BADPARAMCOUNT;
            try {
                TComPtr<IDispatch> factory = VariantObject(params->rgvarg[params->cArgs - 1]);
                return owner_.CTPFactoryAvailable(factory.As<ICTPFactory>(IID_ICTPFactory).Get());
            } catch (...) {
                return HresultFromException(std::current_exception());
            }
        }

    protected:
        DISPID Id(const std::string& name) override { return name == "CTPFactoryAvailable" ? 1 : DISPID_UNKNOWN; }
    };

    class TScriptPart final : public TPart<ICorvelleScriptAddIn> {
    public:
        using TPart::TPart;
        HRESULT STDMETHODCALLTYPE SetClock(DATE now) override { return owner_.SetScriptClock(now); }
        HRESULT STDMETHODCALLTYPE Run(BSTR words, int* status, BSTR* message) override {
            return owner_.RunScript(words, status, message);
        }
        HRESULT STDMETHODCALLTYPE HandleEscaped() override { return owner_.HandleEscaped(); }
        HRESULT STDMETHODCALLTYPE FormVisible(BSTR name, BOOL* visible) override {
            return owner_.FormVisible(name, visible);
        }
    };

    TExtensibility extensibility_;
    TRibbon ribbon_;
    TScriptPart script_;
    TConsumer consumer_;

    TComPtr<IDispatch> application_;
    std::unique_ptr<TScriptBridge> bridge_;
    bool desktop_ = false;
    std::unique_ptr<TAddInModule> module_;
    TComPtr<ICTPFactory> ctpFactory_;
    std::unique_ptr<TTaskPanes> panes_;
    std::shared_ptr<platform::IConnectionPoint> appEvents_;
    std::shared_ptr<TQuitSink> quitSink_;
    uint32_t appCookie_ = 0;
    TComPtr<IDispatch> ribbonUI_;
    bool connected_ = false;
    bool startedUp_ = false;
    bool beganShutdown_ = false;
    bool quit_ = false;
};

void TQuitSink::Invoke(int32_t dispId, const std::vector<Variant>&) {
    if (dispId == kQuit && owner_) owner_->Quit();
}

}  // namespace

HRESULT CreateAddIn(REFIID iid, void** out) { return NewComObject<TCorvelle, ICorvelle>(iid, out); }

}  // namespace win
