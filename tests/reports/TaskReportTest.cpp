// The task report as a user meets it: the export of the task pane fills a workbook made from the
// template with the tree as the pane holds it, in the one Excel that runs.
#include "reports/ReportFixture.h"

TEST_F(ReportTest, ATreeOfOneRootGivesAShadedBoldRowTenIndentedOnce) {
    StartOutlook();
    int clients = Make(-1, 1, "Clients");
    SetTask(clients, "Importance", Variant(2));
    SetTask(clients, "Status", Variant(1));
    SetTask(clients, "Percent_Complete", Variant(50));
    SetTask(clients, "Due_Date", Variant::FromDate(EncodeDate(2026, 4, 1)));
    OpenExplorer();

    ClickExport();

    EXPECT_TRUE(Shown().empty());
    ASSERT_EQ(Workbooks().size(), 1u);
    EXPECT_EQ(Workbooks()[0].name, "TaskReport1");
    EXPECT_EQ(Workbooks()[0].templateFile, (dir_ / "TaskReport.xlsx").string());
    auto cells = CellsOf(0);
    EXPECT_EQ(Text(cells, 4, 2), "Alex Morgan");
    EXPECT_EQ(Text(cells, 6, 2), "3/5/2026");
    EXPECT_EQ(Text(cells, 10, 1), "Clients");
    EXPECT_EQ(At(cells, 10, 1).indent, 1);
    EXPECT_EQ(At(cells, 10, 1).bold, true);
    for (int column = 1; column <= 9; ++column) EXPECT_TRUE(Shaded(cells, 10, column)) << "column " << column;
    EXPECT_EQ(Text(cells, 10, 3), "3/5/2026");
    EXPECT_EQ(Text(cells, 10, 4), "4/1/2026");
    EXPECT_EQ(Text(cells, 10, 5), "High");
    EXPECT_EQ(Text(cells, 10, 6), "In progress");
    EXPECT_EQ(Text(cells, 10, 7), "50%");
    EXPECT_EQ(At(cells, 10, 2).kind, Written::Kind::None);  // column 2 is shaded, nothing more
    EXPECT_FALSE(Has(cells, 11, 1));
    // Excel stays visible and draws again; the cursor is back to the default.
    EXPECT_TRUE(Excel().Running()->Visible());
    EXPECT_TRUE(Excel().Running()->ScreenUpdating());
    EXPECT_EQ(host_->Screen->Cursor(), platform::crDefault);
    EXPECT_EQ(Globals().Excel, nullptr);
}

TEST_F(ReportTest, DeeperTasksAreIndentedByLevelAndEveryNodeIsListedExpandedOrNot) {
    StartOutlook();
    int clients = Make(-1, 1, "Clients");
    int acme = Make(clients, 1, "Acme");
    int audit = Make(acme, 1, "Audit");
    int internal = Make(-1, 2, "Internal");
    SetTask(audit, "Importance", Variant(3));      // no such importance
    SetTask(audit, "Status", Variant());           // no status
    SetTask(acme, "Status", Variant(3));
    SetTask(internal, "Importance", Variant(0));
    SetTask(internal, "Status", Variant(4));
    OpenExplorer();
    Tree().FullCollapse();
    ASSERT_TRUE(Tree().UserClickNode(Node(internal)));

    ClickExport();

    auto cells = CellsOf(0);
    // In the tree's order, each parent before its children, collapsed ones too.
    EXPECT_EQ(Text(cells, 10, 1), "Clients");
    EXPECT_EQ(Text(cells, 11, 1), "Acme");
    EXPECT_EQ(Text(cells, 12, 1), "Audit");
    EXPECT_EQ(Text(cells, 13, 1), "Internal");
    EXPECT_EQ(At(cells, 11, 1).indent, 2);
    EXPECT_EQ(At(cells, 12, 1).indent, 3);
    EXPECT_FALSE(At(cells, 12, 1).bold.has_value());
    EXPECT_FALSE(At(cells, 11, 1).bold.has_value());
    // Every second row from the first is shaded.
    EXPECT_TRUE(Shaded(cells, 12, 9));
    EXPECT_FALSE(Has(cells, 11, 9));
    EXPECT_FALSE(Has(cells, 13, 9));
    // Values that are in no map leave their cells empty.
    EXPECT_EQ(At(cells, 12, 5).kind, Written::Kind::None);
    EXPECT_EQ(At(cells, 12, 6).kind, Written::Kind::None);
    EXPECT_EQ(Text(cells, 11, 6), "Waiting on someone else");
    EXPECT_EQ(Text(cells, 13, 5), "Low");
    EXPECT_EQ(Text(cells, 13, 6), "Deferred");
    // The table's cursor is back on the task the user had focused.
    EXPECT_EQ(Tasks().FieldByName("ID").AsInteger(), internal);
    EXPECT_EQ(Tree().FocusedNode(), Node(internal));
}

