#pragma once
// The kinds of item that the add-in files against tasks, in the simulated mailbox: mail
// ("IPM.Note", and "IPM.Mail" that the add-in makes), post ("IPM.Post"), appointment
// ("IPM.Appointment"), contact ("IPM.Contact") and distribution list ("IPM.DistList"). Each is a
// TSimItem with its properties and the object model's members of its kind, with Outlook's rules:
//   - a mail never sent has no SentOn (1/1/4501); sending it puts it into Sent Items under a new
//     EntryID, with SentOn now, the current user as sender and its user properties kept, and
//     takes it out of the folder where its draft stood;
//   - Copy gives a saved copy in the same folder; Delete moves to Deleted Items;
//   - recipients, list members and attachments are set from outside (`outlook add`) by the
//     words Recipient=NAME, Member="NAME|ADDRESS" and Attachments=N.
// Failures are named "<Kind>.<member>" (MailItem.Copy, ContactItem.BusinessAddress, ...), and
// Recipients.Item, Attachments.Count, DistListItem.GetMember for the parts.
#include <memory>
#include <string>
#include <vector>

#include "sim/SimItem.h"

namespace sim {

// Makes an item of a filed kind for that message class; nullptr for a class of no such kind.
std::shared_ptr<TSimItem> MakeFiledItem(const std::shared_ptr<detail::SimStore>& store,
                                        const std::shared_ptr<TSimFolder>& folder, const std::string& messageClass);
// The message classes that MakeFiledItem knows, with the folder kind (OlItemType) whose
// Items.Add("") makes each.
struct TSimFiledKind {
    const char* messageClass;
    int itemType;
};
const std::vector<TSimFiledKind>& FiledKinds();

// The user sends the mail: ESimError for an item that is no mail, one whose inspector is not
// open, or a mailbox without Sent Items. Returns the sent item (the same object, now in Sent
// Items).
std::shared_ptr<TSimItem> UserSendMail(TSimItem& item);

}  // namespace sim
