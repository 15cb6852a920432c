// The commands that read the add-in's data (table, file, log) and those of the simulated
// Outlook (outlook ...).
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "host/AddinModule.h"
#include "platform/System.h"
#include "platform/Text.h"
#include "sim/ScriptHost.h"
#include "sim/SimFiledItems.h"
#include "sim/SimItem.h"
#include "store/MemData.h"
#include "store/TableJson.h"
#include "store/Tables.h"

namespace fs = std::filesystem;

namespace sim {

namespace {

constexpr const char* kLogSuffix = "-ol-corvelle.txt";

struct TableEntry {
    const char* name;
    TdxMemData TAddInModule::*table;
};

const TableEntry kTables[] = {
    {"Tasks", &TAddInModule::MemDataTasks},
    {"Time", &TAddInModule::MemDataTime},
    {"Emails", &TAddInModule::MemDataEmails},
    {"Contacts", &TAddInModule::MemDataContacts},
    {"DistLists", &TAddInModule::MemDataDistLists},
    {"Appointments", &TAddInModule::MemDataAppointments},
    {"Notes", &TAddInModule::MemDataNotes},
    {"AddTask", &TAddInModule::MemDataAddTask},
};

const char* StateName(TDataSetState s) {
    switch (s) {
        case TDataSetState::dsInactive: return "Inactive";
        case TDataSetState::dsBrowse: return "Browse";
        case TDataSetState::dsEdit: return "Edit";
        case TDataSetState::dsInsert: return "Insert";
    }
    return "?";
}

bool IsDayLog(const fs::path& p) {
    std::string name = p.filename().string();
    std::string suffix = kLogSuffix;
    return name.size() > suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::vector<fs::path> DayLogs() {
    std::vector<fs::path> out;
    std::error_code ec;
    for (fs::directory_iterator it(platform::TempFolder(), ec), end; !ec && it != end; it.increment(ec)) {
        std::error_code ec2;
        if (it->is_regular_file(ec2) && IsDayLog(it->path())) out.push_back(it->path());
    }
    std::sort(out.begin(), out.end());
    return out;
}

std::string SubjectOf(const TSimItem& item) {
    auto it = item.AllValues().find("Subject");
    return it == item.AllValues().end() ? std::string() : it->second.AsString();
}

// The path of a folder below the mailbox root ("Inbox/Clients").
std::string RelativePath(const TSimFolder& folder) {
    std::string path = folder.Path();
    auto slash = path.find('/');
    return slash == std::string::npos ? std::string() : path.substr(slash + 1);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Tables and files

void TScriptHost::CmdTable(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "table", "command"));
    const std::string& name = a[0];
    TdxMemData* table = nullptr;
    for (const TableEntry& e : kTables)
        if (SameName(e.name, name) || SameName(std::string("MemData") + e.name, name)) {
            table = &(RequireModule().*e.table);
            break;
        }
    if (!table) throw EScriptError("unknown table " + name);
    out_ << "TABLE " << name << " rows=" << table->RowCount() << " visible=" << table->RecordCount()
         << " filtered=" << (table->Filtered() ? "true" : "false") << " state=" << StateName(table->State()) << "\n";
    // Every row in table order, whatever the filter; the cursor stays where it is.
    for (int row = 0; row < table->RowCount(); ++row) out_ << JsonLine(RowToJson(*table, row)) << "\n";
}

void TScriptHost::CmdFile(const Words& a) {
    if (a.size() != 1) Usage(Find(Commands(), "file", "command"));
    const std::string& name = a[0];
    // A table's name ("Tasks") or its file's ("Tasks.bin") reads the file as that table; any
    // other file in the folder with the fields it describes itself.
    std::string fileName = name;
    const TableInfo* info = FindPersistedTable(name);
    if (!info)
        for (const TableInfo& t : PersistedTables())
            if (SameName(t.fileName, name) || SameName(t.name, name)) info = &t;
    if (info) fileName = info->fileName;
    fs::path path = fs::path(dir_) / fileName;
    std::error_code ec;
    if (!fs::is_regular_file(path, ec)) {
        out_ << "FILE " << name << " absent\n";
        return;
    }
    uintmax_t bytes = fs::file_size(path, ec);
    out_ << "FILE " << name << " bytes=" << (ec ? 0 : bytes) << "\n";
    std::unique_ptr<TdxMemData> table;
    try {
        if (info) {
            table = MakeTable(info->name);
        } else {
            table = std::make_unique<TdxMemData>("Table");
            table->CreateFieldsFromBinaryFile(path.string());
        }
        table->LoadFromBinaryFile(path.string());
    } catch (const std::exception& e) {
        out_ << "UNREADABLE: " << e.what() << "\n";
        return;
    }
    for (int row = 0; row < table->RowCount(); ++row) out_ << JsonLine(RowToJson(*table, row)) << "\n";
}

// ---------------------------------------------------------------------------------------------
// The day log

void TScriptHost::SnapshotLogs() {
    logSizes_.clear();
    for (const fs::path& p : DayLogs()) {
        std::error_code ec;
        uintmax_t size = fs::file_size(p, ec);
        if (!ec) logSizes_[p.string()] = size;
    }
}

void TScriptHost::CmdLog(const Words& a) {
    if (!a.empty()) Usage(Find(Commands(), "log", "command"));
    for (const fs::path& p : DayLogs()) {
        std::error_code ec;
        uintmax_t size = fs::file_size(p, ec);
        if (ec) continue;
        auto known = logSizes_.find(p.string());
        uintmax_t from = known == logSizes_.end() ? 0 : known->second;
        if (size < from) from = 0;  // made anew since the start
        if (size == from) continue;
        from &= ~uintmax_t{1};      // whole UTF-16 code units
        std::ifstream in(p, std::ios::binary);
        in.seekg(static_cast<std::streamoff>(from));
        std::string bytes((std::istreambuf_iterator<char>(in)), {});
        std::u16string units;
        units.reserve(bytes.size() / 2);
        for (size_t i = 0; i + 1 < bytes.size(); i += 2)
            units.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                                  static_cast<unsigned char>(bytes[i + 1]) << 8));
        std::string text = platform::Utf16ToUtf8(units);
        size_t start = 0;
        while (start < text.size()) {
            size_t end = text.find('\n', start);
            if (end == std::string::npos) end = text.size();
            std::string line = text.substr(start, end - start);
            if (!line.empty() && line.back() == '\r') line.pop_back();
            out_ << line << "\n";
            start = end + 1;
        }
    }
}

