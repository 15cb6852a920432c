#pragma once
// A started add-in with the explorer open and a few tasks, a mailbox to file from, and a
// stand-in for the menu that pops up at a drop.
#include <string>
#include <vector>

#include "sim/SimFiledItems.h"
#include "sim/SimItem.h"
#include "tasks/TaskFixture.h"
#include "toolkit/Menus.h"

class FilingTest : public TaskTest, public IPopupHost {
protected:
    void SetUp() override {
        TaskTest::SetUp();
        previousPopupHost_ = SetPopupHost(this);
        Start();
        clients = Make(-1, 1, "Clients");
        acme = Make(clients, 1, "Acme Ltd");
        borealis = Make(clients, 2, "Borealis Shipping");
        OpenExplorer();
        Focus(acme);
    }
    // A task row made while the pane shows the tree, as the new-task dialog leaves it shown.
    int MakeShown(int parent, int number, const std::string& name) {
        int id = Make(parent, number, name);
        FilterTasks(1);
        return id;
    }

    void TearDown() override {
        SetPopupHost(previousPopupHost_);
        TaskTest::TearDown();
    }

    void ShowPopup(TPopupMenu& menu, int, int) override {
        shown = &menu;
        captions.clear();
        for (int i = 0; i < menu.Items().Count(); ++i) captions.push_back(menu.Items().Items(i).DisplayCaption());
    }
    // The user picks an entry of the menu shown.
    void Pick(const std::string& caption) {
        ASSERT_NE(shown, nullptr) << "no menu is shown";
        TPopupMenu* menu = shown;
        shown = nullptr;
        for (int i = 0; i < menu->Items().Count(); ++i)
            if (menu->Items().Items(i).DisplayCaption() == caption) return menu->Items().Items(i).Click();
        FAIL() << "no entry " << caption;
    }

    void Focus(int id) {
        ASSERT_NE(Node(id), nullptr);
        ASSERT_TRUE(Tree().UserFocusNode(Node(id)));
    }
    int LineOf(int id) {
        auto lines = Tree().VisibleNodes();
        for (size_t i = 0; i < lines.size(); ++i)
            if (lines[i] == Node(id)) return static_cast<int>(i);
        return static_cast<int>(lines.size());
    }
    // An Outlook drag over the task and its drop there (0 for the empty space below the nodes).
    void DropOn(int id) {
        shown = nullptr;
        if (id) Pane().DMTextTarget1.DoDragOver(0, LineOf(id));
        Pane().DMTextTarget1.DoDrop(0, id ? LineOf(id) : LineOf(0));
    }

    std::shared_ptr<sim::TSimItem> Add(const std::string& folder, const std::string& cls,
                                       std::vector<std::pair<std::string, std::string>> props = {}) {
        return host_->Outlook.AddItem(folder, cls, props);
    }
    void Select(const std::string& folder, const std::vector<std::shared_ptr<sim::TSimItem>>& items) {
        std::vector<std::string> ids;
        for (const auto& i : items) ids.push_back(i->Id());
        host_->Outlook.Select(folder, ids);
    }
    // Outlook's message loop comes round.
    void Loop() { host_->Outlook.DeliverItemAdds(); }

    TdxMemData& Emails() { return m().MemDataEmails; }
    TdxMemData& Contacts() { return m().MemDataContacts; }
    // The rows of a table whatever its filter, as (TaskID, field) pairs.
    std::vector<std::pair<int, std::string>> Rows(TdxMemData& t, const char* field) {
        std::vector<std::pair<int, std::string>> out;
        for (int r = 0; r < t.RowCount(); ++r)
            out.emplace_back(static_cast<int>(t.RowValue(r, t.FieldByName("TaskID")).AsInt64()),
                             t.RowValue(r, t.FieldByName(field)).AsString());
        return out;
    }

    int clients = 0, acme = 0, borealis = 0;
    TPopupMenu* shown = nullptr;
    std::vector<std::string> captions;

private:
    IPopupHost* previousPopupHost_ = nullptr;
};
