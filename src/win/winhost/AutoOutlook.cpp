#include "win/winhost/AutoOutlook.h"

#include <map>
#include <vector>

#include "base/Exceptions.h"
#include "base/Guard.h"
#include "platform/Outlook.h"
#include "sim/SimItem.h"
#include "sim/SimOutlook.h"
#include "win/bind/OleEvents.h"
#include "win/winhost/AutoObject.h"

namespace win {

struct TAutoOutlook::State {
    sim::TSimOutlook* outlook = nullptr;
    ICorvelleScriptHost* scriptHost = nullptr;
    TAutoSinks application;                            // ApplicationEvents_11
    std::map<const sim::TSimFolder*, TAutoSinks> items;  // ItemsEvents, by folder
    // The sinks advised on the mailbox's own connection points, by their cookies there.
    std::vector<std::pair<std::weak_ptr<platform::IConnectionPoint>, uint32_t>> connections;
    std::string version = "16.0.0.0";
};

namespace {

using State = std::shared_ptr<TAutoOutlook::State>;

TComPtr<IDispatch> WrapIn(const State& state, const std::shared_ptr<platform::IDispatch>& object);

template <class T>
T& Live(const std::shared_ptr<T>& p) {
    if (!p) throw EAccessViolation("Access violation: the object is gone");
    return *p;
}

// A COM sink of ours on a connection point of the mailbox: events go on to the COM sink.
class TComSinkAdapter final : public platform::IDispatch {
public:
    explicit TComSinkAdapter(TComPtr<::IDispatch> sink) : sink_(std::move(sink)) {}
    void Invoke(int32_t dispId, const std::vector<Variant>& args) override {
        std::vector<VARIANT> values(args.size());
        for (size_t i = 0; i < args.size(); ++i) ToVariant(args[args.size() - 1 - i], &values[i]);
        DISPPARAMS params{values.data(), nullptr, static_cast<UINT>(values.size()), 0};
        TVariant result;
        EXCEPINFO info{};
        sink_->Invoke(dispId, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result.Get(), &info, nullptr);
        for (VARIANT& v : values) VariantClear(&v);
        SysFreeString(info.bstrSource);
        SysFreeString(info.bstrDescription);
        SysFreeString(info.bstrHelpFile);
    }

private:
    TComPtr<::IDispatch> sink_;
};

class TAutoBase : public TAutoObject {
protected:
    TAutoBase(State state, int objectClass) : state_(std::move(state)) {
        Member("Class", [objectClass](const TAutoArgs&, VARIANT* r) { SetResult(r, Variant(objectClass)); });
    }
    TComPtr<::IDispatch> Wrap(const std::shared_ptr<platform::IDispatch>& o) const { return WrapIn(state_, o); }
    State state_;
};

class TAutoRecipient final : public TAutoBase {
public:
    TAutoRecipient(State s, std::shared_ptr<outlook::Recipient> r) : TAutoBase(std::move(s), 4), r_(std::move(r)) {
        Member("Name", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(r_).Name())); });
        Member("Address", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(r_).Address())); });
    }

private:
    std::shared_ptr<outlook::Recipient> r_;
};

class TAutoInspector final : public TAutoBase {
public:
    TAutoInspector(State s, std::shared_ptr<outlook::_Inspector> i) : TAutoBase(std::move(s), 35), i_(std::move(i)) {
        Member(
            "WindowState", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(i_).WindowState())); },
            [this](const TAutoArgs&, const VARIANT& v) { Live(i_).SetWindowState(FromVariant(v).AsInteger()); });
        Member("CurrentItem", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap(Live(i_).CurrentItem())); });
    }

private:
    std::shared_ptr<outlook::_Inspector> i_;
};

class TAutoFolder;

// A folder's object of ours given as an argument (Move's destination).
std::shared_ptr<outlook::MAPIFolder> FolderArgument(const TAutoArgs& args, size_t i);

