// corvelle-table: reads and writes the system's table files from the command line.
//
//   corvelle-table dump [--table NAME] FILE
//       Prints the rows of FILE, one JSON object a line, in table order. With --table the file is
//       read into the system's table of that name; without it, the columns come from the file.
//   corvelle-table write --table NAME FILE
//       Reads rows as JSON objects, one a line, from standard input and saves them to FILE as
//       the table of that name. The old file is replaced whole or not at all.
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
#include "store/TableJsonInput.h"
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

int Write(const Options& o) {
    std::unique_ptr<TdxMemData> table = MakeTable(*o.table);
    table->Open();
    try {
        ReadJsonRows(std::cin, *table);
    } catch (const std::exception& e) {
        return Fail(e.what());
    }
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
