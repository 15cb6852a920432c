// Excel reached through IDispatch, as the reports reach it on Windows: every member called by
// name, and Excel's own message carried by a failure. The script host's workbook engine, as
// Excel's automation objects, stands for an installed Excel: the running instance, or a new one.
#include "WinFixture.h"
#include "base/Exceptions.h"
#include "platform/Excel.h"
#include "sim/SimExcel.h"
#include "sim/SimOutlook.h"
#include "win/bind/OleExcel.h"
#include "win/winhost/AutoExcel.h"

namespace {

using namespace wintest;
using platform::QueryInterface;

class ExcelBindingTest : public WinHostTest {
protected:
    void SetUp() override {
        WinHostTest::SetUp();
        excel_ = std::make_unique<win::TAutoExcel>(*host_->Host().Excel);
    }
    void TearDown() override {
        excel_.reset();
        WinHostTest::TearDown();
    }
    // GetActiveObject's answer, bound.
    std::shared_ptr<excel::_Application> Running() {
        win::TComPtr<IDispatch> d = excel_->Running();
        return d ? win::BindExcelApplication(d) : nullptr;
    }
    // CoCreateInstance's, bound.
    std::shared_ptr<excel::_Application> Start() { return win::BindExcelApplication(excel_->Start()); }
    std::unique_ptr<win::TAutoExcel> excel_;
    std::string Template() { return (dir_ / "TaskReport.xlsx").string(); }
};

TEST_F(ExcelBindingTest, AReportStartsExcelOnceThenFindsItRunningAndWritesItsCells) {
    EXPECT_FALSE(Running());

    long before = win::TComObjectCount::Live();
    {
        auto app = Start();
        ASSERT_TRUE(app);
        ASSERT_TRUE(host_->Host().Excel->Running());
        auto running = Running();
        ASSERT_TRUE(running);
        running->SetVisible(0, true);
        running->SetScreenUpdating(0, false);

        auto book = running->Workbooks()->Add(Variant(Template()), 0);
        auto sheet = QueryInterface<excel::_Worksheet>(book->Worksheets()->Item(Variant(1)));
        sheet->Activate(0);
        auto cell = sheet->Cells()->Item(Variant(10), Variant(1));
        cell->SetValue(Variant("Smith v Jones"));
        cell->InsertIndent(2);
        cell->Font()->SetBold(Variant(true));
        sheet->Cells()->Item(Variant(10), Variant(2))->Interior()->SetColor(Variant(0xF0E0D0));
    }
    // What the engine holds is what was written through COM.
    ASSERT_EQ(Run("excel\n"), 0);
    std::string shown = Output();
    EXPECT_NE(shown.find("running=true visible=true screenupdating=false"), std::string::npos) << shown;
    EXPECT_NE(shown.find("TaskReport.xlsx"), std::string::npos) << shown;
    EXPECT_NE(shown.find("Smith v Jones"), std::string::npos) << shown;
    // The bindings let go of every object they were given; the running one's Application stays.
    EXPECT_EQ(win::TComObjectCount::Live(), before + 1);

    // Excel quits: nothing runs, and its Application is let go.
    ASSERT_EQ(Run("excel quit\n"), 0);
    EXPECT_FALSE(Running());
    EXPECT_EQ(win::TComObjectCount::Live(), before);
}

TEST_F(ExcelBindingTest, FailuresCarryExcelsOwnMessage) {
    auto app = Start();
    auto book = app->Workbooks()->Add(Variant(Template()), 0);
    auto cell = QueryInterface<excel::_Worksheet>(book->Worksheets()->Item(Variant(1)))->Cells()->Item(Variant(1), Variant(1));
    host_->Host().Failures->FailNext("Range.InsertIndent");
    try {
        cell->InsertIndent(1);
        FAIL() << "no exception";
    } catch (const EOleException& e) {
        EXPECT_EQ(e.Message(), "Simulated failure of Range.InsertIndent");
    }
    // A template that is not there fails in Excel's Workbooks.Add.
    EXPECT_THROW(app->Workbooks()->Add(Variant((dir_ / "Missing.xlsx").string()), 0), EOleException);

    // A start that fails, and a machine without Excel (the reports' own tests follow the message
    // through the bridge in the scenarios).
    host_->Host().Failures->FailNext("Excel.Create");
    EXPECT_THROW(excel_->Start(), EOleException);
    ASSERT_EQ(Run("excel absent\n"), 0);
    EXPECT_THROW(excel_->Start(), EOleException);
    EXPECT_FALSE(Running());
}

}  // namespace
