// corvelle-table: reads and writes the system's table files from the command line.
//
//   corvelle-table dump [--table NAME] FILE
//       Prints the rows of FILE, one JSON object a line, in table order. With --table the file is
//       read into the system's table of that name; without it, the columns come from the file.
//   corvelle-table write --table NAME FILE
//       Reads rows as JSON objects, one a line, from standard input and saves them to FILE as
//       the table of that name.
//
// Exit status: 0 done; 1 the file couldn't be read or written, or the input is bad (nothing is
// written then); 2 the command line is wrong.
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "store/MemData.h"
#include "store/TableJson.h"
#include "store/Tables.h"

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

const char* const kUsage =
    "usage: corvelle-table dump [--table NAME] FILE\n"
    "       corvelle-table write --table NAME FILE\n"
    "NAME is one of: Tasks, Time, Emails, Contacts, DistLists, Appointments, Notes\n";

struct UsageError {
    std::string message;
};

struct Options {
    std::string command;
    std::optional<std::string> table;
    std::string file;
};

Options ParseArgs(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty()) throw UsageError{"no command given"};
    Options o;
    o.command = args[0];
    if (o.command != "dump" && o.command != "write")
        throw UsageError{"unknown command " + o.command};
    std::vector<std::string> files;
    for (size_t i = 1; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--table") {
            if (i + 1 >= args.size()) throw UsageError{"--table needs a table name"};
            o.table = args[++i];
        } else if (a.rfind("--table=", 0) == 0) {
            o.table = a.substr(8);
        } else if (a.size() > 1 && a[0] == '-') {
            throw UsageError{"unknown option " + a};
        } else {
            files.push_back(a);
        }
    }
    if (files.size() != 1) throw UsageError{files.empty() ? "no file given" : "more than one file given"};
    o.file = files[0];
    if (o.command == "write" && !o.table) throw UsageError{"write needs --table NAME"};
    if (o.table && !FindPersistedTable(*o.table)) throw UsageError{"unknown table " + *o.table};
    return o;
}

int Fail(const std::string& message) {
    std::fprintf(stderr, "corvelle-table: %s\n", message.c_str());
    return kExitFailure;
}

int Dump(const Options& o) {
    std::unique_ptr<TdxMemData> table;
    try {
        if (o.table) {
            table = MakeTable(*o.table);
        } else {
            table = std::make_unique<TdxMemData>("Table");
            table->CreateFieldsFromBinaryFile(o.file);
        }
        table->LoadFromBinaryFile(o.file);
    } catch (const std::exception& e) {
        return Fail(e.what());
    }

    std::string out;
    for (int row = 0; row < table->RowCount(); ++row) {
        out += JsonLine(RowToJson(*table, row));
        out += '\n';
        if (out.size() >= (1 << 16)) {
            std::fwrite(out.data(), 1, out.size(), stdout);
            out.clear();
        }
    }
    std::fwrite(out.data(), 1, out.size(), stdout);
    if (std::fflush(stdout) != 0) return Fail("cannot write the output");
    return 0;
}

bool Blank(const std::string& line) {
    return line.find_first_not_of(" \t\r\n\f\v") == std::string::npos;
}

// Numbering of the auto-increment fields (ID) in the written file. A row that gives a value keeps
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
                row[key] = ++e.highest;
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
                TField& f = table.FieldByName(e.field->FieldName());
                f.SetValue(given);
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

int Write(const Options& o) {
    std::unique_ptr<TdxMemData> table = MakeTable(*o.table);
    table->Open();
    IdNumbering ids(*table);

    std::string line;
    long lineNo = 0;
    while (std::getline(std::cin, line)) {
        ++lineNo;
        if (Blank(line)) continue;
        try {
            nlohmann::ordered_json row = ParseJsonLine(line);
            ids.Number(*table, row);
            table->Append();
            JsonToRow(*table, row);
            table->Post();
            ids.Restore(*table, row);
        } catch (const std::exception& e) {
            return Fail("line " + std::to_string(lineNo) + ": " + e.what());
        }
    }
    if (std::cin.bad()) return Fail("cannot read the input");

    try {
        table->SaveToBinaryFile(o.file);
    } catch (const std::exception& e) {
        return Fail(e.what());
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && (std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h")) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    Options o;
    try {
        o = ParseArgs(argc, argv);
    } catch (const UsageError& e) {
        std::fprintf(stderr, "corvelle-table: %s\n%s", e.message.c_str(), kUsage);
        return kExitUsage;
    }
    try {
        return o.command == "dump" ? Dump(o) : Write(o);
    } catch (const std::exception& e) {
        return Fail(e.what());
    }
}
