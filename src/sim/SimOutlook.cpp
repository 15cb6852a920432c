#include "sim/SimOutlook.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include <nlohmann/json.hpp>

#include "base/Guard.h"
#include "sim/SimItem.h"
#include "sim/SimStore.h"

namespace sim {

// ---------------------------------------------------------------------------------------------
// Failures

void TSimFailures::FailNext(const std::string& member) { pending_.push_back(member); }

bool TSimFailures::Pending(std::string_view member) const {
    return std::find(pending_.begin(), pending_.end(), member) != pending_.end();
}

bool TSimFailures::Take(std::string_view member) {
    auto it = std::find(pending_.begin(), pending_.end(), member);
    if (it == pending_.end()) return false;
    fired_.push_back(*it);
    pending_.erase(it);
    return true;
}

void TSimFailures::CheckOle(std::string_view member) {
    if (Take(member)) throw EOleException("Simulated failure of " + std::string(member));
}

void TSimFailures::Check(std::string_view member) {
    if (Take(member)) throw Exception("Simulated failure of " + std::string(member));
}

// ---------------------------------------------------------------------------------------------
// The store

namespace detail {

std::string SimStore::NewEntryID() {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%08X", nextEntry++);
    return "00000000C0E1A5B1D2F3400089AB0000" + std::string(buf);
}

void SimStore::ItemAdded(TSimItem& item, const std::shared_ptr<TSimFolder>& folder) {
    pendingAdds.emplace_back(folder, item.shared_from_this());
    if (onItemAdded) onItemAdded(item);
}

}  // namespace detail

namespace {

constexpr const char* kStoreID = "0000000038A1BB1005E5101AA1BB08002B2A56C20000434F5256454C4C4500";

using detail::Alive;
using detail::SameText;

// The kind of items a folder made by Folders.Add holds; -1 for a kind that can't be made.
int ItemTypeOfFolderKind(int folderType) {
    switch (folderType) {
        case outlook::olFolderInbox:
        case outlook::olFolderDrafts: return outlook::olMailItem;
        case outlook::olFolderCalendar: return outlook::olAppointmentItem;
        case outlook::olFolderContacts: return outlook::olContactItem;
        case outlook::olFolderTasks: return outlook::olTaskItem;
        case outlook::olFolderJournal: return outlook::olJournalItem;
        case outlook::olFolderNotes: return outlook::olNoteItem;
        default: return -1;
    }
}

class TSimRecipient : public outlook::Recipient {
public:
    explicit TSimRecipient(std::weak_ptr<detail::SimStore> store) : store_(std::move(store)) {}
    std::string Name() override {
        auto s = Alive(store_);
        s->failures->CheckOle("Recipient.Name");
        return s->userName;
    }
    std::string Address() override {
        auto s = Alive(store_);
        s->failures->CheckOle("Recipient.Address");
        return s->userAddress;
    }

private:
    std::weak_ptr<detail::SimStore> store_;
};

class TSimNameSpace : public outlook::_NameSpace {
public:
    explicit TSimNameSpace(std::weak_ptr<detail::SimStore> store) : store_(std::move(store)) {}
    std::shared_ptr<outlook::Recipient> CurrentUser() override {
        auto s = Alive(store_);
        s->failures->CheckOle("NameSpace.CurrentUser");
        return std::make_shared<TSimRecipient>(store_);
    }
    std::shared_ptr<outlook::MAPIFolder> GetDefaultFolder(int folderType) override {
        auto s = Alive(store_);
        s->failures->CheckOle("NameSpace.GetDefaultFolder");
        auto it = s->defaults.find(folderType);
        if (it == s->defaults.end())
            throw EOleException("The attempted operation failed.  An object could not be found.");
        return it->second;
    }
    std::shared_ptr<outlook::IDispatch> GetItemFromID(const std::string& entryID,
                                                      const std::string& storeID) override {
        auto s = Alive(store_);
        s->failures->CheckOle("NameSpace.GetItemFromID");
        // No store named means the default store, which is the only one.
        if (!storeID.empty() && !SameText(storeID, s->storeId))
            throw EOleException("The operation failed. The message store could not be found.");
        if (entryID.empty())
            throw EOleException("Could not complete the operation. One or more parameter values are not valid.");
        auto it = s->items.find(entryID);
        if (it == s->items.end())
            throw EOleException("The operation failed.  An object could not be found.");
        return it->second->Dispatch();
    }

private:
    std::weak_ptr<detail::SimStore> store_;
};

// The items selected in the explorer when the selection was asked for.
class TSimSelection : public outlook::Selection {
public:
    TSimSelection(std::weak_ptr<detail::SimStore> store, std::vector<std::shared_ptr<TSimItem>> items)
        : store_(std::move(store)), items_(std::move(items)) {}
    int Count() override {
        Alive(store_)->failures->CheckOle("Selection.Count");
        return static_cast<int>(items_.size());
    }
    std::shared_ptr<outlook::IDispatch> Item(int index) override {
        Alive(store_)->failures->CheckOle("Selection.Item");
        if (index < 1 || index > static_cast<int>(items_.size())) throw EOleException("Array index out of bounds.");
        return items_[static_cast<size_t>(index - 1)]->Dispatch();
    }

private:
    std::weak_ptr<detail::SimStore> store_;
    std::vector<std::shared_ptr<TSimItem>> items_;
};

// The one explorer: it shows the folder last selected (the Inbox at first).
class TSimExplorer : public outlook::_Explorer {
public:
    explicit TSimExplorer(std::weak_ptr<detail::SimStore> store) : store_(std::move(store)) {}
    std::shared_ptr<outlook::Selection> GetSelection() override {
        auto s = Alive(store_);
        s->failures->CheckOle("Explorer.Selection");
        std::vector<std::shared_ptr<TSimItem>> items;
        for (const auto& item : s->selection)
            if (!item->IsDeleted()) items.push_back(item);
        return std::make_shared<TSimSelection>(store_, std::move(items));
    }
    std::shared_ptr<outlook::MAPIFolder> CurrentFolder() override {
        auto s = Alive(store_);
        s->failures->CheckOle("Explorer.CurrentFolder");
        if (s->explorerFolder) return s->explorerFolder;
        return s->defaults.at(outlook::olFolderInbox);
    }

private:
    std::weak_ptr<detail::SimStore> store_;
};

class TSimApplication : public outlook::_Application {
public:
    explicit TSimApplication(std::shared_ptr<detail::SimStore> store) : store_(std::move(store)) {}
    std::shared_ptr<outlook::_Explorer> ActiveExplorer() override {
        store_->failures->CheckOle("Application.ActiveExplorer");
        return std::make_shared<TSimExplorer>(store_);
    }
    std::shared_ptr<outlook::_NameSpace> GetNamespace(const std::string& type) override {
        store_->failures->CheckOle("Application.GetNamespace");
        if (!SameText(type, "MAPI"))
            throw EOleException("Could not complete the operation. One or more parameter values are not valid.");
        return std::make_shared<TSimNameSpace>(store_);
    }

private:
    std::shared_ptr<detail::SimStore> store_;  // the application keeps the mailbox alive
};

}  // namespace

// ---------------------------------------------------------------------------------------------
// Folders

class TSimFolders : public outlook::_Folders {
public:
    explicit TSimFolders(std::shared_ptr<TSimFolder> owner) : owner_(std::move(owner)) {}

