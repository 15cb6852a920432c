// The simulated Outlook and services: the mailbox's shape, folder lookup and creation, entry
// IDs, named failures, and the recording dialogs and registry.
#include <gtest/gtest.h>

#include <set>

#include "platform/Dispatch.h"
#include "sim/SimServices.h"

namespace {

using platform::DialogAnswer;
using platform::QueryInterface;

std::shared_ptr<outlook::_NameSpace> Mapi(const sim::TSimOutlook& o) {
    return o.Application()->GetNamespace("MAPI");
}

TEST(SimOutlook, HasTheDefaultFoldersUnderTheMailboxRoot) {
    sim::TSimOutlook o;
    auto ns = Mapi(o);
    struct Expected {
        int number;
        const char* name;
        int itemType;
    };
    for (const auto& e : {Expected{3, "Deleted Items", 0}, Expected{5, "Sent Items", 0}, Expected{6, "Inbox", 0},
                          Expected{9, "Calendar", 1}, Expected{10, "Contacts", 2}, Expected{13, "Tasks", 3}}) {
        auto f = ns->GetDefaultFolder(e.number);
        EXPECT_EQ(f->Name(), e.name);
        EXPECT_EQ(f->DefaultItemType(), e.itemType) << e.name;
        EXPECT_EQ(f->StoreID(), o.StoreID());
        auto parent = QueryInterface<outlook::MAPIFolder>(f->Parent());
        EXPECT_EQ(parent->EntryID(), o.Root()->Id());
    }
    EXPECT_THROW(ns->GetDefaultFolder(99), EOleException);
    EXPECT_THROW(o.Application()->GetNamespace("POP"), EOleException);
    EXPECT_NO_THROW(o.Application()->GetNamespace("mapi"));

    // Above the root stands the name space, which is no folder.
    auto top = o.Root()->Parent();
    EXPECT_THROW(QueryInterface<outlook::MAPIFolder>(top), EIntfCastError);
    EXPECT_TRUE(QueryInterface<outlook::_NameSpace>(top));
    EXPECT_FALSE(QueryInterface<outlook::MAPIFolder>(std::shared_ptr<platform::IDispatch>()));

    o.SetCurrentUser("Robin Hale", "robin@hale.example");
    auto me = ns->CurrentUser();
    EXPECT_EQ(me->Name(), "Robin Hale");
    EXPECT_EQ(me->Address(), "robin@hale.example");
}

TEST(SimOutlook, SubfoldersAreFoundAndMadeByNameIgnoringCase) {
    sim::TSimOutlook o;
    auto folders = o.Root()->Folders();
    int before = folders->Count();
    EXPECT_THROW(folders->Item("CorvelleEmail"), EOleException);

    auto made = folders->Add("CorvelleEmail", outlook::olFolderInbox);
    EXPECT_EQ(made->DefaultItemType(), outlook::olMailItem);
    EXPECT_EQ(folders->Count(), before + 1);
    EXPECT_EQ(folders->Item("corvelleemail")->EntryID(), made->EntryID());
    EXPECT_EQ(folders->Item(before + 1)->Name(), "CorvelleEmail");
    EXPECT_THROW(folders->Item(0), EOleException);
    EXPECT_THROW(folders->Item(before + 2), EOleException);
    EXPECT_THROW(folders->Add("CORVELLEEMAIL", outlook::olFolderInbox), EOleException);
    EXPECT_THROW(folders->Add("", outlook::olFolderInbox), EOleException);
    EXPECT_THROW(folders->Add("Odd", outlook::olFolderSentMail), EOleException);
    EXPECT_EQ(folders->Add("Jobs", outlook::olFolderTasks)->DefaultItemType(), outlook::olTaskItem);

    auto sub = made->Folders()->Add("Clients", outlook::olFolderContacts);
    EXPECT_EQ(o.FindFolder("CorvelleEmail/Clients")->ItemType(), outlook::olContactItem);
    EXPECT_EQ(QueryInterface<outlook::MAPIFolder>(sub->Parent())->EntryID(), made->EntryID());
    EXPECT_FALSE(o.FindFolder("CorvelleEmail/None"));
    EXPECT_EQ(o.Journal().size(), 3u);
}

TEST(SimOutlook, EntryIDsAreUniqueAndTheSameInEveryRun) {
    auto ids = [] {
        sim::TSimOutlook o;
        std::vector<std::string> out{o.Root()->Id()};
        for (const auto& f : o.Root()->Subfolders()) out.push_back(f->Id());
        out.push_back(o.Root()->Folders()->Add("X", outlook::olFolderInbox)->EntryID());
        return out;
    };
    auto first = ids();
    EXPECT_EQ(first, ids());
    EXPECT_EQ(std::set<std::string>(first.begin(), first.end()).size(), first.size());
}

TEST(SimOutlook, ANamedFailureHitsTheNextCallOfThatMemberOnly) {
    sim::TSimOutlook o;
    auto folders = o.Root()->Folders();
    o.Failures().FailNext("Folders.Add");
    o.Failures().FailNext("Folders.Add");
    EXPECT_TRUE(o.Failures().Pending("Folders.Add"));
    EXPECT_NO_THROW(folders->Count());
    EXPECT_THROW(folders->Add("A", outlook::olFolderInbox), EOleException);
    EXPECT_THROW(folders->Add("A", outlook::olFolderInbox), EOleException);
    EXPECT_NO_THROW(folders->Add("A", outlook::olFolderInbox));
    EXPECT_EQ(o.Failures().Fired(), (std::vector<std::string>{"Folders.Add", "Folders.Add"}));

    o.Failures().FailNext("MAPIFolder.Parent");
    o.Failures().Clear();
    EXPECT_NO_THROW(o.Root()->Parent());
}

TEST(SimOutlook, TheMailboxOutlivesTheSimulationWhileTheApplicationIsHeld) {
    std::shared_ptr<outlook::_Application> app;
    std::shared_ptr<outlook::MAPIFolder> inbox;
    {
        sim::TSimOutlook o;
        app = o.Application();
        inbox = Mapi(o)->GetDefaultFolder(outlook::olFolderInbox);
    }
    EXPECT_EQ(inbox->Name(), "Inbox");
    app.reset();
    EXPECT_THROW(inbox->Name(), EOleException);
}

TEST(SimDialogs, RecordsWhatIsShownAndAnswersFromTheQueue) {
    sim::TSimDialogs d;
    d.ShowMessage("You have no tasks.");
    d.QueueAnswer(DialogAnswer::No);
    d.QueueAnswer(DialogAnswer::Cancel);
    EXPECT_EQ(d.AskYesNo("Delete this task?"), DialogAnswer::No);
    EXPECT_EQ(d.AskYesNoCancel("Reopen?"), DialogAnswer::Cancel);
    EXPECT_EQ(d.Texts(), (std::vector<std::string>{"You have no tasks.", "Delete this task?", "Reopen?"}));
    EXPECT_EQ(d.Records()[1].kind, sim::TSimDialogKind::YesNo);
    EXPECT_EQ(d.Records()[1].icon, platform::DialogIcon::Confirmation);
    EXPECT_TRUE(d.Errors().empty());

    // A question nobody answered, and an answer the question doesn't offer.
    EXPECT_THROW(d.AskYesNo("Unanswered?"), sim::ESimError);
    d.QueueAnswer(DialogAnswer::Cancel);
    EXPECT_THROW(d.AskYesNo("Cancel here?"), sim::ESimError);
    EXPECT_EQ(d.Errors().size(), 2u);
}

TEST(SimRegistry, MatchesKeysAsWindowsDoes) {
    sim::TSimRegistry r;
    using platform::RegistryRoot;
    r.SetDword(RegistryRoot::LocalMachine, "\\Software\\Corvelle\\", "Flag", 1);
    EXPECT_EQ(r.ReadDword(RegistryRoot::LocalMachine, "SOFTWARE\\corvelle", "flag"), 1u);
    EXPECT_FALSE(r.ReadDword(RegistryRoot::CurrentUser, "Software\\Corvelle", "Flag"));
    EXPECT_FALSE(r.ReadDword(RegistryRoot::LocalMachine, "Software\\Corvelle", "Other"));
    r.DeleteValue(RegistryRoot::LocalMachine, "Software\\Corvelle", "Flag");
    EXPECT_FALSE(r.ReadDword(RegistryRoot::LocalMachine, "Software\\Corvelle", "Flag"));
}

}  // namespace
