#include "store/TableJsonInput.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "base/Exceptions.h"
#include "store/TableJson.h"

namespace {

// A character of a value as JSON may write it at its longest: a code point outside the basic
// plane as two escapes ("\ud83d\ude00") for what the code page stores as one byte.
constexpr size_t kLongestEscape = 12;
// Digits enough for any number a field holds, written with a fraction and an exponent.
constexpr size_t kLongestNumber = 64;
// A memo or blob holds up to this many bytes: its length is stored as a 32-bit count.
constexpr size_t kLargestBlob = static_cast<size_t>(std::numeric_limits<int32_t>::max());
// ISO date and time: "YYYY-MM-DDTHH:MM:SS.mmm".
constexpr size_t kLongestDate = 23;

size_t LargestText(size_t bytes) { return 2 + kLongestEscape * bytes; }

size_t LargestValue(const TField& f) {
    switch (f.DataType()) {
        case TFieldType::ftString:
        case TFieldType::ftWideString:
        case TFieldType::ftGuid: return LargestText(static_cast<size_t>(f.Size()));
        case TFieldType::ftDate:
        case TFieldType::ftTime:
        case TFieldType::ftDateTime:
        case TFieldType::ftTimeStamp: return LargestText(kLongestDate);
        default: return f.IsBlob() ? LargestText(kLargestBlob) : kLongestNumber;
    }
}

// Numbering of the auto-increment fields (ID) in the rows read. A row that gives a value keeps
// it, also one below the highest so far (a table's Post would number such a row anew, but a file
// written from rows must hold the rows as given, or references to the IDs break); a row without
// one gets the highest so far plus 1.
class IdNumbering {
public:
    explicit IdNumbering(const TdxMemData& table) {
        for (int i = 0; i < table.FieldCount(); ++i) {
            const TField& f = table.Fields(i);
            if (f.FieldKind() == TFieldKind::fkData && f.DataType() == TFieldType::ftAutoInc)
                fields_.push_back({&f, 0});
        }
    }

    // Puts the number into a row that has none; notes the highest given.
    void Number(const TdxMemData& table, nlohmann::ordered_json& row) {
        if (!row.is_object()) return;  // JsonToRow reports it
        for (Entry& e : fields_) {
            std::string key = e.field->FieldName();
            for (const auto& item : row.items())
                if (table.FindField(item.key()) == e.field) key = item.key();
            auto it = row.find(key);
            if (it == row.end() || it->is_null()) {
                row[key] = ++e.highest;  // past the field's range JsonToRow refuses it
            } else {
                const int64_t given = JsonToValue(*e.field, *it).AsInt64();  // raises when no integer
                if (given > e.highest) e.highest = given;
            }
        }
    }

    // After Post: puts back a given value that the table numbered anew.
    void Restore(TdxMemData& table, const nlohmann::ordered_json& row) {
        bool editing = false;
        for (const Entry& e : fields_) {
            for (const auto& item : row.items()) {
                if (table.FindField(item.key()) != e.field) continue;
                Variant given = JsonToValue(*e.field, item.value());
                if (given == e.field->Value()) continue;
                if (!editing) table.Edit();
                editing = true;
                table.FieldByName(e.field->FieldName()).SetValue(given);
            }
        }
        if (editing) table.Post();
    }

private:
    struct Entry {
        const TField* field;
        int64_t highest;
    };
    std::vector<Entry> fields_;
};

// Lines of a stream, read a block at a time, none held longer than the limit.
class LineReader {
public:
    LineReader(std::istream& in, size_t limit) : in_(in), limit_(limit) {}

    // The next line without its line end; false at the end of the input. A line longer than
    // the limit sets tooLong and is not read further.
    bool Next(std::string& line, bool& tooLong) {
        line.clear();
        tooLong = false;
        for (;;) {
            const size_t nl = buf_.find('\n', pos_);
            const size_t end = nl == std::string::npos ? buf_.size() : nl;
            if (line.size() + (end - pos_) > limit_) {
                tooLong = true;
                return true;
            }
            line.append(buf_, pos_, end - pos_);
            if (nl != std::string::npos) {
                pos_ = nl + 1;
                return true;
            }
            pos_ = buf_.size();
            if (!Fill()) return !line.empty();
        }
    }

private:
    bool Fill() {
        buf_.resize(kBlock);
        in_.read(buf_.data(), static_cast<std::streamsize>(kBlock));
        buf_.resize(static_cast<size_t>(in_.gcount()));
        pos_ = 0;
        if (in_.bad()) throw EInOutError("cannot read the input");
        return !buf_.empty();
    }

    static constexpr size_t kBlock = 65536;
    std::istream& in_;
    size_t limit_;
    std::string buf_;
    size_t pos_ = 0;
};

bool Blank(const std::string& line) {
    return line.find_first_not_of(" \t\r\n\f\v") == std::string::npos;
}

}  // namespace

size_t LargestJsonRow(const TdxMemData& table) {
    size_t total = 2;  // the braces
    for (int i = 0; i < table.FieldCount(); ++i) {
        const TField& f = table.Fields(i);
        // Key, colon, blank, value, comma, blank.
        total += LargestText(f.FieldName().size()) + 2 + LargestValue(f) + 2;
    }
    return total;
}

void ReadJsonRows(std::istream& in, TdxMemData& table) {
    const size_t limit = LargestJsonRow(table);
    IdNumbering ids(table);
    LineReader lines(in, limit);
    std::string line;
    long lineNo = 0;
    bool tooLong = false;
    while (lines.Next(line, tooLong)) {
        ++lineNo;
        const std::string where = "line " + std::to_string(lineNo) + ": ";
        if (tooLong)
            throw EConvertError(where + "longer than the largest row of the table (" +
                                std::to_string(limit) + " characters)");
        if (Blank(line)) continue;
        try {
            nlohmann::ordered_json row = ParseJsonLine(line);
            ids.Number(table, row);
            table.Append();
            JsonToRow(table, row);
            table.Post();
            ids.Restore(table, row);
        } catch (const std::exception& e) {
            if (table.State() == TDataSetState::dsInsert) table.Cancel();
            throw EConvertError(where + e.what());
        }
    }
}
