// The workbook engine: a firm's template comes out of a report with everything of its own intact
// and the report's writes merged in, and no file, however damaged, makes it crash.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "common/Openpyxl.h"
#include "common/ScratchFolder.h"
#include "xlsx/XlsxPackage.h"
#include "xlsx/XlsxWorkbook.h"

namespace fs = std::filesystem;
using xlsx::EXlsxError;
using xlsx::TCellFormat;
using xlsx::TPackage;
using xlsx::TWorkbook;

namespace {

const char* const kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";

// A template as another program writes one: shared strings, a styled date cell with a border,
// a formula with its calculation chain, merged cells; its SpreadsheetML carries the prefix "x:".
TPackage FirmTemplate() {
    TPackage p;
    p.Put("[Content_Types].xml",
          "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
          "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
          "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
          "<Override PartName=\"/xl/workbook.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>"
          "<Override PartName=\"/xl/worksheets/sheet1.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/>"
          "<Override PartName=\"/xl/styles.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml\"/>"
          "<Override PartName=\"/xl/sharedStrings.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml\"/>"
          "<Override PartName=\"/xl/calcChain.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.calcChain+xml\"/>"
          "</Types>");
    p.Put("_rels/.rels",
          "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
          "<Relationship Id=\"R1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument\" Target=\"/xl/workbook.xml\"/>"
          "</Relationships>");
    p.Put("xl/workbook.xml",
          std::string("<x:workbook xmlns:x=\"") + kMain +
              "\" xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
              "<x:sheets><x:sheet name=\"Matters\" sheetId=\"1\" r:id=\"rIdSheet\"/></x:sheets></x:workbook>");
    p.Put("xl/_rels/workbook.xml.rels",
          "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
          "<Relationship Id=\"rIdSheet\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet\" Target=\"worksheets/sheet1.xml\"/>"
          "<Relationship Id=\"rIdStyles\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles\" Target=\"styles.xml\"/>"
          "<Relationship Id=\"rIdStrings\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/sharedStrings\" Target=\"sharedStrings.xml\"/>"
          "<Relationship Id=\"rIdChain\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/calcChain\" Target=\"calcChain.xml\"/>"
          "</Relationships>");
    p.Put("xl/styles.xml",
          std::string("<x:styleSheet xmlns:x=\"") + kMain + "\">"
              "<x:numFmts count=\"1\"><x:numFmt numFmtId=\"165\" formatCode=\"d mmm yyyy\"/></x:numFmts>"
              "<x:fonts count=\"1\"><x:font><x:sz val=\"10\"/><x:name val=\"Arial\"/></x:font></x:fonts>"
              "<x:fills count=\"2\"><x:fill><x:patternFill patternType=\"none\"/></x:fill>"
              "<x:fill><x:patternFill patternType=\"gray125\"/></x:fill></x:fills>"
              "<x:borders count=\"2\"><x:border/><x:border><x:left style=\"thin\"/></x:border></x:borders>"
              "<x:cellStyleXfs count=\"1\"><x:xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/></x:cellStyleXfs>"
              "<x:cellXfs count=\"3\"><x:xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/>"
              "<x:xf numFmtId=\"165\" fontId=\"0\" fillId=\"0\" borderId=\"1\" applyNumberFormat=\"1\" applyBorder=\"1\"/>"
              "<x:xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"><x:alignment horizontal=\"right\" indent=\"2\"/></x:xf>"
              "</x:cellXfs></x:styleSheet>");
    p.Put("xl/sharedStrings.xml",
          std::string("<x:sst xmlns:x=\"") + kMain + "\" count=\"2\" uniqueCount=\"2\">"
              "<x:si><x:t>Matter</x:t></x:si><x:si><x:t>Opened</x:t></x:si></x:sst>");
    p.Put("xl/calcChain.xml", std::string("<calcChain xmlns=\"") + kMain + "\"><c r=\"C4\" i=\"1\"/></calcChain>");
    p.Put("xl/worksheets/sheet1.xml",
          std::string("<x:worksheet xmlns:x=\"") + kMain + "\"><x:dimension ref=\"A1:C4\"/>"
              "<x:cols><x:col min=\"1\" max=\"1\" width=\"30\" customWidth=\"1\"/></x:cols>"
              "<x:sheetData>"
              "<x:row r=\"1\" ht=\"24\" customHeight=\"1\"><x:c r=\"A1\" t=\"s\"><x:v>0</x:v></x:c>"
              "<x:c r=\"B1\" t=\"s\"><x:v>1</x:v></x:c></x:row>"
              "<x:row r=\"2\"><x:c r=\"B2\" s=\"1\"/><x:c r=\"C2\" s=\"2\"/></x:row>"
              "<x:row r=\"4\"><x:c r=\"C4\"><x:f>SUM(C5:C100)</x:f><x:v>0</x:v></x:c></x:row>"
              "</x:sheetData><x:mergeCells count=\"1\"><x:mergeCell ref=\"A3:C3\"/></x:mergeCells>"
              "</x:worksheet>");
    return p;
}

class EngineTest : public ::testing::Test {
protected:
    ScratchFolder scratch{"corvelle-xlsx", "files", "log"};
    fs::path File(const std::string& name) { return scratch.addin / name; }

