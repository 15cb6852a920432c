#pragma once
// TScriptHost: the headless host behind corvelle-sim. It plays the Office host framework and
// Outlook (the simulated one) around the add-in, driven by script commands, and prints what the
// system shows as it happens:
//
//   > LINE                                   each command, echoed before it runs
//   MESSAGE: TEXT                            a message box
//   CONFIRM: TEXT -> Yes|No                  a Yes/No question and the answer taken
//   ASK: TEXT -> Yes|No|Cancel               a Yes/No/Cancel question and the answer taken
//   DISPLAY CLASS ENTRYID|- "SUBJECT"        the system shows an item in an inspector
//   HELP FILE CONTEXT                        the system opens help
//   ERROR: line N: REASON                    a script error; the run stops with status 2
//
// and what the commands print (NAME = VALUE, tree lines, TABLE, FILE, FOLDER, ITEM, ...). The
// commands are listed with their words in ScriptHost.cpp (Commands()).
//
// Modal forms: when the system shows a form modally, the host's modal loop (RunModal) reads and
// runs the next commands, echoing them, until the form is hidden again; then ShowModal returns
// to the system. A script that ends while a modal form is open is an error reported at the line
// of the command that opened the form. An error found while a modal form is open ends the process
// at once (Abort), since the system's own code is still on the stack below the loop.
//
// Errors that the system's silent guards swallow still surface: after each command the host
// looks at the simulated dialogs' misuses (a question with no answer queued) and reports the
// first new one as the command's error.
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "sim/ScriptLexer.h"
#include "sim/SimServices.h"
#include "sim/UserInput.h"
#include "toolkit/Forms.h"
#include "toolkit/Menus.h"

class TAddInModule;
class TcxDBTreeList;
class TcxGridDBTableView;
namespace win {
class TWinScriptHost;
}
class TcxTreeListNode;
class TdxMemData;
class TDMTextTarget;

namespace sim {

class TSimItem;

// A mistake of the script: the reason that follows "ERROR: line N: ".
class EScriptError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class TScriptHost : public IModalHost, public IPopupHost {
public:
    // dir: the add-in's folder (the simulated add-in file is dir/Corvelle.dll); out: the
    // transcript. The host snapshots the day logs present, so that `log` shows this run's lines.
    TScriptHost(std::string dir, std::ostream& out);
    ~TScriptHost() override;
    TScriptHost(const TScriptHost&) = delete;
    TScriptHost& operator=(const TScriptHost&) = delete;

    // Runs the reader's commands to its end, or to the first error. Returns the exit status:
    // 0, or 2 after "ERROR: line N: ..." has been printed.
    int Run(TScriptReader& reader);

    // The modal loop: runs the following commands until the form is hidden.
    void RunModal(TForm& form) override;
    // A menu popped up: printed as MENU and its captions; the `menu` command picks from it.
    void ShowPopup(TPopupMenu& menu, int x, int y) override;

    // Ends the process after an error found inside a modal loop; it must not return. The
    // default flushes the output and exits with the status at once, without unwinding.
    std::function<void(int status)> Abort;

    TSimHost& Host() { return *host_; }
    const std::string& Dir() const { return dir_; }
    // The add-in module started last; nullptr before the first start.
    TAddInModule* Module() const { return module_; }
    // Makes a form of the caller's nameable by scripts, beside the system's own (tests use it).
    // The form must outlive the host or be removed first.
    void AddForm(TForm& form);
    void RemoveForm(TForm& form);

    // Runs one command on a module that another host made and drives (the Windows add-in under
    // corvelle-winhost, which hands over the commands that act on forms, tables and variables);
    // running tells whether that module is started and not shut down. What the command prints
    // goes to this host's output. Raises EScriptError for the script's mistakes; the system's own
    // failures pass to the caller.
    void RunOn(TAddInModule& module, bool running, const std::vector<std::string>& words);

    // Where the user's actions end, once checked (null: on the headless controls). The input
    // must outlive the host or be taken back first.
    void SetUserInput(IUserInput* input) { input_ = input ? input : &direct_; }

private:
    // corvelle-winhost's host plays the add-in's side through COM, from its own Execute.
    friend class win::TWinScriptHost;

    using Words = std::vector<std::string>;
    using Handler = void (TScriptHost::*)(const Words& args);
    struct Command {
        const char* name;
        Handler handler;
        const char* usage;
    };
    static const std::vector<Command>& Commands();
    static const std::vector<Command>& OutlookCommands();

    // ---- the loop (ScriptHost.cpp) -----------------------------------------------------------
    std::optional<TScriptLine> NextLine();
    // Runs one line: echo, the command, what follows it; the error's reason if it failed.
    std::optional<std::string> Step(const TScriptLine& line);
    virtual void Execute(const Words& words);
    // One second of the message loop for the forms' timers: each enabled timer fires once.
    virtual void TickTimers();
    void PrintError(int line, const std::string& reason);
    [[noreturn]] void Fatal(int line, const std::string& reason);
    std::optional<std::string> NewDialogError();
    void DeliverItemAdds();
    [[noreturn]] static void Usage(const Command& c);
    static const Command& Find(const std::vector<Command>& table, const std::string& name, const char* what);

