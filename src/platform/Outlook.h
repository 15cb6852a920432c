#pragma once
// Outlook's object model, as far as the system uses it. Every member may fail; a failing call
// raises EOleException. The classes carry Outlook's own names so that the logic reads as the
// object model does; a backend (the simulated mailbox, the desktop host's stand-in, the COM
// bindings) implements them.
#include <memory>
#include <string>

#include "base/DateTime.h"
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

// OlTaskStatus, OlImportance, OlWindowState.
enum OlTaskStatus : int {
    olTaskNotStarted = 0,
    olTaskInProgress = 1,
    olTaskComplete = 2,
    olTaskWaiting = 3,
    olTaskDeferred = 4,
};
enum OlImportance : int { olImportanceLow = 0, olImportanceNormal = 1, olImportanceHigh = 2 };
enum OlWindowState : int { olMaximized = 0, olMinimized = 1, olNormalWindow = 2 };

// The item events interface (ItemEvents) and the dispatch IDs of its events.
inline constexpr const char* IID_ItemEvents = "{0006302B-0000-0000-C000-000000000046}";
enum ItemEventDispId : int32_t {
    DISPID_Read = 0xF001,
    DISPID_Write = 0xF002,
    DISPID_Open = 0xF003,
    DISPID_Close = 0xF004,
    DISPID_Send = 0xF005,
    DISPID_Unload = 0xF007,
    DISPID_PropertyChange = 0xF009,
};

// The events of a folder's items (ItemsEvents): ItemAdd hands over the item added.
inline constexpr const char* IID_ItemsEvents = "{00063077-0000-0000-C000-000000000046}";
inline constexpr int32_t DISPID_ItemAdd = 0xF001;

class _Folders;
class _Items;
class _Inspector;
class MAPIFolder;

// A person known to Outlook; the current user is one, so are a mail's recipients and a
// distribution list's members.
class Recipient : public IDispatch {
public:
    virtual std::string Name() = 0;
    virtual std::string Address() = 0;
};

// OlUserPropertyType and OlInspectorClose (the SaveMode of Close).
enum OlUserPropertyType : int { olText = 1, olNumber = 3 };
enum OlInspectorClose : int { olSave = 0, olDiscard = 1, olPromptForSave = 2 };

// A named property of an item that the add-in put there.
class UserProperty : public IDispatch {
public:
    virtual std::string Name() = 0;
    virtual Variant Value() = 0;
    virtual void SetValue(const Variant& value) = 0;
};

// The user properties of one item.
class UserProperties : public IDispatch {
public:
    virtual int Count() = 0;
    // A new property; raises when the item has one of that name already.
    virtual std::shared_ptr<UserProperty> Add(const std::string& name, int type, bool addToFolderFields,
                                              int displayFormat) = 0;
    // The property of that name, ignoring case; an empty reference when there is none.
    virtual std::shared_ptr<UserProperty> Find(const std::string& name, bool custom) = 0;
};

// A mail's recipients.
class Recipients : public IDispatch {
public:
    virtual int Count() = 0;
    // One-based position; raises outside 1..Count.
    virtual std::shared_ptr<Recipient> Item(int index) = 0;
};

// An item's attached files.
class Attachments : public IDispatch {
public:
    virtual int Count() = 0;
};

// What every kind of item the add-in files shares: its identity, its user properties and what
// can be done to it as a whole. Copy makes a saved copy in the same folder; Move gives the item
// in its new folder; Delete moves it to Deleted Items; Close(olSave) saves and closes its
// inspector if one is open.
class OutlookItem : public IDispatch {
public:
    virtual std::string EntryID() = 0;  // empty until the item is saved
    virtual std::string MessageClass() = 0;
    virtual std::shared_ptr<UserProperties> GetUserProperties() = 0;
    virtual std::shared_ptr<IDispatch> Copy() = 0;
    virtual std::shared_ptr<IDispatch> Move(const std::shared_ptr<MAPIFolder>& destination) = 0;
    virtual void Delete() = 0;
    virtual void Close(int saveMode) = 0;  // an OlInspectorClose
    virtual void Save() = 0;
    virtual void Display(bool modal) = 0;
};

// A mail. The add-in makes "IPM.Mail" items; Outlook's own mails are "IPM.Note" and its
// sub-classes. SentOn of a mail never sent reads as 1 January 4501.
class _MailItem : public OutlookItem {
public:
    virtual std::string Subject() = 0;
    virtual void SetSubject(const std::string& value) = 0;
    virtual std::string Body() = 0;
    virtual void SetBody(const std::string& value) = 0;
    virtual TDateTime SentOn() = 0;
    virtual std::string SentOnBehalfOfName() = 0;
    virtual std::string SenderName() = 0;
    virtual std::shared_ptr<outlook::Recipients> GetRecipients() = 0;
    virtual std::shared_ptr<outlook::Attachments> GetAttachments() = 0;
};

