#include "host/AddinModule.h"

#include "tasks/uTasks.h"

#include <algorithm>
#include <system_error>

#include "base/Clock.h"
#include "base/Guard.h"
#include "filing/uAppointments.h"
#include "filing/uContacts.h"
#include "filing/uEmails.h"
#include "filing/uNotes.h"
#include "host/Items.h"
#include "platform/System.h"
#include "store/TableFile.h"
#include "store/Tables.h"
#include "support/FileLogger.h"
#include "support/ufmAbout.h"
#include "support/ufmOptions.h"
#include "filing/ufmAppointments.h"
#include "filing/ufmContacts.h"
#include "filing/ufmEmails.h"
#include "filing/ufmNotes.h"
#include "tasks/ufmAddTask.h"
#include "tasks/ufmList.h"
#include "time/ufmTime.h"
#include "tasks/ufmNewTask.h"
#include "time/ufmChooseTask.h"
#include "time/ufmTimeMemo.h"
#include "time/ufmTimer.h"
#include "toolkit/DBTreeList.h"
#include "toolkit/Forms.h"
#include "toolkit/UnitsLoader.h"

using outlook::MAPIFolder;
using platform::QueryInterface;
using platform::Use;

TAddInModule::TAddInModule(THostInfo host)
    : TadxCOMAddInModule(std::move(host)), adxOlFormsManager1(*this), adxOutlookAppEvents1(*this) {
    AddInName = "Corvelle";
    vars_.AddInModule = this;

    DefineTasksFields(MemDataTasks);
    DefineTimeFields(MemDataTime);
    DefineEmailsFields(MemDataEmails);
    DefineContactsFields(MemDataContacts);
    DefineDistListsFields(MemDataDistLists);
    DefineAppointmentsFields(MemDataAppointments);
    DefineNotesFields(MemDataNotes);
    DefineAddTaskTable(MemDataAddTask);

    MemDataTasks.BeforeDelete = [this](TdxMemData& t) { MemDataTasksBeforeDelete(t); };
    if (TField* complete = MemDataTasks.FindField("Complete"))
        complete->OnChange = [this](TField& f) { MemDataTasksCompleteChange(f); };

    adxRibbonTab1.Caption = "Corvelle";
    adxRibbonTab1.Id = "adxRibbonTab1";
    DefineRibbon();

    OnError = [this](const ExceptionInfo& E, bool& Handled) { adxCOMAddInModuleError(E, Handled); };
    adxOlFormsManager1.OnError = [this](const ExceptionInfo& E, bool& Handled) {
        adxOlFormsManager1Error(E, Handled);
    };
    adxOutlookAppEvents1.OnQuit = [this] { adxOutlookAppEvents1Quit(); };
    DefinePanes();
}

// The ribbon tab's six groups in order; the first and the third stay hidden on purpose.
void TAddInModule::DefineRibbon() {
    auto handler = [this](void (TAddInModule::*h)()) {
        return [this, h] {
            try {
                (this->*h)();
            } catch (...) {
                HandleError(std::current_exception());
            }
        };
    };
    adxRibbonTab1.AddGroup("CorvelleGroup1", "", false)
        .AddButton("CorvelleOptions", "Options...", handler(&TAddInModule::adxRibbonTab1Controls0Controls0Click));
    adxRibbonTab1.AddGroup("CorvelleGroup2", "", true)
        .AddButton("CorvelleFindTask", "Find a task", handler(&TAddInModule::adxRibbonTab1Controls2Controls0Click));
    TadxRibbonGroup& reports = adxRibbonTab1.AddGroup("CorvelleGroup3", "Reports", false);
    reports.AddButton("CorvelleTaskReport", "Tasks", handler(&TAddInModule::adxRibbonTab1Controls4Controls0Click));
    reports.AddButton("CorvelleTimeReport", "Time", handler(&TAddInModule::adxRibbonTab1Controls4Controls1Click));
    adxRibbonTab1.AddGroup("CorvelleGroup4", "", true)
        .AddButton("CorvelleTimer", "Timer", handler(&TAddInModule::adxRibbonTab1Controls3Controls0Click))
        .ScreenTip = "Open the timer";
    adxRibbonTab1.AddGroup("CorvelleGroup5", "", true)
        .AddButton("CorvelleHelp", "Help", handler(&TAddInModule::adxRibbonTab1Controls6Controls0Click));
    adxRibbonTab1.AddGroup("CorvelleGroup6", "", true)
        .AddButton("CorvelleAbout", "About", handler(&TAddInModule::adxRibbonTab1Controls5Controls0Click));
}

