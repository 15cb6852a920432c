#include "filing/uEmails.h"

#include "filing/ItemTables.h"

using namespace filing;

std::shared_ptr<outlook::_MailItem> CreateMailItem(int TaskID, const std::string& Subject, const std::string& Body) {
    TModuleGlobals& g = Globals();
    auto item = CreateItem<outlook::_MailItem>("MailItem", g.SentFolder, g.EmailFolder, "IPM.Mail", TaskID);
    item->SetSubject(Subject);
    item->SetBody(Body);
    return item;
}

void FilterEmails(int TaskID) {
    Swallow([&] { FilterItemTable(Live(Globals().MemDataEmails), TaskID); });
}

void UnfilterEmails() {
    Swallow([] { UnfilterItemTable(Live(Globals().MemDataEmails)); });
}

void ShowMailItem() { ShowRowItem<outlook::_MailItem>(Live(Globals().MemDataEmails), Globals().InboxFolder); }

void DeleteMailItem() {
    Swallow([] { DeleteRowItem<outlook::_MailItem>(Live(Globals().MemDataEmails), Globals().InboxFolder); });
}
