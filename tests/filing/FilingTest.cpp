// Filing Outlook items against tasks as a user does it: items made from the task pane and filed
// when Outlook reports them, and items dropped on the tree with the menu's choices.
#include "filing/FilingFixture.h"

#include "filing/uContacts.h"
#include "filing/uEmails.h"
#include "host/Items.h"

using outlook::_MailItem;
using platform::QueryInterface;

TEST_F(FilingTest, ANewMailIsFiledOnceWhenSentOnTheTaskFocusedThen) {
    Pane().Newemail1Click();
    auto draft = host_->Outlook.ActiveItem();
    ASSERT_NE(draft, nullptr);
    EXPECT_EQ(draft->MessageClassName(), "IPM.Mail");
    EXPECT_EQ(draft->Value("Subject").AsString(), "Clients \\ Acme Ltd");
    EXPECT_TRUE(draft->IsNew());  // shown, not saved
    EXPECT_EQ(Globals().ItemType, "MailItem");

    // The user moves to another task before sending: the row goes there.
    Focus(borealis);
    auto sent = sim::UserSendMail(*draft);
    Loop();
    EXPECT_FALSE(Globals().MailItems->Connected());
    ASSERT_EQ(Rows(Emails(), "Subject"), (std::vector<std::pair<int, std::string>>{{borealis, "Clients \\ Acme Ltd"}}));
    // The sent mail stays in Sent Items; the row points at a copy in CorvelleEmail.
    std::string filed = Emails().RowValue(0, Emails().FieldByName("EntryID")).AsString();
    EXPECT_EQ(sent->Folder()->FolderName(), "Sent Items");
    EXPECT_EQ(host_->Outlook.FindItem(filed)->Folder()->FolderName(), "CorvelleEmail");
    EXPECT_EQ(Emails().FieldByName("From").AsString(), "Alex Morgan");
    EXPECT_TRUE(Emails().Filtered());  // ItemsAdd refilters the pane's table

    // Another mail arriving in Sent Items is not filed: the watcher fired once.
    Add("Sent Items", "IPM.Note", {{"Subject", "later"}});
    Loop();
    EXPECT_EQ(Emails().RowCount(), 1);
}

TEST_F(FilingTest, AMailSentWithoutTheMarkIsNotFiledAndEndsTheWatch) {
    Pane().Newemail1Click();
    auto draft = host_->Outlook.ActiveItem();
    // Sent from Outlook's own window first: no TaskID property, yet the watcher lets go.
    Add("Sent Items", "IPM.Note", {{"Subject", "other"}});
    Loop();
    EXPECT_FALSE(Globals().MailItems->Connected());
    sim::UserSendMail(*draft);
    Loop();
    EXPECT_EQ(Emails().RowCount(), 0);
}

TEST_F(FilingTest, TwoNewMailsFileOnlyTheFirstToArrive) {
    Pane().Newemail1Click();
    auto first = host_->Outlook.ActiveItem();
    Pane().Newemail1Click();
    auto second = host_->Outlook.ActiveItem();
    sim::UserSendMail(*second);
    sim::UserSendMail(*first);
    Loop();
    EXPECT_EQ(Emails().RowCount(), 1);
}