void TAddInModule::adxRibbonTab1Controls0Controls0Click() {}
void TAddInModule::adxRibbonTab1Controls4Controls0Click() {}
void TAddInModule::adxRibbonTab1Controls4Controls1Click() {}

void TAddInModule::adxRibbonTab1Controls2Controls0Click() {
    if (HasRecords(MemDataTasks)) Live(vars_.fmAddTask).ShowModal();
    else ShowMessage("You have no tasks.");
}

void TAddInModule::adxRibbonTab1Controls3Controls0Click() {
    if (HasRecords(MemDataTasks)) Live(vars_.fmTimer).Show();
    else ShowMessage("You have no tasks to time.");
}

void TAddInModule::adxRibbonTab1Controls6Controls0Click() { HelpContext(10); }

void TAddInModule::adxRibbonTab1Controls5Controls0Click() { Live(vars_.fmAbout).ShowModal(); }

// The six panes, in the order by which they reach each other.
void TAddInModule::DefinePanes() {
    using R = TadxOlExplorerRegion;
    auto add = [this](const char* className, TadxOlExplorerLayout layout, std::set<R> regions,
                      std::function<std::unique_ptr<TadxOlForm>()> make) -> TadxOlFormsManagerItem& {
        TadxOlFormsManagerItem& item = adxOlFormsManager1.AddItem();
        item.FormClassName = className;
        item.ExplorerLayout = layout;
        item.ExplorerAllowedDropRegions = std::move(regions);
        item.CreateForm = std::move(make);
        return item;
    };
    TadxOlFormsManagerItem& list = add("TfmList", TadxOlExplorerLayout::elReadingPane,
                                       {R::erBottomNavigationPane, R::erReadingPane, R::erFolderView},
                                       [] { return std::make_unique<TfmList>(); });
    list.IsHiddenStateAllowed = false;
    list.IsMinimizedStateAllowed = false;
    list.IsDragDropAllowed = true;
    add("TfmTime", TadxOlExplorerLayout::elFolderView, {R::erReadingPane}, [] { return std::make_unique<TfmTime>(); });
    add("TfmEmails", TadxOlExplorerLayout::elFolderView, {}, [] { return std::make_unique<TfmEmails>(); });
    add("TfmNotes", TadxOlExplorerLayout::elFolderView, {}, [] { return std::make_unique<TfmNotes>(); });
    add("TfmContacts", TadxOlExplorerLayout::elFolderView, {}, [] { return std::make_unique<TfmContacts>(); });
    add("TfmAppointments", TadxOlExplorerLayout::elFolderView, {},
        [] { return std::make_unique<TfmAppointments>(); });
}

// The panes go before the tables they show.
TAddInModule::~TAddInModule() {
    JoinDetacher();
    adxOlFormsManager1.FreeForms();
}

void TAddInModule::JoinDetacher() {
    if (!detacher_.joinable()) return;
    stopDetaching_ = true;
    detacher_.join();
    stopDetaching_ = false;
}

// ---------------------------------------------------------------------------------------------
// Lifecycle

void TAddInModule::AddInInitialize() { TdxUnitsLoader::Initialize(); }

