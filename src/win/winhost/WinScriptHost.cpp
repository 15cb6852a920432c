#include "win/winhost/WinScriptHost.h"

#include <algorithm>

#include "base/Clock.h"
#include "base/Exceptions.h"
#include "base/Guard.h"
#include "sim/ScriptLexer.h"
#include "sim/SimItem.h"
#include "toolkit/Forms.h"
#include "win/winhost/AutoExcel.h"
#include "win/winhost/AutoObject.h"
#include "win/winhost/AutoOutlook.h"
#include "win/winhost/ExplorerWindow.h"

namespace win {
namespace {

bool IsForwarded(const std::string& command) {
    static const char* const commands[] = {"explorer", "activate", "close", "click", "dblclick", "focus",
                                           "call",     "set",      "get",   "tree",  "grid",     "group",
                                           "ungroup",  "cell",     "tab",   "table", "drag",     "drop",
                                           "menu",     "dragnode", "input"};
    return std::any_of(std::begin(commands), std::end(commands), [&](const char* c) { return SameName(c, command); });
}

std::string HresultText(HRESULT hr) {
    try {
        RaiseOle(hr, "call");
    } catch (const Exception& e) {
        return e.Message();
    }
}

// The value of attribute name in an XML tag's text; empty when absent.
std::string Attribute(const std::string& tag, const std::string& name) {
    std::string key = " " + name + "=\"";
    size_t at = tag.find(key);
    if (at == std::string::npos) return {};
    at += key.size();
    size_t end = tag.find('"', at);
    std::string raw = tag.substr(at, end == std::string::npos ? std::string::npos : end - at);
    std::string out;
    for (size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] != '&') {
            out += raw[i];
            continue;
        }
        static const std::pair<const char*, char> entities[] = {
            {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
        for (const auto& [entity, c] : entities)
            if (raw.compare(i, strlen(entity), entity) == 0) {
                out += c;
                i += strlen(entity) - 1;
                break;
            }
    }
    return out;
}

// The objects Office hands an add-in beside the application: its COMAddIn entry, the ribbon's
// IRibbonUI at onLoad, and the IRibbonControl of a callback.
class TAutoComAddIn final : public TAutoObject {
public:
    TAutoComAddIn() {
        Member("ProgId", [](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant("Corvelle.Corvelle")); });
        Member("Description", [](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant("Corvelle")); });
        Member("Connect", [](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(true)); });
    }
};

class TAutoRibbonUI final : public TAutoObject {
public:
    TAutoRibbonUI() {
        for (const char* name : {"Invalidate", "InvalidateControl", "InvalidateControlMso", "ActivateTab",
                                 "ActivateTabMso", "ActivateTabQ"})
            Member(name, [](const TAutoArgs&, VARIANT*) {});
    }
};

class TAutoRibbonControl final : public TAutoObject {
public:
    TAutoRibbonControl(std::string id, TComPtr<IDispatch> context) : id_(std::move(id)), context_(std::move(context)) {
        Member("Id", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(id_)); });
        Member("Context", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, context_); });
        Member("Tag", [](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant("")); });
    }

private:
    std::string id_;
    TComPtr<IDispatch> context_;
};

template <class T, class... A>
TComPtr<IDispatch> MakeAuto(A&&... args) {
    return TComPtr<IDispatch>::Attach(static_cast<IDispatch*>(new T(std::forward<A>(args)...)));
}

}  // namespace

// The host's side of the bridge: what the add-in shows or asks goes to the simulated machine's
// services, as corvelle-sim shows it.
class TWinScriptHost::TBridgeHost final : public ICorvelleScriptHost {
public:
    explicit TBridgeHost(TWinScriptHost& host) : host_(host) {}

