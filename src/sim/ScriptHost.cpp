#include "sim/ScriptHost.h"

#include <cstdio>
#include <cstdlib>

#include "base/Clock.h"
#include "base/DateTime.h"
#include "base/Exceptions.h"
#include "host/AddinModule.h"
#include "host/Items.h"
#include "sim/SimItem.h"
#include "store/TableJson.h"
#include "toolkit/ControlText.h"
#include "toolkit/ExtCtrls.h"

namespace sim {

namespace {

// Item-added events that raise more of themselves are cut off after this many in one command.
constexpr int kMaxItemAddsPerCommand = 1000;
// The longest tick a script may ask for: a day.
constexpr int64_t kMaxTickSeconds = 86400;

const char* AnswerName(const std::optional<platform::DialogAnswer>& a) {
    if (!a) return "?";
    switch (*a) {
        case platform::DialogAnswer::Yes: return "Yes";
        case platform::DialogAnswer::No: return "No";
        case platform::DialogAnswer::Cancel: return "Cancel";
    }
    return "?";
}

// The class name and message of what escaped the system, as the reason of an error.
std::string EscapedFailure() {
    ExceptionInfo info = DescribeException(std::current_exception());
    if (info.className.empty()) return info.message;
    return info.className + ": " + info.message;
}

std::string SubjectOf(const TSimItem& item) {
    auto it = item.AllValues().find("Subject");
    return it == item.AllValues().end() ? std::string() : it->second.AsString();
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Values

nlohmann::ordered_json ScriptValue(const Variant& value) {
    switch (value.type()) {
        case Variant::Type::Null: return nullptr;
        case Variant::Type::Boolean: return value.AsBoolean();
        case Variant::Type::Integer: return value.AsInt64();
        case Variant::Type::Double: return value.AsDouble();
        case Variant::Type::Currency: return value.AsDouble();
        case Variant::Type::Date: {
            TDateTime d = value.AsDateTime();
            return TimeOf(d) == 0 ? IsoDate(d) : IsoDateTime(d);
        }
        case Variant::Type::String: return value.AsString();
    }
    return nullptr;
}

std::string ScriptJson(const nlohmann::ordered_json& value) { return JsonLine(value); }

// ---------------------------------------------------------------------------------------------
// The commands

const std::vector<TScriptHost::Command>& TScriptHost::Commands() {
    static const std::vector<Command> table = {
        {"today", &TScriptHost::CmdToday, "today YYYY-MM-DD [HH:MM[:SS]]"},
        {"tick", &TScriptHost::CmdTick, "tick [SECONDS]"},
        {"user", &TScriptHost::CmdUser, "user \"NAME\" \"ADDRESS\""},
        {"start", &TScriptHost::CmdStart, "start"},
        {"shutdown", &TScriptHost::CmdShutdown, "shutdown"},
        {"quit", &TScriptHost::CmdQuit, "quit"},
        {"explorer", &TScriptHost::CmdExplorer, "explorer"},
        {"activate", &TScriptHost::CmdActivate, "activate PANE"},
        {"close", &TScriptHost::CmdClose, "close PANE|FORM|explorer"},
        {"click", &TScriptHost::CmdClick, "click FORM.CONTROL [PATH|KEY|ITEM]"},
        {"dblclick", &TScriptHost::CmdDblClick, "dblclick FORM.CONTROL [PATH|KEY]"},
        {"focus", &TScriptHost::CmdFocus, "focus FORM.CONTROL [PATH|KEY]"},
        {"call", &TScriptHost::CmdCall, "call FORM.HANDLER"},
        {"ribbon", &TScriptHost::CmdRibbon, "ribbon \"CAPTION\""},
        {"set", &TScriptHost::CmdSet, "set FORM.CONTROL VALUE"},
        {"answer", &TScriptHost::CmdAnswer, "answer Yes|No|Cancel ..."},
        {"get", &TScriptHost::CmdGet, "get NAME"},
        {"tree", &TScriptHost::CmdTree, "tree FORM.TREE"},
        {"grid", &TScriptHost::CmdGrid, "grid FORM.VIEW"},
        {"group", &TScriptHost::CmdGroup, "group FORM.VIEW COLUMN"},
        {"ungroup", &TScriptHost::CmdUngroup, "ungroup FORM.VIEW"},
        {"cell", &TScriptHost::CmdCell, "cell FORM.VIEW KEY COLUMN VALUE"},
        {"tab", &TScriptHost::CmdTab, "tab FORM.PAGECONTROL INDEX"},
        {"table", &TScriptHost::CmdTable, "table NAME"},
        {"file", &TScriptHost::CmdFile, "file NAME"},
        {"log", &TScriptHost::CmdLog, "log"},
        {"drag", &TScriptHost::CmdDrag, "drag FORM.TREE PATH ..."},
        {"drop", &TScriptHost::CmdDrop, "drop FORM.TREE PATH|none"},
        {"menu", &TScriptHost::CmdMenu, "menu \"CAPTION\"|none"},
        {"dragnode", &TScriptHost::CmdDragNode, "dragnode FORM.TREE PATH PATH"},
        {"excel", &TScriptHost::CmdExcel, "excel [save|quit|absent]"},
        {"outlook", &TScriptHost::CmdOutlook,
         "outlook folders|items|item|add|delete|inspector|set|save|send|close|select|fail ..."},
    };
    return table;
}

const TScriptHost::Command& TScriptHost::Find(const std::vector<Command>& table, const std::string& name,
                                              const char* what) {
    for (const Command& c : table)
        if (SameName(c.name, name)) return c;
    throw EScriptError(std::string("unknown ") + what + " " + name);
}

void TScriptHost::Usage(const Command& c) { throw EScriptError(std::string("usage: ") + c.usage); }

// ---------------------------------------------------------------------------------------------
// The host

TScriptHost::TScriptHost(std::string dir, std::ostream& out)
    : dir_(std::move(dir)), out_(out), host_(std::make_unique<TSimHost>(dir_ + "/Corvelle.dll")) {
    host_->Dialogs->OnShown = [this](const TSimDialogRecord& r) { PrintDialog(r); };
    host_->Help->OnShow = [this](const TSimHelp::Call& c) { PrintHelp(c); };
    host_->Outlook.SetDisplayHook([this](TSimItem& item) { PrintDisplay(item); });
    SnapshotLogs();
}

TScriptHost::~TScriptHost() {
    module_ = nullptr;
    ownModule_.reset();
    host_->Dialogs->OnShown = nullptr;
    host_->Help->OnShow = nullptr;
    host_->Outlook.SetDisplayHook(nullptr);
}

int TScriptHost::Run(TScriptReader& reader) {
    reader_ = &reader;
    TModalHostScope scope(*this);
    IPopupHost* previousPopupHost = SetPopupHost(this);
    struct RestorePopupHost {
        IPopupHost* previous;
        ~RestorePopupHost() { SetPopupHost(previous); }
    } restore{previousPopupHost};
    while (true) {
        std::optional<TScriptLine> line;
        try {
            line = NextLine();
        } catch (const std::exception& e) {
            PrintError(currentLine_, e.what());
            return 2;
        }
        if (!line) break;
        if (auto error = Step(*line)) {
            PrintError(line->number, *error);
            return 2;
        }
    }
    out_.flush();
    return 0;
}

std::optional<TScriptLine> TScriptHost::NextLine() {
    // What the commands so far printed is out before the host waits for a line typed in.
    out_.flush();
    return reader_ ? reader_->Next() : std::nullopt;
}

void TScriptHost::RunModal(TForm& form) {
    const int openedAt = currentLine_;
    modal_.push_back(&form);
    while (form.Visible()) {
        std::optional<TScriptLine> line;
        try {
            line = NextLine();
        } catch (const std::exception& e) {
            Fatal(openedAt, e.what());
        }
        if (!line) Fatal(openedAt, "script ended inside modal form " + form.Name());
        if (auto error = Step(*line)) Fatal(line->number, *error);
    }
    modal_.pop_back();
}

std::optional<std::string> TScriptHost::Step(const TScriptLine& line) {
    // Out at once, so that a run that dies in the system still shows the command that killed it.
    out_ << "> " << line.text << std::endl;
    const int saved = currentLine_;
    currentLine_ = line.number;
    std::optional<std::string> error;
    try {
        Execute(SplitWords(line.text));
    } catch (const EScriptSyntax& e) {
        error = e.what();
    } catch (const EScriptError& e) {
        error = NewDialogError();
        if (!error) error = e.what();
    } catch (...) {
        // A question nobody answered says it best; any other failure that escaped the system
        // goes where the host framework sends it, the module's error handler.
        error = NewDialogError();
        if (!error) {
            if (module_) module_->HandleError(std::current_exception());
            else error = EscapedFailure();
        }
    }
    if (!error) {
        try {
            DeliverItemAdds();
        } catch (const EScriptError& e) {
            error = e.what();
        }
    }
    if (!error) error = NewDialogError();
    currentLine_ = saved;
    out_.flush();
    return error;
}

void TScriptHost::Execute(const Words& words) {
    if (words.empty()) return;
    const Command& c = Find(Commands(), words[0], "command");
    (this->*c.handler)(Words(words.begin() + 1, words.end()));
}

void TScriptHost::RunOn(TAddInModule& module, bool running, const std::vector<std::string>& words) {
    TAddInModule* const savedModule = module_;
    const bool savedRunning = running_;
    module_ = &module;
    running_ = running;
    try {
        TScriptHost::Execute(words);
    } catch (...) {
        module_ = savedModule;
        running_ = savedRunning;
        throw;
    }
    module_ = savedModule;
    running_ = savedRunning;
}

void TScriptHost::PrintError(int line, const std::string& reason) {
    out_ << "ERROR: line " << line << ": " << reason << "\n";
    out_.flush();
}

void TScriptHost::Fatal(int line, const std::string& reason) {
    PrintError(line, reason);
    std::fflush(stdout);
    if (Abort) Abort(2);
    std::_Exit(2);
}

std::optional<std::string> TScriptHost::NewDialogError() {
    const auto& errors = host_->Dialogs->Errors();
    if (errors.size() <= seenDialogErrors_) {
        seenDialogErrors_ = errors.size();
        return std::nullopt;
    }
    std::string first = errors[seenDialogErrors_];
    seenDialogErrors_ = errors.size();
    return first;
}

void TScriptHost::DeliverItemAdds() {
    // Outlook's message loop comes round after each command.
    try {
        host_->Outlook.DeliverItemAdds(kMaxItemAddsPerCommand);
    } catch (const ESimError& e) {
        throw EScriptError(e.Message());
    }
}

// ---------------------------------------------------------------------------------------------
// What the system shows

void TScriptHost::PrintDialog(const TSimDialogRecord& r) {
    switch (r.kind) {
        case TSimDialogKind::Message: out_ << "MESSAGE: " << r.text << "\n"; break;
        case TSimDialogKind::YesNo: out_ << "CONFIRM: " << r.text << " -> " << AnswerName(r.answer) << "\n"; break;
        case TSimDialogKind::YesNoCancel: out_ << "ASK: " << r.text << " -> " << AnswerName(r.answer) << "\n"; break;
    }
}

void TScriptHost::PrintDisplay(TSimItem& item) {
    out_ << "DISPLAY " << item.MessageClassName() << " " << (item.Id().empty() ? "-" : item.Id()) << " "
         << QuoteWord(SubjectOf(item)) << "\n";
}

void TScriptHost::PrintHelp(const TSimHelp::Call& call) {
    out_ << "HELP " << call.helpFile << " " << call.context << "\n";
}

// ---------------------------------------------------------------------------------------------
// The module and the explorer

TAddInModule& TScriptHost::RequireModule() {
    if (!module_) throw EScriptError("the add-in has not been started");
    return *module_;
}

TAddInModule& TScriptHost::RequireRunning() {
    TAddInModule& m = RequireModule();
    if (!running_) throw EScriptError("the add-in is not running (it was shut down)");
    return m;
}

void TScriptHost::RequireNoModal(const char* command) {
    if (!modal_.empty())
        throw EScriptError(std::string(command) + " is not possible while the modal form " + modal_.back()->Name() +
                           " is open");
}

void TScriptHost::CmdToday(const Words& a) {
    if (a.empty() || a.size() > 2) Usage(Find(Commands(), "today", "command"));
    TDateTime day = 0;
    if (!ParseIsoDate(a[0], day)) throw EScriptError("not a date: " + a[0] + " (YYYY-MM-DD)");
    TDateTime time = 0;
    if (a.size() == 2) {
        const std::string& t = a[1];
        int h = -1, m = -1, s = 0;
        bool ok = false;
        if (t.size() == 5 && t[2] == ':') {
            auto hh = toolkit::ReadInteger(t.substr(0, 2), 0, 23);
            auto mm = toolkit::ReadInteger(t.substr(3, 2), 0, 59);
            ok = hh && mm;
            if (ok) h = static_cast<int>(*hh), m = static_cast<int>(*mm);
        } else if (t.size() == 8 && t[2] == ':' && t[5] == ':') {
            auto hh = toolkit::ReadInteger(t.substr(0, 2), 0, 23);
            auto mm = toolkit::ReadInteger(t.substr(3, 2), 0, 59);
            auto ss = toolkit::ReadInteger(t.substr(6, 2), 0, 59);
            ok = hh && mm && ss;
            if (ok) h = static_cast<int>(*hh), m = static_cast<int>(*mm), s = static_cast<int>(*ss);
        }
        if (!ok) throw EScriptError("not a time of day: " + t + " (HH:MM or HH:MM:SS)");
        time = EncodeTime(h, m, s, 0);
    }
    SetClock(day + time);
}

void TScriptHost::CmdTick(const Words& a) {
    if (a.size() > 1) Usage(Find(Commands(), "tick", "command"));
    int64_t seconds = 1;
    if (a.size() == 1) {
        auto n = toolkit::ReadInteger(a[0], 1, kMaxTickSeconds);
        if (!n || a[0].find_first_not_of("0123456789") != std::string::npos)
            throw EScriptError("not a number of seconds from 1 to " + std::to_string(kMaxTickSeconds) + ": " + a[0]);
        seconds = *n;
    }
    // Each second the clock moves on, then Outlook's message loop delivers the tick of every
    // enabled timer, whether a modal form is open or not.
    const TDateTime start = Now();
    for (int64_t i = 1; i <= seconds; ++i) {
        SetClock(start + static_cast<double>(i) / 86400.0);
        TickTimers();
        DeliverItemAdds();
    }
}

void TScriptHost::TickTimers() {
    for (TForm* form : AllForms())
        for (TComponent* c : std::vector<TComponent*>(form->Components()))
            if (auto* timer = dynamic_cast<TTimer*>(c)) timer->Tick();
}

void TScriptHost::CmdUser(const Words& a) {
    if (a.size() != 2) Usage(Find(Commands(), "user", "command"));
    host_->Outlook.SetCurrentUser(a[0], a[1]);
}

void TScriptHost::CmdStart(const Words& a) {
    if (!a.empty()) Usage(Find(Commands(), "start", "command"));
    RequireNoModal("start");
    if (module_ && running_) throw EScriptError("the add-in is running already (shutdown or quit first)");
    // The old process goes before the new one starts.
    shownMenu_ = nullptr;
    module_ = nullptr;
    ownModule_.reset();
    ownModule_ = std::make_unique<TAddInModule>(host_->HostInfo());
    module_ = ownModule_.get();
    running_ = true;
    module_->OnConnection();
    module_->OnStartupComplete();
}

void TScriptHost::CmdShutdown(const Words& a) {
    if (!a.empty()) Usage(Find(Commands(), "shutdown", "command"));
    RequireNoModal("shutdown");
    TAddInModule& m = RequireModule();
    running_ = false;
    shownMenu_ = nullptr;
    m.OnBeginShutdown();
    m.OnDisconnection();
}

void TScriptHost::CmdQuit(const Words& a) {
    if (!a.empty()) Usage(Find(Commands(), "quit", "command"));
    RequireNoModal("quit");
    TAddInModule& m = RequireModule();
    running_ = false;
    shownMenu_ = nullptr;
    m.adxOutlookAppEvents1.DoQuit();
}

void TScriptHost::CmdExplorer(const Words& a) {
    if (!a.empty()) Usage(Find(Commands(), "explorer", "command"));
    RequireRunning().adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail);
}

namespace {

// The position of a pane among the forms manager's items by the pane's form name ("fmTime"
// for the item of TfmTime); -1 for none.
int PaneIndex(TAddInModule& m, const std::string& name) {
    for (int i = 0; i < m.adxOlFormsManager1.Count(); ++i)
        if (SameName(m.adxOlFormsManager1.Items(i).FormClassName, "T" + name)) return i;
    return -1;
}

}  // namespace

void TScriptHost::CmdActivate(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "activate", "command"));
    TAddInModule& m = RequireRunning();
    int index = PaneIndex(m, a[0]);
    if (index < 0) throw EScriptError("unknown pane " + a[0]);
    TadxOlForm* form = m.adxOlFormsManager1.Items(index).CurrentForm();
    if (!form || !form->Visible()) throw EScriptError("the pane " + a[0] + " is not shown");
    m.adxOlFormsManager1.ActivatePane(index);
}

