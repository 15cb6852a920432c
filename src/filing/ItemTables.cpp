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
    const int field = table.FieldByName("TaskID").Index();
    const int rows = table.RowCount();
    std::vector<int>& list = table.FilterList();
    for (int row = 0; row < rows; ++row) {
        const auto* id = std::get_if<int64_t>(&table.Cell(row, field));
        if (id && *id == TaskID) list.push_back(row + 1);
    }
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