void TAddInModule::AddInStartupComplete() {
    // A step that fails ends the start-up there, without a word.
    Swallow([this] {
        TModuleGlobals& g = vars_;

        // 1. The tables, tasks first.
        g.MemDataTasks = &MemDataTasks;
        g.MemDataAddTask = &MemDataAddTask;
        g.MemDataTime = &MemDataTime;
        g.MemDataEmails = &MemDataEmails;
        g.MemDataContacts = &MemDataContacts;
        g.MemDataDistLists = &MemDataDistLists;
        g.MemDataAppointments = &MemDataAppointments;
        g.MemDataNotes = &MemDataNotes;

        // 2. The host application.
        g.OutlookApp = HostApplication();

        // 3. The name space and the current user.
        g.NameSpace = Use(g.OutlookApp).GetNamespace("MAPI");
        g.CurrentUser = Use(g.NameSpace).CurrentUser();
        g.CurrentUserName = Use(g.CurrentUser).Name();
        g.CurrentUserAddress = Use(g.CurrentUser).Address();

        // 4. Help.
        SetHelpFile(GetDllPath() + "Corvelle.chm");

        // 5. Tasks, Inbox, Sent Items.
        g.TasksFolder = Use(g.NameSpace).GetDefaultFolder(outlook::olFolderTasks);
        g.InboxFolder = Use(g.NameSpace).GetDefaultFolder(outlook::olFolderInbox);
        g.SentFolder = Use(g.NameSpace).GetDefaultFolder(outlook::olFolderSentMail);

        // 6. The mailbox root.
        g.RootFolder = QueryInterface<MAPIFolder>(Use(g.InboxFolder).Parent());

        // 7. The folder of filed mail, made on the first start.
        try {
            g.EmailFolder = Use(Use(g.RootFolder).Folders()).Item("CorvelleEmail");
        } catch (...) {
            g.EmailFolder = Use(Use(g.RootFolder).Folders()).Add("CorvelleEmail", outlook::olFolderInbox);
        }

        // 8. Deleted Items.
        g.DeletedFolder = Use(g.NameSpace).GetDefaultFolder(outlook::olFolderDeletedItems);

        // 9. The folder of notes: a mail folder too, since notes are posts.
        try {
            g.NotesFolder = Use(Use(g.RootFolder).Folders()).Item("CorvelleNotes");
        } catch (...) {
            g.NotesFolder = Use(Use(g.RootFolder).Folders()).Add("CorvelleNotes", outlook::olFolderInbox);
        }

        // 10. Contacts and Calendar.
        g.ContactsFolder = Use(g.NameSpace).GetDefaultFolder(outlook::olFolderContacts);
        g.CalendarFolder = Use(g.NameSpace).GetDefaultFolder(outlook::olFolderCalendar);

        // 11. The forms that are not panes.
        g.fmNewTask = std::make_unique<TfmNewTask>();
        g.fmTimeMemo = std::make_unique<TfmTimeMemo>();
        g.fmChooseTask = std::make_unique<TfmChooseTask>();
        g.fmTimer = std::make_unique<TfmTimer>();
        g.fmOptions = std::make_unique<TfmOptions>();
        g.fmAddTask = std::make_unique<TfmAddTask>();
        g.fmAbout = std::make_unique<TfmAbout>();

        // 12. The table files, beside the add-in file.
        g.TasksPath = GetDllPath() + "Tasks.bin";
        g.TimePath = GetDllPath() + "Time.bin";
        g.EmailsPath = GetDllPath() + "Emails.bin";
        g.ContactsPath = GetDllPath() + "Contacts.bin";
        g.DistlistsPath = GetDllPath() + "Distlists.bin";
        g.AppointmentsPath = GetDllPath() + "Appointments.bin";
        g.NotesPath = GetDllPath() + "Notes.bin";

        // 13. The tables. The files of the item tables are parsed meanwhile on a second thread;
        // each load routine still runs at its place and takes what was parsed for its file.
        StartPrefetch();
        LoadTasks();
        CopyAllTasks();
        LoadTime();
        LoadEmails();
        LoadContacts();
        LoadDistLists();
        LoadAppointments();
        LoadNotes();
        prefetch_.reset();  // every parse was taken; the second thread is joined
        // The files were mapped rather than copied, which start-up need not wait for; their
        // bytes become the process's own on a second thread from here.
        JoinDetacher();
        detacher_ = std::thread([this] { DetachTableFileImages(&stopDetaching_); });

        // 14. The item watcher, connected only when an item is awaited.
        mailItems_ = std::make_unique<TItems>();
        mailItems_->OnItemAdd = [this](const std::shared_ptr<platform::IDispatch>& Item) { ItemsAdd(Item); };
        g.MailItems = mailItems_.get();

        // 15. The diagnostic trace client.
        if (platform::ITraceClient* trace = TraceClient()) trace->Connect("127.0.0.1", 3434);
    });
    // Also when a step ended the start-up: the second thread is joined and what it parsed for
    // no table goes.
    prefetch_.reset();
}

void TAddInModule::AddInBeginShutdown() {
    JoinDetacher();
    Swallow([this] {
        TModuleGlobals& g = vars_;

        // 1. Outlook's objects.
        g.NameSpace.reset();
        g.CurrentUser.reset();
        g.TasksFolder.reset();
        g.InboxFolder.reset();
        g.RootFolder.reset();
        g.EmailFolder.reset();
        g.SentFolder.reset();
        g.DeletedFolder.reset();
        g.NotesFolder.reset();
        g.ContactsFolder.reset();
        g.CalendarFolder.reset();

        // 2. The forms; the task chooser stays until the module goes.
        g.fmNewTask.reset();
        g.fmTimeMemo.reset();
        g.fmTimer.reset();
        g.fmOptions.reset();
        g.fmAddTask.reset();
        g.fmAbout.reset();

        // 3. The item watcher: disconnected and let go; the module keeps the object.
        if (g.MailItems) g.MailItems->Disconnect();
        g.MailItems = nullptr;

        // 4. The open task. Its connection is let go without Unadvise: that belongs to the
        // item's own unload.
        Swallow([&g] {
            g.TaskItem.reset();
            g.TaskConnection.reset();
            g.TaskSink.reset();
        });
    });
}

