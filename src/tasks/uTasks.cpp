#include "tasks/uTasks.h"

#include <cstdio>
#include <limits>
#include <unordered_map>
#include <vector>

#include "base/Clock.h"
#include "base/Guard.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "host/uSink.h"
#include "platform/System.h"
#include "platform/Text.h"
#include "store/MemData.h"
#include "toolkit/DBTreeList.h"
#include "toolkit/TableWalk.h"

using outlook::_TaskItem;
using platform::QueryInterface;
using platform::Use;

namespace {

// Outlook's "no date", read from its literal with the process-wide format settings.
TDateTime NoDate() { return StrToDate("1/1/4501"); }

// A table of the module; raises as a call through nil does when start-up never set it.
TdxMemData& Table(TdxMemData* table) {
    if (!table) throw EAccessViolation("Access violation: the table is not set");
    return *table;
}

TdxMemData& Tasks() { return Table(Globals().MemDataTasks); }

// The whole text of a file beside the add-in; UTF-8 when it reads as such, else the code page.
std::string ReadTextFile(const std::string& path) {
    std::FILE* f = platform::OpenFile(path, "rb");
    if (!f) throw EFOpenError("Cannot open file \"" + path + "\". No such file or directory");
    std::string data;
    char buf[4096];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) data.append(buf, n);
    std::fclose(f);
    if (data.rfind("\xEF\xBB\xBF", 0) == 0) return data.substr(3);
    if (platform::Utf8ToUtf16(data).find(u'\uFFFD') != std::u16string::npos) return platform::AnsiToUtf8(data);
    return data;
}

// The column of a tree that shows a field: by its name in the task pane, else by its field.
int ColumnOf(TcxTreeListNode* node, const char* columnName, const char* fieldName) {
    TcxDBTreeList& tree = node->TreeList();
    if (TcxDBTreeListColumn* c = tree.ColumnByName(columnName)) return c->ItemIndex();
    for (int i = 0; i < tree.ColumnCount(); ++i)
        if (tree.Columns(i).FieldName() == fieldName) return i;
    throw EListError(std::string("No column shows ") + fieldName);
}

std::string WalkUp(TcxTreeListNode* node, const char* columnName, const char* fieldName, const char* separator) {
    if (!node) throw EAccessViolation("Access violation: no node");
    int col = ColumnOf(node, columnName, fieldName);
    std::string result = node->Texts(col);
    while (node->Level() > 0) {
        node = node->Parent();
        if (!node) break;
        result = node->Texts(col) + separator + result;
    }
    return result;
}

// The keys of a node and of all below it, the node first, children in their order.
void CollectTaskIDs(TcxTreeListNode* node, std::vector<std::string>& out) {
    out.push_back(node->KeyValue().AsString());
    for (TcxTreeListNode* c : node->Children()) CollectTaskIDs(c, out);
}

}  // namespace

void ShowTask() {
    Swallow([] {
        TModuleGlobals& g = Globals();
        std::string storeID = Use(g.TasksFolder).StoreID();
        if (g.TaskOpen) {
            ShowMessage("Please close the open task first");
        } else {
            std::string entryID = Tasks().FieldByName("EntryID").AsString();
            bool found = Swallow([&] {
                g.TaskItem = QueryInterface<_TaskItem>(Use(g.NameSpace).GetItemFromID(entryID, storeID));
                if (!g.TaskItem) throw EOleException("No item");
            });
            // No twin yet, or one deleted in Outlook: the row gets a new one.
            if (!found) g.TaskItem = CreateTask();
            Use(g.TaskItem).SetStatus(g.TaskStatus);
            std::shared_ptr<outlook::_Inspector> inspector = g.TaskItem->GetInspector();
            g.TaskItem->Display(false);
            Use(inspector).SetWindowState(outlook::olNormalWindow);
            g.TaskChanged = false;
            g.TaskOpen = true;
        }
        // Also after the refusal: one more sink on the task that is open.
        g.TaskSink = TEventSink::Create(g.TaskItem, "Task");
    });
}

