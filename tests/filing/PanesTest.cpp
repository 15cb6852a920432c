// The four item panes as a user meets them: what their grids draw, what their menus do on an
// empty table, the questions before a delete, and what each saves when the explorer closes.
#include "filing/FilingFixture.h"

#include "filing/uContacts.h"
#include "filing/ufmAppointments.h"
#include "filing/ufmContacts.h"
#include "filing/ufmEmails.h"
#include "filing/ufmNotes.h"

namespace {

template <class Form>
Form& PaneOf(TAddInModule& m, int index) {
    return dynamic_cast<Form&>(*m.adxOlFormsManager1.Items(index).CurrentForm());
}

}  // namespace

class PanesTest : public FilingTest {
protected:
    TfmEmails& Emails() { return PaneOf<TfmEmails>(m(), 2); }
    TfmNotes& Notes() { return PaneOf<TfmNotes>(m(), 3); }
    TfmContacts& ContactsPane() { return PaneOf<TfmContacts>(m(), 4); }
    TfmAppointments& Appointments() { return PaneOf<TfmAppointments>(m(), 5); }

    void DropCopy(int task, const std::vector<std::shared_ptr<sim::TSimItem>>& items, const std::string& folder) {
        Select(folder, items);
        DropOn(task);
        Pick("Copy here");
    }
};

TEST_F(PanesTest, TheEmailGridDrawsMarksNotTextAndItsSecondLineIsTheBody) {
    auto note = Add("Inbox", "IPM.Note", {{"Subject", "Invoice"}, {"Attachments", "3"}, {"Body", "Please pay"}});
    auto receipt = Add("Inbox", "IPM.Note.Receipt", {{"Subject", "Read"}});
    DropCopy(acme, {note}, "Inbox");
    // A receipt filed by hand, as a row of another class.
    m().MemDataEmails.Append();
    m().MemDataEmails.FieldByName("TaskID").SetAsInteger(acme);
    m().MemDataEmails.FieldByName("MessageClass").SetAsString("IPM.Note.Receipt");
    m().MemDataEmails.Post();
    Focus(borealis);
    Focus(acme);

    TcxGridDBBandedTableView& v = Emails().cxGridDBBandedTableView1;
    ASSERT_EQ(v.RecordCount(), 2);
    EXPECT_EQ(v.DrawCell(0, Emails().clMessageClass).ImageIndex, 1);
    EXPECT_TRUE(v.DrawCell(0, Emails().clMessageClass).Done);
    EXPECT_EQ(v.DrawCell(0, Emails().clAttachments).ImageIndex, 0);
    EXPECT_EQ(v.DrawCell(1, Emails().clMessageClass).ImageIndex, -1);  // another class: empty
    EXPECT_EQ(v.DrawCell(1, Emails().clAttachments).ImageIndex, -1);
    EXPECT_EQ(v.ColumnLine(Emails().clText), 1);
    EXPECT_EQ(v.DisplayTexts(0, Emails().clText), "Please pay");
}

TEST_F(PanesTest, OnAnEmptyTableTheMenusDoNothingAndSayNothing) {
    Emails().OpenEmail1Click();
    Emails().Deleteemail1Click();
    Emails().cxGridDBBandedTableView1DblClick();
    Notes().Deletetask2Click();
    Notes().Displaytask1Click();  // still leaves its log line
    ContactsPane().RemoveContact1Click();
    ContactsPane().Deletetask2Click();
    ContactsPane().MenuItem5Click();
    Appointments().Removeappointment1Click();
    Appointments().Deletetask2Click();
    EXPECT_TRUE(Shown().empty());
    EXPECT_TRUE(host_->Outlook.OpenItems().empty());
    EXPECT_NE(Log().find("INFO: TfmNotes.Displaytask1Click. end"), std::string::npos);
}

