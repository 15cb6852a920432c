// corvelle-table, run as a program: write then dump, damaged files, and the exit codes that
// scripts rely on.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

const std::string kTool = CORVELLE_BINARY_DIR "/apps/corvelle-table";

struct RunResult {
    int exitCode = -1;
    std::string out;
    std::string err;
    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        std::istringstream in(out);
        for (std::string l; std::getline(in, l);) lines.push_back(l);
        return lines;
    }
};

std::string ReadFile(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void WriteFile(const fs::path& p, const std::string& bytes) {
    std::ofstream(p, std::ios::binary) << bytes;
}

// A table file put together byte by byte, for files the tool itself would never write.
class FileBytes {
public:
    FileBytes& Header(int32_t fields) {
        b_ += "Ver";
        double version = 1.91;
        Raw(&version, 8);
        return Int32(fields);
    }
    FileBytes& Field(const std::string& name, int16_t code, int32_t size) {
        Int32(size);
        Int16(code);
        Int16(static_cast<int16_t>(name.size() + 1));
        b_ += name;
        b_ += '\0';
        return *this;
    }
    FileBytes& Int(int32_t v) {
        b_ += '\x01';
        return Int32(v);
    }
    FileBytes& NullInt() { return Raw("\0\0\0\0\0", 5); }
    FileBytes& Str(const std::string& s) {
        b_ += '\x01';
        Int32(static_cast<int32_t>(s.size()));
        b_ += s;
        return *this;
    }
    FileBytes& NullStr() { return Raw("\0", 1); }
    const std::string& Bytes() const { return b_; }

private:
    FileBytes& Raw(const void* p, size_t n) {
        b_.append(static_cast<const char*>(p), n);
        return *this;
    }
    FileBytes& Int32(int32_t v) { return Raw(&v, 4); }
    FileBytes& Int16(int16_t v) { return Raw(&v, 2); }
    std::string b_;
};

class CorvelleTableTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(fs::exists(kTool)) << kTool << " is not built";
        std::string pattern = (fs::temp_directory_path() / "corvelle-table-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(dir_, ec);
    }

    RunResult Tool(const std::string& args, const std::string& input = "") {
        WriteFile(dir_ / "stdin", input);
        const std::string cmd = "'" + kTool + "' " + args + " < '" + (dir_ / "stdin").string() +
                                "' > '" + (dir_ / "stdout").string() + "' 2> '" +
                                (dir_ / "stderr").string() + "'";
        RunResult r;
        int status = std::system(cmd.c_str());
        r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        r.out = ReadFile(dir_ / "stdout");
        r.err = ReadFile(dir_ / "stderr");
        return r;
    }

    std::string File(const std::string& name) const { return "'" + (dir_ / name).string() + "'"; }

    fs::path dir_;
};

TEST_F(CorvelleTableTest, WriteThenDumpKeepsEveryKindOfValue) {
    const std::string tasks =
        R"({"ID":1,"EntryID":"","Parent_ID":-1,"Description":"Matter \"A\" – café","Due_Date":"2026-03-05",)"
        R"("Create_Date":"2026-03-05T14:07:09.123","Number":1,"Start_Date":null,"Importance":2,)"
        R"("Owner_Name":"Zoë","Status":2,"Date_Complete":"4501-01-01","Sensitivity":0,"Complete":true,)"
        R"("Percent_Complete":100})"
        "\n"
        R"({"ID":2,"EntryID":null,"Parent_ID":1,"Description":null,"Due_Date":null,"Create_Date":null,)"
        R"("Number":null,"Start_Date":"1899-12-30","Importance":null,"Owner_Name":"","Status":null,)"
        R"("Date_Complete":null,"Sensitivity":null,"Complete":false,"Percent_Complete":0})"
        "\n";
    ASSERT_EQ(Tool("write --table Tasks " + File("Tasks.bin"), tasks).exitCode, 0);
    RunResult dump = Tool("dump --table Tasks " + File("Tasks.bin"));
    ASSERT_EQ(dump.exitCode, 0) << dump.err;
    std::vector<std::string> lines = dump.Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], R"({"RecId":1,)" + tasks.substr(1, tasks.find('\n') - 1));
    EXPECT_EQ(lines[1], R"({"RecId":2,)" + tasks.substr(tasks.find('\n') + 2, tasks.rfind('\n') - tasks.find('\n') - 2));

    // Currency, time and small integers; text cut at its size in bytes of the code page, where
    // the euro sign is one byte.
    std::string euros;
    for (int i = 0; i < 54; ++i) euros += "€";
    const std::string time = R"({"Glyph":-1,"Task_Full_No":"1.2.3","Time":"01:30:00.000","Dec_Time":1.5,)"
                             R"("Note":"","User_Name":")" + euros + R"(","Closed":false})" + "\n";
    ASSERT_EQ(Tool("write --table Time " + File("Time.bin"), time).exitCode, 0);
    dump = Tool("dump --table Time " + File("Time.bin"));
    ASSERT_EQ(dump.exitCode, 0) << dump.err;
    EXPECT_EQ(dump.out,
              R"({"RecId":1,"Glyph":-1,"Task_Name":null,"Task_Full_Name":null,"Task_ID":null,)"
              R"("Task_Full_No":"1.2.3","Create_Date":null,"Time":"01:30:00.000","Dec_Time":1.5,)"
              R"("User_Name":")" + euros.substr(0, 50 * 3) +
                  R"(","User_Address":null,"Bill_Rate":null,"Note":"","Time_Date":null,)"
                  R"("Closed":false,"Closed_Date":null,"ID":1})" + "\n");

    // A memo's empty text is stored as no text at all; a plain string keeps "" apart from null.
    ASSERT_EQ(Tool("write --table Emails " + File("Emails.bin"), R"({"Text":"","Subject":""})").exitCode, 0);
    dump = Tool("dump --table Emails " + File("Emails.bin"));
    EXPECT_NE(dump.out.find(R"("Subject":"","Text":null,)"), std::string::npos) << dump.out;
}

