// corvelle: starts the add-in against a simulated Outlook in a folder of its own, adds a few
// tasks and time entries, saves them, shuts the add-in down, starts it again on the same folder
// and mailbox, and shows what came back.
//
//   corvelle [--dir DIR]
//
// Without --dir a fresh folder is made in the temporary folder. The add-in's file is taken to be
// DIR/Corvelle.dll, so the table files land in DIR.
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "base/Clock.h"
#include "base/DateTime.h"
#include "base/Guard.h"
#include "host/AddinModule.h"
#include "platform/System.h"
#include "platform/TraceClient.h"
#include "sim/SimServices.h"
#include "store/Tables.h"
#include "support/FileLogger.h"
#include "support/ufmAbout.h"
#include "support/ufmOptions.h"
#include "tasks/ufmAddTask.h"
#include "tasks/ufmNewTask.h"
#include "time/ufmChooseTask.h"
#include "time/ufmTimeMemo.h"
#include "time/ufmTimer.h"

#ifndef _WIN32
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace {

void Usage() { std::cerr << "usage: corvelle [--dir DIR]\n"; }

std::string MakeFreshFolder() {
    std::string pattern = platform::TempFolder() + "corvelle-XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
#ifndef _WIN32
    if (::mkdtemp(buf.data())) return buf.data();
#endif
    throw std::runtime_error("cannot make a folder from " + pattern);
}

// What the simulation shows: messages and questions since the last call.
void PrintDialogs(sim::TSimHost& host, size_t& seen) {
    const auto& records = host.Dialogs->Records();
    if (records.size() == seen) {
        std::cout << "  messages shown: none\n";
        return;
    }
    for (; seen < records.size(); ++seen) std::cout << "  message shown: \"" << records[seen].text << "\"\n";
}

void PrintJournal(sim::TSimHost& host) {
    if (host.Outlook.Journal().empty()) {
        std::cout << "  mailbox: nothing made\n";
    } else {
        for (const auto& line : host.Outlook.Journal()) std::cout << "  mailbox: " << line << "\n";
    }
    host.Outlook.ClearJournal();
}

void PrintFolders(const TModuleGlobals& g) {
    struct Entry {
        const char* variable;
        const std::shared_ptr<outlook::MAPIFolder>& folder;
    };
    const Entry entries[] = {
        {"TasksFolder", g.TasksFolder},       {"InboxFolder", g.InboxFolder},
        {"SentFolder", g.SentFolder},         {"RootFolder", g.RootFolder},
        {"EmailFolder", g.EmailFolder},       {"DeletedFolder", g.DeletedFolder},
        {"NotesFolder", g.NotesFolder},       {"ContactsFolder", g.ContactsFolder},
        {"CalendarFolder", g.CalendarFolder},
    };
    for (const auto& e : entries) {
        std::cout << "  " << e.variable << ": ";
        if (!e.folder) {
            std::cout << "(none)\n";
            continue;
        }
        auto folder = std::dynamic_pointer_cast<sim::TSimFolder>(e.folder);
        if (folder)
            std::cout << folder->Path() << ", EntryID " << folder->Id() << ", item type " << folder->ItemType() << "\n";
        else
            std::cout << "(a folder)\n";
    }
}

void PrintTables(TAddInModule& m) {
    TdxMemData* tables[] = {&m.MemDataTasks,    &m.MemDataAddTask,      &m.MemDataTime,
                            &m.MemDataEmails,   &m.MemDataContacts,     &m.MemDataDistLists,
                            &m.MemDataAppointments, &m.MemDataNotes};
    for (TdxMemData* t : tables)
        std::cout << "  " << t->Name() << ": " << (t->Active() ? "open" : "closed") << ", "
                  << t->RecordCount() << " rows\n";
}

void PrintForms(const TModuleGlobals& g) {
    std::cout << "  forms:";
    if (g.fmNewTask) std::cout << " " << g.fmNewTask->Name() << " (\"" << g.fmNewTask->Caption() << "\")";
    if (g.fmTimeMemo) std::cout << " " << g.fmTimeMemo->Name() << " (\"" << g.fmTimeMemo->Caption() << "\")";
    if (g.fmChooseTask) std::cout << " " << g.fmChooseTask->Name() << " (\"" << g.fmChooseTask->Caption() << "\")";
    if (g.fmTimer) std::cout << " " << g.fmTimer->Name() << " (\"" << g.fmTimer->Caption() << "\")";
    if (g.fmOptions) std::cout << " " << g.fmOptions->Name() << " (\"" << g.fmOptions->Caption() << "\")";
    if (g.fmAddTask) std::cout << " " << g.fmAddTask->Name() << " (\"" << g.fmAddTask->Caption() << "\")";
    if (g.fmAbout) std::cout << " " << g.fmAbout->Name() << " (\"" << g.fmAbout->Caption() << "\")";
    std::cout << "\n";
}

void PrintFiles(const std::string& dir) {
    for (const auto& info : PersistedTables()) {
        fs::path p = fs::path(dir) / info.fileName;
        std::error_code ec;
        if (fs::is_regular_file(p, ec))
            std::cout << "  " << info.fileName << ": " << fs::file_size(p, ec) << " bytes\n";
        else
            std::cout << "  " << info.fileName << ": not written\n";
    }
}

void AppendTask(TdxMemData& t, int parentId, int number, const std::string& description, const std::string& owner) {
    t.Append();
    t.FieldByName("Parent_ID").SetAsInteger(parentId);
    t.FieldByName("Description").SetAsString(description);
    t.FieldByName("Create_Date").SetAsDateTime(Now());
    t.FieldByName("Number").SetAsInteger(number);
    t.FieldByName("Importance").SetAsInteger(1);
    t.FieldByName("Owner_Name").SetAsString(owner);
    t.FieldByName("Status").SetAsInteger(1);
    t.FieldByName("Date_Complete").SetAsDateTime(NoCompletionDate());
    t.FieldByName("Sensitivity").SetAsInteger(0);
    t.FieldByName("Complete").SetAsBoolean(false);
    t.FieldByName("Percent_Complete").SetAsInteger(0);
    t.Post();
}

void AppendTime(TdxMemData& t, const TModuleGlobals& g, int taskId, const std::string& name, const std::string& fullName,
                const std::string& fullNo, int minutes, const std::string& note) {
    t.Append();
    t.FieldByName("Glyph").SetAsInteger(0);
    t.FieldByName("Task_Name").SetAsString(name);
    t.FieldByName("Task_Full_Name").SetAsString(fullName);
    t.FieldByName("Task_ID").SetAsInteger(taskId);
    t.FieldByName("Task_Full_No").SetAsString(fullNo);
    t.FieldByName("Create_Date").SetAsDateTime(Date());
    t.FieldByName("Time").SetAsDateTime(EncodeTime(minutes / 60, minutes % 60, 0, 0));
    t.FieldByName("Dec_Time").SetAsCurrency(Currency::FromRaw(static_cast<int64_t>(minutes) * Currency::Scale / 60));
    t.FieldByName("User_Name").SetAsString(g.CurrentUserName);
    t.FieldByName("User_Address").SetAsString(g.CurrentUserAddress);
    t.FieldByName("Bill_Rate").SetAsInteger(0);
    t.FieldByName("Note").SetAsString(note);
    t.FieldByName("Time_Date").SetAsDateTime(Date());
    t.FieldByName("Closed").SetAsBoolean(false);
    t.Post();
}

void PrintRows(TdxMemData& tasks, TdxMemData& time) {
    for (tasks.First(); !tasks.Eof(); tasks.Next())
        std::cout << "  task " << tasks.FieldByName("ID").AsInteger() << ": parent "
                  << tasks.FieldByName("Parent_ID").AsInteger() << ", number "
                  << tasks.FieldByName("Number").AsInteger() << ", \""
                  << tasks.FieldByName("Description").AsString() << "\"\n";
    for (time.First(); !time.Eof(); time.Next())
        std::cout << "  time " << time.FieldByName("ID").AsInteger() << ": task "
                  << time.FieldByName("Task_Full_No").AsString() << " \""
                  << time.FieldByName("Task_Name").AsString() << "\", "
                  << time.FieldByName("Dec_Time").DisplayText() << " hours on "
                  << time.FieldByName("Time_Date").AsString() << " by "
                  << time.FieldByName("User_Name").AsString() << "\n";
}

void Start(TAddInModule& m, sim::TSimHost& host, size_t& seenDialogs) {
    std::cout << "AddInInitialize, AddInStartupComplete\n";
    m.OnConnection();
    m.OnStartupComplete();
    const TModuleGlobals& g = m.Vars();
    std::cout << "  current user: " << g.CurrentUserName << " <" << g.CurrentUserAddress << ">\n";
    std::cout << "  help file: " << m.HelpFile() << "\n";
    PrintJournal(host);
    PrintFolders(g);
    PrintForms(g);
    std::cout << "  tables:\n";
    PrintTables(m);
    std::cout << "  item watcher: " << (g.MailItems ? "made, not connected" : "(none)") << "\n";
    std::cout << "  trace client on 127.0.0.1:3434: "
              << (host.Trace->Connected() ? "connected" : "not connected (nobody listening)") << "\n";
    PrintDialogs(host, seenDialogs);
}

void Stop(TAddInModule& m, sim::TSimHost& host, size_t& seenDialogs) {
    std::cout << "AddInBeginShutdown, AddInFinalize\n";
    m.OnBeginShutdown();
    m.OnDisconnection();
    const TModuleGlobals& g = m.Vars();
    std::cout << "  Outlook folders released: " << (g.InboxFolder || g.RootFolder ? "no" : "yes") << "\n";
    std::cout << "  forms left:" << (g.fmChooseTask ? " fmChooseTask" : "") << (g.fmNewTask ? " fmNewTask" : "")
              << "\n";
    PrintDialogs(host, seenDialogs);
}

}  // namespace

