#pragma once
// The simulated Outlook: one store with the mailbox root and the default folders, subfolders by
// name, the items of each folder (sim/SimItem.h), deterministic entry IDs, a current user,
// inspectors, and named failures. The mailbox lives in TSimOutlook; the application object and
// every folder and item handed out refer to it, so the same mailbox can serve one add-in module
// after another, as Outlook does across restarts of the add-in.
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "base/Exceptions.h"
#include "platform/Outlook.h"

namespace sim {

// A misuse of the simulation itself (a question nobody answered, for instance).
CORVELLE_EXCEPTION(ESimError, Exception)

// Named failures. FailNext("Folders.Add") makes the next call of that member raise; each
// simulated member checks its name on entry. Names are "<object>.<member>": Application.GetNamespace,
// NameSpace.CurrentUser, NameSpace.GetDefaultFolder, NameSpace.GetItemFromID, Recipient.Name,
// Recipient.Address, MAPIFolder.Name, MAPIFolder.EntryID, MAPIFolder.StoreID,
// MAPIFolder.DefaultItemType, MAPIFolder.Parent, MAPIFolder.Folders, MAPIFolder.Items,
// Folders.Count, Folders.Item, Folders.Add, Items.Count, Items.Item, Items.Add,
// Inspector.WindowState (read and write), Inspector.CurrentItem, ConnectionPoint.Advise,
// ConnectionPoint.Unadvise; an item's members carry its kind's name: TaskItem.EntryID,
// TaskItem.MessageClass, TaskItem.FindConnectionPoint, TaskItem.Save, TaskItem.GetInspector,
// TaskItem.Display, TaskItem.Move, and one name per property for its read and its write
// (TaskItem.Subject, TaskItem.Status, TaskItem.DueDate, ...). For the services:
// Dialogs.ShowMessage, Dialogs.AskYesNo, Dialogs.AskYesNoCancel, Registry.ReadDword,
// Screen.WorkArea, Screen.CursorPos, Help.ShowContext, ModuleInfo.ModuleFileName.
class TSimFailures {
public:
    // Queues one failure of member; queue it again to fail several calls in a row.
    void FailNext(const std::string& member);
    // Drops all queued failures.
    void Clear() { pending_.clear(); }
    bool Pending(std::string_view member) const;
    // The failures that have fired, oldest first.
    const std::vector<std::string>& Fired() const { return fired_; }

    // Called by a member on entry: raises EOleException when a failure of it is queued.
    void CheckOle(std::string_view member);
    // The same for a service of the machine: raises Exception.
    void Check(std::string_view member);

private:
    bool Take(std::string_view member);
    std::vector<std::string> pending_;
    std::vector<std::string> fired_;
};

namespace detail {
struct SimStore;
}

class TSimItem;

class TSimFolder : public outlook::MAPIFolder, public std::enable_shared_from_this<TSimFolder> {
public:
    TSimFolder(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> parent,
               std::string name, std::string entryId, int defaultItemType);

    // The object model's view; each member checks its failures.
    std::string Name() override;
    std::string EntryID() override;
    std::string StoreID() override;
    int DefaultItemType() override;
    std::shared_ptr<outlook::IDispatch> Parent() override;
    std::shared_ptr<outlook::_Folders> Folders() override;
    std::shared_ptr<outlook::_Items> Items() override;

    // The simulation's own view, for tests and scripts; no failures are checked here.
    const std::string& FolderName() const { return name_; }
    const std::string& Id() const { return entryId_; }
    int ItemType() const { return defaultItemType_; }
    std::shared_ptr<TSimFolder> ParentFolder() const { return parent_.lock(); }
    const std::vector<std::shared_ptr<TSimFolder>>& Subfolders() const { return children_; }
    // The subfolder of that name, ignoring case; nullptr when there is none.
    std::shared_ptr<TSimFolder> Find(std::string_view name) const;
    // The names from the root down, joined by "/" ("Mailbox/Inbox").
    std::string Path() const;
    // The saved items of the folder, in the order they came in.
    const std::vector<std::shared_ptr<TSimItem>>& ItemList() const { return items_; }
    // The sinks connected to the folder's item events, in the order they were advised.
    size_t ItemSinkCount() const { return itemSinks_.size(); }

private:
    friend class TSimFolders;
    friend class TSimItems;
    friend class TSimItem;
    friend class TSimOutlook;
    std::shared_ptr<detail::SimStore> Store() const;  // raises when the mailbox is gone