    nlohmann::json Read(const fs::path& file) {
        std::string error;
        nlohmann::json book = ReadWithOpenpyxl(file, error);
        EXPECT_EQ(error, "");
        return book;
    }

    void Write(const fs::path& file, const std::string& bytes) {
        std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
    }
};

}  // namespace

TEST_F(EngineTest, AFirmsTemplateKeepsItsOwnHeadingsFormatsAndFormulasUnderTheReportsWrites) {
    FirmTemplate().Save(File("template.xlsx").string());
    auto book = TWorkbook::Open(File("template.xlsx").string());
    xlsx::TSheet& sheet = book->Sheet(0);
    sheet.SetNumber(2, 2, 46086);  // the date cell, by its template's format
    TCellFormat shade;
    shade.FillRgb = 0xE0E0E0;
    sheet.Format(2, 2, shade);
    sheet.SetText(5, 1, "Acme");
    sheet.InsertIndent(5, 1, 1);
    sheet.InsertIndent(2, 3, 1);  // indented right already: stays right, one step more
    sheet.SetNumber(5, 3, 2.5);
    book->SaveAs(File("report.xlsx").string());

    nlohmann::json read = Read(File("report.xlsx"));
    const nlohmann::json& cells = read["cells"];
    EXPECT_EQ(read["sheet"], "Matters");
    EXPECT_EQ(cells["A1"]["value"], "Matter");
    EXPECT_EQ(cells["B1"]["value"], "Opened");
    EXPECT_EQ(cells["B2"]["value"], "2026-03-05 00:00:00");
    EXPECT_EQ(cells["B2"]["format"], "d mmm yyyy");
    EXPECT_EQ(cells["B2"]["border"], "thin");
    EXPECT_EQ(cells["B2"]["fill"], "FFE0E0E0");
    EXPECT_EQ(cells["C2"]["horizontal"], "right");
    EXPECT_EQ(cells["C2"]["indent"], 3);
    EXPECT_EQ(cells["C4"]["value"], "=SUM(C5:C100)");
    EXPECT_EQ(cells["A5"]["value"], "Acme");
    EXPECT_EQ(cells["A5"]["indent"], 1);
    EXPECT_EQ(cells["A5"]["horizontal"], "left");
    EXPECT_EQ(cells["C5"]["value"], 2.5);
    EXPECT_EQ(read["widths"]["A"], 30);
    EXPECT_EQ(read["merged"], nlohmann::json::array({"A3:C3"}));

    // The calculation chain is gone, and the total is calculated again when Excel opens it.
    TPackage saved = TPackage::Load(File("report.xlsx").string());
    EXPECT_EQ(saved.Find("xl/calcChain.xml"), nullptr);
    EXPECT_EQ(saved.Bytes("[Content_Types].xml").find("calcChain"), std::string::npos);
    EXPECT_EQ(saved.Bytes("xl/_rels/workbook.xml.rels").find("calcChain"), std::string::npos);
    EXPECT_NE(saved.Bytes("xl/workbook.xml").find("fullCalcOnLoad=\"1\""), std::string::npos);
}

