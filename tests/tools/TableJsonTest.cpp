// Rows as JSON: the value forms the table tool and the scripted host print and read.
#include <gtest/gtest.h>

#include <string>

#include <nlohmann/json.hpp>

#include "base/DateTime.h"
#include "base/Exceptions.h"
#include "store/MemData.h"
#include "store/TableJson.h"
#include "store/Tables.h"

using nlohmann::ordered_json;

namespace {

// A table with one field of most kinds, open and empty.
class TableJsonTest : public ::testing::Test {
protected:
    void SetUp() override {
        t.AddField("Id", TFieldType::ftAutoInc);
        t.AddField("Small", TFieldType::ftSmallint);
        t.AddField("Big", TFieldType::ftLargeint);
        t.AddField("Flag", TFieldType::ftBoolean);
        t.AddField("Name", TFieldType::ftString, 5);
        t.AddField("Wide", TFieldType::ftWideString, 3);
        t.AddField("Memo", TFieldType::ftMemo);
        t.AddField("Raw", TFieldType::ftBlob);
        t.AddField("Money", TFieldType::ftCurrency);
        t.AddField("Ratio", TFieldType::ftFloat);
        t.AddField("Day", TFieldType::ftDate);
        t.AddField("Clock", TFieldType::ftTime);
        t.AddField("Stamp", TFieldType::ftDateTime);
        t.Open();
    }

    std::string AddRow(const char* json) {
        t.Append();
        JsonToRow(t, ordered_json::parse(json));
        t.Post();
        return JsonLine(RowToJson(t));
    }

