#pragma once
// What the four item units (uEmails, uNotes, uAppointments, uContacts) share: making a new item
// for a task with the TaskID user property and the watcher armed, narrowing an item table to one
// task, opening, deleting and removing the item of the current row. Each unit names its folders,
// its class and its table; the steps are the same for all five kinds.
#include <memory>
#include <string>

#include "base/Guard.h"
#include "host/Globals.h"
#include "host/Items.h"
#include "platform/Outlook.h"
#include "store/MemData.h"

namespace filing {

// The user property that marks an item made by the add-in.
inline constexpr const char* kTaskIDProperty = "TaskID";

// Steps 1 to 5 of every create routine: ItemType := itemType; the watcher connected to the
// items of watchFolder; a new item of messageClass in createFolder, of interface I; the TaskID
// user property added and set. No guard: a failure passes on to the caller.
template <class I>
std::shared_ptr<I> CreateItem(const char* itemType, const std::shared_ptr<outlook::MAPIFolder>& watchFolder,
                              const std::shared_ptr<outlook::MAPIFolder>& createFolder,
                              const char* messageClass, int TaskID) {
    TModuleGlobals& g = Globals();
    g.ItemType = itemType;
    Live(g.MailItems).ConnectTo(platform::Use(watchFolder).Items());
    auto item = platform::QueryInterface<I>(platform::Use(platform::Use(createFolder).Items()).Add(messageClass));
    auto property = platform::Use(platform::Use(item).GetUserProperties())
                        .Add(kTaskIDProperty, outlook::olNumber, false, 9);
    platform::Use(property).SetValue(Variant(TaskID));
    return item;
}

// Filtering: the table shows only the rows of TaskID, by a list of table positions. An empty
// table stays unfiltered. Neither is guarded: the unit's routine guards it.
void UnfilterItemTable(TdxMemData& table);
void FilterItemTable(TdxMemData& table, int TaskID);

// Takes the current row away and leaves Outlook alone: DisableControls, Delete, Refresh, First,
// EnableControls. Not guarded.
void RemoveRow(TdxMemData& table);

// The item of the current row, opened in its folder's store, as interface I.
template <class I>
std::shared_ptr<I> CurrentRowItem(TdxMemData& table, const std::shared_ptr<outlook::MAPIFolder>& folder) {
    std::string entryID = table.FieldByName("EntryID").AsString();
    std::string storeID = platform::Use(folder).StoreID();
    return platform::QueryInterface<I>(platform::Use(Globals().NameSpace).GetItemFromID(entryID, storeID));
}

// Opens the item of the current row without blocking; a failure is swallowed.
template <class I>
void ShowRowItem(TdxMemData& table, const std::shared_ptr<outlook::MAPIFolder>& folder) {
    Swallow([&] { platform::Use(CurrentRowItem<I>(table, folder)).Display(false); });
}

// Deletes the item of the current row in Outlook (a failure there is swallowed), then the row.
// The row's own step is not guarded here.
template <class I>
void DeleteRowItem(TdxMemData& table, const std::shared_ptr<outlook::MAPIFolder>& folder) {
    Swallow([&] { platform::Use(CurrentRowItem<I>(table, folder)).Delete(); });
    RemoveRow(table);
}

}  // namespace filing