TEST_F(ReportTest, TasksHiddenByTheCompletedFilterAreLeftOutAsThePaneLeavesThemOut) {
    StartOutlook();
    int clients = Make(-1, 1, "Clients");
    int done = Make(clients, 1, "Closed matter");
    Make(clients, 2, "Open matter");
    Complete(done, EncodeDate(2026, 2, 1));
    OpenExplorer();

    ClickExport();

    auto cells = CellsOf(0);
    EXPECT_EQ(Text(cells, 10, 1), "Clients");
    EXPECT_EQ(Text(cells, 11, 1), "Open matter");
    EXPECT_FALSE(Has(cells, 12, 1));
}

TEST_F(ReportTest, ASecondReportAddsASecondWorkbookToTheSameExcel) {
    StartOutlook();
    Make(-1, 1, "Clients");
    OpenExplorer();
    ClickExport();
    auto first = Excel().Running();
    ClickExport();

    EXPECT_EQ(Excel().Running(), first);
    ASSERT_EQ(Workbooks().size(), 2u);
    EXPECT_EQ(Workbooks()[1].name, "TaskReport2");
    EXPECT_EQ(Text(CellsOf(1), 10, 1), "Clients");
    EXPECT_EQ(Text(CellsOf(0), 10, 1), "Clients");

    // After Excel quits, the next report starts a new one and counts from 1 again.
    Excel().Quit();
    ClickExport();
    ASSERT_EQ(Workbooks().size(), 1u);
    EXPECT_EQ(Workbooks()[0].name, "TaskReport1");
}

TEST_F(ReportTest, WhileTheReportIsWrittenTheHourglassShowsAndTheTreeHoldsStill) {
    StartOutlook();
    Make(-1, 1, "Clients");
    OpenExplorer();
    // An Excel that already runs, watched at every call the report makes.
    auto app = std::dynamic_pointer_cast<xlsx::TExcelApplication>(Excel().Create());
    std::vector<int> cursors;
    int disabledCalls = 0, calls = 0;
    app->SetCallHook([&](std::string_view) {
        ++calls;
        cursors.push_back(host_->Screen->Cursor());
        if (Tasks().ControlsDisabled()) ++disabledCalls;
    });

    ClickExport();

    ASSERT_GT(calls, 10);
    EXPECT_EQ(std::count(cursors.begin(), cursors.end(), platform::crHourGlass), calls);
    EXPECT_EQ(disabledCalls, calls);
    EXPECT_EQ(host_->Screen->Cursor(), platform::crDefault);
    EXPECT_FALSE(Tasks().ControlsDisabled());
}

TEST_F(ReportTest, WithNoTasksTheExportSaysSoAndStartsNoExcel) {
    StartOutlook();
    OpenExplorer();
    ClickExport();
    EXPECT_EQ(Shown(), std::vector<std::string>{"You have no tasks."});
    EXPECT_FALSE(ExcelRuns());
}

TEST_F(ReportTest, TheExportIsInThePopupMenuToo) {
    StartOutlook();
    Make(-1, 1, "Clients");
    OpenExplorer();
    ASSERT_TRUE(Pane().CallHandler("ButtonGroup1Items8Click"));
    EXPECT_EQ(Workbooks().size(), 1u);
    auto& item = static_cast<TMenuItem&>(Pane().ComponentByName("ExporttoMicrosoftExcel1"));
    item.OnClick();
    EXPECT_EQ(Workbooks().size(), 2u);
}

// ---- failures ----------------------------------------------------------------------------------

