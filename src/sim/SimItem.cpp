#include "sim/SimItem.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <nlohmann/json.hpp>

#include "base/DateTime.h"
#include "base/FormatSettings.h"
#include "base/Guard.h"
#include "sim/SimStore.h"
#include "sim/SimFiledItems.h"
#include "sim/SimTaskItem.h"

namespace sim {

using detail::Alive;
using detail::SameText;

namespace {

constexpr const char* kNotValid = "Could not complete the operation. One or more parameter values are not valid.";

std::string_view Trim(std::string_view s) {
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
    return s;
}

// The kinds of item the mailbox can make, by message class. A custom form's class
// ("IPM.Task.Project") makes an item of the kind its class begins with.
struct TSimItemMaker {
    const char* messageClass;
    int itemType;  // the OlItemType of a folder whose Items.Add("") makes this kind
    std::shared_ptr<TSimItem> (*make)(const std::shared_ptr<detail::SimStore>& store,
                                      const std::shared_ptr<TSimFolder>& folder, const std::string& cls);
};

const TSimItemMaker kMakers[] = {
    {"IPM.Task", outlook::olTaskItem,
     [](const std::shared_ptr<detail::SimStore>& store, const std::shared_ptr<TSimFolder>& folder,
        const std::string& cls) -> std::shared_ptr<TSimItem> {
         return std::make_shared<TSimTaskItem>(store, folder, cls, store->userName);
     }},
};

// Every other kind the mailbox makes, by its own table (sim/SimFiledItems.h).
std::shared_ptr<TSimItem> MakeOther(const std::shared_ptr<detail::SimStore>& store,
                                    const std::shared_ptr<TSimFolder>& folder, const std::string& cls) {
    return MakeFiledItem(store, folder, cls);
}

const TSimItemMaker* MakerOf(std::string_view cls) {
    for (const auto& m : kMakers) {
        std::string_view base = m.messageClass;
        if (SameText(cls, base)) return &m;
        if (cls.size() > base.size() + 1 && cls[base.size()] == '.' && SameText(cls.substr(0, base.size()), base))
            return &m;
    }
    return nullptr;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// The connection point

uint32_t TSimConnectionPoint::Advise(const std::shared_ptr<platform::IDispatch>& sink) {
    Alive(store_)->failures->CheckOle("ConnectionPoint.Advise");
    if (!sink) throw EOleException(kNotValid);
    uint32_t cookie = nextCookie_++;
    sinks_.emplace_back(cookie, sink);
    return cookie;
}

void TSimConnectionPoint::Unadvise(uint32_t cookie) {
    Alive(store_)->failures->CheckOle("ConnectionPoint.Unadvise");
    auto it = std::find_if(sinks_.begin(), sinks_.end(), [cookie](const auto& s) { return s.first == cookie; });
    if (it == sinks_.end()) throw EOleException("The connection does not exist.");
    sinks_.erase(it);
}

std::vector<uint32_t> TSimConnectionPoint::Cookies() const {
    std::vector<uint32_t> out;
    for (const auto& s : sinks_) out.push_back(s.first);
    return out;
}

std::shared_ptr<platform::IDispatch> TSimConnectionPoint::SinkOf(uint32_t cookie) const {
    for (const auto& s : sinks_)
        if (s.first == cookie) return s.second;
    return nullptr;
}

void TSimConnectionPoint::Fire(int32_t dispId, const std::vector<Variant>& args) {
    // The sinks may advise and unadvise while an event goes round: take the list as it stands,
    // and skip a sink that has left it meanwhile.
    auto snapshot = sinks_;
    for (const auto& [cookie, sink] : snapshot) {
        if (SinkOf(cookie) != sink) continue;
        Swallow([&] { sink->Invoke(dispId, args); });
    }
}

// ---------------------------------------------------------------------------------------------
// The item

TSimItem::TSimItem(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> folder, std::string messageClass)
    : store_(std::move(store)),
      folder_(std::move(folder)),
      messageClass_(std::move(messageClass)),
      connection_(std::make_shared<TSimConnectionPoint>(store_)) {}

TSimItem::~TSimItem() = default;

std::shared_ptr<TSimItem> TSimItem::From(const std::shared_ptr<platform::IDispatch>& obj) {
    auto* item = dynamic_cast<TSimItem*>(obj.get());
    return item ? item->weak_from_this().lock() : nullptr;
}

std::shared_ptr<platform::IConnectionPoint> TSimItem::FindConnectionPoint(const std::string& iid) {
    Enter("FindConnectionPoint");
    if (!SameText(iid, outlook::IID_ItemEvents)) throw EOleException("No such interface supported");
    return connection_;
}

bool TSimItem::InspectorOpen() const { return inspector_ && inspector_->open_; }

const TSimProperty* TSimItem::Find(std::string_view name) const {
    for (const auto& p : Properties())
        if (SameText(p.name, name)) return &p;
    return nullptr;
}

const TSimProperty& TSimItem::Describe(std::string_view name) const {
    if (const TSimProperty* p = Find(name)) return *p;
    throw ESimError(std::string(Kind()) + " has no property \"" + std::string(name) + "\".");
}

Variant TSimItem::Value(std::string_view name) const { return values_.at(Describe(name).name); }

void TSimItem::InitValue(const std::string& name, Variant value) {
    values_[name] = value;
    saved_[name] = std::move(value);
}

std::shared_ptr<detail::SimStore> TSimItem::Enter(std::string_view member) {
    auto s = Alive(store_);
    s->failures->CheckOle(std::string(Kind()) + "." + std::string(member));
    if (deleted_) throw EOleException("The item has been moved or deleted.");
    return s;
}

Variant TSimItem::Read(std::string_view name) {
    const TSimProperty& p = Describe(name);
    Enter(p.name);
    return values_.at(p.name);
}

void TSimItem::Write(std::string_view name, const Variant& value) {
    const TSimProperty& p = Describe(name);
    Enter(p.name);
    Change(p, value);
}

Variant TSimItem::Coerce(const TSimProperty& p, const Variant& value) const {
    try {
        switch (p.kind) {
            case TSimPropertyKind::Text: return Variant(value.AsString());
            case TSimPropertyKind::Integer: {
                int64_t v = value.AsInt64();
                if (v < p.min || v > p.max)
                    throw EOleException("The value " + std::to_string(v) + " is out of range for " + p.name + ".");
                return Variant(v);
            }
            case TSimPropertyKind::Boolean: return Variant(value.AsBoolean());
            case TSimPropertyKind::Date: {
                TDateTime d = value.AsDateTime();
                if (!std::isfinite(d)) throw EOleException(std::string("The date is not valid for ") + p.name + ".");
                // Task dates hold the day only; any day from 1/1/4501 on means no date.
                d = d >= NoCompletionDate() ? NoCompletionDate() : DateOf(d);
                return Variant::FromDate(d);
            }
            case TSimPropertyKind::DateTime: {
                TDateTime d = value.AsDateTime();
                if (!std::isfinite(d)) throw EOleException(std::string("The date is not valid for ") + p.name + ".");
                return Variant::FromDate(d >= NoCompletionDate() ? NoCompletionDate() : d);
            }
        }
    } catch (const EOleException&) {
        throw;
    } catch (const std::exception&) {
        throw EOleException(std::string("Type mismatch: the value can't be taken for ") + p.name + ".");
    }
    throw EOleException(kNotValid);
}

std::vector<std::string> TSimItem::Change(const TSimProperty& p, const Variant& value) {
    Variant v = Coerce(p, value);
    Values after = values_;
    after[p.name] = std::move(v);
    ApplyRules(p.name, values_, after);

    // The property set comes first, then what followed from it in the kind's order.
    std::vector<std::string> changed;
    if (!(after.at(p.name) == values_.at(p.name))) changed.push_back(p.name);
    for (const auto& q : Properties()) {
        if (std::string_view(q.name) == p.name) continue;
        if (!(after.at(q.name) == values_.at(q.name))) changed.push_back(q.name);
    }
    values_ = std::move(after);
    auto self = shared_from_this();
    for (const auto& name : changed) Raise(outlook::DISPID_PropertyChange, {Variant(name)});
    return changed;
}

void TSimItem::Raise(int32_t dispId, const std::vector<Variant>& args) {
    // A sink may let go of the last reference to the item while it handles the event.
    auto self = shared_from_this();
    auto connection = connection_;
    connection->Fire(dispId, args);
}

std::string TSimItem::Label() const {
    std::string label = std::string(Kind()) + " " + (entryId_.empty() ? "(unsaved)" : entryId_);
    auto subject = values_.find("Subject");
    if (subject != values_.end()) label += " \"" + subject->second.AsString() + "\"";
    return label;
}

void TSimItem::DoSave() {
    auto self = shared_from_this();
    // Outlook raises Write before it writes.
    Raise(outlook::DISPID_Write);
    if (deleted_) return;
    auto s = Alive(store_);
    if (entryId_.empty()) {
        auto folder = folder_.lock();
        if (!folder) throw EOleException("The item's folder no longer exists.");
        entryId_ = s->NewEntryID();
        folder->items_.push_back(self);
        s->items[entryId_] = self;
        s->Log("added " + Label() + " to " + folder->Path());
        saved_ = values_;
        s->ItemAdded(*this, folder);
        return;
    }
    s->Log("saved " + Label());
    saved_ = values_;
}

std::shared_ptr<outlook::_Inspector> TSimItem::DoGetInspector() {
    if (!inspector_) inspector_ = std::make_shared<TSimInspector>(store_, weak_from_this());
    return inspector_;
}

void TSimItem::DoDisplay() {
    auto self = shared_from_this();
    auto s = Alive(store_);
    DoGetInspector();
    auto it = std::find(s->open.begin(), s->open.end(), self);
    if (it != s->open.end()) {
        // Shown already: it becomes the active inspector.
        s->open.erase(it);
        s->open.push_back(self);
        if (s->onDisplay) s->onDisplay(*this);
        return;
    }
    inspector_->open_ = true;
    s->open.push_back(self);
    s->Log("opened " + Label());
    if (s->onDisplay) s->onDisplay(*this);
    Raise(outlook::DISPID_Open);
}

void TSimItem::RemoveFromFolder() {
    if (auto folder = folder_.lock()) {
        auto& items = folder->items_;
        items.erase(std::remove(items.begin(), items.end(), shared_from_this()), items.end());
    }
}

std::shared_ptr<platform::IDispatch> TSimItem::DoMove(const std::shared_ptr<outlook::MAPIFolder>& destination) {
    auto self = shared_from_this();
    auto s = Alive(store_);
    auto dest = std::dynamic_pointer_cast<TSimFolder>(destination);
    if (!dest || dest->store_.lock() != s) throw EOleException(kNotValid);
    if (entryId_.empty()) DoSave();
    if (deleted_) throw EOleException("The item has been moved or deleted.");
    auto from = folder_.lock();
    if (from != dest) {
        RemoveFromFolder();
        dest->items_.push_back(self);
        folder_ = dest;
        s->Log("moved " + Label() + " from " + (from ? from->Path() : std::string("?")) + " to " + dest->Path());
        s->ItemAdded(*this, dest);
    }
    return Dispatch();
}

void TSimItem::CloseInspector(detail::SimStore& s) {
    auto self = shared_from_this();
    s.open.erase(std::remove(s.open.begin(), s.open.end(), self), s.open.end());
    if (inspector_) {
        inspector_->open_ = false;
        inspector_->closed_ = true;
        inspector_.reset();
    }
}

// ---------------------------------------------------------------------------------------------
// The user's side

void TSimItem::RequireOpen(const char* action) const {
    if (deleted_ || !InspectorOpen())
        throw ESimError("Cannot " + std::string(action) + " " + Label() + ": its inspector is not open.");
}

std::string TSimItem::DisplayText(const Variant& value, TSimPropertyKind kind) {
    switch (kind) {
        case TSimPropertyKind::Text: return value.AsString();
        case TSimPropertyKind::Integer: return std::to_string(value.AsInt64());
        case TSimPropertyKind::Boolean: return value.AsBoolean() ? "true" : "false";
        case TSimPropertyKind::Date: {
            TDateTime d = value.AsDateTime();
            return d >= NoCompletionDate() ? "None" : IsoDate(d);
        }
        case TSimPropertyKind::DateTime: {
            TDateTime d = value.AsDateTime();
            if (d >= NoCompletionDate()) return "None";
            return TimeOf(d) == 0 ? IsoDate(d) : FormatDateTime("yyyy-mm-dd\"T\"hh:nn:ss", d);
        }
    }
    return value.AsString();
}

void TSimItem::UserSetProperty(std::string_view name, const Variant& value) {
    const TSimProperty& p = Describe(name);
    if (value.type() == Variant::Type::String && p.kind != TSimPropertyKind::Text) {
        UserSetPropertyText(p.name, value.AsString());
        return;
    }
    RequireOpen("set a property of");
    auto s = Alive(store_);
    Variant v;
    try {
        v = Coerce(p, value);
    } catch (const EOleException& e) {
        throw ESimError(e.Message());
    }
    std::string shown = DisplayText(v, p.kind);
    if (p.kind == TSimPropertyKind::Text) shown = "\"" + shown + "\"";
    s->Log("user set " + std::string(p.name) + " of " + Label() + " to " + shown);
    auto self = shared_from_this();
    Change(p, v);
}

void TSimItem::UserSetPropertyText(std::string_view name, std::string_view text) {
    const TSimProperty& p = Describe(name);
    UserSetProperty(p.name, ParseText(p, text));
}

void TSimItem::PresetPropertyText(std::string_view name, std::string_view text) {
    if (PresetSpecial(name, text)) return;
    if (SameText(name, "MessageClass")) {
        if (!IsNew()) throw ESimError("The message class of a saved item can't be changed.");
        PresetMessageClass(std::string(text));
        return;
    }
    const TSimProperty& p = Describe(name);
    Variant v = ParseText(p, text);
    try {
        v = Coerce(p, v);
    } catch (const EOleException& e) {
        throw ESimError(e.Message());
    }
    auto self = shared_from_this();
    Change(p, v);
}

void TSimItem::SimSave() {
    auto self = shared_from_this();
    if (deleted_) throw ESimError("Cannot save " + Label() + ": it is deleted.");
    DoSave();
}

Variant TSimItem::ParseText(const TSimProperty& p, std::string_view text) const {
    auto bad = [&](const char* what) {
        return ESimError("\"" + std::string(text) + "\" is not " + what + " for " + p.name + ".");
    };
    std::string_view t = Trim(text);
    Variant v;
    switch (p.kind) {
        case TSimPropertyKind::Text: v = Variant(std::string(text)); break;
        case TSimPropertyKind::Integer: {
            int64_t n = 0;
            auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), n);
            if (t.empty() || ec != std::errc() || end != t.data() + t.size()) throw bad("a number");
            v = Variant(n);
            break;
        }
        case TSimPropertyKind::Boolean:
            if (SameText(t, "true") || SameText(t, "yes") || t == "1")
                v = Variant(true);
            else if (SameText(t, "false") || SameText(t, "no") || t == "0")
                v = Variant(false);
            else
                throw bad("true or false");
            break;
        case TSimPropertyKind::Date: {
            TDateTime d = 0;
            if (t.empty() || SameText(t, "None"))
                d = NoCompletionDate();
            else if (!ParseIsoDate(t, d) && !TryStrToDate(t, d, FormatSettings()))
                throw bad("a date");
            v = Variant::FromDate(d);
            break;
        }
        case TSimPropertyKind::DateTime: {
            // YYYY-MM-DD[THH:MM[:SS]], or the short date form.
            TDateTime d = 0;
            if (t.empty() || SameText(t, "None")) {
                d = NoCompletionDate();
            } else {
                std::string_view day = t.substr(0, t.find('T'));
                if (!ParseIsoDate(day, d) && !TryStrToDate(t, d, FormatSettings())) throw bad("a date");
                if (day.size() < t.size()) {
                    std::string time(t.substr(day.size() + 1));
                    if (time.size() == 5) time += ":00";
                    TDateTime tod = 0;
                    if (time.size() != 8 || !ParseIsoTime(time, tod)) throw bad("a date and time");
                    d += tod;
                }
            }
            v = Variant::FromDate(d);
            break;
        }
    }
    return v;
}

void TSimItem::UserSave() {
    RequireOpen("save");
    auto s = Alive(store_);
    s->Log("user saved " + Label());
    DoSave();
}

void TSimItem::UserClose(TSimCloseChoice choice) {
    RequireOpen("close");
    auto self = shared_from_this();
    auto s = Alive(store_);
    s->Log(std::string("user closed ") + Label() +
           (IsDirty() ? (choice == TSimCloseChoice::Save ? ", saving" : ", discarding") : ""));
    Raise(outlook::DISPID_Close);
    if (!deleted_ && IsDirty()) {
        if (choice == TSimCloseChoice::Save)
            DoSave();
        else
            values_ = saved_;
    }
    CloseInspector(*s);
    Raise(outlook::DISPID_Unload);
}

void TSimItem::UserDelete() {
    auto self = shared_from_this();
    auto s = Alive(store_);
    if (deleted_) throw ESimError("Cannot delete " + Label() + ": it is deleted already.");
    auto it = s->defaults.find(outlook::olFolderDeletedItems);
    auto deletedItems = it == s->defaults.end() ? nullptr : it->second;
    if (entryId_.empty() || !deletedItems || folder_.lock() == deletedItems) {
        UserDeleteForGood();
        return;
    }
    s->Log("user deleted " + Label());
    DoMove(deletedItems);
}

void TSimItem::UserDeleteForGood() {
    auto self = shared_from_this();
    auto s = Alive(store_);
    if (deleted_) throw ESimError("Cannot delete " + Label() + ": it is deleted already.");
    s->Log("user deleted " + Label() + " for good");
    if (InspectorOpen()) {
        // The inspector closes first, without saving.
        Raise(outlook::DISPID_Close);
        values_ = saved_;
        CloseInspector(*s);
        Raise(outlook::DISPID_Unload);
    } else if (inspector_) {
        CloseInspector(*s);
    }
    if (deleted_) return;
    RemoveFromFolder();
    if (!entryId_.empty()) s->items.erase(entryId_);
    deleted_ = true;
}

Variant TSimItem::GetProperty(const std::string& name) {
    if (SameText(name, "EntryID")) {
        Enter("EntryID");
        return Variant(entryId_);
    }
    if (SameText(name, "MessageClass")) {
        Enter("MessageClass");
        return Variant(messageClass_);
    }
    if (!Find(name)) throw EOleException("Unknown name: " + name);
    return Read(name);
}

std::shared_ptr<TSimItem> TSimItem::DoCopy() {
    auto self = shared_from_this();
    auto s = Alive(store_);
    auto folder = folder_.lock();
    if (!folder) throw EOleException("The item's folder no longer exists.");
    if (entryId_.empty()) DoSave();
    auto copy = TSimItems::Make(folder, messageClass_);
    if (!copy) throw EOleException(kNotValid);
    copy->values_ = values_;
    copy->saved_ = values_;
    copy->userProps_ = userProps_;
    CopyExtrasTo(*copy);
    copy->entryId_ = s->NewEntryID();
    folder->items_.push_back(copy);
    s->items[copy->entryId_] = copy;
    s->Log("copied " + Label() + " to " + copy->Label() + " in " + folder->Path());
    s->ItemAdded(*copy, folder);
    return copy;
}

void TSimItem::DoDelete() {
    auto self = shared_from_this();
    auto s = Alive(store_);
    auto it = s->defaults.find(outlook::olFolderDeletedItems);
    auto deletedItems = it == s->defaults.end() ? nullptr : it->second;
    if (!entryId_.empty() && deletedItems && folder_.lock() != deletedItems) {
        s->Log("deleted " + Label());
        if (InspectorOpen()) {
            Raise(outlook::DISPID_Close);
            values_ = saved_;
            CloseInspector(*s);
            Raise(outlook::DISPID_Unload);
        }
        DoMove(deletedItems);
        return;
    }
    s->Log("deleted " + Label() + " for good");
    if (InspectorOpen()) {
        Raise(outlook::DISPID_Close);
        values_ = saved_;
        CloseInspector(*s);
        Raise(outlook::DISPID_Unload);
    }
    if (deleted_) return;
    RemoveFromFolder();
    if (!entryId_.empty()) s->items.erase(entryId_);
    deleted_ = true;
}

void TSimItem::DoClose(int saveMode) {
    auto self = shared_from_this();
    auto s = Alive(store_);
    if (saveMode < outlook::olSave || saveMode > outlook::olPromptForSave) throw EOleException(kNotValid);
    const bool open = InspectorOpen();
    if (open) Raise(outlook::DISPID_Close);
    if (deleted_) return;
    if (saveMode == outlook::olSave) {
        DoSave();
    } else if (saveMode == outlook::olDiscard) {
        values_ = saved_;
    }
    if (open) {
        s->Log("closed " + Label());
        CloseInspector(*s);
        Raise(outlook::DISPID_Unload);
    }
}

void TSimItem::CloseAfterSend() {
    auto self = shared_from_this();
    auto s = Alive(store_);
    if (!InspectorOpen()) return;
    Raise(outlook::DISPID_Send);
    Raise(outlook::DISPID_Close);
    CloseInspector(*s);
    Raise(outlook::DISPID_Unload);
}

void TSimItem::Relocate(const std::shared_ptr<TSimFolder>& folder, const std::string& how) {
    auto self = shared_from_this();
    auto s = Alive(store_);
    RemoveFromFolder();
    if (!entryId_.empty()) s->items.erase(entryId_);
    entryId_ = s->NewEntryID();
    folder_ = folder;
    folder->items_.push_back(self);
    s->items[entryId_] = self;
    saved_ = values_;
    s->Log(how + " " + Label() + " to " + folder->Path());
    s->ItemAdded(*this, folder);
}

// The user properties of one item, and one of them. A property outlives nothing: each reference
// finds its property by name on the item at each call.
class TSimUserPropertyRef : public outlook::UserProperty {
public:
    TSimUserPropertyRef(std::shared_ptr<TSimItem> item, std::string name)
        : item_(std::move(item)), name_(std::move(name)) {}
    std::string Name() override {
        Entry();
        return name_;
    }
    Variant Value() override { return Entry().value; }
    void SetValue(const Variant& value) override {
        TSimUserProperty& p = Entry();
        if (p.type == outlook::olNumber) {
            double d = 0;
            try {
                d = value.AsDouble();
            } catch (const std::exception&) {
                throw EOleException("Type mismatch: the value can't be taken for " + name_ + ".");
            }
            p.value = Variant(d);
        } else {
            p.value = Variant(value.AsString());
        }
    }

private:
    TSimUserProperty& Entry() {
        auto s = Alive(item_->store_);
        s->failures->CheckOle("UserProperty.Value");
        for (auto& p : item_->userProps_)
            if (p.name == name_) return p;
        throw EOleException("The property has been deleted.");
    }
    std::shared_ptr<TSimItem> item_;
    std::string name_;
};

class TSimUserProperties : public outlook::UserProperties {
public:
    explicit TSimUserProperties(std::shared_ptr<TSimItem> item) : item_(std::move(item)) {}
    int Count() override {
        Alive(item_->store_)->failures->CheckOle("UserProperties.Count");
        return static_cast<int>(item_->userProps_.size());
    }
    std::shared_ptr<outlook::UserProperty> Add(const std::string& name, int type, bool, int) override {
        Alive(item_->store_)->failures->CheckOle("UserProperties.Add");
        if (name.empty() || (type != outlook::olText && type != outlook::olNumber)) throw EOleException(kNotValid);
        for (const auto& p : item_->userProps_)
            if (SameText(p.name, name)) throw EOleException("A property of the name " + name + " exists already.");
        item_->userProps_.push_back(
            {name, type, type == outlook::olNumber ? Variant(0.0) : Variant(std::string())});
        return std::make_shared<TSimUserPropertyRef>(item_, name);
    }
    std::shared_ptr<outlook::UserProperty> Find(const std::string& name, bool) override {
        Alive(item_->store_)->failures->CheckOle("UserProperties.Find");
        for (const auto& p : item_->userProps_)
            if (SameText(p.name, name)) return std::make_shared<TSimUserPropertyRef>(item_, p.name);
        return nullptr;
    }

private:
    std::shared_ptr<TSimItem> item_;
};

std::shared_ptr<outlook::UserProperties> TSimItem::DoUserProperties() {
    return std::make_shared<TSimUserProperties>(shared_from_this());
}

nlohmann::json TSimItem::ToJson() const {
    nlohmann::json j = nlohmann::json::object();
    j["EntryID"] = entryId_;
    j["MessageClass"] = messageClass_;
    auto folder = folder_.lock();
    j["Folder"] = folder ? folder->Path() : std::string();
    for (const auto& p : Properties()) {
        const Variant& v = values_.at(p.name);
        switch (p.kind) {
            case TSimPropertyKind::Integer: j[p.name] = v.AsInt64(); break;
            case TSimPropertyKind::Boolean: j[p.name] = v.AsBoolean(); break;
            default: j[p.name] = DisplayText(v, p.kind); break;
        }
    }
    ExtraJson(j);
    if (!userProps_.empty()) {
        nlohmann::json props = nlohmann::json::object();
        for (const auto& p : userProps_) {
            if (p.value.type() == Variant::Type::Double)
                props[p.name] = p.value.AsDouble();
            else
                props[p.name] = p.value.AsString();
        }
        j["UserProperties"] = props;
    }
    return j;
}

// ---------------------------------------------------------------------------------------------
// The inspector

std::shared_ptr<detail::SimStore> TSimInspector::Enter(std::string_view member) {
    auto s = Alive(store_);
    s->failures->CheckOle(member);
    if (closed_) throw EOleException("The inspector has been closed.");
    return s;
}

int TSimInspector::WindowState() {
    Enter("Inspector.WindowState");
    return windowState_;
}

void TSimInspector::SetWindowState(int value) {
    Enter("Inspector.WindowState");
    if (value < outlook::olMaximized || value > outlook::olNormalWindow) throw EOleException(kNotValid);
    windowState_ = value;
}

std::shared_ptr<platform::IDispatch> TSimInspector::CurrentItem() {
    Enter("Inspector.CurrentItem");
    auto item = item_.lock();
    if (!item || item->deleted_) throw EOleException("The item has been moved or deleted.");
    return item->Dispatch();
}

// ---------------------------------------------------------------------------------------------
// The items of a folder

int TSimItems::Count() {
    folder_->Store()->failures->CheckOle("Items.Count");
    return static_cast<int>(folder_->items_.size());
}

std::shared_ptr<platform::IDispatch> TSimItems::Item(int index) {
    folder_->Store()->failures->CheckOle("Items.Item");
    if (index < 1 || index > static_cast<int>(folder_->items_.size()))
        throw EOleException("Array index out of bounds.");
    return folder_->items_[static_cast<size_t>(index - 1)]->Dispatch();
}

uint32_t TSimItems::Advise(const std::shared_ptr<outlook::ItemsEvents>& sink) {
    folder_->Store()->failures->CheckOle("Items.Advise");
    if (!sink) throw EOleException(kNotValid);
    uint32_t cookie = folder_->nextItemSink_++;
    folder_->itemSinks_.emplace_back(cookie, sink);
    return cookie;
}

void TSimItems::Unadvise(uint32_t cookie) {
    folder_->Store()->failures->CheckOle("Items.Unadvise");
    auto& sinks = folder_->itemSinks_;
    auto it = std::find_if(sinks.begin(), sinks.end(), [cookie](const auto& e) { return e.first == cookie; });
    if (it == sinks.end()) throw EOleException("The connection does not exist.");
    sinks.erase(it);
}

std::shared_ptr<platform::IDispatch> TSimItems::Add(const std::string& messageClass) {
    folder_->Store()->failures->CheckOle("Items.Add");
    auto item = Make(folder_, messageClass);
    if (!item) throw EOleException(kNotValid);
    return item->Dispatch();
}

std::shared_ptr<TSimItem> TSimItems::Make(const std::shared_ptr<TSimFolder>& folder, const std::string& messageClass) {
    auto s = folder->Store();
    const TSimItemMaker* maker = nullptr;
    std::string cls = messageClass;
    if (cls.empty()) {
        for (const auto& m : kMakers)
            if (m.itemType == folder->defaultItemType_) maker = &m;
        if (maker) {
            cls = maker->messageClass;
        } else {
            for (const auto& k : FiledKinds())
                if (k.itemType == folder->defaultItemType_) cls = k.messageClass;
            if (cls.empty()) return nullptr;
        }
    } else {
        maker = MakerOf(cls);
    }
    if (!maker) return MakeOther(s, folder, cls);
    return maker->make(s, folder, cls);
}

std::shared_ptr<outlook::_Items> TSimFolder::Items() {
    Store()->failures->CheckOle("MAPIFolder.Items");
    return std::make_shared<TSimItems>(shared_from_this());
}

}  // namespace sim
