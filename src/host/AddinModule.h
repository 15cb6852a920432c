#pragma once
// TAddInModule: the root of the add-in, one per Outlook process. It owns the eight tables, the
// forms manager, the ribbon tab, the application events, the item watcher and the module-wide
// variables (Globals()), fills those variables at start-up in one fixed order, loads the tables
// from their files, and saves a table when its pane closes.
#include <atomic>
#include <initializer_list>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include "framework/AddInModule.h"
#include "framework/OlFormsManager.h"
#include "framework/OutlookAppEvents.h"
#include "framework/RibbonTab.h"
#include "host/Globals.h"
#include "store/MemData.h"
#include "store/MemDataPrefetch.h"
#include "toolkit/DataSource.h"

class TForm;
class TcxTreeListNode;
class TItems;

class TAddInModule : public TadxCOMAddInModule {
public:
    explicit TAddInModule(THostInfo host);
    ~TAddInModule() override;

    // The tables.
    TdxMemData MemDataTasks{"MemDataTasks"};
    TdxMemData MemDataTime{"MemDataTime"};
    TdxMemData MemDataEmails{"MemDataEmails"};
    TdxMemData MemDataContacts{"MemDataContacts"};
    TdxMemData MemDataDistLists{"MemDataDistLists"};
    TdxMemData MemDataAppointments{"MemDataAppointments"};
    TdxMemData MemDataNotes{"MemDataNotes"};
    TdxMemData MemDataAddTask{"MemDataAddTask"};

    // One data source per table, for the trees and grids bound to it.
    TDataSource dsMemDataTasks{"dsMemDataTasks", &MemDataTasks};
    TDataSource dsMemDataTime{"dsMemDataTime", &MemDataTime};
    TDataSource dsMemDataEmails{"dsMemDataEmails", &MemDataEmails};
    TDataSource dsMemDataContacts{"dsMemDataContacts", &MemDataContacts};
    TDataSource dsMemDataDistLists{"dsMemDataDistLists", &MemDataDistLists};
    TDataSource dsMemDataAppointments{"dsMemDataAppointments", &MemDataAppointments};
    TDataSource dsMemDataNotes{"dsMemDataNotes", &MemDataNotes};
    TDataSource dsMemDataAddTask{"dsMemDataAddTask", &MemDataAddTask};

    TadxOlFormsManager adxOlFormsManager1;
    TadxRibbonTab adxRibbonTab1;
    TadxOutlookAppEvents adxOutlookAppEvents1;

    // Lifecycle.
    void AddInInitialize() override;
    void AddInStartupComplete() override;
    void AddInBeginShutdown() override;
    void AddInFinalize() override;

    // Handlers.
    void adxCOMAddInModuleError(const ExceptionInfo& E, bool& Handled);
    void adxOlFormsManager1Error(const ExceptionInfo& E, bool& Handled);
    void adxOutlookAppEvents1Quit();
    void MemDataTasksBeforeDelete(TdxMemData& DataSet);
    void MemDataTasksCompleteChange(TField& Sender);
    void ItemsAdd(const std::shared_ptr<platform::IDispatch>& Item);

    // The ribbon's commands.
    void adxRibbonTab1Controls0Controls0Click();  // Options...: nothing
    void adxRibbonTab1Controls2Controls0Click();  // Find a task
    void adxRibbonTab1Controls4Controls0Click();  // Reports, Tasks: nothing
    void adxRibbonTab1Controls4Controls1Click();  // Reports, Time: nothing
    void adxRibbonTab1Controls3Controls0Click();  // Timer
    void adxRibbonTab1Controls6Controls0Click();  // Help
    void adxRibbonTab1Controls5Controls0Click();  // About

    // Whether Outlook's fast shutdown is in force, so that the disconnect calls may not come.
    bool IsFastShutdown();

    // Loading, once at start-up.
    void LoadTasks();
    void CopyAllTasks();
    void LoadTime();
    void LoadEmails();
    void LoadContacts();
    void LoadDistLists();
    void LoadAppointments();
    void LoadNotes();

    // Saving, when a pane closes.
    void SaveTasks();
    void SaveTime();
    void SaveEmails();
    void SaveContacts();
    void SaveDistLists();
    void SaveAppointments();
    void SaveNotes();

    // The close of a pane: Edit and Post on each of its tables (so that what a grid holds in
    // edit is written) under one silent guard, then each of its save routines.
    using SaveRoutine = void (TAddInModule::*)();
    void ClosePane(std::initializer_list<TdxMemData*> tables, std::initializer_list<SaveRoutine> saves);

    TModuleGlobals& Vars() { return vars_; }

    // Whether start-up parses the item tables' files on a second thread while the tasks and the
    // time load (see LoadTable); off, every table loads its file at its turn. The tables come out
    // the same either way.
    bool PrefetchTables = true;

private:
    void DefinePanes();
    void DefineRibbon();
    void LoadTable(TdxMemData& table, const std::string& path, const char* failureMessage);
    void SaveTable(TdxMemData& table, const std::string& path, const char* routine, const char* failureMessage);
    void KeepDamagedFile(const std::string& path, const char* routine);

    // The item tables' files, parsed ahead during the loads of start-up; gone at its end.
    void StartPrefetch();
    std::unique_ptr<TTablePrefetch> prefetch_;

    std::unique_ptr<TItems> mailItems_;
    // Table files that failed to load or loaded short, kept aside at the first save over them.
    std::set<std::string> damagedFiles_;
    // Makes the tables' mapped files the process's own memory after start-up (see LoadTable).
    // Joining it stops it at its next step: a shutdown soon after start-up need not wait for it,
    // and what it left mapped is taken on by any save that writes a file in place.
    std::thread detacher_;
    std::atomic<bool> stopDetaching_{false};
    void JoinDetacher();
    // Last, so that the forms go before the tables they show.
    TModuleGlobals vars_;
};

// Shared routines.

// The directory of the add-in file, with its trailing separator; empty when the file name
// can't be had (the failure is logged).
std::string GetDllPath();
// False only when the table stands at both its start and its end: also when a filter hides all
// of its rows.
bool HasRecords(const TdxMemData& Table);
// Centres a form on the desktop's work area, never above or left of its edge.
void CenterForm(TForm& Form);
// The key of a node if it stands at Level; -1 if it stands above; and when it stands below, the
// key of the node itself after a walk up to that level.
int GetNodeIDAtLevel(TcxTreeListNode* Node, int Level);
// A message box with the system's text.
void ShowMessage(const std::string& text);
// A question with the buttons Yes and No; true for Yes.
bool ConfirmYesNo(const std::string& text);
// A question with the buttons Yes, No and Cancel.
platform::DialogAnswer AskYesNoCancel(const std::string& text);

// Names of the add-in's registration.
inline constexpr const char* AddInProgID = "Corvelle.Corvelle";
inline constexpr const char* AddInRegistryKey = "\\Software\\Microsoft\\Office\\Outlook\\AddIns\\Corvelle.Corvelle";