TEST_F(CorvelleTableTest, MissingIdsAreNumberedOnFromTheHighest) {
    ASSERT_EQ(Tool("write --table Notes " + File("Notes.bin"),
                   "{}\n\n{\"ID\":10}\n   \n{\"TaskID\":4}\n{\"ID\":5}\r\n{}\n")
                  .exitCode,
              0);
    RunResult dump = Tool("dump --table Notes " + File("Notes.bin"));
    ASSERT_EQ(dump.exitCode, 0) << dump.err;
    std::vector<int> ids;
    for (const std::string& l : dump.Lines()) {
        size_t at = l.find("\"ID\":");
        ids.push_back(std::atoi(l.c_str() + at + 5));
    }
    EXPECT_EQ(ids, (std::vector<int>{1, 10, 11, 5, 12}))
        << "a given ID is kept, a missing one follows the highest so far";
}

TEST_F(CorvelleTableTest, ColumnsAreMatchedByName) {
    // A Notes file with a column the table doesn't have, and without ID.
    FileBytes f;
    f.Header(3).Field("TaskID", 3, 4).Field("Extra", 1, 10).Field("Subject", 1, 20);
    f.Int(7).Str("more").Str("first");
    f.NullInt().NullStr().Str("second");
    WriteFile(dir_ / "Notes.bin", f.Bytes());

    RunResult asNotes = Tool("dump --table Notes " + File("Notes.bin"));
    ASSERT_EQ(asNotes.exitCode, 0) << asNotes.err;
    EXPECT_EQ(asNotes.out,
              R"({"RecId":1,"ID":1,"TaskID":7,"EntryID":null,"Glyph":null,"Attachments":null,"Date":null,)"
              R"("Author":null,"Subject":"first","Text":null,"MessageClass":null})"
              "\n"
              R"({"RecId":2,"ID":2,"TaskID":null,"EntryID":null,"Glyph":null,"Attachments":null,"Date":null,)"
              R"("Author":null,"Subject":"second","Text":null,"MessageClass":null})"
              "\n");

    RunResult asIs = Tool("dump " + File("Notes.bin"));
    ASSERT_EQ(asIs.exitCode, 0) << asIs.err;
    EXPECT_EQ(asIs.out,
              R"({"RecId":1,"TaskID":7,"Extra":"more","Subject":"first"})"
              "\n"
              R"({"RecId":2,"TaskID":null,"Extra":null,"Subject":"second"})"
              "\n");
}