std::shared_ptr<_TaskItem> CreateTask() {
    std::shared_ptr<_TaskItem> result;
    Swallow([&] {
        TModuleGlobals& g = Globals();
        auto item = QueryInterface<_TaskItem>(Use(Use(g.TasksFolder).Items()).Add("IPM.Task"));
        Use(item).SetSubject(g.TaskDescription);
        if (item->Subject() == "Double-click me!") item->SetBody(ReadTextFile(GetDllPath() + "Clickme.txt"));
        if (g.TaskStatus == outlook::olTaskComplete) item->SetStatus(outlook::olTaskComplete);
        result = item;
        item->Save();
        TdxMemData& t = Tasks();
        t.Edit();
        t.FieldByName("EntryID").SetAsString(item->EntryID());
        t.FieldByName("Description").SetAsString(item->Subject());
        t.Post();
        t.Refresh();
    });
    return result;
}

void DeleteOutlookTask(const std::string& EntryID) {
    TModuleGlobals& g = Globals();
    std::shared_ptr<_TaskItem> item;
    // A twin that no longer exists is no error.
    if (!Swallow([&] {
            std::string storeID = Use(g.TasksFolder).StoreID();
            item = QueryInterface<_TaskItem>(Use(g.NameSpace).GetItemFromID(EntryID, storeID));
        }))
        return;
    if (item && !Swallow([&] { item->Move(g.DeletedFolder); })) ShowMessage("Unable to delete Outlook task.");
}

void DeleteTask() {
    Swallow([] {
        TcxTreeListNode* node = Globals().FocusedNode;
        if (!node) throw EAccessViolation("Access violation: no focused node");
        std::string question =
            node->HasChildren()
                ? "This task has open children.  Deleting it will also delete all its children. Do you wish to delete it?"
                : "Delete this task?";
        if (ConfirmYesNo(question)) node->TreeList().DeleteNode(node);
    });
}

int GetMaxNumber(int ParentID) {
    TdxMemData& t = Tasks();
    t.First();
    int max = 0;
    while (!t.Eof()) {
        if (t.FieldByName("Parent_ID").AsInteger() == ParentID && t.FieldByName("Number").AsInteger() > max)
            max = t.FieldByName("Number").AsInteger();
        t.Next();
    }
    // Every caller proposes the number after it; a damaged file's largest number has none.
    if (max == std::numeric_limits<int>::max())
        throw EConvertError("Task number " + std::to_string(max) + " has no next number");
    return max;
}

bool NumberExists(int ParentID, int Number) {
    return Table(Globals().MemDataAddTask)
        .Locate("Parent_ID; Number", std::vector<Variant>{Variant(ParentID), Variant(Number)});
}

int NameExists(int ParentID, const std::string& Description) {
    TModuleGlobals& g = Globals();
    TdxMemData& a = Table(g.MemDataAddTask);
    if (!a.Locate("Parent_ID; Description", std::vector<Variant>{Variant(ParentID), Variant(Description)},
                  loCaseInsensitive))
        return 0;
    g.FoundTaskID = a.FieldByName("ID").AsInteger();
    return a.FieldByName("Complete").AsBoolean() ? 2 : 1;
}

int AppendTaskRow(const std::string& EntryID, int ParentID, int Number, const std::string& OwnerName,
                  const std::string& Description) {
    Swallow([&] {
        TdxMemData& t = Tasks();
        t.SetActive(true);
        t.Append();
        t.FieldByName("EntryID").SetAsString(EntryID);
        t.FieldByName("Parent_ID").SetAsInteger(ParentID);
        t.FieldByName("Number").SetAsInteger(Number);
        t.FieldByName("Owner_Name").SetAsString(OwnerName);
        t.FieldByName("Description").SetAsString(Description);
        t.FieldByName("Start_Date").SetAsDateTime(Date());
        t.FieldByName("Percent_Complete").SetAsInteger(0);
        t.FieldByName("Complete").SetAsBoolean(false);
        t.Post();
    });
    return Tasks().FieldByName("ID").AsInteger();
}