    int Count() override {
        owner_->Store()->failures->CheckOle("Folders.Count");
        return static_cast<int>(owner_->children_.size());
    }
    std::shared_ptr<outlook::MAPIFolder> Item(int index) override {
        owner_->Store()->failures->CheckOle("Folders.Item");
        if (index < 1 || index > static_cast<int>(owner_->children_.size()))
            throw EOleException("Array index out of bounds.");
        return owner_->children_[static_cast<size_t>(index - 1)];
    }
    std::shared_ptr<outlook::MAPIFolder> Item(const std::string& name) override {
        owner_->Store()->failures->CheckOle("Folders.Item");
        auto f = owner_->Find(name);
        if (!f) throw EOleException("The attempted operation failed.  An object could not be found.");
        return f;
    }
    std::shared_ptr<outlook::MAPIFolder> Add(const std::string& name, int type) override {
        auto s = owner_->Store();
        s->failures->CheckOle("Folders.Add");
        int itemType = ItemTypeOfFolderKind(type);
        if (itemType < 0)
            throw EOleException("Could not complete the operation. One or more parameter values are not valid.");
        if (name.empty()) throw EOleException("The folder name is not valid.");
        if (owner_->Find(name)) throw EOleException("Cannot create the folder.");
        auto f = std::make_shared<TSimFolder>(owner_->store_, owner_, name, s->NewEntryID(), itemType);
        owner_->children_.push_back(f);
        s->journal.push_back("added folder " + f->Path() + " (type " + std::to_string(type) + ")");
        return f;
    }

private:
    std::shared_ptr<TSimFolder> owner_;
};

TSimFolder::TSimFolder(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> parent,
                       std::string name, std::string entryId, int defaultItemType)
    : store_(std::move(store)),
      parent_(std::move(parent)),
      name_(std::move(name)),
      entryId_(std::move(entryId)),
      defaultItemType_(defaultItemType) {}

std::shared_ptr<detail::SimStore> TSimFolder::Store() const { return Alive(store_); }

std::string TSimFolder::Name() {
    Store()->failures->CheckOle("MAPIFolder.Name");
    return name_;
}

std::string TSimFolder::EntryID() {
    Store()->failures->CheckOle("MAPIFolder.EntryID");
    return entryId_;
}

std::string TSimFolder::StoreID() {
    auto s = Store();
    s->failures->CheckOle("MAPIFolder.StoreID");
    return s->storeId;
}

int TSimFolder::DefaultItemType() {
    Store()->failures->CheckOle("MAPIFolder.DefaultItemType");
    return defaultItemType_;
}

std::shared_ptr<outlook::IDispatch> TSimFolder::Parent() {
    Store()->failures->CheckOle("MAPIFolder.Parent");
    if (auto p = parent_.lock()) return p;
    // The root folder's parent is the name space.
    return std::make_shared<TSimNameSpace>(store_);
}

std::shared_ptr<outlook::_Folders> TSimFolder::Folders() {
    Store()->failures->CheckOle("MAPIFolder.Folders");
    return std::make_shared<TSimFolders>(shared_from_this());
}

std::shared_ptr<TSimFolder> TSimFolder::Find(std::string_view name) const {
    for (const auto& c : children_)
        if (SameText(c->name_, name)) return c;
    return nullptr;
}

std::string TSimFolder::Path() const {
    auto p = parent_.lock();
    return p ? p->Path() + "/" + name_ : name_;
}

// ---------------------------------------------------------------------------------------------
// The mailbox

TSimOutlook::TSimOutlook() : TSimOutlook(std::make_shared<TSimFailures>()) {}

TSimOutlook::TSimOutlook(std::shared_ptr<TSimFailures> failures)
    : store_(std::make_shared<detail::SimStore>()) {
    store_->failures = failures ? std::move(failures) : std::make_shared<TSimFailures>();
    store_->storeId = kStoreID;
    store_->root = std::make_shared<TSimFolder>(store_, std::weak_ptr<TSimFolder>(), "Mailbox",
                                                store_->NewEntryID(), outlook::olMailItem);
    struct Default {
        int number;
        const char* name;
        int itemType;
    };
    static constexpr Default kDefaults[] = {
        {outlook::olFolderDeletedItems, "Deleted Items", outlook::olMailItem},
        {outlook::olFolderInbox, "Inbox", outlook::olMailItem},
        {outlook::olFolderSentMail, "Sent Items", outlook::olMailItem},
        {outlook::olFolderCalendar, "Calendar", outlook::olAppointmentItem},
        {outlook::olFolderContacts, "Contacts", outlook::olContactItem},
        {outlook::olFolderTasks, "Tasks", outlook::olTaskItem},
    };
    for (const auto& d : kDefaults) {
        auto f = std::make_shared<TSimFolder>(store_, store_->root, d.name, store_->NewEntryID(), d.itemType);
        store_->root->children_.push_back(f);
        store_->defaults[d.number] = f;
    }
}

TSimOutlook::~TSimOutlook() = default;

std::shared_ptr<outlook::_Application> TSimOutlook::Application() const {
    return std::make_shared<TSimApplication>(store_);
}

TSimFailures& TSimOutlook::Failures() const { return *store_->failures; }
const std::shared_ptr<TSimFailures>& TSimOutlook::FailuresPtr() const { return store_->failures; }

void TSimOutlook::SetCurrentUser(std::string name, std::string address) {
    store_->userName = std::move(name);
    store_->userAddress = std::move(address);
}
const std::string& TSimOutlook::CurrentUserName() const { return store_->userName; }
const std::string& TSimOutlook::CurrentUserAddress() const { return store_->userAddress; }

const std::string& TSimOutlook::StoreID() const { return store_->storeId; }
std::shared_ptr<TSimFolder> TSimOutlook::Root() const { return store_->root; }

std::shared_ptr<TSimFolder> TSimOutlook::DefaultFolder(int folderType) const {
    auto it = store_->defaults.find(folderType);
    return it == store_->defaults.end() ? nullptr : it->second;
}

std::shared_ptr<TSimFolder> TSimOutlook::FindFolder(std::string_view path) const {
    auto f = store_->root;
    while (f && !path.empty()) {
        auto slash = path.find('/');
        f = f->Find(path.substr(0, slash));
        path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
    }
    return f;
}

std::shared_ptr<TSimItem> TSimOutlook::FindItem(std::string_view entryID) const {
    auto it = store_->items.find(std::string(entryID));
    return it == store_->items.end() ? nullptr : it->second;
}

std::vector<std::shared_ptr<TSimItem>> TSimOutlook::OpenItems() const { return store_->open; }

std::shared_ptr<TSimItem> TSimOutlook::ActiveItem() const {
    return store_->open.empty() ? nullptr : store_->open.back();
}

nlohmann::json TSimOutlook::ItemJson(std::string_view entryID) const {
    auto item = FindItem(entryID);
    if (!item) throw ESimError("No item has the EntryID " + std::string(entryID) + ".");
    return item->ToJson();
}

nlohmann::json TSimOutlook::FolderItemsJson(std::string_view path) const {
    auto folder = FindFolder(path);
    if (!folder) throw ESimError("No folder " + std::string(path) + " in the mailbox.");
    nlohmann::json out = nlohmann::json::array();
    for (const auto& item : folder->ItemList()) out.push_back(item->ToJson());
    return out;
}

const std::vector<std::string>& TSimOutlook::Journal() const { return store_->journal; }
void TSimOutlook::ClearJournal() { store_->journal.clear(); }

std::shared_ptr<TSimItem> TSimOutlook::AddItem(std::string_view folderPath, const std::string& messageClass,
                                               const std::vector<std::pair<std::string, std::string>>& properties) {
    auto folder = FindFolder(folderPath);
    if (!folder) throw ESimError("No folder " + std::string(folderPath) + " in the mailbox.");
    auto item = TSimItems::Make(folder, messageClass);
    if (!item) throw ESimError("The mailbox can't make an item of the class " + messageClass + ".");
    // Until its save the item is nowhere: a bad property leaves nothing behind.
    for (const auto& [name, text] : properties) item->PresetPropertyText(name, text);
    item->SimSave();
    return item;
}

void TSimOutlook::Select(std::string_view folderPath, const std::vector<std::string>& entryIDs) {
    auto folder = FindFolder(folderPath);
    if (!folder) throw ESimError("No folder " + std::string(folderPath) + " in the mailbox.");
    std::vector<std::shared_ptr<TSimItem>> items;
    for (const auto& id : entryIDs) {
        auto item = FindItem(id);
        if (!item || item->Folder() != folder)
            throw ESimError("No item has the EntryID " + id + " in " + std::string(folderPath) + ".");
        items.push_back(item);
    }
    store_->explorerFolder = folder;
    store_->selection = std::move(items);
}

std::shared_ptr<TSimFolder> TSimOutlook::ExplorerFolder() const { return store_->explorerFolder; }

std::vector<std::shared_ptr<TSimItem>> TSimOutlook::Selection() const {
    std::vector<std::shared_ptr<TSimItem>> out;
    // An item deleted for good since the selection was made is no longer selected.
    for (const auto& item : store_->selection)
        if (!item->IsDeleted()) out.push_back(item);
    return out;
}

int TSimOutlook::DeliverItemAdds(int limit) {
    int raised = 0;
    auto& pending = store_->pendingAdds;
    while (!pending.empty()) {
        auto [weakFolder, item] = pending.front();
        pending.erase(pending.begin());
        auto folder = weakFolder.lock();
        // An item that left the folder, or the mailbox, before the loop came round is not there
        // to be reported.
        if (!folder || item->IsDeleted() || item->Folder() != folder) continue;
        if (folder->itemSinks_.empty()) continue;
        if (++raised > limit) {
            pending.clear();
            throw ESimError("item-added events keep raising more of themselves");
        }
        // The sinks as they stand: one that leaves meanwhile hears no more.
        auto sinks = folder->itemSinks_;
        for (const auto& [cookie, sink] : sinks) {
            auto& now = folder->itemSinks_;
            bool still = std::any_of(now.begin(), now.end(), [&](const auto& e) { return e.first == cookie; });
            if (!still) continue;
            auto dispatch = item->Dispatch();
            Swallow([&] { sink->ItemAdd(dispatch); });
        }
    }
    return raised;
}

void TSimOutlook::SetDisplayHook(std::function<void(TSimItem&)> hook) { store_->onDisplay = std::move(hook); }

void TSimOutlook::SetItemAddedHook(std::function<void(TSimItem&)> hook) {
    store_->onItemAdded = std::move(hook);
}

}  // namespace sim
