// The items of the simulated mailbox: task items and Outlook's rules for them, saving, finding
// and moving items, inspectors and the user's side of them, item events through connection
// points, and the named failures of the new members.
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <map>
#include <utility>

#include <nlohmann/json.hpp>

#include "base/Clock.h"
#include "base/DateTime.h"
#include "platform/Dispatch.h"
#include "sim/SimItem.h"
#include "sim/SimOutlook.h"

namespace {

using outlook::_TaskItem;
using platform::IConnectionPointContainer;
using platform::QueryInterface;
using sim::TSimItem;

// Records the events it gets: the dispatch ID, and PropertyChange's property name.
class TRecorder : public platform::IDispatch {
public:
    void Invoke(int32_t dispId, const std::vector<Variant>& args) override {
        events.push_back(dispId == outlook::DISPID_PropertyChange ? args.at(0).AsString() : Name(dispId));
        if (onEvent) onEvent(dispId);
    }
    static std::string Name(int32_t dispId) {
        static const std::map<int32_t, std::string> names = {{outlook::DISPID_Open, "<Open>"},
                                                             {outlook::DISPID_Write, "<Write>"},
                                                             {outlook::DISPID_Close, "<Close>"},
                                                             {outlook::DISPID_Unload, "<Unload>"}};
        return names.at(dispId);
    }
    std::vector<std::string> Take() { return std::exchange(events, {}); }
    std::vector<std::string> events;
    std::function<void(int32_t)> onEvent;
};

using Events = std::vector<std::string>;

class SimItems : public ::testing::Test {
protected:
    void SetUp() override { SetClock(EncodeDate(2026, 3, 5) + EncodeTime(9, 30, 0, 0)); }
    void TearDown() override { ResetClock(); }

    std::shared_ptr<outlook::_NameSpace> Mapi() { return o.Application()->GetNamespace("MAPI"); }
    std::shared_ptr<outlook::MAPIFolder> Tasks() { return Mapi()->GetDefaultFolder(outlook::olFolderTasks); }
    std::shared_ptr<_TaskItem> NewTask(const std::string& subject = "") {
        auto t = QueryInterface<_TaskItem>(Tasks()->Items()->Add("IPM.Task"));
        if (!subject.empty()) t->SetSubject(subject);
        return t;
    }
    std::shared_ptr<_TaskItem> SavedTask(const std::string& subject) {
        auto t = NewTask(subject);
        t->Save();
        return t;
    }
    // A recorder advised on the item's events.
    std::shared_ptr<TRecorder> Listen(const std::shared_ptr<platform::IDispatch>& item) {
        auto r = std::make_shared<TRecorder>();
        QueryInterface<IConnectionPointContainer>(item)->FindConnectionPoint(outlook::IID_ItemEvents)->Advise(r);
        return r;
    }
    std::shared_ptr<TSimItem> Sim(const std::shared_ptr<_TaskItem>& t) { return TSimItem::From(t); }