void UpdateTaskRow(const std::string& Description, TDateTime DueDate, TDateTime DateCompleted, int Importance,
                   int Status, int PercentComplete, int Sensitivity, bool Complete) {
    Swallow([&] {
        TdxMemData& t = Tasks();
        t.DisableControls();
        // The row current now takes the values, whichever task the form was opened for.
        t.Edit();
        t.FieldByName("Description").SetAsString(Description);
        if (DueDate == NoDate()) t.FieldByName("Due_Date").Clear();
        else t.FieldByName("Due_Date").SetAsDateTime(DueDate);
        t.FieldByName("Date_Complete").SetAsDateTime(DateCompleted);
        t.FieldByName("Importance").SetAsInteger(Importance);
        t.FieldByName("Status").SetAsInteger(Status);
        t.FieldByName("Percent_Complete").SetAsInteger(PercentComplete);
        t.FieldByName("Sensitivity").SetAsInteger(Sensitivity);
        t.FieldByName("Complete").SetAsBoolean(Complete);  // last: its rule sets Date_Complete
        t.Post();
        t.EnableControls();
    });
}

void SaveOpenTask() {
    Swallow([] {
        TModuleGlobals& g = Globals();
        _TaskItem& item = Use(g.TaskItem);
        std::string subject = item.Subject();
        TDateTime due = item.DueDate();
        TDateTime completed = item.DateCompleted();
        int importance = item.Importance();
        int status = item.Status();
        int percent = item.PercentComplete();
        int sensitivity = item.Sensitivity();
        bool complete = item.Complete();
        UpdateTaskRow(subject, due, completed, importance, status, percent, sensitivity, complete);
        if (!g.CompleteChanged) return;

        TdxMemData& t = Tasks();
        TBookmark bookmark = t.GetBookmark();
        t.DisableControls();
        Use(g.TasksFolder).StoreID();
        if (item.Complete()) {
            // Down the tree: the focused task and all below it.
            if (!g.FocusedNode) throw EAccessViolation("Access violation: no focused node");
            std::vector<std::string> ids;
            CollectTaskIDs(g.FocusedNode, ids);
            for (const std::string& id : ids) {
                t.Locate("ID", Variant(id));
                t.Edit();
                t.FieldByName("Status").SetAsInteger(outlook::olTaskComplete);
                t.FieldByName("Complete").SetAsBoolean(true);
                t.FieldByName("Percent_Complete").SetAsInteger(100);
            }
            g.FocusedNode->Expand(true);
        } else {
            // Up the tree: the task and every ancestor open again.
            t.Edit();
            t.FieldByName("Status").SetAsInteger(item.Status());
            if (t.FieldByName("Complete").AsBoolean()) {
                t.FieldByName("Complete").SetAsBoolean(false);
                t.FieldByName("Percent_Complete").SetAsInteger(0);
                t.FieldByName("Date_Complete").SetAsDateTime(NoDate());
            }
            if (!g.FocusedNode) throw EAccessViolation("Access violation: no focused node");
            for (TcxTreeListNode* n = g.FocusedNode->Level() > 0 ? g.FocusedNode->Parent() : nullptr; n;
                 n = n->Level() > 0 ? n->Parent() : nullptr) {
                t.Locate("ID", n->KeyValue());
                t.Edit();
                t.FieldByName("Complete").SetAsBoolean(false);
                t.FieldByName("Percent_Complete").SetAsInteger(0);
                t.FieldByName("Status").SetAsInteger(outlook::olTaskInProgress);
                t.FieldByName("Date_Complete").SetAsDateTime(NoDate());
            }
        }
        t.GotoBookmark(bookmark);
        t.EnableControls();
    });
}

void MemDataTasksBeforeDelete(TdxMemData& DataSet) {
    Swallow([&] {
        std::string entryID = DataSet.FieldByName("EntryID").AsString();
        if (!entryID.empty()) DeleteOutlookTask(entryID);
    });
}

void MemDataTasksCompleteChange(TField& Sender) {
    Swallow([&] {
        TField& dateComplete = Sender.DataSet().FieldByName("Date_Complete");
        if (Sender.Value() == Variant(true)) dateComplete.SetAsDateTime(Date());
        else dateComplete.SetAsDateTime(NoDate());
    });
}

