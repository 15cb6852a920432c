// The scripted host's commands on grid views and page controls, run against a small pane of the
// test's own: what `grid` prints, how `click`, `dblclick` and `focus` name a record by its key,
// `tab`, and the errors a script gets for a record or a page that isn't there.
#include <gtest/gtest.h>

#include <memory>
#include <sstream>

#include "common/ScratchFolder.h"
#include "sim/ScriptHost.h"
#include "store/Tables.h"
#include "toolkit/Controls.h"

namespace {

class TfmPane : public TForm {
public:
    TPageControl Pages{this, "Pages"};
    TTabSheet MailSheet{this, "MailSheet", Pages};
    TTabSheet ListSheet{this, "ListSheet", Pages};
    TcxGrid cxGrid1{this, "cxGrid1", &MailSheet};
    TcxGridDBBandedTableView Mails{this, "Mails", &cxGrid1};
    TcxGridDBBandedColumn& clMark = Mails.CreateColumn("clMark", "Attachments");
    TcxGridDBBandedColumn& clSubject = Mails.CreateColumn("clSubject", "Subject");
    TcxGridDBBandedColumn& clText = Mails.CreateColumn("clText", "Text", 1);
    TcxGrid cxGrid2{this, "cxGrid2", &ListSheet};
    TcxGridDBTableView Lists{this, "Lists", &cxGrid2};
    TcxImageList cxImageList1{this, "cxImageList1", 1};
    std::string log;

    TfmPane() : TForm("fmPane", "Pane", 400, 300) {
        clMark.OnCustomDrawCell = [this](TcxGridDBTableView&, TcxCanvas& canvas, TcxGridTableDataCellViewInfo& cell,
                                         bool& done) {
            canvas.DrawImage(cxImageList1, 0, 0, cell.Value().AsString() == "1" ? 0 : -1);
            done = true;
        };
        Mails.OnDblClick = [this] { log += "open " + Mails.MainValue().AsString() + ";"; };
        Pages.OnChange = [this] { log += "page " + std::to_string(Pages.ActivePageIndex()) + ";"; };
        AfterConstruction();
        Show();
    }
};

class ScriptGridTest : public ::testing::Test {
protected:
    void SetUp() override {
        table->Open();
        for (auto [attachments, subject] : {std::pair{1, "Lease \"final\""}, {0, "Invoice"}, {1, "Receipt"}}) {
            table->Append();
            table->FieldByName("Attachments").SetAsInteger(attachments);
            table->FieldByName("Subject").SetAsString(subject);
            table->FieldByName("Text").SetAsString(std::string("About ") + subject);
            table->Post();
        }
        fm.Mails.SetDataSource(&ds);
        fm.Lists.SetDataSource(&ds);
        host = std::make_unique<sim::TScriptHost>(scratch.addin.string(), out);
        host->AddForm(fm);
    }

    std::pair<int, std::string> Run(const std::string& script) {
        sim::TScriptReader reader("test", std::make_unique<std::istringstream>(script));
        size_t from = out.str().size();
        int status = host->Run(reader);
        return {status, out.str().substr(from)};
    }

    ScratchFolder scratch{"corvelle-grid", "addin", "tmp"};
    std::unique_ptr<TdxMemData> table = MakeTable("Emails");
    TDataSource ds{"dsMemDataEmails", table.get()};
    TfmPane fm;
    std::ostringstream out;
    std::unique_ptr<sim::TScriptHost> host;
};

}  // namespace

TEST_F(ScriptGridTest, GridPrintsEachRecordWithItsDrawnMarksAndTheFocus) {
    auto [status, text] = Run("grid fmPane.Mails\nclick fmPane.Mails 2\ngrid fmPane.Mails\n");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(text,
              "> grid fmPane.Mails\n"
              "GRID fmPane.Mails rows=3\n"
              "[1] clMark=img:0 clSubject=\"Lease \\\"final\\\"\" clText=\"About Lease \\\"final\\\"\"\n"
              "[2] clMark=img:- clSubject=\"Invoice\" clText=\"About Invoice\"\n"
              "[3] clMark=img:0 clSubject=\"Receipt\" clText=\"About Receipt\" *\n"
              "> click fmPane.Mails 2\n"
              "> grid fmPane.Mails\n"
              "GRID fmPane.Mails rows=3\n"
              "[1] clMark=img:0 clSubject=\"Lease \\\"final\\\"\" clText=\"About Lease \\\"final\\\"\"\n"
              "[2] clMark=img:- clSubject=\"Invoice\" clText=\"About Invoice\" *\n"
              "[3] clMark=img:0 clSubject=\"Receipt\" clText=\"About Receipt\"\n");

    // A filter that shows one row; an empty view prints its count alone.
    table->SetProgrammedFilter(true);
    table->FilterList() = {3};
    table->SetFiltered(true);
    EXPECT_EQ(Run("grid fmPane.Mails\n").second,
              "> grid fmPane.Mails\nGRID fmPane.Mails rows=1\n"
              "[3] clMark=img:0 clSubject=\"Receipt\" clText=\"About Receipt\" *\n");
    table->FilterList().clear();
    table->SetFiltered(false);
    table->SetFiltered(true);
    EXPECT_EQ(Run("grid fmPane.Mails\n").second, "> grid fmPane.Mails\nGRID fmPane.Mails rows=0\n");
}