    // Reached only through the Application, which counts the references.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
        if (out) *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE ShowMessage(BSTR text) override {
        return Guard([&] { host_.Host().Dialogs->ShowMessage(BstrText(text)); });
    }
    HRESULT STDMETHODCALLTYPE Ask(int buttons, BSTR text, int icon, int* answer) override {
        if (!answer) return E_POINTER;
        return Guard([&] {
            auto i = static_cast<platform::DialogIcon>(icon);
            platform::DialogAnswer a = buttons == 3 ? host_.Host().Dialogs->AskYesNoCancel(BstrText(text), i)
                                                    : host_.Host().Dialogs->AskYesNo(BstrText(text), i);
            *answer = static_cast<int>(a);
        });
    }
    HRESULT STDMETHODCALLTYPE ShowHelp(BSTR file, int context) override {
        return Guard([&] { host_.Host().Help->ShowContext(BstrText(file), context); });
    }
    HRESULT STDMETHODCALLTYPE GetWorkArea(int* left, int* top, int* right, int* bottom) override {
        if (!left || !top || !right || !bottom) return E_POINTER;
        return Guard([&] {
            platform::TRect r = host_.Host().Screen->WorkArea();
            *left = r.Left, *top = r.Top, *right = r.Right, *bottom = r.Bottom;
        });
    }
    HRESULT STDMETHODCALLTYPE GetCursorPos(int* x, int* y) override {
        if (!x || !y) return E_POINTER;
        return Guard([&] {
            platform::TPoint p = host_.Host().Screen->CursorPos();
            *x = p.X, *y = p.Y;
        });
    }
    HRESULT STDMETHODCALLTYPE GetExcel(BOOL start, IDispatch** application) override {
        if (!application) return E_POINTER;
        *application = nullptr;
        try {
            TComPtr<IDispatch> app = start ? host_.excel_->Start() : host_.excel_->Running();
            if (!app) return MK_E_UNAVAILABLE;
            *application = app.Detach();
            return S_OK;
        } catch (...) {
            return ReportException(std::current_exception(), IID_ICorvelleScriptHost);
        }
    }
    HRESULT STDMETHODCALLTYPE GetModuleFileName(BSTR* path) override {
        if (!path) return E_POINTER;
        *path = nullptr;
        return Guard([&] { *path = NewBstr(host_.Host().Module->ModuleFileName()); });
    }
    HRESULT STDMETHODCALLTYPE RunModal(BSTR formName) override {
        return Guard([&] { host_.RunModalRemote(BstrText(formName)); });
    }
    HRESULT STDMETHODCALLTYPE Write(BSTR text) override {
        return Guard([&] { host_.out_ << BstrText(text); });
    }

private:
    template <class Body>
    static HRESULT Guard(Body&& body) {
        try {
            body();
            return S_OK;
        } catch (...) {
            return ReportException(std::current_exception(), IID_ICorvelleScriptHost);
        }
    }
    TWinScriptHost& host_;
};

TWinScriptHost::TWinScriptHost(std::string dir, std::ostream& out) : sim::TScriptHost(dir, out) {
    Host().Module->SetModuleFileName(dir + "\\Corvelle.dll");
    bridge_ = std::make_unique<TBridgeHost>(*this);
    automation_ = std::make_unique<TAutoOutlook>(Host().Outlook, bridge_.get());
    application_ = automation_->Application();
    excel_ = std::make_unique<TAutoExcel>(*Host().Excel);
}

TWinScriptHost::~TWinScriptHost() { Unload(); }

std::string TWinScriptHost::Unload() {
    ReleaseAddIn();
    // The explorer goes with Outlook, and the panes left in it.
    explorer_.reset();
    std::string problem;
    if (automation_) automation_->ReleaseSinks();
    if (excel_) excel_->Release();
    application_.Reset();
    automation_.reset();
    if (HMODULE dll = GetModuleHandleW(L"Corvelle.dll")) {
        using CanUnload = HRESULT(WINAPI*)();
        auto canUnload = reinterpret_cast<CanUnload>(reinterpret_cast<void*>(GetProcAddress(dll, "DllCanUnloadNow")));
        if (canUnload && canUnload() != S_OK) problem += "Corvelle.dll still has live objects (DllCanUnloadNow)";
    }
    if (long live = TComObjectCount::Live(); live != 0) {
        if (!problem.empty()) problem += "; ";
        problem += std::to_string(live) + " automation object(s) of Outlook still referenced";
    }
    return problem;
}

void TWinScriptHost::ReleaseAddIn() {
    extensibility_.Reset();
    script_.Reset();
    addIn_.Reset();
    comAddIn_.Reset();
    ribbonUI_.Reset();
    addInRunning_ = false;
    buttons_.clear();
}

