#include "filing/uNotes.h"

#include "filing/ItemTables.h"

using namespace filing;

std::shared_ptr<outlook::_PostItem> CreatePostItem(int TaskID, const std::string& Subject) {
    TModuleGlobals& g = Globals();
    auto item = CreateItem<outlook::_PostItem>("PostItem", g.NotesFolder, g.NotesFolder, "IPM.Post", TaskID);
    item->SetSubject(Subject);
    return item;
}

void FilterNotes(int TaskID) {
    Swallow([&] { FilterItemTable(Live(Globals().MemDataNotes), TaskID); });
}

void UnfilterNotes() {
    Swallow([] { UnfilterItemTable(Live(Globals().MemDataNotes)); });
}

void ShowPostItem() { ShowRowItem<outlook::_PostItem>(Live(Globals().MemDataNotes), Globals().NotesFolder); }

void DeletePostItem() {
    Swallow([] { DeleteRowItem<outlook::_PostItem>(Live(Globals().MemDataNotes), Globals().NotesFolder); });
}