TEST_F(FilingTest, OtherKindsAreFiledAsTheyStandWhenSaved) {
    Pane().Newcontact1Click();
    auto contact = host_->Outlook.ActiveItem();
    contact->UserSetPropertyText("LastNameAndFirstName", "Bloggs, Josephine Alexandra Maximiliana");
    contact->UserSave();
    Loop();
    ASSERT_EQ(Contacts().RowCount(), 1);
    // The row points at the contact itself, its name cut to the field's 40 characters.
    EXPECT_EQ(Contacts().FieldByName("EntryID").AsString(), contact->Id());
    EXPECT_EQ(Contacts().FieldByName("Name").AsString(), "Bloggs, Josephine Alexandra Maximiliana");
    EXPECT_EQ(Contacts().FieldByName("Type").AsInteger(), 0);

    Pane().Newnote1Click();
    auto note = host_->Outlook.ActiveItem();
    EXPECT_EQ(note->Folder()->FolderName(), "CorvelleNotes");
    note->UserSetPropertyText("Body", "A long note that does not fit");
    note->UserSave();
    Loop();
    TdxMemData& notes = m().MemDataNotes;
    ASSERT_EQ(notes.RowCount(), 1);
    EXPECT_EQ(notes.FieldByName("Author").AsString(), "Alex Morgan");
    EXPECT_EQ(notes.FieldByName("Text").AsString(), "A long note that doe");

    // A list's members: each address ends in ";" and each name in a carriage return.
    Pane().Newdistributionlist1Click();
    auto list = host_->Outlook.ActiveItem();
    EXPECT_EQ(list->Value("Subject").AsString(), "");  // opens unnamed
    list->PresetPropertyText("Member", "Jo|jo@example.com");
    list->PresetPropertyText("Member", "Sam|sam@example.com");
    list->UserSave();
    Loop();
    // The first list's row is left in insert state: the filter of an empty table moves no cursor
    // to post it, so it waits for the next operation on the table.
    TdxMemData& lists = m().MemDataDistLists;
    EXPECT_EQ(lists.State(), TDataSetState::dsInsert);
    EXPECT_EQ(lists.FieldByName("Addresses").AsString(), "jo@example.com;sam@example.com;");
    EXPECT_EQ(lists.FieldByName("Names").AsString(), "Jo\rSam\r");
    EXPECT_EQ(lists.FieldByName("Type").AsInteger(), 1);
    lists.First();
    EXPECT_EQ(lists.RowCount(), 1);
}

TEST_F(FilingTest, CopyHereFilesEachKindByItsExactClass) {
    auto mail = Add("Inbox", "IPM.Note",
                    {{"Subject", "Invoice"}, {"SentOn", "2026-03-01T10:30"}, {"Recipient", "Jo Bloggs"},
                     {"Recipient", "Sam"}, {"Attachments", "4"}, {"SentOnBehalfOfName", "Patricia Smith-Jones Esq."}});
    auto contact = Add("Inbox", "IPM.Contact", {{"LastNameAndFirstName", "Bloggs, Jo"}});
    auto receipt = Add("Inbox", "IPM.Note.Receipt", {{"Subject", "Read: Invoice"}});
    auto own = Add("Inbox", "IPM.Mail", {{"Subject", "made by the add-in"}});
    auto list = Add("Inbox", "IPM.DistList", {{"Member", "Jo|jo@example.com"}});
    Select("Inbox", {mail, contact, receipt, own, list});
    host_->Outlook.ClearJournal();
    DropOn(borealis);
    EXPECT_EQ(captions, (std::vector<std::string>{"Copy here", "Move here", "-", "Add as new task", "-", "Cancel"}));
    Pick("Copy here");

    // One row in each table; the sub-class, the add-in's own class and the list are skipped.
    ASSERT_EQ(Rows(Emails(), "Subject"), (std::vector<std::pair<int, std::string>>{{borealis, "Invoice"}}));
    ASSERT_EQ(Rows(Contacts(), "Name"), (std::vector<std::pair<int, std::string>>{{borealis, "Bloggs, Jo"}}));
    EXPECT_EQ(m().MemDataDistLists.RowCount(), 0);
    const TdxMemData& e = Emails();
    EXPECT_EQ(e.RowValue(0, e.FieldByName("Attachments")).AsInt64(), 1);  // a flag, not a count
    EXPECT_EQ(e.RowValue(0, e.FieldByName("To")).AsString(), "Jo Bloggs");
    EXPECT_EQ(e.RowValue(0, e.FieldByName("From")).AsString(), "Patricia Smith-Jones");
    EXPECT_EQ(e.RowValue(0, e.FieldByName("Date")).AsDateTime(), EncodeDate(2026, 3, 1) + EncodeTime(10, 30, 0, 0));
    // A mail is filed as a copy; the contact as it stands. Each source item is saved.
    EXPECT_NE(e.RowValue(0, e.FieldByName("EntryID")).AsString(), mail->Id());
    EXPECT_EQ(mail->Folder()->FolderName(), "Inbox");
    EXPECT_EQ(Contacts().RowValue(0, Contacts().FieldByName("EntryID")).AsString(), contact->Id());
    int saves = 0;
    for (const auto& line : host_->Outlook.Journal()) saves += line.rfind("saved ", 0) == 0;
    EXPECT_EQ(saves, 2);
    // A drop refilters nothing.
    EXPECT_EQ(Contacts().Filtered(), false);

    // The same contact dropped again on the same task gives a second row with one EntryID.
    Select("Inbox", {contact});
    DropOn(borealis);
    Pick("Copy here");
    EXPECT_EQ(Contacts().RowCount(), 2);
}