// ---------------------------------------------------------------------------------------------
// The commands

void TWinScriptHost::Execute(const Words& words) {
    if (words.empty()) return;
    const std::string& c = words[0];
    Words args(words.begin() + 1, words.end());
    if (windows_ && WindowCommand(c, args)) return;
    if (SameName(c, "start")) {
        Start(args);
    } else if (SameName(c, "shutdown")) {
        Shutdown(args);
    } else if (SameName(c, "quit")) {
        Quit(args);
    } else if (SameName(c, "ribbon")) {
        Ribbon(args);
    } else if (SameName(c, "click") && args.size() == 1 && args[0].size() > 7 &&
               SameName(args[0].substr(0, 7), "module.")) {
        RequireAddIn(true);
        ClickRibbonButton(args[0].substr(7));
    } else if (SameName(c, "today")) {
        TScriptHost::Execute(words);
        PushClock();
    } else if (IsForwarded(c) && addIn_) {
        Forward(words);
    } else {
        TScriptHost::Execute(words);
    }
}

// The forms' timers live in the add-in: it is set a second back and told to tick once, which
// brings its clock to this host's and fires its timers.
void TWinScriptHost::TickTimers() {
    if (!addIn_ || !script_) return;
    script_->SetClock(Now() - 1.0 / 86400.0);
    Forward({"tick", "1"});
}

void TWinScriptHost::RequireAddIn(bool running) {
    if (!addIn_) throw sim::EScriptError("the add-in has not been started");
    if (running && !addInRunning_) throw sim::EScriptError("the add-in is not running (it was shut down)");
}

void TWinScriptHost::PushClock() {
    if (script_) script_->SetClock(ClockIsSet() ? Now() : 0);
}

void TWinScriptHost::Start(const Words& a) {
    if (!a.empty()) Usage(Find(Commands(), "start", "command"));
    RequireNoModal("start");
    if (addIn_ && addInRunning_) throw sim::EScriptError("the add-in is running already (shutdown or quit first)");
    // The old add-in goes before the new one is made.
    ReleaseAddIn();
    CLSID clsid{};
    HRESULT hr = CLSIDFromProgID(L"Corvelle.Corvelle", &clsid);
    if (FAILED(hr)) throw sim::EScriptError("the add-in Corvelle.Corvelle is not registered: " + HresultText(hr));
    hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, reinterpret_cast<void**>(addIn_.Out()));
    if (FAILED(hr)) throw sim::EScriptError("the add-in could not be made: " + HresultText(hr));
    script_ = addIn_.As<ICorvelleScriptAddIn>(IID_ICorvelleScriptAddIn);
    extensibility_ = addIn_.As<IDTExtensibility2>(IID_IDTExtensibility2);
    if (!script_ || !extensibility_) {
        ReleaseAddIn();
        throw sim::EScriptError("Corvelle.Corvelle is no add-in of this build");
    }
    PushClock();
    comAddIn_ = MakeAuto<TAutoComAddIn>();
    addInRunning_ = true;
    SAFEARRAY* custom = SafeArrayCreateVector(VT_VARIANT, 0, 0);
    extensibility_->OnConnection(application_.Get(), ext_cm_Startup, comAddIn_.Get(), &custom);
    // Office's task pane service, as Office hands it over after the connection.
    if (explorer_)
        if (auto consumer = addIn_.As<ICustomTaskPaneConsumer>(IID_ICustomTaskPaneConsumer))
            consumer->CTPFactoryAvailable(explorer_->Factory());
    LoadRibbon();
    extensibility_->OnStartupComplete(&custom);
    SafeArrayDestroy(custom);
}

void TWinScriptHost::Shutdown(const Words& a) {
    if (!a.empty()) Usage(Find(Commands(), "shutdown", "command"));
    RequireNoModal("shutdown");
    RequireAddIn(false);
    addInRunning_ = false;
    SAFEARRAY* custom = SafeArrayCreateVector(VT_VARIANT, 0, 0);
    extensibility_->OnBeginShutdown(&custom);
    extensibility_->OnDisconnection(ext_dm_HostShutdown, &custom);
    SafeArrayDestroy(custom);
}

