#pragma once
// The simulated Outlook: one store with the mailbox root and the default folders, subfolders by
// name, deterministic entry IDs, a current user, and named failures. The mailbox lives in
// TSimOutlook; the application object and every folder handed out refer to it, so the same
// mailbox can serve one add-in module after another, as Outlook does across restarts of the
// add-in.
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Exceptions.h"
#include "platform/Outlook.h"

namespace sim {

// A misuse of the simulation itself (a question nobody answered, for instance).
CORVELLE_EXCEPTION(ESimError, Exception)

// Named failures. FailNext("Folders.Add") makes the next call of that member raise; each
// simulated member checks its name on entry. Names are "<object>.<member>": Application.GetNamespace,
// NameSpace.CurrentUser, NameSpace.GetDefaultFolder, Recipient.Name, Recipient.Address,
// MAPIFolder.Name, MAPIFolder.EntryID, MAPIFolder.StoreID, MAPIFolder.DefaultItemType,
// MAPIFolder.Parent, MAPIFolder.Folders, Folders.Count, Folders.Item, Folders.Add, and for the
// services Dialogs.ShowMessage, Dialogs.AskYesNo, Dialogs.AskYesNoCancel, Registry.ReadDword,
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

private:
    friend class TSimFolders;
    friend class TSimOutlook;
    std::shared_ptr<detail::SimStore> Store() const;  // raises when the mailbox is gone

    std::weak_ptr<detail::SimStore> store_;
    std::weak_ptr<TSimFolder> parent_;
    std::string name_;
    std::string entryId_;
    int defaultItemType_;
    std::vector<std::shared_ptr<TSimFolder>> children_;
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

    // What has changed in the mailbox, one line per change ("added folder Mailbox/CorvelleEmail
    // (type 6)").
    const std::vector<std::string>& Journal() const;
    void ClearJournal();

private:
    std::shared_ptr<detail::SimStore> store_;
};

}  // namespace sim