class TAutoItems final : public TAutoBase {
public:
    TAutoItems(State s, std::shared_ptr<outlook::_Items> items) : TAutoBase(std::move(s), 16), items_(std::move(items)) {
        Member("Count", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(items_).Count())); });
        Member("Item", [this](const TAutoArgs& a, VARIANT* v) { SetResult(v, Wrap(Live(items_).Item(a.Int(0)))); });
        Member("Add", [this](const TAutoArgs& a, VARIANT* v) {
            SetResult(v, Wrap(Live(items_).Add(a.Has(0) ? a.Text(0) : std::string())));
        });
        auto* simItems = dynamic_cast<sim::TSimItems*>(items_.get());
        const sim::TSimFolder* folder = simItems ? simItems->Folder().get() : nullptr;
        State st = state_;
        Events(
            ParseIid(outlook::IID_ItemsEvents),
            [st, folder](TComPtr<::IDispatch> sink) { return st->items[folder].Advise(std::move(sink)); },
            [st, folder](DWORD cookie) { return st->items[folder].Unadvise(cookie); });
    }

private:
    std::shared_ptr<outlook::_Items> items_;
};

class TAutoFolders final : public TAutoBase {
public:
    TAutoFolders(State s, std::shared_ptr<outlook::_Folders> f) : TAutoBase(std::move(s), 15), f_(std::move(f)) {
        Member("Count", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(f_).Count())); });
        Member("Item", [this](const TAutoArgs& a, VARIANT* v) {
            auto folder = a.IsText(0) ? Live(f_).Item(a.Text(0)) : Live(f_).Item(a.Int(0));
            SetResult(v, Wrap(folder));
        });
        Member("Add", [this](const TAutoArgs& a, VARIANT* v) {
            SetResult(v, Wrap(Live(f_).Add(a.Text(0), a.Has(1) ? a.Int(1) : outlook::olFolderInbox)));
        });
    }

private:
    std::shared_ptr<outlook::_Folders> f_;
};

class TAutoFolder final : public TAutoBase {
public:
    TAutoFolder(State s, std::shared_ptr<outlook::MAPIFolder> f) : TAutoBase(std::move(s), 2), f_(std::move(f)) {
        Member("Name", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(f_).Name())); });
        Member("EntryID", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(f_).EntryID())); });
        Member("StoreID", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(f_).StoreID())); });
        Member("DefaultItemType",
               [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(f_).DefaultItemType())); });
        Member("Parent", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap(Live(f_).Parent())); });
        Member("Folders", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap(Live(f_).Folders())); });
        Member("Items", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap(Live(f_).Items())); });
    }
    const std::shared_ptr<outlook::MAPIFolder>& Folder() const { return f_; }

private:
    std::shared_ptr<outlook::MAPIFolder> f_;
};

std::shared_ptr<outlook::MAPIFolder> FolderArgument(const TAutoArgs& args, size_t i) {
    TComPtr<::IDispatch> d = args.Object(i);
    auto* folder = dynamic_cast<TAutoFolder*>(TAutoObject::Of(d.Get()));
    if (!folder) throw EOleException("Type mismatch: the argument is no folder of this Outlook");
    return folder->Folder();
}

// Connects the events of a mailbox object (its connection point for iid) to COM sinks.
void AddMailboxEvents(std::function<void(const IID&, std::function<DWORD(TComPtr<::IDispatch>)>,
                                                              std::function<bool(DWORD)>, std::function<void()>)>
                                               events,
                      const State& state, std::shared_ptr<platform::IConnectionPointContainer> source,
                      const char* iid) {
    auto point = std::make_shared<std::shared_ptr<platform::IConnectionPoint>>();
    std::string id = iid;
    events(
        ParseIid(iid),
        [state, point, source, id](TComPtr<::IDispatch> sink) -> DWORD {
            if (!*point) *point = Live(source).FindConnectionPoint(id);
            uint32_t cookie = Live(*point).Advise(std::make_shared<TComSinkAdapter>(std::move(sink)));
            state->connections.emplace_back(*point, cookie);
            return cookie;
        },
        [state, point](DWORD cookie) {
            if (!*point) return false;
            (*point)->Unadvise(cookie);
            auto& c = state->connections;
            for (auto it = c.begin(); it != c.end(); ++it)
                if (it->first.lock() == *point && it->second == cookie) {
                    c.erase(it);
                    break;
                }
            return true;
        },
        [point, source, id] { *point = Live(source).FindConnectionPoint(id); });
}