void TWinScriptHost::Quit(const Words& a) {
    if (!a.empty()) Usage(Find(Commands(), "quit", "command"));
    RequireNoModal("quit");
    RequireAddIn(false);
    addInRunning_ = false;
    automation_->FireQuit();
}

void TWinScriptHost::LoadRibbon() {
    ribbonXml_.clear();
    buttons_.clear();
    ribbonLoaded_.clear();
    auto ribbon = addIn_.As<IRibbonExtensibility>(IID_IRibbonExtensibility);
    if (!ribbon) return;
    BSTR id = NewBstr("Microsoft.Outlook.Explorer");
    BSTR xml = nullptr;
    HRESULT hr = ribbon->GetCustomUI(id, &xml);
    SysFreeString(id);
    if (SUCCEEDED(hr)) ribbonXml_ = BstrText(xml);
    SysFreeString(xml);
    // The buttons, each with the group's visibility; then onLoad hands over the ribbon.
    bool groupShown = true;
    for (size_t at = ribbonXml_.find('<'); at != std::string::npos; at = ribbonXml_.find('<', at + 1)) {
        size_t end = ribbonXml_.find('>', at);
        std::string tag = ribbonXml_.substr(at, end == std::string::npos ? std::string::npos : end - at + 1);
        if (tag.rfind("<customUI", 0) == 0) ribbonLoaded_ = Attribute(tag, "onLoad");
        if (tag.rfind("<group", 0) == 0) groupShown = Attribute(tag, "visible") != "false";
        if (tag.rfind("<button", 0) == 0)
            buttons_.push_back({Attribute(tag, "id"), Attribute(tag, "label"), Attribute(tag, "onAction"),
                                groupShown && Attribute(tag, "visible") != "false"});
    }
    if (!ribbonLoaded_.empty()) {
        ribbonUI_ = MakeAuto<TAutoRibbonUI>();
        Swallow([this] { CallAddIn(ribbonLoaded_, ribbonUI_.Get()); });
    }
}

// A callback of the ribbon by its name, through the add-in's IDispatch, as Office makes it.
void TWinScriptHost::CallAddIn(const std::string& callback, IDispatch* argument) {
    auto dispatch = addIn_.As<IDispatch>(IID_IDispatch);
    if (!dispatch) throw sim::EScriptError("the add-in offers no IDispatch for the ribbon's callbacks");
    std::wstring name = Wide(callback);
    LPOLESTR names[] = {name.data()};
    DISPID id = DISPID_UNKNOWN;
    HRESULT hr = dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(hr)) throw sim::EScriptError("the add-in has no ribbon callback " + callback);
    VARIANT arg;
    VariantInit(&arg);
    V_VT(&arg) = VT_DISPATCH;
    V_DISPATCH(&arg) = argument;
    DISPPARAMS params{&arg, nullptr, 1, 0};
    TVariant result;
    EXCEPINFO info{};
    hr = dispatch->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result.Get(), &info, nullptr);
    if (FAILED(hr)) RaiseOle(hr, callback, &info);
}

void TWinScriptHost::Ribbon(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "ribbon", "command"));
    RequireAddIn(true);
    for (const TRibbonButton& b : buttons_)
        if (b.shown && b.label == a[0]) {
            ClickRibbonButton(b.id);
            return;
        }
    throw sim::EScriptError("no ribbon button " + sim::QuoteWord(a[0]) + " is shown");
}

void TWinScriptHost::ClickRibbonButton(const std::string& id) {
    for (const TRibbonButton& b : buttons_) {
        if (!SameName(b.id, id)) continue;
        if (!b.shown) throw sim::EScriptError("the ribbon button " + b.id + " is not shown");
        TComPtr<IDispatch> control = MakeAuto<TAutoRibbonControl>(b.id, application_);
        CallAddIn(b.onAction, control.Get());
        return;
    }
    throw sim::EScriptError("unknown control module." + id);
}

