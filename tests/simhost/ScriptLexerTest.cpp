// The words of a script line and the reading of scripts.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "sim/ScriptLexer.h"

using sim::EScriptSyntax;
using sim::QuoteWord;
using sim::SplitWords;
using sim::TScriptReader;
using Words = std::vector<std::string>;

TEST(ScriptWords, BlanksSeparateAndQuotesHoldBlanks) {
    EXPECT_EQ(SplitWords("  set\tfmNewTask.Edit2   \"Acme  Ltd\"  "), (Words{"set", "fmNewTask.Edit2", "Acme  Ltd"}));
    EXPECT_EQ(SplitWords("answer \"\" x"), (Words{"answer", "", "x"}));
    EXPECT_EQ(SplitWords(""), Words{});
    EXPECT_EQ(SplitWords(" \t "), Words{});
    // Quoted and plain parts next to each other make one word.
    EXPECT_EQ(SplitWords("add Subject=\"Call the bank\" x\"y z\"w"), (Words{"add", "Subject=Call the bank", "xy zw"}));
}

TEST(ScriptWords, OnlyQuoteAndBackslashAreEscapedInQuotes) {
    EXPECT_EQ(SplitWords(R"(set "Say \"hi\" \\ go")"), (Words{"set", R"(Say "hi" \ go)"}));
    // Outside quotes a backslash is itself.
    EXPECT_EQ(SplitWords(R"(file C:\data\Tasks.bin)"), (Words{"file", R"(C:\data\Tasks.bin)"}));
    EXPECT_THROW(SplitWords(R"(set "C:\data")"), EScriptSyntax);
    EXPECT_THROW(SplitWords(R"(set "unclosed)"), EScriptSyntax);
    // A backslash at the end escapes nothing: the quote stays open.
    EXPECT_THROW(SplitWords(R"(set "end\)"), EScriptSyntax);
    EXPECT_THROW(SplitWords(R"(set "end\")"), EScriptSyntax);
}

TEST(ScriptWords, QuotedOutputReadsBackAsOneWord) {
    for (std::string text : {"", "plain", "two words", R"(a "quoted" \ path\)", "tab\there", "#not a comment"}) {
        Words words = SplitWords("get " + QuoteWord(text));
        ASSERT_EQ(words.size(), 2u) << text;
        EXPECT_EQ(words[1], text);
    }
}

TEST(ScriptWords, BlankLinesAndCommentsAreSkipped) {
    EXPECT_TRUE(sim::IsSkippedLine(""));
    EXPECT_TRUE(sim::IsSkippedLine(" \t\r"));
    EXPECT_TRUE(sim::IsSkippedLine("# a comment"));
    EXPECT_TRUE(sim::IsSkippedLine("   # indented"));
    EXPECT_FALSE(sim::IsSkippedLine("click fmList.cxDBTreeList1 #3"));
}

class ScriptReaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() /
               ("corvelle-reader-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    std::string Write(const std::string& name, const std::string& text) {
        std::string path = (dir_ / name).string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    std::filesystem::path dir_;
};

TEST_F(ScriptReaderTest, FilesRunInOrderWithTheirOwnLineNumbers) {
    std::string a = Write("a.csim", "# first\r\nstart\r\n\r\nexplorer\r\n");
    std::string b = Write("b.csim", "\n  get CurrentTaskID");  // no line end at the end
    std::istringstream none;
    TScriptReader reader({a, b}, none);
    std::vector<std::tuple<std::string, int, std::string>> seen;
    while (auto line = reader.Next()) seen.emplace_back(line->file, line->number, line->text);
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0], std::make_tuple(a, 2, std::string("start")));
    EXPECT_EQ(seen[1], std::make_tuple(a, 4, std::string("explorer")));
    EXPECT_EQ(seen[2], std::make_tuple(b, 2, std::string("  get CurrentTaskID")));
    EXPECT_FALSE(reader.Next());
}

TEST_F(ScriptReaderTest, StandardInputWhenNoFileOrADash) {
    std::istringstream in("start\nquit\n");
    TScriptReader plain({}, in);
    EXPECT_EQ(plain.Next()->text, "start");
    EXPECT_EQ(plain.Next()->file, "-");

    std::istringstream in2("explorer\n");
    std::string a = Write("a.csim", "start\n");
    TScriptReader mixed({a, "-"}, in2);
    EXPECT_EQ(mixed.Next()->text, "start");
    auto line = mixed.Next();
    ASSERT_TRUE(line);
    EXPECT_EQ(line->text, "explorer");
    EXPECT_EQ(line->number, 1);
    EXPECT_FALSE(mixed.Next());
}

TEST_F(ScriptReaderTest, AMissingScriptRaisesWhenItsTurnComes) {
    std::string a = Write("a.csim", "start\n");
    std::istringstream none;
    TScriptReader reader({a, (dir_ / "missing.csim").string()}, none);
    EXPECT_EQ(reader.Next()->text, "start");
    EXPECT_THROW(reader.Next(), std::runtime_error);
}