// ---------------------------------------------------------------------------------------------
// The simulated Outlook

const std::vector<TScriptHost::Command>& TScriptHost::OutlookCommands() {
    static const std::vector<Command> table = {
        {"folders", &TScriptHost::OlFolders, "outlook folders"},
        {"items", &TScriptHost::OlItems, "outlook items FOLDER"},
        {"item", &TScriptHost::OlItem, "outlook item ENTRYID"},
        {"add", &TScriptHost::OlAdd, "outlook add FOLDER CLASS [PROP=VALUE ...]"},
        {"delete", &TScriptHost::OlDelete, "outlook delete ENTRYID"},
        {"inspector", &TScriptHost::OlInspector, "outlook inspector"},
        {"set", &TScriptHost::OlSet, "outlook set PROP VALUE"},
        {"save", &TScriptHost::OlSave, "outlook save"},
        {"send", &TScriptHost::OlSend, "outlook send"},
        {"close", &TScriptHost::OlClose, "outlook close [discard]"},
        {"select", &TScriptHost::OlSelect, "outlook select FOLDER ENTRYID ..."},
        {"fail", &TScriptHost::OlFail, "outlook fail MEMBER"},
    };
    return table;
}

void TScriptHost::CmdOutlook(const Words& a) {
    if (a.empty()) Usage(Find(Commands(), "outlook", "command"));
    const Command& c = Find(OutlookCommands(), a[0], "outlook command");
    try {
        (this->*c.handler)(Words(a.begin() + 1, a.end()));
    } catch (const ESimError& e) {
        // A misuse of the mailbox from the user's side: the script's mistake.
        throw EScriptError(e.Message());
    }
}

std::shared_ptr<TSimItem> TScriptHost::ActiveItem() {
    auto item = host_->Outlook.ActiveItem();
    if (!item) throw EScriptError("no inspector is open");
    return item;
}