void TScriptHost::CmdClose(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "close", "command"));
    if (SameName(a[0], "explorer")) {
        RequireRunning().adxOlFormsManager1.ExplorerClosed();
        return;
    }
    if (module_) {
        int index = PaneIndex(*module_, a[0]);
        if (index >= 0) {
            TadxOlFormsManager& manager = module_->adxOlFormsManager1;
            TadxOlForm* form = manager.Items(index).CurrentForm();
            if (!form || !form->Visible()) throw EScriptError("the pane " + a[0] + " is not shown");
            try {
                form->Close();
            } catch (...) {
                manager.RaiseError(std::current_exception());
            }
            return;
        }
    }
    // Any other form: the user closes its window.
    TForm& form = FormByName(a[0]);
    if (!form.Visible()) throw EScriptError("the form " + a[0] + " is not shown");
    form.Dispatch([&form] { form.Close(); });
}

void TScriptHost::CmdAnswer(const Words& a) {
    if (a.empty()) Usage(Find(Commands(), "answer", "command"));
    std::vector<platform::DialogAnswer> answers;
    for (const std::string& w : a) {
        if (SameName(w, "Yes"))
            answers.push_back(platform::DialogAnswer::Yes);
        else if (SameName(w, "No"))
            answers.push_back(platform::DialogAnswer::No);
        else if (SameName(w, "Cancel"))
            answers.push_back(platform::DialogAnswer::Cancel);
        else
            throw EScriptError("unknown answer " + w + " (Yes, No or Cancel)");
    }
    for (auto answer : answers) host_->Dialogs->QueueAnswer(answer);
}

void TScriptHost::CmdRibbon(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "ribbon", "command"));
    TAddInModule& m = RequireRunning();
    // The module's handlers report their own failures to its error handler.
    if (!m.adxRibbonTab1.Click(a[0])) throw EScriptError("no ribbon button " + QuoteWord(a[0]) + " is shown");
}

}  // namespace sim