int main(int argc, char** argv) {
    std::string dir;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--dir" && i + 1 < argc) {
            dir = argv[++i];
        } else if (arg == "--help" || arg == "-h") {
            Usage();
            return 0;
        } else {
            Usage();
            return 2;
        }
    }

    try {
        if (dir.empty()) {
            dir = MakeFreshFolder();
        } else {
            fs::create_directories(dir);
        }
        dir = fs::absolute(dir).lexically_normal().string();
        while (dir.size() > 1 && dir.back() == '/') dir.pop_back();

        std::cout << "folder: " << dir << "\n";
        sim::TSimHost host(dir + "/Corvelle.dll");
        host.Trace = std::make_shared<platform::TTcpTraceClient>();
        std::cout << "add-in file: " << host.Module->ModuleFileName() << "\n";
        std::cout << "mailbox: " << host.Outlook.Root()->FolderName() << ", store "
                  << host.Outlook.StoreID() << ", user " << host.Outlook.CurrentUserName() << "\n";
        size_t seen = 0;

        std::cout << "\n== first start ==\n";
        {
            auto m = std::make_unique<TAddInModule>(host.HostInfo(16));
            Start(*m, host, seen);
            TModuleGlobals& g = m->Vars();
            std::cout << "  DLL path: " << GetDllPath() << "\n";

            std::cout << "adding sample rows\n";
            TdxMemData& tasks = m->MemDataTasks;
            TdxMemData& time = m->MemDataTime;
            AppendTask(tasks, -1, 1, "Acme Ltd", g.CurrentUserName);
            int acme = tasks.FieldByName("ID").AsInteger();
            AppendTask(tasks, acme, 1, "Lease review", g.CurrentUserName);
            int lease = tasks.FieldByName("ID").AsInteger();
            AppendTask(tasks, -1, 2, "Borealis Shipping", g.CurrentUserName);
            AppendTime(time, g, lease, "Lease review", "Acme Ltd - Lease review", "1.1", 90, "Read the draft lease");
            AppendTime(time, g, acme, "Acme Ltd", "Acme Ltd", "1", 25, "Call with the client");
            PrintRows(tasks, time);

            std::cout << "saving\n";
            m->SaveTasks();
            m->SaveTime();
            m->SaveEmails();
            m->SaveContacts();
            m->SaveDistLists();
            m->SaveAppointments();
            m->SaveNotes();
            PrintFiles(dir);
            PrintDialogs(host, seen);

            Stop(*m, host, seen);
        }

        std::cout << "\n== second start, same folder and mailbox ==\n";
        {
            auto m = std::make_unique<TAddInModule>(host.HostInfo(16));
            Start(*m, host, seen);
            std::cout << "loaded rows\n";
            PrintRows(m->MemDataTasks, m->MemDataTime);
            Stop(*m, host, seen);
        }

        std::string logName = TFileLog::FileNameFor(platform::TempFolder(), Date());
        std::error_code ec;
        if (fs::exists(logName, ec))
            std::cout << "\nlog file: " << logName << " (" << fs::file_size(logName, ec) << " bytes)\n";
        else
            std::cout << "\nlog file: " << logName << " (nothing logged)\n";
        if (!host.Dialogs->Errors().empty())
            for (const auto& e : host.Dialogs->Errors()) std::cout << "simulation error: " << e << "\n";
        std::cout << "done\n";
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "corvelle: " << e.what() << "\n";
        return 1;
    }
}
