// Corvelle.dll as Outlook meets it: made by its ProgID, connected through IDTExtensibility2 with
// the simulated Outlook as automation objects, its ribbon, its answer to Outlook's Quit, and the
// library left with nothing alive once Outlook lets go.
#include <fstream>
#include <iterator>

#include "WinFixture.h"
#include "base/Clock.h"
#include "base/DateTime.h"
#include "win/winhost/AutoOutlook.h"

namespace {

using namespace wintest;

class AddInTest : public WinHostTest {
protected:
    // The add-in made as Outlook makes it, not yet connected.
    void Make() {
        CLSID clsid{};
        ASSERT_EQ(CLSIDFromProgID(L"Corvelle.Corvelle", &clsid), S_OK) << "Corvelle.dll is not registered";
        ASSERT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDTExtensibility2,
                                   reinterpret_cast<void**>(addIn_.Out())),
                  S_OK);
        script_ = addIn_.As<ICorvelleScriptAddIn>(IID_ICorvelleScriptAddIn);
        ASSERT_TRUE(script_);
        script_->SetClock(EncodeDate(2026, 3, 5) + EncodeTime(9, 30, 0, 0));
    }
    HRESULT Connect(ext_ConnectMode mode) { return addIn_->OnConnection(host_->Application(), mode, nullptr, &custom_); }

    // A module-wide variable of the add-in, as the script prints it.
    std::string Get(const std::string& name) {
        BSTR words = win::NewBstr("get\n" + name);
        int status = -1;
        BSTR message = nullptr;
        script_->Run(words, &status, &message);
        SysFreeString(words);
        std::string error = win::BstrText(message);
        SysFreeString(message);
        std::string printed = Output();
        if (status != 0) return "error: " + error;
        auto eq = printed.find(" = ");
        return eq == std::string::npos ? printed : printed.substr(eq + 3, printed.size() - eq - 4);
    }

    void Release() {
        script_.Reset();
        addIn_.Reset();
    }

    void TearDown() override {
        Release();
        WinHostTest::TearDown();
    }

    win::TComPtr<IDTExtensibility2> addIn_;
    win::TComPtr<ICorvelleScriptAddIn> script_;
    SAFEARRAY* custom_ = nullptr;
};

TEST_F(AddInTest, TheConnectionCallsReachTheModuleInTheirOrder) {
    ASSERT_NO_FATAL_FAILURE(Make());
    ASSERT_EQ(Connect(ext_cm_Startup), S_OK);
    EXPECT_EQ(Get("OutlookApp"), "null");  // initialised only: no Outlook object touched yet
    EXPECT_EQ(Get("fmNewTask"), "null");

    ASSERT_EQ(addIn_->OnStartupComplete(&custom_), S_OK);
    EXPECT_EQ(Get("OutlookApp"), "\"Outlook.Application\"");
    EXPECT_EQ(Get("EmailFolder"), "\"CorvelleEmail\"");
    EXPECT_EQ(Get("NotesFolder"), "\"CorvelleNotes\"");
    EXPECT_EQ(Get("CurrentUserName"), "\"Alex Morgan\"");

    ASSERT_EQ(addIn_->OnBeginShutdown(&custom_), S_OK);
    EXPECT_EQ(Get("NameSpace"), "null");
    EXPECT_EQ(Get("fmNewTask"), "null");
    EXPECT_EQ(Get("fmChooseTask"), "\"fmChooseTask\"");  // goes with the module
    ASSERT_EQ(addIn_->OnDisconnection(ext_dm_HostShutdown, &custom_), S_OK);
    Release();
    EXPECT_EQ(host_->Unload(), "");
}

TEST_F(AddInTest, LoadedAfterOutlooksStartTheAddInStartsAtOnceAndUnloadedItShutsDownFirst) {
    ASSERT_NO_FATAL_FAILURE(Make());
    ASSERT_EQ(Connect(ext_cm_AfterStartup), S_OK);
    EXPECT_EQ(Get("EmailFolder"), "\"CorvelleEmail\"");
    EXPECT_EQ(Get("fmNewTask"), "\"fmNewTask\"");

    // The user unloads it from Outlook's COM add-ins dialog: no OnBeginShutdown comes.
    ASSERT_EQ(addIn_->OnDisconnection(ext_dm_UserClosed, &custom_), S_OK);
    EXPECT_EQ(Get("NameSpace"), "null");
    EXPECT_EQ(Get("fmNewTask"), "null");
    EXPECT_EQ(Get("MailItems"), "null");
}

