#pragma once
// A started add-in with the explorer open and the two templates beside it, on a machine whose
// Excel is the workbook engine; what the reports wrote is read from Excel's open workbooks.
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tasks/TaskFixture.h"

#include "reports/uExcel.h"
#include "sim/SimExcel.h"
#include "xlsx/XlsxExcel.h"

class ReportTest : public TaskTest {
protected:
    using Written = xlsx::TSheet::TWrittenCell;

    void SetUp() override {
        TaskTest::SetUp();
        for (const char* name : {"TaskReport.xlsx", "TimeReport.xlsx"})
            fs::copy_file(fs::path(CORVELLE_TEST_RESOURCES) / name, dir_ / name);
    }

    // Outlook starts for Alex Morgan; the explorer opens later, once the tasks are made.
    void StartOutlook() {
        host_->Outlook.SetCurrentUser("Alex Morgan", "alex.morgan@example.com");
        Start();
    }

    sim::TSimExcel& Excel() { return *host_->Excel; }
    bool ExcelRuns() { return Excel().Running() != nullptr; }
    std::vector<xlsx::TExcelApplication::TOpenWorkbook> Workbooks() {
        return ExcelRuns() ? Excel().Running()->OpenWorkbooks() : std::vector<xlsx::TExcelApplication::TOpenWorkbook>{};
    }

    // The cells the system wrote in an open workbook's first sheet, by row and column.
    std::map<std::pair<int, int>, Written> CellsOf(size_t workbook) {
        std::map<std::pair<int, int>, Written> cells;
        auto books = Workbooks();
        if (workbook >= books.size()) return cells;
        for (const Written& c : books[workbook].book->Sheet(0).WrittenCells()) cells[{c.row, c.column}] = c;
        return cells;
    }

    static std::string Text(const std::map<std::pair<int, int>, Written>& cells, int row, int column) {
        auto it = cells.find({row, column});
        return it == cells.end() || it->second.kind != Written::Kind::Text ? std::string() : it->second.text;
    }
    static Written At(const std::map<std::pair<int, int>, Written>& cells, int row, int column) {
        auto it = cells.find({row, column});
        return it == cells.end() ? Written{} : it->second;
    }
    static bool Has(const std::map<std::pair<int, int>, Written>& cells, int row, int column) {
        return cells.count({row, column}) > 0;
    }
    static bool Shaded(const std::map<std::pair<int, int>, Written>& cells, int row, int column) {
        auto it = cells.find({row, column});
        return it != cells.end() && it->second.fillRgb == 0xE0E0E0u;
    }

    // The user clicks the task pane's export button; what escapes goes where the host framework
    // sends it, to the module's error handler.
    void ClickExport() {
        try {
            Pane().ButtonGroup1.UserClickItem(8);
        } catch (...) {
            m().HandleError(std::current_exception());
        }
    }

    // Sets a field of a task row.
    void SetTask(int id, const char* field, const Variant& value) {
        ASSERT_TRUE(Tasks().Locate("ID", Variant(id)));
        Tasks().Edit();
        Tasks().FieldByName(field).SetValue(value);
        Tasks().Post();
    }
};