    // ---- what the system shows -----------------------------------------------------------------
    void PrintDialog(const TSimDialogRecord& record);
    void PrintDisplay(TSimItem& item);
    void PrintHelp(const TSimHelp::Call& call);

    // ---- module and explorer (ScriptHost.cpp) --------------------------------------------------
    TAddInModule& RequireModule();
    TAddInModule& RequireRunning();
    void RequireNoModal(const char* command);
    void CmdToday(const Words& a);
    void CmdUser(const Words& a);
    void CmdStart(const Words& a);
    void CmdShutdown(const Words& a);
    void CmdQuit(const Words& a);
    void CmdExplorer(const Words& a);
    void CmdActivate(const Words& a);
    void CmdClose(const Words& a);
    void CmdAnswer(const Words& a);
    void CmdRibbon(const Words& a);
    void CmdTick(const Words& a);

    // ---- forms (ScriptForms.cpp) -------------------------------------------------------------
    // A form by its name; EScriptError for an unknown name or a form that doesn't exist now.
    TForm& FormByName(const std::string& name);
    // Every form that exists now: the panes, the dialogs, the forms added by AddForm.
    std::vector<TForm*> AllForms();
    // "FORM.REST" split at its first dot.
    static std::pair<std::string, std::string> SplitTarget(const std::string& target, const char* shape);
    TControl& ControlOf(TForm& form, const std::string& formName, const std::string& name);
    void RequireReachable(TControl& control, const std::string& target, const char* action);
    TcxTreeListNode* ResolvePath(TcxDBTreeList& tree, const std::string& target, const std::string& path);
    void RunModuleHandler(const std::string& name);
    void CmdClick(const Words& a);
    void CmdDblClick(const Words& a);
    void CmdFocus(const Words& a);
    void CmdCall(const Words& a);
    void CmdSet(const Words& a);
    void CmdGet(const Words& a);
    void CmdTree(const Words& a);
    nlohmann::ordered_json ModuleVariable(const std::string& name);

    // ---- drags and menus (ScriptDrag.cpp) ------------------------------------------------------
    struct DropSite {
        TcxDBTreeList* tree;
        TDMTextTarget* target;
    };
    DropSite ResolveDropSite(const std::string& target);
    // The line of the tree that shows the node; past the last line for none.
    int LineOf(TcxDBTreeList& tree, TcxTreeListNode* node, const std::string& target, const std::string& path);
    void CmdDrag(const Words& a);
    void CmdDrop(const Words& a);
    void CmdMenu(const Words& a);
    void CmdDragNode(const Words& a);

    // ---- grid views and page controls (ScriptGrid.cpp) ----------------------------------------
    // The record of a key in a view, -1 for none (the empty space); EScriptError for a key
    // the view doesn't show.
    int ResolveRecord(TcxGridDBTableView& view, const std::string& target, const std::string& key);
    void ClickRecord(TcxGridDBTableView& view, const Words& a, bool twice);
    void FocusRecord(TcxGridDBTableView& view, const Words& a);
    // The grid view named FORM.VIEW; EScriptError when there is none.
    TcxGridDBTableView& ViewOf(const std::string& target);
    void CmdGrid(const Words& a);
    void CmdGroup(const Words& a);
    void CmdUngroup(const Words& a);
    void CmdCell(const Words& a);
    void CmdTab(const Words& a);

    // ---- tables, files, the log, the mailbox (ScriptData.cpp) ---------------------------------
    void SnapshotLogs();
    void CmdTable(const Words& a);
    void CmdFile(const Words& a);
    void CmdLog(const Words& a);
    void CmdOutlook(const Words& a);

    // ---- Excel (ScriptExcel.cpp) -----------------------------------------------------------------
    void CmdExcel(const Words& a);
    void OlFolders(const Words& a);
    void OlItems(const Words& a);
    void OlItem(const Words& a);
    void OlAdd(const Words& a);
    void OlDelete(const Words& a);
    void OlInspector(const Words& a);
    void OlSet(const Words& a);
    void OlSave(const Words& a);
    void OlSend(const Words& a);
    void OlClose(const Words& a);
    void OlSelect(const Words& a);
    void OlFail(const Words& a);
    std::shared_ptr<TSimItem> ActiveItem();

    std::string dir_;
    std::ostream& out_;
    std::unique_ptr<TSimHost> host_;
    std::unique_ptr<TAddInModule> ownModule_;  // the module this host started, if any
    TAddInModule* module_ = nullptr;            // the module the commands act on
    bool running_ = false;

    TScriptReader* reader_ = nullptr;
    int currentLine_ = 0;               // the line of the command running now
    std::vector<TForm*> modal_;         // the modal forms open, the innermost last
    size_t seenDialogErrors_ = 0;
    TPopupMenu* shownMenu_ = nullptr;  // the menu popped up and not yet closed
    std::map<std::string, uintmax_t> logSizes_;  // the day logs at the start and their sizes
    std::vector<TForm*> extraForms_;              // AddForm
    TDirectInput direct_;
    IUserInput* input_ = &direct_;
};

// Text of a value for `get` and the like: null, true/false, numbers, strings, dates as
// "YYYY-MM-DD" (with "THH:MM:SS.mmm" when they hold a time of day).
nlohmann::ordered_json ScriptValue(const Variant& value);
// One line of JSON text.
std::string ScriptJson(const nlohmann::ordered_json& value);

}  // namespace sim