// A post ("IPM.Post"): what the add-in keeps as a note.
class _PostItem : public OutlookItem {
public:
    virtual std::string Subject() = 0;
    virtual void SetSubject(const std::string& value) = 0;
    virtual std::string Body() = 0;
    virtual void SetBody(const std::string& value) = 0;
    virtual TDateTime SentOn() = 0;
    virtual std::string SenderName() = 0;
    virtual std::shared_ptr<outlook::Attachments> GetAttachments() = 0;
};

// An appointment of the calendar.
class _AppointmentItem : public OutlookItem {
public:
    virtual std::string Subject() = 0;
    virtual void SetSubject(const std::string& value) = 0;
    virtual TDateTime Start() = 0;
    virtual TDateTime End() = 0;
    virtual std::shared_ptr<outlook::Attachments> GetAttachments() = 0;
};

// A contact.
class _ContactItem : public OutlookItem {
public:
    virtual std::string LastNameAndFirstName() = 0;
    virtual std::string BusinessTelephoneNumber() = 0;
    virtual std::string Email1DisplayName() = 0;
    virtual std::string BusinessAddress() = 0;
};

// A distribution list; its members count from 1.
class _DistListItem : public OutlookItem {
public:
    virtual std::string Subject() = 0;
    virtual int MemberCount() = 0;
    virtual std::shared_ptr<Recipient> GetMember(int index) = 0;
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
    virtual std::shared_ptr<_Items> Items() = 0;
};

// What a folder's items raise: an item came into the folder (its first save there, a move or
// a copy there, a mail sent into Sent Items). Raised from the message loop, after the call
// that caused it.
class ItemsEvents {
public:
    virtual ~ItemsEvents() = default;
    virtual void ItemAdd(const std::shared_ptr<IDispatch>& item) = 0;
};

// The items of a folder.
class _Items : public IDispatch {
public:
    // Connects a sink to the folder's item events; the cookie disconnects it.
    virtual uint32_t Advise(const std::shared_ptr<ItemsEvents>& sink) = 0;
    virtual void Unadvise(uint32_t cookie) = 0;
    virtual int Count() = 0;
    // One-based position.
    virtual std::shared_ptr<IDispatch> Item(int index) = 0;
    // A new, unsaved item of the message class given ("IPM.Task", ...).
    virtual std::shared_ptr<IDispatch> Add(const std::string& messageClass) = 0;
};

// The window in which an item is shown.
class _Inspector : public IDispatch {
public:
    virtual int WindowState() = 0;  // an OlWindowState
    virtual void SetWindowState(int value) = 0;
    virtual std::shared_ptr<IDispatch> CurrentItem() = 0;
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
    // The item of that EntryID in that store; raises when the EntryID is empty or names no item.
    virtual std::shared_ptr<IDispatch> GetItemFromID(const std::string& entryID,
                                                     const std::string& storeID) = 0;
};

// An Outlook task item. A date that is not set reads as 1 January 4501.
class _TaskItem : public IDispatch {
public:
    virtual std::string EntryID() = 0;  // empty until the item is saved
    virtual std::string MessageClass() = 0;
    virtual std::string Subject() = 0;
    virtual void SetSubject(const std::string& value) = 0;
    virtual std::string Body() = 0;
    virtual void SetBody(const std::string& value) = 0;
    virtual std::string Owner() = 0;
    virtual int Status() = 0;  // an OlTaskStatus
    virtual void SetStatus(int value) = 0;
    virtual TDateTime DueDate() = 0;
    virtual void SetDueDate(TDateTime value) = 0;
    virtual TDateTime StartDate() = 0;
    virtual void SetStartDate(TDateTime value) = 0;
    virtual TDateTime DateCompleted() = 0;
    virtual void SetDateCompleted(TDateTime value) = 0;
    virtual int Importance() = 0;  // an OlImportance
    virtual void SetImportance(int value) = 0;
    virtual int PercentComplete() = 0;
    virtual void SetPercentComplete(int value) = 0;
    virtual int Sensitivity() = 0;
    virtual void SetSensitivity(int value) = 0;
    virtual bool Complete() = 0;
    virtual void SetComplete(bool value) = 0;
    virtual void Save() = 0;
    virtual std::shared_ptr<_Inspector> GetInspector() = 0;
    virtual void Display(bool modal) = 0;
    // Moves the item to another folder; gives the moved item.
    virtual std::shared_ptr<IDispatch> Move(const std::shared_ptr<MAPIFolder>& destination) = 0;
};

// The items selected in an explorer.
class Selection : public IDispatch {
public:
    virtual int Count() = 0;
    // One-based position: the item, of whatever kind, late-bound.
    virtual std::shared_ptr<IDispatch> Item(int index) = 0;
};

// A window of Outlook that shows a folder.
class _Explorer : public IDispatch {
public:
    virtual std::shared_ptr<outlook::Selection> GetSelection() = 0;
    virtual std::shared_ptr<MAPIFolder> CurrentFolder() = 0;
};

// The Outlook application.
class _Application : public IDispatch {
public:
    // The explorer in front; raises when none is open.
    virtual std::shared_ptr<_Explorer> ActiveExplorer() = 0;
    // Only "MAPI" is a name space.
    virtual std::shared_ptr<_NameSpace> GetNamespace(const std::string& type) = 0;
};

}  // namespace outlook
