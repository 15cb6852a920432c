#pragma once
// Outlook's object model, as far as the system uses it. Every member may fail; a failing call
// raises EOleException. The classes carry Outlook's own names so that the logic reads as the
// object model does; a backend (the simulated mailbox, the desktop host's stand-in, the COM
// bindings) implements them.
#include <memory>
#include <string>

#include "platform/Dispatch.h"

namespace outlook {

using platform::IDispatch;

// OlDefaultFolders: the numbers GetDefaultFolder takes, and the kinds Folders.Add takes.
enum OlDefaultFolders : int {
    olFolderDeletedItems = 3,
    olFolderOutbox = 4,
    olFolderSentMail = 5,
    olFolderInbox = 6,
    olFolderCalendar = 9,
    olFolderContacts = 10,
    olFolderJournal = 11,
    olFolderNotes = 12,
    olFolderTasks = 13,
    olFolderDrafts = 16,
};

// OlItemType: what a folder holds by default (MAPIFolder.DefaultItemType).
enum OlItemType : int {
    olMailItem = 0,
    olAppointmentItem = 1,
    olContactItem = 2,
    olTaskItem = 3,
    olJournalItem = 4,
    olNoteItem = 5,
    olPostItem = 6,
    olDistributionListItem = 7,
};

class _Folders;
class MAPIFolder;

// A person known to Outlook; the current user is one.
class Recipient : public IDispatch {
public:
    virtual std::string Name() = 0;
    virtual std::string Address() = 0;
};

// One folder of a store.
class MAPIFolder : public IDispatch {
public:
    virtual std::string Name() = 0;
    virtual std::string EntryID() = 0;
    virtual std::string StoreID() = 0;
    virtual int DefaultItemType() = 0;  // an OlItemType
    // The folder above, or the name space for the root folder of a store.
    virtual std::shared_ptr<IDispatch> Parent() = 0;
    virtual std::shared_ptr<_Folders> Folders() = 0;
};

// The subfolders of a folder.
class _Folders : public IDispatch {
public:
    virtual int Count() = 0;
    // One-based position.
    virtual std::shared_ptr<MAPIFolder> Item(int index) = 0;
    // By name, ignoring case; raises when there is none.
    virtual std::shared_ptr<MAPIFolder> Item(const std::string& name) = 0;
    // A new subfolder; type is an OlDefaultFolders kind (olFolderInbox makes a mail folder).
    // Raises when the name is taken.
    virtual std::shared_ptr<MAPIFolder> Add(const std::string& name, int type) = 0;
};

// The MAPI name space: the user's stores and their default folders.
class _NameSpace : public IDispatch {
public:
    virtual std::shared_ptr<Recipient> CurrentUser() = 0;
    virtual std::shared_ptr<MAPIFolder> GetDefaultFolder(int folderType) = 0;
};

// An Outlook task item; its members arrive with the task mirror.
class _TaskItem : public IDispatch {};

// The Outlook application.
class _Application : public IDispatch {
public:
    // Only "MAPI" is a name space.
    virtual std::shared_ptr<_NameSpace> GetNamespace(const std::string& type) = 0;
};

}  // namespace outlook