class TAutoTaskItem final : public TAutoBase {
public:
    TAutoTaskItem(State s, std::shared_ptr<outlook::_TaskItem> t) : TAutoBase(std::move(s), 48), t_(std::move(t)) {
        Text("EntryID", &outlook::_TaskItem::EntryID);
        Text("MessageClass", &outlook::_TaskItem::MessageClass);
        Text("Subject", &outlook::_TaskItem::Subject, &outlook::_TaskItem::SetSubject);
        Text("Body", &outlook::_TaskItem::Body, &outlook::_TaskItem::SetBody);
        Text("Owner", &outlook::_TaskItem::Owner);
        Int("Status", &outlook::_TaskItem::Status, &outlook::_TaskItem::SetStatus);
        Date("DueDate", &outlook::_TaskItem::DueDate, &outlook::_TaskItem::SetDueDate);
        Date("StartDate", &outlook::_TaskItem::StartDate, &outlook::_TaskItem::SetStartDate);
        Date("DateCompleted", &outlook::_TaskItem::DateCompleted, &outlook::_TaskItem::SetDateCompleted);
        Int("Importance", &outlook::_TaskItem::Importance, &outlook::_TaskItem::SetImportance);
        Int("PercentComplete", &outlook::_TaskItem::PercentComplete, &outlook::_TaskItem::SetPercentComplete);
        Int("Sensitivity", &outlook::_TaskItem::Sensitivity, &outlook::_TaskItem::SetSensitivity);
        Member(
            "Complete", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(t_).Complete())); },
            [this](const TAutoArgs&, const VARIANT& v) { Live(t_).SetComplete(FromVariant(v).AsBoolean()); });
        Member("Save", [this](const TAutoArgs&, VARIANT*) { Live(t_).Save(); });
        Member("GetInspector", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap(Live(t_).GetInspector())); });
        Member("Display", [this](const TAutoArgs& a, VARIANT*) { Live(t_).Display(a.Has(0) && a.Bool(0)); });
        Member("Move",
               [this](const TAutoArgs& a, VARIANT* v) { SetResult(v, Wrap(Live(t_).Move(FolderArgument(a, 0)))); });
        AddMailboxEvents(
            [this](const IID& iid, std::function<DWORD(TComPtr<::IDispatch>)> advise,
                   std::function<bool(DWORD)> unadvise, std::function<void()> find) {
                Events(iid, std::move(advise), std::move(unadvise), std::move(find));
            },
            state_, std::dynamic_pointer_cast<platform::IConnectionPointContainer>(t_), outlook::IID_ItemEvents);
    }

private:
    using Item = outlook::_TaskItem;
    void Text(const char* name, std::string (Item::*get)(), void (Item::*put)(const std::string&) = nullptr) {
        Member(name, [this, get](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant((Live(t_).*get)())); },
               put ? Putter([this, put](const TAutoArgs&, const VARIANT& v) { (Live(t_).*put)(VariantText(v)); })
                   : Putter());
    }
    void Int(const char* name, int (Item::*get)(), void (Item::*put)(int)) {
        Member(name, [this, get](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant((Live(t_).*get)())); },
               [this, put](const TAutoArgs&, const VARIANT& v) { (Live(t_).*put)(FromVariant(v).AsInteger()); });
    }
    void Date(const char* name, TDateTime (Item::*get)(), void (Item::*put)(TDateTime)) {
        Member(name, [this, get](const TAutoArgs&, VARIANT* v) { SetDateResult(v, (Live(t_).*get)()); },
               [this, put](const TAutoArgs&, const VARIANT& v) { (Live(t_).*put)(FromVariant(v).AsDateTime()); });
    }
    std::shared_ptr<outlook::_TaskItem> t_;
};