TEST_F(AddInTest, TheRibbonHasTheTabWithItsHiddenGroupsAndItsCallbacksReachTheHandlers) {
    ASSERT_EQ(Run("today 2026-03-05\nstart\n"), 0);
    std::ifstream golden(WindowsPath(CORVELLE_SOURCE_DIR "/tests/win/ribbon.xml"), std::ios::binary);
    std::string expected((std::istreambuf_iterator<char>(golden)), {});
    EXPECT_EQ(host_->RibbonXml(), expected);

    Output();
    ASSERT_EQ(Run("ribbon \"Find a task\"\nribbon \"Timer\"\nclick module.CorvelleHelp\n"), 0) << Output();
    EXPECT_EQ(Output(),
              "> ribbon \"Find a task\"\nMESSAGE: You have no tasks.\n"
              "> ribbon \"Timer\"\nMESSAGE: You have no tasks to time.\n"
              "> click module.CorvelleHelp\nHELP " + dir_.string() + "\\Corvelle.chm 10\n");
    // The hidden groups' buttons are never shown.
    EXPECT_EQ(Run("ribbon \"Options...\"\n"), 2);
    EXPECT_EQ(Run("click module.CorvelleTaskReport\n"), 2);
}

TEST_F(AddInTest, OutlooksQuitShutsTheAddInDownOnlyUnderFastShutdown) {
    // Outlook 2013 (15.0), so that the keys are this test's own.
    host_->Automation().SetVersion("15.0.0.4420");
    const wchar_t* shutdownKey = L"Software\\Microsoft\\Office\\15.0\\Outlook\\Options\\Shutdown";
    RegDeleteTreeW(HKEY_CURRENT_USER, shutdownKey);
    auto quitAndLook = [&] {
        Output();
        EXPECT_EQ(Run("start\nquit\nget NameSpace\nget fmTimer\n"), 0);
        return Output();
    };
    const std::string shutDown = "> start\n> quit\n> get NameSpace\nNameSpace = null\n> get fmTimer\nfmTimer = null\n";
    const std::string leftRunning =
        "> start\n> quit\n> get NameSpace\nNameSpace = \"MAPI\"\n> get fmTimer\nfmTimer = \"fmTimer\"\n";

    EXPECT_EQ(quitAndLook(), shutDown);  // 14 or later, nothing set: fast shutdown

    DWORD one = 1;
    RegSetKeyValueW(HKEY_CURRENT_USER, shutdownKey, L"AddinFastShutdownBehavior", REG_DWORD, &one, sizeof one);
    EXPECT_EQ(quitAndLook(), leftRunning);
    RegDeleteTreeW(HKEY_CURRENT_USER, shutdownKey);

    // The add-in's own key, where it is registered (per user when the current user has it), asks
    // to be told of shutdowns.
    const wchar_t* addInKey = L"Software\\Microsoft\\Office\\Outlook\\AddIns\\Corvelle.Corvelle";
    HKEY user = nullptr;
    HKEY root = HKEY_LOCAL_MACHINE;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, addInKey, 0, KEY_READ, &user) == ERROR_SUCCESS) {
        RegCloseKey(user);
        root = HKEY_CURRENT_USER;
    }
    RegSetKeyValueW(root, addInKey, L"RequireShutdownNotification", REG_DWORD, &one, sizeof one);
    EXPECT_EQ(quitAndLook(), leftRunning);
    RegDeleteKeyValueW(root, addInKey, L"RequireShutdownNotification");

    host_->Automation().SetVersion("12.0.6425");  // Outlook 2007 has no fast shutdown
    EXPECT_EQ(quitAndLook(), leftRunning);
}

TEST_F(AddInTest, OnceOutlookLetsGoNothingOfTheAddInOrOfOutlookIsLeftAlive) {
    // A task opened in Outlook keeps its connection open when the add-in shuts down: the item's
    // own unload ends it, and Outlook's going does too.
    ASSERT_EQ(Run("today 2026-03-05\nstart\nexplorer\nclick fmList.NewRootTask1\nset fmNewTask.Edit2 \"Acme\"\n"
                  "click fmNewTask.BitBtn1\ndblclick fmList.cxDBTreeList1 1\noutlook set Subject \"Acme Ltd\"\n"
                  "shutdown\n"),
              0);
    EXPECT_NE(Output().find("DISPLAY IPM.Task"), std::string::npos);
    EXPECT_EQ(host_->Unload(), "");
}

}  // namespace