void TAddInModule::AddInFinalize() { TdxUnitsLoader::Finalize(); }

// ---------------------------------------------------------------------------------------------
// Handlers

void TAddInModule::adxCOMAddInModuleError(const ExceptionInfo& E, bool& Handled) {
    Dialogs().ShowMessage(E.className + " error raised by AddinModule " + "with message: " + E.message);
    Handled = true;
}

void TAddInModule::adxOlFormsManager1Error(const ExceptionInfo&, bool& Handled) { Handled = true; }

void TAddInModule::adxOutlookAppEvents1Quit() {
    if (IsFastShutdown()) {
        AddInBeginShutdown();
        AddInFinalize();
    }
}

bool TAddInModule::IsFastShutdown() {
    if (HostType() != TadxHostApp::ohaOutlook || !HostApplication()) return false;
    bool result = false;
    int major = HostMajorVersion();
    if (major >= 14) {
        result = true;
        auto behavior = Registry().ReadDword(
            platform::RegistryRoot::CurrentUser,
            "Software\\Microsoft\\Office\\" + std::to_string(major) + ".0\\Outlook\\Options\\Shutdown",
            "AddinFastShutdownBehavior");
        if (behavior && *behavior == 1) return false;
        auto root = RegisteredForAllUsers() ? platform::RegistryRoot::LocalMachine
                                            : platform::RegistryRoot::CurrentUser;
        auto notify = Registry().ReadDword(root, AddInRegistryKey, "RequireShutdownNotification");
        if (notify && *notify == 1) result = false;
    }
    return result;
}

void TAddInModule::MemDataTasksBeforeDelete(TdxMemData& DataSet) { ::MemDataTasksBeforeDelete(DataSet); }

void TAddInModule::MemDataTasksCompleteChange(TField& Sender) { ::MemDataTasksCompleteChange(Sender); }

void TAddInModule::ItemsAdd(const std::shared_ptr<platform::IDispatch>& Item) {
    using platform::QueryInterface;
    using platform::Use;
    Swallow([&] {
        TModuleGlobals& g = vars_;
        // The watcher serves one item for each item made.
        Live(g.MailItems).Disconnect();
        TfmList& list = Live(g.fmList);
        const std::string& type = g.ItemType;
        if (type == "MailItem") {
            auto mail = QueryInterface<outlook::_MailItem>(Item);
            // Sent Items receives every mail the user sends: only the add-in's own carry the
            // property.
            if (!Use(Use(mail).GetUserProperties()).Find("Taskid", true)) return;
            Guarded(
                [&] {
                    auto copy = QueryInterface<outlook::_MailItem>(mail->Copy());
                    auto filed = QueryInterface<outlook::_MailItem>(Use(copy).Move(g.EmailFolder));
                    list.FileMailItem(filed, g.CurrentTaskID);
                    FilterEmails(g.CurrentTaskID);
                },
                [](const ExceptionInfo& E) {
                    ShowMessage(E.className + " error raised by email in AddinModule.ItemsAdd " + "with message: " +
                                E.message);
                });
        } else if (type == "PostItem") {
            list.FilePostItem(QueryInterface<outlook::_PostItem>(Item), g.CurrentTaskID);
            FilterNotes(g.CurrentTaskID);
        } else if (type == "ContactItem") {
            list.FileContactItem(QueryInterface<outlook::_ContactItem>(Item), g.CurrentTaskID);
            FilterContacts(g.CurrentTaskID);
        } else if (type == "DistlistItem") {
            list.FileDistListItem(QueryInterface<outlook::_DistListItem>(Item), g.CurrentTaskID);
            FilterDistLists(g.CurrentTaskID);
        } else if (type == "AppointmentItem") {
            list.FileAppointmentItem(QueryInterface<outlook::_AppointmentItem>(Item), g.CurrentTaskID);
            FilterAppointments(g.CurrentTaskID);
        }
    });
}