TEST_F(PanesTest, DeletingAsksWithTheSystemsWordsAndOnlyYesDeletes) {
    auto contact = Add("Contacts", "IPM.Contact", {{"LastNameAndFirstName", "Bloggs, Jo"}});
    DropCopy(acme, {contact}, "Contacts");
    auto meeting = Add("Calendar", "IPM.Appointment", {{"Subject", "Kick-off"}});
    DropCopy(acme, {meeting}, "Calendar");
    Focus(borealis);
    Focus(acme);

    host_->Dialogs->QueueAnswer(platform::DialogAnswer::No);
    ContactsPane().Deletetask2Click();
    EXPECT_FALSE(contact->IsDeleted());
    EXPECT_EQ(contact->Folder()->FolderName(), "Contacts");
    host_->Dialogs->QueueAnswer(platform::DialogAnswer::Yes);
    Appointments().Deletetask2Click();
    EXPECT_EQ(meeting->Folder()->FolderName(), "Deleted Items");
    EXPECT_EQ(Shown(), (std::vector<std::string>{
                           "Deleting this contact will remove it from your Outlook contacts, and from any other task "
                           "with which it is associated.  Do you want to delete it?",
                           "Deleting this appointment will remove it from your Outlook calendar, and from any other "
                           "task with which it is associated.  Do you want to delete it?"}));
    // The contacts pane's menu offers no delete.
    for (int i = 0; i < ContactsPane().PopupMenu1.Items().Count(); ++i)
        EXPECT_EQ(ContactsPane().PopupMenu1.Items().Items(i).DisplayCaption().find("Delete"), std::string::npos);
}

TEST_F(PanesTest, TheNotesGlyphLogsEachDrawingAndTheContactsTabsDrawTheirMarks) {
    Pane().Newnote1Click();
    host_->Outlook.ActiveItem()->UserSave();
    Loop();
    TcxGridDBBandedTableView& v = Notes().cxGridDBBandedTableView2;
    ASSERT_EQ(v.RecordCount(), 1);
    EXPECT_EQ(v.DrawCell(0, Notes().clGlyph).ImageIndex, 0);
    const std::string log = Log();
    EXPECT_NE(log.find("INFO: TfmNotes.clGlyphCustomDrawCell. start"), std::string::npos);
    EXPECT_NE(log.find("INFO: TfmNotes.clGlyphCustomDrawCell. end"), std::string::npos);

    Pane().Newcontact1Click();
    host_->Outlook.ActiveItem()->UserSave();
    Loop();
    EXPECT_EQ(ContactsPane().cxGrid6DBTableView1.DrawCell(0, ContactsPane().clGlyph).ImageIndex, 0);
    EXPECT_EQ(ContactsPane().cxTabSheet4.Caption(), "Distribution Lists");
}

TEST_F(PanesTest, ActivationNarrowsOnlyTheContactsPagesInFront) {
    for (int task : {acme, borealis}) {
        m().MemDataDistLists.Append();
        m().MemDataDistLists.FieldByName("TaskID").SetAsInteger(task);
        m().MemDataDistLists.Post();
        m().MemDataContacts.Append();
        m().MemDataContacts.FieldByName("TaskID").SetAsInteger(task);
        m().MemDataContacts.Post();
    }
    UnfilterContacts();
    UnfilterDistLists();
    ContactsPane().tcxPageControl3.SetActivePageIndex(1);
    m().adxOlFormsManager1.ActivatePane(4);
    EXPECT_TRUE(m().MemDataDistLists.Filtered());
    EXPECT_EQ(m().MemDataDistLists.RecordCount(), 1);
    EXPECT_FALSE(m().MemDataContacts.Filtered());
}

TEST_F(PanesTest, ClosingSavesWhatShowsAndLeavesATableShowingNothingUnwritten) {
    auto contact = Add("Contacts", "IPM.Contact", {{"LastNameAndFirstName", "Bloggs, Jo"}});
    DropCopy(acme, {contact}, "Contacts");
    // A list whose row waits in insert state is posted by the close.
    Pane().Newdistributionlist1Click();
    host_->Outlook.ActiveItem()->UserSave();
    Loop();
    Focus(clients);  // the contacts table now shows nothing for this task
    m().adxOlFormsManager1.ExplorerClosed();
    EXPECT_FALSE(fs::exists(dir_ / "Contacts.bin"));
    EXPECT_TRUE(fs::exists(dir_ / "Distlists.bin"));
    EXPECT_GE(m().MemDataDistLists.RowCount(), 1);
    EXPECT_EQ(m().MemDataDistLists.State(), TDataSetState::dsBrowse);
    EXPECT_TRUE(Shown().empty());
}
