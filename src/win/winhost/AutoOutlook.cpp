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
    TAutoSinks application;  // ApplicationEvents_11
    TAutoSinks explorer;     // ExplorerEvents_10 of the explorer, whichever object stands for it
    // The COM sinks advised on folders' items, by the items and their cookies there.
    std::vector<std::pair<std::shared_ptr<outlook::_Items>, uint32_t>> folderSinks;
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

// A COM sink of ItemsEvents among the mailbox's own sinks of a folder's items.
class TComItemsSink final : public outlook::ItemsEvents {
public:
    TComItemsSink(State state, TComPtr<::IDispatch> sink) : state_(std::move(state)), sink_(std::move(sink)) {}
    void ItemAdd(const std::shared_ptr<platform::IDispatch>& item) override {
        TComPtr<::IDispatch> object = WrapIn(state_, item);
        VARIANT arg;
        VariantInit(&arg);
        V_VT(&arg) = VT_DISPATCH;
        V_DISPATCH(&arg) = object.Get();
        DISPPARAMS params{&arg, nullptr, 1, 0};
        TVariant result;
        EXCEPINFO info{};
        sink_->Invoke(outlook::DISPID_ItemAdd, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result.Get(),
                      &info, nullptr);
        SysFreeString(info.bstrSource);
        SysFreeString(info.bstrDescription);
        SysFreeString(info.bstrHelpFile);
    }

private:
    State state_;
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
        // ItemsEvents: the mailbox raises ItemAdd to the folder's sinks; a COM sink is one of them.
        State st = state_;
        auto folderItems = items_;
        Events(
            ParseIid(outlook::IID_ItemsEvents),
            [st, folderItems](TComPtr<::IDispatch> sink) -> DWORD {
                uint32_t cookie = Live(folderItems).Advise(std::make_shared<TComItemsSink>(st, std::move(sink)));
                st->folderSinks.emplace_back(folderItems, cookie);
                return cookie;
            },
            [st, folderItems](DWORD cookie) {
                Live(folderItems).Unadvise(cookie);
                auto& f = st->folderSinks;
                for (auto it = f.begin(); it != f.end(); ++it)
                    if (it->first == folderItems && it->second == cookie) {
                        f.erase(it);
                        break;
                    }
                return true;
            });
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

class TAutoUserProperty final : public TAutoBase {
public:
    TAutoUserProperty(State s, std::shared_ptr<outlook::UserProperty> p) : TAutoBase(std::move(s), 39), p_(std::move(p)) {
        Member("Name", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(p_).Name())); });
        Member(
            "Value", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Live(p_).Value()); },
            [this](const TAutoArgs&, const VARIANT& v) { Live(p_).SetValue(FromVariant(v)); });
    }

private:
    std::shared_ptr<outlook::UserProperty> p_;
};

class TAutoUserProperties final : public TAutoBase {
public:
    TAutoUserProperties(State s, std::shared_ptr<outlook::UserProperties> p)
        : TAutoBase(std::move(s), 38), p_(std::move(p)) {
        Member("Count", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(p_).Count())); });
        Member("Add", [this](const TAutoArgs& a, VARIANT* v) {
            SetResult(v, Wrap(Live(p_).Add(a.Text(0), a.Int(1), a.Has(2) && a.Bool(2), a.Has(3) ? a.Int(3) : 0)));
        });
        Member("Find", [this](const TAutoArgs& a, VARIANT* v) {
            SetResult(v, Wrap(Live(p_).Find(a.Text(0), !a.Has(1) || a.Bool(1))));
        });
    }

private:
    std::shared_ptr<outlook::UserProperties> p_;
};

class TAutoRecipients final : public TAutoBase {
public:
    TAutoRecipients(State s, std::shared_ptr<outlook::Recipients> r) : TAutoBase(std::move(s), 17), r_(std::move(r)) {
        Member("Count", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(r_).Count())); });
        Member("Item", [this](const TAutoArgs& a, VARIANT* v) { SetResult(v, Wrap(Live(r_).Item(a.Int(0)))); });
    }

private:
    std::shared_ptr<outlook::Recipients> r_;
};

class TAutoAttachments final : public TAutoBase {
public:
    TAutoAttachments(State s, std::shared_ptr<outlook::Attachments> a) : TAutoBase(std::move(s), 18), a_(std::move(a)) {
        Member("Count", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(a_).Count())); });
    }