TEST_F(FilingTest, AddAsNewTaskMakesSiblingsOfOneNumberAndFilesEachMail) {
    MakeShown(acme, 4, "Earlier");
    auto a = Add("Inbox", "IPM.Note", {{"Subject", "First"}});
    auto b = Add("Inbox", "IPM.Mail", {{"Subject", "Second"}});
    auto c = Add("Inbox", "IPM.Note", {{"Subject", "Third"}});
    auto receipt = Add("Inbox", "IPM.Note.Receipt", {{"Subject", "skipped"}});
    Select("Inbox", {a, b, receipt, c});
    DropOn(acme);
    Pick("Add as new task");

    std::vector<std::string> names;
    for (TcxTreeListNode* child : Node(acme)->Children()) {
        int id = child->KeyValue().AsInteger();
        if (Field(id, "Description").AsString() == "Earlier") continue;
        names.push_back(Field(id, "Description").AsString());
        EXPECT_EQ(Field(id, "Number").AsInteger(), 5);
        EXPECT_EQ(Field(id, "Owner_Name").AsString(), "Alex Morgan");
        // The task keeps the mail's EntryID; no Outlook task is made.
        EXPECT_NE(host_->Outlook.FindItem(Field(id, "EntryID").AsString()), nullptr);
        EXPECT_EQ(host_->Outlook.FindItem(Field(id, "EntryID").AsString())->Kind(), std::string("MailItem"));
    }
    EXPECT_EQ(names.size(), 3u);
    EXPECT_EQ(Field(Globals().CurrentTaskID, "Description").AsString(), "Third");
    EXPECT_EQ(Tree().FocusedNode(), Node(Globals().CurrentTaskID));
    EXPECT_TRUE(host_->Outlook.DefaultFolder(outlook::olFolderTasks)->ItemList().empty());
    // Each new task has its mail filed on it.
    EXPECT_EQ(Emails().RowCount(), 3);
    EXPECT_EQ(Rows(Emails(), "Subject")[2].first, Globals().CurrentTaskID);
}

TEST_F(FilingTest, MoveHereMovesAndFilesNothing) {
    auto mail = Add("Inbox", "IPM.Note", {{"Subject", "Invoice"}});
    Select("Inbox", {mail});
    DropOn(acme);
    Pick("Move here");
    EXPECT_EQ(mail->Folder()->FolderName(), "Inbox");
    EXPECT_EQ(Emails().RowCount(), 0);
    EXPECT_EQ(Pane().DragSelection, nullptr);
}

