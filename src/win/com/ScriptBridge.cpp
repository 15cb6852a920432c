#include "win/com/ScriptBridge.h"

#include <streambuf>
#include <string>

#include "base/Exceptions.h"
#include "base/Guard.h"
#include "filing/ufmAppointments.h"
#include "filing/ufmContacts.h"
#include "filing/ufmEmails.h"
#include "filing/ufmNotes.h"
#include "host/AddinModule.h"
#include "platform/TraceClient.h"
#include "sim/ScriptHost.h"
#include "support/ufmAbout.h"
#include "support/ufmOptions.h"
#include "tasks/ufmAddTask.h"
#include "tasks/ufmList.h"
#include "tasks/ufmNewTask.h"
#include "time/ufmChooseTask.h"
#include "time/ufmTime.h"
#include "time/ufmTimeMemo.h"
#include "time/ufmTimer.h"
#include "toolkit/Menus.h"
#include "win/bind/OleExcel.h"
#include "win/platform/WinServices.h"

namespace win {
namespace {

// Text printed by the commands, handed to the host a line at a time.
class THostBuffer : public std::streambuf {
public:
    explicit THostBuffer(ICorvelleScriptHost* host) : host_(host) {}
    void Send() {
        if (pending_.empty()) return;
        BSTR text = NewBstr(pending_);
        pending_.clear();
        host_->Write(text);
        SysFreeString(text);
    }

protected:
    int_type overflow(int_type c) override {
        if (c == traits_type::eof()) return traits_type::not_eof(c);
        pending_ += static_cast<char>(c);
        if (c == '\n') Send();
        return c;
    }
    std::streamsize xsputn(const char* s, std::streamsize n) override {
        pending_.append(s, static_cast<size_t>(n));
        if (pending_.find('\n') != std::string::npos) Send();
        return n;
    }
    int sync() override {
        Send();
        return 0;
    }

private:
    ICorvelleScriptHost* host_;
    std::string pending_;
};

class TBridgeService {
public:
    explicit TBridgeService(TScriptBridge& bridge) : bridge_(bridge) {}

protected:
    ICorvelleScriptHost& Host() {
        bridge_.Flush();  // what was printed comes before what the host shows
        return *bridge_.Host();
    }
    static void Check(HRESULT hr, const char* what) {
        if (FAILED(hr)) RaiseFromErrorInfo(hr, what);
    }

private:
    TScriptBridge& bridge_;
};

class TBridgeDialogs final : public platform::IDialogs, TBridgeService {
public:
    using TBridgeService::TBridgeService;
    void ShowMessage(const std::string& text) override {
        BSTR b = NewBstr(text);
        HRESULT hr = Host().ShowMessage(b);
        SysFreeString(b);
        Check(hr, "ShowMessage");
    }
    platform::DialogAnswer AskYesNo(const std::string& text, platform::DialogIcon icon) override {
        return Ask(2, text, icon);
    }
    platform::DialogAnswer AskYesNoCancel(const std::string& text, platform::DialogIcon icon) override {
        return Ask(3, text, icon);
    }

private:
    platform::DialogAnswer Ask(int buttons, const std::string& text, platform::DialogIcon icon) {
        BSTR b = NewBstr(text);
        int answer = 0;
        HRESULT hr = Host().Ask(buttons, b, static_cast<int>(icon), &answer);
        SysFreeString(b);
        Check(hr, "Ask");
        return static_cast<platform::DialogAnswer>(answer);
    }
};

class TBridgeHelp final : public platform::IHelp, TBridgeService {
public:
    using TBridgeService::TBridgeService;
    void ShowContext(const std::string& helpFile, int context) override {
        BSTR b = NewBstr(helpFile);
        HRESULT hr = Host().ShowHelp(b, context);
        SysFreeString(b);
        Check(hr, "ShowHelp");
    }
};

class TBridgeScreen final : public platform::IScreen, TBridgeService {
public:
    using TBridgeService::TBridgeService;
    platform::TRect WorkArea() override {
        platform::TRect r;
        Check(Host().GetWorkArea(&r.Left, &r.Top, &r.Right, &r.Bottom), "GetWorkArea");
        return r;
    }
    platform::TPoint CursorPos() override {
        platform::TPoint p;
        Check(Host().GetCursorPos(&p.X, &p.Y), "GetCursorPos");
        return p;
    }
    int Cursor() override { return shape_; }
    void SetCursor(int shape) override { shape_ = shape; }

private:
    int shape_ = platform::crDefault;
};

// Excel under the script host: its workbook engine as Excel's automation objects, found running
// or started as GetActiveObject and CoCreateInstance find and start an installed Excel, and bound
// as Excel is everywhere else, late through IDispatch.
class TBridgeExcel final : public excel::IExcelServer, TBridgeService {
public:
    using TBridgeService::TBridgeService;
    int32_t GetActiveObject(const std::string& classId, std::shared_ptr<platform::IDispatch>& object) override {
        object.reset();
        if (classId != excel::CLASS_ExcelApplication) return excel::hresult::Unavailable;
        TComPtr<IDispatch> running;
        HRESULT hr = Host().GetExcel(FALSE, running.Out());
        if (FAILED(hr)) return static_cast<int32_t>(hr);
        if (!running) return excel::hresult::Unavailable;
        object = BindExcelApplication(std::move(running));
        return excel::hresult::Ok;
    }
    std::shared_ptr<excel::_Application> Create() override {
        TComPtr<IDispatch> made;
        SetErrorInfo(0, nullptr);
        Check(Host().GetExcel(TRUE, made.Out()), "CoCreateInstance");
        if (!made) throw EOleException("Class not registered");
        return BindExcelApplication(std::move(made));
    }
};

class TBridgeModuleInfo final : public platform::IModuleInfo, TBridgeService {
public:
    using TBridgeService::TBridgeService;
    std::string ModuleFileName() override {
        BSTR path = nullptr;
        HRESULT hr = Host().GetModuleFileName(&path);
        std::string out = BstrText(path);
        SysFreeString(path);
        Check(hr, "GetModuleFileName");
        return out;
    }
};

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> out;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        out.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return out;
}

}  // namespace