// An item of a kind not exposed member by member yet: its class and its events.
class TAutoItem final : public TAutoBase {
public:
    TAutoItem(State s, std::shared_ptr<platform::IDispatch> item) : TAutoBase(std::move(s), -1), item_(std::move(item)) {
        if (auto source = std::dynamic_pointer_cast<platform::IConnectionPointContainer>(item_))
            AddMailboxEvents(
                [this](const IID& iid, std::function<DWORD(TComPtr<::IDispatch>)> advise,
                       std::function<bool(DWORD)> unadvise, std::function<void()> find) {
                    Events(iid, std::move(advise), std::move(unadvise), std::move(find));
                },
                state_, source, outlook::IID_ItemEvents);
    }

private:
    std::shared_ptr<platform::IDispatch> item_;
};

class TAutoNameSpace final : public TAutoBase {
public:
    TAutoNameSpace(State s, std::shared_ptr<outlook::_NameSpace> n) : TAutoBase(std::move(s), 1), n_(std::move(n)) {
        Member("Type", [](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant("MAPI")); });
        Member("CurrentUser", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap(Live(n_).CurrentUser())); });
        Member("GetDefaultFolder",
               [this](const TAutoArgs& a, VARIANT* v) { SetResult(v, Wrap(Live(n_).GetDefaultFolder(a.Int(0)))); });
        Member("GetItemFromID", [this](const TAutoArgs& a, VARIANT* v) {
            SetResult(v, Wrap(Live(n_).GetItemFromID(a.Text(0), a.Has(1) ? a.Text(1) : std::string())));
        });
    }

private:
    std::shared_ptr<outlook::_NameSpace> n_;
};

// The Application, and the bridge to the add-in as a part of it.
class TAutoApplication final : public TAutoBase {
public:
    TAutoApplication(State s, std::shared_ptr<outlook::_Application> app)
        : TAutoBase(std::move(s), 0), app_(std::move(app)), bridge_(*this) {
        Member("Name", [](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant("Outlook")); });
        Member("Version", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(state_->version)); });
        Member("GetNamespace",
               [this](const TAutoArgs& a, VARIANT* v) { SetResult(v, Wrap(Live(app_).GetNamespace(a.Text(0)))); });
        State st = state_;
        Events(
            ParseIid("{0006302C-0000-0000-C000-000000000046}"),
            [st](TComPtr<::IDispatch> sink) { return st->application.Advise(std::move(sink)); },
            [st](DWORD cookie) { return st->application.Unadvise(cookie); });
    }

protected:
    void* Extra(REFIID iid) override {
        if (IsEqualIID(iid, IID_ICorvelleScriptHost) && state_->scriptHost) return static_cast<ICorvelleScriptHost*>(&bridge_);
        return nullptr;
    }