private:
    std::shared_ptr<outlook::Attachments> a_;
};

// What every filed kind of item shares, and its events.
template <class Kind>
class TAutoFiledItem : public TAutoBase {
public:
    TAutoFiledItem(State s, int objectClass, std::shared_ptr<Kind> item)
        : TAutoBase(std::move(s), objectClass), i_(std::move(item)) {
        Member("EntryID", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(i_).EntryID())); });
        Member("MessageClass", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(i_).MessageClass())); });
        Member("UserProperties",
               [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap(Live(i_).GetUserProperties())); });
        Member("Copy", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap(Live(i_).Copy())); });
        Member("Move",
               [this](const TAutoArgs& a, VARIANT* v) { SetResult(v, Wrap(Live(i_).Move(FolderArgument(a, 0)))); });
        Member("Delete", [this](const TAutoArgs&, VARIANT*) { Live(i_).Delete(); });
        Member("Close", [this](const TAutoArgs& a, VARIANT*) { Live(i_).Close(a.Int(0)); });
        Member("Save", [this](const TAutoArgs&, VARIANT*) { Live(i_).Save(); });
        Member("Display", [this](const TAutoArgs& a, VARIANT*) { Live(i_).Display(a.Has(0) && a.Bool(0)); });
        if (auto source = std::dynamic_pointer_cast<platform::IConnectionPointContainer>(i_))
            AddMailboxEvents(
                [this](const IID& iid, std::function<DWORD(TComPtr<::IDispatch>)> advise,
                       std::function<bool(DWORD)> unadvise, std::function<void()> find) {
                    Events(iid, std::move(advise), std::move(unadvise), std::move(find));
                },
                state_, source, outlook::IID_ItemEvents);
    }

protected:
    void Text(const char* name, std::string (Kind::*get)()) {
        Member(name, [this, get](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant((Live(i_).*get)())); });
    }
    void Text(const char* name, std::string (Kind::*get)(), void (Kind::*put)(const std::string&)) {
        Member(name, [this, get](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant((Live(i_).*get)())); },
               [this, put](const TAutoArgs&, const VARIANT& v) { (Live(i_).*put)(VariantText(v)); });
    }
    void Date(const char* name, TDateTime (Kind::*get)()) {
        Member(name, [this, get](const TAutoArgs&, VARIANT* v) { SetDateResult(v, (Live(i_).*get)()); });
    }
    template <class R>
    void Object(const char* name, std::shared_ptr<R> (Kind::*get)()) {
        Member(name, [this, get](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap((Live(i_).*get)())); });
    }
    std::shared_ptr<Kind> i_;
};

class TAutoMailItem final : public TAutoFiledItem<outlook::_MailItem> {
public:
    TAutoMailItem(State s, std::shared_ptr<outlook::_MailItem> m) : TAutoFiledItem(std::move(s), 43, std::move(m)) {
        using K = outlook::_MailItem;
        Text("Subject", &K::Subject, &K::SetSubject);
        Text("Body", &K::Body, &K::SetBody);
        Date("SentOn", &K::SentOn);
        Text("SentOnBehalfOfName", &K::SentOnBehalfOfName);
        Text("SenderName", &K::SenderName);
        Object("Recipients", &K::GetRecipients);
        Object("Attachments", &K::GetAttachments);
    }
};

class TAutoPostItem final : public TAutoFiledItem<outlook::_PostItem> {
public:
    TAutoPostItem(State s, std::shared_ptr<outlook::_PostItem> p) : TAutoFiledItem(std::move(s), 45, std::move(p)) {
        using K = outlook::_PostItem;
        Text("Subject", &K::Subject, &K::SetSubject);
        Text("Body", &K::Body, &K::SetBody);
        Date("SentOn", &K::SentOn);
        Text("SenderName", &K::SenderName);
        Object("Attachments", &K::GetAttachments);
    }
};

class TAutoAppointmentItem final : public TAutoFiledItem<outlook::_AppointmentItem> {
public:
    TAutoAppointmentItem(State s, std::shared_ptr<outlook::_AppointmentItem> a)
        : TAutoFiledItem(std::move(s), 26, std::move(a)) {
        using K = outlook::_AppointmentItem;
        Text("Subject", &K::Subject, &K::SetSubject);
        Date("Start", &K::Start);
        Date("End", &K::End);
        Object("Attachments", &K::GetAttachments);
    }
};