TScriptBridge::TScriptBridge(TComPtr<ICorvelleScriptHost> host)
    : host_(std::move(host)),
      buffer_(std::make_unique<THostBuffer>(host_.Get())),
      out_(std::make_unique<std::ostream>(buffer_.get())) {
    previousModalHost_ = SetModalHost(this);
    // The forms' timers tick when the script says so.
    ui::SetFormTimersRun(false);
}

// The commands' own host, in the add-in's folder, made when the first command comes (after the
// start, so that asking for the add-in's file name here doesn't take a failure meant for the
// module's own start-up). It also shows the menus that the add-in pops up (as MENU, for the
// `menu` command to pick from).
sim::TScriptHost& TScriptBridge::Script() {
    if (!script_) {
        std::string dir;
        Swallow([&] {
            std::string file = TBridgeModuleInfo(*this).ModuleFileName();
            size_t slash = file.find_last_of("\\/");
            dir = slash == std::string::npos ? std::string() : file.substr(0, slash);
        });
        script_ = std::make_unique<sim::TScriptHost>(dir, *out_);
        script_->SetUserInput(&input_);
        previousPopupHost_ = SetPopupHost(script_.get());
    }
    return *script_;
}

TScriptBridge::~TScriptBridge() {
    if (script_) SetPopupHost(previousPopupHost_);
    script_.reset();
    windows_.Release();
    SetModalHost(previousModalHost_);
}

platform::Services TScriptBridge::Services() {
    platform::Services s;
    s.Dialogs = std::make_shared<TBridgeDialogs>(*this);
    s.Help = std::make_shared<TBridgeHelp>(*this);
    s.Screen = std::make_shared<TBridgeScreen>(*this);
    s.Module = std::make_shared<TBridgeModuleInfo>(*this);
    s.Registry = std::make_shared<TWinRegistry>();
    s.Trace = std::make_shared<platform::TTcpTraceClient>();
    s.Excel = std::make_shared<TBridgeExcel>(*this);
    return s;
}

void TScriptBridge::Attach(TAddInModule* module, std::function<bool()> running) {
    module_ = module;
    running_ = std::move(running);
}

void TScriptBridge::Flush() { static_cast<THostBuffer&>(*buffer_).Send(); }

HRESULT TScriptBridge::Run(BSTR words, int* status, BSTR* message) {
    if (!status || !message) return E_POINTER;
    *status = 0;
    *message = nullptr;
    escaped_ = nullptr;
    try {
        if (!module_) throw sim::EScriptError("the add-in has not been started");
        std::vector<std::string> command = SplitLines(BstrText(words));
        if (command.size() == 1 && command[0] == "input") {
            // How the user's actions went: to the windows as input, or to the headless controls.
            *out_ << "INPUT windows=" << input_.Delivered() << " headless=" << input_.Headless() << "\n";
            for (const auto& [control, count] : input_.HeadlessControls())
                *out_ << "  headless " << control << " " << count << "\n";
        } else {
            // What makes or frees the forms runs without their windows.
            if (command.size() == 2 && SameName(command[0], "call") &&
                (SameName(command[1].substr(0, 12), "module.AddIn") || SameName(command[1], "module.adxOutlookAppEvents1Quit")))
                windows_.Release();
            Script().RunOn(*module_, running_ && running_(), command);
        }
    } catch (const sim::EScriptError& e) {
        *status = 1;
        *message = NewBstr(e.what());
    } catch (...) {
        *status = 2;
        escaped_ = std::current_exception();
    }
    SyncWindows();
    Flush();
    return S_OK;
}

void TScriptBridge::SyncWindows() {
    if (!module_) return;
    TModuleGlobals& g = module_->Vars();
    std::vector<TForm*> forms{g.fmNewTask.get(), g.fmTimeMemo.get(), g.fmChooseTask.get(), g.fmTimer.get(),
                              g.fmOptions.get(), g.fmAddTask.get(), g.fmAbout.get()};
    forms.insert(forms.end(), modal_.begin(), modal_.end());
    std::vector<TForm*> panes{g.fmList, g.fmTime, g.fmEmails, g.fmNotes, g.fmContacts, g.fmAppointments};
    // A window that cannot be made leaves the form headless, and the script goes on.
    Swallow([&] { windows_.Sync(forms, panes); });
}

HRESULT TScriptBridge::HandleEscaped() {
    std::exception_ptr e = std::exchange(escaped_, nullptr);
    if (e && module_) module_->HandleError(e);
    Flush();
    return S_OK;
}

HRESULT TScriptBridge::FormVisible(BSTR formName, BOOL* visible) {
    if (!visible) return E_POINTER;
    *visible = FALSE;
    std::string name = BstrText(formName);
    for (TForm* f : modal_)
        if (f->Name() == name) *visible = f->Visible() ? TRUE : FALSE;
    return S_OK;
}

void TScriptBridge::RunModal(TForm& form) {
    Flush();
    modal_.push_back(&form);
    SyncWindows();
    BSTR name = NewBstr(form.Name());
    HRESULT hr = host_->RunModal(name);
    SysFreeString(name);
    modal_.pop_back();
    SyncWindows();
    if (FAILED(hr)) RaiseFromErrorInfo(hr, "RunModal");
}

}  // namespace win
