#pragma once
// A started add-in with tasks made as the new-task dialog makes them, and the explorer's panes.
#include "host/HostFixture.h"
#include "sim/SimItem.h"

#include "tasks/uTasks.h"
#include "tasks/ufmList.h"

class TaskTest : public HostTest {
protected:
    TAddInModule& m() { return *module_; }
    TdxMemData& Tasks() { return m().MemDataTasks; }
    TfmList& Pane() { return *Globals().fmList; }
    TcxDBTreeList& Tree() { return Pane().cxDBTreeList1; }

    // A task row as the new-task dialog makes it; gives its ID.
    int Make(int parent, int number, const std::string& name) {
        return AppendTaskRow("", parent, number, "Alex Morgan", name);
    }

    void Complete(int id, TDateTime on) {
        TDateTime today = Date();
        SetClock(on);
        ASSERT_TRUE(Tasks().Locate("ID", Variant(id)));
        Tasks().Edit();
        Tasks().FieldByName("Complete").SetAsBoolean(true);
        Tasks().Post();
        SetClock(today);
    }

    // Saves the tasks and starts Outlook again on the same folder and mailbox.
    void Restart() {
        m().SaveTasks();
        Stop();
        Start();
    }

    void OpenExplorer() { m().adxOlFormsManager1.ExplorerFolderShown(TadxOlItemType::itMail); }

    TcxTreeListNode* Node(int id) { return Tree().FindNodeByKeyValue(Variant(id)); }

    // The user opens a task from the tree, as a double click does.
    void Open(int id) {
        ASSERT_TRUE(Tree().UserDblClickNode(Node(id)));
    }

    // The simulated twin of a row, by the row's EntryID; nullptr when none.
    std::shared_ptr<sim::TSimItem> Twin(int id) {
        auto row = Tasks().Lookup("ID", Variant(id), "EntryID");
        if (row.IsNull() || row.AsString().empty()) return nullptr;
        return host_->Outlook.FindItem(row.AsString());
    }

    Variant Field(int id, const char* field) { return Tasks().Lookup("ID", Variant(id), field); }
};

