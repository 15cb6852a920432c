// corvelle-fuzz-seeds: writes the seed inputs of the fuzz targets, so that no binary input is
// kept in the sources.
//
//   corvelle-fuzz-seeds OUTDIR [SCRIPT-FOLDER...]
//
// OUTDIR/table_file: table files of the seven tables and of one field of every kind, whole, cut
// in a record, and in the older versions of the format. OUTDIR/json_rows: the rows of those
// tables as JSON Lines. OUTDIR/script_lexer: script lines with quotes and escapes, and every
// .csim file in the folders given. Each table input starts with the byte that chooses its table.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "base/Currency.h"
#include "base/DateTime.h"
#include "store/MemData.h"
#include "store/TableJson.h"
#include "store/Tables.h"

namespace fs = std::filesystem;

namespace {

// Fills every data field of a new row; kind 0 with plain values, 1 with values at their limits,
// 2 leaves the row without values.
void AddRow(TdxMemData& t, int kind) {
    t.Append();
    for (int i = 0; i < t.FieldCount(); ++i) {
        TField& f = t.Fields(i);
        if (f.FieldKind() != TFieldKind::fkData || kind == 2) continue;
        const bool edge = kind == 1;
        switch (f.DataType()) {
            case TFieldType::ftString:
            case TFieldType::ftGuid:
            case TFieldType::ftWideString:
                f.SetAsString(edge ? std::string(static_cast<size_t>(f.Size()) + 3, 'x') : "Acme Ltd \xE2\x80\x93 caf\xC3\xA9");
                break;
            case TFieldType::ftMemo:
            case TFieldType::ftFmtMemo:
            case TFieldType::ftWideMemo: f.SetAsString(edge ? std::string(300, 'm') : "Line one\r\nLine two"); break;
            case TFieldType::ftBlob:
            case TFieldType::ftGraphic:
            case TFieldType::ftParadoxOle:
            case TFieldType::ftDBaseOle:
            case TFieldType::ftTypedBinary: f.SetValue(Variant(std::string("\x01\x00\xFF", 3))); break;
            case TFieldType::ftBoolean: f.SetAsBoolean(!edge); break;
            case TFieldType::ftSmallint: f.SetAsInteger(edge ? -32768 : 7); break;
            case TFieldType::ftShortint: f.SetAsInteger(edge ? -128 : 7); break;
            case TFieldType::ftByte: f.SetAsInteger(edge ? 255 : 7); break;
            case TFieldType::ftWord: f.SetAsInteger(edge ? 65535 : 7); break;
            case TFieldType::ftLongWord: f.SetValue(Variant(int64_t{edge ? 4294967295LL : 7})); break;
            case TFieldType::ftLargeint: f.SetValue(Variant(int64_t{edge ? INT64_MIN : 1LL << 40})); break;
            case TFieldType::ftInteger:
            case TFieldType::ftAutoInc: f.SetAsInteger(edge ? 2147483647 : 3); break;
            case TFieldType::ftCurrency: f.SetAsCurrency(Currency::FromDouble(edge ? -922337203685.4775 : 1.5)); break;
            case TFieldType::ftDate: f.SetAsDateTime(edge ? EncodeDate(9999, 12, 31) : EncodeDate(2026, 3, 5)); break;
            case TFieldType::ftTime: f.SetAsDateTime(EncodeTime(edge ? 23 : 14, 59, 59, edge ? 999 : 0)); break;
            case TFieldType::ftDateTime:
            case TFieldType::ftTimeStamp:
                f.SetAsDateTime(edge ? EncodeDate(1, 1, 1) : EncodeDate(2026, 3, 5) + EncodeTime(14, 7, 9, 123));
                break;
            default: f.SetAsFloat(edge ? -1e300 : 2.25); break;
        }
    }
    t.Post();
}

std::string Rows(TdxMemData& t) {
    t.Open();
    for (int kind : {0, 2, 1}) AddRow(t, kind);  // the edge row last: its ID leaves no next one
    std::string out;
    t.SaveToStream(out);
    return out;
}

// A table file of an older version, put together byte by byte: the tasks' ID, Description and
// Complete, two rows.
std::string OldVersion(double version) {
    std::string b;
    auto raw = [&b](const void* p, size_t n) { b.append(static_cast<const char*>(p), n); };
    auto i32 = [&](int32_t v) { raw(&v, 4); };
    auto i16 = [&](int16_t v) { raw(&v, 2); };
    if (version > 0) {
        b += "Ver";
        raw(&version, 8);
    }
    const bool terminatorInSize = version < 1.905;
    const bool stringFlag = version >= 1.85;
    const bool ordinalFlag = version > 0;
    i32(3);
    auto field = [&](const char* name, int16_t code, int32_t size) {
        i32(size);
        i16(code);
        i16(static_cast<int16_t>(std::strlen(name) + 1));
        raw(name, std::strlen(name) + 1);
    };
    field("ID", 12, 4);
    field("Description", 1, terminatorInSize ? 201 : 200);
    field("Complete", 5, 2);
    for (int row = 1; row <= 2; ++row) {
        if (ordinalFlag) b += '\x01';
        i32(row);
        const std::string text = row == 1 ? "Old matter" : "";
        if (stringFlag) {
            b += text.empty() ? '\0' : '\x01';
            if (!text.empty()) {
                i32(static_cast<int32_t>(text.size()));
                b += text;
            }
        } else {
            i32(text.empty() ? 0 : static_cast<int32_t>(text.size() + 1));
            if (!text.empty()) raw(text.c_str(), text.size() + 1);
        }
        if (ordinalFlag) b += '\x01';
        i16(row == 1 ? 1 : 0);
    }
    return b;
}

class SeedFolder {
public:
    explicit SeedFolder(fs::path dir) : dir_(std::move(dir)) { fs::create_directories(dir_); }
    void Add(const std::string& bytes) {
        std::ofstream(dir_ / ("seed-" + std::to_string(++count_)), std::ios::binary) << bytes;
    }
    void Add(char selector, const std::string& bytes) { Add(std::string(1, selector) + bytes); }

private:
    fs::path dir_;
    int count_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: corvelle-fuzz-seeds OUTDIR [SCRIPT-FOLDER...]\n");
        return 2;
    }
    const fs::path out = argv[1];
    SeedFolder tables(out / "table_file"), json(out / "json_rows"), scripts(out / "script_lexer");