    const TDateTime today = EncodeDate(2026, 3, 5);
    sim::TSimOutlook o;
};

TEST_F(SimItems, ANewTaskHasOutlooksDefaultsAndJoinsItsFolderWhenSaved) {
    o.SetCurrentUser("Robin Hale", "robin@hale.example");
    auto items = Tasks()->Items();
    auto t = NewTask();
    EXPECT_EQ(Sim(t)->ToJson(), nlohmann::json({{"EntryID", ""},
                                                {"MessageClass", "IPM.Task"},
                                                {"Folder", "Mailbox/Tasks"},
                                                {"Subject", ""},
                                                {"Body", ""},
                                                {"Owner", "Robin Hale"},
                                                {"Importance", 1},
                                                {"Sensitivity", 0},
                                                {"Complete", false},
                                                {"Status", 0},
                                                {"PercentComplete", 0},
                                                {"DateCompleted", "None"},
                                                {"DueDate", "None"},
                                                {"StartDate", "None"}}));
    EXPECT_EQ(t->DueDate(), NoCompletionDate());
    EXPECT_EQ(items->Count(), 0);

    t->SetSubject("Audit");
    t->Save();
    std::string id = t->EntryID();
    EXPECT_FALSE(id.empty());
    EXPECT_EQ(QueryInterface<_TaskItem>(items->Item(1)), t);
    // One object per item, whichever way it is reached; saving again keeps the EntryID.
    EXPECT_EQ(QueryInterface<_TaskItem>(Mapi()->GetItemFromID(id, o.StoreID())), t);
    EXPECT_EQ(QueryInterface<_TaskItem>(Mapi()->GetItemFromID(id, "")), t);
    t->Save();
    EXPECT_EQ(t->EntryID(), id);
    EXPECT_EQ(o.FolderItemsJson("Tasks"), nlohmann::json::array({o.ItemJson(id)}));
    EXPECT_THROW(o.FolderItemsJson("Nowhere"), sim::ESimError);
    EXPECT_THROW(o.ItemJson("nothing"), sim::ESimError);

    // A custom task form and the folder's own kind make tasks; a class of no kind can't be made.
    EXPECT_EQ(QueryInterface<_TaskItem>(items->Add("IPM.Task.Project"))->MessageClass(), "IPM.Task.Project");
    EXPECT_EQ(QueryInterface<_TaskItem>(items->Add(""))->MessageClass(), "IPM.Task");
    EXPECT_THROW(items->Add("IPM.Taskforce"), EOleException);
    EXPECT_EQ(QueryInterface<outlook::_MailItem>(Mapi()->GetDefaultFolder(outlook::olFolderInbox)->Items()->Add(""))
                  ->MessageClass(),
              "IPM.Note");
}

TEST_F(SimItems, CompleteStatusPercentAndDateCompletedFollowOneAnother) {
    auto t = NewTask("Audit");
    // Complete, Status, PercentComplete, DateCompleted.
    auto state = [&] {
        return std::to_string(t->Complete()) + " " + std::to_string(t->Status()) + " " +
               std::to_string(t->PercentComplete()) + " " +
               TSimItem::DisplayText(Variant::FromDate(t->DateCompleted()), sim::TSimPropertyKind::Date);
    };
    t->SetComplete(true);
    EXPECT_EQ(state(), "1 2 100 2026-03-05");
    t->SetComplete(false);
    EXPECT_EQ(state(), "0 0 0 None");
    t->SetStatus(outlook::olTaskComplete);
    EXPECT_EQ(state(), "1 2 100 2026-03-05");
    t->SetStatus(outlook::olTaskWaiting);
    EXPECT_EQ(state(), "0 3 0 None");
    t->SetStatus(outlook::olTaskNotStarted);
    t->SetPercentComplete(40);
    EXPECT_EQ(state(), "0 1 40 None");
    t->SetPercentComplete(100);
    EXPECT_EQ(state(), "1 2 100 2026-03-05");
    t->SetPercentComplete(60);
    EXPECT_EQ(state(), "0 1 60 None");
    t->SetDateCompleted(EncodeDate(2026, 1, 20) + 0.75);
    EXPECT_EQ(state(), "1 2 100 2026-01-20");
    t->SetDateCompleted(NoCompletionDate());
    EXPECT_EQ(state(), "0 0 0 None");

    // Dates hold the day; from 4501 on there is no date. Values Outlook refuses change nothing.
    t->SetDueDate(EncodeDate(2026, 1, 20) + 0.5);
    EXPECT_EQ(t->DueDate(), EncodeDate(2026, 1, 20));
    t->SetDueDate(NoCompletionDate() + 30);
    EXPECT_EQ(t->DueDate(), NoCompletionDate());
    EXPECT_THROW(t->SetStatus(5), EOleException);
    EXPECT_THROW(t->SetPercentComplete(101), EOleException);
    EXPECT_THROW(t->SetDueDate(std::numeric_limits<double>::quiet_NaN()), EOleException);
    EXPECT_EQ(state(), "0 0 0 None");
}

TEST_F(SimItems, EachChangedPropertyRaisesItsOwnChangeTheOneSetFirst) {
    auto t = SavedTask("Audit");
    auto rec = Listen(t);
    auto item = Sim(t);
    EXPECT_THROW(item->UserSetProperty("Subject", "x"), sim::ESimError);  // not open

    t->Display(false);
    rec->Take();
    item->UserSetProperty("Complete", true);
    EXPECT_EQ(rec->Take(), (Events{"Complete", "Status", "PercentComplete", "DateCompleted"}));
    item->UserSetPropertyText("status", "2");  // no change: nothing raised
    EXPECT_EQ(rec->Take(), Events{});
    item->UserSetPropertyText("Status", "1");
    EXPECT_EQ(rec->Take(), (Events{"Status", "Complete", "PercentComplete", "DateCompleted"}));
    item->UserSetPropertyText("PercentComplete", "30");
    EXPECT_EQ(rec->Take(), Events{"PercentComplete"});
    item->UserSetPropertyText("DueDate", "2026-04-01");
    item->UserSetPropertyText("StartDate", "3/9/2026");
    item->UserSetPropertyText("Importance", " 2 ");
    EXPECT_EQ(rec->Take(), (Events{"DueDate", "StartDate", "Importance"}));
    EXPECT_EQ(t->StartDate(), EncodeDate(2026, 3, 9));
    item->UserSetPropertyText("DueDate", "None");

    // Code changes the item too, and Outlook tells of that as well.
    t->SetSensitivity(2);
    EXPECT_EQ(rec->Take(), (Events{"DueDate", "Sensitivity"}));

    // What the property can't take is refused and changes nothing.
    for (auto [name, text] : {std::pair{"Status", "done"},
                              {"Status", "9"},
                              {"Complete", "maybe"},
                              {"DueDate", "31/31/2026"},
                              {"Colour", "red"}})
        EXPECT_THROW(item->UserSetPropertyText(name, text), sim::ESimError) << name << " " << text;
    EXPECT_EQ(rec->Take(), Events{});
    EXPECT_EQ(t->Status(), outlook::olTaskInProgress);
}

TEST_F(SimItems, AnInspectorOpensPerItemAndGoesWithItsClose) {
    auto a = SavedTask("A");
    auto b = SavedTask("B");
    auto rec = Listen(a);
    auto inspector = a->GetInspector();
    EXPECT_EQ(a->GetInspector(), inspector);
    EXPECT_TRUE(o.OpenItems().empty());  // asked for, not yet shown
    EXPECT_EQ(inspector->WindowState(), outlook::olMaximized);

    a->Display(false);
    inspector->SetWindowState(outlook::olNormalWindow);
    EXPECT_EQ(inspector->WindowState(), outlook::olNormalWindow);
    EXPECT_THROW(inspector->SetWindowState(3), EOleException);
    EXPECT_EQ(QueryInterface<_TaskItem>(inspector->CurrentItem()), a);
    b->Display(false);
    EXPECT_EQ(o.ActiveItem(), Sim(b));
    a->Display(false);  // shown already: brought to the front, not opened again
    EXPECT_EQ(o.OpenItems(), (std::vector<std::shared_ptr<TSimItem>>{Sim(b), Sim(a)}));
    EXPECT_EQ(rec->Take(), Events{"<Open>"});

    // Closed without a change: Close, then Unload; the inspector is gone.
    Sim(a)->UserClose();
    EXPECT_EQ(rec->Take(), (Events{"<Close>", "<Unload>"}));
    EXPECT_EQ(o.OpenItems(), std::vector<std::shared_ptr<TSimItem>>{Sim(b)});
    EXPECT_THROW(inspector->WindowState(), EOleException);
    EXPECT_NE(a->GetInspector(), inspector);
    EXPECT_THROW(Sim(a)->UserClose(), sim::ESimError);

    // Closed with a change: saved on the way (Write) or dropped, as the user chooses.
    a->Display(false);
    Sim(a)->UserSetProperty("Subject", "A2");
    rec->Take();
    Sim(a)->UserClose(sim::TSimCloseChoice::Save);
    EXPECT_EQ(rec->Take(), (Events{"<Close>", "<Write>", "<Unload>"}));
    EXPECT_FALSE(Sim(a)->IsDirty());
    a->Display(false);
    Sim(a)->UserSetProperty("Subject", "A3");
    std::string subjectAtClose;
    rec->onEvent = [&](int32_t id) {
        if (id == outlook::DISPID_Close) subjectAtClose = a->Subject();
    };
    Sim(a)->UserClose(sim::TSimCloseChoice::Discard);
    EXPECT_EQ(subjectAtClose, "A3");  // the close sees what the form held
    EXPECT_EQ(a->Subject(), "A2");
}

TEST_F(SimItems, MovedItemsKeepTheirIDAndDeletedOnesAreGone) {
    auto deleted = Mapi()->GetDefaultFolder(outlook::olFolderDeletedItems);
    auto t = SavedTask("Old");
    std::string id = t->EntryID();
    auto moved = QueryInterface<_TaskItem>(t->Move(deleted));
    EXPECT_EQ(moved->EntryID(), id);
    EXPECT_EQ(Tasks()->Items()->Count(), 0);
    EXPECT_EQ(QueryInterface<_TaskItem>(Mapi()->GetItemFromID(id, o.StoreID())), moved);
    EXPECT_EQ(Sim(t)->Folder(), o.DefaultFolder(outlook::olFolderDeletedItems));
    EXPECT_THROW(t->Move(nullptr), EOleException);

    // The user's delete: to Deleted Items, and from there for good.
    auto u = SavedTask("User");
    std::string uid = u->EntryID();
    Sim(u)->UserDelete();
    EXPECT_EQ(Sim(u)->Folder(), o.DefaultFolder(outlook::olFolderDeletedItems));
    Sim(u)->UserDelete();
    EXPECT_TRUE(Sim(u)->IsDeleted());
    EXPECT_THROW(Mapi()->GetItemFromID(uid, o.StoreID()), EOleException);
    EXPECT_THROW(u->Subject(), EOleException);

    // Deleting an open item for good closes its inspector unsaved first.
    auto open = SavedTask("Open");
    std::string openId = open->EntryID();
    auto rec = Listen(open);
    open->Display(false);
    Sim(open)->UserSetProperty("Subject", "Changed");
    rec->Take();
    Sim(open)->UserDeleteForGood();
    EXPECT_EQ(rec->Take(), (Events{"<Close>", "<Unload>"}));
    EXPECT_TRUE(o.OpenItems().empty());
    EXPECT_THROW(Mapi()->GetItemFromID(openId, ""), EOleException);
    EXPECT_EQ(deleted->Items()->Count(), 1);

    // A wrong store, or an ID that names nothing.
    EXPECT_THROW(Mapi()->GetItemFromID(id, "0000BEEF"), EOleException);
    EXPECT_THROW(Mapi()->GetItemFromID("00000000C0E1A5B1D2F3400089AB0000FFFFFFFF", ""), EOleException);
    EXPECT_THROW(Mapi()->GetItemFromID(o.Root()->Id(), ""), EOleException);
}

TEST_F(SimItems, SinksAdviseWithCookiesAndHearEveryEventOnce) {
    auto t = SavedTask("Audit");
    auto container = QueryInterface<IConnectionPointContainer>(t);
    auto cp = container->FindConnectionPoint(outlook::IID_ItemEvents);
    EXPECT_EQ(container->FindConnectionPoint("{0006302b-0000-0000-c000-000000000046}"), cp);
    EXPECT_THROW(container->FindConnectionPoint("{00000000-0000-0000-0000-000000000000}"), EOleException);
    EXPECT_THROW(QueryInterface<outlook::MAPIFolder>(std::shared_ptr<platform::IDispatch>(t)), EIntfCastError);
    EXPECT_THROW(cp->Advise(nullptr), EOleException);

    auto one = std::make_shared<TRecorder>(), two = std::make_shared<TRecorder>(),
         three = std::make_shared<TRecorder>();
    EXPECT_EQ(cp->Advise(one), 1u);
    EXPECT_EQ(cp->Advise(two), 2u);
    EXPECT_EQ(cp->Advise(three), 3u);
    cp->Unadvise(3);
    EXPECT_THROW(cp->Unadvise(3), EOleException);
    EXPECT_EQ(Sim(t)->Connection().Cookies(), (std::vector<uint32_t>{1, 2}));

    // A sink that drops another while an event goes round: the other misses it. A sink that
    // throws doesn't stop the event.
    one->onEvent = [&](int32_t id) {
        if (id == outlook::DISPID_Write) cp->Unadvise(2);
        throw EOleException("sink failed");
    };
    t->SetBody("x");
    t->Save();
    EXPECT_EQ(one->Take(), (Events{"Body", "<Write>"}));
    EXPECT_EQ(two->Take(), Events{"Body"});
    EXPECT_EQ(three->Take(), Events{});
    EXPECT_EQ(cp->Advise(three), 4u);
}

TEST_F(SimItems, EveryNewMemberFailsWhenToldTo) {
    auto t = SavedTask("Audit");
    std::string id = t->EntryID();
    auto folder = Tasks();
    auto items = folder->Items();
    auto deleted = Mapi()->GetDefaultFolder(outlook::olFolderDeletedItems);
    auto inspector = t->GetInspector();
    auto cp = QueryInterface<IConnectionPointContainer>(t)->FindConnectionPoint(outlook::IID_ItemEvents);
    auto sink = std::make_shared<TRecorder>();
    const std::vector<std::pair<std::string, std::function<void()>>> members = {
        {"MAPIFolder.Items", [&] { folder->Items(); }},
        {"Items.Add", [&] { items->Add("IPM.Task"); }},
        {"NameSpace.GetItemFromID", [&] { Mapi()->GetItemFromID(id, ""); }},
        {"TaskItem.Subject", [&] { t->SetSubject("Audit"); }},
        {"TaskItem.Status", [&] { t->Status(); }},
        {"Inspector.WindowState", [&] { inspector->SetWindowState(outlook::olNormalWindow); }},
        {"ConnectionPoint.Advise", [&] { cp->Advise(sink); }},
    };
    for (const auto& [name, call] : members) {
        o.Failures().FailNext(name);
        EXPECT_THROW(call(), EOleException) << name;
        EXPECT_NO_THROW(call()) << name;
    }
    // A failed save or move changes nothing.
    auto fresh = NewTask("Fresh");
    o.Failures().FailNext("TaskItem.Save");
    EXPECT_THROW(fresh->Save(), EOleException);
    EXPECT_EQ(fresh->EntryID(), "");
    o.Failures().FailNext("TaskItem.Move");
    EXPECT_THROW(t->Move(deleted), EOleException);
    EXPECT_EQ(Sim(t)->Folder(), o.DefaultFolder(outlook::olFolderTasks));
}

TEST_F(SimItems, WhatTheUserDoesIsJournalled) {
    auto t = SavedTask("Audit");
    o.ClearJournal();
    t->Display(false);
    Sim(t)->UserSetPropertyText("Status", "1");
    Sim(t)->UserClose();
    std::string label = "TaskItem " + t->EntryID() + " \"Audit\"";
    EXPECT_EQ(o.Journal(), (std::vector<std::string>{"opened " + label, "user set Status of " + label + " to 1",
                                                     "user closed " + label + ", saving", "saved " + label}));
}

}  // namespace
