// The saved reports read back by readers that are not Corvelle's: Python's openpyxl (which the
// test command installs) finds the values, the shading, the indents, the bold and the
// template's own headings, widths and date format; LibreOffice, where it is installed, turns a
// report into CSV without complaint.
#include "common/Openpyxl.h"
#include "reports/ReportFixture.h"


class ReadBackTest : public ReportTest {
protected:
    // The open workbook saved, then read by openpyxl.
    nlohmann::json SaveAndRead(size_t workbook, const std::string& file) {
        fs::path path = root_ / file;
        Workbooks().at(workbook).book->SaveAs(path.string());
        std::string error;
        nlohmann::json book = ReadWithOpenpyxl(path, error);
        EXPECT_EQ(error, "");
        return book;
    }
};

TEST_F(ReadBackTest, OpenpyxlFindsTheTaskReportAndTheTemplatesOwnHeadings) {
    StartOutlook();
    int clients = Make(-1, 1, "Clients & Partners");
    SetTask(clients, "Percent_Complete", Variant(50));
    SetTask(clients, "Importance", Variant(2));
    int acme = Make(clients, 1, "Acme <Holdings>");
    Make(acme, 1, "Audit");
    OpenExplorer();
    ClickExport();

    nlohmann::json book = SaveAndRead(0, "TaskReport1.xlsx");
    const nlohmann::json& cells = book["cells"];
    EXPECT_EQ(book["sheet"], "Tasks");
    EXPECT_EQ(cells["A9"]["value"], "Task");
    EXPECT_EQ(cells["G9"]["value"], "% Complete");
    EXPECT_EQ(cells["A4"]["value"], "Prepared by:");
    EXPECT_EQ(book["widths"]["A"], 50);
    EXPECT_EQ(cells["B4"]["value"], "Alex Morgan");
    EXPECT_EQ(cells["B6"]["value"], "3/5/2026");

    EXPECT_EQ(cells["A10"]["value"], "Clients & Partners");
    EXPECT_EQ(cells["A10"]["fill"], "FFE0E0E0");
    EXPECT_EQ(cells["A10"]["indent"], 1);
    EXPECT_EQ(cells["A10"]["bold"], true);
    EXPECT_EQ(cells["I10"]["fill"], "FFE0E0E0");
    EXPECT_EQ(cells["E10"]["value"], "High");
    EXPECT_EQ(cells["G10"]["value"], "50%");
    EXPECT_EQ(cells["A11"]["value"], "Acme <Holdings>");
    EXPECT_EQ(cells["A11"]["indent"], 2);
    EXPECT_EQ(cells["A11"]["bold"], false);
    EXPECT_EQ(cells["A11"]["fill"], nullptr);
    EXPECT_EQ(cells["A12"]["indent"], 3);
    EXPECT_EQ(cells["A12"]["fill"], "FFE0E0E0");
}

TEST_F(ReadBackTest, OpenpyxlFindsTheTimeReportWithItsDateCell) {
    StartOutlook();
    TdxMemData& time = m().MemDataTime;
    time.Append();
    time.FieldByName("Task_Full_Name").SetAsString("Clients \\ Audit");
    time.FieldByName("Task_Full_No").SetAsString("1.1");
    time.FieldByName("Time_Date").SetAsDateTime(EncodeDate(2026, 3, 4));
    time.FieldByName("Dec_Time").SetAsCurrency(Currency::FromDouble(1.5));
    time.FieldByName("Note").SetAsString("Fieldwork");
    time.FieldByName("Closed").SetAsBoolean(true);
    time.Post();
    Globals().ShowTimeSince = EncodeDate(2026, 3, 1);
    TimeReport();

    nlohmann::json book = SaveAndRead(0, "TimeReport1.xlsx");
    const nlohmann::json& cells = book["cells"];
    EXPECT_EQ(cells["B12"]["value"], "Task");
    EXPECT_EQ(cells["A6"]["value"], "Time since:");
    // (6, 2) holds the date as a number, shown in the template's date format.
    EXPECT_EQ(cells["B6"]["date"], true);
    EXPECT_EQ(cells["B6"]["format"], "mmmm d, yyyy");
    EXPECT_EQ(cells["B6"]["value"], "2026-03-01 00:00:00");
    EXPECT_EQ(cells["B8"]["value"], "Mar 5, 2026 9:30:00 AM");
    EXPECT_EQ(cells["A13"]["value"], "3/4/2026");
    EXPECT_EQ(cells["D13"]["value"], "1.5");
    EXPECT_EQ(cells["E13"]["value"], "   Fieldwork");
    EXPECT_EQ(cells["F13"]["value"], "Closed");
    EXPECT_EQ(cells["F13"]["fill"], "FFE0E0E0");
}

TEST_F(ReadBackTest, LibreOfficeTurnsASavedReportIntoCsvWhereItIsInstalled) {
    int status = 0;
    std::string soffice = RunCommand("command -v soffice || command -v libreoffice", status);
    while (!soffice.empty() && (soffice.back() == '\n' || soffice.back() == '\r')) soffice.pop_back();
    if (status != 0 || soffice.empty()) GTEST_SKIP() << "LibreOffice is not installed";

    StartOutlook();
    Make(-1, 1, "Clients");
    OpenExplorer();
    ClickExport();
    fs::path path = root_ / "TaskReport1.xlsx";
    Workbooks().at(0).book->SaveAs(path.string());
    fs::path out = root_ / "csv";
    std::string log = RunCommand("HOME='" + root_.string() + "' '" + soffice + "' --headless --convert-to csv --outdir '" +
                              out.string() + "' '" + path.string() + "' 2>&1",
                          status);
    ASSERT_EQ(status, 0) << log;
    std::ifstream csv(out / "TaskReport1.csv");
    std::string text((std::istreambuf_iterator<char>(csv)), {});
    EXPECT_NE(text.find("Clients"), std::string::npos) << log;
    EXPECT_NE(text.find("Alex Morgan"), std::string::npos);
}
