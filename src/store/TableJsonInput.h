#pragma once
// Rows read into a table from JSON Lines, one object a line, as `corvelle-table write` takes
// them: blank lines are skipped, every other line must be one row (see TableJson.h for the value
// forms). A line is read only up to the length of the largest row that the table could hold, so
// no input can make the reader hold more than that at once.
#include <cstddef>
#include <istream>

#include "store/MemData.h"

// The most characters a line may have for a row of this table: every text written with the
// longest escapes JSON has, every number with more digits than any value needs, and a blank after
// every colon and comma.
size_t LargestJsonRow(const TdxMemData& table);

// Appends a row for each line of the input to the open table. Auto-increment fields (ID) keep
// the value a row gives, also one below those before it; a row without one gets the highest so
// far plus 1. The first bad line raises EConvertError "line N: <reason>", with N counted from 1
// and blank lines counted: bad JSON, a bad value, an unknown field, a line longer than
// LargestJsonRow. The rows before it stay in the table. A failing input stream raises EInOutError.
void ReadJsonRows(std::istream& in, TdxMemData& table);
