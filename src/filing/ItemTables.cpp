#include "filing/ItemTables.h"

#include "host/AddinModule.h"

namespace filing {

void UnfilterItemTable(TdxMemData& table) {
    table.SetProgrammedFilter(false);
    table.SetFiltered(false);
}

void FilterItemTable(TdxMemData& table, int TaskID) {
    UnfilterItemTable(table);
    if (!HasRecords(table)) return;
    table.FilterList().clear();
    table.SetProgrammedFilter(true);
    // First posts a pending row. The pass then reads the key column directly, in table order,
    // without moving the cursor row by row: what it leaves is what the row-by-row walk leaves.
    table.First();
    table.FindIntegerRows(table.FieldByName("TaskID").Index(), TaskID, table.FilterList());
    table.SetFiltered(true);
}

void RemoveRow(TdxMemData& table) {
    table.DisableControls();
    table.Delete();
    table.Refresh();
    table.First();
    table.EnableControls();
}

}  // namespace filing
