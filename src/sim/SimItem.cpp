#include "sim/SimItem.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <nlohmann/json.hpp>

#include "base/DateTime.h"
#include "base/FormatSettings.h"
#include "base/Guard.h"
#include "sim/SimStore.h"
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
        if (s->onItemAdded) s->onItemAdded(*this);
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
        if (s->onItemAdded) s->onItemAdded(*this);
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
        if (maker) cls = maker->messageClass;
    } else {
        maker = MakerOf(cls);
    }
    if (!maker) return nullptr;
    return maker->make(s, folder, cls);
}

std::shared_ptr<outlook::_Items> TSimFolder::Items() {
    Store()->failures->CheckOle("MAPIFolder.Items");
    return std::make_shared<TSimItems>(shared_from_this());
}

}  // namespace sim
