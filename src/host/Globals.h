#pragma once
// The module-wide variables: every shared object of the add-in, owned by the one add-in module
// and reached through Globals(). A new module starts with all of them clear.
#include <memory>
#include <string>

#include "platform/Dispatch.h"
#include "platform/Outlook.h"

class TdxMemData;
class TAddInModule;
class TItems;
class TEventSink;
class TcxTreeListNode;
class TfmNewTask;
class TfmTimeMemo;
class TfmChooseTask;
class TfmTimer;
class TfmOptions;
class TfmAddTask;
class TfmAbout;
class TfmList;

struct TModuleGlobals {
    TModuleGlobals();
    ~TModuleGlobals();
    TModuleGlobals(const TModuleGlobals&) = delete;
    TModuleGlobals& operator=(const TModuleGlobals&) = delete;

    // The module these belong to.
    TAddInModule* AddInModule = nullptr;

    // The tables, aliases of the module's components.
    TdxMemData* MemDataTasks = nullptr;
    TdxMemData* MemDataAddTask = nullptr;
    TdxMemData* MemDataTime = nullptr;
    TdxMemData* MemDataEmails = nullptr;
    TdxMemData* MemDataContacts = nullptr;
    TdxMemData* MemDataDistLists = nullptr;
    TdxMemData* MemDataAppointments = nullptr;
    TdxMemData* MemDataNotes = nullptr;

    // Outlook.
    std::shared_ptr<outlook::_Application> OutlookApp;
    std::shared_ptr<outlook::_NameSpace> NameSpace;
    std::shared_ptr<outlook::Recipient> CurrentUser;
    std::string CurrentUserName;
    std::string CurrentUserAddress;
    std::shared_ptr<outlook::MAPIFolder> TasksFolder;
    std::shared_ptr<outlook::MAPIFolder> InboxFolder;
    std::shared_ptr<outlook::MAPIFolder> SentFolder;
    std::shared_ptr<outlook::MAPIFolder> RootFolder;
    std::shared_ptr<outlook::MAPIFolder> EmailFolder;
    std::shared_ptr<outlook::MAPIFolder> DeletedFolder;
    std::shared_ptr<outlook::MAPIFolder> NotesFolder;
    std::shared_ptr<outlook::MAPIFolder> ContactsFolder;
    std::shared_ptr<outlook::MAPIFolder> CalendarFolder;

    // The seven non-pane forms, owned by the module; and the task pane, owned by the forms
    // manager.
    std::unique_ptr<TfmNewTask> fmNewTask;
    std::unique_ptr<TfmTimeMemo> fmTimeMemo;
    std::unique_ptr<TfmChooseTask> fmChooseTask;
    std::unique_ptr<TfmTimer> fmTimer;
    std::unique_ptr<TfmOptions> fmOptions;
    std::unique_ptr<TfmAddTask> fmAddTask;
    std::unique_ptr<TfmAbout> fmAbout;
    TfmList* fmList = nullptr;

    // The table files.
    std::string TasksPath;
    std::string TimePath;
    std::string EmailsPath;
    std::string ContactsPath;
    std::string DistlistsPath;
    std::string AppointmentsPath;
    std::string NotesPath;

    // The item watcher (owned by the module) and the kind of the item last created.
    TItems* MailItems = nullptr;
    std::string ItemType;

    // The current task: the focused node of the task tree and its details.
    int CurrentTaskID = 0;
    TcxTreeListNode* FocusedNode = nullptr;
    std::string TaskDescription;
    int TaskStatus = 0;
    std::string TaskFullDescription;
    std::string TaskFullNumber;

    // The Outlook task open in an inspector, its event connection and sink.
    std::shared_ptr<outlook::_TaskItem> TaskItem;
    std::shared_ptr<platform::IConnectionPoint> TaskConnection;
    std::shared_ptr<TEventSink> TaskSink;
    bool TaskOpen = false;
    bool TaskChanged = false;
    bool CompleteChanged = false;
};

// The variables of the add-in module now loaded. Raises EAccessViolation when none is.
TModuleGlobals& Globals();
// Whether an add-in module is loaded.
bool HaveGlobals();