void TWinScriptHost::Forward(const Words& words) {
    std::string joined;
    for (size_t i = 0; i < words.size(); ++i) joined += (i ? "\n" : "") + words[i];
    BSTR text = NewBstr(joined);
    int status = 0;
    BSTR message = nullptr;
    HRESULT hr = script_->Run(text, &status, &message);
    SysFreeString(text);
    std::string reason = BstrText(message);
    SysFreeString(message);
    if (FAILED(hr)) throw sim::EScriptError("the add-in did not run the command: " + HresultText(hr));
    if (status == 1) throw sim::EScriptError(reason);
    if (status == 2) {
        // A question nobody answered says it best; any other failure that escaped goes to the
        // module's error handler, inside the add-in.
        if (auto error = NewDialogError()) throw sim::EScriptError(*error);
        script_->HandleEscaped();
    }
}

// ---------------------------------------------------------------------------------------------
// The explorer window

void TWinScriptHost::EnableWindows() {
    windows_ = true;
    if (!explorer_) explorer_ = std::make_unique<TExplorerWindow>(Host().Outlook);
}

bool TWinScriptHost::WindowCommand(const std::string& c, const Words& a) {
    if (SameName(c, "screenshot")) {
        Screenshot(a);
        return true;
    }
    if (!explorer_ || !addIn_) return false;
    if (SameName(c, "explorer") && a.empty()) {
        RequireAddIn(true);
        explorer_->ShowFolder();
        automation_->FireFolderSwitch();
        explorer_->Pump();
        return true;
    }
    // An item pane comes to the front by a click on its tab (its tab reads the form's name
    // without "fm").
    if (SameName(c, "activate") && a.size() == 1 && a[0].size() > 2 && SameName(a[0].substr(0, 2), "fm") &&
        addInRunning_ && explorer_->ChooseTab(a[0].substr(2))) {
        explorer_->Pump();
        return true;
    }
    if (SameName(c, "close") && a.size() == 1 && SameName(a[0], "explorer")) {
        RequireAddIn(true);
        automation_->FireExplorerClose();
        explorer_->Pump();
        return true;
    }
    if (SameName(c, "outlook") && !a.empty() && SameName(a[0], "select")) {
        auto before = Host().Outlook.ExplorerFolder();
        TScriptHost::Execute([&] {
            Words words{c};
            words.insert(words.end(), a.begin(), a.end());
            return words;
        }());
        explorer_->ShowFolder();
        if (addInRunning_ && Host().Outlook.ExplorerFolder() != before) automation_->FireFolderSwitch();
        explorer_->Pump();
        return true;
    }
    return false;
}

void TWinScriptHost::Screenshot(const Words& a) {
    if (a.empty() || a.size() > 2) throw sim::EScriptError("usage: screenshot FILE [WINDOW]");
    HWND window = nullptr;
    if (a.size() == 2) {
        if (SameName(a[1], "explorer")) {
            if (!explorer_) throw sim::EScriptError("no explorer window is shown");
            window = explorer_->Window();
        } else {
            window = FindWindowW(nullptr, Wide(a[1]).c_str());
            if (!window) throw sim::EScriptError("no window " + sim::QuoteWord(a[1]) + " is shown");
        }
    }
    if (explorer_) explorer_->Pump();
    try {
        SaveScreenshot(window, Wide(a[0]));
    } catch (const std::exception& e) {
        throw sim::EScriptError("the screenshot " + a[0] + " could not be saved: " + e.what());
    }
}

// ---------------------------------------------------------------------------------------------
// Modal forms of the add-in

bool TWinScriptHost::FormVisible(const std::string& formName) {
    if (!script_) return false;
    BSTR name = NewBstr(formName);
    BOOL visible = FALSE;
    script_->FormVisible(name, &visible);
    SysFreeString(name);
    return visible != FALSE;
}

void TWinScriptHost::RunModalRemote(const std::string& formName) {
    const int openedAt = currentLine_;
    // Stands for the add-in's form where the host names the modal form open.
    TForm standIn(formName, formName, 0, 0);
    modal_.push_back(&standIn);
    while (FormVisible(formName)) {
        std::optional<sim::TScriptLine> line;
        try {
            line = NextLine();
        } catch (const std::exception& e) {
            Fatal(openedAt, e.what());
        }
        if (!line) Fatal(openedAt, "script ended inside modal form " + formName);
        if (auto error = Step(*line)) Fatal(line->number, *error);
    }
    modal_.pop_back();
}

}  // namespace win
