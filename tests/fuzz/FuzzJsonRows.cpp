// Fuzz target: the JSON Lines that corvelle-table write reads. The first byte chooses the table,
// the rest is the input. A bad line raises the conversion error with its line number and
// nothing else; the rows taken before it are written, read back whole, and written the same.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "FuzzCheck.h"
#include "base/Exceptions.h"
#include "store/MemData.h"
#include "store/TableJsonInput.h"
#include "store/Tables.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const auto& tables = PersistedTables();
    const std::string& name = tables[data[0] % tables.size()].name;
    std::istringstream in(std::string(reinterpret_cast<const char*>(data) + 1, size - 1));

    auto table = MakeTable(name);
    table->Open();
    try {
        ReadJsonRows(in, *table);
    } catch (const EConvertError& e) {
        FUZZ_CHECK(std::string(e.what()).rfind("line ", 0) == 0);
    }

    std::string once;
    table->SaveToStream(once);
    auto copy = MakeTable(name);
    copy->LoadFromStream(once);
    FUZZ_CHECK(copy->LoadedWhole());
    FUZZ_CHECK(copy->RowCount() == table->RowCount());
    std::string twice;
    copy->SaveToStream(twice);
    FUZZ_CHECK(twice == once);
    return 0;
}