    const auto& defs = PersistedTables();
    for (size_t i = 0; i < defs.size(); ++i) {
        const char selector = static_cast<char>(i);
        auto t = MakeTable(defs[i].name);
        const std::string file = Rows(*t);
        tables.Add(selector, file);
        tables.Add(selector, file.substr(0, file.size() - 3));  // cut in the last record
        std::string lines;
        for (int row = 0; row < t->RowCount(); ++row) lines += JsonLine(RowToJson(*t, row)) + "\n";
        json.Add(selector, lines);
    }
    json.Add('\0', "{}\n\n{\"ID\":10,\"Description\":\"x\\u00e9\\\"\"}\r\n{\"Foo\":1}\n");

    // One field of every kind, read by the file's own fields.
    TdxMemData own("Table");
    for (int code = 1; code <= 29; ++code)
        own.AddField("F" + std::to_string(code), static_cast<TFieldType>(code), 20);
    const char ownSelector = static_cast<char>(defs.size());
    tables.Add(ownSelector, Rows(own));
    // An ID stored at eight bytes, wider than its kind, with a number it can't hold.
    std::string wide = OldVersion(1.91);
    const size_t idSize = 15;  // "Ver", the version, the count: the first descriptor's size
    wide[idSize] = 8;
    const std::string head = wide.substr(0, wide.find("Complete") + 9);
    std::string row = "\x01";
    const int64_t big = int64_t{1} << 40;
    row.append(reinterpret_cast<const char*>(&big), 8);
    row += "\x01\x03\0\0\0abc\x01\x01\0";
    tables.Add('\0', head + row);
    for (double version : {0.0, 1.0, 1.85, 1.91}) {
        tables.Add('\0', OldVersion(version));
        tables.Add(ownSelector, OldVersion(version));
    }

    scripts.Add("set fmNewTask.Edit2 \"Acme \\\"Ltd\\\" \\\\ x\"\n# comment\n\ncall x\"y z\"w \"\"\r\n");
    scripts.Add("set \"unclosed\nset \"bad \\n escape\"\n");
    for (int i = 2; i < argc; ++i) {
        if (!fs::is_directory(argv[i])) continue;
        for (const auto& entry : fs::directory_iterator(argv[i])) {
            if (entry.path().extension() != ".csim") continue;
            std::ifstream in(entry.path(), std::ios::binary);
            scripts.Add(std::string((std::istreambuf_iterator<char>(in)), {}));
        }
    }
    return 0;
}