void TScriptHost::OlFolders(const Words& a) {
    if (!a.empty()) Usage(Find(OutlookCommands(), "folders", "outlook command"));
    std::function<void(const TSimFolder&)> walk = [&](const TSimFolder& f) {
        for (const auto& sub : f.Subfolders()) {
            out_ << "FOLDER " << RelativePath(*sub) << " type=" << sub->ItemType() << "\n";
            walk(*sub);
        }
    };
    walk(*host_->Outlook.Root());
}

void TScriptHost::OlItems(const Words& a) {
    if (a.size() != 1) Usage(Find(OutlookCommands(), "items", "outlook command"));
    auto folder = host_->Outlook.FindFolder(a[0]);
    if (!folder) throw EScriptError("no folder " + a[0] + " in the mailbox");
    for (const auto& item : folder->ItemList())
        out_ << "ITEM " << item->Id() << " " << item->MessageClassName() << " " << QuoteWord(SubjectOf(*item)) << "\n";
}

void TScriptHost::OlItem(const Words& a) {
    if (a.size() != 1) Usage(Find(OutlookCommands(), "item", "outlook command"));
    out_ << host_->Outlook.ItemJson(a[0]).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
}

void TScriptHost::OlAdd(const Words& a) {
    if (a.size() < 2) Usage(Find(OutlookCommands(), "add", "outlook command"));
    std::vector<std::pair<std::string, std::string>> properties;
    for (size_t i = 2; i < a.size(); ++i) {
        auto eq = a[i].find('=');
        if (eq == std::string::npos || eq == 0) throw EScriptError("expected PROP=VALUE, not " + a[i]);
        properties.emplace_back(a[i].substr(0, eq), a[i].substr(eq + 1));
    }
    auto item = host_->Outlook.AddItem(a[0], a[1], properties);
    out_ << "ADDED " << item->Id() << "\n";
}

void TScriptHost::OlDelete(const Words& a) {
    if (a.size() != 1) Usage(Find(OutlookCommands(), "delete", "outlook command"));
    auto item = host_->Outlook.FindItem(a[0]);
    if (!item) throw EScriptError("no item has the EntryID " + a[0]);
    item->UserDeleteForGood();
}

void TScriptHost::OlInspector(const Words& a) {
    if (!a.empty()) Usage(Find(OutlookCommands(), "inspector", "outlook command"));
    for (const auto& item : host_->Outlook.OpenItems())
        out_ << "INSPECTOR " << (item->Id().empty() ? "-" : item->Id()) << " " << item->MessageClassName() << " "
             << QuoteWord(SubjectOf(*item)) << "\n";
}

void TScriptHost::OlSet(const Words& a) {
    if (a.size() != 2) Usage(Find(OutlookCommands(), "set", "outlook command"));
    ActiveItem()->UserSetPropertyText(a[0], a[1]);
}

void TScriptHost::OlSave(const Words& a) {
    if (!a.empty()) Usage(Find(OutlookCommands(), "save", "outlook command"));
    ActiveItem()->UserSave();
}

void TScriptHost::OlSend(const Words& a) {
    if (!a.empty()) Usage(Find(OutlookCommands(), "send", "outlook command"));
    auto sent = UserSendMail(*ActiveItem());
    out_ << "SENT " << sent->Id() << "\n";
}

void TScriptHost::OlClose(const Words& a) {
    if (a.size() > 1 || (a.size() == 1 && !SameName(a[0], "discard")))
        Usage(Find(OutlookCommands(), "close", "outlook command"));
    ActiveItem()->UserClose(a.empty() ? TSimCloseChoice::Save : TSimCloseChoice::Discard);
}

void TScriptHost::OlSelect(const Words& a) {
    if (a.empty()) Usage(Find(OutlookCommands(), "select", "outlook command"));
    host_->Outlook.Select(a[0], Words(a.begin() + 1, a.end()));
}

void TScriptHost::OlFail(const Words& a) {
    if (a.size() != 1) Usage(Find(OutlookCommands(), "fail", "outlook command"));
    // The platform's pointer-position call goes by its Windows name too.
    host_->Failures->FailNext(SameName(a[0], "GetCursorPos") ? std::string("Screen.CursorPos") : a[0]);
}

}  // namespace sim