TEST_F(FilingTest, TheMenuFollowsTheFolderAndADropBesideTheNodesKeepsTheTask) {
    auto meeting = Add("Calendar", "IPM.Appointment", {{"Subject", "Kick-off"}, {"Start", "2026-03-09T10:00"}});
    Select("Calendar", {meeting});
    Focus(borealis);
    Pane().DropTaskID = acme;
    DropOn(0);
    EXPECT_EQ(captions, (std::vector<std::string>{"Copy here", "-", "Cancel"}));
    EXPECT_EQ(Pane().DropTaskID, acme);  // no node under the pointer: unchanged
    Pick("Copy here");
    TdxMemData& appointments = m().MemDataAppointments;
    ASSERT_EQ(appointments.RowCount(), 1);
    EXPECT_EQ(appointments.RowValue(0, appointments.FieldByName("TaskID")).AsInt64(), borealis);

    // No pointer position: no menu, nothing filed.
    host_->Failures->FailNext("Screen.CursorPos");
    DropOn(acme);
    EXPECT_EQ(shown, nullptr);
}

TEST_F(FilingTest, ACopyThatFailsStopsTheLoopAndReachesTheCaller) {
    auto first = Add("Inbox", "IPM.Note", {{"Subject", "one"}});
    auto second = Add("Inbox", "IPM.Note", {{"Subject", "two"}});
    Select("Inbox", {first, second});
    DropOn(acme);
    host_->Failures->FailNext("MailItem.Copy");
    host_->Failures->FailNext("MailItem.Copy");
    EXPECT_THROW(Pane().CopyItemsHere(), EOleException);
    EXPECT_EQ(Emails().RowCount(), 0);
}

TEST_F(FilingTest, TheFilterShowsTheTasksRowsByTablePosition) {
    for (int id : {acme, borealis, acme}) {
        Emails().Append();
        Emails().FieldByName("TaskID").SetAsInteger(id);
        Emails().Post();
    }
    Focus(borealis);
    Focus(acme);
    EXPECT_TRUE(Emails().ProgrammedFilter());
    EXPECT_EQ(Emails().FilterList(), (std::vector<int>{1, 3}));
    EXPECT_EQ(Emails().RecNo(), 1);
    // An empty table stays unfiltered.
    EXPECT_FALSE(Contacts().Filtered());
    // A task without rows shows none.
    Focus(clients);
    EXPECT_EQ(Emails().RecordCount(), 0);
}

TEST_F(FilingTest, ContactsFiledTwiceShareTheItemAndGoOneRowAtATime) {
    auto contact = Add("Contacts", "IPM.Contact", {{"LastNameAndFirstName", "Bloggs, Jo"}});
    for (int task : {acme, borealis}) {
        Select("Contacts", {contact});
        DropOn(task);
        Pick("Copy here");
    }
    ASSERT_EQ(Contacts().RowCount(), 2);
    // Removing it from one task leaves Outlook and the other row alone.
    Focus(acme);
    RemoveContactItem();
    EXPECT_EQ(Rows(Contacts(), "Name"), (std::vector<std::pair<int, std::string>>{{borealis, "Bloggs, Jo"}}));
    EXPECT_FALSE(contact->IsDeleted());
    // Deleting deletes the item and the one row; a later open of the other row shows nothing.
    Focus(borealis);
    DeleteContactItem();
    EXPECT_EQ(contact->Folder()->FolderName(), "Deleted Items");
    EXPECT_EQ(Contacts().RowCount(), 0);
}

TEST_F(FilingTest, AnItemGoneFromOutlookOpensNothingAndItsRowCanStillGo) {
    auto mail = Add("Inbox", "IPM.Note", {{"Subject", "Invoice"}});
    Select("Inbox", {mail});
    DropOn(acme);
    Pick("Copy here");
    Focus(acme);
    host_->Outlook.FindItem(Emails().FieldByName("EntryID").AsString())->UserDeleteForGood();
    ShowMailItem();
    EXPECT_TRUE(host_->Outlook.OpenItems().empty());
    EXPECT_TRUE(Shown().empty());
    DeleteMailItem();
    EXPECT_EQ(Emails().RowCount(), 0);
}