std::string GetFullNumber(TcxTreeListNode* Node) { return WalkUp(Node, "cl1Number", "Number", "."); }

std::string GetNodeFullDescription(TcxTreeListNode* Node) {
    return WalkUp(Node, "cl1Description", "Description", " \\ ");
}

namespace {

// Whether every row of the tasks table hangs from the root through rows of the table, so that
// each row is a node of a tree on it: then each move of the cursor changes a tree's focus.
bool EveryTaskHangsFromTheRoot(const TdxMemData& t) {
    const TField* id = t.FindField("ID");
    const TField* parent = t.FindField("Parent_ID");
    if (!id || !parent) return false;
    const int n = t.RowCount();
    std::unordered_map<int64_t, int> rowOfID;
    rowOfID.reserve(static_cast<size_t>(n));
    std::vector<int64_t> parents(static_cast<size_t>(n));
    for (int row = 0; row < n; ++row) {
        const TCellView keyCell = t.CellView(row, id->Index());
        const TCellView upCell = t.CellView(row, parent->Index());
        const auto* key = std::get_if<int64_t>(&keyCell);
        const auto* up = std::get_if<int64_t>(&upCell);
        if (!key || !up) return false;
        if (!rowOfID.emplace(*key, row).second) return false;  // a key twice: leave it to the walk
        parents[static_cast<size_t>(row)] = *up;
    }
    // 1: reaches the root; 2: being followed.
    std::vector<uint8_t> state(static_cast<size_t>(n), 0);
    std::vector<int> chain;
    for (int row = 0; row < n; ++row) {
        chain.clear();
        int r = row;
        while (state[static_cast<size_t>(r)] == 0) {
            state[static_cast<size_t>(r)] = 2;
            chain.push_back(r);
            int64_t up = parents[static_cast<size_t>(r)];
            if (up == -1) break;
            auto it = rowOfID.find(up);
            if (it == rowOfID.end()) return false;
            r = it->second;
            if (state[static_cast<size_t>(r)] == 2) return false;  // a ring
        }
        for (int c : chain) state[static_cast<size_t>(c)] = 1;
    }
    return true;
}

// The pass of FilterTasks over the Date_Complete column, when it reads as the walk reads and the
// trees that follow the cursor would see each move; false leaves the walk to the caller.
bool PassCompletedAfter(TdxMemData& t, TDateTime cutoff) {
    if (t.RowCount() == 0 || t.Filtered()) return false;
    if (!t.ControlsDisabled() && !EveryTaskHangsFromTheRoot(t)) return false;
    const TField* dateComplete = t.FindField("Date_Complete");
    if (!dateComplete) return false;  // the walk raises at its first row
    const int field = dateComplete->Index();
    // The trees' handlers keep a field of the task under the cursor only when it holds a value.
    return walk::PassRows(
        t, walk::TCarry::EveryField,
        [&](int row) {
            double d = 0;
            if (!walk::ReadDate(t.CellView(row, field), d)) return walk::TRowLook::Unreadable;
            return d > cutoff ? walk::TRowLook::Pass : walk::TRowLook::Skip;
        },
        t.FilterList());
}

}  // namespace

void UnfilterTasks() {
    Swallow([] {
        TdxMemData& t = Tasks();
        t.SetProgrammedFilter(false);
        t.SetFiltered(false);
    });
}

void FilterTasks(int Days) {
    Swallow([&] {
        UnfilterTasks();
        TdxMemData& t = Tasks();
        TDateTime cutoff = Date() - Days;
        t.SetProgrammedFilter(true);
        t.First();
        if (!PassCompletedAfter(t, cutoff)) {
            while (!t.Eof()) {
                if (t.FieldByName("Date_Complete").AsDateTime() > cutoff) t.FilterList().push_back(t.CurRec() + 1);
                t.Next();
            }
        }
        t.SetFiltered(true);
        // The callers rely on this to balance their own DisableControls.
        t.EnableControls();
    });
}
