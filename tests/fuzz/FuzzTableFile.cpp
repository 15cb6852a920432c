// Fuzz target: the table reader. The first byte chooses the table: one of the seven definitions,
// or, for any value past them, a table made from the file's own fields as corvelle-table dump
// makes it. Whatever the rest holds, the load raises nothing but the name-length error, and what
// it loaded can be shown, written and read back whole, and a row can be added to it.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "FuzzCheck.h"
#include "base/Exceptions.h"
#include "store/MemData.h"
#include "store/TableJson.h"
#include "store/Tables.h"

namespace {

std::unique_ptr<TdxMemData> MakeFor(size_t which, const std::string& bytes) {
    const auto& tables = PersistedTables();
    if (which < tables.size()) return MakeTable(tables[which].name);
    auto t = std::make_unique<TdxMemData>("Table");
    t->CreateFieldsFromStream(bytes);
    return t;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const size_t which = data[0] % (PersistedTables().size() + 1);
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);

    std::unique_ptr<TdxMemData> table;
    try {
        table = MakeFor(which, bytes);
        table->LoadFromStream(bytes);
    } catch (const EDatabaseError&) {
        return 0;  // a field name longer than 255 bytes: the one error a load raises
    }
    FUZZ_CHECK(table->Active());

    // Every row shows, as a view and as the tool prints it.
    for (int row = 0; row < table->RowCount(); ++row) {
        (void)JsonLine(RowToJson(*table, row));
        for (int f = 0; f < table->FieldCount(); ++f)
            (void)table->Fields(f).CellDisplayText(table->Cell(row, f));
    }

    // What was loaded is written, and reads back whole; a second round changes nothing.
    std::string once;
    table->SaveToStream(once);
    std::unique_ptr<TdxMemData> copy = MakeFor(which, once);
    copy->LoadFromStream(once);
    FUZZ_CHECK(copy->LoadedWhole());
    // Rows of a table without a stored field (a file whose field names are all empty) have
    // nothing to write: they are the one thing a save can't keep.
    bool stored = false;
    for (int f = 0; f < table->FieldCount(); ++f) stored |= table->Fields(f).FieldKind() == TFieldKind::fkData;
    FUZZ_CHECK(copy->RowCount() == (stored ? table->RowCount() : 0));
    std::string twice;
    copy->SaveToStream(twice);
    FUZZ_CHECK(twice == once);

    // A new row gets its numbers, or the error for a counter at its end.
    try {
        table->Append();
        table->Post();
    } catch (const EDatabaseError&) {
        FUZZ_CHECK(table->State() == TDataSetState::dsInsert);
    }
    return 0;
}