// ---------------------------------------------------------------------------------------------
// Loading and saving

namespace {

bool FileExists(const std::string& path) { return platform::FileExists(path); }

}  // namespace

void TAddInModule::StartPrefetch() {
    prefetch_.reset();
    if (!PrefetchTables) return;
    // Biggest first: the emails are wanted right after the time, and the other four come while
    // the emails are taken.
    const TModuleGlobals& g = vars_;
    try {
        prefetch_ = std::make_unique<TTablePrefetch>(
            std::vector<TTablePrefetch::Request>{
                {&MemDataEmails, g.EmailsPath},
                {&MemDataContacts, g.ContactsPath},
                {&MemDataDistLists, g.DistlistsPath},
                {&MemDataAppointments, g.AppointmentsPath},
                {&MemDataNotes, g.NotesPath},
            },
            TableFileRead::Map);
    } catch (...) {
        prefetch_.reset();  // every table loads its file at its turn, as without a second thread
    }
}

void TAddInModule::LoadTable(TdxMemData& table, const std::string& path, const char* failureMessage) {
    table.DisableControls();
    if (FileExists(path)) {
        // A file that fails to load, or loads short, is kept from the save that would replace
        // it; something that is no file is left where it is.
        auto noteDamaged = [&] {
            if (IsRegularTableFile(path)) damagedFiles_.insert(path);
        };
        try {
            // The parse made ahead for this file when it is still the file read; else the file.
            if (!prefetch_ || !prefetch_->Take(table, path)) table.LoadFromBinaryFile(path, TableFileRead::Map);
            if (!table.LoadedWhole()) noteDamaged();
        } catch (...) {
            noteDamaged();
            Dialogs().ShowMessage(failureMessage);
        }
    }
    // Open with or without a file: no file is an empty table, as on the first start.
    table.SetActive(true);
    table.EnableControls();
}

void TAddInModule::LoadTasks() {
    Swallow([this] { LoadTable(MemDataTasks, vars_.TasksPath, "Unable to load tasks."); });
}

void TAddInModule::CopyAllTasks() {
    Guarded([this] { Swallow([this] { MemDataAddTask.LoadFromDataSet(&MemDataTasks); }); },
            [](const ExceptionInfo& E) { LogError("TAddInModule.CopyAllTasks: " + E.message); });
}

void TAddInModule::LoadTime() {
    Swallow([this] { LoadTable(MemDataTime, vars_.TimePath, "Unable to load time."); });
}

void TAddInModule::LoadEmails() {
    Swallow([this] { LoadTable(MemDataEmails, vars_.EmailsPath, "Unable to load emails."); });
}

void TAddInModule::LoadContacts() {
    Swallow([this] { LoadTable(MemDataContacts, vars_.ContactsPath, "Unable to load contacts."); });
}

void TAddInModule::LoadDistLists() {
    Guarded(
        [this] { LoadTable(MemDataDistLists, vars_.DistlistsPath, "Unable to load distribution lists."); },
        [](const ExceptionInfo& E) { LogError("TAddInModule.LoadDistLists: " + E.message); });
}

void TAddInModule::LoadAppointments() {
    Swallow([this] {
        LoadTable(MemDataAppointments, vars_.AppointmentsPath, "Unable to load appointments.");
    });
}

void TAddInModule::LoadNotes() {
    Swallow([this] { LoadTable(MemDataNotes, vars_.NotesPath, "Unable to load notes."); });
}

void TAddInModule::SaveTable(TdxMemData& table, const std::string& path, const char* routine,
                             const char* failureMessage) {
    Swallow([&] {
        // A table that shows no row is not written, and its old file stays.
        if (table.RecordCount() <= 0) return;
        // Nothing to write when the file already holds, byte for byte, what the save would
        // write (it is the file these rows were read from whole or written to, in the current
        // format, and no row changed since), no damaged file waits to be kept aside, and the
        // write would succeed: so every failure still shows its message.
        if (!damagedFiles_.count(path) && table.FileHoldsRows(path) && TableFileReplaceable(path)) return;
        try {
            KeepDamagedFile(path, routine);
            table.SaveToBinaryFile(path);
        } catch (...) {
            if (failureMessage) Dialogs().ShowMessage(failureMessage);
        }
    });
}

