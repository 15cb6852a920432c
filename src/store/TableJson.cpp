#include "store/TableJson.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "base/Currency.h"
#include "base/DateTime.h"
#include "base/Exceptions.h"
#include "platform/Text.h"

using nlohmann::ordered_json;

namespace {

enum class JsonForm { Text, Binary, Integer, Boolean, Number, Currency, Date, Time, DateTime, Other };

JsonForm FormOf(TFieldType t) {
    switch (t) {
        case TFieldType::ftString:
        case TFieldType::ftWideString:
        case TFieldType::ftGuid:
        case TFieldType::ftMemo:
        case TFieldType::ftFmtMemo:
        case TFieldType::ftWideMemo:
            return JsonForm::Text;
        // Raw bytes: shown as if they were text of the code page, which maps every byte to one
        // character and back, so nothing is lost on the way through JSON.
        case TFieldType::ftBlob:
        case TFieldType::ftGraphic:
        case TFieldType::ftParadoxOle:
        case TFieldType::ftDBaseOle:
        case TFieldType::ftTypedBinary:
            return JsonForm::Binary;
        case TFieldType::ftSmallint:
        case TFieldType::ftInteger:
        case TFieldType::ftWord:
        case TFieldType::ftAutoInc:
        case TFieldType::ftLargeint:
        case TFieldType::ftLongWord:
        case TFieldType::ftShortint:
        case TFieldType::ftByte:
            return JsonForm::Integer;
        case TFieldType::ftBoolean:
            return JsonForm::Boolean;
        case TFieldType::ftFloat:
        case TFieldType::ftBCD:
        case TFieldType::ftFMTBcd:
        case TFieldType::ftExtended:
            return JsonForm::Number;
        case TFieldType::ftCurrency:
            return JsonForm::Currency;
        case TFieldType::ftDate:
            return JsonForm::Date;
        case TFieldType::ftTime:
            return JsonForm::Time;
        case TFieldType::ftDateTime:
        case TFieldType::ftTimeStamp:
            return JsonForm::DateTime;
        default:
            return JsonForm::Other;
    }
}

// Dates that the ISO forms can show: the years 1 to 9999.
bool ShowableDate(TDateTime d) {
    static const TDateTime lo = EncodeDate(1, 1, 1);
    static const TDateTime hi = EncodeDate(9999, 12, 31) + 1;
    return std::isfinite(d) && d >= lo && d < hi;
}

ordered_json DateToJson(JsonForm form, TDateTime d) {
    // A stored value beyond the calendar (a damaged file) shows as its raw day count.
    const bool showable = form == JsonForm::Time ? std::isfinite(d) && d >= 0 && d < 1 : ShowableDate(d);
    if (!showable) return d;
    switch (form) {
        case JsonForm::Date: return IsoDate(d);
        case JsonForm::Time: return IsoTime(d);
        default: return IsoDateTime(d);
    }
}

ordered_json VariantToJson(const Variant& v) {
    switch (v.type()) {
        case Variant::Type::Null: return nullptr;
        case Variant::Type::Boolean: return v.AsBoolean();
        case Variant::Type::Integer: return v.AsInt64();
        case Variant::Type::Double: return v.AsDouble();
        case Variant::Type::Currency: return v.AsCurrency().ToDouble();
        case Variant::Type::Date: return DateToJson(JsonForm::DateTime, v.AsDateTime());
        case Variant::Type::String: return v.AsString();
    }
    return nullptr;
}

// A short quotation of a JSON value for messages; arrays and objects only by their kind.
std::string Quote(const ordered_json& v) {
    if (v.is_array()) return "an array";
    if (v.is_object()) return "an object";
    std::string s = JsonLine(v);
    if (s.size() > 60) s = s.substr(0, 57) + "...";
    return s;
}

[[noreturn]] void BadValue(const TField& field, const char* expected, const ordered_json& v) {
    throw EConvertError("field " + field.FieldName() + ": expected " +
                        expected + ", got " + Quote(v));
}

// Nesting deeper than any row needs is refused rather than followed down the stack.
constexpr int kMaxDepth = 64;

void Emit(std::string& out, const ordered_json& v, int depth) {
    if (depth > kMaxDepth) throw EConvertError("JSON value nested too deeply");
    switch (v.type()) {
        case ordered_json::value_t::object: {
            out += '{';
            bool first = true;
            for (const auto& item : v.items()) {
                if (!first) out += ',';
                first = false;
                out += ordered_json(item.key()).dump(-1, ' ', false,
                                                     ordered_json::error_handler_t::replace);
                out += ':';
                Emit(out, item.value(), depth + 1);
            }
            out += '}';
            break;
        }
        case ordered_json::value_t::array: {
            out += '[';
            bool first = true;
            for (const auto& x : v) {
                if (!first) out += ',';
                first = false;
                Emit(out, x, depth + 1);
            }
            out += ']';
            break;
        }
        case ordered_json::value_t::number_float: {
            const double d = v.get<double>();
            out += std::isfinite(d) ? FloatToShortest(d) : "null";
            break;
        }
        default:
            out += v.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
            break;
    }
}

// The deepest nesting of brackets in JSON text, strings skipped; stops counting past the limit.
int NestingDepth(std::string_view text) {
    int depth = 0, deepest = 0;
    bool inString = false, escaped = false;
    for (char c : text) {
        if (inString) {
            if (escaped) escaped = false;
            else if (c == '\\') escaped = true;
            else if (c == '"') inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            deepest = std::max(deepest, ++depth);
            if (deepest > kMaxDepth) break;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return deepest;
}

}  // namespace

ordered_json ParseJsonLine(std::string_view text) {
    // The parser would take a NUL byte for the end of the text and ignore what follows it.
    if (const size_t nul = text.find('\0'); nul != std::string_view::npos)
        throw EConvertError("bad JSON: column " + std::to_string(nul + 1) + ": a NUL byte");
    if (NestingDepth(text) > kMaxDepth) throw EConvertError("bad JSON: nested too deeply");
    try {
        return ordered_json::parse(text);
    } catch (const ordered_json::parse_error& e) {
        // The parser counts lines within the text it was given; only the column and the reason
        // mean anything to the caller.
        std::string what = e.what();
        const std::string marker = "parse error at line 1, ";
        const size_t at = what.find(marker);
        throw EConvertError("bad JSON: " +
                            (at == std::string::npos ? what : what.substr(at + marker.size())));
    }
}

ordered_json ValueToJson(const TField& field, const Variant& value) {
    if (value.IsNull()) return nullptr;
    switch (FormOf(field.DataType())) {
        case JsonForm::Text: return value.AsString();
        case JsonForm::Binary: return platform::AnsiToUtf8(value.AsString());
        case JsonForm::Integer: return value.AsInt64();
        case JsonForm::Boolean: return value.AsBoolean();
        case JsonForm::Number: return value.AsDouble();
        case JsonForm::Currency: return value.AsCurrency().ToDouble();
        case JsonForm::Date: return DateToJson(JsonForm::Date, value.AsDateTime());
        case JsonForm::Time: return DateToJson(JsonForm::Time, value.AsDateTime());
        case JsonForm::DateTime: return DateToJson(JsonForm::DateTime, value.AsDateTime());
        case JsonForm::Other: return VariantToJson(value);
    }
    return nullptr;
}

ordered_json RowToJson(const TdxMemData& table) {
    ordered_json row = ordered_json::object();
    for (int i = 0; i < table.FieldCount(); ++i) {
        const TField& f = table.Fields(i);
        row[f.FieldName()] = ValueToJson(f, f.Value());
    }
    return row;
}

ordered_json RowToJson(const TdxMemData& table, int row) {
    ordered_json out = ordered_json::object();
    for (int i = 0; i < table.FieldCount(); ++i) {
        const TField& f = table.Fields(i);
        out[f.FieldName()] = ValueToJson(f, table.RowValue(row, f));
    }
    return out;
}

std::string JsonLine(const ordered_json& value) {
    std::string out;
    Emit(out, value, 0);
    return out;
}

Variant JsonToValue(const TField& field, const ordered_json& v) {
    if (v.is_null()) return Variant();
    const JsonForm form = FormOf(field.DataType());
    switch (form) {
        case JsonForm::Text:
            if (!v.is_string()) BadValue(field, "a string", v);
            return Variant(v.get<std::string>());

        case JsonForm::Binary:
            if (!v.is_string()) BadValue(field, "a string", v);
            return Variant(platform::Utf8ToAnsi(v.get<std::string>()));

        case JsonForm::Integer: {
            const auto [lo, hi] = IntegerRange(field.DataType());
            if (v.is_number_unsigned()) {
                const uint64_t u = v.get<uint64_t>();
                if (u > static_cast<uint64_t>(hi)) BadValue(field, "an integer in range", v);
                return Variant(static_cast<int64_t>(u));
            }
            if (v.is_number_integer()) {
                const int64_t n = v.get<int64_t>();
                if (n < lo || n > hi) BadValue(field, "an integer in range", v);
                return Variant(n);
            }
            if (v.is_number_float()) {
                // 3.0 is taken as 3; 2.5 is no integer.
                const double d = v.get<double>();
                if (!std::isfinite(d) || std::trunc(d) != d) BadValue(field, "an integer", v);
                if (d < static_cast<double>(lo) || d > static_cast<double>(hi) ||
                    std::fabs(d) >= 9.2e18)
                    BadValue(field, "an integer in range", v);
                return Variant(static_cast<int64_t>(d));
            }
            BadValue(field, "an integer", v);
        }

        case JsonForm::Boolean:
            if (!v.is_boolean()) BadValue(field, "true or false", v);
            return Variant(v.get<bool>());

        case JsonForm::Number:
            if (!v.is_number()) BadValue(field, "a number", v);
            return Variant(v.get<double>());

        case JsonForm::Currency: {
            // The range of a signed 64-bit count of ten-thousandths.
            constexpr int64_t maxUnits = INT64_MAX / Currency::Scale;
            if (v.is_number_unsigned()) {
                if (v.get<uint64_t>() > static_cast<uint64_t>(maxUnits))
                    BadValue(field, "an amount in range", v);
                return Variant(Currency::FromInt(static_cast<int64_t>(v.get<uint64_t>())));
            }
            if (v.is_number_integer()) {
                const int64_t n = v.get<int64_t>();
                if (n > maxUnits || n < -maxUnits) BadValue(field, "an amount in range", v);
                return Variant(Currency::FromInt(n));
            }
            if (v.is_number_float()) {
                const double d = v.get<double>();
                if (!std::isfinite(d) || std::fabs(d) >= static_cast<double>(maxUnits))
                    BadValue(field, "an amount in range", v);
                return Variant(Currency::FromDouble(d));
            }
            BadValue(field, "a number", v);
        }

        case JsonForm::Date:
        case JsonForm::Time:
        case JsonForm::DateTime: {
            const char* expected = form == JsonForm::Date   ? "a date \"YYYY-MM-DD\""
                                   : form == JsonForm::Time ? "a time \"HH:MM:SS.mmm\""
                                                            : "a date and time \"YYYY-MM-DDTHH:MM:SS.mmm\"";
            if (!v.is_string()) BadValue(field, expected, v);
            const std::string& s = v.get_ref<const std::string&>();
            TDateTime d = 0;
            const bool ok = form == JsonForm::Date   ? ParseIsoDate(s, d)
                            : form == JsonForm::Time ? ParseIsoTime(s, d)
                                                     : ParseIsoDateTime(s, d);
            if (!ok) BadValue(field, expected, v);
            return Variant::FromDate(d);
        }

        case JsonForm::Other:
            if (v.is_string()) return Variant(v.get<std::string>());
            if (v.is_boolean()) return Variant(v.get<bool>());
            if (v.is_number_integer()) return Variant(v.get<int64_t>());
            if (v.is_number()) return Variant(v.get<double>());
            BadValue(field, "a plain value", v);
    }
    BadValue(field, "a plain value", v);
}

void JsonToRow(TdxMemData& table, const ordered_json& row) {
    if (!row.is_object()) throw EConvertError("expected a JSON object, got " + Quote(row));

    // Every value is checked before the first is assigned, so a bad row changes nothing.
    std::vector<std::pair<TField*, Variant>> values;
    for (const auto& item : row.items()) {
        const std::string& key = item.key();
        TField* f = table.FindField(key);
        if (!f) throw EDatabaseError("unknown field " + key);
        if (f->FieldKind() == TFieldKind::fkCalculated) continue;  // RecId numbers itself
        values.emplace_back(f, JsonToValue(*f, item.value()));
    }
    for (auto& [f, value] : values) {
        if (value.IsNull()) f->Clear();
        else f->SetValue(value);
    }
}

void JsonToRow(TdxMemData& table, const nlohmann::json& row) {
    if (!row.is_object())
        throw EConvertError("expected a JSON object, got " +
                            Quote(row.is_array() ? ordered_json::array() : ordered_json(row)));
    // Only plain values can be assigned; an array or object is kept by its kind alone, for the
    // message, so that no nested value is copied.
    ordered_json copy = ordered_json::object();
    for (const auto& item : row.items()) {
        const auto& v = item.value();
        copy[item.key()] = v.is_array()    ? ordered_json::array()
                           : v.is_object() ? ordered_json::object()
                                           : ordered_json(v);
    }
    JsonToRow(table, copy);
}
