#include "filing/uContacts.h"

#include "filing/ItemTables.h"
#include "support/FileLogger.h"

using namespace filing;

std::shared_ptr<outlook::_ContactItem> CreateContactItem(int TaskID) {
    TModuleGlobals& g = Globals();
    return CreateItem<outlook::_ContactItem>("ContactItem", g.ContactsFolder, g.ContactsFolder, "IPM.Contact",
                                             TaskID);
}

std::shared_ptr<outlook::_DistListItem> CreateDistListItem(int TaskID, const std::string&) {
    TModuleGlobals& g = Globals();
    return CreateItem<outlook::_DistListItem>("DistlistItem", g.ContactsFolder, g.ContactsFolder, "IPM.DistList",
                                              TaskID);
}

void FilterContacts(int TaskID) {
    Swallow([&] { FilterItemTable(Live(Globals().MemDataContacts), TaskID); });
}

void UnfilterContacts() {
    Swallow([] { UnfilterItemTable(Live(Globals().MemDataContacts)); });
}

void FilterDistLists(int TaskID) {
    Swallow([&] { FilterItemTable(Live(Globals().MemDataDistLists), TaskID); });
}

void UnfilterDistLists() {
    Swallow([] { UnfilterItemTable(Live(Globals().MemDataDistLists)); });
}

void ShowContactItem() {
    Swallow([] {
        ShowRowItem<outlook::_ContactItem>(Live(Globals().MemDataContacts), Globals().ContactsFolder);
    });
    LogInfo("uContacts.ShowContactItem. end");
}

void ShowDistListItem() {
    Swallow([] {
        ShowRowItem<outlook::_DistListItem>(Live(Globals().MemDataDistLists), Globals().ContactsFolder);
    });
}

void DeleteContactItem() {
    Swallow([] {
        DeleteRowItem<outlook::_ContactItem>(Live(Globals().MemDataContacts), Globals().ContactsFolder);
    });
}

void DeleteDistListItem() {
    Swallow([] {
        DeleteRowItem<outlook::_DistListItem>(Live(Globals().MemDataDistLists), Globals().ContactsFolder);
    });
}

void RemoveContactItem() {
    Swallow([] { RemoveRow(Live(Globals().MemDataContacts)); });
}

void RemoveDistListItem() {
    Swallow([] { RemoveRow(Live(Globals().MemDataDistLists)); });
}
