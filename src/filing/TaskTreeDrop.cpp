// Outlook items dropped on the task tree. A drag passing over the tree focuses the node under the
// pointer, so the current task follows it; the drop itself is only a signal: what was dragged is
// read from the active explorer's selection, and the menu offered depends on the kind of folder
// the explorer shows. Only the user's choice in the menu files anything.
#include "base/Guard.h"
#include "filing/ItemTables.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "platform/System.h"
#include "store/MemData.h"
#include "tasks/uTasks.h"
#include "tasks/ufmList.h"

using platform::QueryInterface;
using platform::Use;

void TfmList::DMTextTarget1DragOver(TDMTextTarget&, int, int Y) {
    DragActive = true;
    if (TcxTreeListNode* node = cxDBTreeList1.HitTest(Y)) cxDBTreeList1.UserFocusNode(node);
}

void TfmList::DMTextTarget1Drop(TDMTextTarget&, int, int Y) {
    Swallow([&] {
        TModuleGlobals& g = Globals();
        DragExplorer = Use(g.OutlookApp).ActiveExplorer();
        DragSelection = Use(DragExplorer).GetSelection();
        DragFolder = Use(DragExplorer).CurrentFolder();
        DragStoreID = Use(DragFolder).StoreID();
        if (TcxTreeListNode* node = cxDBTreeList1.HitTest(Y)) DropTaskID = node->KeyValue().AsInteger();
        TPopupMenu* menu = &PopupMenu4;
        switch (DragFolder->DefaultItemType()) {
            case outlook::olMailItem: menu = &PopupMenu2; break;
            case outlook::olPostItem: menu = &PopupMenu3; break;
            default: break;
        }
        platform::TPoint at;
        if (Swallow([&] { at = Live(Globals().AddInModule).Screen().CursorPos(); })) menu->PopupAt(at.X, at.Y);
    });
}

void TfmList::Copyhere1Click() { CopyItemsHere(); }
void TfmList::Movehere1Click() { MoveItemsHere(); }
void TfmList::AddTask1Click() { AddItemsAsTasks(); }
void TfmList::N2Click() {}

void TfmList::CopyItemsHere() {
    TModuleGlobals& g = Globals();
    // No guard round an item: a failure ends the loop there and reaches the menu's caller.
    const int count = Use(DragSelection).Count();
    for (int index = 1; index <= count; ++index) {
        auto selected = DragSelection->Item(index);
        const std::string messageClass = Use(selected).GetProperty("MessageClass").AsString();
        auto open = [&] {
            std::string entryID = selected->GetProperty("EntryID").AsString();
            return Use(g.NameSpace).GetItemFromID(entryID, DragStoreID);
        };
        if (messageClass == "IPM.Note") {
            auto mail = QueryInterface<outlook::_MailItem>(open());
            auto copy = QueryInterface<outlook::_MailItem>(Use(mail).Copy());
            auto filed = QueryInterface<outlook::_MailItem>(Use(copy).Move(g.EmailFolder));
            FileMailItem(filed, g.CurrentTaskID);
            Swallow([&] { mail->Close(outlook::olSave); });
        } else if (messageClass == "IPM.Contact") {
            auto contact = QueryInterface<outlook::_ContactItem>(open());
            FileContactItem(contact, g.CurrentTaskID);
            Swallow([&] { Use(contact).Close(outlook::olSave); });
        } else if (messageClass == "IPM.Appointment") {
            auto appointment = QueryInterface<outlook::_AppointmentItem>(open());
            FileAppointmentItem(appointment, g.CurrentTaskID);
            Swallow([&] { Use(appointment).Close(outlook::olSave); });
        } else if (messageClass == "IPM.Post") {
            auto post = QueryInterface<outlook::_PostItem>(open());
            auto copy = QueryInterface<outlook::_PostItem>(Use(post).Copy());
            auto filed = QueryInterface<outlook::_PostItem>(Use(copy).Move(g.NotesFolder));
            FilePostItem(filed, g.CurrentTaskID);
            Swallow([&] { post->Close(outlook::olSave); });
        }
        // Every other class, lists and the add-in's own "IPM.Mail" among them, is skipped.
    }
    Swallow([&] { DragSelection.reset(); });
}

void TfmList::MoveItemsHere() {
    // The class text that the branches test is never filled in, so neither branch is taken and
    // nothing is moved or filed: "Move here" only lets go of the selection.
    const std::string messageClass;
    if (messageClass == "IPM.Note") {
        TModuleGlobals& g = Globals();
        for (int index = 1; index <= Use(DragSelection).Count(); ++index) {
            auto mail = QueryInterface<outlook::_MailItem>(Use(g.NameSpace).GetItemFromID(
                DragSelection->Item(index)->GetProperty("EntryID").AsString(), DragStoreID));
            FileMailItem(QueryInterface<outlook::_MailItem>(Use(mail).Move(g.EmailFolder)), g.CurrentTaskID);
        }
    } else if (messageClass == "IPM.Post") {
        TModuleGlobals& g = Globals();
        for (int index = 1; index <= Use(DragSelection).Count(); ++index) {
            auto post = QueryInterface<outlook::_PostItem>(Use(g.NameSpace).GetItemFromID(
                DragSelection->Item(index)->GetProperty("EntryID").AsString(), DragStoreID));
            FilePostItem(QueryInterface<outlook::_PostItem>(Use(post).Move(g.NotesFolder)), g.CurrentTaskID);
        }
    }
    DragSelection.reset();
}

void TfmList::AddItemsAsTasks() {
    Swallow([&] {
        TModuleGlobals& g = Globals();
        TdxMemData& tasks = Live(g.MemDataTasks);
        tasks.DisableControls();
        UnfilterTasks();
        // One number for all the mails of the drop.
        const int number = GetMaxNumber(DropTaskID) + 1;
        int lastID = 0;
        const int count = Use(DragSelection).Count();
        for (int index = 1; index <= count; ++index) {
            auto selected = DragSelection->Item(index);
            const std::string messageClass = Use(selected).GetProperty("MessageClass").AsString();
            if (messageClass != "IPM.Note" && messageClass != "IPM.Mail") continue;
            std::string entryID = selected->GetProperty("EntryID").AsString();
            auto mail = QueryInterface<outlook::_MailItem>(Use(g.NameSpace).GetItemFromID(entryID, DragStoreID));
            lastID = AppendTaskRow(Use(mail).EntryID(), g.CurrentTaskID, number, g.CurrentUserName, mail->Subject());
            auto copy = QueryInterface<outlook::_MailItem>(mail->Copy());
            auto filed = QueryInterface<outlook::_MailItem>(Use(copy).Move(g.EmailFolder));
            FileMailItem(filed, lastID);
        }
        FilterTasks(1);
        tasks.Locate("ID", Variant(lastID));
        tasks.EnableControls();
    });
}