class TAutoContactItem final : public TAutoFiledItem<outlook::_ContactItem> {
public:
    TAutoContactItem(State s, std::shared_ptr<outlook::_ContactItem> c)
        : TAutoFiledItem(std::move(s), 40, std::move(c)) {
        using K = outlook::_ContactItem;
        Text("LastNameAndFirstName", &K::LastNameAndFirstName);
        Text("BusinessTelephoneNumber", &K::BusinessTelephoneNumber);
        Text("Email1DisplayName", &K::Email1DisplayName);
        Text("BusinessAddress", &K::BusinessAddress);
    }
};

class TAutoDistListItem final : public TAutoFiledItem<outlook::_DistListItem> {
public:
    TAutoDistListItem(State s, std::shared_ptr<outlook::_DistListItem> d)
        : TAutoFiledItem(std::move(s), 69, std::move(d)) {
        using K = outlook::_DistListItem;
        Text("Subject", &K::Subject);
        Member("MemberCount", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(i_).MemberCount())); });
        Member("GetMember", [this](const TAutoArgs& a, VARIANT* v) { SetResult(v, Wrap(Live(i_).GetMember(a.Int(0)))); });
    }
};

class TAutoSelection final : public TAutoBase {
public:
    TAutoSelection(State s, std::shared_ptr<outlook::Selection> sel) : TAutoBase(std::move(s), 74), s_(std::move(sel)) {
        Member("Count", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Variant(Live(s_).Count())); });
        Member("Item", [this](const TAutoArgs& a, VARIANT* v) { SetResult(v, Wrap(Live(s_).Item(a.Int(0)))); });
    }

private:
    std::shared_ptr<outlook::Selection> s_;
};

class TAutoExplorer final : public TAutoBase {
public:
    TAutoExplorer(State s, std::shared_ptr<outlook::_Explorer> e) : TAutoBase(std::move(s), 34), e_(std::move(e)) {
        Member("Selection", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap(Live(e_).GetSelection())); });
        Member("CurrentFolder", [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap(Live(e_).CurrentFolder())); });
        State st = state_;
        Events(
            ParseIid("{0006300F-0000-0000-C000-000000000046}"),
            [st](TComPtr<::IDispatch> sink) { return st->explorer.Advise(std::move(sink)); },
            [st](DWORD cookie) { return st->explorer.Unadvise(cookie); });
    }

private:
    std::shared_ptr<outlook::_Explorer> e_;
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
        Member("ActiveExplorer",
               [this](const TAutoArgs&, VARIANT* v) { SetResult(v, Wrap(Live(app_).ActiveExplorer())); });
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
        HRESULT STDMETHODCALLTYPE GetExcel(BOOL start, IDispatch** application) override {
            return Host().GetExcel(start, application);
        }

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
    if (auto p = std::dynamic_pointer_cast<outlook::_MailItem>(o)) return Make<TAutoMailItem>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::_PostItem>(o)) return Make<TAutoPostItem>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::_AppointmentItem>(o)) return Make<TAutoAppointmentItem>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::_ContactItem>(o)) return Make<TAutoContactItem>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::_DistListItem>(o)) return Make<TAutoDistListItem>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::UserProperties>(o)) return Make<TAutoUserProperties>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::UserProperty>(o)) return Make<TAutoUserProperty>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::Recipients>(o)) return Make<TAutoRecipients>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::Attachments>(o)) return Make<TAutoAttachments>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::Selection>(o)) return Make<TAutoSelection>(state, p);
    if (auto p = std::dynamic_pointer_cast<outlook::_Explorer>(o)) return Make<TAutoExplorer>(state, p);
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

void TAutoOutlook::FireFolderSwitch() { state_->explorer.Fire(0xF002, {}); }

void TAutoOutlook::FireExplorerClose() { state_->explorer.Fire(0xF008, {}); }

size_t TAutoOutlook::ExplorerSinkCount() const { return state_->explorer.Count(); }

void TAutoOutlook::ReleaseSinks() {
    state_->application.Clear();
    state_->explorer.Clear();
    auto folderSinks = std::move(state_->folderSinks);
    state_->folderSinks.clear();
    for (auto& [items, cookie] : folderSinks) Swallow([&] { items->Unadvise(cookie); });
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