TEST_F(CorvelleTableTest, DamagedFilesLoadWhatTheyCan) {
    ASSERT_EQ(Tool("write --table Emails " + File("Emails.bin"),
                   "{\"Subject\":\"one\"}\n{\"Subject\":\"two\"}\n{\"Subject\":\"three\",\"Text\":\"body\"}\n")
                  .exitCode,
              0);
    const std::string whole = ReadFile(dir_ / "Emails.bin");
    WriteFile(dir_ / "Cut.bin", whole.substr(0, whole.size() - 3));
    for (const char* args : {"dump --table Emails ", "dump "}) {
        RunResult r = Tool(args + File("Cut.bin"));
        EXPECT_EQ(r.exitCode, 0) << args << r.err;
        ASSERT_EQ(r.Lines().size(), 2u) << args;
        EXPECT_NE(r.Lines()[1].find(R"("Subject":"two")"), std::string::npos);
    }

    // Too short for a header: nothing loaded, no error.
    WriteFile(dir_ / "Tiny.bin", "Ve");
    RunResult tiny = Tool("dump --table Emails " + File("Tiny.bin"));
    EXPECT_EQ(tiny.exitCode, 0);
    EXPECT_EQ(tiny.out, "");

    // A field name longer than 255 bytes is the one damage that raises.
    FileBytes longName;
    longName.Header(1).Field(std::string(300, 'N'), 3, 4).Int(1);
    WriteFile(dir_ / "Long.bin", longName.Bytes());
    for (const char* args : {"dump --table Emails ", "dump "}) {
        RunResult r = Tool(args + File("Long.bin"));
        EXPECT_EQ(r.exitCode, 1) << args;
        EXPECT_EQ(r.out, "");
        EXPECT_NE(r.err, "");
    }

    RunResult missing = Tool("dump " + File("Missing.bin"));
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("Missing.bin"), std::string::npos) << missing.err;

    // A device of endless zeros is no table file, and is not read.
    for (const char* args : {"dump --table Emails ", "dump "}) {
        RunResult zeros = Tool(std::string(args) + "/dev/zero");
        EXPECT_EQ(zeros.exitCode, 1) << args;
        EXPECT_EQ(zeros.err, "corvelle-table: Cannot open file \"/dev/zero\". Not a regular file\n") << args;
    }
}

TEST_F(CorvelleTableTest, BadInputWritesNothing) {
    WriteFile(dir_ / "Tasks.bin", "old");

    RunResult badJson = Tool("write --table Tasks " + File("Tasks.bin"), "{}\n\n{\"ID\":\n{}\n");
    EXPECT_EQ(badJson.exitCode, 1);
    EXPECT_NE(badJson.err.find("line 3: bad JSON"), std::string::npos) << badJson.err;

    RunResult unknown = Tool("write --table Tasks " + File("Tasks.bin"), "{}\n{\"Foo\":1}\n");
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_NE(unknown.err.find("line 2: unknown field Foo"), std::string::npos) << unknown.err;

    RunResult wrongType = Tool("write --table Tasks " + File("Tasks.bin"), "{\"Parent_ID\":\"1\"}\n");
    EXPECT_EQ(wrongType.exitCode, 1);
    EXPECT_NE(wrongType.err.find("line 1: field Parent_ID: expected an integer"), std::string::npos)
        << wrongType.err;

    // Hostile nesting is refused, not followed down the stack.
    RunResult deep = Tool("write --table Tasks " + File("Tasks.bin"),
                          "{\"Description\":" + std::string(1000, '[') + std::string(1000, ']') + "}\n");
    EXPECT_EQ(deep.exitCode, 1);
    EXPECT_NE(deep.err.find("line 1: bad JSON: nested too deeply"), std::string::npos) << deep.err;

    // A line longer than any row of the table is refused by its number, before it is read whole.
    RunResult endless = Tool("write --table Tasks " + File("Tasks.bin"),
                             "{}\n{\"Description\":\"" + std::string(1 << 20, 'x') + "\"}\n");
    EXPECT_EQ(endless.exitCode, 1);
    EXPECT_NE(endless.err.find("line 2: longer than the largest row of the table"), std::string::npos)
        << endless.err;

    // A NUL byte after a whole object is no end of the line.
    RunResult nul = Tool("write --table Tasks " + File("Tasks.bin"), std::string("{}\0{\"Foo\":1}\n", 13));
    EXPECT_EQ(nul.exitCode, 1);
    EXPECT_NE(nul.err.find("line 1: bad JSON: column 3: a NUL byte"), std::string::npos) << nul.err;

    EXPECT_EQ(ReadFile(dir_ / "Tasks.bin"), "old");
}

TEST_F(CorvelleTableTest, CommandLineErrorsExitWith2) {
    for (const std::string& args :
         {"dump --table Foo " + File("x.bin"), "write --table tasks " + File("x.bin"),
          "write " + File("x.bin"), std::string("dump"), std::string(""), "copy " + File("x.bin"),
          "dump --tabel Tasks " + File("x.bin"), std::string("dump --table")}) {
        RunResult r = Tool(args);
        EXPECT_EQ(r.exitCode, 2) << args;
        EXPECT_EQ(r.out, "") << args;
        EXPECT_NE(r.err.find("usage:"), std::string::npos) << args;
    }
    EXPECT_FALSE(fs::exists(dir_ / "x.bin"));
}

}  // namespace