    std::weak_ptr<detail::SimStore> store_;
    std::weak_ptr<TSimFolder> parent_;
    std::string name_;
    std::string entryId_;
    int defaultItemType_;
    std::vector<std::shared_ptr<TSimFolder>> children_;
    std::vector<std::shared_ptr<TSimItem>> items_;
    std::vector<std::pair<uint32_t, std::shared_ptr<outlook::ItemsEvents>>> itemSinks_;
    uint32_t nextItemSink_ = 1;
};

class TSimOutlook {
public:
    TSimOutlook();
    explicit TSimOutlook(std::shared_ptr<TSimFailures> failures);
    ~TSimOutlook();
    TSimOutlook(const TSimOutlook&) = delete;
    TSimOutlook& operator=(const TSimOutlook&) = delete;

    // The application object to hand to an add-in.
    std::shared_ptr<outlook::_Application> Application() const;

    TSimFailures& Failures() const;
    const std::shared_ptr<TSimFailures>& FailuresPtr() const;

    void SetCurrentUser(std::string name, std::string address);
    const std::string& CurrentUserName() const;
    const std::string& CurrentUserAddress() const;

    const std::string& StoreID() const;
    std::shared_ptr<TSimFolder> Root() const;
    // A default folder by its OlDefaultFolders number; nullptr for one the store lacks.
    std::shared_ptr<TSimFolder> DefaultFolder(int folderType) const;
    // A folder by its path below the root ("CorvelleEmail", "Inbox/Clients"); nullptr when absent.
    std::shared_ptr<TSimFolder> FindFolder(std::string_view path) const;

    // A saved item by its EntryID; nullptr when there is none (never saved, or deleted for good).
    std::shared_ptr<TSimItem> FindItem(std::string_view entryID) const;
    // The items shown in open inspectors, the active one last.
    std::vector<std::shared_ptr<TSimItem>> OpenItems() const;
    // The item of the active inspector; nullptr when no inspector is open.
    std::shared_ptr<TSimItem> ActiveItem() const;
    // One item as a property map (TSimItem::ToJson); raises ESimError when there is none.
    nlohmann::json ItemJson(std::string_view entryID) const;
    // The items of the folder at that path below the root, each as a property map; raises
    // ESimError for a folder that doesn't exist.
    nlohmann::json FolderItemsJson(std::string_view path) const;

    // What has changed in the mailbox, one line per change ("added folder Mailbox/CorvelleEmail
    // (type 6)"), with what the user did in inspectors.
    const std::vector<std::string>& Journal() const;
    void ClearJournal();

    // An item made outside the add-in, by the user or another program: made in the folder at
    // that path with that message class, its properties set from text as UserSetPropertyText
    // reads it (the kind's rules apply), then saved, so that it comes into the folder. ESimError
    // for an unknown folder, class or property, or a bad value; nothing is made then.
    std::shared_ptr<TSimItem> AddItem(std::string_view folderPath, const std::string& messageClass,
                                      const std::vector<std::pair<std::string, std::string>>& properties);

    // The explorer shows the folder at that path with those items selected. ESimError for an
    // unknown folder or an EntryID of no item in it; the selection stays as it was then.
    void Select(std::string_view folderPath, const std::vector<std::string>& entryIDs);
    // The folder the explorer shows (nullptr before the first Select) and its selected items.
    std::shared_ptr<TSimFolder> ExplorerFolder() const;
    std::vector<std::shared_ptr<TSimItem>> Selection() const;

    // The message loop: raises the item-added events waiting since the calls that caused them,
    // to the sinks connected at that moment, oldest first, also those that the sinks' own work
    // causes meanwhile, up to `limit` events. Returns the number raised; ESimError when more
    // were still waiting after `limit` (events that keep raising more of themselves), which
    // are dropped then. What a sink throws stays with the sink.
    int DeliverItemAdds(int limit = 1000);

    // Hooks for a host that shows what happens. The display hook hears of each Display of an
    // item's inspector, also of one shown already that only comes to the front. The item-added
    // hook hears of each item that comes into a folder, by its first save there or by a move
    // there: what Outlook raises as ItemAdd on that folder's items.
    void SetDisplayHook(std::function<void(TSimItem&)> hook);
    void SetItemAddedHook(std::function<void(TSimItem&)> hook);

private:
    std::shared_ptr<detail::SimStore> store_;
};

}  // namespace sim
