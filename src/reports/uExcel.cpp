#include "reports/uExcel.h"

#include <memory>
#include <string>

#include "base/Clock.h"
#include "base/DateTime.h"
#include "base/FormatSettings.h"
#include "base/Guard.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "platform/Excel.h"
#include "platform/System.h"
#include "store/MemData.h"
#include "tasks/ufmList.h"
#include "toolkit/DBTreeList.h"

using platform::QueryInterface;
using platform::Use;

namespace {

// The shading of every second row, from the first.
constexpr int kShade = 0xE0E0E0;

const char* ImportanceText(const std::string& value) {
    if (value == "0") return "Low";
    if (value == "1") return "Normal";
    if (value == "2") return "High";
    return nullptr;
}

const char* StatusText(const std::string& value) {
    if (value == "0") return "Not started";
    if (value == "1") return "In progress";
    if (value == "2") return "Completed";
    if (value == "3") return "Waiting on someone else";
    if (value == "4") return "Deferred";
    return nullptr;
}

// A new workbook from the template, its first sheet activated; gives the sheet's cells.
std::shared_ptr<excel::Range> AddWorkbook(const std::string& templateFile) {
    TModuleGlobals& g = Globals();
    auto workbook = Use(Use(g.Excel).Workbooks()).Add(Variant(templateFile), g.ExcelLCID);
    auto sheet = QueryInterface<excel::_Worksheet>(Use(Use(workbook).Worksheets()).Item(Variant(1)));
    Use(sheet).Activate(g.ExcelLCID);
    return Use(sheet).Cells();
}

std::shared_ptr<excel::Range> CellAt(const std::shared_ptr<excel::Range>& cells, int row, int column) {
    return Use(cells).Item(Variant(row), Variant(column));
}

void SetValue(const std::shared_ptr<excel::Range>& cells, int row, int column, const Variant& value) {
    Use(CellAt(cells, row, column)).SetValue(value);
}

void Shade(const std::shared_ptr<excel::Range>& cells, int row, int lastColumn) {
    for (int column = 1; column <= lastColumn; ++column)
        Use(Use(CellAt(cells, row, column)).Interior()).SetColor(Variant(kShade));
}

}  // namespace

void GetExcel() {
    Swallow([] {
        TModuleGlobals& g = Globals();
        g.ExcelPath = GetDllPath();
        g.ExcelLCID = platform::UserDefaultLCID();
        excel::IExcelServer& server = Live(Live(g.AddInModule).Services().Excel);
        std::shared_ptr<excel::IDispatch> running;
        int32_t result = server.GetActiveObject(excel::CLASS_ExcelApplication, running);
        if (result == excel::hresult::Unavailable) {
            g.Excel = server.Create();
        } else {
            if (result != excel::hresult::Ok)
                throw EOleException("GetActiveObject failed with the code " + std::to_string(result));
            g.Excel = QueryInterface<excel::_Application>(running);
        }
        Use(g.Excel).SetVisible(g.ExcelLCID, true);
    });
}

void TaskReport() {
    TModuleGlobals& g = Globals();
    GetExcel();
    Use(g.Excel).SetScreenUpdating(g.ExcelLCID, false);
    std::shared_ptr<excel::Range> cells = AddWorkbook(g.ExcelPath + "TaskReport.xlsx");

    SetValue(cells, 4, 2, Variant(g.CurrentUserName));
    SetValue(cells, 6, 2, Variant(DateToStr(Date())));

    TcxDBTreeList& tree = Live(g.TaskTree);
    const TfmList::TReportColumns& columns = Live(g.fmList).ReportColumns;
    auto text = [](TcxTreeListNode* node, TcxDBTreeListColumn* column) -> const std::string& {
        return node->Texts(Live(column).ItemIndex());
    };
    int row = 9;
    bool shaded = false;
    for (int i = 0; i < tree.AbsoluteCount(); ++i) {
        TcxTreeListNode* node = tree.AbsoluteItems(i);
        ++row;
        shaded = !shaded;
        if (shaded) Shade(cells, row, 9);
        // Each group of a row on its own: a failure drops the group and the next goes on.
        Swallow([&] {
            std::shared_ptr<excel::Range> first = CellAt(cells, row, 1);
            Use(first).SetValue(Variant(text(node, columns.Description)));
            Use(first).InsertIndent(node->Level() + 1);
            if (node->Level() == 0) Use(Use(first).Font()).SetBold(Variant(true));
        });
        Swallow([&] { SetValue(cells, row, 3, Variant(text(node, columns.StartDate))); });
        Swallow([&] { SetValue(cells, row, 4, Variant(text(node, columns.DueDate))); });
        Swallow([&] {
            if (const char* importance = ImportanceText(text(node, columns.DummyImportance)))
                SetValue(cells, row, 5, Variant(importance));
        });
        Swallow([&] {
            if (const char* status = StatusText(text(node, columns.Status))) SetValue(cells, row, 6, Variant(status));
        });
        Swallow([&] { SetValue(cells, row, 7, Variant(text(node, columns.PercentComplete) + "%")); });
    }

    Use(g.Excel).SetScreenUpdating(g.ExcelLCID, true);
    g.Excel.reset();
}

void TimeReport() {
    Swallow([] {
        TModuleGlobals& g = Globals();
        GetExcel();
        Use(g.Excel).SetScreenUpdating(g.ExcelLCID, false);
        // ExcelPath ends in its separator already: the name has two in a row, which the file
        // system takes as one.
        std::shared_ptr<excel::Range> cells = AddWorkbook(g.ExcelPath + "\\TimeReport.xlsx");

        SetValue(cells, 4, 2, Variant(g.CurrentUserName));
        // A date serial, shown in the template's date format.
        SetValue(cells, 6, 2, Variant(static_cast<double>(g.ShowTimeSince)));
        SetValue(cells, 8, 2, Variant(FormatDateTime(FmtShortMonthDate, Date()) + " " + TimeToStr(Now())));

        TdxMemData& time = Live(g.MemDataTime);
        TField& date = time.FieldByName("Time_Date");
        TField& fullName = time.FieldByName("Task_Full_Name");
        TField& fullNo = time.FieldByName("Task_Full_No");
        TField& decTime = time.FieldByName("Dec_Time");
        TField& note = time.FieldByName("Note");
        TField& closed = time.FieldByName("Closed");
        int row = 12;
        bool shaded = false;
        time.First();
        while (!time.Eof()) {
            ++row;
            shaded = !shaded;
            if (shaded) Shade(cells, row, 6);
            SetValue(cells, row, 1, Variant(date.IsNull() ? std::string() : DateToStr(date.AsDateTime())));
            SetValue(cells, row, 2, Variant(fullName.AsString()));
            SetValue(cells, row, 3, Variant(fullNo.AsString()));
            // The amount as it stands, with no display format: 1.5, not 1.50.
            SetValue(cells, row, 4, Variant(decTime.AsString()));
            // Three blanks set the note off from the column's edge.
            SetValue(cells, row, 5, Variant("   " + note.AsString()));
            if (closed.AsBoolean()) SetValue(cells, row, 6, Variant("Closed"));
            time.Next();
        }

        Use(g.Excel).SetScreenUpdating(g.ExcelLCID, true);
        g.Excel.reset();
    });
}
