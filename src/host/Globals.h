#pragma once
// The module-wide variables: every shared object of the add-in, owned by the one add-in module
// and reached through Globals(). A new module starts with all of them clear.
#include <cstdint>
#include <memory>
#include <string>

#include "base/Currency.h"
#include "base/DateTime.h"
#include "base/Exceptions.h"
#include "platform/Dispatch.h"
#include "platform/Excel.h"
#include "platform/Outlook.h"

class TdxMemData;
class TAddInModule;
class TItems;
class TEventSink;
class TcxTreeListNode;
class TcxDBTreeList;
class TfmNewTask;
class TfmTimeMemo;
class TfmChooseTask;
class TfmTimer;
class TfmOptions;
class TfmAddTask;
class TfmAbout;
class TfmList;
class TfmTime;
class TfmEmails;
class TfmNotes;
class TfmContacts;
class TfmAppointments;
class TCheckBox;

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
    // The other panes, each stored at its activation.
    TfmTime* fmTime = nullptr;
    TfmEmails* fmEmails = nullptr;
    TfmNotes* fmNotes = nullptr;
    TfmContacts* fmContacts = nullptr;
    TfmAppointments* fmAppointments = nullptr;

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
    TcxDBTreeList* TaskTree = nullptr;
    TcxTreeListNode* FocusedNode = nullptr;
    int FocusedNodeIndex = 0;
    int TaskParentID = 0;
    std::string TaskDescription;
    TDateTime TaskCreateDate = 0;
    TDateTime TaskDueDate = 0;
    TDateTime TaskStartDate = 0;
    TDateTime TaskDateComplete = 0;
    int TaskNumber = 0;
    int TaskImportance = 0;
    int TaskStatus = 0;
    int TaskPercent = 0;
    std::string TaskOwner;
    bool TaskComplete = false;
    int TaskLevel = 0;
    std::string TaskFullDescription;
    std::string TaskFullNumber;
    // The ID that NameExists found last.
    int FoundTaskID = 0;
    // The parent of the task the new-task dialog makes.
    int NewParentID = 0;

    // The Outlook task open in an inspector, its event connection and sink.
    std::shared_ptr<outlook::_TaskItem> TaskItem;
    std::shared_ptr<platform::IConnectionPoint> TaskConnection;
    std::shared_ptr<TEventSink> TaskSink;
    // What Advise gave back when TaskSink was connected to TaskConnection.
    uint32_t TaskCookie = 0;
    bool TaskOpen = false;
    bool TaskChanged = false;
    bool CompleteChanged = false;

    // The timer: the time row it is bound to (0 none yet, -1 cleared or closed), its task and
    // the task's texts copied into the rows it makes, and what it last posted.
    int TimerEntryID = 0;
    int TimerTaskID = 0;
    std::string TimerTaskName;
    std::string TimerTaskFullName;
    std::string TimerTaskFullNo;
    std::string TimerNote;
    Currency TimerDecTime;
    bool TimerRunning = false;
    bool TimerIsNew = false;
    // The caption the timer's window shows while no task is chosen.
    std::string TimerCaption;
    // The timesheet: the lower date of its filter (the time report reads it too), and its
    // "Show closed time" box.
    TDateTime ShowTimeSince = 0;
    TCheckBox* ShowClosedCheck = nullptr;
    // The timesheet form as uTime knows it. The forms manager makes the pane, so nothing ever
    // sets this: an added time row leaves the Time table unfiltered.
    TfmTime* TimeSheetForm = nullptr;

    // The task the chooser's tree focused last, and its details.
    int ChosenTaskID = 0;
    int ChosenParentID = 0;
    std::string ChosenTaskName;
    TDateTime ChosenCreateDate = 0;
    int ChosenNumber = 0;
    TDateTime ChosenDueDate = 0;
    TDateTime ChosenStartDate = 0;
    TDateTime ChosenDateComplete = 0;
    int ChosenImportance = 0;
    int ChosenStatus = 0;
    int ChosenPercentComplete = 0;
    int ChosenComplete = 0;
    std::string ChosenOwnerName;
    std::string ChosenTaskFullName;
    std::string ChosenTaskFullNo;
    TcxTreeListNode* FocusedChooserNode = nullptr;

    // The reports' Excel (uExcel): the application reached last, the user's locale for Excel's
    // calls, and the folder of the templates.
    std::shared_ptr<excel::_Application> Excel;
    int32_t ExcelLCID = 0;
    std::string ExcelPath;
};

// What a module-wide reference points at; raises EAccessViolation, as a call through nil does,
// when it points at nothing (a start-up that ended early leaves the forms unmade).
template <class P>
auto& Live(const P& p) {
    if (!p) throw EAccessViolation("Access violation: the object is not there");
    return *p;
}

// The variables of the add-in module now loaded. Raises EAccessViolation when none is.
TModuleGlobals& Globals();
// Whether an add-in module is loaded.
bool HaveGlobals();
