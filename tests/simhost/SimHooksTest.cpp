// What the simulation tells a host as it happens (dialogs, help, inspectors shown, items come
// into folders), items made outside the add-in, and the explorer's selection.
#include <gtest/gtest.h>

#include "base/Clock.h"
#include "base/DateTime.h"
#include "platform/Dispatch.h"
#include "sim/SimItem.h"
#include "sim/SimServices.h"

namespace {

using outlook::_TaskItem;
using platform::DialogAnswer;
using platform::QueryInterface;
using sim::ESimError;
using sim::TSimItem;

class SimHooks : public ::testing::Test {
protected:
    void SetUp() override {
        SetClock(EncodeDate(2026, 3, 5) + EncodeTime(9, 30, 0, 0));
        host.Outlook.SetDisplayHook([this](TSimItem& i) { shown.push_back(i.Id().empty() ? "-" : i.Id()); });
        host.Outlook.SetItemAddedHook([this](TSimItem& i) { added.push_back(i.Folder()->FolderName() + " " + i.Id()); });
    }
    void TearDown() override { ResetClock(); }

    std::shared_ptr<_TaskItem> NewTask(const std::string& subject) {
        auto mapi = host.Outlook.Application()->GetNamespace("MAPI");
        auto t = QueryInterface<_TaskItem>(mapi->GetDefaultFolder(outlook::olFolderTasks)->Items()->Add("IPM.Task"));
        t->SetSubject(subject);
        return t;
    }

    sim::TSimHost host{"/opt/corvelle/Corvelle.dll"};
    std::vector<std::string> shown;
    std::vector<std::string> added;
};

TEST_F(SimHooks, DialogsAreToldAsTheyAreAnsweredAndAnUnansweredQuestionIsNot) {
    std::vector<std::string> told;
    host.Dialogs->OnShown = [&](const sim::TSimDialogRecord& r) {
        told.push_back(r.text + (r.answer ? (*r.answer == DialogAnswer::Yes ? " Yes" : " other") : ""));
    };
    host.Dialogs->ShowMessage("Hello");
    host.Dialogs->QueueAnswer(DialogAnswer::Yes);
    host.Dialogs->AskYesNo("Sure?");
    EXPECT_THROW(host.Dialogs->AskYesNoCancel("Really?"), ESimError);
    EXPECT_EQ(told, (std::vector<std::string>{"Hello", "Sure? Yes"}));
    EXPECT_EQ(host.Dialogs->Errors().size(), 1u);

    std::vector<int> contexts;
    host.Help->OnShow = [&](const sim::TSimHelp::Call& c) { contexts.push_back(c.context); };
    host.Help->ShowContext("x.chm", 10);
    EXPECT_EQ(contexts, std::vector<int>{10});
}

TEST_F(SimHooks, EveryDisplayIsToldAlsoOfAnInspectorShownAlready) {
    auto a = NewTask("A");
    a->Save();
    auto b = NewTask("B");  // never saved: no EntryID
    a->Display(false);
    b->Display(false);
    a->Display(false);  // comes to the front
    EXPECT_EQ(shown, (std::vector<std::string>{a->EntryID(), "-", a->EntryID()}));
    EXPECT_EQ(host.Outlook.ActiveItem(), TSimItem::From(a));

    // A failing Display tells nothing.
    host.Failures->FailNext("TaskItem.Display");
    EXPECT_THROW(b->Display(false), EOleException);
    EXPECT_EQ(shown.size(), 3u);
}

TEST_F(SimHooks, AnItemComesIntoAFolderAtItsFirstSaveAndByAMove) {
    auto t = NewTask("A");
    EXPECT_TRUE(added.empty());
    t->Save();
    t->SetSubject("A2");
    t->Save();  // saved again: nothing new came in
    ASSERT_EQ(added, std::vector<std::string>{"Tasks " + t->EntryID()});

    auto deleted = host.Outlook.DefaultFolder(outlook::olFolderDeletedItems);
    t->Move(deleted);
    t->Move(deleted);  // already there
    EXPECT_EQ(added.size(), 2u);
    EXPECT_EQ(added.back(), "Deleted Items " + t->EntryID());
}

TEST_F(SimHooks, AnItemMadeOutsideTheAddInFollowsTheKindsRulesAndIsSaved) {
    auto item = host.Outlook.AddItem("tasks", "IPM.Task", {{"Subject", "Call the bank"}, {"Complete", "yes"}});
    ASSERT_TRUE(item);
    EXPECT_FALSE(item->Id().empty());
    EXPECT_EQ(item->Value("Status").AsInteger(), outlook::olTaskComplete);
    EXPECT_EQ(item->Value("DateCompleted").AsDateTime(), EncodeDate(2026, 3, 5));
    EXPECT_FALSE(item->IsDirty());
    EXPECT_EQ(added, std::vector<std::string>{"Tasks " + item->Id()});
    EXPECT_EQ(host.Outlook.FindItem(item->Id()), item);
}

TEST_F(SimHooks, ABadItemLeavesNothingBehind) {
    auto tasks = host.Outlook.FindFolder("Tasks");
    EXPECT_THROW(host.Outlook.AddItem("Tasks", "IPM.Task", {{"Subject", "x"}, {"Status", "lots"}}), ESimError);
    EXPECT_THROW(host.Outlook.AddItem("Tasks", "IPM.Task", {{"Colour", "red"}}), ESimError);
    EXPECT_THROW(host.Outlook.AddItem("Tasks", "IPM.Task", {{"Importance", "7"}}), ESimError);
    EXPECT_THROW(host.Outlook.AddItem("Tasks", "IPM.Spaceship", {}), ESimError);
    EXPECT_THROW(host.Outlook.AddItem("Nowhere", "IPM.Task", {}), ESimError);
    EXPECT_TRUE(tasks->ItemList().empty());
    EXPECT_TRUE(added.empty());
    EXPECT_TRUE(host.Outlook.Journal().empty());
}

TEST_F(SimHooks, TheSelectionHoldsItemsOfTheFolderShown) {
    auto a = host.Outlook.AddItem("Tasks", "IPM.Task", {{"Subject", "A"}});
    auto b = host.Outlook.AddItem("Tasks", "IPM.Task", {{"Subject", "B"}});
    EXPECT_EQ(host.Outlook.ExplorerFolder(), nullptr);
    host.Outlook.Select("Tasks", {b->Id(), a->Id()});
    EXPECT_EQ(host.Outlook.ExplorerFolder(), host.Outlook.FindFolder("Tasks"));
    EXPECT_EQ(host.Outlook.Selection(), (std::vector<std::shared_ptr<TSimItem>>{b, a}));

    // An item of another folder, or an unknown folder, changes nothing.
    EXPECT_THROW(host.Outlook.Select("Inbox", {a->Id()}), ESimError);
    EXPECT_THROW(host.Outlook.Select("Nowhere", {}), ESimError);
    EXPECT_EQ(host.Outlook.Selection().size(), 2u);

    // An item deleted for good leaves the selection; an empty selection is allowed.
    b->UserDeleteForGood();
    EXPECT_EQ(host.Outlook.Selection(), std::vector<std::shared_ptr<TSimItem>>{a});
    host.Outlook.Select("Inbox", {});
    EXPECT_TRUE(host.Outlook.Selection().empty());
}

}  // namespace