TEST_F(EngineTest, ShadingTenThousandRowsAddsOneFillAndAHandfulOfFormats) {
    auto book = TWorkbook::Blank("Tasks");
    TCellFormat shade, bold;
    shade.FillRgb = 0xE0E0E0;
    bold.Bold = true;
    for (int row = 1; row <= 10000; ++row) {
        for (int column = 1; column <= 9; ++column) book->Sheet(0).Format(row, column, shade);
        book->Sheet(0).SetText(row, 1, "Task " + std::to_string(row));
        book->Sheet(0).InsertIndent(row, 1, row % 4 + 1);
        book->Sheet(0).Format(row, 1, bold);
    }
    book->SaveAs(File("big.xlsx").string());
    std::string styles = TPackage::Load(File("big.xlsx").string()).Bytes("xl/styles.xml");
    EXPECT_NE(styles.find("<fills count=\"3\">"), std::string::npos);
    EXPECT_NE(styles.find("<fonts count=\"2\">"), std::string::npos);
    auto formats = styles.find("<cellXfs count=\"");
    ASSERT_NE(formats, std::string::npos);
    EXPECT_LE(std::stoi(styles.substr(formats + 16)), 12);
}

TEST_F(EngineTest, TextIsCutToWhatACellHoldsAndBrokenTextIsMendedNotRefused) {
    auto book = TWorkbook::Blank("Notes");
    std::string longText(40000, 'x');
    // A character outside the basic plane at the cut is not split.
    std::string atTheEdge = std::string(32766, 'y') + "\xF0\x9F\x98\x80" + "tail";
    book->Sheet(0).SetText(1, 1, longText);
    book->Sheet(0).SetText(2, 1, atTheEdge);
    book->Sheet(0).SetText(3, 1, std::string("bad \xC3 byte & <tag>"));
    book->Sheet(0).SetText(4, 1, std::string("bell\x07 and _x0041_"));
    book->SaveAs(File("text.xlsx").string());

    nlohmann::json cells = Read(File("text.xlsx"))["cells"];
    EXPECT_EQ(cells["A1"]["value"].get<std::string>().size(), 32767u);
    EXPECT_EQ(cells["A2"]["value"].get<std::string>(), std::string(32766, 'y'));
    EXPECT_EQ(cells["A3"]["value"], "bad \xEF\xBF\xBD byte & <tag>");
    EXPECT_NE(cells["A4"]["value"].get<std::string>().find("bell"), std::string::npos);
}