TEST_F(ReportTest, WithNoExcelTheFailureReachesTheUserAsAPlainRuntimeError) {
    StartOutlook();
    int clients = Make(-1, 1, "Clients");
    Make(clients, 1, "Acme");
    OpenExplorer();
    ASSERT_TRUE(Tree().UserClickNode(Node(clients)));
    Excel().SetAbsent();

    ClickExport();

    // The module's error handler is the only one to speak; the report has no words of its own.
    ASSERT_EQ(Shown().size(), 1u);
    EXPECT_EQ(Shown()[0].rfind("EAccessViolation error raised by AddinModule with message: ", 0), 0u) << Shown()[0];
    EXPECT_FALSE(ExcelRuns());
    // The pane is as it was: its cursor, its tree, the default screen cursor.
    EXPECT_EQ(host_->Screen->Cursor(), platform::crDefault);
    EXPECT_FALSE(Tasks().ControlsDisabled());
    EXPECT_EQ(Tasks().FieldByName("ID").AsInteger(), clients);
}

TEST_F(ReportTest, AMissingTemplateFailsInExcelAndLeavesItOpenWithoutDrawing) {
    StartOutlook();
    Make(-1, 1, "Clients");
    OpenExplorer();
    fs::remove(dir_ / "TaskReport.xlsx");

    ClickExport();

    ASSERT_EQ(Shown().size(), 1u);
    EXPECT_NE(Shown()[0].find("EOleException error raised by AddinModule"), std::string::npos) << Shown()[0];
    EXPECT_NE(Shown()[0].find("TaskReport.xlsx"), std::string::npos);
    ASSERT_TRUE(ExcelRuns());
    EXPECT_TRUE(Excel().Running()->Visible());
    EXPECT_FALSE(Excel().Running()->ScreenUpdating());
    EXPECT_TRUE(Workbooks().empty());
    EXPECT_EQ(host_->Screen->Cursor(), platform::crDefault);
}

TEST_F(ReportTest, ATemplateThatIsNoWorkbookFailsTheSameWay) {
    StartOutlook();
    Make(-1, 1, "Clients");
    OpenExplorer();
    {
        std::ofstream damaged(dir_ / "TaskReport.xlsx", std::ios::binary | std::ios::trunc);
        damaged << "PK\x03\x04 this is not a workbook";
    }
    ClickExport();
    ASSERT_EQ(Shown().size(), 1u);
    EXPECT_NE(Shown()[0].find("file format or file extension is not valid"), std::string::npos) << Shown()[0];
    EXPECT_TRUE(Workbooks().empty());
}

TEST_F(ReportTest, AFailingCellGroupIsDroppedAloneAndTheRowGoesOn) {
    StartOutlook();
    int clients = Make(-1, 1, "Clients");
    SetTask(clients, "Importance", Variant(1));
    Make(-1, 2, "Internal");
    OpenExplorer();
    // The indent of the first row fails: its bold, in the same group, is dropped with it.
    host_->Failures->FailNext("Range.InsertIndent");

    ClickExport();

    EXPECT_TRUE(Shown().empty());
    auto cells = CellsOf(0);
    EXPECT_EQ(Text(cells, 10, 1), "Clients");
    EXPECT_FALSE(At(cells, 10, 1).indent.has_value());
    EXPECT_FALSE(At(cells, 10, 1).bold.has_value());
    EXPECT_EQ(Text(cells, 10, 3), "3/5/2026");
    EXPECT_EQ(Text(cells, 10, 5), "Normal");
    EXPECT_EQ(At(cells, 11, 1).bold, true);
    EXPECT_TRUE(Excel().Running()->ScreenUpdating());
}

TEST_F(ReportTest, AFailingShadeReachesTheUser) {
    StartOutlook();
    Make(-1, 1, "Clients");
    OpenExplorer();
    host_->Failures->FailNext("Interior.Color");

    ClickExport();

    ASSERT_EQ(Shown().size(), 1u);
    EXPECT_NE(Shown()[0].find("EOleException error raised by AddinModule"), std::string::npos) << Shown()[0];
    EXPECT_FALSE(Has(CellsOf(0), 10, 1));
    EXPECT_FALSE(Excel().Running()->ScreenUpdating());
}