    TdxMemData t{"Sample"};
};

TEST_F(TableJsonTest, EveryKindPrintsInItsFormAndReadsBack) {
    const std::string line = AddRow(
        R"({"Small":-7,"Big":9007199254740993,"Flag":false,"Name":"Zoë","Wide":"日本語",)"
        R"("Memo":"two\r\nlines","Raw":"\u0000\u0081ÿ","Money":1.5,"Ratio":0.1,)"
        R"("Day":"2026-03-05","Clock":"01:30:00.250","Stamp":"4501-01-01T00:00:00.000"})");
    EXPECT_EQ(line,
              R"({"RecId":1,"Id":1,"Small":-7,"Big":9007199254740993,"Flag":false,"Name":"Zoë",)"
              R"("Wide":"日本語","Memo":"two\r\nlines","Raw":"\u0000)" "\u0081" R"(ÿ","Money":1.5,)"
              R"("Ratio":0.1,"Day":"2026-03-05","Clock":"01:30:00.250","Stamp":"4501-01-01T00:00:00.000"})");

    // The printed form, read again into a new row, gives the same row.
    ordered_json again = ordered_json::parse(line);
    t.Append();
    JsonToRow(t, again);
    t.Post();
    ordered_json second = RowToJson(t);
    again["RecId"] = 2;
    again["Id"] = 2;
    EXPECT_EQ(JsonLine(second), JsonLine(again));
}

TEST_F(TableJsonTest, NullEmptyAndCutText) {
    const std::string line = AddRow(R"({"Name":"","Wide":"abcdef","Memo":null,"Day":null})");
    EXPECT_EQ(line,
              R"({"RecId":1,"Id":1,"Small":null,"Big":null,"Flag":null,"Name":"","Wide":"abc",)"
              R"("Memo":null,"Raw":null,"Money":null,"Ratio":null,"Day":null,"Clock":null,"Stamp":null})");
    // Single-byte text is cut at its size in the code page's bytes, wide text in characters.
    EXPECT_NE(AddRow(R"({"Name":"€uro-zone"})").find(R"("Name":"€uro-")"), std::string::npos);
}

TEST_F(TableJsonTest, NumbersPrintInShortestRoundTripForm) {
    EXPECT_NE(AddRow(R"({"Money":2,"Ratio":1e20})").find(R"("Money":2,"Ratio":1e+20)"), std::string::npos);
    EXPECT_NE(AddRow(R"({"Money":-0.0001,"Ratio":0.30000000000000004})")
                  .find(R"("Money":-1e-04,"Ratio":0.30000000000000004)"),
              std::string::npos);
    // Currency keeps four decimals, rounding the fifth.
    EXPECT_NE(AddRow(R"({"Money":1.23456})").find(R"("Money":1.2346)"), std::string::npos);
    EXPECT_EQ(JsonLine(ordered_json::parse("[1.0, 2.5, null]")), "[1,2.5,null]");
}

TEST_F(TableJsonTest, WrongValuesAreRejectedNamingTheField) {
    struct Case {
        const char* json;
        const char* message;
    } cases[] = {
        {R"({"Small":"5"})", "field Small: expected an integer, got \"5\""},
        {R"({"Small":2.5})", "field Small: expected an integer, got 2.5"},
        {R"({"Small":40000})", "field Small: expected an integer in range, got 40000"},
        {R"({"Id":4294967296})", "field Id: expected an integer in range, got 4294967296"},
        {R"({"Flag":1})", "field Flag: expected true or false, got 1"},
        {R"({"Name":5})", "field Name: expected a string, got 5"},
        {R"({"Money":"1.5"})", "field Money: expected a number, got \"1.5\""},
        {R"({"Money":1e300})", "field Money: expected an amount in range, got 1e+300"},
        {R"({"Day":"5/3/2026"})", "field Day: expected a date \"YYYY-MM-DD\", got \"5/3/2026\""},
        {R"({"Day":"2026-02-30"})", "field Day: expected a date \"YYYY-MM-DD\", got \"2026-02-30\""},
        {R"({"Clock":"25:00:00"})", "field Clock: expected a time \"HH:MM:SS.mmm\", got \"25:00:00\""},
        {R"({"Stamp":20})", "field Stamp: expected a date and time \"YYYY-MM-DDTHH:MM:SS.mmm\", got 20"},
        {R"({"Name":[[[]]]})", "field Name: expected a string, got an array"},
        {R"([1,2])", "expected a JSON object, got an array"},
    };
    for (const Case& c : cases) {
        t.Append();
        try {
            JsonToRow(t, ordered_json::parse(c.json));
            ADD_FAILURE() << c.json << " was taken";
        } catch (const EConvertError& e) {
            EXPECT_EQ(e.Message(), c.message);
        }
        t.Cancel();
    }
    // Integral numbers written with a point are integers.
    EXPECT_NE(AddRow(R"({"Small":3.0})").find(R"("Small":3,)"), std::string::npos);
}

TEST_F(TableJsonTest, UnknownFieldRaisesBeforeAnythingIsAssignedAndRecIdIsIgnored) {
    t.Append();
    try {
        JsonToRow(t, ordered_json::parse(R"({"Small":1,"Foo":2})"));
        ADD_FAILURE() << "Foo was taken";
    } catch (const EDatabaseError& e) {
        EXPECT_EQ(e.Message(), "unknown field Foo");
    }
    EXPECT_TRUE(t.FieldByName("Small").IsNull());
    t.Cancel();

    EXPECT_NE(AddRow(R"({"RecId":99,"Small":1})").find(R"("RecId":1,)"), std::string::npos);
}

TEST(TableJsonDamage, DatesBeyondTheCalendarPrintAsNumbers) {
    // A damaged file can hold day numbers that no calendar date has.
    std::string file = "Ver";
    double version = 1.91;
    file.append(reinterpret_cast<const char*>(&version), 8);
    auto put32 = [&](int32_t v) { file.append(reinterpret_cast<const char*>(&v), 4); };
    auto put16 = [&](int16_t v) { file.append(reinterpret_cast<const char*>(&v), 2); };
    put32(2);
    put32(4), put16(9), put16(4), file.append("Day", 4);
    put32(4), put16(10), put16(6), file.append("Clock", 6);
    file += '\x01';
    put32(-5);
    file += '\x01';
    put32(-1000);

    TdxMemData t("Damaged");
    t.CreateFieldsFromStream(file);
    t.LoadFromStream(file);
    ASSERT_EQ(t.RowCount(), 1);
    ordered_json row = RowToJson(t, 0);
    EXPECT_TRUE(row["Day"].is_number());
    EXPECT_TRUE(row["Clock"].is_number());
}

}  // namespace