TEST_F(EngineTest, FilesThatAreNoWorkbookAreRefusedWithAReason) {
    auto refused = [&](const std::string& name) -> std::string {
        try {
            TWorkbook::Open(File(name).string());
        } catch (const EXlsxError& e) {
            return e.Message();
        }
        return "opened";
    };
    EXPECT_NE(refused("missing.xlsx").find("does not exist"), std::string::npos);

    Write(File("text.xlsx"), "Task report\nnot a zip at all\n");
    EXPECT_NE(refused("text.xlsx").find("is not a workbook"), std::string::npos);

    Write(File("empty.xlsx"), "");
    EXPECT_NE(refused("empty.xlsx"), "opened");

    // A whole template cut short, as by a failed copy.
    FirmTemplate().Save(File("whole.xlsx").string());
    std::ifstream whole(File("whole.xlsx"), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(whole)), {});
    Write(File("cut.xlsx"), bytes.substr(0, bytes.size() / 2));
    EXPECT_NE(refused("cut.xlsx"), "opened");

    // Zips that lack what a workbook needs, or whose parts are damaged.
    TPackage noWorkbook;
    noWorkbook.Put("[Content_Types].xml", "<Types/>");
    noWorkbook.Save(File("noworkbook.xlsx").string());
    EXPECT_NE(refused("noworkbook.xlsx").find("no workbook part"), std::string::npos);

    TPackage damaged = FirmTemplate();
    damaged.Put("xl/styles.xml", "<x:styleSheet xmlns:x=\"a\"><x:fonts>");
    damaged.Save(File("damaged.xlsx").string());
    EXPECT_NE(refused("damaged.xlsx").find("styles.xml"), std::string::npos);

    TPackage noSheet = FirmTemplate();
    noSheet.Remove("xl/worksheets/sheet1.xml");
    noSheet.Save(File("nosheet.xlsx").string());
    EXPECT_NE(refused("nosheet.xlsx").find("sheet1.xml"), std::string::npos);

    // A sheet whose cells are named beyond the grid is refused when it is first used.
    TPackage farCells = FirmTemplate();
    farCells.Put("xl/worksheets/sheet1.xml",
                 std::string("<worksheet xmlns=\"") + kMain +
                     "\"><sheetData><row r=\"1\"><c r=\"XFE99999999\"/></row></sheetData></worksheet>");
    farCells.Save(File("far.xlsx").string());
    auto far = TWorkbook::Open(File("far.xlsx").string());
    EXPECT_THROW(far->Sheet(0).SetText(1, 1, "x"), EXlsxError);
}

TEST_F(EngineTest, ATemplateWhoseRowsAreOutOfOrderComesOutInOrder) {
    TPackage p = FirmTemplate();
    p.Put("xl/worksheets/sheet1.xml",
          std::string("<worksheet xmlns=\"") + kMain +
              "\"><sheetData><row r=\"5\"><c r=\"A5\"><v>5</v></c></row>"
              "<row r=\"2\"><c r=\"C2\"><v>3</v></c><c r=\"A2\"><v>1</v></c><c r=\"C2\"><v>4</v></c></row>"
              "</sheetData></worksheet>");
    p.Save(File("unordered.xlsx").string());
    auto book = TWorkbook::Open(File("unordered.xlsx").string());
    book->Sheet(0).SetText(3, 2, "between");
    book->SaveAs(File("ordered.xlsx").string());

    nlohmann::json cells = Read(File("ordered.xlsx"))["cells"];
    EXPECT_EQ(cells["A2"]["value"], 1);
    EXPECT_EQ(cells["C2"]["value"], 4);
    EXPECT_EQ(cells["B3"]["value"], "between");
    EXPECT_EQ(cells["A5"]["value"], 5);
    std::string sheet = TPackage::Load(File("ordered.xlsx").string()).Bytes("xl/worksheets/sheet1.xml");
    EXPECT_LT(sheet.find("r=\"A2\""), sheet.find("r=\"C2\""));
    EXPECT_LT(sheet.find("r=\"B3\""), sheet.find("r=\"A5\""));
}

TEST_F(EngineTest, ASaveThatCannotBeWrittenLeavesNoFileBehind) {
    auto book = TWorkbook::Blank("Tasks");
    book->Sheet(0).SetText(1, 1, "x");
    fs::path target = File("no-such-folder") / "report.xlsx";
    EXPECT_THROW(book->SaveAs(target.string()), EXlsxError);
    EXPECT_FALSE(fs::exists(target));
    EXPECT_THROW(book->Sheet(0).SetNumber(1, 1, 1.0 / 0.0 * 0.0), EXlsxError);
    EXPECT_THROW(book->Sheet(0).SetText(0, 1, "x"), EXlsxError);
    EXPECT_THROW(book->Sheet(0).SetText(1, 16385, "x"), EXlsxError);
}