// A file that failed to load, or loaded short, goes aside before the first save over it, and
// the day log says where. The log line changes nothing of the save when the log can't be had.
void TAddInModule::KeepDamagedFile(const std::string& path, const char* routine) {
    auto damaged = damagedFiles_.find(path);
    if (damaged == damagedFiles_.end()) return;
    if (IsRegularTableFile(path)) {
        const std::string kept = KeepDamagedTableFile(path, Date());  // raises: the save fails
        Swallow([&] {
            LogInfo(std::string("TAddInModule.") + routine + ": the damaged file \"" + path +
                    "\" was kept as \"" + kept + "\"");
        });
    }
    damagedFiles_.erase(damaged);
}

void TAddInModule::SaveTasks() {
    SaveTable(MemDataTasks, vars_.TasksPath, "SaveTasks",
              "Corvelle does not have permission to save your tasks to the directory in which you "
              "installed it. Please read the installation instructions");
}

void TAddInModule::SaveTime() {
    SaveTable(MemDataTime, vars_.TimePath, "SaveTime",
              "Corvelle does not have permission to save your time to the directory in which you "
              "installed it. Please read the  setup instructions");
}

void TAddInModule::SaveEmails() { SaveTable(MemDataEmails, vars_.EmailsPath, "SaveEmails", nullptr); }
void TAddInModule::SaveContacts() { SaveTable(MemDataContacts, vars_.ContactsPath, "SaveContacts", nullptr); }
void TAddInModule::SaveDistLists() { SaveTable(MemDataDistLists, vars_.DistlistsPath, "SaveDistLists", nullptr); }
void TAddInModule::SaveAppointments() {
    SaveTable(MemDataAppointments, vars_.AppointmentsPath, "SaveAppointments", nullptr);
}
void TAddInModule::SaveNotes() { SaveTable(MemDataNotes, vars_.NotesPath, "SaveNotes", nullptr); }

void TAddInModule::ClosePane(std::initializer_list<TdxMemData*> tables,
                             std::initializer_list<SaveRoutine> saves) {
    // What a grid holds in edit is posted first; the save routines guard themselves.
    Swallow([&] {
        for (TdxMemData* t : tables) {
            t->Edit();
            t->Post();
        }
    });
    for (SaveRoutine save : saves) Swallow([&] { (this->*save)(); });
}

// ---------------------------------------------------------------------------------------------
// Shared routines

namespace {

TAddInModule& LoadedModule() {
    TAddInModule* m = Globals().AddInModule;
    if (!m) throw EAccessViolation("Access violation: no add-in module is loaded");
    return *m;
}

}  // namespace

std::string GetDllPath() {
    std::string result;
    Guarded(
        [&result] {
            // The part of the file name up to its last separator, found as the first separator
            // of the reversed name.
            std::string name = LoadedModule().ModuleInfo().ModuleFileName();
            std::string reversed(name.rbegin(), name.rend());
            size_t found = reversed.find(platform::PathDelimiter());
            size_t p = found == std::string::npos ? 0 : found + 1;  // one-based, 0 for none
            result = name.substr(0, name.size() - p + 1);
        },
        [](const ExceptionInfo& E) { LogError("TAddInModule.GetDllPath: " + E.message); });
    return result;
}

bool HasRecords(const TdxMemData& Table) { return !(Table.Bof() && Table.Eof()); }

void CenterForm(TForm& Form) {
    platform::TRect area = LoadedModule().Screen().WorkArea();
    Form.SetTop((area.Height() - Form.Height()) / 2);
    if (Form.Top() < 0) Form.SetTop(0);
    Form.SetLeft((area.Width() - Form.Width()) / 2);
    if (Form.Left() < 0) Form.SetLeft(0);
}

void ShowMessage(const std::string& text) { LoadedModule().Dialogs().ShowMessage(text); }

int GetNodeIDAtLevel(TcxTreeListNode* Node, int Level) {
    if (!Node) throw EAccessViolation("Access violation: no node");
    if (Node->Level() == Level) return Node->KeyValue().AsInteger();
    if (Node->Level() < Level) return -1;
    // The walk has no effect on the result: the key is that of the node the call started from.
    TcxTreeListNode* walk = Node;
    while (walk && walk->Level() > Level) walk = walk->Parent();
    return Node->KeyValue().AsInteger();
}

bool ConfirmYesNo(const std::string& text) {
    return LoadedModule().Dialogs().AskYesNo(text, platform::DialogIcon::Confirmation) ==
           platform::DialogAnswer::Yes;
}

platform::DialogAnswer AskYesNoCancel(const std::string& text) {
    return LoadedModule().Dialogs().AskYesNoCancel(text, platform::DialogIcon::None);
}
