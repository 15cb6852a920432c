#pragma once
// Table rows as JSON objects: one key per field, in field order with "RecId" first, and the
// value forms that the table tool and the scripted host share:
//   no value            null
//   integer kinds       number
//   Boolean             true / false
//   text kinds          string (program text, UTF-8)
//   Currency, Float     number in its shortest round-trip form ("1.5", not "1.50")
//   Date                "YYYY-MM-DD"
//   Time                "HH:MM:SS.mmm"
//   DateTime            "YYYY-MM-DDTHH:MM:SS.mmm"
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "base/Variant.h"
#include "store/MemData.h"

// The JSON form of a value of the field's kind; null for no value.
nlohmann::ordered_json ValueToJson(const TField& field, const Variant& value);

// The current row of the table (which must show one).
nlohmann::ordered_json RowToJson(const TdxMemData& table);
// A row by its zero-based index among all rows, whatever the filter; the cursor doesn't move.
nlohmann::ordered_json RowToJson(const TdxMemData& table, int row);

// One line of JSON text without a line end. Floating-point numbers are written in their
// shortest round-trip form (FloatToShortest), one that isn't finite as null; text that is not
// valid UTF-8 has the bad bytes replaced. A value nested more than 64 levels deep raises
// EConvertError.
std::string JsonLine(const nlohmann::ordered_json& value);

// Parses one line of JSON text. Bad JSON raises EConvertError ("bad JSON: column 5: ..."), as
// do a NUL byte anywhere in it and nesting deeper than 64 levels, which no row has.
nlohmann::ordered_json ParseJsonLine(std::string_view text);

// The value that the JSON form stands for in a field of that kind: null gives a null Variant.
// A value of the wrong type or out of the kind's range raises EConvertError naming the field.
Variant JsonToValue(const TField& field, const nlohmann::ordered_json& value);

// Assigns the current row's fields from a JSON object; the table must be in Edit or Insert
// state. Keys name fields; a key that is absent leaves its field as it is, null clears it, ""
// assigns an empty string. "RecId" (a calculated field) is ignored. An unknown field raises
// EDatabaseError ("unknown field Foo"), a bad value EConvertError; either is raised before any
// field is assigned.
void JsonToRow(TdxMemData& table, const nlohmann::ordered_json& row);
void JsonToRow(TdxMemData& table, const nlohmann::json& row);