TEST_F(ScriptGridTest, ClicksNameRecordsByKeyAndTabsByIndex) {
    auto [status, text] = Run(
        "dblclick fmPane.Mails 1\n"
        "focus fmPane.Mails 3\n"
        "dblclick fmPane.Mails none\n"
        "tab fmPane.Pages 1\n"
        "get fmPane.Pages\n"
        "click fmPane.Lists 2\n"
        "get fmPane.Lists\n");
    EXPECT_EQ(status, 0) << text;
    EXPECT_EQ(fm.log, "open 1;open 3;page 1;");
    EXPECT_NE(text.find("fmPane.Pages = 1\n"), std::string::npos) << text;
    EXPECT_NE(text.find("fmPane.Lists = 2\n"), std::string::npos) << text;
    EXPECT_EQ(table->FieldByName("ID").AsInteger(), 2);
}

TEST_F(ScriptGridTest, ARecordOrAPageThatIsNotThereStopsTheScript) {
    table->SetProgrammedFilter(true);
    table->FilterList() = {1, 3};
    table->SetFiltered(true);
    struct Case {
        const char* script;
        const char* error;
    };
    for (const Case& c : {
             Case{"click fmPane.Mails 2\n", "ERROR: line 1: no record 2 in fmPane.Mails\n"},
             Case{"dblclick fmPane.Mails x\n", "ERROR: line 1: no record x in fmPane.Mails\n"},
             Case{"click fmPane.Mails\n",
                  "ERROR: line 1: a click on fmPane.Mails needs a record KEY, or none for the empty space\n"},
             Case{"click fmPane.Lists 1\n", "ERROR: line 1: cannot click fmPane.Lists: it is not showing\n"},
             Case{"grid fmPane.cxGrid1\n", "ERROR: line 1: fmPane.cxGrid1 is not a grid view\n"},
             Case{"grid fmPane.Nothing\n", "ERROR: line 1: unknown control fmPane.Nothing\n"},
             Case{"tab fmPane.Pages 2\n", "ERROR: line 1: fmPane.Pages has no page 2 (it has 2)\n"},
             Case{"tab fmPane.Pages one\n", "ERROR: line 1: not a page index: \"one\"\n"},
             Case{"tab fmPane.Mails 0\n", "ERROR: line 1: fmPane.Mails is not a page control\n"},
         }) {
        auto [status, text] = Run(c.script);
        EXPECT_EQ(status, 2) << c.script;
        EXPECT_NE(text.find(c.error), std::string::npos) << text;
    }
    EXPECT_EQ(fm.log, "");
}

TEST_F(ScriptGridTest, AGroupedViewPrintsEveryGroupExpandedWithItsFootersAndTotals) {
    fm.clMark.GroupIndex = 0;
    fm.Mails.Options.Footer = true;
    fm.Mails.Options.GroupFooters = TcxGroupFootersMode::gfVisibleWhenExpanded;
    fm.Mails.Summary.FooterSummaryItems.push_back({&fm.clSubject, TcxSummaryKind::skCount, ""});
    fm.Mails.Summary.DefaultGroupSummaryItems.push_back({&fm.clMark, TcxSummaryKind::skSum, "0.0"});
    auto [status, text] = Run("grid fmPane.Mails\n");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(text,
              "> grid fmPane.Mails\n"
              "GRID fmPane.Mails rows=3\n"
              "GROUP \"0\"\n"
              "  [2] clSubject=\"Invoice\" clText=\"About Invoice\"\n"
              "  GROUPFOOTER clMark=\"0.0\"\n"
              "GROUP \"1\"\n"
              "  [1] clSubject=\"Lease \\\"final\\\"\" clText=\"About Lease \\\"final\\\"\"\n"
              "  [3] clSubject=\"Receipt\" clText=\"About Receipt\" *\n"
              "  GROUPFOOTER clMark=\"2.0\"\n"
              "FOOTER clSubject=\"3\"\n");
}
