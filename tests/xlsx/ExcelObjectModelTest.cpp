// Excel's object model over the workbook engine, as the reports call it: cell writes land where
// Excel puts them, colours are taken as Excel's BGR, and a quit Excel answers no more.
#include <gtest/gtest.h>

#include "common/ScratchFolder.h"
#include "xlsx/XlsxExcel.h"

namespace fs = std::filesystem;
using Written = xlsx::TSheet::TWrittenCell;

namespace {

class ExcelTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto book = xlsx::TWorkbook::Blank("Report");
        book->Sheet(0).SetText(1, 1, "Heading");
        book->SaveAs((scratch.addin / "Report.xlsx").string());
    }

    // The first sheet's cells of a new workbook from the template.
    std::shared_ptr<excel::Range> NewCells(const std::string& templateFile) {
        auto workbook = app->Workbooks()->Add(Variant(templateFile), 1033);
        auto sheet = platform::QueryInterface<excel::_Worksheet>(workbook->Worksheets()->Item(Variant(1)));
        sheet->Activate(1033);
        return sheet->Cells();
    }

    std::vector<Written> WrittenOf(size_t workbook) {
        return app->OpenWorkbooks().at(workbook).book->Sheet(0).WrittenCells();
    }

    ScratchFolder scratch{"corvelle-excel", "addin", "log"};
    std::shared_ptr<xlsx::TExcelApplication> app = std::make_shared<xlsx::TExcelApplication>();
};

}  // namespace

TEST_F(ExcelTest, CellWritesLandWhereExcelPutsThem) {
    auto cells = NewCells((scratch.addin / "Report.xlsx").string());
    cells->Item(Variant(4), Variant(2))->SetValue(Variant("Alex Morgan"));
    cells->Item(Variant(6), Variant(2))->SetValue(Variant(46086.0));
    cells->Item(Variant(7), Variant(2))->SetValue(Variant::FromDate(46087.0));
    cells->Item(Variant(8), Variant(2))->SetValue(Variant(""));  // an empty text empties the cell
    // Excel's colours are 0xBBGGRR: pure red is 0x0000FF.
    cells->Item(Variant(10), Variant(1))->Interior()->SetColor(Variant(0x0000FF));
    cells->Item(Variant(10), Variant(1))->Font()->SetBold(Variant(true));
    cells->Item(Variant(10), Variant(1))->InsertIndent(2);
    cells->Item(Variant(10), Variant(1))->InsertIndent(1);
    // A cell's Item counts from that cell.
    cells->Item(Variant(10), Variant(1))->Item(Variant(2), Variant(3))->SetValue(Variant(1.5));

    std::vector<Written> w = WrittenOf(0);
    ASSERT_EQ(w.size(), 6u);
    EXPECT_EQ(w[0].text, "Alex Morgan");
    EXPECT_EQ(w[1].kind, Written::Kind::Number);
    EXPECT_EQ(w[1].number, 46086.0);
    EXPECT_EQ(w[2].number, 46087.0);
    EXPECT_EQ(w[3].kind, Written::Kind::Empty);
    EXPECT_EQ(w[4].row, 10);
    EXPECT_EQ(w[4].fillRgb, 0xFF0000u);
    EXPECT_EQ(w[4].bold, true);
    EXPECT_EQ(w[4].indent, 3);
    EXPECT_EQ(w[5].row, 11);
    EXPECT_EQ(w[5].column, 3);
    EXPECT_EQ(w[5].number, 1.5);
}

TEST_F(ExcelTest, NewWorkbooksAreNamedFromTheirTemplateWhateverItsSeparators) {
    std::string folder = scratch.addin.string() + "/";
    NewCells(folder + "Report.xlsx");
    NewCells(folder + "\\Report.xlsx");  // a Windows separator after the folder's own
    auto books = app->OpenWorkbooks();
    ASSERT_EQ(books.size(), 2u);
    EXPECT_EQ(books[0].name, "Report1");
    EXPECT_EQ(books[1].name, "Report2");
    EXPECT_EQ(books[1].templateFile, folder + "\\Report.xlsx");
}

TEST_F(ExcelTest, WhatExcelRefusesRaisesAsExcelDoes) {
    EXPECT_THROW(app->Workbooks()->Add(Variant((scratch.addin / "Missing.xlsx").string()), 1033), EOleException);
    auto cells = NewCells((scratch.addin / "Report.xlsx").string());
    EXPECT_THROW(cells->SetValue(Variant("all of it")), EOleException);
    EXPECT_THROW(cells->Item(Variant(0), Variant(1)), EOleException);
    EXPECT_THROW(cells->Item(Variant(1), Variant(16385)), EOleException);
    EXPECT_THROW(cells->Item(Variant("row"), Variant(1)), EOleException);
    auto workbook = app->Workbooks()->Add(Variant((scratch.addin / "Report.xlsx").string()), 1033);
    EXPECT_THROW(workbook->Worksheets()->Item(Variant(2)), EOleException);
    EXPECT_NE(workbook->Worksheets()->Item(Variant("Report")), nullptr);

    // A call that the host fails on purpose.
    app->SetCallHook([](std::string_view member) {
        if (member == "Range.Value") throw EOleException("busy");
    });
    EXPECT_THROW(cells->Item(Variant(1), Variant(1))->SetValue(Variant(1)), EOleException);
}

TEST_F(ExcelTest, AfterQuitTheInstanceAndItsObjectsAnswerNoMore) {
    auto cells = NewCells((scratch.addin / "Report.xlsx").string());
    auto cell = cells->Item(Variant(1), Variant(1));
    app->SetVisible(1033, true);
    app->Quit();
    EXPECT_FALSE(app->Running());
    EXPECT_FALSE(app->Visible());
    EXPECT_TRUE(app->OpenWorkbooks().empty());
    EXPECT_THROW(cell->SetValue(Variant("late")), EOleException);
    EXPECT_THROW(cells->Item(Variant(1), Variant(1)), EOleException);
    EXPECT_THROW(app->SetScreenUpdating(1033, false), EOleException);
}
