// The filing engine: the task pane's five File...Item methods. Each appends one row for the item
// to its kind's table, with the task's ID, the item's EntryID and the fields the panes show.
// Text longer than a field is cut by the field. What happens to the item in Outlook is the
// caller's matter; nothing here saves the item or writes on it.
//
// Their frames differ, and the differences are kept: where Attachments.Count is read, who holds
// the views back, who opens the table, and FileDistListItem leaving its row unposted, for the
// next cursor move on the table to post.
#include "base/Guard.h"
#include "host/Globals.h"
#include "store/MemData.h"
#include "tasks/ufmList.h"

using platform::Use;

void TfmList::FileMailItem(const std::shared_ptr<outlook::_MailItem>& Item, int TaskID) {
    // Outside every guard: a failure here reaches the caller.
    const int count = Use(Use(Item).GetAttachments()).Count();
    Swallow([&] {
        TdxMemData& t = Live(Globals().MemDataEmails);
        t.DisableControls();
        t.Append();
        t.FieldByName("TaskID").SetAsInteger(TaskID);
        t.FieldByName("EntryID").SetAsString(Item->EntryID());
        t.FieldByName("Attachments").SetAsInteger(count != 0 ? 1 : 0);
        t.FieldByName("Date").SetAsDateTime(Item->SentOn());
        Swallow([&] { t.FieldByName("From").SetAsString(Item->SentOnBehalfOfName()); });
        Swallow([&] { t.FieldByName("To").SetAsString(Use(Use(Item->GetRecipients()).Item(1)).Name()); });
        t.FieldByName("Subject").SetAsString(Item->Subject());
        t.FieldByName("Text").SetAsString(Item->Body());
        t.FieldByName("MessageClass").SetAsString(Item->MessageClass());
        t.Post();
        t.EnableControls();
    });
}

void TfmList::FilePostItem(const std::shared_ptr<outlook::_PostItem>& Item, int TaskID) {
    Swallow([&] {
        TdxMemData& t = Live(Globals().MemDataNotes);
        t.Open();
        const int count = Use(Use(Item).GetAttachments()).Count();
        t.Append();
        t.FieldByName("TaskID").SetAsInteger(TaskID);
        t.FieldByName("EntryID").SetAsString(Item->EntryID());
        t.FieldByName("Attachments").SetAsInteger(count != 0 ? 1 : 0);
        t.FieldByName("Date").SetAsDateTime(Item->SentOn());
        t.FieldByName("Subject").SetAsString(Item->Subject());
        t.FieldByName("Author").SetAsString(Item->SenderName());
        t.FieldByName("Text").SetAsString(Item->Body());
        t.FieldByName("MessageClass").SetAsString(Item->MessageClass());
        t.Post();
    });
}

void TfmList::FileAppointmentItem(const std::shared_ptr<outlook::_AppointmentItem>& Item, int TaskID) {
    Swallow([&] {
        TdxMemData& t = Live(Globals().MemDataAppointments);
        const int count = Use(Use(Item).GetAttachments()).Count();
        t.Append();
        t.FieldByName("TaskID").SetAsInteger(TaskID);
        t.FieldByName("EntryID").SetAsString(Item->EntryID());
        t.FieldByName("Attachments").SetAsInteger(count != 0 ? 1 : 0);
        t.FieldByName("Start").SetAsDateTime(Item->Start());
        t.FieldByName("End").SetAsDateTime(Item->End());
        t.FieldByName("Subject").SetAsString(Item->Subject());
        t.FieldByName("MessageClass").SetAsString(Item->MessageClass());
        t.Post();
    });
}

void TfmList::FileContactItem(const std::shared_ptr<outlook::_ContactItem>& Item, int TaskID) {
    Swallow([&] {
        TdxMemData& t = Live(Globals().MemDataContacts);
        t.DisableControls();
        t.Append();
        t.FieldByName("TaskID").SetAsInteger(TaskID);
        t.FieldByName("EntryID").SetAsString(Use(Item).EntryID());
        t.FieldByName("Name").SetAsString(Item->LastNameAndFirstName());
        t.FieldByName("Telephone").SetAsString(Item->BusinessTelephoneNumber());
        t.FieldByName("Email").SetAsString(Item->Email1DisplayName());
        t.FieldByName("Address").SetAsString(Item->BusinessAddress());
        t.FieldByName("Type").SetAsInteger(0);
        t.FieldByName("MessageClass").SetAsString(Item->MessageClass());
        t.Post();
        t.EnableControls();
    });
}

void TfmList::FileDistListItem(const std::shared_ptr<outlook::_DistListItem>& Item, int TaskID) {
    Swallow([&] {
        // Every entry ends in its separator, the last one too; GetMember is asked twice a member.
        std::string addresses;
        std::string names;
        const int count = Use(Item).MemberCount();
        for (int i = 1; i <= count; ++i) {
            addresses += Use(Item->GetMember(i)).Address() + ";";
            names += Use(Item->GetMember(i)).Name() + "\r";
        }
        TdxMemData& t = Live(Globals().MemDataDistLists);
        t.Append();
        t.FieldByName("TaskID").SetAsInteger(TaskID);
        t.FieldByName("EntryID").SetAsString(Item->EntryID());
        t.FieldByName("Subject").SetAsString(Item->Subject());
        t.FieldByName("Addresses").SetAsString(addresses);
        t.FieldByName("Names").SetAsString(names);
        t.FieldByName("Type").SetAsInteger(1);
        t.FieldByName("MessageClass").SetAsString(Item->MessageClass());
        // No Post: the next cursor move on the table posts the row.
    });
}