private:
    class TBridge final : public ICorvelleScriptHost {
    public:
        explicit TBridge(TAutoApplication& owner) : owner_(owner) {}
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override { return owner_.QueryInterface(iid, out); }
        ULONG STDMETHODCALLTYPE AddRef() override { return owner_.AddRef(); }
        ULONG STDMETHODCALLTYPE Release() override { return owner_.Release(); }
        HRESULT STDMETHODCALLTYPE ShowMessage(BSTR text) override { return Host().ShowMessage(text); }
        HRESULT STDMETHODCALLTYPE Ask(int buttons, BSTR text, int icon, int* answer) override {
            return Host().Ask(buttons, text, icon, answer);
        }
        HRESULT STDMETHODCALLTYPE ShowHelp(BSTR file, int context) override { return Host().ShowHelp(file, context); }
        HRESULT STDMETHODCALLTYPE GetWorkArea(int* l, int* t, int* r, int* b) override {
            return Host().GetWorkArea(l, t, r, b);
        }
        HRESULT STDMETHODCALLTYPE GetCursorPos(int* x, int* y) override { return Host().GetCursorPos(x, y); }
        HRESULT STDMETHODCALLTYPE GetModuleFileName(BSTR* path) override { return Host().GetModuleFileName(path); }
        HRESULT STDMETHODCALLTYPE RunModal(BSTR name) override { return Host().RunModal(name); }
        HRESULT STDMETHODCALLTYPE Write(BSTR text) override { return Host().Write(text); }

    private:
        ICorvelleScriptHost& Host() { return *owner_.state_->scriptHost; }
        TAutoApplication& owner_;
    };

    std::shared_ptr<outlook::_Application> app_;
    TBridge bridge_;
};

template <class Auto, class T>
TComPtr<::IDispatch> Make(const State& state, std::shared_ptr<T> object) {
    return TComPtr<::IDispatch>::Attach(static_cast<::IDispatch*>(new Auto(state, std::move(object))));
}

TComPtr<::IDispatch> WrapIn(const State& state, const std::shared_ptr<platform::IDispatch>& o) {
    if (!o) return {};
    if (auto p = std::dynamic_pointer_cast<outlook::_TaskItem>(o)) return Make<TAutoTaskItem>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::MAPIFolder>(o)) return Make<TAutoFolder>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::_Items>(o)) return Make<TAutoItems>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::_Folders>(o)) return Make<TAutoFolders>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::_NameSpace>(o)) return Make<TAutoNameSpace>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::Recipient>(o)) return Make<TAutoRecipient>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::_Inspector>(o)) return Make<TAutoInspector>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::_Application>(o)) return Make<TAutoApplication>(state, p);
    return Make<TAutoItem>(state, o);
}

}  // namespace

TAutoOutlook::TAutoOutlook(sim::TSimOutlook& outlook, ICorvelleScriptHost* scriptHost)
    : state_(std::make_shared<State>()) {
    state_->outlook = &outlook;
    state_->scriptHost = scriptHost;
}

TAutoOutlook::~TAutoOutlook() {
    ReleaseSinks();
    application_.Reset();
    state_->scriptHost = nullptr;
}

TComPtr<IDispatch> TAutoOutlook::Application() {
    if (!application_) application_ = WrapIn(state_, state_->outlook->Application());
    return application_;
}

TComPtr<IDispatch> TAutoOutlook::Wrap(const std::shared_ptr<platform::IDispatch>& object) {
    return WrapIn(state_, object);
}

void TAutoOutlook::SetVersion(std::string version) { state_->version = std::move(version); }

void TAutoOutlook::FireQuit() { state_->application.Fire(0xF007, {}); }

bool TAutoOutlook::FireItemAdd(sim::TSimItem& item) {
    auto folder = item.Folder();
    auto found = state_->items.find(folder.get());
    if (found == state_->items.end() || found->second.Count() == 0) return false;
    TComPtr<IDispatch> object = Wrap(item.Dispatch());
    VARIANT arg;
    VariantInit(&arg);
    V_VT(&arg) = VT_DISPATCH;
    V_DISPATCH(&arg) = object.Get();
    found->second.Fire(outlook::DISPID_ItemAdd, {arg});
    return true;
}

void TAutoOutlook::ReleaseSinks() {
    state_->application.Clear();
    state_->items.clear();
    auto connections = std::move(state_->connections);
    state_->connections.clear();
    for (auto& [weak, cookie] : connections) {
        auto point = weak.lock();
        auto* simPoint = dynamic_cast<sim::TSimConnectionPoint*>(point.get());
        if (!simPoint) continue;
        for (uint32_t c : simPoint->Cookies())
            if (c == cookie) Swallow([&] { simPoint->Unadvise(cookie); });
    }
}

}  // namespace win
