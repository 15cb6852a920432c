// The add-in's panes as a user meets them in Outlook's explorer window, through the custom task
// pane service that corvelle-winhost offers as Office does: the task pane on the right, the item
// panes stacked as tabs at the bottom in the manager's order, hidden for folders they don't
// serve, and gone (their tables saved) when the explorer closes.
#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "WinFixture.h"
#include "base/DateTime.h"
#include "platform/System.h"
#include "support/FileLogger.h"
#include "win/winhost/ExplorerWindow.h"

namespace {

using namespace wintest;
using win::TExplorerWindow;

class TaskPanesTest : public WinHostTest {
protected:
    void SetUp() override {
        WinHostTest::SetUp();
        host_->EnableWindows();
    }

    std::vector<TExplorerWindow::TPaneInfo> Panes() { return host_->Explorer()->Panes(); }

    // The texts of the tabs of a pane's own tab strip: the tab control nearest the frame (a form
    // inside may have its own).
    static std::vector<std::string> Tabs(HWND frame) {
        struct Search {
            HWND frame;
            HWND tabs = nullptr;
            int depth = 0;
        } search{frame};
        EnumChildWindows(
            frame,
            [](HWND w, LPARAM p) {
                auto& s = *reinterpret_cast<Search*>(p);
                wchar_t name[64] = {};
                GetClassNameW(w, name, 64);
                if (std::wstring(name) != WC_TABCONTROLW) return TRUE;
                int depth = 0;
                for (HWND up = w; up && up != s.frame; up = GetParent(up)) ++depth;
                if (!s.tabs || depth < s.depth) s.tabs = w, s.depth = depth;
                return TRUE;
            },
            reinterpret_cast<LPARAM>(&search));
        std::vector<std::string> out;
        HWND tabs = search.tabs;
        for (int i = 0; tabs && i < TabCtrl_GetItemCount(tabs); ++i) {
            wchar_t text[64] = {};
            TCITEMW item{};
            item.mask = TCIF_TEXT;
            item.pszText = text;
            item.cchTextMax = 64;
            TabCtrl_GetItem(tabs, i, &item);
            out.push_back(win::Utf8(text));
        }
        return out;
    }
};

TEST_F(TaskPanesTest, TheTaskPaneDocksOnTheRightAndTheItemPanesStackAtTheBottomInTheManagersOrder) {
    ASSERT_EQ(Run("today 2026-03-05\nstart\n"), 0) << Output();
    ASSERT_NE(host_->Explorer(), nullptr);
    auto panes = Panes();
    ASSERT_EQ(panes.size(), 2u);
    EXPECT_EQ(panes[0].title, "Corvelle");
    EXPECT_EQ(panes[0].position, msoCTPDockPositionRight);
    EXPECT_TRUE(panes[0].visible);
    EXPECT_EQ(panes[1].title, "Corvelle items");
    EXPECT_EQ(panes[1].position, msoCTPDockPositionBottom);
    EXPECT_TRUE(panes[1].visible);
    EXPECT_EQ(Tabs(panes[1].frame), (std::vector<std::string>{"Time", "Emails", "Notes", "Contacts", "Appointments"}));
    EXPECT_TRUE(IsWindowVisible(panes[0].frame));

    // The forms exist as the manager made them: one of each, shown.
    Output();
    ASSERT_EQ(Run("get fmList.Visible\nget fmEmails.Visible\n"), 0) << Output();
    EXPECT_EQ(Output(), "> get fmList.Visible\nfmList.Visible = true\n> get fmEmails.Visible\nfmEmails.Visible = true\n");
}

TEST_F(TaskPanesTest, ATasksFolderHidesThePanesAndAMailFolderShowsThemAgainWithoutNewForms) {
    ASSERT_EQ(Run("start\n"), 0) << Output();
    ASSERT_EQ(Run("outlook select Tasks\n"), 0) << Output();
    auto panes = Panes();
    ASSERT_EQ(panes.size(), 2u);
    EXPECT_FALSE(panes[0].visible);
    EXPECT_FALSE(panes[1].visible);
    EXPECT_FALSE(IsWindowVisible(panes[0].frame));

    ASSERT_EQ(Run("outlook select Calendar\n"), 0) << Output();
    panes = Panes();
    ASSERT_EQ(panes.size(), 2u);  // the same two panes, not new ones
    EXPECT_TRUE(panes[0].visible);
    EXPECT_TRUE(panes[1].visible);
}

TEST_F(TaskPanesTest, TheTaskPaneCannotBeClosedWhileTheItemPanesStayClosedUntilTheNextFolder) {
    ASSERT_EQ(Run("start\n"), 0) << Output();
    TExplorerWindow& explorer = *host_->Explorer();
    ASSERT_TRUE(explorer.ClosePane("Corvelle"));
    auto panes = Panes();
    ASSERT_EQ(panes.size(), 2u);
    EXPECT_TRUE(panes[0].visible);  // shown again at once
    EXPECT_TRUE(IsWindowVisible(panes[0].frame));

    ASSERT_TRUE(explorer.ClosePane("Corvelle items"));
    panes = Panes();
    EXPECT_TRUE(panes[0].visible);
    EXPECT_FALSE(panes[1].visible);

    ASSERT_EQ(Run("outlook select Calendar\n"), 0) << Output();
    EXPECT_TRUE(Panes()[1].visible);
    // A tasks folder hides both; the task pane does not come back there.
    ASSERT_EQ(Run("outlook select Tasks\n"), 0) << Output();
    EXPECT_FALSE(Panes()[0].visible);
}

TEST_F(TaskPanesTest, ClosingTheExplorerClosesThePanesAndTheirTablesAreThereAtTheNextStart) {
    ASSERT_EQ(Run("today 2026-03-05\nstart\nclick fmList.NewRootTask1\nset fmNewTask.Edit2 \"Acme Ltd\"\n"
                  "click fmNewTask.BitBtn1\n"),
              0)
        << Output();
    ASSERT_EQ(Run("close explorer\n"), 0) << Output();
    EXPECT_TRUE(Panes().empty());
    ASSERT_EQ(Run("shutdown\nstart\n"), 0) << Output();
    Output();
    ASSERT_EQ(Run("tree fmList.cxDBTreeList1\n"), 0) << Output();
    EXPECT_NE(Output().find("Acme Ltd"), std::string::npos);
    EXPECT_EQ(Panes().size(), 2u);
}

TEST_F(TaskPanesTest, ShuttingDownWithTheExplorerOpenLeavesNoPaneAndNothingAlive) {
    ASSERT_EQ(Run("start\nshutdown\n"), 0) << Output();
    EXPECT_TRUE(Panes().empty());
    EXPECT_EQ(host_->Unload(), "");
}

TEST_F(TaskPanesTest, AFailingTaskPaneServiceShowsNoPaneAndTheLogSaysWhyWhileTheFormsStillWork) {
    host_->Explorer()->FailPaneService();
    ASSERT_EQ(Run("today 2026-03-05 09:00\nstart\nexplorer\n"), 0) << Output();
    EXPECT_TRUE(Panes().empty());
    Output();
    ASSERT_EQ(Run("get fmList.Visible\nclose explorer\nshutdown\n"), 0) << Output();
    EXPECT_EQ(Output(), "> get fmList.Visible\nfmList.Visible = true\n> close explorer\n> shutdown\n");

    std::ifstream log(TFileLog::FileNameFor(platform::TempFolder(), EncodeDate(2026, 3, 5)), std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(log)), {});
    text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());  // the log is UTF-16
    EXPECT_NE(text.find("The pane \"Corvelle\" is not shown: Office's task pane service failed (0x80004005)"),
              std::string::npos)
        << text;
}

}  // namespace
