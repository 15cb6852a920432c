#pragma once
// uEmails: mails filed against tasks. A mail made for a task stands as a draft in
// "CorvelleEmail"; it is filed when Outlook reports it in Sent Items. Rows live in
// MemDataEmails; the mails are opened in the Inbox's store.
#include <memory>
#include <string>

#include "platform/Outlook.h"

// A new mail for the task, with the TaskID property, the watcher on Sent Items. Neither saved
// nor shown; no guard.
std::shared_ptr<outlook::_MailItem> CreateMailItem(int TaskID, const std::string& Subject, const std::string& Body);
// MemDataEmails narrowed to the task's rows, and back; each guarded.
void FilterEmails(int TaskID);
void UnfilterEmails();
// The mail of the current row: opened, or deleted with its row; each guarded.
void ShowMailItem();
void DeleteMailItem();
